#pragma once

#include <istream>
#include <utility>

#include <DataStorage/interfaces/tgio.h>

// The bodies of detail::TaggedReader, for the two sources that instantiate it. A Format has
//
//   Stream, Type    the reader, and what it calls the type of an object
//   bEnded          whether nothing more follows in a stream
//   Load            takes the next whole object from a stream, and makes an atom of what it took
//   Take            takes the first atom off others, or none when they have ended; false where no atom stands
//   TakeObject      the type and the atoms of an object, out of the contents of its atom
//   TakeData        the same for what a stream object reads
//   Value           the same for a number or a text; leaves it untouched when it returns false
//   TypeOf          what the format calls a type
//   ReadData        the second offer that the form makes of an atom that ReadAtom has refused

namespace detail {

/// Whether what an atom holds is whole, down to the innermost object. `depth` counts the objects around it.
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

/// Makes the next whole object current. What is none, or damaged, becomes an atom of no kind.
template <class Format, class Name>
bool TaggedReader<Format, Name>::Load() {
  if (cursor_.atom.present) return true;
  object_.clear();
  Atom atom;
  if (!Format::Load(*in_, object_, atom)) return false;
  if (atom.kind != AtomKind::Object || !bWhole(atom, 0)) atom.kind = AtomKind::None;
  cursor_.atom = std::move(atom);
  return true;
}

/// Makes the following atom current. What is left was checked when the outermost object was loaded.
template <class Format, class Name>
void TaggedReader<Format, Name>::Next() {
  Format::Take(cursor_.rest, cursor_.atom);
  cursor_.refused = false;
}

template <class Format, class Name>
type_cBoolean TaggedReader<Format, Name>::eof() {
  return cursor_.depth == 0 && !cursor_.atom.present && Format::bEnded(*in_);
}

/// Reads what is inside of the current atom, and moves on when that was successful.
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

/// Offers the atoms of the current object to `object`, and passes over those that it leaves untouched.
template <class Format, class Name>
bool TaggedReader<Format, Name>::ReadAtoms(tgio_cTaggedStreamObject& object) {
  auto& in = static_cast<typename Format::Stream&>(*this);
  while (bHasAtom()) {
    const char* const place = cursor_.atom.contents.data();
    const auto untouched = [&] { return cursor_.atom.contents.data() == place; };
    if (object.ReadAtom(in) || (untouched() && Format::ReadData(object, in))) continue;
    if (!untouched() || !SkipObject()) return false;  // read and then found wrong, or not read
  }
  return true;
}

}  // namespace detail
