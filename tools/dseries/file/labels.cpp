#include "file/labels.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <iterator>
#include <optional>
#include <random>
#include <regex>

#include "file/failure.h"
#include "file/reading.h"
#include "file/text.h"

namespace dseries {

namespace fs = std::filesystem;

namespace {

using Json = Labels::Json;

constexpr std::int64_t most_bytes = std::int64_t{1} << 20;
constexpr int deepest = 64;  // of nested members, which are visited recursively

std::string_view Trimmed(std::string_view text) {
  constexpr std::string_view blanks = " \t\r\n";
  const std::size_t first = text.find_first_not_of(blanks);
  if (first == text.npos) return "";
  return text.substr(first, text.find_last_not_of(blanks) + 1 - first);
}

/// Whether a text is a product or quotient of known units, such as "cm-1", "mm/s" or "counts".
bool bUnits(std::string_view text) {
  constexpr std::size_t longest = 40;
  static const std::regex factor(
      "(?:(?:[yzafpnumcdhkMGTPEZY]|µ|μ|da)?"  // of SI units
      "(?:m|g|s|A|K|mol|cd|Hz|N|Pa|J|W|C|V|F|Ω|[Oo]hm|S|Wb|T|H|lm|lx|Bq|Gy|Sv|kat|rad|sr|"
      "eV|bar|[lL]|u|Da|Torr|b)|"
      "sec|min|h|d|rpm|°|deg|°C|degC|°F|Å|Angstrom|atm|%|ppm|ppb|dBm?|"
      "a\\.u\\.|arb\\. ?u(?:nits|\\.)|counts?|cts|cps|px|pixels?)"
      "(?:\\^?(?:-|−)?[0-9]|⁻|⁰|¹|²|³|⁴|⁵|⁶|⁷|⁸|⁹)*"  // exponents
      "(?:(?: ?(?:\\*|·|/) ?| |\\.)(?=.)|$)");
  std::cmatch match;
  const char *at = text.data(), *const end = at + text.size();
  if (text.size() > longest) return false;
  while (at != end && std::regex_search(at, end, match, factor, std::regex_constants::match_continuous)) {
    at += match.length();
  }
  return at == end && !text.empty();
}

/// Where the bracket begins that closes at the end of the text; npos if there is none.
std::size_t BracketAtEnd(std::string_view text) {
  if (text.empty() || (text.back() != ')' && text.back() != ']')) return text.npos;
  const char close = text.back(), open = close == ')' ? '(' : '[';
  int depth = 0;
  for (std::size_t i = text.size(); i-- > 0;) {
    depth += (text[i] == close) - (text[i] == open);
    if (depth == 0) return i;
  }
  return text.npos;
}

[[noreturn]] void FailFor(const std::string& path, const std::string& fault) {
  Fail("{} cannot be used: {}; correct or remove it", path, fault);
}

/// The bytes of a regular file; none if there is no file.
std::optional<std::string> BytesOf(const std::string& path) {
  std::error_code error;
  const fs::file_status status = fs::status(PathOf(path), error);
  if (status.type() == fs::file_type::not_found) return {};
  if (fs::is_directory(status)) FailFor(path, "it is a folder");
  if (!fs::is_regular_file(status)) FailFor(path, "it is not a regular file");
  std::ifstream in(PathOf(path), std::ios::binary);
  std::string bytes(most_bytes + 1, '\0');
  in.read(bytes.data(), std::ssize(bytes));
  if (in.bad() || !in.is_open()) FailFor(path, std::strerror(errno));
  bytes.resize(static_cast<std::size_t>(in.gcount()));
  if (std::ssize(bytes) > most_bytes) FailFor(path, "it has more than " + SizeText(most_bytes));
  return bytes;
}

Json Parsed(const std::string& bytes) {
  try {
    return Json::parse(bytes, [](int depth, Json::parse_event_t, const Json&) {
      if (depth > deepest) Fail("its members are nested more than {} levels deep", deepest);
      return true;
    });
  } catch (const Json::parse_error& error) {
    const std::string message = error.what();  // "... at line 2, column 7: ...", with bytes of the file
    const std::size_t place = message.find(" at line "), end = message.find(':', place);
    Fail("it is not valid JSON{}", place == message.npos ? "" : message.substr(place, end - place));
  } catch (const Json::out_of_range&) {
    Fail("a number in it is too large");
  }
}

/// A member of an object; null if it is missing. Throws Failure when it is of another type.
const Json* Member(const Json& object, const char* name, Json::value_t type) {
  const auto found = object.find(name);
  if (found == object.end()) return nullptr;
  if (found->type() != type) {
    Fail("\"{}\" is not {}", name, type == Json::value_t::string ? "a text" : "an object");
  }
  return &*found;
}

std::string TextOf(const Json& object, const char* name) {
  const Json* text = Member(object, name, Json::value_t::string);
  return text == nullptr ? "" : text->get<std::string>();
}

Label LabelIn(const Json* object, const char* name) {
  const Json* label = object == nullptr ? nullptr : Member(*object, name, Json::value_t::object);
  if (label == nullptr) return {};
  return {TextOf(*label, "name"), TextOf(*label, "units")};
}

Labels LabelsIn(const Json& document) {
  if (!document.is_object()) Fail("it does not hold an object");
  Labels labels;
  labels.title = TextOf(document, "title");
  const Json* axes = Member(document, "axes", Json::value_t::object);
  labels.x = LabelIn(axes, "x");
  labels.y = LabelIn(axes, "y");
  labels.value = LabelIn(&document, "value");
  if (const Json* attributes = Member(document, "attributes", Json::value_t::object)) {
    labels.attributes = *attributes;
  }
  labels.document = document;
  return labels;
}

/// Sets a member, or removes it if it is empty.
template <class T>
void Set(Json& object, const char* name, const T& value) {
  object.erase(name);
  if (!value.empty()) object[name] = value;
}

/// Adds the members of `before`, if it is an object, whose names are not known here.
void AddOthers(Json& object, const Json& before, std::initializer_list<std::string_view> known) {
  if (!before.is_object()) return;
  for (const auto& [name, value] : before.items()) {
    if (std::find(known.begin(), known.end(), name) == known.end()) object[name] = value;
  }
}

/// The member of an object; null if it has none.
Json Before(const Json& object, const char* name) {
  return object.is_object() ? object.value(name, Json()) : Json();
}

Json LabelAsJson(const Label& label, const Json& before) {
  Json json = Json::object();
  Set(json, "name", label.name);
  Set(json, "units", label.units);
  AddOthers(json, before, {"name", "units"});
  return json;
}

/// A file that is removed unless it is renamed.
class Temporary {
 public:
  explicit Temporary(const fs::path& target) : path_(target) {
    std::random_device random;
    path_.replace_filename(fmt::format(".labels.{:08x}.part", random()));
  }
  Temporary(const Temporary&) = delete;
  Temporary& operator=(const Temporary&) = delete;
  ~Temporary() {
    std::error_code ignored;
    fs::remove(path_, ignored);
  }

