// Texts, pictures and arrays as instruments and programs write them.
#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <random>
#include <sstream>
#include <tuple>

#include "file/failure.h"
#include "file/text.h"
#include "io/columns.h"
#include "tool.h"

using dseries::TextForm;
using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

std::string Joined(const std::vector<double>& numbers) { return fmt::format("{}", fmt::join(numbers, " ")); }

/// What is found out about a text, then its columns: "found; positions | values | values"; or the message of
/// the Failure.
std::string Shown(const std::string& bytes, const TextForm& form = {}) {
  try {
    const dseries::Text text = dseries::ReadColumns("a", bytes, form);
    std::string shown = text.found + ": ";
    for (const dseries::Columns& part : text.parts) {
      if (part.stamp) shown += dseries::TimeText(part.stamp->time) + ' ';
      shown += Joined(part.positions);
      for (const dseries::Values& column : part.data) shown += " | " + Joined(column.values);
      if (part.stamp) shown += "; ";
    }
    return shown;
  } catch (const dseries::Failure& failure) {
    return failure.what();
  }
}

std::string Utf16(const std::string& text, bool big_end) {
  std::string bytes;
  for (const char c : text) bytes += big_end ? std::string{'\0', c} : std::string{c, '\0'};
  return bytes;
}

constexpr const char* comma = "columns separated by ','";
constexpr const char* xy = "columns separated by ',', 1 header line; positions 'x', values 'y'";

