#pragma once

#include <istream>
#include <ostream>

#include <DataStorage/data/darray1d.h>

/// @file
/// Columns of numbers as text: one value per line, or a position and a value per line. Numbers are read with
/// a decimal point, whatever the locale, and written in the format of the stream. "inf", "infinity" and
/// "nan", in upper or lower case, are numbers when they are whole words, but not as the beginning of "Info"
/// or "Nanometres". White space, line ends included, separates numbers. There are no headers and no comments.
///
/// On Windows open the files to be read with `std::ios::binary`: in text mode the positions of a stream, to
/// which the functions return, do not count the characters. A text is then refused, or the stream is bad
/// afterwards. The line ends of Windows are white space too.

/// The layout of a text.
enum asrw_eFormat {
  asrw_OneColumn = 0,      ///< values
  asrw_TwoColumn = 1,      ///< positions and values
  asrw_UnknownFormat = 2,  ///< neither
};

/// Returns the layout of the first line (its first 79 characters): one number, two numbers, or neither. The
/// position of the stream does not change; the format of a stream without position is unknown.
DATASTORAGE_EXPORT asrw_eFormat asrw_ASCII_Format(std::istream& in);

/// Reads values into an array of 8-byte floats. Returns false and leaves `out` unchanged when the text is not
/// one column or starts with a number beyond the range of a double. Reading ends at the end of the stream or
/// before the first text that is not a number (or is beyond that range); the stream is then at its end, or
/// failed with that text as the next to read.
DATASTORAGE_EXPORT type_cBoolean asrw_ReadOneColumn(std::istream& in, parr_c1DNumberArray& out);

/// Reads positions and values into an array of 8-byte floats. The first two positions determine the
/// calibration; the others are ignored. When the positions decrease the values are reversed and the
/// calibration starts at the last position, so that its delta is positive. Returns false and leaves `out`
/// unchanged when the text is not two columns, has fewer than two lines, or when its first two positions
/// differ by less than `type_MinValue` or not by a finite amount. A final position without a value is
/// dropped. Reading ends as for one column. A text that is rejected for its first two pairs is not read any
/// further (64 KiB at most), and the stream is left after them.
DATASTORAGE_EXPORT type_cBoolean asrw_ReadTwoColumn(std::istream& in, darr_c1DArray& out);

/// Writes one element per line and flushes each line. Sets the precision of the stream and adds `flags` to
/// its format flags; both remain set. Returns false when the stream fails.
DATASTORAGE_EXPORT type_cBoolean asrw_WriteOneColumn(std::ostream& out, const parr_c1DNumberArray& array,
                                                     int precision, int flags);

/// The same, with the position of the element and a tab before each element.
DATASTORAGE_EXPORT type_cBoolean asrw_WriteTwoColumn(std::ostream& out, const darr_c1DArray& array,
                                                     int precision, int flags);
