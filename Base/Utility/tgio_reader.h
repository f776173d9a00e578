#pragma once

#include <istream>
#include <utility>

#include <DataStorage/interfaces/tgio.h>

// The member functions of detail::TaggedReader, for the two sources that instantiate it. A Format has
//
//   Stream, Type    the reader, and the type of its object type identifiers
//   bEnded          whether a stream has ended
//   Load            reads the next whole object from a stream into memory, as an atom
//   Take            removes the first atom from others, or none at their end; false for a damaged one
//   TakeObject      splits the contents of an object's atom into its type and its atoms
//   TakeData        the data of a stream object, from the contents of its atom
//   Value           a number or text from the contents of its atom; unchanged when it returns false
//   TypeOf          the identifier of a type
//   ReadData        calls the object's ReadData for an atom that ReadAtom did not read, in ASCII only

namespace detail {

/// Whether an atom is undamaged, down to the innermost object. `depth` is the number of objects around it.
template <class Format, class Name>
bool TaggedReader<Format, Name>::bWhole(const Atom& atom, int depth) {
  if (atom.kind != AtomKind::Object) return true;
  typename Format::Type type;
  std::string_view atoms;
  if (depth == tgio_MaxNesting || !Format::TakeObject(atom.contents, type, atoms)) return false;
  for (Atom inner;;) {
    if (!Format::Take(atoms, inner)) return false;
    if (!inner.present) return true;
    if (!bWhole(inner, depth + 1)) return false;
  }
}

/// Makes the next whole object current. Anything else, or a damaged object, becomes an atom of
/// AtomKind::None.
template <class Format, class Name>
bool TaggedReader<Format, Name>::Load() {
  if (cursor_.atom.present) return true;
  Atom atom;
  if (!Format::Load(*in_, static_cast<typename Format::Stream&>(*this).object_, atom)) return false;
  if (atom.kind != AtomKind::Object || !bWhole(atom, 0)) atom.kind = AtomKind::None;
  cursor_.atom = std::move(atom);
  return true;
}

/// Makes the next atom current. It cannot be damaged: it was checked when the outermost object was loaded.
template <class Format, class Name>
void TaggedReader<Format, Name>::Next() {
  Format::Take(cursor_.rest, cursor_.atom);
  cursor_.refused = false;
}

template <class Format, class Name>
type_cBoolean TaggedReader<Format, Name>::eof() {
  return cursor_.depth == 0 && !cursor_.atom.present && Format::bEnded(*in_);
}

/// Reads the contents of the current atom; on success makes the next atom current.
template <class Format, class Name>
template <class Function>
bool TaggedReader<Format, Name>::ReadInside(const Cursor& contents, Function read) {
  bool success = false;
  {
    const ScopedValue inside(cursor_, contents);
    Next();
    success = read(static_cast<typename Format::Stream&>(*this)) && !cursor_.refused;
  }
  if (!success) return Refuse();
  Next();
  return true;
}

template <class Format, class Name>
type_cBoolean TaggedReader<Format, Name>::Read(tgio_cTaggedStreamObject& object) {
  if (cursor_.depth == 0 && !Load()) return false;
  typename Format::Type type;
  std::string_view body;
  if (!bCurrent(AtomKind::Object) || !Format::TakeObject(cursor_.atom.contents, type, body) ||
      type != Format::TypeOf(object.ObjectType())) {
    return Refuse();
  }
  return ReadInside({{}, body, {}, cursor_.depth + 1}, [&](auto& in) { return object.Read(in); });
}

template <class Format, class Name>
type_cBoolean TaggedReader<Format, Name>::Read(tgio_cStreamObject& object) {
  std::string_view data;
  if (!bCurrent(AtomKind::StreamObject) || !Format::TakeData(cursor_.atom.contents, data)) return Refuse();
  return ReadInside({{}, {}, data, cursor_.depth}, [&](auto& in) { return object.ReadStream(in); });
}

template <class Format, class Name>
template <class T>
bool TaggedReader<Format, Name>::ReadValue(AtomKind kind, T& value) {
  if (!bCurrent(kind) || !Format::Value(cursor_.atom.contents, value)) return Refuse();
  Next();
  return true;
}

template <class Format, class Name>
type_cBoolean TaggedReader<Format, Name>::Read(unsigned char& value) {
  return ReadValue(AtomKind::Byte, value);
}
template <class Format, class Name>
type_cBoolean TaggedReader<Format, Name>::Read(int& value) {
  return ReadValue(AtomKind::Int, value);
}
template <class Format, class Name>
type_cBoolean TaggedReader<Format, Name>::Read(double& value) {
  return ReadValue(AtomKind::Double, value);
}
template <class Format, class Name>
type_cBoolean TaggedReader<Format, Name>::Read(str_cString& value) {
  return ReadValue(AtomKind::String, value);
}

template <class Format, class Name>
type_cBoolean TaggedReader<Format, Name>::SkipObject() {
  if ((cursor_.depth == 0 && !Load()) || !cursor_.atom.present) return false;
  if (cursor_.refused) {
    cursor_.atom = {};
    cursor_.rest = {};
    return false;
  }
  Next();
  return true;
}

template <class Format, class Name>
type_cBoolean TaggedReader<Format, Name>::Refuse() noexcept {
  cursor_.refused |= bool{bHasAtom()};
  return false;
}

/// Calls ReadAtom of `object` for each atom of the current object, and skips the atoms that it leaves
/// untouched.
template <class Format, class Name>
bool TaggedReader<Format, Name>::ReadAtoms(tgio_cTaggedStreamObject& object) {
  auto& in = static_cast<typename Format::Stream&>(*this);
  while (bHasAtom()) {
    const char* const place = cursor_.atom.contents.data();
    const auto untouched = [&] { return cursor_.atom.contents.data() == place; };
    if (object.ReadAtom(in) || (untouched() && Format::ReadData(object, in))) continue;
    if (!untouched() || !SkipObject()) return false;  // read but not valid, or not readable
  }
  return true;
}

}  // namespace detail
