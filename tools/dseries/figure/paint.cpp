#include <algorithm>
#include <cairo-pdf.h>
#include <cairo-svg.h>
#include <cmath>
#include <iterator>
#include <numbers>
#include <utility>

#include "figure/figure.h"
#include "figure/surface.h"

namespace dseries {

namespace {

// Lengths are in points.
constexpr double margin = 12, gap = 8, tick_length = 4;
constexpr double title_size = 12, text_size = 10, line_height = 15;
constexpr double curves_width = 680, curves_height = 420;
constexpr double raster_width = 540, raster_height = 420, least_width = 420;
constexpr double bar_width = 14, bar_gap = 18, tip = 10;
constexpr double png_scale = 2;                                              ///< pixels of a PNG per point
constexpr auto places = static_cast<std::size_t>(png_scale * curves_width);  ///< distinguishable along X

constexpr Rgb ink{40, 40, 40}, pale_ink{105, 105, 105}, grid{228, 228, 228}, no_value{206, 216, 228};

bool bHasGaps(const Raster& raster) {
  const double* values = raster.values.Data();
  return std::any_of(values, values + raster.values.NumIndices(),
                     [&](double value) { return std::isnan(raster.scale.Part(value)); });
}

/// The curve, reduced to the lowest and the highest point at each place along X if it has many more points.
Curve Thinned(const Curve& curve) {
  const std::size_t n = curve.x.size(), share = n / places;
  if (share < 4) return curve;
  Curve thin{curve.name, {}, {}, curve.steps};
  for (std::size_t begin = 0; begin < n; begin += share) {
    const auto first = curve.y.begin() + static_cast<std::ptrdiff_t>(begin);
    const auto last = curve.y.begin() + static_cast<std::ptrdiff_t>(std::min(begin + share, n));
    auto [low, high] = std::minmax_element(first, last, [](double a, double b) {
      return std::isfinite(a) && (!std::isfinite(b) || a < b);  // gaps come last
    });
    if (!std::isfinite(*high))
      high = std::find_if_not(first, last, [](double y) { return std::isfinite(y); });
    for (const auto y : {std::min(low, high), std::max(low, high)}) {
      thin.x.push_back(curve.x[static_cast<std::size_t>(y - curve.y.begin())]);
      thin.y.push_back(*y);
    }
  }
  return thin;
}

struct Box {
  double x, y, width, height;

  double Right() const { return x + width; }
  double Bottom() const { return y + height; }
};

/// Draws one figure, or only measures it.
class Painter {
 public:
  Painter(cairo_t* cairo, const Figure& figure) : cairo_(cairo), figure_(figure) {
    // Texts have the same width on every surface.
    cairo_font_options_t* options = cairo_font_options_create();
    cairo_font_options_set_hint_metrics(options, CAIRO_HINT_METRICS_OFF);
    cairo_font_options_set_hint_style(options, CAIRO_HINT_STYLE_NONE);
    cairo_set_font_options(cairo_, options);
    cairo_font_options_destroy(options);
    LayOut();
  }

  double Width() const { return width_; }
  double Height() const { return height_; }

  void Paint() {
    Color({255, 255, 255});
    cairo_paint(cairo_);
    Titles();
    figure_.raster ? PaintRaster() : Grid();
    for (std::size_t i = 0; i < figure_.curves.size(); ++i) PaintCurve(i);
    Axes();
    if (figure_.raster) ColorBar();
  }

 private:
  void LayOut() {
    const double left = margin + LabelHeight(figure_.y_label, figure_.y) + Widest(figure_.y, y_ticks) + gap;
    const double bottom = margin + line_height + LabelHeight(figure_.x_label, figure_.x) + gap / 2;
    double right = 2 * margin;
    width_ = curves_width;
    height_ = curves_height;
    if (figure_.raster) {
      right = bar_gap + bar_width + BarTextWidth() + margin;
      const double aspect = AspectOf(figure_);
      const double width = std::min(raster_width, raster_height * aspect);
      width_ = std::max(left + width + right, least_width);
      height_ = width / aspect;
    }
    const double top = margin + HeaderHeight() + gap;
    if (figure_.raster) height_ += top + bottom;
    frame_ = {left, top, width_ - left - right, height_ - top - bottom};
    if (figure_.raster) {
      const double width = frame_.height * AspectOf(figure_);
      frame_.x += std::max(0.0, (frame_.width - width) / 2);
      frame_.width = width;
    }
  }

