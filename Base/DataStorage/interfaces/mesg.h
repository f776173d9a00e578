#pragma once

#include <memory>

#include <DataStorage/interfaces/export.h>
#include <DataStorage/interfaces/type.h>

class mesg_cSender;
class mesg_cReceiver;

/// The priority of receivers that get a message after all others.
inline constexpr unsigned short mesg_LowestPriority = 0xFFFF;

/// Base of all message payloads.
struct DATASTORAGE_EXPORT mesg_sMessageData {
  virtual ~mesg_sMessageData();
};

namespace detail {
struct Attachment;
class Delivery;
}  // namespace detail

/// An object that sends messages, mostly about its changes, to its receivers. Messages are delivered
/// synchronously on the caller's thread, in the order of the priorities (smaller numbers first) and, among
/// equal ones, of attachment. During a delivery receivers may attach or detach themselves or others and may
/// be destroyed: a detached one is no longer called, an attached one is called from the next message on. An
/// exception from a receiver ends the delivery and reaches the caller of SendMessage. A receiver may destroy
/// the sender, which also ends the delivery.
///
/// Copies of a sender have no receivers. Distinct objects may be used from different threads; one object, or
/// a sender and its receivers, from one thread at a time.
class DATASTORAGE_EXPORT mesg_cSender {
 public:
  mesg_cSender() noexcept = default;
  /// A copy has no receivers.
  mesg_cSender(const mesg_cSender&) noexcept : mesg_cSender() {}
  /// Keeps its receivers and copies none.
  mesg_cSender& operator=(const mesg_cSender&) noexcept { return *this; }
  virtual ~mesg_cSender() {
    if (receivers_ != nullptr || deliveries_ != nullptr) DetachAll();
  }

  /// Attaches a receiver, which the caller owns; one that is already attached keeps its priority.
  virtual void AddReceiver(mesg_cReceiver& receiver, unsigned short priority);
  /// Detaches a receiver; does nothing when it is not attached.
  virtual void RemoveReceiver(mesg_cReceiver& receiver);
  /// Delivers a message after the delivery in progress, in the order of the calls; at once when there is
  /// none. The message is dropped when an exception or the destruction of the sender ends that delivery.
  virtual void QueueMessage(unsigned long id, std::unique_ptr<mesg_sMessageData> data);
  /// Delivers a message to every receiver before it returns. Receivers may change the payload. Returns false
  /// when one of them destroyed the sender. A derived class may override it to see every message that it
  /// sends.
  virtual type_cBoolean SendMessage(unsigned long id, mesg_sMessageData* data);

 protected:
  /// Whether any receiver is attached.
  bool bHasReceivers() const noexcept { return receivers_ != nullptr; }
  /// Whether a receiver other than this one is attached.
  bool bHasReceiversBeside(const mesg_cReceiver& receiver) const noexcept;

 private:
  friend struct detail::Attachment;
  friend class detail::Delivery;
  void DetachAll() noexcept;

  detail::Attachment* receivers_ = nullptr;  // owned, in the order of delivery
  detail::Delivery* deliveries_ = nullptr;   // in progress, the innermost first
};

/// An object that messages are delivered to. Its destructor detaches it from all senders. A copy is not
/// attached to any.
class DATASTORAGE_EXPORT mesg_cReceiver {
 public:
  mesg_cReceiver() noexcept = default;
  /// A copy is not attached to any sender.
  mesg_cReceiver(const mesg_cReceiver&) noexcept : mesg_cReceiver() {}
  /// Keeps its own attachments.
  mesg_cReceiver& operator=(const mesg_cReceiver&) noexcept { return *this; }
  virtual ~mesg_cReceiver() {
    if (senders_ != nullptr) DetachAll();
  }

  /// Called with each message. The payload belongs to the sender and is valid until this returns; null when
  /// the message has none.
  virtual void ReceiveMessage(unsigned long id, mesg_cSender& sender, mesg_sMessageData* data) = 0;

 private:
  friend struct detail::Attachment;
  void DetachAll() noexcept;

  detail::Attachment* senders_ = nullptr;  // in no order
};
