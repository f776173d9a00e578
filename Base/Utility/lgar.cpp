#include <new>

#include <DataStorage/interfaces/lgar.h>
#include <Utility/system.h>

namespace {

/// Blocks from LargeBlock on use huge pages: there the time that the system takes to provide pages dominates.
constexpr std::size_t HugePage = std::size_t{2} << 20;
constexpr std::size_t LargeBlock = 2 * HugePage;

}  // namespace

void* lgar_AllocateBlock(std::size_t bytes) {
  if (bytes < LargeBlock) return ::operator new(bytes);
  void* block = ::operator new (bytes, std::align_val_t{HugePage});
  detail::UseHugePages(block, bytes);
  return block;
}

void lgar_FreeBlock(void* block, std::size_t bytes) noexcept {
  if (bytes < LargeBlock) {
    ::operator delete(block);
  } else {
    ::operator delete (block, std::align_val_t{HugePage});
  }
}
