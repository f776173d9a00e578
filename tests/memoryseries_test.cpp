#include <DataStorage/series/memoryseries.h>
//

#include "series.h"

namespace {

/// A tag whose copying fails on demand. The sanitizers detect tags that are lost or freed twice.
struct FailingTag : dtsr_cDataTag {
  using dtsr_cDataTag::dtsr_cDataTag;
  dtsr_cDataTag* pCopy() const override {
    if (copies_until_failure-- == 0) throw std::bad_alloc();
    return new FailingTag(*this);
  }
  static inline int copies_until_failure = -1;
};

struct MemorySeries : dtsr_cStoredSeries<dtsr_cMemorySeriesBase> {
  explicit MemorySeries(int size) : dtsr_cStoredSeries(size, dtsr_cDimensionArray(0)) {}
  using dtsr_cMemorySeriesBase::AbsIndex;
  /// The times of all data, and their places.
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
                     {2, 1, "1@0 2@1 ", "2@0 "},
                     {5, 2, "3@2 4@0 5@1 ", "4@0 5@1 "},
                     {5, 5, "3@2 4@0 5@1 ", "3@0 4@1 5@2 "},
                     {6, 0, "4@0 5@1 6@2 ", ""}};
  for (const auto& c : cases) {
    MemorySeries series(3);
    for (int time = 1; time <= c.appends; ++time) series.SetNewestTag(FailingTag(time));
    const MemorySeries copy(series);
    series.SetSize(c.size);
    EXPECT_EQ(series.Contents(), c.after);
    series = copy;
    EXPECT_EQ(series.Contents(), c.before);
    for (const int i : {-1, series.NextWriteIndex()}) {
      FailingTag tag;
      EXPECT_THROW(series.GetTag(i, tag), arr_cIndexException);
    }
    series.ResetWriteIndex();
    series.SetNewestTag(FailingTag(9));
    EXPECT_EQ(series.Contents(), "9@0 ");
    EXPECT_EQ(std::unique_ptr<dtsr_cDataTag>(series.pSampleTag())->Time(), c.appends == 0 ? 9 : 1);
  }
}

TEST(MemorySeries, FailuresLeaveItAsItWas) {
  EXPECT_THROW(MemorySeries(-1), arr_cIndexException);
  EXPECT_THROW(MemorySeries(0).SetNewestTag(FailingTag(1)), arr_cIndexException);
  MemorySeries series(3), target(3);
  EXPECT_THROW(series.SetSize(-1), arr_cIndexException);
  for (int copies = 0; copies < 2; ++copies) {
    FailingTag::copies_until_failure = copies;
    EXPECT_THROW(target.SetNewestTag(FailingTag(1)), std::bad_alloc);
    EXPECT_EQ(target.TagTypeID(), 0U);
  }
  for (int time = 1; time <= 4; ++time) series.SetNewestTag(FailingTag(time));
  for (int copies = 0; copies < 4; ++copies) {
    FailingTag::copies_until_failure = copies;
    EXPECT_THROW(target = series, std::bad_alloc);
    EXPECT_EQ(target.Contents(), "");
  }
  FailingTag::copies_until_failure = -1;
}

}  // namespace
