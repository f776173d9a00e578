#include "figure/scale.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <string_view>

#include "file/failure.h"

namespace dseries {

namespace {

/// "10⁵".
std::string PowerText(int exponent) {
  static constexpr std::string_view digits[] = {"⁰", "¹", "²", "³", "⁴", "⁵", "⁶", "⁷", "⁸", "⁹"};
  std::string text = exponent < 0 ? "10⁻" : "10";
  for (const char digit : std::to_string(std::abs(exponent))) text += digits[digit - '0'];
  return text;
}

int DecadeOf(double value) { return static_cast<int>(std::floor(std::log10(value) + 1e-9)); }

/// The first of 1, 2, 5, 10, 20, ... times a power of ten that is not below `least`.
double RoundStep(double least) {
  const double decade = std::pow(10, DecadeOf(least));
  for (const double factor : {1.0, 2.0, 5.0}) {
    if (factor * decade >= least * (1 - 1e-9)) return factor * decade;
  }
  return 10 * decade;
}

}  // namespace

void Span::Add(double value) {
  if (!std::isfinite(value)) return;
  low = std::min(low, value);
  high = std::max(high, value);
}

Scale::Scale(double low, double high, bool logarithmic) : logarithmic_(logarithmic) {
  constexpr double largest = 1e300;    // the difference of two of them is finite
  constexpr double narrowest = 1e-12;  // labels of a narrower axis would have too many digits
  constexpr double smallest = 1e-300;
  low_ = std::clamp(low, logarithmic ? smallest : -largest, largest);
  high_ = std::clamp(high, logarithmic ? smallest : -largest, largest);
  const double margin = std::max({std::fabs(low_), std::fabs(high_), smallest}) * narrowest;
  if (!(high_ - low_ > margin)) {
    const double apart = low_ == 0 ? 1 : std::fabs(low_) * 0.1;
    low_ -= apart;
    high_ += apart;
  }
}

Scale Scale::Around(const Span& span, bool logarithmic) {
  constexpr double margin = 0.04;
  if (span.bEmpty()) {
    if (logarithmic) Fail("a logarithmic scale needs values above 0");
    return {0, 1};
  }
  const Scale tight(span.low, span.high, logarithmic);
  if (logarithmic) {
    const double factor = std::exp(margin * (std::log(tight.high_) - std::log(tight.low_)));
    return {tight.low_ / factor, tight.high_ * factor, true};
  }
  const double more = margin * (tight.high_ - tight.low_);
  return {tight.low_ - more, tight.high_ + more};
}

double Scale::Part(double value) const {
  if (!logarithmic_) return (value - low_) / (high_ - low_);
  if (!(value > 0)) return std::numeric_limits<double>::quiet_NaN();
  return (std::log(value) - std::log(low_)) / (std::log(high_) - std::log(low_));
}

std::vector<Tick> Scale::Ticks(int most) const { return bDecades() ? DecadeTicks(most) : EvenTicks(most); }

int Scale::FirstDecade() const { return static_cast<int>(std::ceil(std::log10(low_) - 1e-9)); }

bool Scale::bDecades() const { return logarithmic_ && DecadeOf(high_) > FirstDecade(); }

int Scale::Exponent() const {
  const int exponent = DecadeOf(std::max(std::fabs(low_), std::fabs(high_)));
  return exponent < -3 || exponent > 5 ? exponent : 0;
}

std::string Scale::Factor() const {
  if (bDecades() || Exponent() == 0) return "";
  return "×" + PowerText(Exponent());
}

std::vector<Tick> Scale::EvenTicks(int most) const {
  const double step = RoundStep((high_ - low_) / std::max(most - 1, 1));
  const int exponent = Exponent();
  const int decimals = std::max(0, exponent - DecadeOf(step));
  const double slack = step * 1e-6;
  std::vector<Tick> ticks;
  for (double i = std::ceil((low_ - slack) / step); i * step <= high_ + slack; ++i) {
    const double label = i * step / std::pow(10, exponent) + 0.0;  // no negative zero
    ticks.push_back({Part(i * step), fmt::format("{:.{}f}", label, decimals)});
  }
  return ticks;
}

void CutOff::Add(double value, const Scale& scale) {
  if (std::isnan(value)) return;
  ++values;
  if (scale.bLogarithmic() && !(value > 0)) {
    ++unplaced;
  } else {
    above += value > scale.High();
    below += value < scale.Low();
  }
}

std::string CutOff::Text() const {
  std::string text;
  if (above > 0) text = fmt::format("{} of {} values lie above the scale", above, values);
  if (below > 0 && above > 0) text += fmt::format(" and {} below it", below);
  if (below > 0 && above == 0) text = fmt::format("{} of {} values lie below the scale", below, values);
  if (unplaced > 0) {
    text += fmt::format("{}{} of {} values are not above 0 and have no place on a logarithmic scale",
                        text.empty() ? "" : ", ", unplaced, values);
  }
  return text;
}

std::vector<Tick> Scale::DecadeTicks(int most) const {
  constexpr int plain = 4;  // decades up to which a number is as short as a power
  const int first = FirstDecade(), last = DecadeOf(high_);
  const int steps = std::max(most, 1), least = (last - first + steps - 1) / steps;
  // Multiples of 1, 2, 5, 10, 20, ... decades, unless only one of them lies here.
  const int step = std::max(static_cast<int>(std::lround(RoundStep(least))), 1);
  int begin = static_cast<int>(std::ceil(static_cast<double>(first) / step)) * step;
  if (begin + step > last) begin = first;
  // Few powers leave room for the numbers between them.
  static constexpr int factors[] = {1, 2, 5};
  const bool finer = 3 * (last - first + 1) <= most;
  std::vector<Tick> ticks;
  for (int decade = finer ? begin - 1 : begin; decade <= last; decade += step) {
    for (int f = 0; f < (finer ? 3 : 1); ++f) {
      const double value = factors[f] * std::pow(10, decade);
      if (finer && (value < low_ * (1 - 1e-9) || value > high_ * (1 + 1e-9))) continue;
      const std::string power =
          f == 0 ? PowerText(decade) : fmt::format("{}×{}", factors[f], PowerText(decade));
      ticks.push_back({Part(value), std::abs(decade) <= plain ? fmt::format("{:g}", value) : power});
    }
  }
  return ticks;
}

}  // namespace dseries
