#include <algorithm>
#include <cairo.h>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <memory>
#include <set>

#include "figure/figure.h"
#include "file/text.h"
#include "tool.h"

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

TEST(Scale, MarksRoundNumbersWhereTheyLie) {
  // "2.5" with "×10⁻⁶", or "10⁻⁶" alone
  const auto value_of = [](std::string text) {
    const std::pair<const char*, const char*> plain[] = {{"×10", "e"}, {"⁻", "-"}, {"⁰", "0"}, {"¹", "1"},
                                                         {"²", "2"},   {"³", "3"}, {"⁴", "4"}, {"⁵", "5"},
                                                         {"⁶", "6"},   {"⁷", "7"}, {"⁸", "8"}, {"⁹", "9"}};
    const bool power =
        text.starts_with("10") && dseries::Width(text) < text.size() && text.find("×") == text.npos;
    if (power) text.replace(0, 2, "1e");
    for (const auto& [fine, rough] : plain) {
      for (std::size_t at; (at = text.find(fine)) != text.npos;) text.replace(at, std::strlen(fine), rough);
    }
    return std::stod(text);
  };
  for (const bool logarithmic : {false, true}) {
    for (const double size : {3e-300, 1.7e-9, 0.02, 1.0, 77.0, 123456.0, 5e22, 1e300}) {
      for (const double low : {-1.0, -0.3, 0.0, 1e-300, 1e-6, 0.1, 0.7, 0.999}) {
        if (logarithmic && low <= 0) continue;
        const dseries::Scale scale(low * size, size, logarithmic);
        const auto ticks = scale.Ticks(8);
        EXPECT_GE(ticks.size(), 2u) << low << ' ' << size;
        EXPECT_LE(ticks.size(), 9u) << low << ' ' << size;
        std::set<std::string> labels;
        for (const auto& [part, label] : ticks) {
          EXPECT_TRUE(part > -1e-5 && part < 1 + 1e-5) << low << ' ' << size;
          EXPECT_TRUE(labels.insert(label).second) << label;
          EXPECT_NEAR(scale.Part(value_of(label + scale.Factor())), part, 1e-4) << label << scale.Factor();
        }
      }
    }
  }
  // Powers of ten at the very ends are marked.
  for (const auto& [first, last] :
       {std::pair(-300, 300), {-300, -299}, {299, 300}, {0, 1}, {0, 3}, {-7, 2}, {-3, 18}, {4, 22}}) {
    for (const int most : {2, 5, 9}) {
      const auto ticks = dseries::Scale(std::pow(10, first), std::pow(10, last), true).Ticks(most);
      EXPECT_LE(ticks.size(), static_cast<std::size_t>(most) + 1) << first << ' ' << last;
      EXPECT_NEAR(ticks.front().part, 0, last - first > most ? 0.5 : 1e-6) << first << ' ' << last;
      EXPECT_NEAR(ticks.back().part, 1, last - first > most ? 0.5 : 1e-6) << first << ' ' << last;
      EXPECT_NEAR(value_of(ticks.back().label) / std::pow(10, first + (last - first) * ticks.back().part), 1,
                  1e-6);
    }
  }
  EXPECT_THAT(dseries::Scale(1, 100, true).Ticks(9), testing::SizeIs(7));  // 1, 2, 5, 10, ...
  for (const double same : {1e-300, 1e-5, 7.0, 1e300}) {
    const auto ticks = dseries::Scale::Around({same, same}, true).Ticks(5);
    EXPECT_TRUE(std::any_of(ticks.begin(), ticks.end(), [](const auto& tick) {
      return std::fabs(tick.part - 0.5) < 0.3;
    })) << same;
  }
  const dseries::Scale point(5, 5), none = dseries::Scale::Around({}, false);
  EXPECT_EQ(point.Part(5), 0.5);
  EXPECT_EQ(none.Part(1), 1);
  EXPECT_TRUE(std::isnan(dseries::Scale(1, 10, true).Part(0)));
  EXPECT_ANY_THROW(dseries::Scale::Around({}, true));
  EXPECT_NEAR(dseries::Scale::Around({1e-300, 1e300}, true).Part(1), 0.5, 0.05);
}

