// growth FILE DATA makes a series file of so many small data and reads it again. It writes how long each step
// took for one datum, in nanoseconds, as JSON. The file stays.
//
// growth list POINTS makes a list of so many positions and moves them, many short lists one after the other.
// It writes how long each step took for one position, in nanoseconds, as JSON.
//
// growth run PROGRAM ARGUMENT... runs a program. It writes how long that took, in seconds, and the most
// memory that the program had, in MiB, as JSON; what the program writes goes nowhere.
//
// All times are those of the processor, which other programs disturb least.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <string_view>
#include <sys/resource.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>
#include <vector>

#include <DataStorage/data/darray1d.h>
#include <DataStorage/positions/poslist.h>
#include <DataStorage/series/storedseries.h>

namespace {

using Series = dtsr_cFileSeries<darr_c1DArray>;

double ProcessorSeconds() {
  timespec now;
  ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

template <class Work>
void Measure(const char* step, int data, const Work& work) {
  const double begin = ProcessorSeconds();
  work();
  std::cout << ", \"" << step << "\": " << 1e9 * (ProcessorSeconds() - begin) / data;
}

void Search(const Series& series) {
  if (series.DataIndex(dtsr_c2DPosition(-1, 0, 0), false) >= 0) std::abort();
}

double Seconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
}

void Run(char** command) {
  const pid_t process = ::fork();
  if (process == 0) {
    if (std::freopen("/dev/null", "w", stdout) != nullptr) ::execv(command[0], command);
    ::_exit(127);
  }
  int status = 0;
  rusage usage{};
  if (process < 0 || ::wait4(process, &status, 0, &usage) != process || status != 0) std::exit(1);
  std::cout << "{\"seconds\": " << Seconds(usage.ru_utime) + Seconds(usage.ru_stime)
            << ", \"mebibytes\": " << static_cast<double>(usage.ru_maxrss) / 1024
            << "}\n";  // of KiB, on Linux
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

struct Listener : mesg_cReceiver {
  void ReceiveMessage(unsigned long, mesg_cSender&, mesg_sMessageData*) override {}
};

void GrowList(int points) {
  std::vector<pos_c2DPositionList> lists(static_cast<std::size_t>(std::max(100'000 / points, 1)));
  const auto measure = [&](const char* step, auto work) {
    Measure(step, points * static_cast<int>(lists.size()),
            [&] { std::for_each(lists.begin(), lists.end(), work); });
  };
  const auto add = [points](auto&& insert) {
    for (int i = 0; i < points; ++i) insert(new pos_c2DPosition(i % 173, i % 37));
  };
  std::cout << "{\"points\": " << points;
  measure("add at tail", [&](auto& list) { add([&](pos_c2DPosition* each) { list.AddAtTail(each); }); });
  measure("move each", [](auto& list) {
    for (pos_c2DPosition* each : list) each->Move(1, 0);
  });
  measure("clear", [](auto& list) { list.Clear(); });
  measure("add at head", [&](auto& list) { add([&](pos_c2DPosition* each) { list.AddAtHead(each); }); });
  Listener listener;
  for (pos_c2DPositionList& list : lists) list.AddReceiver(listener, 0xFFFF);
  measure("move all, heard", [](auto& list) { list.Center().Move(1, 0); });
  std::cout << "}\n";
}

}  // namespace

int main(int, char** arguments) {
  if (std::string_view(arguments[1]) == "run") {
    Run(arguments + 2);
  } else if (std::string_view(arguments[1]) == "list") {
    GrowList(std::atoi(arguments[2]));
  } else {
    Grow(arguments[1], std::atoi(arguments[2]));
  }
}
