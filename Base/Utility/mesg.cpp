#include <deque>
#include <utility>

#include <DataStorage/interfaces/mesg.h>

#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wdangling-pointer"  // it does not see that a Delivery takes itself out again
#endif

namespace detail {

/// One receiver at one sender. It stands in the sender's list, which owns it, and in the receiver's, so that
/// either end finds the other at once however many there are.
struct Attachment {
  static void Make(mesg_cSender& sender, mesg_cReceiver& receiver, unsigned short priority,
                   Attachment* predecessor);
  void Remove() noexcept;

  mesg_cSender* sender;
  mesg_cReceiver* receiver;
  unsigned short priority;
  int skipped_by;  // this many of the sender's deliveries in progress, the outermost first, began before

  Attachment* previous = nullptr;  // in the sender's list
  Attachment* next = nullptr;
  Attachment* previous_sender = nullptr;  // in the receiver's list
  Attachment* next_sender = nullptr;
};

/// A delivery in progress. It says whom it is telling, and whoever takes that one out of the list says where
/// to go on; so nothing is copied, and going on waits for no memory that was just written.
class Delivery {
 public:
  explicit Delivery(mesg_cSender& sender) noexcept
      : sender_(&sender), outer_(sender.deliveries_), depth_(outer_ == nullptr ? 1 : outer_->depth_ + 1) {
    sender.deliveries_ = this;
  }
  Delivery(const Delivery&) = delete;
  Delivery& operator=(const Delivery&) = delete;
  ~Delivery() {
    if (sender_ == nullptr) return;
    sender_->deliveries_ = outer_;
    if (attached_) ForgetSkipped();
  }

  /// False when the sender has ended.
  bool Run(unsigned long id, mesg_sMessageData* data) {
    mesg_cSender& sender = *sender_;
    const int depth = depth_;
    for (const Attachment* each = sender.receivers_; each != nullptr;) {
      current_ = each;
      if (each->skipped_by < depth) each->receiver->ReceiveMessage(id, sender, data);
      each = current_ != nullptr ? each->next : next_;
    }
    while (queued_ != nullptr && !queued_->empty() && sender_ != nullptr) {
      const Message message = std::move(queued_->front());
      queued_->pop_front();
      sender_->SendMessage(message.id, message.data.get());
    }
    return sender_ != nullptr;
  }

  /// Keeps a message until the outermost delivery has ended.
  void Queue(unsigned long id, std::unique_ptr<mesg_sMessageData> data) {
    if (outer_ != nullptr) return outer_->Queue(id, std::move(data));
    if (queued_ == nullptr) queued_ = std::make_unique<std::deque<Message>>();
    queued_->push_back({id, std::move(data)});
  }

  /// Tells the sender's deliveries that a receiver was attached; returns how many there are.
  static int Attached(const mesg_cSender& sender) noexcept {
    if (sender.deliveries_ == nullptr) return 0;
    sender.deliveries_->attached_ = true;
    return sender.deliveries_->depth_;
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

  /// Receivers attached during this delivery hear the next one; the outer deliveries still skip them.
  void ForgetSkipped() noexcept {
    for (Attachment* each = sender_->receivers_; each != nullptr; each = each->next) {
      if (each->skipped_by == depth_) each->skipped_by = depth_ - 1;
    }
    if (outer_ != nullptr) outer_->attached_ = true;
  }

  mesg_cSender* sender_;  // null once the sender has ended
  Delivery* outer_;
  const Attachment* current_ = nullptr;          // null when it was removed while it was told
  const Attachment* next_ = nullptr;             // what follows it then
  std::unique_ptr<std::deque<Message>> queued_;  // of the outermost delivery only
  int depth_;
  bool attached_ = false;  // a receiver was attached meanwhile
};

void Attachment::Make(mesg_cSender& sender, mesg_cReceiver& receiver, unsigned short priority,
                      Attachment* predecessor) {
  Attachment*& place = predecessor == nullptr ? sender.receivers_ : predecessor->next;
  auto* made = new Attachment{&sender, &receiver, priority, Delivery::Attached(sender)};
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
  return receivers_ == nullptr || detail::Delivery(*this).Run(id, data);
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
