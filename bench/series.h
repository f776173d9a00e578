#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "bench.h"

// Appending to and reading of a series of data with tags. A `File` has:
//   File(std::int64_t bytes)            creates an empty file for `slots` data of `bytes` bytes
//   File(std::int64_t bytes, Existing)  opens the existing file
//   Append(datum, i), Read(i, datum)    appends a datum and its tag; reads a datum alone
//   Find(x)                             returns the index of the tag at (x, 0), or -1
//   Reset()                             the next append goes to index 0 again
//   Open()                              opens the existing file and closes it; a static member
// Peers that do one kind of work have only what that needs.

constexpr int slots = 20000;

using Datum = std::vector<char>;

struct Existing {};

/// A file in the current directory, whose disk is measured. Removed at the end.
struct TemporaryFile {
  static constexpr const char* path = "datastorage_bench.tmp";
  TemporaryFile() = default;
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  ~TemporaryFile() { std::remove(path); }
};

inline Datum NewDatum(std::int64_t bytes) { return Datum(static_cast<std::size_t>(bytes), 'd'); }

template <class File>
void Append(benchmark::State& state, std::int64_t bytes) {
  const TemporaryFile remove_at_end;
  const Datum datum = NewDatum(bytes);
  File file(bytes);
  const int end = static_cast<int>(std::min<std::int64_t>(slots, (128 << 20) / bytes));
  int i = 0;
  for (auto _ : state) {
    file.Append(datum, i);
    if (++i < end) continue;
    state.PauseTiming();
    file.Reset();
    i = 0;
    state.ResumeTiming();
  }
  SetItems(state, 1);
}

template <class File>
void Fill(File& file, std::int64_t bytes) {
  const Datum datum = NewDatum(bytes);
  for (int i = 0; i < slots; ++i) file.Append(datum, i);
}

/// A step of 1 reads the data one after the other; other steps spread the reads over the file.
template <class File>
void Read(benchmark::State& state, std::int64_t bytes, int step) {
  const TemporaryFile remove_at_end;
  File file(bytes);
  Fill(file, bytes);
  Datum datum = NewDatum(bytes);
  int i = 0;
  for (auto _ : state) {
    file.Read(i, datum);
    i = (i + step) % slots;
  }
  SetItems(state, 1);
}

/// Searches for a tag that does not exist, so that all tags are compared. The first search, which may read
/// them from the file, is not measured.
template <class File>
void Search(benchmark::State& state, std::int64_t bytes) {
  const TemporaryFile remove_at_end;
  File file(bytes);
  Fill(file, bytes);
  benchmark::DoNotOptimize(file.Find(-1));
  for (auto _ : state) benchmark::DoNotOptimize(file.Find(-1));
  SetItems(state, slots);
}

/// The same, directly after the file was opened.
template <class File>
void FirstSearch(benchmark::State& state, std::int64_t bytes) {
  const TemporaryFile remove_at_end;
  {
    File file(bytes);
    Fill(file, bytes);
  }
  for (auto _ : state) {
    state.PauseTiming();
    {
      File file(bytes, Existing());
      state.ResumeTiming();
      benchmark::DoNotOptimize(file.Find(-1));
      state.PauseTiming();
    }
    state.ResumeTiming();
  }
  SetItems(state, slots);
}

template <class File>
void Open(benchmark::State& state) {
  const TemporaryFile remove_at_end;
  {
    File file(16);
    Fill(file, 16);
  }
  for (auto _ : state) File::Open();
  SetItems(state, 1);
}

template <class File>
void RegisterSeries(const char* who) {
  for (const auto& [size, bytes] : {std::pair("16B", 16), std::pair("4K", 4096)}) {
    Register(std::string("D/append/") + size, who, Append<File>, bytes);
    Register(std::string("E/read/") + size, who, Read<File>, bytes, 1);
    Register(std::string("E/read_random/") + size, who, Read<File>, bytes, 7919);
    Register(std::string("E/search/") + size, who, Search<File>, bytes);
  }
  Register("E/open/20000", who, Open<File>);
}
