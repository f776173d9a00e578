// following FILE SCREENS PROMPT RATE DATA appends so many data of 4 KiB to a new series file, RATE in a
// second or, for 0, as fast as it can. Meanwhile so many processes follow it like screens, with long pauses,
// and so many promptly. It writes as JSON how long the appends took, in microseconds, how many there were in
// a second, and how long it was from the call of Append until one follower had seen the datum, a prompt one
// if there is any. The file stays.
//
// Times are those of the clock, since what is measured is how processes delay each other.

#include "io/following.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <iostream>
#include <string>
#include <sys/mman.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include <DataStorage/data/darray1d.h>
#include <DataStorage/series/storedseries.h>

namespace {

using dseries::Following;
using Clock = std::chrono::steady_clock;  // the same in all processes

/// When each datum was appended and seen, in memory that all processes share.
struct Times {
  Clock::time_point begun, done, seen;
};

Times* SharedTimes(std::size_t data) {
  void* memory =
      ::mmap(nullptr, data * sizeof(Times), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) std::exit(1);
  return static_cast<Times*>(memory);
}

/// Follows the file up to its last datum, and keeps the times unless they are null.
void Follow(const char* path, Following::Clock::duration pause, int data, Times* times) {
  if (pause == Following::long_pause) dseries::LetOthersRun();
  Following following(path, Following::usual_poll, pause);
  for (int seen = 0; seen < data;) {
    const dseries::News news = following.Next(Clock::now() + std::chrono::seconds(30));
    if (news.kind != dseries::News::Data) std::_Exit(1);
    const Clock::time_point now = Clock::now();
    for (; times != nullptr && seen < news.end; ++seen) times[seen].seen = now;
    seen = news.end;
  }
  std::_Exit(0);
}

double Microseconds(Clock::duration time) { return std::chrono::duration<double, std::micro>(time).count(); }

void Print(const char* name, std::vector<double> times) {
  std::sort(times.begin(), times.end());
  std::cout << ", \"" << name << "\": {\"median\": " << times[times.size() / 2]
            << ", \"99 of 100\": " << times[times.size() * 99 / 100] << ", \"most\": " << times.back() << "}";
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 6) return 2;
  const char* path = argv[1];
  const int screens = std::atoi(argv[2]), prompt = std::atoi(argv[3]), rate = std::atoi(argv[4]);
  const int data = std::atoi(argv[5]);
  Times* const times = SharedTimes(static_cast<std::size_t>(data));

  dtsr_cDimensionArray dimensions;
  dimensions.Dimension(0) = {data, cal_c1DArrayCal(), "number", "", false};
  dtsr_cFileSeries<darr_c1DArray> series(path, dimensions);
  std::vector<pid_t> children;
  for (int i = 0; i < prompt + screens; ++i) {
    children.push_back(::fork());
    if (children.back() != 0) continue;
    Follow(path, i < prompt ? Following::short_pause : Following::long_pause, data, i == 0 ? times : nullptr);
  }
  std::this_thread::sleep_for(std::chrono::seconds(1));  // until all of them wait

  const darr_c1DArray array(2048, dtyp_SBin16, cal_c1DArrayCal());
  const Clock::time_point begin = Clock::now();
  const std::clock_t processor = std::clock();
  for (int i = 0; i < data; ++i) {
    if (rate > 0)
      std::this_thread::sleep_until(begin + std::chrono::nanoseconds(std::int64_t{1'000'000'000} * i / rate));
    times[i].begun = Clock::now();
    series.Append(array, dtsr_cDataTag(i));
    times[i].done = Clock::now();
  }
  const double used = static_cast<double>(std::clock() - processor) * 1e6 / CLOCKS_PER_SEC;
  const Clock::duration took = Clock::now() - begin;
  for (const pid_t child : children) {
    int status = 0;
    ::waitpid(child, &status, 0);
    if (status != 0) return 1;
  }

  std::vector<double> appends, latencies;
  double sum = 0;
  for (int i = 0; i < data; ++i) {
    appends.push_back(Microseconds(times[i].done - times[i].begun));
    latencies.push_back(Microseconds(times[i].seen - times[i].begun));
    sum += appends.back();
  }
  std::cout << "{\"screens\": " << screens << ", \"prompt\": " << prompt
            << ", \"appends in a second\": " << 1e6 * data / Microseconds(took)
            << ", \"mean append\": " << sum / data << ", \"processor\": " << used / data;
  Print("append", appends);
  if (prompt + screens > 0) Print("seen after", latencies);
  std::cout << "}\n";
}
