#pragma once

#include <memory>

#include <DataStorage/interfaces/bstr.h>
#include <DataStorage/interfaces/export.h>
#include <DataStorage/interfaces/expt.h>
#include <DataStorage/interfaces/type.h>
#include <DataStorage/positions/pos2d.h>

/// "Invalid TagTypeID.": a stream holds a tag of another kind than the one to be read.
class DATASTORAGE_EXPORT dtsr_cTagTypeException : public expt_cUserException {
 public:
  /// Thrown by `dtsr_cDataTag::Read`.
  dtsr_cTagTypeException(const char* file, int line);
  ~dtsr_cTagTypeException() override;
};

/// What a series stores with each datum: the time at which it was acquired, in seconds as returned by
/// `std::time`. Derived classes add more. A series uses only the virtual functions of tags, so further kinds
/// can be added; each kind has a `TagTypeID()` of its own.
///
/// Raw form: `TagTypeID()` and the time, 4 bytes each. Reading and writing throw expt_cUserException.
class DATASTORAGE_EXPORT dtsr_cDataTag {
 public:
  /// Seconds since 1970-01-01 00:00 UTC; the current time by default.
  dtsr_cDataTag(long time = Now()) : time_(time) {}
  dtsr_cDataTag(const dtsr_cDataTag& other) noexcept : time_(other.time_) {}
  /// Copies the time.
  dtsr_cDataTag& operator=(const dtsr_cDataTag& other) noexcept { return *this = other.time_; }
  /// Sets the time.
  dtsr_cDataTag& operator=(long time) noexcept {
    time_ = time;
    return *this;
  }
  virtual ~dtsr_cDataTag();

  /// Copies as much of another tag as this kind can hold.
  virtual void SetEqual(const dtsr_cDataTag& other);
  /// Whether both tags have the same kind and value. Times are compared only when `compareTime` is set.
  virtual type_cBoolean IsEqual(const dtsr_cDataTag& other, type_cBoolean compareTime);
  /// Reads the raw form. Throws dtsr_cTagTypeException when the stream holds a tag of another kind, "Can't
  /// read TagTypeID." when bytes are missing.
  virtual void Read(bstr_cBinary_istream& in);
  /// Writes the raw form. Throws "Can't write TagTypeID." when that fails and, before anything is written,
  /// when the time does not fit into 32 bits.
  virtual void Write(bstr_cBinary_ostream& out) const;
  /// The kind of the tag.
  virtual unsigned int TagTypeID() const;
  /// A new tag equal to this one, owned by the caller.
  virtual dtsr_cDataTag* pCopy() const;

  /// The time in seconds.
  long Time() const noexcept { return time_; }

 protected:
  /// The current time; from 2038 on, where a `long` has 32 bits, its largest value, which `Write` then
  /// refuses.
  static long Now();

 private:
  friend class dtsr_cDataSeriesBase;
  friend class dtsr_cMemorySeriesBase;

  long time_;
  // For searches, not part of the value: the kind of the tag that GetTag has copied into this one. DataIndex
  // sets it to the expected kind; a series in memory, which can copy from another kind, sets it to that.
  unsigned int filledFrom_ = 0;
};

namespace detail {

/// Owns a tag or is null; a copy owns a copy of the tag.
class TagPointer : public std::unique_ptr<dtsr_cDataTag> {
 public:
  /// Takes ownership of `tag`.
  explicit TagPointer(dtsr_cDataTag* tag = nullptr) noexcept : unique_ptr(tag) {}
  /// Copies the tag of `other`.
  TagPointer(const TagPointer& other) : unique_ptr(other.pCopy()) {}
  TagPointer(TagPointer&&) noexcept = default;
  /// Copies the tag of `other` and deletes the one owned before.
  TagPointer& operator=(const TagPointer& other) { return *this = TagPointer(other); }
  TagPointer& operator=(TagPointer&&) noexcept = default;

  /// A new copy, owned by the caller; null when there is no tag.
  dtsr_cDataTag* pCopy() const { return *this ? (*this)->pCopy() : nullptr; }
};

}  // namespace detail

/// A tag that also holds the position at which the datum was acquired. Like any pos_c2DPosition it sends
/// messages before and after changes, and receivers can limit it. Tagged streams hold only the position.
///
/// Raw form: that of the plain tag, then x and y, 8 bytes each.
class DATASTORAGE_EXPORT dtsr_c2DPosition : public dtsr_cDataTag, public pos_c2DPosition {
 public:
  /// A position and a time.
  dtsr_c2DPosition(double x = 0, double y = 0, long time = Now());
  dtsr_c2DPosition(const pos_c2DPosition& position, long time);
  dtsr_c2DPosition(const dtsr_c2DPosition&) = default;
  /// Copies both; the position is changed with messages and limits.
  dtsr_c2DPosition& operator=(const dtsr_c2DPosition&) = default;
  /// Copies the position and sets the current time.
  dtsr_c2DPosition& operator=(const pos_c2DPosition& position);
  ~dtsr_c2DPosition() override;

  void SetPosition(double x, double y) override;
  using pos_c2DPosition::Read;
  using pos_c2DPosition::Write;

  /// Copies only the time from a tag of another kind.
  void SetEqual(const dtsr_cDataTag& other) override;
  /// Positions are compared exactly.
  type_cBoolean IsEqual(const dtsr_cDataTag& other, type_cBoolean compareTime) override;
  /// Also throws "Error reading 2D tag." when the position is missing; the position is then unchanged.
  /// Otherwise it is changed with messages and limits.
  void Read(bstr_cBinary_istream& in) override;
  /// Also throws "Error writing 2D tag.".
  void Write(bstr_cBinary_ostream& out) const override;
  unsigned int TagTypeID() const override;
  dtsr_cDataTag* pCopy() const override;
};
