#include <DataStorage/series/fileseries.h>
//
#include <cstring>
#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "disk.h"
#include "series.h"
#include <DataStorage/series/seriesbase.h>

namespace {

constexpr unsigned int data_type = 77;

/// A series of texts.
class TextSeries : public dtsr_cFileSeriesBase, public dtsr_cDataSeriesBase {
 public:
  TextSeries(const str_cString& path, const dtsr_cDimensionArray& dimensions)
      : dtsr_cFileSeriesBase(path, dimensions, data_type), dtsr_cDataSeriesBase(dimensions) {}
  explicit TextSeries(const str_cString& path, bstr_eAccess access = bstr_OpenExisting)
      : dtsr_cFileSeriesBase(path, data_type, access), dtsr_cDataSeriesBase(StoredDimensions()) {}

  using dtsr_cDataSeriesBase::GetTag;
  using dtsr_cFileSeriesBase::created_;
  using dtsr_cFileSeriesBase::dataOffsets_;
  using dtsr_cFileSeriesBase::file_;
  using dtsr_cFileSeriesBase::UpdatePointers;
  int Size() const override { return dtsr_cFileSeriesBase::Size(); }
  int NextWriteIndex() const override { return dtsr_cFileSeriesBase::NextWriteIndex(); }
  void ResetWriteIndex() override { dtsr_cFileSeriesBase::ResetWriteIndex(); }
  void GetTag(int i, dtsr_cDataTag& tag) const override { dtsr_cFileSeriesBase::GetTag(i, tag); }
  dtsr_cDataTag* pSampleTag() const override { return dtsr_cFileSeriesBase::pSampleTag(); }
  unsigned int TagTypeID() const override { return dtsr_cFileSeriesBase::TagTypeID(); }

  void Append(const std::string& text, const dtsr_cDataTag& tag) {
    file_.Output().Seek(dataOffsets_[NextWriteIndex()]);
    file_.Output().Write(text.data(), static_cast<std::int64_t>(text.size()));
    SetNewestTag(tag);
  }
  /// Datum i as the tests write it: long enough to be cut, and different each time.
  void AppendNext() {
    const int i = NextWriteIndex();
    Append(Text(i), dtsr_c2DPosition(i, -i, 1000 + i));
  }
  /// How many data there are, after looking at all of them.
  int CheckedCount() {
    for (int i = 0; i < NextWriteIndex(); ++i) {
      dtsr_c2DPosition tag;
      GetTag(i, tag);
      EXPECT_TRUE(tag.IsEqual(dtsr_c2DPosition(i, -i, 1000 + i), true)) << i;
      std::string text(static_cast<std::size_t>(tagOffsets_[i] - dataOffsets_[i]), '.');
      EXPECT_TRUE(file_.Input().Seek(dataOffsets_[i]));
      EXPECT_TRUE(file_.Input().Read(text.data(), static_cast<std::int64_t>(text.size())));
      EXPECT_EQ(text, Text(i));
    }
    return NextWriteIndex();
  }

