#pragma once

#include <istream>
#include <ostream>

#include <DataStorage/data/darray1d.h>

/// @file
/// Columns of numbers as text: one number a line (values only), or a position and a value a line. Numbers are
/// read with a decimal point, whatever the locale of the process or the stream, and written as the stream
/// writes numbers. "inf", "infinity" and "nan", in capitals or not, count as numbers where they are whole
/// words; "Info" and "Nanometres" are texts. White space (line ends included) separates numbers. There are no
/// headers and no comments.

/// The layout of a text.
enum asrw_eFormat {
  asrw_OneColumn = 0,      ///< values
  asrw_TwoColumn = 1,      ///< positions and values
  asrw_UnknownFormat = 2,  ///< neither
};

/// Tells the layout from the first line (its first 79 characters): one number, two numbers, or neither. The
/// stream is left where it was; one that cannot be rewound holds neither.
DATASTORAGE_EXPORT asrw_eFormat asrw_ASCII_Format(std::istream& in);

/// Reads values into an array of 8-byte floats. False, and `out` as it was, when the text is not one column
/// or starts with a number beyond the range of a double. Reading ends at the end of the stream or before the
/// first text that is not a number (such a number included); the stream then is at its end or failed, and
/// that text is the next in it.
DATASTORAGE_EXPORT type_cBoolean asrw_ReadOneColumn(std::istream& in, parr_c1DNumberArray& out);

/// Reads positions and values into an array of 8-byte floats. The first two positions give the calibration;
/// the others are passed over. When positions fall the values are reversed, so that the calibration, which
/// then starts at the last position, rises. False, and `out` as it was, when the text is not two columns, has
/// fewer than two lines, or its first two positions do not advance by at least `type_MinValue`. A position
/// without a value at the end is dropped. Reading ends as for one column. A text that its first two pairs
/// decide against is not read any further (64 KiB at most), and the stream stands behind them.
DATASTORAGE_EXPORT type_cBoolean asrw_ReadTwoColumn(std::istream& in, darr_c1DArray& out);

/// Writes one element a line, flushing each. The precision is set and the format flags are added to those of
/// the stream, where both stay. False when the stream failed.
DATASTORAGE_EXPORT type_cBoolean asrw_WriteOneColumn(std::ostream& out, const parr_c1DNumberArray& array,
                                                     int precision, int flags);

/// The same with the position of the element and a tab in front of each.
DATASTORAGE_EXPORT type_cBoolean asrw_WriteTwoColumn(std::ostream& out, const darr_c1DArray& array,
                                                     int precision, int flags);
