#pragma once

#include <cmath>
#include <exception>
#include <typeinfo>

#include <DataStorage/positions/pos1d.h>
#include <DataStorage/positions/pos2d.h>

/// How positions, ranges and lists of positions change: every change is offered to the receivers before it
/// happens and announced afterwards, with one payload that holds the old object, the proposal and the flag
/// `Modified`, which a receiver sets when it has rewritten the proposal.
namespace detail {

/// The messages of one class.
struct ChangeMessages {
  unsigned long changing;
  unsigned long changed;
};

/// Whether an object is of this class itself. One of a derived class may override SendMessage or
/// ReceiveMessage, and then hears what without receivers reaches nobody else.
template <class Class>
bool bExactly(const Class& object) noexcept {
  return typeid(object) == typeid(Class);
}

/// Runs a function when the scope is left by an exception. What the function throws is dropped: the first
/// exception is the one to tell.
template <class Function>
class OnException {
 public:
  explicit OnException(Function& function) : function_(function) {}
  OnException(const OnException&) = delete;
  OnException& operator=(const OnException&) = delete;
  ~OnException() {
    if (std::uncaught_exceptions() == before_) return;
    try {
      function_();
    } catch (...) {
    }
  }

 private:
  Function& function_;
  int before_ = std::uncaught_exceptions();
};

/// One offer. `adopt` takes the proposal over; it is not called when a receiver has destroyed the sender.
template <class Change, class Adopt>
void Announce(mesg_cSender& sender, const ChangeMessages& messages, Change& change, Adopt adopt) {
  if (!sender.SendMessage(messages.changing, &change)) return;
  adopt();
  sender.SendMessage(messages.changed, &change);
}

/// Whether two centres are the same for the negotiation of a change: coordinates that are not numbers count
/// as equal there, as it would not end otherwise.
inline bool bSamePlace(double a, double b) noexcept { return a == b || (std::isnan(a) && std::isnan(b)); }
inline bool bSamePlace(const pos_c1DPosition& a, const pos_c1DPosition& b) noexcept {
  return bSamePlace(a.X(), b.X());
}
inline bool bSamePlace(const pos_c2DPosition& a, const pos_c2DPosition& b) noexcept {
  return bSamePlace(a.X(), b.X()) && bSamePlace(a.Y(), b.Y());
}

template <class Position>
template <class Owner>
void OwnedCenter<Position>::Move(Owner& owner, const Position& to) {
  if (!bExactly(owner)) GiveOut(owner);  // a derived owner may want to hear of it
  const auto quiet = Quiet();
  if (position_ == to && !bHeard(owner)) position_.Take(to);  // the signs of zeros
  position_ = to;
}

/// How often a change is offered.
inline constexpr int MaxOffers = 10;

template <class Position>
template <class Owner, class Change, class Adopt>
bool OwnedCenter<Position>::Negotiate(Owner& owner, const ChangeMessages& messages, Change& change,
                                      Owner& proposal, Adopt adopt) {
  const Position before = position_;
  const auto undo = [&] { Move(owner, before); };
  for (int offer = 0; offer < MaxOffers; ++offer) {
    {
      const OnException guard(undo);
      const Position wanted = *proposal.center_;
      Move(owner, wanted);
      if (!bSamePlace(position_, wanted)) proposal.MoveTo(position_);
      owner.SendMessage(messages.changing, &change);
    }
    if (change.Modified) continue;  // receivers keep it themselves: it is not reset between offers
    adopt();
    owner.SendMessage(messages.changed, &change);
    return true;
  }
  return false;
}

/// What ranges of one and of two dimensions have in common. Their values stand in `values_`.
struct RangeChange {
  /// Sets the values; false when the limits of the range and of its centre do not agree.
  template <class Change, class Range, class Values>
  static bool Set(Range& range, const Values& values, const ChangeMessages& messages) {
    if (values == range.values_) {
      if (range.bHasReceivers() || range.center_.bHeard(range)) return true;
      range.values_ = values;  // the same but for the signs of zeros
      const Range wanted = Range::Proposal(values);
      if (*wanted.center_ == *range.center_) range.center_.Move(range, *wanted.center_);
      return true;
    }
    Change change(range, Range::Proposal(values));
    return range.center_.Negotiate(range, messages, change, change.NewRange,
                                   [&] { range.values_ = change.NewRange.values_; });
  }

  /// Follows a move of the centre that is offered or has been made.
  template <class Change, class Range, class Move>
  static void Follow(Range& range, Move& move, bool made, const ChangeMessages& messages) {
    const auto values = range.ValuesMoved(move.NewPosition - move.OldPosition);
    Change change(range, Range::Proposal(values));
    if (made) {
      range.values_ = values;
      range.SendMessage(messages.changed, &change);
    } else if (!move.Modified) {
      range.SendMessage(messages.changing, &change);
      if (!change.Modified) return;
      move.NewPosition = change.NewRange.Middle();
      move.Modified = true;
    }
  }
};

}  // namespace detail
