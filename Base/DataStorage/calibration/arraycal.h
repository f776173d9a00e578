#pragma once

/// @file
/// Calibrations: the mapping between element indices and positions.

#include <DataStorage/interfaces/detail/indices.h>
#include <DataStorage/interfaces/export.h>
#include <DataStorage/interfaces/persistent.h>
#include <DataStorage/interfaces/type.h>

namespace detail {

struct AxisAtoms;

/// A product, rounded before it is added to something, so that positions have the same bits everywhere, even
/// in callers' code whose compiler may fuse both operations.
constexpr double Rounded(double product) noexcept {
#if defined(__GNUC__) && __has_builtin(__builtin_assoc_barrier)
  return __builtin_assoc_barrier(product);
#else
  return product;  // others fuse operations of one expression only
#endif
}

}  // namespace detail

/// The calibration of one axis: maps the indices of array elements to physical positions. Every index step is
/// the same distance `delta`; the reference element, at index `calIndex`, lies at position `offset`:
///
///     position = (index - calIndex) delta + offset
///
/// Any delta is accepted, zero and negative ones included. Offset and delta are in the units of the axis.
///
/// Distinct objects may be used from different threads; one object, or copies that share elements, from one
/// thread at a time.
class DATASTORAGE_EXPORT cal_cArrayCal {
 public:
  /// The fraction of a delta by which the cell of an index begins early, so that a position with a small
  /// rounding error still gets its index.
  static constexpr double RoundFactor = 1e-6;

  /// By default positions equal indices.
  constexpr cal_cArrayCal(double offset = 0.0, double delta = 1.0, int calIndex = 0) noexcept
      : offset_(offset), delta_(delta), calIndex_(calIndex) {}

  /// The offset, the delta or the reference index.
  constexpr double Offset() const noexcept { return offset_; }
  constexpr double Delta() const noexcept { return delta_; }
  constexpr int CalIndex() const noexcept { return calIndex_; }

  /// Sets the offset, the delta or the reference index.
  constexpr void SetOffset(double offset) noexcept { offset_ = offset; }
  constexpr void SetDelta(double delta) noexcept { delta_ = delta; }
  constexpr void SetCalIndex(int calIndex) noexcept { calIndex_ = calIndex; }

  /// The position of an index. The difference from the reference index is computed in 32 bits and wraps.
  constexpr double Position(int index) const noexcept {
    const unsigned steps = static_cast<unsigned>(index) - static_cast<unsigned>(calIndex_);
    return detail::Rounded(static_cast<double>(static_cast<int>(steps)) * delta_) + offset_;
  }
  /// The distance between indices that differ by `count`.
  constexpr double Distance(int count) const noexcept { return static_cast<double>(count) * delta_; }
  /// The index whose cell contains a position. The cell of index k begins `RoundFactor` of a delta before
  /// Position(k) and ends where the next one begins. With start = offset - RoundFactor delta the index is
  ///
  ///     calIndex + floor((position - start) / delta)      where position >= start
  ///     calIndex - floor((start - position) / delta) - 1  below
  ///
  /// so that a position exactly m deltas below start has the index calIndex - m - 1. With a negative delta
  /// the cells run downwards. Results outside the range of int become its nearest limit; without a result
  /// (NaN, or 0 / 0 with a delta of zero) the index is INT_MIN, which no array has.
  int Index(double position) const noexcept;
  /// The number of indices that cover a distance: distance / delta truncated toward zero, plus 1 unless it is
  /// whole. So 2.5 gives 3 and -2.5 gives -1. Limited like Index; 0 without a result.
  int NumIndices(double distance) const noexcept;

  /// The calibration of an array that consists of the elements from index `start` on, which keep their
  /// positions. With `keepReference`, meant for a reference element among them, the reference element stays
  /// the same; otherwise it is the new first element.
  cal_cArrayCal Rebased(int start, bool keepReference) const noexcept;

  /// Exact comparison, without tolerance.
  int operator==(const cal_cArrayCal& other) const noexcept;
  int operator!=(const cal_cArrayCal& other) const noexcept { return !(*this == other); }

 private:
  friend struct detail::AxisAtoms;

