#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace dseries {

struct Rgb {
  std::uint8_t red, green, blue;
};

/// Colours for values, in visually even steps.
class ColorMap {
 public:
  /// The map with one of Names().
  static ColorMap Named(const std::string& name);
  static const std::vector<std::string>& Names();
  /// From black to white, for values that are greys themselves. The named maps have no black.
  static ColorMap Greys();

  /// The colour at a part of a scale, from 0 to 1; beyond an end that of the end.
  Rgb At(double part) const;

 private:
  explicit ColorMap(const std::vector<Rgb>& stops) : stops_(&stops) {}

  const std::vector<Rgb>* stops_;  ///< evenly spaced; static
};

/// The colours of the curves in a figure: so many that differ for any kind of colour vision, then the same
/// again.
constexpr std::size_t curve_colors = 6;
Rgb CurveColor(std::size_t i);

}  // namespace dseries
