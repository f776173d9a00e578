#pragma once

#include <array>
#include <cstdint>
#include <string>

#include <DataStorage/data/darray1d.h>
#include <DataStorage/data/darray2d.h>

namespace dseries {

/// Converts arrays to another element type, and counts the losses: for integers, values are rounded and cut
/// to the limits of the type, and not-a-number becomes 0.
class Losses {
 public:
  explicit Losses(dtyp_cDataType type) : type_(type) {}

  /// `name` identifies the array, if there are several, in the text.
  template <class Array>
  Array Convert(const Array& array, const std::string& name = "");

  /// The number of changed values for each kind of loss, with the first of them; empty when none changed.
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
