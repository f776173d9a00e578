#include "file/dimensions.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <sstream>

#include "file/failure.h"
#include "file/header.h"
#include "file/text.h"

namespace dseries {

namespace {

template <class T>
T ParseField(const std::string& text, const char* what, const std::string& dimension) {
  T value{};
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  if (error != std::errc() || stop != end) {
    Fail("'{}' is not a valid {} in the dimension '{}'", text, what, dimension);
  }
  return value;
}

dtsr_cDimension ParseDimension(const std::string& text) {
  std::vector<std::string> fields;
  std::istringstream in(text);
  for (std::string field; std::getline(in, field, ',');) fields.push_back(field);
  const bool reverse = fields.size() == 6 && fields[5] == "reverse";
  if (fields.size() != 5 && !reverse) {
    Fail("'{}' is not a dimension; write it as name,units,size,offset,delta[,reverse]", text);
  }
  const int size = ParseField<int>(fields[2], "size", text);
  const auto offset = ParseField<double>(fields[3], "offset", text);
  const auto delta = ParseField<double>(fields[4], "delta", text);
  if (size < 1) Fail("the size in the dimension '{}' is not 1 or more", text);
  if (!std::isfinite(offset)) Fail("the offset in the dimension '{}' is not finite", text);
  if (!std::isfinite(delta) || delta <= 0) Fail("the delta in the dimension '{}' is not above 0", text);
  return {size, cal_c1DArrayCal(offset, delta), fields[0].c_str(), fields[1].c_str(), reverse};
}

/// Throws Failure unless header, dimensions and offset lists end below 2 GiB.
void CheckRoom(const dtsr_cDimensionArray& dimensions) {
  using detail::SeriesLists;
  bstr_cMemory_ostream records;
  dimensions.Write(records);
  SeriesLists lists{Header::End + records.Size(), 1};
  for (int d = 0; d < dimensions.NumberDimensions(); ++d) {
    lists.slots *= dimensions.Dimension(d).Size();
    if (lists.End() > detail::LastSeriesPosition) {
      Fail(
          "the dimensions have too many indices: the lists of {} slots or more would pass 2 GiB; a series "
          "file without data has up to {}; use several files",
          lists.slots, (detail::LastSeriesPosition - lists.begin) / SeriesLists::SlotBytes);
    }
  }
}

template <class T>
void CheckCount(const dtsr_cDimensionArray& dimensions, const std::vector<T>& entries) {
  const int wanted = dimensions.NumberDimensions();
  if (entries.size() != static_cast<std::size_t>(wanted)) {
    Fail("the series has {}, and {} given", Count(wanted, "dimension", "dimensions"),
         Count(static_cast<std::int64_t>(entries.size()), "number was", "numbers were"));
  }
}

template <class T>
arr_cC_Array<T> ArrayOf(const std::vector<T>& entries) {
  arr_cC_Array<T> array(static_cast<int>(entries.size()));
  for (int i = 0; i < array.Size(); ++i) array[i] = entries[static_cast<std::size_t>(i)];
  return array;
}

}  // namespace

dtsr_cDimensionArray ParseDimensions(const std::vector<std::string>& texts) {
  dtsr_cDimensionArray dimensions(static_cast<int>(texts.size()));
  for (int d = 0; d < dimensions.NumberDimensions(); ++d) {
    dimensions.Dimension(d) = ParseDimension(texts[static_cast<std::size_t>(d)]);
  }
  CheckRoom(dimensions);
  return dimensions;
}

int LinearIndex(const dtsr_cDimensionArray& dimensions, const std::vector<int>& indices) {
  CheckCount(dimensions, indices);
  for (int d = 0; d < dimensions.NumberDimensions(); ++d) {
    const int index = indices[static_cast<std::size_t>(d)], size = dimensions.Dimension(d).Size();
    if (index < 0 || index >= size) {
      Fail("index {} lies outside {}, which has 0 to {}", index, NameOf(dimensions, d), size - 1);
    }
  }
  return dimensions.Index(ArrayOf(indices));
}

int LinearIndex(const dtsr_cDimensionArray& dimensions, const std::vector<double>& positions) {
  CheckCount(dimensions, positions);
  const arr_cC_Array<int> indices = dimensions.IndexPosition(ArrayOf(positions));
  for (int d = 0; d < dimensions.NumberDimensions(); ++d) {
    const dtsr_cDimension& dimension = dimensions.Dimension(d);
    if (indices[d] < 0 || indices[d] >= dimension.Size()) {
      const cal_c1DArrayCal& cal = dimension.Calibration();
      Fail("position {} lies outside {}, which goes from {} to {}",
           NumberText(positions[static_cast<std::size_t>(d)]), NameOf(dimensions, d),
           NumberText(cal.PositionX(0)),
           WithUnits(NumberText(cal.PositionX(dimension.Size() - 1)), dimension.Units()));
    }
  }
  return dimensions.Index(indices);
}

std::string PositionText(const dtsr_cDimension& dimension, int index, int digits) {
  const cal_cArrayCal& cal = dimension.Calibration().AxisX();
  double position = cal.Position(index);
  if (std::fabs(position) < std::fabs(cal.Delta()) * 1e-9) position = 0;  // 0 but for rounding
  std::string text = NumberText(position, digits);
  for (; digits < std::numeric_limits<double>::max_digits10; text = NumberText(position, ++digits)) {
    double read = 0;
    std::from_chars(text.data(), text.data() + text.size(), read);
    if (cal.Index(read) == index) break;
  }
  return text;
}

std::string NameOf(const dtsr_cDimensionArray& dimensions, int d) {
  const str_cString& description = dimensions.Dimension(d).Description();
  return description.Length() == 0 ? fmt::format("dimension {}", d) : Printable(description);
}

std::string LabelOf(const dtsr_cDimensionArray& dimensions, int d) {
  const std::string units = Printable(dimensions.Dimension(d).Units());
  return NameOf(dimensions, d) + (units.empty() ? "" : " (" + units + ')');
}

}  // namespace dseries
