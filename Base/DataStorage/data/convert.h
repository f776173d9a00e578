#pragma once

#include <DataStorage/data/barray.h>
#include <DataStorage/data/darray2d.h>

/// @file
/// Conversion of numbers and arrays into another element type.

/// The same in another type: a new object, the operand is left alone. What has the type already comes back as
/// a copy; so does an array without elements, which keeps its type. `complex_conversion` tells what becomes
/// of complex elements where the target is real. A type that is none throws expt_cProgramException.
DATASTORAGE_EXPORT pnum_cNumber conv_Convert(const pnum_cNumber& number, dtyp_cDataType type,
                                             conv_eComplexConversion complex_conversion);
DATASTORAGE_EXPORT parr_c1DNumberArray conv_Convert(const parr_c1DNumberArray& array, dtyp_cDataType type,
                                                    conv_eComplexConversion complex_conversion);
DATASTORAGE_EXPORT parr_c2DNumberArray conv_Convert(const parr_c2DNumberArray& array, dtyp_cDataType type,
                                                    conv_eComplexConversion complex_conversion);
/// The same; the calibration stays.
DATASTORAGE_EXPORT darr_c1DArray conv_Convert(const darr_c1DArray& array, dtyp_cDataType type,
                                              conv_eComplexConversion complex_conversion);
DATASTORAGE_EXPORT darr_c2DArray conv_Convert(const darr_c2DArray& array, dtyp_cDataType type,
                                              conv_eComplexConversion complex_conversion);

/// Masks become data arrays of 1-byte unsigned integers, 0 for false and 1 for true, with their calibration.
DATASTORAGE_EXPORT darr_c1DArray conv_Convert(const barr_c1DBoolArray& mask);
DATASTORAGE_EXPORT darr_c2DArray conv_Convert(const barr_c2DBoolArray& mask);
