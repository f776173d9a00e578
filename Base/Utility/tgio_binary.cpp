#include <algorithm>
#include <cstdint>
#include <limits>
#include <ostream>
#include <utility>

#include <DataStorage/interfaces/detail/littleendian.h>
#include <Utility/tgio_reader.h>

// Everything is an atom: tag (2 bytes), kind (1), length of the payload (8), payload; little-endian. An
// object's payload is its type (2 bytes) and its atoms. The outermost object is an atom with tag 0.

namespace {

using detail::AtomKind;
using detail::LoadLittleEndian;
using detail::ObjectDraft;
using detail::StoreLittleEndian;
using Inside = ObjectDraft::Inside;

constexpr std::size_t HeaderSize = 2 + 1 + 8;
constexpr std::size_t TypeSize = 2;
constexpr std::size_t FirstBlock = 1 << 16;  // allocated before the real amount of data is known

constexpr std::size_t MostGrowth = 16;  // of what has arrived, even when a stream claims to hold more

/// The number of bytes that the stream says it holds; 0 when it does not say.
std::size_t Arrived(std::istream& in) noexcept {
  try {
    return static_cast<std::size_t>(std::max<std::streamsize>(in.rdbuf()->in_avail(), 0));
  } catch (...) {
    return 0;
  }
}

struct Header {
  unsigned short tag;
  AtomKind kind;
  std::uint64_t length;
};

Header LoadHeader(const char* bytes) noexcept {
  return {LoadLittleEndian<std::uint16_t>(bytes), static_cast<AtomKind>(bytes[2]),
          LoadLittleEndian<std::uint64_t>(bytes + 3)};
}

}  // namespace

struct detail::BinaryFormat {
  using Stream = tgio_cBinary_istream;
  using Type = std::uint16_t;
  using Atom = Stream::Atom;

  static bool bEnded(std::istream& in) { return in.peek() == std::istream::traits_type::eof(); }

  static bool Load(std::istream& in, ByteBlock& object, Atom& atom) {
    object.Clear();
    char bytes[HeaderSize];
    if (!in.read(bytes, sizeof bytes)) return false;
    const Header header = LoadHeader(bytes);
    while (object.Size() < header.length) {
      const std::size_t least = std::max(object.Size(), FirstBlock);
      const std::size_t block = std::clamp(Arrived(in), least, MostGrowth * least);
      const auto wanted =
          static_cast<std::size_t>(std::min<std::uint64_t>(header.length - object.Size(), block));
      if (!in.read(object.Append(wanted), static_cast<std::streamsize>(wanted))) return false;
    }
    atom = {true, header.tag, header.kind, object.Bytes()};
    return true;
  }

  static bool Take(std::string_view& atoms, Atom& atom) noexcept {
    atom = {};
    if (atoms.empty()) return true;
    if (atoms.size() < HeaderSize) return false;
    const Header header = LoadHeader(atoms.data());
    atoms.remove_prefix(HeaderSize);
    if (header.length > atoms.size()) return false;
    const auto length = static_cast<std::size_t>(header.length);
    atom = {true, header.tag, header.kind, atoms.substr(0, length)};
    atoms.remove_prefix(length);
    return true;
  }

  static bool TakeObject(std::string_view contents, Type& type, std::string_view& atoms) noexcept {
    if (!Value(contents.substr(0, TypeSize), type)) return false;
    atoms = contents.substr(TypeSize);
    return true;
  }
  static bool TakeData(std::string_view contents, std::string_view& data) noexcept {
    data = contents;
    return true;
  }
  static Type TypeOf(const tgio_cObjectType& type) noexcept { return type.Id(); }

  template <class T>
  static bool Value(std::string_view contents, T& value) noexcept {
    if (contents.size() != sizeof value) return false;
    value = LoadLittleEndian<T>(contents.data());
    return true;
  }
  static bool Value(std::string_view contents, str_cString& value) {
    if (contents.size() > std::numeric_limits<int>::max()) return false;
    value = str_cString(contents);
    return true;
  }

  static bool ReadData(tgio_cTaggedStreamObject&, Stream&) noexcept { return false; }
};

template class DATASTORAGE_INSTANCE detail::TaggedReader<detail::BinaryFormat, unsigned short>;

type_cBoolean tgio_cBinary_istream::ReadBytes(void* bytes, std::size_t n) {
  if (n > cursor_.data.size()) return false;
  cursor_.data.copy(static_cast<char*>(bytes), n);
  cursor_.data.remove_prefix(n);
  return true;
}

