#include "io/raw.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <iterator>
#include <limits>
#include <utility>

#include "file/failure.h"
#include "file/text.h"
#include "io/interrupt.h"
#include "io/system.h"

namespace dseries {

namespace {

constexpr std::int64_t read_size = 1 << 20;
constexpr std::int64_t largest_file = std::numeric_limits<std::int32_t>::max();

}  // namespace

/// The bytes of the input, read in order or, from a regular file, at any offset.
class RawInput::Source {
 public:
  explicit Source(const std::string& path) : name_(path == "-" ? "standard input" : path), file_(path) {
    if (!file_.bOpen() && KindOf(path) == FileKind::Folder) Fail("{} is a folder", path);
    if (!file_.bOpen() && errno == ENOENT) Fail("there is no file {}", path);
    const FileKind kind = file_.bOpen() ? file_.Kind() : FileKind::Missing;
    if (kind == FileKind::Missing) Refuse();
    if (kind == FileKind::Folder) Fail("{} is a folder", name_);
    if (kind == FileKind::Stream) return;
    start_ = file_.Position();
    length_ = std::max<std::int64_t>(file_.Size() - start_, 0);
  }

  const std::string& Name() const { return name_; }
  /// None for a pipe.
  std::optional<std::int64_t> Length() const { return length_; }

  /// Reads the next bytes, and returns how many there were: fewer only at the end.
  std::int64_t Read(char* bytes, std::int64_t n) {
    if (buffer_.empty()) buffer_.resize(read_size);
    std::int64_t done = 0;
    while (done < n) {
      if (begin_ == end_ && !Fill()) break;
      const std::int64_t part = std::min(n - done, end_ - begin_);
      std::memcpy(bytes + done, buffer_.data() + begin_, static_cast<std::size_t>(part));
      begin_ += part;
      done += part;
    }
    return done;
  }

  /// Reads bytes at an offset; false when the file has become shorter. Requires a regular file.
  bool ReadAt(std::int64_t offset, char* bytes, std::int64_t n) const {
    for (std::int64_t done = 0; done < n;) {
      const std::int64_t part = file_.ReadAt(bytes + done, n - done, start_ + offset + done);
      if (part < 0) Refuse();
      if (part == 0) return false;
      done += part;
    }
    return true;
  }

 private:
  [[noreturn]] void Refuse() const { Fail("{} cannot be read: {}", name_, std::strerror(errno)); }

  /// Reads the bytes that are available, as a pipe may be slow.
  bool Fill() {
    const std::int64_t n = file_.Read(buffer_.data(), std::ssize(buffer_), CheckInterruption);
    if (n < 0) Refuse();
    begin_ = 0;
    end_ = n;
    return n > 0;
  }

  std::string name_;
  InputFile file_;
  std::int64_t start_ = 0;
  std::optional<std::int64_t> length_;
  std::vector<char> buffer_;
  std::int64_t begin_ = 0, end_ = 0;  ///< the unread part of the buffer
};

RawInput::RawInput(const std::string& path, dtyp_cDataType type, const std::vector<int>& extents,
                   bool interleaved, std::int64_t block_size)
    : element_size_(type.SizeOf()), size_(element_size_), interleaved_(interleaved), block_size_(block_size) {
  for (const int extent : extents) {
    size_ *= extent;
    if (size_ > largest_file) {
      Fail("data of {} elements of type {} would pass 2 GiB, which no series file holds",
           fmt::join(extents, " x "), ElementName(type));
    }
  }
  source_ = std::make_unique<Source>(path);
  std::optional<std::int64_t> length = source_->Length();
  if (interleaved_ && !length) {
    std::int64_t used = 0;
    for (std::int64_t n = read_size; n == read_size; used += n) {
      if (used > block_size_) {
        Fail("{} has more than {} of interleaved data, which can only be read from a file", source_->Name(),
             SizeText(block_size_));
      }
      block_.resize(static_cast<std::size_t>(used + read_size));
      n = source_->Read(block_.data() + used, read_size);
    }
    length = used;
  }
  if (!length) return;
  if (*length == 0 || *length % size_ != 0) {
    Fail("{}: {} bytes are not a whole number of data with {} elements of {} bytes", source_->Name(), *length,
         fmt::join(extents, " x "), element_size_);
  }
  if (*length / size_ > std::numeric_limits<int>::max()) Fail("{} holds too many data", source_->Name());
  count_ = static_cast<int>(*length / size_);
}

RawInput::RawInput(RawInput&&) noexcept = default;
RawInput::~RawInput() = default;

bool RawInput::Next(char* bytes) {
  if (count_ && next_ == *count_) return false;
  if (interleaved_) {
    if (next_ == block_end_) TurnBlock();
    std::memcpy(bytes, block_.data() + (next_ - block_begin_) * size_, static_cast<std::size_t>(size_));
  } else if (const std::int64_t n = source_->Read(bytes, size_); n < size_) {
    if (n == 0 && !count_ && next_ > 0) return false;
    Fail("{} ends within its datum {}: {} of {} bytes", source_->Name(), next_, n, size_);
  }
  ++next_;
  return true;
}

void RawInput::TurnBlock() {
  const std::int64_t elements = size_ / element_size_, row = *count_ * element_size_;
  const bool in_memory = !source_->Length();
  const std::vector<char> whole = in_memory ? std::exchange(block_, {}) : std::vector<char>();
  block_begin_ = next_;
  block_end_ = in_memory
                   ? *count_
                   : std::min<std::int64_t>(*count_, next_ + std::max<std::int64_t>(block_size_ / size_, 1));
  const std::int64_t run =
      (block_end_ - block_begin_) * element_size_;  // in a row, which holds one element of all data
  block_.resize(static_cast<std::size_t>((block_end_ - block_begin_) * size_));

  // Short rows are read several at once.
  const std::int64_t rows_at_once = std::max<std::int64_t>(read_size / row, 1);
  std::vector<char> rows;
  for (std::int64_t k = 0; k < elements; k += rows_at_once) {
    const std::int64_t n = std::min(rows_at_once, elements - k);
    const std::int64_t offset = k * row + block_begin_ * element_size_, span = (n - 1) * row + run;
    const char* from = in_memory ? whole.data() + offset : nullptr;
    if (!in_memory) {
      rows.resize(static_cast<std::size_t>(span));
      if (!source_->ReadAt(offset, rows.data(), span))
        Fail("{} became shorter while it was read", source_->Name());
      from = rows.data();
    }
    for (std::int64_t r = 0; r < n; ++r) {
      for (std::int64_t i = block_begin_; i < block_end_; ++i) {
        std::memcpy(block_.data() + (i - block_begin_) * size_ + (k + r) * element_size_,
                    from + r * row + (i - block_begin_) * element_size_,
                    static_cast<std::size_t>(element_size_));
      }
    }
  }
}

}  // namespace dseries
