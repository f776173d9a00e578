#include "cli/show.h"

#include <algorithm>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <nlohmann/json.hpp>
#include <utility>

#include "file/coordinates.h"
#include "file/dimensions.h"
#include "file/text.h"
#include <DataStorage/interfaces/constants.h>

namespace dseries {

namespace {

std::vector<Table::Align> Alignments(const Series& series, unsigned int tag_type) {
  std::vector<Table::Align> columns(2 + static_cast<std::size_t>(series.DimensionArray().NumberDimensions()),
                                    Table::Right);
  columns.push_back(Table::Left);
  if (tag_type == obty_2DPositionType) columns.insert(columns.end(), {Table::Right, Table::Right});
  return columns;
}

nlohmann::ordered_json DatumAsJson(const Series& series, int i) {
  const dtsr_cDimensionArray& dimensions = series.DimensionArray();
  const auto tag = series.Tag(i);
  nlohmann::ordered_json json{{"datum", i},
                              {"index", VectorOf(dimensions.IndexPosition(i))},
                              {"position", VectorOf(dimensions.Position(i))},
                              {"time", TimeText(tag->Time())},
                              {"bytes", series.DatumSize(i)}};
  if (const auto* position = PositionOf(*tag)) json["tag_position"] = {position->X(), position->Y()};
  return json;
}

/// Calls `f` with the index of each of the data, or of all.
template <class F>
void ForEachOf(const Series& series, const std::optional<std::vector<int>>& data, F f) {
  const int n = data ? static_cast<int>(data->size()) : series.NextWriteIndex();
  for (int k = 0; k < n; ++k) f(data ? (*data)[static_cast<std::size_t>(k)] : k);
}

/// A text as a part of a larger one, where a margin stands before its lines.
std::string Within(const std::string& margin, const std::string& text) {
  std::string lines;
  for (const char c : text) {
    lines += c;
    if (c == '\n') lines += margin;
  }
  return lines;
}

/// A text after a label, if there is one.
std::string After(const Label& label, const std::string& text) {
  const std::string before = LabelText(label);
  return before.empty() ? text : before + ' ' + text;
}

std::string AxisText(const Label& label, const cal_cArrayCal& cal, int n) {
  return After(label, fmt::format("from {} to {} in steps of {}", NumberText(cal.Position(0)),
                                  NumberText(cal.Position(n - 1)), NumberText(cal.Delta())));
}

template <class Array>
std::string ElementsText(const Array& array) {
  return Count(array.NumIndices(), "element", "elements") + " of type " + ElementName(array.DataType());
}

template <class Array>
std::string ValuesText(const Label& label, const Array& array) {
  Statistics statistics;
  statistics.Add(array);
  return After(label, StatisticsText(statistics, DisplayDigits(array.DataType())));
}

}  // namespace

void AddFiles(CLI::App& command, FileList& list) {
  command.add_option("FILE", list.files, "Series files, or names of several with * in quotes")->required();
  command.add_flag("--json", list.json, "Write JSON; several files make one document");
}

DatumTable::DatumTable(const Series& series, unsigned int tag_type)
    : series_(series), table_(Alignments(series, tag_type)) {
  std::vector<std::string> names{"datum", "index"}, units{"", ""};
  const dtsr_cDimensionArray& dimensions = series.DimensionArray();
  for (int d = 0; d < dimensions.NumberDimensions(); ++d) {
    names.push_back(NameOf(dimensions, d));
    units.push_back(Printable(dimensions.Dimension(d).Units()));
  }
  names.push_back("time");
  if (tag_type == obty_2DPositionType) names.insert(names.end(), {"tag x", "tag y"});
  table_.Heading(std::move(names));
  const bool known = std::any_of(units.begin(), units.end(), [](const auto& unit) { return !unit.empty(); });
  if (known) table_.Heading(std::move(units));
}

Table::Cells DatumTable::Cells(int i) const {
  const dtsr_cDimensionArray& dimensions = series_.DimensionArray();
  const arr_cC_Array<int> index = dimensions.IndexPosition(i);
  Table::Cells cells{std::to_string(i), fmt::format("{}", fmt::join(VectorOf(index), ","))};
  for (int d = 0; d < dimensions.NumberDimensions(); ++d) {
    cells.push_back(PositionText(dimensions.Dimension(d), index[d]));
  }
  const auto tag = series_.Tag(i);
  cells.push_back(TimeText(tag->Time()));
  if (const auto* position = PositionOf(*tag)) {
    cells.insert(cells.end(), {TagText(position->X()), TagText(position->Y())});
  }
  return cells;
}

void DatumTable::MeasureSlots() {
  constexpr int most = 1000;
  const dtsr_cDimensionArray& dimensions = series_.DimensionArray();
  const int last = series_.Size() - 1;
  const arr_cC_Array<int> index = dimensions.IndexPosition(last);
  Table::Cells cells{std::to_string(last), fmt::format("{}", fmt::join(VectorOf(index), ","))};
  cells.resize(2 + static_cast<std::size_t>(dimensions.NumberDimensions()));
  for (int d = 0; d < dimensions.NumberDimensions(); ++d) {
    const int n = dimensions.Dimension(d).Size();
    std::string& cell = cells[static_cast<std::size_t>(d) + 2];
    const auto measure = [&](int i) {
      cell = PositionText(dimensions.Dimension(d), i);
      table_.Measure(cells);
    };
    for (int i = 0; i < n; i += std::max(n / most, 1)) measure(i);
    for (int i = std::max(n - 10, 0); i < n; ++i) measure(i);  // with every last digit
  }
}

void PrintTable(const Series& series, const std::optional<std::vector<int>>& data,
                const std::string& before) {
  DatumTable table(series, series.TagTypeID());
  ForEachOf(series, data, [&](int i) { table.Measure(i); });
  fmt::print("{}{}", before, table.Text());
  ForEachOf(series, data, [&](int i) { fmt::print("{}", table.Line(i)); });
}

void PrintJson(const Series& series, const std::optional<std::vector<int>>& data, const std::string& margin,
               const std::string& before) {
  ForEachOf(series, data, [&](int i) { series.Tag(i); });
  const std::string inner = margin + "  ";
  fmt::print("{}[", before);
  const char* separator = "";
  ForEachOf(series, data, [&](int i) {
    fmt::print("{}\n{}{}", std::exchange(separator, ","), inner,
               Within(inner, JsonText(DatumAsJson(series, i))));
  });
  fmt::print("{}]", *separator == '\0' ? "" : '\n' + margin);
}

void AddArray(Table& table, const darr_c1DArray& array, const Labels& labels) {
  const int n = array.NumIndices();
  table.Row(
      {"data", ElementsText(array) + (n == 0 ? "" : ", " + AxisText(labels.x, array.Cal().AxisX(), n))});
  table.Row({"values", ValuesText(labels.value, array)});
}

void AddArray(Table& table, const darr_c2DArray& array, const Labels& labels) {
  const int nx = array.NumIndicesX(), ny = array.NumIndicesY();
  table.Row({"data", fmt::format("{} x {} = {}", nx, ny, ElementsText(array))});
  if (array.NumIndices() > 0) {
    table.Row({"x", AxisText(labels.x, array.Cal().AxisX(), nx)});
    table.Row({"y", AxisText(labels.y, array.Cal().AxisY(), ny)});
  }
  table.Row({"values", ValuesText(labels.value, array)});
}

void AddAttributes(Table& table, const Labels& labels) {
  constexpr std::size_t longest = 24;
  for (const auto& [name, value] : labels.attributes.items()) {
    const std::string text = value.is_string() ? value.get<std::string>() : value.dump();
    table.Row({Shortened(Printable(name), longest), Printable(text)});
  }
}

std::string StatisticsText(const Statistics& statistics, int digits) {
  if (statistics.numbers == 0) return "no numbers";
  const auto& [low, high] = statistics.extremes;
  std::string text = fmt::format("{} to {}, mean {}", NumberText(low, digits), NumberText(high, digits),
                                 NumberText(statistics.Mean(), digits));
  if (statistics.not_a_numbers > 0) text += fmt::format(", {} not a number", statistics.not_a_numbers);
  return text;
}

int DisplayDigits(dtyp_cDataType type) { return type == dtyp_Float32 ? 7 : 10; }

std::string JsonText(const nlohmann::ordered_json& json) {
  return json.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

void Print(const nlohmann::ordered_json& json) { fmt::print("{}\n", JsonText(json)); }

}  // namespace dseries
