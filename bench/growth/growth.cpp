// growth FILE DATA makes a series file of so many small data and reads it again. Writes how long each step
// took for one datum, in nanoseconds, as JSON. The file stays. growth run PROGRAM ARGUMENT... runs a program
// and writes how long it took, in seconds, and the most memory that it had, in MiB, as JSON; what it writes
// goes nowhere.

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <string_view>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <DataStorage/data/darray1d.h>
#include <DataStorage/series/storedseries.h>

namespace {

using Series = dtsr_cFileSeries<darr_c1DArray>;

template <class Work>
double Seconds(const Work& work) {
  const auto begin = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

template <class Work>
void Measure(const char* step, int data, const Work& work) {
  std::cout << ", \"" << step << "\": " << 1e9 * Seconds(work) / data;
}

void Search(const Series& series) {
  if (series.DataIndex(dtsr_c2DPosition(-1, 0, 0), false) >= 0) std::abort();
}

void Run(char** command) {
  int status = 0;
  rusage usage{};
  const double seconds = Seconds([&] {
    const pid_t process = ::fork();
    if (process == 0) {
      const bool silent = std::freopen("/dev/null", "w", stdout) != nullptr;
      if (silent) ::execv(command[0], command);
      ::_exit(127);
    }
    if (process < 0 || ::wait4(process, &status, 0, &usage) != process || status != 0) std::exit(1);
  });
  // Linux counts in KiB.
  std::cout << "{\"seconds\": " << seconds
            << ", \"mebibytes\": " << static_cast<double>(usage.ru_maxrss) / 1024 << "}\n";
}

void Grow(const char* path, int data) {
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

}  // namespace

int main(int, char** arguments) {
  if (std::string_view(arguments[1]) == "run") {
    Run(arguments + 2);
  } else {
    Grow(arguments[1], std::atoi(arguments[2]));
  }
}
