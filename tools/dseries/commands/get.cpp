#include <fmt/format.h>
#include <memory>
#include <string>
#include <type_traits>

#include "cli/choice.h"
#include "cli/labels.h"
#include "cli/output.h"
#include "cli/show.h"
#include "cli/table.h"
#include "cli/view.h"
#include "commands/commands.h"
#include "figure/drawing.h"
#include "file/coordinates.h"
#include "file/dimensions.h"
#include "file/failure.h"
#include "file/header.h"
#include "file/series.h"
#include "file/text.h"
#include <DataStorage/data/darray1d.h>
#include <DataStorage/data/darray2d.h>

namespace dseries {

namespace {

struct Options {
  std::string file;
  Choice choice;
  View view;
  Drawing drawing;
  Output output;
};

/// All elements of a short array, both ends of a long one.
std::string ElementsText(const darr_c1DArray& array, const Labels& labels) {
  constexpr int short_array = 24, ends = 8;
  const int n = array.NumIndices();
  const int digits = DisplayDigits(array.DataType());
  Table table({Table::Right, Table::Right});
  table.Heading({LabelText(labels.x, "position"), LabelText(labels.value, "value")});
  for (int i = 0; i < n; ++i) {
    if (n > short_array && i == ends) {
      table.Row({"...", "..."});
      i = n - ends;
    }
    table.Row({NumberText(array.Cal().PositionX(i)), NumberText(array.Value(i).Value(), digits)});
  }
  return table.Text(2);
}

/// Empty: planes have too many elements to show.
std::string ElementsText(const darr_c2DArray&, const Labels&) { return ""; }

template <class Array>
void Show(const Series& series, int i, const Array& array) {
  const dtsr_cDimensionArray& dimensions = series.DimensionArray();
  const arr_cC_Array<int> index = dimensions.IndexPosition(i);
  const auto tag = series.Tag(i);
  Table table({Table::Name, Table::Left});
  for (int d = 0; d < dimensions.NumberDimensions(); ++d) {
    table.Row({NameOf(dimensions, d), fmt::format("{} (index {})",
                                                  WithUnits(PositionText(dimensions.Dimension(d), index[d]),
                                                            dimensions.Dimension(d).Units()),
                                                  index[d])});
  }
  table.Row({"time", TimeText(tag->Time())});
  if (const auto* position = PositionOf(*tag)) {
    table.Row({"tag", fmt::format("{}, {}", TagText(position->X()), TagText(position->Y()))});
  }
  const Labels labels = LabelsOf(series.FilePath().CString());
  AddArray(table, array, labels);
  fmt::print("datum {} of {}\n{}", i, series.FilePath().CString(), table.Text(2));
  if (const std::string elements = ElementsText(array, labels); !elements.empty())
    fmt::print("\n{}", elements);
}

void WriteOrShow(const Series& series, int i, const darr_c1DArray& array, const Options& options) {
  if (!options.drawing.bNone()) Fail("1D data are drawn by 'dseries plot', not by get");
  const darr_c1DArray cut = Cut(array, options.view);
  if (options.output.path.empty()) return Show(series, i, cut);
  WriteColumns(cut, options.output, options.file);
}

void WriteOrShow(const Series& series, int i, const darr_c2DArray& array, const Options& options) {
  if (options.output.path.empty() && options.view.bNone() && options.drawing.bNone()) {
    return Show(series, i, array);
  }
  WritePlaneOrLine(array, options.view, options.drawing, options.output, options.file);
}

void Get(const Options& options) {
  VisitDataType(KnownDataType(options.file), [&]<class Array>(std::type_identity<Array>) {
    DataSeries<Array> series(options.file, bstr_OpenReadOnly);
    const int i = ChosenOne(series, options.choice);
    WriteOrShow(series, i, series.Datum(i), options);
  });
}

}  // namespace

void AddGet(CLI::App& program) {
  auto options = std::make_shared<Options>();
  CLI::App& command = *program.add_subcommand("get", "Show a datum, or write it as text or as a picture");
  command.add_option("FILE", options->file, "The series file")->required();
  AddChoice(command, options->choice, Many::No);
  AddView(command, options->view);
  AddColors(command, options->drawing);
  AddOutput(command, options->output,
            "Write positions and values as text; 2D data as a picture (.tif, .png, .bmp, .pgm) or an array "
            "(.npy, .darr), or one line of them as text. - is standard output");
  command.footer(
      "Example: the datum at 181 degrees east, 1 degree north\n"
      "  dseries get sst.dseries --position 181,1\n"
      "  dseries get sst.dseries --position 181,1 -o place.txt\n"
      "Of a series of 2D data a region as a picture\n"
      "  dseries get months.dseries 0 --region 100,-60,300,60 --stretch -o pacific.png");
  command.callback([options] { Get(*options); });
}

}  // namespace dseries
