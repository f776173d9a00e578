// Numbers whose type is chosen at run time, and arrays of them, as one writes them without a library.

#include "../numbers.h"

#include <complex>
#include <cstddef>
#include <memory>
#include <type_traits>
#include <variant>
#include <vector>

namespace {

double Real(double value) { return value; }
template <class T>
double Real(const std::complex<T>& value) {
  return value.real();
}

template <class T>
T As(double value, std::type_identity<T>) {
  return static_cast<T>(value);
}
template <class T>
std::complex<T> As(double value, std::type_identity<std::complex<T>>) {
  return static_cast<T>(value);
}

/// The element; throws where there is none.
template <class T>
auto& At(T& elements, int i) {
  return elements.at(static_cast<std::size_t>(i));
}

/// The value of a number.
struct AnyLetter {
  virtual ~AnyLetter() = default;
  virtual AnyLetter* Clone() const = 0;
  virtual AnyLetter* CloneAt(void* place) const = 0;
  virtual double Value() const = 0;
};
template <class T>
struct Letter final : AnyLetter {
  explicit Letter(T v) : value(v) {}
  AnyLetter* Clone() const override { return new Letter(value); }
  AnyLetter* CloneAt(void* place) const override { return ::new (place) Letter(value); }
  double Value() const override { return Real(value); }
  T value;
};

/// With a letter by `new` and `delete`.
class HeapNumber {
 public:
  template <class T>
  explicit HeapNumber(T value) : letter_(new Letter<T>(value)) {}
  HeapNumber(const HeapNumber& other) : letter_(other.letter_->Clone()) {}
  HeapNumber& operator=(const HeapNumber&) = delete;
  double Value() const { return letter_->Value(); }

 private:
  std::unique_ptr<AnyLetter> letter_;
};

/// With a letter in place.
class PlaceNumber {
 public:
  template <class T>
  explicit PlaceNumber(T value) : letter_(::new (place_) Letter<T>(value)) {}
  PlaceNumber(const PlaceNumber& other) : letter_(other.letter_->CloneAt(place_)) {}
  PlaceNumber& operator=(const PlaceNumber&) = delete;
  double Value() const { return letter_->Value(); }

 private:
  alignas(double) std::byte place_[sizeof(Letter<std::complex<double>>)];
  AnyLetter* letter_;
};

/// Elements behind a letter.
template <class Number>
class LetterArray {
 public:
  explicit LetterArray(int count) {
    std::size_t type = 7;
    std::unique_ptr<Any> (*const make[])(int) = {New<unsigned char>,
                                                 New<unsigned short>,
                                                 New<unsigned int>,
                                                 New<char>,
                                                 New<short>,
                                                 New<int>,
                                                 New<float>,
                                                 New<double>,
                                                 New<std::complex<float>>,
                                                 New<std::complex<double>>};
    letter_ = make[Opaque(type)](count);
  }
  Number Value(int i) const { return letter_->Value(i); }
  void SetValue(const Number& value, int i) { letter_->SetValue(value, i); }

 private:
  struct Any {
    virtual ~Any() = default;
    virtual Number Value(int i) const = 0;
    virtual void SetValue(const Number& value, int i) = 0;
  };
  template <class T>
  struct Typed final : Any {
    explicit Typed(int count) : elements(static_cast<std::size_t>(count), T(1.5)) {}
    Number Value(int i) const override { return Number(At(elements, i)); }
    void SetValue(const Number& value, int i) override {
      At(elements, i) = As(value.Value(), std::type_identity<T>());
    }
    std::vector<T> elements;
  };
  template <class T>
  static std::unique_ptr<Any> New(int count) {
    return std::make_unique<Typed<T>>(count);
  }
  std::unique_ptr<Any> letter_;
};

/// One of the types, in a union.
class VariantNumber {
 public:
  template <class T>
  explicit VariantNumber(T value) : value_(value) {}
  double Value() const {
    return std::visit([](const auto& value) { return Real(value); }, value_);
  }

 private:
  std::variant<unsigned char, unsigned short, unsigned int, char, short, int, float, double,
               std::complex<float>, std::complex<double>>
      value_;
};

/// A vector of one of the types.
class VariantArray {
 public:
  explicit VariantArray(int count) : elements_(std::vector<double>(static_cast<std::size_t>(count), 1.5)) {}
  VariantNumber Value(int i) const {
    return std::visit([i](const auto& elements) { return VariantNumber(At(elements, i)); }, elements_);
  }
  void SetValue(const VariantNumber& number, int i) {
    std::visit(
        [&]<class T>(std::vector<T>& elements) {
          At(elements, i) = As(number.Value(), std::type_identity<T>());
        },
        elements_);
  }

 private:
  template <class... T>
  using VectorOfOne = std::variant<std::vector<T>...>;
  VectorOfOne<unsigned char, unsigned short, unsigned int, char, short, int, float, double,
              std::complex<float>, std::complex<double>>
      elements_;
};

[[maybe_unused]] const bool registered = [] {
  RegisterNumbers<HeapNumber, LetterArray<HeapNumber>>("heap");
  RegisterNumbers<PlaceNumber, LetterArray<PlaceNumber>>("in_place");
  RegisterNumbers<VariantNumber, VariantArray>("variant");
  return true;
}();

}  // namespace
