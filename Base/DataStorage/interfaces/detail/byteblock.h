#pragma once

#include <cstddef>
#include <memory>
#include <string_view>
#include <utility>

#include <DataStorage/interfaces/lgar.h>

namespace detail {

struct FreeBlock {
  std::size_t bytes = 0;
  void operator()(char* block) const noexcept { lgar_FreeBlock(block, bytes); }
};

/// A growing block of bytes that are not initialised, because all of them are written next.
class ByteBlock {
 public:
  std::size_t Size() const noexcept { return size_; }
  std::string_view Bytes() const noexcept { return {bytes_.get(), size_}; }
  void Clear() noexcept { size_ = 0; }
  /// Appends `n` bytes and returns the first of them; those before are kept, perhaps at another address.
  char* Append(std::size_t n) {
    if (n > capacity_ - size_) {
      Block larger(static_cast<char*>(lgar_AllocateBlock(size_ + n)), FreeBlock{size_ + n});
      if (size_ > 0) std::memcpy(larger.get(), bytes_.get(), size_);
      bytes_ = std::move(larger);
      capacity_ = size_ + n;
    }
    return bytes_.get() + std::exchange(size_, size_ + n);
  }

 private:
  using Block = std::unique_ptr<char[], FreeBlock>;

  Block bytes_;
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;
};

}  // namespace detail
