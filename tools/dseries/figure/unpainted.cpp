// In place of paint.cpp and surface.cpp in builds without the drawing library.
#include "figure/figure.h"
#include "file/failure.h"

namespace dseries {

std::string Painted(const Figure&, Paper) {
  Fail("this dseries was built without cairo, which draws figures to files; plot in the terminal instead");
}

std::string PixelsAsPng(const Raster&) {
  Fail("this dseries was built without cairo, which writes PNG files; write .bmp or .pgm instead");
}

}  // namespace dseries
