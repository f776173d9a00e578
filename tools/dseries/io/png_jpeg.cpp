#include <bit>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <jpeglib.h>
#include <memory>
#include <png.h>

#include "file/failure.h"
#include "io/samples.h"

// Both libraries report errors by longjmp, so no object with a destructor may live between the call that
// fails and the function that called setjmp.

namespace dseries {

namespace {

constexpr std::int64_t deflate_ratio = 1100, jpeg_ratio = 2000;  // how much smaller a file can be

struct PngStream {
  std::string_view input;
  std::string output;
  std::string error;
};

void ReadBytes(png_structp png, png_bytep to, std::size_t n) {
  auto& input = static_cast<PngStream*>(png_get_io_ptr(png))->input;
  if (n > input.size()) png_error(png, "it is cut off");
  std::memcpy(to, input.data(), n);
  input.remove_prefix(n);
}

void WriteBytes(png_structp png, png_bytep from, std::size_t n) {
  static_cast<PngStream*>(png_get_io_ptr(png))->output.append(reinterpret_cast<const char*>(from), n);
}

[[noreturn]] void OnPngError(png_structp png, png_const_charp message) {
  static_cast<PngStream*>(png_get_error_ptr(png))->error = message;
  png_longjmp(png, 1);
}

void OnPngWarning(png_structp, png_const_charp) {}

/// Calls `work`; false when the library reports an error.
template <class Work>
bool bPngDone(png_structp png, Work work) {
  if (setjmp(png_jmpbuf(png)) != 0) return false;
  work();
  return true;
}

std::vector<png_bytep> RowsOf(Samples& samples) {
  std::vector<png_bytep> rows;
  rows.reserve(static_cast<std::size_t>(samples.height));
  for (int y = 0; y < samples.height; ++y) rows.push_back(reinterpret_cast<png_bytep>(samples.Row(y)));
  return rows;
}

struct JpegErrors {
  jpeg_error_mgr base{};  // first: the library passes its address
  std::jmp_buf jump{};
  char text[JMSG_LENGTH_MAX] = "";
};

[[noreturn]] void OnJpegError(j_common_ptr jpeg) {
  auto* errors = reinterpret_cast<JpegErrors*>(jpeg->err);
  jpeg->err->format_message(jpeg, errors->text);
  std::longjmp(errors->jump, 1);
}

/// Warnings are about damaged data: pixels that are made up.
void OnJpegMessage(j_common_ptr jpeg, int level) {
  if (level < 0) OnJpegError(jpeg);
}

template <class Work>
bool bJpegDone(JpegErrors& errors, Work work) {
  if (setjmp(errors.jump) != 0) return false;
  work();
  return true;
}

/// The orientation in a block of Exif, which has the form of a TIFF; 1, upright, where there is none.
int OrientationIn(std::string_view exif) {
  const bool big_end = exif.starts_with("MM");
  const auto number = [&](std::size_t at, std::size_t bytes) {
    std::size_t value = 0;
    for (std::size_t i = 0; i < bytes; ++i) {
      const std::size_t byte = at + (big_end ? i : bytes - 1 - i);
      value = value << 8 | (byte < exif.size() ? static_cast<unsigned char>(exif[byte]) : 0U);
    }
    return value;
  };
  constexpr std::size_t entry_size = 12, orientation = 0x112;
  const std::size_t fields = number(4, 4), count = number(fields, 2);
  for (std::size_t at = fields + 2; at < fields + 2 + count * entry_size; at += entry_size) {
    if (number(at, 2) == orientation) return static_cast<int>(number(at + 8, 2));
  }
  return 1;
}

}  // namespace

Samples ReadPng(const std::string& path, std::string_view bytes) {
  PngStream stream{bytes, "", ""};
  png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, &stream, OnPngError, OnPngWarning);
  png_infop info = png == nullptr ? nullptr : png_create_info_struct(png);
  const auto destroy = [&](png_structp) { png_destroy_read_struct(&png, &info, nullptr); };
  const std::unique_ptr<png_struct, decltype(destroy)> owner(png, destroy);
  if (info == nullptr) throw std::bad_alloc();
  const auto fail = [&] { Fail("{} is a damaged PNG picture: {}", path, stream.error); };

