#include "io/npy.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <fmt/format.h>
#include <limits>
#include <type_traits>

#include "file/failure.h"
#include "file/text.h"

namespace dseries {

namespace {

std::string Literal(const std::string& text) {
  std::string literal = "'";
  for (const char c : text) {
    if (c == '\'' || c == '\\') literal += '\\';
    literal += c;
  }
  return literal + '\'';
}

std::string Tuple(const std::vector<int>& numbers) {
  std::string tuple = "(";
  for (const int number : numbers) tuple += std::to_string(number) + ',';
  return tuple + ')';
}

/// The header with this dictionary. The format is documented in numpy.lib.format: version 1.0, or 3.0 if the
/// header is not ASCII or too long.
std::string Header(std::string text) {
  constexpr std::size_t alignment = 64, longest = 0xFFFF - alignment;
  const bool plain =
      text.size() <= longest && std::none_of(text.begin(), text.end(), [](char c) { return c < 0; });
  std::string header = "\x93NUMPY";
  header += {plain ? '\x01' : '\x03', '\0'};
  const std::size_t length_size = plain ? 2 : 4;
  while ((header.size() + length_size + text.size() + 1) % alignment != 0) text += ' ';
  text += '\n';
  for (std::size_t byte = 0; byte < length_size; ++byte) {
    header += static_cast<char>(text.size() >> (8 * byte) & 0xFF);
  }
  return header + text;
}

/// The text behind a key of the dictionary in a header.
std::string_view After(std::string_view header, std::string_view key) {
  const std::size_t at = header.find(key);
  if (at == header.npos) return "";
  std::string_view rest = header.substr(at + key.size());
  while (!rest.empty() && (rest[0] == ' ' || rest[0] == ':')) rest.remove_prefix(1);
  return rest;
}

double FromHalf(std::uint16_t bits) {
  const int exponent = bits >> 10 & 0x1F, fraction = bits & 0x3FF;
  const double size = exponent == 0   ? std::ldexp(fraction, -24)
                      : exponent < 31 ? std::ldexp(fraction + 1024, exponent - 25)
                      : fraction == 0 ? std::numeric_limits<double>::infinity()
                                      : std::numeric_limits<double>::quiet_NaN();
  return (bits & 0x8000) != 0 ? -size : size;
}

/// Replaces elements of type From by the values that `convert` gives.
template <class From, class To, class Convert>
void Replace(NpyArray& array, dtyp_eDataType type, Convert convert) {
  std::vector<char> elements(array.elements.size() / sizeof(From) * sizeof(To));
  for (std::size_t i = 0; i < elements.size() / sizeof(To); ++i) {
    From from{};
    std::memcpy(&from, &array.elements[i * sizeof from], sizeof from);
    const To to = convert(from);
    std::memcpy(&elements[i * sizeof to], &to, sizeof to);
  }
  array.type = type;
  array.elements = std::move(elements);
}

template <class Integer>
void ReplaceWide(const std::string& path, NpyArray& array) {
  Replace<Integer, double>(array, dtyp_Float64, [&path](Integer value) {
    constexpr auto most = Integer{1} << std::numeric_limits<double>::digits;
    const bool exact = value <= most && (std::is_unsigned_v<Integer> || value >= static_cast<Integer>(-most));
    if (!exact)
      Fail("{}: the integer {} has more digits than a float64, the widest type of a series", path, value);
    return static_cast<double>(value);
  });
}

/// Puts the elements into the order in which the last dimension is the fastest.
void ReorderFortran(NpyArray& array, std::size_t size) {
  std::vector<char> elements(array.elements.size());
  const std::size_t axes = array.extents.size();
  std::vector<int> index(axes);
  for (std::size_t to = 0; to < elements.size(); to += size) {
    std::size_t from = 0;
    for (std::size_t axis = axes; axis-- > 0;)
      from = from * static_cast<std::size_t>(array.extents[axis]) + static_cast<std::size_t>(index[axis]);
    std::memcpy(&elements[to], &array.elements[from * size], size);
    for (std::size_t axis = axes; axis-- > 0;) {
      if (++index[axis] < array.extents[axis]) break;
      index[axis] = 0;
    }
  }
  array.elements = std::move(elements);
}

}  // namespace

std::string NpyType(dtyp_cDataType type) {
  static constexpr char families[] = {'u', 'i', 'f', 'c'};
  return detail::VisitElementType(type.Type(), []<class T>(std::type_identity<T>) {
    const char family = families[static_cast<std::size_t>(detail::FamilyOf<T>)];
    return fmt::format("{}{}{}", sizeof(T) == 1 ? '|' : '<', family, sizeof(T));
  });
}

std::string NpyHeader(const std::vector<NpyField>& fields, std::optional<int> records) {
  std::string text = "{'descr': [";
  for (const NpyField& field : fields) {
    text += '(' + Literal(field.name) + ", " + Literal(field.type);
    if (!field.extents.empty()) text += ", " + Tuple(field.extents);
    text += "), ";
  }
  text += "], 'fortran_order': False, 'shape': " + (records ? Tuple({*records}) : "()") + '}';
  return Header(std::move(text));
}

std::string NpyHeader(dtyp_cDataType type, const std::vector<int>& extents) {
  return Header("{'descr': " + Literal(NpyType(type)) +
                ", 'fortran_order': False, 'shape': " + Tuple(extents) + '}');
}

bool bNpy(std::string_view bytes) { return bytes.starts_with("\x93NUMPY"); }

NpyArray ReadNpy(const std::string& path, std::string_view bytes) {
  const auto byte = [&](std::size_t i) { return std::size_t{static_cast<unsigned char>(bytes[i])}; };
  const auto fail = [&](std::string_view what) { Fail("{} is a damaged NumPy file: {}", path, what); };
  if (!bNpy(bytes) || bytes.size() < 12) fail("it has no header");
  const bool first = bytes[6] == 1;
  const std::size_t start = first ? 10 : 12;
  const std::size_t length = byte(8) | byte(9) << 8 | (first ? 0 : byte(10) << 16 | byte(11) << 24);
  if (length > bytes.size() - start) fail("its header is cut off");
  const std::string_view header = bytes.substr(start, length), data = bytes.substr(start + length);

  std::string_view descr = After(header, "'descr'");
  if (descr.starts_with('[')) {
    Fail(
        "{} holds records of NumPy; store one of their fields in a file of its own: numpy.save(NAME, "
        "a['FIELD'])",
        path);
  }
  if (!descr.starts_with('\'')) fail("it names no element type");
  descr = descr.substr(1, descr.find('\'', 1) - 1);
  NpyArray array;
  std::size_t size = 0, count = 1;
  if (descr.size() > 2) std::from_chars(descr.data() + 2, descr.data() + descr.size(), size);
  const char kind = descr.size() > 1 ? descr[1] : ' ';

  std::string_view shape = After(header, "'shape'");
  if (!shape.starts_with('(')) fail("it names no shape");
  for (shape.remove_prefix(1); !shape.empty() && shape[0] != ')';) {
    if (shape[0] == ' ' || shape[0] == ',') {
      shape.remove_prefix(1);
      continue;
    }
    int extent = -1;
    const auto [stop, error] = std::from_chars(shape.data(), shape.data() + shape.size(), extent);
    if (error != std::errc() || extent < 0) fail("its shape is not one of whole numbers below 2^31");
    array.extents.push_back(extent);
    const auto factor = static_cast<std::size_t>(extent);
    const bool too_many = factor != 0 && count > std::numeric_limits<std::size_t>::max() / factor;
    count = too_many ? std::numeric_limits<std::size_t>::max() : count * factor;
    shape.remove_prefix(static_cast<std::size_t>(stop - shape.data()));
  }
  const std::string name = fmt::format("{}{}", kind, size);
  if (name != "b1" && name != "f2" && name != "i8" && name != "u8") {
    for (int type = dtyp_UBin8; type <= dtyp_Complex128; ++type) {
      const dtyp_cDataType candidate(static_cast<dtyp_eDataType>(type));
      if (NpyType(candidate).substr(1) == name) array.type = candidate;
    }
    if (array.type == dtyp_NoType) {
      Fail("{} holds elements of type '{}', which a series does not know", path, Printable(descr));
    }
  }
  if (data.size() / size < count) fail("it is cut off");
  if (data.size() != count * size) {
    Fail("{} holds {} behind the array, perhaps another array; store each in a file of its own", path,
         Count(std::ssize(data) - static_cast<std::int64_t>(count * size), "byte", "bytes"));
  }
  array.elements.assign(data.begin(), data.begin() + static_cast<std::ptrdiff_t>(count * size));

  const std::size_t part = kind == 'c' ? size / 2 : size;  // real and imaginary parts are turned one by one
  if ((descr[0] == '>') == (std::endian::native == std::endian::little) && part > 1) {
    for (auto at = array.elements.begin(); at != array.elements.end();
         at += static_cast<std::ptrdiff_t>(part))
      std::reverse(at, at + static_cast<std::ptrdiff_t>(part));
  }
  if (After(header, "'fortran_order'").starts_with("True")) ReorderFortran(array, size);

  if (name == "b1") {
    array.type = dtyp_UBin8;
  } else if (name == "i1") {
    Replace<signed char, short>(array, dtyp_SBin16, [](signed char value) { return short{value}; });
  } else if (name == "f2") {
    Replace<std::uint16_t, float>(array, dtyp_Float32,
                                  [](std::uint16_t bits) { return static_cast<float>(FromHalf(bits)); });
  } else if (name == "i8") {
    ReplaceWide<std::int64_t>(path, array);
  } else if (name == "u8") {
    ReplaceWide<std::uint64_t>(path, array);
  }
  return array;
}

}  // namespace dseries
