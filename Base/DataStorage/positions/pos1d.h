#pragma once

#include <DataStorage/interfaces/constants.h>
#include <DataStorage/interfaces/mesg.h>
#include <DataStorage/interfaces/persistent.h>
#include <DataStorage/positions/detail/center.h>

struct pos_s1DPositionChange;

/// A position on one axis, in physical units, that tells its receivers of every change.
///
/// A new value is first offered (`pos_1DPositionChanging`): a receiver may limit it by rewriting the
/// payload's NewPosition and setting Modified. The value then adopted is announced (`pos_1DPositionChanged`),
/// also when a limit has set it back to the old one. Both messages go through the virtual SendMessage, also
/// where there are no receivers. Copies have no receivers. A receiver may destroy the position whose message
/// it is being given; the change ends there. When a receiver throws, the exception reaches the caller; the
/// position keeps the value that it has by then.
class DATASTORAGE_EXPORT pos_c1DPosition : public detail::Persistent<pos_c1DPosition>, public mesg_cSender {
 public:
  /// The coordinate as it is read from a tagged stream; 0 where the stream does not hold it.
  struct DATASTORAGE_EXPORT sPositionData : public detail::Record<sPositionData> {
    double X = 0;  ///< in the units of the axis
    /// The atoms, in the order in which they are written.
    static auto Fields(auto& record) { return std::tuple(detail::Atom(pos_X_Tag, pos_X_String, record.X)); }
  };

  static const tgio_cObjectType _ObjectType;  ///< obty_1DPositionType
  /// Stands for "no position given"; recognised by its identity.
  static const pos_c1DPosition Null;

  /// In the units of the axis.
  constexpr pos_c1DPosition(double x = 0) noexcept : x_(x) {}
  /// At the same place, without the receivers.
  pos_c1DPosition(const pos_c1DPosition& other) noexcept : pos_c1DPosition(other.x_) {}
  /// A change like any other, with messages and limits.
  pos_c1DPosition& operator=(const pos_c1DPosition& other);

  /// The coordinate.
  double X() const noexcept { return x_; }
  /// Changes the coordinate; does nothing when it has that value already, except that a zero takes the sign
  /// of the given one where there are no receivers.
  virtual void SetX(double x);

  /// Coordinate by coordinate.
  pos_c1DPosition operator+(const pos_c1DPosition& other) const noexcept { return x_ + other.x_; }
  /// Coordinate by coordinate.
  pos_c1DPosition operator-(const pos_c1DPosition& other) const noexcept { return x_ - other.x_; }
  /// Exact, without tolerance.
  int operator==(const pos_c1DPosition& other) const noexcept { return x_ == other.x_; }
  int operator!=(const pos_c1DPosition& other) const noexcept { return !(*this == other); }
  /// Whether this is the object `Null` itself.
  type_cBoolean IsNull() const noexcept { return this == &Null; }

 private:
  friend class detail::Persistent<pos_c1DPosition>;
  friend class detail::OwnedCenter<pos_c1DPosition>;

  /// Takes the coordinate over without messages and limits.
  void Take(const pos_c1DPosition& other) noexcept { x_ = other.x_; }

  sPositionData ToRecord() const {
    sPositionData record;
    record.X = x_;
    return record;
  }
  void FromRecord(const sPositionData& record) { SetX(record.X); }

  double x_;
};

extern template class detail::Persistent<pos_c1DPosition>;

/// What a 1D position sends with its messages.
struct DATASTORAGE_EXPORT pos_s1DPositionChange : public mesg_sMessageData {
  pos_c1DPosition OldPosition;  ///< the one that changes
  pos_c1DPosition NewPosition;  ///< the proposal, which receivers may rewrite
  bool Modified = false;        ///< set by a receiver that has rewritten the proposal

  pos_s1DPositionChange(const pos_s1DPositionChange&) = default;
  pos_s1DPositionChange& operator=(const pos_s1DPositionChange&) = default;

 private:
  friend class pos_c1DPosition;
  pos_s1DPositionChange(const pos_c1DPosition& from, const pos_c1DPosition& to) noexcept
      : OldPosition(from), NewPosition(to) {}
  ~pos_s1DPositionChange() override;
};
