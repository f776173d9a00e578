#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <vector>

#include "seeds.h"
#include "targets.h"

namespace {

class FuzzTargets : public testing::TestWithParam<FuzzTarget> {
 protected:
  static void Run(const std::string& bytes) {
    // From a block of its own, in which the sanitizer sees every step beyond its ends.
    const std::vector<std::uint8_t> block(bytes.begin(), bytes.end());
    EXPECT_EQ(GetParam().run(block.data(), block.size()), 0);
  }
};

INSTANTIATE_TEST_SUITE_P(, FuzzTargets, testing::ValuesIn(fuzz_targets),
                         [](const auto& target) { return std::string(target.param.name); });

TEST_P(FuzzTargets, PastFindings) {
  const std::filesystem::path folder = std::filesystem::path(FUZZ_REGRESSIONS) / GetParam().name;
  if (!std::filesystem::exists(folder)) GTEST_SKIP() << "nothing was found yet";
  for (const auto& input : std::filesystem::directory_iterator(folder)) {
    SCOPED_TRACE(input.path());
    Run((std::ostringstream() << std::ifstream(input.path(), std::ios::binary).rdbuf()).str());
  }
}

/// What the library wrote: whole, cut off at many places, and with one bit wrong at many places.
TEST_P(FuzzTargets, SeedsWholeAndDamaged) {
  int seeds = 0;
  for (const Seed& seed : Seeds()) {
    if (seed.target != GetParam().name) continue;
    ++seeds;
    Run(seed.bytes);
    const std::size_t step = 1 + seed.bytes.size() / 80;
    for (std::size_t i = 0; i < seed.bytes.size(); i += step) {
      Run(seed.bytes.substr(0, i));
      for (const int change : {0x01, 0x80}) {
        std::string damaged = seed.bytes;
        damaged[i] = static_cast<char>(damaged[i] ^ change);
        Run(damaged);
      }
    }
  }
  EXPECT_GT(seeds, 0);
}

}  // namespace
