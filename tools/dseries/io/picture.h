#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "io/samples.h"
#include <DataStorage/data/darray2d.h>

namespace dseries {

/// The pictures in a file. Y points up: row 0 is the bottom one.
struct Pictures {
  std::vector<darr_c2DArray> planes;
  std::string units;  ///< of their positions, if their file says how large a pixel is; empty: it does not
};

/// Whether bytes begin like those of a picture, of a kind that is read here or not.
bool bPictureBytes(std::string_view bytes);

/// Reads PGM, PPM, BMP, PNG, JPEG and TIFF, which may hold several. The values are those of the file. Throws
/// Failure, with the kind of file if known, for everything else.
Pictures ReadPictures(const std::string& path, std::string_view bytes, Channel channel);

/// A grey picture as the bytes of a file: BMP of 8 bits, PGM of 8 or 16.
std::string AsBmp(const Samples& samples);
std::string AsPgm(const Samples& samples);

}  // namespace dseries
