#pragma once

#include <cstddef>
#include <initializer_list>
#include <string>

#include "bench.h"

// Messages to a number of receivers that do next to nothing. A `Sender` has:
//   Sender(std::size_t receivers)
//   Send(id)             sends one message
//   Change(x)            moves a position to (x, 0), with a message before and one after

template <class Sender>
void Send(benchmark::State& state, std::size_t receivers) {
  Sender sender(receivers);
  for (auto _ : state) {
    benchmark::DoNotOptimize(&sender);
    sender.Send(1);
  }
  SetItems(state, 1);
}

template <class Sender>
void ChangePosition(benchmark::State& state, std::size_t receivers) {
  Sender sender(receivers);
  double x = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(&sender);
    sender.Change(x += 1);
    benchmark::ClobberMemory();
  }
  SetItems(state, 1);
}

template <class Sender>
void RegisterMessages(const char* who) {
  for (const std::size_t receivers : std::initializer_list<std::size_t>{0, 1, 10}) {
    Register("H/send/" + std::to_string(receivers), who, Send<Sender>, receivers);
    Register("H/position_change/" + std::to_string(receivers), who, ChangePosition<Sender>, receivers);
  }
}

/// A payload like that of a position change.
struct PlainChange {
  double from[2];
  double to[2];
  bool modified;
};

/// For peers that have signals but no positions. `Signal` is called with an id and a payload.
template <class Signal>
class SignalSender {
 public:
  explicit SignalSender(std::size_t receivers) {
    for (std::size_t i = 0; i < receivers; ++i)
      signal_.connect([this](unsigned long id, PlainChange*) { sum_ += id; });
  }
  void Send(unsigned long id) { signal_(id, nullptr); }
  void Change(double x) {
    PlainChange change{{position_[0], position_[1]}, {x, 0}, false};
    signal_(1, &change);
    position_[0] = change.to[0];
    position_[1] = change.to[1];
    signal_(2, &change);
  }

 private:
  Signal signal_;
  double position_[2] = {0, 0};
  unsigned long sum_ = 0;
};
