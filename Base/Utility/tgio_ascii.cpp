#include <algorithm>
#include <charconv>
#include <iterator>
#include <ostream>

#include <Utility/tgio_lexemes.h>
#include <Utility/tgio_reader.h>

// An object has a line for each atom (name, kind, value) between braces; the outermost one has no name:
//
//   object "1D data array" {
//     DataType string "sbin16"
//     Data data { 3 1 2 3 }
//     Calibration object "1D calibration" {
//       OffsetX double 0.5
//     }
//   }
//
// Anything but a plain word is quoted. An atom ends at the first line end outside its braces, so that one of
// an unknown kind can be skipped too.

namespace {

using detail::AtomKind;
using detail::Lexeme;
using detail::Token;
using Inside = detail::ObjectDraft::Inside;

/// The words for the kinds, in their order.
constexpr std::string_view KindWords[] = {"", "byte", "int", "double", "string", "object", "data"};

AtomKind KindCalled(std::string_view word) noexcept {
  const auto* const found = std::find(std::begin(KindWords), std::end(KindWords), word);
  return found == std::end(KindWords) ? AtomKind::None : static_cast<AtomKind>(found - KindWords);
}
constexpr std::string_view WordOf(AtomKind kind) noexcept { return KindWords[static_cast<int>(kind)]; }

constexpr std::size_t LineLength = 100;

/// Appends characters of the stream to `text` up to the closing brace of an object, or to the line end when
/// no brace is open. Returns false when the stream ends before.
bool AppendToEnd(std::istream& in, std::string& text) {
  std::size_t depth = 0;
  bool quoted = false;
  bool escaped = false;
  for (;;) {
    const auto next = in.rdbuf()->sbumpc();
    if (next == std::istream::traits_type::eof()) {
      in.setstate(std::ios::eofbit | std::ios::failbit);
      return false;
    }
    const char c = std::istream::traits_type::to_char_type(next);
    text += c;
    if (quoted) {
      quoted = escaped || c != '"';
      escaped = !escaped && c == '\\';
    } else if (c == '"') {
      quoted = true;
    } else if (c == '{') {
      ++depth;
    } else if (c == '}') {
      if (depth <= 1) return true;
      --depth;
    } else if (c == '\n' && depth == 0) {
      return true;
    }
  }
}

}  // namespace

struct detail::TextFormat {
  using Stream = tgio_cASCII_istream;
  using Type = std::string;
  using Atom = Stream::Atom;

  static bool bEnded(std::istream& in) {
    auto next = in.peek();
    for (; next == '\n' || bBlank(static_cast<char>(next)); next = in.peek()) in.get();
    return next == std::istream::traits_type::eof();
  }

  /// Anything but an object ends with its line.
  static bool Load(std::istream& in, std::string& object, Atom& atom) {
    object.clear();
    if (bEnded(in) || !AppendToEnd(in, object)) return false;
    atom = MakeAtom({}, object);
    return true;
  }

  static bool Take(std::string_view& atoms, Atom& atom) {
    atom = {};
    Lexeme lexeme = TakeBehindLineEnds(atoms);
    if (lexeme.token == Token::End) return true;
    std::string name;
    if (!Decode(lexeme, name) || name.empty()) return false;

    const char* const begin = atoms.data();
    const char* end = begin;
    int depth = 0;
    do {
      end = atoms.data();
      lexeme = detail::Take(atoms);
      if (lexeme.token == Token::Open) ++depth;
      if (lexeme.token == Token::Close) --depth;
      if (lexeme.token == Token::Bad || depth < 0) return false;
    } while (lexeme.token != Token::End && !(lexeme.token == Token::LineEnd && depth == 0));
    if (depth != 0) return false;

    atom = MakeAtom(str_cString(std::string_view(name)), {begin, static_cast<std::size_t>(end - begin)});
    return true;
  }

  static bool TakeObject(std::string_view contents, Type& type, std::string_view& atoms) {
    return Decode(detail::Take(contents), type) && TakeBody(contents, atoms);
  }
  static bool TakeData(std::string_view contents, std::string_view& data) noexcept {
    return TakeBody(contents, data);
  }
  static std::string_view TypeOf(const tgio_cObjectType& type) noexcept { return type.Name(); }

  template <class T>
  static bool Value(std::string_view contents, T& value) noexcept {
    const auto [token, text] = TakeOnly(contents);
    T number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (token != Token::Word || error != std::errc() || end != text.data() + text.size()) return false;
    value = number;
    return true;
  }
  static bool Value(std::string_view contents, str_cString& value) {
    const Lexeme quoted = TakeOnly(contents);
    std::string text;
    if (quoted.token != Token::Quoted || !Decode(quoted, text)) return false;
    value = str_cString(std::string_view(text));
    return true;
  }

