#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <type_traits>
#include <utility>

#include <DataStorage/interfaces/arrerror.h>
#include <DataStorage/interfaces/detail/shared.h>
#include <DataStorage/interfaces/export.h>
#include <DataStorage/interfaces/lgar.h>

/// @file
/// Storage objects (arr_cArray, arr_cC_Array) hold one block of elements each, which the handles of arr.h
/// share. Reference counts are not atomic. Distinct objects may be used from different threads; one object,
/// or copies that share elements, from one thread at a time.
///
/// Bad positions throw arr_cIndexException, bad sizes (negative, or more than `detail::LargestCount`
/// elements) arr_cSizeException, both before anything is changed. Pointers to elements are valid until the
/// next non-const call on the handle or storage object they came from.

/// Selects constructors that leave elements uninitialised, for callers that write all of them next.
struct arr_sUnfilled {};
inline constexpr arr_sUnfilled arr_Unfilled{};

namespace detail {

/// The largest int is not a valid size: index arithmetic returns it for every larger count, so that these are
/// rejected.
inline constexpr std::int64_t LargestCount = std::numeric_limits<int>::max() - 1;

/// Returns `n`; throws arr_cSizeException when no array can have `n` elements.
inline std::int64_t CheckedCount(std::int64_t n) {
  if (n < 0 || n > LargestCount) arr_SizeError(n);
  return n;
}

/// Whether an array can have the extents `nx` and `ny`.
constexpr bool bCountable(std::int64_t nx, std::int64_t ny) noexcept {
  return nx >= 0 && nx <= LargestCount && ny >= 0 && ny <= LargestCount && nx * ny <= LargestCount;
}

/// Returns `nx` times `ny`; throws arr_cSizeException when no array can have these extents.
inline std::int64_t CheckedCount(std::int64_t nx, std::int64_t ny) {
  if (!bCountable(nx, ny)) arr_SizeError(nx, ny);
  return nx * ny;
}

/// Throws arr_cIndexException unless [offset, offset + count) lies in [0, size).
inline void CheckBlock(std::int64_t offset, std::int64_t count, std::int64_t size) {
  if (offset < 0 || count < 0 || count > size || offset > size - count) {
    const std::uint64_t end = static_cast<std::uint64_t>(offset) + static_cast<std::uint64_t>(count);
    arr_IndexError(offset, static_cast<std::int64_t>(end), size);
  }
}

/// Returns `i`; throws arr_cIndexException unless it is the index of one of `size` elements.
inline std::int64_t CheckedIndex(std::int64_t i, std::int64_t size) {
  if (i < 0 || i >= size) arr_IndexError(i, size);
  return i;
}

}  // namespace detail

/// A block of elements that are copied one by one with their own assignment operator.
template <class T>
class DATASTORAGE_TEMPLATE arr_cArray : public detail::Counted {
 public:
  /// `n` value-initialised elements (zeros for numbers, null for pointers).
  explicit arr_cArray(int n = 0) : arr_cArray(arr_Unfilled, n) {
    try {
      std::uninitialized_value_construct_n(block_, size_);
    } catch (...) {
      lgar_FreeBlock(block_, Bytes());
      block_ = nullptr;
      size_ = 0;
      throw;
    }
  }
  /// Copies the elements; a moved-from object has none.
  arr_cArray(const arr_cArray& other) : arr_cArray(other.Size()) { CopyIn(other.block_, other.size_, 0, 0); }
  arr_cArray(arr_cArray&& other) noexcept { Swap(other); }
  /// Copies the elements; move assignment exchanges them.
  arr_cArray& operator=(const arr_cArray& other) {
    if (this != &other) {
      arr_cArray copy(other);
      Swap(copy);
    }
    return *this;
  }
  arr_cArray& operator=(arr_cArray&& other) noexcept {
    Swap(other);
    return *this;
  }
  virtual ~arr_cArray() {
    std::destroy_n(block_, size_);
    if (block_ != nullptr) lgar_FreeBlock(block_, Bytes());
  }

  /// Resizes to `n` elements: keeps the first min(old size, n), value-initialises new ones.
  virtual void SetSize(int n) {
    arr_cArray resized(n);
    std::copy_n(block_, std::min(size_, resized.size_), resized.block_);
    Swap(resized);
  }
  /// Copies `count` elements from source[sourceOffset] on to the positions from `offset` on.
  virtual void CopyIn(const T* source, std::int64_t count, std::int64_t sourceOffset, std::int64_t offset) {
    CheckCopyIn(count, sourceOffset, offset);
    if (count > 0) std::copy_n(source + sourceOffset, count, block_ + offset);
  }
  /// Copies `count` elements from position `offset` on to target[targetOffset] and on.
  virtual void CopyOut(T* target, std::int64_t count, std::int64_t offset, std::int64_t targetOffset) const {
    detail::CheckBlock(offset, count, size_);
    if (count > 0) std::copy_n(block_ + offset, count, target + targetOffset);
  }
  /// Sets `count` elements from position `offset` on to `value`.
  virtual void Fill(const T& value, std::int64_t count, std::int64_t offset) {
    detail::CheckBlock(offset, count, size_);
    std::fill_n(block_ + offset, count, value);
  }

