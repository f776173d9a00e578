#include <algorithm>
#include <charconv>
#include <istream>
#include <ostream>

#include <DataStorage/interfaces/tgio.h>

// An object is a line for each atom (name, kind, value) between braces; the outermost one has no name:
//
//   object "1D data array" {
//     DataType string "sbin16"
//     Data data { 3 1 2 3 }
//     Calibration object "1D calibration" {
//       OffsetX double 0.5
//     }
//   }
//
// Anything but a plain word stands in quotes. An atom ends where a line ends and all its braces are closed,
// so that one of an unknown kind can be passed over too.

namespace {

constexpr std::string_view KindByte = "byte";
constexpr std::string_view KindInt = "int";
constexpr std::string_view KindDouble = "double";
constexpr std::string_view KindString = "string";
constexpr std::string_view KindObject = "object";
constexpr std::string_view KindData = "data";

constexpr std::size_t LineLength = 100;

constexpr bool bBlank(char c) noexcept { return c == ' ' || c == '\t' || c == '\r'; }
constexpr bool bWordCharacter(char c) noexcept {
  return !bBlank(c) && c != '\n' && c != '"' && c != '{' && c != '}';
}

enum class Token { End, LineEnd, Open, Close, Word, Quoted, Bad };

struct Lexeme {
  Token token;
  std::string_view text;  // of what stands in quotes, without them
};

/// Takes the first lexeme off `text`.
Lexeme Take(std::string_view& text) noexcept {
  std::size_t begin = 0;
  while (begin < text.size() && bBlank(text[begin])) ++begin;
  text.remove_prefix(begin);
  if (text.empty()) return {Token::End, {}};

  Lexeme result{Token::Bad, text.substr(0, 1)};
  std::size_t end = 1;
  switch (text[0]) {
    case '\n':
      result.token = Token::LineEnd;
      break;
    case '{':
      result.token = Token::Open;
      break;
    case '}':
      result.token = Token::Close;
      break;
    case '"':
      while (end < text.size() && text[end] != '"') end += text[end] == '\\' ? 2 : 1;
      if (end < text.size()) result = {Token::Quoted, text.substr(1, end - 1)};
      end = std::min(end + 1, text.size());
      break;
    default:
      while (end < text.size() && bWordCharacter(text[end])) ++end;
      result = {Token::Word, text.substr(0, end)};
  }
  text.remove_prefix(end);
  return result;
}

/// The only lexeme of `text`; Token::Bad when there are more.
Lexeme TakeOnly(std::string_view text) noexcept {
  const Lexeme result = Take(text);
  return Take(text).token == Token::End ? result : Lexeme{Token::Bad, {}};
}

/// What stands between the outer braces of `text`, the first of which was taken off; false when the last
/// character is no brace.
bool TakeBody(std::string_view text, std::string_view& body) noexcept {
  while (!text.empty() && bBlank(text.back())) text.remove_suffix(1);
  if (text.empty() || text.back() != '}') return false;
  text.remove_suffix(1);
  body = text;
  return true;
}

void AppendQuoted(std::string& out, std::string_view text) {
  constexpr char digits[] = "0123456789abcdef";
  out += '"';
  for (const char c : text) {
    if (c == '"' || c == '\\') {
      (out += '\\') += c;
    } else if (c == '\n') {
      out += "\\n";
    } else if (const auto byte = static_cast<unsigned char>(c); byte < 0x20 || byte == 0x7f) {
      ((out += "\\x") += digits[byte >> 4]) += digits[byte & 15];
    } else {
      out += c;
    }
  }
  out += '"';
}

bool bPlainWord(std::string_view text) noexcept {
  for (const char c : text) {
    if (c <= ' ' || c == 0x7f || c == '\\' || !bWordCharacter(c)) return false;
  }
  return !text.empty();
}

void AppendName(std::string& out, std::string_view name) {
  if (bPlainWord(name)) {
    out += name;
  } else {
    AppendQuoted(out, name);
  }
}

/// The text that a word or a quoted text stands for; false for anything else and for unknown escapes.
bool Decode(const Lexeme& lexeme, std::string& text) {
  if (lexeme.token != Token::Word && lexeme.token != Token::Quoted) return false;
  text.clear();
  for (std::size_t i = 0; i < lexeme.text.size(); ++i) {
    if (lexeme.text[i] != '\\' || lexeme.token == Token::Word) {
      text += lexeme.text[i];
      continue;
    }
    const char escape = lexeme.text[++i];  // a quoted text never ends with an open escape
    if (escape == '"' || escape == '\\') {
      text += escape;
    } else if (escape == 'n') {
      text += '\n';
    } else if (escape == 'x') {
      const std::string_view digits = lexeme.text.substr(i + 1, 2);
      unsigned char byte = 0;
      const auto end = std::from_chars(digits.data(), digits.data() + digits.size(), byte, 16).ptr;
      if (end != digits.data() + 2) return false;
      text += static_cast<char>(byte);
      i += 2;
    } else {
      return false;
    }
  }
  return true;
}

/// Takes the type and the body out of the value of an object atom.
bool TakeObject(std::string_view value, std::string& type, std::string_view& body) {
  return Decode(Take(value), type) && Take(value).token == Token::Open && TakeBody(value, body);
}

}  // namespace

