// Series files beside the same work done with plain positioned calls.

#if __has_include(<unistd.h>)
#include <array>
#include <benchmark/benchmark.h>
#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>
#include <vector>

#include <DataStorage/series/fileseries.h>
#include <DataStorage/series/seriesbase.h>

namespace {

constexpr int Slots = 20000;
constexpr std::int64_t TagBytes = 24;
const str_cString path = "series_bench.tmp";  // where the program was started: that disk is measured

dtsr_cDimensionArray Dimensions(int slots = Slots) {
  dtsr_cDimensionArray dimensions;
  dimensions.Dimension(0) = {slots, cal_c1DArrayCal(), "x", "mm", false};
  return dimensions;
}

/// A series of blocks of bytes.
class Series : public dtsr_cFileSeriesBase, public dtsr_cDataSeriesBase {
 public:
  explicit Series(const dtsr_cDimensionArray& dimensions)
      : dtsr_cFileSeriesBase(path, dimensions, 1), dtsr_cDataSeriesBase(dimensions) {}
  Series() : dtsr_cFileSeriesBase(path, 1), dtsr_cDataSeriesBase(dtsr_cDimensionArray(0)) {}

  using dtsr_cFileSeriesBase::offsetListPosition_;
  int Size() const override { return dtsr_cFileSeriesBase::Size(); }
  int NextWriteIndex() const override { return dtsr_cFileSeriesBase::NextWriteIndex(); }
  void ResetWriteIndex() override { dtsr_cFileSeriesBase::ResetWriteIndex(); }
  void GetTag(int i, dtsr_cDataTag& tag) const override { dtsr_cFileSeriesBase::GetTag(i, tag); }
  dtsr_cDataTag* pSampleTag() const override { return dtsr_cFileSeriesBase::pSampleTag(); }
  unsigned int TagTypeID() const override { return dtsr_cFileSeriesBase::TagTypeID(); }

  void Append(const std::vector<char>& datum, const dtsr_cDataTag& tag) {
    file_.Output().Seek(dataOffsets_[NextWriteIndex()]);
    file_.Output().Write(datum.data(), static_cast<std::int64_t>(datum.size()));
    SetNewestTag(tag);
  }
  void Read(int i, std::vector<char>& datum) {
    file_.Input().Seek(dataOffsets_[i]);
    file_.Input().Read(datum.data(), static_cast<std::int64_t>(datum.size()));
  }
  std::int64_t DataOffset(int i) const { return dataOffsets_[i]; }
  std::int64_t TagOffset(int i) const { return tagOffsets_[i]; }
};

struct RemoveAtEnd {
  ~RemoveAtEnd() { std::remove(path.CString()); }
};

/// A plain file descriptor on the series file.
class Plain {
 public:
  Plain() : file_(::open(path.CString(), O_RDWR | O_CREAT, 0666)) {}
  Plain(const Plain&) = delete;
  Plain& operator=(const Plain&) = delete;
  ~Plain() { ::close(file_); }
  void Write(const void* bytes, std::size_t n, std::int64_t at) {
    good = ::pwrite(file_, bytes, n, at) > 0 && good;
  }
  void Read(void* bytes, std::size_t n, std::int64_t at) { good = ::pread(file_, bytes, n, at) > 0 && good; }
  bool good = true;

