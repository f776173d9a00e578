// The raw file stream beside the same work done with plain positioned calls.

#if __has_include(<unistd.h>)
#include <benchmark/benchmark.h>
#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <string>
#include <unistd.h>
#include <vector>

#include <DataStorage/interfaces/bstr.h>

namespace {

constexpr std::int64_t FileBytes = std::int64_t{64} << 20;
constexpr std::int64_t SmallFileBytes = std::int64_t{1} << 20;  // for records of a few bytes
const str_cString path = "streams_bench.tmp";  // where the program was started: that disk is measured

class Plain {
 public:
  Plain() : file_(::open(path.CString(), O_RDWR | O_CREAT, 0666)) {}
  Plain(const Plain&) = delete;
  Plain& operator=(const Plain&) = delete;
  ~Plain() {
    ::close(file_);
    std::remove(path.CString());
  }
  bool Write(std::int64_t at, const std::vector<char>& bytes) {
    return ::pwrite(file_, bytes.data(), bytes.size(), at) == static_cast<ssize_t>(bytes.size());
  }
  bool Read(std::int64_t at, std::vector<char>& bytes) {
    return ::pread(file_, bytes.data(), bytes.size(), at) == static_cast<ssize_t>(bytes.size());
  }

 private:
  int file_;
};

class Ours {
 public:
  Ours() = default;
  Ours(const Ours&) = delete;
  Ours& operator=(const Ours&) = delete;
  ~Ours() { std::remove(path.CString()); }
  bool Write(std::int64_t at, const std::vector<char>& bytes) {
    return stream_.Output().Seek(at) &&
           stream_.Output().Write(bytes.data(), static_cast<std::int64_t>(bytes.size()));
  }
  bool Read(std::int64_t at, std::vector<char>& bytes) {
    return stream_.Input().Seek(at) &&
           stream_.Input().Read(bytes.data(), static_cast<std::int64_t>(bytes.size()));
  }

 private:
  bstr_cBinary_fstream stream_{path};
};

std::int64_t Length(std::int64_t record) { return record < 4096 ? SmallFileBytes : FileBytes; }

template <class File>
void FileWrite(benchmark::State& state) {
  const std::int64_t record = state.range(0), length = Length(record);
  const std::vector<char> bytes(static_cast<std::size_t>(record), 'x');
  File file;
  for (auto _ : state) {
    for (std::int64_t at = 0; at < length; at += record) {
      if (!file.Write(at, bytes)) state.SkipWithError("write failed");
    }
  }
  state.SetBytesProcessed(state.iterations() * length);
}

/// `step` 1 reads record after record; other steps spread the reads over the file.
template <class File>
void FileRead(benchmark::State& state) {
  const std::int64_t record = state.range(0), length = Length(record), count = length / record;
  std::vector<char> bytes(static_cast<std::size_t>(record), 'x');
  File file;
  for (std::int64_t at = 0; at < length; at += record) file.Write(at, bytes);
  for (auto _ : state) {
    for (std::int64_t i = 0, which = 0; i < count; ++i, which = (which + state.range(1)) % count) {
      if (!file.Read(which * record, bytes)) state.SkipWithError("read failed");
      benchmark::DoNotOptimize(bytes.data());
    }
  }
  state.SetBytesProcessed(state.iterations() * length);
}

BENCHMARK(FileWrite<Plain>)->ArgName("record")->Arg(16)->Arg(4096)->Arg(FileBytes);
BENCHMARK(FileWrite<Ours>)->ArgName("record")->Arg(16)->Arg(4096)->Arg(FileBytes);
BENCHMARK(FileRead<Plain>)
    ->ArgNames({"record", "step"})
    ->ArgsProduct({{16, 4096}, {1, 4099}})
    ->Args({FileBytes, 1});
BENCHMARK(FileRead<Ours>)
    ->ArgNames({"record", "step"})
    ->ArgsProduct({{16, 4096}, {1, 4099}})
    ->Args({FileBytes, 1});

/// A 24-byte record behind every `step` bytes, as tags stand between data.
template <class File>
void FileScan(benchmark::State& state) {
  const std::int64_t step = state.range(0), length = Length(step);
  std::vector<char> bytes(static_cast<std::size_t>(length), 'x');
  File file;
  file.Write(0, bytes);
  bytes.resize(24);
  for (auto _ : state) {
    for (std::int64_t at = 0; at + 24 <= length; at += step) {
      if (!file.Read(at, bytes)) state.SkipWithError("read failed");
      benchmark::DoNotOptimize(bytes.data());
    }
  }
  state.SetItemsProcessed(state.iterations() * (length / step));
}

BENCHMARK(FileScan<Plain>)->ArgName("step")->Arg(40)->Arg(4120)->Arg(1 << 20);
BENCHMARK(FileScan<Ours>)->ArgName("step")->Arg(40)->Arg(4120)->Arg(1 << 20);

}  // namespace

#endif
