#include <algorithm>
#include <charconv>
#include <cstdint>
#include <memory>
#include <type_traits>

#include <DataStorage/interfaces/arr.h>
#include <DataStorage/interfaces/detail/littleendian.h>
#include <DataStorage/interfaces/elementtypes.h>

// The tagged-stream forms of number arrays. Binary: element code (1 byte), element count or, in two
// dimensions, columns and rows (4 bytes each), the elements in storage order; little-endian. ASCII, in one
// dimension: the count and the elements, a complex one as two numbers.

namespace {

using detail::LoadLittleEndian;
using detail::StoreLittleEndian;
using detail::SwapToLittleEndian;

/// The number of real numbers in an element: two for complex types.
template <class T>
constexpr std::size_t NumParts = sizeof(T) / detail::WordSize<T>;

/// Elements of at least so many bytes are not copied into the draft of an object.
constexpr std::size_t LargeBlock = 1 << 16;

/// The element code in streams: the family in the upper three bits, the size in bytes below. Persistent.
template <class T>
constexpr std::uint8_t Code = 32 * static_cast<int>(detail::FamilyOf<T>) + sizeof(T);
template <>
constexpr std::uint8_t Code<type_cBoolean> = 32 * 4 + 1;

bool WriteCount(tgio_cBinary_ostream& out, int n) {
  char bytes[4];
  StoreLittleEndian(bytes, n);
  return out.WriteBytes(bytes, sizeof bytes);
}

bool ReadCount(tgio_cBinary_istream& in, int& n) {
  char bytes[4];
  if (!in.ReadBytes(bytes, sizeof bytes)) return false;
  n = LoadLittleEndian<int>(bytes);
  return n >= 0 && n <= detail::LargestCount;
}

template <class T>
bool WriteCode(tgio_cBinary_ostream& out) {
  return out.WriteBytes(&Code<T>, 1);
}

template <class T>
bool ReadCode(tgio_cBinary_istream& in) {
  std::uint8_t code = 0;
  return in.ReadBytes(&code, 1) && code == Code<T>;
}

template <class Array, class T>
bool Append(tgio_cBinary_ostream& out, const Array& array, const T* elements, bool share) {
  const std::size_t bytes = static_cast<std::size_t>(array.NumIndices()) * sizeof(T);
  if (detail::bLittleEndian<T> && (!share || bytes < LargeBlock)) return out.WriteBytes(elements, bytes);
  const auto owner = std::make_shared<Array>(array);  // shares the elements
  if constexpr (!detail::bLittleEndian<T>) SwapToLittleEndian(owner->WriteAccess(), array.NumIndices());
  return out.WriteBytes(owner, owner->Data(), bytes);
}

template <class T>
bool ReadElements(tgio_cBinary_istream& in, T* elements, std::size_t n) {
  if (!in.ReadBytes(elements, n * sizeof(T))) return false;
  SwapToLittleEndian(elements, static_cast<std::int64_t>(n));
  if constexpr (std::is_same_v<T, type_cBoolean>) {
    std::transform(elements, elements + n, elements, [](bool value) { return value; });  // now 0 or 1
  }
  return true;
}

template <class T>
bool WriteNumber(tgio_cASCII_ostream& out, T number) {
  char text[32];
  const char* const end = std::to_chars(text, text + sizeof text, number).ptr;
  return out.WriteWord({text, static_cast<std::size_t>(end - text)});
}
bool WriteNumber(tgio_cASCII_ostream& out, type_cBoolean value) { return out.WriteWord(value ? "1" : "0"); }

template <class T>
bool WriteNumber(tgio_cASCII_ostream& out, const comp_cComplex<T>& value) {
  return WriteNumber(out, value.Real()) && WriteNumber(out, value.Imaginary());
}

template <class T>
bool ReadNumber(tgio_cASCII_istream& in, T& number) {
  const std::string_view word = in.ReadWord();
  const char* const end = word.data() + word.size();
  const auto [read, error] = std::from_chars(word.data(), end, number);
  return error == std::errc() && read == end;
}
bool ReadNumber(tgio_cASCII_istream& in, type_cBoolean& value) {
  const std::string_view word = in.ReadWord();
  value = word == "1";
  return value || word == "0";
}
template <class T>
bool ReadNumber(tgio_cASCII_istream& in, comp_cComplex<T>& value) {
  T real;
  T imaginary;
  if (!ReadNumber(in, real) || !ReadNumber(in, imaginary)) return false;
  value = {real, imaginary};
  return true;
}

}  // namespace

