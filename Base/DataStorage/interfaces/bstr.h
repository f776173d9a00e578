#pragma once

/// @file
/// Raw streams of bytes in memory and in files, and functions that read and write numbers of fixed widths in
/// them, little-endian on every host.

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include <DataStorage/interfaces/detail/littleendian.h>
#include <DataStorage/interfaces/detail/scopedvalue.h>
#include <DataStorage/interfaces/export.h>
#include <DataStorage/interfaces/str.h>
#include <DataStorage/interfaces/type.h>

/// A raw stream of bytes to read from. Positions and counts are in bytes from the start of the data. A failed
/// operation does not move the position, and `bGood()` is false until the next successful `Seek`. Negative
/// counts and positions fail. Throws nothing but `std::bad_alloc`.
class DATASTORAGE_EXPORT bstr_cBinary_istream {
 public:
  virtual ~bstr_cBinary_istream();

  /// Reads `n` bytes. Reading past the end fails: the bytes up to the end are copied, the rest of `bytes` is
  /// unchanged. A stream that is not good reads nothing.
  virtual type_cBoolean Read(void* bytes, std::int64_t n) = 0;
  /// Skips `n` bytes; fails past the end.
  virtual type_cBoolean Skip(std::int64_t n) = 0;
  /// Moves to a position from 0 to `Size()`; fails for any other.
  virtual type_cBoolean Seek(std::int64_t position) = 0;
  /// The position of the next byte to read.
  virtual std::int64_t Position() const = 0;
  /// The current length of the data.
  virtual std::int64_t Size() const = 0;
  /// False from a failure until the next successful `Seek`.
  virtual type_cBoolean bGood() const = 0;

 protected:
  bstr_cBinary_istream() = default;
  bstr_cBinary_istream(const bstr_cBinary_istream&) = default;
  bstr_cBinary_istream& operator=(const bstr_cBinary_istream&) = default;
};

/// A raw stream of bytes to write to; otherwise like `bstr_cBinary_istream`.
class DATASTORAGE_EXPORT bstr_cBinary_ostream {
 public:
  virtual ~bstr_cBinary_ostream();

  /// Writes `n` bytes at the position, overwriting or extending the data. A stream that is not good writes
  /// nothing.
  virtual type_cBoolean Write(const void* bytes, std::int64_t n) = 0;
  /// Writes `head_n` bytes and `n` bytes after them, as `Write` does with one block. File streams write both
  /// in one system call; the default calls `Write` twice.
  virtual type_cBoolean WriteTwo(const void* head, std::int64_t head_n, const void* bytes, std::int64_t n);
  /// Moves to any position of 0 or more; a gap left by a later write reads as zeros.
  virtual type_cBoolean Seek(std::int64_t position) = 0;
  /// The position of the next byte to write.
  virtual std::int64_t Position() const = 0;
  /// Continues writing at `position`, where the data now end. The bytes beyond it stay until they are
  /// overwritten, so that a process that dies right afterwards loses nothing.
  virtual type_cBoolean SetEnd(std::int64_t position) = 0;
  /// False from a failure until the next successful `Seek`.
  virtual type_cBoolean bGood() const = 0;

 protected:
  bstr_cBinary_ostream() = default;
  bstr_cBinary_ostream(const bstr_cBinary_ostream&) = default;
  bstr_cBinary_ostream& operator=(const bstr_cBinary_ostream&) = default;
};

/// Reads from `n` bytes of memory that the caller owns. Requires that they outlive the stream.
class DATASTORAGE_EXPORT bstr_cMemory_istream final : public bstr_cBinary_istream {
 public:
  /// A null pointer or a negative `n` gives a stream without bytes.
  bstr_cMemory_istream(const void* bytes, std::int64_t n) noexcept
      : bytes_(static_cast<const unsigned char*>(bytes)),
        size_(bytes != nullptr ? std::max<std::int64_t>(n, 0) : 0) {}

