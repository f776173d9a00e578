#pragma once

#include <cstdint>

#include <DataStorage/interfaces/comp.h>

/// @file
/// Vector routines over `count` elements; a count of 0 or less does nothing. Requires that source and target
/// do not overlap. Not exported from the shared library: callers use `conv_ConvertElements`.

inline constexpr int nsp_Round = 0x100;     ///< round to the nearest integer, the only mode
inline constexpr int nsp_Unsigned = 0x800;  ///< the integers are unsigned

/// Converts integers of `word_size` bits, the width of any integer element type, to floats. Rounds to nearest
/// where a float cannot hold the integer. Any other word size does nothing.
void nspsbIntToFloat(const void* source, float* target, std::int64_t count, int word_size, int flags);
/// The same to doubles.
void nspdbIntToFloat(const void* source, double* target, std::int64_t count, int word_size, int flags);

/// Converts floats to integers of `word_size` bits, the width of any integer element type. Rounds to nearest,
/// ties to even; values out of range become the nearest limit, NaN becomes 0. Any other word size does
/// nothing.
void nspsbFloatToInt(const float* source, void* target, std::int64_t count, int word_size, int flags);
/// The same from doubles.
void nspdbFloatToInt(const double* source, void* target, std::int64_t count, int word_size, int flags);

/// Copies the real parts.
void nspcbReal(const comp_cComplex<float>* source, float* target, std::int64_t count);
/// The same of doubles.
void nspzbReal(const comp_cComplex<double>* source, double* target, std::int64_t count);

/// Copies the imaginary parts.
void nspcbImag(const comp_cComplex<float>* source, float* target, std::int64_t count);
/// The same of doubles.
void nspzbImag(const comp_cComplex<double>* source, double* target, std::int64_t count);

/// Computes the magnitudes within 1.5 units in the last place, also where the square of a part overflows or
/// underflows. Gives infinity when a part is infinite, even if the other is NaN.
void nspcbMag(const comp_cComplex<float>* source, float* target, std::int64_t count);
/// The same of doubles.
void nspzbMag(const comp_cComplex<double>* source, double* target, std::int64_t count);

/// Computes the angles from the real axis in radians, -pi to pi, within 3 units in the last place. Zeros,
/// infinities and NaN give what `std::atan2` returns for them.
void nspcbPhase(const comp_cComplex<float>* source, float* target, std::int64_t count);
/// The same of doubles.
void nspzbPhase(const comp_cComplex<double>* source, double* target, std::int64_t count);
