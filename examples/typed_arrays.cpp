#include <iostream>

#include <DataStorage/data/convert.h>

void Show(const char* what, const parr_c1DNumberArray& array) {
  std::cout << what << ", " << array.DataType().StringOut().CString() << ":";
  for (int i = 0; i < array.NumIndices(); ++i) std::cout << ' ' << array.Value(i);
  std::cout << '\n';
}

int main() {
  const short counts[] = {120, -3, 32000};
  parr_c1DNumberArray signal(3, dtyp_SBin16, counts);
  const parr_c1DNumberArray measured = signal;  // shares the elements until one of the two is modified

  signal.SetValue(pnum_cNumber(40000), 2);
  Show("takes a larger number", signal);
  signal.SetValue(pnum_cNumber(0.5), 0);
  Show("takes a fraction", signal);
  Show("the copy", measured);

  // Direct access to the elements in memory; DataType() is their type.
  const auto* elements = static_cast<const double*>(signal.Data());
  double sum = 0;
  for (int i = 0; i < signal.NumIndices(); ++i) sum += elements[i];
  std::cout << "sum: " << sum << '\n';

  // Conversion to a type that cannot hold all values: rounded to nearest, ties to even, limited to its range.
  Show("as bytes", conv_Convert(signal, dtyp_UBin8, conv_Real));

  const comp_cComplex<double> waves[] = {{3, 4}, {0, -2}};
  const parr_c1DNumberArray spectrum(2, dtyp_Complex128, waves);
  Show("complex", spectrum);
  Show("magnitude", conv_Convert(spectrum, dtyp_Float32, conv_Magnitude));
  Show("phase", conv_Convert(spectrum, dtyp_Float64, conv_Phase));
}
