// B: copies of number arrays, selections and stores of blocks. The limit for work that creates new elements
// is a copy into new memory.

#include <memory>
#include <string>
#include <utility>

#include "bench.h"
#include <DataStorage/arrays/parray2d.h>

namespace {

constexpr dtyp_cDataType Double = dtyp_Float64;

void ArrayCopy(benchmark::State& state) {
  const parr_c1DNumberArray array(1024, Double);
  for (auto _ : state) {
    parr_c1DNumberArray copy(array);
    benchmark::DoNotOptimize(&copy);
  }
  SetItems(state, 1);
}
/// Only allocates and frees memory.
void NewAndDelete(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(std::make_unique<std::pair<double, double>>());
  SetItems(state, 1);
}

void FirstWrite(benchmark::State& state, std::int64_t n) {
  const parr_c1DNumberArray array(static_cast<int>(n), Double);
  const pnum_cNumber value(1.0);
  for (auto _ : state) {
    parr_c1DNumberArray copy(array);
    copy.SetValue(value, 0);
    benchmark::DoNotOptimize(copy.Data());
  }
  SetBytes(state, 2 * 8 * n);
}

/// Writes all elements of a copy.
void Overwrite(benchmark::State& state, std::int64_t n) {
  const parr_c1DNumberArray source(static_cast<int>(n), Double);
  const parr_c1DNumberArray array(static_cast<int>(n), Double);
  for (auto _ : state) {
    parr_c1DNumberArray copy(array);
    copy.SetSelection(source, 0);
    benchmark::DoNotOptimize(copy.Data());
  }
  SetBytes(state, 2 * 8 * n);
}

constexpr int skipped = 16;  // elements before a selection

void Selection1D(benchmark::State& state, std::int64_t n) {
  const int end = skipped + static_cast<int>(n);
  const parr_c1DNumberArray array(end, Double);
  for (auto _ : state) benchmark::DoNotOptimize(array.Selection(skipped, end).Data());
  SetBytes(state, 2 * 8 * n);
}

template <class Source>
void Store1D(benchmark::State& state, std::int64_t n) {
  const parr_c1DNumberArray source(static_cast<int>(n), detail::DataTypeOf<Source>);
  parr_c1DNumberArray target(static_cast<int>(n), Double);
  for (auto _ : state) {
    target.SetSelection(source, 0);
    benchmark::DoNotOptimize(target.Data());
  }
  SetBytes(state, (8 + std::int64_t{sizeof(Source)}) * n);
}

/// The inner three quarters of each axis of a square array.
struct Inner {
  explicit Inner(int edge) : start(edge / 8), size(edge * 3 / 4) {}
  int start;
  int size;
  std::int64_t Elements() const { return std::int64_t{size} * size; }
};

void Selection2D(benchmark::State& state, int edge) {
  const Inner block(edge);
  const parr_c2DNumberArray array(edge, edge, Double);
  const int end = block.start + block.size;
  for (auto _ : state) benchmark::DoNotOptimize(array.Selection(block.start, block.start, end, end).Data());
  SetBytes(state, 2 * 8 * block.Elements());
}

template <class Source>
void Store2D(benchmark::State& state, int edge) {
  const Inner block(edge);
  const parr_c2DNumberArray source(block.size, block.size, detail::DataTypeOf<Source>);
  parr_c2DNumberArray target(edge, edge, Double);
  for (auto _ : state) {
    target.SetSelection(source, block.start, block.start);
    benchmark::DoNotOptimize(target.Data());
  }
  SetBytes(state, (8 + std::int64_t{sizeof(Source)}) * block.Elements());
}

void Row(benchmark::State& state, int edge) {
  const parr_c2DNumberArray array(edge, edge, Double);
  for (auto _ : state) benchmark::DoNotOptimize(array.Row(edge / 2).Data());
  SetBytes(state, 2 * 8 * edge);
}
void Column(benchmark::State& state, int edge) {
  const parr_c2DNumberArray array(edge, edge, Double);
  for (auto _ : state) benchmark::DoNotOptimize(array.Column(edge / 2).Data());
  SetBytes(state, 2 * 8 * edge);
}
void StridedLoop(benchmark::State& state, int edge) {
  const auto source = FilledBlock<double>(std::int64_t{edge} * edge, 1.0);
  for (auto _ : state) {
    const auto target = NewBlock<double>(edge);
    const double* from = source.get() + edge / 2;
    for (int i = 0; i < edge; ++i, from += edge) target[static_cast<std::size_t>(i)] = *from;
    benchmark::DoNotOptimize(target.get());
    benchmark::ClobberMemory();
  }
  SetBytes(state, 2 * 8 * edge);
}

[[maybe_unused]] const bool registered = [] {
  Register("B/array_copy/1K", "ours", ArrayCopy);
  Register("B/array_copy/1K", "heap", NewAndDelete);
  for (const auto& [name, n] : sizes) {
    const std::string size = std::string("/") + name;
    Register("B/first_write" + size, "ours", FirstWrite, n);
    Register("B/first_write" + size, "limit", CopyIntoNewBlock, 8 * n, std::int64_t{0});
    Register("B/overwrite" + size, "ours", Overwrite, n);
    Register("B/overwrite" + size, "limit", CopyIntoNewBlock, 8 * n, std::int64_t{0});
    Register("B/selection_1d" + size, "ours", Selection1D, n);
    Register("B/selection_1d" + size, "limit", CopyIntoNewBlock, 8 * n, std::int64_t{8} * skipped);
    Register("B/store_1d" + size, "ours", Store1D<double>, n);
    Register("B/store_1d" + size, "limit", Copy, 8 * n);
    Register("B/widening_store_1d" + size, "ours", Store1D<float>, n);
    Register("B/widening_store_1d" + size, "limit", Copy, 6 * n);
  }
  for (const int edge : {256, 4096}) {
    const std::string size = '/' + std::to_string(edge) + 'x' + std::to_string(edge);
    const std::int64_t n = Inner(edge).Elements();
    Register("B/selection_2d" + size, "ours", Selection2D, edge);
    Register("B/selection_2d" + size, "limit", CopyIntoNewBlock, 8 * n, std::int64_t{0});
    Register("B/store_2d" + size, "ours", Store2D<double>, edge);
    Register("B/store_2d" + size, "limit", Copy, 8 * n);
    Register("B/widening_store_2d" + size, "ours", Store2D<float>, edge);
    Register("B/widening_store_2d" + size, "limit", Copy, 6 * n);
    Register("B/row" + size, "ours", Row, edge);
    Register("B/row" + size, "limit", CopyIntoNewBlock, std::int64_t{8} * edge, std::int64_t{0});
    Register("B/column" + size, "ours", Column, edge);
    Register("B/column" + size, "limit", StridedLoop, edge);
  }
  return true;
}();

}  // namespace
