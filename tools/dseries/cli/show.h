#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "file/series.h"
#include "file/text.h"
#include <DataStorage/data/darray1d.h>
#include <DataStorage/data/darray2d.h>

// How a datum is shown: where it lies in the series, when and where it was taken.

namespace dseries {

/// One line for each datum: linear index, index vector, position vector, tag.
class DatumTable {
 public:
  /// `tag_type` is that of the series.
  DatumTable(const Series& series, unsigned int tag_type);
  void Row(int i);
  std::string Text() const { return table_.Text(); }

 private:
  const Series& series_;
  Table table_;
};

nlohmann::ordered_json DatumAsJson(const Series& series, int i);

/// The position of a datum along the dimensions, and that with its index and its tag, in a line.
std::string PlaceText(const Series& series, int i);
std::string DatumText(const Series& series, int i);

/// A coordinate of a tag, from which a search finds it again.
std::string TagText(double coordinate);
/// The position in a tag; null where it has none.
const dtsr_c2DPosition* PositionOf(const dtsr_cDataTag& tag);

/// Adds what there is to tell of the elements: how many, where they lie, and their values.
void AddArray(Table& table, const darr_c1DArray& array);
void AddArray(Table& table, const darr_c2DArray& array);
/// Digits that mean something in a value of this type.
int DisplayDigits(dtyp_cDataType type);

/// Writes JSON to standard output; bytes that are no UTF-8 are replaced.
void Print(const nlohmann::ordered_json& json);

}  // namespace dseries