 private:
  int file_;
};

void FillFile(const std::vector<char>& datum) {
  Series series(Dimensions());
  for (int i = 0; i < Slots; ++i) series.Append(datum, dtsr_c2DPosition(i, 0, i));
}

void Append(benchmark::State& state) {
  const RemoveAtEnd at_end;
  const std::vector<char> datum(static_cast<std::size_t>(state.range(0)), 'd');
  Series series(Dimensions());
  int i = 0;
  for (auto _ : state) {
    if (++i == Slots) {
      state.PauseTiming();
      series.ResetWriteIndex();
      i = 0;
      state.ResumeTiming();
    }
    series.Append(datum, dtsr_c2DPosition(i, 0, i));
  }
  state.SetItemsProcessed(state.iterations());
}

void AppendPlain(benchmark::State& state) {
  const RemoveAtEnd at_end;
  const std::vector<char> datum(static_cast<std::size_t>(state.range(0)), 'd');
  const std::array<char, TagBytes> tag{};
  Plain file;
  std::int64_t i = 0;
  for (auto _ : state) {
    i = (i + 1) % Slots;
    const std::int64_t at = 100 + 8 * Slots + i * (state.range(0) + TagBytes);
    const auto word = static_cast<std::int32_t>(at);
    file.Write(datum.data(), datum.size(), at);
    file.Write(tag.data(), tag.size(), at + state.range(0));
    file.Write(&word, 4, 100 + 4 * i);
    file.Write(&word, 4, 100 + 4 * (Slots + i));
    file.Write(&word, 4, 18);
  }
  if (!file.good) state.SkipWithError("a write failed");
  state.SetItemsProcessed(state.iterations());
}

int Place(std::int64_t i, bool random) { return static_cast<int>((random ? i * 7919 : i) % Slots); }

void ReadData(benchmark::State& state) {
  const RemoveAtEnd at_end;
  std::vector<char> datum(static_cast<std::size_t>(state.range(0)), 'd');
  FillFile(datum);
  Series series;
  std::int64_t i = 0;
  for (auto _ : state) series.Read(Place(i++, state.range(1) != 0), datum);
  state.SetBytesProcessed(state.iterations() * state.range(0));
}

void ReadDataPlain(benchmark::State& state) {
  const RemoveAtEnd at_end;
  std::vector<char> datum(static_cast<std::size_t>(state.range(0)), 'd');
  FillFile(datum);
  const Series series;
  Plain file;
  std::int64_t i = 0;
  for (auto _ : state) {
    file.Read(datum.data(), datum.size(), series.DataOffset(Place(i++, state.range(1) != 0)));
  }
  state.SetBytesProcessed(state.iterations() * state.range(0));
}

void FindTag(benchmark::State& state) {
  const RemoveAtEnd at_end;
  FillFile(std::vector<char>(static_cast<std::size_t>(state.range(0)), 'd'));
  const Series series;
  const dtsr_c2DPosition wanted(-1, 0, 0);  // not there: all tags are compared
  for (auto _ : state) benchmark::DoNotOptimize(series.DataIndex(wanted, false));
  state.SetItemsProcessed(state.iterations() * Slots);
}

void FindTagPlain(benchmark::State& state) {
  const RemoveAtEnd at_end;
  FillFile(std::vector<char>(static_cast<std::size_t>(state.range(0)), 'd'));
  const Series series;
  Plain file;
  std::array<char, TagBytes> tag{};
  for (auto _ : state) {
    for (int i = 0; i < Slots; ++i) {
      file.Read(tag.data(), tag.size(), series.TagOffset(i));
      benchmark::DoNotOptimize(tag);
    }
  }
  state.SetItemsProcessed(state.iterations() * Slots);
}

void FillSlots(benchmark::State& state) {
  Series series(Dimensions(static_cast<int>(state.range(0))));
  while (series.NextWriteIndex() < series.Size()) series.Append({'d'}, dtsr_cDataTag(0));
}

void Open(benchmark::State& state) {
  const RemoveAtEnd at_end;
  FillSlots(state);
  for (auto _ : state) benchmark::DoNotOptimize(Series().Size());
  state.SetItemsProcessed(state.iterations());
}

void OpenPlain(benchmark::State& state) {
  const RemoveAtEnd at_end;
  FillSlots(state);
  const std::int64_t lists_at = Series().offsetListPosition_;
  for (auto _ : state) {
    Plain file;
    std::array<char, 26> header{};
    std::vector<std::int32_t> lists(static_cast<std::size_t>(2 * state.range(0)));
    file.Read(header.data(), header.size(), 0);
    file.Read(lists.data(), 4 * lists.size(), lists_at);
    benchmark::DoNotOptimize(lists.data());
  }
  state.SetItemsProcessed(state.iterations());
}

BENCHMARK(Append)->Name("Series/Append/Ours")->ArgName("bytes")->Arg(16)->Arg(4096);
BENCHMARK(AppendPlain)->Name("Series/Append/FivePwrites")->ArgName("bytes")->Arg(16)->Arg(4096);
BENCHMARK(ReadData)
    ->Name("Series/Read/Ours")
    ->ArgNames({"bytes", "random"})
    ->Args({4096, 0})
    ->Args({4096, 1});
BENCHMARK(ReadDataPlain)
    ->Name("Series/Read/OnePread")
    ->ArgNames({"bytes", "random"})
    ->Args({4096, 0})
    ->Args({4096, 1});
BENCHMARK(FindTag)->Name("Series/FindTag/Ours")->ArgName("bytes")->Arg(16)->Arg(4096);
BENCHMARK(FindTagPlain)->Name("Series/FindTag/PreadEach")->ArgName("bytes")->Arg(16)->Arg(4096);
BENCHMARK(Open)->Name("Series/Open/Ours")->ArgName("slots")->Arg(100)->Arg(Slots);
BENCHMARK(OpenPlain)->Name("Series/Open/TwoPreads")->ArgName("slots")->Arg(100)->Arg(Slots);

}  // namespace
#endif
