#pragma once

#include <cfloat>

#include <DataStorage/calibration/arraycal.h>
#include <DataStorage/positions/axis.h>
#include <DataStorage/positions/detail/interval.h>
#include <DataStorage/positions/pos2d.h>
#include <DataStorage/positions/range1d.h>

class rnge_c2DIndexRange;
struct rnge_s2DRangeChange;

class DATASTORAGE_EXPORT rnge_c2DRange;
DATASTORAGE_EXTERN(detail::Persistent<rnge_c2DRange>);

/// A rectangle in the plane, in physical units: a centre, two widths and an angle in radians by which it is
/// rotated counter-clockwise (Y points up). The point (u, v) of the rectangle's own frame, |u| <= Xwidth / 2
/// and |v| <= Ywidth / 2, lies at
///
///     X = Xcenter + u cos(Angle) - v sin(Angle),   Y = Ycenter + u sin(Angle) + v cos(Angle).
///
/// The angle is never reduced; a magnitude below the smallest normal double counts as zero. Changes are
/// offered, limited and announced like those of rnge_c1DRange (`rnge_2DRangeChanging`,
/// `rnge_2DRangeChanged`).
class DATASTORAGE_EXPORT rnge_c2DRange : public detail::Persistent<rnge_c2DRange>,
                                         public mesg_cSender,
                                         public mesg_cReceiver {
 public:
  /// The values as read from a tagged stream; 0 where the stream does not hold them.
  struct DATASTORAGE_EXPORT sRangeData : public detail::Record<sRangeData> {
    double Xcenter = 0;  ///< the centre
    double Ycenter = 0;  ///< the centre
    double Xwidth = 0;   ///< along u
    double Ywidth = 0;   ///< along v
    double Angle = 0;    ///< in radians
    /// The atoms, in the order in which they are written.
    static auto Fields(auto& record) {
      return std::tuple(detail::Atom(rnge_XcenterTag, rnge_XcenterString, record.Xcenter),
                        detail::Atom(rnge_YcenterTag, rnge_YcenterString, record.Ycenter),
                        detail::Atom(rnge_XwidthTag, rnge_XwidthString, record.Xwidth),
                        detail::Atom(rnge_YwidthTag, rnge_YwidthString, record.Ywidth),
                        detail::Atom(rnge_AngleTag, rnge_AngleString, record.Angle));
    }
  };

  static const tgio_cObjectType _ObjectType;  ///< obty_2DRangeType
  /// All values 0. As an argument it means "the whole"; recognised by its address.
  static const rnge_c2DRange Null;

  /// Between two opposite corners, in any order.
  constexpr rnge_c2DRange(double x1 = 0, double y1 = 0, double x2 = 0, double y2 = 0) noexcept
      : rnge_c2DRange(Corners(x1, y1, x2, y2)) {}
  /// The five values as they are, negative widths too.
  constexpr rnge_c2DRange(double xcenter, double ycenter, double xwidth, double ywidth, double angle) noexcept
      : rnge_c2DRange(detail::Rectangle{{xcenter, xwidth}, {ycenter, ywidth}, angle}) {}
  /// The cells of the indices. With a negative delta the width is negative: such a range contains nothing and
  /// equals nothing, not even itself.
  rnge_c2DRange(const rnge_c2DIndexRange& indices, const cal_c2DArrayCal& cal) noexcept;
  /// Copies the range without receivers, also those of the centre.
  rnge_c2DRange(const rnge_c2DRange& other) noexcept : rnge_c2DRange(other.values_) {}
  /// Sets the values, with messages and limits like any other change.
  rnge_c2DRange& operator=(const rnge_c2DRange& other) {
    if (this != &other) SetValues(other.values_);
    return *this;
  }

  /// Sets all five values at once; does nothing when they have these values, as pos_c2DPosition::SetPosition
  /// does. Throws expt_cUserException when the limits of the range and of its centre do not agree within 10
  /// attempts; the five values are then unchanged, the centre is where the last attempt left it. All other
  /// setters call this one.
  virtual void SetRange(double xcenter, double ycenter, double xwidth, double ywidth, double angle);
  /// Sets the range between two opposite corners, in any order; the angle becomes 0.
  void SetRange(double x1, double y1, double x2, double y2) { SetValues(Corners(x1, y1, x2, y2)); }

  /// Sets some of the five values; Move adds to the centre.
  void SetSize(double xwidth, double ywidth) { SetRange(CenterX(), CenterY(), xwidth, ywidth, Angle()); }
  void SetCenter(double x, double y) { SetRange(x, y, SizeX(), SizeY(), Angle()); }
  void SetAngle(double angle) { SetRange(CenterX(), CenterY(), SizeX(), SizeY(), angle); }
  void Move(double dx, double dy) { SetCenter(CenterX() + dx, CenterY() + dy); }

  /// One of the five values.
  double CenterX() const noexcept { return values_.x.center; }
  double CenterY() const noexcept { return values_.y.center; }
  double SizeX() const noexcept { return values_.x.width; }
  double SizeY() const noexcept { return values_.y.width; }
  double Angle() const noexcept { return values_.angle; }

  /// The centre, which the range owns; moving it moves the range.
  pos_c2DPosition& Center() { return center_.GiveOut(*this); }
  /// Whether the angle counts as zero.
  bool bAxisAligned() const noexcept { return std::abs(Angle()) < DBL_MIN; }

  /// A coordinate of a corner. The corners are named for angles from 0 to pi / 2: (TopX, Top) is the one at
  /// (+u, +v) of the rectangle's frame, (Left, LeftY) at (-u, +v), (BottomX, Bottom) at (-u, -v), (Right,
  /// RightY) at (+u, -v). For the angle zero each is the next one counter-clockwise: (TopX, Top) is the upper
  /// left corner and so on.
  double Top() const noexcept;
  double Bottom() const noexcept;
  double Left() const noexcept;
  double Right() const noexcept;
  double TopX() const noexcept;
  double BottomX() const noexcept;
  double LeftY() const noexcept;
  double RightY() const noexcept;

  /// An end of a range with the angle zero.
  double StartX() const noexcept { return Left(); }
  double EndX() const noexcept { return Right(); }
  double StartY() const noexcept { return Bottom(); }
  double EndY() const noexcept { return Top(); }

  /// The extent along one axis of a range with the angle zero.
  rnge_c1DRange RangeX() const noexcept { return {Left(), Right()}; }
  rnge_c1DRange RangeY() const noexcept { return {Bottom(), Top()}; }
  /// The distance from the left (bottom) side of the other range to that of this one.
  double OffsetX(const rnge_c2DRange& other) const noexcept { return Left() - other.Left(); }
  double OffsetY(const rnge_c2DRange& other) const noexcept { return Bottom() - other.Bottom(); }

  /// The border counts as inside, for the angle zero with a tolerance of width x 1e-9; NaN is outside.
  type_cBoolean Contains(double x, double y) const noexcept;
  type_cBoolean Contains(const pos_c2DPosition& position) const noexcept {
    return Contains(position.X(), position.Y());
  }
  /// Whether all corners of the other range lie inside.
  type_cBoolean Contains(const rnge_c2DRange& other) const noexcept;
  /// Whether the intersection differs in value from `Null`; rotated ranges intersect with nothing.
  type_cBoolean Intersects(const rnge_c2DRange& other) const noexcept;
  /// Comparison with a tolerance of width x 1e-9 along each axis and of 1e-6 in the angle.
  int operator==(const rnge_c2DRange& other) const noexcept;
  int operator!=(const rnge_c2DRange& other) const noexcept { return !(*this == other); }
  /// The intersection; a copy of `Null` when it is empty or one of the ranges is rotated.
  rnge_c2DRange operator&(const rnge_c2DRange& other) const noexcept;
  /// Whether this is the object `Null` itself.
  type_cBoolean IsNull() const noexcept { return this == &Null; }

  /// Moves the range with its centre.
  void ReceiveMessage(unsigned long id, mesg_cSender& sender, mesg_sMessageData* data) override;

 private:
  friend class detail::Persistent<rnge_c2DRange>;
  friend class detail::OwnedCenter<pos_c2DPosition>;
  friend struct detail::RangeChange;
  friend DATASTORAGE_EXPORT rnge_c2DRange operator|(const rnge_c2DRange& a, const rnge_c2DRange& b) noexcept;

  constexpr explicit rnge_c2DRange(const detail::Rectangle& values) noexcept
      : values_(values), center_(values.x.center, values.y.center) {}
  static constexpr detail::Rectangle Corners(double x1, double y1, double x2, double y2) noexcept {
    return {detail::CenteredInterval::Between(x1, x2), detail::CenteredInterval::Between(y1, y2), 0.0};
  }
  void SetValues(const detail::Rectangle& values) {
    SetRange(values.x.center, values.y.center, values.x.width, values.y.width, values.angle);
  }

  // Used by detail::RangeChange and detail::OwnedCenter.
  static rnge_c2DRange Proposal(const detail::Rectangle& values) noexcept { return rnge_c2DRange(values); }
  detail::Rectangle ValuesMoved(const pos_c2DPosition& by) const noexcept {
    return {{CenterX() + by.X(), SizeX()}, {CenterY() + by.Y(), SizeY()}, Angle()};
  }
  const pos_c2DPosition& OwnCenter() const noexcept { return *center_; }
  pos_c2DPosition Middle() const noexcept { return {CenterX(), CenterY()}; }
  void MoveTo(const pos_c2DPosition& center) { SetCenter(center.X(), center.Y()); }

  sRangeData ToRecord() const {
    sRangeData record;
    record.Xcenter = CenterX();
    record.Ycenter = CenterY();
    record.Xwidth = SizeX();
    record.Ywidth = SizeY();
    record.Angle = Angle();
    return record;
  }
  void FromRecord(const sRangeData& record) {
    SetRange(record.Xcenter, record.Ycenter, record.Xwidth, record.Ywidth, record.Angle);
  }

  detail::Rectangle values_;
  detail::OwnedCenter<pos_c2DPosition> center_;
};

