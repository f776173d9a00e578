#include <memory>
#include <optional>
#include <string>

#include "cli/labels.h"
#include "cli/progress.h"
#include "commands/commands.h"
#include "file/failure.h"
#include "file/header.h"
#include "file/reading.h"
#include "file/salvage.h"
#include "file/seal.h"
#include "io/console.h"
#include "io/system.h"

namespace dseries {

namespace {

struct Options {
  std::string file;
  std::string output;
  bool force = false;
};

void Repair(const Options& options) {
  bstr_cBinary_fstream damaged = OpenToRead(options.file);
  const Header header = ReadHeader(damaged);
  if (bSameFile(options.file, options.output)) Fail("{} is the damaged file itself", options.output);
  Salvaged saved{};
  const bool sealed = OpenSealed(options.file) != nullptr;
  MakeLabelledSeries(options.output, options.force, LabelsOf(options.file), [&](const std::string& path) {
    std::optional<Progress> bar;
    const SalvageReport report{[](const std::string& sentence) { Note("{}", sentence); },
                               [&bar](int done, int data) {
                                 if (!bar) bar.emplace("saving", data);
                                 bar->Show(done);
                                 if (done == data) bar.reset();
                               }};
    saved = Salvage(damaged, header, path, report);
  });
  if (sealed) Series(options.output).Seal();
  Note("{}: {} of {} data saved in {}", options.file, saved.data, saved.expected, options.output);
}

}  // namespace

void AddRepair(CLI::App& program) {
  auto options = std::make_shared<Options>();
  CLI::App& command =
      *program.add_subcommand("repair", "Save what is whole in a damaged series file into a new one");
  command.add_option("FILE", options->file, "The damaged file; it is only read")->required();
  command.add_option("-o,--output", options->output, "The file to make")->type_name("NEW")->required();
  command.add_flag("-f,--force", options->force, "Replace a file that exists, and its labels");
  command.footer(
      "Lists what is lost. Data keep their indices: an array without elements takes\n"
      "the place of a lost datum that has others after it. Data of an unknown kind are\n"
      "copied byte for byte, where the offset lists give their places. Data that do not\n"
      "match their checksums count as lost; the others get checksums in the new file.\n"
      "Labels are kept.\n\n"
      "Example:\n"
      "  dseries repair broken.dseries -o saved.dseries");
  command.callback([options] { Repair(*options); });
}

}  // namespace dseries
