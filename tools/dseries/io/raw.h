#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <DataStorage/numbers/datatype.h>

namespace dseries {

/// Reads raw elements, datum by datum, from a file, a pipe or standard input ("-"). Only a block of the input
/// is in memory. Of interleaved elements (first element 0 of all data, then element 1 of all of them, and so
/// on) a block holds some of the data or, from a pipe, all of them.
class RawInput {
 public:
  /// The most bytes of interleaved data in memory.
  static constexpr std::int64_t most_interleaved = std::int64_t{256} << 20;

  /// Each datum has elements of `type` over these extents, X first. Throws Failure when there is no such
  /// file, or when its length is known and not a whole number of data.
  RawInput(const std::string& path, dtyp_cDataType type, const std::vector<int>& extents, bool interleaved,
           std::int64_t block_size = most_interleaved);
  RawInput(RawInput&&) noexcept;
  ~RawInput();

  /// The number of data; none for a pipe of unknown length.
  std::optional<int> Count() const { return count_; }
  std::int64_t DatumSize() const { return size_; }

  /// Reads the elements of the next datum to `bytes`; false at the end. Throws Failure when they cannot be
  /// read or the input ends within them, and Interruption when a deferred signal arrives while it waits for
  /// them.
  bool Next(char* bytes);

 private:
  class Source;

  void TurnBlock();

  std::int64_t element_size_;
  std::int64_t size_;  ///< of a datum, in bytes
  bool interleaved_;
  std::int64_t block_size_;
  std::optional<int> count_;
  std::unique_ptr<Source> source_;
  std::int64_t next_ = 0;    ///< the datum that comes next
  std::vector<char> block_;  ///< of interleaved data, datum by datum
  std::int64_t block_begin_ = 0, block_end_ = 0;
};

}  // namespace dseries
