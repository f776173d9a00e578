#pragma once

#include <DataStorage/data/barray.h>
#include <DataStorage/data/darray2d.h>

/// @file
/// Conversion of numbers and arrays to another element type.

/// Returns a copy that is converted to another type. An array without elements keeps its type.
/// `complex_conversion` selects how complex elements become real. An invalid type throws
/// expt_cProgramException.
DATASTORAGE_EXPORT pnum_cNumber conv_Convert(const pnum_cNumber& number, dtyp_cDataType type,
                                             conv_eComplexConversion complex_conversion);
DATASTORAGE_EXPORT parr_c1DNumberArray conv_Convert(const parr_c1DNumberArray& array, dtyp_cDataType type,
                                                    conv_eComplexConversion complex_conversion);
DATASTORAGE_EXPORT parr_c2DNumberArray conv_Convert(const parr_c2DNumberArray& array, dtyp_cDataType type,
                                                    conv_eComplexConversion complex_conversion);
/// The same; the calibration does not change.
DATASTORAGE_EXPORT darr_c1DArray conv_Convert(const darr_c1DArray& array, dtyp_cDataType type,
                                              conv_eComplexConversion complex_conversion);
DATASTORAGE_EXPORT darr_c2DArray conv_Convert(const darr_c2DArray& array, dtyp_cDataType type,
                                              conv_eComplexConversion complex_conversion);

/// Converts a mask to a data array of 1-byte unsigned integers, 0 for false and 1 for true, with the same
/// calibration.
DATASTORAGE_EXPORT darr_c1DArray conv_Convert(const barr_c1DBoolArray& mask);
DATASTORAGE_EXPORT darr_c2DArray conv_Convert(const barr_c2DBoolArray& mask);