class Plots : public Tool {
 protected:
  /// Opaque pixels as 0xRRGGBB, transparent ones as -1; row 0 is the top one.
  using Pixels = std::vector<std::vector<std::int64_t>>;
  Pixels ReadPng(const std::string& name) {
    const std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)> png(
        cairo_image_surface_create_from_png((folder_ / name).c_str()), cairo_surface_destroy);
    EXPECT_EQ(cairo_surface_status(png.get()), CAIRO_STATUS_SUCCESS);
    Pixels rows(static_cast<std::size_t>(cairo_image_surface_get_height(png.get())));
    const unsigned char* row = cairo_image_surface_get_data(png.get());
    for (auto& pixels : rows) {
      const auto* words = reinterpret_cast<const std::uint32_t*>(row);
      for (int x = 0; x < cairo_image_surface_get_width(png.get()); ++x) {
        const bool opaque =
            words[x] >> 24 == 0xFF || cairo_image_surface_get_format(png.get()) == CAIRO_FORMAT_RGB24;
        pixels.push_back(opaque ? std::int64_t{words[x] & 0xFFFFFF} : -1);
      }
      row += cairo_image_surface_get_stride(png.get());
    }
    return rows;
  }
  void Refuse(const std::string& arguments, const std::string& complaint) {
    const Result result = Run(arguments);
    EXPECT_NE(result.status, 0) << arguments;
    EXPECT_THAT(result.err, HasSubstr(complaint)) << arguments;
  }
};

TEST_F(Plots, ShowPlanesUprightWithTheirGaps) {
  // The bottom row is 0, nan, 1; the top row 2, 3, 4.
  Write("a.f32", std::string("\0\0\0\0\0\0\xC0\x7F\0\0\x80\x3F\0\0\0\x40\0\0\x40\x40\0\0\x80\x40", 24));
  Succeed("create a.dseries --images --dim n,,2,0,1");
  Succeed("append a.dseries a.f32 --raw 3,2 --offset 10,-1 --delta 2,2 --time 7");
  EXPECT_THAT(Succeed("get a.dseries 0 -o a.png --contrast 0,4"), HasSubstr("not-a-number transparent"));
  EXPECT_EQ(ReadPng("a.png"), (Pixels{{0x949494, 0xC9C9C9, 0xFFFFFF}, {0x282828, -1, 0x5E5E5E}}));
  Succeed("get a.dseries 0 -o a.png --contrast 0,4 --colors viridis");
  EXPECT_EQ(ReadPng("a.png"), (Pixels{{0x21918C, 0x5FC861, 0xFDE725}, {0x440154, -1, 0x3B528A}}));

  const std::string text = Succeed("plot a.dseries --contrast 0,4");
  EXPECT_THAT(text, StartsWith("a.dseries\ndatum 0: n 0, 1970-01-01T00:00:07Z\ny\n"));
  const auto at = [&text](const char* glyph) { return text.find(glyph); };
  EXPECT_LT(at("▒▒▓▓"), at("····"));  // the top row first; blank without a value
  EXPECT_THAT(text, HasSubstr("··       "));
  EXPECT_THAT(text, Not(HasSubstr("\x1b")));

  Succeed("plot a.dseries 0 -o a.png");
  const Pixels figure = ReadPng("a.png");
  const std::size_t height = figure.size(), width = figure[0].size();
  EXPECT_EQ(figure[height / 3][width * 2 / 3], 0xFDE725);
  EXPECT_EQ(figure[height * 2 / 3][width / 4], 0x440154);
  for (const auto& [name, start] : {std::pair("a.svg", "<?xml"), std::pair("a.PDF", "%PDF-")}) {
    Succeed(std::string("plot a.dseries -o ") + name);
    EXPECT_THAT(Read(name), StartsWith(start));
  }
  Succeed("append a.dseries a.f32 --raw 3,2");
  Refuse("plot a.dseries", "choose one");
  Refuse("plot a.dseries 0 -o a.bmp", ".png, .svg and .pdf");
  Refuse("plot a.dseries 0 -o a.dseries", "not to a.dseries");
  Refuse("plot a.dseries 0 --contrast 4,0", "neither 'full' nor two rising values");
  Refuse("plot a.dseries 0 --log --contrast 0,4", "above 0");
  Refuse("get a.dseries 0 -o a.bmp --colors viridis", "colours go to .png");
  EXPECT_THAT(Succeed("plot a.dseries --row-at 1"), HasSubstr("\n━1━ n 0   ━2━ n 1\n"));
}

