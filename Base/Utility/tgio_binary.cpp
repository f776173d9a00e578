#include <algorithm>
#include <cstdint>
#include <istream>
#include <limits>
#include <ostream>

#include <DataStorage/interfaces/littleendian.h>
#include <DataStorage/interfaces/tgio.h>

// Everything is an atom: tag (2 bytes), kind (1), length of the payload (8), payload; little end first. An
// object's payload is its type (2 bytes) and its atoms. The outermost object is an atom with tag 0.

namespace {

using detail::LoadLittleEndian;
using detail::StoreLittleEndian;

enum Kind : unsigned char {
  KindNone = 0,
  KindByte = 1,
  KindInt = 2,
  KindDouble = 3,
  KindString = 4,
  KindObject = 5,
  KindStreamObject = 6,
};

constexpr std::size_t HeaderSize = 2 + 1 + 8;
constexpr std::size_t TypeSize = 2;
constexpr std::size_t FirstBlock = 1 << 16;  // memory taken before it is known how much data there really are

struct Header {
  unsigned short tag;
  unsigned char kind;
  std::uint64_t length;
};

Header LoadHeader(const char* bytes) noexcept {
  return {LoadLittleEndian<std::uint16_t>(bytes), static_cast<unsigned char>(bytes[2]),
          LoadLittleEndian<std::uint64_t>(bytes + 3)};
}

/// Whether atoms fill `atoms` exactly, down to the innermost object. `depth` counts the objects around them.
bool bWellFormed(std::string_view atoms, int depth) noexcept {
  while (!atoms.empty()) {
    if (atoms.size() < HeaderSize) return false;
    const Header header = LoadHeader(atoms.data());
    atoms.remove_prefix(HeaderSize);
    if (header.length > atoms.size()) return false;
    const auto length = static_cast<std::size_t>(header.length);
    if (header.kind == KindObject) {
      if (depth == tgio_MaxNesting || length < TypeSize) return false;
      if (!bWellFormed(atoms.substr(TypeSize, length - TypeSize), depth + 1)) return false;
    }
    atoms.remove_prefix(length);
  }
  return true;
}

}  // namespace

/// Writes an atom whose payload `compose` appends to the buffer.
template <class Compose>
bool tgio_cBinary_ostream::WriteAtom(unsigned short tag, unsigned char kind, Inside inside, Compose compose) {
  return Undoable(inside, [&] {
    const std::size_t start = buffer_.size();
    buffer_.append(HeaderSize, '\0');
    if (!compose()) return false;
    char* header = buffer_.data() + start;
    StoreLittleEndian<std::uint16_t>(header, tag);
    header[2] = static_cast<char>(kind);
    StoreLittleEndian<std::uint64_t>(header + 3, buffer_.size() - start - HeaderSize);
    return true;
  });
}

template <class T>
bool tgio_cBinary_ostream::WriteNumber(unsigned short tag, unsigned char kind, T value) {
  if (inside_ != Inside::Object) return false;
  return WriteAtom(tag, kind, Inside::Nothing, [&] {
    char bytes[sizeof value];
    StoreLittleEndian(bytes, value);
    buffer_.append(bytes, sizeof bytes);
    return true;
  });
}

bool tgio_cBinary_ostream::WriteObject(const tgio_cTaggedStreamObject& object, unsigned short tag) {
  if (depth_ == tgio_MaxNesting) return false;
  return WriteAtom(tag, KindObject, Inside::Object, [&] {
    char type[TypeSize];
    StoreLittleEndian<std::uint16_t>(type, object.ObjectType().Id());
    buffer_.append(type, sizeof type);
    const detail::ScopedValue deeper(depth_, depth_ + 1);
    return object.Write(*this);
  });
}

type_cBoolean tgio_cBinary_ostream::Write(const tgio_cTaggedStreamObject& object) {
  if (inside_ != Inside::Nothing) return false;
  buffer_.clear();
  if (!WriteObject(object, 0)) return false;
  out_.write(buffer_.data(), static_cast<std::streamsize>(buffer_.size()));
  return out_.good();
}

type_cBoolean tgio_cBinary_ostream::Write(unsigned char value, unsigned short tag) {
  return WriteNumber(tag, KindByte, value);
}
type_cBoolean tgio_cBinary_ostream::Write(int value, unsigned short tag) {
  return WriteNumber(tag, KindInt, value);
}
type_cBoolean tgio_cBinary_ostream::Write(double value, unsigned short tag) {
  return WriteNumber(tag, KindDouble, value);
}
type_cBoolean tgio_cBinary_ostream::Write(const str_cString& value, unsigned short tag) {
  if (inside_ != Inside::Object) return false;
  return WriteAtom(tag, KindString, Inside::Nothing, [&] {
    buffer_.append(std::string_view(value));
    return true;
  });
}
type_cBoolean tgio_cBinary_ostream::Write(const tgio_cTaggedStreamObject& object, unsigned short tag) {
  return inside_ == Inside::Object && WriteObject(object, tag);
}
type_cBoolean tgio_cBinary_ostream::Write(const tgio_cStreamObject& object, unsigned short tag) {
  if (inside_ != Inside::Object) return false;
  return WriteAtom(tag, KindStreamObject, Inside::StreamObject, [&] { return object.WriteStream(*this); });
}

