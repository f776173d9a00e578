#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <type_traits>
#include <utility>

#include <DataStorage/interfaces/arrerror.h>
#include <DataStorage/interfaces/export.h>
#include <DataStorage/interfaces/lgar.h>

/// @file
/// Storage objects (arr_cArray, arr_cC_Array) hold one block of elements each, which the handles of arr.h
/// share. Reference counts are plain numbers, so handles that share storage belong to one thread at a time.
///
/// Bad positions raise arr_IndexError, bad sizes (negative, or more than `detail::LargestCount` elements)
/// arr_SizeError, both before anything is changed. Pointers to elements are valid until the next non-const
/// call on the handle or storage object they came from.

/// Asks for elements that are not set, because all of them are written next.
struct arr_sUnfilled {};
inline constexpr arr_sUnfilled arr_Unfilled{};

namespace detail {

template <class T>
class SharedStorage;

/// The largest int is no size: index arithmetic gives it for every count beyond, which then is refused.
inline constexpr std::int64_t LargestCount = std::numeric_limits<int>::max() - 1;

/// `n` as a number of elements that an array can have; raises arr_SizeError otherwise.
inline std::int64_t CheckedCount(std::int64_t n) {
  if (n < 0 || n > LargestCount) arr_SizeError(n);
  return n;
}

/// Whether an array can have `nx` times `ny` elements, and extents like these.
constexpr bool bCountable(std::int64_t nx, std::int64_t ny) noexcept {
  return nx >= 0 && nx <= LargestCount && ny >= 0 && ny <= LargestCount && nx * ny <= LargestCount;
}

/// `nx` times `ny` as a number of elements; raises arr_SizeError also for an extent that is no size.
inline std::int64_t CheckedCount(std::int64_t nx, std::int64_t ny) {
  if (!bCountable(nx, ny)) arr_SizeError(nx, ny);
  return nx * ny;
}

/// Raises arr_IndexError unless [offset, offset + count) lies in [0, size).
inline void CheckBlock(std::int64_t offset, std::int64_t count, std::int64_t size) {
  if (offset < 0 || count < 0 || count > size || offset > size - count) {
    const std::uint64_t end = static_cast<std::uint64_t>(offset) + static_cast<std::uint64_t>(count);
    arr_IndexError(offset, static_cast<std::int64_t>(end), size);
  }
}

/// `i`; raises arr_IndexError unless it is the index of one of `size` elements.
inline std::int64_t CheckedIndex(std::int64_t i, std::int64_t size) {
  if (i < 0 || i >= size) arr_IndexError(i, size);
  return i;
}

}  // namespace detail

/// A block of elements that are copied one by one, by their own assignment.
template <class T>
class DATASTORAGE_EXPORT arr_cArray {
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
  /// With elements of its own; a moved one leaves none behind.
  arr_cArray(const arr_cArray& other) : arr_cArray(other.Size()) { CopyIn(other.block_, other.size_, 0, 0); }
  arr_cArray(arr_cArray&& other) noexcept { Swap(other); }
  /// A copy of the elements; moving exchanges them.
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

  /// A new block of `n` elements that keeps the first min(old size, n) ones; new ones are value-initialised.
  virtual void SetSize(int n) {
    arr_cArray resized(n);
    std::copy_n(block_, std::min(size_, resized.size_), resized.block_);
    Swap(resized);
  }
  /// source[sourceOffset ...] to the positions `offset` ...
  virtual void CopyIn(const T* source, std::int64_t count, std::int64_t sourceOffset, std::int64_t offset) {
    CheckCopyIn(count, sourceOffset, offset);
    if (count > 0) std::copy_n(source + sourceOffset, count, block_ + offset);
  }
  /// The positions `offset` ... to target[targetOffset ...].
  virtual void CopyOut(T* target, std::int64_t count, std::int64_t offset, std::int64_t targetOffset) const {
    detail::CheckBlock(offset, count, size_);
    if (count > 0) std::copy_n(block_ + offset, count, target + targetOffset);
  }
  /// Sets the positions `offset` ... to `value`.
  virtual void Fill(const T& value, std::int64_t count, std::int64_t offset) {
    detail::CheckBlock(offset, count, size_);
    std::fill_n(block_ + offset, count, value);
  }

