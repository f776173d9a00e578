#include <cstddef>
#include <cstdint>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "cli/labels.h"
#include "cli/progress.h"
#include "cli/show.h"
#include "cli/table.h"
#include "cli/texts.h"
#include "commands/commands.h"
#include "file/dimensions.h"
#include "file/header.h"
#include "file/kinds.h"
#include "file/labels.h"
#include "file/reading.h"
#include "file/series.h"
#include "file/structure.h"
#include "file/text.h"
#include "io/files.h"
#include "io/input.h"

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

/// Calls `read` with a function that shows its progress.
template <class Result, class Read>
Result WithProgress(const char* what, Read read) {
  std::optional<Progress> progress;
  return read([&](int done, int data) {
    if (!progress) progress.emplace(what, data);
    progress->Show(done);
  });
}

/// All that is shown of a series.
struct Contents {
  explicit Contents(const std::string& path, bool with_statistics)
      : file(path), header(ReadHeader(path)), labels(LabelsOf(path)), series(path) {
    if (!bKnownDataType(header.dataType) || Filled() == 0) return;
    structure = WithProgress<Structure>(
        "reading", [&](auto show) { return StructureOf(series, header.dataType, show); });
    if (!with_statistics) return;
    statistics = WithProgress<Statistics>("computing", [&](auto show) { return StatisticsOf(path, show); });
  }

  int Filled() const { return series.NextWriteIndex(); }
  std::int64_t Bytes() const { return OpenToRead(file).Input().Size(); }
  const Label& LabelOf(std::size_t axis) const { return axis == 0 ? labels.x : labels.y; }

  std::string file;
  Header header;
  Labels labels;
  Series series;
  std::optional<Structure> structure;  ///< none without data, and for data of unknown kinds
  std::optional<Statistics> statistics;
};

template <class T = double>
nlohmann::ordered_json AsJson(const Extremes& extremes) {
  if (extremes.low > extremes.high) return nullptr;
  return {static_cast<T>(extremes.low), static_cast<T>(extremes.high)};
}

void AddStructure(nlohmann::ordered_json& json, const Contents& contents) {
  auto& elements = json["elements"] = nlohmann::ordered_json::object();
  for (const auto& [type, data] : contents.structure->types) elements[ElementName(type)] = data;
  if (contents.structure->unreadable > 0) json["unreadable"] = contents.structure->unreadable;
  auto& axes = json["axes"] = nlohmann::ordered_json::object();
  for (std::size_t a = 0; a < contents.structure->axes.size(); ++a) {
    const AxisStructure& axis = contents.structure->axes[a];
    axes[a == 0 ? "x" : "y"] = {{"name", contents.LabelOf(a).name}, {"units", contents.LabelOf(a).units},
                                {"size", AsJson<int>(axis.size)},   {"position", AsJson(axis.position)},
                                {"step", AsJson(axis.step)},        {"same", axis.same}};
  }
}

nlohmann::ordered_json InfoAsJson(const Contents& contents) {
  const Series& series = contents.series;
  const unsigned int tag_type = series.TagTypeID();
  nlohmann::ordered_json json{{"file", contents.file},
                              {"bytes", contents.Bytes()},
                              {"data", DataTypeName(contents.header.dataType)},
                              {"slots", series.Size()},
                              {"filled", contents.Filled()},
                              {"tags", nullptr},
                              {"dimensions", nlohmann::ordered_json::array()}};
  if (tag_type != 0) json["tags"] = TagTypeName(tag_type);
  if (contents.Filled() > 0) {
    json["first_time"] = TimeText(series.Tag(0)->Time());
    json["last_time"] = TimeText(series.Tag(contents.Filled() - 1)->Time());
  }
  const dtsr_cDimensionArray& dimensions = series.DimensionArray();
  for (int d = 0; d < dimensions.NumberDimensions(); ++d) {
    json["dimensions"].push_back(DimensionAsJson(dimensions.Dimension(d)));
  }
  if (contents.structure) AddStructure(json, contents);
  if (const auto& found = contents.statistics) {
    json["values"] = {{"numbers", found->numbers}, {"not_a_numbers", found->not_a_numbers}};
    if (found->numbers > 0) {
      json["values"].update(
          {{"minimum", found->extremes.low}, {"maximum", found->extremes.high}, {"mean", found->Mean()}});
    }
  }
  json["labels"] = contents.labels.AsJson();
  return json;
}

/// "3", or "3 … 5".
std::string Between(const Extremes& extremes) {
  if (extremes.bOne()) return NumberText(extremes.low);
  return fmt::format("{} … {}", NumberText(extremes.low), NumberText(extremes.high));
}

