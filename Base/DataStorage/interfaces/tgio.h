#pragma once

/// @file
/// Tagged streams: objects as sequences of atoms, in a binary form and as text.

#include <cstddef>
#include <iosfwd>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <DataStorage/interfaces/detail/byteblock.h>
#include <DataStorage/interfaces/detail/scopedvalue.h>
#include <DataStorage/interfaces/export.h>
#include <DataStorage/interfaces/str.h>
#include <DataStorage/interfaces/type.h>

class tgio_cBinary_istream;
class tgio_cBinary_ostream;
class tgio_cASCII_istream;
class tgio_cASCII_ostream;

/// The type of a persistent class in streams: a name for ASCII streams and a number for binary ones.
class tgio_cObjectType {
 public:
  /// Requires that `name`, usually a literal, outlives the object.
  constexpr tgio_cObjectType(const char* name, unsigned short id) noexcept : name_(name), id_(id) {}
  /// The name in ASCII streams.
  constexpr const char* Name() const noexcept { return name_; }
  /// The number in binary streams.
  constexpr unsigned short Id() const noexcept { return id_; }

 private:
  const char* name_;
  unsigned short id_;
};

/// How deep objects may nest, the outermost included.
inline constexpr int tgio_MaxNesting = 64;

/// Base of the classes that tagged streams hold as objects: sequences of atoms, each with a tag (binary) or a
/// name (ASCII). The base writes no atoms and accepts none; its Read calls ReadAtom for every atom and skips
/// those that ReadAtom does not read. Objects cannot be deleted through this base.
///
/// A partly read object must not look complete: ReadAtom should fill a record, which the object copies once
/// the record was read successfully.
class DATASTORAGE_EXPORT tgio_cTaggedStreamObject {
 public:
  /// The type of objects of this class.
  virtual const tgio_cObjectType& ObjectType() const;
  /// For classes whose ASCII form holds data outside of atoms: called with the name of an atom that ReadAtom
  /// did not read. The base returns false.
  virtual type_cBoolean ReadData(tgio_cASCII_istream& in, const str_cString& name);
  /// Reads the current atom and returns true. Returns false without reading for an unknown atom, which is
  /// then skipped. Returns false after a failed read, or for a value that is not valid; Read then fails.
  virtual type_cBoolean ReadAtom(tgio_cBinary_istream& in);
  virtual type_cBoolean ReadAtom(tgio_cASCII_istream& in);
  /// Reads the atoms of the current object; returns false when one of them is damaged or the stream fails.
  virtual type_cBoolean Read(tgio_cASCII_istream& in);
  virtual type_cBoolean Read(tgio_cBinary_istream& in);
  /// Writes the atoms of this object; returns false when the stream fails.
  virtual type_cBoolean Write(tgio_cASCII_ostream& out) const;
  virtual type_cBoolean Write(tgio_cBinary_ostream& out) const;

 protected:
  tgio_cTaggedStreamObject() = default;
  tgio_cTaggedStreamObject(const tgio_cTaggedStreamObject&) = default;
  tgio_cTaggedStreamObject& operator=(const tgio_cTaggedStreamObject&) = default;
  ~tgio_cTaggedStreamObject() = default;
};

/// Base of the classes that tagged streams hold as one atom: array containers. Only the binary form must be
/// implemented; by default the ASCII form is the bytes of the binary form in hexadecimal.
class DATASTORAGE_EXPORT tgio_cStreamObject {
 public:
  /// Reads the contents of the current atom. Returns false and leaves the object unchanged when they do not
  /// fit.
  virtual type_cBoolean ReadStream(tgio_cASCII_istream& in);
  virtual type_cBoolean ReadStream(tgio_cBinary_istream& in) = 0;
  /// Writes the contents of the current atom; returns false when the stream fails.
  virtual type_cBoolean WriteStream(tgio_cASCII_ostream& out) const;
  virtual type_cBoolean WriteStream(tgio_cBinary_ostream& out) const = 0;

 protected:
  tgio_cStreamObject() = default;
  tgio_cStreamObject(const tgio_cStreamObject&) = default;
  tgio_cStreamObject& operator=(const tgio_cStreamObject&) = default;
  ~tgio_cStreamObject() = default;
};

