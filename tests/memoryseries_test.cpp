#include <DataStorage/series/memoryseries.h>
//
#include <gtest/gtest.h>
#include <limits>
#include <new>
#include <string>

#include "series.h"
#include <DataStorage/series/seriesbase.h>

namespace {

/// Counts the tags that are alive; copying fails when told to.
struct CountedTag : dtsr_cDataTag {
  explicit CountedTag(long time) : dtsr_cDataTag(time) { ++alive; }
  CountedTag(const CountedTag& other) : dtsr_cDataTag(other) {
    if (copies_until_failure-- == 0) throw std::bad_alloc();
    ++alive;
  }
  ~CountedTag() override { --alive; }
  dtsr_cDataTag* pCopy() const override { return new CountedTag(*this); }

  static inline int alive = 0;
  static inline int copies_until_failure = -1;
};

/// A series of nothing but tags, with the times 1, 2, 3 ...
class MemorySeries : public dtsr_cDataSeriesBase, public dtsr_cMemorySeriesBase {
 public:
  explicit MemorySeries(int size, int appends = 0)
      : dtsr_cDataSeriesBase(dtsr_cDimensionArray(0)), dtsr_cMemorySeriesBase(size) {
    for (int i = 1; i <= appends; ++i) SetNewestTag(CountedTag(i));
  }
  using dtsr_cDataSeriesBase::GetTag;
  using dtsr_cMemorySeriesBase::AbsIndex;
  int Size() const override { return dtsr_cMemorySeriesBase::Size(); }
  int NextWriteIndex() const override { return dtsr_cMemorySeriesBase::NextWriteIndex(); }
  void ResetWriteIndex() override { dtsr_cMemorySeriesBase::ResetWriteIndex(); }
  void GetTag(int i, dtsr_cDataTag& tag) const override { dtsr_cMemorySeriesBase::GetTag(i, tag); }
  dtsr_cDataTag* pSampleTag() const override { return dtsr_cMemorySeriesBase::pSampleTag(); }
  unsigned int TagTypeID() const override { return dtsr_cMemorySeriesBase::TagTypeID(); }

  /// The times of all data, and where they are stored.
  std::string Contents() const {
    std::string text;
    for (int i = 0; i < NextWriteIndex(); ++i) {
      dtsr_cDataTag tag(0);
      GetTag(i, tag);
      text += std::to_string(tag.Time()) + "@" + std::to_string(AbsIndex(i)) + " ";
    }
    return text;
  }
};

TEST(MemorySeries, KeepsTheNewestInARing) {
  struct {
    int appends, size;
    const char *before, *after;
  } const cases[] = {{0, 5, "", ""},
                     {2, 5, "1@0 2@1 ", "1@0 2@1 "},
                     {2, 1, "1@0 2@1 ", "2@0 "},
                     {5, 2, "3@2 4@0 5@1 ", "4@0 5@1 "},
                     {5, 5, "3@2 4@0 5@1 ", "3@0 4@1 5@2 "},
                     {5, 3, "3@2 4@0 5@1 ", "3@2 4@0 5@1 "},
                     {6, 0, "4@0 5@1 6@2 ", ""}};
  for (const auto& c : cases) {
    MemorySeries series(3, c.appends);
    EXPECT_EQ(series.Contents(), c.before);
    const MemorySeries copy(series);
    series.SetSize(c.size);
    EXPECT_EQ(series.Contents(), c.after);
    EXPECT_EQ(series.Size(), c.size);
    EXPECT_EQ(copy.Contents(), c.before);
    series = copy;
    series.SetNewestTag(CountedTag(9));
    EXPECT_NE(series.Contents().find("9@" + std::to_string(c.appends % 3)), std::string::npos);
    series.ResetWriteIndex();
    EXPECT_EQ(series.Contents(), "");
  }
  EXPECT_EQ(CountedTag::alive, 0);
}

TEST(MemorySeries, FindsDataByTagAndKnowsItsKind) {
  MemorySeries series(3);
  EXPECT_EQ(series.TagTypeID(), 0U);
  EXPECT_EQ(series.pSampleTag(), nullptr);
  for (int i = 1; i <= 5; ++i) series.SetNewestTag(dtsr_c2DPosition(i % 2, i, i));
  EXPECT_EQ(series.DataIndex(dtsr_c2DPosition(0, 4, 4), true), 1);
  EXPECT_EQ(series.DataIndex(dtsr_c2DPosition(0, 4, 7), false), 1);
  EXPECT_EQ(series.DataIndex(dtsr_c2DPosition(0, 4, 7), true), -1);
  EXPECT_EQ(series.DataIndex(dtsr_c2DPosition(0, 2, 2), true), -1);
  EXPECT_EQ(series.DataIndex(dtsr_cDataTag(4), true), -1);
  EXPECT_EQ(series.DataIndex(dtsr_cDataTag(4), false), -1);
  EXPECT_FALSE(series.bHasData(-1));
  EXPECT_TRUE(series.bHasData(2));
  EXPECT_FALSE(series.bHasData(3));
  series.ResetWriteIndex();
  EXPECT_EQ(series.DataIndex(dtsr_c2DPosition(0, 4, 4), true), -1);
  const std::unique_ptr<dtsr_cDataTag> sample(series.pSampleTag());
  EXPECT_TRUE(sample->IsEqual(dtsr_c2DPosition(1, 1, 1), true));
  EXPECT_EQ(series.TagTypeID(), sample->TagTypeID());
}

TEST(MemorySeries, FailuresLeaveItAsItWas) {
  EXPECT_THROW(MemorySeries(-1), arr_cIndexException);
  MemorySeries none(0);
  EXPECT_THROW(none.SetNewestTag(CountedTag(1)), arr_cIndexException);
  EXPECT_THROW(none.AbsIndex(0), arr_cIndexException);
  EXPECT_EQ(none.pSampleTag(), nullptr);

  MemorySeries series(3, 5);
  CountedTag tag(6);
  for (const int i : {-1, 3, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
    EXPECT_THROW(series.GetTag(i, tag), arr_cIndexException);
  }
  EXPECT_THROW(series.SetSize(-1), arr_cIndexException);
  MemorySeries target(1), fresh(1);
  for (int copies = 0; copies < 4; ++copies) {
    CountedTag::copies_until_failure = copies;
    EXPECT_THROW(target = series, std::bad_alloc);
  }
  for (int copies = 0; copies < 2; ++copies) {
    CountedTag::copies_until_failure = copies;
    EXPECT_THROW(fresh.SetNewestTag(tag), std::bad_alloc);
  }
  CountedTag::copies_until_failure = -1;
  EXPECT_EQ(target.Contents() + fresh.Contents(), "");
  EXPECT_EQ(fresh.TagTypeID(), 0U);
  EXPECT_EQ(series.Contents(), "3@2 4@0 5@1 ");
}

}  // namespace
