#pragma once

#include <DataStorage/calibration/arraycal.h>
#include <DataStorage/positions/axis.h>
#include <DataStorage/positions/detail/interval.h>
#include <DataStorage/positions/pos1d.h>

class rnge_c1DIndexRange;
struct rnge_s1DRangeChange;

class DATASTORAGE_EXPORT rnge_c1DRange;
DATASTORAGE_EXTERN(detail::Persistent<rnge_c1DRange>);

/// An interval on one axis, in physical units, that notifies its receivers of every change and has a centre
/// that callers can move.
///
/// A new interval is first offered (`rnge_1DRangeChanging`): a receiver may limit it by changing the
/// payload's NewRange and setting Modified; it is offered again until no receiver changes it, at most 10
/// times. The adopted interval is then announced (`rnge_1DRangeChanged`). The centre may have limits of its
/// own: the proposal is shifted to meet them before it is offered. When a caller moves the centre, the
/// interval follows with the same two messages.
///
/// When a receiver throws before the interval is adopted, interval and centre are unchanged. Requires that
/// receivers do not destroy the range while they handle a message of it or of its centre.
class DATASTORAGE_EXPORT rnge_c1DRange : public detail::Persistent<rnge_c1DRange>,
                                         public mesg_cSender,
                                         public mesg_cReceiver {
 public:
  /// The ends as read from a tagged stream; 0 where the stream does not hold them.
  struct DATASTORAGE_EXPORT sRangeData : public detail::Record<sRangeData> {
    double Xmin = 0;  ///< the start
    double Xmax = 0;  ///< the end
    /// The atoms, in the order in which they are written.
    static auto Fields(auto& record) {
      return std::tuple(detail::Atom(rnge_XminTag, rnge_XminString, record.Xmin),
                        detail::Atom(rnge_XmaxTag, rnge_XmaxString, record.Xmax));
    }
  };

  static const tgio_cObjectType _ObjectType;  ///< obty_1DRangeType
  /// The range from 0 to 0. As an argument it means "the whole"; recognised by its address.
  static const rnge_c1DRange Null;

  /// Between two positions in any order.
  constexpr rnge_c1DRange(double a = 0, double b = 0) noexcept
      : rnge_c1DRange(detail::Interval::Between(a, b)) {}
  /// The cells of the indices. With a negative delta the start is greater than the end: such a range contains
  /// nothing and equals nothing, not even itself.
  rnge_c1DRange(const rnge_c1DIndexRange& indices, const cal_c1DArrayCal& cal) noexcept;
  /// Copies the range without receivers, also those of the centre.
  rnge_c1DRange(const rnge_c1DRange& other) noexcept : rnge_c1DRange(other.values_, other.CenterX()) {}
  /// Sets the ends, with messages and limits like any other change.
  rnge_c1DRange& operator=(const rnge_c1DRange& other);

  /// An end, the distance between the two, or the middle.
  double StartX() const noexcept { return values_.start; }
  double EndX() const noexcept { return values_.end; }
  double SizeX() const noexcept { return values_.Size(); }
  double CenterX() const noexcept { return center_->X(); }

  /// The centre, which the range owns; moving it moves the range.
  pos_c1DPosition& Center() { return center_.GiveOut(*this); }
  /// The distance from the start of the other range to that of this one.
  double OffsetX(const rnge_c1DRange& other) const noexcept { return StartX() - other.StartX(); }

  /// Sets both ends, given in any order; does nothing when they have these values, as pos_c1DPosition::SetX
  /// does. Throws expt_cUserException when the limits of the range and of its centre do not agree within 10
  /// attempts; the ends are then unchanged, the centre is where the last attempt left it.
  virtual void SetRange(double a, double b);
  /// Moves the range, keeping its size.
  void SetCenter(double center);
  /// Changes the size, keeping the centre.
  void SetSizeX(double size);

  /// Both ends count as inside, with a tolerance of size x 1e-9; NaN is outside.
  type_cBoolean Contains(double x) const noexcept { return values_.bContains(x); }
  type_cBoolean Contains(const pos_c1DPosition& position) const noexcept { return Contains(position.X()); }
  type_cBoolean Contains(const rnge_c1DRange& other) const noexcept {
    return Contains(other.StartX()) && Contains(other.EndX());
  }
  /// Whether the ranges have a position in common, ends and tolerance included.
  type_cBoolean Intersects(const rnge_c1DRange& other) const noexcept {
    return other.Contains(*this) || Contains(other.StartX()) || Contains(other.EndX());
  }
  /// Comparison with the tolerance of Contains.
  int operator==(const rnge_c1DRange& other) const noexcept { return values_.bEquals(other.values_); }
  int operator!=(const rnge_c1DRange& other) const noexcept { return !(*this == other); }
  /// The intersection; a copy of `Null` when it is empty.
  rnge_c1DRange operator&(const rnge_c1DRange& other) const noexcept;
  /// Whether this is the object `Null` itself.
  type_cBoolean IsNull() const noexcept { return this == &Null; }

  /// Moves the range with its centre.
  void ReceiveMessage(unsigned long id, mesg_cSender& sender, mesg_sMessageData* data) override;

 private:
  friend class detail::Persistent<rnge_c1DRange>;
  friend class detail::OwnedCenter<pos_c1DPosition>;
  friend struct detail::RangeChange;

  /// The ends in this order.
  constexpr explicit rnge_c1DRange(const detail::Interval& ends) noexcept
      : rnge_c1DRange(ends, ends.Middle()) {}
  constexpr rnge_c1DRange(const detail::Interval& ends, double center) noexcept
      : values_(ends), center_(center) {}

  // Used by detail::RangeChange and detail::OwnedCenter.
  static rnge_c1DRange Proposal(const detail::Interval& ends) noexcept { return {ends.start, ends.end}; }
  detail::Interval ValuesMoved(const pos_c1DPosition& by) const noexcept {
    return {StartX() + by.X(), EndX() + by.X()};
  }
  const pos_c1DPosition& OwnCenter() const noexcept { return *center_; }
  pos_c1DPosition Middle() const noexcept { return CenterX(); }
  void MoveTo(const pos_c1DPosition& center) { SetCenter(center.X()); }

  sRangeData ToRecord() const {
    sRangeData record;
    record.Xmin = StartX();
    record.Xmax = EndX();
    return record;
  }
  void FromRecord(const sRangeData& record) { SetRange(record.Xmin, record.Xmax); }

  detail::Interval values_;
  detail::OwnedCenter<pos_c1DPosition> center_;
};

