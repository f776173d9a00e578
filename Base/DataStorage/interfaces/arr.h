#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <type_traits>
#include <utility>

#include <DataStorage/interfaces/comp.h>
#include <DataStorage/interfaces/detail/arrstorage.h>
#include <DataStorage/interfaces/export.h>
#include <DataStorage/interfaces/tgio.h>
#include <DataStorage/interfaces/type.h>

/// @file
/// Array handles (arr_c1DArray, arr_c2DArray and the classes derived from them) share storage objects:
/// copying a handle takes constant time, and the elements are copied on the first write to a handle that
/// shares them. Distinct objects may be used from different threads; one object, or copies that share
/// elements, from one thread at a time. arrstorage.h describes the exceptions and how long pointers stay
/// valid.

namespace detail {

/// Copies the positions [begin, end) of a row of `size` elements to `target`, with `fill` for positions
/// outside the row. Returns the end of what it wrote.
template <class T>
T* CopyFilledOut(const T* row, std::int64_t size, std::int64_t begin, std::int64_t end, const T& fill,
                 T* target) {
  const std::int64_t first = std::clamp<std::int64_t>(begin, 0, size);
  const std::int64_t last = std::clamp<std::int64_t>(end, first, size);
  T* const filled = std::fill_n(target, std::min(first, end) - begin, fill);
  T* const copied = std::copy_n(row + first, last - first, filled);
  return std::fill_n(copied, target + (end - begin) - copied, fill);
}

}  // namespace detail

/// Base of one- and two-dimensional handles: shared storage, copy on write, a fill value. `Index` is one int
/// per dimension.
template <class T, class... Index>
class DATASTORAGE_TEMPLATE arr_cHandle {
 public:
  virtual ~arr_cHandle() = default;

  /// Number of elements in the storage.
  int NumIndices() const noexcept { return static_cast<int>(storage_.Size()); }
  /// The elements in storage order; null when there are none.
  const T* Data() const noexcept { return storage_.Data(); }
  /// The value that selections give to positions outside the array.
  const T& FillValue() const noexcept { return fill_; }
  /// Whether both handles use the same storage object; also true when neither has one.
  bool bSharesStorage(const arr_cHandle& other) const noexcept { return storage_ == other.storage_; }

 protected:
  /// Without elements, or with those of `storage`.
  explicit arr_cHandle(const T& fill) : fill_(fill) {}
  arr_cHandle(std::unique_ptr<arr_cArray<T>> storage, const T& fill)
      : storage_(std::move(storage)), fill_(fill) {}
  arr_cHandle(const arr_cHandle&) = default;
  arr_cHandle& operator=(const arr_cHandle&) = default;

  /// Called after assignment, SetValue and SetBlock with the first and last position (column and row)
  /// written.
  virtual void Changed(Index... /*first*/, Index... /*last*/) {}
  /// Called after an assignment that changed the size (the extents).
  virtual void SizeChanged(Index... /*extents*/) {}
  /// A new storage object of the class that the handle uses, with `n` elements, which may be uninitialised.
  virtual std::unique_ptr<arr_cArray<T>> NewStorage(std::int64_t n) const = 0;

  /// Copies `data` unless it is null; otherwise sets all elements to the fill value if `bFill` is set.
  void Initialise(const T* data, bool bFill) {
    if (data != nullptr) {
      std::copy_n(data, NumIndices(), Unshare());
    } else if (bFill) {
      std::fill_n(Unshare(), NumIndices(), fill_);
    }
  }
  /// The elements for writing, copied first if another handle shares them.
  T* Unshare() {
    if (storage_.bShared()) CopyStorage();
    return storage_.Data();
  }
  /// The same without copying the values. Requires that every element is written next.
  T* UnshareUnfilled() {
    if (storage_.bShared()) storage_ = detail::SharedStorage<T>(NewStorage(storage_.Size()));
    return storage_.Data();
  }
  /// The elements, to be written, of which the next `count` assignments set as many. Elements of class types
  /// are copied first even when all are set, because an assignment may throw.
  T* UnshareFor(std::int64_t count) {
    return count == NumIndices() && std::is_nothrow_copy_assignable_v<T> ? UnshareUnfilled() : Unshare();
  }
  /// Sets the value that selections give to positions outside the array.
  void SetFillValue(const T& value) { fill_ = value; }

  detail::SharedStorage<T> storage_;  ///< empty in a handle constructed without elements