TEST(Instruments, WriteTextsInManyWays) {
  const std::pair<std::string, std::string> cases[] = {
      // Comments, ends of lines, encodings
      {"# a\n1 10\n2 20 # b\n", ": 1 2 | 10 20"},
      {"% a\n1 10\n2 20 % b\n", ": 1 2 | 10 20"},
      {"; a\n1 10\n2 20 ; b\n", ": 1 2 | 10 20"},
      {"// a\n1\t10\n\n2\t20\n", ": 1 2 | 10 20"},
      {"# angle  counts\n1 10\n", "columns separated by blanks; positions 'angle', values 'counts': 1 | 10"},
      {"1 10\r2 20\r", ": 1 2 | 10 20"},
      {"x,y\r\n1,10\r\n2,20\r\n", xy + std::string(": 1 2 | 10 20")},
      {"\xFF\xFE" + Utf16("1 10\n2 20\n", false), ": 1 2 | 10 20"},
      {Utf16("1 10\n2 20\n", true), ": 1 2 | 10 20"},
      {"\xEF\xBB\xBFx,y\n1,10\n", xy + std::string(": 1 | 10")},
      // Separators and decimal marks
      {"0;5\n1;6\n", "columns separated by ';'; positions column 1, values column 2: 0 1 | 5 6"},
      {"0,5;5\n1;6,25\n",
       "columns separated by ';', decimal comma; positions column 1, values column 2: 0.5 1 | 5 6.25"},
      {"0,5\t5\n1\t6,25\n",
       "columns separated by tabs, decimal comma; positions column 1, values column 2: 0.5 1 | 5 6.25"},
      {"400,0 0,123\n400,5 0,125\n",
       "columns separated by blanks, decimal comma; positions column 1, values column 2: 400 400.5 | 0.123 "
       "0.125"},
      {"1.5, 2.5\n2.5, 3\n", comma + std::string("; positions column 1, values column 2: 1.5 2.5 | 2.5 3")},
      {"0,12\n1,15\n2,9\n", comma + std::string(", not numbers with a decimal comma (--decimal , reads them "
                                                "so); positions column 1, values column 2: 0 1 2 | 12 15 9")},
      {"U (V)\n1,5\n1,7\n", "decimal comma, 1 header line; values 'U (V)':  | 1.5 1.7"},
      {"\"x\",\"y\"\n\"1,5\",\"10\"\n\"2,5\",\"20,5\"\n",
       "columns separated by ',', decimal comma, 1 header line; positions 'x', values 'y': 1.5 2.5 | 10 "
       "20.5"},
      {"\"E, keV\",\"\"\"raw\"\"\"\n\"1\",\"10\"\n",
       "columns separated by ',', 1 header line; positions 'E, keV', values '\"raw\"': 1 | 10"},
      {"x,y,\n1,2,\n2,3,\n", xy + std::string(": 1 2 | 2 3")},
      {"400 ; 0.5\n500 ; 0.7\n",
       "columns separated by ';'; positions column 1, values column 2: 400 500 | 0.5 0.7"},
      {"0\t2.5\t\n2\t\t71\n4\t\t72\n",
       "columns separated by tabs; positions column 1, values column 2, column 3 (2 data): 0 2 4 | 2.5 nan "
       "nan | nan 71 72"},
      {"1\t\t2\n10000000\t3\n", ": 1 10000000 | 2 3"},  // tabs align the words
      {"x;y\n1;2\n2;3\n;\n;\n",
       "columns separated by ';', 1 header line; positions 'x', values 'y': 1 2 | 2 3"},
      {"t ; v\n1,0 ; N/A\n1,1 ; -7\n",
       "columns separated by ';', decimal comma, 1 header line; positions 't', values 'v': 1 1.1 | nan -7"},
      {"t,a,b\n0,5,\n1,6,\n",
       "columns separated by ',', 1 header line; positions 't', values 'a', 'b' (2 data): 0 1 | 5 6 | nan "
       "nan"},
      // Numbers
      {"1.5D+02 0.123-102\n+2.5d2 1E0\n", ": 150 250 | 1.23e-103 1"},
      {"1 1.#QNAN\n2 -1.#IND00\n3 1.#INF\n", ": 1 2 3 | nan nan inf"},
      {"x,y\n1,\n2,#N/A\n3,--\n4,5\n", xy + std::string(": 1 2 3 4 | nan nan nan 5")},
      {"x,y\n\u22121.5,1\n2,\u22122e\u22123\n", xy + std::string(": -1.5 2 | 1 -0.002")},
      // Headers
      {"nm,%T\n1,2\n", "columns separated by ',', 1 header line; positions 'nm', values '%T': 1 | 2"},
      {"x,y # of today\n1,2\n", xy + std::string(": 1 | 2")},
      {"# t U\n# (s) (V)\n1 2\n", "columns separated by blanks; positions 't (s)', values 'U (V)': 1 | 2"},
      {"Energy (eV)\tCounts per s\n1\t2\n",
       "columns separated by tabs, 1 header line; positions 'Energy (eV)', values 'Counts per s': 1 | 2"},
      {"Energy (eV) Counts\n1 2\n",
       "columns separated by blanks, 1 header line; positions 'Energy (eV)', values 'Counts': 1 | 2"},
      {"Model,A1\nLength,2\nt,U\ns,mV\n0,1\n1,2\n",
       "columns separated by ',', 4 header lines; positions 't (s)', values 'U (mV)': 0 1 | 1 2"},
      {"[Header]\nPoints=2\n[Data]\n1 2\n2 3\n",
       "columns separated by blanks, 3 header lines; positions column 1, values column 2: 1 2 | 2 3"},
      // Several columns
      {"1 2 3\n2 4 5\n",
       "columns separated by blanks; positions column 1, values column 2, column 3 (2 data): 1 2 | 2 4 | 3 "
       "5"},
      {"x,y,flag\n1,10,OK\n2,20,BAD\n",
       "columns separated by ',', 1 header line; positions 'x', values 'y', 'flag' without numbers left out: "
       "1 2 | 10 20"},
      {"datum,t,time,position,value\n0,5,1970-01-01T00:00:07Z,1,2\n0,5,1970-01-01T00:00:07Z,2,3\n1,6,1970-01-"
       "01T00:00:08Z,1,4\n",
       "columns separated by ',', 1 header line; 2 data as 'dseries export' writes them: "
       "1970-01-01T00:00:07Z 1 2 | 2 3; 1970-01-01T00:00:08Z 1 | 4; "},
  };
  for (const auto& [text, shown] : cases) EXPECT_EQ(Shown(text), shown) << text;
}

