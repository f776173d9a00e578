// The statics of the library, in the order of their construction.

#include <DataStorage/calibration/arraycal.h>
#include <DataStorage/data/darray2d.h>
#include <DataStorage/interfaces/constants.h>
#include <DataStorage/numbers/pnumber.h>
#include <DataStorage/positions/pos1d.h>
#include <DataStorage/positions/pos2d.h>
#include <DataStorage/positions/poslist.h>
#include <DataStorage/positions/range1d.h>
#include <DataStorage/positions/range2d.h>
#include <DataStorage/services/application.h>

constinit const tgio_cObjectType cal_c1DArrayCal::_ObjectType(obty_1DCalString, obty_1DCalType);
constinit const tgio_cObjectType cal_c2DArrayCal::_ObjectType(obty_2DCalString, obty_2DCalType);
constinit const cal_c1DArrayCal cal_c1DArrayCal::Null;
constinit const cal_c2DArrayCal cal_c2DArrayCal::Null;
constinit const cal_c1DArrayCal cal_c1DArrayCal::Default;
constinit const cal_c2DArrayCal cal_c2DArrayCal::Default;

constinit const tgio_cObjectType darr_c1DArray::_ObjectType(obty_1DDataArrayString, obty_1DDataArrayType);
constinit const tgio_cObjectType darr_c2DArray::_ObjectType(obty_2DDataArrayString, obty_2DDataArrayType);

constinit hndl_cHandle<dsap_cDataStorageApplication> dsap_cDataStorageApplication::m_hApplication;

constinit const tgio_cObjectType parr_c1DNumberArray::_ObjectType(obty_1DParrayString, obty_1DParrayType);
constinit const dtyp_cDataType parr_c1DNumberArray::t1DComplexArray = dtyp_Complex128;
constinit const dtyp_cDataType parr_c1DNumberArray::t1DValueArray = dtyp_Float64;
constinit const dtyp_cDataType parr_c1DNumberArray::t1DCountArray = dtyp_SBin32;
constinit const tgio_cObjectType parr_c2DNumberArray::_ObjectType(obty_2DParrayString, obty_2DParrayType);
constinit const dtyp_cDataType parr_c2DNumberArray::t2DComplexArray = dtyp_Complex64;
constinit const dtyp_cDataType parr_c2DNumberArray::t2DValueArray = dtyp_Float32;
constinit const dtyp_cDataType parr_c2DNumberArray::t2DCountArray = dtyp_SBin32;

constinit const dtyp_cDataType pnum_cNumber::tComplexNumber = dtyp_Complex128;
constinit const dtyp_cDataType pnum_cNumber::tValueNumber = dtyp_Float64;
constinit const dtyp_cDataType pnum_cNumber::tCountNumber = dtyp_SBin32;

constinit const tgio_cObjectType pos_c1DPosition::_ObjectType(obty_1DPositionString, obty_1DPositionType);
constinit const pos_c1DPosition pos_c1DPosition::Null;
constinit const tgio_cObjectType pos_c2DPosition::_ObjectType(obty_2DPositionString, obty_2DPositionType);
constinit const pos_c2DPosition pos_c2DPosition::Null;
constinit const tgio_cObjectType pos_c2DPositionList::_ObjectType(obty_2DPosListString, obty_2DPosListType);

constinit const tgio_cObjectType rnge_c1DRange::_ObjectType(obty_1DRangeString, obty_1DRangeType);
constinit const rnge_c1DIndexRange rnge_c1DIndexRange::Null;
constinit const rnge_c1DRange rnge_c1DRange::Null;
constinit const tgio_cObjectType rnge_c2DRange::_ObjectType(obty_2DRangeString, obty_2DRangeType);
constinit const rnge_c2DIndexRange rnge_c2DIndexRange::Null;
constinit const rnge_c2DRange rnge_c2DRange::Null;
