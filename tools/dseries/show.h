#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "format.h"
#include "series.h"

// How a datum is shown: where it lies in the series, when and where it was taken.

namespace dseries {

/// One line for each datum: linear index, index vector, position vector, tag.
class DatumTable {
 public:
  /// `tag_type` is that of the series, and one that is known.
  DatumTable(const Series& series, unsigned int tag_type);
  void Row(int i);
  std::string Text() const { return table_.Text(); }

 private:
  const Series& series_;
  Table table_;
};

nlohmann::ordered_json DatumAsJson(const Series& series, int i);

/// The position in a tag; null where it has none.
const dtsr_c2DPosition* PositionOf(const dtsr_cDataTag& tag);

/// Writes JSON to standard output; bytes that are no UTF-8 are replaced.
void Print(const nlohmann::ordered_json& json);

}  // namespace dseries
