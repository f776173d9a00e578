#pragma once

/// @file
/// Tagged streams: objects as sequences of atoms, in a binary form and as text.

#include <cstddef>
#include <iosfwd>
#include <string>
#include <string_view>

#include <DataStorage/interfaces/detail/scopedvalue.h>
#include <DataStorage/interfaces/export.h>
#include <DataStorage/interfaces/str.h>
#include <DataStorage/interfaces/type.h>

class tgio_cBinary_istream;
class tgio_cBinary_ostream;
class tgio_cASCII_istream;
class tgio_cASCII_ostream;

/// The kind of a persistent class: a name for ASCII streams and a number for binary ones.
class tgio_cObjectType {
 public:
  /// `name` must outlive the object; it is meant to be a literal.
  constexpr tgio_cObjectType(const char* name, unsigned short id) noexcept : name_(name), id_(id) {}
  /// What ASCII streams call it.
  constexpr const char* Name() const noexcept { return name_; }
  /// What binary streams call it.
  constexpr unsigned short Id() const noexcept { return id_; }

 private:
  const char* name_;
  unsigned short id_;
};

/// How deep objects may stand in each other, the outermost counted.
inline constexpr int tgio_MaxNesting = 64;

/// Base of the classes that tagged streams hold as objects: a sequence of atoms, each with a tag (binary) or
/// a name (ASCII). The base writes no atoms and accepts none; its Read offers every atom to ReadAtom and
/// skips those that are left untouched. Nobody deletes through this base.
///
/// An object that was read in part must not look whole: ReadAtom should fill a record, which the object takes
/// over when Read of the record was successful.
class DATASTORAGE_EXPORT tgio_cTaggedStreamObject {
 public:
  /// What streams call objects of this class.
  virtual const tgio_cObjectType& ObjectType() const;
  /// For classes whose ASCII form holds data outside of atoms: offered the name of an atom that ReadAtom has
  /// refused. The base refuses it too.
  virtual type_cBoolean ReadData(tgio_cASCII_istream& in, const str_cString& name);
  /// Takes the current atom and returns true. False without a try to read it: the atom is not known here, and
  /// is skipped. False when it could not be read, or was read and has no valid value: Read fails.
  virtual type_cBoolean ReadAtom(tgio_cBinary_istream& in);
  virtual type_cBoolean ReadAtom(tgio_cASCII_istream& in);
  /// Reads the atoms of the current object; false when one of them is damaged or the stream failed.
  virtual type_cBoolean Read(tgio_cASCII_istream& in);
  virtual type_cBoolean Read(tgio_cBinary_istream& in);
  /// Writes the atoms of this object; false when the stream failed.
  virtual type_cBoolean Write(tgio_cASCII_ostream& out) const;
  virtual type_cBoolean Write(tgio_cBinary_ostream& out) const;

 protected:
  tgio_cTaggedStreamObject() = default;
  tgio_cTaggedStreamObject(const tgio_cTaggedStreamObject&) = default;
  tgio_cTaggedStreamObject& operator=(const tgio_cTaggedStreamObject&) = default;
  ~tgio_cTaggedStreamObject() = default;
};

/// Base of the classes that tagged streams hold as one atom: array containers. Only the binary form must be
/// given; the ASCII form then is the bytes of the binary form as text.
class DATASTORAGE_EXPORT tgio_cStreamObject {
 public:
  /// Reads the contents of the current atom; false, and the object as it was, when they do not fit.
  virtual type_cBoolean ReadStream(tgio_cASCII_istream& in);
  virtual type_cBoolean ReadStream(tgio_cBinary_istream& in) = 0;
  /// Writes the contents of the current atom; false when the stream failed.
  virtual type_cBoolean WriteStream(tgio_cASCII_ostream& out) const;
  virtual type_cBoolean WriteStream(tgio_cBinary_ostream& out) const = 0;

 protected:
  tgio_cStreamObject() = default;
  tgio_cStreamObject(const tgio_cStreamObject&) = default;
  tgio_cStreamObject& operator=(const tgio_cStreamObject&) = default;
  ~tgio_cStreamObject() = default;
};

namespace detail {

/// The kinds of atom. The values are persistent: binary streams hold them.
enum class AtomKind : unsigned char { None = 0, Byte, Int, Double, String, Object, StreamObject };

/// What a writer has in hand: the outermost object so far, and where in it the writer stands.
class ObjectDraft {
 public:
  enum class Inside : unsigned char { Nothing, Object, StreamObject };

  explicit ObjectDraft(Inside inside = Inside::Nothing) noexcept : inside_(inside) {}

  bool bInside(Inside inside) const noexcept { return inside_ == inside; }
  /// How many objects are open.
  int Depth() const noexcept { return depth_; }

