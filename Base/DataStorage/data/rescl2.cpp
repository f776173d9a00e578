#include <algorithm>
#include <vector>

#include <DataStorage/data/detail/alongaxis.h>
#include <DataStorage/data/rescl2.h>

namespace {

constexpr detail::SourceFile source_file{"rescl2"};

/// Throws arr_cSizeException for steps of different directions.
void CheckStep(double step, double newStep) {
  if (!detail::bSameDirection(step, newStep)) detail::ThrowSizeError(detail::DirectionsText(step, newStep));
}

int Count(const detail::IndexSpan& cells) { return detail::SubtractIndices(cells.end, cells.start); }

/// The source indices of `count` new elements along an axis: start, start + step, ... in units of source
/// indices, limited to the `size` elements that there are.
std::vector<int> SourceIndices(int count, double start, double step, int size) {
  std::vector<int> indices(static_cast<std::size_t>(detail::CheckedCount(count)));
  double place = start;
  for (int& index : indices) {
    index = place > 0 ? static_cast<int>(std::min(place, size - 1.0)) : 0;  // also for not-a-number
    place += step;
  }
  return indices;
}

/// The grid of step `newDelta` through the first position of a source axis. Its reference index is that of
/// the cell that contains the source's reference position.
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
      detail::SelectCells(range.StartX(), range.EndX(), {origin, newDelta}, rnge_IndexNearest);
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
  const int nx = Count(detail::SelectCells(range.Left(), range.Right(), cal.AxisX(), rnge_IndexOuter));
  const int ny = Count(detail::SelectCells(range.Bottom(), range.Top(), cal.AxisY(), rnge_IndexOuter));
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
