#pragma once

#include <string>
#include <string_view>

/// The lexemes of tagged text streams: plain words, quoted texts, braces and line ends.
namespace detail {

enum class Token { End, LineEnd, Open, Close, Word, Quoted, Bad };

struct Lexeme {
  Token token;
  std::string_view text;  // that of a quoted text without the quotes
};

constexpr bool bBlank(char c) noexcept { return c == ' ' || c == '\t' || c == '\r'; }

/// Removes the first lexeme from `text` and returns it.
Lexeme Take(std::string_view& text) noexcept;
/// The same after skipping line ends.
Lexeme TakeBehindLineEnds(std::string_view& text) noexcept;
/// The only lexeme of `text`; Token::Bad when there are more.
Lexeme TakeOnly(std::string_view text) noexcept;
/// Sets `body` to what is between the outer braces of `text`; returns false when there are none.
bool TakeBody(std::string_view text, std::string_view& body) noexcept;

/// Whether `text` is a word that needs no quotes.
bool bPlainWord(std::string_view text) noexcept;
void AppendQuoted(std::string& out, std::string_view text);
/// Appends a plain word as it is and any other name in quotes.
void AppendName(std::string& out, std::string_view name);
/// Sets `text` to a word or a quoted text, with escapes replaced. Returns false for any other lexeme and for
/// unknown escapes.
bool Decode(const Lexeme& lexeme, std::string& text);

}  // namespace detail
