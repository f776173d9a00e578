#include <DataStorage/series/storedseries.h>
//

#include <bit>
#include <deque>

#include "log.h"
#include <DataStorage/data/darray1d.h>
#include <DataStorage/data/darray2d.h>

namespace {

/// A text as a datum; writing "half" fails halfway.
struct Text {
  static unsigned int DataTypeID() { return 0x54; }
  bool Write(bstr_cBinary_ostream& out) const {
    const auto n = static_cast<std::int32_t>(text.size());
    return bstr_WriteFields(out, n) && out.Write(text.data(), n) && text != "half";
  }
  bool Read(bstr_cBinary_istream& in) {
    std::int32_t n;
    if (!bstr_ReadFields(in, n) || n > in.Size() - in.Position()) return false;
    if (n < 0) arr_SizeError(n);
    text.resize(static_cast<std::size_t>(n));
    return in.Read(text.data(), n);
  }
  std::string text;
};

dtsr_cDimensionArray Line(int size) {
  dtsr_cDimensionArray line;
  line.Dimension(0) = {size, cal_c1DArrayCal(10, 0.5), "x", "um", false};
  return line;
}

/// A tag whose copying and writing fail on demand.
struct StubbornTag : dtsr_c2DPosition {
  using dtsr_c2DPosition::dtsr_c2DPosition;
  dtsr_cDataTag* pCopy() const override { throw std::bad_alloc(); }
  void Write(bstr_cBinary_ostream&) const override { throw std::bad_alloc(); }
};

using Memory = dtsr_cMemorySeries<Text>;
using File = dtsr_cFileSeries<Text>;

/// All data with the times of their tags.
template <class Series>
std::string Contents(const Series& series) {
  std::string contents;
  for (int i = 0; i < series.NextWriteIndex(); ++i) {
    dtsr_c2DPosition tag;
    series.GetTag(i, tag);
    contents += series.Datum(i).text + "@" + std::to_string(tag.Time()) + " ";
  }
  return contents;
}

/// Tests of both kinds of series.
template <class Series>
struct StoredSeriesOf : testing::Test {
  Series New(int size) const {
    if constexpr (std::is_same_v<Series, File>) return File(file.Path(), Line(size), bstr_CreateEmpty);
    if constexpr (std::is_same_v<Series, Memory>) return Memory(size, Line(size));
  }
  TempFile file;
};

using Series = testing::Types<Memory, File>;
TYPED_TEST_SUITE(StoredSeriesOf, Series);

TYPED_TEST(StoredSeriesOf, GivesBackWhatWasAppended) {
  TypeParam series = this->New(4);
  dtsr_cDataSeriesBase& base = series;
  EXPECT_EQ(base.Size(), 4);
  EXPECT_EQ(base.TagTypeID(), 0U);
  EXPECT_EQ(base.pSampleTag(), nullptr);
  for (int round = 1; round <= 2; ++round) {
    EXPECT_THROW(series.Datum(0), arr_cIndexException);
    for (int i = 0; i < 3; ++i) {
      EXPECT_EQ(base.NextWriteIndexPosition()[0], i);
      series.Append({std::string(static_cast<std::size_t>(i * round), 'a')}, dtsr_c2DPosition(i, 2, round));
    }
    EXPECT_EQ(Contents(series), round == 1 ? "@1 a@1 aa@1 " : "@2 aa@2 aaaa@2 ");
    EXPECT_THROW(series.Datum(-1), arr_cIndexException);
    EXPECT_THROW(series.Datum(3), arr_cIndexException);
    EXPECT_EQ(base.bHasData(-1) + 2 * base.bHasData(2) + 4 * base.bHasData(3), 2);
    EXPECT_EQ(base.bHasData(Vector({10.5})) + 2 * base.bHasData(Vector({11.5})), 1);
    dtsr_c2DPosition tag;
    base.GetTag(Vector({11.0}), tag);
    EXPECT_EQ(tag.X(), 2);
    EXPECT_EQ(base.TagTypeID(), tag.TagTypeID());
    EXPECT_EQ(std::unique_ptr<dtsr_cDataTag>(base.pSampleTag())->Time(), 1);
    base.ResetWriteIndex();
    EXPECT_EQ(base.NumberValidData(), 0);
  }
}

TYPED_TEST(StoredSeriesOf, FindsTheOldestWithATagOfItsKind) {
  TypeParam series = this->New(6);
  series.Append({}, dtsr_c2DPosition(1, 2, 5));
  series.Append({}, dtsr_cDataTag(5));
  for (const int time : {6, 7, 6}) series.Append({}, dtsr_c2DPosition(1, 2, time));
  const auto index = [&](const dtsr_cDataTag& tag, bool time) { return series.DataIndex(tag, time); };
  EXPECT_EQ(index(dtsr_cDataTag(5), true), 1);
  EXPECT_EQ(index(dtsr_cDataTag(9), false), 1);
  EXPECT_EQ(index(dtsr_cDataTag(6), true), -1);
  EXPECT_EQ(index(dtsr_c2DPosition(1, 2, 6), true), 2);
  EXPECT_EQ(index(dtsr_c2DPosition(1, 2, 6), false), 0);
  EXPECT_EQ(index(dtsr_c2DPosition(1, 3, 5), true), -1);
}

TYPED_TEST(StoredSeriesOf, IsUnchangedByAnAppendThatFails) {
  for (int count = 0; count <= 3; ++count) {
    TypeParam series = this->New(3);
    for (int i = 0; i < count; ++i) series.Append({std::string(1, "abc"[i])}, dtsr_c2DPosition(0, 0, i));
    const std::string before = Contents(series);
    const int next = series.NextWriteIndex();
    EXPECT_ANY_THROW(series.Append({"lost"}, StubbornTag()));
    EXPECT_EQ(Contents(series), before);
    EXPECT_EQ(series.NextWriteIndex(), next);
    series.ResetWriteIndex();
    series.Append({"new"}, dtsr_c2DPosition(0, 0, 8));
    EXPECT_EQ(Contents(series), "new@8 ");
  }
}

TEST(StoredSeries, InMemoryIsARing) {
  std::mt19937 random(RandomSeed());
  Memory series(3), copy(1);
  std::deque<std::string> model;
  for (int step = 0; step < 3000; ++step) {
    const std::string text = std::to_string(step);
    const auto choice = random() % 16;
    if (choice == 0) {
      series.ResetWriteIndex();
      model.clear();
    } else if (choice == 1) {
      series.SetSize(1 + static_cast<int>(random() % 5));
    } else if (choice == 2) {
      copy = series;
      series = Memory(copy);
      copy.Append({"another"}, dtsr_c2DPosition());
    } else {
      series.Append({text}, dtsr_c2DPosition(0, 0, step));
      model.push_back(text + "@" + text + " ");
    }
    while (std::ssize(model) > series.Size()) model.pop_front();
    ASSERT_EQ(Contents(series), std::accumulate(model.begin(), model.end(), std::string())) << step;
  }
  series = Memory(2, Line(4));
  EXPECT_EQ(series.DimensionArray().TotalNumberIndices(), 4);
  EXPECT_THROW(series.SetSize(-1), arr_cIndexException);
  EXPECT_THROW(Memory(0).Append({}, dtsr_cDataTag()), arr_cIndexException);
}

TEST(StoredSeries, GoesOnWithTheFileThatIsThere) {
  if (!system_has_locks) GTEST_SKIP() << "plain C++ has no file locks";
  const TempFile file;
  const auto open = [&](int size) { return File::OpenOrCreate(file.Path(), Line(size)); };
  for (const char* text : {"a", "b", "c"}) {
    File series = open(3);
    EXPECT_THROW(open(3), dtsr_cFileLockedException);
    series.Append({text}, dtsr_c2DPosition(0, 0, 7));
  }
  const std::string whole = file.Bytes();
  {
    File full = open(3);
    EXPECT_EQ(Contents(full), "a@7 b@7 c@7 ");
    EXPECT_THROW(full.Append({"d"}, dtsr_cDataTag(7)), arr_cIndexException);
    EXPECT_EQ(File(file.Path(), bstr_OpenReadOnly).Datum(2).text, "c");
  }
  EXPECT_EQ(Complaint([&] { open(4); }), Message("Invalid dimensions for ", file));
  EXPECT_EQ(file.Bytes(), whole);
  for (const std::string& other : {Patched(whole, 6, "55"), whole.substr(0, 40), std::string()}) {
    file.SetBytes(other);
    EXPECT_THROW(open(3), expt_cUserException);
    EXPECT_EQ(file.Bytes(), other);
  }
}

TEST(StoredSeries, ArraysReachTheFileInOneWrite) {
  if (!system_has_locks) GTEST_SKIP() << "plain C++ has no file locks";
  const TempFile file;
  for (const std::int64_t longest_move : {std::int64_t{1} << 30, std::int64_t{7}, std::int64_t{30}}) {
    for (const int n : {0, 3, 508, 509, 5000}) {  // 508 of 8 bytes are still copied behind what precedes them
      darr_c1DArray line(n, dtyp_Float64, cal_c1DArrayCal(3, 0.5, 1));
      darr_c2DArray plane(n, 2, dtyp_SBin16, cal_c2DArrayCal({1, 2, 3}, {4, 5, 6}));
      for (int i = 0; i < n; ++i) {
        line.SetValue(i, i);
        plane.SetValue(i, i, 1);
      }
      const auto append = [&](const auto& array) {
        using Array = std::decay_t<decltype(array)>;
        dtsr_cFileSeries<Array> series(file.Path(), Line(3));
        series.Append(array, dtsr_cDataTag(1));
        FaultyDisk disk;
        disk.longest_move = longest_move;
        series.Append(array, dtsr_cDataTag(2));
        // Elements whose bytes are swapped go out in blocks.
        EXPECT_TRUE(disk.writes == 5 || longest_move < 100 || std::endian::native == std::endian::big) << n;
        EXPECT_EQ(RawForm(series.Datum(1)), RawForm(array)) << n;
        const std::string stored = RawForm(array) + RawForm(dtsr_cDataTag(2));
        EXPECT_EQ(file.Bytes().substr(file.Bytes().size() - stored.size()), stored) << n;
      };
      append(line);
      append(plane);
    }
  }
}

TEST(StoredSeries, NoFaultOfTheSystemEmptiesAFile) {
  if (!system_has_locks) GTEST_SKIP() << "plain C++ has no file locks";
  const TempFile file;
  File(file.Path(), Line(3)).Append({"kept"}, dtsr_cDataTag(7));
  const std::string whole = file.Bytes();
  for (int call = 0, calls = 1; call < calls; ++call) {
    {
      FaultyDisk disk;
      disk.failing_call = call;
      Complaint([&] { File::OpenOrCreate(file.Path(), Line(3)); });
      calls = disk.count;
    }
    EXPECT_EQ(file.Bytes(), whole) << call;
  }
}

TEST(StoredSeries, RefusesDamagedAndHalfData) {
  if (!system_has_locks) GTEST_SKIP() << "plain C++ has no file locks";
  const TempFile file;
  {
    File series(file.Path(), Line(4));
    for (const char* text : {"one", "two", "half", "three"}) {
      const std::string told = Complaint([&] { series.Append({text}, dtsr_cDataTag(7)); });
      EXPECT_EQ(told, *text == 'h' ? Message("Can't write to series file ", file) : "");
    }
  }
  const std::string whole = file.Bytes();
  for (const char* length : {"02000000", "04000000", "FFFFFF7F", "FFFFFFFF"}) {
    file.SetBytes(Patched(whole, whole.find("two") - 4, length));
    const File series(file.Path(), bstr_OpenReadOnly);
    EXPECT_EQ(Complaint([&] { series.Datum(1); }), Message("Can't read datum 1 of ", file));
    EXPECT_EQ(series.Datum(0).text + series.Datum(2).text, "onethree");
  }
}

}  // namespace
