#pragma once

#include <charconv>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "objects.h"
#include <DataStorage/interfaces/constants.h>

// A second, simple reader of tagged streams as in docs/stream-formats.md. It shares only the conversion of
// words to numbers with the library's readers.

namespace fuzz {

/// An atom or a complete object.
struct Node {
  bool text = false;                     // from a text stream; names and types are words, else numbers
  std::string name = {};                 // of an atom
  std::string kind = {};                 // as in text streams
  std::string type = {};                 // of an object
  std::string bytes = {};                // a binary payload
  std::vector<std::string> tokens = {};  // a value in a text stream
  std::vector<Node> atoms = {};          // of an object

  bool bCalled(const std::string& called, unsigned number, const char* word) const {
    return called == (text ? word : std::to_string(number));
  }
  bool bNamed(unsigned tag, const char* word) const { return bCalled(name, tag, word); }
};

template <class T>
T FromBytes(std::string_view bytes, std::size_t at = 0) {
  return detail::LoadLittleEndian<T>(bytes.data() + at);
}

inline bool ParseAtoms(std::string_view bytes, int depth, std::vector<Node>& atoms) {
  for (; !bytes.empty();) {
    constexpr const char* kinds[] = {"", "byte", "int", "double", "string", "object", "data"};
    if (bytes.size() < 11) return false;
    const auto kind = FromBytes<unsigned char>(bytes, 2);
    const auto length = FromBytes<std::uint64_t>(bytes, 3);
    if (length > bytes.size() - 11) return false;
    Node atom{.name = std::to_string(FromBytes<unsigned short>(bytes)), .kind = kinds[kind <= 6 ? kind : 0]};
    atom.bytes = bytes.substr(11, length);
    bytes.remove_prefix(11 + length);
    if (atom.kind == "object") {
      if (depth == tgio_MaxNesting || length < 2) return false;
      atom.type = std::to_string(FromBytes<unsigned short>(atom.bytes));
      if (!ParseAtoms(std::string_view(atom.bytes).substr(2), depth + 1, atom.atoms)) return false;
    }
    atoms.push_back(std::move(atom));
  }
  return true;
}

/// Splits text into words, quoted texts, braces and line ends.
inline std::vector<std::string> Tokens(const std::string& text) {
  std::vector<std::string> tokens;
  for (std::size_t i = 0, end = 0; i < text.size(); i = end) {
    end = i + 1;
    if (text[i] == '"') {
      while (end < text.size() && text[end] != '"') end += text[end] == '\\' ? 2 : 1;
      ++end;
    } else if (std::strchr("{}\n", text[i]) == nullptr || text[i] == '\0') {
      end = std::min(text.find_first_of(" \t\r\n\"{}", i), text.size());
      if (end == i) end = i + 1;
    }
    if (std::strchr(" \t\r", text[i]) == nullptr || text[i] == '\0')
      tokens.push_back(text.substr(i, end - i));
  }
  return tokens;
}

/// The value of a word or of a quoted text.
inline std::optional<std::string> Decoded(const std::string& token) {
  if (token == "{" || token == "}" || token == "\n") return std::nullopt;
  if (token[0] != '"') return token;
  std::string text;
  for (std::size_t i = 1; i < token.size() - 1; ++i) {
    if (token[i] != '\\') {
      text += token[i];
    } else if (const char escape = token[++i]; escape == 'x') {
      unsigned char byte = 0;
      const char* const digits = token.data() + i + 1;
      if (std::from_chars(digits, std::min(digits + 2, token.data() + token.size() - 1), byte, 16).ptr !=
          digits + 2)
        return std::nullopt;
      text += static_cast<char>(byte);
      i += 2;
    } else if (std::strchr("n\"\\", escape) != nullptr && escape != '\0') {
      text += escape == 'n' ? '\n' : escape;
    } else {
      return std::nullopt;
    }
  }
  return text;
}

inline bool ParseAtoms(std::span<const std::string> tokens, int depth, std::vector<Node>& atoms);

/// Parses a type and the atoms between braces.
inline bool ParseObject(int depth, Node& object) {
  const std::span<const std::string> tokens = object.tokens;
  if (tokens.size() < 3 || !Decoded(tokens[0]) || tokens[1] != "{" || tokens.back() != "}") return false;
  object.type = *Decoded(tokens[0]);
  return depth < tgio_MaxNesting && ParseAtoms(tokens.subspan(2, tokens.size() - 3), depth + 1, object.atoms);
}

inline bool ParseAtoms(std::span<const std::string> tokens, int depth, std::vector<Node>& atoms) {
  for (std::size_t i = 0; i < tokens.size(); ++i) {
    if (tokens[i] == "\n") continue;
    const auto name = Decoded(tokens[i]);
    if (!name || name->empty()) return false;
    Node atom{.text = true, .name = *name};
    int braces = 0;
    for (++i; i < tokens.size() && (tokens[i] != "\n" || braces > 0); ++i) {
      braces += tokens[i] == "{" ? 1 : tokens[i] == "}" ? -1 : 0;
      if (braces < 0) return false;
      atom.tokens.push_back(tokens[i]);
    }
    if (braces > 0) return false;
    if (!atom.tokens.empty() && std::strchr("{\"", atom.tokens[0][0]) == nullptr) {
      atom.kind = atom.tokens[0];
      atom.tokens.erase(atom.tokens.begin());
    }
    if (atom.kind == "object" && !ParseObject(depth, atom)) return false;
    atoms.push_back(std::move(atom));
  }
  return true;
}

/// The first object of the stream, if it is complete.
template <class Kind>
std::optional<Node> Parse(const std::string& stream) {
  std::vector<Node> whole;
  if constexpr (std::is_same_v<Kind, Binary>) {
    if (stream.size() < 11 || FromBytes<std::uint64_t>(stream, 3) > stream.size() - 11) return std::nullopt;
    if (!ParseAtoms(std::string_view(stream).substr(0, 11 + FromBytes<std::uint64_t>(stream, 3)), 0, whole))
      return std::nullopt;
    return whole[0].kind == "object" ? std::optional(whole[0]) : std::nullopt;
  } else {
    Node object{.text = true, .kind = "object"};
    int braces = 0;
    for (const std::string& token : Tokens(stream)) {
      if (token == "\n" && object.tokens.empty()) continue;
      object.tokens.push_back(token);
      braces += token == "{" ? 1 : token == "}" ? -1 : 0;
      if (braces > 0 || (token != "}" && token != "\n")) continue;
      if (object.tokens[0] != "object") return std::nullopt;
      object.tokens.erase(object.tokens.begin());
      return ParseObject(0, object) ? std::optional(object) : std::nullopt;
    }
    return std::nullopt;
  }
}

template <class T>
std::optional<T> Number(const std::string& word) {
  T value{};
  const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value);
  return error == std::errc() && end == word.data() + word.size() ? std::optional(value) : std::nullopt;
}

