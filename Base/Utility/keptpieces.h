#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <memory>

#include <Utility/system.h>

namespace detail {

inline Bytes BytesAt(const void* bytes, std::int64_t n) {
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

/// A growing array whose elements are written after the last one, uninitialised before.
template <class T>
class Row {
 public:
  /// Makes room for `n` more elements; when that needs memory, for at least `expected` more, and twice as
  /// many as there are.
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

  /// Keeps records of `length` bytes in the same way, each as a piece of its own, from the bytes of the file
  /// that start at `begin`, up to the first one that is not among them or out of order. Returns their number.
  /// When memory is needed, allocates it for `expected` records.
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

  /// The end of the last piece in the file.
  std::int64_t End() const { return end_; }
  /// The last `n` bytes that were kept.
  Bytes Newest(std::int64_t n) const { return BytesAt(bytes_.end() - n, n); }

  /// The records of `length` bytes at these positions, as many as are kept one after the other.
  Bytes Records(const long* positions, std::int64_t n, std::int64_t length) {
    if (n == 0 || !bFind(positions[0])) return {};
    const std::size_t first = piece_, begin = Begin(first);
    const auto stride = static_cast<std::size_t>(length);
    const std::size_t most = std::min(static_cast<std::size_t>(n), pieces_.size() - first);
    std::size_t count = 0;
    while (count < most && pieces_[first + count].position == std::int64_t{positions[count]} &&
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

  /// Begins an empty piece after the last one.
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

}  // namespace detail
