#include "support.h"
#include "targets.h"
#include <DataStorage/series/datatag.h>
#include <DataStorage/series/dimension.h>

using namespace fuzz;

namespace {

/// Reads a record, which must then write the same bytes.
template <class Record>
bool Read(Record& record, const std::uint8_t* bytes, std::size_t n) {
  bstr_cMemory_istream in(bytes, static_cast<std::int64_t>(n));
  const auto read = [&] {
    record.Read(static_cast<bstr_cBinary_istream&>(in));
    return static_cast<bool>(in.bGood());
  };
  if (!bSucceeds(read)) return false;
  Require(RawForm(record) == Text(bytes, static_cast<std::size_t>(in.Position())));
  return true;
}

/// Converts the first and the last linear indices to index vectors and back.
void Visit(const dtsr_cDimensionArray& dimensions) {
  int total = 0;
  if (!bSucceeds([&] { return (total = dimensions.TotalNumberIndices()) > 0; })) return;
  for (int d = 0; d < dimensions.NumberDimensions(); ++d)
    if (dimensions.Dimension(d).Size() < 0) return;
  for (int step = 0; step < std::min(total, 20); ++step) {
    for (const int index : {step, total - 1 - step}) {
      const arr_cC_Array<int> indices = dimensions.IndexPosition(index);
      Require(dimensions.Index(indices) == index);
      dimensions.Index(dimensions.Position(indices));
    }
  }
}

}  // namespace

int FuzzRecords(const std::uint8_t* bytes, std::size_t n) {
  dtsr_cDimension dimension;
  Read(dimension, bytes, n);
  dtsr_cDimensionArray dimensions;
  if (Read(dimensions, bytes, n)) Visit(dimensions);

  dtsr_cDataTag tag(7);
  if (!Read(tag, bytes, n)) Require(tag.Time() == 7);
  dtsr_c2DPosition position(1.5, -2, 7);
  if (!Read(position, bytes, n)) Require(position.X() == 1.5 && position.Y() == -2);
  return 0;
}
