#pragma once

/// @file
/// Conversion of elements.

#include <cstdint>

#include <DataStorage/interfaces/export.h>
#include <DataStorage/numbers/datatype.h>

/// How a complex element is converted to a real one. The phase is in radians, -pi to pi.
enum conv_eComplexConversion : int {
  conv_Real = 0,       ///< its real part
  conv_Imaginary = 1,  ///< its imaginary part
  conv_Magnitude = 2,  ///< its distance from 0
  conv_Phase = 3,      ///< its angle from the real axis
};

/// Converts `count` contiguous elements at `source` to `target`. Requires that the two do not overlap and are
/// aligned for their elements.
///
/// Integers converted to narrower ones keep their low bits. A float converted to an integer is rounded to
/// nearest, ties to even; values out of range become the nearest limit, NaN becomes 0. A double converted to
/// float is rounded to nearest. `complex_conversion` selects how a complex element becomes real (values
/// outside 0 to 3 mean `conv_Real`); a real element converted to complex gets the imaginary part 0. Equal
/// types are copied. Types outside 1 to 10 leave the target unchanged.
DATASTORAGE_EXPORT void conv_ConvertElements(dtyp_eDataType source_type, dtyp_eDataType target_type,
                                             std::int64_t count, conv_eComplexConversion complex_conversion,
                                             const void* source, void* target);

namespace detail {

/// Like conv_ConvertElements, for a target that the system supplied and nothing was written to: its zeros are
/// in the caches, so stores that go past these would take longer.
void ConvertIntoNewMemory(dtyp_eDataType source_type, dtyp_eDataType target_type, std::int64_t count,
                          conv_eComplexConversion complex_conversion, const void* source, void* target);

}  // namespace detail
