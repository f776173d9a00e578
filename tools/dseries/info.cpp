#include <filesystem>
#include <fmt/format.h>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "commands.h"
#include "dimensions.h"
#include "failure.h"
#include "format.h"
#include "header.h"
#include "series.h"
#include "show.h"

namespace dseries {

namespace {

struct Options {
  std::string file;
  bool json = false;
};

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
      {Table::Left, Table::Right, Table::Right, Table::Right, Table::Right, Table::Left, Table::Left});
  table.Row({"dimension", "size", "first", "last", "step", "units", "order"});
  for (int d = 0; d < dimensions.NumberDimensions(); ++d) {
    dtsr_cDimension& dimension = dimensions.Dimension(d);
    const cal_c1DArrayCal& cal = dimension.Calibration();
    table.Row({NameOf(dimensions, d), std::to_string(dimension.Size()), NumberText(cal.PositionX(0)),
               NumberText(cal.PositionX(dimension.Size() - 1)), NumberText(cal.DeltaX()),
               Printable(dimension.Units()), dimension.bReverseOrder() ? "last to first" : "first to last"});
  }
  return table.Text();
}

void Info(const Options& options) {
  const Header header = ReadHeader(options.file);
  const Series series(options.file);
  const dtsr_cDimensionArray& dimensions = series.DimensionArray();
  const int filled = series.NextWriteIndex();
  const unsigned int tag_type = series.TagTypeID();
  const auto bytes = static_cast<std::int64_t>(std::filesystem::file_size(options.file));
  const char* tags = TagTypeName(tag_type);

  if (options.json) {
    nlohmann::ordered_json json{{"file", options.file},
                                {"bytes", bytes},
                                {"data", DataTypeName(header.data_type)},
                                {"slots", series.Size()},
                                {"filled", filled},
                                {"tags", nullptr},
                                {"dimensions", nlohmann::ordered_json::array()}};
    if (tags != nullptr) json["tags"] = tags;
    if (filled > 0 && tags != nullptr) {
      json["first_time"] = TimeText(series.Tag(0)->Time());
      json["last_time"] = TimeText(series.Tag(filled - 1)->Time());
    }
    for (int d = 0; d < dimensions.NumberDimensions(); ++d) {
      json["dimensions"].push_back(DimensionAsJson(dimensions.Dimension(d)));
    }
    Print(json);
    return;
  }

  Table table({Table::Left, Table::Left});
  table.Row({"data", DataTypeName(header.data_type)});
  table.Row({"filled", fmt::format("{} of {} slots", filled, series.Size())});
  if (tags != nullptr) {
    table.Row({"tags", tags});
  } else {
    table.Row({"tags", tag_type == 0 ? "none yet" : fmt::format("of an unknown kind (0x{:04x})", tag_type)});
  }
  if (filled > 0 && tags != nullptr) {
    table.Row({"taken", fmt::format("{} to {}", TimeText(series.Tag(0)->Time()),
                                    TimeText(series.Tag(filled - 1)->Time()))});
  }
  table.Row({"size", SizeText(bytes)});
  fmt::print("{}\n{}\n{}", options.file, table.Text(2), DimensionsAsText(dimensions));
}

void List(const Options& options) {
  const Series series(options.file);
  const int n = series.NextWriteIndex();
  if (options.json) {
    auto list = nlohmann::ordered_json::array();
    for (int i = 0; i < n; ++i) list.push_back(DatumAsJson(series, i));
    Print(list);
  } else {
    const unsigned int tag_type = series.TagTypeID();
    if (n > 0) MakeTag(tag_type);  // complains of kinds that are unknown
    DatumTable table(series, tag_type);
    for (int i = 0; i < n; ++i) table.Row(i);
    fmt::print("{}", table.Text());
  }
}

void AddOptions(CLI::App& command, Options& options) {
  command.add_option("FILE", options.file, "The series file")->required();
  command.add_flag("--json", options.json, "Write JSON");
}

}  // namespace

void AddInfo(CLI::App& program) {
  auto options = std::make_shared<Options>();
  CLI::App& command = *program.add_subcommand("info", "Tell what a series file holds");
  AddOptions(command, *options);
  command.footer("Example:\n  dseries info sst.dseries");
  command.callback([options] { Info(*options); });
}

void AddList(CLI::App& program) {
  auto options = std::make_shared<Options>();
  CLI::App& command = *program.add_subcommand("list", "List the data with their places and tags");
  AddOptions(command, *options);
  command.footer("Example:\n  dseries list sst.dseries");
  command.callback([options] { List(*options); });
}

}  // namespace dseries
