// G: the bitmap stream on a file; the limit is one call that transfers the same pixels at the same position.
// Rows of 4096 pixels need no padding, rows of 4095 do.

#include <cstdio>

#include "bench.h"
#include <DataStorage/services/binimage.h>

namespace {

constexpr int height = 4096;
constexpr std::int64_t pixels_start = 1064;
constexpr std::int64_t pixel_bytes = std::int64_t{4096} * height;

struct File {
  bstr_cBinary_fstream stream{"datastorage_bench.tmp"};  // in the current directory
  File() = default;
  File(const File&) = delete;
  File& operator=(const File&) = delete;
  ~File() { std::remove(stream.Path().CString()); }
};

void Check(benchmark::State& state, bool good) {
  if (!good) state.SkipWithError("failed");
}

void Write(benchmark::State& state, int width) {
  const arr_c2DNumberArray<unsigned char> image(width, height);
  File file;
  for (auto _ : state) Check(state, file.stream.Output().Seek(0) && dbrw_Write(file.stream.Output(), image));
  SetBytes(state, pixel_bytes);
}
void WriteAtOnce(benchmark::State& state) {
  const auto pixels = FilledBlock<char>(pixel_bytes);
  File file;
  for (auto _ : state)
    Check(state,
          file.stream.Output().Seek(pixels_start) && file.stream.Output().Write(pixels.get(), pixel_bytes));
  SetBytes(state, pixel_bytes);
}
void Read(benchmark::State& state, int width) {
  File file;
  dbrw_Write(file.stream.Output(), {width, height});
  arr_c2DNumberArray<unsigned char> image;
  for (auto _ : state) Check(state, file.stream.Input().Seek(0) && dbrw_Read(file.stream.Input(), image));
  SetBytes(state, pixel_bytes);
}
/// Into a new block each time, like the pixels of an image.
void ReadAtOnce(benchmark::State& state) {
  File file;
  dbrw_Write(file.stream.Output(), {4096, height});
  for (auto _ : state) {
    const auto pixels = NewBlock<char>(pixel_bytes);
    Check(state,
          file.stream.Input().Seek(pixels_start) && file.stream.Input().Read(pixels.get(), pixel_bytes));
  }
  SetBytes(state, pixel_bytes);
}

[[maybe_unused]] const bool registered = [] {
  for (const int width : {4096, 4095}) {
    const std::string size = '/' + std::to_string(width) + 'x' + std::to_string(height);
    Register("G/write" + size, "ours", Write, width);
    Register("G/write" + size, "limit", WriteAtOnce);
    Register("G/read" + size, "ours", Read, width);
    Register("G/read" + size, "limit", ReadAtOnce);
  }
  return true;
}();

}  // namespace
