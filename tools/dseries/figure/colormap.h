#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace dseries {

struct Rgb {
  std::uint8_t red, green, blue;
};

/// Colours for values, of even steps to the eye.
class ColorMap {
 public:
  /// By one of Names().
  static ColorMap Named(const std::string& name);
  static const std::vector<std::string>& Names();
  /// From black to white, for greys that were recorded as such. The named ones have no black.
  static ColorMap Greys();

  /// The colour of the part of a scale; beyond its ends that of the end.
  Rgb At(double part) const;

 private:
  explicit ColorMap(const std::vector<Rgb>& stops) : stops_(&stops) {}

  const std::vector<Rgb>* stops_;  ///< evenly spread, lasting as long as the program
};

/// The colour of the i-th curve in a figure: so many that can be told apart with any kind of colour vision,
/// then the same again.
constexpr std::size_t curve_colors = 6;
Rgb CurveColor(std::size_t i);

}  // namespace dseries
