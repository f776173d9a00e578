#pragma once

#include <cairo.h>
#include <memory>
#include <string>

#include "figure/figure.h"

namespace dseries {

// Owned drawing surfaces. Everything here throws Failure when the drawing library reports an error.

using Surface = std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)>;
using Context = std::unique_ptr<cairo_t, decltype(&cairo_destroy)>;

void CheckDrawn(cairo_status_t status);
Surface Checked(cairo_surface_t* surface);

/// Appends the output of a surface to the `std::string` at `bytes`.
cairo_status_t Collect(void* bytes, const unsigned char* data, unsigned int length);

std::string AsPng(const Surface& surface);

/// One pixel for each value, transparent for not-a-number, the top row first.
Surface PixelsOf(const Raster& raster);

/// The pixels, enlarged so many times, with sharp edges.
Surface Enlarged(Surface pixels, int times_x, int times_y);

}  // namespace dseries
