#pragma once

#include <sstream>
#include <string>
#include <tuple>

#include "support.h"
#include <DataStorage/data/darray2d.h>
#include <DataStorage/interfaces/tgio.h>
#include <DataStorage/positions/poslist.h>

namespace fuzz {

// The two kinds of tagged streams.
struct Binary {
  using Out = tgio_cBinary_ostream;
  using In = tgio_cBinary_istream;
};
struct Ascii {
  using Out = tgio_cASCII_ostream;
  using In = tgio_cASCII_istream;
};

/// Objects of all persistent classes, none of them in its default state.
inline auto PersistentObjects() {
  pos_c2DPositionList list;
  list.AddAtTail(new pos_c2DPosition(1, 2));
  list.AddAtTail(new pos_c2DPosition(-3, 1e300));
  const comp_cComplex<float> spectrum[] = {{1, -2}, {0, 1e-40f}, {3, 4}};
  return std::tuple(
      cal_c1DArrayCal(1.5, -0.25, 3), cal_c2DArrayCal(1, 2, 0.5, -0.5, 7, -8), pos_c1DPosition(2.5),
      pos_c2DPosition(2.5, -1), rnge_c1DRange(-1, 2.5), rnge_c2DRange(1, 2, 3, 4, 0.5), list,
      darr_c1DArray(3, 42, cal_c1DArrayCal(1, 2, 3)),
      darr_c1DArray(arr_c1DNumberArray<comp_cComplex<float>>(3, spectrum), cal_c1DArrayCal(0, 1e-3, 0)),
      darr_c2DArray(3, 2, 1.5, cal_c2DArrayCal(1, 2, 3, 4, 5, 6)));
}

/// The object as a tagged stream of this kind.
template <class Kind>
std::string TaggedForm(const tgio_cTaggedStreamObject& object) {
  std::ostringstream stream;
  typename Kind::Out out(stream);
  Require(out.Write(object));
  return stream.str();
}

}  // namespace fuzz
