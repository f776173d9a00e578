#pragma once

#include <array>
#include <cstdint>
#include <memory>

#include <DataStorage/interfaces/arr.h>
#include <DataStorage/interfaces/bstr.h>
#include <DataStorage/interfaces/export.h>
#include <DataStorage/interfaces/expt.h>
#include <DataStorage/interfaces/str.h>
#include <DataStorage/interfaces/type.h>
#include <DataStorage/series/datatag.h>
#include <DataStorage/series/dimension.h>

namespace detail {
class SeriesChecksums;
struct SeriesHeader;
struct SeriesLists;
class SeriesSafety;
}  // namespace detail

/// "Can't open series file ...", because another process or object holds its lock; the message names the
/// holder as far as it is known. A later attempt may succeed.
class DATASTORAGE_EXPORT dtsr_cFileLockedException : public expt_cUserException {
 public:
  /// Thrown by the constructors of `dtsr_cFileSeriesBase`. `holder` is a text for the user, as returned by
  /// `bstr_LockHolder`.
  dtsr_cFileLockedException(const char* file, int line, const str_cString& path, const str_cString& holder);
  ~dtsr_cFileLockedException() override;

  /// "process 4711 (name)", or "another process" when the holder is not known; valid as long as the
  /// exception.
  const str_cString& Holder() const noexcept { return holder_; }

 private:
  str_cString holder_;
};

/// What `Refresh` of a file series found in the file since the object was created or last refreshed.
enum dtsr_eRefreshed {
  dtsr_NothingNew = 0,
  dtsr_Appended = 1,  ///< more data; those known before are the same
  dtsr_Reset = 2,     ///< the newest datum known before is not there any more: all are to be read again
  dtsr_Cut = 3,       ///< the newest datum or the lists are beyond the end of the file, or cannot be read
  dtsr_Replaced = 4,  ///< the path names another file, or another series was created in this one
  dtsr_Removed = 5,   ///< the path names no file
};

/// What a power cut may take from a file series; see `dtsr_cFileSeriesBase::SetDurability`.
enum dtsr_eDurability {
  dtsr_DurabilityNone = 0,    ///< what the system has not brought to the disk
  dtsr_DurabilityGroup = 1,   ///< the data since the last sync
  dtsr_DurabilityStrict = 2,  ///< nothing that was appended
};

/// The checksums beside a series file.
enum dtsr_eChecksums {
  dtsr_NoChecksums = 0,     ///< there is no file with checksums, or it cannot be opened
  dtsr_OtherChecksums = 1,  ///< the file is damaged, of another series or of an earlier filling of this one
  dtsr_HasChecksums = 2,
  dtsr_HeaderDiffers = 3,  ///< they are of the data, but the header or the dimensions have changed since
};

/// The result of comparing a datum with its checksum.
enum dtsr_eChecked {
  dtsr_Unchecked = 0,  ///< it has no checksum
  dtsr_Right = 1,
  dtsr_Wrong = 2,  ///< bytes of the datum or its tag are changed or missing
};

/// A series in a file with a fixed number of data slots, one for each index of its dimensions. It does not
/// wrap around: when it is full, nothing can be appended until it is reset.
///
/// A concrete series appends with `AppendDatum` and reads with `bReadDatum`. To append without `AppendDatum`
/// it seeks the output of `file_` to `dataOffsets_[NextWriteIndex()]`, writes the datum and calls
/// `SetNewestTag`, also when writing has failed: `SetNewestTag` then throws and makes the series usable
/// again. Datum k begins at `dataOffsets_[k]` and ends at `tagOffsets_[k]`.
///
/// When `SetNewestTag` returns, the datum is in the file and visible to other processes that open it; it is
/// not lost when the process is killed. A power cut can take the last data and damage them, unless
/// `SetDurability` asks for more. A file is shorter than 2^31 bytes; an append that would exceed this fails
/// and changes nothing.
///
/// Failures throw expt_cUserException with a message that names the path. The file and the object are then
/// unchanged, as far as the disk allows. Only one process at a time may append; `bstr_OpenLocked`,
/// `bstr_CreateLocked` and `bstr_CreateNew` ensure this among the processes that use them. Others may read
/// meanwhile; they find the data that were in the file when they opened it or called `Refresh`.
///
/// A concrete series may rewrite stored data and tags, move them and correct their offsets, or remove the
/// newest data by reducing `writeIndex_`; `UpdatePointers` writes such changes to the file. Tags stay in
/// memory after they are read, until they are rewritten through this object or a copy, so that further
/// searches need no system calls.
class DATASTORAGE_EXPORT dtsr_cFileSeriesBase {
 public:
  /// A copy uses the same open file, with positions and a write index of its own; only one of them may
  /// append.
  dtsr_cFileSeriesBase(const dtsr_cFileSeriesBase&) = default;
  /// Uses the file of `other` from now on, like a copy.
  dtsr_cFileSeriesBase& operator=(const dtsr_cFileSeriesBase& other) {
    return *this = dtsr_cFileSeriesBase(other);
  }
  /// The last copy closes the file.
  virtual ~dtsr_cFileSeriesBase();

