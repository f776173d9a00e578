#include "file/coordinates.h"

#include <cstddef>
#include <cstdint>
#include <fmt/ranges.h>
#include <limits>

#include "file/dimensions.h"
#include "file/text.h"
#include <DataStorage/interfaces/constants.h>

namespace dseries {

namespace {

constexpr int position_digits = 13;

}  // namespace

std::string PositionText(const Series& series, int i) {
  const dtsr_cDimensionArray& dimensions = series.DimensionArray();
  const arr_cC_Array<double> position = dimensions.Position(i);
  std::vector<std::string> texts;
  texts.reserve(static_cast<std::size_t>(dimensions.NumberDimensions()));
  for (int d = 0; d < dimensions.NumberDimensions(); ++d) {
    texts.push_back(NameOf(dimensions, d) + ' ' +
                    WithUnits(NumberText(position[d], 6), dimensions.Dimension(d).Units()));
  }
  return fmt::format("{}", fmt::join(texts, ", "));
}

std::string DatumText(const Series& series, int i) {
  const auto tag = series.Tag(i);
  std::string text = fmt::format("datum {}: {}, {}", i, PositionText(series, i), TimeText(tag->Time()));
  if (const auto* position = PositionOf(*tag)) {
    text += fmt::format(", tag {}, {}", NumberText(position->X(), 6), NumberText(position->Y(), 6));
  }
  return text;
}

std::string TagText(double coordinate) {
  return NumberText(coordinate, std::numeric_limits<double>::digits10);
}

const dtsr_c2DPosition* PositionOf(const dtsr_cDataTag& tag) {
  return dynamic_cast<const dtsr_c2DPosition*>(&tag);
}

std::string PositionText(double position) { return NumberText(position, position_digits); }

CoordinateColumns::CoordinateColumns(const Series& series)
    : series_(series), positions_in_tags_(series.TagTypeID() == obty_2DPositionType) {}

std::vector<std::string> CoordinateColumns::Names() const {
  std::vector<std::string> names{"datum"};
  const dtsr_cDimensionArray& dimensions = series_.DimensionArray();
  for (int d = 0; d < dimensions.NumberDimensions(); ++d) names.push_back(NameOf(dimensions, d));
  names.push_back("time");
  if (positions_in_tags_) names.insert(names.end(), {"tag_x", "tag_y"});
  return names;
}

std::vector<std::string> CoordinateColumns::NpyTypes() const {
  const auto dimensions = static_cast<std::size_t>(series_.DimensionArray().NumberDimensions());
  std::vector<std::string> types{"<i4"};
  types.resize(1 + dimensions, "<f8");
  types.push_back("<M8[s]");  // seconds since 1970
  if (positions_in_tags_) types.resize(types.size() + 2, "<f8");
  return types;
}

std::vector<std::string> CoordinateColumns::Cells(int i) const {
  std::vector<std::string> cells{std::to_string(i)};
  const dtsr_cDimensionArray& dimensions = series_.DimensionArray();
  const arr_cC_Array<int> index = dimensions.IndexPosition(i);
  for (int d = 0; d < dimensions.NumberDimensions(); ++d) {
    cells.push_back(PositionText(dimensions.Dimension(d), index[d], position_digits));
  }
  const auto tag = series_.Tag(i);
  cells.push_back(TimeText(tag->Time()));
  if (const auto* position = PositionOf(*tag)) {
    cells.insert(cells.end(), {TagText(position->X()), TagText(position->Y())});
  }
  return cells;
}

void CoordinateColumns::Write(bstr_cBinary_ostream& out, int i) const {
  bstr_WriteFields(out, std::int32_t{i});
  for (const double position : VectorOf(series_.DimensionArray().Position(i)))
    bstr_WriteFields(out, position);
  const auto tag = series_.Tag(i);
  bstr_WriteFields(out, std::int64_t{tag->Time()});
  if (const auto* position = PositionOf(*tag)) bstr_WriteFields(out, position->X(), position->Y());
}

}  // namespace dseries