  double offset_;
  double delta_;
  int calIndex_;
};

namespace detail {

/// The atoms of an axis in tagged streams. The tags and names are persistent.
struct AxisAtoms {
  /// Offset, delta and reference index of the axis X.
  static auto OfX(auto& x) {
    return std::tuple(Atom(0x0100, "OffsetX", x.offset_), Atom(0x0120, "DeltaX", x.delta_),
                      Atom(0x0140, "CalIndexX", x.calIndex_));
  }
  /// The same for the axis Y.
  static auto OfY(auto& y) {
    return std::tuple(Atom(0x0110, "OffsetY", y.offset_), Atom(0x0130, "DeltaY", y.delta_),
                      Atom(0x0150, "CalIndexY", y.calIndex_));
  }
};

/// The axis X of a persistent calibration.
class DATASTORAGE_EXPORT CalibratedX {
 public:
  /// Like the member of cal_cArrayCal without the X.
  double OffsetX() const noexcept { return x_.Offset(); }
  double DeltaX() const noexcept { return x_.Delta(); }
  int CalIndexX() const noexcept { return x_.CalIndex(); }
  void SetOffsetX(double offset) noexcept { x_.SetOffset(offset); }
  void SetDeltaX(double delta) noexcept { x_.SetDelta(delta); }
  void SetCalIndexX(int calIndex) noexcept { x_.SetCalIndex(calIndex); }
  double PositionX(int index) const noexcept { return x_.Position(index); }
  int IndexX(double position) const noexcept { return x_.Index(position); }
  double DistanceX(int count) const noexcept { return x_.Distance(count); }
  int NumIndicesX(double distance) const noexcept { return x_.NumIndices(distance); }

  /// The axis as a plain value.
  const cal_cArrayCal& AxisX() const noexcept { return x_; }

 protected:
  /// From a plain axis.
  constexpr explicit CalibratedX(const cal_cArrayCal& x) noexcept : x_(x) {}

  cal_cArrayCal x_;  ///< the axis X
};

/// The axes of a persistent calibration that also has an axis Y.
class DATASTORAGE_EXPORT CalibratedXY : public CalibratedX {
 public:
  /// Like the member of cal_cArrayCal without the Y.
  double OffsetY() const noexcept { return y_.Offset(); }
  double DeltaY() const noexcept { return y_.Delta(); }
  int CalIndexY() const noexcept { return y_.CalIndex(); }
  void SetOffsetY(double offset) noexcept { y_.SetOffset(offset); }
  void SetDeltaY(double delta) noexcept { y_.SetDelta(delta); }
  void SetCalIndexY(int calIndex) noexcept { y_.SetCalIndex(calIndex); }
  double PositionY(int index) const noexcept { return y_.Position(index); }
  int IndexY(double position) const noexcept { return y_.Index(position); }
  double DistanceY(int count) const noexcept { return y_.Distance(count); }
  int NumIndicesY(double distance) const noexcept { return y_.NumIndices(distance); }

  /// The axis as a plain value.
  const cal_cArrayCal& AxisY() const noexcept { return y_; }

 protected:
  /// From two plain axes.
  constexpr CalibratedXY(const cal_cArrayCal& x, const cal_cArrayCal& y) noexcept : CalibratedX(x), y_(y) {}

  cal_cArrayCal y_;  ///< the axis Y
};

}  // namespace detail

class DATASTORAGE_EXPORT cal_c1DArrayCal;
DATASTORAGE_EXTERN(detail::Persistent<cal_c1DArrayCal>);

