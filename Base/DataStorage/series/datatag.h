#pragma once

#include <ctime>
#include <memory>

#include <DataStorage/interfaces/bstr.h>
#include <DataStorage/interfaces/export.h>
#include <DataStorage/interfaces/expt.h>
#include <DataStorage/interfaces/type.h>
#include <DataStorage/positions/pos2d.h>

/// "Invalid TagTypeID.": a tag was read from a stream that holds one of another kind.
class DATASTORAGE_EXPORT dtsr_cTagTypeException : public expt_cUserException {
 public:
  /// Thrown by `dtsr_cDataTag::Read`.
  dtsr_cTagTypeException(const char* file, int line);
  ~dtsr_cTagTypeException() override;
};

/// What a series records of each datum beside the datum itself: when it was taken, in seconds as `std::time`
/// counts them. Derived classes add more. A series knows its tags by the virtual operations alone, so further
/// kinds can be added; a kind is told by its `TagTypeID()`, which no two kinds may share.
///
/// Raw form: `TagTypeID()` and the time, 4 bytes each. Reading and writing throw expt_cUserException.
class DATASTORAGE_EXPORT dtsr_cDataTag {
 public:
  /// Seconds since 1970-01-01 00:00 UTC; the present when not given.
  dtsr_cDataTag(long time = Now()) : time_(time) {}
  dtsr_cDataTag(const dtsr_cDataTag& other) noexcept : time_(other.time_) {}
  /// Takes the time.
  dtsr_cDataTag& operator=(const dtsr_cDataTag& other) noexcept { return *this = other.time_; }
  /// Changes the time.
  dtsr_cDataTag& operator=(long time) noexcept {
    time_ = time;
    return *this;
  }
  virtual ~dtsr_cDataTag();

  /// Takes the value of another tag, as far as this kind has room for it.
  virtual void SetEqual(const dtsr_cDataTag& other);
  /// Tags of different kinds are never equal; the time counts when `compareTime` is set, all else always.
  virtual type_cBoolean IsEqual(const dtsr_cDataTag& other, type_cBoolean compareTime);
  /// Throws dtsr_cTagTypeException when the stream holds a tag of another kind, "Can't read TagTypeID." when
  /// bytes are missing.
  virtual void Read(bstr_cBinary_istream& in);
  /// "Can't write TagTypeID." when that fails; also, before anything is written, for a time that does not fit
  /// the 32 bits it has in streams.
  virtual void Write(bstr_cBinary_ostream& out) const;
  /// The kind of the tag.
  virtual unsigned int TagTypeID() const;
  /// A new tag equal to this one, owned by the caller.
  virtual dtsr_cDataTag* pCopy() const;

  /// In seconds.
  long Time() const noexcept { return time_; }

 protected:
  /// The present.
  static long Now() { return static_cast<long>(std::time(nullptr)); }

 private:
  friend class dtsr_cDataSeriesBase;
  friend class dtsr_cMemorySeriesBase;

  long time_;
  // Belongs to the object, not to its value: a search sets it in the tag that it has filled, and a series
  // that can fill it from a tag of another kind sets it to that kind.
  unsigned int filledFrom_ = 0;
};

namespace detail {

/// Owns a tag, or none; a copy owns a copy of it.
class TagPointer : public std::unique_ptr<dtsr_cDataTag> {
 public:
  /// Takes the tag over.
  explicit TagPointer(dtsr_cDataTag* tag = nullptr) noexcept : unique_ptr(tag) {}
  /// Copies the tag of the other one.
  TagPointer(const TagPointer& other) : unique_ptr(other.pCopy()) {}
  TagPointer(TagPointer&&) noexcept = default;
  /// Copies it; the tag owned before is deleted.
  TagPointer& operator=(const TagPointer& other) { return *this = TagPointer(other); }
  TagPointer& operator=(TagPointer&&) noexcept = default;

  /// A new copy, owned by the caller; null when there is no tag.
  dtsr_cDataTag* pCopy() const { return *this ? (*this)->pCopy() : nullptr; }
};

}  // namespace detail

/// A tag that also tells where the datum was taken. It is a full position: it can be limited and announces
/// its changes. Tagged streams hold the position alone.
///
/// Raw form: that of the plain tag, then x and y, 8 bytes each.
class DATASTORAGE_EXPORT dtsr_c2DPosition : public dtsr_cDataTag, public pos_c2DPosition {
 public:
  /// A place and a time.
  dtsr_c2DPosition(double x = 0, double y = 0, long time = Now());
  dtsr_c2DPosition(const pos_c2DPosition& position, long time);
  dtsr_c2DPosition(const dtsr_c2DPosition&) = default;
  /// Takes both; the position changes like any other.
  dtsr_c2DPosition& operator=(const dtsr_c2DPosition&) = default;
  /// Takes the position, and the present as the time.
  dtsr_c2DPosition& operator=(const pos_c2DPosition& position);
  ~dtsr_c2DPosition() override;

  void SetPosition(double x, double y) override;
  using pos_c2DPosition::Read;
  using pos_c2DPosition::Write;

  /// Takes only the time of a tag of another kind.
  void SetEqual(const dtsr_cDataTag& other) override;
  /// Positions are compared exactly.
  type_cBoolean IsEqual(const dtsr_cDataTag& other, type_cBoolean compareTime) override;
  /// Also "Error reading 2D tag." when the position is missing; it stays as it was then. A position that was
  /// read is set like any other change of it.
  void Read(bstr_cBinary_istream& in) override;
  /// Also "Error writing 2D tag.".
  void Write(bstr_cBinary_ostream& out) const override;
  unsigned int TagTypeID() const override;
  dtsr_cDataTag* pCopy() const override;
};
