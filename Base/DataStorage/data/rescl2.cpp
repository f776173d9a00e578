#include <algorithm>
#include <cmath>
#include <vector>

#include <DataStorage/data/rescl2.h>

namespace {

constexpr detail::SourceFile source_file{"rescl2"};

/// Whether two steps lead in the same direction.
bool bSameDirection(double a, double b) {
  return std::isfinite(a) && std::isfinite(b) && ((a > 0 && b > 0) || (a < 0 && b < 0));
}

str_cString Directions(double a, double b) {
  return "steps of " + str_cString(a, 0, 0) + " and " + str_cString(b, 0, 0) +
         " do not lead in the same direction";
}

/// Elements of one step can become elements of another only where both lead in the same direction.
void CheckStep(double step, double newStep) {
  if (!bSameDirection(step, newStep)) detail::ThrowSizeError(Directions(step, newStep));
}

/// The same of the axes of two arrays that are merged.
void CheckAxes(double a, double b) {
  if (!bSameDirection(a, b)) detail::ThrowIndexError(Directions(a, b));
}

/// The cells that the positions from `from` to `to`, in the direction of the axis, select. A falling axis is
/// a rising one seen in a mirror.
detail::IndexSpan SelectIndices(double from, double to, const cal_cArrayCal& cal, rnge_eIndexSelect select) {
  if (!(cal.Delta() < 0)) return detail::SelectIndices(from, to, cal, select);
  return detail::SelectIndices(-from, -to, {-cal.Offset(), -cal.Delta(), cal.CalIndex()}, select);
}

/// Where merged elements go along an axis: to the indices from `first` on of an array that has the indices of
/// `needed`.
struct Place {
  int first;
  detail::IndexSpan needed;
};

/// The place of `count` elements, which lie at the positions from `from` to `to`, along the axis of an array
/// of `size`. A falling axis has all the indices that it will have.
Place PlaceOf(double from, double to, int count, const cal_cArrayCal& cal, int size) {
  const int first = SelectIndices(from, to, cal, rnge_IndexNearest).start;
  if (cal.Delta() < 0) {
    detail::CheckBlock(first, count, size);
    return {first, {0, size}};
  }
  const detail::IndexSpan touched = SelectIndices(from, to, cal, rnge_IndexOuter);
  return {
      first,
      {std::min({0, first, touched.start}), std::max({size, detail::AddIndices(first, count), touched.end})}};
}

int Count(const detail::IndexSpan& cells) { return detail::SubtractIndices(cells.end, cells.start); }

/// For each of `count` new elements along an axis the source index, of `size`, that it takes: the places
/// start, start + step, ... in units of source indices.
std::vector<int> SourceIndices(int count, double start, double step, int size) {
  std::vector<int> indices(static_cast<std::size_t>(detail::CheckedCount(count)));
  double place = start;
  for (int& index : indices) {
    index = place > 0 ? static_cast<int>(std::min(place, size - 1.0)) : 0;  // not-a-number too
    place += step;
  }
  return indices;
}

/// The grid of step `newDelta` through the first position of a source axis, its reference element the one
/// that holds the source's reference position.
cal_cArrayCal RescaledAxis(const cal_cArrayCal& source, double newDelta) {
  const double first = source.Position(0);
  const int reference = cal_cArrayCal(first, newDelta).Index(source.Offset());
  return {first + reference * newDelta, newDelta, reference};
}

double Transformed(double fraction, int count, const cal_cArrayCal& cal) {
  return count * cal.Delta() * fraction - cal.CalIndex() * cal.Delta() + cal.Offset();
}

}  // namespace

darr_c1DArray resc_Rescale(const darr_c1DArray& source, double newDelta, double origin) {
  if (source.DeltaX() == newDelta) return source;
  CheckStep(source.DeltaX(), newDelta);
  const rnge_c1DRange range = source.Range();
  const detail::IndexSpan cells =
      SelectIndices(range.StartX(), range.EndX(), {origin, newDelta}, rnge_IndexNearest);
  const cal_c1DArrayCal cal(origin + cells.start * newDelta, newDelta);
  const double step = newDelta / source.DeltaX();
  const double start = (cal.OffsetX() - source.Cal().PositionX(0)) / source.DeltaX();
  const int count = Count(cells);
  if (source.NumIndices() == 0) return darr_c1DArray(count, source.DataType(), cal);

  const std::vector<int> indices = SourceIndices(count, start + 0.5 * step, step, source.NumIndices());
  return detail::VisitElementType(source.DataType().Type(), [&]<class T>(std::type_identity<T>) {
    const T* from = static_cast<const T*>(source.Data());
    arr_c1DNumberArray<T> elements(arr_Unfilled, count);
    std::transform(indices.begin(), indices.end(), elements.WriteAccess(), [from](int i) { return from[i]; });
    return darr_c1DArray(elements, cal);
  });
}

