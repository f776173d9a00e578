#pragma once

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <file/series.h>
#include <memory>
#include <mutex>
#include <optional>
#include <pybind11/numpy.h>
#include <span>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "array.h"
#include "block.h"

namespace core {

/// A series in a file, open: the series that the command-line tool uses too, with what reading blocks needs.
template <class Data>
class OpenSeries : public dseries::DataSeries<Data> {
 public:
  using dseries::DataSeries<Data>::DataSeries;

  /// Datum i, by one read where it is small. Throws what DataSeries does, arr_cIndexException for slots
  /// without data.
  Data Read(int i) {
    if (i < 0 || i >= this->NextWriteIndex()) arr_IndexError(i, this->NextWriteIndex());
    const std::int64_t bytes = this->DatumSize(i);
    if (bytes > 0 && bytes <= most_buffered) {
      if (bytes > std::ssize(buffer_)) buffer_.resize(static_cast<std::size_t>(bytes));
      bstr_cMemory_istream fields(buffer_.data(), bytes);
      Data datum;
      const bool read = this->file_.ReadNow(buffer_.data(), bytes, this->dataOffsets_[i]) == bytes &&
                        dseries::bReads([&]() -> bool { return datum.Read(fields); });
      if (read && fields.Position() == bytes) return datum;
    }
    return this->Datum(i);
  }

  /// The first bytes of datum i, or all of them, as they are in the file.
  std::string FirstBytes(int i) const {
    if (i < 0 || i >= this->NextWriteIndex()) arr_IndexError(i, this->NextWriteIndex());
    const std::int64_t most = std::clamp<std::int64_t>(this->DatumSize(i), 0, most_buffered);
    std::string bytes(static_cast<std::size_t>(most), '\0');
    const std::int64_t read = this->file_.ReadNow(bytes.data(), most, this->dataOffsets_[i]);
    bytes.resize(static_cast<std::size_t>(read));
    return bytes;
  }

  /// A reader of data in the same open file. Throws arr_cIndexException for slots without data.
  BlockReader<Data> Block(std::span<const std::int32_t> indices, bool same_axes) const {
    std::vector<DatumPlace> places;
    places.reserve(indices.size());
    for (const std::int32_t i : indices) {
      if (i < 0 || i >= this->NextWriteIndex()) arr_IndexError(i, this->NextWriteIndex());
      places.push_back({i, this->dataOffsets_[i], this->tagOffsets_[i]});
    }
    return BlockReader<Data>(this->file_, std::move(places), same_axes);
  }

 private:
  static constexpr std::int64_t most_buffered = 64 * 1024;
  std::vector<unsigned char> buffer_;
};

/// name, units, size, offset, delta, reference, reverse: the fields of datastorage.Dim, texts as bytes.
using Dimension = std::tuple<py::bytes, py::bytes, int, double, double, int, bool>;

/// The file behind datastorage.Series.
///
/// One thread at a time uses it, without the interpreter's lock where it reads; but blocks of data are read
/// side by side. A fork waits until no thread uses a file, so that the child has it as it is; the child goes
/// on reading, and does not write, because only one process may append.
class SeriesFile {
 public:
  enum class Mode { Read, Append };

  /// Opens a file, or creates one. Throws SystemFailure when it is locked.
  SeriesFile(std::string path, Mode mode);
  static std::unique_ptr<SeriesFile> Create(std::string path, const std::vector<Dimension>& dimensions,
                                            int ndim, bool overwrite);

  bool bClosed() const { return closed_; }
  void Close();

  int Slots();
  int Filled();
  /// The number of dimensions of each datum.
  int DataDimensions() const { return plane_ ? 2 : 1; }
  std::vector<Dimension> Dimensions();
  /// The index along each dimension whose cell contains a position; it may lie outside.
  std::vector<int> IndicesAt(const std::vector<double>& positions);

  std::unique_ptr<Array> Datum(int i);
  /// Type, shape and calibration of a datum, of which no elements are read.
  py::tuple Head(int i);
  /// The first bytes of a datum as they are in the file: with its head, and all of a small one.
  py::bytes FirstBytes(int i);
  using Indices = py::array_t<std::int32_t, py::array::c_style>;
  /// Data of equal shape and type as one array, with the data along its first axis.
  py::array Values(const Indices& indices, bool same_axes);
  /// The times of data [begin, end) and their positions (n x 2), None where the tags have none.
  py::tuple Tags(int begin, int end);
  /// Returns the index of the new datum.
  int Append(Array& datum, std::int64_t time, const std::optional<std::pair<double, double>>& position);
  /// As in the library; `durability` is "none", "group" or "strict".
  void SetDurability(const std::string& durability, int data, int milliseconds);
  void Sync();
  void KeepChecksums();
  /// Returns how many data have got a checksum.
  int Seal();
  /// Whether a datum is as its checksum says; none where it has no checksum.
  std::optional<bool> Checked(int i);
  /// Finds what another process has done meanwhile. Returns whether the data known before are still the same;
  /// if not, everything is to be read again, the dimensions too. Throws SystemFailure when the file was
  /// removed, or replaced while it is open for appending, and dseries::Failure when it was cut off; what is
  /// left of it can still be read.
  bool Refresh();

 private:
  class Hold;
  class Turn;
  SeriesFile(std::string path, bool plane, std::unique_ptr<dseries::Series> series);

  std::unique_ptr<dseries::Series> Opened() const;
  void Use(std::unique_ptr<dseries::Series> series);
  void Drop();
  /// Throws SystemFailure when the file was emptied or overwritten since it was opened or refreshed.
  void RequireSame();
  void RequireAppending() const;
  /// For the holder of the mutex. Throws ValueError when the series is closed; closes one that was open for
  /// appending, and throws dseries::Failure, in a forked process.
  void RequireUsable();
  template <class Data>
  OpenSeries<Data>& As() {
    return static_cast<OpenSeries<Data>&>(*series_);
  }
  /// Calls `f` with std::type_identity of the class of the data, or with the series.
  template <class F>
  auto WithKind(F f) {
    return plane_ ? f(std::type_identity<darr_c2DArray>()) : f(std::type_identity<darr_c1DArray>());
  }
  template <class F>
  auto Visit(F f) {
    return WithKind([&]<class Data>(std::type_identity<Data>) { return f(As<Data>()); });
  }

  std::string path_;
  Mode mode_;
  bool plane_ = false;  // whether the data have two dimensions
  std::atomic<bool> closed_ = false;
  std::unique_ptr<dseries::Series> series_;  // for the holder of the mutex; null when closed
  std::unique_ptr<dseries::Series> probe_;   // a copy that learns what happens to the file; null like series_
  bool overwritten_ = false;
  bool cut_ = false;  // so that whatever is there later is new
  std::mutex mutex_;
  int process_;  // the count of forks when it was opened for appending
};

void DefineFile(py::module_& module);

}  // namespace core