TEST_F(Plots, TellWhatTheirScaleCutsOff) {
  // The width of the top row of the colour scale, which is narrow for a tip.
  const auto bar_top = [this] {
    Succeed("plot a.dseries -o a.png");
    for (const auto& row : ReadPng("a.png")) {
      const auto width = std::count_if(row.begin() + std::ssize(row) / 2, row.end(), [](std::int64_t color) {
        return color >> 16 > 0xE0 && (color >> 8 & 0xFF) > 0xE0 && (color & 0xFF) < 0x60;  // yellow
      });
      if (width > 0) return width;
    }
    return std::ptrdiff_t{0};
  };
  std::string values;
  for (int i = 0; i < 400; ++i) values += std::string("\0\0\x80\x3F", 4);
  values.replace(
      0, 20, std::string("\0\0\x80\x7F\0\0\0\x40\0\0\x80\xFF\0\0\xC0\x7F\0\0\0\0", 20));  // inf 2 -inf nan 0
  Write("a.f32", values);
  Succeed("create a.dseries --images --dim n,,1,0,1");
  Succeed("append a.dseries a.f32 --raw 20,20");
  const std::string both = "2 of 399 values lie above the scale and 2 below it\n",
                    ends = "1 of 399 values lie above the scale and 1 below it\n";
  EXPECT_THAT(Succeed("plot a.dseries"), HasSubstr("\n0.9 ◀"));
  EXPECT_THAT(Succeed("plot a.dseries"), HasSubstr("▶ 1.1\n" + both));
  EXPECT_THAT(Succeed("plot a.dseries --contrast full"), HasSubstr("▶ 2\n" + ends));
  EXPECT_EQ(Succeed("plot a.dseries -o a.svg"), "a.svg: drawn; " + both);
  EXPECT_THAT(Succeed("get a.dseries 0 -o a.pgm --contrast full"),
              HasSubstr("0 (dark) to 2 (light), not-a-number black; " + ends));
  EXPECT_THAT(Succeed("plot a.dseries --log"),
              HasSubstr("2 of 399 values lie above the scale, 2 of 399 values are not above 0"));
  EXPECT_THAT(Succeed("plot a.dseries --row-at 0 --contrast=-1,1"),
              HasSubstr("2 of 19 values lie above the scale and 1 below it"));
  const auto pointed = bar_top();
  values.replace(0, 20, values.substr(20, 20));
  Write("a.f32", values);
  Succeed("create a.dseries --force --images --dim n,,1,0,1");
  Succeed("append a.dseries a.f32 --raw 20,20");
  EXPECT_THAT(Succeed("plot a.dseries"), HasSubstr("\n0.9 ·"));
  EXPECT_GT(bar_top(), 20);
  EXPECT_TRUE(0 < pointed && pointed < 15) << pointed;
}

