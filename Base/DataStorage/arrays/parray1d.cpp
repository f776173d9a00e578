#include <DataStorage/arrays/detail/numberarray_impl.h>
#include <DataStorage/arrays/parray1d.h>

constinit const tgio_cObjectType parr_c1DNumberArray::_ObjectType(obty_1DParrayString, obty_1DParrayType);
constinit const dtyp_cDataType parr_c1DNumberArray::t1DComplexArray = dtyp_Complex128;
constinit const dtyp_cDataType parr_c1DNumberArray::t1DValueArray = dtyp_Float64;
constinit const dtyp_cDataType parr_c1DNumberArray::t1DCountArray = dtyp_SBin32;

parr_c1DArray::~parr_c1DArray() = default;

unsigned short parr_c1DArray::ReadRawType(bstr_cBinary_istream& in) {
  unsigned short type = 0xFFFF;
  bstr_ReadFields(in, type);
  return type;
}

template <class T>
std::unique_ptr<parr_c1DArray> parr_c1DTypedNumberArray<T>::Clone() const {
  return std::make_unique<parr_c1DTypedNumberArray>(*this);
}

template <class T>
std::unique_ptr<parr_c1DArray> parr_c1DTypedNumberArray<T>::Selection(const rnge_c1DIndexRange& range) const {
  if (range.IsNull()) return Clone();
  return std::make_unique<parr_c1DTypedNumberArray>(
      this->elements_.SubArray(range.StartIndexX(), std::int64_t{range.EndIndexX()} - 1));
}

template <class T>
void parr_c1DTypedNumberArray<T>::SetData(const parr_c1DArray& source, const rnge_c1DIndexRange& source_range,
                                          const rnge_c1DIndexRange& target_range) {
  if (source.DataType() != this->DataType()) this->source_file.ThrowProgramError();
  // The copy keeps the old elements when an array is copied into itself.
  const arr_c1DNumberArray<T> elements = static_cast<const parr_c1DTypedNumberArray&>(source).elements_;
  this->elements_.SetBlock(elements.Data() + source_range.StartIndexX(), target_range.NumIndicesX(),
                           target_range.StartIndexX());
}

template <class T>
type_cBoolean parr_c1DTypedNumberArray<T>::ReadRaw(bstr_cBinary_istream& in) {
  int count = 0;
  if (!bstr_ReadFields(in, count)) return false;
  if (count < 0) arr_SizeError(count);
  if (!detail::bMayHold(in, count, 1, sizeof(T))) return false;
  return this->ReadElements(in, arr_c1DNumberArray<T>(arr_Unfilled, count));
}

template <class T>
type_cBoolean parr_c1DTypedNumberArray<T>::WriteRaw(bstr_cBinary_ostream& out) const {
  return bstr_WriteFields(out, NumIndices()) && bstr_WriteNumbers(out, this->elements_.Data(), NumIndices());
}

parr_c1DNumberArray::parr_c1DNumberArray()
    : NumberArray(std::make_unique<parr_c1DTypedNumberArray<unsigned char>>()) {}

parr_c1DNumberArray::parr_c1DNumberArray(int count, dtyp_cDataType type, const void* data)
    : NumberArray(CreateLetter(type, data, count)) {}

parr_c1DNumberArray::parr_c1DNumberArray(int count, const pnum_cNumber& value)
    : NumberArray(CreateLetter(value, count)) {}

parr_c1DNumberArray::parr_c1DNumberArray(parr_c1DArray* letter)
    : NumberArray(std::unique_ptr<parr_c1DArray>(letter)) {}

const tgio_cObjectType& parr_c1DNumberArray::ObjectType() const { return _ObjectType; }

void parr_c1DNumberArray::SetAnyValue(const pnum_cNumber& value, int i) {
  StoreInCommonType(value, [&](const pnum_cNumber& common) { Own().SetValue(common, i); });
}

parr_c1DNumberArray& parr_c1DNumberArray::operator=(const pnum_cNumber& value) {
  if (value.DataType() == DataType()) {
    Own().SetAll(value);
  } else {
    *this = parr_c1DNumberArray(NumIndices(), value);
  }
  return *this;
}

void parr_c1DNumberArray::SetData(const parr_c1DNumberArray& source, const rnge_c1DIndexRange& source_range,
                                  const rnge_c1DIndexRange& target_range) {
  if (source_range.IsNull() && target_range.IsNull()) return;
  const dtyp_cDataType common = dtyp_Max(DataType(), source.DataType());
  Convert(common);
  const rnge_c1DIndexRange from =
      source_range.IsNull() ? rnge_c1DIndexRange(0, source.NumIndices()) : source_range;
  const rnge_c1DIndexRange to = target_range.IsNull() ? rnge_c1DIndexRange(0, NumIndices()) : target_range;
  const std::int64_t count = std::int64_t{to.EndIndexX()} - to.StartIndexX();
  if (count <= 0) return;
  detail::CheckBlock(from.StartIndexX(), count, source.NumIndices());
  detail::CheckBlock(to.StartIndexX(), count, NumIndices());
  if (source.DataType() == common) {
    Own().SetData(*source.letter_, from, to);
    return;
  }
  // Converts only the elements that are copied, directly into their place.
  detail::VisitElementType(common.Type(), [&]<class T>(std::type_identity<T>) {
    auto& elements = OwnIfTyped<T>()->Elements();
    T* const target = count == NumIndices() ? elements.WriteAccess(arr_Unfilled) : elements.WriteAccess();
    const auto* block = static_cast<const unsigned char*>(source.Data()) +
                        std::int64_t{from.StartIndexX()} * source.DataType().SizeOf();
    conv_ConvertElements(source.DataType().Type(), common.Type(), count, conv_Real, block,
                         target + to.StartIndexX());
    return true;
  });
}

void parr_c1DNumberArray::SetSelection(const parr_c1DNumberArray& source, int offset) {
  SetData(source, rnge_c1DIndexRange::Null,
          rnge_c1DIndexRange(offset, detail::BlockEnd(*this, offset, source.NumIndices())));
}

parr_c1DNumberArray parr_c1DNumberArray::Selection(const rnge_c1DIndexRange& range) const {
  return parr_c1DNumberArray(letter_->Selection(range).release());
}

parr_c1DNumberArray parr_c1DNumberArray::Selection(int first, int second) const {
  return Selection(rnge_c1DIndexRange(first, second));
}

template class DATASTORAGE_INSTANCE detail::NumberArray<parr_c1DArray>;
#define DATASTORAGE_ELEMENT_TYPE(value, name, type, long_name, short_name) \
  template class DATASTORAGE_INSTANCE parr_c1DTypedNumberArray<type>;
#include <DataStorage/interfaces/elementtypes.def>
