#include <DataStorage/data/convert.h>

namespace {

template <class Value>
Value Converted(const Value& value, dtyp_cDataType type, conv_eComplexConversion complex_conversion) {
  Value converted(value);
  converted.Convert(type, complex_conversion);
  return converted;
}

}  // namespace

pnum_cNumber conv_Convert(const pnum_cNumber& number, dtyp_cDataType type,
                          conv_eComplexConversion complex_conversion) {
  return Converted(number, type, complex_conversion);
}

parr_c1DNumberArray conv_Convert(const parr_c1DNumberArray& array, dtyp_cDataType type,
                                 conv_eComplexConversion complex_conversion) {
  return Converted(array, type, complex_conversion);
}

parr_c2DNumberArray conv_Convert(const parr_c2DNumberArray& array, dtyp_cDataType type,
                                 conv_eComplexConversion complex_conversion) {
  return Converted(array, type, complex_conversion);
}

darr_c1DArray conv_Convert(const darr_c1DArray& array, dtyp_cDataType type,
                           conv_eComplexConversion complex_conversion) {
  return Converted(array, type, complex_conversion);
}

darr_c2DArray conv_Convert(const darr_c2DArray& array, dtyp_cDataType type,
                           conv_eComplexConversion complex_conversion) {
  return Converted(array, type, complex_conversion);
}

// A type_cBoolean is one byte that is 0 or 1, so the bytes are the elements.
darr_c1DArray conv_Convert(const barr_c1DBoolArray& mask) {
  const void* bytes = mask.NumIndices() == 0 ? nullptr : mask.Data();
  return darr_c1DArray(parr_c1DNumberArray(mask.NumIndices(), dtyp_cDataType(dtyp_UBin8), bytes), mask.Cal());
}

darr_c2DArray conv_Convert(const barr_c2DBoolArray& mask) {
  const void* bytes = mask.NumIndices() == 0 ? nullptr : mask.Data();
  return darr_c2DArray(
      parr_c2DNumberArray(mask.NumIndicesX(), mask.NumIndicesY(), dtyp_cDataType(dtyp_UBin8), bytes),
      mask.Cal());
}
