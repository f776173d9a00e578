// Text columns of a million lines beside plain block reading and writing with from_chars and to_chars, and
// beside the stream operators.

#include <array>
#include <benchmark/benchmark.h>
#include <charconv>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <vector>

#include <DataStorage/data/asciirw.h>

namespace {

constexpr int lines = 1000000;

darr_c1DArray Spectrum() {
  arr_c1DNumberArray<double> values(lines);
  double* value = values.WriteAccess();
  for (int i = 0; i < lines; ++i) value[i] = (i % 977) * 1.37 + 0.001 * i;
  return {values, {10.0, 0.25, 0}};
}

const std::string& Text() {
  static const std::string text = [] {
    std::ostringstream out;
    asrw_WriteTwoColumn(out, Spectrum(), 12, 0);
    return out.str();
  }();
  return text;
}

void SetItems(benchmark::State& state) { state.SetItemsProcessed(state.iterations() * lines); }

void ReadText(benchmark::State& state) {
  std::istringstream in(Text());
  for (auto _ : state) {
    in.clear();
    in.seekg(0);
    darr_c1DArray array;
    if (!asrw_ReadTwoColumn(in, array) || array.NumIndices() != lines) state.SkipWithError("not read");
    benchmark::DoNotOptimize(array.Data());
  }
  SetItems(state);
}
void ReadText_FromChars(benchmark::State& state) {
  std::istringstream in(Text());
  std::vector<char> block(Text().size());
  for (auto _ : state) {
    in.clear();
    in.seekg(0);
    in.read(block.data(), static_cast<std::streamsize>(block.size()));
    std::vector<double> values;
    const char* const end = block.data() + block.size();
    for (const char* at = block.data(); at != end; ++at) {
      double position = 0;
      double value = 0;
      at = std::from_chars(at, end, position).ptr + 1;
      at = std::from_chars(at, end, value).ptr;
      benchmark::DoNotOptimize(position);
      values.push_back(value);
    }
    benchmark::DoNotOptimize(values.data());
  }
  SetItems(state);
}
void ReadText_Operators(benchmark::State& state) {
  std::istringstream in(Text());
  for (auto _ : state) {
    in.clear();
    in.seekg(0);
    std::vector<double> values;
    for (double position = 0, value = 0; in >> position >> value;) values.push_back(value);
    benchmark::DoNotOptimize(values.data());
  }
  SetItems(state);
}
BENCHMARK(ReadText)->Unit(benchmark::kMillisecond);
BENCHMARK(ReadText_FromChars)->Unit(benchmark::kMillisecond);
BENCHMARK(ReadText_Operators)->Unit(benchmark::kMillisecond);

struct Memory {
  std::ostringstream out;
};
struct File {
  static constexpr const char* path = "text_bench.tmp";  // where the program was started
  std::ofstream out{path, std::ios::binary};
  File() = default;
  File(const File&) = delete;
  File& operator=(const File&) = delete;
  ~File() { std::remove(path); }
};

template <class Stream>
void WriteText(benchmark::State& state) {
  const darr_c1DArray array = Spectrum();
  Stream stream;
  for (auto _ : state) {
    stream.out.seekp(0);
    if (!asrw_WriteTwoColumn(stream.out, array, 12, 0)) state.SkipWithError("not written");
  }
  SetItems(state);
}
template <class Stream>
void WriteText_ToChars(benchmark::State& state) {
  const darr_c1DArray array = Spectrum();
  const auto* values = static_cast<const double*>(array.Data());
  Stream stream;
  for (auto _ : state) {
    stream.out.seekp(0);
    for (int i = 0; i < lines; ++i) {
      std::array<char, 80> line;
      char* const end = line.data() + line.size();
      char* at = std::to_chars(line.data(), end, 10.0 + i * 0.25, std::chars_format::general, 12).ptr;
      *at++ = '\t';
      at = std::to_chars(at, end, values[i], std::chars_format::general, 12).ptr;
      *at++ = '\n';
      stream.out.write(line.data(), at - line.data()).flush();
    }
  }
  SetItems(state);
}
template <class Stream>
void WriteText_Operators(benchmark::State& state) {
  const darr_c1DArray array = Spectrum();
  const auto* values = static_cast<const double*>(array.Data());
  Stream stream;
  stream.out.precision(12);
  for (auto _ : state) {
    stream.out.seekp(0);
    for (int i = 0; i < lines; ++i) stream.out << 10.0 + i * 0.25 << '\t' << values[i] << std::endl;
  }
  SetItems(state);
}
BENCHMARK(WriteText<Memory>)->Unit(benchmark::kMillisecond);
BENCHMARK(WriteText_ToChars<Memory>)->Unit(benchmark::kMillisecond);
BENCHMARK(WriteText_Operators<Memory>)->Unit(benchmark::kMillisecond);
BENCHMARK(WriteText<File>)->Unit(benchmark::kMillisecond);
BENCHMARK(WriteText_ToChars<File>)->Unit(benchmark::kMillisecond);
BENCHMARK(WriteText_Operators<File>)->Unit(benchmark::kMillisecond);

}  // namespace
