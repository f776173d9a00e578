#include <algorithm>
#include <array>
#include <atomic>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <limits>
#include <string>
#include <system_error>
#include <utility>

#include <DataStorage/interfaces/bstr.h>
#include <DataStorage/interfaces/detail/crc32c.h>
#include <Utility/keptpieces.h>
#include <Utility/system.h>

namespace detail {

namespace {

/// Positions in files fit 32-bit signed integers.
constexpr std::int64_t LargestFile = std::numeric_limits<std::int32_t>::max();
/// Systems differ in how much one call may transfer; all accept this much.
constexpr std::int64_t LargestTransfer = std::int64_t{1} << 30;

constexpr std::int64_t WindowSize = 64 * 1024;
/// The size of a read ahead that does not continue the last one: it costs little more than the call itself.
constexpr std::int64_t FirstWindow = 4 * 1024;
/// A step forwards of less than this continues the last read: a full window then holds enough of the next
/// reads to be worth copying.
constexpr std::int64_t NearStep = 8 * 1024;
/// Reads from this size on gain nothing from the window and bypass it.
constexpr std::int64_t DirectRead = 4 * 1024;
/// Records that are read in one go, while the first cache still holds those before.
constexpr std::int64_t RecordsAtOnce = 256;
/// Most kept records are no longer than this.
constexpr std::size_t LikelyRecord = 64;

}  // namespace

/// One open file, shared by the two sides of a stream and of its copies.
class OpenFile {
 public:
  OpenFile(const str_cString& path, bstr_eAccess access) : access_(access) {
    const bool whole =
        path == path.CString();  // the system would stop at a zero byte and open something else
    if (whole) file_ = file_calls.open(path.CString(), access);
    reached_ = bReadable() ? 0 : -1;
  }
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;
  ~OpenFile() {
    if (bReadable()) file_calls.close(file_);
  }

  bool bReadable() const { return file_ != NoFile && file_ != TakenFile && file_ != UnlockableFile; }
  bool bWritable() const { return bReadable() && access_ != bstr_OpenReadOnly; }

  bstr_eLock Lock() const {
    if (file_ == TakenFile) return bstr_LockTaken;
    if (file_ == UnlockableFile) return bstr_LockMissing;
    return bReadable() && bLocks(access_) ? bstr_LockHeld : bstr_NoLock;
  }

  /// Reads at least `n` and at most `room` bytes, fewer at the end of the file or on an error; returns how
  /// many.
  std::int64_t Read(unsigned char* bytes, std::int64_t n, std::int64_t room, std::int64_t position) {
    std::int64_t done = 0;
    while (done < n) {
      const std::int64_t moved =
          file_calls.read_at(file_, bytes + done, std::min(room - done, LargestTransfer), position + done);
      if (moved <= 0) break;
      done += moved;
    }
    if (done > 0) Reach(position + done);
    return done;
  }

  /// False when not all of it could be written. `head` is short.
  bool Write(Bytes head, Bytes bytes, std::int64_t position) {
    const std::int64_t end = position + std::ssize(head) + std::ssize(bytes);
    ++writes_;
    kept_.Drop(position, end);
    while (position < end) {
      const Bytes now = bytes.first(std::min(bytes.size(), static_cast<std::size_t>(LargestTransfer)));
      const std::int64_t moved = file_calls.write_at(file_, head, now, position);
      if (moved <= 0) return false;
      position += moved;
      const std::size_t of_head = std::min(static_cast<std::size_t>(moved), head.size());
      head = head.subspan(of_head);
      bytes = bytes.subspan(static_cast<std::size_t>(moved) - of_head);
    }
    Reach(position);
    return true;
  }

  std::int64_t Size() const { return bReadable() ? std::max<std::int64_t>(file_calls.size(file_), 0) : 0; }

  /// Whether the file is at least this long. Calls the system only beyond the length known so far; a file
  /// truncated since then shows when it is read.
  bool bReaches(std::int64_t position) {
    if (position > Reached() && bReadable()) reached_ = Size();
    return position <= Reached();
  }
  /// How long it is known to be; -1 where there is no file.
  std::int64_t Reached() const { return reached_.load(std::memory_order_relaxed); }

  /// The number of writes so far, as far as windows must be read again after them.
  std::uint64_t Writes() const { return writes_; }

  void Forget(std::int64_t position) {
    ++writes_;
    kept_.Drop(position, LargestFile);
  }

  bool Sync() { return bWritable() && file_calls.sync != nullptr && file_calls.sync(file_); }

  std::int64_t ChangeTime() const { return bReadable() ? file_calls.change_time(file_) : 0; }
  bstr_ePathNames PathNames(const char* path) const {
    return bReadable() ? file_calls.path_names(file_, path) : bstr_NamesAnother;
  }

  KeptPieces& Kept() { return kept_; }

