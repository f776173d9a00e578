#include <algorithm>
#include <cmath>
#include <vector>

#include <DataStorage/data/rescl2.h>

namespace {

constexpr detail::SourceFile source_file{"rescl2"};

/// For each of `count` new elements along an axis the source index, of `size`, that it takes: the places
/// start, start + step, ... in units of source indices.
std::vector<int> SourceIndices(int count, double start, double step, int size) {
  if (std::isnan(step)) arr_SizeError();
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
  const rnge_c1DIndexRange cells(source.Range(), cal_c1DArrayCal(origin, newDelta), rnge_IndexNearest);
  const cal_c1DArrayCal cal(origin + cells.StartIndexX() * newDelta, newDelta);
  const double step = newDelta / source.DeltaX();
  const double start = (cal.OffsetX() - source.Cal().PositionX(0)) / source.DeltaX();
  const int count = cells.NumIndicesX();
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
  const cal_c2DArrayCal cal(RescaledAxis(source.Cal().AxisX(), newDeltaX),
                            RescaledAxis(source.Cal().AxisY(), newDeltaY));
  const rnge_c2DIndexRange cells(source.Range(), cal, rnge_IndexOuter);
  const int nx = cells.NumIndicesX();
  const int ny = cells.NumIndicesY();
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
  const darr_c1DArray merged = resc_Rescale(source, DeltaX(), Range().StartX());
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
  const darr_c2DArray merged = resc_Rescale(source, DeltaX(), DeltaY());
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