template <class Compose>
bool tgio_cASCII_ostream::WriteAtom(const str_cString& name, std::string_view kind, Inside inside,
                                    Compose compose) {
  if (inside_ != Inside::Object || name.Length() == 0) return false;
  return Undoable(inside, [&] {
    StartLine(depth_);
    AppendName(buffer_, std::string_view(name));
    ((buffer_ += ' ') += kind) += ' ';
    return bool{compose()};
  });
}

template <class T>
bool tgio_cASCII_ostream::WriteNumber(const str_cString& name, std::string_view kind, T value) {
  return WriteAtom(name, kind, Inside::Nothing, [&] {
    char text[32];
    buffer_.append(text, std::to_chars(text, text + sizeof text, value).ptr);
    return true;
  });
}

bool tgio_cASCII_ostream::AppendObject(const tgio_cTaggedStreamObject& object) {
  if (depth_ == tgio_MaxNesting) return false;
  AppendName(buffer_, object.ObjectType().Name());
  buffer_ += " {";
  {
    const detail::ScopedValue deeper(depth_, depth_ + 1);
    if (!object.Write(*this)) return false;
  }
  StartLine(depth_);
  buffer_ += '}';
  return true;
}

void tgio_cASCII_ostream::StartLine(int indent) {
  buffer_ += '\n';
  line_start_ = buffer_.size();
  buffer_.append(2 * static_cast<std::size_t>(indent), ' ');
}

type_cBoolean tgio_cASCII_ostream::Write(const tgio_cTaggedStreamObject& object) {
  if (inside_ != Inside::Nothing) return false;
  (buffer_ = KindObject) += ' ';
  if (!Undoable(Inside::Object, [&] { return AppendObject(object); })) return false;
  buffer_ += '\n';
  out_.write(buffer_.data(), static_cast<std::streamsize>(buffer_.size()));
  return out_.good();
}

type_cBoolean tgio_cASCII_ostream::Write(unsigned char value, const str_cString& name, type_cBoolean) {
  return WriteNumber(name, KindByte, value);
}
type_cBoolean tgio_cASCII_ostream::Write(int value, const str_cString& name, type_cBoolean) {
  return WriteNumber(name, KindInt, value);
}
type_cBoolean tgio_cASCII_ostream::Write(double value, const str_cString& name, type_cBoolean) {
  return WriteNumber(name, KindDouble, value);
}
type_cBoolean tgio_cASCII_ostream::Write(const str_cString& value, const str_cString& name, type_cBoolean) {
  return WriteAtom(name, KindString, Inside::Nothing, [&] {
    AppendQuoted(buffer_, std::string_view(value));
    return true;
  });
}
type_cBoolean tgio_cASCII_ostream::Write(const tgio_cTaggedStreamObject& object, const str_cString& name,
                                         type_cBoolean) {
  return WriteAtom(name, KindObject, Inside::Object, [&] { return AppendObject(object); });
}
type_cBoolean tgio_cASCII_ostream::Write(const tgio_cStreamObject& object, const str_cString& name,
                                         type_cBoolean) {
  return WriteAtom(name, KindData, Inside::StreamObject, [&] {
    buffer_ += '{';
    if (!object.WriteStream(*this)) return false;
    buffer_ += " }";
    return true;
  });
}