TEST(Instruments, AreNotBelievedWhereAReadingIsInDoubt) {
  const std::pair<std::string, const char*> cases[] = {
      {"1,5\n1,7\n1,6\n", "a: '1,5' may be two numbers, or one with a decimal comma"},
      {"title\n0,12\n1,15\n2,9\n", "a: '0,12' may be two numbers"},
      {"x,y\n1,2\n2\n3,4\n", "a: line 3 has 1 field, and those before it have 2"},
      {"1 1,234\n2 2,001\n", "'2,001' may have a decimal comma or a mark between thousands"},
      {"0.1 1,234.5\n0.2 2,234.5\n", "column 2 holds no numbers, '1,234.5' for one; --columns"},
      {"x y\n1 2\n2 1,234.5\n", "line 3: '1,234.5' is not a number that is read here, because of the mark"},
      {"1;2,5\n2;3.5\n3;4,5\n", "line 2: '3.5' is not a number"},
      {"time,T\n2024-02-29 12:00,21.5\n", "column 1 'time' holds no numbers, '2024-02-29 12:00' for one"},
      {"1024\n1 2\n2 3\n", "line 1 has 1 field, and the data behind it have 2; --skip 1 leaves"},
      {"1 x\n2 3\n3 4\n",
       "line 1: 'x' is not a number; --missing names a word for a missing value; --skip 1"},
      {"1 ; OVER\n2 ; 5\n3 ; OVER\n", "'; OVER' and the like at the end of lines may be data"},
      {"0\t\t5\n10\t\t\n20\t\t\n", "line 1 has 3 fields, and the data behind it have 1; --delimiter tab"},
      {"t\tv\tnote\n0\t1\tstart\n1\t2\t\n2\t3\t\n",
       "line 2 has 3 fields, and the data behind it have 2; --delimiter tab"},
      {"0 1 *\n1 2\n2 3\n", "line 1 has 3 fields"},
      {"0;5\n1\n2\n", "line 1: '0;5' is not a number"},
      {"V\n1e400\n6\n", "line 2: '1e400' is not a number"},
      {"t,U\n1,5,2\n2,5,3\n",
       "'t,U' names 2 columns, and the lines have 3 fields, perhaps with decimal commas"},
      {"0,9812\n1,0223\n2,1334\n", "may be two numbers"},
      {"t,v\n0,$1.5\n1,$2.5\n", "column 2 'v' holds no numbers, '$1.5' for one"},
      {"t\tv\n0\t\n1\t\n", "'t\\tv' names 2 columns between tabs"},
      {"x y\n1 2\n2 3\n[End]\n", "line 4: '[End]' is not a number; --missing WORD"},
      {"1 2\n2 3 // 4\n3 //\n", "line 3 has 1 field"},
      {"1 2\n2 3#4\n", "line 2: '3#4' is not a number"},
      {"x\n1.5\n2,5\n3.5\n", "line 3: '2,5' is not a number"},
      {"1 2-3\n", "holds no numbers"},
      {"0\t2.5\n2\t\t71\n", "'2\\t\\t71' may have an empty field between its tabs; --delimiter tab"},
      {"5 %\t3.1\n6 %\t3.2\n", "'%\\t3.2' and the like at the end of lines may be data; --comment '%'"},
      {"1,5, 2,5\n2,5, 3,5\n", "'2,5, 3,5' may have decimal commas; --delimiter ,"},
      {"\"12,500\",\"1\"\n\"450\",\"2\"\n", "'12,500' may have a decimal comma or a mark between thousands"},
      {"1;1,234\n2;999\n", "'1,234' may have a decimal comma"},
      {"1,002 2\n2 3\n3 4\n", "'1,002' may have a decimal comma"},
      {"<1 2\n2 3\n3 4\n", "line 1: '<1' is not a number"},
      {"(1.0) 2\n2 3\n3 4\n", "line 1: '(1.0)' is not a number"},
      {"1 OVLD\n2 OVLD\n3 5\n", "column 2 holds no numbers, 'OVLD' for one"},
      {"1 62.5-125\n2 62.5-125\n", "column 2 holds no numbers, '62.5-125' for one"},
      {std::string("1 2\0\n", 5), "is not a text"},
      {"\xFF\xFE" + Utf16("1 2", false) + "3", "an odd number of bytes"},
      {std::string("\xFF\xFE\x00\xD8\x31\x00", 6), "no character of UTF-16"},
  };
  for (const auto& [text, complaint] : cases) EXPECT_THAT(Shown(text), HasSubstr(complaint)) << text;
}

