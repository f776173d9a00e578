#pragma once

#include <tuple>

#include <DataStorage/interfaces/tgio.h>

/// Atoms of tagged objects, for code that is the same for binary and ASCII streams.
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

/// An atom that holds one member of a record: a number or an object.
template <class Owner, class Value>
struct Field {
  AtomId id;             ///< what the atom is called
  Value Owner::*member;  ///< what it holds
};

/// Base of the records that atoms are read into. `Self::Fields()` lists the atoms as a tuple, in the order in
/// which they are written; other atoms are those of `Base`, which may be a record too.
template <class Self, class Base = tgio_cTaggedStreamObject>
struct DATASTORAGE_EXPORT Record : public Base {
  using Base::Base;

  /// An entry of the list.
  template <class Value>
  static constexpr Field<Self, Value> Atom(unsigned short tag, const char* name,
                                           Value Self::*member) noexcept {
    return {{tag, name}, member};
  }

  /// Takes the fields. One that holds another kind of value is refused, and cannot be passed over.
  type_cBoolean ReadAtom(tgio_cBinary_istream& in) override { return ReadField(in); }
  type_cBoolean ReadAtom(tgio_cASCII_istream& in) override { return ReadField(in); }

  /// Writes the fields, those of a base first; stops with false at the first that fails.
  template <class Stream>
  bool WriteFields(Stream& out) const {
    if constexpr (requires { Base::Fields(); })
      if (!Base::WriteFields(out)) return false;
    const auto& self = static_cast<const Self&>(*this);
    return std::apply(
        [&](const auto&... field) { return (WriteAtom(out, self.*field.member, field.id) && ...); },
        Self::Fields());
  }

 private:
  template <class Stream>
  bool ReadField(Stream& in) {
    auto& self = static_cast<Self&>(*this);
    return std::apply(
               [&](const auto&... field) {
                 return ((bAtAtom(in, field.id) && in.Read(self.*field.member)) || ...);
               },
               Self::Fields()) ||
           Base::ReadAtom(in);
  }
};

/// Base of the persistent classes whose atoms are the fields of a record. `Class` makes a record of its
/// values by `ToRecord()`, and takes over one that was read by `FromRecord(record)`.
template <class Class>
class DATASTORAGE_EXPORT Persistent : public tgio_cTaggedStreamObject {
 public:
  const tgio_cObjectType& ObjectType() const override { return Class::_ObjectType; }
  /// What was read is set like any other change; an atom that the stream does not hold has its default value.
  /// When false is returned the object is as it was.
  type_cBoolean Read(tgio_cASCII_istream& in) override { return ReadRecord(in); }
  type_cBoolean Read(tgio_cBinary_istream& in) override { return ReadRecord(in); }
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