 private:
  [[gnu::noinline]] void CopyStorage() {
    std::unique_ptr<arr_cArray<T>> own = NewStorage(storage_.Size());
    own->CopyIn(storage_.Data(), storage_.Size(), 0, 0);
    storage_ = detail::SharedStorage<T>(std::move(own));
  }

  T fill_;
};

/// A one-dimensional array that shares its elements with its copies until one of them is written.
template <class T>
class DATASTORAGE_TEMPLATE arr_c1DArray : public arr_cHandle<T, int> {
  using Handle = arr_cHandle<T, int>;

 public:
  /// Without elements.
  arr_c1DArray() : Handle(T()) {}
  /// `count` elements: copies of data[0], data[1], ... unless `data` is null; otherwise `fill` if `bFill` is
  /// set, else zeros. `fill` also becomes the fill value.
  explicit arr_c1DArray(int count, const T* data = nullptr, const T& fill = T(), bool bFill = false)
      : arr_c1DArray(std::make_unique<arr_cArray<T>>(count), fill) {
    this->Initialise(data, bFill);
  }

  arr_c1DArray(const arr_c1DArray&) = default;
  /// Shares the elements of `other` and takes its fill value.
  arr_c1DArray& operator=(const arr_c1DArray& other) {
    if (this != &other) {
      const bool resized = this->NumIndices() != other.NumIndices();
      Handle::operator=(other);
      if (resized) this->SizeChanged(this->NumIndices());
      this->Changed(0, this->NumIndices() - 1);
    }
    return *this;
  }

  /// The same as `NumIndices()`.
  int NumIndicesX() const noexcept { return this->NumIndices(); }
  /// Element `i`.
  const T& operator[](int i) const { return this->Data()[CheckedPosition(i)]; }
  /// Sets element `i`.
  void SetValue(const T& value, int i) {
    const std::int64_t position = CheckedPosition(i);
    this->Unshare()[position] = value;
    this->Changed(i, i);
  }
  /// Sets every element and the fill value to `value`.
  arr_c1DArray& operator=(const T& value) {
    std::fill_n(this->UnshareUnfilled(), this->NumIndices(), value);
    this->SetFillValue(value);
    this->Changed(0, this->NumIndices() - 1);
    return *this;
  }
  /// Copies `count` elements from `source` to the positions from `offset` on.
  void SetBlock(const T* source, std::int64_t count, std::int64_t offset) {
    detail::CheckBlock(offset, count, this->NumIndices());
    if (count == 0) return;
    std::copy_n(source, count, this->UnshareFor(count) + offset);
    this->Changed(static_cast<int>(offset), static_cast<int>(offset + count - 1));
  }

 protected:
  /// For derived classes with storage of another class.
  arr_c1DArray(std::unique_ptr<arr_cArray<T>> storage, const T& fill) : Handle(std::move(storage), fill) {}

  /// Copies the positions first ... last of `source`, both inclusive, and its fill value, which positions
  /// outside `source` get.
  void AssignSubArray(const arr_c1DArray& source, std::int64_t first, std::int64_t last) {
    if (first > last) arr_IndexError(first, last + 1, source.NumIndices());
    const std::int64_t size = source.NumIndices();
    if (first == 0 && last + 1 == size) {
      Handle::operator=(source);
      return;
    }
    detail::SharedStorage<T> part(this->NewStorage(last - first + 1));
    detail::CopyFilledOut(source.Data(), size, first, last + 1, source.FillValue(), part.Data());
    this->storage_ = std::move(part);
    this->SetFillValue(source.FillValue());
  }

  /// Throws arr_cIndexException for a negative count.
  std::unique_ptr<arr_cArray<T>> NewStorage(std::int64_t n) const override {
    if (n < 0) arr_IndexError(0, n);
    return std::make_unique<arr_cArray<T>>(static_cast<int>(detail::CheckedCount(n)));
  }

 private:
  std::int64_t CheckedPosition(int i) const { return detail::CheckedIndex(i, this->storage_.Size()); }
};

