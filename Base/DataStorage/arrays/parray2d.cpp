#include <DataStorage/arrays/detail/numberarray_impl.h>
#include <DataStorage/arrays/parray2d.h>

constinit const tgio_cObjectType parr_c2DNumberArray::_ObjectType(obty_2DParrayString, obty_2DParrayType);
constinit const dtyp_cDataType parr_c2DNumberArray::t2DComplexArray = dtyp_Complex64;
constinit const dtyp_cDataType parr_c2DNumberArray::t2DValueArray = dtyp_Float32;
constinit const dtyp_cDataType parr_c2DNumberArray::t2DCountArray = dtyp_SBin32;

parr_c2DArray::~parr_c2DArray() = default;

unsigned short parr_c2DArray::ReadRawType(bstr_cBinary_istream& in) {
  unsigned short first = 0xFFFF;
  if (!bstr_ReadFields(in, first) || first != flfm_LittleEndian) return first;
  unsigned short type = 0xFFFF;
  unsigned short second = 0;
  if (!bstr_ReadFields(in, second) || second != flfm_BinaryImageID) return first;
  bstr_ReadFields(in, type);
  return type;
}

template <class T>
std::unique_ptr<parr_c2DArray> parr_c2DTypedNumberArray<T>::Clone() const {
  return std::make_unique<parr_c2DTypedNumberArray>(*this);
}

template <class T>
std::unique_ptr<parr_c2DArray> parr_c2DTypedNumberArray<T>::Selection(const rnge_c2DIndexRange& range) const {
  if (range.IsNull()) return Clone();
  return std::make_unique<parr_c2DTypedNumberArray>(
      this->elements_.SubArray(range.StartIndexX(), range.StartIndexY(), std::int64_t{range.EndIndexX()} - 1,
                               std::int64_t{range.EndIndexY()} - 1));
}

template <class T>
void parr_c2DTypedNumberArray<T>::SetData(const parr_c2DArray& source, const rnge_c2DIndexRange& source_range,
                                          const rnge_c2DIndexRange& target_range) {
  if (source.DataType() != this->DataType()) this->source_file.ThrowProgramError();
  // The copy keeps the old elements when an array is copied into itself.
  const arr_c2DNumberArray<T> elements = static_cast<const parr_c2DTypedNumberArray&>(source).elements_;
  const T* corner = elements.Data() + std::int64_t{source_range.StartIndexY()} * elements.NumIndicesX() +
                    source_range.StartIndexX();
  this->elements_.SetBlock(corner, elements.NumIndicesX(),
                           {target_range.StartIndexX(), target_range.StartIndexY(),
                            target_range.NumIndicesX(), target_range.NumIndicesY()});
}

template <class T>
parr_c1DNumberArray parr_c2DTypedNumberArray<T>::Column(int x) const {
  return this->elements_.Column(x);
}

template <class T>
parr_c1DNumberArray parr_c2DTypedNumberArray<T>::Row(int y) const {
  return this->elements_.Row(y);
}

template <class T>
type_cBoolean parr_c2DTypedNumberArray<T>::ReadRaw(bstr_cBinary_istream& in) {
  int nx = 0;
  int ny = 0;
  if (!bstr_ReadFields(in, nx, ny)) return false;
  if (nx < 0 || ny < 0) arr_SizeError(nx, ny);
  if (!detail::bMayHold(in, nx, ny, sizeof(T))) return false;
  return this->ReadElements(in, arr_c2DNumberArray<T>(arr_Unfilled, nx, ny));
}

template <class T>
type_cBoolean parr_c2DTypedNumberArray<T>::WriteRaw(bstr_cBinary_ostream& out) const {
  return bstr_WriteFields(out, NumIndicesX(), NumIndicesY()) &&
         bstr_WriteNumbers(out, this->elements_.Data(), this->elements_.NumIndices());
}

parr_c2DNumberArray::parr_c2DNumberArray()
    : NumberArray(std::make_unique<parr_c2DTypedNumberArray<unsigned char>>()) {}

parr_c2DNumberArray::parr_c2DNumberArray(int nx, int ny, dtyp_cDataType type, const void* data)
    : NumberArray(CreateLetter(type, data, nx, ny)) {}

parr_c2DNumberArray::parr_c2DNumberArray(int nx, int ny, const pnum_cNumber& value)
    : NumberArray(CreateLetter(value, nx, ny)) {}

parr_c2DNumberArray::parr_c2DNumberArray(parr_c2DArray* letter)
    : NumberArray(std::unique_ptr<parr_c2DArray>(letter)) {}

