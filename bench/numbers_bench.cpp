#include <benchmark/benchmark.h>
#include <memory>
#include <vector>

#include <DataStorage/numbers/pnumber.h>

namespace {

/// The same with a letter from the heap for each number.
class HeapNumber {
 public:
  explicit HeapNumber(double value) : letter_(new Letter(value)) {}
  HeapNumber(const HeapNumber& other) : letter_(other.letter_->Clone()) {}
  HeapNumber& operator=(const HeapNumber& other) {
    if (this != &other) letter_.reset(other.letter_->Clone());
    return *this;
  }
  double Value() const { return *static_cast<const double*>(letter_->Data()); }

 private:
  struct AnyLetter {
    virtual ~AnyLetter() = default;
    virtual AnyLetter* Clone() const = 0;
    virtual const void* Data() const = 0;
  };
  struct Letter final : AnyLetter {
    explicit Letter(double v) : value(v) {}
    AnyLetter* Clone() const override { return new Letter(value); }
    const void* Data() const override { return &value; }
    double value;
  };
  std::unique_ptr<AnyLetter> letter_;
};

template <class Number>
void Get(benchmark::State& state) {
  const std::vector<double> elements(1000, 1.5);
  for (auto _ : state) {
    double sum = 0;
    for (const double& element : elements) {
      const Number number(element);
      benchmark::DoNotOptimize(&number);
      benchmark::ClobberMemory();
      sum += number.Value();
    }
    benchmark::DoNotOptimize(sum);
  }
  state.SetItemsProcessed(state.iterations() * 1000);
}

template <class Number>
void Copy(benchmark::State& state) {
  const Number number(1.5);
  for (auto _ : state) {
    benchmark::DoNotOptimize(&number);
    benchmark::ClobberMemory();
    Number copy(number);
    benchmark::DoNotOptimize(&copy);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations());
}

template <class Number>
void Assign(benchmark::State& state) {
  const Number number(1.5);
  Number target(2.5);
  for (auto _ : state) {
    benchmark::DoNotOptimize(&number);
    target = number;
    benchmark::DoNotOptimize(&target);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations());
}

/// From a type that has to be converted.
void ValueOfInteger(benchmark::State& state) {
  const pnum_cNumber number(7);
  for (auto _ : state) {
    benchmark::DoNotOptimize(&number);
    benchmark::ClobberMemory();
    benchmark::DoNotOptimize(number.Value());
  }
  state.SetItemsProcessed(state.iterations());
}

BENCHMARK(Get<pnum_cNumber>)->Name("Numbers/Get/Ours");
BENCHMARK(Get<HeapNumber>)->Name("Numbers/Get/HeapLetter");
BENCHMARK(Copy<pnum_cNumber>)->Name("Numbers/Copy/Ours");
BENCHMARK(Copy<HeapNumber>)->Name("Numbers/Copy/HeapLetter");
BENCHMARK(Assign<pnum_cNumber>)->Name("Numbers/Assign/Ours");
BENCHMARK(Assign<HeapNumber>)->Name("Numbers/Assign/HeapLetter");
BENCHMARK(ValueOfInteger)->Name("Numbers/ValueOfInteger/Ours");

}  // namespace