type_cBoolean tgio_cBinary_ostream::WriteBytes(const void* bytes, std::size_t n) {
  if (inside_ != Inside::StreamObject) return false;
  buffer_.append(static_cast<const char*>(bytes), n);
  return true;
}

/// Makes the next whole object current. One that is damaged becomes an atom of no kind.
bool tgio_cBinary_istream::Load() {
  if (cursor_.atom.present) return true;
  char bytes[HeaderSize];
  if (!in_.read(bytes, sizeof bytes)) return false;
  const Header header = LoadHeader(bytes);
  object_.clear();
  while (object_.size() < header.length) {
    const std::size_t old = object_.size();
    const auto block =
        static_cast<std::size_t>(std::min<std::uint64_t>(header.length - old, std::max(old, FirstBlock)));
    object_.resize(old + block);
    if (!in_.read(object_.data() + old, static_cast<std::streamsize>(block))) return false;
  }
  const bool whole = header.kind == KindObject && object_.size() >= TypeSize &&
                     bWellFormed(std::string_view(object_).substr(TypeSize), 1);
  const Kind kind = whole ? KindObject : KindNone;
  cursor_.atom = {true, kind, header.tag, object_};
  return true;
}

/// Makes the following atom current. What is left was checked when the outermost object was loaded.
void tgio_cBinary_istream::Next() {
  cursor_.atom = {};
  cursor_.refused = false;
  if (cursor_.rest.empty()) return;
  const Header header = LoadHeader(cursor_.rest.data());
  const auto length = static_cast<std::size_t>(header.length);
  cursor_.atom = {true, header.kind, header.tag, cursor_.rest.substr(HeaderSize, length)};
  cursor_.rest.remove_prefix(HeaderSize + length);
}

bool tgio_cBinary_istream::bCurrent(unsigned char kind) const noexcept {
  return cursor_.atom.present && cursor_.atom.kind == kind;
}

type_cBoolean tgio_cBinary_istream::bHasAtom() const noexcept {
  return cursor_.depth > 0 && cursor_.atom.present;
}

unsigned short tgio_cBinary_istream::Tag() const noexcept { return bHasAtom() ? cursor_.atom.tag : 0; }

type_cBoolean tgio_cBinary_istream::eof() {
  return cursor_.depth == 0 && !cursor_.atom.present && in_.peek() == std::istream::traits_type::eof();
}

/// Reads what is inside of the current atom, and moves on when that was successful.
template <class Function>
bool tgio_cBinary_istream::ReadInside(const Cursor& contents, Function read) {
  bool success = false;
  {
    const detail::ScopedValue inside(cursor_, contents);
    Next();
    success = read() && !cursor_.refused;
  }
  if (!success) return Refuse();
  Next();
  return true;
}

type_cBoolean tgio_cBinary_istream::Read(tgio_cTaggedStreamObject& object) {
  if (cursor_.depth == 0 && !Load()) return false;
  const std::string_view payload = cursor_.atom.payload;
  if (!bCurrent(KindObject) || LoadLittleEndian<std::uint16_t>(payload.data()) != object.ObjectType().Id()) {
    return Refuse();
  }
  return ReadInside({{}, payload.substr(TypeSize), {}, cursor_.depth + 1},
                    [&] { return object.Read(*this); });
}

template <class T>
bool tgio_cBinary_istream::ReadNumber(unsigned char kind, T& value) {
  if (!bCurrent(kind) || cursor_.atom.payload.size() != sizeof value) return Refuse();
  value = LoadLittleEndian<T>(cursor_.atom.payload.data());
  Next();
  return true;
}

type_cBoolean tgio_cBinary_istream::Read(unsigned char& value) { return ReadNumber(KindByte, value); }
type_cBoolean tgio_cBinary_istream::Read(int& value) { return ReadNumber(KindInt, value); }
type_cBoolean tgio_cBinary_istream::Read(double& value) { return ReadNumber(KindDouble, value); }
type_cBoolean tgio_cBinary_istream::Read(str_cString& value) {
  if (!bCurrent(KindString) || cursor_.atom.payload.size() > std::numeric_limits<int>::max()) return Refuse();
  value = str_cString(cursor_.atom.payload);
  Next();
  return true;
}

type_cBoolean tgio_cBinary_istream::Read(tgio_cStreamObject& object) {
  if (!bCurrent(KindStreamObject)) return Refuse();
  return ReadInside({{}, {}, cursor_.atom.payload, cursor_.depth}, [&] { return object.ReadStream(*this); });
}

type_cBoolean tgio_cBinary_istream::SkipObject() {
  if (cursor_.depth == 0 && !Load()) return false;
  if (!cursor_.atom.present) return false;
  if (cursor_.refused) {
    cursor_.atom = {};
    cursor_.rest = {};
    return false;
  }
  Next();
  return true;
}

type_cBoolean tgio_cBinary_istream::Refuse() noexcept {
  cursor_.refused |= bool{bHasAtom()};
  return false;
}

type_cBoolean tgio_cBinary_istream::ReadBytes(void* bytes, std::size_t n) {
  if (n > cursor_.bytes.size()) return false;
  cursor_.bytes.copy(static_cast<char*>(bytes), n);
  cursor_.bytes.remove_prefix(n);
  return true;
}
