#pragma once

#include <cstdint>

#include <DataStorage/interfaces/arr.h>
#include <DataStorage/interfaces/bstr.h>
#include <DataStorage/interfaces/export.h>
#include <DataStorage/interfaces/expt.h>
#include <DataStorage/interfaces/str.h>
#include <DataStorage/interfaces/type.h>
#include <DataStorage/series/datatag.h>
#include <DataStorage/series/dimension.h>

namespace detail {
struct SeriesLists;
}  // namespace detail

/// Somebody else holds the lock that a series file was to be opened with: "Can't open series file ...", and
/// who that is, as far as the system says. The same may succeed later.
class DATASTORAGE_EXPORT dtsr_cFileLockedException : public expt_cUserException {
 public:
  /// Thrown by the constructors of `dtsr_cFileSeriesBase`. `holder` is a text for the user, as from
  /// `bstr_LockHolder`.
  dtsr_cFileLockedException(const char* file, int line, const str_cString& path, const str_cString& holder);
  ~dtsr_cFileLockedException() override;

  /// "process 4711 (name)", or "another process" where the system does not say; valid as long as the
  /// exception.
  const str_cString& Holder() const noexcept { return holder_; }

 private:
  str_cString holder_;
};

/// A series kept in a file with a fixed number of data slots, one for each index of its dimensions. It never
/// wraps: when it is full it takes no more data until it is reset.
///
/// A concrete series appends with `AppendDatum` and reads with `bReadDatum`. It may do so itself: to append a
/// datum it seeks the output of `file_` to `dataOffsets_[NextWriteIndex()]`, writes the datum there and calls
/// `SetNewestTag`; when the writing fails `SetNewestTag` is called all the same: it throws, and makes the
/// series usable again. Datum k begins at `dataOffsets_[k]` and ends at `tagOffsets_[k]`.
///
/// A datum is in the file for good, and seen by others who open it, when `SetNewestTag` has returned; a
/// process that is killed loses no such datum. Nothing is synced, so a power cut can take the last ones. A
/// file ends below 2^31 bytes; what would pass that is refused and changes nothing.
///
/// Failures throw expt_cUserException with a message that names the path. The file and the object are then as
/// they were before the operation, as far as the disk allows. One process at a time may append; with
/// `bstr_OpenLocked`, `bstr_CreateLocked` and `bstr_CreateNew` that is certain among those who use these.
/// Others may read meanwhile and find the data that were there when they opened the file. When another
/// process empties the series and fills it anew, this object has to be opened anew to see it.
///
/// A concrete series may rewrite stored data and tags, move them and correct their offsets, or take the
/// newest data back by a smaller `writeIndex_`; `UpdatePointers` makes such changes lasting. Tags are read as
/// they are in the file. They stay in memory once they were read, so that further searches need no system
/// calls.
class DATASTORAGE_EXPORT dtsr_cFileSeriesBase {
 public:
  /// A copy works on the same open file, with positions and a write index of its own: one of them appends.
  dtsr_cFileSeriesBase(const dtsr_cFileSeriesBase&) = default;
  /// Goes over to the file of `other`.
  dtsr_cFileSeriesBase& operator=(const dtsr_cFileSeriesBase& other) {
    return *this = dtsr_cFileSeriesBase(other);
  }
  /// Closes the file with the last copy.
  virtual ~dtsr_cFileSeriesBase();

  /// The number of data slots.
  int Size() const noexcept { return dataOffsets_.Size(); }
  /// The number of valid data.
  int NextWriteIndex() const noexcept { return writeIndex_; }
  /// The kind of the tags; 0 until the first one is stored.
  unsigned int TagTypeID() const noexcept { return tagTypeID_; }
  /// A new copy of the sample tag, owned by the caller; null until a tag was read or stored by this object.
  dtsr_cDataTag* pSampleTag() const { return sampleTag_.pCopy(); }
  /// As it was given.
  const str_cString& FilePath() const noexcept { return file_.Path(); }

  /// Reads the dimensions of the series, which opening does not. Throws what they throw, and "Can't read
  /// series file ..." when they are incomplete or do not have as many indices as the file has slots; the
  /// caller's object is unchanged then.
  void ReadDimensionArray(dtsr_cDimensionArray& dimensions);
  /// Reads the tag of datum i < NextWriteIndex(). Throws what the tag throws, and "Can't read tag.";
  /// a slot that does not exist raises arr_IndexError. The first tag asked for becomes the sample tag, also
  /// when it cannot be read.
  void GetTag(int i, dtsr_cDataTag& tag) const;
  /// Appends the tag of the datum that was just written, which ends at the position of the output. Raises
  /// arr_IndexError when the series is full. Throws "Can't write to series file ..." when the datum or the
  /// tag could not be written, when the output stands before the slot, and when datum and tag reach into
  /// others that are valid; the position of the output is then that of the slot. With the datum these are
  /// five positioned writes, and one more for the first tag. The tag sees itself written at its place in the
  /// file; it cannot write before that.
  void SetNewestTag(const dtsr_cDataTag& tag);
  /// Empties the series; its dimensions, data type and tag type stay.
  void ResetWriteIndex();

