// Other ways to read a file of data and tags: by a window of 64 KiB, from memory that the file is mapped to,
// and from columns of the tags.

#if __has_include(<sys/mman.h>)
#include <sys/mman.h>

#include "../plainfile.h"

namespace {

/// Takes 64 KiB at once and picks the tags out of them.
class WindowFile : public PlainFile {
 public:
  using PlainFile::PlainFile;

  int Find(int x) {
    for (int i = 0; i < slots; ++i) {
      std::array<double, 2> place;
      std::memcpy(place.data(), Bytes(TagAt(i), tag_bytes) + 8, sizeof place);
      if (place[0] == x && place[1] == 0) return i;
    }
    return -1;
  }

 private:
  const char* Bytes(std::int64_t at, std::int64_t n) {
    if (at < begin_ || at + n > begin_ + length_) {
      begin_ = at;
      length_ = ::pread(file_, window_.data(), window_.size(), at);
      if (length_ < n) std::abort();
    }
    return window_.data() + (at - begin_);
  }

  std::vector<char> window_ = std::vector<char>(65536);
  std::int64_t begin_ = 0, length_ = 0;
};

/// What others cut off behind its back ends the program.
class MappedFile : public PlainFile {
 public:
  explicit MappedFile(std::int64_t bytes)
      : PlainFile(bytes), length_(static_cast<std::size_t>(DatumAt(slots))) {
    if (::ftruncate(file_, static_cast<off_t>(length_)) != 0) std::abort();
    bytes_ = static_cast<char*>(::mmap(nullptr, length_, PROT_READ, MAP_SHARED, file_, 0));
    if (bytes_ == MAP_FAILED) std::abort();
  }
  ~MappedFile() { ::munmap(bytes_, length_); }

  void Read(int i, Datum& datum) { std::memcpy(datum.data(), bytes_ + DatumAt(i), datum.size()); }

 private:
  std::size_t length_;
  char* bytes_;
};

/// The tags beside the file, a column for each of their coordinates.
class Columns {
 public:
  explicit Columns(std::int64_t) {}
  void Append(const Datum&, int i) {
    x_.push_back(i);
    y_.push_back(0);
  }
  int Find(int x) const {
    for (std::size_t i = 0; i < x_.size(); ++i) {
      if (x_[i] == x && y_[i] == 0) return static_cast<int>(i);
    }
    return -1;
  }

 private:
  std::vector<double> x_, y_;
};

[[maybe_unused]] const bool registered = [] {
  Register("E/read/16B", "mapped", Read<MappedFile>, 16, 1);
  Register("E/first_search/16B", "window", FirstSearch<WindowFile>, 16);
  Register("E/search/16B", "columns", Search<Columns>, 16);
  Register("E/search/4K", "columns", Search<Columns>, 4096);
  return true;
}();

}  // namespace
#endif
