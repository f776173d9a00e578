#include "arrays.h"
#include <DataStorage/data/rescl2.h>

namespace {

using testing::ElementsAre;

using Cal = cal_c1DArrayCal;

template <class T>
struct RescaleTest : testing::Test {};
TYPED_TEST_SUITE(RescaleTest, EveryElementType);

TYPED_TEST(RescaleTest, PicksElementsOfEveryType) {
  const std::vector<TypeParam> e = Counting<TypeParam>(8);
  const darr_c1DArray line(Line(e), {});
  EXPECT_EQ(Bytes(resc_Rescale(line, 2, 0)), Bytes(Line(std::vector{e[1], e[3], e[5], e[7]})));
  const darr_c2DArray plane(Plane(4, e), {});
  EXPECT_EQ(Bytes(resc_Rescale(plane, 2, 1)), Bytes(Line(std::vector{e[0], e[2], e[4], e[6]})));
  EXPECT_EQ(Bytes(resc_Rescale(plane, 4, 0.5)), Bytes(Line(std::vector{e[0], e[0], e[4], e[4]})));
}

TEST(Rescale, TakesTheCentreOfEachCellOfALine) {
  const darr_c1DArray line(Line<int>({10, 20, 30, 40}), {});
  EXPECT_EQ(resc_Rescale(line, 1, 7.5).Data(), line.Data());
  const auto expect = [&](double delta, double origin, const std::vector<int>& values, const Cal& cal) {
    EXPECT_EQ(RawForm(resc_Rescale(line, delta, origin)), RawForm(darr_c1DArray(Line(values), cal)))
        << delta << " " << origin;
  };
  expect(2, 0, {20, 40}, {0, 2});
  expect(0.5, 0, {10, 10, 20, 20, 30, 30, 40, 40}, {0, 0.5});
  expect(2, -6, {20, 40}, {0, 2});  // the grid may begin anywhere
  expect(2, 0.5, {20, 40}, {0.5, 2});
  EXPECT_EQ(resc_Rescale(line, 100, 0).NumIndices(), 0);
}

TEST(Rescale, TakesTheStartOfEachCellOfAPlane) {
  const darr_c2DArray plane(Plane(4, Counting<int>(8)), {10, 20, 1, 1, 2, 1});
  EXPECT_EQ(resc_Rescale(plane, 1, 1).Data(), plane.Data());
  const darr_c2DArray coarse(Plane<int>(2, {1, 3, 5, 7}), {10, 20, 2, 1, 1, 1});
  EXPECT_EQ(RawForm(resc_Rescale(plane, 2, 1)), RawForm(coarse));
  const darr_c2DArray uneven(Plane<int>(2, {1, 4, 5, 8}), {8, 19, 3, 1.5, 0, 0});
  EXPECT_EQ(RawForm(resc_Rescale(plane, 3, 1.5)), RawForm(uneven));
}

TEST(Rescale, RefusesStepsThatNoArrayHasElementsFor) {
  const darr_c1DArray line(Line<int>({1, 2}), {});
  const darr_c2DArray plane(Plane<int>(2, {1, 2}), {});
  for (const double step : {0.0, 1e-300, not_a_number, -1.0, infinity}) {
    EXPECT_THROW(resc_Rescale(line, step, 0), arr_cSizeException) << step;
    EXPECT_THROW(resc_Rescale(plane, step, 1), arr_cSizeException) << step;
  }
  EXPECT_EQ(resc_Rescale(darr_c1DArray(), 0.5, 0).NumIndices(), 0);
}

TEST(Merge, CopiesIntoPlaceAndGrows) {
  const auto merged = [](darr_c1DArray target, const darr_c1DArray& source) {
    target.Set(source);
    return target;
  };
  const darr_c1DArray line(Line<int>({1, 2, 3, 4}), {10, 1, 0});
  EXPECT_THAT(Values(merged(line, {Line<int>({8, 9}), {11, 1, 0}})), ElementsAre(1, 8, 9, 4));
  EXPECT_THAT(Values(merged(line, {Line<int>({8, 9}), {16, 1, 0}})), ElementsAre(1, 2, 3, 4, 0, 0, 8, 9));
  EXPECT_EQ(RawForm(merged(line, {Line<double>({0.5}), {8, 1, 0}})),
            RawForm(darr_c1DArray(Line<double>({0.5, 0, 1, 2, 3, 4}), {10, 1, 2})));
  EXPECT_THAT(Values(merged(line, {Line<int>({7, 8}), {10, 2, 0}})), ElementsAre(7, 7, 8, 8));
  EXPECT_THAT(Values(merged(darr_c1DArray(), line).Selection(9, 14)), ElementsAre(0, 1, 2, 3, 4));

  darr_c2DArray plane(Plane<int>(2, {1, 2, 3, 4}), {});
  plane.Set({Plane<int>(1, {8, 9}), {1, 1, 1, 1, 0, 0}});
  EXPECT_THAT(Values(plane), ElementsAre(1, 2, 3, 8, 0, 9));
  plane.Set({Plane<short>(1, {7}), {0, 0, 1, 2, 0, 0}});  // same step along X only
  EXPECT_THAT(Values(plane), ElementsAre(7, 2, 7, 8, 0, 9));
}

TEST(Merge, RefusesAxesThatDoNotRunInTheSameDirection) {
  for (const double delta : {1.0, -1.0}) {
    const darr_c1DArray line(Line<short>({1, 2}), {0, delta, 0});
    const darr_c2DArray plane(Plane<short>(2, {1, 2}), {0, 0, delta, 1, 0, 0});
    for (const double other : {-delta, -2 * delta, 0.0, not_a_number, infinity}) {
      darr_c1DArray target = line;
      darr_c2DArray target2d = plane;
      EXPECT_THROW(target.Set({Line<int>({3}), {0, other, 0}}), arr_cIndexException) << other;
      EXPECT_THROW(target2d.Set({Plane<int>(1, {3}), {0, 0, other, 1, 0, 0}}), arr_cIndexException) << other;
      EXPECT_THROW(target2d.Set({Plane<int>(1, {3}), {0, 0, delta, -1, 0, 0}}), arr_cIndexException);
      EXPECT_EQ(RawForm(target) + RawForm(target2d), RawForm(line) + RawForm(plane));
    }
  }
}

darr_c1DArray Mirrored(darr_c1DArray array, bool x, bool /*y*/) {
  if (x) array.SetCal({-array.OffsetX(), -array.DeltaX(), array.CalIndexX()});
  return array;
}
darr_c2DArray Mirrored(darr_c2DArray array, bool x, bool y) {
  if (x) array.SetOffsetX(-array.OffsetX()), array.SetDeltaX(-array.DeltaX());
  if (y) array.SetOffsetY(-array.OffsetY()), array.SetDeltaY(-array.DeltaY());
  return array;
}

darr_c2DArray AsPlane(const darr_c2DArray& array) { return array; }
darr_c2DArray AsPlane(const darr_c1DArray& array) {
  return {parr_c2DNumberArray(array.NumIndices(), 1, array.DataType(), array.Data()),
          {array.OffsetX(), 0, array.DeltaX(), 1, array.CalIndexX(), 0}};
}

constexpr int written = 100;  // the first value written

/// Writes to an array with rising axes and to its mirror image. Both get the same elements, but falling axes
/// do not grow: where the array grew for a written element, its image throws.
template <class Array>
void CheckMirrorImage(const Array& array, bool x, bool y,
                      const std::function<void(Array&, bool, bool)>& write) {
  Array rising = array, falling = Mirrored(array, x, y);
  try {
    write(rising, false, false);
  } catch (const arr_cSizeException&) {
    EXPECT_THROW(write(falling, x, y), arr_cSizeException);
    return;
  }
  const darr_c2DArray before = AsPlane(array), after = AsPlane(rising);
  const auto i = static_cast<int>(std::lround(before.Range().OffsetX(after.Range()) / before.DeltaX()));
  const auto j = static_cast<int>(std::lround(before.Range().OffsetY(after.Range()) / before.DeltaY()));
  const rnge_c2DIndexRange image(x ? i : 0, y ? j : 0, x ? i + before.NumIndicesX() : after.NumIndicesX(),
                                 y ? j + before.NumIndicesY() : after.NumIndicesY());
  const auto count = [](const darr_c2DArray& plane) {
    return std::ranges::count_if(Values(plane), [](double value) { return value >= written; });
  };
  const darr_c2DArray expected = after.Selection(image);
  if (count(expected) < count(after)) {
    EXPECT_THROW(write(falling, x, y), arr_cIndexException);
    EXPECT_EQ(RawForm(falling), RawForm(Mirrored(array, x, y)));
    return;
  }
  write(falling, x, y);
  const darr_c2DArray result = AsPlane(Mirrored(falling, x, y));
  EXPECT_EQ(Values(result), Values(expected));
  EXPECT_EQ(result.NumIndicesX(), expected.NumIndicesX());
  EXPECT_NEAR(result.Range().Left(), expected.Range().Left(), 1e-9);
  EXPECT_NEAR(result.Range().Bottom(), expected.Range().Bottom(), 1e-9);
}

TEST(FallingAxis, IsTheMirrorImageOfARisingOneThatDoesNotGrow) {
  std::minstd_rand random(RandomSeed());
  const auto whole = [&](int from, int to) { return std::uniform_int_distribution(from, to)(random); };
  // Often on a common grid, but never halfway between two elements, where the nearest one is ambiguous.
  const auto position = [&] {
    return whole(0, 1) == 0 ? whole(-4, 4) : std::uniform_real_distribution(-4.0, 4.0)(random);
  };
  const auto step = [&] { return std::array{0.43, 1.0, 1.0, 1.71}[static_cast<std::size_t>(whole(0, 3))]; };
  const auto numbers = [&](int count, int first) {
    std::vector<int> values(static_cast<std::size_t>(count));
    std::iota(values.begin(), values.end(), first);
    return values;
  };
  const auto line = [&](int first) -> darr_c1DArray {
    return {Line(numbers(whole(1, 6), first)), {position(), step(), whole(-2, 6)}};
  };
  const auto plane = [&](int first) -> darr_c2DArray {
    const int nx = whole(1, 5);
    return {Plane(nx, numbers(nx * whole(1, 5), first)),
            {position(), position(), step(), step(), whole(-2, 6), whole(-2, 6)}};
  };
  for (int run = 0; run < 3000 && !testing::Test::HasFailure(); ++run) {
    const bool fallsY = whole(0, 1) == 1, fallsX = !fallsY || whole(0, 1) == 1;
    const double atX = position(), atY = position(), signX = fallsX ? -1 : 1, signY = fallsY ? -1 : 1;
    const darr_c1DArray a = line(1), b = line(written);
    CheckMirrorImage<darr_c1DArray>(a, true, false,
                                    [&](auto& t, bool x, bool) { t.SetValue(written, x ? -atX : atX); });
    CheckMirrorImage<darr_c1DArray>(a, true, false,
                                    [&](auto& t, bool x, bool) { t.Set(Mirrored(b, x, false)); });
    const darr_c2DArray c = plane(1), d = plane(written);
    CheckMirrorImage<darr_c2DArray>(c, fallsX, fallsY, [&](auto& t, bool x, bool y) {
      t.SetValue(written, x ? -atX : atX, y ? -atY : atY);
    });
    CheckMirrorImage<darr_c2DArray>(c, fallsX, fallsY,
                                    [&](auto& t, bool x, bool y) { t.Set(Mirrored(d, x, y)); });

    const double newX = step(), newY = step();
    const darr_c2DArray coarse = Mirrored(resc_Rescale(c, newX, newY), fallsX, fallsY);
    const darr_c2DArray image = resc_Rescale(Mirrored(c, fallsX, fallsY), signX * newX, signY * newY);
    EXPECT_TRUE(image.Cal() == coarse.Cal() && Bytes(image) == Bytes(coarse));

    // A physical range rises, so it selects at most one cell on a falling axis.
    try {
      EXPECT_LE(Mirrored(a, true, false).Selection(atX, atY, rnge_eIndexSelect(whole(0, 3))).NumIndices(), 1);
    } catch (const arr_cSizeException&) {
    }
  }
}

TEST(Transform, KeepsTheFractionOfTheRange) {
  const darr_c1DArray line(5, pnum_cNumber(0), {0, 2, 0});
  EXPECT_EQ(darr_Transform(pos_c1DPosition(5), line, {100, 4, 0}).X(), 110);
  EXPECT_EQ(darr_Transform(pos_c1DPosition(20), line, {100, 4, 3}).X(), 128);
  const darr_c2DArray plane(2, 5, pnum_cNumber(0), {10, 0, 1, 2, 0, 0});
  const pos_c2DPosition at = darr_Transform(pos_c2DPosition(11, 5), plane, {1, 100, 10, 4, 1, 0});
  EXPECT_EQ(at, pos_c2DPosition(1, 110));
}

}  // namespace
