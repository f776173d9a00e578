#include <fmt/format.h>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "cli/show.h"
#include "cli/table.h"
#include "commands/commands.h"
#include "file/dimensions.h"
#include "file/header.h"
#include "file/kinds.h"
#include "file/reading.h"
#include "file/series.h"
#include "file/text.h"
#include "io/files.h"

namespace dseries {

namespace {

nlohmann::ordered_json DimensionAsJson(dtsr_cDimension& dimension) {
  const cal_c1DArrayCal& cal = dimension.Calibration();
  return {{"name", static_cast<std::string_view>(dimension.Description())},
          {"units", static_cast<std::string_view>(dimension.Units())},
          {"size", dimension.Size()},
          {"offset", cal.OffsetX()},
          {"delta", cal.DeltaX()},
          {"reference_index", cal.CalIndexX()},
          {"reverse", static_cast<bool>(dimension.bReverseOrder())}};
}

std::string DimensionsAsText(const dtsr_cDimensionArray& dimensions) {
  Table table(
      {Table::Name, Table::Right, Table::Right, Table::Right, Table::Right, Table::Name, Table::Left});
  table.Heading({"dimension", "size", "first", "last", "step", "units", "order"});
  for (int d = 0; d < dimensions.NumberDimensions(); ++d) {
    dtsr_cDimension& dimension = dimensions.Dimension(d);
    const cal_c1DArrayCal& cal = dimension.Calibration();
    table.Row({NameOf(dimensions, d), std::to_string(dimension.Size()), NumberText(cal.PositionX(0)),
               NumberText(cal.PositionX(dimension.Size() - 1)), NumberText(cal.DeltaX()),
               Printable(dimension.Units()), dimension.bReverseOrder() ? "last to first" : "first to last"});
  }
  return table.Text();
}

nlohmann::ordered_json InfoAsJson(const std::string& file) {
  const Header header = ReadHeader(file);
  const Series series(file);
  const int filled = series.NextWriteIndex();
  const unsigned int tag_type = series.TagTypeID();
  nlohmann::ordered_json json{{"file", file},
                              {"bytes", OpenToRead(file).Input().Size()},
                              {"data", DataTypeName(header.dataType)},
                              {"slots", series.Size()},
                              {"filled", filled},
                              {"tags", nullptr},
                              {"dimensions", nlohmann::ordered_json::array()}};
  if (tag_type != 0) json["tags"] = TagTypeName(tag_type);
  if (filled > 0) {
    json["first_time"] = TimeText(series.Tag(0)->Time());
    json["last_time"] = TimeText(series.Tag(filled - 1)->Time());
  }
  const dtsr_cDimensionArray& dimensions = series.DimensionArray();
  for (int d = 0; d < dimensions.NumberDimensions(); ++d) {
    json["dimensions"].push_back(DimensionAsJson(dimensions.Dimension(d)));
  }
  return json;
}

std::string InfoAsText(const std::string& file) {
  const Header header = ReadHeader(file);
  const Series series(file);
  const int filled = series.NextWriteIndex();
  const unsigned int tag_type = series.TagTypeID();
  Table table({Table::Left, Table::Left});
  table.Row({"data", DataTypeName(header.dataType)});
  table.Row({"filled", fmt::format("{} of {} slots", filled, series.Size())});
  table.Row({"tags", tag_type == 0 ? "none yet" : TagTypeName(tag_type)});
  if (filled > 0) {
    table.Row({"taken", fmt::format("{} to {}", TimeText(series.Tag(0)->Time()),
                                    TimeText(series.Tag(filled - 1)->Time()))});
  }
  table.Row({"size", SizeText(OpenToRead(file).Input().Size())});
  return fmt::format("{}\n{}\n{}", file, table.Text(2), DimensionsAsText(series.DimensionArray()));
}

void Info(const FileList& options) {
  const std::vector<std::string> files = Expanded(options.files);
  auto all = nlohmann::ordered_json::array();
  bool first = true;
  const int failed = ForEach(files, [&](const std::string& file) {
    if (options.json) return all.push_back(InfoAsJson(file));
    const std::string text = InfoAsText(file);
    fmt::print("{}{}", std::exchange(first, false) ? "" : "\n", text);
  });
  if (options.json) Print(files.size() == 1 ? all.front() : all);
  CheckAll(failed, files.size());
}

}  // namespace

void AddInfo(CLI::App& program) {
  auto options = std::make_shared<FileList>();
  CLI::App& command = *program.add_subcommand("info", "Show what a series file holds");
  AddFiles(command, *options);
  command.footer("Example:\n  dseries info sst.dseries");
  command.callback([options] { Info(*options); });
}

}  // namespace dseries
