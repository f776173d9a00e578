#include <limits>
#include <utility>

#include <DataStorage/interfaces/bstr.h>
#include <Utility/system.h>

namespace detail {

namespace {

/// Positions in files are 32 bits wide.
constexpr std::int64_t LargestFile = std::numeric_limits<std::int32_t>::max();
/// Systems differ in how much one call may move; all take this much.
constexpr std::int64_t LargestTransfer = std::int64_t{1} << 30;

constexpr std::int64_t WindowSize = 64 * 1024;
/// What is read ahead at a place that does not continue the last one: little more than the call costs anyway.
constexpr std::int64_t FirstWindow = 4 * 1024;
/// A step forwards of up to this much continues the last place: a full window then holds enough of what comes
/// next to be worth its copying.
constexpr std::int64_t NearStep = 8 * 1024;
/// Reads from this size on gain nothing from a detour through the window.
constexpr std::int64_t DirectRead = 4 * 1024;

}  // namespace

/// One open file, shared by the two sides of a stream and of its copies.
class OpenFile {
 public:
  OpenFile(const str_cString& path, bstr_eAccess access) : access_(access) {
    const bool whole =
        path == path.CString();  // the system would stop at a zero byte and open something else
    if (whole) file_ = file_calls.open(path.CString(), access);
  }
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;
  ~OpenFile() {
    if (bReadable()) file_calls.close(file_);
  }

  bool bReadable() const { return file_ != NoFile; }
  bool bWritable() const { return bReadable() && access_ != bstr_OpenReadOnly; }

  /// Reads up to `room` bytes and at least `n`, unless the file ends or fails before; returns how many.
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

  /// False when not all of it could be written.
  bool Write(const unsigned char* bytes, std::int64_t n, std::int64_t position) {
    ++writes_;
    while (n > 0) {
      const std::int64_t moved = file_calls.write_at(file_, bytes, std::min(n, LargestTransfer), position);
      if (moved <= 0) return false;
      bytes += moved;
      n -= moved;
      position += moved;
    }
    reached_ = std::max(reached_, position);
    return true;
  }

  std::int64_t Size() const { return bReadable() ? std::max<std::int64_t>(file_calls.size(file_), 0) : 0; }

  /// Whether the file is this long. Asks the system only beyond what is known already: a file that was cut
  /// since shows when it is read.
  bool bReaches(std::int64_t position) {
    if (position > reached_) reached_ = Size();
    return position <= reached_;
  }

  /// Differs from one write to the next.
  std::uint64_t Writes() const { return writes_; }

 private:
  std::intptr_t file_ = NoFile;
  bstr_eAccess access_;
  std::int64_t reached_ = 0;
  std::uint64_t writes_ = 0;
};

class FileInput final : public bstr_cBinary_istream {
 public:
  explicit FileInput(std::shared_ptr<OpenFile> file) : file_(std::move(file)), good_(file_->bReadable()) {}
  FileInput(const FileInput& other) : bstr_cBinary_istream(other) { *this = other; }
  /// The window stays behind.
  FileInput& operator=(const FileInput& other) {
    file_ = other.file_;
    position_ = other.position_;
    good_ = other.good_;
    window_length_ = 0;
    return *this;
  }

  type_cBoolean Read(void* bytes, std::int64_t n) override {
    good_ = good_ && n >= 0 && ReadHere(static_cast<unsigned char*>(bytes), n);
    if (good_) position_ += n;
    return good_;
  }

  type_cBoolean Skip(std::int64_t n) override {
    good_ = good_ && n >= 0 && n <= std::numeric_limits<std::int64_t>::max() - position_ &&
            file_->bReaches(position_ + n);
    if (good_) position_ += n;
    return good_;
  }

  type_cBoolean Seek(std::int64_t position) override {
    good_ = file_->bReadable() && position >= 0 && file_->bReaches(position);
    if (good_) position_ = position;
    return good_;
  }

  std::int64_t Position() const override { return position_; }
  std::int64_t Size() const override { return file_->Size(); }
  type_cBoolean bGood() const override { return good_; }

