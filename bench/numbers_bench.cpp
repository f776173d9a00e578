// C: access to single elements as numbers, compared with numbers that hold their value on the heap.

#include "numbers.h"
#include <DataStorage/arrays/parray1d.h>

namespace {

struct Array : parr_c1DNumberArray {
  explicit Array(int count) : parr_c1DNumberArray(count, dtyp_Float64) {}
};

[[maybe_unused]] const bool registered = [] {
  RegisterNumbers<pnum_cNumber, Array>("ours");
  return true;
}();

}  // namespace
