// Number arrays beside memcpy and plain loops over the same elements. What makes new elements is compared
// with the same traffic into a block that is new as well.

#include <benchmark/benchmark.h>
#include <cstring>
#include <memory>

#include <DataStorage/arrays/parray2d.h>

namespace {

constexpr dtyp_cDataType Double = dtyp_Float64;

void Sizes(benchmark::internal::Benchmark* bench) {
  bench->ArgName("elements")->Arg(1 << 10)->Arg(1 << 15)->Arg(1 << 24);
}
/// Edges of square arrays with these numbers of elements.
void Edges(benchmark::internal::Benchmark* bench) {
  bench->ArgName("edge")->Arg(1 << 5)->Arg(1 << 8)->Arg(1 << 12);
}

/// As many elements as the inner three quarters of both axes have.
void BlockSizes(benchmark::internal::Benchmark* bench) {
  bench->ArgName("elements")->Arg(24 * 24)->Arg(192 * 192)->Arg(3072 * 3072);
}

void SetBytes(benchmark::State& state, std::int64_t elements) {
  state.SetBytesProcessed(state.iterations() * elements * 8);
}

struct FreeBlock {
  std::size_t bytes;
  void operator()(double* block) const { lgar_FreeBlock(block, bytes); }
};
std::unique_ptr<double, FreeBlock> NewBlock(std::int64_t elements) {
  const auto bytes = static_cast<std::size_t>(elements) * 8;
  return {static_cast<double*>(lgar_AllocateBlock(bytes)), FreeBlock{bytes}};
}

void ArrayCopy(benchmark::State& state) {
  const parr_c1DNumberArray array(1024, Double);
  for (auto _ : state) {
    parr_c1DNumberArray copy(array);
    benchmark::DoNotOptimize(&copy);
  }
}
void ArrayCopy_NewAndDelete(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(std::make_unique<std::pair<double, double>>());
}
BENCHMARK(ArrayCopy);
BENCHMARK(ArrayCopy_NewAndDelete);

void FirstWrite(benchmark::State& state) {
  const int n = static_cast<int>(state.range(0));
  const parr_c1DNumberArray array(n, Double);
  const pnum_cNumber value(1.0);
  for (auto _ : state) {
    parr_c1DNumberArray copy(array);
    copy.SetValue(value, 0);
    benchmark::DoNotOptimize(copy.Data());
  }
  SetBytes(state, n);
}
void Selection1D(benchmark::State& state) {
  const int n = static_cast<int>(state.range(0));
  const parr_c1DNumberArray array(n + 16, Double);
  for (auto _ : state) benchmark::DoNotOptimize(array.Selection(16, n + 16).Data());
  SetBytes(state, n);
}
void NewBlock_Memcpy(benchmark::State& state) {
  const std::int64_t n = state.range(0);
  const auto source = NewBlock(n);
  std::fill_n(source.get(), n, 1.0);
  for (auto _ : state) {
    const auto target = NewBlock(n);
    std::memcpy(target.get(), source.get(), static_cast<std::size_t>(n) * 8);
    benchmark::DoNotOptimize(target.get());
    benchmark::ClobberMemory();
  }
  SetBytes(state, n);
}
BENCHMARK(FirstWrite)->Apply(Sizes);
BENCHMARK(Selection1D)->Apply(Sizes);
BENCHMARK(NewBlock_Memcpy)->Apply(Sizes);

template <class Source>
void Store1D(benchmark::State& state) {
  const int n = static_cast<int>(state.range(0));
  const parr_c1DNumberArray source(n, dtyp_cDataType(detail::DataTypeOf<Source>));
  parr_c1DNumberArray target(n, Double);
  for (auto _ : state) {
    target.SetSelection(source, 0);
    benchmark::DoNotOptimize(target.Data());
  }
  SetBytes(state, n);
}
void Store_Memcpy(benchmark::State& state) {
  const std::int64_t n = state.range(0);
  const auto source = NewBlock(n);
  const auto target = NewBlock(n);
  std::fill_n(source.get(), n, 1.0);
  for (auto _ : state) {
    std::memcpy(target.get(), source.get(), static_cast<std::size_t>(n) * 8);
    benchmark::ClobberMemory();
  }
  SetBytes(state, n);
}
BENCHMARK(Store1D<double>)->Apply(Sizes);
BENCHMARK(Store1D<float>)->Apply(Sizes);
BENCHMARK(Store_Memcpy)->Apply(Sizes);

/// The inner three quarters of each axis.
struct Block {
  explicit Block(const benchmark::State& state) : edge(static_cast<int>(state.range(0))) {}
  int edge;
  int start = edge / 8;
  int size = edge * 3 / 4;
};

void Selection2D(benchmark::State& state) {
  const Block block(state);
  const parr_c2DNumberArray array(block.edge, block.edge, Double);
  const int end = block.start + block.size;
  for (auto _ : state) benchmark::DoNotOptimize(array.Selection(block.start, block.start, end, end).Data());
  SetBytes(state, std::int64_t{block.size} * block.size);
}
BENCHMARK(Selection2D)->Apply(Edges);
BENCHMARK(NewBlock_Memcpy)->Apply(BlockSizes);

template <class Source>
void Store2D(benchmark::State& state) {
  const Block block(state);
  const parr_c2DNumberArray source(block.size, block.size, dtyp_cDataType(detail::DataTypeOf<Source>));
  parr_c2DNumberArray target(block.edge, block.edge, Double);
  for (auto _ : state) {
    target.SetSelection(source, block.start, block.start);
    benchmark::DoNotOptimize(target.Data());
  }
  SetBytes(state, std::int64_t{block.size} * block.size);
}
BENCHMARK(Store2D<double>)->Apply(Edges);
BENCHMARK(Store2D<float>)->Apply(Edges);
BENCHMARK(Store_Memcpy)->Apply(BlockSizes);

void Row(benchmark::State& state) {
  const int edge = static_cast<int>(state.range(0));
  const parr_c2DNumberArray array(edge, edge, Double);
  for (auto _ : state) benchmark::DoNotOptimize(array.Row(edge / 2).Data());
  SetBytes(state, edge);
}
void Column(benchmark::State& state) {
  const int edge = static_cast<int>(state.range(0));
  const parr_c2DNumberArray array(edge, edge, Double);
  for (auto _ : state) benchmark::DoNotOptimize(array.Column(edge / 2).Data());
  SetBytes(state, edge);
}
void Line_StridedLoop(benchmark::State& state, bool column) {
  const std::int64_t edge = state.range(0);
  const auto source = NewBlock(edge * edge);
  std::fill_n(source.get(), edge * edge, 1.0);
  for (auto _ : state) {
    const auto target = NewBlock(edge);
    const double* from = source.get() + (column ? edge / 2 : edge / 2 * edge);
    if (column) {
      for (std::int64_t i = 0; i < edge; ++i) target.get()[i] = from[i * edge];
    } else {
      std::memcpy(target.get(), from, static_cast<std::size_t>(edge) * 8);
    }
    benchmark::DoNotOptimize(target.get());
    benchmark::ClobberMemory();
  }
  SetBytes(state, edge);
}
BENCHMARK(Row)->Apply(Edges);
BENCHMARK_CAPTURE(Line_StridedLoop, row, false)->Apply(Edges);
BENCHMARK(Column)->Apply(Edges);
BENCHMARK_CAPTURE(Line_StridedLoop, column, true)->Apply(Edges);

}  // namespace
