#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace dseries {

/// The range from the lowest to the highest of some values.
struct Span {
  double low = std::numeric_limits<double>::infinity();
  double high = -low;

  /// Ignores values that are not finite.
  void Add(double value);
  bool bEmpty() const { return !(low <= high); }
};

/// A round number on an axis.
struct Tick {
  double part;  ///< its place, as Scale::Part returns it
  std::string label;
};

/// An axis between two values: the places of other values on it, and the round numbers to mark.
class Scale {
 public:
  /// From `low` up to `high`, which are moved apart if they are too close. Those of a logarithmic axis are
  /// raised above 0.
  Scale(double low, double high, bool logarithmic = false);
  /// The span with a small margin. Throws Failure for a logarithmic axis with an empty span.
  static Scale Around(const Span& span, bool logarithmic);

  double Low() const { return low_; }
  double High() const { return high_; }
  bool bLogarithmic() const { return logarithmic_; }

  /// The place of a value: 0 at the low end, 1 at the high end. Not-a-number for not-a-number and, on a
  /// logarithmic axis, for values not above 0.
  double Part(double value) const;

  /// The round numbers to mark, hardly more than `most`.
  std::vector<Tick> Ticks(int most) const;
  /// The factor that the labels leave out, such as "×10⁶"; empty when there is none.
  std::string Factor() const;

 private:
  /// The exponent of the lowest power of ten on a logarithmic axis.
  int FirstDecade() const;
  /// Whether powers of ten are marked, that is, whether there are enough of them.
  bool bDecades() const;
  std::vector<Tick> EvenTicks(int most) const;
  std::vector<Tick> DecadeTicks(int most) const;
  /// The exponent of the factor.
  int Exponent() const;

  double low_;
  double high_;
  bool logarithmic_;
};

/// Counts the values outside a scale.
struct CutOff {
  std::int64_t values = 0;  ///< all that are numbers
  std::int64_t above = 0;
  std::int64_t below = 0;
  std::int64_t unplaced = 0;  ///< not above 0, on a logarithmic scale

  void Add(double value, const Scale& scale);
  /// A sentence; empty when all values are on the scale.
  std::string Text() const;
};

}  // namespace dseries
