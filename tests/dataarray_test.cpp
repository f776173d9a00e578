#include "arrays.h"
#include "tagged.h"
#include <DataStorage/data/convert.h>

namespace {

using testing::ElementsAre;

using Cal = cal_c1DArrayCal;
using Cal2D = cal_c2DArrayCal;

template <class T = int>
darr_c1DArray Data(const std::vector<T>& elements, const Cal& cal) {
  return {Line(elements), cal};
}
template <class T = int>
darr_c2DArray Data(int nx, const std::vector<T>& elements, const Cal2D& cal) {
  return {Plane(nx, elements), cal};
}

template <class Array>
void ExpectSame(const Array& a, const Array& b) {
  EXPECT_EQ(RawForm(a), RawForm(b));
}

TEST(DataArray, TakesAtomsInAnyOrderAndPassesOverOthers) {
  const double numbers[] = {1, 7};
  const arr_c1DNumberArray<double> elements(2, numbers);
  const Cal cal(5, 6, 7);
  const Atom data{{parr_DataTag, parr_DataString}, &elements}, other{{0x7777, "Unknown"}, 5},
      calibration{{darr_CalibrationTag, darr_CalibrationString}, &cal};
  for (const StreamKind kind : bothStreamKinds) {
    const bool text = kind == StreamKind::Ascii;
    const auto type = [&](dtyp_eDataType number, const char* name) -> Atom {
      if (text) return {{parr_DataTypeTag, parr_DataTypeString}, str_cString(name)};
      return {{parr_DataTypeTag, parr_DataTypeString}, static_cast<unsigned char>(number)};
    };
    const Atom sbin16 = type(dtyp_SBin16, "sbin16"), none = type(dtyp_eDataType(200), "8-byte float");
    darr_c1DArray array = Data({9}, {1, 2, 3});
    const std::string old = RawForm(array);
    EXPECT_FALSE(ReadAtoms(kind, {}, array));
    EXPECT_FALSE(ReadAtoms(kind, {sbin16, calibration}, array));
    EXPECT_THROW(ReadAtoms(kind, {data, data}, array), expt_cProgramException);
    EXPECT_EQ(RawForm(array), old);

    ASSERT_TRUE(ReadAtoms(kind, {data}, array));
    ExpectSame(array, Data<double>({1, 7}, {}));
    ASSERT_TRUE(ReadAtoms(kind, {calibration, other, data, other, sbin16}, array));
    ExpectSame(array, Data<short>({1, 7}, {5, 6, 7}));

    // An invalid type: its name is skipped in text, its number makes the data unreadable.
    EXPECT_EQ(ReadAtoms(kind, {none, data}, array), text);
    EXPECT_EQ(ReadAtoms(kind, {data, none}, array), text);
    EXPECT_EQ(array.DataType(), text ? dtyp_Float64 : dtyp_SBin16);
  }
}

TEST(DataArray, HasARawFormBehindItsCalibration) {
  EXPECT_EQ(RawForm(Data<short>(1, {5}, {1, -1, 2, -2, 3, -3})),
            std::string("\0\0\0\0\0\0\xF0\x3F\0\0\0\0\0\0\0\x40\3\0\0\0"
                        "\0\0\0\0\0\0\xF0\xBF\0\0\0\0\0\0\0\xC0\xFD\xFF\xFF\xFF\5\0\1\0\0\0\1\0\0\0\5\0",
                        52));
}

TEST(DataArray, ReadsValuesAtPositions) {
  const darr_c1DArray line = Data({0, 10, 20, 30, 40}, {10, 2, 0});
  const auto expect = [&](double position, darr_eInterpolation how, const pnum_cNumber& expected) {
    const pnum_cNumber value = line.Value(position, how);
    EXPECT_EQ(value.Value(), expected.Value()) << position;
    EXPECT_EQ(value.DataType(), expected.DataType()) << position;
  };
  for (const double outside : {9.9, 20.5, infinity, not_a_number}) {
    expect(outside, darr_NoInterpolation, 0);
    expect(outside, darr_LinearInterpolation, 0);
  }
  expect(10, darr_NoInterpolation, 0);
  expect(20, darr_NoInterpolation, 40);
  expect(11, darr_LinearInterpolation, 5.0);
  expect(12, darr_LinearInterpolation, 10);
  expect(13, darr_eInterpolation(2), 15.0);
  expect(19, darr_LinearInterpolation, 40);
  EXPECT_EQ(darr_c1DArray().Value(0.0).Value(), 0);
  EXPECT_EQ(darr_c2DArray().Value(0.0, 0.0).DataType(), dtyp_UBin8);

  const darr_c2DArray plane = Data(4, Counting<int>(12), {0, 0, 1, 2, 0, 0});
  EXPECT_EQ(plane.Range(), rnge_c2DRange(0, 0, 4, 6));
  for (const auto& [x, y, value] : {std::tuple(3.5, 5.9, 12.0), {4, 6, 12}, {1, 2, 6}, {4.5, 1, 0}}) {
    EXPECT_EQ(plane.Value(x, y).Value(), value) << x << " " << y;
  }
  EXPECT_EQ(plane.Value(1.0, not_a_number).Value(), 0);
}

double Sum(const auto& array) {
  const std::vector<double> values = Values(array);
  return std::accumulate(values.begin(), values.end(), 0.0);
}

TEST(DataArray, GrowsByZerosWhereAPositionIsWritten) {
  for (const double position :
       {-25.0, -10.5, -10.0000001, -10.0, 0.0, 1.9999999, 14.9, 15.0, 15.00000001, 40.0}) {
    darr_c1DArray line(5, pnum_cNumber(3), {0, 5, 2});  // -10 to 15; selections beyond it give 3
    darr_c2DArray plane(5, 5, pnum_cNumber(3), {0, 0, 5, 5, 2, 2});
    darr_c2DArray turned = plane;
    line.SetValue(7, position);
    plane.SetValue(7, position, 0.0);
    turned.SetValue(7, 0.0, position);
    const int i = line.Cal().IndexX(position);
    EXPECT_EQ(line.Value(i).Value(), 7) << position;
    EXPECT_EQ(plane.Value(i, 2).Value(), 7) << position;
    EXPECT_EQ(turned.Value(2, i).Value(), 7) << position;
    const double replaced = position > -10.5 && position < 15 ? 3 : 0;
    EXPECT_EQ(Sum(line), 5 * 3 - replaced + 7) << position;
    EXPECT_EQ(Sum(plane), 25 * 3 - replaced + 7) << position;
    EXPECT_EQ(Sum(turned), 25 * 3 - replaced + 7) << position;
  }
  // The tolerance of a long range reaches beyond that of its first cell.
  darr_c1DArray wide(100000, pnum_cNumber(3), {});
  EXPECT_EQ(wide.Value(-5e-5).Value(), 3);
  wide.SetValue(7, -5e-5);
  EXPECT_EQ(wide.NumIndices(), 100001);
  EXPECT_EQ(wide.Value(0).Value(), 7);

  darr_c1DArray line = Data({1}, {});
  darr_c2DArray plane = Data(1, {1}, {});
  for (const double position : {not_a_number, infinity, -infinity, 1e300, -3e9, 2147483647.0}) {
    EXPECT_THROW(line.SetValue(1, position), expt_cProgramException);
    EXPECT_THROW(plane.SetValue(1, position, 0.0), expt_cProgramException);
    EXPECT_THROW(plane.SetValue(1, 0.0, position), expt_cProgramException);
  }
  EXPECT_EQ(line.NumIndices() + plane.NumIndices(), 2);
  darr_c1DArray empty;
  empty.SetValue(2.5, 1.0);
  EXPECT_EQ(empty.Value(1.0).Value(), 2.5);
}

TEST(DataArray, SetsWhatItHasAlongAFallingAxisAndDoesNotGrowThere) {
  darr_c1DArray line = Data({1, 2, 3, 4}, {8, -1, 2});  // cells from 10 down to 6
  for (const auto& [position, value] : {std::pair(10.0, 5), {8.5, 6}, {6.1, 7}})
    line.SetValue(value, position);
  ExpectSame(line, Data({5, 6, 3, 7}, {8, -1, 2}));
  darr_c2DArray plane = Data(2, {1, 2, 3, 4}, {0, 1, 1, -1, 0, 0});
  plane.SetValue(5, 1.5, 0.5);
  plane.SetValue(6, 2.5, -0.5);  // grows along X only
  ExpectSame(plane, Data(3, {1, 5, 0, 3, 4, 6}, {0, 1, 1, -1, 0, 0}));
  const std::string old = RawForm(line) + RawForm(plane);
  for (const double outside : {10.1, 6.0, -1e300, infinity, not_a_number}) {
    EXPECT_THROW(line.SetValue(9.5, outside), arr_cIndexException) << outside;
    EXPECT_THROW(plane.SetValue(9.5, 0.5, outside), arr_cIndexException) << outside;
  }
  EXPECT_EQ(RawForm(line) + RawForm(plane), old);
  for (const double delta : {0.0, not_a_number, -infinity, infinity}) {
    line.SetDeltaX(delta);
    EXPECT_THROW(line.SetValue(9.5, 8.0), expt_cProgramException) << delta;
    EXPECT_EQ(line.DataType(), dtyp_SBin32);
  }
}

TEST(DataArray, KeepsPositionsInSelections) {
  const darr_c1DArray line = Data({1, 2, 3, 4}, {10, 0.5, 2});
  const darr_c2DArray plane = Data(4, Counting<int>(12), {10, 20, 0.5, 2, 2, 1});
  ExpectSame(line.Selection(rnge_c1DRange::Null, rnge_IndexInner), line);
  ExpectSame(plane.Selection(rnge_c2DRange::Null, rnge_IndexInner), plane);
  ExpectSame(line.Selection(rnge_c1DIndexRange::Null), line);
  ExpectSame(plane.Selection(rnge_c2DIndexRange::Null), plane);
  ExpectSame(plane.Selection(plane.Range(), rnge_IndexInner), plane);
  EXPECT_THAT(Values(line.Selection(10.75, 9.25, rnge_IndexOuter)), ElementsAre(1, 2, 3, 4));
  EXPECT_THAT(Values(line.Selection(10.75, 9.25, rnge_IndexInner)), ElementsAre(2, 3));
  EXPECT_THROW(line.Selection(9.6, 9.7, rnge_IndexInner), arr_cIndexException);

  ExpectSame(line.Selection(8.0, 10.2, rnge_IndexOuter), Data({0, 0, 1, 2, 3}, {10, 0.5, 4}));
  ExpectSame(line.Selection(10.6, 12.0, rnge_IndexOuter), Data({4, 0, 0}, {10.5, 0.5, 0}));
  EXPECT_THAT(Values(line.Selection(20.0, 21.0, rnge_IndexOuter)), ElementsAre(0, 0));
  EXPECT_THROW(line.Selection(0, 1e30, rnge_IndexOuter), arr_cSizeException);
  ExpectSame(plane.Selection(10.5, 21.0, 12.0, 27.0, rnge_IndexOuter),
             Data(3, {8, 0, 0, 12, 0, 0, 0, 0, 0, 0, 0, 0}, {10.5, 20, 0.5, 2, 0, 0}));
  EXPECT_THAT(Values(plane.Selection(0, 0, 0.6, 1, rnge_IndexOuter)), ElementsAre(0, 0));
  EXPECT_NO_THROW(plane.Selection(rnge_c2DRange(10, 20, 1, 2, 1e-310), rnge_IndexOuter));
  for (const double angle : {1e-300, -0.001, not_a_number}) {
    EXPECT_THROW(plane.Selection(rnge_c2DRange(10, 20, 1, 2, angle), rnge_IndexOuter),
                 expt_cProgramException);
  }
}

TEST(DataArray, CarriesItsCalibrationAlong) {
  darr_c1DArray line = Data({1, 2, 3}, {10, 0.5, 1});
  const darr_c2DArray plane = Data(3, Counting<int>(6), {1, 2, 3, 4, 5, 6});
  ExpectSame(plane.LineAtX(2), Data({3, 6}, {2, 4, 6}));
  ExpectSame(plane.LineAtY(0), Data({1, 2, 3}, {1, 3, 5}));
  EXPECT_EQ(plane.Move(1, -1).Cal(), Cal2D(2, 1, 3, 4, 5, 6));
  EXPECT_EQ(std::pair(plane.Move(1, -1).OffsetX(plane), plane.Move(1, -1).OffsetY(plane)),
            std::pair(1.0, -1.0));
  EXPECT_EQ(line.Move(3).Cal(), Cal(13, 0.5, 1));
  EXPECT_EQ(line.Move(3).OffsetX(line), 3);
  line = pnum_cNumber(0.5);
  ExpectSame(line, Data<double>({0.5, 0.5, 0.5}, {10, 0.5, 1}));
  const darr_c1DArray copy = line;
  line.SetDeltaX(7);
  EXPECT_EQ(copy.DeltaX(), 0.5);
}

TEST(Conversion, MakesNewValuesOfAnotherType) {
  using Complex = comp_cComplex<double>;
  const std::vector<Complex> elements = {{3, 4}, {0, -2}};
  const darr_c1DArray line = Data(elements, {1, 2, 3});
  EXPECT_EQ(conv_Convert(line, line.DataType(), conv_Phase).Data(), line.Data());
  ExpectSame(conv_Convert(line, Type(dtyp_Float32), conv_Magnitude), Data<float>({5, 2}, {1, 2, 3}));
  const darr_c2DArray plane = Data(1, elements, {1, 2, 3, 4, 5, 6});
  ExpectSame(conv_Convert(plane, Type(dtyp_SBin16), conv_Imaginary),
             Data<short>(1, {4, -2}, {1, 2, 3, 4, 5, 6}));
  EXPECT_EQ(line.DataType(), dtyp_Complex128);
  EXPECT_EQ(conv_Convert(parr_c2DNumberArray(), Type(dtyp_Float64), conv_Real).DataType(), dtyp_UBin8);
  EXPECT_EQ(conv_Convert(pnum_cNumber(Complex(3, 4)), Type(dtyp_Float64), conv_Magnitude).Value(), 5);
  EXPECT_THROW(conv_Convert(line, dtyp_cDataType(), conv_Real), expt_cProgramException);
}

}  // namespace
