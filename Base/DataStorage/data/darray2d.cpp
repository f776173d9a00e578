#include <algorithm>
#include <cmath>

#include <DataStorage/data/detail/alongaxis.h>
#include <DataStorage/data/rescl2.h>

namespace {

constexpr detail::SourceFile source_file{"darray2d"};

}  // namespace

constinit const tgio_cObjectType darr_c2DArray::_ObjectType(obty_2DDataArrayString, obty_2DDataArrayType);

darr_c2DArray& darr_c2DArray::operator=(const pnum_cNumber& value) {
  parr_c2DNumberArray::operator=(value);
  return *this;
}

const tgio_cObjectType& darr_c2DArray::ObjectType() const { return _ObjectType; }

unsigned int darr_c2DArray::DataTypeID() { return obty_2DDataArrayType; }

pnum_cNumber darr_c2DArray::Value(double x, double y) const {
  if (NumIndices() == 0 || !Range().Contains(x, y)) return pnum_cNumber(DataType());
  const int i = std::max(std::min(Cal().IndexX(x), NumIndicesX() - 1), 0);
  const int j = std::max(std::min(Cal().IndexY(y), NumIndicesY() - 1), 0);
  return Value(i, j);
}

void darr_c2DArray::SetValue(const pnum_cNumber& value, double x, double y) {
  int i = Cal().IndexX(x);
  int j = Cal().IndexY(y);
  const bool has_column = i >= 0 && i < NumIndicesX();
  const bool has_row = j >= 0 && j < NumIndicesY();
  if (has_column && has_row) return SetValue(value, i, j);
  const bool rising_x = DeltaX() > 0;
  const bool rising_y = DeltaY() > 0;
  if (std::isnan(x) || std::isnan(y) || !(has_column || rising_x) || !(has_row || rising_y)) {
    detail::ThrowIndexError("position (" + str_cString(x, 0, 0) + ", " + str_cString(y, 0, 0) +
                            ") is outside an array that does not grow there");
  }
  darr_c2DArray grown = *this;
  if (rising_x && rising_y && !Range().Contains(x, y)) {
    grown = Selection(Range() | pos_c2DPosition(x, y), rnge_IndexOuter);
  }
  // A position at the very end of the range is in the cell after the last one; a position within the
  // tolerance of the range may be in the cell before the first one.
  i = grown.Cal().IndexX(x);
  j = grown.Cal().IndexY(y);
  const rnge_c2DIndexRange needed(std::min(i, 0), std::min(j, 0),
                                  std::max(detail::AddIndices(i, 1), grown.NumIndicesX()),
                                  std::max(detail::AddIndices(j, 1), grown.NumIndicesY()));
  if (needed != grown.IndexRange()) grown = grown.FilledOut(needed, true);
  grown.SetValue(value, grown.Cal().IndexX(x), grown.Cal().IndexY(y));
  *this = grown;
}

darr_c2DArray darr_c2DArray::FilledOut(const rnge_c2DIndexRange& indices, bool keepReference) const {
  darr_c2DArray result(indices.NumIndicesX(), indices.NumIndicesY(), DataType(),
                       Cal().Rebased(indices.StartIndexX(), indices.StartIndexY(), keepReference));
  const int x0 = std::max(indices.StartIndexX(), 0);
  const int y0 = std::max(indices.StartIndexY(), 0);
  const int x1 = std::min(indices.EndIndexX(), NumIndicesX());
  const int y1 = std::min(indices.EndIndexY(), NumIndicesY());
  if (x0 < x1 && y0 < y1) {
    const rnge_c2DIndexRange overlap(x0, y0, x1, y1);
    result.SetData(*this, overlap, overlap.Shift(-indices.StartIndexX(), -indices.StartIndexY()));
  }
  return result;
}

darr_c2DArray darr_c2DArray::Selection(const rnge_c2DIndexRange& range) const {
  if (range.IsNull()) return *this;
  return darr_c2DArray(parr_c2DNumberArray::Selection(range), detail::Rebased(Cal(), range));
}

darr_c2DArray darr_c2DArray::Selection(int x0, int y0, int x1, int y1) const {
  return Selection(rnge_c2DIndexRange(x0, y0, x1, y1));
}

darr_c2DArray darr_c2DArray::Selection(const rnge_c2DRange& range, rnge_eIndexSelect select) const {
  if (!range.bAxisAligned()) source_file.ThrowProgramError();
  const rnge_c2DRange covered = Range();
  if (range == covered || range.IsNull()) return *this;
  const rnge_c2DIndexRange indices(range, Cal(), select);
  return covered.Contains(range) ? Selection(indices)
                                 : FilledOut(indices, range.Contains(OffsetX(), OffsetY()));
}

darr_c2DArray darr_c2DArray::Selection(double x1, double y1, double x2, double y2,
                                       rnge_eIndexSelect select) const {
  return Selection(rnge_c2DRange(x1, y1, x2, y2), select);
}

darr_c1DArray darr_c2DArray::LineAtX(int i) const { return darr_c1DArray(Column(i), Cal().CalY()); }

darr_c1DArray darr_c2DArray::LineAtY(int j) const { return darr_c1DArray(Row(j), Cal().CalX()); }

void darr_c2DArray::Set(const darr_c2DArray& source) {
  detail::CheckAxes(DeltaX(), source.DeltaX());
  detail::CheckAxes(DeltaY(), source.DeltaY());
  const darr_c2DArray merged = resc_Rescale(source, DeltaX(), DeltaY());
  if (DeltaX() > 0 && DeltaY() > 0) return detail::Merge<rnge_c2DIndexRange>(merged, *this);
  if (merged.NumIndices() == 0) return;
  const rnge_c2DRange range = merged.Range();
  const detail::Place x =
      detail::PlaceOf(range.Left(), range.Right(), merged.NumIndicesX(), Cal().AxisX(), NumIndicesX());
  const detail::Place y =
      detail::PlaceOf(range.Bottom(), range.Top(), merged.NumIndicesY(), Cal().AxisY(), NumIndicesY());
  const rnge_c2DIndexRange needed(x.needed.start, y.needed.start, x.needed.end, y.needed.end);
  if (needed == IndexRange()) return SetSelection(merged, x.first, y.first);
  darr_c2DArray grown = FilledOut(needed, true);
  grown.SetSelection(merged, x.first - x.needed.start, y.first - y.needed.start);
  *this = grown;
}

darr_c2DArray darr_c2DArray::Move(double dx, double dy) const {
  darr_c2DArray moved(*this);
  moved.SetOffsetX(OffsetX() + dx);
  moved.SetOffsetY(OffsetY() + dy);
  return moved;
}

double darr_c2DArray::OffsetX(const darr_c2DArray& other) const { return Range().OffsetX(other.Range()); }

double darr_c2DArray::OffsetY(const darr_c2DArray& other) const { return Range().OffsetY(other.Range()); }