  type_cBoolean Read(void* bytes, std::int64_t n) override;
  type_cBoolean Skip(std::int64_t n) override;
  type_cBoolean Seek(std::int64_t position) override;
  std::int64_t Position() const override { return position_; }
  std::int64_t Size() const override { return size_; }
  type_cBoolean bGood() const override { return good_; }

 private:
  const unsigned char* bytes_;
  std::int64_t size_;
  std::int64_t position_ = 0;
  bool good_ = true;
};

/// Writes to memory that grows as needed; a write fails when memory runs out.
class DATASTORAGE_EXPORT bstr_cMemory_ostream final : public bstr_cBinary_ostream {
 public:
  type_cBoolean Write(const void* bytes, std::int64_t n) override;
  type_cBoolean Seek(std::int64_t position) override;
  std::int64_t Position() const override { return position_; }
  type_cBoolean SetEnd(std::int64_t position) override { return Seek(position); }
  type_cBoolean bGood() const override { return good_; }

  /// The bytes written, from position 0 on; valid until the next write.
  const void* Data() const noexcept { return bytes_.data(); }
  /// The number of bytes at `Data()`.
  std::int64_t Size() const noexcept { return static_cast<std::int64_t>(bytes_.size()); }

 private:
  std::vector<unsigned char> bytes_;
  std::int64_t position_ = 0;
  bool good_ = true;
};

/// How a file stream opens its file.
enum bstr_eAccess {
  bstr_CreateOrOpen = 0,  ///< read and write; a missing file is created, old contents are kept
  bstr_CreateEmpty = 1,   ///< read and write; a missing file is created, old contents are discarded
  bstr_OpenExisting = 2,  ///< read and write; a missing file is a failure
  bstr_OpenReadOnly = 3,  ///< read only; a missing file is a failure, and the output is never good
  bstr_CreateLocked = 4,  ///< like `bstr_CreateEmpty`, but locks before contents are discarded
  bstr_OpenLocked = 5,    ///< like `bstr_OpenExisting`, but locks the file
  bstr_CreateNew = 6,     ///< read and write, locks the file; an existing file is a failure
};

/// The result of locking the file of a stream.
enum bstr_eLock {
  bstr_NoLock = 0,       ///< no lock was requested, or the file could not be opened
  bstr_LockHeld = 1,     ///< this stream and its copies hold it
  bstr_LockTaken = 2,    ///< another stream, of this process or another one, holds it
  bstr_LockMissing = 3,  ///< the system or the file system has no such locks
};

/// What the path of an open file names now.
enum bstr_ePathNames {
  bstr_NamesTheFile = 0,
  bstr_NamesAnother = 1,  ///< another file, or something else
  bstr_NamesNothing = 2,
};

/// The holder of the lock of the file at `path`: "process 4711 (name)"; empty when the file is not locked or
/// the system does not report the holder. Linux reports processes on the same machine.
DATASTORAGE_EXPORT str_cString bstr_LockHolder(const str_cString& path);

/// The path of the file that a symbolic link leads to; `path` itself when it is none or leads nowhere.
DATASTORAGE_EXPORT str_cString bstr_FollowedPath(const str_cString& path);

