#include "file/choosing.h"

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>
#include <numeric>
#include <optional>
#include <random>
#include <tuple>
#include <vector>

#include "cli/view.h"
#include "file/failure.h"
#include "tool.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

using Data = std::optional<std::vector<int>>;  // none: refused

/// 31 data in 40 slots over x (5, one datum further left each time), y (4) and z (2); datum i is taken at the
/// second 10 (i / 3), at the place (i % 7, i % 5).
class Choices : public Tool {
 protected:
  static constexpr int filled = 31;

  void SetUp() override {
    Write("one.txt", "1\n");
    Succeed("create a.dseries --dim x,mm,5,-1,0.5,reverse --dim y,,4,10,3 --dim z,,2,0,1");
    dseries::DataSeries<darr_c1DArray> series(folder_ / "a.dseries");
    for (int i = 0; i < filled; ++i) {
      series.Append(darr_c1DArray(i % 4, pnum_cNumber(1.0 * i), {}),
                    dtsr_c2DPosition(i % 7, i % 5, 10 * (i / 3)));
    }
  }

  template <class F>
  static Data From(F choose) {
    try {
      return choose();
    } catch (const dseries::Failure&) {
      return {};
    }
  }
  template <class Meets>
  static std::vector<int> Those(Meets meets) {
    std::vector<int> data;
    for (int i = 0; i < filled; ++i) {
      if (meets(i)) data.push_back(i);
    }
    return data;
  }
  static double X(int i) { return -1 + 0.5 * (4 - i % 5); }
  static double Y(int i) { return 10 + 3 * (i / 5 % 4); }
};

TEST_F(Choices, BySlicesAreThoseOfALiteralModel) {
  const dseries::Series series(folder_ / "a.dseries");
  const auto chosen = [&](const std::string& text) {
    return From([&] {
      std::vector<int> data;
      dseries::Slice(text).AppendTo(data, series);
      return data;
    });
  };
  std::mt19937 random(7);
  const auto pick = [&random](int low, int high) { return std::uniform_int_distribution(low, high)(random); };
  for (int n = 0; n < 3000; ++n) {
    constexpr int open = 99;  // no place is given
    const int begin = pick(0, 3) ? pick(-40, 45) : open, end = pick(0, 3) ? pick(-40, 45) : open;
    const int step = pick(0, 9);
    const auto text = [](int i) { return i == open ? "" : std::to_string(i); };
    // Python: range(n)[begin:end:step]
    const auto place = [](int i, int otherwise) { return i == open ? otherwise : i < 0 ? i + filled : i; };
    const std::vector<int> model = Those([&](int i) {
      const int first = std::max(place(begin, 0), 0);
      return i >= first && i < place(end, filled) && step > 0 && (i - first) % step == 0;
    });
    const std::string slice = text(begin) + ':' + text(end) + ':' + std::to_string(step);
    EXPECT_EQ(chosen(slice), step > 0 ? Data(model) : Data()) << slice;
    const int a = pick(0, 45), b = pick(0, 45), one = pick(-40, 45);
    const std::string range = std::to_string(a) + '-' + std::to_string(b);
    EXPECT_EQ(chosen(range),
              a <= b && b < filled ? Data(Those([&](int i) { return a <= i && i <= b; })) : Data())
        << range;
    const int from_end = one < 0 ? one + filled : one;
    EXPECT_EQ(chosen(std::to_string(one)),
              0 <= from_end && from_end < filled ? Data(std::vector<int>{from_end}) : Data())
        << one;
  }
  EXPECT_EQ(chosen("3:5"), Data(std::vector<int>{3, 4}));
  for (const char* text :
       {"", "-", "x", "1.5", "1-", "3-2", "-3-5", "1:2:3:4", "::0", "::-1", "1:x", "7 ", "+7"}) {
    EXPECT_EQ(chosen(text), Data()) << text;
  }
}