 private:
  void Reach(std::int64_t position) {
    if (position > Reached()) reached_.store(position, std::memory_order_relaxed);
  }

  std::intptr_t file_ = NoFile;
  bstr_eAccess access_;
  std::atomic<std::int64_t> reached_;  // because threads may use ReadNow at the same time
  std::uint64_t writes_ = 0;
  KeptPieces kept_;
};

class FileInput final : public bstr_cBinary_istream {
 public:
  explicit FileInput(std::shared_ptr<OpenFile> file) : file_(std::move(file)), good_(file_->bReadable()) {}
  FileInput(const FileInput& other) : bstr_cBinary_istream(other) { *this = other; }
  /// Copies file and position, but not the window.
  FileInput& operator=(const FileInput& other) {
    file_ = other.file_;
    position_ = other.position_;
    good_ = other.good_;
    window_length_ = 0;
    return *this;
  }

  type_cBoolean Read(void* bytes, std::int64_t n) override {
    auto* to = static_cast<unsigned char*>(bytes);
    if (!good_ || keeping_ || !bFew(n) || !bWindowHolds(n, position_)) return ReadElsewhere(to, n);
    CopyFew(AtInWindow(position_), n, to);
    position_ += n;
    return true;
  }

  type_cBoolean Skip(std::int64_t n) override {
    good_ = good_ && n >= 0 && n <= std::numeric_limits<std::int64_t>::max() - position_ &&
            file_->bReaches(position_ + n);
    if (good_) position_ += n;
    return good_;
  }

  type_cBoolean Seek(std::int64_t position) override {
    if (position < 0 || position > file_->Reached()) return SeekFar(position);
    position_ = position;
    return good_ = true;
  }

  /// See bstr_cKeptReading::Records.
  Bytes Records(const long* positions, std::int64_t n, std::int64_t length) {
    const std::int64_t most = std::min(n, RecordsAtOnce);
    KeptPieces& kept = file_->Kept();
    Bytes records = kept.Records(positions, most, length);
    std::int64_t count = std::ssize(records) / length;
    if (count == 0) {
      while (count < most && (count == 0 || positions[count] >= kept.End()) &&
             bInWindow(length, positions[count])) {
        count +=
            kept.KeepRecords(positions + count, most - count, length, Window(), window_start_, n - count);
      }
      records = kept.Newest(count * length);
    }
    if (count > 0) {
      position_ = positions[count - 1] + length;
      good_ = true;
    }
    return records;
  }

  std::int64_t Position() const override { return position_; }
  std::int64_t Size() const override { return file_->Size(); }
  type_cBoolean bGood() const override { return good_; }

  /// Whether small reads use the kept pieces.
  bool& Keeping() { return keeping_; }
  OpenFile& File() const { return *file_; }

 private:
  /// Where it is not known whether the file is that long. This and the next function are not inline, so that
  /// the usual seeks and reads are short.
  [[gnu::noinline]] bool SeekFar(std::int64_t position) {
    good_ = position >= 0 && file_->bReaches(position);
    if (good_) position_ = position;
    return good_;
  }

  /// All but the few bytes that the window holds.
  [[gnu::noinline]] bool ReadElsewhere(unsigned char* bytes, std::int64_t n) {
    good_ = good_ && n >= 0 && (keeping_ ? ReadKept(bytes, n) : ReadHere(bytes, n));
    if (good_) position_ += n;
    return good_;
  }

  bool ReadKept(unsigned char* bytes, std::int64_t n) {
    KeptPieces& kept = file_->Kept();
    if (kept.Copy(bytes, n, position_) || (kept.bFind(position_) && kept.Copy(bytes, n, position_))) {
      return true;
    }
    std::array<unsigned char, LikelyRecord> record;  // one read instead of several
    const std::int64_t length = std::min(kept.LikelyLength(position_), std::ssize(record));
    if (length > n && position_ <= LargestFile - length && ReadHere(record.data(), length)) {
      kept.Keep(record.data(), length, position_);
      return kept.Copy(bytes, n, position_);
    }
    if (!ReadHere(bytes, n)) return false;
    if (n > 0 && n < DirectRead && position_ <= LargestFile - n) kept.Keep(bytes, n, position_);
    return true;
  }

  bool ReadHere(unsigned char* bytes, std::int64_t n) {
    const std::int64_t held = CopyFromWindow(bytes, n, position_);
    bytes += held;
    n -= held;
    const std::int64_t position = position_ + held;
    if (n == 0) return true;
    if (n >= DirectRead) return file_->Read(bytes, n, n, position) == n;
    MoveWindow(n, position);
    return CopyFromWindow(bytes, n, position) == n;
  }

