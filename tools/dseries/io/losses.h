#pragma once

#include <array>
#include <cstdint>
#include <string>

#include <DataStorage/data/darray1d.h>
#include <DataStorage/data/darray2d.h>

namespace dseries {

/// Converts arrays to another element type, and keeps what that loses: integers take the nearest whole
/// number, the nearest one they have for values beyond them, and 0 for not-a-number.
class Losses {
 public:
  explicit Losses(dtyp_cDataType type) : type_(type) {}

  /// `name` says which array of several it is, for the text.
  template <class Array>
  Array Convert(const Array& array, const std::string& name = "");

  /// How many values were not kept, in which way, and which was the first of them; empty when all were kept.
  std::string Text() const;

 private:
  enum Kind { Limited, NotANumber, Rounded };
  struct Loss {
    std::int64_t count = 0;
    std::string first;
  };

  dtyp_cDataType type_;
  std::int64_t values_ = 0;
  std::array<Loss, 3> losses_;
};

}  // namespace dseries
