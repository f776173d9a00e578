#pragma once

#include <list>

#include <DataStorage/interfaces/export.h>

/// A doubly linked list of pointers. The list does not own the objects; a derived class that does overrides
/// the functions that add and remove pointers.
template <class T>
class DATASTORAGE_TEMPLATE list_cPtrList {
 public:
  /// Iterates over the pointers.
  using const_iterator = typename std::list<T*>::const_iterator;

  list_cPtrList() = default;
  list_cPtrList(const list_cPtrList&) = default;
  list_cPtrList& operator=(const list_cPtrList&) = default;
  virtual ~list_cPtrList() = default;

  /// Adds a pointer, which may be null, at the head.
  virtual void InsertAtHead(T* p) { pointers_.push_front(p); }
  /// Adds a pointer, which may be null, at the tail.
  virtual void InsertAtTail(T* p) { pointers_.push_back(p); }
  /// Removes all pointers.
  virtual void Clear() noexcept { pointers_.clear(); }

  /// The head; valid until the list changes.
  const_iterator begin() const noexcept { return pointers_.begin(); }
  /// Past the tail.
  const_iterator end() const noexcept { return pointers_.end(); }

 private:
  std::list<T*> pointers_;
};
