#include <benchmark/benchmark.h>
#include <deque>
#include <functional>
#include <iterator>
#include <memory>
#include <sstream>
#include <vector>

#include <DataStorage/positions/poslist.h>
#include <DataStorage/positions/range2d.h>

namespace {

struct Listener : mesg_cReceiver {
  void ReceiveMessage(unsigned long id, mesg_cSender&, mesg_sMessageData*) override { sum += id; }
  unsigned long sum = 0;
};

/// As many listeners as the benchmark asks for.
class Listeners {
 public:
  Listeners(benchmark::State& state, mesg_cSender& sender) : all_(static_cast<std::size_t>(state.range(0))) {
    for (Listener& each : all_) sender.AddReceiver(each, 0xFFFF);
  }

 private:
  std::deque<Listener> all_;
};

void Change(benchmark::State& state) {
  pos_c2DPosition position;
  const Listeners listeners(state, position);
  double x = 0;
  for (auto _ : state) {
    position.SetPosition(x += 1, 0);
    benchmark::DoNotOptimize(&position);
  }
  state.SetItemsProcessed(state.iterations());
}

/// The same two calls for each listener, when nobody may change anything meanwhile.
void ChangeByPlainCalls(benchmark::State& state) {
  struct Change {
    double from[2], to[2];
    bool modified;
  };
  std::vector<std::function<void(Change&)>> listeners(static_cast<std::size_t>(state.range(0)));
  unsigned long sum = 0;
  for (auto& each : listeners) each = [&sum](Change& change) { sum += change.modified ? 2 : 1; };
  double position[2] = {0, 0}, x = 0;
  for (auto _ : state) {
    Change change{{position[0], position[1]}, {x += 1, 0}, false};
    benchmark::DoNotOptimize(listeners.data());
    for (auto& each : listeners) each(change);
    position[0] = change.to[0];
    for (auto& each : listeners) each(change);
    benchmark::DoNotOptimize(position);
  }
  benchmark::DoNotOptimize(sum);
  state.SetItemsProcessed(state.iterations());
}

void ChangeRange(benchmark::State& state) {
  rnge_c2DRange range;
  const Listeners listeners(state, range);
  double x = 0;
  for (auto _ : state) {
    range.SetCenter(x += 1, 0);
    benchmark::DoNotOptimize(&range);
  }
  state.SetItemsProcessed(state.iterations());
}

void CopyRange(benchmark::State& state) {
  const rnge_c2DRange range(0, 0, 2, 2);
  for (auto _ : state) {
    rnge_c2DRange copy(range);
    benchmark::DoNotOptimize(&copy);
  }
  state.SetItemsProcessed(state.iterations());
}

constexpr int points = 10000;

void Fill(pos_c2DPositionList& list) {
  for (int i = 0; i < points; ++i) list.AddAtTail(new pos_c2DPosition(i % 173, i % 37));
}

void BuildList(benchmark::State& state) {
  for (auto _ : state) {
    pos_c2DPositionList list;
    Fill(list);
  }
  state.SetItemsProcessed(state.iterations() * points);
}

void BuildPlainPointers(benchmark::State& state) {
  for (auto _ : state) {
    std::vector<std::unique_ptr<pos_c2DPosition>> list;
    for (int i = 0; i < points; ++i) list.push_back(std::make_unique<pos_c2DPosition>(i % 173, i % 37));
    benchmark::DoNotOptimize(list.data());
  }
  state.SetItemsProcessed(state.iterations() * points);
}

void CopyList(benchmark::State& state) {
  pos_c2DPositionList list;
  Fill(list);
  for (auto _ : state) pos_c2DPositionList copy(list);
  state.SetItemsProcessed(state.iterations() * points);
}

void ReadList(benchmark::State& state) {
  pos_c2DPositionList list;
  Fill(list);
  std::ostringstream bytes;
  tgio_cBinary_ostream(bytes).Write(list);
  for (auto _ : state) {
    std::istringstream in(bytes.str());
    tgio_cBinary_istream(in).Read(list);
  }
  state.SetItemsProcessed(state.iterations() * points);
}

void MoveList(benchmark::State& state) {
  pos_c2DPositionList list;
  Fill(list);
  const Listeners listeners(state, list);
  for (auto _ : state) list.Center().Move(1, 0);
  state.SetItemsProcessed(state.iterations() * points);
}

void MoveOnePoint(benchmark::State& state) {
  pos_c2DPositionList list;
  Fill(list);
  const Listeners listeners(state, list);
  pos_c2DPosition& point = **std::next(list.begin(), points / 2);
  for (auto _ : state) point.Move(1, 0);
  state.SetItemsProcessed(state.iterations() * points);
}

BENCHMARK(Change)->Name("Position/Change")->Arg(0)->Arg(1)->Arg(10);
BENCHMARK(ChangeByPlainCalls)->Name("Position/ChangeByPlainCalls")->Arg(0)->Arg(1)->Arg(10);
BENCHMARK(ChangeRange)->Name("Range/Change")->Arg(0)->Arg(1);
BENCHMARK(CopyRange)->Name("Range/Copy");
BENCHMARK(BuildList)->Name("PositionList/Build");
BENCHMARK(BuildPlainPointers)->Name("PositionList/BuildPlainPointers");
BENCHMARK(CopyList)->Name("PositionList/Copy");
BENCHMARK(ReadList)->Name("PositionList/Read");
BENCHMARK(MoveList)->Name("PositionList/MoveCenter")->Arg(0)->Arg(1);
BENCHMARK(MoveOnePoint)->Name("PositionList/MoveOnePoint")->Arg(0)->Arg(1);

}  // namespace