  /// The number of elements.
  int Size() const noexcept { return static_cast<int>(size_); }
  /// Element `i`.
  T& operator[](int i) { return block_[detail::CheckedIndex(i, size_)]; }
  const T& operator[](int i) const { return block_[detail::CheckedIndex(i, size_)]; }
  /// The first element; null when there are none.
  T* Data() noexcept { return block_; }
  const T* Data() const noexcept { return block_; }

 protected:
  /// Allocates memory for `n` elements without constructing them.
  arr_cArray(arr_sUnfilled, std::int64_t n) : size_(detail::CheckedCount(n)) {
    if (size_ > 0) block_ = static_cast<T*>(lgar_AllocateBlock(Bytes()));
  }
  /// Throws arr_cIndexException for blocks that CopyIn rejects.
  void CheckCopyIn(std::int64_t count, std::int64_t sourceOffset, std::int64_t offset) const {
    if (sourceOffset < 0) arr_IndexError(sourceOffset, size_);
    detail::CheckBlock(offset, count, size_);
  }
  /// Exchanges the elements, but not the reference counts.
  void Swap(arr_cArray& other) noexcept {
    std::swap(block_, other.block_);
    std::swap(size_, other.size_);
  }

 private:
  std::size_t Bytes() const noexcept { return static_cast<std::size_t>(size_) * sizeof(T); }

  T* block_ = nullptr;
  std::int64_t size_ = 0;
};

/// A block of trivially copyable elements, which are copied as raw memory.
template <class T>
class DATASTORAGE_TEMPLATE arr_cC_Array : public arr_cArray<T> {
  static_assert(std::is_trivially_copyable_v<T> && std::is_trivially_destructible_v<T>);

 public:
  /// `n` zeros.
  explicit arr_cC_Array(int n = 0) : arr_cC_Array(arr_Unfilled, n) { SetZero(0); }
  /// `n` uninitialised elements.
  arr_cC_Array(arr_sUnfilled, std::int64_t n) : arr_cArray<T>(arr_Unfilled, n) {}
  /// Copies the elements.
  arr_cC_Array(const arr_cC_Array& other) : arr_cC_Array(arr_Unfilled, other.Size()) {
    CopyIn(other.Data(), other.Size(), 0, 0);
  }
  arr_cC_Array(arr_cC_Array&&) noexcept = default;
  /// Copies the elements.
  arr_cC_Array& operator=(const arr_cC_Array& other) {
    if (this != &other) {
      arr_cC_Array copy(other);
      this->Swap(copy);
    }
    return *this;
  }
  arr_cC_Array& operator=(arr_cC_Array&&) noexcept = default;

  void SetSize(int n) override {
    arr_cC_Array resized(arr_Unfilled, n);
    const std::int64_t kept = std::min(this->Size(), n);
    resized.CopyIn(this->Data(), kept, 0, 0);
    resized.SetZero(kept);
    this->Swap(resized);
  }
  void CopyIn(const T* source, std::int64_t count, std::int64_t sourceOffset, std::int64_t offset) override {
    this->CheckCopyIn(count, sourceOffset, offset);
    if (count == 0) return;
    lgar_memcpy(this->Data() + offset, source + sourceOffset, count, sizeof(T));
  }
  void CopyOut(T* target, std::int64_t count, std::int64_t offset, std::int64_t targetOffset) const override {
    detail::CheckBlock(offset, count, this->Size());
    if (count == 0) return;
    lgar_memcpy(target + targetOffset, this->Data() + offset, count, sizeof(T));
  }

 private:
  void SetZero(std::int64_t first) {
    if (first < this->Size()) {
      std::memset(static_cast<void*>(this->Data() + first), 0,
                  static_cast<std::size_t>(this->Size() - first) * sizeof(T));
    }
  }
};

namespace detail {

/// A counted reference to a storage object, held by every handle that shares it; empty by default.
template <class T>
class SharedStorage : public Shared<arr_cArray<T>> {
 public:
  using Shared<arr_cArray<T>>::Shared;

  std::int64_t Size() const noexcept { return *this ? (**this).Size() : 0; }
  const T* Data() const noexcept { return *this ? (**this).Data() : nullptr; }
  T* Data() noexcept { return *this ? this->Write().Data() : nullptr; }
};

}  // namespace detail
