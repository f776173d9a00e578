#include "file/coordinates.h"

#include <cstddef>
#include <cstdint>

#include "cli/show.h"
#include "file/dimensions.h"
#include "file/text.h"
#include <DataStorage/interfaces/constants.h>

namespace dseries {

namespace {

constexpr int position_digits = 13;

}  // namespace

std::string PositionText(double position) { return NumberText(position, position_digits); }

Places::Places(const Series& series)
    : series_(series), positions_in_tags_(series.TagTypeID() == obty_2DPositionType) {}

std::vector<std::string> Places::Names() const {
  std::vector<std::string> names{"datum"};
  const dtsr_cDimensionArray& dimensions = series_.DimensionArray();
  for (int d = 0; d < dimensions.NumberDimensions(); ++d) names.push_back(NameOf(dimensions, d));
  names.push_back("time");
  if (positions_in_tags_) names.insert(names.end(), {"tag_x", "tag_y"});
  return names;
}

std::vector<std::string> Places::NpyTypes() const {
  const auto dimensions = static_cast<std::size_t>(series_.DimensionArray().NumberDimensions());
  std::vector<std::string> types{"<i4"};
  types.resize(1 + dimensions, "<f8");
  types.push_back("<M8[s]");  // seconds since 1970
  if (positions_in_tags_) types.resize(types.size() + 2, "<f8");
  return types;
}

std::vector<std::string> Places::Cells(int i) const {
  std::vector<std::string> cells{std::to_string(i)};
  const dtsr_cDimensionArray& dimensions = series_.DimensionArray();
  const arr_cC_Array<int> index = dimensions.IndexPosition(i);
  for (int d = 0; d < dimensions.NumberDimensions(); ++d) {
    cells.push_back(PositionText(dimensions.Dimension(d), index[d], position_digits));
  }
  const auto tag = series_.Tag(i);
  cells.push_back(TimeText(tag->Time()));
  if (const auto* place = PositionOf(*tag)) {
    cells.insert(cells.end(), {TagText(place->X()), TagText(place->Y())});
  }
  return cells;
}

void Places::Write(bstr_cBinary_ostream& out, int i) const {
  bstr_WriteFields(out, std::int32_t{i});
  for (const double position : VectorOf(series_.DimensionArray().Position(i)))
    bstr_WriteFields(out, position);
  const auto tag = series_.Tag(i);
  bstr_WriteFields(out, std::int64_t{tag->Time()});
  if (const auto* place = PositionOf(*tag)) bstr_WriteFields(out, place->X(), place->Y());
}

}  // namespace dseries
