#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <DataStorage/interfaces/str.h>
#include <DataStorage/numbers/datatype.h>

// Conversion of values to text for users, and from what they type.

namespace dseries {

/// ISO 8601 in UTC, for example "2024-02-29T12:00:00Z".
std::string TimeText(long seconds);
/// Reads ISO 8601 (a date, or a date and a time, with an optional zone; UTC without one) or a whole number of
/// seconds since 1970. Throws Failure for other texts and for times that series files cannot hold.
long ParseTime(const std::string& text);

/// "1.2 MiB"; below 1 KiB "17 bytes".
std::string SizeText(std::int64_t bytes);
/// A number rounded for display.
std::string NumberText(double value, int digits = 10);
/// A word of a command line, quoted for a shell if needed.
std::string ShellWord(const std::string& word);
/// "3 data", "1 datum".
std::string Count(std::int64_t n, std::string_view singular, std::string_view plural);

/// The columns that a text takes: one for each UTF-8 character.
std::size_t Width(std::string_view text);
/// The text, cut to so many columns, with an ellipsis, if it is longer.
std::string Shortened(const std::string& text, std::size_t width);

/// The text in lines of at most so many columns, broken at blanks; a longer word has a line of its own.
std::string Wrapped(const std::string& text, std::size_t width);

/// A text from a file as one line of UTF-8 that is safe for a terminal: control characters become '?', and
/// bytes that are not UTF-8 are taken as Latin-1.
std::string Printable(std::string_view text);
inline std::string Printable(const str_cString& text) { return Printable(std::string_view(text)); }
/// `value` followed by its units.
std::string WithUnits(const std::string& value, const str_cString& units);

/// The short name of an element type, for example "float32".
std::string ElementName(const dtyp_cDataType& type);
/// All short names, in the order of the types.
const std::vector<std::string>& ElementNames();
/// The type with this short name; dtyp_NoType for any other text.
dtyp_cDataType ElementType(std::string_view name);

}  // namespace dseries
