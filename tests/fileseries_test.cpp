#include <DataStorage/series/fileseries.h>
//
#include <array>
#include <functional>
#include <gtest/gtest.h>
#include <iterator>
#include <limits>
#include <memory>
#include <sstream>
#include <string>
#include <utility>

#include "disk.h"
#include "series.h"

namespace {

constexpr unsigned int data_type = 77;

/// A series of texts. Text and tag of datum i depend on i alone, unless a test gives others.
struct TextSeries : StoredSeries<dtsr_cFileSeriesBase> {
  TextSeries(const str_cString& path, const dtsr_cDimensionArray& dimensions)
      : StoredSeries([&](auto&) { return dimensions; }, path, dimensions, data_type) {}
  explicit TextSeries(const str_cString& path, bstr_eAccess access = bstr_OpenExisting)
      : StoredSeries(
            [](dtsr_cFileSeriesBase& store) {
              dtsr_cDimensionArray dimensions(7);
              store.ReadDimensionArray(dimensions);
              return dimensions;
            },
            path, data_type, access) {}
  using dtsr_cFileSeriesBase::dataOffsets_;
  using dtsr_cFileSeriesBase::file_;
  using dtsr_cFileSeriesBase::UpdatePointers;

  static std::string Text(int i) {
    return std::string(static_cast<std::size_t>(5 + i), static_cast<char>('a' + i));
  }
  static dtsr_c2DPosition Tag(int i) { return {1.5, -1.0 * i, 1000 + i}; }
  void Append(const std::string& text, const dtsr_cDataTag& tag) {
    file_.Output().Seek(dataOffsets_[NextWriteIndex()]);
    file_.Output().Write(text.data(), static_cast<std::int64_t>(text.size()));
    SetNewestTag(tag);
  }
  void AppendNext() { Append(Text(NextWriteIndex()), Tag(NextWriteIndex())); }
  /// How many data there are, after looking at all of them.
  int CheckedCount() {
    for (int i = 0; i < NextWriteIndex(); ++i) {
      dtsr_c2DPosition tag;
      GetTag(i, tag);
      EXPECT_TRUE(tag.IsEqual(Tag(i), true)) << i;
      std::string text(static_cast<std::size_t>(tagOffsets_[i] - dataOffsets_[i]), '.');
      file_.Input().Seek(dataOffsets_[i]);
      file_.Input().Read(text.data(), static_cast<std::int64_t>(text.size()));
      EXPECT_EQ(text, Text(i));
    }
    return NextWriteIndex();
  }
};

dtsr_cDimensionArray Sizes(int a, int b) {
  dtsr_cDimensionArray dimensions(2);
  dimensions.Dimension(0) = {a, cal_c1DArrayCal(10, 0.5), "x", "", true};
  dimensions.Dimension(1) = {b, cal_c1DArrayCal(), "", "", false};
  return dimensions;
}

std::string Message(const char* text, const TempFile& file) { return (text + file.Path() + ".").CString(); }

/// How many data the file holds for one who opens it now; -1 and the reason when it is refused.
int CountInFile(const TempFile& file, std::string* why = nullptr) {
  int count = -1;
  const std::string complaint =
      Complaint([&] { count = TextSeries(file.Path(), bstr_OpenReadOnly).CheckedCount(); });
  if (why != nullptr) *why = complaint;
  return count;
}

/// The file of a series with 2 slots of 2 texts.
const std::string full_file = Hex(
    "49 49  44 53  10 02  4D 00 00 00  32 01 00 00  02 00 00 00  02 00 00 00  5F 00 00 00  02 00 00 00 "
    "02 00 00 00  00 00 00 00 00 00 24 40  00 00 00 00 00 00 E0 BF  02 00 00 00  01 00 00 00  78  00 00 00 "
    "00 "
    "01 00 00 00  00 00 00 00 00 00 00 00  00 00 00 00 00 00 F0 3F  00 00 00 00  00 00 00 00  00 00 00 00 "
    "6F 00 00 00  8C 00 00 00  74 00 00 00  92 00 00 00 "
    "61 61 61 61 61  32 01 00 00  E8 03 00 00  00 00 00 00 00 00 F8 3F  00 00 00 00 00 00 00 80 "
    "62 62 62 62 62 62  32 01 00 00  E9 03 00 00  00 00 00 00 00 00 F8 3F  00 00 00 00 00 00 F0 BF");
constexpr std::size_t lists = 95, data = 111;

TEST(FileSeries, BytesOfTheFile) {
  const TempFile file;
  TextSeries series(file.Path(), Sizes(2, 1));
  std::string empty = full_file.substr(0, data);
  for (const std::size_t at : {std::size_t{18}, lists + 4, lists + 8, lists + 12})
    empty = Patched(empty, at, "00 00 00 00");
  EXPECT_EQ(file.Bytes(), Patched(empty, 10, "00 00 00 00"));
  for (int times = 0; times < 2; ++times) {
    while (series.NextWriteIndex() < 2) series.AppendNext();
    EXPECT_EQ(file.Bytes(), full_file);
    EXPECT_THROW(series.SetNewestTag(dtsr_cDataTag()), arr_cIndexException);
    EXPECT_EQ(file.Bytes(), full_file);
    series.ResetWriteIndex();
    EXPECT_EQ(file.Bytes().substr(0, data), empty);
  }
  EXPECT_EQ(series.TagTypeID(), 0x132U);
}

TEST(FileSeries, IsFoundAgainByIndexPositionAndTag) {
  const TempFile file;
  TextSeries(file.Path(), Sizes(3, 2)).AppendNext();
  TextSeries series(file.Path());
  EXPECT_EQ(series.pSampleTag(), nullptr);
  series.AppendNext();
  series.AppendNext();
  dtsr_c2DPosition tag;
  series.GetTag(Vector({10.0, 0.0}), tag);
  EXPECT_EQ(tag.Time(), 1002);
  EXPECT_EQ(series.DataIndex(TextSeries::Tag(2), true), 2);
  EXPECT_EQ(series.DataIndex(dtsr_c2DPosition(1.5, -2, 0), true), -1);
  EXPECT_THROW(series.GetTag(6, tag), arr_cIndexException);

  TextSeries copy(series), reader(file.Path(), bstr_OpenReadOnly);
  EXPECT_EQ(Complaint([&] { reader.ResetWriteIndex(); }), Message("Can't write to series file ", file));
  EXPECT_EQ(reader.CheckedCount(), 3);  // which gives the sample tag
  reader = series;
  reader.Append("", dtsr_cDataTag());
  EXPECT_EQ(reader.TagTypeID(), 0x132U);
  EXPECT_EQ(copy.CheckedCount(), 3);
  TextSeries(file.Path()).Append("", dtsr_cDataTag());
  EXPECT_EQ(file.Bytes().substr(10, 4), Hex("50 01 00 00"));
}

/// A tag with more bytes than those of the library have.
struct NotedTag : dtsr_cDataTag {
  explicit NotedTag(char letter = '?') : dtsr_cDataTag(5) { note.fill(letter); }
  type_cBoolean IsEqual(const dtsr_cDataTag& other, type_cBoolean) override {
    return static_cast<const NotedTag&>(other).note == note;
  }
  void Read(bstr_cBinary_istream& in) override {
    dtsr_cDataTag::Read(in);
    in.Read(note.data(), std::ssize(note));
  }
  void Write(bstr_cBinary_ostream& out) const override {
    dtsr_cDataTag::Write(out);
    out.Write(note.data(), std::ssize(note));
  }
  dtsr_cDataTag* pCopy() const override { return new NotedTag(*this); }
  std::array<char, 17> note;
};

TEST(FileSeries, SearchesKnowTheNewestTags) {
  const TempFile file;
  TextSeries series(file.Path(), Sizes(4, 1));
  for (int round = 0; round < 2; ++round, series.ResetWriteIndex()) {
    for (int i = 0; i < 4; ++i) {
      const dtsr_c2DPosition tag(round, i, 0);
      EXPECT_EQ(series.DataIndex(tag, true), -1);
      series.Append("", tag);
      EXPECT_EQ(series.DataIndex(tag, true), i);
    }
  }
  TextSeries noted(file.Path(), Sizes(4, 1));
  for (const char letter : {'a', 'b', 'c'}) noted.Append("", NotedTag(letter));
  EXPECT_EQ(noted.DataIndex(NotedTag('c'), true), 2);
  EXPECT_EQ(noted.DataIndex(NotedTag('d'), true), -1);
}

TEST(FileSeries, RefusesHarmBeforeItIsDone) {
  const TempFile file;
  file.SetBytes("old");
  const auto create = [&](int a, int b) { TextSeries(file.Path(), Sizes(a, b)); };
  EXPECT_THROW(create(0, 5), arr_cIndexException);
  EXPECT_THROW(create(65536, 65536), arr_cSizeException);
  EXPECT_EQ(Complaint([&] { create(268435445, 1); }), Message("Can't write to series file ", file));
  EXPECT_EQ(file.Bytes(), "old");
  const TempFile missing("missing");
  EXPECT_EQ(Complaint([&] { TextSeries{missing.Path()}; }), Message("Can't open series file ", missing));
  EXPECT_FALSE(missing.bExists());

  TextSeries series(file.Path(), Sizes(3, 1));
  series.AppendNext();
  const std::string before = file.Bytes();
  bstr_cBinary_ostream& out = series.file_.Output();
  for (const std::int64_t position : {0, 120, std::numeric_limits<std::int32_t>::max() - 23}) {
    out.Seek(position);
    EXPECT_EQ(Complaint([&] { series.SetNewestTag(dtsr_c2DPosition()); }),
              Message("Can't write to series file ", file));
  }
  EXPECT_EQ(file.Bytes(), before);
  series.AppendNext();
  EXPECT_EQ(series.CheckedCount(), 2);
}

TEST(FileSeries, RefusesDamagedFiles) {
  const TempFile file;
  std::pair<const char*, std::istringstream> cases[] = {
      {"Invalid format for ", std::istringstream("0 4D  2 00  4 11")},
      {"Invalid data type for ", std::istringstream("6 4E")},
      {"Can't read series file ",
       std::istringstream("14 00000000  14 FFFFFFFF  14 FFFFFF0F  14 03  18 03  18 FFFFFFFF  22 19  "
                          "22 FFFFFF7F  26 03  26 FFFFFFFF  30 03  54 02  54 FFFFFF7F  95 6E  99 7B  "
                          "103 6E  107 FFFFFFFF")}};
  for (auto& [complaint, changes] : cases) {
    std::size_t at;
    for (std::string digits, why; changes >> at >> digits;) {
      file.SetBytes(Patched(full_file, at, digits));
      EXPECT_EQ(CountInFile(file, &why), -1);
      EXPECT_EQ(why, Message(complaint, file)) << at;
    }
  }
  for (std::size_t n = 0; n <= full_file.size(); ++n) {
    file.SetBytes(full_file.substr(0, n));
    std::string why;
    EXPECT_EQ(CountInFile(file, &why), n == full_file.size() ? 2 : -1) << n;
    EXPECT_EQ(why == Message("Can't read series file ", file), n < data) << n;
    if (n >= data) {
      EXPECT_EQ(TextSeries(file.Path()).NextWriteIndex(), 2) << n;
    }
  }
}

/// Has a look each time before the system is asked to write, as if the writing process ended there.
struct WatchedDisk {
  explicit WatchedDisk(std::function<void()> its_look) {
    look = std::move(its_look);
    writes = 0;
    detail::file_calls.write_at = WriteAt;
  }
  ~WatchedDisk() { detail::file_calls = real; }

