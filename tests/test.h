#pragma once

#include <algorithm>
#include <array>
#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <initializer_list>
#include <iterator>
#include <limits>
#include <memory>
#include <numbers>
#include <numeric>
#include <optional>
#include <random>
#include <sstream>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

// Included by all tests, with names that many of them use.

using namespace std::string_literals;

constexpr int largest = std::numeric_limits<int>::max();
constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double not_a_number = std::numeric_limits<double>::quiet_NaN();

/// Whether files can be locked here; not in plain C++.
#if defined(DATASTORAGE_PLAIN_SYSTEM)
constexpr bool system_has_locks = false;
#else
constexpr bool system_has_locks = true;
#endif
/// Whether the holder of a lock can be named.
#if defined(__linux__)
constexpr bool system_knows_holders = system_has_locks;
#else
constexpr bool system_knows_holders = false;
#endif

/// The seed of a random test: printed, and taken from DATASTORAGE_SEED if that is set, so that a run can be
/// repeated.
inline unsigned RandomSeed() {
  const char* given = std::getenv("DATASTORAGE_SEED");
  const unsigned seed =
      given != nullptr ? static_cast<unsigned>(std::strtoul(given, nullptr, 0)) : std::random_device()();
  std::printf("DATASTORAGE_SEED=%u\n", seed);
  return seed;
}
