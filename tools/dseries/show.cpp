#include "show.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <nlohmann/json.hpp>

#include "dimensions.h"
#include <DataStorage/interfaces/constants.h>

namespace dseries {

namespace {

template <class T>
std::vector<T> VectorOf(const arr_cC_Array<T>& array) {
  return std::vector<T>(array.Data(), array.Data() + array.Size());
}

std::vector<Table::Align> Columns(const Series& series, unsigned int tag_type) {
  std::vector<Table::Align> columns(2 + static_cast<std::size_t>(series.DimensionArray().NumberDimensions()),
                                    Table::Right);
  columns.push_back(Table::Left);
  if (tag_type == obty_2DPositionType) columns.insert(columns.end(), {Table::Right, Table::Right});
  return columns;
}

}  // namespace

DatumTable::DatumTable(const Series& series, unsigned int tag_type)
    : series_(series), table_(Columns(series, tag_type)) {
  std::vector<std::string> cells{"datum", "index"};
  for (int d = 0; d < series.DimensionArray().NumberDimensions(); ++d) {
    cells.push_back(NameOf(series.DimensionArray(), d));
  }
  cells.push_back("time");
  if (tag_type == obty_2DPositionType) cells.insert(cells.end(), {"tag x", "tag y"});
  table_.Row(std::move(cells));
}

void DatumTable::Row(int i) {
  const dtsr_cDimensionArray& dimensions = series_.DimensionArray();
  std::vector<std::string> cells{std::to_string(i),
                                 fmt::format("{}", fmt::join(VectorOf(dimensions.IndexPosition(i)), ","))};
  for (const double position : VectorOf(dimensions.Position(i))) cells.push_back(NumberText(position));
  const auto tag = series_.Tag(i);
  cells.push_back(TimeText(tag->Time()));
  if (const auto* place = PositionOf(*tag)) {
    cells.insert(cells.end(), {NumberText(place->X()), NumberText(place->Y())});
  }
  table_.Row(std::move(cells));
}

nlohmann::ordered_json DatumAsJson(const Series& series, int i) {
  const dtsr_cDimensionArray& dimensions = series.DimensionArray();
  const auto tag = series.Tag(i);
  nlohmann::ordered_json json{{"datum", i},
                              {"index", VectorOf(dimensions.IndexPosition(i))},
                              {"position", VectorOf(dimensions.Position(i))},
                              {"time", TimeText(tag->Time())},
                              {"bytes", series.DatumSize(i)}};
  if (const auto* place = PositionOf(*tag)) json["tag_position"] = {place->X(), place->Y()};
  return json;
}

const dtsr_c2DPosition* PositionOf(const dtsr_cDataTag& tag) {
  return dynamic_cast<const dtsr_c2DPosition*>(&tag);
}

void Print(const nlohmann::ordered_json& json) {
  fmt::print("{}\n", json.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace));
}

}  // namespace dseries
