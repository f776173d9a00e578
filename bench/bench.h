#pragma once

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

#include <DataStorage/interfaces/lgar.h>

// Helpers of all benchmarks. Benchmark names are work/what/size/who, from which table.py makes the table: the
// first three parts are the row, the last is what was measured: "ours", "limit" (the best that the machine
// allows: a plain copy of as many bytes, plain system calls) or a peer.

template <class Function, class... Arguments>
void Register(const std::string& row, const std::string& who, Function function, Arguments... arguments) {
  benchmark::RegisterBenchmark((row + '/' + who).c_str(), function, arguments...);
}

struct Size {
  const char* name;
  std::int64_t elements;
};
/// Sizes for the first-level cache, for the second and third level, and for main memory.
inline constexpr Size sizes[] = {{"1K", 1 << 10}, {"32K", 1 << 15}, {"16M", 1 << 24}};

/// Memory that is allocated as our arrays do.
struct FreeBlock {
  std::size_t bytes;
  void operator()(void* block) const { lgar_FreeBlock(block, bytes); }
};
template <class T>
using Block = std::unique_ptr<T[], FreeBlock>;
/// An uninitialised block.
template <class T>
Block<T> NewBlock(std::int64_t count) {
  const std::size_t bytes = static_cast<std::size_t>(count) * sizeof(T);
  return {static_cast<T*>(lgar_AllocateBlock(bytes)), FreeBlock{bytes}};
}
template <class T>
Block<T> FilledBlock(std::int64_t count, T value = T()) {
  Block<T> block = NewBlock<T>(count);
  std::fill_n(block.get(), count, value);
  return block;
}

/// The same object; the compiler forgets what it knows of it.
template <class T>
T& Opaque(T& object) {
  benchmark::DoNotOptimize(&object);
  benchmark::ClobberMemory();
  return object;
}

inline void SetBytes(benchmark::State& state, std::int64_t bytes) {
  state.SetBytesProcessed(state.iterations() * bytes);
}
inline void SetItems(benchmark::State& state, std::int64_t items) {
  state.SetItemsProcessed(state.iterations() * items);
}

/// A plain copy: the limit for work that reads and writes 2 * `bytes` together.
inline void Copy(benchmark::State& state, std::int64_t bytes) {
  const auto source = FilledBlock<char>(bytes, 1), target = FilledBlock<char>(bytes);
  for (auto _ : state) {
    std::memcpy(target.get(), source.get(), static_cast<std::size_t>(bytes));
    benchmark::ClobberMemory();
  }
  SetBytes(state, 2 * bytes);
}
/// The same for work that returns new memory. The copy begins `skip` bytes into the source, because the speed
/// of a large copy depends on the positions of source and target within their pages.
inline void CopyIntoNewBlock(benchmark::State& state, std::int64_t bytes, std::int64_t skip) {
  const auto source = FilledBlock<char>(skip + bytes, 1);
  for (auto _ : state) {
    const auto target = NewBlock<char>(bytes);
    std::memcpy(target.get(), source.get() + skip, static_cast<std::size_t>(bytes));
    benchmark::DoNotOptimize(target.get());
    benchmark::ClobberMemory();
  }
  SetBytes(state, 2 * bytes);
}
