// The statics of the library, in the order of their construction.

#include <DataStorage/calibration/arraycal.h>
#include <DataStorage/interfaces/constants.h>
#include <DataStorage/numbers/pnumber.h>
#include <DataStorage/positions/pos1d.h>
#include <DataStorage/positions/pos2d.h>

constinit const tgio_cObjectType cal_c1DArrayCal::_ObjectType(obty_1DCalString, obty_1DCalType);
constinit const tgio_cObjectType cal_c2DArrayCal::_ObjectType(obty_2DCalString, obty_2DCalType);
constinit const cal_c1DArrayCal cal_c1DArrayCal::Null;
constinit const cal_c2DArrayCal cal_c2DArrayCal::Null;
constinit const cal_c1DArrayCal cal_c1DArrayCal::Default;
constinit const cal_c2DArrayCal cal_c2DArrayCal::Default;

constinit const dtyp_cDataType pnum_cNumber::tComplexNumber = dtyp_Complex128;
constinit const dtyp_cDataType pnum_cNumber::tValueNumber = dtyp_Float64;
constinit const dtyp_cDataType pnum_cNumber::tCountNumber = dtyp_SBin32;

constinit const tgio_cObjectType pos_c1DPosition::_ObjectType(obty_1DPositionString, obty_1DPositionType);
constinit const pos_c1DPosition pos_c1DPosition::Null;
constinit const tgio_cObjectType pos_c2DPosition::_ObjectType(obty_2DPositionString, obty_2DPositionType);
constinit const pos_c2DPosition pos_c2DPosition::Null;

