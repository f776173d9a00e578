#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <fmt/format.h>
#include <numeric>
#include <string_view>

#include "figure/figure.h"
#include "file/text.h"

namespace dseries {

namespace {

constexpr int x_ticks = 9, y_ticks = 7;
constexpr int curve_rows = 18, most_raster_rows = 30;

/// One cell of the terminal; without colours those of the terminal are used.
struct Cell {
  std::string glyph = " ";
  std::optional<Rgb> ink;
  std::optional<Rgb> ground;
};

/// Cells of the terminal, the top row first.
class Canvas {
 public:
  Canvas(std::size_t width, std::size_t height) : width_(width), cells_(width * height) {}

  std::size_t Width() const { return width_; }
  std::size_t Height() const { return cells_.size() / width_; }
  Cell& At(std::size_t x, std::size_t y) { return cells_[y * width_ + x]; }

  std::string Row(std::size_t y, bool colors) const {
    std::string row;
    bool colored = false;
    for (std::size_t x = 0; x < width_; ++x) {
      const Cell& cell = cells_[y * width_ + x];
      if (colors && colored) row += "\x1b[0m";
      colored = cell.ink || cell.ground;
      if (colors && cell.ink) row += Escape(38, *cell.ink);
      if (colors && cell.ground) row += Escape(48, *cell.ground);
      row += cell.glyph;
    }
    return colors && colored ? row + "\x1b[0m" : row;
  }

 private:
  static std::string Escape(int what, Rgb color) {
    return fmt::format("\x1b[{};2;{};{};{}m", what, color.red, color.green, color.blue);
  }

  std::size_t width_;
  std::vector<Cell> cells_;
};

/// Lines of dots, two by four in each cell.
class Dots {
 public:
  explicit Dots(Canvas& canvas) : canvas_(canvas), masks_(canvas.Width() * canvas.Height(), 0) {}

  /// Draws from one point to another, in parts of the canvas from the left and from the bottom.
  void Line(double x1, double y1, double x2, double y2, std::optional<Rgb> color) {
    const double across = (X(x2) - X(x1)), down = (Y(y2) - Y(y1));
    const double steps = std::max({std::ceil(std::fabs(across)), std::ceil(std::fabs(down)), 1.0});
    for (double i = 0; i <= steps; ++i) {
      Dot(std::lround(X(x1) + across * i / steps), std::lround(Y(y1) + down * i / steps), color);
    }
  }

 private:
  static double Near(double part) { return std::clamp(part, -1.0, 2.0); }
  double X(double part) const { return Near(part) * static_cast<double>(2 * canvas_.Width() - 1); }
  double Y(double part) const { return (1 - Near(part)) * static_cast<double>(4 * canvas_.Height() - 1); }

  void Dot(long x, long y, std::optional<Rgb> color) {
    // The bits of the Braille patterns, which begin at U+2800.
    static constexpr unsigned bits[4][2] = {{0x01, 0x08}, {0x02, 0x10}, {0x04, 0x20}, {0x40, 0x80}};
    const std::size_t column = static_cast<std::size_t>(x) / 2, row = static_cast<std::size_t>(y) / 4;
    if (x < 0 || y < 0 || column >= canvas_.Width() || row >= canvas_.Height()) return;
    unsigned& mask = masks_[row * canvas_.Width() + column];
    mask |= bits[y % 4][x % 2];
    Cell& cell = canvas_.At(column, row);
    cell.glyph = {'\xE2', static_cast<char>(0xA0 | mask >> 6), static_cast<char>(0x80 | (mask & 0x3F))};
    cell.ink = color;
  }

  Canvas& canvas_;
  std::vector<unsigned> masks_;
};

/// A raster as pixels, each the mean of the elements in it.
class Pixels {
 public:
  Pixels(const Raster& raster, std::size_t width, std::size_t height)
      : raster_(raster), width_(width), height_(height) {}

  /// The part of the scale, or not-a-number, of a pixel. Row 0 is the top one.
  double Part(std::size_t x, std::size_t y) const {
    const auto [left, right] = Share(x, width_, raster_.values.NumIndicesX());
    const auto [bottom, top] = Share(height_ - 1 - y, height_, raster_.values.NumIndicesY());
    double sum = 0;
    int count = 0;
    for (int j = bottom; j < top; ++j) {
      for (int i = left; i < right; ++i) {
        const double part = raster_.scale.Part(raster_.values.Value(i, j));
        if (std::isnan(part)) continue;
        sum += std::clamp(part, 0.0, 1.0);
        ++count;
      }
    }
    return sum / count;
  }