TEST_F(Plots, ShowCurvesWithTheirGaps) {
  Write("a.txt", "0 1\n1 2\n2 nan\n3 4\n4 100\n");
  Succeed("create a.dseries --dim \"$(printf 'T,\\260C'),9,0,1\"");  // not in UTF-8
  Refuse("plot a.dseries", "no data yet");
  Succeed("append a.dseries a.txt --at 3,4");
  const std::string text = Succeed("plot a.dseries --log --x-label \"$(printf 'Länge')\"");
  EXPECT_THAT(text, HasSubstr("datum 0: T 0 °C"));
  EXPECT_THAT(text, HasSubstr("\n100 ┤"));
  EXPECT_THAT(text, HasSubstr(" Länge\n"));
  EXPECT_EQ(Succeed("plot a.dseries --log --x-label \"$(printf 'L\\344nge')\""), text);  // Latin-1
  Succeed("plot a.dseries -o a.svg --x-label \"$(printf 'L\\344nge')\"");
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) EXPECT_LE(dseries::Width(line), 80u) << line;
  EXPECT_EQ(text, Succeed("plot a.dseries --at 3,4 --log --x-label Länge"));
  for (const char* arguments : {"--steps", "--log", "--contrast 1.5,1.6", "0 0 0"}) {
    Succeed(std::string("plot a.dseries -o a.png ") + arguments);
    EXPECT_GT(ReadPng("a.png").size(), 100u);
  }
  Refuse("plot a.dseries --row-at 1", "--row-at and --column-at are for 2D data");
  Refuse("plot a.dseries 1", "slot 1 is empty");
  Refuse("plot a.dseries 0 -p 0", "only one of DATUM");
}

TEST(TerminalPictures, FitEveryWindow) {
  using dseries::Scale;
  const std::string words = "a title of several words, longer than the window is wide";
  dseries::Figure curves{words, words, words, words, {-1e7, 1e7}, {-123456, 0.5}, {}, {}, {}};
  for (int c = 0; c < 3; ++c) curves.curves.push_back({words, {-1e7, 0, 1e7}, {-123456, 0.5 * c, 0}});
  curves.cut_off = {9999, 17, 18, 19};
  dseries::Figure raster = curves;
  raster.curves.clear();
  raster.raster = {arr_c2DNumberArray<double>(7, 3, nullptr, 1.0, true),
                   Scale(-1.2345e-7, 6.789e20),
                   dseries::ColorMap::Greys(),
                   words,
                   {9, 1, 1, 0}};
  for (const dseries::Figure* figure : {&curves, &raster}) {
    for (int columns = 12; columns < 90; columns += columns < 40 ? 1 : 7) {
      for (int rows = 3; rows < 60; rows += rows < 20 ? 1 : 5) {
        std::istringstream lines(DrawnAsText(*figure, columns, rows, false));
        int count = 0;
        for (std::string line; std::getline(lines, line); ++count) {
          EXPECT_LE(dseries::Width(line), static_cast<std::size_t>(columns)) << line << rows;
        }
        EXPECT_TRUE(2 <= count && count <= rows) << count << " of " << rows << ' ' << columns;
      }
    }
    EXPECT_THAT(DrawnAsText(*figure, 80, 50, false), HasSubstr(words + '\n' + words));
  }
}

TEST_F(Plots, StackDataAsOnePicture) {
  Write("a.txt", "0 1\n1 2\n2 3\n");
  Write("b.txt", "1 7\n2 8\n3 9\n");
  Write("c.txt", "0.5 1\n1.5 2\n");
  Succeed("create a.dseries --dim T,K,4,10,5,reverse");
  Succeed("append a.dseries a.txt b.txt a.txt c.txt");
  const std::string text = Succeed("plot a.dseries :3 --heat --contrast 1,9");
  EXPECT_THAT(text, StartsWith("a.dseries\n3 data\nT (K)\n"));
  // The bottom row is that of the lowest position, which was stored last.
  std::istringstream lines(text);
  std::vector<std::string> rows;
  for (std::string line; std::getline(lines, line);) {
    const std::size_t axis = std::min(line.find("│"), line.find("┤"));
    if (axis != line.npos) rows.push_back(line.substr(axis + 3));
  }
  ASSERT_GT(rows.size(), 8u);
  EXPECT_THAT(rows.front(), StartsWith("·"));
  EXPECT_THAT(rows[rows.size() / 2], StartsWith("  "));
  EXPECT_THAT(rows[rows.size() / 2], testing::EndsWith("█"));
  EXPECT_EQ(rows.back(), rows.front());
  EXPECT_THAT(Succeed("plot a.dseries 0,2 --heat"), HasSubstr("T (K)"));
  EXPECT_THAT(Succeed("plot a.dseries 0,1,0 --heat"), HasSubstr("data in the order chosen"));
  EXPECT_THAT(Succeed("plot a.dseries 1 --heat --region 1.5,2.5 -o a.png"), HasSubstr("a.png: drawn"));
  Refuse("plot a.dseries --heat", "the axes of data 3 and 2 differ");
  Refuse("plot a.dseries 0 --heat --row-at 1", "--row-at and --column-at are for 2D data");
}

