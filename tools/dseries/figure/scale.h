#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace dseries {

/// From the lowest to the highest of some values.
struct Span {
  double low = std::numeric_limits<double>::infinity();
  double high = -low;

  /// Passes over values that are not finite.
  void Add(double value);
  bool bEmpty() const { return !(low <= high); }
};

/// A round number on an axis.
struct Tick {
  double part;  ///< where it lies, as Scale::Part tells
  std::string label;
};

/// An axis between two values: where on it others lie, and which round numbers are to be marked.
class Scale {
 public:
  /// From `low` up to `high`, which are moved apart where there is nothing between them. The ends of a
  /// logarithmic axis are above 0.
  Scale(double low, double high, bool logarithmic = false);
  /// Holds the span and a little more. Throws Failure when it must be logarithmic and nothing is above 0.
  static Scale Around(const Span& span, bool logarithmic);

  double Low() const { return low_; }
  double High() const { return high_; }
  bool bLogarithmic() const { return logarithmic_; }

  /// 0 at the low end, 1 at the high end. Not-a-number for what has no place: not-a-number itself, and on a
  /// logarithmic axis what is not above 0.
  double Part(double value) const;

  /// Hardly more than `most` of them.
  std::vector<Tick> Ticks(int most) const;
  /// What the labels have to be multiplied by, such as "×10⁶"; empty when they are the values.
  std::string Factor() const;

 private:
  /// Whether powers of ten are marked: otherwise there are too few of them.
  bool bDecades() const;
  std::vector<Tick> EvenTicks(int most) const;
  std::vector<Tick> DecadeTicks(int most) const;
  /// The power of ten that the labels leave out.
  int Exponent() const;

  double low_;
  double high_;
  bool logarithmic_;
};

/// How many values have no place between the ends of a scale.
struct CutOff {
  std::int64_t values = 0;  ///< all that are numbers
  std::int64_t above = 0;
  std::int64_t below = 0;
  std::int64_t unplaced = 0;  ///< not above 0, where the scale is logarithmic

  void Add(double value, const Scale& scale);
  /// A sentence; empty when all have their place.
  std::string Text() const;
};

}  // namespace dseries
