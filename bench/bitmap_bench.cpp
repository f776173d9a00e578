// The bitmap stream on a file beside one call for the same pixels at the same place. Width 4096 needs no
// padding, 4095 does.

#include <benchmark/benchmark.h>
#include <cstdio>

#include <DataStorage/services/binimage.h>

namespace {

constexpr int height = 4096;
constexpr std::int64_t pixels_start = 1064;
constexpr std::int64_t pixel_bytes = std::int64_t{4096} * height;

struct File {
  bstr_cBinary_fstream stream{"bitmap_bench.tmp"};  // where the program was started
  File() = default;
  File(const File&) = delete;
  File& operator=(const File&) = delete;
  ~File() { std::remove(stream.Path().CString()); }
};

void SetBytes(benchmark::State& state) { state.SetBytesProcessed(state.iterations() * pixel_bytes); }

void WriteBitmap(benchmark::State& state) {
  const arr_c2DNumberArray<unsigned char> image(static_cast<int>(state.range(0)), height);
  File file;
  for (auto _ : state) {
    if (!file.stream.Output().Seek(0) || !dbrw_Write(file.stream.Output(), image))
      state.SkipWithError("failed");
  }
  SetBytes(state);
}
void WriteBitmap_OneCall(benchmark::State& state) {
  const arr_c2DNumberArray<unsigned char> image(4096, height);
  File file;
  for (auto _ : state) {
    if (!file.stream.Output().Seek(pixels_start) || !file.stream.Output().Write(image.Data(), pixel_bytes))
      state.SkipWithError("failed");
  }
  SetBytes(state);
}
void ReadBitmap(benchmark::State& state) {
  File file;
  dbrw_Write(file.stream.Output(), {static_cast<int>(state.range(0)), height});
  arr_c2DNumberArray<unsigned char> image;
  for (auto _ : state) {
    if (!file.stream.Input().Seek(0) || !dbrw_Read(file.stream.Input(), image)) state.SkipWithError("failed");
  }
  SetBytes(state);
}
/// Into a block that is new each time, as the pixels of a picture are.
void ReadBitmap_OneCall(benchmark::State& state) {
  File file;
  dbrw_Write(file.stream.Output(), {4096, height});
  for (auto _ : state) {
    void* block = lgar_AllocateBlock(static_cast<std::size_t>(pixel_bytes));
    if (!file.stream.Input().Seek(pixels_start) || !file.stream.Input().Read(block, pixel_bytes))
      state.SkipWithError("failed");
    lgar_FreeBlock(block, static_cast<std::size_t>(pixel_bytes));
  }
  SetBytes(state);
}
BENCHMARK(WriteBitmap)->ArgName("width")->Arg(4096)->Arg(4095);
BENCHMARK(WriteBitmap_OneCall);
BENCHMARK(ReadBitmap)->ArgName("width")->Arg(4096)->Arg(4095);
BENCHMARK(ReadBitmap_OneCall);

}  // namespace