TEST_F(Plots, TellCurvesApartWithoutColours) {
  std::string low, high;
  for (int i = 0; i < 300; ++i) low += "0\n", high += "1\n";
  Write("low.txt", low);
  Write("high.txt", high);
  Succeed("create a.dseries --dim n,,2,0,1");
  Succeed("append a.dseries low.txt high.txt");
  std::istringstream lines(Succeed("plot a.dseries --contrast -1,2"));
  std::string marks;
  for (std::string line; std::getline(lines, line);) {
    const std::size_t axis = std::min(line.find("│"), line.find("┤"));
    if (axis == std::string::npos) continue;
    std::copy_if(line.begin() + static_cast<std::ptrdiff_t>(axis), line.end(), std::back_inserter(marks),
                 [](char c) { return c >= '0' && c <= '9'; });
  }
  EXPECT_EQ(marks, "22221111");

  // Below the names, the highest pixels of each curve belong to its marks: squares have many.
  Succeed("plot a.dseries --contrast -1,2 -o a.png");
  const Pixels figure = ReadPng("a.png");
  const auto top_pixels = [&figure](std::int64_t color) {
    std::ptrdiff_t count = 0;
    for (std::size_t y = figure.size() / 4; count == 0 && y < figure.size(); ++y) {
      count = std::count(figure[y].begin(), figure[y].end(), color);
    }
    return count;
  };
  EXPECT_GT(top_pixels(0xD55E00), 6 * 7);
  EXPECT_TRUE(top_pixels(0x0072B2) > 0 && top_pixels(0x0072B2) < 6 * 7) << top_pixels(0x0072B2);
}

TEST_F(Plots, ShowTheOneHighValueAmongMany) {
  std::string bytes(200000, '\1');
  bytes[100000] = '\x63';
  Write("a.raw", bytes);
  Succeed("create a.dseries --dim n,,1,0,1");
  Succeed("append a.dseries a.raw --raw 200000 --type ubin8");
  Succeed("plot a.dseries -o a.png");
  const Pixels figure = ReadPng("a.png");
  std::set<std::size_t> columns;
  for (std::size_t y = figure.size() / 3; y < figure.size() / 2; ++y) {
    for (std::size_t x = 0; x < figure[y].size(); ++x) {
      if ((figure[y][x] >> 16) < 100 && (figure[y][x] & 0xFF) > 150) columns.insert(x);  // blue, as the curve
    }
  }
  EXPECT_TRUE(columns.size() > 0 && columns.size() < 5);
  EXPECT_THAT(Succeed("plot a.dseries"), HasSubstr("\n100 ┤"));
}

TEST_F(Plots, MarkPointsBetweenGaps) {
  std::string values;
  for (int i = 0; i < 300; ++i) values += i % 100 == 50 ? "1\n" : "nan\n";
  Write("a.txt", values);
  Succeed("create a.dseries --dim n,,1,0,1");
  Succeed("append a.dseries a.txt");
  Succeed("plot a.dseries -o a.png");
  std::set<std::size_t> columns;
  for (const auto& row : ReadPng("a.png")) {
    for (std::size_t x = 0; x < row.size(); ++x) {
      if (row[x] == 0x0072B2) columns.insert(x / 100);
    }
  }
  EXPECT_EQ(columns.size(), 3u);
}

}  // namespace
