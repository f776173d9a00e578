#pragma once

#include "series.h"

/// So many data are synced together.
constexpr int Group = 100;

/// A row of the work K, in the time that passes.
template <class File>
void RegisterSynced(const char* what, const char* who) {
  benchmark::RegisterBenchmark((std::string("K/") + what + "/4K/" + who).c_str(), Append<File>, 4096)
      ->UseRealTime();
}
