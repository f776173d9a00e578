#pragma once

#include "test.h"
#include <DataStorage/interfaces/expt.h>
#include <DataStorage/interfaces/mesg.h>

/// A receiver that logs its messages (even identifiers are offers, 'o', odd ones announcements, 'a') and runs
/// the actions of the test: limit, refuse, throw, detach ... `Change` is the payload of the sender.
template <class Change>
class Watcher : public mesg_cReceiver {
 public:
  using Action = std::function<void(Change&)>;

  explicit Watcher(mesg_cSender& sender, std::string* shared_log = nullptr) : log_(shared_log) {
    sender.AddReceiver(*this, 0xFFFF);
  }
  Watcher& OnOffer(Action action) {
    on_offer_ = std::move(action);
    return *this;
  }
  Watcher& OnAnnouncement(Action action) {
    on_announcement_ = std::move(action);
    return *this;
  }
  /// The messages since the last call.
  std::string Heard() { return std::exchange(own_log_, {}); }

  void ReceiveMessage(unsigned long id, mesg_cSender&, mesg_sMessageData* data) override {
    auto& change = dynamic_cast<Change&>(*data);
    const bool offer = id % 2 == 0;
    own_log_ += offer ? 'o' : 'a';
    if (log_ != nullptr) *log_ += offer ? name.first : name.second;
    const Action action = offer ? on_offer_ : on_announcement_;
    if (action) action(change);  // a copy, as the action may replace itself
  }

  std::pair<char, char> name{'o', 'a'};  // its characters in the shared log

 private:
  std::string own_log_;
  std::string* log_;
  Action on_offer_, on_announcement_;
};

/// Logs the messages that it sends, also without receivers.
template <class Sender>
struct Talker : Sender {
  using Sender::Sender;
  using Sender::operator=;
  type_cBoolean SendMessage(unsigned long id, mesg_sMessageData* data) override {
    log += id % 2 == 0 ? 'o' : 'a';
    return Sender::SendMessage(id, data);
  }
  std::string Heard() { return std::exchange(log, {}); }
  std::string log;
};
/// Logs also those that it receives, as '(' and ')'.
template <class Range>
struct Listener : Talker<Range> {
  using Talker<Range>::Talker;
  using Talker<Range>::operator=;
  void ReceiveMessage(unsigned long id, mesg_cSender& sender, mesg_sMessageData* data) override {
    this->log += id % 2 == 0 ? '(' : ')';
    Range::ReceiveMessage(id, sender, data);
  }
};

/// The exception that receivers in tests throw.
struct Refusal {};

/// Checks a change that the limits on an object and on its centre do not allow.
template <class Function>
void ExpectGivesUp(Function change, const char* file, const char* message) {
  try {
    change();
    ADD_FAILURE() << message;
  } catch (const expt_cUserException& e) {
    EXPECT_STREQ(e.File(), file);
    EXPECT_TRUE(e.Message() == message);
  }
}
