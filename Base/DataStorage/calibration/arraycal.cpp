#include <cmath>
#include <initializer_list>

#include <DataStorage/calibration/arraycal.h>
#include <DataStorage/interfaces/atoms.h>

namespace {

/// A whole number as int; beyond its range the nearest end, and `missing` for not-a-number.
int WholeToInt(double value, int missing) {
  if (std::isnan(value)) return missing;
  if (value <= std::numeric_limits<int>::min()) return std::numeric_limits<int>::min();
  if (value >= std::numeric_limits<int>::max()) return std::numeric_limits<int>::max();
  return static_cast<int>(value);
}

/// An axis that is being read or written, and what its atoms are called. The tags and names are persistent.
template <class Cal>
struct Axis {
  Cal& cal;
  detail::AtomId offset, delta, calIndex;
};

template <class Cal>
Axis<Cal> AxisX(Cal& cal) {
  return {cal, {0x0100, "OffsetX"}, {0x0120, "DeltaX"}, {0x0140, "CalIndexX"}};
}

template <class Cal>
Axis<Cal> AxisY(Cal& cal) {
  return {cal, {0x0110, "OffsetY"}, {0x0130, "DeltaY"}, {0x0150, "CalIndexY"}};
}

template <class Stream>
bool Write(Stream& out, const Axis<const cal_cArrayCal>& axis) {
  return detail::WriteAtom(out, axis.cal.Offset(), axis.offset) &&
         detail::WriteAtom(out, axis.cal.Delta(), axis.delta) &&
         detail::WriteAtom(out, axis.cal.CalIndex(), axis.calIndex);
}

template <class Value, class Stream, class Store>
bool ReadValue(Stream& in, Store store) {
  Value value{};
  if (!in.Read(value)) return false;
  store(value);
  return true;
}

template <class Stream>
bool ReadAtom(Stream& in, std::initializer_list<Axis<cal_cArrayCal>> axes) {
  for (const auto& [cal, offset, delta, calIndex] : axes) {
    cal_cArrayCal& c = cal;
    if (detail::bAtAtom(in, offset)) return ReadValue<double>(in, [&c](double v) { c.SetOffset(v); });
    if (detail::bAtAtom(in, delta)) return ReadValue<double>(in, [&c](double v) { c.SetDelta(v); });
    if (detail::bAtAtom(in, calIndex)) return ReadValue<int>(in, [&c](int v) { c.SetCalIndex(v); });
  }
  return in.SkipObject();
}

/// Unlike other objects a calibration does not pass over an atom of its own that cannot be read.
template <class Stream>
bool Read(Stream& in, std::initializer_list<Axis<cal_cArrayCal>> axes) {
  while (in.bHasAtom())
    if (!ReadAtom(in, axes)) return false;
  return true;
}

template <class Stream>
bool Read(Stream& in, cal_cArrayCal& x) {
  cal_cArrayCal newX;
  if (!Read(in, {AxisX(newX)})) return false;
  x = newX;
  return true;
}

template <class Stream>
bool Read(Stream& in, cal_cArrayCal& x, cal_cArrayCal& y) {
  cal_cArrayCal newX, newY;
  if (!Read(in, {AxisX(newX), AxisY(newY)})) return false;
  x = newX;
  y = newY;
  return true;
}

}  // namespace

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

type_cBoolean cal_c1DArrayCal::Read(tgio_cASCII_istream& in) { return ::Read(in, x_); }
type_cBoolean cal_c1DArrayCal::Read(tgio_cBinary_istream& in) { return ::Read(in, x_); }
type_cBoolean cal_c1DArrayCal::Write(tgio_cASCII_ostream& out) const { return ::Write(out, ::AxisX(x_)); }
type_cBoolean cal_c1DArrayCal::Write(tgio_cBinary_ostream& out) const { return ::Write(out, ::AxisX(x_)); }

type_cBoolean cal_c2DArrayCal::Read(tgio_cASCII_istream& in) { return ::Read(in, x_, y_); }
type_cBoolean cal_c2DArrayCal::Read(tgio_cBinary_istream& in) { return ::Read(in, x_, y_); }
type_cBoolean cal_c2DArrayCal::Write(tgio_cASCII_ostream& out) const {
  return ::Write(out, ::AxisX(x_)) && ::Write(out, ::AxisY(y_));
}
type_cBoolean cal_c2DArrayCal::Write(tgio_cBinary_ostream& out) const {
  return ::Write(out, ::AxisX(x_)) && ::Write(out, ::AxisY(y_));
}
