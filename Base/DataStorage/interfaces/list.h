#pragma once

#include <list>

#include <DataStorage/interfaces/export.h>

/// A doubly linked list of pointers. The list does not own what the pointers point at: a class that derives
/// from it decides that, and overrides what puts pointers in and takes them out.
template <class T>
class DATASTORAGE_EXPORT list_cPtrList {
 public:
  /// Goes over the pointers.
  using const_iterator = typename std::list<T*>::const_iterator;

  list_cPtrList() = default;
  list_cPtrList(const list_cPtrList&) = default;
  list_cPtrList& operator=(const list_cPtrList&) = default;
  virtual ~list_cPtrList() = default;

  /// Puts a pointer, which may be null, in front of all others.
  virtual void InsertAtHead(T* p) { pointers_.push_front(p); }
  /// Puts it behind them.
  virtual void InsertAtTail(T* p) { pointers_.push_back(p); }
  /// Forgets all pointers.
  virtual void Clear() noexcept { pointers_.clear(); }

  /// From head to tail; valid until the list changes.
  const_iterator begin() const noexcept { return pointers_.begin(); }
  /// Behind the tail.
  const_iterator end() const noexcept { return pointers_.end(); }

 private:
  std::list<T*> pointers_;
};
