#include <algorithm>
#include <cmath>

#include <DataStorage/data/detail/alongaxis.h>
#include <DataStorage/data/rescl2.h>

constinit const tgio_cObjectType darr_c1DArray::_ObjectType(obty_1DDataArrayString, obty_1DDataArrayType);

darr_c1DArray& darr_c1DArray::operator=(const pnum_cNumber& value) {
  parr_c1DNumberArray::operator=(value);
  return *this;
}

const tgio_cObjectType& darr_c1DArray::ObjectType() const { return _ObjectType; }

unsigned int darr_c1DArray::DataTypeID() { return obty_1DDataArrayType; }

pnum_cNumber darr_c1DArray::Value(double position, darr_eInterpolation interpolation) const {
  const detail::Interval covered{Cal().PositionX(0), Cal().PositionX(NumIndices())};
  if (NumIndices() == 0 || !covered.bContains(position)) return pnum_cNumber(DataType());
  const int last = NumIndices() - 1;
  const int i = std::max(std::min(Cal().IndexX(position), last), 0);
  const double distance = position - Cal().PositionX(i);
  if (interpolation == darr_NoInterpolation || i == last ||
      std::fabs(distance) < cal_cArrayCal::RoundFactor) {
    return Value(i);
  }
  const double a = Value(i).Value();
  const double b = Value(i + 1).Value();
  return pnum_cNumber(distance / DeltaX() * (b - a) + a);
}

void darr_c1DArray::SetValue(const pnum_cNumber& value, double position) {
  if (const int i = Cal().IndexX(position); i >= 0 && i < NumIndices()) return SetValue(value, i);
  if (std::isnan(position) || !(DeltaX() > 0)) {
    detail::ThrowIndexError("position " + str_cString(position, 0, 0) +
                            " is outside an array that does not grow");
  }
  darr_c1DArray grown =
      Range().Contains(position) ? *this : Selection(Range() | pos_c1DPosition(position), rnge_IndexOuter);
  // A position at the very end of the range is in the cell after the last one; a position within the
  // tolerance of the range may be in the cell before the first one.
  if (const int i = grown.Cal().IndexX(position); i < 0 || i >= grown.NumIndices()) {
    const int end = std::max(detail::AddIndices(i, 1), grown.NumIndices());
    grown = grown.FilledOut(rnge_c1DIndexRange(std::min(i, 0), end), true);
  }
  grown.SetValue(value, grown.Cal().IndexX(position));
  *this = grown;
}

darr_c1DArray darr_c1DArray::FilledOut(const rnge_c1DIndexRange& indices, bool keepReference) const {
  darr_c1DArray result(indices.NumIndicesX(), DataType(),
                       Cal().Rebased(indices.StartIndexX(), keepReference));
  const int start = std::max(indices.StartIndexX(), 0);
  const int end = std::min(indices.EndIndexX(), NumIndices());
  if (start < end) {
    const rnge_c1DIndexRange overlap(start, end);
    result.SetData(*this, overlap, overlap.Shift(-indices.StartIndexX()));
  }
  return result;
}

darr_c1DArray darr_c1DArray::Selection(const rnge_c1DIndexRange& range) const {
  if (range.IsNull()) return *this;
  return darr_c1DArray(parr_c1DNumberArray::Selection(range), detail::Rebased(Cal(), range));
}

darr_c1DArray darr_c1DArray::Selection(int start, int end) const {
  return Selection(rnge_c1DIndexRange(start, end));
}

darr_c1DArray darr_c1DArray::Selection(const rnge_c1DRange& range, rnge_eIndexSelect select) const {
  const rnge_c1DRange covered = Range();
  if (range == covered || range.IsNull()) return *this;
  const rnge_c1DIndexRange indices(range, Cal(), select);
  return covered.Contains(range) ? Selection(indices) : FilledOut(indices, range.Contains(OffsetX()));
}

darr_c1DArray darr_c1DArray::Selection(double from, double to, rnge_eIndexSelect select) const {
  return Selection(rnge_c1DRange(from, to), select);
}

void darr_c1DArray::Set(const darr_c1DArray& source) {
  detail::CheckAxes(DeltaX(), source.DeltaX());
  const darr_c1DArray merged = resc_Rescale(source, DeltaX(), Range().StartX());
  if (DeltaX() > 0) return detail::Merge<rnge_c1DIndexRange>(merged, *this);
  if (merged.NumIndices() == 0) return;
  const rnge_c1DRange range = merged.Range();
  const int count = merged.NumIndices();
  SetSelection(merged,
               detail::PlaceOf(range.StartX(), range.EndX(), count, Cal().AxisX(), NumIndices()).first);
}

darr_c1DArray darr_c1DArray::Move(double distance) const {
  darr_c1DArray moved(*this);
  moved.SetOffsetX(OffsetX() + distance);
  return moved;
}

double darr_c1DArray::OffsetX(const darr_c1DArray& other) const {
  return Range().StartX() - other.Range().StartX();
}
