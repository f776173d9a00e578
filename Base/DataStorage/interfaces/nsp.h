#pragma once

#include <cstdint>

#include <DataStorage/interfaces/comp.h>

/// @file
/// Vector routines over `count` elements; source and target do not overlap. A count of 0 or less does
/// nothing. The shared library hides them; its conversions are what callers use.

inline constexpr int nsp_Round = 0x100;     ///< the way from floats to integers, the only one there is
inline constexpr int nsp_Unsigned = 0x800;  ///< the integers are unsigned

/// Integers of `word_size` 8, 16 or 32 bits become floats, those of 32 bits rounded to nearest where a float
/// cannot hold them. Any other word size does nothing.
void nspsbIntToFloat(const void* source, float* target, std::int64_t count, int word_size, int flags);
void nspdbIntToFloat(const void* source, double* target, std::int64_t count, int word_size, int flags);

/// Floats become integers of `word_size` 8, 16 or 32 bits: rounded to the nearest, to the even one of two;
/// beyond the limits the limit; 0 for not-a-number. Any other word size does nothing.
void nspsbFloatToInt(const float* source, void* target, std::int64_t count, int word_size, int flags);
void nspdbFloatToInt(const double* source, void* target, std::int64_t count, int word_size, int flags);

/// One part of each number.
void nspcbReal(const comp_cComplex<float>* source, float* target, std::int64_t count);
void nspcbImag(const comp_cComplex<float>* source, float* target, std::int64_t count);
void nspzbReal(const comp_cComplex<double>* source, double* target, std::int64_t count);
void nspzbImag(const comp_cComplex<double>* source, double* target, std::int64_t count);

/// The magnitudes, within 1.5 units in the last place wherever the result is a number of the type: parts are
/// not squared before they are brought into a range in which that is safe. Infinite when a part is, even
/// beside not-a-number.
void nspcbMag(const comp_cComplex<float>* source, float* target, std::int64_t count);
void nspzbMag(const comp_cComplex<double>* source, double* target, std::int64_t count);

/// The angles from the real axis in radians, -pi to pi, within 3 units in the last place; zeros, infinities
/// and not-a-number as `std::atan2`.
void nspcbPhase(const comp_cComplex<float>* source, float* target, std::int64_t count);
void nspzbPhase(const comp_cComplex<double>* source, double* target, std::int64_t count);
