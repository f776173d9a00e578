#include <iostream>

#include <DataStorage/data/asciirw.h>
#include <DataStorage/data/darray1d.h>

int main() {
  // The counts of a detector at every half degree from 20 degrees on.
  const unsigned short counts[] = {49, 39, 310, 1204, 288, 40};
  const darr_c1DArray pattern(parr_c1DNumberArray(6, dtyp_UBin16, counts), cal_c1DArrayCal(20.0, 0.5));

  std::cout << "from " << pattern.Range().StartX() << " to " << pattern.Range().EndX() << " degrees\n"
            << "at 21.5: " << pattern.Value(21.5, darr_NoInterpolation) << " counts\n"
            << "at 21.25: " << pattern.Value(21.25, darr_LinearInterpolation) << " by interpolation\n";

  // A selection keeps the positions of its elements.
  darr_c1DArray peak = pattern.Selection(21.0, 22.5, rnge_IndexOuter);

  // A value that the type cannot hold changes the type of the array; one beyond the end extends it.
  peak.SetValue(pnum_cNumber(1203.5), 21.5);
  peak.SetValue(pnum_cNumber(40), 22.75);

  std::cout << peak.NumIndices() << " elements of type " << peak.DataType().StringOut().CString() << ":\n";
  return asrw_WriteTwoColumn(std::cout, peak, 6, 0) ? 0 : 1;
}
