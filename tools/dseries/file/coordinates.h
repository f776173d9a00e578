#pragma once

#include <string>
#include <vector>

#include "file/series.h"
#include <DataStorage/interfaces/bstr.h>

namespace dseries {

/// A position without the last digits, which hold rounding errors.
std::string PositionText(double position);

/// The position of a datum along the dimensions, in one line; DatumText adds its index and its tag.
std::string PositionText(const Series& series, int i);
std::string DatumText(const Series& series, int i);

/// A coordinate of a tag, with enough digits to find the tag by it.
std::string TagText(double coordinate);
/// The position in a tag; null if it has none.
const dtsr_c2DPosition* PositionOf(const dtsr_cDataTag& tag);

/// Where and when the data of a series were taken, as the columns of a table: the linear index, the position
/// along each dimension, the time, and the position in the tag where there is one.
class CoordinateColumns {
 public:
  explicit CoordinateColumns(const Series& series);

  std::vector<std::string> Names() const;
  /// The NumPy names of the types that Write uses.
  std::vector<std::string> NpyTypes() const;

  std::vector<std::string> Cells(int i) const;
  void Write(bstr_cBinary_ostream& out, int i) const;

 private:
  const Series& series_;
  bool positions_in_tags_;
};

}  // namespace dseries