  bool bWindowIsNew() const { return window_writes_ == file_->Writes(); }
  bool bWindowHolds(std::int64_t n, std::int64_t position) const {
    const std::int64_t offset = position - window_start_;
    return offset >= 0 && n <= window_length_ - offset && bWindowIsNew();
  }
  /// Moves the window where need be.
  bool bInWindow(std::int64_t n, std::int64_t position) {
    if (position < 0 || position > LargestFile - n) return false;
    if (!bWindowHolds(n, position)) MoveWindow(n, position);
    return bWindowHolds(n, position);
  }
  Bytes Window() const { return BytesAt(window_.get(), window_length_); }
  const unsigned char* AtInWindow(std::int64_t position) const {
    return window_.get() + (position - window_start_);
  }

  /// Copies those of `n` bytes from `position` on that the window holds; returns how many.
  std::int64_t CopyFromWindow(unsigned char* bytes, std::int64_t n, std::int64_t position) const {
    if (!bWindowHolds(1, position)) return 0;
    const std::int64_t held = std::min(n, window_start_ + window_length_ - position);
    std::copy_n(AtInWindow(position), held, bytes);
    return held;
  }

  /// Fills the window from `position` on: fully when the caller moves forwards in small steps, else a little.
  void MoveWindow(std::int64_t n, std::int64_t position) {
    if (!window_) window_ = std::make_unique_for_overwrite<unsigned char[]>(WindowSize);
    const std::int64_t step = position - (window_start_ + window_length_);
    const bool onwards = window_length_ > 0 && bWindowIsNew() && step > -n && step < NearStep;
    const std::int64_t room = onwards ? WindowSize : FirstWindow;
    window_length_ = file_->Read(window_.get(), n, room, position);
    window_start_ = position;
    window_writes_ = file_->Writes();
  }

  std::shared_ptr<OpenFile> file_;
  std::int64_t position_ = 0;
  bool good_ = false;
  bool keeping_ = false;                     // of this stream alone, not of its copies
  std::unique_ptr<unsigned char[]> window_;  // made by the first small read
  std::int64_t window_start_ = 0;
  std::int64_t window_length_ = 0;
  std::uint64_t window_writes_ = 0;  // the count of writes when the window was read
};

class FileOutput final : public bstr_cBinary_ostream {
 public:
  explicit FileOutput(std::shared_ptr<OpenFile> file) : file_(std::move(file)), good_(file_->bWritable()) {}

  type_cBoolean Write(const void* bytes, std::int64_t n) override { return WriteTwo(nullptr, 0, bytes, n); }

  type_cBoolean WriteTwo(const void* head, std::int64_t head_n, const void* bytes, std::int64_t n) override {
    const std::int64_t room = end_ - position_;
    good_ = good_ && head_n >= 0 && n >= 0 && head_n <= room && n <= room - head_n &&
            file_->Write(BytesAt(head, head_n), BytesAt(bytes, n), position_);
    if (good_ && summing_) sum_ = Crc32c(BytesAt(bytes, n), Crc32c(BytesAt(head, head_n), sum_));
    if (good_) position_ += head_n + n;
    return good_;
  }

  type_cBoolean Seek(std::int64_t position) override {
    good_ = file_->bWritable() && position >= 0;
    if (good_) position_ = position;
    sum_begin_ = summing_ ? position_ : -1;
    sum_ = 0;
    end_ = position_ == limited_place_ ? limited_end_ : LargestFile;
    return good_;
  }

  std::int64_t Position() const override { return position_; }
  type_cBoolean SetEnd(std::int64_t position) override { return Seek(position); }
  type_cBoolean bGood() const override { return good_; }

  void Limit(std::int64_t place, std::int64_t end) {
    limited_place_ = place;
    limited_end_ = std::min(end, LargestFile);
  }

  void Sum(bool sum) {
    summing_ = sum;
    sum_begin_ = -1;
  }
  bool bSum(std::int64_t begin, std::int64_t end, std::uint32_t& sum) const {
    if (!summing_ || begin != sum_begin_ || end != position_) return false;
    sum = sum_;
    return true;
  }

 private:
  std::shared_ptr<OpenFile> file_;
  std::int64_t position_ = 0;
  bool good_;
  std::int64_t end_ = LargestFile;  // where writes after the last Seek must end
  std::int64_t limited_place_ = -1;
  std::int64_t limited_end_ = LargestFile;
  bool summing_ = false;
  std::int64_t sum_begin_ = -1;  // where the last Seek went
  std::uint32_t sum_ = 0;        // of what was written since then
};

}  // namespace detail

