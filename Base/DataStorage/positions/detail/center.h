#pragma once

#include <DataStorage/interfaces/detail/scopedvalue.h>
#include <DataStorage/interfaces/mesg.h>

namespace detail {

struct ChangeMessages;
struct RangeChange;

/// The centre of a range or of a list of positions: a position of its own, which callers may move, limit and
/// listen to. The owner listens to it behind all others, from the first time on that it is given out; before,
/// nobody else can move it.
template <class Position>
class OwnedCenter {
 public:
  /// At these coordinates.
  template <class... Coordinates>
  constexpr explicit OwnedCenter(Coordinates... coordinates) noexcept : position_(coordinates...) {}
  OwnedCenter(const OwnedCenter&) = delete;
  OwnedCenter& operator=(const OwnedCenter&) = delete;

  const Position& operator*() const noexcept { return position_; }
  const Position* operator->() const noexcept { return &position_; }
  /// For callers.
  Position& GiveOut(mesg_cReceiver& owner) {
    if (!attached_) position_.AddReceiver(owner, mesg_LowestPriority);
    attached_ = true;
    return position_;
  }

  /// Whether a message comes from the centre.
  bool bSends(const mesg_cSender& sender) const noexcept { return &sender == &position_; }
  /// Whether somebody beside the owner would hear of a move.
  bool bHeard(const mesg_cReceiver& owner) const noexcept { return position_.bHasReceiversBeside(owner); }
  /// While the owner itself moves what it listens to, it does not react.
  bool bQuiet() const noexcept { return quiet_; }
  ScopedValue<bool> Quiet() noexcept { return {quiet_, true}; }

  /// Moves the centre as a change like any other, to which the owner does not react.
  template <class Owner>
  void Move(Owner& owner, const Position& to);
  /// Offers a change of the owner, with the centre moved along, until nobody rewrites the proposal any more,
  /// 10 times at most; false when that was not enough. `adopt` takes over the proposal, which is that of
  /// `change`.
  template <class Owner, class Change, class Adopt>
  bool Negotiate(Owner& owner, const ChangeMessages& messages, Change& change, Owner& proposal, Adopt adopt);

 private:
  Position position_;
  bool attached_ = false;
  bool quiet_ = false;
};

}  // namespace detail
