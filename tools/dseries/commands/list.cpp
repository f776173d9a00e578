#include <fmt/format.h>
#include <memory>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <vector>

#include "cli/show.h"
#include "commands/commands.h"
#include "file/series.h"
#include "io/files.h"

namespace dseries {

namespace {

// Data are looked at twice: first whether all can be read, and how wide their columns are, then to write each
// without keeping it. So a list takes no more memory for many data than for few, and is written as a whole or
// not at all.

/// A text as a part of a larger one, where a margin stands before its lines.
std::string Within(const std::string& margin, const std::string& text) {
  std::string lines;
  for (const char c : text) {
    lines += c;
    if (c == '\n') lines += margin;
  }
  return lines;
}

/// Writes `before`, then the array of the data.
void ListAsJson(const std::string& file, const std::string& margin, const std::string& before) {
  const Series series(file);
  const int n = series.NextWriteIndex();
  for (int i = 0; i < n; ++i) series.Tag(i);
  const std::string inner = margin + "  ";
  fmt::print("{}[", before);
  for (int i = 0; i < n; ++i) {
    fmt::print("{}\n{}{}", i > 0 ? "," : "", inner, Within(inner, JsonText(DatumAsJson(series, i))));
  }
  fmt::print("{}]", n > 0 ? '\n' + margin : "");
}

void ListAsText(const std::string& file, const std::string& before) {
  const Series series(file);
  const int n = series.NextWriteIndex();
  DatumTable table(series, series.TagTypeID());
  for (int i = 0; i < n; ++i) table.Measure(i);
  fmt::print("{}{}", before, table.Text());
  for (int i = 0; i < n; ++i) fmt::print("{}", table.Line(i));
}

void List(const FileList& options) {
  const std::vector<std::string> files = Expanded(options.files);
  const bool object = options.json && files.size() > 1;
  std::set<std::string> listed;
  if (object) fmt::print("{{");
  const int failed = ForEach(files, [&](const std::string& file) {
    if (object) {
      if (listed.count(file) > 0) return;
      ListAsJson(file, "  ", fmt::format("{}\n  {}: ", listed.empty() ? "" : ",", JsonText(file)));
    } else if (options.json) {
      ListAsJson(file, "", "");
    } else {
      ListAsText(file, files.size() > 1 ? fmt::format("{}{}\n", listed.empty() ? "" : "\n", file) : "");
    }
    listed.insert(file);
  });
  if (object) fmt::print("{}}}", listed.empty() ? "" : "\n");
  if (options.json) fmt::print("\n");
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
