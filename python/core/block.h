#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <file/reading.h>
#include <file/series.h>
#include <file/text.h>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include <DataStorage/interfaces/arrerror.h>
#include <DataStorage/interfaces/bstr.h>
#include <DataStorage/numbers/datatype.h>

namespace core {

/// Where a datum is in its file: from its begin to its end, where its tag begins.
struct DatumPlace {
  int index;
  std::int64_t begin, end;
};

/// Reads data of equal shape and type into one block of memory. Uses nothing of Python, and a stream of its
/// own.
template <class Array>
class BlockReader {
  using Head = dseries::DatumHead<Array>;
  static constexpr std::int64_t head_bytes = Head::bytes;
  /// What is read at once into memory that stays in the cache; larger data are read where they belong.
  static constexpr std::int64_t at_once = 256 * 1024;
  static constexpr std::int64_t most_between =
      4 * 1024;  // as long as reading it costs less than another call
  using HeadBytes = std::array<unsigned char, static_cast<std::size_t>(head_bytes)>;

 public:
  /// Reads from a copy of `file`. Throws dseries::Failure when the first datum is damaged.
  BlockReader(const bstr_cBinary_fstream& file, std::vector<DatumPlace> data, bool same_axes)
      : file_(file), data_(std::move(data)), same_axes_(same_axes) {
    if (data_.empty()) return;
    const DatumPlace& first = data_.front();
    if (bRead(form_bytes_.data(), head_bytes, first.begin) && bParsed(form_bytes_, form_) &&
        first.end - first.begin == form_.Size()) {
      return;
    }
    form_bytes_ = {};
    form_ = HeadOf(Datum(first));
  }

  /// Whether arrays of this type can be read from series files.
  static bool bReadable(dtyp_cDataType type) { return type.IsReal() && type != dtyp_SBin8; }

  int Rows() const { return static_cast<int>(data_.size()); }
  /// What stands before the elements of the first datum.
  const Head& Form() const { return form_; }
  std::int64_t RowBytes() const { return form_.Size() - head_bytes; }
  /// The extents of a datum, rows first.
  std::vector<std::int64_t> Shape() const { return {form_.extents.rbegin(), form_.extents.rend()}; }

  /// Reads rows [begin, end) of the block. Throws std::invalid_argument for other data than the first one,
  /// dseries::Failure for damaged ones.
  void Read(int begin, int end, unsigned char* block) {
    const std::span rows(data_.data() + begin, data_.data() + end);
    unsigned char* target = block + begin * RowBytes();
    for (std::size_t row = 0; row < rows.size();) {
      const std::span<const DatumPlace> together = rows.subspan(row, CountTogether(rows.subspan(row)));
      ReadTogether(together, target, block + Rows() * RowBytes());
      row += together.size();
      target += std::ssize(together) * RowBytes();
    }
  }

 private:
  static bool bParsed(const HeadBytes& bytes, Head& head) {
    bstr_cMemory_istream in(bytes.data(), head_bytes);
    return head.Read(in);
  }
  static Head HeadOf(const Array& datum) {
    Head head;
    head.type = datum.DataType();
    head.cals[0] = datum.Cal().AxisX();
    head.extents[0] = datum.NumIndicesX();
    if constexpr (Head::axes == 2) {
      head.cals[1] = datum.Cal().AxisY();
      head.extents[1] = datum.NumIndicesY();
    }
    return head;
  }
  /// How many data from the first one on are read at once: those that lie one behind the other.
  std::size_t CountTogether(std::span<const DatumPlace> data) const {
    std::size_t n = 1;
    while (n < data.size() && data[n].begin >= data[n - 1].end &&
           data[n].begin - data[n - 1].end < most_between && data[n].end - data.front().begin <= at_once) {
      ++n;
    }
    return n;
  }