 private:
  bool ReadHere(unsigned char* bytes, std::int64_t n) {
    if (window_writes_ != file_->Writes()) window_length_ = 0;
    const std::int64_t held = CopyFromWindow(bytes, n, position_);
    bytes += held;
    n -= held;
    const std::int64_t position = position_ + held;
    if (n == 0) return true;
    if (n >= DirectRead) return file_->Read(bytes, n, n, position) == n;
    MoveWindow(n, position);
    return CopyFromWindow(bytes, n, position) == n;
  }

  /// Copies what the window holds of `n` bytes from `position` on; returns how many these are.
  std::int64_t CopyFromWindow(unsigned char* bytes, std::int64_t n, std::int64_t position) const {
    const std::int64_t offset = position - window_start_;
    if (offset < 0 || offset >= window_length_) return 0;
    const std::int64_t held = std::min(n, window_length_ - offset);
    std::copy_n(window_.get() + offset, held, bytes);
    return held;
  }

  /// Reads ahead far when the caller goes forwards in small steps, else a little.
  void MoveWindow(std::int64_t n, std::int64_t position) {
    if (!window_) window_ = std::make_unique_for_overwrite<unsigned char[]>(WindowSize);
    const std::int64_t step = position - (window_start_ + window_length_);
    const bool onwards = window_length_ > 0 && step >= 0 && step < NearStep;
    const std::int64_t room = onwards ? WindowSize : FirstWindow;
    window_length_ = file_->Read(window_.get(), n, room, position);
    window_start_ = position;
    window_writes_ = file_->Writes();
  }

  std::shared_ptr<OpenFile> file_;
  std::int64_t position_ = 0;
  bool good_ = false;
  std::unique_ptr<unsigned char[]> window_;  // made by the first small read
  std::int64_t window_start_ = 0;
  std::int64_t window_length_ = 0;
  std::uint64_t window_writes_ = 0;  // the count of writes when the window was read
};

class FileOutput final : public bstr_cBinary_ostream {
 public:
  explicit FileOutput(std::shared_ptr<OpenFile> file) : file_(std::move(file)), good_(file_->bWritable()) {}

  type_cBoolean Write(const void* bytes, std::int64_t n) override {
    good_ = good_ && n >= 0 && n <= LargestFile - position_ &&
            file_->Write(static_cast<const unsigned char*>(bytes), n, position_);
    if (good_) position_ += n;
    return good_;
  }

  type_cBoolean Seek(std::int64_t position) override {
    good_ = file_->bWritable() && position >= 0;
    if (good_) position_ = position;
    return good_;
  }

  std::int64_t Position() const override { return position_; }
  type_cBoolean SetEnd(std::int64_t position) override { return Seek(position); }
  type_cBoolean bGood() const override { return good_; }

 private:
  std::shared_ptr<OpenFile> file_;
  std::int64_t position_ = 0;
  bool good_;
};

}  // namespace detail

bstr_cBinary_fstream::bstr_cBinary_fstream(const str_cString& path, bstr_eAccess access) : path_(path) {
  const auto file = std::make_shared<detail::OpenFile>(path, access);
  input_ = std::make_unique<detail::FileInput>(file);
  output_ = std::make_unique<detail::FileOutput>(file);
}

bstr_cBinary_fstream::bstr_cBinary_fstream(const bstr_cBinary_fstream& other)
    : path_(other.path_),
      input_(std::make_unique<detail::FileInput>(*other.input_)),
      output_(std::make_unique<detail::FileOutput>(*other.output_)) {}

bstr_cBinary_fstream& bstr_cBinary_fstream::operator=(const bstr_cBinary_fstream& other) {
  path_ = other.path_;
  *input_ = *other.input_;
  *output_ = *other.output_;
  return *this;
}

bstr_cBinary_fstream::~bstr_cBinary_fstream() = default;

bstr_cBinary_istream& bstr_cBinary_fstream::Input() noexcept { return *input_; }
bstr_cBinary_ostream& bstr_cBinary_fstream::Output() noexcept { return *output_; }
