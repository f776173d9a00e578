#include "cli/view.h"

#include <cmath>
#include <fmt/format.h>
#include <string>

#include "file/failure.h"
#include "file/text.h"
#include <DataStorage/data/rescl2.h>

namespace dseries {

namespace {

std::string RangeText(const rnge_c1DRange& range) {
  return fmt::format("{} to {}", NumberText(range.StartX()), NumberText(range.EndX()));
}

darr_c2DArray Rescaled(const darr_c2DArray& array, double dx, double dy) {
  constexpr double most = 1 << 28;
  if (!(std::isfinite(dx) && dx > 0 && std::isfinite(dy) && dy > 0)) {
    Fail("--rescale needs distances above 0");
  }
  const rnge_c2DRange range = array.Range();
  if (!((range.SizeX() / dx + 2) * (range.SizeY() / dy + 2) < most)) {
    Fail("rescaling to {} x {} would make too many elements", NumberText(dx), NumberText(dy));
  }
  return resc_Rescale(array, dx, dy);
}

/// The index of the cell, of `count`, that holds a position. Throws Failure when it lies outside.
int CellAt(const cal_cArrayCal& cal, int count, double position, const char* axis) {
  const int i = cal.Index(position);
  if (i < 0 || i >= count) {
    Fail("{} {} lies outside the data, which go from {} to {}", axis, NumberText(position),
         NumberText(cal.Position(0)), NumberText(cal.Position(count)));
  }
  return i;
}

}  // namespace

void AddView(CLI::App& command, PlaneView& view) {
  command.add_option("--region", view.region, "Only the region between two corners, in physical units")
      ->type_name("X1,Y1,X2,Y2")
      ->delimiter(',')
      ->expected(4);
  command
      .add_option("--rescale", view.rescale,
                  "New distances between elements, in physical units; each takes the value at its position")
      ->type_name("DX,DY")
      ->delimiter(',')
      ->expected(2);
  CLI::Option* row =
      command.add_option("--row-at", view.row, "Only the row at this position, as columns of text")
          ->type_name("Y");
  command.add_option("--column-at", view.column, "Only the column at this position, as columns of text")
      ->type_name("X")
      ->excludes(row);
}

darr_c2DArray Cut(const darr_c2DArray& array, const PlaneView& view) {
  darr_c2DArray cut(array);
  if (const auto& r = view.region; !r.empty()) {
    const rnge_c2DRange wanted(r[0], r[1], r[2], r[3]), covered = array.Range();
    const rnge_c2DRange common = wanted & covered;
    if (!wanted.Intersects(covered) || !(common.SizeX() > 0 && common.SizeY() > 0)) {
      Fail("the region holds no data: the data go from {} along X and {} along Y",
           RangeText(covered.RangeX()), RangeText(covered.RangeY()));
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

}  // namespace dseries
