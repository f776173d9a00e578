#include "test.h"
#include <DataStorage/interfaces/expt.h>
#include <DataStorage/numbers/pnumber.h>

namespace {

using Complex64 = comp_cComplex<float>;
using Complex128 = comp_cComplex<double>;

template <class T>
T ValueOf(const pnum_cNumber& number) {
  EXPECT_EQ(number.DataType().Type(), detail::DataTypeOf<T>);
  return *static_cast<const T*>(number.Data());
}

std::string Written(const pnum_cNumber& number) {
  std::ostringstream out;
  out << number;
  return out.str();
}

std::string Text(const pnum_cNumber& number, int width = 0, int precision = 0) {
  return number.StringOut(width, precision).CString();
}

template <class T>
class NumberOf : public testing::Test {};
TYPED_TEST_SUITE(NumberOf, detail::ElementTypes::Apply<testing::Types>);

TYPED_TEST(NumberOf, KeepsItsTypeAndValue) {
  using T = TypeParam;
  const dtyp_cDataType type = detail::DataTypeOf<T>;
  for (const pnum_cNumber& zero : {pnum_cNumber(type), pnum_cNumber(type.Type()), pnum_cNumber(0.0, type)})
    EXPECT_EQ(ValueOf<T>(zero), T());

  const pnum_cNumber seven(7.0, type);
  EXPECT_EQ(ValueOf<T>(seven), T(7));
  EXPECT_EQ(seven.Value(), 7);
  EXPECT_EQ(seven.Count(), 7);

  auto letter = std::make_unique<pnum_cTypedNumber<T>>(T(7));
  const std::unique_ptr<pnum_cLetter> clone = letter->Clone();
  letter.reset();
  EXPECT_EQ(clone->DataType(), type);
  EXPECT_EQ(*static_cast<const T*>(clone->Data()), T(7));

  detail::ElementTypes::ForEach([&]<class Other>(std::type_identity<Other>) {
    const dtyp_eDataType other = detail::DataTypeOf<Other>;
    pnum_cNumber copy = seven;
    EXPECT_NE(copy.Data(), seven.Data());
    copy.Convert(other);
    EXPECT_EQ(copy.DataType().Type(), other);
    EXPECT_EQ(copy.Value(), 7);
    copy = pnum_cNumber(3.0, other);
    copy = seven;
    copy = *&copy;
    EXPECT_EQ(ValueOf<T>(copy), T(7));
  });
}

TEST(Number, OfAComplexValueIsRealWithoutImaginaryPart) {
  EXPECT_EQ(ValueOf<double>(Complex128(2.5, 0)), 2.5);
  EXPECT_EQ(ValueOf<double>(Complex128(2.5, -1e-310)), 2.5);
  EXPECT_EQ(ValueOf<Complex128>(Complex128(2.5, 1e-300)), Complex128(2.5, 1e-300));
  EXPECT_EQ(ValueOf<Complex128>(Complex128(0, -2.2250738585072014e-308)).Real(), 0);
  EXPECT_TRUE(pnum_cNumber(Complex128(1, not_a_number)).IsComplex());
  EXPECT_EQ(ValueOf<float>(Complex64(2.5f, 1e-38f)), 2.5f);
  EXPECT_EQ(ValueOf<Complex64>(Complex64(2.5f, 1.1754943508222875e-38f)).Real(), 2.5f);
  EXPECT_EQ(ValueOf<float>(pnum_cNumber()), 0);
}

TEST(Number, FromADoubleKeepsTheLowBitsOfIntegers) {
  EXPECT_EQ(ValueOf<unsigned char>({300.7, dtyp_UBin8}), 44);
  EXPECT_EQ(ValueOf<unsigned short>({-1.9, dtyp_UBin16}), 65535);
  EXPECT_EQ(ValueOf<unsigned int>({-1.0, dtyp_UBin32}), 4294967295u);
  EXPECT_EQ(ValueOf<char>({200.0, dtyp_SBin8}), -56);
  EXPECT_EQ(ValueOf<int>({4294967297.0, dtyp_SBin32}), 1);
  for (const double outside : {9223372036854775808.0, -1e300, infinity, -infinity, not_a_number})
    EXPECT_EQ(ValueOf<int>({outside, dtyp_SBin32}), 0) << outside;
  EXPECT_EQ(ValueOf<Complex64>({0.1, dtyp_Complex64}), Complex64(0.1f, 0));
}

TEST(Number, CountsWithinTheIntegers) {
  EXPECT_EQ(pnum_cNumber(2147483647.0).Count(), 2147483647);
  EXPECT_EQ(pnum_cNumber(-2147483648.0).Count(), std::numeric_limits<int>::min());
  EXPECT_EQ(pnum_cNumber(-2.7).Count(), -2);
  for (const pnum_cNumber& outside :
       {pnum_cNumber(2147483647.5), pnum_cNumber(-2147483648.5), pnum_cNumber(4294967295u),
        pnum_cNumber(not_a_number), pnum_cNumber(infinity)}) {
    try {
      outside.Count();
      ADD_FAILURE() << outside;
    } catch (const expt_cUserException& error) {
      EXPECT_STREQ(error.Message().CString(), "Cannot convert to integer - out of range.");
      EXPECT_STREQ(error.File(), "pnumber");
      EXPECT_GT(error.Line(), 0);
    }
  }
}

TEST(Number, RefusesTypesThatDoNotExist) {
  for (const int value : {-1, 0, detail::ElementTypes::size + 1}) {
    const auto type = static_cast<dtyp_eDataType>(value);
    pnum_cNumber number(1.5);
    EXPECT_THROW(pnum_cNumber{type}, expt_cProgramException);
    EXPECT_THROW(pnum_cNumber(1.0, type), expt_cProgramException);
    EXPECT_THROW(number.Convert(type), expt_cProgramException);
    EXPECT_EQ(ValueOf<double>(number), 1.5);
  }
}

TEST(Number, WritesBytesAsNumbersAndFormatsAsTheStreamSays) {
  EXPECT_EQ(Written(static_cast<char>(65)), "65");
  EXPECT_EQ(Written(static_cast<char>(-1)), "-1");
  EXPECT_EQ(Written(static_cast<unsigned char>(200)), "200");
  EXPECT_EQ(Written(4294967295u), "4294967295");
  EXPECT_EQ(Written(Complex128(1, -2)), "(1,-2)");
  std::ostringstream out;
  out.precision(12);
  out << std::hex << pnum_cNumber(static_cast<short>(-1)) << ' ' << pnum_cNumber(0.1f);
  EXPECT_EQ(out.str(), "ffff 0.10000000149");
}

TEST(Number, AsTextLeavesOutWhatComplexNumbersDoNotNeed) {
  EXPECT_EQ(Text(static_cast<char>(-5), 4, 2), " -05");
  EXPECT_EQ(Text(4294967295u), "4294967295");
  EXPECT_EQ(Text(1.25, 6, 2), str_cString(1.25, 6, 2).CString());

  const std::tuple<double, double, const char*> rows[] = {
      {3, 4, "3 + 4i"}, {3, -4, "3 - 4i"}, {3, 1, "3 + i"}, {3, -1, "3 - i"},  {0, 2, "2i"},
      {0, -2, "-2i"},   {0, 1, "i"},       {0, -1, "-i"},   {1e-310, 2, "2i"}, {-1.5, 2.5, "-1.5 + 2.5i"}};
  for (const auto& [re, im, text] : rows) {
    EXPECT_EQ(Text(Complex128(re, im)), text);
    EXPECT_EQ(Text(Complex64(float(re), float(im))), text);
  }
  EXPECT_EQ(Text(pnum_cNumber(3.0, dtyp_Complex128)), "3");
  EXPECT_EQ(Text(Complex128(3, -4), 3, 1), "  3 -   4i");
}

}  // namespace
