#pragma once

#include <typeinfo>

#include <DataStorage/interfaces/mesg.h>

/// How positions, ranges and lists of positions change: every change is offered to the receivers before it
/// happens and announced afterwards, with one payload that holds the old object, the proposal and the flag
/// `Modified`, which a receiver sets when it changes the proposal.
namespace detail {

/// The message identifiers of one class.
struct ChangeMessages {
  unsigned long changing;
  unsigned long changed;
};

/// Whether an object is of exactly this class. A derived class may override SendMessage or ReceiveMessage, so
/// its messages are sent even without receivers.
template <class Class>
bool bExactly(const Class& object) noexcept {
  return typeid(object) == typeid(Class);
}

/// Offers a change once, applies the proposal with `adopt` and announces it. Stops when a receiver destroys
/// the sender.
template <class Change, class Adopt>
void Announce(mesg_cSender& sender, const ChangeMessages& messages, Change& change, Adopt adopt) {
  if (!sender.SendMessage(messages.changing, &change)) return;
  adopt();
  sender.SendMessage(messages.changed, &change);
}

}  // namespace detail