darr_c2DArray resc_Rescale(const darr_c2DArray& source, double newDeltaX, double newDeltaY) {
  if (source.DeltaX() == newDeltaX && source.DeltaY() == newDeltaY) return source;
  if (source.DataType().SizeOf() == 0) source_file.ThrowProgramError();
  CheckStep(source.DeltaX(), newDeltaX);
  CheckStep(source.DeltaY(), newDeltaY);
  const cal_c2DArrayCal cal(RescaledAxis(source.Cal().AxisX(), newDeltaX),
                            RescaledAxis(source.Cal().AxisY(), newDeltaY));
  const rnge_c2DRange range = source.Range();
  const int nx = Count(SelectIndices(range.Left(), range.Right(), cal.AxisX(), rnge_IndexOuter));
  const int ny = Count(SelectIndices(range.Bottom(), range.Top(), cal.AxisY(), rnge_IndexOuter));
  if (source.NumIndices() == 0) return darr_c2DArray(nx, ny, source.DataType(), cal);

  const std::vector<int> columns = SourceIndices(nx, 0.0, newDeltaX / source.DeltaX(), source.NumIndicesX());
  const std::vector<int> rows = SourceIndices(ny, 0.0, newDeltaY / source.DeltaY(), source.NumIndicesY());
  return detail::VisitElementType(source.DataType().Type(), [&]<class T>(std::type_identity<T>) {
    arr_c2DNumberArray<T> elements(arr_Unfilled, nx, ny);
    T* to = elements.WriteAccess();
    for (std::size_t y = 0; y < rows.size(); ++y, to += nx) {
      if (y > 0 && rows[y] == rows[y - 1]) {
        std::copy_n(to - nx, nx, to);
      } else {
        const T* from = static_cast<const T*>(source.Data()) + std::int64_t{rows[y]} * source.NumIndicesX();
        std::transform(columns.begin(), columns.end(), to, [from](int x) { return from[x]; });
      }
    }
    return darr_c2DArray(elements, cal);
  });
}

void darr_c1DArray::Set(const darr_c1DArray& source) {
  CheckAxes(DeltaX(), source.DeltaX());
  const darr_c1DArray merged = resc_Rescale(source, DeltaX(), Range().StartX());
  if (DeltaX() < 0) {
    if (merged.NumIndices() == 0) return;
    const rnge_c1DRange range = merged.Range();
    const int count = merged.NumIndices();
    SetSelection(merged, PlaceOf(range.StartX(), range.EndX(), count, Cal().AxisX(), NumIndices()).first);
    return;
  }
  const auto store = [&merged](darr_c1DArray& target) {
    target.SetData(merged, rnge_c1DIndexRange::Null,
                   rnge_c1DIndexRange(merged.Range(), target.Cal(), rnge_IndexNearest));
  };
  if (Range().Contains(merged.Range())) {
    store(*this);
  } else {
    darr_c1DArray grown = Selection(Range() | merged.Range(), rnge_IndexOuter);
    store(grown);
    *this = grown;
  }
}

void darr_c2DArray::Set(const darr_c2DArray& source) {
  CheckAxes(DeltaX(), source.DeltaX());
  CheckAxes(DeltaY(), source.DeltaY());
  const darr_c2DArray merged = resc_Rescale(source, DeltaX(), DeltaY());
  if (DeltaX() < 0 || DeltaY() < 0) {
    if (merged.NumIndices() == 0) return;
    const rnge_c2DRange range = merged.Range();
    const Place x = PlaceOf(range.Left(), range.Right(), merged.NumIndicesX(), Cal().AxisX(), NumIndicesX());
    const Place y = PlaceOf(range.Bottom(), range.Top(), merged.NumIndicesY(), Cal().AxisY(), NumIndicesY());
    const rnge_c2DIndexRange needed(x.needed.start, y.needed.start, x.needed.end, y.needed.end);
    if (needed == IndexRange()) return SetSelection(merged, x.first, y.first);
    darr_c2DArray grown = FilledOut(needed, true);
    grown.SetSelection(merged, x.first - x.needed.start, y.first - y.needed.start);
    *this = grown;
    return;
  }
  const auto store = [&merged](darr_c2DArray& target) {
    target.SetData(merged, rnge_c2DIndexRange::Null,
                   rnge_c2DIndexRange(merged.Range(), target.Cal(), rnge_IndexNearest));
  };
  if (Range().Contains(merged.Range())) {
    store(*this);
  } else {
    darr_c2DArray grown = Selection(Range() | merged.Range(), rnge_IndexOuter);
    store(grown);
    *this = grown;
  }
}

pos_c1DPosition darr_Transform(const pos_c1DPosition& position, const darr_c1DArray& array,
                               const cal_c1DArrayCal& cal) {
  const rnge_c1DRange range = array.Range();
  return Transformed((position.X() - range.StartX()) / (range.EndX() - range.StartX()), array.NumIndices(),
                     cal.AxisX());
}

pos_c2DPosition darr_Transform(const pos_c2DPosition& position, const darr_c2DArray& array,
                               const cal_c2DArrayCal& cal) {
  const rnge_c2DRange range = array.Range();
  return {Transformed((position.X() - range.Left()) / range.SizeX(), array.NumIndicesX(), cal.AxisX()),
          Transformed((position.Y() - range.Bottom()) / range.SizeY(), array.NumIndicesY(), cal.AxisY())};
}
