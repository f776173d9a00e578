#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <DataStorage/interfaces/str.h>
#include <DataStorage/numbers/datatype.h>

// How values are shown to people, and read from what they type.

namespace dseries {

/// ISO 8601 in UTC, for example "2024-02-29T12:00:00Z".
std::string TimeText(long seconds);
/// Reads ISO 8601 (a date, or a date and a time, with an optional zone; UTC without one) or a whole number of
/// seconds since 1970. Throws Failure for other texts and for times that series files cannot hold.
long ParseTime(const std::string& text);

/// "1.2 MiB"; below 1 KiB "17 bytes".
std::string SizeText(std::int64_t bytes);
/// A number for people, who do not care for the last bits.
std::string NumberText(double value, int digits = 10);
/// A word of a command line as a shell takes it.
std::string ShellWord(const std::string& word);
/// "3 data", "1 datum".
std::string Count(std::int64_t n, std::string_view singular, std::string_view plural);

/// How many columns a text takes: one for each character of UTF-8.
std::size_t Width(std::string_view text);
/// The text, or as much of its start as fits so many columns.
std::string Shortened(const std::string& text, std::size_t width);

/// A text from a file as one line of UTF-8 that a terminal shows as it is: control characters become '?', and
/// bytes that are no UTF-8 the characters that Latin-1 has for them.
std::string Printable(const str_cString& text);
/// `value` with its unit behind it.
std::string WithUnits(const std::string& value, const str_cString& units);

/// The short name of an element type, for example "float32".
std::string ElementName(const dtyp_cDataType& type);
/// All short names, in the order of the types.
const std::vector<std::string>& ElementNames();
/// The type with this short name; a type that is none for any other text.
dtyp_cDataType ElementType(std::string_view name);

}  // namespace dseries
