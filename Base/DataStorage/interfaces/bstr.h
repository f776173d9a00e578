#pragma once

/// @file
/// Raw streams: bytes in memory and in files, and numbers in them: of fixed widths, little-endian on every
/// host.

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include <DataStorage/interfaces/detail/littleendian.h>
#include <DataStorage/interfaces/detail/scopedvalue.h>
#include <DataStorage/interfaces/export.h>
#include <DataStorage/interfaces/str.h>
#include <DataStorage/interfaces/type.h>

/// A raw stream of bytes to read from. Positions and counts are in bytes from the start of the data. A failed
/// operation leaves the position and makes `bGood()` false until the next successful `Seek`. A negative count
/// or position is a failure. Nothing is thrown but `std::bad_alloc`.
class DATASTORAGE_EXPORT bstr_cBinary_istream {
 public:
  virtual ~bstr_cBinary_istream();

  /// Reads `n` bytes. Reading past the end is a failure: what was there is read, the rest of `bytes` is left
  /// as it was. On a stream that is not good nothing is read.
  virtual type_cBoolean Read(void* bytes, std::int64_t n) = 0;
  /// Passes over `n` bytes; past the end is a failure and leaves the position.
  virtual type_cBoolean Skip(std::int64_t n) = 0;
  /// Goes to a position from 0 to `Size()`; anything else is a failure and leaves the position.
  virtual type_cBoolean Seek(std::int64_t position) = 0;
  /// Where the next byte is read.
  virtual std::int64_t Position() const = 0;
  /// The length of the data as it is now.
  virtual std::int64_t Size() const = 0;
  /// False from a failure to the next successful `Seek`.
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

  /// Writes `n` bytes at the position, over what is there or beyond the end. On a stream that is not good
  /// nothing is written.
  virtual type_cBoolean Write(const void* bytes, std::int64_t n) = 0;
  /// Goes to any position that is not negative; a gap that a later write leaves reads as zeros.
  virtual type_cBoolean Seek(std::int64_t position) = 0;
  /// Where the next byte is written.
  virtual std::int64_t Position() const = 0;
  /// The data end here and writing goes on here. The bytes beyond stay until they are overwritten, so that a
  /// process that dies right afterwards has lost nothing.
  virtual type_cBoolean SetEnd(std::int64_t position) = 0;
  /// False from a failure to the next successful `Seek`.
  virtual type_cBoolean bGood() const = 0;

 protected:
  bstr_cBinary_ostream() = default;
  bstr_cBinary_ostream(const bstr_cBinary_ostream&) = default;
  bstr_cBinary_ostream& operator=(const bstr_cBinary_ostream&) = default;
};

/// Reads from `n` bytes of memory, which stay the caller's and must outlive the stream.
class DATASTORAGE_EXPORT bstr_cMemory_istream final : public bstr_cBinary_istream {
 public:
  /// A null pointer and a negative `n` give a stream without bytes.
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

/// Writes into memory that grows as needed; where there is not enough of it the write fails.
class DATASTORAGE_EXPORT bstr_cMemory_ostream final : public bstr_cBinary_ostream {
 public:
  type_cBoolean Write(const void* bytes, std::int64_t n) override;
  type_cBoolean Seek(std::int64_t position) override;
  std::int64_t Position() const override { return position_; }
  type_cBoolean SetEnd(std::int64_t position) override { return Seek(position); }
  type_cBoolean bGood() const override { return good_; }