  /// Runs `write` inside of a further object or stream object; false when objects would nest too deep.
  template <class Function>
  bool Enter(Inside inside, Function write) {
    if (inside == Inside::Object && depth_ == tgio_MaxNesting) return false;
    const ScopedValue standing(inside_, inside);
    const ScopedValue deeper(depth_, inside == Inside::Object ? depth_ + 1 : depth_);
    return write();
  }
  /// Takes back what `write` appended when it fails.
  template <class Function>
  bool Undoable(Function write) {
    struct Undo {
      std::string& bytes;
      const std::size_t start;
      bool complete = false;
      ~Undo() {
        if (!complete) bytes.resize(start);
      }
    } undo{bytes, bytes.size()};
    return undo.complete = write();
  }

  std::string bytes;

 private:
  Inside inside_;
  int depth_ = 0;
};

/// What the readers of both forms do alike. `Format` knows the form, in which atoms are called by a `Name`.
template <class Format, class Name>
class DATASTORAGE_EXPORT TaggedReader {
 public:
  TaggedReader(const TaggedReader&) = delete;
  TaggedReader& operator=(const TaggedReader&) = delete;

  /// Whether a further atom of the current object follows; false outside of objects.
  type_cBoolean bHasAtom() const noexcept { return cursor_.depth > 0 && cursor_.atom.present; }
  /// Outside of objects: whether no further object follows. Inside one it is always false.
  type_cBoolean eof();

  /// Outside of objects the next whole object, inside one the current atom. False, and the object not
  /// touched, when it is not of the object's type; false also when the object's own Read fails.
  type_cBoolean Read(tgio_cTaggedStreamObject& object);
  /// The current atom. When it is of another kind the value is not touched.
  type_cBoolean Read(unsigned char& value);
  type_cBoolean Read(int& value);
  type_cBoolean Read(double& value);
  type_cBoolean Read(str_cString& value);
  type_cBoolean Read(tgio_cStreamObject& object);
  /// Passes over the current atom, or outside of objects over the next object. False when there is none, and
  /// for an atom that could not be read: that ends the current object, and no further atom follows.
  type_cBoolean SkipObject();
  /// Makes the current atom one that could not be read, for contents that fit nothing the object holds.
  /// Returns false.
  type_cBoolean Refuse() noexcept;

 protected:
  /// An atom as it stands in a stream.
  struct Atom {
    bool present = false;            ///< false behind the last one
    Name name{};                     ///< a tag or a name
    AtomKind kind = AtomKind::None;  ///< of which type it can be read
    std::string_view contents;       ///< no two atoms have the same place
  };
  /// Where the reader stands.
  struct Cursor {
    Atom atom;              ///< the current one
    std::string_view rest;  ///< the atoms of the same object that follow it
    std::string_view data;  ///< what is left of a stream object
    int depth = 0;          ///< objects that are open
    bool refused = false;   ///< the current atom could not be read
  };

  /// Reads from where `in` stands.
  explicit TaggedReader(std::istream& in) noexcept : in_(&in) {}
  /// Stands in a stream object of this form.
  explicit TaggedReader(std::string_view data) noexcept : cursor_{{}, {}, data, 1, false} {}
  ~TaggedReader() = default;

  Cursor cursor_;  ///< points into `object_`

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

  std::istream* in_ = nullptr;  // null inside of a stream object that stands alone
  std::string object_;          // the outermost object as it stands in the stream
};

struct DATASTORAGE_EXPORT BinaryFormat;
struct DATASTORAGE_EXPORT TextFormat;

}  // namespace detail

/// Writes objects to a `std::ostream` (opened in binary mode), which must outlive this object. A whole object
/// is composed in memory and handed over in one write: an object that could not be written leaves nothing in
/// the stream. All operations return false on failure, and when they are used where they do not belong: atoms
/// are written from an object's Write, bytes from a stream object's WriteStream.
class DATASTORAGE_EXPORT tgio_cBinary_ostream {
 public:
  /// Writes from where `out` stands.
  explicit tgio_cBinary_ostream(std::ostream& out) noexcept : out_(&out) {}
  tgio_cBinary_ostream(const tgio_cBinary_ostream&) = delete;
  tgio_cBinary_ostream& operator=(const tgio_cBinary_ostream&) = delete;

  /// A whole object.
  type_cBoolean Write(const tgio_cTaggedStreamObject& object);

  /// One atom of the current object. An atom that fails leaves no trace. Objects nest at most
  /// `tgio_MaxNesting` deep.
  type_cBoolean Write(unsigned char value, unsigned short tag);
  type_cBoolean Write(int value, unsigned short tag);
  type_cBoolean Write(double value, unsigned short tag);
  type_cBoolean Write(const str_cString& value, unsigned short tag);
  type_cBoolean Write(const tgio_cTaggedStreamObject& object, unsigned short tag);
  type_cBoolean Write(const tgio_cStreamObject& object, unsigned short tag);

