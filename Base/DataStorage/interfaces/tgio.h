#pragma once

#include <cstdint>
#include <iosfwd>
#include <memory>

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
  constexpr const char* Name() const noexcept { return name_; }
  constexpr unsigned short Id() const noexcept { return id_; }

 private:
  const char* name_;
  unsigned short id_;
};

/// Base of the classes that tagged streams hold as objects: a sequence of atoms, each with a tag (binary) or
/// a name (ASCII). The base writes no atoms and accepts none; its Read offers every atom to ReadAtom and
/// skips those that are refused. Nobody deletes through this base.
class DATASTORAGE_EXPORT tgio_cTaggedStreamObject {
 public:
  virtual const tgio_cObjectType& ObjectType() const;
  /// For classes whose ASCII form holds data outside of atoms: offered the name of an atom that ReadAtom has
  /// refused. The base refuses it too.
  virtual type_cBoolean ReadData(tgio_cASCII_istream& in, const str_cString& name);
  /// Takes the current atom, or returns false and leaves it in the stream.
  virtual type_cBoolean ReadAtom(tgio_cBinary_istream& in);
  virtual type_cBoolean ReadAtom(tgio_cASCII_istream& in);
  /// Reads the atoms of the current object; false when the stream failed.
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
  virtual type_cBoolean ReadStream(tgio_cASCII_istream& in);
  virtual type_cBoolean ReadStream(tgio_cBinary_istream& in) = 0;
  virtual type_cBoolean WriteStream(tgio_cASCII_ostream& out) const;
  virtual type_cBoolean WriteStream(tgio_cBinary_ostream& out) const = 0;

 protected:
  tgio_cStreamObject() = default;
  tgio_cStreamObject(const tgio_cStreamObject&) = default;
  tgio_cStreamObject& operator=(const tgio_cStreamObject&) = default;
  ~tgio_cStreamObject() = default;
};
