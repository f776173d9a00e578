#pragma once

#include <string>

#include <DataStorage/interfaces/arr.h>

namespace dseries {

/// A picture of 256 greys from black (0) to white. Y points up: row 0 is the bottom one.
using Picture = arr_c2DNumberArray<unsigned char>;

/// Reads a PGM or an 8-bit grey BMP. Throws Failure, with the kind of file if known, for everything else.
Picture ReadPicture(const std::string& path);

/// The picture as the bytes of a file.
std::string AsBmp(const Picture& picture);
std::string AsPgm(const Picture& picture);

}  // namespace dseries
