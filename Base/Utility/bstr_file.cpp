#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>
#include <limits>
#include <utility>

#include <DataStorage/interfaces/bstr.h>
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

Bytes BytesAt(const void* bytes, std::int64_t n) {
  return {static_cast<const unsigned char*>(bytes), static_cast<std::size_t>(n)};
}

/// As many bytes as a tag or a small datum has are copied without a call.
inline bool bFew(std::int64_t n) { return n >= 16 && n <= 32; }
inline void CopyFew(const unsigned char* from, std::int64_t n, unsigned char* to) {
  std::memcpy(to, from, 16);
  std::memcpy(to + n - 16, from + n - 16, 16);
}

inline void CopyRecord(const unsigned char* from, std::int64_t n, unsigned char* to) {
  if (bFew(n)) return CopyFew(from, n, to);
  std::memcpy(to, from, static_cast<std::size_t>(n));
}

}  // namespace

/// Elements that are made by writing them behind the last one, and are not filled before.
template <class T>
class Row {
 public:
  /// Takes memory for `n` elements more, and, when some is needed, for `expected` and as many as there are.
  void Reserve(std::int64_t n, std::int64_t expected = 0) {
    if (n <= capacity_ - (end_ - begin())) return;
    const std::int64_t size = end_ - begin(), capacity = size + std::max({n, expected, size});
    auto larger = std::make_unique_for_overwrite<T[]>(static_cast<std::size_t>(capacity));
    end_ = std::copy_n(begin(), size, larger.get());
    elements_ = std::move(larger);
    capacity_ = capacity;
  }
  void EndAt(T* end) { end_ = end; }

  T* begin() const { return elements_.get(); }
  T* end() const { return end_; }
  T& back() const { return end_[-1]; }
  T& operator[](std::size_t i) const { return elements_[i]; }
  bool empty() const { return end_ == begin(); }
  std::size_t size() const { return static_cast<std::size_t>(end_ - begin()); }

 private:
  std::unique_ptr<T[]> elements_;
  T* end_ = nullptr;
  std::int64_t capacity_ = 0;
};

/// Pieces of a file that are kept in memory, in the order of their positions.
class KeptPieces {
 public:
  /// Copies `n` bytes from `position` on; returns false unless all of them are in the piece found last.
  bool Copy(unsigned char* bytes, std::int64_t n, std::int64_t position) const {
    if (!found_.bHolds(position, n)) return false;
    std::copy_n(found_.bytes + (position - found_.begin), n, bytes);
    return true;
  }

  /// Keeps bytes in place of everything kept from `position` on. Bytes that directly follow the last piece
  /// extend it.
  void Keep(const unsigned char* bytes, std::int64_t n, std::int64_t position) {
    DropFrom(position);
    if (position != end_) BeginPiece(position);
    Lengthen(bytes, n);
    Select(pieces_.size() - 1);
  }

  /// Keeps records of `length` bytes in the same way, each as a piece of its own, that lie in the bytes of
  /// the file from `begin` on, up to the first one that does not or is out of order. Returns how many these
  /// are. Memory for `expected` records is taken at once when some is needed.
  std::int64_t KeepRecords(const long* positions, std::int64_t n, std::int64_t length, Bytes file,
                           std::int64_t begin, std::int64_t expected) {
    pieces_.Reserve(n, expected);
    bytes_.Reserve(n * length, expected * length);
    DropFrom(positions[0]);
    auto end = static_cast<std::uint32_t>(bytes_.size());
    Piece* piece = pieces_.end();
    unsigned char* record = bytes_.end();
    const std::int64_t last = begin + std::ssize(file) - length;
    std::int64_t count = 0;
    for (std::int64_t least = begin; count < n; ++count) {
      const std::int64_t position = positions[count];
      if (position < least || position > last) break;
      CopyRecord(file.data() + (position - begin), length, record);
      record += length;
      end += static_cast<std::uint32_t>(length);
      *piece++ = {static_cast<std::uint32_t>(position), end};
      least = position + length;
    }
    bytes_.EndAt(record);
    pieces_.EndAt(piece);
    if (count > 0) {
      end_ = positions[count - 1] + length;
      Select(pieces_.size() - 1);
    }
    return count;
  }

