#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

#include <DataStorage/services/binimage.h>

namespace {

constexpr std::int32_t header_size = 40;
constexpr std::int64_t colours = 256;
constexpr std::int64_t bytes_per_colour = 4;
constexpr std::int64_t block_size = 1 << 20;  // few calls of the stream, but still fits a cache

/// The length of a row in the stream, in bytes.
std::int64_t Stride(std::int64_t width) { return (width + 3) / 4 * 4; }

/// The number of rows in a block, at least one.
std::int64_t RowsPerBlock(std::int64_t stride, std::int64_t height) {
  return std::clamp<std::int64_t>(block_size / stride, 1, height);
}

/// Copies rows of `width` bytes from one stride to another.
void CopyRows(const unsigned char* from, std::int64_t from_stride, unsigned char* to, std::int64_t to_stride,
              std::int64_t width, std::int64_t rows) {
  for (std::int64_t y = 0; y < rows; ++y) std::copy_n(from + y * from_stride, width, to + y * to_stride);
}

}  // namespace

type_cBoolean dbrw_Write(bstr_cBinary_ostream& out, const arr_c2DNumberArray<unsigned char>& image) {
  const std::int32_t width = image.NumIndicesX();
  const std::int32_t height = image.NumIndicesY();
  // Size, width, height, planes, bits per pixel, compression, image size, resolutions, colours used and
  // important (0: all 256).
  bstr_WriteFields(out, header_size, width, height, std::uint16_t{1}, std::uint16_t{8}, std::int32_t{0},
                   std::int32_t{0}, std::int32_t{0}, std::int32_t{0}, std::int32_t{0}, std::int32_t{0});
  std::array<unsigned char, colours * bytes_per_colour> table{};
  for (std::size_t i = 0; i < colours; ++i)
    std::fill_n(table.begin() + i * bytes_per_colour, 3, static_cast<unsigned char>(i));
  out.Write(table.data(), static_cast<std::int64_t>(table.size()));
  if (image.NumIndices() == 0) return out.bGood();

  const std::int64_t stride = Stride(width);
  if (stride == width) return out.Write(image.Data(), image.NumIndices());
  const std::int64_t rows = RowsPerBlock(stride, height);
  std::vector<unsigned char> block(static_cast<std::size_t>(rows * stride));
  for (std::int64_t y = 0; y < height; y += rows) {
    const std::int64_t count = std::min(rows, height - y);
    CopyRows(image.Data() + y * width, width, block.data(), stride, width, count);
    if (!out.Write(block.data(), count * stride)) return false;
  }
  return out.bGood();
}

type_cBoolean dbrw_Read(bstr_cBinary_istream& in, arr_c2DNumberArray<unsigned char>& image) {
  std::int32_t size = 0, width = 0, height = 0, compression = 0, image_size = 0;
  std::int32_t resolution_x = 0, resolution_y = 0;
  std::uint16_t planes = 0, bits = 0;
  std::uint32_t colours_used = 0, colours_important = 0;
  if (!bstr_ReadFields(in, size, width, height, planes, bits, compression, image_size, resolution_x,
                       resolution_y, colours_used, colours_important)) {
    return false;
  }
  if (!in.Skip((colours_used == 0 ? colours : std::int64_t{colours_used}) * bytes_per_colour)) return false;
  if (width < 0 || height < 0) arr_SizeError(width, height);
  const std::int64_t count = std::int64_t{width} * height;
  const std::int64_t stride = Stride(width);
  if (!detail::bCountable(width, height) || in.Size() - in.Position() < stride * height) return false;

  arr_c2DNumberArray<unsigned char> read(arr_Unfilled, width, height);
  unsigned char* pixels = read.WriteAccess();
  if (stride == width) {
    if (!in.Read(pixels, count)) return false;
  } else if (count > 0) {
    const std::int64_t rows = RowsPerBlock(stride, height);
    std::vector<unsigned char> block(static_cast<std::size_t>(rows * stride));
    for (std::int64_t y = 0; y < height; y += rows) {
      const std::int64_t in_block = std::min(rows, height - y);
      if (!in.Read(block.data(), in_block * stride)) return false;
      CopyRows(block.data(), stride, pixels + y * width, width, width, in_block);
    }
  }
  image = read;
  return true;
}
