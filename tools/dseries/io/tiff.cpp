#include <algorithm>
#include <array>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>
#include <tiffio.h>

#include "file/failure.h"
#include "io/samples.h"

namespace dseries {

namespace {

constexpr std::int64_t best_ratio = 4096;  // how much smaller than its pixels a compressed file can be

std::string& LastError() {
  static std::string error;
  return error;
}

void OnError(const char*, const char* format, std::va_list arguments) {
  char text[200];
  std::vsnprintf(text, sizeof text, format, arguments);
  LastError() = text;
}

/// A tag beyond the end of the file is only a warning to the library; others are about tags that it ignores.
void OnWarning(const char* module, const char* format, std::va_list arguments) {
  if (std::string_view(format).starts_with("IO error")) OnError(module, format, arguments);
}

/// A file in memory, through which the library reads and writes.
struct Memory {
  std::string_view input;
  std::string output;
  bool writes = false;
  std::size_t position = 0;

  std::size_t Size() const { return writes ? output.size() : input.size(); }
};

Memory& MemoryOf(thandle_t handle) { return *static_cast<Memory*>(handle); }

tmsize_t Read(thandle_t handle, void* to, tmsize_t n) {
  Memory& memory = MemoryOf(handle);
  const std::string_view all = memory.writes ? std::string_view(memory.output) : memory.input;
  const std::string_view part =
      all.substr(std::min(memory.position, all.size()), static_cast<std::size_t>(n));
  std::memcpy(to, part.data(), part.size());
  memory.position += part.size();
  return static_cast<tmsize_t>(part.size());
}

tmsize_t Write(thandle_t handle, void* from, tmsize_t n) {
  Memory& memory = MemoryOf(handle);
  const auto count = static_cast<std::size_t>(n);
  memory.output.resize(std::max(memory.output.size(), memory.position + count));
  std::memcpy(memory.output.data() + memory.position, from, count);
  memory.position += count;
  return n;
}

toff_t Seek(thandle_t handle, toff_t offset, int whence) {
  Memory& memory = MemoryOf(handle);
  const std::size_t from = whence == SEEK_SET ? 0 : whence == SEEK_CUR ? memory.position : memory.Size();
  memory.position = from + offset;
  return memory.position;
}

int Close(thandle_t) { return 0; }
toff_t Size(thandle_t handle) { return MemoryOf(handle).Size(); }

using File = std::unique_ptr<TIFF, decltype(&TIFFClose)>;

File Open(Memory& memory) {
  TIFFSetErrorHandler(OnError);
  TIFFSetWarningHandler(OnWarning);
  LastError().clear();
  return {TIFFClientOpen("", memory.writes ? "w" : "rm", &memory, Read, Write, Seek, Close, Size, nullptr,
                         nullptr),
          TIFFClose};
}

class PageReader {
 public:
  PageReader(const std::string& path, TIFF* tiff, std::int64_t file_size)
      : path_(path), tiff_(tiff), file_size_(file_size) {}

  TiffPage Read() {
    ReadFields();
    TiffPage page;
    ReadSamples(page.samples);
    if (photometric_ == PHOTOMETRIC_PALETTE) Colour(page.samples);
    if (photometric_ == PHOTOMETRIC_MINISWHITE) Invert(page.samples);
    ReadResolution(page);
    if (bTurned(page.samples, Field<std::uint16_t>(TIFFTAG_ORIENTATION))) std::swap(page.dx, page.dy);
    return page;
  }

 private:
  [[noreturn]] void Refuse(const std::string& what) const {
    Fail("{} is a TIFF picture {}, which is not read here", path_, what);
  }
  [[noreturn]] void FailForDamage() const {
    Fail("{} is a damaged TIFF picture: {}", path_, LastError().empty() ? "it is cut off" : LastError());
  }

  template <class T>
  T Field(std::uint32_t tag) const {
    T value{};
    TIFFGetFieldDefaulted(tiff_, tag, &value);
    return value;
  }