/// The persistent calibration of one axis, called X. Atoms missing in a tagged stream are read as those of
/// `Default`.
class DATASTORAGE_EXPORT cal_c1DArrayCal : public detail::Persistent<cal_c1DArrayCal>,
                                           public detail::CalibratedX {
 public:
  static const tgio_cObjectType _ObjectType;  ///< obty_1DCalType
  /// Means "no calibration given"; recognised by its address.
  static const cal_c1DArrayCal Null;
  /// Used by the library where no calibration is given.
  static const cal_c1DArrayCal Default;

  /// From the three values, or from a plain axis.
  constexpr cal_c1DArrayCal(double offsetX = 0.0, double deltaX = 1.0, int calIndexX = 0) noexcept
      : CalibratedX({offsetX, deltaX, calIndexX}) {}
  constexpr explicit cal_c1DArrayCal(const cal_cArrayCal& x) noexcept : CalibratedX(x) {}

  /// See cal_cArrayCal::Rebased.
  cal_c1DArrayCal Rebased(int startX, bool keepReference) const noexcept {
    return cal_c1DArrayCal(x_.Rebased(startX, keepReference));
  }

  /// Exact comparison, without tolerance.
  int operator==(const cal_c1DArrayCal& other) const noexcept { return x_ == other.x_; }
  int operator!=(const cal_c1DArrayCal& other) const noexcept { return x_ != other.x_; }
  /// Whether this is the object `Null` itself.
  type_cBoolean IsNull() const noexcept { return this == &Null; }

 private:
  friend class detail::Persistent<cal_c1DArrayCal>;
  struct DATASTORAGE_EXPORT Axis : public detail::Record<Axis> {
    cal_cArrayCal x;
    static auto Fields(auto& record) { return detail::AxisAtoms::OfX(record.x); }
  };
  Axis ToRecord() const {
    Axis record;
    record.x = x_;
    return record;
  }
  void FromRecord(const Axis& record) { x_ = record.x; }
};

class DATASTORAGE_EXPORT cal_c2DArrayCal;
DATASTORAGE_EXTERN(detail::Persistent<cal_c2DArrayCal>);

/// The persistent calibration of a plane: one axis X and one axis Y.
class DATASTORAGE_EXPORT cal_c2DArrayCal : public detail::Persistent<cal_c2DArrayCal>,
                                           public detail::CalibratedXY {
 public:
  static const tgio_cObjectType _ObjectType;  ///< obty_2DCalType
  /// Like that of cal_c1DArrayCal.
  static const cal_c2DArrayCal Null;
  /// Like that of cal_c1DArrayCal.
  static const cal_c2DArrayCal Default;

  /// From the three values of each axis, or from two plain axes.
  constexpr cal_c2DArrayCal(double offsetX = 0.0, double offsetY = 0.0, double deltaX = 1.0,
                            double deltaY = 1.0, int calIndexX = 0, int calIndexY = 0) noexcept
      : CalibratedXY({offsetX, deltaX, calIndexX}, {offsetY, deltaY, calIndexY}) {}
  constexpr cal_c2DArrayCal(const cal_cArrayCal& x, const cal_cArrayCal& y) noexcept : CalibratedXY(x, y) {}

  /// The calibration of one axis.
  cal_c1DArrayCal CalX() const noexcept { return cal_c1DArrayCal(x_); }
  cal_c1DArrayCal CalY() const noexcept { return cal_c1DArrayCal(y_); }
  /// See cal_cArrayCal::Rebased. For both axes together: keep the reference when the reference *point* is
  /// among the elements.
  cal_c2DArrayCal Rebased(int startX, int startY, bool keepReference) const noexcept {
    return {x_.Rebased(startX, keepReference), y_.Rebased(startY, keepReference)};
  }

  /// Exact comparison, without tolerance.
  int operator==(const cal_c2DArrayCal& other) const noexcept { return x_ == other.x_ && y_ == other.y_; }
  int operator!=(const cal_c2DArrayCal& other) const noexcept { return !(*this == other); }
  /// Whether this is the object `Null` itself.
  type_cBoolean IsNull() const noexcept { return this == &Null; }

 private:
  friend class detail::Persistent<cal_c2DArrayCal>;
  struct DATASTORAGE_EXPORT Axes : public detail::Record<Axes> {
    cal_cArrayCal x, y;
    static auto Fields(auto& record) {
      return std::tuple_cat(detail::AxisAtoms::OfX(record.x), detail::AxisAtoms::OfY(record.y));
    }
  };
  Axes ToRecord() const {
    Axes record;
    record.x = x_;
    record.y = y_;
    return record;
  }
  void FromRecord(const Axes& record) {
    x_ = record.x;
    y_ = record.y;
  }
};
