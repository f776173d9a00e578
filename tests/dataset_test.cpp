#include "arrays.h"
#include <DataStorage/data/dataset.h>

namespace {

/// The message of the exception for a value of type T.
template <class T>
std::string Complaint(const data_cDataset& dataset) {
  try {
    static_cast<void>(dataset.operator T());
    return {};
  } catch (const expt_cUserException& error) {
    return error.Message().CString();
  }
}

TEST(Dataset, HoldsACopyOfEachKind) {
  EXPECT_FALSE(data_cDataset().operator type_cBoolean());
  darr_c1DArray line(Line<short>({1, 2}), {1, 2, 3});
  const darr_c2DArray plane(Plane<short>(2, {1, 2}), {1, 2, 3, 4, 5, 6});
  const data_cDataset all[] = {
      type_cBoolean(true), barr_c1DBoolArray(3), barr_c2DBoolArray(3, 4), pnum_cNumber(2.5), line, plane};
  line.SetValue(9, 0);
  const std::string names[] = {"boolean", "1D boolean array", "2D boolean array",
                               "number",  "1D data array",    "2D data array"};
  for (std::size_t held = 0; held < std::size(all); ++held) {
    const data_cDataset& each = all[held];
    EXPECT_EQ(each.DatasetType(), data_Boolean + static_cast<int>(held));
    const std::string complaints[] = {Complaint<type_cBoolean>(each),     Complaint<barr_c1DBoolArray>(each),
                                      Complaint<barr_c2DBoolArray>(each), Complaint<pnum_cNumber>(each),
                                      Complaint<darr_c1DArray>(each),     Complaint<darr_c2DArray>(each)};
    for (std::size_t asked = 0; asked < std::size(all); ++asked) {
      const std::string expected = "The dataset holds a " + names[held] + ", not a " + names[asked] + ".";
      EXPECT_EQ(complaints[asked], asked == held ? "" : expected);
    }
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
