#include <array>

#include <DataStorage/interfaces/tgio.h>

const tgio_cObjectType& tgio_cTaggedStreamObject::ObjectType() const {
  static constexpr tgio_cObjectType none("", 0);
  return none;
}

type_cBoolean tgio_cTaggedStreamObject::ReadData(tgio_cASCII_istream&, const str_cString&) { return false; }
type_cBoolean tgio_cTaggedStreamObject::ReadAtom(tgio_cBinary_istream&) { return false; }
type_cBoolean tgio_cTaggedStreamObject::ReadAtom(tgio_cASCII_istream&) { return false; }

type_cBoolean tgio_cTaggedStreamObject::Read(tgio_cASCII_istream& in) { return in.ReadAtoms(*this); }
type_cBoolean tgio_cTaggedStreamObject::Read(tgio_cBinary_istream& in) { return in.ReadAtoms(*this); }
type_cBoolean tgio_cTaggedStreamObject::Write(tgio_cASCII_ostream&) const { return true; }
type_cBoolean tgio_cTaggedStreamObject::Write(tgio_cBinary_ostream&) const { return true; }

// The default ASCII form of stream objects: the bytes of the binary form, in words of hexadecimal digits.

namespace {

constexpr std::size_t BytesInWord = 32;

constexpr int HexDigit(char c) noexcept {
  return c >= '0' && c <= '9' ? c - '0' : c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

}  // namespace

type_cBoolean tgio_cStreamObject::ReadStream(tgio_cASCII_istream& in) {
  std::string bytes;
  for (std::string_view word = in.ReadWord(); !word.empty(); word = in.ReadWord()) {
    if (word.size() % 2 != 0) return false;
    for (std::size_t i = 0; i < word.size(); i += 2) {
      const int high = HexDigit(word[i]);
      const int low = HexDigit(word[i + 1]);
      if (high < 0 || low < 0) return false;
      bytes += static_cast<char>(16 * high + low);
    }
  }
  tgio_cBinary_istream binary{std::string_view(bytes)};
  return ReadStream(binary);
}

type_cBoolean tgio_cStreamObject::WriteStream(tgio_cASCII_ostream& out) const {
  tgio_cBinary_ostream binary;
  if (!WriteStream(binary)) return false;

  constexpr char digits[] = "0123456789abcdef";
  std::array<char, 2 * BytesInWord> word;
  for (std::string_view bytes = binary.draft_.bytes; !bytes.empty();) {
    const std::string_view part = bytes.substr(0, BytesInWord);
    std::size_t length = 0;
    for (const char c : part) {
      const auto byte = static_cast<unsigned char>(c);
      word[length++] = digits[byte >> 4];
      word[length++] = digits[byte & 15];
    }
    if (!out.WriteWord({word.data(), length})) return false;
    bytes.remove_prefix(part.size());
  }
  return true;
}
