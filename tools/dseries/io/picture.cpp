#include "io/picture.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <fmt/format.h>
#include <iterator>
#include <limits>
#include <string_view>
#include <utility>
#include <vector>

#include "file/failure.h"
#include "io/files.h"
#include <DataStorage/interfaces/bstr.h>
#include <DataStorage/services/binimage.h>

namespace dseries {

namespace {

constexpr std::int64_t bmp_header_size = 14;
constexpr std::int64_t info_header_size = 40;
constexpr std::int64_t colour_table_size = 1024;

unsigned char* Row(Picture& picture, int y) {
  return picture.WriteAccess() + std::int64_t{y} * picture.NumIndicesX();
}

/// Swaps the top and the bottom of a picture.
void TurnUpsideDown(Picture& picture) {
  const int nx = picture.NumIndicesX(), ny = picture.NumIndicesY();
  for (int y = 0; y < ny / 2; ++y) {
    std::swap_ranges(Row(picture, y), Row(picture, y) + nx, Row(picture, ny - 1 - y));
  }
}

std::string_view Text(const bstr_cMemory_ostream& out) {
  return {static_cast<const char*>(out.Data()), static_cast<std::size_t>(out.Size())};
}

/// Reads a PGM. The numbers of its header, and the pixels of a plain one, are texts between blanks and
/// comments.
class PgmReader {
 public:
  PgmReader(const std::string& path, std::string_view bytes) : path_(path), bytes_(bytes) {}

  Picture Read() {
    const bool plain = bytes_[1] == '2';
    const int width = Number("width"), height = Number("height"), maximum = Number("maximum");
    if (width < 1 || height < 1) Fail("{} is a PGM picture without pixels", path_);
    if (maximum > 255) Fail("{} is a PGM picture of 16 bits a pixel; only 8 are known here", path_);
    if (maximum < 1) Fail("{} is a PGM picture with a maximum of {}", path_, maximum);
    const std::int64_t count = std::int64_t{width} * height;
    const std::size_t pixels = next_ + 1;  // after one blank
    if (bytes_.size() < pixels || static_cast<std::int64_t>(bytes_.size() - pixels) < count) {
      Fail("{} is cut off: it should hold {} x {} pixels", path_, width, height);
    }
    Picture picture(arr_Unfilled, width, height);
    unsigned char* to = picture.WriteAccess();
    if (plain) {
      std::generate_n(to, count, [&] {
        const int pixel = Number("pixel");
        if (pixel > maximum) Fail("{}: the pixel {} is above the maximum {}", path_, pixel, maximum);
        return static_cast<unsigned char>(pixel);
      });
    } else {
      bytes_.copy(reinterpret_cast<char*>(to), static_cast<std::size_t>(count), pixels);
    }
    TurnUpsideDown(picture);
    return picture;
  }

 private:
  int Number(const char* what) {
    while (next_ < bytes_.size() && (bSpace(bytes_[next_]) || bytes_[next_] == '#')) {
      next_ = bytes_[next_] == '#' ? std::min(bytes_.find('\n', next_), bytes_.size()) : next_ + 1;
    }
    int number = -1;
    const char* end = bytes_.data() + bytes_.size();
    const auto [stop, error] = std::from_chars(bytes_.data() + next_, end, number);
    if (error != std::errc() || number < 0) Fail("{} is a damaged PGM picture: a {} is missing", path_, what);
    next_ = static_cast<std::size_t>(stop - bytes_.data());
    return number;
  }
  static bool bSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

