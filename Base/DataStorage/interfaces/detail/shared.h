#pragma once

#include <cstdint>
#include <memory>
#include <utility>

namespace detail {

/// Base of objects that several owners share: counts them. The count is a plain number, so objects that share
/// something belong to one thread at a time. It is no part of the value: copies start with none.
class Counted {
 public:
  Counted() noexcept = default;
  Counted(const Counted&) noexcept {}
  Counted& operator=(const Counted&) noexcept { return *this; }

 protected:
  ~Counted() = default;

 private:
  template <class T>
  friend class Shared;

  std::int64_t owners_ = 0;
};

/// One of the owners of an object, or of none. The last owner destroys it. Constant for its owners, of whom
/// one writes only what it owns alone.
template <class T>
class Shared {
 public:
  Shared() noexcept = default;
  explicit Shared(std::unique_ptr<T> object) noexcept : object_(object.release()) { Add(); }
  Shared(const Shared& other) noexcept : object_(other.object_) { Add(); }
  Shared(Shared&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
  Shared& operator=(Shared other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }
  ~Shared() {
    if (object_ != nullptr && --Count() == 0) delete object_;
  }

  explicit operator bool() const noexcept { return object_ != nullptr; }
  const T& operator*() const noexcept { return *object_; }
  const T* operator->() const noexcept { return object_; }
  /// Whether there are other owners.
  bool bShared() const noexcept { return object_ != nullptr && Count() > 1; }
  /// The object, to be written. Requires that it is not shared.
  T& Write() noexcept { return *object_; }
  /// Whether both own the same object.
  bool operator==(const Shared& other) const noexcept { return object_ == other.object_; }

 private:
  std::int64_t& Count() const noexcept { return static_cast<Counted*>(object_)->owners_; }
  void Add() noexcept {
    if (object_ != nullptr) ++Count();
  }

  T* object_ = nullptr;
};

}  // namespace detail
