#include <cmath>
#include <span>

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

/// What the atoms of an axis are called. The tags and names are persistent.
struct AxisAtoms {
  detail::AtomId offset, delta, calIndex;
};
constexpr AxisAtoms atomsX{{0x0100, "OffsetX"}, {0x0120, "DeltaX"}, {0x0140, "CalIndexX"}};
constexpr AxisAtoms atomsY{{0x0110, "OffsetY"}, {0x0130, "DeltaY"}, {0x0150, "CalIndexY"}};

template <class Stream>
bool Write(Stream& out, const cal_cArrayCal& cal, const AxisAtoms& atoms) {
  return detail::WriteAtom(out, cal.Offset(), atoms.offset) &&
         detail::WriteAtom(out, cal.Delta(), atoms.delta) &&
         detail::WriteAtom(out, cal.CalIndex(), atoms.calIndex);
}

/// An axis that is being read.
struct AxisData {
  const AxisAtoms& atoms;
  double offset = 0.0;
  double delta = 1.0;
  int calIndex = 0;

  cal_cArrayCal Cal() const { return {offset, delta, calIndex}; }
};

template <class Stream>
bool ReadAtom(Stream& in, std::span<AxisData> axes) {
  for (AxisData& axis : axes) {
    if (detail::bAtAtom(in, axis.atoms.offset)) return in.Read(axis.offset);
    if (detail::bAtAtom(in, axis.atoms.delta)) return in.Read(axis.delta);
    if (detail::bAtAtom(in, axis.atoms.calIndex)) return in.Read(axis.calIndex);
  }
  return in.SkipObject();
}

template <class Stream>
bool ReadAtoms(Stream& in, std::span<AxisData> axes) {
  while (in.bHasAtom())
    if (!ReadAtom(in, axes)) return false;
  return true;
}

template <class Stream>
bool Read(Stream& in, cal_cArrayCal& x) {
  AxisData axes[] = {{atomsX}};
  if (!ReadAtoms(in, axes)) return false;
  x = axes[0].Cal();
  return true;
}

template <class Stream>
bool Read(Stream& in, cal_cArrayCal& x, cal_cArrayCal& y) {
  AxisData axes[] = {{atomsX}, {atomsY}};
  if (!ReadAtoms(in, axes)) return false;
  x = axes[0].Cal();
  y = axes[1].Cal();
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
type_cBoolean cal_c1DArrayCal::Write(tgio_cASCII_ostream& out) const { return ::Write(out, x_, atomsX); }
type_cBoolean cal_c1DArrayCal::Write(tgio_cBinary_ostream& out) const { return ::Write(out, x_, atomsX); }

type_cBoolean cal_c2DArrayCal::Read(tgio_cASCII_istream& in) { return ::Read(in, x_, y_); }
type_cBoolean cal_c2DArrayCal::Read(tgio_cBinary_istream& in) { return ::Read(in, x_, y_); }
type_cBoolean cal_c2DArrayCal::Write(tgio_cASCII_ostream& out) const {
  return ::Write(out, x_, atomsX) && ::Write(out, y_, atomsY);
}
type_cBoolean cal_c2DArrayCal::Write(tgio_cBinary_ostream& out) const {
  return ::Write(out, x_, atomsX) && ::Write(out, y_, atomsY);
}
