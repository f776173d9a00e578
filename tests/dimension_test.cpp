#include <DataStorage/series/dimension.h>
//
#include <gtest/gtest.h>
#include <limits>
#include <vector>

#include "series.h"

namespace {

constexpr int Largest = std::numeric_limits<int>::max();
constexpr int Smallest = std::numeric_limits<int>::min();

dtsr_cDimensionArray Dimensions(const std::vector<int>& sizes, unsigned reversed = 0) {
  dtsr_cDimensionArray dimensions(static_cast<int>(sizes.size()));
  for (int d = 0; d < dimensions.NumberDimensions(); ++d) {
    dimensions.Dimension(d) = dtsr_cDimension(sizes[static_cast<std::size_t>(d)], cal_c1DArrayCal(d, 0.5, 2),
                                              "", "", (reversed >> d & 1) != 0);
  }
  return dimensions;
}

TEST(Dimension, MapsIndicesBothWays) {
  EXPECT_EQ(Dimensions({3, 4}).Index(Vector({2, 1})), 5);
  EXPECT_EQ(Dimensions({3, 4}, 1).Index(Vector({2, 1})), 3);
  for (unsigned reversed = 0; reversed < 8; ++reversed) {
    const dtsr_cDimensionArray dimensions = Dimensions({3, 4, 2}, reversed);
    ASSERT_EQ(dimensions.TotalNumberIndices(), 24);
    for (int i = 0; i < 24; ++i) {
      EXPECT_EQ(dimensions.Index(dimensions.IndexPosition(i)), i) << reversed;
      EXPECT_EQ(dimensions.Index(dimensions.Position(i)), i) << reversed;
    }
    EXPECT_EQ(dimensions.IndexPosition(0)[1], (reversed & 2) != 0 ? 3 : 0);
  }
  EXPECT_EQ(Dimensions({3, 4}, 3).Position(Vector({1, 5}))[1], 2.5);
  EXPECT_EQ(Dimensions({3, 4}).IndexPosition(12)[1], 4);
}

TEST(Dimension, EmptyAndHugeSizes) {
  EXPECT_EQ(dtsr_cDimensionArray().TotalNumberIndices(), 0);
  EXPECT_EQ(dtsr_cDimensionArray(0).TotalNumberIndices(), 1);
  EXPECT_EQ(dtsr_cDimensionArray(0).Index(Vector<int>({})), 0);
  EXPECT_EQ(Dimensions({Largest, Largest, 0}).TotalNumberIndices(), 0);
  EXPECT_EQ(Dimensions({46341, 46340}).TotalNumberIndices(), 2147441940);
  EXPECT_THROW(Dimensions({65536, 32768}).TotalNumberIndices(), arr_cSizeException);
  EXPECT_THROW(Dimensions({Largest, Largest, Largest}).IndexPosition(1), arr_cSizeException);
  EXPECT_THROW(Dimensions({3, 0}).IndexPosition(0), arr_cIndexException);
  EXPECT_THROW(Dimensions({-1, -5}).IndexPosition(Smallest), arr_cIndexException);
  EXPECT_EQ(Dimensions({Largest, Largest, Largest}).Index(Vector({Largest, Largest, Largest})), Largest);
  EXPECT_EQ(Dimensions({Largest, 9}).Index(Vector({0, Smallest})), Smallest);
  EXPECT_EQ(Dimensions({Largest}, 1).IndexPosition(Smallest)[0], Largest);

  EXPECT_THROW(dtsr_cDimensionArray(-1), arr_cIndexException);
  EXPECT_THROW(Dimensions({3}).Dimension(1), arr_cIndexException);
  EXPECT_THROW(Dimensions({3, 4}).Index(Vector({2})), arr_cIndexException);
  EXPECT_THROW(Dimensions({3, 4}).IndexPosition(Vector({2.0})), arr_cIndexException);
}

const std::string raw_form =
    Hex("01 00 00 00"                                  // one dimension
        "0A 00 00 00  00 00 00 00 00 00 14 40"         // size 10, offset 5.0
        "00 00 00 00 00 00 E0 BF  08 00 00 00"         // delta -0.5, index 10 - 2
        "03 00 00 00  58 00 59  02 00 00 00  6E 6D");  // "X\0Y", "nm"

TEST(Dimension, RawFormCutAtEveryByte) {
  dtsr_cDimensionArray written;
  written.Dimension(0) = {10, cal_c1DArrayCal(5.0, 0.5, 2), str_cString("X\0Y", 3), "nm", true};
  EXPECT_EQ(RawForm(written), raw_form);

  for (std::size_t n = 0; n <= raw_form.size(); ++n) {
    dtsr_cDimensionArray read(2);
    const std::string complaint = Complaint([&] { ReadRawForm(read, raw_form.substr(0, n)); });
    EXPECT_EQ(complaint, n < 4 || n == raw_form.size() ? "" : "Can't read dimension.") << n;
    EXPECT_EQ(read.NumberDimensions(), n < 36 ? 2 : 1) << n;
    if (n < 36) continue;
    dtsr_cDimension& dimension = read.Dimension(0);
    EXPECT_TRUE(dimension.bReverseOrder());
    EXPECT_EQ(dimension.Size(), 10);
    EXPECT_EQ(dimension.Calibration(), cal_c1DArrayCal(5.0, 0.5, 2));
    EXPECT_EQ(dimension.Description() == str_cString("X\0Y", 3), n >= 35) << n;
    EXPECT_EQ(dimension.Units() == "nm", n == raw_form.size()) << n;
  }
  EXPECT_EQ(Complaint([&] {
              ShortOutput out(20);
              written.Dimension(0).Write(out);
            }),
            "Can't write dimension.");
}

TEST(Dimension, RawFormWithAbsurdNumbers) {
  const auto changed = [](std::size_t at, const char* digits) {
    return std::string(raw_form).replace(at, Hex(digits).size(), Hex(digits));
  };
  dtsr_cDimensionArray read;
  for (const std::string& bytes : {changed(0, "FF FF FF 7F"), changed(0, "02"), changed(28, "FF FF FF 7F"),
                                   changed(28, "0A"), changed(28, "FF FF FF FF"), changed(35, "03")}) {
    EXPECT_EQ(Complaint([&] { ReadRawForm(read, bytes); }), "Can't read dimension.");
  }
  EXPECT_THROW(ReadRawForm(read, changed(0, "FF FF FF FF")), arr_cSizeException);

  ReadRawForm(read, changed(16, "00 00 00 00 00 00 00 80"));  // a delta of -0.0 does not run backwards
  EXPECT_FALSE(read.Dimension(0).bReverseOrder());
  const std::string wrapping = changed(24, "01 00 00 80");
  ReadRawForm(read, wrapping);
  EXPECT_EQ(RawForm(read), wrapping);
}

}  // namespace
