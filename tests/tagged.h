#pragma once

#include "test.h"
#include <DataStorage/interfaces/persistent.h>

/// Tagged streams of both kinds for tests.
enum class StreamKind { Binary, Ascii };
inline constexpr StreamKind bothStreamKinds[] = {StreamKind::Binary, StreamKind::Ascii};

/// Writes an object and reads it into another one.
template <class Written, class Read>
bool RoundTrip(StreamKind kind, const Written& written, Read& read) {
  std::stringstream bytes;
  if (kind == StreamKind::Binary)
    return tgio_cBinary_ostream(bytes).Write(written) && tgio_cBinary_istream(bytes).Read(read);
  return tgio_cASCII_ostream(bytes).Write(written) && tgio_cASCII_istream(bytes).Read(read);
}

/// An atom written by hand.
struct Atom {
  detail::AtomId id;
  std::variant<unsigned char, int, double, str_cString, const tgio_cStreamObject*,
               const tgio_cTaggedStreamObject*>
      value;
};

/// Writes such atoms as an object of any type.
class HandWritten : public tgio_cTaggedStreamObject {
 public:
  HandWritten(const tgio_cObjectType& type, std::vector<Atom> atoms)
      : type_(type), atoms_(std::move(atoms)) {}

  const tgio_cObjectType& ObjectType() const override { return type_; }
  type_cBoolean Write(tgio_cBinary_ostream& out) const override { return WriteAtoms(out); }
  type_cBoolean Write(tgio_cASCII_ostream& out) const override { return WriteAtoms(out); }

 private:
  template <class Stream>
  bool WriteAtoms(Stream& out) const {
    return std::all_of(atoms_.begin(), atoms_.end(), [&out](const Atom& atom) {
      const auto write = [&](const auto& value) {
        if constexpr (requires { *value; })
          return detail::WriteAtom(out, *value, atom.id);
        else
          return detail::WriteAtom(out, value, atom.id);
      };
      return std::visit(write, atom.value);
    });
  }

  const tgio_cObjectType& type_;
  std::vector<Atom> atoms_;
};

/// Reads such atoms into an object, as if it had written them.
template <class Object>
bool ReadAtoms(StreamKind kind, std::vector<Atom> atoms, Object& object) {
  return RoundTrip(kind, HandWritten(object.ObjectType(), std::move(atoms)), object);
}
