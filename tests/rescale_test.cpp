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
  for (const double step : {0.0, 1e-300, std::numeric_limits<double>::quiet_NaN(), -1.0}) {
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

TEST(Transform, KeepsTheFractionOfTheRange) {
  const darr_c1DArray line(5, pnum_cNumber(0), {0, 2, 0});
  EXPECT_EQ(darr_Transform(pos_c1DPosition(5), line, {100, 4, 0}).X(), 110);
  EXPECT_EQ(darr_Transform(pos_c1DPosition(20), line, {100, 4, 3}).X(), 128);
  const darr_c2DArray plane(2, 5, pnum_cNumber(0), {10, 0, 1, 2, 0, 0});
  const pos_c2DPosition at = darr_Transform(pos_c2DPosition(11, 5), plane, {1, 100, 10, 4, 1, 0});
  EXPECT_EQ(at, pos_c2DPosition(1, 110));
}

}  // namespace