namespace detail {

/// The kinds of atoms. The values are persistent: binary streams hold them.
enum class AtomKind : unsigned char { None = 0, Byte, Int, Double, String, Object, StreamObject };

/// The state of a writer: the outermost object so far, and whether it is inside an object.
class ObjectDraft {
 public:
  enum class Inside : unsigned char { Nothing, Object, StreamObject };

  explicit ObjectDraft(Inside inside = Inside::Nothing) noexcept : inside_(inside) {}

  bool bInside(Inside inside) const noexcept { return inside_ == inside; }
  /// The number of open objects.
  int Depth() const noexcept { return depth_; }
  /// The number of bytes, blocks included.
  std::size_t Size() const noexcept { return bytes.size() + block_bytes_; }

  /// Appends bytes that are not copied, because `owner` keeps them unchanged.
  void AppendBlock(std::shared_ptr<const void> owner, std::string_view block) {
    blocks_.push_back({bytes.size(), std::move(owner), block});
    block_bytes_ += block.size();
  }
  void Clear() noexcept {
    bytes.clear();
    DropBlocks(0);
  }
  /// Writes everything; returns false when the stream fails.
  bool WriteTo(std::ostream& out) const;

  /// Calls `write` inside a nested object or stream object; returns false when objects would nest too deep.
  template <class Function>
  bool Enter(Inside inside, Function write) {
    if (inside == Inside::Object && depth_ == tgio_MaxNesting) return false;
    const ScopedValue standing(inside_, inside);
    const ScopedValue deeper(depth_, inside == Inside::Object ? depth_ + 1 : depth_);
    return write();
  }
  /// Calls `write` and removes what it appended when it fails.
  template <class Function>
  bool Undoable(Function write) {
    struct Undo {
      ObjectDraft& draft;
      const std::size_t bytes = draft.bytes.size();
      const std::size_t blocks = draft.blocks_.size();
      bool complete = false;
      ~Undo() {
        if (complete) return;
        draft.bytes.resize(bytes);
        draft.DropBlocks(blocks);
      }
    } undo{*this};
    return undo.complete = write();
  }

  std::string bytes;  ///< without the blocks

 private:
  struct Block {
    std::size_t place;  // in `bytes`
    std::shared_ptr<const void> owner;
    std::string_view block;
  };

  void DropBlocks(std::size_t kept) noexcept {
    for (; blocks_.size() > kept; blocks_.pop_back()) block_bytes_ -= blocks_.back().block.size();
  }

  std::vector<Block> blocks_;
  std::size_t block_bytes_ = 0;
  Inside inside_;
  int depth_ = 0;
};

/// The common part of the readers of both forms. `Format` parses the form; a `Name` identifies its atoms.
template <class Format, class Name>
class DATASTORAGE_TEMPLATE TaggedReader {
 public:
  TaggedReader(const TaggedReader&) = delete;
  TaggedReader& operator=(const TaggedReader&) = delete;

  /// Whether there is a current atom: false after the last one of an object, and outside objects.
  type_cBoolean bHasAtom() const noexcept { return cursor_.depth > 0 && cursor_.atom.present; }
  /// Outside objects: whether no further object follows. Inside one always false.
  type_cBoolean eof();

  /// Reads the next whole object or, inside one, the current atom. Returns false and leaves `object`
  /// untouched when the types differ; returns false also when the object's own Read fails.
  type_cBoolean Read(tgio_cTaggedStreamObject& object);
  /// Reads the current atom. Returns false and leaves the value untouched when the atom is of another kind.
  type_cBoolean Read(unsigned char& value);
  type_cBoolean Read(int& value);
  type_cBoolean Read(double& value);
  type_cBoolean Read(str_cString& value);
  type_cBoolean Read(tgio_cStreamObject& object);
  /// Skips the current atom or, outside objects, the next object. Returns false when there is none, and for
  /// an atom that could not be read: then no further atom of the current object follows.
  type_cBoolean SkipObject();
  /// Marks the current atom as one that could not be read, for contents that the object cannot hold. Returns
  /// false.
  type_cBoolean Refuse() noexcept;

 protected:
  /// An atom of a stream.
  struct Atom {
    bool present = false;            ///< false after the last one
    Name name{};                     ///< a tag or a name
    AtomKind kind = AtomKind::None;  ///< the type to read it as
    std::string_view contents;       ///< no two atoms have the same address
  };
  /// The state of a reader.
  struct Cursor {
    Atom atom;              ///< the current one
    std::string_view rest;  ///< the atoms of the same object that follow it
    std::string_view data;  ///< the unread rest of a stream object
    int depth = 0;          ///< number of open objects
    bool refused = false;   ///< the current atom could not be read
  };