template <class T>
std::optional<T> Number(const Node& atom, const char* kind) {
  if (atom.kind != kind) return std::nullopt;
  if (atom.text) return atom.tokens.size() == 1 ? Number<T>(atom.tokens[0]) : std::nullopt;
  return atom.bytes.size() == sizeof(T) ? std::optional(FromBytes<T>(atom.bytes)) : std::nullopt;
}

/// An atom that holds an int or a double.
struct Field {
  unsigned tag;
  const char* name;
  double value;  // the default until it is read
  bool whole = false;
};

/// Sets the fields that the object has; false when one has the wrong type.
inline bool Take(const Node& object, std::span<Field> fields) {
  for (const Node& atom : object.atoms) {
    for (Field& field : fields) {
      if (!atom.bNamed(field.tag, field.name)) continue;
      const auto real = Number<double>(atom, "double");
      const auto integer = Number<int>(atom, "int");
      if (field.whole ? !integer : !real) return false;
      field.value = field.whole ? *integer : *real;
    }
  }
  return true;
}

/// The elements of a binary stream object.
template <class Array>
std::optional<Array> Elements(dtyp_cDataType type, const std::string& bytes) {
  constexpr std::size_t dimensions = std::is_same_v<Array, parr_c1DNumberArray> ? 1 : 2,
                        head = 1 + 4 * dimensions;
  const int family = type.Type() <= 3 ? 0 : type.Type() <= 6 ? 1 : type.Type() <= 8 ? 2 : 3;
  if (bytes.size() < head || FromBytes<unsigned char>(bytes) != 32 * family + type.SizeOf())
    return std::nullopt;
  const int nx = FromBytes<int>(bytes, 1), ny = dimensions == 1 ? 1 : FromBytes<int>(bytes, head - 4);
  const std::size_t size = bytes.size() - head, element = static_cast<std::size_t>(type.SizeOf());
  if (nx < 0 || ny < 0 || size % element != 0 || std::uint64_t(nx) * std::uint64_t(ny) != size / element)
    return std::nullopt;
  std::string elements = bytes.substr(head);
  detail::VisitElementType(type.Type(), [&]<class T>(std::type_identity<T>) {
    detail::SwapToLittleEndian(reinterpret_cast<T*>(elements.data()), std::int64_t{nx} * ny);
  });
  if constexpr (dimensions == 1)
    return Array(nx, type, elements.data());
  else
    return Array(nx, ny, type, elements.data());
}

