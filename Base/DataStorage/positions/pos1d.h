#pragma once

#include <DataStorage/interfaces/constants.h>
#include <DataStorage/interfaces/mesg.h>
#include <DataStorage/interfaces/persistent.h>
#include <DataStorage/positions/detail/center.h>

struct pos_s1DPositionChange;

class DATASTORAGE_EXPORT pos_c1DPosition;
DATASTORAGE_EXTERN(detail::Persistent<pos_c1DPosition>);

/// A position on one axis, in physical units, that notifies its receivers of every change.
///
/// A new value is first offered (`pos_1DPositionChanging`): a receiver may limit it by changing the payload's
/// NewPosition and setting Modified. The adopted value is then announced (`pos_1DPositionChanged`), also when
/// a limit has restored the old one. Both messages are sent with the virtual SendMessage, also in derived
/// classes without receivers. Copies have no receivers. A receiver may destroy the position while it handles
/// its message, which ends the change. When a receiver throws, the exception reaches the caller; the position
/// keeps its value of that moment.
class DATASTORAGE_EXPORT pos_c1DPosition : public detail::Persistent<pos_c1DPosition>, public mesg_cSender {
 public:
  /// The coordinate as read from a tagged stream; 0 where the stream does not hold it.
  struct DATASTORAGE_EXPORT sPositionData : public detail::Record<sPositionData> {
    double X = 0;  ///< in the units of the axis
    /// The atoms, in the order in which they are written.
    static auto Fields(auto& record) { return std::tuple(detail::Atom(pos_X_Tag, pos_X_String, record.X)); }
  };

  static const tgio_cObjectType _ObjectType;  ///< obty_1DPositionType
  /// Means "no position given"; recognised by its address.
  static const pos_c1DPosition Null;

  /// In the units of the axis.
  constexpr pos_c1DPosition(double x = 0) noexcept : x_(x) {}
  /// Copies the coordinate, without receivers.
  pos_c1DPosition(const pos_c1DPosition& other) noexcept : pos_c1DPosition(other.x_) {}
  /// Sets the coordinate, with messages and limits like any other change.
  pos_c1DPosition& operator=(const pos_c1DPosition& other);

  /// The coordinate.
  double X() const noexcept { return x_; }
  /// Sets the coordinate; does nothing when it already has that value, except that a zero without receivers
  /// gets the sign of `x`.
  virtual void SetX(double x);

  /// Coordinate by coordinate.
  pos_c1DPosition operator+(const pos_c1DPosition& other) const noexcept { return x_ + other.x_; }
  /// Coordinate by coordinate.
  pos_c1DPosition operator-(const pos_c1DPosition& other) const noexcept { return x_ - other.x_; }
  /// Exact comparison, without tolerance.
  int operator==(const pos_c1DPosition& other) const noexcept { return x_ == other.x_; }
  int operator!=(const pos_c1DPosition& other) const noexcept { return !(*this == other); }
  /// Whether this is the object `Null` itself.
  type_cBoolean IsNull() const noexcept { return this == &Null; }

 private:
  friend class detail::Persistent<pos_c1DPosition>;
  friend class detail::OwnedCenter<pos_c1DPosition>;

  /// Copies the coordinate without messages and limits.
  void Take(const pos_c1DPosition& other) noexcept { x_ = other.x_; }

  sPositionData ToRecord() const {
    sPositionData record;
    record.X = x_;
    return record;
  }
  void FromRecord(const sPositionData& record) { SetX(record.X); }

  double x_;
};

/// The payload of the messages of a 1D position.
struct DATASTORAGE_EXPORT pos_s1DPositionChange : public mesg_sMessageData {
  pos_c1DPosition OldPosition;  ///< as it was before the change
  pos_c1DPosition NewPosition;  ///< the proposal, which receivers may change
  bool Modified = false;        ///< set by a receiver that changed the proposal

  pos_s1DPositionChange(const pos_s1DPositionChange&) = default;
  pos_s1DPositionChange& operator=(const pos_s1DPositionChange&) = default;

 private:
  friend class pos_c1DPosition;
  pos_s1DPositionChange(const pos_c1DPosition& from, double x) noexcept : OldPosition(from), NewPosition(x) {}
  ~pos_s1DPositionChange() override;
};
