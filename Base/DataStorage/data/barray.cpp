#include <DataStorage/data/barray.h>

barr_c1DBoolArray::~barr_c1DBoolArray() = default;

barr_c1DBoolArray& barr_c1DBoolArray::operator=(type_cBoolean value) {
  arr_c1DNumberArray::operator=(value);
  return *this;
}

const type_cBoolean* barr_c1DBoolArray::Data() const {
  if (NumIndices() == 0) arr_IndexError(0, 0);
  return arr_c1DNumberArray::Data();
}

barr_c1DBoolArray barr_c1DBoolArray::Selection(const rnge_c1DIndexRange& range) const {
  if (range.IsNull()) return *this;
  return barr_c1DBoolArray(SubArray(range.StartIndexX(), std::int64_t{range.EndIndexX()} - 1),
                           detail::Rebased(Cal(), range));
}

barr_c1DBoolArray barr_c1DBoolArray::Selection(int start, int end) const {
  return Selection(rnge_c1DIndexRange(start, end));
}

void barr_c1DBoolArray::SetSelection(const barr_c1DBoolArray& source, int offset) {
  if (source.NumIndices() == 0) return;
  const barr_c1DBoolArray copy(source);  // keeps the old elements when a mask is copied into itself
  SetBlock(copy.Data(), copy.NumIndices(), offset);
}

type_cBoolean barr_c1DBoolArray::IsRangeAndDelta(const barr_c1DBoolArray& other) const {
  return Range() == other.Range() && DeltaX() == other.DeltaX();
}

barr_c2DBoolArray::~barr_c2DBoolArray() = default;

barr_c2DBoolArray& barr_c2DBoolArray::operator=(type_cBoolean value) {
  arr_c2DNumberArray::operator=(value);
  return *this;
}

const type_cBoolean* barr_c2DBoolArray::Data() const {
  if (NumIndices() == 0) arr_IndexError(0, 0, NumIndicesX(), NumIndicesY());
  return arr_c2DNumberArray::Data();
}

barr_c2DBoolArray barr_c2DBoolArray::Selection(const rnge_c2DIndexRange& range) const {
  if (range.IsNull()) return *this;
  return barr_c2DBoolArray(SubArray(range.StartIndexX(), range.StartIndexY(),
                                    std::int64_t{range.EndIndexX()} - 1, std::int64_t{range.EndIndexY()} - 1),
                           detail::Rebased(Cal(), range));
}

barr_c2DBoolArray barr_c2DBoolArray::Selection(int x0, int y0, int x1, int y1) const {
  return Selection(rnge_c2DIndexRange(x0, y0, x1, y1));
}

void barr_c2DBoolArray::SetSelection(const barr_c2DBoolArray& source, int x, int y) {
  if (source.NumIndices() == 0) return;
  detail::CheckBlock(x, source.NumIndicesX(), NumIndicesX());
  detail::CheckBlock(y, source.NumIndicesY(), NumIndicesY());
  const barr_c2DBoolArray copy(source);  // keeps the old elements when a mask is copied into itself
  SetBlock(copy.Data(), copy.NumIndicesX(), {x, y, copy.NumIndicesX(), copy.NumIndicesY()});
}

type_cBoolean barr_c2DBoolArray::IsRangeAndDelta(const barr_c2DBoolArray& other) const {
  return Range() == other.Range() && DeltaX() == other.DeltaX() && DeltaY() == other.DeltaY();
}