  /// Reads from the current position of `in`.
  explicit TaggedReader(std::istream& in) noexcept : in_(&in) {}
  /// Reads `data` as the contents of a stream object.
  explicit TaggedReader(std::string_view data) noexcept : cursor_{{}, {}, data, 1, false} {}
  ~TaggedReader() = default;

  Cursor cursor_;  ///< points into the bytes of the outermost object, which the derived class holds

 private:
  friend Format;
  friend class ::tgio_cTaggedStreamObject;

  static bool bWhole(const Atom& atom, int depth);

  bool Load();
  void Next();
  bool bCurrent(AtomKind kind) const noexcept { return cursor_.atom.present && cursor_.atom.kind == kind; }
  template <class T>
  bool ReadValue(AtomKind kind, T& value);
  template <class Function>
  bool ReadInside(const Cursor& contents, Function read);
  bool ReadAtoms(tgio_cTaggedStreamObject& object);

  std::istream* in_ = nullptr;  // null for a lone stream object
};

struct DATASTORAGE_EXPORT BinaryFormat;
struct DATASTORAGE_EXPORT TextFormat;

}  // namespace detail

/// Writes objects to a `std::ostream` opened in binary mode. Requires that the stream outlives this object. A
/// whole object is composed before any of it is written: an object whose Write fails leaves nothing in the
/// stream. All operations return false on failure and when called in the wrong place: atoms are written from
/// an object's Write, bytes from a stream object's WriteStream.
class DATASTORAGE_EXPORT tgio_cBinary_ostream {
 public:
  /// Writes from the current position of `out`.
  explicit tgio_cBinary_ostream(std::ostream& out) noexcept : out_(&out) {}
  tgio_cBinary_ostream(const tgio_cBinary_ostream&) = delete;
  tgio_cBinary_ostream& operator=(const tgio_cBinary_ostream&) = delete;

  /// Writes a whole object.
  type_cBoolean Write(const tgio_cTaggedStreamObject& object);

  /// Writes one atom of the current object. A failed atom leaves nothing in it. Objects nest at most
  /// `tgio_MaxNesting` deep.
  type_cBoolean Write(unsigned char value, unsigned short tag);
  type_cBoolean Write(int value, unsigned short tag);
  type_cBoolean Write(double value, unsigned short tag);
  type_cBoolean Write(const str_cString& value, unsigned short tag);
  type_cBoolean Write(const tgio_cTaggedStreamObject& object, unsigned short tag);
  type_cBoolean Write(const tgio_cStreamObject& object, unsigned short tag);

  /// Writes the next bytes of the current stream object unchanged.
  type_cBoolean WriteBytes(const void* bytes, std::size_t n);
  /// The same without a copy of the bytes in memory. Requires that they do not change as long as `owner`
  /// exists, which is kept until the outermost object has been written.
  type_cBoolean WriteBytes(std::shared_ptr<const void> owner, const void* bytes, std::size_t n);

 private:
  friend class tgio_cStreamObject;

  /// Composes a lone stream object in memory.
  tgio_cBinary_ostream() noexcept : draft_(detail::ObjectDraft::Inside::StreamObject) {}

  template <class Compose>
  bool WriteAtom(unsigned short tag, detail::AtomKind kind, Compose compose);
  template <class T>
  bool WriteNumber(unsigned short tag, detail::AtomKind kind, T value);
  bool WriteObject(const tgio_cTaggedStreamObject& object, unsigned short tag);

  std::ostream* out_ = nullptr;
  detail::ObjectDraft draft_;
};

DATASTORAGE_EXTERN(detail::TaggedReader<detail::BinaryFormat, unsigned short>);

