#include <cmath>

#include <DataStorage/calibration/arraycal.h>
#include <DataStorage/interfaces/constants.h>

namespace {

/// A whole number as int: the nearest limit outside its range, `missing` for NaN.
int WholeToInt(double value, int missing) {
  if (std::isnan(value)) return missing;
  if (value <= std::numeric_limits<int>::min()) return std::numeric_limits<int>::min();
  if (value >= std::numeric_limits<int>::max()) return std::numeric_limits<int>::max();
  return static_cast<int>(value);
}

}  // namespace

constinit const tgio_cObjectType cal_c1DArrayCal::_ObjectType(obty_1DCalString, obty_1DCalType);
constinit const tgio_cObjectType cal_c2DArrayCal::_ObjectType(obty_2DCalString, obty_2DCalType);
constinit const cal_c1DArrayCal cal_c1DArrayCal::Null;
constinit const cal_c2DArrayCal cal_c2DArrayCal::Null;
constinit const cal_c1DArrayCal cal_c1DArrayCal::Default;
constinit const cal_c2DArrayCal cal_c2DArrayCal::Default;

int cal_cArrayCal::Index(double position) const noexcept {
  const double start = offset_ - RoundFactor * delta_;
  const double steps = position >= start ? std::floor((position - start) / delta_)
                                         : -std::floor((start - position) / delta_) - 1.0;
  return WholeToInt(calIndex_ + steps, std::numeric_limits<int>::min());
}

int cal_cArrayCal::NumIndices(double distance) const noexcept {
  const double count = distance / delta_;
  return WholeToInt(std::trunc(count) + (std::floor(count) < count ? 1.0 : 0.0), 0);
}

cal_cArrayCal cal_cArrayCal::Rebased(int start, bool keepReference) const noexcept {
  return keepReference ? cal_cArrayCal(offset_, delta_, detail::SubtractIndices(calIndex_, start))
                       : cal_cArrayCal(Position(start), delta_, 0);
}

int cal_cArrayCal::operator==(const cal_cArrayCal& other) const noexcept {
  return offset_ == other.offset_ && delta_ == other.delta_ && calIndex_ == other.calIndex_;
}

template class DATASTORAGE_INSTANCE detail::Persistent<cal_c1DArrayCal>;
template class DATASTORAGE_INSTANCE detail::Persistent<cal_c2DArrayCal>;
