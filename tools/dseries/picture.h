#pragma once

#include <string>

#include <DataStorage/data/darray2d.h>
#include <DataStorage/interfaces/arr.h>

namespace dseries {

/// A picture of 256 greys from black (0) to white. Y points up: row 0 is the bottom one.
using Picture = arr_c2DNumberArray<unsigned char>;

/// Reads a PGM or an 8-bit grey BMP. Throws Failure, which names what was found, for everything else.
Picture ReadPicture(const std::string& path);

/// The picture as the bytes of a file.
std::string AsBmp(const Picture& picture);
std::string AsPgm(const Picture& picture);

/// The values that are drawn in the darkest and the lightest grey, and so are those beyond them.
struct Contrast {
  double dark;
  double light;
};

/// The 1st and the 99th percentile of the finite values, so that a few stray ones do not spoil the picture.
/// Not-a-number when there are none.
Contrast ContrastOf(const darr_c2DArray& array);

/// Greys from 1 to 255; not-a-number is drawn black (0), which no value is.
Picture Greys(const darr_c2DArray& array, const Contrast& contrast);

}  // namespace dseries
