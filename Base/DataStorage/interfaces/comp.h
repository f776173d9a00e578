#pragma once

/// @file
/// Complex numbers as elements.

#include <complex>
#include <ostream>

#include <DataStorage/interfaces/export.h>

/// A complex number as files and arrays hold it: only the real part, then the imaginary part. Converts from
/// and to `std::complex<T>`.
template <class T>
class DATASTORAGE_TEMPLATE comp_cComplex {
 public:
  /// From the two parts, or from a `std::complex`.
  constexpr comp_cComplex(T real = T(), T imaginary = T()) noexcept : real_(real), imaginary_(imaginary) {}
  constexpr comp_cComplex(const std::complex<T>& value) noexcept
      : comp_cComplex(value.real(), value.imag()) {}
  /// The same number as a `std::complex`.
  constexpr operator std::complex<T>() const noexcept { return {real_, imaginary_}; }

  /// The real or the imaginary part.
  constexpr T Real() const noexcept { return real_; }
  constexpr T Imaginary() const noexcept { return imaginary_; }

  constexpr bool operator==(const comp_cComplex&) const noexcept = default;

 private:
  T real_;
  T imaginary_;
};

/// Writes the number as `std::complex` is written: "(real,imaginary)".
template <class T>
std::ostream& operator<<(std::ostream& out, const comp_cComplex<T>& value) {
  return out << std::complex<T>(value);
}

static_assert(sizeof(comp_cComplex<float>) == 8 && sizeof(comp_cComplex<double>) == 16);