/// The smallest range that contains both.
DATASTORAGE_EXPORT rnge_c1DRange operator|(const rnge_c1DRange& a, const rnge_c1DRange& b) noexcept;
DATASTORAGE_EXPORT rnge_c1DRange operator|(const rnge_c1DRange& range,
                                           const pos_c1DPosition& position) noexcept;
DATASTORAGE_EXPORT rnge_c1DRange operator|(const pos_c1DPosition& position,
                                           const rnge_c1DRange& range) noexcept;

/// The payload of the messages of a 1D range.
struct DATASTORAGE_EXPORT rnge_s1DRangeChange : public mesg_sMessageData {
  rnge_c1DRange OldRange;  ///< as it was before the change
  rnge_c1DRange NewRange;  ///< the proposal, which receivers may change
  bool Modified = false;   ///< receivers set it to whether they changed the proposal

  rnge_s1DRangeChange(const rnge_s1DRangeChange&) = default;
  rnge_s1DRangeChange& operator=(const rnge_s1DRangeChange&) = default;

 private:
  friend struct detail::RangeChange;
  rnge_s1DRangeChange(const rnge_c1DRange& from, const rnge_c1DRange& to) noexcept
      : OldRange(from), NewRange(to) {}
  ~rnge_s1DRangeChange() override;
};

/// An interval of element indices: [start, end). Sums and counts outside the range of int become its nearest
/// limit.
class DATASTORAGE_EXPORT rnge_c1DIndexRange : public tgio_cTaggedStreamObject {
 public:
  /// As an argument it means the whole array; recognised by its address.
  static const rnge_c1DIndexRange Null;

  /// Two indices in any order.
  constexpr rnge_c1DIndexRange(int a = 0, int b = 0) noexcept : span_(detail::IndexSpan::Between(a, b)) {}
  /// The cells of a calibrated axis that a range selects. The end may be less than the start when it selects
  /// none.
  rnge_c1DIndexRange(const rnge_c1DRange& range, const cal_c1DArrayCal& cal,
                     rnge_eIndexSelect select) noexcept;

  /// The first index, one past the last, or the number of indices (negative when the end is less than the
  /// start).
  int StartIndexX() const noexcept { return span_.start; }
  int EndIndexX() const noexcept { return span_.end; }
  int NumIndicesX() const noexcept { return span_.Count(); }

  /// The start belongs to the range, the end does not.
  type_cBoolean Contains(int index) const noexcept { return span_.bContains(index); }
  /// The range shifted by `n` indices.
  rnge_c1DIndexRange Shift(int n) const noexcept {
    return {detail::AddIndices(span_.start, n), detail::AddIndices(span_.end, n)};
  }
  /// Whether both ends are the same.
  int operator==(const rnge_c1DIndexRange& other) const noexcept { return span_ == other.span_; }
  int operator!=(const rnge_c1DIndexRange& other) const noexcept { return !(*this == other); }
  /// Whether this is the object `Null` itself.
  type_cBoolean IsNull() const noexcept { return this == &Null; }

 private:
  detail::IndexSpan span_;
};
