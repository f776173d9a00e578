#include <latch>
#include <thread>

#include "disk.h"
#include "receivers.h"
#include "tagged.h"
#include <DataStorage/DataStorage.h>

// Two threads that share no object, only the static variables of the library. These tests are meant for the
// thread sanitizer.

namespace {

/// Runs the same work in two threads at once. Requires that it uses only its own objects.
void InTwoThreads(const std::function<void(int thread)>& work) {
  std::latch both(2);
  const auto run = [&](int thread) {
    both.arrive_and_wait();
    work(thread);
  };
  std::thread first(run, 0), second(run, 1);
  first.join();
  second.join();
}

darr_c1DArray Ramp() {
  darr_c1DArray ramp(1000, dtyp_Float64, cal_c1DArrayCal(3, 0.5));
  for (int i = 0; i < ramp.NumIndices(); ++i) ramp.SetValue(pnum_cNumber(i % 100 - 0.25), i);
  return ramp;
}

// Comes first, so that it tests static variables that are initialized on first use.
TEST(Threads, ConvertNumbersAndArrays) {
  InTwoThreads([](int) {
    for (int type = dtyp_UBin8; type <= dtyp_Complex128; ++type) {
      const dtyp_cDataType to(static_cast<dtyp_eDataType>(type));
      pnum_cNumber number(12.0);
      number.Convert(to);
      EXPECT_EQ(number.Value(), 12.0);

      darr_c1DArray array = Ramp();
      const darr_c1DArray shared = array;  // until one of them is written
      array.Convert(to);
      EXPECT_EQ(array.DataType(), to);
      EXPECT_NEAR(array.Value(12).Value(), 12, 0.25);
      EXPECT_EQ(shared.Value(12).Value(), 11.75);
      EXPECT_EQ(shared.Selection(rnge_c1DRange::Null, rnge_IndexOuter).NumIndices(), 1000);
    }
  });
}

TEST(Threads, OfferAndAnnounceChanges) {
  InTwoThreads([](int) {
    rnge_c1DRange range(0, 10), follower(0, 1);
    Watcher<rnge_s1DRangeChange> limit(range);
    limit.OnOffer([](auto& change) {
      change.Modified = change.NewRange.EndX() > 20;
      if (change.Modified) change.NewRange.SetRange(change.NewRange.StartX(), 20);
    });
    limit.OnAnnouncement([&](auto&) { follower.SetRange(range.StartX(), range.EndX()); });
    for (int i = 0; i < 100; ++i) {
      range.SetRange(i % 10, i + 10);
      EXPECT_LE(follower.EndX(), 20);
      follower.SetCenter(-5);
    }
    pos_c2DPosition position(1, 2);
    Watcher<pos_s2DPositionChange> watcher(position);
    position = pos_c2DPosition(3, 4);
    EXPECT_EQ(watcher.Heard(), "oa");
  });
}

TEST(Threads, WriteAndReadTaggedStreams) {
  InTwoThreads([](int) {
    for (const StreamKind kind : bothStreamKinds) {
      const darr_c1DArray array = Ramp();
      darr_c1DArray read;
      EXPECT_TRUE(RoundTrip(kind, array, read));
      EXPECT_EQ(read.Value(999).Value(), array.Value(999).Value());
      rnge_c2DRange range;
      EXPECT_TRUE(RoundTrip(kind, rnge_c2DRange(1, 2, 3, 4), range));
      EXPECT_EQ(range.StartX(), 1);
    }
  });
}

TEST(Threads, KeepSeriesInFilesOfTheirOwn) {
  if (!system_has_locks) GTEST_SKIP() << "plain C++ has no file locks";
  using Series = dtsr_cFileSeries<darr_c1DArray>;
  const TempFile files[] = {TempFile("0"), TempFile("1")};
  InTwoThreads([&](int thread) {
    const str_cString path = files[thread].Path();
    dtsr_cDimensionArray dimensions;
    dimensions.Dimension(0) = {20, cal_c1DArrayCal::Default, "x", str_cString::Null, false};
    Series series(path, dimensions);
    while (series.NextWriteIndex() < series.Size()) {
      series.Append(Ramp(), dtsr_c2DPosition(series.NextWriteIndex(), 2));
    }
    const Series opened(path, bstr_OpenReadOnly);
    EXPECT_EQ(opened.DimensionArray().TotalNumberIndices(), 20);
    dtsr_c2DPosition tag;
    opened.GetTag(19, tag);
    EXPECT_EQ(tag.X(), 19);
    EXPECT_THROW(Series("/no/such/file"), expt_cUserException);
  });
}

}  // namespace