/// A file open for reading and writing; its input and its output each have a position of their own.
///
/// A write reaches the operating system before it returns: other processes see it, and it survives if this
/// process is killed. Only `Sync` waits for the disk. A write that would end past 2^31 - 1 bytes fails and
/// writes nothing; one that the disk cuts short fails. The input reads ahead up to 64 KiB: bytes that another
/// process rewrites there may be read with their old values until the input reads elsewhere. Appended bytes,
/// and writes through this object or a copy of it, are always seen.
///
/// Only regular files can be opened. On Windows a path is UTF-8 and may have any length that the file system
/// takes; names of devices (NUL, COM1) and of streams within a file (with a colon) are refused. Others may
/// read, write, rename and remove a file that is open. The handle is not inherited by child processes.
///
/// On POSIX systems the first stream opened for writing makes the process ignore SIGXFSZ, the signal for an
/// exceeded file size limit, unless the program handles it: by default it would end the program. The write
/// fails instead.
///
/// A copy refers to the same open file and has positions of its own; the last copy closes the file. Distinct
/// objects may be used from different threads; one object, or copies that share a file, from one thread at a
/// time.
///
/// The lock of a file is advisory and meant for writers: one open file holds it at a time. Opening with a
/// lock that another holds fails at once, without waiting. Streams opened without a lock, above all readers,
/// are not affected. The system releases the lock when the last copy of the stream is destroyed or its
/// process ends; a child process forked meanwhile that does not replace its program holds it too. Systems for
/// which the library uses only standard C++ have no locks: there the ways of opening with a lock fail, since
/// a second writer would destroy what the first one stores.
class DATASTORAGE_EXPORT bstr_cBinary_fstream {
 public:
  /// Opens the file; check `bGood()` of input and output. One that is not good now never will be.
  explicit bstr_cBinary_fstream(const str_cString& path, bstr_eAccess access = bstr_CreateOrOpen);
  /// Refers to the same open file; its own positions start at those of `other`.
  bstr_cBinary_fstream(const bstr_cBinary_fstream& other);
  /// Replaces the file by that of `other`, in the same way.
  bstr_cBinary_fstream& operator=(const bstr_cBinary_fstream& other);
  ~bstr_cBinary_fstream();

  /// The input, with a position of its own; valid as long as this object.
  bstr_cBinary_istream& Input() noexcept { return *input_; }
  /// The output, with a position of its own; valid as long as this object.
  bstr_cBinary_ostream& Output() noexcept { return *output_; }
  /// The path given to the constructor.
  const str_cString& Path() const noexcept { return path_; }
  /// The same path, in front of a relative one the folder that was current when the file was opened.
  const str_cString& AbsolutePath() const noexcept { return absolute_path_; }
  /// Whether input and output are good; always false for a read-only stream.
  type_cBoolean bGood() const noexcept;
  /// Whether the lock is held and, if not, why.
  bstr_eLock Lock() const noexcept;
  /// Returns when all that was written is on the disk, where power cuts leave it; false when that failed.
  /// What was written since the last success may then be lost, and a later success says nothing about it.
  type_cBoolean Sync() noexcept;
  /// The same for the name of a new file.
  type_cBoolean SyncName() noexcept;
  /// Whether the system can sync; not in plain standard C++.
  static type_cBoolean bCanSync() noexcept;
  /// Whether the output sums up what it writes.
  void SumOutput(bool sum) noexcept;
  /// The CRC-32C of what the output has written since its last `Seek`, if that is the bytes from `begin` to
  /// `end`, without gaps; otherwise false.
  type_cBoolean bOutputSum(std::int64_t begin, std::int64_t end, std::uint32_t& sum) const noexcept;
  /// Reads `n` bytes from `position` on as they are in the file now, whatever was read ahead, and moves
  /// nothing. Returns how many it has read: fewer at the end of the file or on an error. Threads may do this
  /// at the same time, each with a copy of its own, also while another copy is used otherwise.
  std::int64_t ReadNow(void* bytes, std::int64_t n, std::int64_t position) const;
  /// Discards what was read ahead, here and in copies, and what was kept from `position` on, because another
  /// process has written there.
  void Forget(std::int64_t position) noexcept;
  /// When the file was last written, renamed or removed, in nanoseconds since 1970-01-01 00:00 UTC. Changes
  /// that follow each other within 50 ms, or within 3 s where this is a whole number of seconds, may have the
  /// same time. 0 when the system does not keep it up to date.
  std::int64_t ChangeTime() const noexcept;
  /// What the path names now. In plain standard C++ another file cannot be distinguished from this one.
  bstr_ePathNames PathNames() const noexcept;
  /// Limits the writes that follow a `Seek` of the output to `place`: one that would pass `end` fails and
  /// writes nothing. There is one limit at a time, for this stream and copies made later; a negative `place`
  /// removes it.
  void LimitOutput(std::int64_t place, std::int64_t end) noexcept;