/// The elements of a 1D array in a text stream.
template <class T>
std::optional<parr_c1DNumberArray> Elements(const std::vector<std::string>& words) {
  using Part = typename decltype([] {
    if constexpr (requires(T value) { value.Real(); })
      return std::type_identity<decltype(T().Real())>();
    else
      return std::type_identity<T>();
  }())::type;
  std::vector<Part> parts;
  for (std::size_t i = 1; i < words.size(); ++i) {
    const auto part = Number<Part>(words[i]);
    if (!part) return std::nullopt;
    parts.push_back(*part);
  }
  const auto count = words.empty() ? std::nullopt : Number<int>(words[0]);
  if (!count || *count < 0 || parts.size() != static_cast<std::size_t>(*count) * sizeof(T) / sizeof(Part))
    return std::nullopt;
  return parr_c1DNumberArray(*count, detail::DataTypeOf<T>, parts.data());
}

template <class Array>
std::optional<Array> Elements(dtyp_cDataType type, const Node& atom) {
  if (atom.kind != "data") return std::nullopt;
  if (!atom.text) return Elements<Array>(type, atom.bytes);
  std::vector<std::string> words;
  for (const std::string& token : atom.tokens)
    if (token != "\n") words.push_back(token);
  if (words.size() < 2 || words.front() != "{" || words.back() != "}") return std::nullopt;
  words = {words.begin() + 1, words.end() - 1};
  if constexpr (std::is_same_v<Array, parr_c1DNumberArray>) {
    return detail::VisitElementType(type.Type(),
                                    [&]<class T>(std::type_identity<T>) { return Elements<T>(words); });
  } else {
    std::string bytes;
    for (const std::string& word : words) {
      if (word.size() % 2 != 0 || word.find_first_not_of("0123456789abcdef") != word.npos)
        return std::nullopt;
      for (std::size_t i = 0; i < word.size(); i += 2)
        bytes += static_cast<char>(std::stoi(word.substr(i, 2), nullptr, 16));
    }
    return Elements<Array>(type, bytes);
  }
}

template <class Object>
bool bIs(const Node& node) {
  const tgio_cObjectType& type = Object::_ObjectType;
  return node.kind == "object" && node.bCalled(node.type, type.Id(), type.Name());
}