  /// The number of data slots.
  int Size() const noexcept { return dataOffsets_.Size(); }
  /// The number of valid data.
  int NextWriteIndex() const noexcept { return writeIndex_; }
  /// The kind of the tags; 0 until the first one is stored.
  unsigned int TagTypeID() const noexcept { return tagTypeID_; }
  /// A new copy of the sample tag, owned by the caller; null until a tag was read or stored by this object.
  dtsr_cDataTag* pSampleTag() const { return sampleTag_.pCopy(); }
  /// The path given to the constructor.
  const str_cString& FilePath() const noexcept { return file_.Path(); }

  /// Learns what other processes or objects have done with the file. Takes less than 1 us when nothing has
  /// happened for a while, some more within 50 ms after a change.
  ///
  /// After `dtsr_Appended` and `dtsr_Reset` this object holds what is in the file; `dtsr_Reset` is returned
  /// also when the series was filled again to as many data or more, when the newest data were removed and
  /// when the newest known one was moved or has another tag. Older data that were rewritten or moved go
  /// unseen, as does a newest one that was rewritten with the same length and tag.
  ///
  /// `dtsr_Cut` leaves the object as it was: intact data can still be read. `dtsr_Removed`, and
  /// `dtsr_Replaced` when the path names another file, are returned by each call from then on that finds
  /// nothing new in the file that this object has open, with which it continues; a file that was replaced
  /// without a change of its own, by way of its folder or of a symbolic link, is noticed up to 50 ms later.
  /// When a file was overwritten by another series, this object holds no data any more and cannot append.
  /// That file, too, is to be opened again, and may not be complete yet.
  dtsr_eRefreshed Refresh();
  /// Reads the dimensions of the series, which the constructor does not. Throws what
  /// dtsr_cDimensionArray::Read throws, and "Can't read series file ..." when the dimensions are incomplete
  /// or have another number of indices than the file has slots; `dimensions` is then unchanged.
  void ReadDimensionArray(dtsr_cDimensionArray& dimensions);
  /// Reads the tag of datum i. Throws what `tag.Read` throws, "Can't read tag." when the file fails, and
  /// arr_cIndexException for a slot that does not exist. A copy of the first `tag` passed becomes the sample
  /// tag, even when reading fails. Requires i < NextWriteIndex().
  void GetTag(int i, dtsr_cDataTag& tag) const;
  /// Appends the tag of the datum that was just written, which ends at the position of the output. Throws
  /// arr_cIndexException when the series is full. Throws "Can't write to series file ..." when the datum or
  /// the tag cannot be written, when the output is positioned before the slot, and when datum and tag would
  /// overwrite valid ones; the output is then positioned at the slot. Datum and tag take five positioned
  /// writes, the first tag one more. The stream passed to `tag.Write` has the positions of the file; the tag
  /// cannot write before its own start.
  void SetNewestTag(const dtsr_cDataTag& tag);
  /// Empties the series; its dimensions, data type and tag type stay.
  void ResetWriteIndex();

  /// Decides when appended data are synced to the disk, in this object and copies made from now on, and syncs
  /// what is there, with the name of the file. Whatever the choice, an appended datum is visible to others at
  /// once and survives if the process is killed. After a power cut:
  ///
  /// - `dtsr_DurabilityGroup`: all data up to the last sync are there and right. Of those after it, which are
  ///   fewer than `data`, any may be missing or damaged although the count includes them; `Checked` returns
  ///   dtsr_Right only for those that are right, and `dseries verify` names the others: this choice keeps
  ///   checksums, as KeepChecksums does. An append syncs when it is the `data`th since the last sync, or when
  ///   that was `milliseconds` ago; `Sync` does, and the destructor of the last copy, which cannot
  ///   report a failure. No thread does it later.
  /// - `dtsr_DurabilityStrict`: all data whose append returned are there and right, and nothing else is
  ///   counted. Each append syncs twice: datum, tag and lists, then the count.
  ///
  /// Both rely on a disk that keeps what it has synced and writes sectors of 512 bytes as a whole. Where it
  /// tears them the count may be damaged; `dseries repair` then recovers the same data. With both, emptying
  /// the series syncs before the next datum can overwrite anything, and UpdatePointers syncs before and after
  /// it writes.
  ///
  /// A sync that fails is final: it and all later attempts to append, empty or sync throw "Can't write to
  /// series file ...", from this object and its copies, because the system may have dropped what it could not
  /// write. Reading works; the append that failed is undone. What other objects find in the file then is what
  /// a power cut leaves. Where the library uses only standard C++, throws "Can't sync series file ...".
  /// Throws arr_cSizeException for less than 1 datum or less than 0 ms, and what KeepChecksums throws.
  void SetDurability(dtsr_eDurability durability, int data = 100, int milliseconds = 1000);
  /// Returns when all data are on the disk, whatever was chosen. Throws as described there.
  void Sync();