 private:
  /// The elements in pixel `i` of `pixels`.
  static std::pair<int, int> Share(std::size_t i, std::size_t pixels, int elements) {
    const double share = static_cast<double>(elements) / static_cast<double>(pixels);
    const int begin = static_cast<int>(static_cast<double>(i) * share);
    return {begin, std::max(begin + 1, static_cast<int>(static_cast<double>(i + 1) * share))};
  }

  const Raster& raster_;
  std::size_t width_, height_;
};

/// Shades for terminals without colours. None is blank, as not-a-number is.
std::string_view Shade(double part) {
  static constexpr std::array<std::string_view, 5> shades{"·", "░", "▒", "▓", "█"};
  return shades[static_cast<std::size_t>(std::lround(part * (shades.size() - 1)))];
}

Canvas RasterCanvas(const Figure& figure, std::size_t room, std::size_t most_rows, bool colors) {
  const double aspect = AspectOf(figure);
  const double widest = figure.to_scale ? 2 * static_cast<double>(most_rows) * aspect : 1e9;
  const double width = std::min(static_cast<double>(room), widest);
  const auto columns = static_cast<std::size_t>(std::max(width, 1.0));
  const auto rows =
      std::clamp<std::size_t>(static_cast<std::size_t>(std::lround(width / aspect / 2)), 1, most_rows);
  Canvas canvas(columns, rows);
  const Raster& raster = *figure.raster;
  const Pixels pixels(raster, columns, colors ? 2 * rows : rows);
  const auto color = [&](double part) {
    return std::isnan(part) ? std::nullopt : std::optional(raster.colors.At(part));
  };
  for (std::size_t y = 0; y < rows; ++y) {
    for (std::size_t x = 0; x < columns; ++x) {
      Cell& cell = canvas.At(x, y);
      if (!colors) {
        const double part = pixels.Part(x, y);
        if (!std::isnan(part)) cell.glyph = Shade(part);
        continue;
      }
      const auto upper = color(pixels.Part(x, 2 * y)), lower = color(pixels.Part(x, 2 * y + 1));
      if (upper) {
        cell = {"▀", upper, lower};
      } else if (lower) {
        cell = {"▄", lower, {}};
      }
    }
  }
  return canvas;
}

/// The mark on a curve and beside its name, which connects them without colours.
std::string CurveMark(std::size_t i) {
  return std::string(1, i < 9 ? static_cast<char>('1' + i) : static_cast<char>('a' + (i - 9) % 26));
}

/// Puts the mark of a curve on it, in columns where no other curve has one.
void MarkCurve(Canvas& canvas, const Figure& figure, std::size_t c) {
  constexpr double marks = 4;
  const Curve& curve = figure.curves[c];
  const double last_column = static_cast<double>(canvas.Width() - 1);
  const double period = std::max((last_column + 1) / marks, static_cast<double>(figure.curves.size()));
  const double phase =
      std::floor(period * (static_cast<double>(c) + 0.5) / static_cast<double>(figure.curves.size()));
  bool marked = false;
  const auto mark = [&](double x, double y) {
    if (!(x >= 0 && x <= last_column && y >= 0 && y <= 1)) return;
    const auto row =
        static_cast<std::size_t>(std::lround((1 - y) * static_cast<double>(canvas.Height() - 1)));
    canvas.At(static_cast<std::size_t>(x), row) = {CurveMark(c), CurveColor(c), {}};
    marked = true;
  };
  const auto x_of = [&](std::size_t i) { return figure.x.Part(curve.x[i]) * last_column; };
  const auto y_of = [&](std::size_t i) { return figure.y.Part(curve.y[i]); };
  for (std::size_t i = 1; i < curve.x.size(); ++i) {
    const double x1 = x_of(i - 1), x2 = x_of(i), y1 = y_of(i - 1), y2 = y_of(i);
    if (!std::isfinite(y1) || !std::isfinite(y2) || !(x2 > x1)) continue;
    const double first = std::ceil((std::max(x1, 0.0) - phase) / period);
    for (double k = std::max(first, 0.0);; ++k) {
      const double x = std::floor(phase + k * period);
      if (x >= x2 || x > last_column) break;
      if (x >= x1) mark(x, y1 + (y2 - y1) * (x - x1) / (x2 - x1));
    }
  }
  for (std::size_t i = 0; i < curve.x.size() && !marked; ++i) mark(std::round(x_of(i)), y_of(i));
}

Canvas CurveCanvas(const Figure& figure, std::size_t room, std::size_t rows) {
  Canvas canvas(room, rows);
  Dots dots(canvas);
  for (std::size_t c = 0; c < figure.curves.size(); ++c) {
    const Curve& curve = figure.curves[c];
    const std::optional<Rgb> color = figure.curves.size() > 1 ? std::optional(CurveColor(c)) : std::nullopt;
    double last_x = 0, last_y = 0;
    bool drawing = false;
    for (std::size_t i = 0; i < curve.x.size(); ++i) {
      const double x = figure.x.Part(curve.x[i]), y = figure.y.Part(curve.y[i]);
      const bool gap = !std::isfinite(x) || !std::isfinite(y);
      if (!gap) dots.Line(drawing ? last_x : x, drawing ? last_y : y, x, y, color);
      drawing = !gap;
      last_x = x;
      last_y = y;
    }
  }
  if (figure.curves.size() > 1) {
    for (std::size_t c = 0; c < figure.curves.size(); ++c) MarkCurve(canvas, figure, c);
  }
  return canvas;
}

/// The X axis with its ticks, and the labels below it, as many as do not touch each other.
struct TickLines {
  std::string axis;
  std::string labels;
};

TickLines XTicks(const Scale& scale, std::size_t width, std::size_t room) {
  for (int most = x_ticks;; --most) {
    TickLines lines;
    std::vector<std::string_view> axis(width, "─");
    bool all_fit = true;
    for (const Tick& tick : scale.Ticks(most)) {
      const auto column = static_cast<std::size_t>(std::lround(tick.part * static_cast<double>(width - 1)));
      const std::size_t length = Width(tick.label), used = Width(lines.labels);
      const std::size_t start =
          std::min(column - std::min(column, length / 2), room - std::min(room, length));
      axis[column] = "┬";
      const bool fits = length <= room && (used == 0 || start >= used + 2);
      all_fit = all_fit && fits;
      if (fits) lines.labels += std::string(start - used, ' ') + tick.label;
    }
    if (!all_fit && most > 2) continue;
    for (const std::string_view piece : axis) lines.axis += piece;
    return lines;
  }
}

std::string ColorLine(const Raster& raster, std::size_t width, bool colors) {
  constexpr std::size_t least = 4, most = 20;
  const std::string low = NumberText(raster.scale.Low(), 5) + (raster.cut_off.below > 0 ? " ◀" : " ");
  const std::string high = (raster.cut_off.above > 0 ? "▶ " : " ") + NumberText(raster.scale.High(), 5);
  const std::size_t ends = Width(low) + Width(high);
  if (ends + least > width) return Shortened(low + "…" + high, width);
  const std::size_t length = std::min(most, width - ends), rest = width - ends - length;
  Canvas bar(length, 1);
  for (std::size_t x = 0; x < length; ++x) {
    const double part = static_cast<double>(x) / static_cast<double>(length - 1);
    bar.At(x, 0) = colors ? Cell{"█", raster.colors.At(part), {}} : Cell{std::string(Shade(part)), {}, {}};
  }
  const std::string line = low + bar.Row(0, colors) + high;
  return raster.label.empty() || rest < 4 ? line : line + "  " + Shortened(raster.label, rest - 2);
}

/// The names of the curves, if there are several.
std::string NameLines(const Figure& figure, std::size_t width, bool colors) {
  constexpr std::size_t mark_width = 3, gap = 3;
  if (figure.curves.size() < 2) return "";
  std::string lines;
  std::size_t column = 0;
  for (std::size_t i = 0; i < figure.curves.size(); ++i) {
    Canvas mark(mark_width, 1);
    for (std::size_t x = 0; x < mark_width; ++x) {
      mark.At(x, 0) = {x == mark_width / 2 ? CurveMark(i) : "━", CurveColor(i), {}};
    }
    const std::string name = Shortened(figure.curves[i].name, width - mark_width - 1);
    const std::size_t length = mark_width + 1 + Width(name);
    const bool fits = column + gap + length <= width;
    if (column > 0) lines += fits ? std::string(gap, ' ') : "\n";
    column = (column > 0 && fits ? column + gap : 0) + length;
    lines += mark.Row(0, colors) + ' ' + name;
  }
  return lines;
}

/// The texts around the picture, in their order.
enum Part { Title, Subtitle, Names, YLabel, XTickLabels, XLabel, Colors, CutOffs, parts };
using Texts = std::array<std::string, parts>;

std::size_t RowsOf(const Texts& texts) {
  return std::accumulate(texts.begin(), texts.end(), std::size_t{0}, [](std::size_t rows, const auto& text) {
    return rows + (text.empty() ? 0 : 1) +
           static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
  });
}

/// Leaves out texts, those that are missed least first, until they take at most so many rows.
void Reduce(Texts& texts, std::size_t most) {
  for (const Part part : {Subtitle, XLabel, YLabel, Title, Colors, XTickLabels, CutOffs, Names}) {
    if (RowsOf(texts) <= most) return;
    texts[part].clear();
  }
}

}  // namespace

std::string DrawnAsText(const Figure& figure, int columns, int rows, bool colors) {
  constexpr std::size_t least_room = 5, least_rows = 4;
  std::vector<Tick> ticks = figure.y.Ticks(y_ticks);
  const auto margin_of = [](const std::vector<Tick>& marks) {
    return std::accumulate(marks.begin(), marks.end(), std::size_t{0},
                           [](auto most, auto& tick) { return std::max(most, Width(tick.label)); });
  };
  const auto width = static_cast<std::size_t>(columns);
  if (margin_of(ticks) + 3 + least_room > width) ticks.clear();
  const std::size_t margin = margin_of(ticks), room = width - margin - 3;

  Texts texts{Shortened(figure.title, width),
              Shortened(figure.subtitle, width),
              NameLines(figure, width, colors),
              Shortened(LabelWithFactor(figure.y_label, figure.y), width),
              " ",  // depends on the picture
              Shortened(LabelWithFactor(figure.x_label, figure.x), width - margin - 2),
              figure.raster ? ColorLine(*figure.raster, width, colors) : "",
              Wrapped(figure.cut_off.Text(), width)};
  std::size_t canvas_rows = figure.raster ? most_raster_rows : curve_rows;
  if (rows > 0) {
    const std::size_t most = static_cast<std::size_t>(rows) - 1;  // without the axis
    Reduce(texts, most - std::min(most, least_rows));
    canvas_rows = std::clamp<std::size_t>(most - std::min(most, RowsOf(texts)), 1, canvas_rows);
  }
  Canvas canvas = figure.raster ? RasterCanvas(figure, room, canvas_rows, colors)
                                : CurveCanvas(figure, room, canvas_rows);
  const TickLines x = XTicks(figure.x, canvas.Width(), room);
  const std::string indent(margin + 2, ' ');
  if (!texts[XTickLabels].empty()) texts[XTickLabels] = indent + x.labels;
  if (std::string& label = texts[XLabel]; !label.empty()) {
    label = indent + std::string((canvas.Width() - std::min(canvas.Width(), Width(label))) / 2, ' ') + label;
  }

  std::string text;
  const auto add = [&text](const std::string& lines) { text += lines.empty() ? "" : lines + '\n'; };
  for (const Part part : {Title, Subtitle, Names, YLabel}) add(texts[part]);
  for (std::size_t row = 0; row < canvas.Height(); ++row) {
    std::string label;
    for (const Tick& tick : ticks) {
      const double top = (1 - tick.part) * static_cast<double>(canvas.Height());
      if (std::min(static_cast<std::size_t>(top), canvas.Height() - 1) == row) label = tick.label;
    }
    const std::string blanks(margin - Width(label), ' ');
    add(fmt::format("{}{} {}{}", blanks, label, label.empty() ? "│" : "┤", canvas.Row(row, colors)));
  }
  add(std::string(margin, ' ') + " └" + x.axis);
  for (const Part part : {XTickLabels, XLabel, Colors, CutOffs}) add(texts[part]);
  return text;
}

}  // namespace dseries