// These set the value to that of the node. They return false, and change nothing, when the node is damaged.
inline bool Take(const Node& node, cal_c1DArrayCal& cal) {
  Field x[] = {{256, "OffsetX", 0}, {288, "DeltaX", 1}, {320, "CalIndexX", 0, true}};
  if (!Take(node, x)) return false;
  cal = {x[0].value, x[1].value, static_cast<int>(x[2].value)};
  return true;
}
inline bool Take(const Node& node, cal_c2DArrayCal& cal) {
  cal_c1DArrayCal x;
  Field y[] = {{272, "OffsetY", 0}, {304, "DeltaY", 1}, {336, "CalIndexY", 0, true}};
  if (!Take(node, x) || !Take(node, y)) return false;
  cal = {x.OffsetX(), y[0].value, x.DeltaX(), y[1].value, x.CalIndexX(), static_cast<int>(y[2].value)};
  return true;
}
inline bool Take(const Node& node, pos_c1DPosition& position) {
  Field x[] = {{pos_X_Tag, pos_X_String, 0}};
  if (!Take(node, x)) return false;
  position = x[0].value;
  return true;
}
inline bool Take(const Node& node, pos_c2DPosition& position) {
  Field at[] = {{pos_X_Tag, pos_X_String, 0}, {pos_Y_Tag, pos_Y_String, 0}};
  if (!Take(node, at)) return false;
  position = {at[0].value, at[1].value};
  return true;
}
inline bool Take(const Node& node, rnge_c1DRange& range) {
  Field x[] = {{rnge_XminTag, rnge_XminString, 0}, {rnge_XmaxTag, rnge_XmaxString, 0}};
  if (!Take(node, x)) return false;
  range = {x[0].value, x[1].value};
  return true;
}
inline bool Take(const Node& node, rnge_c2DRange& range) {
  Field at[] = {{rnge_XcenterTag, rnge_XcenterString, 0},
                {rnge_YcenterTag, rnge_YcenterString, 0},
                {rnge_XwidthTag, rnge_XwidthString, 0},
                {rnge_YwidthTag, rnge_YwidthString, 0},
                {rnge_AngleTag, rnge_AngleString, 0}};
  if (!Take(node, at)) return false;
  range = {at[0].value, at[1].value, at[2].value, at[3].value, at[4].value};
  return true;
}
/// A list keeps the positions before the damage. In text streams it has none.
inline bool Take(const Node& node, pos_c2DPositionList& list) {
  if (node.text) return true;
  list.Clear();
  for (const Node& atom : node.atoms) {
    pos_c2DPosition position;
    if (!atom.bNamed(256, "")) continue;
    if (!bIs<pos_c2DPosition>(atom) || !Take(atom, position)) return false;
    list.AddAtTail(new pos_c2DPosition(position));
  }
  return true;
}
template <class Array, class Numbers, class Cal>
bool TakeData(const Node& node, Array& array) {
  std::optional<Numbers> numbers;
  Cal cal;
  int type = 0;
  for (const Node& atom : node.atoms) {
    if (atom.bNamed(parr_DataTypeTag, parr_DataTypeString)) {
      if (const auto number = Number<unsigned char>(atom, "byte"); number && !atom.text) {
        type = *number;
      } else {
        if (!atom.text || atom.kind != "string" || atom.tokens.size() != 1 || atom.tokens[0][0] != '"')
          return false;
        const auto name = Decoded(atom.tokens[0]);
        if (!name) return false;
        for (int each = 1; each <= 10; ++each)
          if (*name == detail::ShortName(static_cast<dtyp_eDataType>(each))) type = each;
      }
    } else if (atom.bNamed(parr_DataTag, parr_DataString)) {
      if (numbers || type > 10) return false;
      numbers = Elements<Numbers>(static_cast<dtyp_eDataType>(type == 0 ? dtyp_Float64 : type), atom);
      if (!numbers) return false;
    } else if (atom.bNamed(darr_CalibrationTag, darr_CalibrationString)) {
      if (!bIs<Cal>(atom) || !Take(atom, cal)) return false;
    }
  }
  if (!numbers || type > 10) return false;
  if (type != 0) numbers->Convert(static_cast<dtyp_eDataType>(type));
  array = {*numbers, cal};
  return true;
}
inline bool Take(const Node& node, darr_c1DArray& array) {
  return TakeData<darr_c1DArray, parr_c1DNumberArray, cal_c1DArrayCal>(node, array);
}
inline bool Take(const Node& node, darr_c2DArray& array) {
  return TakeData<darr_c2DArray, parr_c2DNumberArray, cal_c2DArrayCal>(node, array);
}

/// Reads the first object of a stream into a copy of `old`. Returns whether the result and the copy agree
/// with the parsed stream.
template <class Kind, class Object>
bool bReadsAsExpected(const Object& old, const std::string& bytes, const std::optional<Node>& node) {
  Object object(old);
  Object expected(old);
  const bool whole = node && bIs<Object>(*node) && Take(*node, expected);
  std::istringstream stream(bytes);
  typename Kind::In in(stream);
  const bool read = bSucceeds([&] { return in.Read(static_cast<tgio_cTaggedStreamObject&>(object)); });
  return read == whole && TaggedForm<Binary>(object) == TaggedForm<Binary>(expected);
}

}  // namespace fuzz
