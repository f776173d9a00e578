#include "figure/plane.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <fmt/format.h>
#include <string_view>

#include "file/failure.h"
#include "file/header.h"
#include "file/text.h"
#include "io/console.h"
#include "io/picture.h"
#include <DataStorage/data/rescl2.h>
#include <DataStorage/interfaces/bstr.h>
#include <DataStorage/interfaces/expt.h>

namespace dseries {

namespace {

std::string RangeText(const rnge_c1DRange& range) {
  return fmt::format("{} to {}", NumberText(range.StartX()), NumberText(range.EndX()));
}

darr_c2DArray Rescaled(const darr_c2DArray& array, double dx, double dy) {
  constexpr double most = 1 << 28;
  if (!(std::isfinite(dx) && dx > 0 && std::isfinite(dy) && dy > 0)) {
    Fail("the distances to rescale to are not above 0");
  }
  const rnge_c2DRange range = array.Range();
  if (!((range.SizeX() / dx + 2) * (range.SizeY() / dy + 2) < most)) {
    Fail("rescaled to {} x {} there would be too many elements", NumberText(dx), NumberText(dy));
  }
  return resc_Rescale(array, dx, dy);
}

/// The index of the cell, of `count`, in which a position lies.
int CellAt(const cal_cArrayCal& cal, int count, double position, const char* axis) {
  const int i = cal.Index(position);
  if (i < 0 || i >= count) {
    Fail("{} {} lies outside the data, which go from {} to {}", axis, NumberText(position),
         NumberText(cal.Position(0)), NumberText(cal.Position(count)));
  }
  return i;
}

std::string DrawnText(const Raster& raster, const char* gaps) {
  const std::string cut_off = raster.cut_off.Text();
  return fmt::format("{} (dark) to {} (light), not-a-number {}{}{}", NumberText(raster.scale.Low(), 6),
                     NumberText(raster.scale.High(), 6), gaps, cut_off.empty() ? "" : "; ", cut_off);
}

/// The raster in greys; what has none is black.
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

void AddView(CLI::App& command, PlaneView& view) {
  command.add_option("--region", view.region, "Only what lies between two corners, in physical units")
      ->type_name("X1,Y1,X2,Y2")
      ->delimiter(',')
      ->expected(4);
  command
      .add_option("--rescale", view.rescale,
                  "New distances of the elements, in physical units; each takes the value that was there")
      ->type_name("DX,DY")
      ->delimiter(',')
      ->expected(2);
  CLI::Option* row =
      command.add_option("--row-at", view.row, "Only the row at this position, as columns of text")
          ->type_name("Y");
  command.add_option("--column-at", view.column, "Only the column at this position, likewise")
      ->type_name("X")
      ->excludes(row);
}

darr_c2DArray Cut(const darr_c2DArray& array, const PlaneView& view) {
  darr_c2DArray cut(array);
  if (const auto& r = view.region; !r.empty()) {
    const rnge_c2DRange wanted(r[0], r[1], r[2], r[3]), covered = array.Range();
    const rnge_c2DRange common = wanted & covered;
    if (!wanted.Intersects(covered) || !(common.SizeX() > 0 && common.SizeY() > 0)) {
      Fail("the region holds no data: they go from {} along X and {} along Y", RangeText(covered.RangeX()),
           RangeText(covered.RangeY()));
    }
    cut = array.Selection(common, rnge_IndexOuter);
  }
  return view.rescale.empty() ? cut : Rescaled(cut, view.rescale[0], view.rescale[1]);
}

darr_c1DArray Line(const darr_c2DArray& array, const PlaneView& view) {
  const cal_c2DArrayCal& cal = array.Cal();
  if (view.row) return array.LineAtY(CellAt(cal.AxisY(), array.NumIndicesY(), *view.row, "Y"));
  return array.LineAtX(CellAt(cal.AxisX(), array.NumIndicesX(), *view.column, "X"));
}

darr_c2DArray ReadRawPlane(const std::string& path) {
  const auto read = [&path](bstr_cBinary_istream& in) {
    darr_c2DArray array;
    try {
      if (array.Read(in) && in.Position() == in.Size()) return array;
    } catch (const arr_cSizeException&) {  // an extent is negative
    }
    Fail("{} is not the raw form of a 2D data array", path);
  };
  if (!bStream(path)) return read(OpenToRead(path).Input());
  const std::string bytes = ReadWhole(path);
  bstr_cMemory_istream in(bytes.data(), static_cast<std::int64_t>(bytes.size()));
  return read(in);
}

bool bRawPlane(const std::string& path) { return Extension(path) == ".darr"; }

bool bPlane(const std::string& path) {
  const std::string extension = Extension(path);
  return bRawPlane(path) || extension == ".pgm" || extension == ".bmp" || path == "-" || bStream(path);
}

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