std::string ShapesText(const Structure& structure) {
  std::vector<std::string> sizes, types;
  for (const AxisStructure& axis : structure.axes) sizes.push_back(Between(axis.size));
  for (const auto& [type, data] : structure.types) {
    const std::string name = ElementName(type);
    types.push_back(structure.types.size() == 1 ? name
                                                : fmt::format("{} ({})", name, Count(data, "datum", "data")));
  }
  return fmt::format("{} of type {}", fmt::join(sizes, " x "), fmt::join(types, ", "));
}

std::string AxisText(const Label& label, const AxisStructure& axis) {
  std::string text = LabelText(label);
  if (axis.position.low > axis.position.high) return text;
  if (!text.empty()) text += ' ';
  text += fmt::format("from {} to {} in steps of {}", NumberText(axis.position.low),
                      NumberText(axis.position.high), Between(axis.step));
  return axis.same ? text : text + ", not the same in all data";
}

void AddStructure(Table& table, const Contents& contents) {
  const Structure& structure = *contents.structure;
  if (!structure.types.empty()) table.Row({"elements", ShapesText(structure)});
  for (std::size_t a = 0; a < structure.axes.size(); ++a) {
    const std::string text = AxisText(contents.LabelOf(a), structure.axes[a]);
    if (!text.empty()) table.Row({a == 0 ? "x" : "y", text});
  }
  if (structure.unreadable > 0) {
    table.Row(
        {"damaged", fmt::format("{}; 'dseries verify {}' lists the faults",
                                Count(structure.unreadable, "datum", "data"), ShellWord(contents.file))});
  }
}

std::string InfoAsText(const Contents& contents) {
  const Series& series = contents.series;
  const int filled = contents.Filled();
  const unsigned int tag_type = series.TagTypeID();
  Table table({Table::Left, Table::Left});
  if (const std::string& title = contents.labels.title; !title.empty()) {
    table.Row({"title", Printable(title)});
  }
  table.Row({"data", DataTypeName(contents.header.dataType)});
  table.Row({"filled", fmt::format("{} of {} slots", filled, series.Size())});
  if (contents.structure) AddStructure(table, contents);
  std::string values = LabelText(contents.labels.value);
  if (contents.statistics) {
    const auto& types = contents.structure->types;
    const bool narrow = types.size() == 1 && types.begin()->first == dtyp_Float32;
    values += (values.empty() ? "" : " ") +
              StatisticsText(*contents.statistics, DisplayDigits(narrow ? dtyp_Float32 : dtyp_Float64));
  }
  if (!values.empty()) table.Row({"values", values});
  table.Row({"tags", tag_type == 0 ? "none yet" : TagTypeName(tag_type)});
  if (filled > 0) {
    table.Row({"taken", fmt::format("{} to {}", TimeText(series.Tag(0)->Time()),
                                    TimeText(series.Tag(filled - 1)->Time()))});
  }
  table.Row({"size", SizeText(contents.Bytes())});
  AddAttributes(table, contents.labels);
  return fmt::format("{}\n{}\n{}", contents.file, table.Text(2), DimensionsAsText(series.DimensionArray()));
}

struct Options : FileList {
  bool statistics = false;
  TextForm text;
};

void Info(const Options& options) {
  const std::vector<std::string> files = Expanded(options.files);
  auto all = nlohmann::ordered_json::array();
  bool first = true;
  const int failed = ForEach(files, [&](const std::string& file) {
    const bool series = !bNoSeries(file);
    if (options.json) {
      return all.push_back(series ? InfoAsJson(Contents(file, options.statistics))
                                  : InfoOfTextAsJson(file, options.text));
    }
    const std::string text =
        series ? InfoAsText(Contents(file, options.statistics)) : InfoOfText(file, options.text);
    fmt::print("{}{}", std::exchange(first, false) ? "" : "\n", text);
  });
  if (options.json) Print(files.size() == 1 ? all.front() : all);
  CheckAll(failed, files.size());
}

}  // namespace

void AddInfo(CLI::App& program) {
  auto options = std::make_shared<Options>();
  CLI::App& command = *program.add_subcommand("info", "Show what a series file or a text of numbers holds");
  AddFiles(command, *options);
  command.add_flag("--stats", options->statistics,
                   "Also read all values: their minimum, maximum and mean, and how many are not a number");
  AddTextForm(command, options->text);
  command.footer(
      "Element types, sizes and axes are those that stand before the elements of every\n"
      "datum; 'x' and 'y' are the axes within a datum, from its first to its last\n"
      "element. 'label' gives them names and units.\n\n"
      "Example:\n"
      "  dseries info sst.dseries\n"
      "  dseries info sst.dseries --stats --json");
  command.callback([options] { Info(*options); });
}

}  // namespace dseries