  /// Where the last piece ends in the file.
  std::int64_t End() const { return end_; }
  /// The last `n` bytes that were kept.
  Bytes Newest(std::int64_t n) const { return BytesAt(bytes_.end() - n, n); }

  /// The records of `length` bytes at these positions, as many as are kept one behind the other.
  Bytes Records(const long* positions, std::int64_t n, std::int64_t length) {
    if (n == 0 || !bFind(positions[0])) return {};
    const std::size_t first = piece_, begin = Begin(first);
    const auto stride = static_cast<std::size_t>(length);
    const std::size_t most = std::min(static_cast<std::size_t>(n), pieces_.size() - first);
    std::size_t count = 0;
    while (count < most && pieces_[first + count].position == positions[count] &&
           pieces_[first + count].end == begin + (count + 1) * stride) {
      ++count;
    }
    if (count > 0) Select(first + count - 1);
    return {bytes_.begin() + begin, count * stride};
  }

  /// The likely length of a record at `position`: that of the last piece; 0 when there is none or `position`
  /// continues it.
  std::int64_t LikelyLength(std::int64_t position) const {
    return pieces_.empty() || position == end_ ? 0 : end_ - pieces_.back().position;
  }

  /// Drops the bytes [begin, end), which are about to change in the file, and everything kept after them.
  void Drop(std::int64_t begin, std::int64_t end) {
    if (begin >= end_ || end <= pieces_[0].position) return;
    if (bFind(end - 1) && found_.end > begin) DropFrom(begin);
  }

  /// Finds the last piece that begins at or before `position`: usually the one after that found before.
  bool bFind(std::int64_t position) {
    std::size_t piece = piece_ + 1;
    if (!bBeginsLast(piece, position)) {
      const auto behind =
          std::upper_bound(pieces_.begin(), pieces_.end(), position,
                           [](std::int64_t p, const Piece& next) { return p < next.position; });
      if (behind == pieces_.begin()) return false;
      piece = static_cast<std::size_t>(behind - pieces_.begin()) - 1;
    }
    Select(piece);
    return true;
  }

 private:
  struct Piece {
    std::uint32_t position;  // in the file, which ends below 2^31
    std::uint32_t end;       // where its bytes end; they begin where those of the piece before do
  };
  struct Found {
    bool bHolds(std::int64_t position, std::int64_t n) const {
      return begin <= position && n <= end - position;
    }
    std::int64_t begin = 0, end = -1;
    const unsigned char* bytes = nullptr;
  };

  bool bBeginsLast(std::size_t piece, std::int64_t position) const {
    return piece < pieces_.size() && pieces_[piece].position <= position &&
           (piece + 1 == pieces_.size() || position < pieces_[piece + 1].position);
  }

  std::size_t Begin(std::size_t piece) const { return piece == 0 ? 0 : pieces_[piece - 1].end; }

  void Select(std::size_t piece) {
    const std::size_t begin = Begin(piece);
    piece_ = piece;
    found_.begin = pieces_[piece].position;
    found_.end = found_.begin + static_cast<std::int64_t>(pieces_[piece].end - begin);
    found_.bytes = bytes_.begin() + begin;
  }

  /// Begins a piece behind the last one, without any bytes as yet.
  void BeginPiece(std::int64_t position) {
    pieces_.Reserve(1);
    *pieces_.end() = {static_cast<std::uint32_t>(position), static_cast<std::uint32_t>(bytes_.size())};
    pieces_.EndAt(pieces_.end() + 1);
    end_ = position;
  }

  void Lengthen(const unsigned char* bytes, std::int64_t n) {
    bytes_.Reserve(n);
    bytes_.EndAt(std::copy_n(bytes, n, bytes_.end()));
    pieces_.back().end = static_cast<std::uint32_t>(bytes_.size());
    end_ += n;
  }

