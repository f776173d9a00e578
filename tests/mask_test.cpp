#include "arrays.h"
#include <DataStorage/data/convert.h>

namespace {

using Cal = cal_c1DArrayCal;
using Cal2D = cal_c2DArrayCal;

/// Masks as text, for example "10" for true, false.
template <class Mask>
std::string Text(const Mask& mask) {
  std::string text;
  for (int i = 0; i < mask.NumIndices(); ++i) text += mask.Data()[i] ? '1' : '0';
  return text;
}
barr_c1DBoolArray Mask(const std::string& text, const Cal& cal = {}) {
  arr_c1DNumberArray<type_cBoolean> elements(static_cast<int>(text.size()));
  for (int i = 0; i < elements.NumIndices(); ++i)
    elements.SetValue(text[static_cast<std::size_t>(i)] == '1', i);
  return {elements, cal};
}
barr_c2DBoolArray Mask(int nx, const std::string& text, const Cal2D& cal = {}) {
  const barr_c1DBoolArray line = Mask(text);
  return {{nx, line.NumIndices() / nx, line.Data()}, cal};
}

TEST(Mask, BeginsFalseAndTakesOneValue) {
  EXPECT_EQ(Text(barr_c1DBoolArray()), "00");
  barr_c2DBoolArray plane;
  EXPECT_EQ(Text(plane), "0000");
  plane = true;
  EXPECT_EQ(Text(plane.Selection(1, 1, 3, 2)), "11");
  EXPECT_EQ(Text(barr_c1DBoolArray(1, true, {}).Selection(0, 2)), "11");
  EXPECT_THROW(barr_c1DBoolArray(0).Data(), arr_cIndexException);
  EXPECT_THROW(barr_c2DBoolArray(3, 0).Data(), arr_cIndexException);
  EXPECT_THROW(barr_c2DBoolArray(2, -1), arr_cSizeException);
}

TEST(Mask, SelectsWithPositionsAndFillValue) {
  const barr_c1DBoolArray line = Mask("1011", {10, 0.5, 2});
  EXPECT_EQ(Text(line.Selection(-1, 2)), "010");
  EXPECT_EQ(line.Selection(1, 3).Cal(), Cal(10, 0.5, 1));
  EXPECT_THROW(line.Selection(2, 2), arr_cIndexException);

  const barr_c2DBoolArray plane = Mask(3, "101011", {1, 2, 3, 4, 2, 1});
  EXPECT_EQ(Text(plane.Selection(1, 0, 4, 2)), "010110");
  EXPECT_EQ(plane.Selection(0, 1, 2, 2).Cal(), Cal2D(-5, 2, 3, 4, 0, 0));
}

TEST(Mask, TakesBlocksThatFit) {
  const barr_c1DBoolArray original = Mask("0000");
  barr_c1DBoolArray line = original;
  line.SetSelection(Mask("11"), 2);
  EXPECT_EQ(Text(line), "0011");
  EXPECT_EQ(Text(original), "0000");
  for (const int offset : {3, -1, largest}) {
    EXPECT_THROW(line.SetSelection(Mask("11"), offset), arr_cIndexException);
    EXPECT_NO_THROW(line.SetSelection(barr_c1DBoolArray(0), offset));
  }

  barr_c2DBoolArray plane(3, 3);
  plane.SetSelection(Mask(2, "1101"), 1, 1);
  EXPECT_EQ(Text(plane), "000011001");
  for (const auto& [x, y] : {std::pair(2, 0), {0, 2}, {-1, 1}, {0, -1}, {largest, 0}}) {
    EXPECT_THROW(plane.SetSelection(Mask(2, "1111"), x, y), arr_cIndexException);
  }
  EXPECT_EQ(Text(plane), "000011001");
}

TEST(Mask, ComparesItsGridWithOthers) {
  const barr_c1DBoolArray line(10, false, {0, 1, 0});
  EXPECT_TRUE(line.IsRangeAndDelta(barr_c1DBoolArray(10, true, {5, 1, 5})));
  EXPECT_FALSE(line.IsRangeAndDelta(barr_c1DBoolArray(5, false, {0, 2, 0})));
  EXPECT_FALSE(line.IsRangeAndDelta(barr_c1DBoolArray(10, false, {1, 1, 0})));
  const barr_c2DBoolArray plane(4, 4, false, {0, 0, 1, 1, 0, 0});
  EXPECT_TRUE(plane.IsRangeAndDelta(barr_c2DBoolArray(4, 4, false, {1, 2, 1, 1, 1, 2})));
  EXPECT_FALSE(plane.IsRangeAndDelta(barr_c2DBoolArray(4, 2, false, {0, 0, 1, 2, 0, 0})));
}

TEST(Mask, BecomesADataArrayOfBytes) {
  using Byte = unsigned char;
  EXPECT_EQ(Raw(conv_Convert(Mask("101", {1, 2, 3}))), Raw(darr_c1DArray(Line<Byte>({1, 0, 1}), {1, 2, 3})));
  EXPECT_EQ(Raw(conv_Convert(Mask(2, "1000", {1, 2, 3, 4, 5, 6}))),
            Raw(darr_c2DArray(Plane<Byte>(2, {1, 0, 0, 0}), {1, 2, 3, 4, 5, 6})));
  EXPECT_EQ(conv_Convert(barr_c2DBoolArray(3, 0)).NumIndicesX(), 3);
}

}  // namespace
