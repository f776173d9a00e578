// C: access to single elements as numbers, compared with numbers that hold their value on the heap.

#include <memory>
#include <stdexcept>
#include <vector>

#include "bench.h"
#include <DataStorage/arrays/parray1d.h>

namespace {

constexpr int count = 1000;

/// Returns `object`, about which the compiler can then assume nothing.
template <class T>
T& Opaque(T& object) {
  benchmark::DoNotOptimize(&object);
  benchmark::ClobberMemory();
  return object;
}

class HeapNumber {
 public:
  explicit HeapNumber(double value) : letter_(new Letter<double>(value)) {}
  explicit HeapNumber(float value) : letter_(new Letter<float>(value)) {}
  HeapNumber(const HeapNumber& other) : letter_(other.letter_->Clone()) {}
  HeapNumber& operator=(const HeapNumber& other) {
    if (this != &other) letter_.reset(other.letter_->Clone());
    return *this;
  }
  double Value() const { return letter_->Value(); }

 private:
  struct AnyLetter {
    virtual ~AnyLetter() = default;
    virtual AnyLetter* Clone() const = 0;
    virtual double Value() const = 0;
  };
  template <class T>
  struct Letter final : AnyLetter {
    explicit Letter(T v) : value(v) {}
    AnyLetter* Clone() const override { return new Letter(value); }
    double Value() const override { return value; }
    T value;
  };
  std::unique_ptr<AnyLetter> letter_;
};

/// An array that holds its elements in a letter, like ours.
class HeapNumberArray {
 public:
  explicit HeapNumberArray(bool doubles) {
    if (doubles) {
      letter_ = std::make_unique<Letter<double>>();
    } else {
      letter_ = std::make_unique<Letter<float>>();
    }
  }
  HeapNumber Value(int i) const { return letter_->Value(Checked(i)); }
  void SetValue(const HeapNumber& value, int i) { letter_->SetValue(value, Checked(i)); }

 private:
  struct AnyLetter {
    virtual ~AnyLetter() = default;
    virtual HeapNumber Value(std::size_t i) const = 0;
    virtual void SetValue(const HeapNumber& value, std::size_t i) = 0;
  };
  template <class T>
  struct Letter final : AnyLetter {
    HeapNumber Value(std::size_t i) const override { return HeapNumber(elements[i]); }
    void SetValue(const HeapNumber& value, std::size_t i) override {
      elements[i] = static_cast<T>(value.Value());
    }
    std::vector<T> elements = std::vector<T>(count, 1.5);
  };
  static std::size_t Checked(int i) {
    if (i < 0 || i >= count) throw std::out_of_range("element");
    return static_cast<std::size_t>(i);
  }
  std::unique_ptr<AnyLetter> letter_;
};

parr_c1DNumberArray NewArray(std::type_identity<pnum_cNumber>) { return {count, pnum_cNumber(1.5)}; }
HeapNumberArray NewArray(std::type_identity<HeapNumber>) { return HeapNumberArray(true); }

template <class Number>
void Get(benchmark::State& state) {
  const auto array = NewArray(std::type_identity<Number>());
  for (auto _ : state) {
    double sum = 0;
    for (int i = 0; i < count; ++i) sum += Opaque(array).Value(i).Value();
    benchmark::DoNotOptimize(sum);
  }
  SetItems(state, count);
}

template <class Number>
void Set(benchmark::State& state) {
  auto array = NewArray(std::type_identity<Number>());
  for (auto _ : state) {
    for (int i = 0; i < count; ++i) Opaque(array).SetValue(Number(0.5 * i), i);
  }
  SetItems(state, count);
}

template <class Number>
void CopyNumber(benchmark::State& state) {
  const Number number(1.5);
  for (auto _ : state) {
    for (int i = 0; i < count; ++i) {
      Number copy(Opaque(number));
      Opaque(copy);
    }
  }
  SetItems(state, count);
}

template <class Number>
void RegisterNumbers(const char* who) {
  Register("C/get/1000", who, Get<Number>);
  Register("C/set/1000", who, Set<Number>);
  Register("C/copy/1000", who, CopyNumber<Number>);
}

[[maybe_unused]] const bool registered = [] {
  RegisterNumbers<pnum_cNumber>("ours");
  RegisterNumbers<HeapNumber>("heap");
  return true;
}();

}  // namespace