  const std::string& path_;
  std::string_view bytes_;
  std::size_t next_ = 2;
};

/// The grey of each pixel value, from a colour table of `count` entries.
std::array<unsigned char, 256> GreysOfTable(const std::string& path, bstr_cBinary_istream& in,
                                            std::uint32_t count) {
  std::array<unsigned char, 256> greys{};
  for (std::uint32_t i = 0; i < std::min(count, 256U); ++i) {
    std::uint8_t blue = 0, green = 0, red = 0, unused = 0;
    if (!bstr_ReadFields(in, blue, green, red, unused)) Fail("{} is a BMP picture that is cut off", path);
    if (blue != green || green != red) Fail("{} is an 8-bit BMP picture in colour, not in grey", path);
    greys[i] = red;
  }
  return greys;
}

Picture ReadBmp(const std::string& path, std::string_view bytes) {
  bstr_cMemory_istream in(bytes.data(), static_cast<std::int64_t>(bytes.size()));
  std::uint16_t mark = 0, planes = 0, bits = 0;
  std::uint32_t file_size = 0, reserved = 0, pixels = 0, header = 0, compression = 0, image_size = 0;
  std::uint32_t resolution_x = 0, resolution_y = 0, colours = 0, important = 0;
  std::int32_t width = 0, height = 0;
  const bool whole = bstr_ReadFields(in, mark, file_size, reserved, pixels, header);
  if (whole && header < info_header_size) Fail("{} is a BMP picture of an old kind", path);
  if (!whole || !bstr_ReadFields(in, width, height, planes, bits, compression, image_size, resolution_x,
                                 resolution_y, colours, important)) {
    Fail("{} is a BMP picture that is cut off", path);
  }
  if (bits != 8) Fail("{} is a BMP picture of {} bits a pixel; only 8 are known here", path, bits);
  if (compression != 0) Fail("{} is a compressed BMP picture", path);
  if (width < 1 || height == 0 || height == std::numeric_limits<std::int32_t>::min()) {
    Fail("{} is a BMP picture of {} x {} pixels", path, width, height);
  }
  in.Seek(bmp_header_size + header);
  const auto greys = GreysOfTable(path, in, colours == 0 ? 256 : colours);

  // Headers may be longer and gaps are allowed: this is the picture in the one form that the library reads.
  bstr_cMemory_ostream bitmap;
  bstr_WriteFields(bitmap, std::uint32_t{info_header_size}, width, std::abs(height), planes, bits,
                   compression, image_size, resolution_x, resolution_y, std::uint32_t{0}, important);
  bitmap.Seek(info_header_size + colour_table_size);
  const std::string_view rows = bytes.substr(std::min<std::size_t>(pixels, bytes.size()));
  const std::int64_t stride = (std::int64_t{width} + 3) / 4 * 4;
  if (static_cast<std::int64_t>(rows.size()) / stride < std::abs(height)) {
    Fail("{} is a BMP picture that is cut off", path);
  }
  bitmap.Write(rows.data(), static_cast<std::int64_t>(rows.size()));
  bstr_cMemory_istream bitmap_in(bitmap.Data(), bitmap.Size());
  Picture picture;
  if (!dbrw_Read(bitmap_in, picture)) Fail("{} is a BMP picture that is cut off", path);
  unsigned char* values = picture.WriteAccess();
  std::transform(values, values + picture.NumIndices(), values, [&](unsigned char c) { return greys[c]; });
  if (height < 0) TurnUpsideDown(picture);
  return picture;
}

}  // namespace

Picture ReadPicture(const std::string& path) {
  using namespace std::literals;
  static constexpr std::pair<std::string_view, const char*> others[] = {
      {"P1"sv, "a PBM picture (black and white)"},
      {"P4"sv, "a PBM picture (black and white)"},
      {"P3"sv, "a PPM picture (in colour)"},
      {"P6"sv, "a PPM picture (in colour)"},
      {"\x89PNG"sv, "a PNG picture"},
      {"\xFF\xD8"sv, "a JPEG picture"},
      {"GIF8"sv, "a GIF picture"},
      {"II*\0"sv, "a TIFF picture"},
      {"MM\0*"sv, "a TIFF picture"}};
  const std::string bytes = ReadWhole(path);
  if (bytes.starts_with("P5") || bytes.starts_with("P2")) return PgmReader(path, bytes).Read();
  if (bytes.starts_with("BM")) return ReadBmp(path, bytes);
  for (const auto& [start, kind] : others) {
    if (bytes.starts_with(start)) Fail("{} is {}; only PGM and 8-bit grey BMP are known here", path, kind);
  }
  Fail("{} is not a picture of a kind known here (PGM or 8-bit grey BMP)", path);
}

std::string AsBmp(const Picture& picture) {
  bstr_cMemory_ostream bitmap;
  if (!dbrw_Write(bitmap, picture)) Fail("there is not enough memory");
  constexpr std::uint32_t pixels = bmp_header_size + info_header_size + colour_table_size;
  bstr_cMemory_ostream header;
  bstr_WriteFields(header, 'B', 'M', static_cast<std::uint32_t>(bmp_header_size + bitmap.Size()),
                   std::uint32_t{0}, pixels);
  return std::string(Text(header)).append(Text(bitmap));
}

std::string AsPgm(const Picture& picture) {
  Picture turned(picture);
  TurnUpsideDown(turned);
  return fmt::format("P5\n{} {}\n255\n", picture.NumIndicesX(), picture.NumIndicesY())
      .append(reinterpret_cast<const char*>(turned.Data()), static_cast<std::size_t>(turned.NumIndices()));
}

}  // namespace dseries
