#include "cli/view.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <fmt/format.h>
#include <map>
#include <string>

#include "file/failure.h"
#include "file/text.h"
#include <DataStorage/data/rescl2.h>

namespace dseries {

namespace {

/// From the first element of `count` to the end of the last one.
std::string ExtentText(const cal_cArrayCal& cal, int count) {
  return fmt::format("{} to {}", NumberText(cal.Position(0)), NumberText(cal.Position(count)));
}

void CheckRegion(const View& view, std::size_t numbers, const char* form) {
  if (!view.region.empty() && view.region.size() != numbers) Fail("--region takes {} here", form);
}

/// Throws Failure when the view is not one of 1D data.
void CheckCurve(const View& view) {
  CheckRegion(view, 2, "two positions, X1,X2");
  if (!view.bNoPlane()) Fail("--rescale, --row-at and --column-at are for 2D data");
}

/// As CellsBetween. Throws Failure when there are none.
rnge_c1DIndexRange Some(const cal_cArrayCal& cal, int count, double a, double b, rnge_eIndexSelect cells,
                        const std::string& covered) {
  rnge_c1DIndexRange range = CellsBetween(cal, count, a, b, cells);
  if (range.NumIndicesX() == 0) Fail("the region holds no data: the data go from {}", covered);
  return range;
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
    Fail("{} {} lies outside the data, which go from {}", axis, NumberText(position), ExtentText(cal, count));
  }
  return i;
}

}  // namespace

void AddCells(CLI::App& command, rnge_eIndexSelect& cells) {
  static const std::map<std::string, rnge_eIndexSelect> names{{"inner", rnge_IndexInner},
                                                              {"outer", rnge_IndexOuter},
                                                              {"nearest", rnge_IndexNearest},
                                                              {"innerstart", rnge_IndexInnerStart}};
  command
      .add_option_function<std::string>(
          "--cells", [&cells](const std::string& name) { cells = names.at(name); },
          "Which elements at the ends belong to a region: 'inner', those wholly in it; 'outer' (default), "
          "all "
          "it touches; 'nearest', those whose centre is in it; 'innerstart', as inner where it starts and as "
          "outer where it ends. An element reaches from its position to the next one")
      ->type_name("RULE")
      ->check(CLI::IsMember(&names));
}

void AddRegion(CLI::App& command, View& view) {
  command
      .add_option("--region", view.region,
                  "Only the region between two positions or, of 2D data, between two corners, in physical "
                  "units")
      ->type_name("X1,[Y1,]X2[,Y2]")
      ->delimiter(',')
      ->allow_extra_args(false);
  AddCells(command, view.cells);
}

void AddView(CLI::App& command, View& view) {
  AddRegion(command, view);
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

rnge_c1DIndexRange CellsBetween(const cal_cArrayCal& cal, int count, double a, double b,
                                rnge_eIndexSelect cells) {
  // Where positions fall, the axis is mirrored: so are the positions, and the indices stay.
  const double sign = cal.Delta() < 0 ? -1 : 1;
  const cal_cArrayCal rising(sign * cal.Offset(), sign * cal.Delta(), cal.CalIndex());
  const rnge_c1DIndexRange range(rnge_c1DRange(sign * a, sign * b), cal_c1DArrayCal(rising), cells);
  const int start = std::clamp(range.StartIndexX(), 0, count);
  return {start, std::clamp(range.EndIndexX(), start, count)};
}

darr_c1DArray Cut(const darr_c1DArray& array, const View& view) {
  CheckCurve(view);
  if (view.region.empty()) return array;
  const cal_cArrayCal& cal = array.Cal().AxisX();
  const int n = array.NumIndices();
  return array.Selection(Some(cal, n, view.region[0], view.region[1], view.cells, ExtentText(cal, n)));
}

darr_c2DArray CutColumns(const darr_c2DArray& array, const View& view) {
  CheckCurve(view);
  if (view.region.empty()) return array;
  const cal_cArrayCal& cal = array.Cal().AxisX();
  const int n = array.NumIndicesX();
  const rnge_c1DIndexRange columns =
      Some(cal, n, view.region[0], view.region[1], view.cells, ExtentText(cal, n));
  return array.Selection(columns.StartIndexX(), 0, columns.EndIndexX(), array.NumIndicesY());
}

darr_c2DArray Cut(const darr_c2DArray& array, const View& view) {
  CheckRegion(view, 4, "two corners, X1,Y1,X2,Y2");
  darr_c2DArray cut(array);
  if (const auto& r = view.region; !r.empty()) {
    const cal_cArrayCal &x = array.Cal().AxisX(), &y = array.Cal().AxisY();
    const int nx = array.NumIndicesX(), ny = array.NumIndicesY();
    const std::string covered =
        fmt::format("{} along X and {} along Y", ExtentText(x, nx), ExtentText(y, ny));
    const rnge_c1DIndexRange columns = Some(x, nx, r[0], r[2], view.cells, covered),
                             rows = Some(y, ny, r[1], r[3], view.cells, covered);
    cut = array.Selection(columns.StartIndexX(), rows.StartIndexX(), columns.EndIndexX(), rows.EndIndexX());
  }
  return view.rescale.empty() ? cut : Rescaled(cut, view.rescale[0], view.rescale[1]);
}

darr_c1DArray Line(const darr_c2DArray& array, const View& view) {
  const cal_c2DArrayCal& cal = array.Cal();
  if (view.row) return array.LineAtY(CellAt(cal.AxisY(), array.NumIndicesY(), *view.row, "Y"));
  return array.LineAtX(CellAt(cal.AxisX(), array.NumIndicesX(), *view.column, "X"));
}

}  // namespace dseries
