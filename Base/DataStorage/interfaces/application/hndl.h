#pragma once

/// Holds a pointer to an object that somebody else owns, or none.
template <class T>
class hndl_cHandle {
 public:
  constexpr hndl_cHandle() noexcept = default;

  /// Points at `object`, which must outlive that.
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
