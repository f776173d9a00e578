#include "arrays.h"
#include <DataStorage/data/darray2d.h>

namespace {

using testing::ElementsAre;

using Range = rnge_c1DIndexRange;
using Range2D = rnge_c2DIndexRange;
using Complex = comp_cComplex<double>;

template <class T>
struct NumberArrayTest : testing::Test {};
TYPED_TEST_SUITE(NumberArrayTest, EveryElementType);

TYPED_TEST(NumberArrayTest, TakesElementsFromBlocksNumbersAndContainers) {
  using T = TypeParam;
  constexpr dtyp_cDataType type = detail::DataTypeOf<T>;
  const std::vector<T> e = Counting<T>(6);
  const parr_c1DNumberArray line = Line(e);
  const parr_c2DNumberArray plane = Plane(3, e);
  EXPECT_EQ(Bytes(plane), std::string(reinterpret_cast<const char*>(e.data()), 6 * sizeof(T)));
  EXPECT_EQ(Bytes(plane.Row(1)), Bytes(line.Selection(3, 6)));
  EXPECT_EQ(Bytes(plane.Column(2)), Bytes(Line(std::vector{e[2], e[5]})));
  EXPECT_EQ(plane.Column(2).DataType(), type);

  const pnum_cNumber value(2.0, type);
  EXPECT_THAT(Values(parr_c1DNumberArray(3, value).Selection(2, 4)), ElementsAre(2, 2));
  EXPECT_THAT(Values(parr_c2DNumberArray(2, 1, value).Selection(1, 0, 3, 1)), ElementsAre(2, 2));
  EXPECT_THAT(Values(parr_c1DNumberArray(2, type, nullptr)), ElementsAre(0, 0));

  const arr_c1DNumberArray<T> container(6, e.data());
  parr_c1DNumberArray shared(container);
  EXPECT_EQ(shared.Data(), container.Data());
  shared.SetValue(value, 0);
  EXPECT_EQ(container[0], e[0]);
  EXPECT_EQ(static_cast<arr_c2DNumberArray<T>>(plane).Data(), plane.Data());
  using Other = std::conditional_t<std::is_same_v<T, char>, int, char>;
  EXPECT_THROW(static_cast<void>(static_cast<arr_c2DNumberArray<Other>>(plane)), expt_cProgramException);
}

TEST(NumberArray, IsIndependentOfItsCopies) {
  using Array = parr_c1DNumberArray;
  const Array original = Line<int>({1, 2, 3, 4});
  const std::initializer_list<void (*)(Array&)> writes = {
      [](Array& a) { a.SetValue(7, 0); }, [](Array& a) { a = pnum_cNumber(7); },
      [](Array& a) { a.SetSelection(Line<unsigned char>({9}), 0); },
      [](Array& a) { a.SetData(a, Range(0, 3), Range(1, 4)); }};
  Array copy;
  for (const auto write : writes) {
    copy = original;
    EXPECT_EQ(copy.Data(), original.Data());
    write(copy);
    EXPECT_THAT(Values(original), ElementsAre(1, 2, 3, 4));
    EXPECT_NE(Values(copy), Values(original));
  }
  EXPECT_THAT(Values(copy), ElementsAre(1, 1, 2, 3)) << "copied into itself";
}

TEST(NumberArray, RawFormsHaveKnownBytesAndRefuseOthers) {
  EXPECT_EQ(RawForm(Line<short>({1, -2, 3})), "\5\0\3\0\0\0\1\0\xFE\xFF\3\0"s);
  const std::string plane_bytes = "\2\0\2\0\0\0\2\0\0\0\1\0\2\0\3\0\4\0"s;
  EXPECT_EQ(RawForm(Plane<unsigned short>(2, {1, 2, 3, 4})), plane_bytes);
  parr_c1DNumberArray line = Line<short>({1});
  parr_c2DNumberArray plane = Plane<short>(1, {1});
  for (const std::string& bytes : {"\0\0\1\0\0\0\1"s, "\x0B\0\1\0\0\0\1"s, "\xFF\xFF\1\0\0\0\1"s,
                                   "\1\0\xFF\xFF\xFF\x7E\1"s, "\1\0\xFF\xFF\xFF\x7F\1"s}) {
    EXPECT_FALSE(ReadRaw(line, bytes));
  }
  for (const std::string& bytes :
       {"IIxx\1\0\1\0\0\0\1\0\0\0\1"s, "II\1\0\1\0\0\0\1\0\0\0\1"s, "IIBIIIBI\1\0\1\0\0\0\1\0\0\0\1"s,
        "\1\0\xFF\xFF\0\0\xFF\x7F\0\0\1"s, "\x8\0\xFF\xFF\xFF\x7F\xFF\xFF\xFF\x7F"s,
        "\1\0\xFF\xFF\xFF\x7F\0\0\0\0"s}) {
    EXPECT_FALSE(ReadRaw(plane, bytes));
  }
  EXPECT_THROW(ReadRaw(line, "\1\0\xFF\xFF\xFF\xFF"s), arr_cSizeException);
  for (const std::string& extents :
       {"\xFF\xFF\xFF\xFF\1\0\0\0"s, "\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF"s, "\0\0\0\0\xFF\xFF\xFF\xFF"s}) {
    EXPECT_THROW(ReadRaw(plane, "\1\0"s + extents + "\1"), arr_cSizeException);
  }
  EXPECT_THAT(Values(line), ElementsAre(1));
  EXPECT_THAT(Values(plane), ElementsAre(1));
  EXPECT_TRUE(ReadRaw(line, "\1\0\0\0\0\0"s));
  EXPECT_EQ(line.NumIndices(), 0);
  EXPECT_TRUE(ReadRaw(plane, "IIBI" + plane_bytes));
  EXPECT_EQ(RawForm(plane), plane_bytes);
}

TEST(NumberArray, BeginsEmptyAndRefusesWhatItCannotHold) {
  EXPECT_EQ(parr_c1DNumberArray().DataType(), dtyp_UBin8);
  EXPECT_EQ(parr_c2DNumberArray().NumIndices(), 0);
  EXPECT_THROW(parr_c1DNumberArray(-1, Type(dtyp_Float64), nullptr), arr_cSizeException);
  EXPECT_THROW(parr_c2DNumberArray(2, -1, Type(dtyp_Float64), nullptr), arr_cSizeException);
  EXPECT_THROW(parr_c1DNumberArray().Value(0), arr_cIndexException);
  EXPECT_THROW(parr_c1DNumberArray(nullptr), expt_cProgramException);
  EXPECT_THROW(parr_c2DNumberArray(nullptr), expt_cProgramException);
  parr_c1DNumberArray no_line;  // of bytes; stays so without elements to widen
  EXPECT_THROW(no_line.SetData(Line<double>({1, 2}), Range::Null, Range(0, 2)), arr_cIndexException);
  parr_c2DNumberArray no_plane;
  EXPECT_THROW(no_plane.SetData(Plane<double>(1, {1, 2}), Range2D::Null, Range2D(0, 0, 1, 2)),
               arr_cIndexException);
  parr_c1DTypedNumberArray<char> letter;
  EXPECT_THROW(letter.SetData(parr_c1DTypedNumberArray<double>(), Range(0, 1), Range(0, 1)),
               expt_cProgramException);
  for (const int type : {-1, 0, 11}) {
    const dtyp_cDataType none = static_cast<dtyp_eDataType>(type);
    EXPECT_THROW(parr_c1DNumberArray(1, none, nullptr), expt_cProgramException);
    EXPECT_THROW(Plane<short>(1, {1}).Convert(none), expt_cProgramException);
  }
}

TEST(NumberArray, WidensWhenAnElementDoesNotFit) {
  parr_c1DNumberArray line = Line<short>({1, 2, 3, 4});
  line.SetValue(2.5, 3);
  EXPECT_EQ(line.DataType(), dtyp_Float64);
  for (const int outside : {-1, 4}) line.SetValue(9, outside);
  EXPECT_THAT(Values(line), ElementsAre(1, 2, 3, 2.5));
  line.SetValue(Complex(1, 1), 7);
  line.SetValue(6, 0);
  EXPECT_EQ(line.DataType(), dtyp_Complex128);
  EXPECT_EQ(line.Value(0).DataType(), dtyp_Float64);
  EXPECT_EQ(line.Value(0).Value(), 6);

  parr_c1DNumberArray bytes = Line<char>({1});
  bytes.SetValue(static_cast<unsigned char>(200), 0);
  EXPECT_EQ(bytes.DataType(), dtyp_SBin8);
  EXPECT_THAT(Values(bytes), ElementsAre(-56));

  parr_c2DNumberArray plane = Plane<short>(3, {1, 2, 3, 4, 5, 6});
  EXPECT_EQ(plane.Value(3, 0).Value(), 4);
  EXPECT_THROW(plane.Value(0, 2), arr_cIndexException);
  EXPECT_THROW(plane.SetValue(0.5, 0, 2), arr_cIndexException);
  EXPECT_EQ(plane.DataType(), dtyp_Float64);
}

TEST(NumberArray, TakesIndicesOfAnyIntegerType) {
  darr_c1DArray line(Line<int>({1, 2, 3, 4, 5, 6}), {});
  darr_c2DArray plane(Plane<int>(3, {1, 2, 3, 4, 5, 6}), {});
  const auto check = [&]<class Index>(Index two) {
    EXPECT_EQ(line.Value(two).Value(), 3);
    line.SetValue(3, two);
    EXPECT_EQ(plane.Value(two, 1).Value(), 6);
    EXPECT_EQ(plane.Value(0, static_cast<Index>(1)).Value(), 4);
    plane.SetValue(6, two, static_cast<unsigned char>(1));
    plane.SetValue(6, 2UL, static_cast<Index>(1));
  };
  check(short(2)), check('\2'), check(2), check(2U), check(2L), check(2UL), check(2LL), check(2ULL);
  EXPECT_EQ(Values(line), Values(plane));

  const auto refuse = [&](auto wide) {  // 2 in 32 bits
    EXPECT_THROW(line.Value(wide), arr_cIndexException);
    EXPECT_THROW(plane.Value(wide, 0), arr_cIndexException);
    EXPECT_THROW(plane.SetValue(9, 0, wide), arr_cIndexException);
    line.SetValue(9, wide);
  };
  refuse((1LL << 32) + 2), refuse((1ULL << 63) + 2), refuse(-(1LL << 32) + 2);
  EXPECT_EQ(Values(line), Values(plane));
}

/// Whether Value takes indices of these types.
template <class X, class Y>
constexpr bool bReadable = requires(const darr_c2DArray& array, X x, Y y) {
  array.Value(x, y);
};
static_assert(bReadable<float, double> && !bReadable<int, double> && !bReadable<double, short> &&
              !bReadable<double, unsigned long> && !bReadable<long, float>);

TEST(NumberArray, TakesOneNumberForAllElementsAndConverts) {
  parr_c1DNumberArray line(10, Type(dtyp_UBin16), nullptr);
  line = pnum_cNumber(2.5f);
  EXPECT_EQ(line.DataType(), dtyp_Float32);
  EXPECT_EQ(Values(line), std::vector<double>(10, 2.5));
  EXPECT_THAT(Values(line.Selection(9, 11)), ElementsAre(2.5, 2.5));
  parr_c2DNumberArray plane = Plane<short>(2, {1, 2, 3, 4});
  plane = pnum_cNumber(3);
  EXPECT_THAT(Values(plane.Selection(1, 1, 3, 2)), ElementsAre(3, 3));

  plane = Plane<short>(3, {1, 2, 3});
  plane = pnum_cNumber(0.5);
  EXPECT_EQ(plane.NumIndicesX(), 3);

  line = arr_c1DNumberArray<Complex>(2, std::vector<Complex>{{1.5, 9}, {-300, 9}}.data());
  line.Convert(Type(dtyp_SBin16));
  EXPECT_EQ(line.DataType(), dtyp_SBin16);
  EXPECT_THAT(Values(line), ElementsAre(2, -300));
  parr_c1DNumberArray empty;
  empty.Convert(Type(dtyp_Float64));
  EXPECT_EQ(empty.DataType(), dtyp_UBin8);
}

TEST(NumberArray, KeepsWhatABlockOfAnotherShapeLeaves) {
  const double old[] = {1, 2, 3, 4, 5, 6};
  const float block[] = {10, 20, 30, 40, 50, 60};
  for (const dtyp_eDataType type : {dtyp_Float32, dtyp_Float64}) {
    parr_c2DNumberArray target(2, 3, dtyp_Float64, old);
    const parr_c2DNumberArray shared(target);
    parr_c2DNumberArray source(3, 2, dtyp_Float32, block);
    source.Convert(type);
    target.SetData(source, rnge_c2DIndexRange::Null, rnge_c2DIndexRange(0, 0, 3, 2));
    EXPECT_THAT(
        std::vector(static_cast<const double*>(target.Data()), static_cast<const double*>(target.Data()) + 6),
        testing::ElementsAre(10, 20, 40, 50, 60, 6));
  }
}

TEST(NumberArray, TakesWholeArraysWhereNoRangeIsNamed) {
  const parr_c1DNumberArray source = Line<int>({1, 2, 3});
  parr_c1DNumberArray line(4, Type(dtyp_SBin32), nullptr);
  line.SetData(source, Range::Null, Range::Null);
  EXPECT_THAT(Values(line), ElementsAre(0, 0, 0, 0));
  line.SetSelection(source, 1);
  EXPECT_THAT(Values(line), ElementsAre(0, 1, 2, 3));
  line.SetData(Line<short>({4, 5, 6, 7}), Range(0, 1), Range::Null);
  EXPECT_THAT(Values(line), ElementsAre(4, 5, 6, 7));
  EXPECT_THROW(line.SetSelection(source, largest), arr_cIndexException);
  EXPECT_THROW(line.SetData(Line<double>({1}), Range::Null, Range(0, 4)), arr_cIndexException);
  EXPECT_EQ(line.DataType(), dtyp_Float64);
  EXPECT_EQ(line.Selection(0, 4).Data(), line.Data());
  EXPECT_EQ(line.Selection(Range::Null).Data(), line.Data());
  EXPECT_EQ(line.GetData(Range::Null).NumIndices(), 4);
  EXPECT_EQ(parr_c1DNumberArray().Selection(Range::Null).NumIndices(), 0);
  for (const Range& empty : {Range(Range::Null), Range(3, 3)}) {
    EXPECT_THROW(line.Selection(empty), arr_cIndexException);
  }
  EXPECT_THROW(line.Selection(-1, largest), arr_cSizeException);

  parr_c2DNumberArray plane = Plane<short>(2, {1, 2, 3, 4});
  plane.SetData(plane, Range2D::Null, Range2D::Null);
  plane.SetSelection(Plane<double>(1, {0.5, 0.25}), 1, 0);
  EXPECT_THAT(Values(plane), ElementsAre(1, 0.5, 3, 0.25));
  plane.SetData(plane, Range2D(0, 0, 2, 1), Range2D(0, 1, 2, 2));
  EXPECT_THAT(Values(plane), ElementsAre(1, 0.5, 1, 0.5));
  EXPECT_THROW(plane.SetSelection(plane, largest, 0), arr_cIndexException);
  EXPECT_EQ(plane.Selection(plane.IndexRange()).Data(), plane.Data());
  EXPECT_EQ(plane.GetData(Range2D::Null).Data(), plane.Data());
  for (const Range2D& empty : {Range2D(Range2D::Null), Range2D(0, 1, 2, 1)}) {
    EXPECT_THROW(plane.Selection(empty), arr_cIndexException);
  }
}

}  // namespace
