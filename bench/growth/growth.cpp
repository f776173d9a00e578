// Makes a series file of so many small data and reads it again. Writes how long each step took for one datum,
// in nanoseconds, as JSON. The file stays.

#include <chrono>
#include <cstdlib>
#include <iostream>
#include <memory>

#include <DataStorage/data/darray1d.h>
#include <DataStorage/series/storedseries.h>

namespace {

using Series = dtsr_cFileSeries<darr_c1DArray>;

template <class Work>
void Measure(const char* step, int data, const Work& work) {
  const auto begin = std::chrono::steady_clock::now();
  work();
  const std::chrono::duration<double, std::nano> taken = std::chrono::steady_clock::now() - begin;
  std::cout << ", \"" << step << "\": " << taken.count() / data;
}

void Search(const Series& series) {
  if (series.DataIndex(dtsr_c2DPosition(-1, 0, 0), false) >= 0) std::abort();
}

}  // namespace

int main(int, char** arguments) {
  const char* const path = arguments[1];
  const int data = std::atoi(arguments[2]);
  dtsr_cDimensionArray dimensions;
  dimensions.Dimension(0) = {data, cal_c1DArrayCal(0, 0.5), "x", "mm", false};
  const darr_c1DArray array(4, dtyp_Float32, cal_c1DArrayCal());
  std::cout << "{\"data\": " << data;

  auto series = std::make_unique<Series>(path, dimensions);
  Measure("append", data, [&] {
    for (int i = 0; i < data; ++i) series->Append(array, dtsr_c2DPosition(i, 0, i));
  });
  series.reset();
  Measure("open", data, [&] { series = std::make_unique<Series>(path); });
  Measure("first search", data, [&] { Search(*series); });
  Measure("later search", data, [&] { Search(*series); });
  Measure("read", data, [&] {
    for (int i = 0; i < data; ++i) {
      if (series->Datum(i).NumIndices() != array.NumIndices()) std::abort();
    }
  });
  std::cout << "}\n";
}
