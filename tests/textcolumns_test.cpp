#include <regex>

#include "arrays.h"
#include "disk.h"
#include <DataStorage/data/asciirw.h>

namespace {

using Cal = cal_c1DArrayCal;

TEST(TextColumns, TellsTheLayoutFromTheFirstLine) {
  const auto expect = [](asrw_eFormat format, const std::string& text) {
    std::istringstream in("skipped " + text);
    in.ignore(8);
    EXPECT_EQ(asrw_ASCII_Format(in), format) << text;
    EXPECT_TRUE(in.good());
    EXPECT_EQ(in.tellg(), 8);
  };
  const std::string seventy_nine = std::string(76, ' ') + "1 2";
  for (const auto& text : {"1\n2 3\n"s, " -1.5e3\t\r\n"s, "+1 x\n"s, "\t.5,"s, " " + seventy_nine, "inf\n"s,
                           "1 Nanometres"s, "1inf"s, "-2 nan,"s})
    expect(asrw_OneColumn, text);
  for (const auto& text : {"1 2\n3\n"s, "1\tinf \n"s, "+NaN -Infinity"s, seventy_nine + "3 4"})
    expect(asrw_TwoColumn, text);
  for (const auto& text :
       {"1 2 3\n", "1 2x\n", "+-1\n", "Infrared 5", "Info: end", "nanometres 1 2", "1 2 nan", "  \n1\n", ""})
    expect(asrw_UnknownFormat, text);
}

TEST(TextColumns, ReadsOneColumnUpToTheFirstWord) {
  for (const auto& [text, values, rest] :
       std::initializer_list<std::tuple<std::string, std::vector<double>, std::string>>{
           {"1\n-2.5 +3\t4e2\n\n 5 ", {1, -2.5, 3, 400, 5}, ""},
           {"1\n2 end 3", {1, 2}, "end"},
           {"1\n2,5\n", {1, 2}, ",5"},
           {"1\n1e999\n", {1}, "1e999"},
           {"1\n1e-999\n-0.1e-99999\n0.00e5 1e-9999999999999999999\n", {1, 0, 0, 0, 0}, ""},
           {"1\n0.001e999\n", {1}, "0.001e999"},
           {"1\n1e+9999999999999999999\n", {1}, "1e+9999999999999999999"},
           {"1\nINF\n-infinity", {1, infinity, -infinity}, ""},
           {"1\n2inf", {1, 2}, "inf"},
           {"1\nnan, 2", {1}, "nan,"},
           {"1\nInfo: end", {1}, "Info:"},
           {"1\n--2\n", {1}, "--2"}}) {
    std::istringstream in(text);
    parr_c1DNumberArray array;
    EXPECT_TRUE(asrw_ReadOneColumn(in, array));
    EXPECT_EQ(array.DataType(), dtyp_Float64);
    EXPECT_EQ(Values(array), values) << text;
    EXPECT_TRUE(in.fail());
    EXPECT_EQ(in.eof(), rest.empty());
    in.clear();
    std::string next;
    in >> next;
    EXPECT_EQ(next, rest);
  }
}

TEST(TextColumns, AreWholeOrRefusedInFilesOpenedAsText) {
  for (const std::string header : {"", "angle counts\r\n"}) {
    const TempFile file;
    file.SetBytes(header + "0 1\r\n1 2\r\n2 3\r\nend\r\n");
    std::ifstream in(file.Path().CString());  // not binary
    std::string line;
    if (!header.empty()) std::getline(in, line);
    darr_c1DArray array;
    if (!asrw_ReadTwoColumn(in, array)) continue;  // Windows, behind the header
    EXPECT_EQ(Values(array), (std::vector<double>{1, 2, 3}));
    if (in.bad()) continue;  // Windows
    in.clear();
    in >> line;
    EXPECT_EQ(line, "end");
  }
}

TEST(TextColumns, ReadsNumbersWhereverBlocksEnd) {
  for (const int spaces : {0, 1, 2, 3, 65500, 65530, 65536, 131060}) {
    std::string text = "1\n" + std::string(static_cast<std::size_t>(spaces), ' ');
    std::vector<double> expected = {1};
    for (int i = 0; i < 20000; ++i) {
      text += std::to_string(i) + ".25e1\n";
      expected.push_back(i * 10 + 2.5);
    }
    std::istringstream in(text);
    parr_c1DNumberArray array;
    ASSERT_TRUE(asrw_ReadOneColumn(in, array));
    EXPECT_EQ(Values(array), expected) << spaces;
  }
}

TEST(TextColumns, ReadsWordsWhereverBlocksEnd) {
  for (std::size_t spaces = 65536 - 12; spaces < 65536; ++spaces) {
    const std::string text = "1\n" + std::string(spaces - 2, ' ');
    std::istringstream number(text + "-Infinity 2"), word(text + "Infrared 2");
    parr_c1DNumberArray array;
    ASSERT_TRUE(asrw_ReadOneColumn(number, array));
    EXPECT_EQ(Values(array), (std::vector<double>{1, -infinity, 2})) << spaces;
    ASSERT_TRUE(asrw_ReadOneColumn(word, array));
    EXPECT_EQ(Values(array), std::vector<double>{1}) << spaces;
  }
}

/// The numbers at the start of a text, and the place where reading ends.
std::pair<std::vector<double>, std::size_t> NumbersOf(const std::string& text, std::size_t most) {
  static const std::regex number(R"([+-]?(\d+\.?\d*|\.\d+)(e[+-]?\d+)?)"),
      name(R"([+-]?(inf|infinity|nan|nan\(\w*\))(?=\s|$))", std::regex::icase);
  std::vector<double> numbers;
  auto at = text.begin();
  while (numbers.size() < most) {
    const auto word = std::find_if_not(at, text.end(), [](char c) { return std::strchr(" \t\r\n", c); });
    const bool spaced = word != at || at == text.begin();
    std::smatch found;
    const auto here = std::regex_constants::match_continuous;
    at = word;
    if (!std::regex_search(word, text.end(), found, number, here) &&
        !(spaced && std::regex_search(word, text.end(), found, name, here)))
      break;
    const double value = std::strtod(found.str().c_str(), nullptr);
    if (std::isinf(value) && std::isdigit(found.str().back())) break;
    numbers.push_back(value);
    at = found[0].second;
  }
  return {numbers, static_cast<std::size_t>(at - text.begin())};
}

TEST(TextColumns, AreWhatTheyAreByTheFirstLine) {
  std::mt19937 random(RandomSeed());
  const std::vector<const char*> pieces = {"1",   "-2.5", "e3",  ".",   "+",    "-",  "inf", "Infinity",
                                           "INF", "nan",  "NaN", "(x)", "0x1F", "ed", "7.",  ",",
                                           " ",   "\t",   "\n",  " ",   "\n",   " ",  "3",   "\n"};
  for (int i = 0; i < 20000 && !testing::Test::HasFailure(); ++i) {
    std::string text;
    for (auto n = random() % 12; n > 0; --n) text += pieces[random() % pieces.size()];
    SCOPED_TRACE(testing::PrintToString(text));
    std::istringstream in(text);
    const std::string line = text.substr(0, std::min<std::size_t>(text.find('\n'), 79));
    const auto [first, end] = NumbersOf(line, 2);
    const bool more = line.find_first_not_of(" \t", end) != line.npos;
    const asrw_eFormat format = first.size() == 1            ? asrw_OneColumn
                                : first.size() == 2 && !more ? asrw_TwoColumn
                                                             : asrw_UnknownFormat;
    EXPECT_EQ(asrw_ASCII_Format(in), format);
    EXPECT_EQ(in.tellg(), 0);
    parr_c1DNumberArray array(1, 9.5);
    const auto [values, rest] = NumbersOf(text, text.size());
    EXPECT_EQ(asrw_ReadOneColumn(in, array), format == asrw_OneColumn);
    EXPECT_THAT(Values(array),
                testing::Pointwise(testing::NanSensitiveDoubleEq(),
                                   format == asrw_OneColumn ? values : std::vector<double>{9.5}));
    in.clear();
    EXPECT_EQ(static_cast<std::size_t>(in.tellg()), format == asrw_OneColumn ? rest : 0);
  }
}

/// Begins with a text and continues for at least 1 MiB; counts the bytes that were read.
struct LongStream : std::streambuf {
  explicit LongStream(const std::string& start) : text(start + std::string(1000, '\n')) {}
  int underflow() override {
    if (taken > 1 << 20) return traits_type::eof();
    setg(text.data(), text.data(), text.data() + text.size());
    taken += text.size();
    return traits_type::to_int_type(text[0]);
  }
  pos_type seekpos(pos_type to, std::ios::openmode) override { return seekoff(to, std::ios::beg, {}); }
  pos_type seekoff(off_type by, std::ios::seekdir from, std::ios::openmode) override {
    if (from == std::ios::cur) return gptr() - eback();
    setg(text.data(), text.data() + by, text.data() + text.size());
    return by;
  }
  std::string text;
  std::size_t taken = 0;
};

TEST(TextColumns, AreNotReadOnWhenTheFirstNumbersDecideAgainstThem) {
  for (const auto& [text, taken] :
       std::initializer_list<std::pair<std::string, std::streamoff>>{{"0 5\n0 6\n", 7},
                                                                     {"0 5\n1e-320 6\n", 12},
                                                                     {"0 5\ninf 6\n", 9},
                                                                     {"0 5\n1 x\n", 6},
                                                                     {"0 1 2\n", 0}}) {
    LongStream stream(text);
    std::istream in(&stream);
    darr_c1DArray array;
    EXPECT_FALSE(asrw_ReadTwoColumn(in, array));
    EXPECT_LT(stream.taken, 80000U) << text;
    EXPECT_EQ(in.good(), text.find('x') == text.npos);
    in.clear();
    EXPECT_EQ(in.tellg(), taken) << text;
  }
}

TEST(TextColumns, CalibratesByTheFirstTwoPositions) {
  darr_c1DArray array;
  const auto expect = [&](const std::string& text, const std::vector<double>& values, const Cal& cal) {
    std::istringstream in(text);
    EXPECT_TRUE(asrw_ReadTwoColumn(in, array)) << text;
    EXPECT_EQ(RawForm(array), RawForm(darr_c1DArray(Line(values), cal))) << text;
  };
  expect("4 7\n2 6\n0 5", {5, 6, 7}, {0, 2});
  expect("0 5\n1 6\n5 7\n", {5, 6, 7}, {0, 1});
  expect("0 5\n-1 6\n-7\n", {6, 5}, {-1, 1});
  expect("0 5\n1 6 x 7\n", {5, 6}, {0, 1});
  const std::string before = RawForm(array);
  for (const std::string text : {"0 5\n0 6\n", "0 5\n1e-320 6\n", "0 5\n", "0 5\n1\n", "0 5\nnan 6\n",
                                 "0\n1\n", "0 inf\ninf 1\n", "0 1 2\n1 2 3\n", ""}) {
    std::istringstream in(text);
    EXPECT_FALSE(asrw_ReadTwoColumn(in, array)) << text;
    EXPECT_EQ(RawForm(array), before);
  }
  for (const std::string text : {"0 1\n", "0 1 2\n", ""}) {
    std::istringstream in(text);
    EXPECT_FALSE(asrw_ReadOneColumn(in, array)) << text;
  }
}

TEST(TextColumns, ReadsMeasuredSpectra) {
  std::ifstream file(EXAMPLE_DATA "/diffraction_nacl.dat");
  darr_c1DArray spectrum;
  ASSERT_TRUE(asrw_ReadTwoColumn(file, spectrum));
  EXPECT_GT(spectrum.NumIndices(), 800);
}

template <class T>
struct TextColumnTest : testing::Test {};
TYPED_TEST_SUITE(TextColumnTest, EveryElementType);

TYPED_TEST(TextColumnTest, WritesAsNumbersWriteThemselves) {
  using T = TypeParam;
  std::vector<T> elements = Counting<T>(3);
  if constexpr (detail::DataTypeOf<T> >= dtyp_Float32) {
    for (const double value : {1.0 / 3.0, 1e30, -0.0, 1e-7, 123456789.0, std::nan(""), -HUGE_VAL}) {
      const pnum_cNumber number(value, detail::DataTypeOf<T>);
      elements.push_back(*static_cast<const T*>(number.Data()));
    }
  }
  const darr_c1DArray array(Line(elements), {1, 1.0 / 3.0, 0});
  for (const int precision : {-1, 0, 1, 6, 17, 60}) {
    using std::ios;
    for (const auto flags : {ios::fmtflags(), ios::scientific, ios::fixed, ios::hex, ios::showpos,
                             ios::showpoint, ios::uppercase}) {
      std::ostringstream one, two, expected, expected_two;
      for (std::ostringstream* each : {&expected, &expected_two}) {
        each->precision(precision);
        each->setf(flags);
      }
      for (int i = 0; i < array.NumIndices(); ++i) {
        expected << array.Value(i) << '\n';
        expected_two << array.Cal().PositionX(i) << '\t' << array.Value(i) << '\n';
      }
      EXPECT_TRUE(asrw_WriteOneColumn(one, array, precision, static_cast<int>(flags)));
      EXPECT_TRUE(asrw_WriteTwoColumn(two, array, precision, static_cast<int>(flags)));
      EXPECT_EQ(one.str(), expected.str()) << precision << " " << flags;
      EXPECT_EQ(two.str(), expected_two.str()) << precision << " " << flags;
    }
  }
}

TEST(TextColumns, WritesLinesAndReportsFailures) {
  std::ostringstream out;
  EXPECT_TRUE(asrw_WriteTwoColumn(out, {Line<int>({7, -8, 9}), {1, 0.5, 0}}, 6, 0));
  EXPECT_EQ(out.str(), "1\t7\n1.5\t-8\n2\t9\n");
  struct Full : std::stringbuf {
    std::streamsize xsputn(const char* text, std::streamsize n) override {
      return str().size() > 4 ? 0 : std::stringbuf::xsputn(text, n);
    }
  } full;
  std::ostream failing(&full);
  EXPECT_FALSE(asrw_WriteOneColumn(failing, Line<int>({100, 200, 300, 400}), 6, 0));
  EXPECT_EQ(full.str(), "100\n200\n");
  EXPECT_FALSE(asrw_WriteOneColumn(failing, parr_c1DNumberArray(), 6, 0));
}

}  // namespace
