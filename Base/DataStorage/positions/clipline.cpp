#include <cmath>

#include <DataStorage/interfaces/constants.h>
#include <DataStorage/positions/clipline.h>

namespace {

/// Moves the ends to the corners of the box where a line that runs to the right (or left) and up (or down)
/// enters and leaves it.
void MoveEnds(pos_c2DPosition& p1, pos_c2DPosition& p2, const rnge_c2DRange& box, bool right, bool up) {
  const double left = box.Left(), rightmost = box.Right(), bottom = box.Bottom(), top = box.Top();
  p1.SetPosition(right ? left : rightmost, up ? bottom : top);
  p2.SetPosition(right ? rightmost : left, up ? top : bottom);
}

}  // namespace

type_cBoolean rnge_ClipLine(const rnge_c2DRange& range, pos_c2DPosition& p1, pos_c2DPosition& p2) {
  const double x1 = p1.X(), y1 = p1.Y(), x2 = p2.X(), y2 = p2.Y();
  const rnge_c2DRange box(x1, y1, x2, y2);
  if (range.Contains(box)) return true;
  if (!range.Intersects(box)) return false;

  const double dx = x2 - x1, dy = y2 - y1;
  const rnge_c2DRange overlap = range & box;
  if (std::abs(dy) < type_MinValue) {
    const bool right = x2 > x1;
    p1.SetPosition(right ? overlap.Left() : overlap.Right(), y1);
    p2.SetPosition(right ? overlap.Right() : overlap.Left(), y2);
    return true;
  }
  if (std::abs(dx) < type_MinValue) {
    const bool up = y2 > y1;
    p1.SetPosition(x1, up ? overlap.Bottom() : overlap.Top());
    p2.SetPosition(x2, up ? overlap.Top() : overlap.Bottom());
    return true;
  }

  // Where the line crosses the edges of the overlap.
  const double slope = dy / dx, intercept = y1 - x1 * slope;
  const rnge_c2DRange crossings((overlap.Top() - intercept) / slope, overlap.Left() * slope + intercept,
                                (overlap.Bottom() - intercept) / slope, overlap.Right() * slope + intercept);
  if (!crossings.Intersects(overlap)) return false;
  MoveEnds(p1, p2, crossings & overlap, x2 > x1, (x2 > x1) == (slope > 0));
  return true;
}