TEST(Instruments, AreOverruled) {
  const auto shown = [](const std::string& text, TextForm form) {
    const std::string all = Shown(text, form);
    return all.substr(std::min(all.find(": ") + 2, all.size()));
  };
  const auto columns = [](const char* list) { return TextForm{list, {}, {}, {}, {}, {}}; };
  const std::string four = "a (s),b,c,d\n1,2,OK,4\n2,3,5%,5\n";
  EXPECT_EQ(shown(four, columns("1,2,4")), "1 2 | 2 3 | 4 5");
  EXPECT_EQ(shown(four, columns("d,a")), "4 5 | 1 2");
  EXPECT_EQ(shown(four, columns("2")), " | 2 3");
  EXPECT_EQ(shown(four, columns("0,1-2")), " | 1 2 | 2 3");
  EXPECT_EQ(shown("1 2 3\n# 8 9\n2 4 5\n", columns("0,2-")),
            " | 2 4 | 3 5");  // a comment in a column not read
  EXPECT_THAT(Shown(four, columns("1,3")), HasSubstr("line 2: 'OK' is not a number"));
  EXPECT_THAT(Shown(four, columns("1,5")), HasSubstr("there is no column 5; the text has 4 columns"));
  EXPECT_THAT(Shown(four, columns("e")), HasSubstr("there is no column 'e'; there are a (s), b, c, d"));
  EXPECT_THAT(Shown("a,b (V),b (mV)\n1,2,3\n", columns("a,b")),
              HasSubstr("column 2 'b (V)' and column 3 'b (mV)' are both"));
  EXPECT_THAT(Shown(four, columns("0")), HasSubstr("names no column of values"));
  EXPECT_EQ(shown("1,5\n1,7\n", {"", {}, {}, ',', {}, {}}), " | 1.5 1.7");
  EXPECT_EQ(shown("a;b\n1;2\n;\n\n3;4\n;\n\n# end\n", columns("0,1,2")), " | 1 nan nan 3 | 2 nan nan 4");
  EXPECT_EQ(shown("0;1,5\n1;-9999,0\n", {"", {}, {}, {}, {}, {"-9999,0"}}), "0 1 | 1.5 nan");
  EXPECT_EQ(shown("1,5\n1,7\n", {"", {}, ',', {}, {}, {}}), "1 1 | 5 7");
  EXPECT_EQ(shown("1024\n1 2\n2 3\n", {"", 1, {}, {}, {}, {}}), "1 2 | 2 3");
  EXPECT_EQ(shown("x y\n1 2\n[End]\n", {"", {}, {}, {}, {"["}, {}}), "1 | 2");
  EXPECT_EQ(shown("1\t\t2\n3\t4\t5\n", {"", {}, '\t', {}, {}, {}}), "1 3 | nan 4 | 2 5");
}

/// Numbers of any size, in any notation, come back as they were written.
TEST(Instruments, WriteNumbersThatAreReadUnchanged) {
  const unsigned seed = std::random_device()();
  SCOPED_TRACE(seed);
  std::mt19937 random(seed);
  for (int run = 0; run < 300; ++run) {
    const char delimiters[] = {' ', '\t', ';', ','};
    const char delimiter = delimiters[random() % 4],
               decimal = delimiter != ',' && random() % 2 == 0 ? ',' : '.';
    const std::size_t columns = 2 + random() % 4, rows = 3 + random() % 300;
    std::vector<std::vector<double>> wanted(columns);
    std::string text;
    for (std::size_t c = 0; random() % 2 == 0 && c < columns; ++c)
      text +=
          (c > 0 ? std::string(1, delimiter) : "") + "c" + std::to_string(c) + (c + 1 == columns ? "\n" : "");
    if (!text.ends_with('\n')) text.clear();
    for (std::size_t r = 0; r < rows; ++r) {
      if (random() % 20 == 0) text += "# 1 2 3\n";
      for (std::size_t c = 0; c < columns; ++c) {
        const double value =
            c == 0 ? static_cast<double>(r) + 0.5
                   : std::ldexp(static_cast<double>(random()), static_cast<int>(random() % 80) - 60);
        wanted[c].push_back(value);
        std::string number = fmt::format("{}", value);
        std::replace(number.begin(), number.end(), '.', decimal);
        text += (c > 0 ? std::string(1, delimiter) : "") + number;
      }
      text += random() % 30 == 0 ? " \r\n" : "\n";
    }
    const dseries::Text read = dseries::ReadColumns("a", text, {});
    ASSERT_EQ(read.parts.size(), 1u) << text;
    ASSERT_EQ(read.parts[0].data.size(), columns - 1) << text;
    EXPECT_EQ(read.parts[0].positions, wanted[0]) << text;
    for (std::size_t c = 1; c < columns; ++c) EXPECT_EQ(read.parts[0].data[c - 1].values, wanted[c]) << text;
  }
}