template <class T>
type_cBoolean arr_c1DNumberArray<T>::WriteStream(tgio_cBinary_ostream& out) const {
  return WriteElements(out, false);
}

template <class T>
type_cBoolean arr_c1DNumberArray<T>::WriteElements(tgio_cBinary_ostream& out, bool share) const {
  return WriteCode<T>(out) && WriteCount(out, this->NumIndices()) && Append(out, *this, this->Data(), share);
}

template <class T>
type_cBoolean arr_c1DNumberArray<T>::ReadStream(tgio_cBinary_istream& in) {
  int n = 0;
  if (!ReadCode<T>(in) || !ReadCount(in, n)) return false;
  const auto elements = static_cast<std::size_t>(n);
  if (in.BytesLeft() != elements * sizeof(T)) return false;
  arr_c1DNumberArray read(arr_Unfilled, n);
  if (!ReadElements(in, read.WriteAccess(), elements)) return false;
  read.SetFillValue(this->FillValue());
  *this = read;
  return true;
}

template <class T>
type_cBoolean arr_c1DNumberArray<T>::WriteStream(tgio_cASCII_ostream& out) const {
  const T* const elements = this->Data();
  return WriteNumber(out, this->NumIndices()) &&
         std::all_of(elements, elements + this->NumIndices(),
                     [&](const T& element) { return WriteNumber(out, element); });
}

template <class T>
type_cBoolean arr_c1DNumberArray<T>::ReadStream(tgio_cASCII_istream& in) {
  int n = 0;
  if (!ReadNumber(in, n) || n < 0) return false;
  if (static_cast<std::size_t>(n) > in.CharactersLeft() / (2 * NumParts<T>)) return false;
  arr_c1DNumberArray read(arr_Unfilled, n);
  T* const elements = read.WriteAccess();
  if (!std::all_of(elements, elements + n, [&](T& element) { return ReadNumber(in, element); })) return false;
  if (!in.ReadWord().empty()) return false;
  read.SetFillValue(this->FillValue());
  *this = read;
  return true;
}

template <class T>
type_cBoolean arr_c2DNumberArray<T>::WriteStream(tgio_cBinary_ostream& out) const {
  return WriteElements(out, false);
}

template <class T>
type_cBoolean arr_c2DNumberArray<T>::WriteElements(tgio_cBinary_ostream& out, bool share) const {
  return WriteCode<T>(out) && WriteCount(out, this->NumIndicesX()) && WriteCount(out, this->NumIndicesY()) &&
         Append(out, *this, this->Data(), share);
}

template <class T>
type_cBoolean arr_c2DNumberArray<T>::ReadStream(tgio_cBinary_istream& in) {
  int nx = 0;
  int ny = 0;
  if (!ReadCode<T>(in) || !ReadCount(in, nx) || !ReadCount(in, ny)) return false;
  const std::size_t elements = in.BytesLeft() / sizeof(T);
  if (std::uint64_t(nx) * std::uint64_t(ny) != elements || in.BytesLeft() % sizeof(T) != 0) return false;
  if (elements > std::size_t{detail::LargestCount}) return false;
  arr_c2DNumberArray read(arr_Unfilled, nx, ny);
  if (!ReadElements(in, read.WriteAccess(), elements)) return false;
  read.SetFillValue(this->FillValue());
  *this = read;
  return true;
}

#define DATASTORAGE_ELEMENT_TYPE(value, name, type, long_name, short_name) \
  template class DATASTORAGE_INSTANCE arr_c1DNumberArray<type>;            \
  template class DATASTORAGE_INSTANCE arr_c2DNumberArray<type>;
#include <DataStorage/interfaces/elementtypes.def>
template class DATASTORAGE_INSTANCE arr_c1DNumberArray<type_cBoolean>;
template class DATASTORAGE_INSTANCE arr_c2DNumberArray<type_cBoolean>;