  /// The number of elements.
  int Size() const noexcept { return static_cast<int>(size_); }
  /// Element `i`.
  T& operator[](int i) { return block_[detail::CheckedIndex(i, size_)]; }
  const T& operator[](int i) const { return block_[detail::CheckedIndex(i, size_)]; }
  /// Element 0; null when there are no elements.
  T* Data() noexcept { return block_; }
  const T* Data() const noexcept { return block_; }

 protected:
  /// Memory for `n` elements, none of which is constructed.
  arr_cArray(arr_sUnfilled, std::int64_t n) : size_(detail::CheckedCount(n)) {
    if (size_ > 0) block_ = static_cast<T*>(lgar_AllocateBlock(Bytes()));
  }
  /// Raises arr_IndexError for blocks that CopyIn refuses.
  void CheckCopyIn(std::int64_t count, std::int64_t sourceOffset, std::int64_t offset) const {
    if (sourceOffset < 0) arr_IndexError(sourceOffset, size_);
    detail::CheckBlock(offset, count, size_);
  }
  /// Exchanges the elements, but not the handles that share them.
  void Swap(arr_cArray& other) noexcept {
    std::swap(block_, other.block_);
    std::swap(size_, other.size_);
  }

 private:
  friend class detail::SharedStorage<T>;

  std::size_t Bytes() const noexcept { return static_cast<std::size_t>(size_) * sizeof(T); }

  T* block_ = nullptr;
  std::int64_t size_ = 0;
  std::int64_t references_ = 0;  // of the handles that share this storage; not part of the value
};

/// A block of plain elements, which are copied and filled as memory.
template <class T>
class DATASTORAGE_EXPORT arr_cC_Array : public arr_cArray<T> {
  static_assert(std::is_trivially_copyable_v<T> && std::is_trivially_destructible_v<T>);

 public:
  /// `n` zeros.
  explicit arr_cC_Array(int n = 0) : arr_cC_Array(arr_Unfilled, n) { SetZero(0); }
  /// `n` elements that are not set.
  arr_cC_Array(arr_sUnfilled, std::int64_t n) : arr_cArray<T>(arr_Unfilled, n) {}
  /// With elements of its own.
  arr_cC_Array(const arr_cC_Array& other) : arr_cC_Array(arr_Unfilled, other.Size()) {
    CopyIn(other.Data(), other.Size(), 0, 0);
  }
  arr_cC_Array(arr_cC_Array&&) noexcept = default;
  /// A copy of the elements.
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

/// What handles share: counts the handles of one storage object. Empty until a storage object is given.
template <class T>
class SharedStorage {
 public:
  SharedStorage() noexcept = default;
  explicit SharedStorage(std::unique_ptr<arr_cArray<T>> storage) noexcept : storage_(storage.release()) {
    Add();
  }
  SharedStorage(const SharedStorage& other) noexcept : storage_(other.storage_) { Add(); }
  SharedStorage& operator=(SharedStorage other) noexcept {
    std::swap(storage_, other.storage_);
    return *this;
  }
  ~SharedStorage() {
    if (storage_ != nullptr && --storage_->references_ == 0) delete storage_;
  }

  std::int64_t Size() const noexcept { return storage_ == nullptr ? 0 : storage_->size_; }
  const T* Data() const noexcept { return storage_ == nullptr ? nullptr : storage_->block_; }
  T* Data() noexcept { return storage_ == nullptr ? nullptr : storage_->block_; }
  bool bShared() const noexcept { return storage_ != nullptr && storage_->references_ > 1; }
  bool operator==(const SharedStorage& other) const noexcept { return storage_ == other.storage_; }

 private:
  void Add() noexcept {
    if (storage_ != nullptr) ++storage_->references_;
  }
  arr_cArray<T>* storage_ = nullptr;
};

}  // namespace detail
