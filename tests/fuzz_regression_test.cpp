#include <filesystem>

#include "seeds.h"
#include "targets.h"
#include "test.h"

namespace {

void Feed(const FuzzTarget& target, const std::string& bytes) {
  // In a block of its own, so that the sanitizer detects accesses beyond its ends.
  const std::vector<std::uint8_t> block(bytes.begin(), bytes.end());
  EXPECT_EQ(target.run(block.data(), block.size()), 0);
}

TEST(FuzzTargets, PastFindings) {
  for (const FuzzTarget& target : fuzz_targets) {
    const std::filesystem::path folder = std::filesystem::path(FUZZ_REGRESSIONS) / target.name;
    if (!std::filesystem::exists(folder)) continue;  // no findings yet
    for (const auto& input : std::filesystem::directory_iterator(folder)) {
      SCOPED_TRACE(input.path());
      Feed(target, (std::ostringstream() << std::ifstream(input.path(), std::ios::binary).rdbuf()).str());
    }
  }
}

/// Output of the library: whole, cut off at many places, and with one bit changed at many places.
class DamagedSeeds : public testing::TestWithParam<FuzzTarget> {};

INSTANTIATE_TEST_SUITE_P(, DamagedSeeds, testing::ValuesIn(fuzz_targets),
                         [](const auto& target) { return std::string(target.param.name); });

TEST_P(DamagedSeeds, KeepThePromises) {
  int seeds = 0;
  for (const Seed& seed : Seeds()) {
    if (seed.target != GetParam().name) continue;
    ++seeds;
    Feed(GetParam(), seed.bytes);
    const std::size_t step = 1 + seed.bytes.size() / 80;
    for (std::size_t i = 0; i < seed.bytes.size(); i += step) {
      Feed(GetParam(), seed.bytes.substr(0, i));
      for (const int change : {0x01, 0x80}) {
        std::string damaged = seed.bytes;
        damaged[i] = static_cast<char>(damaged[i] ^ change);
        Feed(GetParam(), damaged);
      }
    }
  }
  EXPECT_GT(seeds, 0);
}

}  // namespace
