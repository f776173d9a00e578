#pragma once

#include <string>
#include <string_view>

/// The lexemes of tagged text streams: plain words, texts in quotes, braces and the ends of lines.
namespace detail {

enum class Token { End, LineEnd, Open, Close, Word, Quoted, Bad };

struct Lexeme {
  Token token;
  std::string_view text;  // of what stands in quotes, without them
};

constexpr bool bBlank(char c) noexcept { return c == ' ' || c == '\t' || c == '\r'; }

/// Takes the first lexeme off `text`.
Lexeme Take(std::string_view& text) noexcept;
/// The same behind the ends of lines.
Lexeme TakeBehindLineEnds(std::string_view& text) noexcept;
/// The only lexeme of `text`; Token::Bad when there are more.
Lexeme TakeOnly(std::string_view text) noexcept;
/// What stands between the outer braces of `text`; false where there are none.
bool TakeBody(std::string_view text, std::string_view& body) noexcept;

/// Whether `text` is a word that needs no quotes.
bool bPlainWord(std::string_view text) noexcept;
void AppendQuoted(std::string& out, std::string_view text);
/// As a word, or in quotes where it is none.
void AppendName(std::string& out, std::string_view name);
/// The text that a word or a quoted text stands for; false for anything else and for unknown escapes.
bool Decode(const Lexeme& lexeme, std::string& text);

}  // namespace detail