TEST_F(Choices, ByPlaceAndTimeAreThoseOfALiteralModel) {
  const dseries::Series series(folder_ / "a.dseries");
  const dtsr_cDimensionArray& dimensions = series.DimensionArray();
  std::mt19937 random(7);
  const auto pick = [&random](int low, int high) { return std::uniform_int_distribution(low, high)(random); };
  std::vector<int> all(filled);
  std::iota(all.begin(), all.end(), 0);
  for (int n = 0; n < 1000; ++n) {
    const double a = pick(-30, 30) / 16.0, b = pick(-30, 30) / 16.0;
    const std::string ends[] = {std::to_string(a), std::to_string(b)};
    const auto where = [&](const std::string& text) {
      return From([&] {
        const dseries::Filter filter{{}, {dseries::ParsePart(dimensions, text)}};
        return Those([&](int i) { return filter.bPasses(series, i); });
      });
    };
    // The lowest x is -1, the highest 1; halfway between two the upper one is nearest.
    const bool on = a >= -1.25 && a <= 1.25;
    const double nearest = std::min(std::floor(a * 2 + 0.5) / 2, 1.0);
    EXPECT_EQ(where("x=" + ends[0]), on ? Data(Those([&](int i) { return X(i) == nearest; })) : Data()) << a;
    bool any = false;
    for (const double x : {-1.0, -0.5, 0.0, 0.5, 1.0}) any = any || (a <= x && x <= b);
    EXPECT_EQ(where("x=" + ends[0] + ',' + ends[1]),
              any ? Data(Those([&](int i) { return a <= X(i) && X(i) <= b; })) : Data())
        << a << ' ' << b;

    const int from = pick(-20, 120), to = from + pick(0, 40);
    const dseries::Filter times{dseries::ParseTimes(std::to_string(from) + ',' + std::to_string(to)), {}};
    EXPECT_EQ(Those([&](int i) { return times.bPasses(series, i); }),
              Those([&](int i) { return from <= 10 * (i / 3) && 10 * (i / 3) <= to; }));

    const double x = pick(-8, 70) / 9.0, y = pick(-8, 50) / 9.0;
    const auto far = [&](int i) { return std::hypot(i % 7 - x, i % 5 - y); };
    EXPECT_EQ(dseries::NearestDatum(series, all, {x, y}, {}),
              *std::min_element(all.begin(), all.end(), [&](int i, int j) { return far(i) < far(j); }));
  }
  EXPECT_EQ(dseries::ParseTimes("5,").to, dseries::TimeSpan().to);
  for (const char* text :
       {"", "x", "x=", "x=,", "x=1,2,3", "x=a", "x=nan", "w=1", "=1", "y=7", "y=20.6,21.9"}) {
    EXPECT_THROW(dseries::ParsePart(dimensions, text), dseries::Failure) << text;
  }
  for (const char* text : {",", "9,5", "1,2,3", "a,b"}) {
    EXPECT_THROW(dseries::ParseTimes(text), dseries::Failure) << text;
  }
}

TEST_F(Choices, AreMadeAlikeInEveryCommand) {
  const auto listed = [this](const std::string& arguments) {
    std::vector<int> data;
    for (const auto& datum : nlohmann::json::parse(Succeed("list --json a.dseries " + arguments))) {
      data.push_back(datum["datum"]);
    }
    return data;
  };
  EXPECT_EQ(listed("").size(), 31u);
  EXPECT_THAT(listed("--data -1,0-2,28:"), ElementsAre(30, 0, 1, 2, 28, 29, 30));
  EXPECT_THAT(listed("--where x=-0.5 --where y=,13 --where z=0"), ElementsAre(3, 8));
  EXPECT_THAT(listed("--time 10,20 --data ::2"), ElementsAre(4, 6, 8));
  EXPECT_THAT(listed("--near 6.2,-0.7"), ElementsAre(20));
  EXPECT_THAT(listed("--near 6.2,-0.7 --time ,50"), ElementsAre(5));
  EXPECT_THAT(listed("--time 90,1970-01-01"), ElementsAre(27, 28, 29, 30));  // the whole day
  EXPECT_THAT(listed("--at 1,1"), ElementsAre(1));
  EXPECT_THAT(Succeed("get a.dseries -1"), StartsWith("datum 30 of"));
  EXPECT_THAT(Succeed("get a.dseries --where x=1 --where y=19 --where z=0"), StartsWith("datum 15 of"));
  EXPECT_THAT(Succeed("get a.dseries --near -3,-3"), StartsWith("datum 0 of"));
  EXPECT_THAT(Succeed("export a.dseries -3: -o -"), HasSubstr("\n29,"));
  EXPECT_THAT(Succeed("plot a.dseries 1,2,-1"), HasSubstr("x 1 mm, y 16"));
  EXPECT_THAT(Succeed("find a.dseries --at 6.2,4.1 --nearest"), HasSubstr("\n   13 "));  // at 6,3
  EXPECT_THAT(Succeed("find a.dseries --time 64 --nearest"), HasSubstr("\n   18 "));     // the first at 60
  EXPECT_THAT(Succeed("find a.dseries --at 1,1 --all"), HasSubstr("\n    1 "));
  EXPECT_THAT(Succeed("find a.dseries --time 30,39"), HasSubstr("and 2 more data; --all shows them\n"));
  for (const auto& [arguments, status, complaint] :
       {std::tuple("get a.dseries 0-1", 1, "2 data of a.dseries are there; choose one, such as 0"),
        {"get a.dseries -32", 1, "there is no datum -32: 31 of 40 slots are filled"},
        {"get a.dseries 31", 1, "slot 31 is empty"},
        {"export a.dseries 29-31 -o -", 1, "slot 31 is empty"},
        {"list a.dseries --data 40", 1, "there is no slot 40"},
        {"list a.dseries --data 35:", 1, "no datum of a.dseries is there"},
        {"list a.dseries --time 1000,", 1, "no datum of a.dseries is there"},
        {"list a.dseries --where w=1", 1, "there is no dimension 'w': there is x, y, z"},
        {"list a.dseries --where x=1.3", 1, "nothing of x lies at 1.3: it goes from -1 to 1 mm"},
        {"list a.dseries --near 1", 1, "a place has 2 coordinates here, as the tags have"},
        {"get a.dseries 0 --near 1,1", 2, "only one of DATUM, --index, --position"},
        {"get a.dseries -i 0,0,0 --where x=0", 2, "--where and --time FROM,TO go with DATUM and --near only"},
        {"find a.dseries --at 1,1 --where x=0", 2,
         "--where and --time FROM,TO go with DATUM and --near only"},
        {"get a.dseries -x", 2, "there is no option -x"}}) {
    const Result result = Run(arguments);
    EXPECT_EQ(result.status, status) << arguments;
    EXPECT_THAT(result.err, HasSubstr(complaint));
  }
}

