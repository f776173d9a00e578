#pragma once

/// @file
/// Positions in a plane, their distance and direction.

#include <DataStorage/interfaces/constants.h>
#include <DataStorage/interfaces/mesg.h>
#include <DataStorage/interfaces/persistent.h>
#include <DataStorage/positions/detail/center.h>

class pos_c2DPosition;
struct pos_s2DPositionChange;

namespace detail {

/// What owns positions that it has to follow.
class PositionOwner {
 public:
  /// Called before a position changes, whether messages are sent or not.
  virtual void PositionChanges(const pos_c2DPosition& position) noexcept = 0;

 protected:
  ~PositionOwner() = default;
};

}  // namespace detail

class DATASTORAGE_EXPORT pos_c2DPosition;
DATASTORAGE_EXTERN(detail::Persistent<pos_c2DPosition>);

/// A position in a plane, in physical units, that notifies its receivers of every change, as pos_c1DPosition
/// does (`pos_2DPositionChanging`, `pos_2DPositionChanged`).
class DATASTORAGE_EXPORT pos_c2DPosition : public detail::Persistent<pos_c2DPosition>, public mesg_cSender {
 public:
  /// The coordinates as read from a tagged stream; 0 where the stream does not hold them.
  struct DATASTORAGE_EXPORT sPositionData : public detail::Record<sPositionData> {
    double X = 0;  ///< in the units of the axis
    double Y = 0;  ///< in the units of the axis
    /// The atoms, in the order in which they are written.
    static auto Fields(auto& record) {
      return std::tuple(detail::Atom(pos_X_Tag, pos_X_String, record.X),
                        detail::Atom(pos_Y_Tag, pos_Y_String, record.Y));
    }
  };

  static const tgio_cObjectType _ObjectType;  ///< obty_2DPositionType
  /// Means "no position given"; recognised by its address.
  static const pos_c2DPosition Null;

  /// In the units of the axes.
  constexpr pos_c2DPosition(double x = 0, double y = 0) noexcept : x_(x), y_(y) {}
  /// Copies the coordinates, without receivers.
  pos_c2DPosition(const pos_c2DPosition& other) noexcept : pos_c2DPosition(other.x_, other.y_) {}
  /// Sets the coordinates, with messages and limits like any other change.
  pos_c2DPosition& operator=(const pos_c2DPosition& other);

  /// A coordinate.
  double X() const noexcept { return x_; }
  double Y() const noexcept { return y_; }
  /// Sets both coordinates at once; does nothing when they already have these values, except that zeros
  /// without receivers get the signs of `x` and `y`.
  virtual void SetPosition(double x, double y);
  /// Adds to the coordinates with one call of SetPosition.
  virtual void Move(double dx, double dy);

  /// Coordinate by coordinate.
  pos_c2DPosition operator+(const pos_c2DPosition& other) const noexcept {
    return {x_ + other.x_, y_ + other.y_};
  }
  /// Coordinate by coordinate.
  pos_c2DPosition operator-(const pos_c2DPosition& other) const noexcept {
    return {x_ - other.x_, y_ - other.y_};
  }
  /// Exact comparison, without tolerance.
  int operator==(const pos_c2DPosition& other) const noexcept { return x_ == other.x_ && y_ == other.y_; }
  int operator!=(const pos_c2DPosition& other) const noexcept { return !(*this == other); }
  /// Whether this is the object `Null` itself.
  type_cBoolean IsNull() const noexcept { return this == &Null; }

 protected:
  /// Sets the coordinates without messages and limits, for derived classes without receivers.
  void Take(double x, double y) noexcept {
    if (owner_ != nullptr) owner_->PositionChanges(*this);
    x_ = x;
    y_ = y;
  }

 private:
  friend class detail::Persistent<pos_c2DPosition>;
  friend class pos_c2DPositionList;
  friend class detail::OwnedCenter<pos_c2DPosition>;

  void Take(const pos_c2DPosition& other) noexcept { Take(other.x_, other.y_); }

  sPositionData ToRecord() const {
    sPositionData record;
    record.X = x_;
    record.Y = y_;
    return record;
  }
  void FromRecord(const sPositionData& record) { SetPosition(record.X, record.Y); }

  double x_;
  double y_;
  detail::PositionOwner* owner_ = nullptr;  // the list that owns it
};

/// The length of the segment from a to b.
DATASTORAGE_EXPORT double pos_Distance(const pos_c2DPosition& a, const pos_c2DPosition& b) noexcept;

/// The direction from a to b in radians, -pi to pi, counter-clockwise from the X axis (Y points up); 0 when
/// the positions coincide.
DATASTORAGE_EXPORT double pos_Angle(const pos_c2DPosition& a, const pos_c2DPosition& b) noexcept;

/// The payload of the messages of a 2D position.
struct DATASTORAGE_EXPORT pos_s2DPositionChange : public mesg_sMessageData {
  pos_c2DPosition OldPosition;  ///< as it was before the change
  pos_c2DPosition NewPosition;  ///< the proposal, which receivers may change
  bool Modified = false;        ///< set by a receiver that changed the proposal

  pos_s2DPositionChange(const pos_s2DPositionChange&) = default;
  pos_s2DPositionChange& operator=(const pos_s2DPositionChange&) = default;

 private:
  friend class pos_c2DPosition;
  pos_s2DPositionChange(const pos_c2DPosition& from, double x, double y) noexcept
      : OldPosition(from), NewPosition(x, y) {}
  ~pos_s2DPositionChange() override;
};