const tgio_cObjectType& parr_c2DNumberArray::ObjectType() const { return _ObjectType; }

rnge_c2DIndexRange parr_c2DNumberArray::IndexRange() const {
  return rnge_c2DIndexRange(0, 0, NumIndicesX(), NumIndicesY());
}

void parr_c2DNumberArray::SetAnyValue(const pnum_cNumber& value, int x, int y) {
  StoreInCommonType(value, [&](const pnum_cNumber& common) { Own().SetValue(common, x, y); });
}

parr_c2DNumberArray& parr_c2DNumberArray::operator=(const pnum_cNumber& value) {
  if (value.DataType() == DataType()) {
    Own().SetAll(value);
  } else {
    *this = parr_c2DNumberArray(NumIndicesX(), NumIndicesY(), value);
  }
  return *this;
}

void parr_c2DNumberArray::SetData(const parr_c2DNumberArray& source, const rnge_c2DIndexRange& source_range,
                                  const rnge_c2DIndexRange& target_range) {
  if (source_range.IsNull() && target_range.IsNull()) return;
  const dtyp_cDataType common = dtyp_Max(DataType(), source.DataType());
  Convert(common);
  const rnge_c2DIndexRange from = source_range.IsNull() ? source.IndexRange() : source_range;
  const rnge_c2DIndexRange to = target_range.IsNull() ? IndexRange() : target_range;
  const std::int64_t nx = std::int64_t{to.EndIndexX()} - to.StartIndexX();
  const std::int64_t ny = std::int64_t{to.EndIndexY()} - to.StartIndexY();
  if (nx <= 0 || ny <= 0) return;
  detail::CheckBlock(from.StartIndexX(), nx, source.NumIndicesX());
  detail::CheckBlock(from.StartIndexY(), ny, source.NumIndicesY());
  // Checks only the position in the storage, not each axis. An empty array, which keeps its type, throws too.
  const std::int64_t first = std::int64_t{to.StartIndexY()} * NumIndicesX() + to.StartIndexX();
  detail::CheckBlock(first, nx, NumIndices());
  detail::CheckBlock(first + (ny - 1) * NumIndicesX(), nx, NumIndices());
  if (source.DataType() == common) {
    Own().SetData(*source.letter_, from, to);
    return;
  }
  // Converts only the elements that are copied, directly into their place.
  const auto* block = static_cast<const unsigned char*>(source.Data());
  const std::int64_t corner = std::int64_t{from.StartIndexY()} * source.NumIndicesX() + from.StartIndexX();
  detail::VisitElementType(common.Type(), [&]<class T>(std::type_identity<T>) {
    auto& elements = OwnIfTyped<T>()->Elements();
    const bool whole = nx == NumIndicesX() && ny == NumIndicesY();
    T* const target = whole ? elements.WriteAccess(arr_Unfilled) : elements.WriteAccess();
    for (std::int64_t y = 0; y < ny; ++y) {
      conv_ConvertElements(source.DataType().Type(), common.Type(), nx, conv_Real,
                           block + (corner + y * source.NumIndicesX()) * source.DataType().SizeOf(),
                           target + first + y * NumIndicesX());
    }
    return true;
  });
}

void parr_c2DNumberArray::SetSelection(const parr_c2DNumberArray& source, int x, int y) {
  SetData(source, rnge_c2DIndexRange::Null,
          rnge_c2DIndexRange(x, y, detail::BlockEnd(*this, x, source.NumIndicesX()),
                             detail::BlockEnd(*this, y, source.NumIndicesY())));
}

parr_c2DNumberArray parr_c2DNumberArray::Selection(const rnge_c2DIndexRange& range) const {
  return parr_c2DNumberArray(letter_->Selection(range).release());
}

parr_c2DNumberArray parr_c2DNumberArray::Selection(int x0, int y0, int x1, int y1) const {
  return Selection(rnge_c2DIndexRange(x0, y0, x1, y1));
}

std::pair<int, int> parr_c2DNumberArray::Indices(std::int64_t x, std::int64_t y) const {
  const std::pair indices(static_cast<int>(x), static_cast<int>(y));
  if (indices.first != x || indices.second != y) arr_IndexError(x, y, NumIndicesX(), NumIndicesY());
  return indices;
}

template class DATASTORAGE_INSTANCE detail::NumberArray<parr_c2DArray>;
#define DATASTORAGE_ELEMENT_TYPE(value, name, type, long_name, short_name) \
  template class DATASTORAGE_INSTANCE parr_c2DTypedNumberArray<type>;
#include <DataStorage/interfaces/elementtypes.def>
