#pragma once

#include <algorithm>
#include <array>
#include <cstddef>

#include <DataStorage/interfaces/tgio.h>

/// Atoms of tagged objects, for code that is the same for binary and ASCII streams.
namespace detail {

/// What an atom is called: by a number in binary streams, by a name in ASCII ones.
struct AtomId {
  unsigned short tag;
  const char* name;
};

/// Whether the current atom of the stream is `atom`.
inline bool bAtAtom(const tgio_cBinary_istream& in, const AtomId& atom) {
  return in.bHasAtom() && in.Tag() == atom.tag;
}
inline bool bAtAtom(const tgio_cASCII_istream& in, const AtomId& atom) {
  return in.bHasAtom() && in.Name() == atom.name;
}

template <class Value>
bool WriteAtom(tgio_cBinary_ostream& out, const Value& value, const AtomId& atom) {
  return out.Write(value, atom.tag);
}
template <class Value>
bool WriteAtom(tgio_cASCII_ostream& out, const Value& value, const AtomId& atom) {
  return out.Write(value, atom.name, false);
}

/// An atom that holds a double, and where the double stands in memory.
struct DoubleAtom {
  AtomId id;
  double* value;
};

/// Writes the atoms in their order; stops with false at the first that fails.
template <class Stream, std::size_t N>
bool WriteDoubles(Stream& out, const std::array<DoubleAtom, N>& atoms) {
  return std::all_of(atoms.begin(), atoms.end(),
                     [&out](const DoubleAtom& atom) { return WriteAtom(out, *atom.value, atom.id); });
}

/// Takes the current atom if it is one of these; false when it is not, or holds no double and so cannot be
/// passed over.
template <class Stream, std::size_t N>
bool ReadDouble(Stream& in, const std::array<DoubleAtom, N>& atoms) {
  const auto found = std::find_if(atoms.begin(), atoms.end(),
                                  [&in](const DoubleAtom& atom) { return bAtAtom(in, atom.id); });
  return found != atoms.end() && in.Read(*found->value);
}

}  // namespace detail