  /// Reads data with what lies between them into the block, which ends at `end`, and closes up: its memory is
  /// then touched once. The last ones of the block have no room for that.
  void ReadTogether(std::span<const DatumPlace> data, unsigned char* target, const unsigned char* end) {
    const std::int64_t begin = data.front().begin, bytes = data.back().end - begin;
    const bool together = bytes <= at_once, here = together && bytes <= end - target;
    if (together && !here && !buffer_) buffer_ = std::make_unique_for_overwrite<unsigned char[]>(at_once);
    unsigned char* const all = here ? target : buffer_.get();
    const bool read = together && bRead(all, bytes, begin);
    for (const DatumPlace& datum : data) {
      if (!(read ? bTake(datum, all + (datum.begin - begin), target) : bReadHere(datum, target))) {
        const Array whole = Datum(datum);  // of another size or form, or damaged
        Require(HeadOf(whole), datum);
        std::copy_n(static_cast<const unsigned char*>(whole.Data()), RowBytes(), target);
      }
      target += RowBytes();
    }
  }

  /// Whether a datum that begins with these bytes has the size and the form of a row.
  bool bFits(const DatumPlace& datum, const unsigned char* bytes) const {
    if (datum.end - datum.begin != form_.Size() || !bReadable(form_.type)) return false;
    HeadBytes head;
    std::copy_n(bytes, head_bytes, head.begin());
    if (head == form_bytes_) return true;
    Head form;
    if (!bParsed(head, form) || form.Size() != form_.Size()) return false;
    Require(form, datum);
    return true;
  }

  /// Copies the elements of a datum in memory; returns false when it has another size or form.
  bool bTake(const DatumPlace& datum, const unsigned char* bytes, unsigned char* target) const {
    if (!bFits(datum, bytes)) return false;
    std::memmove(target, bytes + head_bytes, static_cast<std::size_t>(RowBytes()));
    InHostOrder(target);
    return true;
  }
  /// The same for one that is in the file.
  bool bReadHere(const DatumPlace& datum, unsigned char* target) {
    HeadBytes head;
    if (!bRead(head.data(), head_bytes, datum.begin) || !bFits(datum, head.data()) ||
        !bRead(target, RowBytes(), datum.begin + head_bytes)) {
      return false;
    }
    InHostOrder(target);
    return true;
  }

  void InHostOrder(unsigned char* row) const {
    detail::VisitElementType(form_.type.Type(), [&]<class T>(std::type_identity<T>) {
      detail::SwapToLittleEndian(reinterpret_cast<T*>(row), RowBytes() / std::int64_t{sizeof(T)});
      return true;
    });
  }

  bool bRead(unsigned char* bytes, std::int64_t n, std::int64_t position) const {
    return file_.ReadNow(bytes, n, position) == n;
  }

  Array Datum(const DatumPlace& place) const {
    const std::int64_t bytes = std::max<std::int64_t>(place.end - place.begin, 0);
    const auto whole = std::make_unique_for_overwrite<unsigned char[]>(static_cast<std::size_t>(bytes));
    bstr_cMemory_istream in(whole.get(), bytes);
    Array datum;
    const bool read = bRead(whole.get(), bytes, place.begin) &&
                      dseries::bReads([&]() -> bool { return datum.Read(in); }) && in.Position() == bytes;
    const char* const path = file_.Path().CString();
    if (!read) {
      dseries::FailForDamage(path, fmt::format("datum {} of {} cannot be read", place.index, path));
    }
    return datum;
  }

  void Require(const Head& form, const DatumPlace& datum) const {
    if (form.type != form_.type || form.extents != form_.extents) {
      throw std::invalid_argument(fmt::format("datum {} holds {}, datum {} {}: read them one by one",
                                              datum.index, Text(form), data_.front().index, Text(form_)));
    }
    if (same_axes_ && !std::equal(form.cals.begin(), form.cals.end(), form_.cals.begin(),
                                  [](const auto& a, const auto& b) { return a == b; })) {
      throw std::invalid_argument(
          fmt::format("datum {} has other axes than datum {}", datum.index, data_.front().index));
    }
  }
  static std::string Text(const Head& form) {
    std::string extents;
    for (const std::int32_t n : form.extents) extents += (extents.empty() ? "" : " x ") + std::to_string(n);
    return extents + " elements of " + dseries::ElementName(form.type);
  }

  bstr_cBinary_fstream file_;
  std::vector<DatumPlace> data_;
  bool same_axes_;
  Head form_;
  std::unique_ptr<unsigned char[]> buffer_;
  HeadBytes form_bytes_{};  // as in the file; zeros where that is of an unusual form
};

}  // namespace core
