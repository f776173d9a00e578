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
  for (const int value : {-1, 0, 11, 0x4949}) {
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

TEST(DataType, MaxHoldsBothAndIsSymmetric) {
  const dtyp_eDataType rows[][3] = {
      {dtyp_UBin8, dtyp_UBin32, dtyp_UBin32},         {dtyp_UBin32, dtyp_SBin8, dtyp_SBin32},
      {dtyp_UBin16, dtyp_SBin8, dtyp_SBin16},         {dtyp_UBin8, dtyp_SBin8, dtyp_SBin8},
      {dtyp_UBin8, dtyp_SBin32, dtyp_SBin32},         {dtyp_SBin8, dtyp_SBin16, dtyp_SBin16},
      {dtyp_SBin32, dtyp_Float32, dtyp_Float32},      {dtyp_UBin32, dtyp_Float32, dtyp_Float32},
      {dtyp_Float64, dtyp_Complex64, dtyp_Complex64}, {dtyp_Complex128, dtyp_UBin8, dtyp_Complex128},
      {dtyp_NoType, dtyp_UBin8, dtyp_UBin8},          {dtyp_NoType, dtyp_NoType, dtyp_NoType}};
  for (const auto& [a, b, max] : rows) {
    EXPECT_EQ(dtyp_Max(a, b).Type(), max) << a << ' ' << b;
    EXPECT_EQ(dtyp_Max(b, a).Type(), max) << b << ' ' << a;
  }
}

}  // namespace