  bool bWritten(std::string_view bytes) const {
    std::ofstream out(path_, std::ios::binary);
    out.write(bytes.data(), std::ssize(bytes));
    out.close();
    return out.good();
  }
  const fs::path& Path() const { return path_; }

 private:
  fs::path path_;
};

[[noreturn]] void FailToWrite(const std::string& name, const std::string& reason) {
  Fail("the labels in {} cannot be written: {}", name, reason);
}

}  // namespace

Label ParseLabel(std::string_view text) {
  text = Trimmed(text);
  const std::size_t open = BracketAtEnd(text);
  if (open != text.npos) {
    const auto name = Trimmed(text.substr(0, open)),
               units = Trimmed(text.substr(open + 1, text.size() - open - 2));
    if (!name.empty() || bUnits(units)) {
      // "Energy / (eV)"
      return {std::string(Trimmed(name.substr(0, name.size() - name.ends_with('/')))), std::string(units)};
    }
  }
  const std::size_t slash = text.find('/');
  if (slash != text.npos) {
    const auto name = Trimmed(text.substr(0, slash)), units = Trimmed(text.substr(slash + 1));
    if (!name.empty() && !bUnits(name) && bUnits(units)) return {std::string(name), std::string(units)};
  }
  return {std::string(text), ""};
}

std::string LabelText(const Label& label, std::string_view name) {
  std::string text = label.name.empty() ? std::string(name) : Printable(label.name);
  if (label.units.empty()) return text;
  const std::string units = Printable(label.units);
  return text.empty() ? '(' + units + ')' : text + " (" + units + ')';
}

Labels::Json Labels::AsJson() const {
  const Json axes_before = Before(document, "axes");
  Json axes = Json::object(), json = Json::object();
  Set(axes, "x", LabelAsJson(x, Before(axes_before, "x")));
  Set(axes, "y", LabelAsJson(y, Before(axes_before, "y")));
  AddOthers(axes, axes_before, {"x", "y"});
  Set(json, "title", title);
  Set(json, "axes", axes);
  Set(json, "value", LabelAsJson(value, Before(document, "value")));
  Set(json, "attributes", attributes);
  AddOthers(json, document, {"title", "axes", "value", "attributes"});
  return json;
}

Labels ParseLabels(const std::string& text) { return LabelsIn(Parsed(text)); }

std::string LabelsPath(const std::string& series) {
  const std::string name = bstr_FollowedPath(series.c_str()).CString();
  return name + (name.ends_with(".dseries") ? ".json" : ".dseries.json");
}

Labels ReadLabels(const std::string& series) {
  const std::string path = LabelsPath(series);
  const std::optional<std::string> bytes = BytesOf(path);
  if (!bytes) return {};
  try {
    return ParseLabels(*bytes);
  } catch (const Failure& failure) {
    FailFor(path, failure.what());
  }
}

void WriteLabels(const std::string& series, const Labels& labels) {
  const std::string name = LabelsPath(series);
  std::error_code error;
  fs::path path = PathOf(name);
  if (const fs::path followed = fs::canonical(path, error); !error) path = followed;
  const fs::file_status present = fs::status(path, error);
  if (fs::is_directory(present)) FailToWrite(name, "it is a folder");
  const Json json = labels.AsJson();
  if (json.empty()) {
    fs::remove(path, error);
    if (error) FailToWrite(name, error.message());
    return;
  }
  std::string bytes;
  try {
    bytes = json.dump(2) + '\n';
    ParseLabels(bytes);
  } catch (const Json::exception&) {
    FailToWrite(name, "a text is not UTF-8");
  } catch (const Failure& failure) {
    FailToWrite(name, failure.what());
  }
  if (std::ssize(bytes) > most_bytes) FailToWrite(name, "they take more than " + SizeText(most_bytes));
  errno = 0;
  if (fs::exists(present) && !std::fstream(path, std::ios::in | std::ios::out).is_open()) {
    FailToWrite(name, std::strerror(errno));
  }
  const Temporary file(path);
  if (!file.bWritten(bytes)) FailToWrite(name, std::strerror(errno));
  if (fs::exists(present)) fs::permissions(file.Path(), present.permissions(), error);
  fs::rename(file.Path(), path, error);
  if (error) FailToWrite(name, error.message());
}

Labels::Json ParseAttribute(const std::string& text) {
  Json value = Json::parse(text, nullptr, false);
  const bool whole = text.find_first_not_of("-0123456789") == text.npos;
  // A number with too many digits for its value is an identifier.
  if (value.is_boolean() || value.is_number_integer() || (value.is_number_float() && !whole)) return value;
  return text;
}

}  // namespace dseries
