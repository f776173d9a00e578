#pragma once

#include <cstdio>
#include <cstdlib>
#include <random>

/// Where the randomness of a test begins: told, and taken from DATASTORAGE_SEED where that is set, so that a
/// run can be had again.
inline unsigned Seed() {
  const char* given = std::getenv("DATASTORAGE_SEED");
  const unsigned seed =
      given != nullptr ? static_cast<unsigned>(std::strtoul(given, nullptr, 0)) : std::random_device()();
  std::printf("DATASTORAGE_SEED=%u\n", seed);
  return seed;
}
