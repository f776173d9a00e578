#include "test.h"
#include <DataStorage/numbers/datatype.h>

namespace {

TEST(DataType, DescribesTheTenTypesAndNothingElse) {
  struct Row {
    int value, size;
    bool complex;
    const char *long_name, *short_name;
  };
  const Row rows[] = {
      {1, 1, false, "1-byte unsigned integer", "ubin8"},  {2, 2, false, "2-byte unsigned integer", "ubin16"},
      {3, 4, false, "4-byte unsigned integer", "ubin32"}, {4, 1, false, "1-byte signed integer", "sbin8"},
      {5, 2, false, "2-byte signed integer", "sbin16"},   {6, 4, false, "4-byte signed integer", "sbin32"},
      {7, 4, false, "4-byte float", "float32"},           {8, 8, false, "8-byte float", "float64"},
      {9, 8, true, "8-byte complex", "complex64"},        {10, 16, true, "16-byte complex", "complex128"}};
  for (const Row& row : rows) {
    const dtyp_cDataType type(static_cast<dtyp_eDataType>(row.value));
    EXPECT_EQ(type.SizeOf(), row.size) << row.long_name;
    EXPECT_EQ(type.IsComplex(), row.complex) << row.long_name;
    EXPECT_EQ(type.IsReal(), !row.complex) << row.long_name;
    EXPECT_STREQ(type.StringOut().CString(), row.long_name);
    EXPECT_EQ(dtyp_cDataType(str_cString(row.long_name)).Type(), row.value);
    EXPECT_STREQ(detail::ShortName(type.Type()), row.short_name);
    EXPECT_EQ(detail::TypeOfShortName(row.short_name), row.value);
    EXPECT_EQ(dtyp_cDataType(str_cString(row.short_name)).Type(), dtyp_NoType);
  }
  for (const int value : {-1, 0, detail::ElementTypes::size + 1, 0x4949}) {
    const dtyp_cDataType none(static_cast<dtyp_eDataType>(value));
    EXPECT_EQ(none.Type(), value);
    EXPECT_EQ(none.HasDataType(), value != 0);
    EXPECT_FALSE(none.IsReal() || none.IsComplex());
    EXPECT_EQ(none.SizeOf(), 0);
    EXPECT_STREQ(none.StringOut().CString(), "No type");
  }
  EXPECT_FALSE(dtyp_cDataType(str_cString("No type")).HasDataType());
  EXPECT_TRUE(dtyp_cDataType(str_cString("8-byte float", 12)).HasDataType());
  EXPECT_FALSE(dtyp_cDataType(str_cString("8-byte float\0", 13)).HasDataType());
}

TEST(DataType, MaxOfEveryPair) {
  const int expected[][11] = {
      {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10},  // no type
      {1, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10},  // unsigned
      {2, 2, 2, 3, 5, 5, 6, 7, 8, 9, 10},          {3, 3, 3, 3, 6, 6, 6, 7, 8, 9, 10},
      {4, 4, 5, 6, 4, 5, 6, 7, 8, 9, 10},  // signed
      {5, 5, 5, 6, 5, 5, 6, 7, 8, 9, 10},          {6, 6, 6, 6, 6, 6, 6, 7, 8, 9, 10},
      {7, 7, 7, 7, 7, 7, 7, 7, 8, 9, 10},                                               // floats
      {8, 8, 8, 8, 8, 8, 8, 8, 8, 9, 10},          {9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 10},  // complex
      {10, 10, 10, 10, 10, 10, 10, 10, 10, 10, 10}};
  for (int a = 0; a <= 10; ++a)
    for (int b = 0; b <= 10; ++b)
      EXPECT_EQ(dtyp_Max(dtyp_eDataType(a), dtyp_eDataType(b)).Type(), expected[a][b]) << a << ' ' << b;
}

}  // namespace
