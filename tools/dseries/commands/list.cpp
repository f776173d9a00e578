#include <fmt/format.h>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "cli/choice.h"
#include "cli/show.h"
#include "commands/commands.h"
#include "file/series.h"
#include "io/files.h"

namespace dseries {

namespace {

struct Options : FileList {
  Choice choice;
};

void List(const Options& options) {
  const std::vector<std::string> files = Expanded(options.files);
  const bool object = options.json && files.size() > 1;
  std::set<std::string> listed;
  if (object) fmt::print("{{");
  const int failed = ForEach(files, [&](const std::string& file) {
    if (object && listed.count(file) > 0) return;
    const Series series(file);
    std::optional<std::vector<int>> data;
    if (!options.choice.bNone()) data = Chosen(series, options.choice);
    if (object) {
      PrintJson(series, data, "  ", fmt::format("{}\n  {}: ", listed.empty() ? "" : ",", JsonText(file)));
    } else if (options.json) {
      PrintJson(series, data);
    } else {
      PrintTable(series, data,
                 files.size() > 1 ? fmt::format("{}{}\n", listed.empty() ? "" : "\n", file) : "");
    }
    listed.insert(file);
  });
  if (object) fmt::print("{}}}", listed.empty() ? "" : "\n");
  if (options.json) fmt::print("\n");
  CheckAll(failed, files.size());
}

}  // namespace

void AddList(CLI::App& program) {
  auto options = std::make_shared<Options>();
  CLI::App& command = *program.add_subcommand("list", "List the data with their places and tags");
  AddFiles(command, *options);
  AddChoiceByOptions(command, options->choice);
  command.footer(
      "Example:\n"
      "  dseries list sst.dseries\n"
      "  dseries list sst.dseries --where longitude=181 --where latitude=-10,10\n"
      "  dseries list --json '*.dseries'");
  command.callback([options] { List(*options); });
}

}  // namespace dseries
