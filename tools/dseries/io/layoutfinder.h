#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "io/fields.h"
#include "io/layout.h"

namespace dseries {

/// Finds the layout of a text from lines all over it: layout.cpp, and doubts.cpp.
class LayoutFinder {
 public:
  LayoutFinder(const std::string& path, std::string_view text, const TextForm& form,
               const MissingWords& missing);
  Layout Find();

 private:
  static constexpr std::size_t sample_size = 200;  // lines from the start, and as many from all over the text

  enum class Kind { Empty, Number, Missing, Other };
  struct Fit {
    Notation notation;
    std::size_t fields = 0;
    int score = 0;
  };

  Kind KindOf(std::string_view field, char decimal) const;
  void TakeSample();
  /// How well the lines of the sample become numbers, with the number of fields that most of them have.
  Fit FitOf(const Notation& notation) const;
  void ChooseNotation();
  void FindNumericFields(Splitter& splitter);
  /// Lines before the data are headers, unless they may be data.
  void FindStart(Splitter& splitter);

  /// Whether the fields are numbers or missing ones, as many as in most lines.
  bool bNumbers(const std::vector<std::string_view>& fields) const;
  /// Whether the fields of a line are those of a datum.
  bool bData(const std::vector<std::string_view>& fields) const;
  /// A comment without the marks at its start.
  std::string_view WithoutMarks(std::string_view comment) const;
  /// Whether what follows a mark in a header is a comment: a blank is behind the mark, which may also begin a
  /// name, as in "nm,%T".
  bool bComment(std::string_view text) const;
  /// The names in a header, if it has one for each field.
  std::vector<std::string> NamesIn(Splitter& splitter, std::string_view line) const;
  /// From the last of these lines before the data: header lines or, without any, comments. A line of units
  /// may follow that of the names.
  void NameFields(Splitter& splitter, const std::vector<std::string_view>& headers);

  // Where a text can be read in two ways.
  /// Blanks do not show an empty field between two tabs. Where the words of the lines lie in different fields
  /// between tabs, tabs are the delimiter; but not where they only align the words. Throws Failure when the
  /// lines do not have the same number of tabs.
  void CheckTabs();
  /// Where a blank follows every other comma in all lines, as in "1,5, 2,5", the others may be decimal ones.
  void CheckCommas() const;
  /// Chooses between two numbers with a comma between them and a single number on each line: by the names in
  /// the header, by the positions, and by the number of fields. Throws Failure when they leave a doubt.
  void Choose(const Fit& pairs, const Fit& singles, bool possible);
  /// Commas that only stand before groups of three digits may not be decimal ones; between semicolons they
  /// are, unless the column has whole numbers too that could have such a mark.
  void CheckGroups() const;
  /// What most data lines have behind a mark may be a column rather than a comment, if there is a number in
  /// it or the mark has other uses.
  void CheckComments(Splitter& splitter) const;
  /// A header with a name for each delimiter at the end of the lines makes empty columns of them. Throws
  /// Failure for one with fewer names than the data have fields between commas, which may be decimal ones,
  /// and for names of columns that blanks do not show.
  void CheckNumberOfNames(Splitter& splitter, std::string_view header);
  /// Throws Failure for a line before the data that begins with as many numbers as they have, and for one
  /// that has their number of fields and begins with a number.
  void CheckHeader(int line, std::string_view whole, const std::vector<std::string_view>& fields) const;

  const std::string& path_;
  std::string_view text_;
  const TextForm& form_;
  const MissingWords& missing_;
  std::vector<std::string_view> sample_;
  std::size_t delimited_ = 1;  ///< the fields with those at the end that are always empty
  Layout layout_;
};

}  // namespace dseries
