#pragma once

#include <exception>
#include <typeinfo>

#include <DataStorage/interfaces/mesg.h>
#include <DataStorage/interfaces/scopedvalue.h>

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

/// Offers until nobody rewrites the proposal any more, 10 times at most; false when that was not enough.
/// Before each offer `fit` brings the proposal and the centre together; `undo` puts the centre back when an
/// exception ends the negotiation. Receivers keep `Modified` themselves: it is not reset between offers.
template <class Change, class Fit, class Undo, class Adopt>
bool Negotiate(mesg_cSender& sender, const ChangeMessages& messages, Change& change, Fit fit, Undo undo,
               Adopt adopt) {
  for (int attempt = 0; attempt < 10; ++attempt) {
    {
      const OnException guard(undo);
      fit();
      sender.SendMessage(messages.changing, &change);
    }
    if (change.Modified) continue;
    adopt();
    sender.SendMessage(messages.changed, &change);
    return true;
  }
  return false;
}

}  // namespace detail
