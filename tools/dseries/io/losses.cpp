#include "io/losses.h"

#include <cmath>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <vector>

#include "file/text.h"
#include <DataStorage/data/convert.h>

namespace dseries {

namespace {

std::string PositionText(const darr_c1DArray& array, int i) { return NumberText(array.Cal().PositionX(i)); }
std::string PositionText(const darr_c2DArray& array, int i) {
  const int nx = array.NumIndicesX();
  return fmt::format("{},{}", NumberText(array.Cal().PositionX(i % nx)),
                     NumberText(array.Cal().PositionY(i / nx)));
}

}  // namespace

template <class Array>
Array Losses::Convert(const Array& array, const std::string& name) {
  if (array.DataType() == type_) return array;
  // Through doubles, which hold every element: integers narrowed directly would keep their low bits.
  const Array before = conv_Convert(array, dtyp_Float64, conv_Real);
  const Array converted = conv_Convert(before, type_, conv_Real);
  const Array after = conv_Convert(converted, dtyp_Float64, conv_Real);
  const auto* const was = static_cast<const double*>(before.Data());
  const auto* const is = static_cast<const double*>(after.Data());
  for (int i = 0; i < array.NumIndices(); ++i) {
    if (was[i] == is[i] || (std::isnan(was[i]) && std::isnan(is[i]))) continue;
    // Integers are cut to their limits, floating-point numbers to infinity.
    const bool limited =
        std::fabs(was[i] - is[i]) > 0.5 && (std::isinf(is[i]) || type_.Type() < dtyp_Float32);
    const Kind kind = std::isnan(was[i]) ? NotANumber : limited ? Limited : Rounded;
    Loss& loss = losses_[kind];
    if (loss.count++ == 0) {
      loss.first = fmt::format("{} at {}{}", NumberText(was[i]), name, PositionText(array, i));
    }
  }
  values_ += array.NumIndices();
  return converted;
}

std::string Losses::Text() const {
  const std::string whats[] = {"beyond " + ElementName(type_) + " and cut to its limits",
                               "not a number and stored as 0", "rounded"};
  std::vector<std::string> texts;
  for (const Kind kind : {Limited, NotANumber, Rounded}) {
    const auto& [count, first] = losses_[kind];
    if (count == 0) continue;
    texts.push_back(
        fmt::format("{} {} {} (the first: {})", count, count == 1 ? "was" : "were", whats[kind], first));
  }
  if (texts.empty()) return "";
  return fmt::format("of {} {}", Count(values_, "value", "values"), fmt::join(texts, ", "));
}

template darr_c1DArray Losses::Convert(const darr_c1DArray&, const std::string&);
template darr_c2DArray Losses::Convert(const darr_c2DArray&, const std::string&);

}  // namespace dseries