  void ReadFields() {
    width_ = Field<std::uint32_t>(TIFFTAG_IMAGEWIDTH);
    height_ = Field<std::uint32_t>(TIFFTAG_IMAGELENGTH);
    bits_ = Field<std::uint16_t>(TIFFTAG_BITSPERSAMPLE);
    channels_ = Field<std::uint16_t>(TIFFTAG_SAMPLESPERPIXEL);
    planar_ = Field<std::uint16_t>(TIFFTAG_PLANARCONFIG) == PLANARCONFIG_SEPARATE;
    compression_ = Field<std::uint16_t>(TIFFTAG_COMPRESSION);
    if (TIFFGetField(tiff_, TIFFTAG_PHOTOMETRIC, &photometric_) == 0) photometric_ = PHOTOMETRIC_MINISBLACK;
    if (compression_ == COMPRESSION_JPEG && photometric_ == PHOTOMETRIC_YCBCR) {
      TIFFSetField(tiff_, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
      photometric_ = PHOTOMETRIC_RGB;
    }
    const bool grey = photometric_ == PHOTOMETRIC_MINISBLACK || photometric_ == PHOTOMETRIC_MINISWHITE ||
                      photometric_ == PHOTOMETRIC_PALETTE;
    if (!grey && photometric_ != PHOTOMETRIC_RGB) Refuse("in a colour space other than grey and RGB");
    if (channels_ < (grey ? 1 : 3) || channels_ > (grey ? 2 : 4))
      Refuse(fmt::format("of {} samples a pixel", channels_));
    std::uint16_t extra = 0, *kinds = nullptr;
    TIFFGetFieldDefaulted(tiff_, TIFFTAG_EXTRASAMPLES, &extra, &kinds);
    if (channels_ % 2 == 0 && (extra != 1 || *kinds == EXTRASAMPLE_UNSPECIFIED))
      Refuse(fmt::format("of {} samples a pixel, the last of which is not said to be alpha", channels_));
    if (TIFFIsCODECConfigured(compression_) == 0) Refuse(fmt::format("of compression {}", compression_));
    const std::uint16_t format = Field<std::uint16_t>(TIFFTAG_SAMPLEFORMAT);
    const bool integer =
        format == SAMPLEFORMAT_UINT || format == SAMPLEFORMAT_INT || format == SAMPLEFORMAT_VOID;
    const bool is_signed = format == SAMPLEFORMAT_INT;
    type_ = !integer && format != SAMPLEFORMAT_IEEEFP ? dtyp_NoType
            : bits_ <= 8 && integer && (bits_ == 8 || !is_signed) && (8 % bits_) == 0
                ? (is_signed ? dtyp_SBin8 : dtyp_UBin8)
            : bits_ == 16 && integer  ? (is_signed ? dtyp_SBin16 : dtyp_UBin16)
            : bits_ == 32             ? (!integer    ? dtyp_Float32
                                         : is_signed ? dtyp_SBin32
                                                     : dtyp_UBin32)
            : bits_ == 64 && !integer ? dtyp_Float64
                                      : dtyp_NoType;
    if (type_ == dtyp_NoType || (bits_ < 8 && channels_ > 1))
      Refuse(fmt::format("of {} bits and sample format {}", bits_, format));
    if (width_ == 0 || height_ == 0 || width_ > INT32_MAX || height_ > INT32_MAX) FailForDamage();
  }

  void ReadSamples(Samples& samples) {
    samples.type = type_;
    samples.width = static_cast<int>(width_);
    samples.height = static_cast<int>(height_);
    samples.channels = channels_;
    samples.Allocate(path_, file_size_,
                     compression_ == COMPRESSION_NONE ? std::max(1, 8 / bits_) : best_ratio);
    const bool tiled = TIFFIsTiled(tiff_) != 0;
    std::uint32_t across = width_, down = Field<std::uint32_t>(TIFFTAG_ROWSPERSTRIP);
    if (tiled) {
      across = Field<std::uint32_t>(TIFFTAG_TILEWIDTH);
      down = Field<std::uint32_t>(TIFFTAG_TILELENGTH);
    }
    down = tiled ? down : std::min(down, height_);
    const tmsize_t size = tiled ? TIFFTileSize(tiff_) : TIFFStripSize(tiff_);
    if (across == 0 || down == 0 || size <= 0) FailForDamage();
    // A block holds no more than the picture, apart from the margins of tiles.
    if (static_cast<std::int64_t>(size) > 4 * std::ssize(samples.bytes) + (std::int64_t{1} << 24))
      FailForDamage();
    std::vector<char> block(static_cast<std::size_t>(size));
    const auto planes = static_cast<std::uint16_t>(planar_ ? channels_ : 1);
    for (std::uint16_t plane = 0; plane < planes; ++plane) {
      for (std::uint32_t y = 0; y < height_; y += down) {
        for (std::uint32_t x = 0; x < width_; x += across) {
          std::fill(block.begin(), block.end(), '\0');
          const std::uint32_t number =
              tiled ? TIFFComputeTile(tiff_, x, y, 0, plane) : TIFFComputeStrip(tiff_, y, plane);
          if (TIFFGetStrileOffset(tiff_, number) == 0) FailForDamage();  // the header would be read as pixels
          const tmsize_t read = tiled ? TIFFReadEncodedTile(tiff_, number, block.data(), size)
                                      : TIFFReadEncodedStrip(tiff_, number, block.data(), size);
          const std::uint32_t rows = std::min(down, height_ - y), columns = std::min(across, width_ - x);
          const std::int64_t row_size = size / down;
          if (read < 0 || read < static_cast<tmsize_t>(row_size * rows)) FailForDamage();
          for (std::uint32_t r = 0; r < rows; ++r)
            TakeRow(block.data() + r * row_size, samples, y + r, x, columns, plane);
        }
      }
    }
  }

  /// Copies a row of a block to its place.
  void TakeRow(const char* from, Samples& samples, std::uint32_t y, std::uint32_t x, std::uint32_t columns,
               std::uint16_t plane) const {
    const std::size_t size = bits_ < 8 ? 1 : bits_ / 8U, pixel = size * channels_;
    char* to = samples.Row(static_cast<int>(y)) + x * pixel;
    if (bits_ < 8) {
      for (std::uint32_t i = 0; i < columns; ++i) {
        const std::uint32_t bit = i * bits_;
        to[i] = static_cast<char>(static_cast<unsigned char>(from[bit / 8]) >> (8 - bits_ - bit % 8) &
                                  ((1 << bits_) - 1));
      }
    } else if (!planar_) {
      std::memcpy(to, from, columns * pixel);
    } else {
      for (std::uint32_t i = 0; i < columns; ++i)
        std::memcpy(to + i * pixel + plane * size, from + i * size, size);
    }
  }

  /// Replaces indices into the palette by their colours.
  void Colour(Samples& samples) const {
    std::array<std::uint16_t*, 3> maps{};
    if (bits_ > 8 || channels_ != 1 ||
        TIFFGetField(tiff_, TIFFTAG_COLORMAP, &maps[0], &maps[1], &maps[2]) == 0)
      Refuse("with a palette of an unusual kind");
    // Entries have 16 bits, but some programs write 8.
    const auto wide = [&](const std::uint16_t* map) {
      return std::any_of(map, map + (std::size_t{1} << bits_),
                         [](std::uint16_t entry) { return entry > 0xFF; });
    };
    const int shift = std::any_of(maps.begin(), maps.end(), wide) ? 8 : 0;
    std::vector<char> colours;
    colours.reserve(3 * samples.bytes.size());
    for (const char index : samples.bytes) {
      for (const std::uint16_t* map : maps)
        colours.push_back(static_cast<char>(map[static_cast<unsigned char>(index)] >> shift));
    }
    samples.channels = 3;
    samples.bytes = std::move(colours);
  }

  void Invert(Samples& samples) const {
    if (bits_ > 16 || type_ == dtyp_SBin8 || type_ == dtyp_SBin16 || channels_ != 1)
      Refuse("whose lowest value is white");
    const auto most = static_cast<std::uint16_t>((1U << bits_) - 1);
    for (std::size_t i = 0; i < samples.bytes.size(); i += bits_ == 16 ? 2 : 1) {
      std::uint16_t value = 0;
      std::memcpy(&value, &samples.bytes[i], bits_ == 16 ? 2 : 1);
      value = static_cast<std::uint16_t>(most - value);
      std::memcpy(&samples.bytes[i], &value, bits_ == 16 ? 2 : 1);
    }
  }

  /// Pixels per inch or centimetre become millimetres a pixel. Without such a unit, some programs name one
  /// in the description.
  void ReadResolution(TiffPage& page) const {
    float x = 0, y = 0;
    if (TIFFGetField(tiff_, TIFFTAG_XRESOLUTION, &x) == 0 ||
        TIFFGetField(tiff_, TIFFTAG_YRESOLUTION, &y) == 0)
      return;
    if (!(x > 0) || !(y > 0) || !std::isfinite(x) || !std::isfinite(y)) return;
    const std::uint16_t unit = Field<std::uint16_t>(TIFFTAG_RESOLUTIONUNIT);
    double length = unit == RESUNIT_INCH ? 25.4 : unit == RESUNIT_CENTIMETER ? 10 : 0;
    page.units = "mm";
    if (const char* text = nullptr; TIFFGetField(tiff_, TIFFTAG_IMAGEDESCRIPTION, &text) != 0) {
      const std::string_view description = text;
      if (const std::size_t at = description.find("unit="); at != description.npos) {
        const std::string_view name =
            description.substr(at + 5, description.find_first_of("\r\n", at) - at - 5);
        length = name.empty() || name == "pixel" ? 0 : 1;
        page.units = name == "micron" || name == "\\u00B5m" ? "µm" : std::string(name);
      }
    }
    if (length == 0) {
      page.units.clear();
      return;
    }
    page.dx = length / static_cast<double>(x);
    page.dy = length / static_cast<double>(y);
  }

  const std::string& path_;
  TIFF* tiff_;
  std::int64_t file_size_;
  std::uint32_t width_ = 0, height_ = 0;
  std::uint16_t bits_ = 0, channels_ = 0, photometric_ = 0, compression_ = 0;
  bool planar_ = false;
  dtyp_eDataType type_ = dtyp_NoType;
};

}  // namespace

bool bTurned(Samples& samples, int orientation) {
  if (orientation <= ORIENTATION_TOPLEFT || orientation > ORIENTATION_LEFTBOT) return false;
  const Samples from = std::move(samples);
  samples = {from.type, from.width, from.height, from.channels, {}};
  const bool turned = orientation >= ORIENTATION_LEFTTOP;
  const bool right = orientation == ORIENTATION_TOPRIGHT || orientation == ORIENTATION_BOTRIGHT ||
                     orientation == ORIENTATION_RIGHTTOP || orientation == ORIENTATION_RIGHTBOT;
  const bool bottom = orientation == ORIENTATION_BOTRIGHT || orientation == ORIENTATION_BOTLEFT ||
                      orientation == ORIENTATION_RIGHTBOT || orientation == ORIENTATION_LEFTBOT;
  if (turned) std::swap(samples.width, samples.height);
  samples.bytes.resize(from.bytes.size());
  const std::int64_t pixel = from.RowSize() / from.width;
  for (int y = 0; y < samples.height; ++y) {
    for (int x = 0; x < samples.width; ++x) {
      const int across = right ? samples.width - 1 - x : x, along = bottom ? samples.height - 1 - y : y;
      const int column = turned ? along : across, row = turned ? across : along;
      std::memcpy(samples.Row(y) + x * pixel, from.bytes.data() + row * from.RowSize() + column * pixel,
                  static_cast<std::size_t>(pixel));
    }
  }
  return turned;
}

std::vector<TiffPage> ReadTiff(const std::string& path, std::string_view bytes) {
  Memory memory;
  memory.input = bytes;
  const File tiff = Open(memory);
  const auto check = [&path](bool done) {
    if (done && LastError().empty()) return;
    Fail("{} is a damaged TIFF picture: {}", path, LastError().empty() ? "it is cut off" : LastError());
  };
  check(tiff != nullptr);
  std::vector<TiffPage> pages;
  for (bool more = true; more;) {
    // Smaller copies of the picture are no data.
    std::uint32_t kind = 0;
    TIFFGetField(tiff.get(), TIFFTAG_SUBFILETYPE, &kind);
    if ((kind & FILETYPE_REDUCEDIMAGE) == 0) {
      pages.push_back(PageReader(path, tiff.get(), std::ssize(bytes)).Read());
      check(true);
    }
    more = TIFFLastDirectory(tiff.get()) == 0;
    if (more) check(TIFFReadDirectory(tiff.get()) != 0);
  }
  if (pages.empty()) Fail("{} is a TIFF file without a picture of full size", path);
  const char* description = nullptr;
  if (pages.size() == 1 && TIFFGetField(tiff.get(), TIFFTAG_IMAGEDESCRIPTION, &description) != 0) {
    const std::string_view text(description);
    const std::size_t at = text.find("images=");
    const bool stack = at != text.npos && std::atoi(description + at + 7) > 1;
    if (stack || text.find("\"truncated\": true") != text.npos)
      Fail("{} holds a stack of pictures behind a single page, which is not read", path);
  }
  return pages;
}

std::string AsTiff(const Samples& samples) {
  Memory memory;
  memory.writes = true;
  const dtyp_cDataType type(samples.type);
  {
    const File tiff = Open(memory);
    if (tiff == nullptr) Fail("a TIFF picture cannot be made: {}", LastError());
    const bool floats = samples.type == dtyp_Float32 || samples.type == dtyp_Float64;
    const bool negative =
        samples.type == dtyp_SBin8 || samples.type == dtyp_SBin16 || samples.type == dtyp_SBin32;
    TIFFSetField(tiff.get(), TIFFTAG_IMAGEWIDTH, samples.width);
    TIFFSetField(tiff.get(), TIFFTAG_IMAGELENGTH, samples.height);
    TIFFSetField(tiff.get(), TIFFTAG_BITSPERSAMPLE, 8 * type.SizeOf());
    TIFFSetField(tiff.get(), TIFFTAG_SAMPLESPERPIXEL, 1);
    TIFFSetField(tiff.get(), TIFFTAG_SAMPLEFORMAT,
                 floats     ? SAMPLEFORMAT_IEEEFP
                 : negative ? SAMPLEFORMAT_INT
                            : SAMPLEFORMAT_UINT);
    TIFFSetField(tiff.get(), TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
    TIFFSetField(tiff.get(), TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tiff.get(), TIFFTAG_ROWSPERSTRIP, TIFFDefaultStripSize(tiff.get(), 0));
    Samples copy(samples);  // the library takes rows that it may write to
    for (int y = 0; y < copy.height; ++y) {
      if (TIFFWriteScanline(tiff.get(), copy.Row(y), static_cast<std::uint32_t>(y), 0) < 0)
        Fail("a TIFF picture cannot be made: {}", LastError());
    }
    if (TIFFFlush(tiff.get()) == 0) Fail("a TIFF picture cannot be made: {}", LastError());
  }
  return std::move(memory.output);
}

}  // namespace dseries
