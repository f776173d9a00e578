#include <fmt/format.h>
#include <memory>
#include <string>

#include "cli/output.h"
#include "cli/show.h"
#include "cli/table.h"
#include "cli/view.h"
#include "commands/commands.h"
#include "figure/drawing.h"
#include "file/failure.h"
#include "file/text.h"
#include "io/input.h"

namespace dseries {

namespace {

struct Options {
  std::string input;
  InputForm form;
  std::string type;
  View view;
  Drawing drawing;
  Output output;
};

void Image(Options options) {
  if (!options.type.empty()) options.form.type = ElementType(options.type);
  CheckForm(options.form, 2);
  const darr_c2DArray array = ReadPlane(options.input, options.form, PrintWarning);
  if (!options.output.path.empty() || !options.view.bNone() || !options.drawing.bNone()) {
    return WritePlaneOrLine(array, options.view, options.drawing, options.output, options.input);
  }
  Table table({Table::Left, Table::Left});
  AddArray(table, array, {});
  fmt::print("{}\n{}", options.input, table.Text(2));
}

}  // namespace

void AddImage(CLI::App& program) {
  auto options = std::make_shared<Options>();
  CLI::App& command =
      *program.add_subcommand("image", "Read a picture, cut it, and write it in another form");
  command
      .add_option("INPUT", options->input,
                  "A picture (TIFF, PNG, JPEG, BMP, PGM, PPM), - for one on standard input, or an array "
                  "(.npy, .darr); "
                  "'get' does the same with a datum of a series, and 'append' stores pictures in a series")
      ->required();
  AddCalibration(command, options->form);
  command.add_option("--type", options->type, "Element type; default: ubin8 for pictures")
      ->type_name("TYPE")
      ->check(CLI::IsMember(ElementNames()));
  AddView(command, options->view);
  AddColors(command, options->drawing);
  AddOutput(command, options->output,
            "A picture (.tif, .png, .bmp, .pgm), an array (.npy, .darr), or one line as text; - is standard "
            "output. Default: describe the input");
  command.footer(
      "Element 0,0 is the bottom left one. A region is cut out first, then it is\n"
      "rescaled, then a line of it is taken.\n\n"
      "Example: a micrograph of 0.1 um a pixel, a region of it, and a line across it\n"
      "  dseries image cell.pgm --offset 0,0 --delta 0.1,0.1 -o cell.darr\n"
      "  dseries image cell.darr --region 32,18,54,40 -o nucleus.png\n"
      "  dseries image cell.darr --row-at 28.5 -o profile.txt");
  command.callback([options] { Image(*options); });
}

}  // namespace dseries
