#pragma once

/// Holds a pointer to an object that it does not own, or none.
template <class T>
class hndl_cHandle {
 public:
  constexpr hndl_cHandle() noexcept = default;

  /// Points at `object`. Requires that `object` lives until the handle is changed or destroyed.
  void Set(T& object) noexcept { object_ = &object; }
  /// Points at nothing.
  void Clear() noexcept { object_ = nullptr; }
  /// Whether it points at nothing.
  bool bEmpty() const noexcept { return object_ == nullptr; }
  /// Null when the handle is empty.
  T* Pointer() const noexcept { return object_; }

 private:
  T* object_ = nullptr;
};