type_cBoolean tgio_cASCII_ostream::WriteWord(std::string_view word) {
  if (inside_ != Inside::StreamObject || !bPlainWord(word)) return false;
  if (buffer_.size() - line_start_ + 1 + word.size() <= LineLength) {
    buffer_ += ' ';
  } else {
    StartLine(depth_ + 1);
  }
  buffer_ += word;
  return true;
}

/// Takes the first atom off `atoms`, or none when they have ended; false when what stands there is no atom.
bool tgio_cASCII_istream::TakeAtom(std::string_view& atoms, Atom& atom) {
  atom = {};
  Lexeme lexeme = Take(atoms);
  while (lexeme.token == Token::LineEnd) lexeme = Take(atoms);
  if (lexeme.token == Token::End) return true;
  std::string name;
  if (!Decode(lexeme, name) || name.empty()) return false;

  const char* const begin = atoms.data();
  const char* end = begin;
  int depth = 0;
  do {
    end = atoms.data();
    lexeme = Take(atoms);
    if (lexeme.token == Token::Open) ++depth;
    if (lexeme.token == Token::Close) --depth;
    if (lexeme.token == Token::Bad || depth < 0) return false;
  } while (lexeme.token != Token::End && !(lexeme.token == Token::LineEnd && depth == 0));
  if (depth != 0) return false;

  atom.present = true;
  atom.name = str_cString(std::string_view(name));
  atom.value = std::string_view(begin, static_cast<std::size_t>(end - begin));
  std::string_view value = atom.value;
  if (lexeme = Take(value); lexeme.token == Token::Word) {
    atom.kind = lexeme.text;
    atom.value = value;
  }
  return true;
}

/// Whether `atoms` are nothing but atoms, down to the innermost object. `depth` counts the objects around
/// them.
bool tgio_cASCII_istream::bWellFormed(std::string_view atoms, int depth) {
  for (;;) {
    Atom atom;
    if (!TakeAtom(atoms, atom)) return false;
    if (!atom.present) return true;
    if (atom.kind == KindObject) {
      std::string type;
      std::string_view body;
      if (depth == tgio_MaxNesting || !TakeObject(atom.value, type, body) || !bWellFormed(body, depth + 1)) {
        return false;
      }
    }
  }
}

/// Makes the next whole object current: all to its last brace. What is no object becomes an atom of no kind,
/// which ends with its line.
bool tgio_cASCII_istream::Load() {
  if (cursor_.atom.present) return true;
  if (eof()) return false;
  object_.clear();
  std::size_t depth = 0;
  bool quoted = false;
  bool escaped = false;
  for (bool complete = false; !complete;) {
    const auto next = in_.rdbuf()->sbumpc();
    if (next == std::istream::traits_type::eof()) {
      in_.setstate(std::ios::eofbit | std::ios::failbit);
      return false;
    }
    const char c = std::istream::traits_type::to_char_type(next);
    object_ += c;
    if (quoted) {
      quoted = escaped || c != '"';
      escaped = !escaped && c == '\\';
    } else if (c == '"') {
      quoted = true;
    } else if (c == '{') {
      ++depth;
    } else if (c == '}') {
      complete = depth <= 1;
      --depth;
    } else if (c == '\n') {
      complete = depth == 0;
    }
  }
  std::string_view value = object_;
  std::string type;
  std::string_view body;
  const Lexeme kind = Take(value);
  const bool whole = kind.token == Token::Word && kind.text == KindObject && TakeObject(value, type, body) &&
                     bWellFormed(body, 1);
  cursor_.atom = {true, {}, whole ? KindObject : std::string_view(), value};
  return true;
}