class Inputs : public Tool {
 protected:
  /// A file written by another program.
  static std::string Sample(const std::string& name) { return SAMPLE_DATA "/" + name; }
  /// The rows of a picture, the bottom one first.
  std::string Rows(const std::string& input, int rows = 2) {
    std::string text;
    for (int y = 0; y < rows; ++y) {
      std::istringstream line(Succeed(fmt::format("image {} --row-at {} -o -", input, y)));
      for (double x = 0, value = 0; line >> x >> value;) text += fmt::format("{} ", value);
      text += "/ ";
    }
    return text;
  }
};

TEST_F(Inputs, OfInstrumentsBecomeSeriesWithLabels) {
  const struct {
    const char* name;
    int data;
    const char *found, *row, *units;
  } cases[] = {
      {"spectrometer.txt", 1, "columns separated by tabs, decimal comma, 8 header lines; positions column 1",
       "339.11\t12.5\n", ""},
      {"oscilloscope.csv", 2, "positions 'TIME (s)', values 'CH1 (V)', 'CH2 (mV)' (2 data)", "-2.4e-05\t0\n",
       "s"},
      {"thermobalance.txt", 2, "positions 'Temperature [°C]', values 'Mass [mg]', 'Heat flow [mW]'",
       "25\t20\n", "°C"},
      {"absorbance.csv", 1, "positions 'Wellenlänge (nm)', values 'Extinktion'", "400\t0.1\n", "nm"},
      {"transport.dat", 1, "positions 'field (T)', values 'resistance (Ohm)'", "-1\t120\n", "T"},
      {"chromatogram.csv", 1, "'Status' without numbers left out", "0\t1\n", "min"},
  };
  for (const auto& [name, data, found, row, units] : cases) {
    std::filesystem::remove(folder_ / "a.dseries");
    std::filesystem::remove(folder_ / "a.dseries.json");
    const Result result = Run("append a.dseries --new --slots 5 --file-time " + Sample(name));
    EXPECT_EQ(result.out, fmt::format("a.dseries: {} appended, {} of 5 slots filled\n",
                                      data == 1 ? "1 datum" : "2 data", data));
    EXPECT_THAT(result.err, HasSubstr(found));
    EXPECT_THAT(Succeed("get a.dseries 0 -o -"), StartsWith(row));
    EXPECT_EQ(Read("a.dseries.json").find("\"units\": \"" + std::string(units) + '"') != std::string::npos,
              *units != '\0')
        << name;
    Succeed("plot " + Sample(name));
  }
  EXPECT_THAT(Run("append a.dseries --new " + Sample("absorbance.csv")).err,
              HasSubstr("exists already; leave out --new"));
  Write("bad.csv", "x,y\n1,2\n2,z\n");
  EXPECT_EQ(Run("append b.dseries --new bad.csv").status, 1);
  EXPECT_EQ(Run("append b.dseries --new --dim n,,1,0,1 " + Sample("oscilloscope.csv")).status,
            1);  // two data
  EXPECT_FALSE(bExists("b.dseries"));
  Write("other.csv", "x (nm),y (mA)\n1,2\n2,3\n");
  Write("same.csv", "x (eV),y (V)\n1,2\n2,3\n");
  Succeed("append c.dseries --new same.csv --slots 9");
  EXPECT_THAT(Run("append c.dseries other.csv").err,
              AllOf(HasSubstr("other.csv has units of nm, and c.dseries is labelled with eV"),
                    HasSubstr("other.csv has units of mA")));
  EXPECT_EQ(Run("append c.dseries same.csv").err.find("units"), std::string::npos);
  Write("uneven.txt", "1 5\n2 6\n4 7\n");
  EXPECT_EQ(Run("plot uneven.txt").status, 0);
  EXPECT_THAT(Run("plot uneven.txt 1").err, HasSubstr("not a series"));
}