namespace {

detail::FileInput& FileSide(const std::unique_ptr<bstr_cBinary_istream>& input) {
  return static_cast<detail::FileInput&>(*input);
}
detail::FileOutput& FileSide(const std::unique_ptr<bstr_cBinary_ostream>& output) {
  return static_cast<detail::FileOutput&>(*output);
}

namespace fs = std::filesystem;

// Paths are UTF-8 on every system. One that is not, on Windows, is an fs::filesystem_error.
fs::path PathOf(const str_cString& path) {
  const std::string_view bytes(path);
  return std::u8string(bytes.begin(), bytes.end());
}
str_cString TextOf(const fs::path& path) {
  const std::u8string bytes = path.u8string();
  return str_cString(std::string(bytes.begin(), bytes.end()));
}

str_cString AbsolutePathOf(const str_cString& path) try {
  const fs::path given = PathOf(path);
  if (given.is_absolute()) return path;
  std::error_code failed;
  const fs::path absolute = fs::absolute(given, failed);
  return failed ? path : TextOf(absolute);
} catch (const fs::filesystem_error&) {
  return path;
}

}  // namespace

str_cString bstr_LockHolder(const str_cString& path) {
  return str_cString(detail::LockHolder(path.CString()));
}

str_cString bstr_FollowedPath(const str_cString& path) try {
  std::error_code failed;
  const fs::path link = PathOf(path);
  if (!fs::is_symlink(fs::symlink_status(link, failed))) return path;
  const fs::path followed = fs::canonical(link, failed);
  return failed ? path : TextOf(followed);
} catch (const fs::filesystem_error&) {
  return path;
}

bstr_cBinary_fstream::bstr_cBinary_fstream(const str_cString& path, bstr_eAccess access)
    : path_(path), absolute_path_(AbsolutePathOf(path)) {
  const auto file = std::make_shared<detail::OpenFile>(path, access);
  input_ = std::make_unique<detail::FileInput>(file);
  output_ = std::make_unique<detail::FileOutput>(file);
}

bstr_cBinary_fstream::bstr_cBinary_fstream(const bstr_cBinary_fstream& other)
    : path_(other.path_),
      absolute_path_(other.absolute_path_),
      input_(std::make_unique<detail::FileInput>(FileSide(other.input_))),
      output_(std::make_unique<detail::FileOutput>(FileSide(other.output_))) {}

bstr_cBinary_fstream& bstr_cBinary_fstream::operator=(const bstr_cBinary_fstream& other) {
  path_ = other.path_;
  absolute_path_ = other.absolute_path_;
  FileSide(input_) = FileSide(other.input_);
  FileSide(output_) = FileSide(other.output_);
  return *this;
}

bstr_cBinary_fstream::~bstr_cBinary_fstream() = default;

type_cBoolean bstr_cBinary_fstream::bGood() const noexcept { return input_->bGood() && output_->bGood(); }

bstr_eLock bstr_cBinary_fstream::Lock() const noexcept { return FileSide(input_).File().Lock(); }

type_cBoolean bstr_cBinary_fstream::Sync() noexcept { return FileSide(input_).File().Sync(); }

type_cBoolean bstr_cBinary_fstream::SyncName() noexcept {
  return bCanSync() && detail::file_calls.sync_name(bstr_FollowedPath(absolute_path_).CString());
}

type_cBoolean bstr_cBinary_fstream::bCanSync() noexcept { return detail::file_calls.sync != nullptr; }

void bstr_cBinary_fstream::SumOutput(bool sum) noexcept { FileSide(output_).Sum(sum); }

type_cBoolean bstr_cBinary_fstream::bOutputSum(std::int64_t begin, std::int64_t end,
                                               std::uint32_t& sum) const noexcept {
  return FileSide(output_).bSum(begin, end, sum);
}

std::int64_t bstr_cBinary_fstream::ReadNow(void* bytes, std::int64_t n, std::int64_t position) const {
  detail::OpenFile& file = FileSide(input_).File();
  return file.bReadable() && position >= 0 ? file.Read(static_cast<unsigned char*>(bytes), n, n, position)
                                           : 0;
}

void bstr_cBinary_fstream::Forget(std::int64_t position) noexcept {
  FileSide(input_).File().Forget(position);
}

std::int64_t bstr_cBinary_fstream::ChangeTime() const noexcept {
  return FileSide(input_).File().ChangeTime();
}

bstr_ePathNames bstr_cBinary_fstream::PathNames() const noexcept {
  return FileSide(input_).File().PathNames(absolute_path_.CString());
}

void bstr_cBinary_fstream::LimitOutput(std::int64_t place, std::int64_t end) noexcept {
  FileSide(output_).Limit(place, end);
}

bstr_cKeptReading::bstr_cKeptReading(bstr_cBinary_fstream& file, std::int64_t position)
    : input_(*file.input_), keeping_(FileSide(file.input_).Keeping(), true) {
  FileSide(file.input_).Seek(position);
}

std::span<const unsigned char> bstr_cKeptReading::Records(bstr_cBinary_fstream& file, const long* positions,
                                                          std::int64_t n, std::int64_t length) {
  return FileSide(file.input_).Records(positions, n, length);
}
