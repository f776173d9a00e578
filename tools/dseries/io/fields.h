#pragma once

#include <cstddef>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

// The fields of a line of text, and the numbers in them.

namespace dseries {

bool bBlank(char c);
std::string_view Trimmed(std::string_view text);

/// How numbers stand in a text.
struct Notation {
  char delimiter = ' ';  ///< between fields; ' ' stands for any number of blanks and tabs
  char decimal = '.';    ///< the decimal mark, '.' or ','
};

/// Reads a decimal number, also with the exponents that Fortran writes (1.5D+02, 1.5-103), and the words of
/// other programs for not-a-number and infinity. False when the whole word is not a number, or one too large
/// for a double; one too small for a double is 0.
bool ReadNumber(std::string_view word, double& value, char decimal = '.');

/// Whether a number has marks between groups of three digits, such as 1,234 or 1.234,5, and nothing else in
/// it excludes that.
bool bGroupedDigits(std::string_view word);

/// Whether a field that is no number may still be one: with marks between thousands, in quotes or brackets,
/// behind a currency or a comparison.
bool bSpoiltNumber(std::string_view field);

/// The words that stand for missing values: the usual ones, and those that a user names.
class MissingWords {
 public:
  explicit MissingWords(const std::vector<std::string>& words);
  /// Excludes the words for not-a-number, which are read as numbers.
  bool bWord(std::string_view field) const;
  /// A number that stands for a missing value, as -9999 does in some files.
  bool bNumber(double value) const;

 private:
  std::vector<std::string> words_;
  std::vector<double> numbers_;
};

/// Splits lines. Fields may be quoted; a quote inside is written twice. With blanks as delimiter, tabs
/// separate fields, which may then be empty, where the words of a line are not as many as the fields wanted.
class Splitter {
 public:
  Splitter(char delimiter, const std::vector<std::string>& comments, const MissingWords& missing);

  /// The fields, until the next call: none for a line that is blank or has only empty ones. Empty fields
  /// behind the wanted ones are left out; 0: all are wanted.
  const std::vector<std::string_view>& Split(std::string_view line, std::size_t wanted = 0);
  /// The line up to the mark of a comment, which begins the line or follows a blank or a delimiter.
  std::string_view WithoutComment(std::string_view line) const;

 private:
  void SplitAtBlanks(std::string_view line);
  void SplitAt(char delimiter, std::string_view line);
  /// Adds the quoted field at the start of the text, and returns the text behind it.
  std::string_view TakeQuoted(std::string_view text);

  char delimiter_;
  std::vector<std::string> comments_;
  const MissingWords& missing_;
  std::vector<std::string_view> fields_;
  std::deque<std::string> unquoted_;  ///< fields with quotes inside, whose addresses stay
};

}  // namespace dseries
