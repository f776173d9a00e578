#include <cstring>
#include <iterator>
#include <limits>
#include <new>
#include <stdexcept>
#include <utility>

#include <DataStorage/interfaces/bstr.h>
#include <DataStorage/interfaces/detail/gatheredoutput.h>

bstr_cBinary_istream::~bstr_cBinary_istream() = default;
bstr_cBinary_ostream::~bstr_cBinary_ostream() = default;

type_cBoolean bstr_cBinary_ostream::WriteTwo(const void* head, std::int64_t head_n, const void* bytes,
                                             std::int64_t n) {
  return Write(head, head_n) && Write(bytes, n);
}

type_cBoolean bstr_cMemory_istream::Read(void* bytes, std::int64_t n) {
  const std::int64_t there = size_ - position_;
  if (good_ && n > 0 && there > 0) {
    std::memcpy(bytes, bytes_ + position_, static_cast<std::size_t>(std::min(n, there)));
  }
  return Skip(n);
}

type_cBoolean bstr_cMemory_istream::Skip(std::int64_t n) {
  good_ = good_ && n >= 0 && n <= size_ - position_;
  if (good_) position_ += n;
  return good_;
}

type_cBoolean bstr_cMemory_istream::Seek(std::int64_t position) {
  good_ = position >= 0 && position <= size_;
  if (good_) position_ = position;
  return good_;
}

type_cBoolean bstr_cMemory_ostream::Write(const void* bytes, std::int64_t n) {
  if (!good_ || n < 0 || n > std::numeric_limits<std::int64_t>::max() - position_) return good_ = false;
  if (n == 0) return true;
  try {
    if (position_ > Size()) bytes_.resize(static_cast<std::size_t>(position_ + n));
    const auto* from = static_cast<const unsigned char*>(bytes);
    const std::int64_t over = std::min(n, Size() - position_);
    bytes_.insert(bytes_.end(), from + over, from + n);
    std::copy_n(from, over, bytes_.begin() + position_);
  } catch (const std::bad_alloc&) {
    return good_ = false;
  } catch (const std::length_error&) {
    return good_ = false;
  }
  position_ += n;
  return true;
}

type_cBoolean bstr_cMemory_ostream::Seek(std::int64_t position) {
  good_ = position >= 0;
  if (good_) position_ = position;
  return good_;
}

namespace detail {

type_cBoolean GatheredOutput::Write(const void* bytes, std::int64_t n) {
  const auto* from = static_cast<const unsigned char*>(bytes);
  if (n >= 0 && n <= std::ssize(held_) - held_n_) {
    std::copy_n(from, n, held_.begin() + held_n_);
    held_n_ += n;
    return out_.bGood();
  }
  return out_.WriteTwo(held_.data(), std::exchange(held_n_, 0), bytes, n);
}

}  // namespace detail
