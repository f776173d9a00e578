#pragma once

/// @file
/// Tagged streams: objects as sequences of atoms, in a binary form and as text.

#include <cstddef>
#include <iosfwd>
#include <string>
#include <string_view>

#include <DataStorage/interfaces/export.h>
#include <DataStorage/interfaces/scopedvalue.h>
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

/// What both kinds of output streams have in hand: the outermost object so far, and where in it they stand.
class ObjectDraft {
 protected:
  enum class Inside : unsigned char { Nothing, Object, StreamObject };

  /// Runs `compose` inside of what is told; takes back what it appended when it fails.
  template <class Compose>
  bool Undoable(Inside inside, Compose compose) {
    const ScopedValue standing(inside_, inside);
    struct Undo {
      std::string& buffer;
      const std::size_t start;
      bool complete = false;
      ~Undo() {
        if (!complete) buffer.resize(start);
      }
    } undo{buffer_, buffer_.size()};
    return undo.complete = compose();
  }

  std::string buffer_;
  Inside inside_ = Inside::Nothing;
  int depth_ = 0;  // objects that are open
};

}  // namespace detail

/// Writes objects to a `std::ostream` (opened in binary mode), which must outlive this object. A whole object
/// is composed in memory and handed over in one write: an object that could not be written leaves nothing in
/// the stream. All operations return false on failure, and when they are used where they do not belong: atoms
/// are written from an object's Write, bytes from a stream object's WriteStream.
class DATASTORAGE_EXPORT tgio_cBinary_ostream : private detail::ObjectDraft {
 public:
  /// Writes from where `out` stands.
  explicit tgio_cBinary_ostream(std::ostream& out) noexcept : out_(out) {}
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

  template <class Compose>
  bool WriteAtom(unsigned short tag, unsigned char kind, Inside inside, Compose compose);
  template <class T>
  bool WriteNumber(unsigned short tag, unsigned char kind, T value);
  bool WriteObject(const tgio_cTaggedStreamObject& object, unsigned short tag);

  std::ostream& out_;
};

/// Reads what tgio_cBinary_ostream wrote, from a `std::istream` (opened in binary mode; it need not be
/// seekable), which must outlive this object. A whole object is taken from the stream and checked before
/// anything of it is offered; memory is taken as data arrive, never by a length that the data claim.
///
/// What could not be read (another type, a damaged object, an atom of another kind) stays current and may be
/// read as something else. A whole object may also be passed over with SkipObject. An atom may not: its
/// object knows it and would lack it, so that reading the object fails. Atoms that nobody tried to read are
/// passed over, also those that an object leaves behind, and so is what a stream object leaves of its bytes.
class DATASTORAGE_EXPORT tgio_cBinary_istream {
 public:
  /// Reads from where `in` stands.
  explicit tgio_cBinary_istream(std::istream& in) noexcept : in_(in) {}
  tgio_cBinary_istream(const tgio_cBinary_istream&) = delete;
  tgio_cBinary_istream& operator=(const tgio_cBinary_istream&) = delete;

  /// Whether a further atom of the current object follows; false outside of objects.
  type_cBoolean bHasAtom() const noexcept;
  /// The tag of the current atom; 0 when there is none.
  unsigned short Tag() const noexcept;
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

  /// The next bytes of the current stream object; false, and nothing consumed, when fewer are left.
  type_cBoolean ReadBytes(void* bytes, std::size_t n);
  /// How many bytes of the current stream object are left.
  std::size_t BytesLeft() const noexcept { return cursor_.bytes.size(); }

 private:
  friend class tgio_cStreamObject;
  friend class tgio_cTaggedStreamObject;
  struct Atom {
    bool present = false;
    unsigned char kind = 0;
    unsigned short tag = 0;
    std::string_view payload;
  };
  struct Cursor {
    Atom atom;               // the current one
    std::string_view rest;   // the atoms of the same object that follow it
    std::string_view bytes;  // what is left of a stream object
    int depth = 0;           // objects that are open
    bool refused = false;    // the current atom could not be read
  };

  bool Load();
  void Next();
  bool bCurrent(unsigned char kind) const noexcept;
  const void* Place() const noexcept { return cursor_.atom.payload.data(); }  // no two atoms have the same
  template <class Function>
  bool ReadInside(const Cursor& contents, Function read);
  template <class T>
  bool ReadNumber(unsigned char kind, T& value);

  std::istream& in_;
  std::string object_;  // the payload of the outermost object; the cursor points into it
  Cursor cursor_;
};

/// Writes objects as text, one atom a line; otherwise like tgio_cBinary_ostream. The text does not depend on
/// any locale.
class DATASTORAGE_EXPORT tgio_cASCII_ostream : private detail::ObjectDraft {
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
  bool WriteAtom(const str_cString& name, std::string_view kind, Inside inside, Compose compose);
  template <class T>
  bool WriteNumber(const str_cString& name, std::string_view kind, T value);
  bool AppendObject(const tgio_cTaggedStreamObject& object);
  void StartLine(int indent);

  std::ostream& out_;
  std::size_t line_start_ = 0;  // of the last line in the buffer
};

/// Reads what tgio_cASCII_ostream wrote; otherwise like tgio_cBinary_istream.
class DATASTORAGE_EXPORT tgio_cASCII_istream {
 public:
  /// Reads from where `in` stands.
  explicit tgio_cASCII_istream(std::istream& in) noexcept : in_(in) {}
  tgio_cASCII_istream(const tgio_cASCII_istream&) = delete;
  tgio_cASCII_istream& operator=(const tgio_cASCII_istream&) = delete;

  /// Whether a further atom of the current object follows; false outside of objects.
  type_cBoolean bHasAtom() const noexcept;
  /// The name of the current atom, valid until the stream moves on; empty when there is no further atom.
  const str_cString& Name() const noexcept;
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

  /// The next word of the current stream object; empty when nothing is left. In the place of a quoted text
  /// or a brace comes the quote or the brace, which no number has.
  std::string_view ReadWord();
  /// How many characters of the current stream object are left; each word takes at least two.
  std::size_t CharactersLeft() const noexcept { return cursor_.words.size(); }

 private:
  friend class tgio_cTaggedStreamObject;
  struct Atom {
    bool present = false;
    str_cString name;
    std::string_view kind;
    std::string_view value;
  };
  struct Cursor {
    Atom atom;               // the current one
    std::string_view rest;   // the atoms of the same object that follow it
    std::string_view words;  // what is left of a stream object
    int depth = 0;           // objects that are open
    bool refused = false;    // the current atom could not be read
  };

  static bool TakeAtom(std::string_view& atoms, Atom& atom);
  static bool bWellFormed(std::string_view atoms, int depth);

  bool Load();
  void Next();
  bool bCurrent(std::string_view kind) const noexcept;
  const void* Place() const noexcept { return cursor_.atom.value.data(); }  // no two atoms have the same
  template <class Function>
  bool ReadInside(const Cursor& contents, Function read);
  template <class T>
  bool ReadNumber(std::string_view kind, T& value);

  std::istream& in_;
  std::string object_;  // the text of the outermost object; the cursor points into it
  Cursor cursor_;
};
