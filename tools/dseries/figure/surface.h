#pragma once

#include <cairo.h>
#include <memory>
#include <string>

#include "figure/figure.h"

namespace dseries {

// What pictures are drawn on, owned. Everything here throws Failure when memory or the library refuses.

using Surface = std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)>;
using Context = std::unique_ptr<cairo_t, decltype(&cairo_destroy)>;

void CheckDrawn(cairo_status_t status);
Surface Checked(cairo_surface_t* surface);

/// Appends what a surface writes to a `std::string`.
cairo_status_t Collect(void* bytes, const unsigned char* data, unsigned int length);

std::string AsPng(const Surface& surface);

/// One pixel for each value, transparent where it is not a number. Rows of pictures begin at the top.
Surface PixelsOf(const Raster& raster);

/// So many times as wide and as high.
Surface Enlarged(Surface pixels, int times_x, int times_y);

}  // namespace dseries
