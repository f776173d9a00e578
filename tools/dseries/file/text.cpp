#include "file/text.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <chrono>
#include <cstddef>
#include <fmt/format.h>
#include <limits>
#include <regex>
#include <sstream>

#include "file/failure.h"

namespace dseries {

namespace {

/// The bytes of the UTF-8 character at the start of the text; 0 if it is invalid.
std::size_t CharacterLength(std::string_view text) {
  const auto lead = static_cast<unsigned char>(text[0]);
  const std::size_t length = lead < 0x80   ? 1
                             : lead < 0xC2 ? 0
                             : lead < 0xE0 ? 2
                             : lead < 0xF0 ? 3
                             : lead < 0xF5 ? 4
                                           : 0;
  if (length > text.size()) return 0;
  const auto followers = text.substr(1, length - std::min<std::size_t>(length, 1));
  const bool whole =
      std::all_of(followers.begin(), followers.end(), [](char c) { return (c & 0xC0) == 0x80; });
  return whole ? length : 0;
}

bool bFitsFile(std::int64_t seconds) {
  using Limits = std::numeric_limits<std::int32_t>;
  return seconds >= Limits::min() && seconds <= Limits::max();
}

/// The part of a match as a number, 0 if it is missing.
int PartOf(const std::smatch& match, std::size_t part) {
  return match[part].matched ? std::stoi(match[part].str()) : 0;
}

std::int64_t ParseIso(const std::string& text) {
  static const std::regex iso(
      R"((\d{4})-(\d\d)-(\d\d)(?:[T ](\d\d):(\d\d)(?::(\d\d))?(?:Z|([+-])(\d\d):?(\d\d))?)?)");
  std::smatch match;
  using namespace std::chrono;
  if (std::regex_match(text, match, iso)) {
    const year_month_day date(year(PartOf(match, 1)), month(static_cast<unsigned>(PartOf(match, 2))),
                              day(static_cast<unsigned>(PartOf(match, 3))));
    const int h = PartOf(match, 4), m = PartOf(match, 5), s = PartOf(match, 6);
    if (date.ok() && h < 24 && m < 60 && s < 60) {
      const int zone = (PartOf(match, 8) * 60 + PartOf(match, 9)) * (match[7] == "-" ? -60 : 60);
      const seconds since = sys_days(date).time_since_epoch() + hours(h) + minutes(m) + seconds(s - zone);
      return since.count();
    }
  }
  Fail("'{}' is not a time; write it as 2024-02-29T12:00:00Z or in seconds since 1970", text);
}

}  // namespace

std::string TimeText(long seconds) {
  using namespace std::chrono;
  const sys_seconds time{std::chrono::seconds(seconds)};
  const auto day = floor<days>(time);
  const year_month_day date(day);
  const hh_mm_ss clock(time - day);
  return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}Z", static_cast<int>(date.year()),
                     static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                     clock.hours().count(), clock.minutes().count(), clock.seconds().count());
}

long ParseTime(const std::string& text) {
  std::int64_t seconds = 0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, seconds);
  if (error != std::errc::result_out_of_range && (error != std::errc() || stop != end)) {
    seconds = ParseIso(text);
  }
  if (error == std::errc::result_out_of_range || !bFitsFile(seconds)) {
    Fail("the time '{}' does not fit a series file, which holds those from {} to {}", text,
         TimeText(std::numeric_limits<std::int32_t>::min()),
         TimeText(std::numeric_limits<std::int32_t>::max()));
  }
  return static_cast<long>(seconds);
}

std::string SizeText(std::int64_t bytes) {
  if (bytes < 1024) return Count(bytes, "byte", "bytes");
  double size = static_cast<double>(bytes) / 1024;
  static constexpr std::array units{"KiB", "MiB", "GiB", "TiB"};
  std::size_t unit = 0;
  for (; size >= 1024 && unit + 1 < units.size(); ++unit) size /= 1024;
  return fmt::format("{:.{}f} {}", size, size < 10 ? 1 : 0, units[unit]);
}

std::string NumberText(double value, int digits) { return fmt::format("{:.{}g}", value, digits); }

std::string ShellWord(const std::string& word) {
  if (word.starts_with('-')) return ShellWord("./" + word);  // is no option
#if defined(_WIN32)
  constexpr std::string_view marks = "+,-./:=@_\\", quote = "\"", quoted_quote = "\\\"";
#else
  constexpr std::string_view marks = "%+,-./:=@_", quote = "'", quoted_quote = "'\\''";
#endif
  const auto plain = [marks](char c) {
    return (c & 0x80) != 0 || std::isalnum(static_cast<unsigned char>(c)) != 0 ||
           marks.find(c) != std::string_view::npos;
  };
  if (!word.empty() && std::all_of(word.begin(), word.end(), plain)) return word;
  std::string quoted(quote);
  for (const char c : word) quoted += c == quote.front() ? quoted_quote : std::string_view(&c, 1);
  return quoted.append(quote);
}

std::string Count(std::int64_t n, std::string_view singular, std::string_view plural) {
  return fmt::format("{} {}", n, n == 1 ? singular : plural);
}

std::size_t Width(std::string_view text) {
  return static_cast<std::size_t>(
      std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}

std::string Shortened(const std::string& text, std::size_t width) {
  if (Width(text) <= width) return text;
  std::size_t end = 0;
  for (std::size_t column = 0; column + 1 < width; ++column) end += CharacterLength(text.substr(end, 4));
  return text.substr(0, end) + "…";
}

std::string Wrapped(const std::string& text, std::size_t width) {
  std::string wrapped;
  std::size_t column = 0;
  std::istringstream words(text);
  for (std::string word; words >> word;) {
    const bool fits = column + 1 + Width(word) <= width;
    if (column > 0) wrapped += fits ? ' ' : '\n';
    column = (column > 0 && fits ? column + 1 : 0) + Width(word);
    wrapped += word;
  }
  return wrapped;
}

std::string Printable(std::string_view rest) {
  std::string printable;
  while (!rest.empty()) {
    const std::size_t length = CharacterLength(rest);
    const auto byte = static_cast<unsigned char>(rest[0]);
    if (length == 0) {
      printable += {static_cast<char>(0xC0 | byte >> 6), static_cast<char>(0x80 | (byte & 0x3F))};
    } else if (byte < 0x20 || byte == 0x7F) {
      printable += '?';
    } else {
      printable += rest.substr(0, length);
    }
    rest.remove_prefix(std::max<std::size_t>(length, 1));
  }
  return printable;
}

std::string WithUnits(const std::string& value, const str_cString& units) {
  return units.Length() == 0 ? value : value + ' ' + Printable(units);
}

const std::vector<std::string>& ElementNames() {
  static const std::vector<std::string> names{
#define DATASTORAGE_ELEMENT_TYPE(value, name, type, long_name, short_name) short_name,
#include <DataStorage/interfaces/elementtypes.def>
  };
  return names;
}

std::string ElementName(const dtyp_cDataType& type) {
  return ElementNames().at(static_cast<std::size_t>(type.Type() - dtyp_UBin8));
}

dtyp_cDataType ElementType(std::string_view name) {
  const auto& names = ElementNames();
  const auto found = std::find(names.begin(), names.end(), name);
  return found == names.end() ? dtyp_NoType
                              : static_cast<dtyp_eDataType>(dtyp_UBin8 + (found - names.begin()));
}

}  // namespace dseries
