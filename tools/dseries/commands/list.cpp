#include <fmt/format.h>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "cli/show.h"
#include "commands/commands.h"
#include "file/series.h"
#include "io/files.h"

namespace dseries {

namespace {

nlohmann::ordered_json ListAsJson(const std::string& file) {
  const Series series(file);
  auto list = nlohmann::ordered_json::array();
  for (int i = 0; i < series.NextWriteIndex(); ++i) list.push_back(DatumAsJson(series, i));
  return list;
}

std::string ListAsText(const std::string& file) {
  const Series series(file);
  const int n = series.NextWriteIndex();
  DatumTable table(series, series.TagTypeID());
  for (int i = 0; i < n; ++i) table.Row(i);
  return table.Text();
}

void List(const FileList& options) {
  const std::vector<std::string> files = Expanded(options.files);
  auto all = nlohmann::ordered_json::object();
  bool first = true;
  const int failed = ForEach(files, [&](const std::string& file) {
    if (options.json) {
      all[file] = ListAsJson(file);
      return;
    }
    const std::string text = ListAsText(file);
    if (files.size() > 1) fmt::print("{}{}\n", std::exchange(first, false) ? "" : "\n", file);
    fmt::print("{}", text);
  });
  if (options.json) Print(files.size() == 1 ? all.front() : all);
  CheckAll(failed, files.size());
}

}  // namespace

void AddList(CLI::App& program) {
  auto options = std::make_shared<FileList>();
  CLI::App& command = *program.add_subcommand("list", "List the data with their places and tags");
  AddFiles(command, *options);
  command.footer("Example:\n  dseries list sst.dseries\n  dseries list --json '*.dseries'");
  command.callback([options] { List(*options); });
}

}  // namespace dseries
