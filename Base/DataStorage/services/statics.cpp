// The statics of the library, in the order of their construction.

#include <DataStorage/numbers/pnumber.h>

constinit const dtyp_cDataType pnum_cNumber::tComplexNumber = dtyp_Complex128;
constinit const dtyp_cDataType pnum_cNumber::tValueNumber = dtyp_Float64;
constinit const dtyp_cDataType pnum_cNumber::tCountNumber = dtyp_SBin32;