 private:
  static std::string Text(int i) {
    return std::string(static_cast<std::size_t>(5 + i), static_cast<char>('a' + i));
  }
  dtsr_cDimensionArray StoredDimensions() {
    dtsr_cDimensionArray dimensions(7);
    ReadDimensionArray(dimensions);
    return dimensions;
  }
};

dtsr_cDimensionArray Slots(int n) {
  dtsr_cDimensionArray dimensions;
  dimensions.Dimension(0) = dtsr_cDimension(n, cal_c1DArrayCal(), "", "", false);
  return dimensions;
}

std::string Message(const char* text, const TempFile& file) { return (text + file.Path() + ".").CString(); }

/// Opens the file once more and returns how many data it holds; -1 and the reason when it is refused.
int CountInFile(const TempFile& file, std::string* why = nullptr) {
  int count = -1;
  const std::string complaint =
      Complaint([&] { count = TextSeries(file.Path(), bstr_OpenReadOnly).CheckedCount(); });
  if (why != nullptr) *why = complaint;
  return count;
}

const std::string head_of_two =
    Hex("49 49  44 53  10 02  4D 00 00 00  00 00 00 00  02 00 00 00  00 00 00 00  3E 00 00 00"
        "01 00 00 00  02 00 00 00  00 00 00 00 00 00 00 00  00 00 00 00 00 00 F0 3F  00 00 00 00"
        "00 00 00 00  00 00 00 00");
const std::string tag_at_place =
    Hex("32 01 00 00  07 00 00 00  00 00 00 00 00 00 F8 3F  00 00 00 00 00 00 00 C0");

TEST(FileSeries, BytesOfTheFile) {
  const TempFile file;
  TextSeries series(file.Path(), Slots(2));
  EXPECT_EQ(file.Bytes(), head_of_two + Hex("4E 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00"));
  EXPECT_EQ(series.TagTypeID(), 0U);
  EXPECT_EQ(series.pSampleTag(), nullptr);
  EXPECT_TRUE(series.created_);

  std::string head = head_of_two;
  head.replace(10, 4, Hex("32 01 00 00"));
  series.Append("abc", dtsr_c2DPosition(1.5, -2, 7));
  head[18] = 1;
  const std::string one = "abc" + tag_at_place;
  EXPECT_EQ(file.Bytes(), head + Hex("4E 00 00 00 69 00 00 00  51 00 00 00 00 00 00 00") + one);
  series.Append("", dtsr_c2DPosition(1.5, -2, 7));
  head[18] = 2;
  const std::string full =
      head + Hex("4E 00 00 00 69 00 00 00  51 00 00 00 69 00 00 00") + one + tag_at_place;
  EXPECT_EQ(file.Bytes(), full);
  EXPECT_THROW(series.SetNewestTag(dtsr_cDataTag()), arr_cIndexException);
  EXPECT_EQ(file.Bytes(), full);

  series.ResetWriteIndex();
  head[18] = 0;
  EXPECT_EQ(file.Bytes().substr(0, 78), head + Hex("4E 00 00 00 00 00 00 00  00 00 00 00 00 00 00 00"));
  EXPECT_EQ(series.TagTypeID(), 0x132U);
  EXPECT_EQ(std::unique_ptr<dtsr_cDataTag>(series.pSampleTag())->Time(), 7);
  series.Append("abc", dtsr_c2DPosition(1.5, -2, 7));
  series.Append("", dtsr_c2DPosition(1.5, -2, 7));
  EXPECT_EQ(file.Bytes(), full);
}

TEST(FileSeries, IsFoundAgainByIndexPositionAndTag) {
  const TempFile file;
  dtsr_cDimensionArray dimensions(2);
  dimensions.Dimension(0) = dtsr_cDimension(3, cal_c1DArrayCal(10, 0.5), "x", "mm", true);
  dimensions.Dimension(1) = dtsr_cDimension(2, cal_c1DArrayCal(-1, 1), "y", "mm", false);
  {
    TextSeries series(file.Path(), dimensions);
    for (int i = 0; i < 4; ++i) series.AppendNext();
  }
  TextSeries series(file.Path());
  EXPECT_FALSE(series.created_);
  EXPECT_EQ(series.pSampleTag(), nullptr);
  EXPECT_EQ(RawForm(series.DimensionArray()), RawForm(dimensions));
  EXPECT_EQ(series.CheckedCount(), 4);
  EXPECT_EQ(series.NextWritePosition()[0], 10.5);
  EXPECT_EQ(series.NextWriteIndexPosition()[1], 1);
  EXPECT_TRUE(series.bHasData(Vector({2, 1})));
  EXPECT_FALSE(series.bHasData(Vector({10.0, 0.0})));
  dtsr_c2DPosition tag;
  series.GetTag(Vector({10.0, -1.0}), tag);
  EXPECT_EQ(tag.X(), 2);
  EXPECT_EQ(series.DataIndex(dtsr_c2DPosition(3, -3, 0), false), 3);
  EXPECT_EQ(series.DataIndex(dtsr_c2DPosition(3, -3, 0), true), -1);
  EXPECT_EQ(series.DataIndex(dtsr_cDataTag(1003), true), -1);
  EXPECT_THROW(series.GetTag(6, tag), arr_cIndexException);
  EXPECT_THROW(series.GetTag(-1, tag), arr_cIndexException);
  EXPECT_EQ(Complaint([&] { series.GetTag(4, tag); }), "Invalid TagTypeID.");

  TextSeries copy(series), assigned(file.Path(), bstr_OpenReadOnly);
  assigned = copy;
  assigned.AppendNext();
  assigned.AppendNext();
  EXPECT_EQ(assigned.CheckedCount(), 6);
  EXPECT_EQ(copy.CheckedCount(), 4);
  EXPECT_EQ(CountInFile(file), 6);
  TextSeries reader(file.Path(), bstr_OpenReadOnly);
  EXPECT_EQ(Complaint([&] { reader.ResetWriteIndex(); }), Message("Can't write to series file ", file));
  EXPECT_EQ(reader.CheckedCount(), 6);
}

TEST(FileSeries, TagTypeFollowsTheFirstTagOfEachObject) {
  const TempFile file;
  TextSeries(file.Path(), Slots(4)).AppendNext();
  const auto type_in_file = [&] { return file.Bytes().substr(10, 4); };
  {
    TextSeries series(file.Path());
    EXPECT_EQ(series.CheckedCount(), 1);  // gives the sample tag
    series.Append("", dtsr_cDataTag(0));
    EXPECT_EQ(type_in_file(), Hex("32 01 00 00"));
  }
  TextSeries series(file.Path());
  series.Append("", dtsr_cDataTag(0));
  EXPECT_EQ(type_in_file(), Hex("50 01 00 00"));
  EXPECT_EQ(series.TagTypeID(), 0x150U);
}

TEST(FileSeries, RefusesWhatItCannotCreateBeforeTouchingThePath) {
  const TempFile file;
  file.SetBytes("old");
  const auto create = [&](int a, int b) {
    dtsr_cDimensionArray dimensions(2);
    dimensions.Dimension(0) = dtsr_cDimension(a, cal_c1DArrayCal(), "", "", false);
    dimensions.Dimension(1) = dtsr_cDimension(b, cal_c1DArrayCal(), "", "", false);
    TextSeries(file.Path(), dimensions);
  };
  EXPECT_THROW(create(0, 5), arr_cIndexException);
  EXPECT_THROW(create(-2, -3), arr_cSizeException);
  EXPECT_THROW(create(65536, 65536), arr_cSizeException);
  EXPECT_EQ(Complaint([&] { create(268435445, 1); }), Message("Can't write to series file ", file));
  EXPECT_EQ(file.Bytes(), "old");

  const TempFile missing("missing");
  EXPECT_EQ(Complaint([&] { TextSeries{missing.Path()}; }), Message("Can't open series file ", missing));
  EXPECT_FALSE(missing.bExists());
  const std::string folder = testing::TempDir();
  EXPECT_EQ(Complaint([&] { TextSeries(folder.c_str(), Slots(1)); }),
            "Can't open series file " + folder + ".");
}

TEST(FileSeries, RefusesDamagedFiles) {
  const TempFile file;
  {
    TextSeries series(file.Path(), Slots(3));
    series.AppendNext();
    series.AppendNext();
  }
  const std::string good = file.Bytes();
  constexpr std::size_t lists = 62, tags = 74;
  struct {
    std::size_t at;
    const char* digits;
    const char* complaint;
  } const cases[] = {
      {0, "4D", "Invalid format for "},
      {2, "00", "Invalid format for "},
      {4, "11", "Invalid format for "},
      {6, "4E", "Invalid data type for "},
      {14, "00 00 00 00", "Can't read"},
      {14, "FF FF FF FF", "Can't read"},
      {14, "FF FF FF 0F", "Can't read"},
      {14, "02", "Can't read"},
      {18, "04", "Can't read"},
      {18, "FF FF FF FF", "Can't read"},
      {22, "19", "Can't read"},
      {22, "FF FF FF 7F", "Can't read"},
      {26, "02", "Can't read"},
      {26, "FF FF FF FF", "Can't read"},
      {30, "04", "Can't read"},
      {54, "01", "Can't read"},
      {54, "FF FF FF 7F", "Can't read"},
      {lists, "00", "Can't read"},
      {lists, "FF FF FF FF", "Can't read"},
      {lists + 4, "60", "Can't read"},
      {lists + 8, "00", "Can't read"},
      {tags, "10", "Can't read"},
      {tags + 4, "FF FF FF FF", "Can't read"},
  };
  for (const auto& c : cases) {
    file.SetBytes(std::string(good).replace(c.at, Hex(c.digits).size(), Hex(c.digits)));
    std::string why;
    EXPECT_EQ(CountInFile(file, &why), -1);
    EXPECT_EQ(why.find(c.complaint), 0U) << c.at << " " << c.digits << " " << why;
    EXPECT_NE(why.find(Message("", file)), std::string::npos);
  }

  constexpr std::size_t data = 86;
  for (std::size_t n = 0; n <= good.size(); ++n) {
    file.SetBytes(good.substr(0, n));
    std::string why;
    const int count = CountInFile(file, &why);
    if (n < data) EXPECT_EQ(why, Message("Can't read series file ", file)) << n;
    if (n >= data && n < good.size())
      EXPECT_TRUE(why == "Can't read TagTypeID." || why == "Error reading 2D tag.");
    if (n == good.size()) EXPECT_EQ(count, 2);
    EXPECT_EQ(file.Bytes().size(), n);
  }
}

/// Has a look each time before the system is asked to write, as if the writing process ended there.
class WatchedDisk {
 public:
  explicit WatchedDisk(std::function<void()> its_look) {
    look = std::move(its_look);
    writes = 0;
    detail::file_calls.write_at = WriteAt;
  }
  WatchedDisk(const WatchedDisk&) = delete;
  WatchedDisk& operator=(const WatchedDisk&) = delete;
  ~WatchedDisk() { detail::file_calls = real; }