  Samples samples;
  const auto read_header = [&] {
    png_set_read_fn(png, &stream, ReadBytes);
    png_read_info(png, info);
    png_set_packing(png);  // greys of less than 8 bits keep their values
    if (png_get_color_type(png, info) == PNG_COLOR_TYPE_PALETTE) {
      png_set_palette_to_rgb(png);
      if (png_get_valid(png, info, PNG_INFO_tRNS) != 0) png_set_tRNS_to_alpha(png);
    }
    if (std::endian::native == std::endian::little) png_set_swap(png);
    png_set_interlace_handling(png);
    png_read_update_info(png, info);
    samples.type = png_get_bit_depth(png, info) == 16 ? dtyp_UBin16 : dtyp_UBin8;
    samples.width = static_cast<int>(png_get_image_width(png, info));
    samples.height = static_cast<int>(png_get_image_height(png, info));
    samples.channels = png_get_channels(png, info);
  };
  if (!bPngDone(png, read_header)) fail();
  samples.Allocate(path, static_cast<std::int64_t>(bytes.size()), deflate_ratio);
  std::vector<png_bytep> rows = RowsOf(samples);
  if (!bPngDone(png, [&] {
        png_read_image(png, rows.data());
        png_read_end(png, nullptr);
      })) {
    fail();
  }
  return samples;
}

std::string AsPng(const Samples& samples) {
  PngStream stream;
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &stream, OnPngError, OnPngWarning);
  png_infop info = png == nullptr ? nullptr : png_create_info_struct(png);
  const auto destroy = [&](png_structp) { png_destroy_write_struct(&png, &info); };
  const std::unique_ptr<png_struct, decltype(destroy)> owner(png, destroy);
  if (info == nullptr) throw std::bad_alloc();
  Samples copy(samples);  // the library takes rows that it may write to
  std::vector<png_bytep> rows = RowsOf(copy);
  if (!bPngDone(png, [&] {
        png_set_write_fn(png, &stream, WriteBytes, nullptr);
        png_set_IHDR(png, info, static_cast<png_uint_32>(samples.width),
                     static_cast<png_uint_32>(samples.height), samples.type == dtyp_UBin16 ? 16 : 8,
                     PNG_COLOR_TYPE_GRAY, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                     PNG_FILTER_TYPE_DEFAULT);
        png_write_info(png, info);
        if (std::endian::native == std::endian::little) png_set_swap(png);
        png_write_image(png, rows.data());
        png_write_end(png, nullptr);
      })) {
    Fail("a PNG picture cannot be made: {}", stream.error);
  }
  return std::move(stream.output);
}

Samples ReadJpeg(const std::string& path, std::string_view bytes) {
  JpegErrors errors;
  jpeg_decompress_struct jpeg{};
  jpeg.err = jpeg_std_error(&errors.base);
  errors.base.error_exit = OnJpegError;
  errors.base.emit_message = OnJpegMessage;
  const std::unique_ptr<jpeg_decompress_struct, decltype(&jpeg_destroy_decompress)> owner(
      &jpeg, jpeg_destroy_decompress);
  const auto fail = [&] { Fail("{} is a damaged JPEG picture: {}", path, errors.text); };
  if (!bJpegDone(errors, [&] {
        jpeg_create_decompress(&jpeg);
        jpeg_mem_src(&jpeg, reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
        jpeg_save_markers(&jpeg, JPEG_APP0 + 1, 0xFFFF);  // Exif
        jpeg_read_header(&jpeg, TRUE);
      })) {
    fail();
  }
  if (jpeg.num_components != 1 && jpeg.num_components != 3) {
    Fail("{} is a JPEG picture of {} components; grey ones and RGB are known here", path,
         jpeg.num_components);
  }
  int orientation = 1;
  for (const jpeg_marker_struct* marker = jpeg.marker_list; marker != nullptr; marker = marker->next) {
    constexpr std::string_view begin("Exif\0\0", 6);
    const std::string_view exif(reinterpret_cast<const char*>(marker->data), marker->data_length);
    if (exif.starts_with(begin)) orientation = OrientationIn(exif.substr(begin.size()));
  }
  Samples samples;
  samples.width = static_cast<int>(jpeg.image_width);
  samples.height = static_cast<int>(jpeg.image_height);
  samples.channels = jpeg.num_components;
  samples.Allocate(path, static_cast<std::int64_t>(bytes.size()), jpeg_ratio);
  if (!bJpegDone(errors, [&] {
        jpeg.out_color_space = jpeg.num_components == 1 ? JCS_GRAYSCALE : JCS_RGB;
        jpeg_start_decompress(&jpeg);
        while (jpeg.output_scanline < jpeg.output_height) {
          auto* row = reinterpret_cast<JSAMPROW>(samples.Row(static_cast<int>(jpeg.output_scanline)));
          jpeg_read_scanlines(&jpeg, &row, 1);
        }
        jpeg_finish_decompress(&jpeg);
      })) {
    fail();
  }
  bTurned(samples, orientation);
  return samples;
}

}  // namespace dseries
