#pragma once

#include <DataStorage/interfaces/arr.h>
#include <DataStorage/interfaces/bstr.h>

/// @file
/// An 8-bit grey picture as a device-independent bitmap: the BITMAPINFOHEADER (40 bytes) of the BMP format, a
/// colour table and the rows, each padded to a multiple of 4 bytes. Row 0 is the bottom row. Placed behind a
/// 14-byte BMP file header this is a BMP file.

/// Writes the picture with a table of 256 greys. False when the stream failed.
DATASTORAGE_EXPORT type_cBoolean dbrw_Write(bstr_cBinary_ostream& out,
                                            const arr_c2DNumberArray<unsigned char>& image);

/// Reads a picture of 8 bits a pixel; the pixels count as greys whatever the colour table says, and the other
/// header fields do not matter. False, and `image` as it was, when the stream fails or holds less than the
/// header claims, be it more than any array can have. A negative width or height raises arr_SizeError.
DATASTORAGE_EXPORT type_cBoolean dbrw_Read(bstr_cBinary_istream& in,
                                           arr_c2DNumberArray<unsigned char>& image);
