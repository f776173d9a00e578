#include <DataStorage/series/dimension.h>
//

#include "series.h"

namespace {

constexpr int Largest = std::numeric_limits<int>::max();
constexpr int Smallest = std::numeric_limits<int>::min();

dtsr_cDimensionArray Dimensions(std::initializer_list<int> sizes, unsigned reversed = 0) {
  dtsr_cDimensionArray dimensions(static_cast<int>(sizes.size()));
  for (int d = 0; d < dimensions.NumberDimensions(); ++d) {
    dimensions.Dimension(d) = {sizes.begin()[d], cal_c1DArrayCal(d, 0.5, 2), "", "",
                               (reversed >> d & 1) != 0};
  }
  return dimensions;
}

TEST(Dimension, MapsIndicesBothWays) {
  EXPECT_EQ(Dimensions({3, 4}, 1).Index(Vector({2, 1})), 3);
  for (unsigned reversed = 0; reversed < 8; ++reversed) {
    const dtsr_cDimensionArray dimensions = Dimensions({3, 4, 2}, reversed);
    for (int i = 0; i < 24; ++i) {
      EXPECT_EQ(dimensions.Index(dimensions.IndexPosition(i)), i) << reversed;
      EXPECT_EQ(dimensions.Index(dimensions.Position(i)), i) << reversed;
    }
  }
}

TEST(Dimension, EmptyAndHugeSizes) {
  EXPECT_EQ(dtsr_cDimensionArray().TotalNumberIndices(), 0);
  EXPECT_EQ(dtsr_cDimensionArray(0).TotalNumberIndices(), 1);
  EXPECT_EQ(Dimensions({Largest, Largest, 0}).TotalNumberIndices(), 0);
  EXPECT_THROW(Dimensions({65536, 32768}).TotalNumberIndices(), arr_cSizeException);
  for (const auto& sizes : {Dimensions({3, 0}), Dimensions({0, 3}), Dimensions({-1, -5})}) {
    EXPECT_THROW(sizes.IndexPosition(Smallest), arr_cIndexException);
  }
  EXPECT_EQ(Dimensions({Largest, Largest, 2}).Index(Vector({Largest, Largest, 1})), Largest);
  EXPECT_EQ(Dimensions({Largest, 9}).Index(Vector({0, Smallest})), Smallest);
  EXPECT_THROW(dtsr_cDimensionArray(-1), arr_cIndexException);
  EXPECT_THROW(Dimensions({3, 4}).Index(Vector({2})), arr_cIndexException);
}

TEST(Dimension, RawFormCutAndDamaged) {
  const std::string whole =
      Hex("01 00 00 00  0A 00 00 00  00 00 00 00 00 00 14 40  00 00 00 00 00 00 E0 BF"
          "08 00 00 00  03 00 00 00  58 00 59  02 00 00 00  6E 6D");
  dtsr_cDimensionArray written;
  written.Dimension(0) = {10, cal_c1DArrayCal(5.0, 0.5, 2), str_cString("X\0Y", 3), "nm", true};
  EXPECT_EQ(RawForm(written), whole);
  for (std::size_t n = 0; n <= whole.size(); ++n) {
    dtsr_cDimensionArray read(2);
    EXPECT_EQ(ReadComplaint(read, whole.substr(0, n)), n < 4 || n == 41 ? "" : "Can't read dimension.") << n;
    EXPECT_EQ(read.NumberDimensions(), n < 36 ? 2 : 1) << n;
    EXPECT_EQ(RawForm(read) == whole, n == 41) << n;
  }

  const auto changed = [&whole](std::size_t at, const char* digits) { return Patched(whole, at, digits); };
  dtsr_cDimensionArray read;
  for (const std::string& bytes : {changed(0, "FF FF FF 7F"), changed(0, "02"), changed(28, "FF FF FF 7F"),
                                   changed(28, "0A"), changed(28, "FF FF FF FF"), changed(35, "03")}) {
    EXPECT_EQ(ReadComplaint(read, bytes), "Can't read dimension.");
  }
  EXPECT_THROW(ReadComplaint(read, changed(0, "FF FF FF FF")), arr_cSizeException);
  // An index that wraps around is restored, and a delta of -0.0 is not reversed.
  for (const std::string& bytes : {changed(24, "01 00 00 80"), changed(16, "00 00 00 00 00 00 00 80")}) {
    EXPECT_EQ(ReadComplaint(read, bytes), "");
    EXPECT_EQ(RawForm(read), bytes);
  }
  EXPECT_FALSE(read.Dimension(0).bReverseOrder());
}

}  // namespace