  void Font(double size, bool bold = false) {
    cairo_select_font_face(cairo_, "DejaVu Sans", CAIRO_FONT_SLANT_NORMAL,
                           bold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(cairo_, size);
  }

  double TextWidth(const std::string& text) {
    cairo_text_extents_t extents;
    cairo_text_extents(cairo_, text.c_str(), &extents);
    return extents.x_advance;
  }

  /// The text, cut with an ellipsis if it is wider.
  std::string Fitting(std::string text, double width) {
    if (TextWidth(text) <= width) return text;
    while (!text.empty() && TextWidth(text + "…") > width) {
      while (!text.empty() && (text.back() & 0xC0) == 0x80) text.pop_back();
      if (!text.empty()) text.pop_back();
    }
    return text + "…";
  }

  /// `align` is the part of the text that lies to the left of x.
  void Text(const std::string& text, double x, double y, double align = 0) {
    cairo_move_to(cairo_, x - align * TextWidth(text), y);
    cairo_show_text(cairo_, text.c_str());
  }

  void UprightText(const std::string& text, double x, double y) {
    cairo_save(cairo_);
    cairo_translate(cairo_, x, y);
    cairo_rotate(cairo_, -std::numbers::pi / 2);
    Text(text, 0, 0, 0.5);
    cairo_restore(cairo_);
  }

  void Color(Rgb color) {
    cairo_set_source_rgb(cairo_, color.red / 255.0, color.green / 255.0, color.blue / 255.0);
  }

  /// Curves that share a colour are solid and dashed in turn.
  void CurveStyle(std::size_t i) {
    static constexpr double dashes[] = {5, 2};
    Color(CurveColor(i));
    cairo_set_dash(cairo_, dashes, i / curve_colors % 2 == 0 ? 0 : static_cast<int>(std::size(dashes)), 0);
  }

  /// A mark that distinguishes a curve from others with the same dashes without its colour.
  void CurveMark(std::size_t i, double x, double y) {
    constexpr double radius = 3.6, pi = std::numbers::pi;
    static constexpr struct {
      int corners;
      double turn;
    } shapes[curve_colors] = {{0, 0}, {4, pi / 4}, {3, -pi / 2}, {4, 0}, {3, pi / 2}, {2, pi / 4}};
    const auto [corners, turn] = shapes[i % curve_colors];
    const auto at = [&](double angle) {
      cairo_line_to(cairo_, x + radius * std::cos(angle), y + radius * std::sin(angle));
    };
    cairo_save(cairo_);
    Color(CurveColor(i));
    cairo_new_path(cairo_);
    if (corners == 2) {  // a cross
      cairo_set_dash(cairo_, nullptr, 0, 0);
      cairo_set_line_width(cairo_, 1.5);
      for (const double angle : {turn, -turn}) {
        at(angle);
        at(angle + pi);
        cairo_stroke(cairo_);
      }
    } else if (corners == 0) {
      cairo_arc(cairo_, x, y, radius * 0.9, 0, 2 * pi);
    } else {
      for (int corner = 0; corner < corners; ++corner) at(turn + 2 * pi * corner / corners);
    }
    cairo_fill(cairo_);
    cairo_restore(cairo_);
  }

  void Line(double x1, double y1, double x2, double y2) {
    cairo_move_to(cairo_, x1, y1);
    cairo_line_to(cairo_, x2, y2);
    cairo_stroke(cairo_);
  }

  double LabelHeight(const std::string& label, const Scale& scale) const {
    return LabelWithFactor(label, scale).empty() ? 0 : line_height + 2;
  }

  double Widest(const Scale& scale, int most) {
    Font(text_size);
    double widest = 0;
    for (const Tick& tick : scale.Ticks(most)) widest = std::max(widest, TextWidth(tick.label));
    return widest + tick_length;
  }

  /// The width of the texts beside the colour bar.
  double BarTextWidth() {
    const Raster& raster = *figure_.raster;
    const double widest = Widest(raster.scale, y_ticks) + gap + LabelHeight(raster.label, raster.scale);
    return bHasGaps(raster) ? std::max(widest, TextWidth(no_value_text) + tick_length) : widest;
  }

  /// As many ticks as leave room between their labels.
  std::vector<Tick> TicksAlong(const Scale& scale, double length) {
    int most = x_ticks;
    while (most > 2 && most * (Widest(scale, most) + 2 * gap) > length) --most;
    return scale.Ticks(most);
  }

  /// Limits points far outside to coordinates that surfaces can hold.
  static double Near(double part) { return std::clamp(part, -99.0, 99.0); }
  double X(double value) const { return frame_.x + Near(figure_.x.Part(value)) * frame_.width; }
  double Y(double value) const { return frame_.Bottom() - Near(figure_.y.Part(value)) * frame_.height; }

  double HeaderHeight() {
    return Header([](std::size_t, double, double) {});
  }

  /// Calls `entry` with the place of the name of each curve, if there are several, and returns the height of
  /// titles and names.
  template <class Entry>
  double Header(Entry entry) {
    double y = title_size + (figure_.subtitle.empty() ? 0 : line_height);
    if (figure_.curves.size() < 2) return y;
    Font(text_size);
    double x = margin;
    y += line_height;
    for (std::size_t i = 0; i < figure_.curves.size(); ++i) {
      const double width = legend_line + TextWidth(figure_.curves[i].name) + 2 * gap;
      if (x > margin && x + width > width_ - margin) {
        x = margin;
        y += line_height;
      }
      entry(i, x, y);
      x += width;
    }
    return y;
  }

  void Titles() {
    Font(title_size, true);
    Color(ink);
    Text(Fitting(figure_.title, width_ - 2 * margin), margin, margin + title_size - 2);
    Font(text_size);
    Color(pale_ink);
    Text(Fitting(figure_.subtitle, width_ - 2 * margin), margin, margin + title_size + line_height - 2);
    Header([this](std::size_t i, double x, double y) {
      cairo_save(cairo_);
      CurveStyle(i);
      cairo_set_line_width(cairo_, 2);
      Line(x, margin + y - 6, x + legend_line - gap, margin + y - 6);
      CurveMark(i, x + (legend_line - gap) / 2, margin + y - 6);
      cairo_restore(cairo_);
      Color(ink);
      Text(Fitting(figure_.curves[i].name, width_ - 2 * margin - legend_line), x + legend_line,
           margin + y - 2);
    });
  }

  void Grid() {
    Color(grid);
    cairo_set_line_width(cairo_, 0.8);
    for (const Tick& tick : TicksAlong(figure_.x, frame_.width)) {
      const double x = frame_.x + tick.part * frame_.width;
      Line(x, frame_.y, x, frame_.Bottom());
    }
    for (const Tick& tick : figure_.y.Ticks(y_ticks)) {
      const double y = frame_.Bottom() - tick.part * frame_.height;
      Line(frame_.x, y, frame_.Right(), y);
    }
  }

  void Axes() {
    Color(ink);
    Font(text_size);
    cairo_set_line_width(cairo_, 0.8);
    cairo_rectangle(cairo_, frame_.x, frame_.y, frame_.width, frame_.height);
    cairo_stroke(cairo_);
    const double below = frame_.Bottom() + tick_length + text_size + 2;
    for (const Tick& tick : TicksAlong(figure_.x, frame_.width)) {
      const double x = frame_.x + tick.part * frame_.width;
      Line(x, frame_.Bottom(), x, frame_.Bottom() + tick_length);
      Text(tick.label, x, below, 0.5);
    }
    const double widest = Widest(figure_.y, y_ticks);
    for (const Tick& tick : figure_.y.Ticks(y_ticks)) {
      const double y = frame_.Bottom() - tick.part * frame_.height;
      Line(frame_.x - tick_length, y, frame_.x, y);
      Text(tick.label, frame_.x - tick_length - 3, y + 3.5, 1);
    }
    Text(LabelWithFactor(figure_.x_label, figure_.x), frame_.x + frame_.width / 2, below + line_height + 1,
         0.5);
    UprightText(LabelWithFactor(figure_.y_label, figure_.y), frame_.x - widest - gap,
                frame_.y + frame_.height / 2);
  }

  void PaintCurve(std::size_t number) {
    const Curve& curve = figure_.curves[number];
    constexpr double dot = 2, beyond = 4;
    const bool marked = figure_.curves.size() > 1;
    const double sparse = marked ? 12 : 7;
    const Curve thin = Thinned(curve);
    const std::size_t n = thin.x.size();
    const bool dots =
        !curve.steps && frame_.width / static_cast<double>(std::max<std::size_t>(n, 1)) > sparse;
    const auto drawable = [&](std::size_t i) {
      return std::isfinite(thin.x[i]) && std::isfinite(figure_.y.Part(thin.y[i]));
    };
    std::vector<std::size_t> dotted;
    cairo_save(cairo_);
    cairo_rectangle(cairo_, frame_.x - beyond, frame_.y - beyond, frame_.width + 2 * beyond,
                    frame_.height + 2 * beyond);
    cairo_clip(cairo_);
    CurveStyle(number);
    cairo_set_line_width(cairo_, 1.2);
    cairo_set_line_join(cairo_, CAIRO_LINE_JOIN_ROUND);
    for (std::size_t i = 0; i < n; ++i) {
      if (!drawable(i)) continue;
      const bool begins = i == 0 || !drawable(i - 1), ends = i + 1 == n || !drawable(i + 1);
      if (begins) cairo_new_sub_path(cairo_);
      cairo_line_to(cairo_, X(thin.x[i]), Y(thin.y[i]));
      if (ends) cairo_stroke(cairo_);
      if ((begins && ends) || dots) dotted.push_back(i);
    }
    for (const std::size_t i : dotted) {
      if (marked) {
        CurveMark(number, X(thin.x[i]), Y(thin.y[i]));
        continue;
      }
      cairo_arc(cairo_, X(thin.x[i]), Y(thin.y[i]), dot, 0, 2 * std::numbers::pi);
      cairo_fill(cairo_);
    }
    if (marked && !dots) MarkCurve(number, thin);
    cairo_restore(cairo_);
  }

  /// Draws marks at places where no other curve has one.
  void MarkCurve(std::size_t number, const Curve& curve) {
    constexpr double marks = 6;
    const double period = frame_.width / marks;
    const double phase =
        period * (static_cast<double>(number) + 0.5) / static_cast<double>(figure_.curves.size());
    double next = frame_.x + phase;
    for (std::size_t i = 1; i < curve.x.size(); ++i) {
      const double x1 = X(curve.x[i - 1]), x2 = X(curve.x[i]), y1 = Y(curve.y[i - 1]), y2 = Y(curve.y[i]);
      for (; next <= x2 && next <= frame_.Right(); next += period) {
        const double y = x2 > x1 ? y1 + (y2 - y1) * (next - x1) / (x2 - x1) : y2;
        if (next >= x1 && std::isfinite(y)) CurveMark(number, next, y);
      }
    }
  }

  void PaintRaster() {
    const arr_c2DNumberArray<double>& values = figure_.raster->values;
    const double across = frame_.width / values.NumIndicesX(), down = frame_.height / values.NumIndicesY();
    // Elements smaller than a pixel are averaged; larger ones are enlarged here, as viewers of SVG and PDF
    // would blur their edges.
    const auto times = [](double length) { return static_cast<int>(std::ceil(png_scale * length)); };
    const int times_x = times(across), times_y = times(down);
    const Surface pixels = Enlarged(PixelsOf(*figure_.raster), times_x, times_y);
    cairo_save(cairo_);
    cairo_rectangle(cairo_, frame_.x, frame_.y, frame_.width, frame_.height);
    cairo_clip(cairo_);
    Color(no_value);
    cairo_paint(cairo_);
    cairo_translate(cairo_, frame_.x, frame_.y);
    cairo_scale(cairo_, across / times_x, down / times_y);
    cairo_set_source_surface(cairo_, pixels.get(), 0, 0);
    cairo_pattern_set_filter(cairo_get_source(cairo_),
                             times_x > 1 && times_y > 1 ? CAIRO_FILTER_NEAREST : CAIRO_FILTER_GOOD);
    cairo_paint(cairo_);
    cairo_restore(cairo_);
  }

  void ColorBar() {
    const Raster& raster = *figure_.raster;
    const bool gaps = bHasGaps(raster);
    const double legend = gaps ? 2 * line_height : 0;
    const double top = raster.cut_off.above > 0 ? tip : 0, bottom = raster.cut_off.below > 0 ? tip : 0;
    const Box bar{frame_.Right() + bar_gap, frame_.y + top, bar_width, frame_.height - legend - top - bottom};
    cairo_pattern_t* colors = cairo_pattern_create_linear(0, bar.Bottom(), 0, bar.y);
    constexpr int stops = 64;
    for (int i = 0; i <= stops; ++i) {
      const double part = static_cast<double>(i) / stops;
      const Rgb color = raster.colors.At(part);
      cairo_pattern_add_color_stop_rgb(colors, part, color.red / 255.0, color.green / 255.0,
                                       color.blue / 255.0);
    }
    // An end is pointed if values lie beyond it.
    cairo_move_to(cairo_, bar.x, bar.y);
    cairo_line_to(cairo_, bar.x + bar.width / 2, bar.y - top);
    cairo_line_to(cairo_, bar.Right(), bar.y);
    cairo_line_to(cairo_, bar.Right(), bar.Bottom());
    cairo_line_to(cairo_, bar.x + bar.width / 2, bar.Bottom() + bottom);
    cairo_line_to(cairo_, bar.x, bar.Bottom());
    cairo_close_path(cairo_);
    cairo_set_source(cairo_, colors);
    cairo_pattern_destroy(colors);
    cairo_fill_preserve(cairo_);
    Color(ink);
    cairo_set_line_width(cairo_, 0.8);
    cairo_stroke(cairo_);
    for (const Tick& tick : raster.scale.Ticks(y_ticks)) {
      const double y = bar.Bottom() - tick.part * bar.height;
      Line(bar.Right(), y, bar.Right() + tick_length, y);
      Text(tick.label, bar.Right() + tick_length + 3, y + 3.5);
    }
    UprightText(LabelWithFactor(raster.label, raster.scale),
                bar.Right() + Widest(raster.scale, y_ticks) + gap + text_size, bar.y + bar.height / 2);
    if (!gaps) return;
    cairo_rectangle(cairo_, bar.x, frame_.Bottom() - bar_width, bar_width, bar_width);
    Color(no_value);
    cairo_fill_preserve(cairo_);
    Color(ink);
    cairo_stroke(cairo_);
    Text(no_value_text, bar.Right() + tick_length + 3, frame_.Bottom() - 3.5);
  }

  static constexpr int x_ticks = 10, y_ticks = 8;
  static constexpr double legend_line = 26;
  static constexpr const char* no_value_text = "no value";

  cairo_t* cairo_;
  const Figure& figure_;
  double width_ = 0;
  double height_ = 0;
  Box frame_{};
};

void PaintOn(const Surface& surface, const Figure& figure, double scale) {
  const Context cairo(cairo_create(surface.get()), cairo_destroy);
  cairo_scale(cairo.get(), scale, scale);
  Painter(cairo.get(), figure).Paint();
  CheckDrawn(cairo_status(cairo.get()));
}

/// Width and height in points.
std::pair<double, double> SizeOf(const Figure& figure) {
  const Surface nothing = Checked(cairo_image_surface_create(CAIRO_FORMAT_A8, 1, 1));
  const Context cairo(cairo_create(nothing.get()), cairo_destroy);
  const Painter painter(cairo.get(), figure);
  return {std::ceil(painter.Width()), std::ceil(painter.Height())};
}

}  // namespace

std::string Painted(const Figure& figure, Paper paper) {
  const auto [width, height] = SizeOf(figure);
  if (paper == Paper::Png) {
    const Surface surface = Checked(cairo_image_surface_create(
        CAIRO_FORMAT_RGB24, static_cast<int>(width * png_scale), static_cast<int>(height * png_scale)));
    PaintOn(surface, figure, png_scale);
    return AsPng(surface);
  }
  std::string bytes;
  const auto create =
      paper == Paper::Svg ? cairo_svg_surface_create_for_stream : cairo_pdf_surface_create_for_stream;
  const Surface surface = Checked(create(Collect, &bytes, width, height));
  PaintOn(surface, figure, 1);
  cairo_surface_finish(surface.get());
  CheckDrawn(cairo_surface_status(surface.get()));
  return bytes;
}

}  // namespace dseries
