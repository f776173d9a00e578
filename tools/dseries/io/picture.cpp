#include "io/picture.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fmt/format.h>
#include <iterator>
#include <limits>
#include <type_traits>
#include <utility>

#include "file/failure.h"
#include "file/text.h"
#include <DataStorage/interfaces/bstr.h>
#include <DataStorage/services/binimage.h>

namespace dseries {

namespace {

constexpr std::int64_t bmp_header_size = 14;
constexpr std::int64_t info_header_size = 40;
constexpr std::int64_t colour_table_size = 1024;

std::string_view Text(const bstr_cMemory_ostream& out) {
  return {static_cast<const char*>(out.Data()), static_cast<std::size_t>(out.Size())};
}

/// Reads a PGM or a PPM. The numbers of its header, and the samples of a plain one, are texts between blanks
/// and comments. Others of two bytes have the high one first. No library of Debian that is small reads all of
/// them, and their values as they are.
class PnmReader {
 public:
  PnmReader(const std::string& path, std::string_view bytes) : path_(path), bytes_(bytes) {}

  Samples Read() {
    const bool plain = bytes_[1] == '2' || bytes_[1] == '3';
    Samples samples;
    samples.channels = bytes_[1] == '3' || bytes_[1] == '6' ? 3 : 1;
    samples.width = Number("width");
    samples.height = Number("height");
    const int maximum = Number("maximum");
    if (samples.width < 1 || samples.height < 1) Fail("{} is a PGM picture without pixels", path_);
    if (maximum < 1 || maximum > 0xFFFF) Fail("{} is a PGM picture with a maximum of {}", path_, maximum);
    samples.type = maximum > 0xFF ? dtyp_UBin16 : dtyp_UBin8;
    std::size_t begin = std::min(next_ + 1, bytes_.size());  // after one blank
    samples.Allocate(path_, std::ssize(bytes_) - static_cast<std::int64_t>(begin), plain ? 2 : 1);
    const std::string_view behind = bytes_.substr(std::min(begin + samples.bytes.size(), bytes_.size()));
    if (!plain && behind.size() == 1 && bytes_.substr(next_).starts_with("\r\n")) {
      ++begin;  // the lines of the header end as on Windows
    } else if (!plain && !std::all_of(behind.begin(), behind.end(), bSpace)) {
      Fail("{}: {} follow the pixels of the PGM picture", path_, Count(std::ssize(behind), "byte", "bytes"));
    }
    auto store = [&, to = samples.bytes.data()](int sample) mutable {
      if (sample > maximum) Fail("{}: the pixel {} is above the maximum {}", path_, sample, maximum);
      const auto narrow = static_cast<std::uint16_t>(sample);
      const std::size_t size = maximum > 0xFF ? sizeof narrow : 1;
      const auto byte = static_cast<unsigned char>(sample);
      std::memcpy(to, size == 1 ? static_cast<const void*>(&byte) : &narrow, size);
      to += size;
    };
    const std::size_t size = maximum > 0xFF ? 2 : 1, n = samples.bytes.size() / size;
    for (std::size_t i = 0; i < n; ++i) {
      const auto byte = [&](std::size_t k) {
        return static_cast<unsigned char>(bytes_[begin + size * i + k]);
      };
      store(plain ? Number("pixel") : size == 1 ? byte(0) : byte(0) << 8 | byte(1));
    }
    return samples;
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

/// Reads a BMP without compression: of 8 bits with a table of colours, of 24 and of 32.
class BmpReader {
 public:
  BmpReader(const std::string& path, std::string_view bytes) : path_(path), bytes_(bytes) {}

  Samples Read() {
    bstr_cMemory_istream in(bytes_.data(), std::ssize(bytes_));
    std::uint16_t mark = 0, planes = 0, bits = 0;
    std::uint32_t file_size = 0, reserved = 0, pixels = 0, header = 0, compression = 0, image_size = 0;
    std::uint32_t resolution_x = 0, resolution_y = 0, colours = 0, important = 0;
    std::int32_t width = 0, height = 0;
    const bool whole = bstr_ReadFields(in, mark, file_size, reserved, pixels, header);
    if (whole && header < info_header_size) Fail("{} is a BMP picture of an old kind", path_);
    if (!whole || !bstr_ReadFields(in, width, height, planes, bits, compression, image_size, resolution_x,
                                   resolution_y, colours, important)) {
      FailForCut();
    }
    if (bits != 8 && bits != 24 && bits != 32)
      Fail("{} is a BMP picture of {} bits a pixel; 8, 24 and 32 are known here", path_, bits);
    if (compression != 0) Fail("{} is a compressed BMP picture", path_);
    if (width < 1 || height == 0 || height == std::numeric_limits<std::int32_t>::min()) {
      Fail("{} is a BMP picture of {} x {} pixels", path_, width, height);
    }
    in.Seek(bmp_header_size + header);
    if (bits == 8) ReadColours(in, colours == 0 ? 256 : colours);
    const bool grey = bits == 8 && grey_;
    Samples samples{dtyp_UBin8, width, std::abs(height), grey ? 1 : 3, {}};
    const std::string_view rows = bytes_.substr(std::min<std::size_t>(pixels, bytes_.size()));
    const std::int64_t pixel = bits / 8, stride = (width * pixel + 3) / 4 * 4;
    if (std::ssize(rows) / stride < samples.height) FailForCut();
    samples.Allocate(path_, std::ssize(bytes_), 3);
    for (int y = 0; y < samples.height; ++y) {
      const char* from = rows.data() + stride * (height < 0 ? y : samples.height - 1 - y);
      char* to = samples.Row(y);
      for (int x = 0; x < width; ++x, from += pixel, to += samples.channels) {
        if (bits == 8)
          std::memcpy(to, colours_[static_cast<unsigned char>(*from)].data(), grey ? 1 : 3);
        else
          std::reverse_copy(from, from + 3, to);  // blue comes first
      }
    }
    return samples;
  }

 private:
  [[noreturn]] void FailForCut() const { Fail("{} is a BMP picture that is cut off", path_); }

  void ReadColours(bstr_cBinary_istream& in, std::uint32_t count) {
    for (std::uint32_t i = 0; i < std::min(count, 256U); ++i) {
      char blue = 0, green = 0, red = 0, unused = 0;
      if (!bstr_ReadFields(in, blue, green, red, unused)) FailForCut();
      grey_ = grey_ && blue == green && green == red;
      colours_[i] = {red, green, blue};
    }
  }

  const std::string& path_;
  std::string_view bytes_;
  std::array<std::array<char, 3>, 256> colours_{};
  bool grey_ = true;
};

/// The value that a channel has in a pixel.
template <class T>
T Value(const T* pixel, int channels, Channel channel) {
  if (channel == Channel::Alpha) return pixel[channels - 1];
  if (channels < 3) return pixel[0];
  if (channel != Channel::Brightness)
    return pixel[static_cast<int>(channel) - static_cast<int>(Channel::Red)];
  const double sum = 0.299 * static_cast<double>(pixel[0]) + 0.587 * static_cast<double>(pixel[1]) +
                     0.114 * static_cast<double>(pixel[2]);
  return static_cast<T>(std::is_integral_v<T> ? std::floor(sum + 0.5) : sum);
}

}  // namespace

std::int64_t Samples::RowSize() const {
  return std::int64_t{width} * channels * dtyp_cDataType(type).SizeOf();
}

void Samples::Allocate(const std::string& path, std::int64_t file_size, std::int64_t ratio) {
  constexpr std::int64_t always = 1 << 20;  // for which small files may be short of the ratio
  const std::int64_t row = RowSize();
  if (row > std::numeric_limits<std::int32_t>::max() / height)
    Fail("{} claims {} x {} pixels, which no series file holds", path, width, height);
  const std::int64_t size = row * height;
  if (size > file_size * ratio + (ratio > 3 ? always : 0))
    Fail("{} is cut off: it should hold {} x {} pixels", path, width, height);
  bytes.resize(static_cast<std::size_t>(size));
}

darr_c2DArray PlaneOf(const std::string& path, const Samples& samples, Channel channel) {
  const bool colours = channel == Channel::Red || channel == Channel::Green || channel == Channel::Blue;
  if (colours && samples.channels < 3) Fail("{} is a grey picture; --channel names a colour", path);
  if (channel == Channel::Alpha && samples.channels % 2 != 0) Fail("{} has no alpha channel", path);
  return detail::VisitElementType(samples.type, [&]<class T>(std::type_identity<T>) -> darr_c2DArray {
    if constexpr (std::is_arithmetic_v<T>) {
      arr_c2DNumberArray<T> values(arr_Unfilled, samples.width, samples.height);
      T* to = values.WriteAccess();
      for (int y = samples.height - 1; y >= 0; --y) {
        const T* pixel = reinterpret_cast<const T*>(samples.bytes.data() + y * samples.RowSize());
        for (int x = 0; x < samples.width; ++x, pixel += samples.channels)
          *to++ = Value(pixel, samples.channels, channel);
      }
      return {values, cal_c2DArrayCal(cal_cArrayCal(0, 1), cal_cArrayCal(0, 1))};
    } else {
      return {};
    }
  });
}

Samples SamplesOf(const darr_c2DArray& array) {
  Samples samples{array.DataType().Type(), array.NumIndicesX(), array.NumIndicesY(), 1, {}};
  const auto* const elements = static_cast<const char*>(array.Data());
  for (int y = samples.height - 1; y >= 0; --y)
    samples.bytes.insert(samples.bytes.end(), elements + y * samples.RowSize(),
                         elements + (y + 1) * samples.RowSize());
  return samples;
}

bool bPictureBytes(std::string_view bytes) {
  using namespace std::literals;
  const auto begins = [&bytes](auto... starts) { return (bytes.starts_with(starts) || ...); };
  if (begins("\x89PNG"sv, "\xFF\xD8\xFF"sv, "II*\0"sv, "MM\0*"sv, "II+\0"sv, "MM\0+"sv, "GIF8"sv))
    return true;
  if (begins("BM"sv)) return bytes.substr(0, 10).ends_with("\0\0\0\0"sv);  // which texts do not hold
  return bytes.size() > 2 && bytes[0] == 'P' && bytes[1] >= '1' && bytes[1] <= '6' &&
         (bytes[2] == '\n' || bytes[2] == '\r' || bytes[2] == ' ');
}

Pictures ReadPictures(const std::string& path, std::string_view bytes, Channel channel) {
  using namespace std::literals;
  const auto begins = [&bytes](auto... starts) { return (bytes.starts_with(starts) || ...); };
  if (begins("P5"sv, "P2"sv, "P6"sv, "P3"sv))
    return {{PlaneOf(path, PnmReader(path, bytes).Read(), channel)}, ""};
  if (begins("BM"sv)) return {{PlaneOf(path, BmpReader(path, bytes).Read(), channel)}, ""};
  const bool png = begins("\x89PNG"sv), jpeg = begins("\xFF\xD8"sv);
  const bool tiff = begins("II*\0"sv, "MM\0*"sv, "II+\0"sv, "MM\0+"sv);
#ifdef DSERIES_PICTURE_LIBRARIES
  if (png) return {{PlaneOf(path, ReadPng(path, bytes), channel)}, ""};
  if (jpeg) return {{PlaneOf(path, ReadJpeg(path, bytes), channel)}, ""};
  if (tiff) {
    Pictures pictures;
    for (const TiffPage& page : ReadTiff(path, bytes)) {
      const darr_c2DArray plane = PlaneOf(path, page.samples, channel);
      if (!pictures.planes.empty() && page.units != pictures.units) {
        Fail("{} has pages with different units of length, '{}' and '{}'", path, pictures.units, page.units);
      }
      pictures.planes.push_back(plane);
      if (page.units.empty()) continue;
      const cal_c2DArrayCal cal(cal_cArrayCal(0, page.dx), cal_cArrayCal(0, page.dy));
      pictures.planes.back() = darr_c2DArray(plane, cal);
      pictures.units = page.units;
    }
    return pictures;
  }
#else
  if (png || jpeg || tiff)
    Fail("{} is a {} picture; this build of dseries reads only PGM, PPM and BMP", path,
         png    ? "PNG"
         : jpeg ? "JPEG"
                : "TIFF");
#endif
  static constexpr std::pair<std::string_view, const char*> others[] = {
      {"P1"sv, "a PBM picture (black and white)"},
      {"P4"sv, "a PBM picture (black and white)"},
      {"GIF8"sv, "a GIF picture"}};
  for (const auto& [start, kind] : others) {
    if (begins(start)) Fail("{} is {}; TIFF, PNG, JPEG, BMP, PGM and PPM are known here", path, kind);
  }
  Fail("{} is not a picture of a kind known here (TIFF, PNG, JPEG, BMP, PGM or PPM)", path);
}

std::string AsBmp(const Samples& samples) {
  arr_c2DNumberArray<unsigned char> picture(arr_Unfilled, samples.width, samples.height);
  unsigned char* to = picture.WriteAccess();
  for (int y = samples.height - 1; y >= 0; --y, to += samples.width)
    std::memcpy(to, samples.bytes.data() + y * samples.RowSize(), static_cast<std::size_t>(samples.width));
  bstr_cMemory_ostream bitmap;
  if (!dbrw_Write(bitmap, picture)) Fail("there is not enough memory");
  constexpr std::uint32_t pixels = bmp_header_size + info_header_size + colour_table_size;
  bstr_cMemory_ostream header;
  bstr_WriteFields(header, 'B', 'M', static_cast<std::uint32_t>(bmp_header_size + bitmap.Size()),
                   std::uint32_t{0}, pixels);
  return std::string(Text(header)).append(Text(bitmap));
}

std::string AsPgm(const Samples& samples) {
  const bool wide = samples.type == dtyp_UBin16;
  std::string pgm = fmt::format("P5\n{} {}\n{}\n", samples.width, samples.height, wide ? 0xFFFF : 0xFF);
  if (!wide) return pgm.append(samples.bytes.data(), samples.bytes.size());
  for (std::size_t i = 0; i < samples.bytes.size(); i += 2) {
    std::uint16_t value = 0;
    std::memcpy(&value, &samples.bytes[i], sizeof value);
    pgm += {static_cast<char>(value >> 8), static_cast<char>(value & 0xFF)};
  }
  return pgm;
}

}  // namespace dseries
