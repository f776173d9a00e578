#include <fstream>
#include <iostream>

#include <DataStorage/data/darray1d.h>
#include <DataStorage/interfaces/bstr.h>
#include <DataStorage/interfaces/tgio.h>

int main() {
  const short counts[] = {1, 2, 3};
  const darr_c1DArray pattern(parr_c1DNumberArray(3, dtyp_SBin16, counts), cal_c1DArrayCal(0.5, 0.1));

  // Tagged streams hold any persistent object, as text or in binary form, with its type and labelled fields.
  std::ofstream text("pattern.txt");
  std::ofstream binary("pattern.tagged", std::ios::binary);
  if (!tgio_cASCII_ostream(text).Write(pattern) || !tgio_cBinary_ostream(binary).Write(pattern)) return 1;
  text.close();
  binary.close();
  if (!text || !binary) return 1;  // a full disk may be noticed only now

  std::ifstream file("pattern.tagged", std::ios::binary);
  tgio_cBinary_istream in(file);
  rnge_c1DRange range;
  darr_c1DArray copy;
  std::cout << std::boolalpha << "reads as a range: " << in.Read(range) << '\n'
            << "reads as a 1D data array: " << in.Read(copy) << ", " << copy.NumIndices() << " elements from "
            << copy.OffsetX() << '\n';

  // The raw form holds only the values; the reader must already know the type.
  bstr_cBinary_fstream raw("pattern.darr", bstr_CreateEmpty);
  if (!pattern.Write(raw.Output())) return 1;
  std::cout << "raw: " << raw.Input().Size() << " bytes\n";
}
