#include "cli/show.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <limits>
#include <nlohmann/json.hpp>

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

std::string AxisText(const cal_cArrayCal& cal, int n) {
  return fmt::format("from {} to {} in steps of {}", NumberText(cal.Position(0)),
                     NumberText(cal.Position(n - 1)), NumberText(cal.Delta()));
}

template <class Array>
std::string ElementsText(const Array& array) {
  return Count(array.NumIndices(), "element", "elements") + " of type " + ElementName(array.DataType());
}

template <class Array>
std::string ValuesText(const Array& array) {
  Array doubles(array);
  doubles.Convert(dtyp_Float64);
  const auto* values = static_cast<const double*>(doubles.Data());
  double low = std::numeric_limits<double>::infinity(), high = -low, sum = 0;
  int numbers = 0;
  for (int i = 0; i < array.NumIndices(); ++i) {
    if (std::isnan(values[i])) continue;
    low = std::min(low, values[i]);
    high = std::max(high, values[i]);
    sum += values[i];
    ++numbers;
  }
  if (numbers == 0) return "no numbers";
  const int digits = DisplayDigits(array.DataType());
  std::string text = fmt::format("{} to {}, mean {}", NumberText(low, digits), NumberText(high, digits),
                                 NumberText(sum / numbers, digits));
  if (const int others = array.NumIndices() - numbers; others > 0) {
    text += fmt::format(", {} not a number", others);
  }
  return text;
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

void AddArray(Table& table, const darr_c1DArray& array) {
  const int n = array.NumIndices();
  table.Row({"data", ElementsText(array) + (n == 0 ? "" : ", " + AxisText(array.Cal().AxisX(), n))});
  table.Row({"values", ValuesText(array)});
}

void AddArray(Table& table, const darr_c2DArray& array) {
  const int nx = array.NumIndicesX(), ny = array.NumIndicesY();
  table.Row({"data", fmt::format("{} x {} = {}", nx, ny, ElementsText(array))});
  if (array.NumIndices() > 0) {
    table.Row({"x", AxisText(array.Cal().AxisX(), nx)});
    table.Row({"y", AxisText(array.Cal().AxisY(), ny)});
  }
  table.Row({"values", ValuesText(array)});
}

int DisplayDigits(dtyp_cDataType type) { return type == dtyp_Float32 ? 7 : 10; }

std::string JsonText(const nlohmann::ordered_json& json) {
  return json.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

void Print(const nlohmann::ordered_json& json) { fmt::print("{}\n", JsonText(json)); }

}  // namespace dseries