  static inline int writes = 0;
  static inline std::function<void()> look;
  static inline const detail::FileCalls real = detail::file_calls;
  static std::int64_t WriteAt(std::intptr_t file, const void* bytes, std::int64_t n, std::int64_t position) {
    look();
    ++writes;
    return real.write_at(file, bytes, n, position);
  }
};

TEST(FileSeries, IsWholeWhereverTheWriterIsKilled) {
  const TempFile file;
  std::unique_ptr<TextSeries> series;
  {
    const WatchedDisk disk([&] {
      std::string why;
      EXPECT_EQ(CountInFile(file, &why), -1);
      EXPECT_EQ(why, Message("Can't read series file ", file));
    });
    series = std::make_unique<TextSeries>(file.Path(), Sizes(3, 1));
  }
  const int writes[] = {6, 5, 4};  // one more for the tag type, one less where there is no next slot
  for (int count = 0; count < 3; ++count) {
    const WatchedDisk disk([&] { EXPECT_EQ(CountInFile(file), count + (WatchedDisk::writes == 5)); });
    series->AppendNext();
    EXPECT_EQ(WatchedDisk::writes, writes[count]);
  }
  const WatchedDisk disk([&] { EXPECT_EQ(CountInFile(file), WatchedDisk::writes == 0 ? 3 : 0); });
  series->ResetWriteIndex();
}

/// Runs an operation with one call of the system failing, each in turn, and all the calls after it as told.
void FailEachCall(int also_failing, const std::function<void()>& prepare,
                  const std::function<void()>& operation,
                  const std::function<void(const std::string& complaint)>& afterwards) {
  for (int call = 0;; ++call) {
    SCOPED_TRACE(testing::Message() << "call " << call << " and " << also_failing << " more");
    prepare();
    std::string complaint;
    {
      FaultyDisk disk;
      disk.failing_call = call;
      disk.also_failing = also_failing;
      complaint = Complaint(operation);
    }
    if (complaint.empty()) return;
    afterwards(complaint);
  }
}

TEST(FileSeries, SurvivesFailingWrites) {
  const TempFile file;
  std::unique_ptr<TextSeries> series;
  struct {
    int slots, count, after;
    void (*operation)(TextSeries&);
  } const cases[] = {{3, 0, 1, [](TextSeries& s) { s.AppendNext(); }},
                     {3, 1, 2, [](TextSeries& s) { s.AppendNext(); }},
                     {3, 2, 3, [](TextSeries& s) { s.AppendNext(); }},
                     {3, 3, 0, [](TextSeries& s) { s.ResetWriteIndex(); }},
                     {9000, 2, 0, [](TextSeries& s) { s.ResetWriteIndex(); }}};
  for (const auto& c : cases) {
    for (const int also_failing : {0, 1000}) {
      std::string before;
      const auto head = [&] { return file.Bytes().substr(0, lists + 8 * static_cast<std::size_t>(c.slots)); };
      const auto prepare = [&] {
        series = std::make_unique<TextSeries>(file.Path(), Sizes(c.slots, 1));
        while (series->NextWriteIndex() < c.count) series->AppendNext();
        before = head();
      };
      FailEachCall(
          also_failing, prepare, [&] { c.operation(*series); },
          [&](const std::string& complaint) {
            EXPECT_EQ(complaint, Message("Can't write to series file ", file));
            EXPECT_EQ(series->CheckedCount(), c.count);
            EXPECT_EQ(series->TagTypeID() == 0, c.count == 0);
            EXPECT_GE(CountInFile(file), 0);
            EXPECT_TRUE(also_failing > 0 || head() == before);
            c.operation(*series);
            EXPECT_EQ(CountInFile(file), c.after);
          });
    }
  }
}

TEST(FileSeries, SurvivesFailuresOfOtherCalls) {
  const TempFile file;
  const auto none = [] {};
  FailEachCall(
      0, none, [&] { TextSeries(file.Path(), Sizes(3, 1)); },
      [&](const std::string&) { EXPECT_LE(CountInFile(file), 0); });
  TextSeries series(file.Path()), reader(series);
  dtsr_c2DPosition tag;
  series.AppendNext();
  FailEachCall(
      0, none, [&] { TextSeries{file.Path()}; },
      [&](const std::string& complaint) {
        EXPECT_TRUE(complaint == Message("Can't open series file ", file) ||
                    complaint == Message("Can't read series file ", file));
      });
  FailEachCall(
      0, [&] { reader = series; }, [&] { reader.GetTag(0, tag); },
      [&](const std::string&) { EXPECT_EQ(reader.CheckedCount(), 1); });
  FailEachCall(
      0, none,
      [&] {
        const bool updated = series.UpdatePointers();
        EXPECT_NE(updated, FaultyDisk::failing_call < FaultyDisk::count);
      },
      [&](const std::string&) {});
}

}  // namespace
