#include "tagged.h"
#include <DataStorage/calibration/arraycal.h>

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double inf = std::numeric_limits<double>::infinity();

TEST(Calibration, FindsIndicesAndCountsThem) {
  const cal_cArrayCal unit, shifted(10.0, 2.0, 3), wide(0.0, 1e6), falling(0.0, -0.5), flat(0.0, 0.0);
  using Case = std::tuple<cal_cArrayCal, double, int>;
  for (const auto& [cal, position, index] : std::vector<Case>{
           {unit, 0.0, 0},
           {unit, 0.999, 0},
           {unit, 1.0 - 1e-7, 1},
           {unit, -0.5, -1},
           {unit, -1.5, -2},
           {wide, -1.0, 0},
           {wide, -1000001.0, -2},  // whole deltas below the begin of a cell give the index before
           {shifted, 13.9, 4},
           {shifted, 3.9, -1},
           {falling, -1.2, 2},
           {falling, 1.2, -3},
           // No result, or one that does not fit.
           {unit, 1e300, INT_MAX},
           {unit, -inf, INT_MIN},
           {{0.0, 1.0, INT_MAX}, 1.0, INT_MAX},
           {{0.0, 1.0, INT_MIN}, -2.0, INT_MIN},
           {unit, nan, INT_MIN},
           {flat, 0.0, INT_MIN},
           {flat, 1.0, INT_MAX},
           {{0.0, nan}, 1.0, INT_MIN},
           {{inf, 1.0}, inf, INT_MIN}})
    EXPECT_EQ(cal.Index(position), index) << position << " at delta " << cal.Delta();
  using Count = std::pair<double, int>;
  for (auto [deltas, count] : std::vector<Count>{
           {2.5, 3}, {2.0, 2}, {0.0, 0}, {-2.5, -1}, {1e300, INT_MAX}, {-inf, INT_MIN}, {nan, 0}})
    EXPECT_EQ(cal_cArrayCal(7.0, 0.25, 1).NumIndices(deltas * 0.25), count) << deltas;
  EXPECT_EQ(flat.NumIndices(0.0), 0);
}

TEST(Calibration, FindsEveryIndexAgainByItsPosition) {
  for (double delta : {1e-9, 0.1, 1.0 / 3.0, 7.0, 1e12})
    for (double offset : {0.0, -0.3, 1e3})
      for (int calIndex : {-5, 0, 1000}) {
        const cal_cArrayCal cal(offset * delta, delta, calIndex);
        EXPECT_EQ(cal.Position(calIndex), cal.Offset());
        for (int k = calIndex - 2000; k < calIndex + 2000; k += 7) ASSERT_EQ(cal.Index(cal.Position(k)), k);
      }
  EXPECT_EQ(cal_cArrayCal(0.0, 1.0, 1).Position(INT_MIN), INT_MAX);  // wraps in 32 bits
}

TEST(Calibration, KeepsPositionsWhenElementsBecomeAnArrayOfTheirOwn) {
  const cal_cArrayCal cal(10.0, 0.5, 4);
  EXPECT_EQ(cal.Rebased(3, true), cal_cArrayCal(10.0, 0.5, 1));
  EXPECT_EQ(cal.Rebased(6, false), cal_cArrayCal(11.0, 0.5, 0));
  const cal_c2DArrayCal plane(10.0, 20.0, 0.5, 2.0, 4, 0);
  EXPECT_EQ(plane.Rebased(3, -1, true), cal_c2DArrayCal(10.0, 20.0, 0.5, 2.0, 1, 1));
  EXPECT_EQ(plane.Rebased(6, 1, false), cal_c2DArrayCal(11.0, 22.0, 0.5, 2.0, 0, 0));
  EXPECT_EQ(cal_cArrayCal(0.0, 1.0, INT_MAX).Rebased(INT_MIN, true).CalIndex(), INT_MAX);
}

TEST(Calibration, ReadsWhatAStreamHoldsAndNothingElse) {
  for (StreamKind kind : bothStreamKinds) {
    cal_c1DArrayCal cal(9, 9, 9);
    EXPECT_TRUE(ReadAtoms(kind, {{{0x0120, "DeltaX"}, 0.5}}, cal));
    EXPECT_EQ(cal, cal_c1DArrayCal(0.0, 0.5, 0));
    EXPECT_TRUE(ReadAtoms(kind,
                          {{{0x0110, "OffsetY"}, 7.0},
                           {{0x0140, "CalIndexX"}, 3},
                           {{0x0100, "OffsetX"}, 1.0},
                           {{0x7777, "Unknown"}, 8},
                           {{0x0100, "OffsetX"}, 2.0}},
                          cal));
    EXPECT_EQ(cal, cal_c1DArrayCal(2.0, 1.0, 3));
  }
}

}  // namespace
