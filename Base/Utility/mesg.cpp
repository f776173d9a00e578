#include <atomic>
#include <cstdint>
#include <deque>
#include <utility>

#include <DataStorage/interfaces/mesg.h>

#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wdangling-pointer"  // GCC does not see that a Delivery unlinks itself
#endif

namespace detail {

/// How many attachments were made so far, by all senders.
static constinit std::atomic<std::uint64_t> attachments{0};

/// One receiver attached to one sender. It is in the sender's list, which owns it, and in the receiver's, so
/// that each end finds the other in constant time.
struct Attachment {
  static void Make(mesg_cSender& sender, mesg_cReceiver& receiver, unsigned short priority,
                   Attachment* predecessor);
  void Remove() noexcept;

  mesg_cSender* sender;
  mesg_cReceiver* receiver;
  unsigned short priority;
  /// A delivery skips attachments made after it began.
  const std::uint64_t serial = attachments.fetch_add(1, std::memory_order_relaxed);

  Attachment* previous = nullptr;  // in the sender's list
  Attachment* next = nullptr;
  Attachment* previous_sender = nullptr;  // in the receiver's list
  Attachment* next_sender = nullptr;
};

/// A delivery in progress. It records the attachment whose receiver it is calling; removing that attachment
/// sets where to continue. So no list is copied, and advancing does not wait for memory that was just
/// written.
class Delivery {
 public:
  Delivery(const Delivery&) = delete;
  Delivery& operator=(const Delivery&) = delete;
  ~Delivery() {
    if (sender_ != nullptr) sender_->deliveries_ = outer_;
  }

  /// Delivers a message; returns false when the sender was destroyed.
  static bool ToAll(mesg_cSender& sender, unsigned long id, mesg_sMessageData* data) {
    Delivery delivery(sender, sender.deliveries_);
    const std::uint64_t end = attachments.load(std::memory_order_relaxed);
    for (const Attachment* each = sender.receivers_; each != nullptr;) {
      delivery.current_ = each;
      if (each->serial < end) each->receiver->ReceiveMessage(id, sender, data);
      each = delivery.current_ != nullptr ? each->next : delivery.next_;
    }
    return delivery.bEnd();
  }
  /// The same for a sender with one receiver and no other delivery in progress, the most frequent case, in
  /// two thirds of the time.
  static bool ToOne(mesg_cSender& sender, unsigned long id, mesg_sMessageData* data) {
    Delivery delivery(sender, nullptr);
    sender.receivers_->receiver->ReceiveMessage(id, sender, data);
    return delivery.bEnd();
  }

  /// Keeps a message until the outermost delivery has ended.
  void Queue(unsigned long id, std::unique_ptr<mesg_sMessageData> data) {
    if (outer_ != nullptr) return outer_->Queue(id, std::move(data));
    if (queued_ == nullptr) queued_ = std::make_unique<Messages>();
    queued_->push_back({id, std::move(data)});
  }

  static void Removing(const Attachment& removed) noexcept {
    for (Delivery* each = removed.sender->deliveries_; each != nullptr; each = each->outer_) {
      if (each->current_ != &removed && each->next_ != &removed) continue;
      if (each->current_ == &removed) each->current_ = nullptr;
      each->next_ = removed.next;
    }
  }
  static void SenderEnds(const mesg_cSender& sender) noexcept {
    for (Delivery* each = sender.deliveries_; each != nullptr; each = each->outer_) each->sender_ = nullptr;
  }

 private:
  struct Message {
    unsigned long id;
    std::unique_ptr<mesg_sMessageData> data;
  };
  struct Messages : std::deque<Message> {
    [[gnu::noinline]] ~Messages();  // few deliveries have one
  };

  Delivery(mesg_cSender& sender, Delivery* outer) noexcept : sender_(&sender), outer_(outer) {
    sender.deliveries_ = this;
  }
  bool bEnd() {
    if (queued_ != nullptr) SendQueued();
    return sender_ != nullptr;
  }
  [[gnu::cold]] void SendQueued() {
    while (!queued_->empty() && sender_ != nullptr) {
      const Message message = std::move(queued_->front());
      queued_->pop_front();
      sender_->SendMessage(message.id, message.data.get());
    }
  }

  mesg_cSender* sender_;  // null once the sender was destroyed
  Delivery* outer_;
  const Attachment* current_ = nullptr;  // being called; null when it was removed meanwhile
  const Attachment* next_ = nullptr;     // where to continue then
  std::unique_ptr<Messages> queued_;     // of the outermost delivery only
};

Delivery::Messages::~Messages() = default;

void Attachment::Make(mesg_cSender& sender, mesg_cReceiver& receiver, unsigned short priority,
                      Attachment* predecessor) {
  Attachment*& place = predecessor == nullptr ? sender.receivers_ : predecessor->next;
  auto* made = new Attachment{&sender, &receiver, priority};
  made->previous = predecessor;
  made->next = std::exchange(place, made);
  if (made->next != nullptr) made->next->previous = made;

  made->next_sender = std::exchange(receiver.senders_, made);
  if (made->next_sender != nullptr) made->next_sender->previous_sender = made;
}

void Attachment::Remove() noexcept {
  Delivery::Removing(*this);
  (previous == nullptr ? sender->receivers_ : previous->next) = next;
  if (next != nullptr) next->previous = previous;

  (previous_sender == nullptr ? receiver->senders_ : previous_sender->next_sender) = next_sender;
  if (next_sender != nullptr) next_sender->previous_sender = previous_sender;
  delete this;
}

}  // namespace detail

mesg_sMessageData::~mesg_sMessageData() = default;

void mesg_cSender::AddReceiver(mesg_cReceiver& receiver, unsigned short priority) {
  detail::Attachment* predecessor = nullptr;
  for (detail::Attachment* each = receivers_; each != nullptr; each = each->next) {
    if (each->receiver == &receiver) return;
    if (each->priority <= priority) predecessor = each;
  }
  detail::Attachment::Make(*this, receiver, priority, predecessor);
}

void mesg_cSender::RemoveReceiver(mesg_cReceiver& receiver) {
  for (detail::Attachment* each = receivers_; each != nullptr; each = each->next) {
    if (each->receiver == &receiver) return each->Remove();
  }
}

void mesg_cSender::QueueMessage(unsigned long id, std::unique_ptr<mesg_sMessageData> data) {
  if (deliveries_ != nullptr) {
    deliveries_->Queue(id, std::move(data));
  } else {
    SendMessage(id, data.get());
  }
}

type_cBoolean mesg_cSender::SendMessage(unsigned long id, mesg_sMessageData* data) {
  if (receivers_ == nullptr) return true;
  const bool simple = receivers_->next == nullptr && deliveries_ == nullptr;
  return simple ? detail::Delivery::ToOne(*this, id, data) : detail::Delivery::ToAll(*this, id, data);
}

bool mesg_cSender::bHasReceiversBeside(const mesg_cReceiver& receiver) const noexcept {
  return receivers_ != nullptr && (receivers_->receiver != &receiver || receivers_->next != nullptr);
}

void mesg_cSender::DetachAll() noexcept {
  detail::Delivery::SenderEnds(*this);
  while (receivers_ != nullptr) receivers_->Remove();
}

void mesg_cReceiver::DetachAll() noexcept {
  while (senders_ != nullptr) senders_->Remove();
}
