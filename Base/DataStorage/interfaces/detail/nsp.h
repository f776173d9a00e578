#pragma once

#include <cstdint>

#include <DataStorage/interfaces/comp.h>

/// @file
/// Vector routines over `count` elements; source and target do not overlap. A count of 0 or less does
/// nothing. The shared library hides them: callers use `conv_ConvertElements`.

inline constexpr int nsp_Round = 0x100;     ///< rounds floats to integers; no other conversion exists
inline constexpr int nsp_Unsigned = 0x800;  ///< the integers are unsigned

/// Converts integers of `word_size` bits, which may be that of any integer element type, to floats. Rounds to
/// nearest where a float cannot hold the integer. Any other word size does nothing.
void nspsbIntToFloat(const void* source, float* target, std::int64_t count, int word_size, int flags);
/// The same to doubles.
void nspdbIntToFloat(const void* source, double* target, std::int64_t count, int word_size, int flags);

/// Converts floats to integers of `word_size` bits, which may be that of any integer element type. Rounds to
/// the nearest integer, to the even one of two; gives the limit for values beyond it and 0 for not-a-number.
/// Any other word size does nothing.
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

/// Computes the magnitudes within 1.5 units in the last place, also where the square of a part is no number
/// of the type. Gives infinity when a part is infinite, even if the other one is not a number.
void nspcbMag(const comp_cComplex<float>* source, float* target, std::int64_t count);
/// The same of doubles.
void nspzbMag(const comp_cComplex<double>* source, double* target, std::int64_t count);

/// Computes the angles from the real axis in radians, -pi to pi, within 3 units in the last place. Zeros,
/// infinities and not-a-number give what `std::atan2` returns for them.
void nspcbPhase(const comp_cComplex<float>* source, float* target, std::int64_t count);
/// The same of doubles.
void nspzbPhase(const comp_cComplex<double>* source, double* target, std::int64_t count);
