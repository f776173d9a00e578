#include <fstream>
#include <iostream>

#include <DataStorage/data/asciirw.h>
#include <DataStorage/data/darray1d.h>

int main() {
  std::ifstream text("examples/data/diffraction_sic_zn.dat");
  darr_c1DArray pattern;
  if (!asrw_ReadTwoColumn(text, pattern) || !text.eof()) return 1;  // stops at non-numeric text
  std::cout << pattern.NumIndices() << " counts from " << pattern.Range().StartX() << " to "
            << pattern.Range().EndX() << " degrees, a step of " << pattern.DeltaX() << '\n';

  // The counts around a peak, selected in physical units whatever the step, and the highest of them.
  const darr_c1DArray peak = pattern.Selection(42.5, 44.0, rnge_IndexOuter);
  int top = 0;
  for (int i = 1; i < peak.NumIndices(); ++i) {
    if (peak.Value(i).Value() > peak.Value(top).Value()) top = i;
  }
  const double position = peak.Cal().PositionX(top);
  std::cout << "highest of " << peak.NumIndices() << ": " << peak.Value(top) << " at " << position << '\n';

  // The selection keeps its positions, so that both arrays can be read at the same position.
  std::cout << "the same from the whole pattern: " << pattern.Value(position) << '\n'
            << "half a step further: " << pattern.Value(position + 0.01) << ", interpolated "
            << pattern.Value(position + 0.01, darr_LinearInterpolation) << '\n'
            << "outside: " << peak.Value(50.0) << '\n';

  // The caller chooses which cells belong to an interval that ends within cells.
  for (const auto select : {rnge_IndexInner, rnge_IndexOuter, rnge_IndexNearest}) {
    const rnge_c1DIndexRange indices(rnge_c1DRange(43.013, 43.053), pattern.Cal(), select);
    std::cout << "43.013 to 43.053 selects indices " << indices.StartIndexX() << " to "
              << indices.EndIndexX() - 1 << '\n';
  }
}