/// Writes an atom whose payload `compose` appends to the draft.
template <class Compose>
bool tgio_cBinary_ostream::WriteAtom(unsigned short tag, AtomKind kind, Compose compose) {
  return draft_.Undoable([&] {
    const std::size_t place = draft_.bytes.size();
    const std::size_t start = draft_.Size() + HeaderSize;
    draft_.bytes.append(HeaderSize, '\0');
    if (!compose()) return false;
    char* header = draft_.bytes.data() + place;
    StoreLittleEndian<std::uint16_t>(header, tag);
    header[2] = static_cast<char>(kind);
    StoreLittleEndian<std::uint64_t>(header + 3, draft_.Size() - start);
    return true;
  });
}

template <class T>
bool tgio_cBinary_ostream::WriteNumber(unsigned short tag, AtomKind kind, T value) {
  if (!draft_.bInside(Inside::Object)) return false;
  return WriteAtom(tag, kind, [&] {
    char bytes[sizeof value];
    StoreLittleEndian(bytes, value);
    draft_.bytes.append(bytes, sizeof bytes);
    return true;
  });
}

bool tgio_cBinary_ostream::WriteObject(const tgio_cTaggedStreamObject& object, unsigned short tag) {
  return WriteAtom(tag, AtomKind::Object, [&] {
    char type[TypeSize];
    StoreLittleEndian<std::uint16_t>(type, object.ObjectType().Id());
    draft_.bytes.append(type, sizeof type);
    return draft_.Enter(Inside::Object, [&] { return object.Write(*this); });
  });
}

type_cBoolean tgio_cBinary_ostream::Write(const tgio_cTaggedStreamObject& object) {
  if (!draft_.bInside(Inside::Nothing)) return false;
  struct Clearing {
    ObjectDraft& draft;
    ~Clearing() { draft.Clear(); }
  } const clearing{draft_};  // also when the stream throws
  return WriteObject(object, 0) && draft_.WriteTo(*out_);
}

type_cBoolean tgio_cBinary_ostream::Write(unsigned char value, unsigned short tag) {
  return WriteNumber(tag, AtomKind::Byte, value);
}
type_cBoolean tgio_cBinary_ostream::Write(int value, unsigned short tag) {
  return WriteNumber(tag, AtomKind::Int, value);
}
type_cBoolean tgio_cBinary_ostream::Write(double value, unsigned short tag) {
  return WriteNumber(tag, AtomKind::Double, value);
}
type_cBoolean tgio_cBinary_ostream::Write(const str_cString& value, unsigned short tag) {
  if (!draft_.bInside(Inside::Object)) return false;
  return WriteAtom(tag, AtomKind::String, [&] {
    draft_.bytes.append(std::string_view(value));
    return true;
  });
}
type_cBoolean tgio_cBinary_ostream::Write(const tgio_cTaggedStreamObject& object, unsigned short tag) {
  return draft_.bInside(Inside::Object) && WriteObject(object, tag);
}
type_cBoolean tgio_cBinary_ostream::Write(const tgio_cStreamObject& object, unsigned short tag) {
  if (!draft_.bInside(Inside::Object)) return false;
  return WriteAtom(tag, AtomKind::StreamObject, [&] {
    return draft_.Enter(Inside::StreamObject, [&] { return object.WriteStream(*this); });
  });
}

type_cBoolean tgio_cBinary_ostream::WriteBytes(const void* bytes, std::size_t n) {
  if (!draft_.bInside(Inside::StreamObject)) return false;
  draft_.bytes.append(static_cast<const char*>(bytes), n);
  return true;
}

type_cBoolean tgio_cBinary_ostream::WriteBytes(std::shared_ptr<const void> owner, const void* bytes,
                                               std::size_t n) {
  if (out_ == nullptr) return WriteBytes(bytes, n);
  if (!draft_.bInside(Inside::StreamObject)) return false;
  draft_.AppendBlock(std::move(owner), {static_cast<const char*>(bytes), n});
  return true;
}

bool detail::ObjectDraft::WriteTo(std::ostream& out) const {
  std::size_t written = 0;
  const auto write = [&out](std::string_view text) {
    out.write(text.data(), static_cast<std::streamsize>(text.size()));
  };
  for (const Block& each : blocks_) {
    write(std::string_view(bytes).substr(written, each.place - written));
    write(each.block);
    written = each.place;
  }
  write(std::string_view(bytes).substr(written));
  return out.good();
}
