#pragma once

/// @file
/// Conversion of elements.

#include <cstdint>

#include <DataStorage/interfaces/export.h>
#include <DataStorage/numbers/datatype.h>

/// What becomes of a complex element where a real one is wanted. The phase is in radians, -pi to pi.
enum conv_eComplexConversion : int {
  conv_Real = 0,       ///< its real part
  conv_Imaginary = 1,  ///< its imaginary part
  conv_Magnitude = 2,  ///< its distance from 0
  conv_Phase = 3,      ///< its angle from the real axis
};

/// Converts `count` elements that lie one behind the other at `source` into as many at `target`; the two do
/// not overlap. Neither needs any alignment beyond that of its elements.
///
/// Integers keep their low bits where they become narrower. A float that becomes an integer is rounded to the
/// nearest one (to the even one of two), goes to the nearest limit when it is out of range and to 0 when it
/// is not a number. Doubles are rounded to nearest where they become floats. A complex element that becomes
/// real is replaced by what `complex_conversion` names (values outside 0 to 3 mean `conv_Real`); a real
/// element that becomes complex gets the imaginary part 0. Equal types are copied. Types outside 1 to 10
/// leave the target as it was.
DATASTORAGE_EXPORT void conv_ConvertElements(dtyp_eDataType source_type, dtyp_eDataType target_type,
                                             std::int64_t count, conv_eComplexConversion complex_conversion,
                                             const void* source, void* target);
