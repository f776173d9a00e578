#include "figure/figure.h"

namespace dseries {

double AspectOf(const Figure& figure) {
  constexpr double longest = 4, other = 1.4;
  const double aspect = (figure.x.High() - figure.x.Low()) / (figure.y.High() - figure.y.Low());
  return !figure.to_scale || aspect > longest || aspect < 1 / longest ? other : aspect;
}

std::string LabelWithFactor(const std::string& label, const Scale& scale) {
  const std::string factor = scale.Factor();
  if (factor.empty() || label.empty()) return label + factor;
  return label + " (" + factor + ')';
}

}  // namespace dseries
