#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>

#include <DataStorage/interfaces/bstr.h>
#include <DataStorage/interfaces/export.h>

namespace detail {

/// Gathers small writes, so that an object that writes field by field reaches the underlying stream in one
/// piece: together with a large write that follows, or by `Finish`. Without `Finish` the gathered bytes are
/// not written.
class DATASTORAGE_EXPORT GatheredOutput final : public bstr_cBinary_ostream {
 public:
  /// Requires that `out` outlives this object.
  explicit GatheredOutput(bstr_cBinary_ostream& out) : out_(out) {}

  type_cBoolean Write(const void* bytes, std::int64_t n) override;
  type_cBoolean Seek(std::int64_t position) override { return Finish() && out_.Seek(position); }
  std::int64_t Position() const override { return out_.Position() + held_n_; }
  type_cBoolean SetEnd(std::int64_t position) override { return Finish() && out_.SetEnd(position); }
  type_cBoolean bGood() const override { return out_.bGood(); }

  /// Writes the gathered bytes.
  type_cBoolean Finish() {
    return (held_n_ == 0 || out_.Write(held_.data(), std::exchange(held_n_, 0))) && out_.bGood();
  }

 private:
  // Copying up to this many bytes takes less time than a system call with two pieces costs more.
  static constexpr std::size_t Room = 4 * 1024 + 64;

  bstr_cBinary_ostream& out_;
  std::array<unsigned char, Room> held_;
  std::int64_t held_n_ = 0;
};

}  // namespace detail
