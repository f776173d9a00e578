#include "arrays.h"
#include <DataStorage/data/dataset.h>

namespace {

using testing::HasSubstr;

TEST(Dataset, HoldsACopyOfEachKind) {
  EXPECT_FALSE(data_cDataset().operator type_cBoolean());
  darr_c1DArray line(Line<short>({1, 2}), {1, 2, 3});
  const darr_c2DArray plane(Plane<short>(2, {1, 2}), {1, 2, 3, 4, 5, 6});
  const data_cDataset all[] = {
      type_cBoolean(true), barr_c1DBoolArray(3), barr_c2DBoolArray(3, 4), pnum_cNumber(2.5), line, plane};
  line.SetValue(9, 0);
  int kind = data_Boolean;
  for (const data_cDataset& each : all) {
    EXPECT_EQ(each.DatasetType(), kind++);
    const auto check = [&each]<class T>(std::type_identity<T>, data_eDatasetType held, const char* name) {
      try {
        static_cast<void>(each.operator T());
        EXPECT_EQ(each.DatasetType(), held);
      } catch (const expt_cUserException& error) {
        EXPECT_NE(each.DatasetType(), held);
        EXPECT_THAT(error.Message().CString(), HasSubstr(std::string("not a ") + name));
      }
    };
    check(std::type_identity<type_cBoolean>(), data_Boolean, "boolean");
    check(std::type_identity<barr_c1DBoolArray>(), data_1DBoolArray, "1D boolean array");
    check(std::type_identity<barr_c2DBoolArray>(), data_2DBoolArray, "2D boolean array");
    check(std::type_identity<pnum_cNumber>(), data_Number, "number");
    check(std::type_identity<darr_c1DArray>(), data_1DArray, "1D data array");
    check(std::type_identity<darr_c2DArray>(), data_2DArray, "2D data array");
  }
  EXPECT_EQ(data_cDataset(true).DatasetType(), data_Boolean);
  EXPECT_EQ(data_cDataset(1).DatasetType(), data_Number);
  EXPECT_EQ(all[1].operator barr_c1DBoolArray().NumIndices(), 3);
  EXPECT_EQ(all[2].operator barr_c2DBoolArray().NumIndices(), 12);
  EXPECT_EQ(all[3].operator pnum_cNumber().Value(), 2.5);
  EXPECT_EQ(RawForm(all[4].operator darr_c1DArray()), RawForm(darr_c1DArray(Line<short>({1, 2}), {1, 2, 3})));

  data_cDataset changing = all[5];
  const data_cDataset copy = changing;
  changing = all[3];
  changing = *&changing;
  EXPECT_EQ(changing.operator pnum_cNumber().Value(), 2.5);
  EXPECT_EQ(RawForm(copy.operator darr_c2DArray()), RawForm(plane));
}

}  // namespace
