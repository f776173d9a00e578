#include "figure/plane.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <fmt/format.h>
#include <string_view>

#include "file/failure.h"
#include "file/text.h"
#include "io/console.h"
#include "io/input.h"
#include "io/npy.h"
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
Samples GreysOf(const Raster& raster) {
  const auto& values = raster.values;
  arr_c2DNumberArray<unsigned char> greys(arr_Unfilled, values.NumIndicesX(), values.NumIndicesY());
  std::transform(values.Data(), values.Data() + values.NumIndices(), greys.WriteAccess(), [&](double value) {
    const double part = raster.scale.Part(value);
    return std::isnan(part) ? static_cast<unsigned char>(0) : raster.colors.At(part).red;
  });
  return SamplesOf(darr_c2DArray(greys, cal_c2DArrayCal(cal_cArrayCal(0, 1), cal_cArrayCal(0, 1))));
}

bool bTiff(const std::string& extension) { return extension == ".tif" || extension == ".tiff"; }

std::string PictureBytes(const Samples& samples, const std::string& extension) {
  if (extension == ".bmp") return AsBmp(samples);
  if (extension == ".pgm") return AsPgm(samples);
#ifdef DSERIES_PICTURE_LIBRARIES
  return bTiff(extension) ? AsTiff(samples) : AsPng(samples);
#else
  Fail("this build of dseries writes no {} pictures", extension);
#endif
}

/// Throws Failure when a picture in this format cannot hold the values themselves.
void CheckHolds(const std::string& path, const std::string& extension, dtyp_cDataType type) {
  const bool complex = type == dtyp_Complex64 || type == dtyp_Complex128;
  if (bTiff(extension) ? !complex : type == dtyp_UBin8 || (type == dtyp_UBin16 && extension != ".bmp"))
    return;
  Fail(
      "{} cannot hold elements of type {}; --stretch draws them in greys, and .tif, .npy and .darr files "
      "hold "
      "their values",
      path, ElementName(type));
}

std::string_view BytesOf(const bstr_cMemory_ostream& out) {
  return {static_cast<const char*>(out.Data()), static_cast<std::size_t>(out.Size())};
}

/// The elements as the bytes of a NumPy file, the bottom row first.
std::string AsNpy(const darr_c2DArray& array) {
  bstr_cMemory_ostream raw;  // type and extents, then the elements
  if (!static_cast<const parr_c2DNumberArray&>(array).parr_c2DNumberArray::Write(raw))
    Fail("there is not enough memory");
  return NpyHeader(array.DataType(), {array.NumIndicesY(), array.NumIndicesX()})
      .append(BytesOf(raw).substr(sizeof(std::uint16_t) + 2 * sizeof(std::int32_t)));
}

}  // namespace

void CheckPlaneName(const std::string& path) {
  CheckEnding(path, "2D data are written", {".png", ".tif", ".tiff", ".bmp", ".pgm", ".npy", ".darr"});
}

bool bGreysOnly(const std::string& path) {
  const std::string extension = Extension(path);
  return extension == ".png" || extension == ".bmp" || extension == ".pgm";
}

void WritePlane(const Target& target, const darr_c2DArray& array, const Drawing& drawing,
                const std::string& source) {
  const std::string& path = target.path;
  const std::string extension = Extension(path);
  CheckPlaneName(path);
  if (array.NumIndices() == 0) Fail("there are no elements to write to {}", path);
  const std::string extents = fmt::format("{}: {} x {}", path, array.NumIndicesX(), array.NumIndicesY());
  const std::string elements = fmt::format("elements of type {}", ElementName(array.DataType()));
  if (bRawPlane(path) || extension == ".npy") {
    bstr_cMemory_ostream raw;
    if (!array.Write(raw)) Fail("there is not enough memory");
    extension == ".npy" ? WriteWhole(target, AsNpy(array), source) : WriteWhole(target, BytesOf(raw), source);
    return Note("{} {}", extents, elements);
  }
  if (!drawing.bStretches()) {
    CheckHolds(path, extension, array.DataType());
    WriteWhole(target, PictureBytes(SamplesOf(array), extension), source);
    const bool greys = array.DataType() == dtyp_UBin8;
    return Note("{} pixels, {}", extents,
                greys ? "the values as greys" : "the values themselves, " + elements);
  }
  const Raster raster = RasterOf(array, drawing, "grey");
  if (extension == ".png") {
    WriteWhole(target, PixelsAsPng(raster), source);
  } else if (!drawing.colors.empty() && drawing.colors != "grey") {
    Fail("{} would hold greys only; colours go to .png files", path);
  } else {
    WriteWhole(target, PictureBytes(GreysOf(raster), extension), source);
  }
  Note("{} pixels, {}", extents, DrawnText(raster, extension == ".png" ? "transparent" : "black"));
}

}  // namespace dseries