TEST_F(Choices, OfElementsFollowTheRuleForTheirCells) {
  // The cells of 10 elements, each from k to k + 1; falling ones reach from -k down to -k - 1.
  std::mt19937 random(7);
  for (int n = 0; n < 2000; ++n) {
    const double a = std::uniform_int_distribution(-8, 48)(random) / 4.0 + 0.01,
                 b = std::uniform_int_distribution(-8, 48)(random) / 4.0 + 0.01;
    const double low = std::min(a, b), high = std::max(a, b);
    if (high - low < 1) continue;
    const auto model = [&](auto in) {
      std::vector<int> cells;
      for (int k = 0; k < 10; ++k) {
        if (in(k)) cells.push_back(k);
      }
      return cells;
    };
    const std::pair<rnge_eIndexSelect, std::vector<int>> rules[] = {
        {rnge_IndexInner, model([&](int k) { return low <= k && k + 1 <= high; })},
        {rnge_IndexOuter, model([&](int k) { return low < k + 1 && k < high; })},
        {rnge_IndexNearest, model([&](int k) { return low <= k + 0.5 && k + 0.5 <= high; })},
        {rnge_IndexInnerStart, model([&](int k) { return low <= k && k < high; })}};
    for (const auto& [rule, cells] : rules) {
      for (const double sign : {1.0, -1.0}) {
        const auto range = dseries::CellsBetween(cal_cArrayCal(0, sign), 10, sign * a, sign * b, rule);
        std::vector<int> found;
        for (int k = range.StartIndexX(); k < range.EndIndexX(); ++k) found.push_back(k);
        EXPECT_EQ(found, cells) << rule << ' ' << low << ' ' << high;
      }
    }
  }
  Write("b.txt", "500 1\n501 nan\n502 4\n503 -2\n");
  Succeed("create b.dseries --dim x,,2,0,1 --dim y,,1,0,1");
  Succeed("append b.dseries b.txt b.txt");
  EXPECT_EQ(Succeed("get b.dseries 0 --region 502.5,501.5 -o -"), "501\tnan\n502\t4\n");
  EXPECT_EQ(Succeed("export b.dseries 0 --region 500.5,503 --cells inner -o -"),
            "position,value\n501,nan\n502,4\n");
  EXPECT_THAT(Run("get b.dseries 0 --region 504,505").err, HasSubstr("no data: the data go from 500 to 504"));
  EXPECT_THAT(Run("get b.dseries 0 --region 500,0,501,1").err,
              HasSubstr("--region takes two positions, X1,X2"));
  const std::pair<const char*, const char*> maps[] = {{"", "nan"},
                                                      {"--value sum:502,504", "2"},
                                                      {"--value mean", "1"},
                                                      {"--value max", "4"},
                                                      {"--value min:500,503", "1"},
                                                      {"--value at:503", "-2"},
                                                      {"--value mean:501.5,503.5 --cells inner", "4"},
                                                      {"--from 502 --to 502", "4"}};
  for (const auto& [arguments, value] : maps) {
    Succeed(std::string("map b.dseries -o b.darr ") + arguments);
    EXPECT_EQ(Succeed("image b.darr --row-at 0 -o -"), std::string("0\t") + value + "\n1\t" + value + '\n')
        << arguments;
  }
  for (const char* value : {"median", "at", "at:1,2", "mean:1", "mean:1,x", "mean:", "sum:nan,1"}) {
    EXPECT_EQ(Run(std::string("map b.dseries -o b.darr --value ") + value).status, 2) << value;
  }
  EXPECT_THAT(Run("map a.dseries -o b.darr").err,
              HasSubstr("along 3 of its 3; choose one place along the others"));
  Succeed("map a.dseries --where z=0 -o b.darr");
  Succeed("map a.dseries --where x=0.5 -o b.png --axes");
}

}  // namespace
