#include <cstring>
#include <tuple>

#include "file/check.h"
#include "file/failure.h"
#include "file/series.h"
#include "tool.h"
#include <DataStorage/data/darray1d.h>

using testing::HasSubstr;

namespace {

// The places of the words that these tests damage. The file has one dimension of three slots, two of them
// filled with two 8-byte floats each.
constexpr int DataType = 6, TagType = 10, Total = 14, Valid = 18, Lists = 22, DimensionCount = 26, Size = 30,
              TextLength = 54, DataOffsets = 63, TagOffsets = 75, Datum0 = 87, Tag0 = 129, Datum1 = 137,
              Tag1 = 179, End = 187;

class Verify : public Tool {
 protected:
  void SetUp() override {
    Write("numbers.txt", "1\n2\n");
    Succeed("create whole.dseries --dim n,,3,0,1");
    Succeed("append whole.dseries numbers.txt numbers.txt --time 7");
    bytes_ = Read("whole.dseries");
    ASSERT_EQ(bytes_.size(), std::size_t{End});
  }

  /// Verifies the file with one word changed and cut at `size`.
  Result Damage(int position, std::int32_t word, int size = End) {
    std::string bytes = bytes_;
    std::memcpy(bytes.data() + position, &word, sizeof word);
    Write("a.dseries", bytes.substr(0, static_cast<std::size_t>(size)));
    return Run("verify a.dseries");
  }

