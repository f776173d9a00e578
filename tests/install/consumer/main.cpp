// Checks what a program outside the project needs: the headers, the exported symbols, and exceptions that
// keep their types when they leave the library.
#include <sstream>

#include <DataStorage/DataStorage.h>

namespace {

/// Links the virtual functions of arrays of any element type, which are in the library.
template <class T>
bool bArraysLink() {
  const arr_c1DNumberArray<T> line(2);
  return arr_c2DNumberArray<T>(2, 1).Row(0).NumIndices() == line.NumIndices();
}

}  // namespace

int main() {
  const darr_c1DArray array(4, pnum_cNumber(2.5), cal_c1DArrayCal(1.0, 0.5));
  std::stringstream stream;
  tgio_cBinary_ostream(stream).Write(array);
  darr_c1DArray copy;
  if (!tgio_cBinary_istream(stream).Read(copy) || copy.Cal() != array.Cal()) return 1;
  if (copy.Value(2.0, darr_LinearInterpolation).Value() != 2.5) return 2;
  try {
    copy.Value(4);
    return 3;
  } catch (const arr_cIndexException&) {
  }
  try {
    pnum_cNumber(1e10).Count();
    return 4;
  } catch (const expt_cUserException& error) {
    if (error.Message() != "Cannot convert to integer - out of range.") return 5;
  }
  const arr_c2DNumberArray<short> typed = parr_c2DNumberArray(3, 2, pnum_cNumber(short{7}));
  if (typed.Value(2, 1) != 7) return 6;
  return bArraysLink<char>() && bArraysLink<comp_cComplex<float>>() && bArraysLink<type_cBoolean>() ? 0 : 7;
}
