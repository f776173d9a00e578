#pragma once

#include <DataStorage/interfaces/arr.h>
#include <DataStorage/interfaces/bstr.h>

/// @file
/// An 8-bit grey image as a device-independent bitmap: the BITMAPINFOHEADER (40 bytes) of the BMP format, a
/// colour table and the rows, each padded to a multiple of 4 bytes. Row 0 is the bottom row. After a 14-byte
/// BMP file header this makes a BMP file.

/// Writes the image with a table of 256 greys. Returns false when the stream fails.
DATASTORAGE_EXPORT type_cBoolean dbrw_Write(bstr_cBinary_ostream& out,
                                            const arr_c2DNumberArray<unsigned char>& image);

/// Reads an image of 8 bits per pixel. Pixels are taken as greys, whatever the colour table; the bits per
/// pixel and the other header fields are not checked. Returns false and leaves `image` unchanged when the
/// stream fails or is shorter than the header requires, or when the image is too large for an array. A
/// negative width or height throws arr_cSizeException.
DATASTORAGE_EXPORT type_cBoolean dbrw_Read(bstr_cBinary_istream& in,
                                           arr_c2DNumberArray<unsigned char>& image);
