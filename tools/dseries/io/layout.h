#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "io/fields.h"

// What a text of numbers looks like: instruments and programs write them in many ways.

namespace dseries {

/// What a user says of a text; members that are not given are found out.
struct TextForm {
  std::string columns;  ///< of the positions (0: none) and the values, as "1,3-5" or by names from the header
  std::optional<int> skip;        ///< so many lines at the start, whatever they hold
  std::optional<char> delimiter;  ///< as in Notation
  std::optional<char> decimal;
  std::vector<std::string> comments;  ///< marks of comments; none: # % ; and //
  std::vector<std::string> missing;   ///< words and numbers for missing values, besides the usual words

  const std::vector<std::string>& CommentMarks() const;
  bool bNone() const;
};

struct Layout {
  Notation notation;
  bool assumed = false;  ///< the notation is the likelier one of two
  std::size_t fields = 1;
  std::vector<bool> numeric;        ///< for each field, whether it holds numbers
  std::vector<std::string> unread;  ///< for each field without numbers, the first that begins like one
  std::vector<std::string> names;   ///< for each field, with units in brackets; empty: they are not known
  int header_lines = 0;
  std::size_t begin = 0;  ///< where the data begin
  int first_line = 1;     ///< the line there, from 1
};

/// A text in UTF-8, UTF-16 or a code page of 8 bits, as UTF-8 or as it is, without a byte-order mark and with
/// lines that end in LF. Throws Failure for bytes that are no text.
std::string TextOf(const std::string& path, std::string bytes);

/// Takes the next line from the start of a text, without the LF.
std::string_view TakeLine(std::string_view& rest);

/// Looks at lines all over the text. Throws Failure when there are no numbers, when a line before the data
/// may be one of them, and when two readings are equally likely.
Layout FindLayout(const std::string& path, std::string_view text, const TextForm& form,
                  const MissingWords& missing);

/// Throws Failure for a field that should be a number.
[[noreturn]] void FailForField(const std::string& path, int line, std::string_view field,
                               const std::string& advice = "");

}  // namespace dseries
