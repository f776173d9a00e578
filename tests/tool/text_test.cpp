#include <cmath>
#include <fmt/format.h>
#include <random>

#include "file/failure.h"
#include "io/columns.h"
#include "tool.h"

using dseries::Columns;
using dseries::GridForm;
using dseries::GridOf;
using testing::HasSubstr;

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

/// The only part of a text.
Columns ReadColumns(const std::string& path, const std::string& text,
                    const std::vector<std::string>& missing) {
  dseries::TextForm form;
  form.missing = missing;
  dseries::Text read = dseries::ReadColumns(path, text, form);
  EXPECT_EQ(read.parts.size(), 1u) << text;
  return std::move(read.parts.front());
}

/// The message of the Failure; empty when the text is accepted.
std::string Complaint(const std::string& text, const GridForm& form = {}) {
  try {
    const Columns columns = ReadColumns("a.txt", text, {"x", "-9"});
    if (!columns.positions.empty()) GridOf("a.txt", columns, form);
    return "";
  } catch (const dseries::Failure& failure) {
    return failure.what();
  }
}

/// The calibration as "offset delta", and the line that is moved most, if any.
std::string GridText(const std::string& text, const GridForm& form = {}) {
  const Columns columns = ReadColumns("a.txt", text, {});
  const dseries::Grid grid = GridOf("a.txt", columns, form);
  const std::string moved = grid.moved ? fmt::format(" line {}", columns.lines[*grid.moved]) : "";
  return fmt::format("{} {}{}", grid.cal.Offset(), grid.cal.Delta(), moved);
}

TEST(Text, KeepsItsLinesWhateverIsMissing) {
  const struct {
    const char* text;
    std::vector<double> positions, values;
    int first_missing;
  } cases[] = {
      {"1\n--\n\n4\n\n \n", {}, {1, nan, nan, 4}, 2},
      {"\n2", {}, {nan, 2}, 1},
      {"NA\nNaN\n-9\n-9.0\n+3", {}, {nan, nan, nan, nan, 3}, 1},
      {"\xEF\xBB\xBF"
       "1 2\r\n\r\n2\tn/a\r\n3 X\r\n",
       {1, 2, 3},
       {2, nan, nan},
       3},
      {"-9 2\n2\t\n3\t4\t\n", {-9, 2, 3}, {2, nan, 4}, 2},
      {"1\t\n2\t\n3\t4\n", {1, 2, 3}, {nan, nan, 4}, 1},
      {"\t1\t\t2\n\t3\t\t4\n5 6\n", {1, 3, 5}, {2, 4, 6}, 0},
      {"1\t\n2\t", {}, {1, 2}, 0},
      {"1e-999\ninf\n", {}, {0, HUGE_VAL}, 0},
  };
  for (const auto& [text, positions, values, first_missing] : cases) {
    const Columns columns = ReadColumns("a.txt", text, {"x", "-9"});
    EXPECT_EQ(columns.positions, positions) << text;
    ASSERT_EQ(columns.data.size(), 1u) << text;
    EXPECT_THAT(columns.data[0].values, testing::Pointwise(testing::NanSensitiveDoubleEq(), values)) << text;
    EXPECT_EQ(columns.data[0].first_missing, first_missing) << text;
  }
}

TEST(Text, IsRefusedByItsLine) {
  const std::pair<const char*, const char*> cases[] = {
      {"", "a.txt holds no numbers"},
      {" \n\t\n", "a.txt holds no numbers"},
      {"angle counts\n", "a.txt holds no numbers"},
      {"1 2\n\n3\n", "line 3 has 1 field, and those before it have 2"},
      {"1 2\n3 4 5\n", "line 2 has 3 fields"},
      {"1\n2 3\n", "line 2 has 2 fields, and those before it have 1"},
      {"1\t\t2\n\t3\t4\n5 6\n", "may have an empty field between its tabs"},
      {"1 2\n3 4 good\n", "line 2: 'good' is not a number; --missing WORD"},
      {"1\n+-5\n", "line 2: '+-5' is not a number"},
      {"1\n1e999\n", "line 2: '1e999' is not a number"},
      {"1\n\x1b[2J\n", "line 2: '?[2J' is not a number"},
      {"1\t2\n\t3\n", "line 2: the position is missing"},
      {"1 2\nNA 3\n", "line 2: the position is missing"},
      {"1 2\nnan 3\n", "line 2: the position is not finite"},
      {"1 5\n1 6\n", "line 2: the position 1 is the same as on line 1"},
      {"1 5\n2 6\n1.5 7\n", "line 3: the position 1.5 turns back; those before it rise to 2"},
      {"1 5\n", "one position does not give a step; --delta DX sets it"},
      {"0 1\n1 2\n3 3\n", "line 3: the position 3 is off the even grid, which has 2 there; --even"},
      {"0 1\n1 2\n2 3\n4 4\n5 5\n6 6\n", "line 4: the position 4 is off the even grid, which has 3 there"},
      {"0.0 1\n1.0 2\n2.3 3\n3.0 4\n", "line 3: the position 2.3 is off the even grid, which has 2 there"},
  };
  for (const auto& [text, complaint] : cases) EXPECT_THAT(Complaint(text), HasSubstr(complaint)) << text;
  EXPECT_THAT(Complaint("0 1\n1 2\n5 3\n", {true, 0}), HasSubstr("line 3: the position 5 is off"));
  EXPECT_THAT(Complaint("0 1\n1 2\n2 3\n", {false, 1.5}), HasSubstr("line 3"));
  EXPECT_THAT(Complaint("0 1\n1 2\n2 3\n", {false, -1}), HasSubstr("line 3: the position 2 is off"));
}

