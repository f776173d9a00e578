#pragma once

#include <limits>

#include <DataStorage/arrays/numberarray.h>
#include <DataStorage/interfaces/detail/gatheredoutput.h>

// Definitions of detail::NumberArray, and helpers of the two source files that instantiate it.

namespace detail {

/// Whether an array can have nx * ny elements of `size` bytes and the stream can still hold them; to be
/// checked before memory is allocated. For up to 64 KiB the stream is not checked, which saves a system call:
/// the read itself fails.
inline bool bMayHold(const bstr_cBinary_istream& in, int nx, int ny, std::size_t size) {
  if (!bCountable(nx, ny)) return false;
  constexpr std::int64_t little = 64 * 1024;
  const std::int64_t bytes = std::int64_t{nx} * ny * static_cast<std::int64_t>(size);
  return bytes <= little || bytes <= in.Size() - in.Position();
}

/// The end of a block of `count` elements that begins at `start`; throws arr_cIndexException when it does not
/// fit an int.
template <class Letter>
int BlockEnd(const NumberArray<Letter>& array, int start, int count) {
  const std::int64_t end = std::int64_t{start} + count;
  if (end > std::numeric_limits<int>::max()) arr_IndexError(start, end, array.NumIndices());
  return static_cast<int>(end);
}

template <class Letter>
NumberArray<Letter>::NumberArray(std::unique_ptr<Letter> letter) {
  if (letter != nullptr && letter->Type() == dtyp_NoType) {
    letter = VisitElementType(
        letter->DataType().Type(), [&]<class T>(std::type_identity<T>) -> std::unique_ptr<Letter> {
          auto typed = letter->template UnfilledLike<T>();
          lgar_memcpy(typed->Elements().WriteAccess(), letter->Data(), letter->NumIndices(), sizeof(T));
          return typed;
        });
  }
  if (letter == nullptr) Letter::source_file.ThrowProgramError();
  letter_ = Shared<Letter>(std::move(letter));
}

template <class Letter>
template <class... Extents>
std::unique_ptr<Letter> NumberArray<Letter>::CreateLetter(dtyp_cDataType type, const void* data,
                                                          Extents... extents) {
  auto letter = VisitElementType(type.Type(), [&]<class T>(std::type_identity<T>) -> std::unique_ptr<Letter> {
    using Elements = typename Letter::template Container<T>;
    if (data == nullptr) return std::make_unique<typename Letter::template Typed<T>>(Elements(extents...));
    Elements elements(arr_Unfilled, extents...);
    lgar_memcpy(elements.WriteAccess(), data, elements.NumIndices(), sizeof(T));
    return std::make_unique<typename Letter::template Typed<T>>(std::move(elements));
  });
  if (letter == nullptr) Letter::source_file.ThrowProgramError();
  return letter;
}

template <class Letter>
template <class... Extents>
std::unique_ptr<Letter> NumberArray<Letter>::CreateLetter(const pnum_cNumber& value, Extents... extents) {
  return VisitElementType(value.DataType().Type(),
                          [&]<class T>(std::type_identity<T>) -> std::unique_ptr<Letter> {
                            using Elements = typename Letter::template Container<T>;
                            return std::make_unique<typename Letter::template Typed<T>>(
                                Elements(extents..., nullptr, *static_cast<const T*>(value.Data()), true));
                          });
}

template <class Letter>
void NumberArray<Letter>::CopyLetter() {
  letter_ = Shared<Letter>(letter_->Clone());
}

template <class Letter>
template <class Store>
void NumberArray<Letter>::StoreInCommonType(const pnum_cNumber& value, Store store) {
  if (value.DataType() == DataType()) return store(value);
  const dtyp_cDataType common = dtyp_Max(DataType(), value.DataType());
  Convert(common);
  pnum_cNumber converted(value);
  converted.Convert(common);
  store(converted);
}

template <class Letter>
int NumberArray<Letter>::SizeOf() const {
  const std::int64_t bytes = std::int64_t{DataType().SizeOf()} * NumIndices();
  if (bytes > std::numeric_limits<int>::max()) arr_SizeError(bytes);
  return static_cast<int>(bytes);
}

template <class Letter>
void NumberArray<Letter>::Convert(dtyp_cDataType type, conv_eComplexConversion complex_conversion) {
  if (type == DataType() || NumIndices() == 0) return;
  auto converted =
      VisitElementType(type.Type(), [&]<class T>(std::type_identity<T>) -> std::unique_ptr<Letter> {
        auto letter = letter_->template UnfilledLike<T>();
        ConvertIntoNewMemory(DataType().Type(), type.Type(), NumIndices(), complex_conversion, Data(),
                             letter->Elements().WriteAccess());
        return letter;
      });
  if (converted == nullptr) Letter::source_file.ThrowProgramError();
  letter_ = Shared<Letter>(std::move(converted));
}

template <class Letter>
type_cBoolean NumberArray<Letter>::Write(tgio_cASCII_ostream& out) const {
  return out.Write(str_cString(ShortName(DataType().Type())), parr_DataTypeString, false) &&
         letter_->WriteData(out, parr_DataString);
}

template <class Letter>
type_cBoolean NumberArray<Letter>::Write(tgio_cBinary_ostream& out) const {
  return out.Write(static_cast<unsigned char>(DataType().Type()), parr_DataTypeTag) &&
         letter_->WriteData(out, parr_DataTag);
}

template <class Letter>
type_cBoolean NumberArray<Letter>::Write(bstr_cBinary_ostream& out) const {
  GatheredOutput gathered(out);
  return WriteRawParts(gathered) && gathered.Finish();
}

template <class Letter>
type_cBoolean NumberArray<Letter>::WriteRawParts(bstr_cBinary_ostream& out) const {
  return bstr_WriteFields(out, static_cast<unsigned short>(DataType().Type())) && letter_->WriteRaw(out);
}

/// Raw forms of signed bytes and complex numbers can be written, but reading them has always been refused.
template <class T>
inline constexpr bool bRawFormIsRead = FamilyOf<T> != Family::Complex && !std::is_same_v<T, char>;

template <class Letter>
type_cBoolean NumberArray<Letter>::Read(bstr_cBinary_istream& in) {
  const auto type = static_cast<dtyp_eDataType>(Letter::ReadRawType(in));
  auto letter = VisitElementType(type, []<class T>(std::type_identity<T>) -> std::unique_ptr<Letter> {
    if (!bRawFormIsRead<T>) return nullptr;
    return std::make_unique<typename Letter::template Typed<T>>();
  });
  if (letter == nullptr || !letter->ReadRaw(in) || !in.bGood()) return false;
  letter_ = Shared<Letter>(std::move(letter));
  return true;
}

template <class Letter>
NumberArray<Letter>::sParrayData::sParrayData(const sParrayData& other)
    : tgio_cTaggedStreamObject(other),
      letter(other.letter == nullptr ? nullptr : other.letter->Clone()),
      data_type(other.data_type) {}

template <class Letter>
auto NumberArray<Letter>::sParrayData::operator=(const sParrayData& other) -> sParrayData& {
  if (this != &other) {
    letter = other.letter == nullptr ? nullptr : other.letter->Clone();
    data_type = other.data_type;
  }
  return *this;
}

template <class Letter>
template <class Stream>
type_cBoolean NumberArray<Letter>::sParrayData::ReadElements(Stream& in) {
  if (letter != nullptr) Letter::source_file.ThrowProgramError();
  const int type = data_type == dtyp_NoType ? dtyp_Float64 : data_type;
  const bool read = VisitElementType(static_cast<dtyp_eDataType>(type), [&]<class T>(std::type_identity<T>) {
    auto elements = std::make_unique<typename Letter::template Typed<T>>();
    const bool success = in.Read(elements->Elements());
    letter = std::move(elements);
    return success;
  });
  return read || in.Refuse();  // also when the type is invalid
}

template <class Letter>
type_cBoolean NumberArray<Letter>::sParrayData::ReadAtom(tgio_cBinary_istream& in) {
  switch (in.Tag()) {
    case parr_DataTypeTag: {
      unsigned char type = 0;
      const type_cBoolean read = in.Read(type);
      if (read) data_type = type;
      return read;
    }
    case parr_DataTag:
      return ReadElements(in);
    default:
      return tgio_cTaggedStreamObject::ReadAtom(in);
  }
}

template <class Letter>
type_cBoolean NumberArray<Letter>::sParrayData::ReadAtom(tgio_cASCII_istream& in) {
  if (in.Name() == parr_DataTypeString) {
    str_cString name;
    const type_cBoolean read = in.Read(name);
    if (const dtyp_eDataType type = TypeOfShortName(name); type != dtyp_NoType) data_type = type;
    return read;
  }
  if (in.Name() == parr_DataString) return ReadElements(in);
  return tgio_cTaggedStreamObject::ReadAtom(in);
}

}  // namespace detail
