#include "io/npy.h"

#include <algorithm>
#include <cstddef>
#include <fmt/format.h>
#include <type_traits>

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

}  // namespace

std::string NpyType(dtyp_cDataType type) {
  static constexpr char families[] = {'u', 'i', 'f', 'c'};
  return detail::VisitElementType(type.Type(), []<class T>(std::type_identity<T>) {
    const char family = families[static_cast<std::size_t>(detail::FamilyOf<T>)];
    return fmt::format("{}{}{}", sizeof(T) == 1 ? '|' : '<', family, sizeof(T));
  });
}

// The format is documented in numpy.lib.format: version 1.0, or 3.0 if the header is not ASCII or too long.
std::string NpyHeader(const std::vector<NpyField>& fields, std::optional<int> records) {
  std::string text = "{'descr': [";
  for (const NpyField& field : fields) {
    text += '(' + Literal(field.name) + ", " + Literal(field.type);
    if (!field.extents.empty()) text += ", " + Tuple(field.extents);
    text += "), ";
  }
  text += "], 'fortran_order': False, 'shape': " + (records ? Tuple({*records}) : "()") + '}';

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

}  // namespace dseries
