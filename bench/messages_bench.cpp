#include <benchmark/benchmark.h>
#include <deque>
#include <vector>

#include <DataStorage/interfaces/mesg.h>

namespace {

struct Counter : mesg_cReceiver {
  void ReceiveMessage(unsigned long id, mesg_cSender&, mesg_sMessageData*) override { sum += id; }
  unsigned long sum = 0;
};

void Send(benchmark::State& state) {
  std::deque<Counter> receivers(static_cast<std::size_t>(state.range(0)));
  mesg_cSender sender;
  for (Counter& each : receivers) sender.AddReceiver(each, 0xFFFF);
  for (auto _ : state) {
    benchmark::DoNotOptimize(&sender);
    sender.SendMessage(1, nullptr);
  }
  state.SetItemsProcessed(state.iterations());
}

/// What delivery costs when nobody may change anything meanwhile.
void CallPlainPointers(benchmark::State& state) {
  std::deque<Counter> receivers(static_cast<std::size_t>(state.range(0)));
  mesg_cSender sender;
  std::vector<mesg_cReceiver*> pointers;
  for (Counter& each : receivers) pointers.push_back(&each);
  for (auto _ : state) {
    benchmark::DoNotOptimize(pointers.data());
    for (mesg_cReceiver* each : pointers) each->ReceiveMessage(1, sender, nullptr);
  }
  state.SetItemsProcessed(state.iterations());
}

/// What an object pays that listens to its own part for as long as it lives.
void AttachAndEnd(benchmark::State& state) {
  for (auto _ : state) {
    mesg_cSender sender;
    Counter receiver;
    sender.AddReceiver(receiver, 0xFFFF);
  }
  state.SetItemsProcessed(state.iterations());
}

BENCHMARK(Send)->Name("Messages/Send")->Arg(0)->Arg(1)->Arg(10);
BENCHMARK(CallPlainPointers)->Name("Messages/CallPlainPointers")->Arg(0)->Arg(1)->Arg(10);
BENCHMARK(AttachAndEnd)->Name("Messages/AttachAndEnd");

}  // namespace
