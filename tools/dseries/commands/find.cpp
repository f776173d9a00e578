#include <fmt/format.h>
#include <memory>
#include <string>
#include <vector>

#include "cli/choice.h"
#include "cli/show.h"
#include "commands/commands.h"
#include "file/series.h"

namespace dseries {

namespace {

struct Options {
  std::string file;
  Choice choice;
};

void Find(const Options& options) {
  const Series series(options.file);
  const std::vector<int> found = Chosen(series, options.choice);
  DatumTable table(series, series.TagTypeID());
  table.Row(found.front());
  fmt::print("{}", table.Text());
}

}  // namespace

void AddFind(CLI::App& program) {
  auto options = std::make_shared<Options>();
  CLI::App& command = *program.add_subcommand("find", "Find the first datum with a given tag");
  command.add_option("FILE", options->file, "The series file")->required();
  AddTagChoice(command, options->choice);
  command.footer("Example:\n  dseries find sst.dseries --at 181,1");
  command.callback([options] {
    if (!options->choice.bByTag()) throw CLI::RequiredError("--at or --time");
    Find(*options);
  });
}

}  // namespace dseries
