#include <charconv>
#include <locale>

#include "test.h"
#include <DataStorage/interfaces/str.h>

namespace {

const str_cString made_before_main = str_cString::Null + "early";

std::string Text(const str_cString& text) { return std::string(std::string_view(text)); }

TEST(String, FormatsNumbers) {
  constexpr double inf = std::numeric_limits<double>::infinity();
  constexpr double nan = std::numeric_limits<double>::quiet_NaN();
  constexpr int min = std::numeric_limits<int>::min();
  const std::pair<str_cString, const char*> cases[] = {
      {{0, 0, 0}, "0"},
      {{-7, 6, 3}, "  -007"},
      {{-7, 2, 3}, "-007"},
      {{min, 0, 0}, "-2147483648"},
      {{min, 14, 12}, " -002147483648"},
      {{4294967295U, -5, -5}, "4294967295"},
      {{0.1, 0, 0}, "0.1"},
      {{-2.5, 7, 0}, "   -2.5"},
      {{2.0 / 3, 8, 3}, "   0.667"},
      {{1234567.0, 0, 3}, "1.23e+06"},
      {{5e-324, 0, -1}, "5e-324"},
      {{-0.0, 0, 0}, "-0"},
      {{nan, 5, 3}, "  nan"},
      {{-nan, 0, 0}, "nan"},
      {{inf, 4, 2}, " inf"},
      {{-inf, 0, 0}, "-inf"},
  };
  for (const auto& [text, expected] : cases) EXPECT_EQ(Text(text), expected);
}

struct Comma : std::numpunct<char> {
  char do_decimal_point() const override { return ','; }
  char do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\3"; }
};

TEST(String, ShortestTextReadsBackInEveryLocale) {
  const std::locale before = std::locale::global(std::locale(std::locale::classic(), new Comma));
  std::mt19937_64 random(1);
  for (int i = 0; i < 10000; ++i) {
    const auto value = std::bit_cast<double>(random());
    if (std::isnan(value)) continue;
    const str_cString text(value, 0, 0);
    double back = 0;
    const auto end = std::from_chars(text.CString(), text.CString() + text.Length(), back).ptr;
    EXPECT_TRUE(back == value && *end == '\0') << text.CString();
  }
  EXPECT_EQ(Text(str_cString(1234567, 0, 0)), "1234567");
  std::locale::global(before);
}

TEST(String, HoldsAnyBytes) {
  const str_cString bytes("a\0b", 3);
  EXPECT_EQ((bytes + bytes).Length(), 6);
  EXPECT_FALSE(bytes == "a");
  EXPECT_TRUE(bytes == str_cString(std::string_view("a\0b", 3)));
  EXPECT_EQ(Text("x" + bytes + "y"), std::string("xa\0by", 5));
  for (const str_cString& empty :
       {str_cString(), str_cString(nullptr), str_cString(nullptr, 5), str_cString("abc", -1)}) {
    EXPECT_TRUE(empty == str_cString::Null && empty == nullptr && empty.Length() == 0);
  }
  EXPECT_EQ(Text(made_before_main), "early");
}

}  // namespace
