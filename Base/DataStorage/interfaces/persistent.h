#pragma once

/// @file
/// Reading and writing atoms of tagged objects with the same code for binary and ASCII streams.

#include <tuple>

#include <DataStorage/interfaces/tgio.h>

namespace detail {

/// The identifiers of an atom.
struct AtomId {
  unsigned short tag;  ///< in binary streams
  const char* name;    ///< in ASCII streams
};

/// Whether the current atom of the stream is `atom`.
inline bool bAtAtom(const tgio_cBinary_istream& in, const AtomId& atom) {
  return in.bHasAtom() && in.Tag() == atom.tag;
}
inline bool bAtAtom(const tgio_cASCII_istream& in, const AtomId& atom) {
  return in.bHasAtom() && in.Name() == atom.name;
}

/// Writes a number or an object as an atom; returns false when the stream fails.
template <class Value>
bool WriteAtom(tgio_cBinary_ostream& out, const Value& value, const AtomId& atom) {
  return out.Write(value, atom.tag);
}
template <class Value>
bool WriteAtom(tgio_cASCII_ostream& out, const Value& value, const AtomId& atom) {
  return out.Write(value, atom.name, false);
}

/// An atom, and the number or object that it is read into and written from.
template <class Value>
struct Field {
  AtomId id;     ///< the identifiers of the atom
  Value& value;  ///< the number or object
};

/// Makes a Field.
template <class Value>
Field<Value> Atom(unsigned short tag, const char* name, Value& value) noexcept {
  return {{tag, name}, value};
}

/// Base of the records that atoms are read into. `Self::Fields(record)` returns the fields as a tuple, in the
/// order in which they are written; all other atoms are passed to `Base`.
template <class Self, class Base = tgio_cTaggedStreamObject>
struct DATASTORAGE_TEMPLATE Record : public Base {
  /// Reads the current atom into its field. An atom that holds another kind of value makes reading the object
  /// fail.
  type_cBoolean ReadAtom(tgio_cBinary_istream& in) override { return ReadField(in); }
  type_cBoolean ReadAtom(tgio_cASCII_istream& in) override { return ReadField(in); }

  /// Writes the fields; returns false at the first that fails.
  template <class Stream>
  bool WriteFields(Stream& out) const {
    return std::apply([&](const auto&... field) { return (WriteAtom(out, field.value, field.id) && ...); },
                      Self::Fields(static_cast<const Self&>(*this)));
  }

 private:
  template <class Stream>
  bool ReadField(Stream& in) {
    const auto read = [&](const auto&... field) {
      return ((bAtAtom(in, field.id) && in.Read(field.value)) || ...);
    };
    return std::apply(read, Self::Fields(static_cast<Self&>(*this))) || Base::ReadAtom(in);
  }
};

/// Base of the persistent classes whose atoms are the fields of a record. `Class::ToRecord()` returns a
/// record of the values, `Class::FromRecord(record)` sets them from one that was read.
template <class Class>
class DATASTORAGE_TEMPLATE Persistent : public tgio_cTaggedStreamObject {
 public:
  /// The object type of the class.
  const tgio_cObjectType& ObjectType() const override { return Class::_ObjectType; }
  /// Reads the atoms, then sets the values like any other change; atoms missing in the stream have their
  /// default values. Returns false and leaves the object unchanged on failure.
  type_cBoolean Read(tgio_cASCII_istream& in) override { return ReadRecord(in); }
  type_cBoolean Read(tgio_cBinary_istream& in) override { return ReadRecord(in); }
  /// Returns false at the first atom that cannot be written.
  type_cBoolean Write(tgio_cASCII_ostream& out) const override { return WriteRecord(out); }
  type_cBoolean Write(tgio_cBinary_ostream& out) const override { return WriteRecord(out); }

 protected:
  Persistent() = default;
  Persistent(const Persistent&) = default;
  Persistent& operator=(const Persistent&) = default;
  ~Persistent() = default;

 private:
  template <class Stream>
  bool ReadRecord(Stream& in) {
    auto& object = static_cast<Class&>(*this);
    decltype(object.ToRecord()) record;
    if (!record.Read(in)) return false;
    object.FromRecord(record);
    return true;
  }
  template <class Stream>
  bool WriteRecord(Stream& out) const {
    return static_cast<const Class&>(*this).ToRecord().WriteFields(out);
  }
};

}  // namespace detail
