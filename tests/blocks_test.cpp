#include "arrays.h"
#include <DataStorage/data/barray.h>
#include <DataStorage/data/darray2d.h>

// Parts of arrays, selected and copied: all parts in and around a small array, compared with plain loops over
// its numbers.

namespace {

using Numbers = std::vector<double>;
using Bools = arr_c1DNumberArray<type_cBoolean>;
using Range = rnge_c1DIndexRange;
using Range2D = rnge_c2DIndexRange;

template <class Array>
Numbers NumbersOf(const Array& array) {
  if constexpr (requires { array.DataType(); }) {
    return Values(array);
  } else {
    return {array.Data(), array.Data() + array.NumIndices()};
  }
}

/// The numbers in a range of a plane of `nx` columns, with `fill` outside the plane.
Numbers Part(const Numbers& plane, int nx, const Range2D& range, double fill) {
  const Range2D all(0, 0, nx, static_cast<int>(plane.size()) / nx);
  Numbers part;
  for (int y = range.StartIndexY(); y < range.EndIndexY(); ++y)
    for (int x = range.StartIndexX(); x < range.EndIndexX(); ++x)
      part.push_back(all.Contains(x, y) ? plane[static_cast<std::size_t>(y * nx + x)] : fill);
  return part;
}

/// The part between two corners; lines use only the columns.
template <class Array>
Array Selected(const Array& whole, int x0, int y0, int x1, int y1) {
  if constexpr (requires { whole.Selection(x0, y0, x1, y1); }) {
    return whole.Selection(x0, y0, x1, y1);
  } else if constexpr (requires { whole.Selection(x0, x1); }) {
    return whole.Selection(x0, x1);
  } else if constexpr (requires { whole.NumIndicesY(); }) {
    return whole.SubArray(std::min(x0, x1), std::min(y0, y1), std::max(x0, x1) - 1, std::max(y0, y1) - 1);
  } else {
    return whole.SubArray(std::min(x0, x1), std::max(x0, x1) - 1);
  }
}

/// The calibration that keeps the positions of the elements of a part.
cal_c1DArrayCal CalOf(const cal_c1DArrayCal& cal, const Range2D& part) {
  return cal.Rebased(part.StartIndexX(), part.IndexRangeX().Contains(cal.CalIndexX()));
}
cal_c2DArrayCal CalOf(const cal_c2DArrayCal& cal, const Range2D& part) {
  return cal.Rebased(part.StartIndexX(), part.StartIndexY(), part.Contains(cal.CalIndexX(), cal.CalIndexY()));
}

template <class Array>
void CheckSelections(const Array& whole, double fill) {
  for (int corners = 0; corners < 6 * 6 * 6 * 6; ++corners) {
    const int x0 = corners % 6 - 1, y0 = corners / 6 % 6 - 1;
    const int x1 = corners / 36 % 6 - 1, y1 = corners / 216 - 1;
    if (!requires { whole.NumIndicesY(); } && (y0 != 0 || y1 != 1)) continue;
    SCOPED_TRACE(testing::Message() << x0 << ", " << y0 << " to " << x1 << ", " << y1);
    if (x0 == x1 || y0 == y1) {
      EXPECT_THROW(Selected(whole, x0, y0, x1, y1), arr_cIndexException);
      continue;
    }
    const Range2D range(x0, y0, x1, y1);
    const Array part = Selected(whole, x0, y0, x1, y1);
    EXPECT_EQ(part.NumIndicesX(), range.NumIndicesX());
    EXPECT_EQ(NumbersOf(part), Part(NumbersOf(whole), whole.NumIndicesX(), range, fill));
    if constexpr (requires { whole.Cal(); }) {
      EXPECT_EQ(part.Cal(), CalOf(whole.Cal(), range));
    }
  }
}

TEST(Blocks, AreSelectedInAndBeyondTheArray) {
  const std::vector<int> e = Counting<int>(6);
  const cal_c1DArrayCal cal(10, 0.5, 2);
  const cal_c2DArrayCal cal2d(10, 20, 0.5, 2, 2, 1);
  const type_cBoolean mask[] = {true, false, true, true};
  CheckSelections(arr_c1DNumberArray<int>(4, e.data(), 9), 9);
  CheckSelections(arr_c2DNumberArray<int>(3, 2, e.data(), 9), 9);
  CheckSelections(parr_c1DNumberArray(3, pnum_cNumber(2.5)), 2.5);
  CheckSelections(parr_c2DNumberArray(2, 1, pnum_cNumber(7)), 7);
  CheckSelections(darr_c1DArray(Line(Counting<short>(4)), cal), 0);
  CheckSelections(darr_c2DArray(Plane(3, e), cal2d), 0);
  CheckSelections(barr_c1DBoolArray(Bools(4, mask), cal), false);
  CheckSelections(barr_c2DBoolArray({2, 2, mask}, cal2d), false);
}

/// A copy of numbers from a place in one plane to a place in another one.
struct Copy {
  int from_x, from_y, x, y, nx, ny;