 private:
  friend class bstr_cKeptReading;
  str_cString path_;
  str_cString absolute_path_;
  std::unique_ptr<bstr_cBinary_istream> input_;   // a detail::FileInput
  std::unique_ptr<bstr_cBinary_ostream> output_;  // a detail::FileOutput
};

/// A scope in which reads of less than 4 KiB from the input of a file stream are kept in memory and reused,
/// also in later scopes. Meant for small records, far apart, that are read repeatedly: tags between large
/// data. Writes through the stream or a copy of it discard the kept bytes that they overwrite; writes of
/// another process there go unseen.
///
/// Each piece takes 8 bytes in addition to its own. Pieces are kept in the order of their positions; one that
/// is read out of order replaces all pieces after it.
class DATASTORAGE_EXPORT bstr_cKeptReading {
 public:
  /// Moves the input to `position`. Requires that the stream outlives this object.
  bstr_cKeptReading(bstr_cBinary_fstream& file, std::int64_t position);

  /// The input of the file stream.
  bstr_cBinary_istream& Input() noexcept { return input_; }

  /// Returns the records of `length` bytes, less than 4 KiB, at the first of `n` positions, one after the
  /// other, from memory or, when they are not there, read and kept. Returns fewer than `n` where that is all
  /// that is at hand, and none when the first cannot be read or is kept with another length. They are valid
  /// until the file stream is used again; its input is then after the last one.
  static std::span<const unsigned char> Records(bstr_cBinary_fstream& file, const long* positions,
                                                std::int64_t n, std::int64_t length);

 private:
  bstr_cBinary_istream& input_;
  detail::ScopedValue<bool> keeping_;
};

/// Reads `n` numbers with one call of the stream.
template <class T>
type_cBoolean bstr_ReadNumbers(bstr_cBinary_istream& in, T* values, std::int64_t n) {
  const type_cBoolean read = in.Read(values, n * static_cast<std::int64_t>(sizeof(T)));
  if (read) detail::SwapToLittleEndian(values, n);
  return read;
}

/// Writes `n` numbers, with one call of the stream on little-endian hosts.
template <class T>
type_cBoolean bstr_WriteNumbers(bstr_cBinary_ostream& out, const T* values, std::int64_t n) {
  if constexpr (detail::bLittleEndian<T>) {
    return out.Write(values, n * static_cast<std::int64_t>(sizeof(T)));
  } else {
    std::array<T, 512> block;
    for (std::int64_t done = 0; done < n; done += static_cast<std::int64_t>(block.size())) {
      const auto count = std::min(n - done, static_cast<std::int64_t>(block.size()));
      std::copy_n(values + done, count, block.begin());
      detail::SwapToLittleEndian(block.data(), count);
      if (!out.Write(block.data(), count * static_cast<std::int64_t>(sizeof(T)))) return false;
    }
    return out.bGood();
  }
}

/// Writes numbers one after the other, without padding, with one call of the stream.
template <class... T>
type_cBoolean bstr_WriteFields(bstr_cBinary_ostream& out, T... fields) {
  std::array<unsigned char, (sizeof(T) + ...)> bytes;
  unsigned char* target = bytes.data();
  const auto append = [&target](auto field) {
    detail::StoreLittleEndian(target, field);
    target += sizeof(field);
  };
  (append(fields), ...);
  return out.Write(bytes.data(), static_cast<std::int64_t>(bytes.size()));
}

/// Reads numbers written by `bstr_WriteFields`; leaves all of them unchanged on failure.
template <class... T>
type_cBoolean bstr_ReadFields(bstr_cBinary_istream& in, T&... fields) {
  std::array<unsigned char, (sizeof(T) + ...)> bytes;
  if (!in.Read(bytes.data(), static_cast<std::int64_t>(bytes.size()))) return false;
  const unsigned char* source = bytes.data();
  const auto take = [&source]<class Field>(Field& field) {
    field = detail::LoadLittleEndian<Field>(source);
    source += sizeof(field);
  };
  (take(fields), ...);
  return true;
}