  static bool ReadData(tgio_cTaggedStreamObject& object, Stream& in) {
    const str_cString name = in.Name();  // a copy: the atom changes when it is read
    return object.ReadData(in, name);
  }

 private:
  /// The kind is the first word of `value`.
  static Atom MakeAtom(str_cString name, std::string_view value) {
    std::string_view rest = value;
    const Lexeme kind = detail::Take(rest);
    if (kind.token != Token::Word) return {true, std::move(name), AtomKind::None, value};
    return {true, std::move(name), KindCalled(kind.text), rest};
  }
};

template class DATASTORAGE_INSTANCE detail::TaggedReader<detail::TextFormat, str_cString>;

std::string_view tgio_cASCII_istream::ReadWord() {
  const Lexeme lexeme = detail::TakeBehindLineEnds(cursor_.data);
  return lexeme.token == Token::Quoted ? "\"" : lexeme.text;
}

template <class Compose>
bool tgio_cASCII_ostream::WriteAtom(const str_cString& name, AtomKind kind, Compose compose) {
  if (!draft_.bInside(Inside::Object) || name.Length() == 0) return false;
  return draft_.Undoable([&] {
    StartLine(draft_.Depth());
    detail::AppendName(draft_.bytes, std::string_view(name));
    ((draft_.bytes += ' ') += WordOf(kind)) += ' ';
    return bool{compose()};
  });
}

template <class T>
bool tgio_cASCII_ostream::WriteNumber(const str_cString& name, AtomKind kind, T value) {
  return WriteAtom(name, kind, [&] {
    char text[32];
    draft_.bytes.append(text, std::to_chars(text, text + sizeof text, value).ptr);
    return true;
  });
}

bool tgio_cASCII_ostream::AppendObject(const tgio_cTaggedStreamObject& object) {
  detail::AppendName(draft_.bytes, object.ObjectType().Name());
  draft_.bytes += " {";
  if (!draft_.Enter(Inside::Object, [&] { return object.Write(*this); })) return false;
  StartLine(draft_.Depth());
  draft_.bytes += '}';
  return true;
}

void tgio_cASCII_ostream::StartLine(int indent) {
  draft_.bytes += '\n';
  line_start_ = draft_.bytes.size();
  draft_.bytes.append(2 * static_cast<std::size_t>(indent), ' ');
}

type_cBoolean tgio_cASCII_ostream::Write(const tgio_cTaggedStreamObject& object) {
  if (!draft_.bInside(Inside::Nothing)) return false;
  (draft_.bytes = WordOf(AtomKind::Object)) += ' ';
  if (!AppendObject(object)) return false;
  draft_.bytes += '\n';
  return draft_.WriteTo(out_);
}

type_cBoolean tgio_cASCII_ostream::Write(unsigned char value, const str_cString& name, type_cBoolean) {
  return WriteNumber(name, AtomKind::Byte, value);
}
type_cBoolean tgio_cASCII_ostream::Write(int value, const str_cString& name, type_cBoolean) {
  return WriteNumber(name, AtomKind::Int, value);
}
type_cBoolean tgio_cASCII_ostream::Write(double value, const str_cString& name, type_cBoolean) {
  return WriteNumber(name, AtomKind::Double, value);
}
type_cBoolean tgio_cASCII_ostream::Write(const str_cString& value, const str_cString& name, type_cBoolean) {
  return WriteAtom(name, AtomKind::String, [&] {
    detail::AppendQuoted(draft_.bytes, std::string_view(value));
    return true;
  });
}
type_cBoolean tgio_cASCII_ostream::Write(const tgio_cTaggedStreamObject& object, const str_cString& name,
                                         type_cBoolean) {
  return WriteAtom(name, AtomKind::Object, [&] { return AppendObject(object); });
}
type_cBoolean tgio_cASCII_ostream::Write(const tgio_cStreamObject& object, const str_cString& name,
                                         type_cBoolean) {
  return WriteAtom(name, AtomKind::StreamObject, [&] {
    draft_.bytes += '{';
    if (!draft_.Enter(Inside::StreamObject, [&] { return object.WriteStream(*this); })) return false;
    draft_.bytes += " }";
    return true;
  });
}

type_cBoolean tgio_cASCII_ostream::WriteWord(std::string_view word) {
  if (!draft_.bInside(Inside::StreamObject) || !detail::bPlainWord(word)) return false;
  if (draft_.bytes.size() - line_start_ + 1 + word.size() <= LineLength) {
    draft_.bytes += ' ';
  } else {
    StartLine(draft_.Depth() + 1);
  }
  draft_.bytes += word;
  return true;
}