/// The smallest range with the angle zero that contains both; a copy of `Null` when one of them is rotated.
DATASTORAGE_EXPORT rnge_c2DRange operator|(const rnge_c2DRange& a, const rnge_c2DRange& b) noexcept;
DATASTORAGE_EXPORT rnge_c2DRange operator|(const rnge_c2DRange& range,
                                           const pos_c2DPosition& position) noexcept;
DATASTORAGE_EXPORT rnge_c2DRange operator|(const pos_c2DPosition& position,
                                           const rnge_c2DRange& range) noexcept;

/// The payload of the messages of a 2D range.
struct DATASTORAGE_EXPORT rnge_s2DRangeChange : public mesg_sMessageData {
  rnge_c2DRange OldRange;  ///< as it was before the change
  rnge_c2DRange NewRange;  ///< the proposal, which receivers may change
  bool Modified = false;   ///< receivers set it to whether they changed the proposal

  rnge_s2DRangeChange(const rnge_s2DRangeChange&) = default;
  rnge_s2DRangeChange& operator=(const rnge_s2DRangeChange&) = default;

 private:
  friend struct detail::RangeChange;
  rnge_s2DRangeChange(const rnge_c2DRange& from, const rnge_c2DRange& to) noexcept
      : OldRange(from), NewRange(to) {}
  ~rnge_s2DRangeChange() override;
};

