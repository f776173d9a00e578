#pragma once

#include <cmath>
#include <exception>

#include <DataStorage/positions/detail/change.h>
#include <DataStorage/positions/pos1d.h>
#include <DataStorage/positions/pos2d.h>

/// The changes of objects with a centre: ranges and lists of positions. The limits of the object and those of
/// its centre have to agree.
namespace detail {

/// Calls a function when an exception leaves the scope. Exceptions of the function are dropped, so that the
/// first one reaches the caller.
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

/// Whether two centres are equal when a change is negotiated. NaN counts as equal to NaN, because the
/// negotiation would not end otherwise.
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
  if (!bExactly(owner)) GiveOut(owner);  // a derived owner may override ReceiveMessage
  const auto quiet = Quiet();
  if (owner.OwnCenter() == to && !bHeard(owner)) position_.Take(to);  // copies the signs of zeros
  position_ = to;
}

/// How often a change is offered at most.
inline constexpr int MaxOffers = 10;

template <class Position>
template <class Owner, class Change, class Adopt>
bool OwnedCenter<Position>::Negotiate(Owner& owner, const ChangeMessages& messages, Change& change,
                                      Owner& proposal, Adopt adopt) {
  const Position before = owner.OwnCenter();
  const auto undo = [&] { Move(owner, before); };
  for (int offer = 0; offer < MaxOffers; ++offer) {
    {
      const OnException guard(undo);
      const Position wanted = proposal.OwnCenter();
      Move(owner, wanted);
      if (!bSamePlace(position_, wanted)) proposal.MoveTo(position_);
      owner.SendMessage(messages.changing, &change);
    }
    if (change.Modified) continue;  // receivers set and clear it; it is not cleared between offers
    adopt();
    owner.SendMessage(messages.changed, &change);
    return true;
  }
  return false;
}

/// The common part of 1D and 2D ranges, whose values are in `values_`.
struct RangeChange {
  /// Sets the values; returns false when the limits of the range and of its centre are incompatible.
  template <class Change, class Range, class Values>
  static bool Set(Range& range, const Values& values, const ChangeMessages& messages) {
    if (values == range.values_) {
      if (range.bHasReceivers() || range.center_.bHeard(range)) return true;
      range.values_ = values;  // equal but for the signs of zeros
      const Range wanted = Range::Proposal(values);
      if (*wanted.center_ == *range.center_) range.center_.Move(range, *wanted.center_);
      return true;
    }
    Change change(range, Range::Proposal(values));
    return range.center_.Negotiate(range, messages, change, change.NewRange,
                                   [&] { range.values_ = change.NewRange.values_; });
  }

  /// Moves the range with its centre, whose move is offered or, if `made`, has been made.
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
