#pragma once

/// @file
/// Atoms of tagged objects, for code that is the same for binary and ASCII streams.

#include <tuple>

#include <DataStorage/interfaces/tgio.h>

namespace detail {

/// What an atom is called.
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

/// Writes a number or an object as that atom; false when the stream failed.
template <class Value>
bool WriteAtom(tgio_cBinary_ostream& out, const Value& value, const AtomId& atom) {
  return out.Write(value, atom.tag);
}
template <class Value>
bool WriteAtom(tgio_cASCII_ostream& out, const Value& value, const AtomId& atom) {
  return out.Write(value, atom.name, false);
}

/// An atom, and the number or the object that it holds.
template <class Value>
struct Field {
  AtomId id;     ///< what the atom is called
  Value& value;  ///< what it holds
};

/// Makes one.
template <class Value>
Field<Value> Atom(unsigned short tag, const char* name, Value& value) noexcept {
  return {{tag, name}, value};
}

/// Base of the records that atoms are read into. `Self::Fields(record)` lists the atoms as a tuple, in the
/// order in which they are written; other atoms are those of `Base`.
template <class Self, class Base = tgio_cTaggedStreamObject>
struct DATASTORAGE_EXPORT Record : public Base {
  /// Takes the fields. One that holds another kind of value is refused, and cannot be passed over.
  type_cBoolean ReadAtom(tgio_cBinary_istream& in) override { return ReadField(in); }
  type_cBoolean ReadAtom(tgio_cASCII_istream& in) override { return ReadField(in); }

  /// Writes the fields; stops with false at the first that fails.
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

/// Base of the persistent classes whose atoms are the fields of a record. `Class` makes a record of its
/// values by `ToRecord()`, and takes over one that was read by `FromRecord(record)`.
template <class Class>
class DATASTORAGE_EXPORT Persistent : public tgio_cTaggedStreamObject {
 public:
  /// That of the class.
  const tgio_cObjectType& ObjectType() const override { return Class::_ObjectType; }
  /// What was read is set like any other change; an atom that the stream does not hold has its default value.
  /// When false is returned the object is as it was.
  type_cBoolean Read(tgio_cASCII_istream& in) override { return ReadRecord(in); }
  type_cBoolean Read(tgio_cBinary_istream& in) override { return ReadRecord(in); }
  /// Stops with false at the first atom that cannot be written.
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
