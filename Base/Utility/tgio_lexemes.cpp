#include <algorithm>
#include <charconv>

#include <Utility/tgio_lexemes.h>

namespace detail {

namespace {

constexpr bool bWordCharacter(char c) noexcept {
  return !bBlank(c) && c != '\n' && c != '"' && c != '{' && c != '}';
}

}  // namespace

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

Lexeme TakeBehindLineEnds(std::string_view& text) noexcept {
  Lexeme lexeme = Take(text);
  while (lexeme.token == Token::LineEnd) lexeme = Take(text);
  return lexeme;
}

Lexeme TakeOnly(std::string_view text) noexcept {
  const Lexeme result = Take(text);
  return Take(text).token == Token::End ? result : Lexeme{Token::Bad, {}};
}

bool TakeBody(std::string_view text, std::string_view& body) noexcept {
  if (Take(text).token != Token::Open) return false;
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

bool Decode(const Lexeme& lexeme, std::string& text) {
  if (lexeme.token != Token::Word && lexeme.token != Token::Quoted) return false;
  text.clear();
  for (std::size_t i = 0; i < lexeme.text.size(); ++i) {
    if (lexeme.text[i] != '\\' || lexeme.token == Token::Word) {
      text += lexeme.text[i];
      continue;
    }
    const char escape = lexeme.text[++i];  // a quoted text never ends within an escape
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

}  // namespace detail