/// A one-dimensional array of trivially copyable elements, which are copied as raw memory.
template <class T>
class DATASTORAGE_TEMPLATE arr_c1D_C_Array : public arr_c1DArray<T> {
 public:
  arr_c1D_C_Array() = default;
  /// Like the constructor of arr_c1DArray.
  explicit arr_c1D_C_Array(int count, const T* data = nullptr, const T& fill = T(), bool bFill = false)
      : arr_c1DArray<T>(data == nullptr && !bFill ? std::make_unique<arr_cC_Array<T>>(count)
                                                  : std::make_unique<arr_cC_Array<T>>(arr_Unfilled, count),
                        fill) {
    this->Initialise(data, bFill);
  }
  /// `count` uninitialised elements.
  arr_c1D_C_Array(arr_sUnfilled, int count)
      : arr_c1DArray<T>(std::make_unique<arr_cC_Array<T>>(arr_Unfilled, count), T()) {}

  using arr_c1DArray<T>::operator=;

  /// The elements for writing, copied first if another array shares them. Null when there are none.
  T* WriteAccess() { return this->Unshare(); }
  /// The same when all of them are written next: elements that others share are not copied.
  T* WriteAccess(arr_sUnfilled) { return this->UnshareUnfilled(); }

 protected:
  /// Uninitialised elements.
  std::unique_ptr<arr_cArray<T>> NewStorage(std::int64_t n) const override {
    return std::make_unique<arr_cC_Array<T>>(arr_Unfilled, n);
  }
};

/// A one-dimensional array that can be written to tagged streams: of the ten element types and of
/// type_cBoolean.
template <class T>
class DATASTORAGE_TEMPLATE arr_c1DNumberArray : public arr_c1D_C_Array<T>, public tgio_cStreamObject {
 public:
  using arr_c1D_C_Array<T>::arr_c1D_C_Array;
  using arr_c1D_C_Array<T>::operator=;

  /// The positions first ... last, both inclusive; those outside the array get the fill value. A selection of
  /// the whole array shares its elements. Throws arr_cIndexException when first > last.
  arr_c1DNumberArray SubArray(std::int64_t first, std::int64_t last) const {
    arr_c1DNumberArray result;
    result.AssignSubArray(*this, first, last);
    return result;
  }

  /// In binary streams the element code, the count and the elements; in ASCII streams the count and the
  /// elements as words.
  type_cBoolean ReadStream(tgio_cASCII_istream& in) override;
  type_cBoolean ReadStream(tgio_cBinary_istream& in) override;
  type_cBoolean WriteStream(tgio_cASCII_ostream& out) const override;
  type_cBoolean WriteStream(tgio_cBinary_ostream& out) const override;

  /// The binary form; with `share`, large elements are not copied in memory. Requires then that no pointer of
  /// `WriteAccess` is written through until the outermost object has been written.
  type_cBoolean WriteElements(tgio_cBinary_ostream& out, bool share) const;
};

/// A rectangular block of a two-dimensional array: its corner and its extents, in elements.
struct arr_s2DBlock {
  int x;   ///< first column
  int y;   ///< first row
  int nx;  ///< columns
  int ny;  ///< rows
};

/// A two-dimensional array that shares its elements with its copies until one of them is written. The element
/// (x, y) is at position y * nx + x of the storage.
template <class T>
class DATASTORAGE_TEMPLATE arr_c2DArray : public arr_cHandle<T, int, int> {
  using Handle = arr_cHandle<T, int, int>;

 public:
  /// Without elements.
  arr_c2DArray() : Handle(T()) {}
  /// nx * ny elements, initialised like those of arr_c1DArray.
  arr_c2DArray(int nx, int ny, const T* data = nullptr, const T& fill = T(), bool bFill = false)
      : arr_c2DArray(std::make_unique<arr_cArray<T>>(static_cast<int>(detail::CheckedCount(nx, ny))), nx, ny,
                     fill) {
    this->Initialise(data, bFill);
  }

  arr_c2DArray(const arr_c2DArray&) = default;
  /// Shares the elements of `other` and takes its fill value.
  arr_c2DArray& operator=(const arr_c2DArray& other) {
    if (this != &other) {
      const bool resized = nx_ != other.nx_ || ny_ != other.ny_;
      Handle::operator=(other);
      nx_ = other.nx_;
      ny_ = other.ny_;
      if (resized) this->SizeChanged(nx_, ny_);
      this->Changed(0, 0, nx_ - 1, ny_ - 1);
    }
    return *this;
  }

  /// The number of elements along one axis.
  int NumIndicesX() const noexcept { return nx_; }
  int NumIndicesY() const noexcept { return ny_; }

