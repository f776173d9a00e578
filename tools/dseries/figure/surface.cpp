#include "figure/surface.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "file/failure.h"

namespace dseries {

namespace {

std::uint32_t Opaque(Rgb color) {
  return 0xFF000000U | static_cast<std::uint32_t>(color.red) << 16 |
         static_cast<std::uint32_t>(color.green) << 8 | color.blue;
}

}  // namespace

void CheckDrawn(cairo_status_t status) {
  if (status != CAIRO_STATUS_SUCCESS) Fail("the figure cannot be drawn: {}", cairo_status_to_string(status));
}

Surface Checked(cairo_surface_t* surface) {
  Surface owner(surface, cairo_surface_destroy);
  CheckDrawn(cairo_surface_status(surface));
  return owner;
}

cairo_status_t Collect(void* bytes, const unsigned char* data, unsigned int length) {
  static_cast<std::string*>(bytes)->append(reinterpret_cast<const char*>(data), length);
  return CAIRO_STATUS_SUCCESS;
}

std::string AsPng(const Surface& surface) {
  std::string bytes;
  CheckDrawn(cairo_surface_write_to_png_stream(surface.get(), Collect, &bytes));
  return bytes;
}

Surface PixelsOf(const Raster& raster) {
  constexpr int most = 32767;
  const int nx = raster.values.NumIndicesX(), ny = raster.values.NumIndicesY();
  if (nx > most || ny > most) {
    Fail("{} x {} elements are too many for a picture, which has up to {} a side; rescale them", nx, ny,
         most);
  }
  Surface surface = Checked(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, nx, ny));
  unsigned char* const pixels = cairo_image_surface_get_data(surface.get());
  const auto stride = static_cast<std::ptrdiff_t>(cairo_image_surface_get_stride(surface.get()));
  const double* value = raster.values.Data();
  cairo_surface_flush(surface.get());
  for (int j = ny - 1; j >= 0; --j) {
    auto* pixel = reinterpret_cast<std::uint32_t*>(pixels + j * stride);
    for (int i = 0; i < nx; ++i, ++pixel, ++value) {
      const double part = raster.scale.Part(*value);
      *pixel = std::isnan(part) ? 0 : Opaque(raster.colors.At(part));
    }
  }
  cairo_surface_mark_dirty(surface.get());
  return surface;
}

Surface Enlarged(Surface pixels, int times_x, int times_y) {
  if (times_x == 1 && times_y == 1) return pixels;
  Surface larger = Checked(
      cairo_image_surface_create(CAIRO_FORMAT_ARGB32, times_x * cairo_image_surface_get_width(pixels.get()),
                                 times_y * cairo_image_surface_get_height(pixels.get())));
  const Context cairo(cairo_create(larger.get()), cairo_destroy);
  cairo_scale(cairo.get(), times_x, times_y);
  cairo_set_source_surface(cairo.get(), pixels.get(), 0, 0);
  cairo_pattern_set_filter(cairo_get_source(cairo.get()), CAIRO_FILTER_NEAREST);
  cairo_paint(cairo.get());
  return larger;
}

std::string PixelsAsPng(const Raster& raster) { return AsPng(PixelsOf(raster)); }

}  // namespace dseries