  /// The target, of 3 columns, after the copy; none when the copy must throw. Numbers beyond the right edge
  /// continue in the next row.
  std::optional<Numbers> Made(const Numbers& source, int source_nx, Numbers target) const {
    if (nx == 0 || ny == 0) return target;
    const int source_ny = static_cast<int>(source.size()) / source_nx, first = 3 * y + x;
    if (from_x < 0 || from_y < 0 || from_x + nx > source_nx || from_y + ny > source_ny) return {};
    if (first < 0 || first + 3 * (ny - 1) + nx > std::ssize(target)) return {};
    for (int row = 0; row < ny; ++row)
      std::copy_n(source.begin() + (from_y + row) * source_nx + from_x, nx, target.begin() + first + 3 * row);
    return target;
  }
};

/// Calls `copy` with a target of zeros.
template <class Array, class Function>
void CheckCopy(Array target, const std::optional<Numbers>& expected, Function copy) {
  if (expected) {
    copy(target);
  } else {
    EXPECT_THROW(copy(target), arr_cIndexException);
  }
  EXPECT_EQ(NumbersOf(target), expected.value_or(Numbers(static_cast<std::size_t>(target.NumIndices()))));
}

template <class T>
void CheckCopiesFrom() {
  const std::vector<T> e = Counting<T>(8);
  const Numbers numbers = {1, 2, 3, 4, 5, 6, 7, 8};
  const parr_c1DNumberArray line(3, Type(dtyp_SBin32), nullptr);
  const parr_c2DNumberArray plane(3, 3, Type(dtyp_SBin32), nullptr);
  for (int n = 0; n < 4 * 4 * 5 * 5 * 4 * 4; ++n) {
    const Copy copy{n % 4 - 1, n / 4 % 4 - 1, n / 16 % 5 - 1, n / 80 % 5 - 1, n / 400 % 4, n / 1600};
    const auto [from_x, from_y, x, y, nx, ny] = copy;
    SCOPED_TRACE(testing::Message() << nx << " x " << ny << " from " << from_x << ", " << from_y << " to "
                                    << x << ", " << y);
    const Range2D from(from_x, from_y, from_x + 1, from_y + 1), to(x, y, x + nx, y + ny);
    CheckCopy(plane, copy.Made(numbers, 4, Numbers(9)),
              [&](auto& target) { target.SetData(Plane(4, e), from, to); });
    if (from_y == 0 && y == 0 && ny == 1)
      CheckCopy(line, copy.Made(numbers, 8, Numbers(3)),
                [&](auto& target) { target.SetData(Line(e), from.IndexRangeX(), to.IndexRangeX()); });
  }
}

TEST(Blocks, AreCopiedWhereTheyFit) {
  CheckCopiesFrom<int>();
  CheckCopiesFrom<short>();

  const type_cBoolean mask[] = {true, true, false, true};
  const barr_c1DBoolArray line(Bools(2, mask), {});
  const barr_c2DBoolArray plane({2, 2, mask}, {});
  for (const int x : {-1, 0, 1, 2, largest})
    for (const int y : {-1, 0, 1, 2, largest}) {
      const bool fits_x = x == 0 || x == 1, fits_y = y == 0 || y == 1;
      const auto expected1d = fits_x ? Copy{0, 0, x, 0, 2, 1}.Made({1, 1}, 2, Numbers(3)) : std::nullopt;
      const auto expected2d =
          fits_x && fits_y ? Copy{0, 0, x, y, 2, 2}.Made({1, 1, 0, 1}, 2, Numbers(9)) : std::nullopt;
      CheckCopy(barr_c1DBoolArray(3), expected1d, [&](auto& target) { target.SetSelection(line, x); });
      CheckCopy(barr_c2DBoolArray(3, 3), expected2d, [&](auto& target) { target.SetSelection(plane, x, y); });
      EXPECT_NO_THROW(barr_c2DBoolArray(3, 3).SetSelection(barr_c2DBoolArray(0, 2), x, y));
    }
}

}  // namespace
