#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>

#include <DataStorage/interfaces/bstr.h>
#include <DataStorage/interfaces/export.h>

namespace detail {

/// Gathers small pieces, so that an object that writes itself field by field reaches the stream behind it in
/// one piece: together with a large piece that follows them, or by `Finish`. What was gathered and not
/// finished is not written.
class DATASTORAGE_EXPORT GatheredOutput final : public bstr_cBinary_ostream {
 public:
  /// The stream must outlive this one.
  explicit GatheredOutput(bstr_cBinary_ostream& out) : out_(out) {}

  type_cBoolean Write(const void* bytes, std::int64_t n) override;
  type_cBoolean Seek(std::int64_t position) override { return Finish() && out_.Seek(position); }
  std::int64_t Position() const override { return out_.Position() + held_n_; }
  type_cBoolean SetEnd(std::int64_t position) override { return Finish() && out_.SetEnd(position); }
  type_cBoolean bGood() const override { return out_.bGood(); }

  /// Writes what was gathered.
  type_cBoolean Finish() {
    return (held_n_ == 0 || out_.Write(held_.data(), std::exchange(held_n_, 0))) && out_.bGood();
  }

 private:
  // Elements of up to this much are copied in less time than a call with two pieces takes longer.
  static constexpr std::size_t Room = 4 * 1024 + 64;

  bstr_cBinary_ostream& out_;
  std::array<unsigned char, Room> held_;
  std::int64_t held_n_ = 0;
};

}  // namespace detail