  /// Element (x, y). Only the position y * nx + x is checked, not x and y separately.
  const T& Value(int x, int y) const { return this->Data()[Position(x, y)]; }
  /// Sets element (x, y), with the same check.
  void SetValue(const T& value, int x, int y) {
    const std::int64_t position = Position(x, y);
    this->Unshare()[position] = value;
    this->Changed(x, y, x, y);
  }
  /// Sets every element and the fill value to `value`.
  arr_c2DArray& operator=(const T& value) {
    std::fill_n(this->UnshareUnfilled(), this->NumIndices(), value);
    this->SetFillValue(value);
    this->Changed(0, 0, nx_ - 1, ny_ - 1);
    return *this;
  }

  /// Copies rows of `block.nx` elements to `block`: the first row starts at `source`, each further one
  /// `sourceStride` elements after the previous. Only the storage positions of the rows are checked, not x
  /// and y separately.
  void SetBlock(const T* source, std::int64_t sourceStride, const arr_s2DBlock& block) {
    if (block.nx <= 0 || block.ny <= 0) return;
    const std::int64_t first = RowStart(block.x, block.y);
    const std::int64_t last = RowStart(block.x, std::int64_t{block.y} + block.ny - 1);
    detail::CheckBlock(first, block.nx, this->NumIndices());
    detail::CheckBlock(last, block.nx, this->NumIndices());
    const bool whole = block.nx == nx_ && block.ny == ny_;
    T* const target = this->UnshareFor(whole ? this->NumIndices() : 0) + first;
    if (block.nx == nx_ && sourceStride == nx_) {
      std::copy_n(source, sourceStride * block.ny, target);
    } else {
      for (int y = 0; y < block.ny; ++y) {
        std::copy_n(source + y * sourceStride, block.nx, target + std::int64_t{y} * nx_);
      }
    }
    this->Changed(block.x, block.y, static_cast<int>(std::int64_t{block.x} + block.nx - 1),
                  static_cast<int>(std::int64_t{block.y} + block.ny - 1));
  }

 protected:
  /// For derived classes with storage of another class.
  arr_c2DArray(std::unique_ptr<arr_cArray<T>> storage, int nx, int ny, const T& fill)
      : Handle(std::move(storage), fill), nx_(nx), ny_(ny) {}

  /// Copies the columns x0 ... x1 of the rows y0 ... y1 of `source`, all inclusive, and its fill value, which
  /// positions outside `source` get.
  void AssignSubArray(const arr_c2DArray& source, std::int64_t x0, std::int64_t y0, std::int64_t x1,
                      std::int64_t y1) {
    if (x0 > x1) arr_IndexError(x0, x1 + 1, source.nx_);
    if (y0 > y1) arr_IndexError(y0, y1 + 1, source.ny_);
    if (x0 == 0 && y0 == 0 && x1 + 1 == source.nx_ && y1 + 1 == source.ny_) {
      *this = source;
      return;
    }
    const std::int64_t nx = x1 - x0 + 1;
    const std::int64_t ny = y1 - y0 + 1;
    detail::SharedStorage<T> part(this->NewStorage(detail::CheckedCount(nx, ny)));
    T* target = part.Data();
    for (std::int64_t y = y0; y <= y1; ++y) {
      const bool stored = y >= 0 && y < source.ny_;
      target = detail::CopyFilledOut(stored ? source.Data() + y * source.nx_ : nullptr,
                                     stored ? source.nx_ : 0, x0, x1 + 1, source.FillValue(), target);
    }
    this->storage_ = std::move(part);
    this->SetFillValue(source.FillValue());
    nx_ = static_cast<int>(nx);
    ny_ = static_cast<int>(ny);
  }

  /// Value-initialised elements.
  std::unique_ptr<arr_cArray<T>> NewStorage(std::int64_t n) const override {
    return std::make_unique<arr_cArray<T>>(static_cast<int>(detail::CheckedCount(n)));
  }

 private:
  std::int64_t RowStart(std::int64_t x, std::int64_t y) const { return y * nx_ + x; }
  std::int64_t Position(int x, int y) const {
    const std::int64_t position = RowStart(x, y);
    if (position < 0 || position >= this->storage_.Size()) arr_IndexError(x, y, nx_, ny_);
    return position;
  }

  int nx_ = 0;
  int ny_ = 0;
};

