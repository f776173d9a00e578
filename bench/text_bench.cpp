// F: two-column text. The limits are from_chars on a block of text, and lines made by to_chars, each flushed;
// the peer is the stream operators.

#include <array>
#include <charconv>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <vector>

#include "bench.h"
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

void ReadText(benchmark::State& state) {
  std::istringstream in(Text());
  for (auto _ : state) {
    in.clear();
    in.seekg(0);
    darr_c1DArray array;
    if (!asrw_ReadTwoColumn(in, array) || array.NumIndices() != lines) state.SkipWithError("not read");
    benchmark::DoNotOptimize(array.Data());
  }
  SetItems(state, lines);
}
void ReadTextByFromChars(benchmark::State& state) {
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
  SetItems(state, lines);
}
void ReadTextByOperators(benchmark::State& state) {
  std::istringstream in(Text());
  for (auto _ : state) {
    in.clear();
    in.seekg(0);
    std::vector<double> values;
    for (double position = 0, value = 0; in >> position >> value;) values.push_back(value);
    benchmark::DoNotOptimize(values.data());
  }
  SetItems(state, lines);
}

struct Memory {
  std::ostringstream out;
};
struct File {
  static constexpr const char* path = "datastorage_bench.tmp";  // in the current directory
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
  SetItems(state, lines);
}
template <class Stream>
void WriteTextByToChars(benchmark::State& state) {
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
  SetItems(state, lines);
}
template <class Stream>
void WriteTextByOperators(benchmark::State& state) {
  const darr_c1DArray array = Spectrum();
  const auto* values = static_cast<const double*>(array.Data());
  Stream stream;
  stream.out.precision(12);
  for (auto _ : state) {
    stream.out.seekp(0);
    for (int i = 0; i < lines; ++i) stream.out << 10.0 + i * 0.25 << '\t' << values[i] << std::endl;
  }
  SetItems(state, lines);
}
template <class Stream>
void RegisterWriting(const std::string& row) {
  Register(row, "ours", WriteText<Stream>);
  Register(row, "limit", WriteTextByToChars<Stream>);
  Register(row, "operators", WriteTextByOperators<Stream>);
}

[[maybe_unused]] const bool registered = [] {
  Register("F/read/1M", "ours", ReadText);
  Register("F/read/1M", "limit", ReadTextByFromChars);
  Register("F/read/1M", "operators", ReadTextByOperators);
  RegisterWriting<Memory>("F/write_to_memory/1M");
  RegisterWriting<File>("F/write_to_file/1M");
  return true;
}();

}  // namespace
