#pragma once

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

#include <DataStorage/interfaces/lgar.h>

// What the benchmarks share. Their names are work/what/size/who, and the table is made from them: the first
// three make a row, the last says whose way of doing it was measured: "ours", "limit" (what the machine
// allows: a plain copy of as many bytes, plain system calls) or a peer.

template <class Function, class... Arguments>
void Register(const std::string& row, const std::string& who, Function function, Arguments... arguments) {
  benchmark::RegisterBenchmark((row + '/' + who).c_str(), function, arguments...);
}

struct Size {
  const char* name;
  std::int64_t elements;
};
/// For the first cache, for the second and third, and for memory.
inline constexpr Size sizes[] = {{"1K", 1 << 10}, {"32K", 1 << 15}, {"16M", 1 << 24}};

/// Memory as our arrays take it.
struct FreeBlock {
  std::size_t bytes;
  void operator()(void* block) const { lgar_FreeBlock(block, bytes); }
};
template <class T>
using Block = std::unique_ptr<T[], FreeBlock>;
/// Not filled.
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

inline void SetBytes(benchmark::State& state, std::int64_t bytes) {
  state.SetBytesProcessed(state.iterations() * bytes);
}
inline void SetItems(benchmark::State& state, std::int64_t items) {
  state.SetItemsProcessed(state.iterations() * items);
}

/// The limit of what reads and writes `bytes` each, or half as much of the one and half more of the other.
inline void Copy(benchmark::State& state, std::int64_t bytes) {
  const auto source = FilledBlock<char>(bytes, 1), target = FilledBlock<char>(bytes);
  for (auto _ : state) {
    std::memcpy(target.get(), source.get(), static_cast<std::size_t>(bytes));
    benchmark::ClobberMemory();
  }
  SetBytes(state, 2 * bytes);
}
/// The same for what hands out new memory. `skip` bytes stand before those that are copied: it costs a large
/// copy much whether source and target lie alike in their pages.
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
