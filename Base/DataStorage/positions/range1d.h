#pragma once

#include <DataStorage/calibration/arraycal.h>
#include <DataStorage/positions/axis.h>
#include <DataStorage/positions/detail/interval.h>
#include <DataStorage/positions/pos1d.h>

class rnge_c1DIndexRange;
struct rnge_s1DRangeChange;

/// An interval on one axis, in physical units, that tells its receivers of every change and has a centre that
/// callers can move.
///
/// A new interval is first offered (`rnge_1DRangeChanging`): a receiver may limit it by rewriting the
/// payload's NewRange and setting Modified; it is offered again until nobody objects, at most 10 times. The
/// interval then adopted is announced (`rnge_1DRangeChanged`). The centre may have limits of its own: the
/// proposal is shifted to them before it is offered. When the centre is moved by a caller the interval
/// follows it, with the same two messages.
///
/// When a receiver throws before the interval is adopted, interval and centre are as they were. A receiver
/// must not destroy the range whose message, or whose centre's message, it is being given.
class DATASTORAGE_EXPORT rnge_c1DRange : public detail::Persistent<rnge_c1DRange>,
                                         public mesg_cSender,
                                         public mesg_cReceiver {
 public:
  /// The ends as they are read from a tagged stream; 0 where the stream does not hold them.
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
  /// The range from 0 to 0. Given to an operation it stands for "the whole"; recognised by its identity.
  static const rnge_c1DRange Null;

  /// Between two positions in any order.
  constexpr rnge_c1DRange(double a = 0, double b = 0) noexcept
      : rnge_c1DRange(detail::Interval::Between(a, b)) {}
  /// The cells of the indices. With a negative delta the start lies above the end: such a range contains
  /// nothing and equals nothing, not even itself.
  rnge_c1DRange(const rnge_c1DIndexRange& indices, const cal_c1DArrayCal& cal) noexcept;
  /// Without the receivers, also those of the centre.
  rnge_c1DRange(const rnge_c1DRange& other) noexcept : rnge_c1DRange(other.values_, other.CenterX()) {}
  /// A change like any other, with messages and limits.
  rnge_c1DRange& operator=(const rnge_c1DRange& other);

  /// An end, the distance between the two, or the middle.
  double StartX() const noexcept { return values_.start; }
  double EndX() const noexcept { return values_.end; }
  double SizeX() const noexcept { return values_.Size(); }
  double CenterX() const noexcept { return center_->X(); }

  /// The centre, which belongs to the range; moving it moves the range.
  pos_c1DPosition& Center() { return center_.GiveOut(*this); }
  /// The distance from the start of the other range to that of this one.
  double OffsetX(const rnge_c1DRange& other) const noexcept { return StartX() - other.StartX(); }

  /// Changes both ends, given in any order; ends that are the same already are left alone, as SetX does.
  /// Throws expt_cUserException when the limits of the range and of its centre do not agree within 10
  /// attempts; the ends are unchanged then, the centre is where the last attempt left it.
  virtual void SetRange(double a, double b);
  /// Moves the range, keeping its size.
  void SetCenter(double center);
  /// Changes the size, keeping the centre.
  void SetSizeX(double size);

  /// Both ends count as inside, with a tolerance of size x 1e-9; not-a-number is outside.
  type_cBoolean Contains(double x) const noexcept { return values_.bContains(x); }
  type_cBoolean Contains(const pos_c1DPosition& position) const noexcept { return Contains(position.X()); }
  type_cBoolean Contains(const rnge_c1DRange& other) const noexcept {
    return Contains(other.StartX()) && Contains(other.EndX());
  }
  /// Whether there is a position in both, ends and tolerance included.
  type_cBoolean Intersects(const rnge_c1DRange& other) const noexcept {
    return other.Contains(*this) || Contains(other.StartX()) || Contains(other.EndX());
  }
  /// With the tolerance that Contains has.
  int operator==(const rnge_c1DRange& other) const noexcept { return values_.bEquals(other.values_); }
  int operator!=(const rnge_c1DRange& other) const noexcept { return !(*this == other); }
  /// What both ranges hold; a copy of `Null` when that is nothing.
  rnge_c1DRange operator&(const rnge_c1DRange& other) const noexcept;
  /// Whether this is the object `Null` itself.
  type_cBoolean IsNull() const noexcept { return this == &Null; }

  /// Follows the centre.
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

  // What detail::RangeChange and detail::OwnedCenter work with.
  static rnge_c1DRange Proposal(const detail::Interval& ends) noexcept { return {ends.start, ends.end}; }
  detail::Interval ValuesMoved(const pos_c1DPosition& by) const noexcept {
    return {StartX() + by.X(), EndX() + by.X()};
  }
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

extern template class detail::Persistent<rnge_c1DRange>;

/// The smallest range that holds both, what lies between them included.
DATASTORAGE_EXPORT rnge_c1DRange operator|(const rnge_c1DRange& a, const rnge_c1DRange& b) noexcept;
DATASTORAGE_EXPORT rnge_c1DRange operator|(const rnge_c1DRange& range,
                                           const pos_c1DPosition& position) noexcept;
DATASTORAGE_EXPORT rnge_c1DRange operator|(const pos_c1DPosition& position,
                                           const rnge_c1DRange& range) noexcept;

/// What a 1D range sends with its messages.
struct DATASTORAGE_EXPORT rnge_s1DRangeChange : public mesg_sMessageData {
  rnge_c1DRange OldRange;  ///< the one that changes
  rnge_c1DRange NewRange;  ///< the proposal, which receivers may rewrite
  bool Modified = false;   ///< to be set by a receiver to whether it has rewritten the proposal

  rnge_s1DRangeChange(const rnge_s1DRangeChange&) = default;
  rnge_s1DRangeChange& operator=(const rnge_s1DRangeChange&) = default;

 private:
  friend struct detail::RangeChange;
  rnge_s1DRangeChange(const rnge_c1DRange& from, const rnge_c1DRange& to) noexcept
      : OldRange(from), NewRange(to) {}
  ~rnge_s1DRangeChange() override;
};

/// An interval of element indices: from the start up to, not including, the end. Sums and counts beyond the
/// range of int become its nearest end.
class DATASTORAGE_EXPORT rnge_c1DIndexRange : public tgio_cTaggedStreamObject {
 public:
  /// Given to an operation it stands for the whole array; recognised by its identity.
  static const rnge_c1DIndexRange Null;

  /// Two indices in any order.
  constexpr rnge_c1DIndexRange(int a = 0, int b = 0) noexcept : span_(detail::IndexSpan::Between(a, b)) {}
  /// The cells of a calibrated axis that a range selects. The end may lie before the start, when it selects
  /// none.
  rnge_c1DIndexRange(const rnge_c1DRange& range, const cal_c1DArrayCal& cal,
                     rnge_eIndexSelect select) noexcept;

  /// The first index, the one behind the last, or how many there are (negative when the end lies before the
  /// start).
  int StartIndexX() const noexcept { return span_.start; }
  int EndIndexX() const noexcept { return span_.end; }
  int NumIndicesX() const noexcept { return span_.Count(); }

  /// The start belongs to the range, the end does not.
  type_cBoolean Contains(int index) const noexcept { return span_.bContains(index); }
  /// The range that lies `n` indices further on.
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
