#include "figure/colormap.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace dseries {

namespace {

const std::vector<Rgb> greys{{0, 0, 0}, {255, 255, 255}};

// Begins at a grey that differs visibly from black, which marks not-a-number.
const std::vector<Rgb> grey{{40, 40, 40}, {255, 255, 255}};

const std::vector<Rgb> viridis{{68, 1, 84},    {72, 36, 117},  {65, 68, 135},  {53, 95, 141},
                               {42, 120, 142}, {33, 145, 140}, {34, 168, 132}, {68, 191, 112},
                               {122, 209, 81}, {189, 223, 38}, {253, 231, 37}};

}  // namespace

const std::vector<std::string>& ColorMap::Names() {
  static const std::vector<std::string> names{"grey", "viridis"};
  return names;
}

ColorMap ColorMap::Named(const std::string& name) { return ColorMap(name == "viridis" ? viridis : grey); }

ColorMap ColorMap::Greys() { return ColorMap(greys); }

Rgb ColorMap::At(double part) const {
  const double stop = std::clamp(part, 0.0, 1.0) * static_cast<double>(stops_->size() - 1);
  const auto i = std::min(static_cast<std::size_t>(stop), stops_->size() - 2);
  const Rgb &from = (*stops_)[i], &to = (*stops_)[i + 1];
  const auto mix = [between = stop - static_cast<double>(i)](std::uint8_t a, std::uint8_t b) {
    return static_cast<std::uint8_t>(std::lround(a + between * (b - a)));
  };
  return {mix(from.red, to.red), mix(from.green, to.green), mix(from.blue, to.blue)};
}

Rgb CurveColor(std::size_t i) {
  static constexpr Rgb colors[curve_colors] = {{0, 114, 178},   {213, 94, 0},  {0, 158, 115},
                                               {204, 121, 167}, {230, 159, 0}, {86, 180, 233}};
  return colors[i % curve_colors];
}

}  // namespace dseries
