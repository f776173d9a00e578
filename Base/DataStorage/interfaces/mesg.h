#pragma once

#include <memory>

#include <DataStorage/interfaces/export.h>
#include <DataStorage/interfaces/type.h>

class mesg_cSender;
class mesg_cReceiver;

/// The priority of receivers that hear a message after all others.
inline constexpr unsigned short mesg_LowestPriority = 0xFFFF;

/// Base of all message payloads.
struct DATASTORAGE_EXPORT mesg_sMessageData {
  virtual ~mesg_sMessageData();
};

namespace detail {
struct Attachment;
class Delivery;
}  // namespace detail

/// Something that tells its receivers of its changes. Messages are delivered synchronously on the caller's
/// thread, in the order of the priorities (smaller numbers first) and, among equal ones, of attachment.
/// During a delivery receivers may attach or detach themselves or others and may be destroyed: one that is
/// detached is not called any more, one that is attached is called from the next message on. An exception
/// that a receiver throws ends the delivery and reaches the caller of SendMessage. A receiver may even
/// destroy the sender, which ends the delivery too.
///
/// Copies of a sender have no receivers. A sender and its receivers belong to one thread at a time.
class DATASTORAGE_EXPORT mesg_cSender {
 public:
  mesg_cSender() noexcept = default;
  /// A copy has no receivers.
  mesg_cSender(const mesg_cSender&) noexcept : mesg_cSender() {}
  /// Keeps its receivers and takes none.
  mesg_cSender& operator=(const mesg_cSender&) noexcept { return *this; }
  virtual ~mesg_cSender() {
    if (receivers_ != nullptr || deliveries_ != nullptr) DetachAll();
  }

  /// Attaches a receiver, which stays the caller's; one that is attached already stays where it is.
  virtual void AddReceiver(mesg_cReceiver& receiver, unsigned short priority);
  /// Detaches a receiver; one that is not attached is ignored.
  virtual void RemoveReceiver(mesg_cReceiver& receiver);
  /// Delivers a message when the delivery in progress, if any, has ended, in the order of the calls; at once
  /// otherwise. When an exception or the end of the sender ends that delivery, the message is dropped.
  virtual void QueueMessage(unsigned long id, std::unique_ptr<mesg_sMessageData> data);
  /// Delivers a message to every receiver before it returns. Receivers may change the payload. False when one
  /// of them has destroyed the sender. A derived class may override it to hear all messages of its own.
  virtual type_cBoolean SendMessage(unsigned long id, mesg_sMessageData* data);

 protected:
  /// False when a message would reach nobody.
  bool bHasReceivers() const noexcept { return receivers_ != nullptr; }
  /// False when it would reach nobody but this receiver.
  bool bHasReceiversBeside(const mesg_cReceiver& receiver) const noexcept;

 private:
  friend struct detail::Attachment;
  friend class detail::Delivery;
  void DetachAll() noexcept;

  detail::Attachment* receivers_ = nullptr;  // owned, in the order of delivery
  detail::Delivery* deliveries_ = nullptr;   // in progress, the innermost first
};

/// Something that messages are delivered to. It detaches itself everywhere when it is destroyed.
/// A copy is attached nowhere.
class DATASTORAGE_EXPORT mesg_cReceiver {
 public:
  mesg_cReceiver() noexcept = default;
  /// A copy is attached nowhere.
  mesg_cReceiver(const mesg_cReceiver&) noexcept : mesg_cReceiver() {}
  /// Stays attached where it is.
  mesg_cReceiver& operator=(const mesg_cReceiver&) noexcept { return *this; }
  virtual ~mesg_cReceiver() {
    if (senders_ != nullptr) DetachAll();
  }

  /// Called with each message. The payload belongs to the sender and is valid until this returns; a null
  /// pointer where the message has none.
  virtual void ReceiveMessage(unsigned long id, mesg_cSender& sender, mesg_sMessageData* data) = 0;

 private:
  friend struct detail::Attachment;
  void DetachAll() noexcept;

  detail::Attachment* senders_ = nullptr;  // in no order
};
