// I: resampling and merging of 2D data arrays.

#include <algorithm>
#include <cmath>
#include <vector>

#include "bench.h"
#include <DataStorage/data/rescl2.h>

namespace {

constexpr int edge = 2048;

template <class T>
darr_c2DArray Picture() {
  return {edge, edge, dtyp_cDataType(detail::DataTypeOf<T>), {}};
}

/// The elements along an edge of a picture of step 1 after resampling to another step.
int NewEdge(double step) { return static_cast<int>(std::ceil(edge / step - 1e-6)); }

template <class T>
void Rescale(benchmark::State& state, double step) {
  const darr_c2DArray source = Picture<T>();
  for (auto _ : state) {
    const darr_c2DArray rescaled = resc_Rescale(source, step, step);
    if (rescaled.NumIndicesX() != NewEdge(step)) state.SkipWithError("another size");
    benchmark::DoNotOptimize(rescaled.Data());
  }
  SetItems(state, std::int64_t{NewEdge(step)} * NewEdge(step));
}

/// A loop with a table of indices, into new memory.
template <class T>
void RescaleLoop(benchmark::State& state, double step) {
  const auto source = FilledBlock<T>(std::int64_t{edge} * edge);
  const int size = NewEdge(step);
  for (auto _ : state) {
    std::vector<int> index(static_cast<std::size_t>(size));
    for (int i = 0; i < size; ++i) index[static_cast<std::size_t>(i)] = static_cast<int>(i * step);
    const auto target = NewBlock<T>(std::int64_t{size} * size);
    T* to = target.get();
    for (const int y : index) {
      const T* row = source.get() + std::int64_t{y} * edge;
      for (const int x : index) *to++ = row[x];
    }
    benchmark::DoNotOptimize(target.get());
    benchmark::ClobberMemory();
  }
  SetItems(state, std::int64_t{size} * size);
}

/// Merges a tile of a quarter of the area, on the same grid.
void Merge(benchmark::State& state) {
  darr_c2DArray target = Picture<double>();
  const darr_c2DArray tile = target.Selection(0, 0, edge / 2, edge / 2).Move(edge / 4, edge / 4);
  for (auto _ : state) {
    target.Set(tile);
    benchmark::DoNotOptimize(target.Data());
  }
  SetItems(state, tile.NumIndices());
}
void MergeLoop(benchmark::State& state) {
  constexpr std::int64_t size = edge / 2;
  const auto target = FilledBlock<double>(std::int64_t{edge} * edge);
  const auto tile = FilledBlock<double>(size * size);
  for (auto _ : state) {
    for (std::int64_t y = 0; y < size; ++y)
      std::copy_n(tile.get() + y * size, size, target.get() + (y + edge / 4) * edge + edge / 4);
    benchmark::ClobberMemory();
  }
  SetItems(state, size * size);
}

template <class T>
void RegisterRescaling() {
  const std::string name = std::string("I/rescale_") + detail::ShortName(detail::DataTypeOf<T>);
  for (const auto& [what, step] :
       {std::pair("/to_half", 2.0), std::pair("/to_4_thirds", 0.75), std::pair("/to_double", 0.5)}) {
    Register(name + what, "ours", Rescale<T>, step);
    Register(name + what, "loop", RescaleLoop<T>, step);
  }
}

[[maybe_unused]] const bool registered = [] {
  RegisterRescaling<double>();
  RegisterRescaling<unsigned char>();
  Register("I/merge_float64/1024x1024", "ours", Merge);
  Register("I/merge_float64/1024x1024", "loop", MergeLoop);
  return true;
}();

}  // namespace