TEST_F(Inputs, ThatWereExportedComeBackEqual) {
  Write("a.txt", "10 1.5\n10.1 nan\n10.2 -3\n");
  Write("b.txt", "10 0.1\n10.1 2\n");
  const std::string dims = " --dim time,°,2,0.1,0.2,reverse --dim value,m,2,5,1";
  for (const std::string tag : {"", " --at 0.1,2"}) {
    for (const char* name : {"a.dseries", "b.dseries", "a.dseries.json"})
      std::filesystem::remove(folder_ / name);
    Succeed("append a.dseries --new a.txt --time 7" + tag + dims);
    Succeed("append a.dseries b.txt --time 2024-02-29T12:00" + tag);
    if (!tag.empty()) Succeed("label a.dseries --x 'Energy (eV)' --value counts");
    Succeed("export a.dseries -o a.csv");
    Succeed("append b.dseries --new a.csv" + dims);
    Succeed("export b.dseries -o b.csv");
    EXPECT_EQ(Read("b.csv"), Read("a.csv"));
    Succeed("export a.dseries 1 -o c.csv");
    Succeed("append b.dseries c.csv" + tag);
    EXPECT_EQ(Succeed("get b.dseries 2 -o -"), Succeed("get a.dseries 1 -o -"));
    if (tag.empty()) continue;
    Succeed("label a.dseries --x '#x' --value '% of all'");
    Succeed("export a.dseries -o d.csv");
    std::filesystem::remove(folder_ / "b.dseries");
    std::filesystem::remove(folder_ / "b.dseries.json");
    Succeed("append b.dseries --new d.csv" + dims);
    Succeed("export b.dseries -o b.csv");
    EXPECT_EQ(Read("b.csv"), Read("d.csv"));
    EXPECT_THAT(Run("append b.dseries b.txt").err,
                HasSubstr("are tagged with time and 2D position; add --at X,Y"));
  }
}

TEST_F(Inputs, OfPicturesAndArraysKeepTheirValues) {
  const std::string grey = "4 5 60 / 1 2 3 / ";
  EXPECT_EQ(Rows(Sample("palette.png")), grey);
  EXPECT_EQ(Rows(Sample("grey.jpg")), grey);
  EXPECT_EQ(Rows(Sample("resolution.tif"), 1), "4 5 60 / ");
  EXPECT_THAT(Run("image " + Sample("resolution.tif")).err, HasSubstr("0.1 x 0.05 mm a pixel"));
  EXPECT_EQ(Rows(Sample("grey16.png")), "4000 5000 60000 / 1000 2000 3000 / ");
  EXPECT_EQ(Rows(Sample("float.tif")), "0.5 0.625 7.5 / 0.125 0.25 0.375 / ");
  EXPECT_EQ(Rows(Sample("negative.tif")), "-400000 -500000 -6000000 / -100000 -200000 -300000 / ");
  EXPECT_EQ(Rows(Sample("turned.tif"), 3), "60 3 / 5 2 / 4 1 / ");
  for (const auto& [channel, row] : {std::pair("red", "4 5 60 / "),
                                     {"green", "8 10 120 / "},
                                     {"blue", "12 15 180 / "},
                                     {"alpha", "14 15 70 / "}})
    EXPECT_EQ(Rows(Sample("colour.png") + " --channel " + channel, 1), row);
  EXPECT_EQ(Rows(Sample("colour16.png"), 1), "2484 3105 37260 / ");
  EXPECT_THAT(Rows(Sample("tiles.tif") + " --channel green", 18), HasSubstr("/ 0 2 4 6 "));
  EXPECT_THAT(Run("image --channel red " + Sample("grey.jpg")).err, HasSubstr("a grey picture"));
  // Exif says that the first row is at the right.
  std::ifstream jpeg(Sample("grey.jpg"), std::ios::binary);
  std::string turned{std::istreambuf_iterator<char>(jpeg), {}};
  const std::string exif(
      "\xFF\xE1\0\x22"
      "Exif\0\0II*\0\x08\0\0\0\x01\0\x12\x01\x03\0\x01\0\0\0\x06\0\0\0\0\0\0\0",
      36);
  Write("turned.jpg", turned.insert(2, exif));
  EXPECT_EQ(Rows("turned.jpg", 3), "60 3 / 5 2 / 4 1 / ");
  for (const auto& [name, data, row] : {std::tuple("stack.tif", 3, "0\t4002\n1\t5002\n2\t60002\n"),
                                        {"cube.npy", 2, "0\t12\n1\t13\n2\t14\n3\t15\n"}}) {
    std::filesystem::remove(folder_ / "a.dseries");
    Succeed("append a.dseries --new " + Sample(name));
    EXPECT_EQ(Succeed(fmt::format("get a.dseries {} --row-at 0 -o -", data - 1)), row);
  }
  Write("empty.npy", "\x93NUMPY\x01" + std::string("\0\x46\0", 3) +
                         "{'descr': '<f8', 'fortran_order': False, 'shape': (3, 0), }          \n");
  EXPECT_THAT(Succeed("append e.dseries --new empty.npy"), HasSubstr("3 data appended"));
  Succeed("append b.dseries --new " + Sample("integers.npy"));
  EXPECT_EQ(Succeed("get b.dseries 1 -o -"), "0\t4\n1\t5\n2\t9007199254740992\n");
}