/// A rectangle of element indices: [start, end) along each axis. Sums and counts outside the range of int
/// become its nearest limit.
class DATASTORAGE_EXPORT rnge_c2DIndexRange : public tgio_cTaggedStreamObject {
 public:
  /// As an argument it means the whole array; recognised by its address.
  static const rnge_c2DIndexRange Null;

  /// Two opposite corners in any order.
  constexpr rnge_c2DIndexRange(int x1 = 0, int y1 = 0, int x2 = 0, int y2 = 0) noexcept
      : x_(detail::IndexSpan::Between(x1, x2)), y_(detail::IndexSpan::Between(y1, y2)) {}
  /// The cells of a calibrated plane that a range selects, between its left and right and between its bottom
  /// and top corner. An end may be less than its start when it selects none.
  rnge_c2DIndexRange(const rnge_c2DRange& range, const cal_c2DArrayCal& cal,
                     rnge_eIndexSelect select) noexcept;

  /// The first index along one axis, one past the last, or the number of indices (negative when the end is
  /// less than the start).
  int StartIndexX() const noexcept { return x_.start; }
  int StartIndexY() const noexcept { return y_.start; }
  int EndIndexX() const noexcept { return x_.end; }
  int EndIndexY() const noexcept { return y_.end; }
  int NumIndicesX() const noexcept { return x_.Count(); }
  int NumIndicesY() const noexcept { return y_.Count(); }

  /// The indices along one axis.
  rnge_c1DIndexRange IndexRangeX() const noexcept { return {x_.start, x_.end}; }
  rnge_c1DIndexRange IndexRangeY() const noexcept { return {y_.start, y_.end}; }
  /// The starts belong to the range, the ends do not.
  type_cBoolean Contains(int x, int y) const noexcept { return x_.bContains(x) && y_.bContains(y); }
  /// The range shifted by (dx, dy) indices.
  rnge_c2DIndexRange Shift(int dx, int dy) const noexcept {
    return {detail::AddIndices(x_.start, dx), detail::AddIndices(y_.start, dy),
            detail::AddIndices(x_.end, dx), detail::AddIndices(y_.end, dy)};
  }
  /// Whether all ends are the same.
  int operator==(const rnge_c2DIndexRange& other) const noexcept { return x_ == other.x_ && y_ == other.y_; }
  int operator!=(const rnge_c2DIndexRange& other) const noexcept { return !(*this == other); }
  /// Whether this is the object `Null` itself.
  type_cBoolean IsNull() const noexcept { return this == &Null; }

 private:
  detail::IndexSpan x_;
  detail::IndexSpan y_;
};
