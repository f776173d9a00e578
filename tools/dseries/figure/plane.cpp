#include "figure/plane.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <string_view>

#include "file/failure.h"
#include "file/text.h"
#include "io/console.h"
#include "io/input.h"
#include "io/picture.h"
#include <DataStorage/interfaces/bstr.h>

namespace dseries {

namespace {

std::string DrawnText(const Raster& raster, const char* gaps) {
  const std::string cut_off = raster.cut_off.Text();
  return fmt::format("{} (dark) to {} (light), not-a-number {}{}{}", NumberText(raster.scale.Low(), 6),
                     NumberText(raster.scale.High(), 6), gaps, cut_off.empty() ? "" : "; ", cut_off);
}

/// The raster in greys; not-a-number is black.
Picture GreysOf(const Raster& raster) {
  const auto& values = raster.values;
  Picture picture(arr_Unfilled, values.NumIndicesX(), values.NumIndicesY());
  std::transform(values.Data(), values.Data() + values.NumIndices(), picture.WriteAccess(),
                 [&](double value) {
                   const double part = raster.scale.Part(value);
                   return std::isnan(part) ? static_cast<unsigned char>(0) : raster.colors.At(part).red;
                 });
  return picture;
}

}  // namespace

void CheckPlaneName(const std::string& path) {
  CheckEnding(path, "2D data are written", {".png", ".bmp", ".pgm", ".darr"});
}

void WritePlane(const Target& target, const darr_c2DArray& array, const Drawing& drawing,
                const std::string& source) {
  const std::string& path = target.path;
  CheckPlaneName(path);
  if (array.NumIndices() == 0) Fail("there are no elements to write to {}", path);
  const std::string extents = fmt::format("{}: {} x {}", path, array.NumIndicesX(), array.NumIndicesY());
  if (bRawPlane(path)) {
    bstr_cMemory_ostream raw;
    if (!array.Write(raw)) Fail("there is not enough memory");
    WriteWhole(target, {static_cast<const char*>(raw.Data()), static_cast<std::size_t>(raw.Size())}, source);
    Note("{} elements of type {}", extents, ElementName(array.DataType()));
    return;
  }
  const Raster raster = RasterOf(array, drawing, "grey");
  const std::string extension = Extension(path);
  if (extension == ".png") {
    WriteWhole(target, PixelsAsPng(raster), source);
  } else if (!drawing.colors.empty() && drawing.colors != "grey") {
    Fail("{} would hold greys only; colours go to .png files", path);
  } else {
    const Picture picture = GreysOf(raster);
    WriteWhole(target, extension == ".bmp" ? AsBmp(picture) : AsPgm(picture), source);
  }
  Note("{} pixels, {}", extents,
       bGreysThemselves(array, drawing) ? "the values as greys"
                                        : DrawnText(raster, extension == ".png" ? "transparent" : "black"));
}

}  // namespace dseries
