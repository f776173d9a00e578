// Resampling and merging beside plain loops over index tables into new memory.

#include <benchmark/benchmark.h>
#include <vector>

#include <DataStorage/data/rescl2.h>

namespace {

constexpr int edge = 2048;

template <class T>
darr_c2DArray Picture() {
  return {edge, edge, dtyp_cDataType(detail::DataTypeOf<T>), {}};
}

/// By the step in percent of the old one.
template <class T>
void Rescale(benchmark::State& state) {
  const darr_c2DArray source = Picture<T>();
  const double step = static_cast<double>(state.range(0)) / 100;
  std::int64_t elements = 0;
  for (auto _ : state) {
    const darr_c2DArray rescaled = resc_Rescale(source, step, step);
    elements = rescaled.NumIndices();
    benchmark::DoNotOptimize(rescaled.Data());
  }
  state.SetItemsProcessed(state.iterations() * elements);
}
template <class T>
void Rescale_Loop(benchmark::State& state) {
  const std::vector<T> source(std::size_t{edge} * edge);
  const double step = static_cast<double>(state.range(0)) / 100;
  const int size = static_cast<int>(std::ceil(edge / step - 1e-6));
  for (auto _ : state) {
    std::vector<int> index(static_cast<std::size_t>(size));
    for (int i = 0; i < size; ++i) index[static_cast<std::size_t>(i)] = static_cast<int>(i * step);
    const auto bytes = sizeof(T) * static_cast<std::size_t>(size) * static_cast<std::size_t>(size);
    T* const target = static_cast<T*>(lgar_AllocateBlock(bytes));
    T* to = target;
    for (const int y : index) {
      const T* row = source.data() + std::int64_t{y} * edge;
      for (const int x : index) *to++ = row[x];
    }
    benchmark::DoNotOptimize(target);
    benchmark::ClobberMemory();
    lgar_FreeBlock(target, bytes);
  }
  state.SetItemsProcessed(state.iterations() * size * size);
}
BENCHMARK(Rescale<double>)->ArgName("percent")->Arg(50)->Arg(75)->Arg(200);
BENCHMARK(Rescale_Loop<double>)->ArgName("percent")->Arg(50)->Arg(75)->Arg(200);
BENCHMARK(Rescale<unsigned char>)->ArgName("percent")->Arg(50)->Arg(200);
BENCHMARK(Rescale_Loop<unsigned char>)->ArgName("percent")->Arg(50)->Arg(200);

/// A tile of a quarter of the area, on the same grid.
void Merge(benchmark::State& state) {
  darr_c2DArray target = Picture<double>();
  const darr_c2DArray tile = target.Selection(0, 0, edge / 2, edge / 2).Move(edge / 4, edge / 4);
  for (auto _ : state) {
    target.Set(tile);
    benchmark::DoNotOptimize(target.Data());
  }
  state.SetItemsProcessed(state.iterations() * tile.NumIndices());
}
void Merge_Loop(benchmark::State& state) {
  std::vector<double> target(std::size_t{edge} * edge);
  const std::vector<double> tile(target.size() / 4);
  for (auto _ : state) {
    for (int y = 0; y < edge / 2; ++y) {
      std::copy_n(tile.data() + y * (edge / 2), edge / 2, target.data() + (y + edge / 4) * edge + edge / 4);
    }
    benchmark::DoNotOptimize(target.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * (edge / 2) * (edge / 2));
}
BENCHMARK(Merge);
BENCHMARK(Merge_Loop);

}  // namespace
