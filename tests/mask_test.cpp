#include "arrays.h"
#include <DataStorage/data/convert.h>

namespace {

using Elements = std::vector<bool>;

template <class Mask>
Elements ElementsOf(const Mask& mask) {
  return Elements(mask.Data(), mask.Data() + mask.NumIndices());
}

TEST(Mask, BeginsFalseAndTakesOneValue) {
  EXPECT_EQ(ElementsOf(barr_c1DBoolArray()), Elements(2, false));
  barr_c2DBoolArray plane;
  EXPECT_EQ(ElementsOf(plane), Elements(4, false));
  plane = true;
  EXPECT_EQ(ElementsOf(plane.Selection(1, 1, 3, 2)), Elements(2, true));
  EXPECT_EQ(ElementsOf(barr_c1DBoolArray(1, true, {}).Selection(0, 2)), Elements(2, true));
  const barr_c1DBoolArray line(3, true, {1, 2, 3});
  EXPECT_EQ(line.Selection(rnge_c1DIndexRange::Null).Cal(), line.Cal());
  EXPECT_EQ(line.Selection(rnge_c1DIndexRange::Null).Data(), line.Data());
  EXPECT_EQ(plane.Selection(rnge_c2DIndexRange::Null).Data(), plane.Data());
  EXPECT_THROW(line.Selection(0, 0), arr_cIndexException);
  EXPECT_THROW(plane.Selection(0, 0, 1, 0), arr_cIndexException);
  EXPECT_THROW(barr_c1DBoolArray(0).Data(), arr_cIndexException);
  EXPECT_THROW(barr_c2DBoolArray(3, 0).Data(), arr_cIndexException);
}

TEST(Mask, ComparesItsGridWithOthers) {
  const barr_c1DBoolArray line(10, false, {0, 1, 0});
  EXPECT_TRUE(line.IsRangeAndDelta({10, true, {5, 1, 5}}));
  EXPECT_FALSE(line.IsRangeAndDelta({5, false, {0, 2, 0}}));
  EXPECT_FALSE(line.IsRangeAndDelta({10, false, {1, 1, 0}}));
  const barr_c2DBoolArray plane(4, 4, false, {0, 0, 1, 1, 0, 0});
  EXPECT_TRUE(plane.IsRangeAndDelta({4, 4, false, {1, 2, 1, 1, 1, 2}}));
  EXPECT_FALSE(plane.IsRangeAndDelta({4, 2, false, {0, 0, 1, 2, 0, 0}}));
}

TEST(Mask, BecomesADataArrayOfBytes) {
  const type_cBoolean mask[] = {true, false, true, true, false, true};
  const std::vector<unsigned char> bytes = {1, 0, 1, 1, 0, 1};
  const cal_c1DArrayCal cal(1, 2, 3);
  const cal_c2DArrayCal cal2d(1, 2, 3, 4, 5, 6);
  const barr_c1DBoolArray line(arr_c1DNumberArray<type_cBoolean>(6, mask), cal);
  EXPECT_EQ(RawForm(conv_Convert(line)), RawForm(darr_c1DArray(Line(bytes), cal)));
  const barr_c2DBoolArray plane({3, 2, mask}, cal2d);
  EXPECT_EQ(RawForm(conv_Convert(plane)), RawForm(darr_c2DArray(Plane(3, bytes), cal2d)));
  EXPECT_EQ(conv_Convert(barr_c2DBoolArray(3, 0)).NumIndicesX(), 3);
}

}  // namespace