TEST(Text, GivesTheStepOfAllItsPositions) {
  EXPECT_EQ(GridText("20.0 1\n20.02 2\n20.04 3\n20.06 4\n"), "20 0.02");
  EXPECT_EQ(GridText("4 7\n2 6\n0 5\n"), "4 -2");
  EXPECT_EQ(GridText("0 1\n17 2\n33 3\n50 4\n67 5\n"), "0 16.75");
  EXPECT_EQ(GridText("1.00e1 1\n1.33E+01 2\n1.67e1 3\n"), "10 3.35");
  EXPECT_EQ(GridText("0.1 1\n0.2 2\n0.30000000000000004 3\n0.4 4\n"), "0.1 0.1");
  EXPECT_EQ(GridText("0.100000001490116 1\n0.200000002980232 2\n0.300000011920929 3\n"),  // 4-byte floats
            "0.100000001490116 0.1000000052154065");
  EXPECT_EQ(GridText("0 1\n1 2\n3 3\n", {true, 0}), "0 1.5 line 2");
  EXPECT_EQ(GridText("0 1\n1 2\n3 3\n", {false, 1.5}), "0 1.5");
  EXPECT_EQ(GridText("0.0 1\n1.0 2\n2.3 3\n", {true, 1}), "0 1 line 3");
  EXPECT_EQ(GridText("4 7\n2 6\n", {false, 2}), "4 -2");
  EXPECT_EQ(GridText("10.005 7\n9.9987 6\n9.9919 6\n", {false, 0.0067}), "10.005 -0.0067");
  EXPECT_EQ(GridText("4 7\n", {false, 0.5}), "4 0.5");
}

/// Grids as programs print them: with so many decimals or digits, with or without trailing zeros.
TEST(Text, TakesEveryPrintedGridButNoneWithAGap) {
  const unsigned seed = std::random_device()();
  SCOPED_TRACE(seed);
  std::mt19937 random(seed);
  const auto between = [&](double low, double high) {
    return std::uniform_real_distribution<double>(low, high)(random);
  };
  for (int run = 0; run < 2000; ++run) {
    const int n = 4 + static_cast<int>(between(0, 60));
    const double step = std::pow(10, between(-4, 4)), first = between(-500, 500) * step;
    const double last = std::fabs(first) + n * step;
    // The unit is a quarter of a step or less, or a tenth: less shows a gap in a few positions.
    const bool fine = run % 2 == 0;
    const int decimals = static_cast<int>(std::ceil((fine ? 1 : 0.6) - std::log10(step)));
    const int digits = static_cast<int>(std::floor(std::log10(last))) + 1 + decimals;
    const auto print = [&](double x) {
      switch (run % 3) {
        case 0:
          return fmt::format("{:.{}f}", x, std::max(decimals, 0));
        case 1:
          return fmt::format("{:.{}g}", x, std::max(digits, 3));
        default:
          return fmt::format("{:.{}e}", x, std::max(digits - 1, 2));
      }
    };
    std::vector<std::string> lines;
    for (int i = 0; i < n; ++i) lines.push_back(print(first + i * step) + " 1\n");
    if (run % 5 == 1) std::reverse(lines.begin(), lines.end());
    const auto text = [&] {
      std::string all;
      for (const std::string& line : lines) all += line;
      return all;
    };
    ASSERT_EQ(Complaint(text()), "") << text();
    const dseries::Grid grid = GridOf("", ReadColumns("", text(), {}), {});
    EXPECT_NEAR(std::fabs(grid.cal.Delta()), step, 0.3 * step / (n - 1)) << text();
    if (!fine) continue;
    lines.erase(lines.begin() + 1 + static_cast<int>(between(0, n - 2)));
    ASSERT_THAT(Complaint(text()), HasSubstr("is off the even grid")) << text();
  }
}

class Texts : public Tool {};

TEST_F(Texts, AreStoredWithWhatTheyLoseTold) {
  Write("a.txt", "5 1\n4 -\n2 3\n");
  Write("b.txt", "1 -70000\n2 1.6\n3 300\n4 nan\n5 7\n");
  Succeed("create a.dseries --dim n,,3,0,1");
  Result result = Run("append a.dseries a.txt --even --missing -");
  EXPECT_EQ(
      result.err,
      "dseries: warning: a.txt: 1 value is missing and read as not-a-number, the first on line 2\n"
      "dseries: warning: a.txt: the positions become even; the one on line 2 is moved most, from 4 to 3.5\n");
  EXPECT_EQ(Succeed("get a.dseries 0 -o -"), "2\t3\n3.5\tnan\n5\t1\n");
  result = Run("append a.dseries b.txt --type ubin8");
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(
      result.err,
      "dseries: warning: b.txt: of 5 values 2 were beyond ubin8 and cut to its limits (the first: -70000 "
      "at 1), 1 was not a number and stored as 0 (the first: nan at 4), 1 was rounded (the first: 1.6 at "
      "2)\n");
  EXPECT_EQ(Succeed("get a.dseries 1 -o -"), "1\t0\n2\t2\n3\t255\n4\t0\n5\t7\n");
  EXPECT_EQ(Run("convert a.dseries b.dseries --type float64").err, "");
  result = Run("convert a.dseries c.dseries --type sbin16");
  EXPECT_THAT(result.err,
              HasSubstr("of 8 values 1 was not a number and stored as 0 (the first: nan at datum 0, 3.5)\n"));
  EXPECT_THAT(Run("append a.dseries b.txt --offset 1").err, HasSubstr("positions of its own"));
  EXPECT_THAT(Run("append a.dseries - --delta -1 <b.txt").err, HasSubstr("line 5: the position 5 is off"));
}

}  // namespace
