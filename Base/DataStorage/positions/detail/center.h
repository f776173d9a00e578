#pragma once

#include <DataStorage/interfaces/detail/scopedvalue.h>
#include <DataStorage/interfaces/mesg.h>

namespace detail {

struct ChangeMessages;
struct RangeChange;

/// The centre of a range or of a list of positions: a position that callers may move, limit and attach
/// receivers to. The owner is attached as its last receiver when the centre is first returned to a caller;
/// before that, only the owner can move it.
template <class Position>
class OwnedCenter {
 public:
  /// A centre at these coordinates.
  template <class... Coordinates>
  constexpr explicit OwnedCenter(Coordinates... coordinates) noexcept : position_(coordinates...) {}
  OwnedCenter(const OwnedCenter&) = delete;
  OwnedCenter& operator=(const OwnedCenter&) = delete;

  const Position& operator*() const noexcept { return position_; }
  const Position* operator->() const noexcept { return &position_; }
  /// Returns the centre to a caller, with `owner` attached to it.
  Position& GiveOut(mesg_cReceiver& owner) {
    if (!attached_) position_.AddReceiver(owner, mesg_LowestPriority);
    attached_ = true;
    return position_;
  }

  /// Whether callers may hold a reference to the centre.
  bool bGivenOut() const noexcept { return attached_; }
  /// Takes over coordinates without messages. Requires that the centre was not given out.
  void Take(const Position& to) noexcept { position_.Take(to); }
  /// Whether `sender` is the centre.
  bool bSends(const mesg_cSender& sender) const noexcept { return &sender == &position_; }
  /// Whether the centre has receivers other than the owner.
  bool bHeard(const mesg_cReceiver& owner) const noexcept { return position_.bHasReceiversBeside(owner); }
  /// Set while the owner itself moves positions that it is attached to: it then ignores their messages.
  bool bQuiet() const noexcept { return quiet_; }
  ScopedValue<bool> Quiet() noexcept { return {quiet_, true}; }

  /// Moves the centre with messages and limits like any other change; the owner ignores the messages.
  template <class Owner>
  void Move(Owner& owner, const Position& to);
  /// Offers a change of the owner, with the centre moved along, until no receiver changes the proposal any
  /// more, at most 10 times; returns false when that was not enough. `proposal` is that of `change`; `adopt`
  /// applies it.
  template <class Owner, class Change, class Adopt>
  bool Negotiate(Owner& owner, const ChangeMessages& messages, Change& change, Owner& proposal, Adopt adopt);

 private:
  Position position_;
  bool attached_ = false;
  bool quiet_ = false;
};

}  // namespace detail