  std::string bytes_;
};

TEST_F(Verify, TellsEveryKindOfDamageApart) {
  const struct {
    int position;
    std::int32_t word;
    const char* told;
  } cases[] = {
      {Total, 0, "the header counts 0 data slots"},
      {Total, 0x7FFFFFFF,
       "the offset lists of 2147483647 slots should end at byte 17179869239, and the file ends"},
      {Total, 4, "the dimensions do not have 4 indices"},
      {Valid, 5, "the header counts 5 valid data in 3 slots"},
      {Valid, -1, "the header counts -1 valid data"},
      {Valid, 0, "4 entries of the offset lists are not 0, though"},
      {Lists, 3, "within itself"},
      {Lists, 64, "1 stray byte is between the dimensions and the offset lists"},
      {DimensionCount, -1, "the dimensions cannot be read"},
      {DimensionCount, 0, "33 stray bytes are between"},
      {Size, 0, "dimension 0 has the size 0"},
      {Size, 2, "the dimensions do not have 3 indices"},
      {TextLength, 0x7FFFFFFF, "the dimensions cannot be read"},
      {DataOffsets, Datum0 + 1, "datum 0 should begin at byte 87, but the offset list has 88"},
      {DataOffsets + 4, Datum1 - 1, "datum 1 should begin at byte 137, but the offset list has 136"},
      {DataOffsets + 4, 5, "put datum 1 at byte 5"},
      {DataOffsets + 8, 0, "datum 2 should begin at byte 187, but the offset list has 0"},
      {TagOffsets, Tag0 + 1, "datum 0 ends at byte 129, and its tag begins at byte 130"},
      {TagOffsets + 4, 0, "datum 1 at byte 137 and its tag at byte 0"},
      {TagOffsets + 8, 1, "1 entry of the offset lists is not 0, though"},
      {TagOffsets + 4, 0x7FFFFFFF, "datum 1 is cut off: it should end at byte 2147483647"},
      {Datum0 + 20, 9, "datum 0 at byte 87 cannot be read as one of the 1D data arrays"},
      {Datum0 + 22, -2, "datum 0 at byte 87 cannot be read"},
      {Datum0 + 22, 1, "datum 0 ends at byte 121"},
      {Tag1, 0x132, "the tag of datum 1 is of the kind 0x0132, not 0x0150"},
      {Tag1, 0, "the tag of datum 1 has no kind"},
      {TagType, 0x132, "the tag of datum 0 is of the kind 0x0150, not 0x0132"},
      {TagType, 0x999, "the tag of datum 0 is of the kind 0x0150, not 0x0999"},
  };
  for (const auto& [position, word, told] : cases) {
    const Result result = Damage(position, word);
    EXPECT_EQ(result.status, 1) << told;
    EXPECT_THAT(result.out, HasSubstr(told));
    EXPECT_THAT(result.err, HasSubstr("a.dseries is damaged")) << told;
  }
  Damage(Datum0 + 22, -2);
  EXPECT_THAT(Run("get a.dseries 0").err,
              HasSubstr("datum 0 of a.dseries cannot be read; 'dseries verify a.dseries' lists"));
  EXPECT_THAT(Damage(DataType, 0x999).out,
              HasSubstr("note: the file holds data of a kind unknown here (identifier 0x0999)"));
  EXPECT_THAT(Damage(Tag0 + 4, 8, Tag1 + 3).out,
              HasSubstr("the tag of datum 1 is cut off by the end of the file"));
  EXPECT_THAT(Damage(Tag0 + 4, 8, Tag1 - 1).out, HasSubstr("datum 1 is cut off: it should end at byte 179"));
  EXPECT_THAT(Damage(Tag0 + 4, 8, Tag1 - 1).err,
              HasSubstr("1 of 2 data are whole; 'dseries repair a.dseries -o NEW' saves those"));
  // An append must not fill the gap with zeros.
  EXPECT_THAT(Run("append a.dseries numbers.txt").err, HasSubstr("cut off within its data"));
  EXPECT_EQ(Read("a.dseries").size(), std::size_t{Tag1 - 1});
  Damage(Tag1, 0);
  for (const char* command : {"list a.dseries", "get a.dseries 1", "find a.dseries --time 9"}) {
    EXPECT_THAT(Run(command).err, HasSubstr("of a.dseries cannot be read; 'dseries verify a.dseries'"))
        << command;
  }
  Damage(DimensionCount, -1);
  EXPECT_THAT(Run("info a.dseries").err,
              HasSubstr("a.dseries is damaged; 'dseries verify a.dseries' lists what is damaged, "
                        "'dseries repair a.dseries -o NEW' saves"));
}

TEST_F(Verify, KnowsWhatAKilledProcessLeaves) {
  // Killed before it wrote the count of the second datum, and before it wrote the kind of its tags.
  for (const auto& [position, word, note] :
       {std::tuple(Valid, 1, "an append was cut short"), std::tuple(TagType, 0, "the first tag gives it")}) {
    const Result result = Damage(position, word);
    EXPECT_EQ(result.status, 0) << result.out;
    EXPECT_THAT(result.out, HasSubstr(note));
    EXPECT_EQ(Run("list a.dseries").status, 0);
    EXPECT_THAT(Run("append a.dseries numbers.txt --at 1,2").err, HasSubstr("tagged with time"));
    Succeed("append a.dseries numbers.txt");
    EXPECT_THAT(Succeed("verify a.dseries"), testing::StartsWith("a.dseries: whole"));
  }
}

/// Reads all of a file with any header.
void ReadAll(const std::string& path) {
  try {
    dseries::DataSeries<darr_c1DArray> series(path, bstr_OpenReadOnly);
    for (int i = 0; i < series.NextWriteIndex(); ++i) {
      series.Tag(i);
      series.Datum(i);
    }
  } catch (const std::exception&) {
  }
}

TEST_F(Verify, FindsEveryCutAndReadersSurviveEveryChangedByte) {
  const std::string path = folder_ / "a.dseries";
  const auto faults = [&path]() -> std::int64_t {
    try {
      return dseries::Check(path, [](int, int) {}).fault_count;
    } catch (const dseries::Failure&) {
      return 1;
    }
  };
  for (std::size_t i = 0; i < bytes_.size(); ++i) {
    Write("a.dseries", bytes_.substr(0, i));
    EXPECT_GT(faults(), 0) << i;
    ReadAll(path);
    for (const int flipped : {0x01, 0x80, 0xFF}) {
      std::string changed = bytes_;
      changed[i] = static_cast<char>(changed[i] ^ flipped);
      Write("a.dseries", changed);
      faults();
      ReadAll(path);
    }
  }
}

}  // namespace