  /// Drops everything kept from `position` on.
  void DropFrom(std::int64_t position) {
    if (position >= end_) return;
    found_ = {};
    while (!pieces_.empty() && pieces_.back().position >= position) pieces_.EndAt(pieces_.end() - 1);
    end_ = -1;
    if (pieces_.empty()) return bytes_.EndAt(bytes_.begin());
    Piece& last = pieces_.back();
    const std::size_t begin = Begin(pieces_.size() - 1);
    end_ = std::min(std::int64_t{last.position} + static_cast<std::int64_t>(last.end - begin), position);
    last.end = static_cast<std::uint32_t>(begin + static_cast<std::size_t>(end_ - last.position));
    bytes_.EndAt(bytes_.begin() + last.end);
  }

  Row<Piece> pieces_;
  Row<unsigned char> bytes_;
  std::int64_t end_ = -1;  // of the last piece
  std::size_t piece_ = 0;  // that was found last
  Found found_;            // the same, while it is as it was
};

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
    if (done > 0) reached_ = std::max(reached_, position + done);
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
    reached_ = std::max(reached_, position);
    return true;
  }

  std::int64_t Size() const { return bReadable() ? std::max<std::int64_t>(file_calls.size(file_), 0) : 0; }

  /// Whether the file is at least this long. Calls the system only beyond the length known so far; a file
  /// truncated since then shows when it is read.
  bool bReaches(std::int64_t position) {
    if (position > reached_ && bReadable()) reached_ = Size();
    return position <= reached_;
  }
  /// How long it is known to be; -1 where there is no file.
  std::int64_t Reached() const { return reached_; }

  /// The number of writes so far.
  std::uint64_t Writes() const { return writes_; }

  KeptPieces& Kept() { return kept_; }

 private:
  std::intptr_t file_ = NoFile;
  bstr_eAccess access_;
  std::int64_t reached_;
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

  /// As bstr_cKeptReading tells.
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
  const OpenFile& File() const { return *file_; }

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
    if (good_) position_ += head_n + n;
    return good_;
  }

  type_cBoolean Seek(std::int64_t position) override {
    good_ = file_->bWritable() && position >= 0;
    if (good_) position_ = position;
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

 private:
  std::shared_ptr<OpenFile> file_;
  std::int64_t position_ = 0;
  bool good_;
  std::int64_t end_ = LargestFile;  // where writes after the last Seek must end
  std::int64_t limited_place_ = -1;
  std::int64_t limited_end_ = LargestFile;
};

}  // namespace detail

namespace {

detail::FileInput& FileSide(const std::unique_ptr<bstr_cBinary_istream>& input) {
  return static_cast<detail::FileInput&>(*input);
}
detail::FileOutput& FileSide(const std::unique_ptr<bstr_cBinary_ostream>& output) {
  return static_cast<detail::FileOutput&>(*output);
}

}  // namespace

str_cString bstr_LockHolder(const str_cString& path) {
  return str_cString(detail::LockHolder(path.CString()));
}

bstr_cBinary_fstream::bstr_cBinary_fstream(const str_cString& path, bstr_eAccess access) : path_(path) {
  const auto file = std::make_shared<detail::OpenFile>(path, access);
  input_ = std::make_unique<detail::FileInput>(file);
  output_ = std::make_unique<detail::FileOutput>(file);
}

bstr_cBinary_fstream::bstr_cBinary_fstream(const bstr_cBinary_fstream& other)
    : path_(other.path_),
      input_(std::make_unique<detail::FileInput>(FileSide(other.input_))),
      output_(std::make_unique<detail::FileOutput>(FileSide(other.output_))) {}

bstr_cBinary_fstream& bstr_cBinary_fstream::operator=(const bstr_cBinary_fstream& other) {
  path_ = other.path_;
  FileSide(input_) = FileSide(other.input_);
  FileSide(output_) = FileSide(other.output_);
  return *this;
}

bstr_cBinary_fstream::~bstr_cBinary_fstream() = default;

type_cBoolean bstr_cBinary_fstream::bGood() const noexcept { return input_->bGood() && output_->bGood(); }

bstr_eLock bstr_cBinary_fstream::Lock() const noexcept { return FileSide(input_).File().Lock(); }

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