/// A two-dimensional array of trivially copyable elements, which are copied as raw memory.
template <class T>
class DATASTORAGE_TEMPLATE arr_c2D_C_Array : public arr_c2DArray<T> {
 public:
  arr_c2D_C_Array() = default;
  /// Like the constructor of arr_c2DArray.
  arr_c2D_C_Array(int nx, int ny, const T* data = nullptr, const T& fill = T(), bool bFill = false)
      : arr_c2DArray<T>(
            data == nullptr && !bFill
                ? std::make_unique<arr_cC_Array<T>>(static_cast<int>(detail::CheckedCount(nx, ny)))
                : std::make_unique<arr_cC_Array<T>>(arr_Unfilled, detail::CheckedCount(nx, ny)),
            nx, ny, fill) {
    this->Initialise(data, bFill);
  }
  /// nx * ny uninitialised elements.
  arr_c2D_C_Array(arr_sUnfilled, int nx, int ny)
      : arr_c2DArray<T>(std::make_unique<arr_cC_Array<T>>(arr_Unfilled, detail::CheckedCount(nx, ny)), nx, ny,
                        T()) {}

  using arr_c2DArray<T>::operator=;

  /// The elements in storage order for writing, copied first if another array shares them. Null when there
  /// are none.
  T* WriteAccess() { return this->Unshare(); }
  /// The same when all of them are written next: elements that others share are not copied.
  T* WriteAccess(arr_sUnfilled) { return this->UnshareUnfilled(); }

 protected:
  /// Uninitialised elements.
  std::unique_ptr<arr_cArray<T>> NewStorage(std::int64_t n) const override {
    return std::make_unique<arr_cC_Array<T>>(arr_Unfilled, n);
  }
};

/// A two-dimensional array that can be written to tagged streams: of the ten element types and of
/// type_cBoolean.
template <class T>
class DATASTORAGE_TEMPLATE arr_c2DNumberArray : public arr_c2D_C_Array<T>, public tgio_cStreamObject {
 public:
  using arr_c2D_C_Array<T>::arr_c2D_C_Array;
  using arr_c2D_C_Array<T>::operator=;
  using tgio_cStreamObject::ReadStream;
  using tgio_cStreamObject::WriteStream;

  /// The columns x0 ... x1 of the rows y0 ... y1, all inclusive; positions outside the array get the fill
  /// value. A selection of the whole array shares its elements. Throws arr_cIndexException for an inverted
  /// pair.
  arr_c2DNumberArray SubArray(std::int64_t x0, std::int64_t y0, std::int64_t x1, std::int64_t y1) const {
    arr_c2DNumberArray result;
    result.AssignSubArray(*this, x0, y0, x1, y1);
    return result;
  }
  /// A copy of column x: the elements (x, 0), (x, 1), ...
  arr_c1DNumberArray<T> Column(int x) const {
    detail::CheckedIndex(x, this->NumIndicesX());
    arr_c1DNumberArray<T> column(arr_Unfilled, this->NumIndicesY());
    const T* source = this->Data();
    T* target = column.WriteAccess();
    for (int y = 0; y < this->NumIndicesY(); ++y) {
      target[y] = source[std::int64_t{y} * this->NumIndicesX() + x];
    }
    return column;
  }
  /// A copy of row y: the elements (0, y), (1, y), ...
  arr_c1DNumberArray<T> Row(int y) const {
    detail::CheckedIndex(y, this->NumIndicesY());
    arr_c1DNumberArray<T> row(arr_Unfilled, this->NumIndicesX());
    std::copy_n(this->Data() + std::int64_t{y} * this->NumIndicesX(), this->NumIndicesX(), row.WriteAccess());
    return row;
  }

  /// In binary streams the element code, the extents and the elements.
  type_cBoolean ReadStream(tgio_cBinary_istream& in) override;
  type_cBoolean WriteStream(tgio_cBinary_ostream& out) const override;

  /// The binary form; with `share`, large elements are not copied in memory. Requires then that no pointer of
  /// `WriteAccess` is written through until the outermost object has been written.
  type_cBoolean WriteElements(tgio_cBinary_ostream& out, bool share) const;
};

#define DATASTORAGE_ELEMENT_TYPE(value, name, type, long_name, short_name) \
  DATASTORAGE_EXTERN(arr_c1DNumberArray<type>);                            \
  DATASTORAGE_EXTERN(arr_c2DNumberArray<type>);
#include <DataStorage/interfaces/elementtypes.def>
DATASTORAGE_EXTERN(arr_c1DNumberArray<type_cBoolean>);
DATASTORAGE_EXTERN(arr_c2DNumberArray<type_cBoolean>);
