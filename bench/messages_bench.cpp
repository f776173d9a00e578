// H: messages, and position changes with their two messages.

#include <deque>
#include <vector>

#include "messages.h"
#include <DataStorage/positions/poslist.h>

namespace {

struct Counter : mesg_cReceiver {
  void ReceiveMessage(unsigned long id, mesg_cSender&, mesg_sMessageData*) override { sum += id; }
  unsigned long sum = 0;
};

class OurSender {
 public:
  explicit OurSender(std::size_t receivers) : receivers_(receivers) {
    for (Counter& each : receivers_) position_.AddReceiver(each, 0xFFFF);
  }
  void Send(unsigned long id) { position_.SendMessage(id, nullptr); }
  void Change(double x) { position_.SetPosition(x, 0); }

 private:
  std::deque<Counter> receivers_;
  pos_c2DPosition position_;
};

constexpr int points = 10000;

void Fill(pos_c2DPositionList& list) {
  for (int i = 0; i < points; ++i) list.AddAtTail(new pos_c2DPosition(i % 173, i % 37));
}

void BuildList(benchmark::State& state) {
  for (auto _ : state) {
    pos_c2DPositionList list;
    Fill(list);
  }
  SetItems(state, points);
}
void BuildListAtHead(benchmark::State& state) {
  for (auto _ : state) {
    pos_c2DPositionList list;
    for (int i = 0; i < points; ++i) list.AddAtHead(new pos_c2DPosition(i % 173, i % 37));
  }
  SetItems(state, points);
}
void BuildPlainList(benchmark::State& state) {
  for (auto _ : state) {
    std::vector<std::unique_ptr<pos_c2DPosition>> list;
    for (int i = 0; i < points; ++i) list.push_back(std::make_unique<pos_c2DPosition>(i % 173, i % 37));
    benchmark::DoNotOptimize(list.data());
  }
  SetItems(state, points);
}

/// Moves each position of a list without receivers.
void MoveEachPosition(benchmark::State& state) {
  pos_c2DPositionList list;
  Fill(list);
  for (auto _ : state) {
    for (pos_c2DPosition* each : list) each->Move(1, 0);
  }
  SetItems(state, points);
}

/// Moves the centre of a list that has a receiver, and with it every point.
void MoveList(benchmark::State& state) {
  pos_c2DPositionList list;
  Fill(list);
  Counter listener;
  list.AddReceiver(listener, 0xFFFF);
  for (auto _ : state) list.Center().Move(1, 0);
  SetItems(state, points);
}

[[maybe_unused]] const bool registered = [] {
  RegisterMessages<OurSender>("ours");
  Register("H/build_position_list/10000", "ours", BuildList);
  Register("H/build_position_list/10000", "heap", BuildPlainList);
  Register("H/build_position_list_at_head/10000", "ours", BuildListAtHead);
  Register("H/build_position_list_at_head/10000", "heap", BuildPlainList);
  Register("H/move_position_list/10000", "ours", MoveList);
  Register("H/move_each_position/10000", "ours", MoveEachPosition);
  return true;
}();

}  // namespace