  /// The next bytes of the current stream object, as they are.
  type_cBoolean WriteBytes(const void* bytes, std::size_t n);

 private:
  friend class tgio_cStreamObject;

  /// Stands in a stream object whose bytes go nowhere else.
  tgio_cBinary_ostream() noexcept : draft_(detail::ObjectDraft::Inside::StreamObject) {}

  template <class Compose>
  bool WriteAtom(unsigned short tag, detail::AtomKind kind, Compose compose);
  template <class T>
  bool WriteNumber(unsigned short tag, detail::AtomKind kind, T value);
  bool WriteObject(const tgio_cTaggedStreamObject& object, unsigned short tag);

  std::ostream* out_ = nullptr;
  detail::ObjectDraft draft_;
};

/// Reads what tgio_cBinary_ostream wrote, from a `std::istream` (opened in binary mode; it need not be
/// seekable), which must outlive this object. A whole object is taken from the stream and checked before
/// anything of it is offered; memory is taken as data arrive, never by a length that the data claim.
///
/// What could not be read (another type, a damaged object, an atom of another kind) stays current and may be
/// read as something else. A whole object may also be passed over with SkipObject. An atom may not: its
/// object knows it and would lack it, so that reading the object fails. Atoms that nobody tried to read are
/// passed over, also those that an object leaves behind, and so is what a stream object leaves of its bytes.
class DATASTORAGE_EXPORT tgio_cBinary_istream
    : public detail::TaggedReader<detail::BinaryFormat, unsigned short> {
 public:
  /// Reads from where `in` stands.
  explicit tgio_cBinary_istream(std::istream& in) noexcept : TaggedReader(in) {}

  /// The tag of the current atom; 0 when there is none.
  unsigned short Tag() const noexcept { return bHasAtom() ? cursor_.atom.name : 0; }

  /// The next bytes of the current stream object; false, and nothing consumed, when fewer are left.
  type_cBoolean ReadBytes(void* bytes, std::size_t n);
  /// How many bytes of the current stream object are left.
  std::size_t BytesLeft() const noexcept { return cursor_.data.size(); }

 private:
  friend class tgio_cStreamObject;

  /// Stands in a stream object of these bytes.
  explicit tgio_cBinary_istream(std::string_view bytes) noexcept : TaggedReader(bytes) {}
};

/// Writes objects as text, one atom a line; otherwise like tgio_cBinary_ostream. The text does not depend on
/// any locale.
class DATASTORAGE_EXPORT tgio_cASCII_ostream {
 public:
  /// Writes from where `out` stands.
  explicit tgio_cASCII_ostream(std::ostream& out) noexcept : out_(out) {}
  tgio_cASCII_ostream(const tgio_cASCII_ostream&) = delete;
  tgio_cASCII_ostream& operator=(const tgio_cASCII_ostream&) = delete;

  /// A whole object.
  type_cBoolean Write(const tgio_cTaggedStreamObject& object);

  /// One atom of the current object. An atom that fails leaves no trace; the empty name fails. Doubles read
  /// back to the same value, strings may hold any byte. The flag has no effect.
  type_cBoolean Write(unsigned char value, const str_cString& name, type_cBoolean flag);
  type_cBoolean Write(int value, const str_cString& name, type_cBoolean flag);
  type_cBoolean Write(double value, const str_cString& name, type_cBoolean flag);
  type_cBoolean Write(const str_cString& value, const str_cString& name, type_cBoolean flag);
  type_cBoolean Write(const tgio_cTaggedStreamObject& object, const str_cString& name, type_cBoolean flag);
  type_cBoolean Write(const tgio_cStreamObject& object, const str_cString& name, type_cBoolean flag);

  /// The next word of the current stream object: characters other than white space, quotes and braces.
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

/// Reads what tgio_cASCII_ostream wrote; otherwise like tgio_cBinary_istream.
class DATASTORAGE_EXPORT tgio_cASCII_istream : public detail::TaggedReader<detail::TextFormat, str_cString> {
 public:
  /// Reads from where `in` stands.
  explicit tgio_cASCII_istream(std::istream& in) noexcept : TaggedReader(in) {}

  /// The name of the current atom, valid until the stream moves on; empty when there is no further atom.
  const str_cString& Name() const noexcept { return cursor_.atom.name; }

  /// The next word of the current stream object; empty when nothing is left. In the place of a quoted text
  /// or a brace comes the quote or the brace, which no number has.
  std::string_view ReadWord();
  /// How many characters of the current stream object are left; each word takes at least two.
  std::size_t CharactersLeft() const noexcept { return cursor_.data.size(); }
};
