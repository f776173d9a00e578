#include "test.h"
#include <DataStorage/interfaces/mesg.h>

namespace {

struct Sender : mesg_cSender {
  using mesg_cSender::bHasReceivers;
};

struct Receiver : mesg_cReceiver {
  Receiver(char its_name, std::string& its_log) : name(its_name), log(its_log) {}
  void ReceiveMessage(unsigned long id, mesg_cSender&, mesg_sMessageData*) override {
    log += name;
    if (id == 1 && on_first) on_first();
  }
  char name;
  std::string& log;
  std::function<void()> on_first;  // called when message 1 arrives
};

/// Four receivers a to d; a to c are attached in this order.
class Messages : public testing::Test {
 protected:
  Messages() {
    for (char name : {'a', 'b', 'c', 'd'}) receivers.emplace_back(std::in_place, name, log);
    for (int i = 0; i < 3; ++i) Attach(i);
  }
  void Attach(int i, unsigned short priority = 0xFFFF) { sender->AddReceiver(*At(i), priority); }
  void Detach(int i) { sender->RemoveReceiver(*At(i)); }
  std::optional<Receiver>& At(int i) { return receivers[static_cast<std::size_t>(i)]; }
  /// Sends message 1 from within its delivery, with another action of b.
  void Again(std::function<void()> deed) {
    At(1)->on_first = std::move(deed);
    sender->SendMessage(1, nullptr);
  }
  /// The receivers of the message, in order.
  std::string Send(unsigned long id) {
    log.clear();
    const bool alive = sender && sender->SendMessage(id, nullptr);
    EXPECT_EQ(alive, sender.has_value());
    return log;
  }

  std::string log;
  std::optional<Sender> sender{std::in_place};
  std::vector<std::optional<Receiver>> receivers;
};

TEST_F(Messages, GoToEachReceiverOnceInTheOrderOfPriorities) {
  Attach(3, 7);
  Attach(0, 1);  // attached already: keeps its place
  EXPECT_EQ(Send(1), "dabc");
  Sender copy(*sender);
  EXPECT_FALSE(copy.bHasReceivers());
  for (int i = 0; i < 4; ++i) Detach(i);
  Detach(0);
  EXPECT_FALSE(sender->bHasReceivers());
}

TEST_F(Messages, SurviveWhateverAReceiverDoes) {
  struct Case {
    std::function<void()> deed;  // of b on message 1, with a before and c after it
    const char* first;           // the receivers of message 1
    const char* next;            // the receivers of message 2 afterwards
  };
  const std::vector<Case> cases = {
      {[&] { Detach(0), Detach(1); }, "abc", "c"},
      {[&] { Detach(2); }, "ab", "ab"},
      {[&] { Attach(3, 0); }, "abc", "dabc"},
      {[&] { Detach(2), Attach(2); }, "ab", "abc"},
      {[&] { Attach(3), sender->SendMessage(2, nullptr); }, "ababcdc", "abcd"},
      {[&] { Detach(1), sender->SendMessage(2, nullptr), Attach(1), Attach(3); }, "abacc", "acbd"},
      {[&] { sender->QueueMessage(2, nullptr), Attach(3); }, "abcabcd", "abcd"},
      {[&] { Again([&] { Attach(3); }), sender->SendMessage(2, nullptr); }, "ababcabcdc", "abcd"},
      {[&] { Again([&] { sender->QueueMessage(2, nullptr); }); }, "ababccabc", "abc"},
      {[&] { At(1).reset(); }, "abc", "ac"},
      {[&] { At(0).reset(), At(2).reset(); }, "ab", "b"},
      {[&] { sender.reset(); }, "ab", ""},
      {[&] { sender->QueueMessage(2, nullptr), sender.reset(); }, "ab", ""},
  };
  for (std::size_t i = 0; i < cases.size(); ++i) {
    SCOPED_TRACE(i);
    receivers.clear();
    sender.emplace();
    for (char name : {'a', 'b', 'c', 'd'}) receivers.emplace_back(std::in_place, name, log);
    for (int each = 0; each < 3; ++each) Attach(each);
    const auto deed = cases[i].deed;
    At(1)->on_first = [&deed] { deed(); };  // outlives its receiver
    EXPECT_EQ(Send(1), cases[i].first);
    EXPECT_EQ(Send(2), cases[i].next);
  }
}

TEST_F(Messages, StayInOrderAfterAReceiverThrew) {
  At(1)->on_first = [&] {
    Attach(3);
    sender->QueueMessage(2, nullptr);
    throw std::runtime_error("no");
  };
  EXPECT_THROW(Send(1), std::runtime_error);
  EXPECT_EQ(log, "ab");
  EXPECT_EQ(Send(2), "abcd");
}

TEST_F(Messages, ReachReceiversOfManySendersAndThoseEndInAnyOrder) {
  std::vector<Sender> senders(10000);
  for (Sender& each : senders) each.AddReceiver(*At(3), 0xFFFF), each.AddReceiver(*At(2), 0xFFFF);
  senders.erase(senders.end() - 5000, senders.end());
  senders[17].SendMessage(2, nullptr);
  EXPECT_EQ(log, "dc");
  At(3).reset();
  EXPECT_TRUE(senders[17].bHasReceivers());
  At(2).reset();
  EXPECT_FALSE(senders[17].bHasReceivers());
}

}  // namespace