  /// What was written, from the first byte to the last; valid until the next write.
  const void* Data() const noexcept { return bytes_.data(); }
  /// How many bytes `Data()` has.
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
  bstr_OpenReadOnly = 3,  ///< only reading; a missing file is a failure and the output is never good
  bstr_CreateLocked = 4,  ///< like `bstr_CreateEmpty`, with the lock, before contents are discarded
  bstr_OpenLocked = 5,    ///< like `bstr_OpenExisting`, with the lock
  bstr_CreateNew = 6,     ///< read and write, with the lock; a file that exists is a failure
};

/// What became of the lock that a file stream asked for.
enum bstr_eLock {
  bstr_NoLock = 0,       ///< none was asked for, or the file could not be opened at all
  bstr_LockHeld = 1,     ///< this stream and its copies hold it
  bstr_LockTaken = 2,    ///< another stream, of this process or another one, holds it
  bstr_LockMissing = 3,  ///< the system or the file system has no such locks
};

/// Who holds the lock of the file at `path`, as far as the system says: "process 4711 (name)"; empty when it
/// does not say or nobody does. Linux says it of processes on the same machine.
DATASTORAGE_EXPORT str_cString bstr_LockHolder(const str_cString& path);

namespace detail {
class OpenFile;
class FileInput;
class FileOutput;
}  // namespace detail

/// A file opened for reading and writing, with an input and an output side that have positions of their own.
///
/// What was written is with the operating system before the operation returns, so that another process sees
/// it and a killed process has not lost it; nothing is synced to the disk. A write that would end past
/// 2^31 - 1 bytes is refused and writes nothing; one that the disk cuts short is a failure. The input reads
/// ahead up to 64 KiB: what another process rewrites there may go unseen until something elsewhere is read,
/// what it appends and what is written through this object or a copy of it never.
///
/// Only regular files open. The first stream that is opened for writing has the process ignore the signal for
/// an exceeded file size limit if nobody handles it, because it would end the program; the write fails
/// instead.
///
/// A copy refers to the same open file and has positions of its own; the file is closed with the last copy.
///
/// The lock of a file is for those who write to it and agree to ask for it: only one open file has it at a
/// time, and who is refused it does not open the file at all. Nobody waits. Streams that do not ask for it,
/// readers above all, open and use the file as ever. The system releases it when the last copy of the stream
/// is destroyed or its process ends; a child process that was forked meanwhile and runs on without replacing
/// its program holds it too. Where the system is asked through standard C++ only there is no lock.
class DATASTORAGE_EXPORT bstr_cBinary_fstream {
 public:
  /// Whether this succeeded is told by `bGood()` of both sides; a side that is not good here never will be.
  explicit bstr_cBinary_fstream(const str_cString& path, bstr_eAccess access = bstr_CreateOrOpen);
  /// Refers to the same open file, with positions of its own that begin where those of `other` are.
  bstr_cBinary_fstream(const bstr_cBinary_fstream& other);
  /// Goes over to the file of `other`, in the same way.
  bstr_cBinary_fstream& operator=(const bstr_cBinary_fstream& other);
  ~bstr_cBinary_fstream();

  /// The side to read from, with a position of its own; valid as long as this object.
  bstr_cBinary_istream& Input() noexcept;
  /// The side to write to, with a position of its own; valid as long as this object.
  bstr_cBinary_ostream& Output() noexcept;
  /// As it was given.
  const str_cString& Path() const noexcept { return path_; }
  /// Whether both sides are good; that of a stream that only reads never are.
  type_cBoolean bGood() const noexcept;
  /// What became of the lock.
  bstr_eLock Lock() const noexcept;
  /// What is written on from `place`, after the output was sought there, must not pass `end`: a write that
  /// would is refused and writes nothing. There is one such place at a time, for this stream and copies made
  /// later; a negative one is none.
  void LimitOutput(std::int64_t place, std::int64_t end) noexcept;

 private:
  friend class bstr_cKeptReading;
  str_cString path_;
  std::unique_ptr<detail::FileInput> input_;
  std::unique_ptr<detail::FileOutput> output_;
};

/// While it lives, pieces of less than 4 KiB that are read from the input of a file stream stay in memory,
/// where the next such reading finds them. For small records, far from one another, that are read again and
/// again: tags between large data. What is written over them through the stream or a copy of it takes them
/// out of memory again; what another process writes there goes unseen.
///
/// A piece takes 8 bytes beside its own. Those in order of their positions stay; one that is read out of
/// order takes the place of all behind it.
class DATASTORAGE_EXPORT bstr_cKeptReading {
 public:
  /// Seeks the input. The stream must outlive this object.
  bstr_cKeptReading(bstr_cBinary_fstream& file, std::int64_t position);

  /// That of the file stream.
  bstr_cBinary_istream& Input() noexcept { return input_; }

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

/// Writes numbers one behind the other, without padding, with one call of the stream.
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

/// Reads numbers written by `bstr_WriteFields`; all of them stay as they are when that fails.
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