  /// From now on stores a checksum with each datum that is appended, in a file beside the series file with
  /// ".crc32c" after its name: 4 bytes a datum, which cover datum and tag (of kinds unknown to the library as
  /// far as the next datum). Programs that do not know of it may read and append: their data have none. What
  /// they change shows as damage, and when they empty and fill the series all checksums count as others,
  /// unless the first tag is the same. Data that this object moves or rewrites need a Seal after
  /// UpdatePointers, which discards all checksums. Checksums of another series or filling are replaced.
  /// Returns what was there; where the header differs, it goes on doing so. Throws "Can't write checksums to
  /// ..." when that fails. An append that cannot store its checksum, which it does last, fails like one that
  /// cannot store its datum.
  dtsr_eChecksums KeepChecksums();
  /// Stores checksums for all data that have none, as they are in the file now, and syncs them; the series
  /// may be read-only. Returns their number; data that are not whole get none. Throws as KeepChecksums does.
  int Seal();
  /// Whether there are checksums of this series.
  dtsr_eChecksums Checksums() const;
  /// Reads datum i and its tag and compares them with their checksum. Throws arr_cIndexException unless
  /// 0 <= i < NextWriteIndex().
  dtsr_eChecked Checked(int i) const;

 protected:
  /// Creates a series file, or overwrites an existing file. `dataTypeID` is the type of the data. Throws
  /// arr_cIndexException for dimensions without indices, arr_cSizeException for negative sizes and too many
  /// indices; these, and lists that do not fit into a file, are detected before the file is touched. The file
  /// cannot be opened as a series before it is complete. With `bstr_CreateLocked` or `bstr_CreateNew` the
  /// lock is held until the file is closed; when it is held elsewhere, throws dtsr_cFileLockedException
  /// without waiting.
  dtsr_cFileSeriesBase(const str_cString& path, const dtsr_cDimensionArray& dimensions,
                       unsigned int dataTypeID, bstr_eAccess access = bstr_CreateEmpty);
  /// Opens a series file that holds data of the expected type. `bstr_OpenReadOnly` needs no write permission;
  /// `bstr_OpenLocked` holds the lock, or throws dtsr_cFileLockedException as on creation. Files of another
  /// format or data type, and files too short for their lists, throw.
  ///
  /// The offsets of valid data are not checked, so that the intact data of a truncated file can be read.
  /// Appending fails, and writes nothing, when the next datum would begin before the end of the lists, in a
  /// valid datum or tag, or beyond the end of the file; its offset in `dataOffsets_` is then negative. A
  /// concrete series that corrects the offset can append again. Appending also fails when the datum would
  /// overlap a valid one.
  dtsr_cFileSeriesBase(const str_cString& path, unsigned int dataTypeID,
                       bstr_eAccess access = bstr_OpenExisting);

  /// Appends a datum and its tag. `write` is called with the output, positioned at the start of the datum; it
  /// writes the datum and returns whether it succeeded. Throws what SetNewestTag and `write` throw; the
  /// series is then unchanged.
  template <class Write>
  void AppendDatum(const dtsr_cDataTag& tag, const Write& write) {
    bstr_cBinary_ostream& out = file_.Output();
    out.Seek(dataOffsets_[writeIndex_]);
    if (!write(out)) ThrowCannotWrite();
    SetNewestTag(tag);
  }
  /// Reads datum i. `read` is called with the input, positioned at the start of the datum, and returns
  /// whether it succeeded. Returns false also when there is no such datum, when it does not end where its tag
  /// begins, and when `read` throws arr_cSizeException.
  template <class Read>
  bool bReadDatum(int i, const Read& read) const try {
    bstr_cBinary_istream& in = file_.Input();
    return i >= 0 && i < writeIndex_ && in.Seek(dataOffsets_[i]) && read(in) &&
           in.Position() == tagOffsets_[i];
  } catch (const arr_cSizeException&) {
    return false;
  }
  /// Throws "Can't read datum ...", for a damaged datum.
  [[noreturn]] void ThrowCannotReadDatum(int i, int line = __builtin_LINE()) const;
  /// Whether the file has these dimensions, or others with the same raw form. Throws what ReadDimensionArray
  /// throws.
  bool bHasDimensions(const dtsr_cDimensionArray& dimensions);
  /// Throws "Invalid dimensions for ..." unless the file has these dimensions.
  void RequireDimensions(const dtsr_cDimensionArray& dimensions);