  static inline int writes = 0;

 private:
  static inline const detail::FileCalls real = detail::file_calls;
  static inline std::function<void()> look;
  static std::int64_t WriteAt(std::intptr_t file, const void* bytes, std::int64_t n, std::int64_t position) {
    look();
    ++writes;
    return real.write_at(file, bytes, n, position);
  }
};

TEST(FileSeries, IsWholeWhenTheWriterIsKilledAnywhere) {
  const TempFile file;
  std::unique_ptr<TextSeries> series;
  {
    const WatchedDisk disk([&] {
      std::string why;
      EXPECT_EQ(CountInFile(file, &why), -1);
      EXPECT_EQ(why, Message("Can't read series file ", file));
    });
    series = std::make_unique<TextSeries>(file.Path(), Slots(3));
  }
  for (int count = 0; count < 3; ++count) {
    const WatchedDisk disk([&] { EXPECT_EQ(CountInFile(file), count + (WatchedDisk::writes == 5)); });
    series->AppendNext();
    EXPECT_EQ(disk.writes, count == 1   ? 5
                           : count == 0 ? 6
                                        : 4);  // one more for the tag type, one less at the end
  }
  const WatchedDisk disk([&] { EXPECT_EQ(CountInFile(file), disk.writes == 0 ? 3 : 0); });
  series->ResetWriteIndex();
}

TEST(FileSeries, SurvivesAFailureOfEveryCall) {
  struct {
    const char* what;
    int slots, before;
    void (*operation)(TextSeries&);
    int after;
  } const cases[] = {
      {"first append", 3, 0, [](TextSeries& s) { s.AppendNext(); }, 1},
      {"append", 3, 1, [](TextSeries& s) { s.AppendNext(); }, 2},
      {"last append", 3, 2, [](TextSeries& s) { s.AppendNext(); }, 3},
      {"reset", 10000, 3, [](TextSeries& s) { s.ResetWriteIndex(); }, 0},
      {"reset of a full series", 3, 3, [](TextSeries& s) { s.ResetWriteIndex(); }, 0},
  };
  for (const auto& c : cases) {
    for (const int also_failing : {0, 1000}) {
      for (int call = 0;; ++call) {
        SCOPED_TRACE(testing::Message() << c.what << ", call " << call << " and " << also_failing << " more");
        const TempFile file;
        TextSeries series(file.Path(), Slots(c.slots));
        while (series.NextWriteIndex() < c.before) series.AppendNext();
        const unsigned int tag_type = series.TagTypeID();
        const std::string head = file.Bytes().substr(0, 62 + 8 * static_cast<std::size_t>(c.slots));
        std::string complaint;
        {
          FaultyDisk disk;
          disk.failing_call = call;
          disk.also_failing = also_failing;
          complaint = Complaint([&] { c.operation(series); });
        }
        if (complaint.empty()) {
          EXPECT_GT(call, 2);
          break;
        }
        EXPECT_EQ(complaint, Message("Can't write to series file ", file));
        EXPECT_EQ(series.CheckedCount(), c.before);
        EXPECT_EQ(series.TagTypeID(), tag_type);
        if (also_failing == 0) {
          EXPECT_EQ(file.Bytes().substr(0, head.size()), head);
        } else {
          EXPECT_GE(CountInFile(file), std::min(c.before, c.after));
        }
        if (c.before < c.slots) {  // it can go on, be it with this or with something else
          series.AppendNext();
          EXPECT_EQ(CountInFile(file), c.before + 1);
        }
        if (c.after == 0) {
          c.operation(series);
          EXPECT_EQ(CountInFile(file), 0);
        }
      }
    }
  }
}

TEST(FileSeries, SurvivesFailuresOfOpeningReadingAndCreating) {
  const TempFile file;
  const auto every_call = [&](const std::function<void()>& operation,
                              const std::function<void()>& afterwards) {
    for (int call = 0;; ++call) {
      std::string complaint;
      {
        FaultyDisk disk;
        disk.failing_call = call;
        complaint = Complaint(operation);
      }
      if (complaint.empty()) return call;
      EXPECT_TRUE(complaint == Message("Can't open series file ", file) ||
                  complaint == Message("Can't read series file ", file) ||
                  complaint == Message("Can't write to series file ", file) ||
                  complaint == "Can't read TagTypeID.")
          << complaint;
      afterwards();
    }
  };
  EXPECT_GT(every_call([&] { TextSeries(file.Path(), Slots(3)); }, [&] { EXPECT_LE(CountInFile(file), 0); }),
            4);
  TextSeries series(file.Path());
  series.AppendNext();
  EXPECT_GT(every_call([&] { TextSeries{file.Path()}; }, [&] { EXPECT_EQ(CountInFile(file), 1); }), 2);
  TextSeries reader(file.Path());
  every_call(
      [&] {
        dtsr_c2DPosition tag;
        reader.file_ = series.file_;  // with an empty window
        reader.GetTag(0, tag);
      },
      [&] { EXPECT_EQ(reader.CheckedCount(), 1); });
  every_call(
      [&] {
        if (!series.UpdatePointers())
          detail::SourceFile{"DataSeries"}.ThrowUserError("Can't read TagTypeID.");
      },
      [&] { EXPECT_EQ(CountInFile(file), 1); });
}

TEST(FileSeries, RefusesAppendsThatWouldHarm) {
  const TempFile file;
  TextSeries series(file.Path(), Slots(3));
  series.AppendNext();
  const std::string before = file.Bytes();
  bstr_cBinary_ostream& out = series.file_.Output();
  for (const std::int64_t position : {0, 90, std::numeric_limits<std::int32_t>::max() - 23}) {
    out.Seek(position);
    EXPECT_EQ(Complaint([&] { series.SetNewestTag(dtsr_c2DPosition()); }),
              Message("Can't write to series file ", file));
  }
  if constexpr (sizeof(long) > 4) {
    out.Seek(series.dataOffsets_[1]);
    EXPECT_EQ(Complaint([&] { series.SetNewestTag(dtsr_cDataTag(1L << 31)); }), "Can't write TagTypeID.");
  }
  EXPECT_EQ(file.Bytes(), before);
  series.AppendNext();
  EXPECT_EQ(series.CheckedCount(), 2);
}

}  // namespace
