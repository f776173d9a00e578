// D: appending to a series file. E: reading and opening it, searching its tags. The limits are plain
// positioned system calls.

#if __has_include(<unistd.h>)
#include "plainfile.h"
#include <DataStorage/data/darray1d.h>
#include <DataStorage/series/storedseries.h>

namespace {

dtsr_cDimensionArray Dimensions() {
  dtsr_cDimensionArray dimensions;
  dimensions.Dimension(0) = {slots, cal_c1DArrayCal(), "x", "mm", false};
  return dimensions;
}

/// A series of plain bytes.
class Series : public dtsr_cStoredSeries<dtsr_cFileSeriesBase> {
 public:
  explicit Series(std::int64_t)
      : dtsr_cStoredSeries(TemporaryFile::path, Dimensions(), 1, bstr_CreateEmpty) {}
  Series(std::int64_t, Existing) : dtsr_cStoredSeries(TemporaryFile::path, 1, bstr_OpenExisting) {}

  void Append(const Datum& datum, int i) {
    AppendDatum(dtsr_c2DPosition(i, 0, i), [&](bstr_cBinary_ostream& out) {
      return out.Write(datum.data(), static_cast<std::int64_t>(datum.size()));
    });
  }
  void Reset() { ResetWriteIndex(); }
  void Read(int i, Datum& datum) {
    bReadDatum(i, [&](bstr_cBinary_istream& in) {
      return in.Read(datum.data(), static_cast<std::int64_t>(datum.size()));
    });
  }
  int Find(int x) const { return DataIndex(dtsr_c2DPosition(x, 0, 0), false); }
  static void Open() { benchmark::DoNotOptimize(Series(0, Existing()).Size()); }
};

/// A series of 1D arrays, which write themselves. Their raw form has 26 bytes beside the elements.
class ArraySeries {
 public:
  explicit ArraySeries(std::int64_t bytes)
      : array_(static_cast<int>(bytes - 26), dtyp_UBin8, cal_c1DArrayCal()),
        series_(TemporaryFile::path, Dimensions(), bstr_CreateEmpty) {}
  void Append(const Datum&, int i) { series_.Append(array_, dtsr_c2DPosition(i, 0, i)); }
  void Reset() { series_.ResetWriteIndex(); }

 private:
  darr_c1DArray array_;
  dtsr_cFileSeries<darr_c1DArray> series_;
};

[[maybe_unused]] const bool registered = [] {
  RegisterSeries<Series>("ours");
  RegisterSeries<PlainFile>("limit");
  for (const auto& [size, bytes] : {std::pair("16B", 16), std::pair("4K", 4096)}) {
    Register(std::string("E/first_search/") + size, "ours", FirstSearch<Series>, bytes);
    Register(std::string("E/first_search/") + size, "limit", FirstSearch<PlainFile>, bytes);
  }
  for (const auto& [size, bytes] :
       {std::pair("64B", 64), std::pair("4K", 4096), std::pair("64K", 65536), std::pair("1M", 1 << 20)}) {
    Register(std::string("D/append_array/") + size, "ours", Append<ArraySeries>, bytes);
    Register(std::string("D/append_array/") + size, "limit", Append<PlainFile>, bytes);
  }
  return true;
}();

}  // namespace
#endif