TEST_F(Inputs, ComeBackFromEveryFormatThatHoldsTheirType) {
  const struct {
    const char *type, *formats, *refused;
  } cases[] = {{"ubin8", ".png .tif .bmp .pgm .npy .darr", ""},
               {"ubin16", ".png .tif .pgm .npy .darr", ".bmp"},
               {"sbin32", ".tif .npy .darr", ".png"},
               {"float32", ".tif .npy .darr", ".pgm"},
               {"float64", ".tiff .npy .darr", ".png"}};
  for (const auto& [type, formats, refused] : cases) {
    Succeed(fmt::format("image {} --type {} -o a.darr", Sample("palette.png"), type));
    std::istringstream list(formats);
    for (std::string format; list >> format;) {
      Succeed("image a.darr -o b" + format);
      EXPECT_THAT(Succeed("image b" + format), HasSubstr(std::string("6 elements of type ") + type))
          << format;
      EXPECT_EQ(Rows("b" + format), "4 5 60 / 1 2 3 / ") << format;
    }
    if (*refused == '\0') continue;
    EXPECT_THAT(Run(std::string("image a.darr -o b") + refused).err,
                HasSubstr("--stretch draws them in greys"));
    Succeed(std::string("image a.darr --stretch -o b") + refused);
  }
}

/// Cut anywhere or with a byte changed, a file is read or refused in one line.
TEST_F(Inputs, ThatAreDamagedAreRefused) {
  for (const char* name : {"stack.tif", "resolution.tif", "colour.png", "grey.jpg", "cube.npy"}) {
    std::ifstream in(Sample(name), std::ios::binary);
    const std::string whole{std::istreambuf_iterator<char>(in), {}};
    for (std::size_t n = 0; n < whole.size(); n += whole.size() / 12 + 1) {
      std::string changed = whole;
      changed[n] = static_cast<char>(changed[n] ^ 0x5A);
      for (const std::string& bytes : {whole.substr(0, n), changed}) {
        Write("bad", bytes);
        const Result result = Run("image bad --type float64");
        EXPECT_TRUE(result.status == 0 || result.status == 1) << name << ' ' << n;
        if (bytes.size() < whole.size()) {
          EXPECT_EQ(result.status, 1) << name << ' ' << n;
        }
        if (result.status == 1) {
          EXPECT_THAT(result.err, StartsWith("dseries: ")) << name << ' ' << n;
        }
      }
    }
  }
}

}  // namespace
