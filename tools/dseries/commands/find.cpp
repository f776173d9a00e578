#include <cstdint>
#include <fmt/format.h>
#include <memory>
#include <string>
#include <vector>

#include "cli/choice.h"
#include "cli/show.h"
#include "commands/commands.h"
#include "file/series.h"
#include "file/text.h"

namespace dseries {

namespace {

struct Options {
  std::string file;
  Choice choice;
  bool json = false;
};

void Find(const Options& options) {
  const Series series(options.file);
  std::vector<int> found = Chosen(series, options.choice);
  const auto more = static_cast<std::int64_t>(found.size()) - 1;
  if (!options.choice.all) found.resize(1);
  if (options.json) {
    PrintJson(series, found);
    fmt::print("\n");
    return;
  }
  PrintTable(series, found);
  if (!options.choice.all && more > 0) {
    fmt::print("and {}; --all shows them\n", Count(more, "more datum", "more data"));
  }
}

}  // namespace

void AddFind(CLI::App& program) {
  auto options = std::make_shared<Options>();
  CLI::App& command = *program.add_subcommand("find", "Find the data with given tags or places");
  command.add_option("FILE", options->file, "The series file")->required();
  AddSearch(command, options->choice);
  command.add_flag("--nearest", options->choice.nearest, "If none was taken there or then, the nearest one");
  command.add_flag("--all", options->choice.all, "All that fit; default: the first one");
  command.add_flag("--json", options->json, "Write JSON");
  command.footer(
      "Example:\n"
      "  dseries find sst.dseries --at 181,1\n"
      "  dseries find sst.dseries --at 180.3,0.7 --nearest\n"
      "  dseries find sst.dseries --where latitude=0 --all");
  command.callback([options] {
    if (!options->choice.bSearched()) throw CLI::RequiredError("one of --at or --time, --where, and --near");
    Find(*options);
  });
}

}  // namespace dseries