 protected:
  /// Creates a series file, or makes an existing file one. `dataTypeID` tells what the data are. Raises
  /// arr_IndexError for dimensions without any index, arr_SizeError for negative sizes and too many indices.
  /// Those, and lists that would not fit a file, are refused before the path is touched. Nobody can open the
  /// file before it is complete. With `bstr_CreateLocked` or `bstr_CreateNew` as `access` the lock is held
  /// until the file is closed; throws dtsr_cFileLockedException, without waiting, when somebody else holds
  /// it.
  dtsr_cFileSeriesBase(const str_cString& path, const dtsr_cDimensionArray& dimensions,
                       unsigned int dataTypeID, bstr_eAccess access = bstr_CreateEmpty);
  /// Opens a series file that holds data of the expected type. `bstr_OpenReadOnly` does not need permission
  /// to write; `bstr_OpenLocked` holds the lock, or throws dtsr_cFileLockedException like the creation.
  /// Refused are files of another format or data type, and those that do not hold the lists they claim.
  ///
  /// What the lists say of valid data is not judged: what can be read of them can be read, also of a file
  /// that was cut off. Appending fails, and writes nothing, where the next datum would stand before the end
  /// of the lists, in a valid datum or tag, or beyond the end of the file: its offset in `dataOffsets_` is
  /// negative then. A concrete series that corrects it can append again. A datum that would reach into a
  /// valid one fails too.
  dtsr_cFileSeriesBase(const str_cString& path, unsigned int dataTypeID,
                       bstr_eAccess access = bstr_OpenExisting);

  /// Appends a datum and its tag. `write` gets the output, which stands where the datum begins, writes the
  /// datum and returns whether that worked. Throws what SetNewestTag does, and what `write` does; the series
  /// is then as it was.
  template <class Write>
  void AppendDatum(const dtsr_cDataTag& tag, const Write& write) {
    bstr_cBinary_ostream& out = file_.Output();
    out.Seek(dataOffsets_[writeIndex_]);
    if (!write(out)) ThrowCannotWrite();
    SetNewestTag(tag);
  }
  /// Reads datum i. `read` gets the input, which stands where the datum begins, and returns whether it could
  /// be read. False also where there is no such datum, when it does not end where its tag begins, and when
  /// `read` raises arr_SizeError for what it finds.
  template <class Read>
  bool bReadDatum(int i, const Read& read) const try {
    bstr_cBinary_istream& in = file_.Input();
    return i >= 0 && i < writeIndex_ && in.Seek(dataOffsets_[i]) && read(in) &&
           in.Position() == tagOffsets_[i];
  } catch (const arr_cSizeException&) {
    return false;
  }
  /// Throws "Can't read datum ...", for one that is damaged.
  [[noreturn]] void ThrowCannotReadDatum(int i, int line = __builtin_LINE()) const;
  /// Throws "Invalid dimensions for ..." unless the file has these dimensions, or others with the same raw
  /// form.
  void RequireDimensions(const dtsr_cDimensionArray& dimensions);

  /// Writes the number of valid data and both offset lists to the file; false when that failed.
  type_cBoolean UpdatePointers();

  // GetTag is const for its callers, but moves the input and may set the sample tag.
  mutable bstr_cBinary_fstream file_;     ///< where data are written and read
  long offsetListPosition_ = 0;           ///< where the lists stand in the file
  arr_cArray<long> dataOffsets_;          ///< one for each slot; 0 until known
  arr_cArray<long> tagOffsets_;           ///< one for each slot; 0 until written
  int writeIndex_ = 0;                    ///< the number of valid data
  type_cBoolean created_;                 ///< by this object, not just opened
  mutable detail::TagPointer sampleTag_;  ///< null until one is known
  unsigned int tagTypeID_ = 0;            ///< 0 until the first tag is stored

 private:
  struct Plan;
  dtsr_cFileSeriesBase(const str_cString& path, Plan&& plan, bstr_eAccess access);
  template <class Store>
  friend class dtsr_cStoredSeries;
  // Of a copy that is not used any more; the file goes first, which alone can fail.
  dtsr_cFileSeriesBase& operator=(dtsr_cFileSeriesBase&&) = default;

  detail::SeriesLists Lists() const;
  bool bGood() const { return readOnly_ ? file_.Input().bGood() : file_.bGood(); }
  bool ReadLists();
  bool WriteLists();
  bool WritePointers();
  bool bBehindAll(std::int64_t place) const { return tail_ >= 0 && place >= tail_; }
  std::int64_t RoomAt(std::int64_t place) const;
  void GuardNextPlace();
  void ForgetNextPlace();
  [[noreturn]] void ThrowCannotOpen(int line = __builtin_LINE()) const;
  [[noreturn]] void ThrowCannotRead(int line = __builtin_LINE()) const;
  [[noreturn]] void ThrowCannotWrite(int line = __builtin_LINE()) const;

  std::int64_t tail_ = -1;  // all valid data were found to end before this; -1 when that is not known
  bool readOnly_ = false;
  bool listsInFile_ = true;  // false while the disk refuses to take lists that it has lost
};
