#include <new>

#if __has_include(<sys/mman.h>) && __has_include(<unistd.h>)
#define DATASTORAGE_POSIX 1
#include <sys/mman.h>
#endif

#include <DataStorage/interfaces/lgar.h>

namespace {

constexpr std::size_t HugePage = std::size_t{2} << 20;
constexpr std::size_t LargeBlock = 2 * HugePage;

}  // namespace

void* lgar_AllocateBlock(std::size_t bytes) {
  if (bytes < LargeBlock) return ::operator new(bytes);
  void* block = ::operator new (bytes, std::align_val_t{HugePage});
#if defined(DATASTORAGE_POSIX) && defined(MADV_HUGEPAGE)
  ::madvise(block, bytes, MADV_HUGEPAGE);  // a hint: the block serves as well without
#endif
  return block;
}

void lgar_FreeBlock(void* block, std::size_t bytes) noexcept {
  if (bytes < LargeBlock) {
    ::operator delete(block);
  } else {
    ::operator delete (block, std::align_val_t{HugePage});
  }
}
