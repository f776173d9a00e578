#pragma once

/// Holds a pointer to an object that somebody else owns, or none.
template <class T>
class hndl_cHandle {
 public:
  constexpr hndl_cHandle() noexcept = default;

  void Set(T& object) noexcept { object_ = &object; }
  void Clear() noexcept { object_ = nullptr; }
  bool bEmpty() const noexcept { return object_ == nullptr; }
  /// Null when the handle is empty.
  T* Pointer() const noexcept { return object_; }

 private:
  T* object_ = nullptr;
};
