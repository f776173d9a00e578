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

// What all tests include, and the names that many of them need.

using namespace std::string_literals;

constexpr int largest = std::numeric_limits<int>::max();
constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double not_a_number = std::numeric_limits<double>::quiet_NaN();

/// Whether files can be locked here; in plain C++ they cannot.
#if defined(DATASTORAGE_PLAIN_SYSTEM)
constexpr bool system_has_locks = false;
#else
constexpr bool system_has_locks = true;
#endif

/// Where the randomness of a test begins: told, and taken from DATASTORAGE_SEED where that is set, so that a
/// run can be had again.
inline unsigned RandomSeed() {
  const char* given = std::getenv("DATASTORAGE_SEED");
  const unsigned seed =
      given != nullptr ? static_cast<unsigned>(std::strtoul(given, nullptr, 0)) : std::random_device()();
  std::printf("DATASTORAGE_SEED=%u\n", seed);
  return seed;
}