/// Reads what tgio_cBinary_ostream wrote, from a `std::istream` opened in binary mode, which need not be
/// seekable. Requires that the stream outlives this object. A whole object is read and checked before any of
/// its atoms is passed on; memory is allocated as data arrive, never by a length that the data claim.
///
/// An object or atom that could not be read (of another type or kind, or damaged) stays current and may be
/// read as something else. SkipObject can skip such an object, but not such an atom: the object that tried to
/// read it would be incomplete, so reading that object fails. Atoms that were never tried are skipped, as are
/// the atoms and bytes that objects and stream objects leave unread.
class DATASTORAGE_EXPORT tgio_cBinary_istream
    : public detail::TaggedReader<detail::BinaryFormat, unsigned short> {
 public:
  /// Reads from the current position of `in`.
  explicit tgio_cBinary_istream(std::istream& in) noexcept : TaggedReader(in) {}

  /// The tag of the current atom; 0 when there is none.
  unsigned short Tag() const noexcept { return bHasAtom() ? cursor_.atom.name : 0; }

  /// Reads the next bytes of the current stream object. Returns false and consumes nothing when fewer are
  /// left.
  type_cBoolean ReadBytes(void* bytes, std::size_t n);
  /// How many bytes of the current stream object are left.
  std::size_t BytesLeft() const noexcept { return cursor_.data.size(); }

 private:
  friend class tgio_cStreamObject;
  friend TaggedReader;

  /// Reads a lone stream object.
  explicit tgio_cBinary_istream(std::string_view bytes) noexcept : TaggedReader(bytes) {}

  detail::ByteBlock object_;  // the bytes of the outermost object
};

/// Writes objects as text, one atom per line; otherwise like tgio_cBinary_ostream. The text does not depend
/// on any locale.
class DATASTORAGE_EXPORT tgio_cASCII_ostream {
 public:
  /// Writes from the current position of `out`.
  explicit tgio_cASCII_ostream(std::ostream& out) noexcept : out_(out) {}
  tgio_cASCII_ostream(const tgio_cASCII_ostream&) = delete;
  tgio_cASCII_ostream& operator=(const tgio_cASCII_ostream&) = delete;

  /// Writes a whole object.
  type_cBoolean Write(const tgio_cTaggedStreamObject& object);

  /// Writes one atom of the current object. A failed atom leaves nothing in it; an empty name fails. Doubles
  /// read back to the same value, strings may hold any byte. The flag has no effect.
  type_cBoolean Write(unsigned char value, const str_cString& name, type_cBoolean flag);
  type_cBoolean Write(int value, const str_cString& name, type_cBoolean flag);
  type_cBoolean Write(double value, const str_cString& name, type_cBoolean flag);
  type_cBoolean Write(const str_cString& value, const str_cString& name, type_cBoolean flag);
  type_cBoolean Write(const tgio_cTaggedStreamObject& object, const str_cString& name, type_cBoolean flag);
  type_cBoolean Write(const tgio_cStreamObject& object, const str_cString& name, type_cBoolean flag);

  /// Writes the next word of the current stream object. Returns false unless it consists of printable ASCII
  /// characters other than spaces, quotes, braces and backslashes.
  type_cBoolean WriteWord(std::string_view word);

 private:
  template <class Compose>
  bool WriteAtom(const str_cString& name, detail::AtomKind kind, Compose compose);
  template <class T>
  bool WriteNumber(const str_cString& name, detail::AtomKind kind, T value);
  bool AppendObject(const tgio_cTaggedStreamObject& object);
  void StartLine(int indent);

  std::ostream& out_;
  detail::ObjectDraft draft_;
  std::size_t line_start_ = 0;  // of the last line in the draft
};

DATASTORAGE_EXTERN(detail::TaggedReader<detail::TextFormat, str_cString>);

/// Reads what tgio_cASCII_ostream wrote; otherwise like tgio_cBinary_istream.
class DATASTORAGE_EXPORT tgio_cASCII_istream : public detail::TaggedReader<detail::TextFormat, str_cString> {
 public:
  /// Reads from the current position of `in`.
  explicit tgio_cASCII_istream(std::istream& in) noexcept : TaggedReader(in) {}

  /// The name of the current atom, valid until the next atom becomes current; empty when there is none.
  const str_cString& Name() const noexcept { return cursor_.atom.name; }

  /// Reads the next word of the current stream object; empty at its end. Returns only the quote for a quoted
  /// text, and the brace for a brace, so that neither reads as a number.
  std::string_view ReadWord();
  /// How many characters of the current stream object are left; each word takes at least two.
  std::size_t CharactersLeft() const noexcept { return cursor_.data.size(); }

 private:
  friend TaggedReader;

  std::string object_;  // the text of the outermost object
};