/// Makes the following atom current. What is left was checked when the outermost object was loaded.
void tgio_cASCII_istream::Next() {
  TakeAtom(cursor_.rest, cursor_.atom);
  cursor_.refused = false;
}

bool tgio_cASCII_istream::bCurrent(std::string_view kind) const noexcept {
  return cursor_.atom.present && cursor_.atom.kind == kind;
}

type_cBoolean tgio_cASCII_istream::bHasAtom() const noexcept {
  return cursor_.depth > 0 && cursor_.atom.present;
}

const str_cString& tgio_cASCII_istream::Name() const noexcept { return cursor_.atom.name; }

type_cBoolean tgio_cASCII_istream::eof() {
  if (cursor_.depth > 0 || cursor_.atom.present) return false;
  auto next = in_.peek();
  for (; next == '\n' || bBlank(static_cast<char>(next)); next = in_.peek()) in_.get();
  return next == std::istream::traits_type::eof();
}

/// Reads what is inside of the current atom, and moves on when that was successful.
template <class Function>
bool tgio_cASCII_istream::ReadInside(const Cursor& contents, Function read) {
  bool success = false;
  {
    const detail::ScopedValue inside(cursor_, contents);
    Next();
    success = read() && !cursor_.refused;
  }
  if (!success) return Refuse();
  Next();
  return true;
}

type_cBoolean tgio_cASCII_istream::Read(tgio_cTaggedStreamObject& object) {
  if (cursor_.depth == 0 && !Load()) return false;
  std::string type;
  std::string_view body;
  if (!bCurrent(KindObject) || !TakeObject(cursor_.atom.value, type, body) ||
      type != object.ObjectType().Name()) {
    return Refuse();
  }
  return ReadInside({{}, body, {}, cursor_.depth + 1}, [&] { return object.Read(*this); });
}

template <class T>
bool tgio_cASCII_istream::ReadNumber(std::string_view kind, T& value) {
  if (!bCurrent(kind)) return Refuse();
  const auto [token, text] = TakeOnly(cursor_.atom.value);
  T number{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (token != Token::Word || error != std::errc() || end != text.data() + text.size()) return Refuse();
  value = number;
  Next();
  return true;
}

type_cBoolean tgio_cASCII_istream::Read(unsigned char& value) { return ReadNumber(KindByte, value); }
type_cBoolean tgio_cASCII_istream::Read(int& value) { return ReadNumber(KindInt, value); }
type_cBoolean tgio_cASCII_istream::Read(double& value) { return ReadNumber(KindDouble, value); }

type_cBoolean tgio_cASCII_istream::Read(str_cString& value) {
  const Lexeme quoted = TakeOnly(cursor_.atom.value);
  std::string text;
  if (!bCurrent(KindString) || quoted.token != Token::Quoted || !Decode(quoted, text)) return Refuse();
  value = str_cString(std::string_view(text));
  Next();
  return true;
}

type_cBoolean tgio_cASCII_istream::Read(tgio_cStreamObject& object) {
  std::string_view value = cursor_.atom.value;
  std::string_view body;
  if (!bCurrent(KindData) || Take(value).token != Token::Open || !TakeBody(value, body)) return Refuse();
  return ReadInside({{}, {}, body, cursor_.depth}, [&] { return object.ReadStream(*this); });
}

type_cBoolean tgio_cASCII_istream::SkipObject() {
  if (cursor_.depth == 0 && !Load()) return false;
  if (!cursor_.atom.present) return false;
  if (cursor_.refused) {
    cursor_.atom = {};
    cursor_.rest = {};
    return false;
  }
  Next();
  return true;
}

type_cBoolean tgio_cASCII_istream::Refuse() noexcept {
  cursor_.refused |= bool{bHasAtom()};
  return false;
}

std::string_view tgio_cASCII_istream::ReadWord() {
  Lexeme lexeme = Take(cursor_.words);
  while (lexeme.token == Token::LineEnd) lexeme = Take(cursor_.words);
  return lexeme.token == Token::Quoted ? "\"" : lexeme.text;
}
