#include "test.h"
#include <DataStorage/interfaces/lgar.h>

namespace {

TEST(Block, CopiesAndReplicatesElementsOfEverySize) {
  const std::string element = "abcdefghijklmnopqrstuvwxyz";
  for (const std::size_t size : {1U, 3U, 16U}) {
    std::string filled(5 * size + 1, '.');
    lgar_memset(filled.data(), element.data(), 5, size);
    std::string expected;
    for (int i = 0; i < 5; ++i) expected += element.substr(0, size);
    EXPECT_EQ(filled, expected + ".");

    std::string copy(5 * size + 1, '.');
    lgar_memcpy(copy.data(), filled.data(), 5, size);
    lgar_memcpy(copy.data(), element.data(), -1, size);
    EXPECT_EQ(copy, filled);
  }
}

TEST(Block, IsAlignedAndWritableToItsEnd) {
  for (const std::size_t bytes :
       {std::size_t{0}, std::size_t{1}, (std::size_t{4} << 20) - 1, (std::size_t{4} << 20) + 1}) {
    void* block = lgar_AllocateBlock(bytes);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % alignof(std::max_align_t), 0U);
    lgar_memset(block, "x", static_cast<std::int64_t>(bytes), 1);
    lgar_FreeBlock(block, bytes);
  }
}

}  // namespace