  /// Writes the number of valid data and both offset lists to the file; returns false on failure.
  type_cBoolean UpdatePointers();

  // GetTag is const for its callers, but moves the input and may set the sample tag.
  mutable bstr_cBinary_fstream file_;     ///< the series file
  long offsetListPosition_ = 0;           ///< the position of the lists in the file
  arr_cArray<long> dataOffsets_;          ///< one for each slot; 0 until known
  arr_cArray<long> tagOffsets_;           ///< one for each slot; 0 until written
  int writeIndex_ = 0;                    ///< the number of valid data
  type_cBoolean created_;                 ///< whether this object created the file
  mutable detail::TagPointer sampleTag_;  ///< null until one is known
  unsigned int tagTypeID_ = 0;            ///< 0 until the first tag is stored

 private:
  struct Plan;
  struct Known;
  dtsr_cFileSeriesBase(const str_cString& path, Plan&& plan, bstr_eAccess access);
  template <class Store>
  friend class dtsr_cStoredSeries;
  // Moves from a temporary copy; the file comes first, because only that can fail.
  dtsr_cFileSeriesBase& operator=(dtsr_cFileSeriesBase&&) = default;

  /// The first datum whose tag may equal `tag`; the number of valid data when there is none.
  int FirstLike(const dtsr_cDataTag& tag, type_cBoolean compareTime) const;
  detail::SeriesLists Lists() const;
  bool bCanWrite() const { return !readOnly_ && !abandoned_; }
  bool bSynced();
  bool bSyncFailed() const;
  detail::SeriesSafety& Safety() const;
  void RequireSync() const;
  dtsr_eChecksums OpenChecksums();
  bool bNewChecksums(std::uint32_t firstTagSum);
  std::uint32_t FixedSum() const;
  std::uint32_t FirstTagSum() const;
  std::int64_t CoveredEnd(int i) const;
  std::uint32_t SumOfWritten(std::int64_t begin, std::int64_t end) const;
  std::uint32_t StoredSum(int i, std::uint32_t filling) const;
  bool bAnyMatches(const detail::SeriesChecksums& checksums) const;
  bool bBeginSums(const bstr_cMemory_ostream& tag, std::int64_t next);
  bool bStoreSum(std::uint32_t datumSum, const bstr_cMemory_ostream& tag, std::int64_t next);
  bool bForgetSums();
  [[noreturn]] void ThrowCannotWriteChecksums(int line = __builtin_LINE()) const;
  bool bGood() const { return readOnly_ ? file_.Input().bGood() : file_.bGood(); }
  bool WriteLists();
  bool WritePointers();
  bool bBehindAll(std::int64_t place) const { return tail_ >= 0 && place >= tail_; }
  std::int64_t RoomAt(std::int64_t place, int first) const;
  void GuardNextPlace(int first = 0);
  bool bReadHeaderNow(detail::SeriesHeader& header) const;
  bool bReadLists(const detail::SeriesHeader& header);
  dtsr_eRefreshed RefreshContents(detail::SeriesHeader& header);
  dtsr_eRefreshed RefreshOnce(const detail::SeriesHeader& header);
  dtsr_eRefreshed ReadAppended(int end);
  dtsr_eRefreshed CompareNewest() const;
  dtsr_eRefreshed CompareNewest(long data, long tag) const;
  bool bReadTag(Known& known, std::int64_t place, std::int64_t next) const;
  void RememberNewest();
  dtsr_eRefreshed AfterReset(const dtsr_cDimensionArray& dimensions);
  dtsr_eRefreshed Abandon();
  void ForgetNextPlace();
  [[noreturn]] void ThrowCannotOpen(int line = __builtin_LINE()) const;
  [[noreturn]] void ThrowCannotRead(int line = __builtin_LINE()) const;
  [[noreturn]] void ThrowCannotWrite(int line = __builtin_LINE()) const;

  std::int64_t tail_ = -1;  // all valid data end before this position; -1 when unknown
  mutable std::shared_ptr<detail::SeriesSafety> safety_;  // null until it is needed
  mutable std::uint32_t fixedSum_ = 0;                    // 0 until it is needed
  unsigned int dataTypeID_ = 0;
  bool readOnly_ = false;
  bool abandoned_ = false;   // the file holds another series
  bool listsInFile_ = true;  // false after writing the lists has failed

  /// What Refresh compares with the file.
  struct Known {
    std::int64_t settled = -1;     // the time of the last change, if later ones have another time
    std::int64_t pathChecked = 0;  // when the path was last looked up
    int tagLength = -1;            // of the newest tag, as far as it is compared; -1 when unknown
    std::array<unsigned char, 24> tag;
  } known_;
};
