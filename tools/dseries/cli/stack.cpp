#include "cli/stack.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>

#include "cli/progress.h"
#include "file/dimensions.h"
#include "file/failure.h"
#include "file/text.h"

namespace dseries {

namespace {

/// The positions of the elements of all data.
struct Grid {
  cal_cArrayCal cal;  ///< of its first element
  std::int64_t size = 0;
};

/// Where an axis of so many elements begins on another one, in elements; none if they lie between those.
std::optional<std::int64_t> Shift(const cal_cArrayCal& axis, int n, const cal_cArrayCal& grid) {
  constexpr double most_off = 0.01;  // of a step
  const double step = grid.Delta();
  const double shift = (axis.Position(0) - grid.Offset()) / step;
  const bool even = std::fabs(axis.Delta() - step) * n <= most_off * std::fabs(step) &&
                    std::fabs(shift - std::round(shift)) <= most_off && std::fabs(shift) < 1e9;
  return even ? std::optional(std::int64_t{std::llround(shift)}) : std::nullopt;
}

Grid GridOf(DataSeries<darr_c1DArray>& series, const std::vector<int>& data) {
  Grid grid;
  std::int64_t begin = 0, end = 0;
  int first = 0;
  for (const int i : data) {
    const auto head = series.Head<darr_c1DArray>(i);
    if (!head || head->extents[0] == 0) continue;  // reading a damaged datum reports it
    const int n = head->extents[0];
    if (end == begin) {
      grid.cal = cal_cArrayCal(head->cals[0].Position(0), head->cals[0].Delta());
      first = i;
    }
    const auto shift = Shift(head->cals[0], n, grid.cal);
    if (!shift) Fail("the axes of data {} and {} differ; choose data with the same one", first, i);
    begin = std::min(begin, *shift);
    end = std::max(end, *shift + n);
  }
  grid.cal.SetOffset(grid.cal.Offset() + static_cast<double>(begin) * grid.cal.Delta());
  grid.size = end - begin;
  return grid;
}

/// The axis that the rows lie along, and the texts about them. Data whose positions fall are reversed.
cal_cArrayCal RowsOf(const Series& series, std::vector<int>& data, Stack& stack) {
  const dtsr_cDimensionArray& dimensions = series.DimensionArray();
  const auto evenly = [&data](auto place) {
    const auto step = data.size() > 1 ? place(data[1]) - place(data[0]) : 1;
    for (std::size_t k = 1; k < data.size(); ++k) {
      if (place(data[k]) - place(data[k - 1]) != step) return 0;
    }
    return step;
  };
  const auto along = [&](auto place, const cal_cArrayCal& cal) {
    int step = evenly(place);
    if (step < 0) {
      std::reverse(data.begin(), data.end());
      step = -step;
    }
    return cal_cArrayCal(cal.Position(place(data.front())), step * cal.Delta());
  };
  int varying = -1;
  bool several = false;
  for (int d = 0; d < dimensions.NumberDimensions(); ++d) {
    const auto place = [&](int i) { return dimensions.IndexPosition(i)[d]; };
    const int first = place(data.front());
    if (std::all_of(data.begin(), data.end(), [&](int i) { return place(i) == first; })) {
      const dtsr_cDimension& dimension = dimensions.Dimension(d);
      stack.place += fmt::format("{}{} {}", stack.place.empty() ? "" : ", ", NameOf(dimensions, d),
                                 WithUnits(PositionText(dimension, first, 6), dimension.Units()));
      continue;
    }
    several = several || varying >= 0;
    varying = d;
  }
  const auto index = [&](int i) { return dimensions.IndexPosition(i)[varying]; };
  if (varying >= 0 && !several && evenly(index) != 0) {
    stack.row_label = LabelOf(dimensions, varying);
    return along(index, dimensions.Dimension(varying).Calibration().AxisX());
  }
  const auto itself = [](int i) { return i; };
  const bool even = evenly(itself) != 0;
  stack.row_label = even ? "datum" : "data in the order chosen";
  return even ? along(itself, {}) : cal_cArrayCal();
}

}  // namespace

Stack StackOf(DataSeries<darr_c1DArray>& series, std::vector<int> data, const View& view) {
  constexpr std::int64_t most = std::int64_t{1} << 26;
  Stack stack;
  const cal_cArrayCal rows = RowsOf(series, data, stack);
  const Grid grid = GridOf(series, data);
  const auto count = static_cast<std::int64_t>(data.size());
  if (grid.size * count > most) {
    Fail("{} data of {} elements are too many for one picture; choose fewer, such as ::{}", count, grid.size,
         grid.size * count / most + 1);
  }
  constexpr double no_value = std::numeric_limits<double>::quiet_NaN();
  arr_c2DNumberArray<double> values(static_cast<int>(grid.size), static_cast<int>(count), nullptr, no_value,
                                    true);
  double* row = values.WriteAccess();
  Progress progress("reading", count);
  for (const int i : data) {
    darr_c1DArray datum = series.Datum(i);
    datum.Convert(dtyp_Float64);
    const int n = datum.NumIndices();
    if (n > 0) {
      const std::int64_t shift =
          std::llround((datum.Cal().PositionX(0) - grid.cal.Offset()) / grid.cal.Delta());
      if (shift < 0 || shift + n > grid.size) Fail("{} has changed meanwhile", series.FilePath().CString());
      std::copy_n(static_cast<const double*>(datum.Data()), n, row + shift);
    }
    row += grid.size;
    progress.Show((row - values.Data()) / std::max<std::int64_t>(grid.size, 1));
  }
  stack.plane = darr_c2DArray(values, cal_c2DArrayCal(grid.cal, rows));
  stack.plane = CutColumns(stack.plane, view);
  return stack;
}

}  // namespace dseries
