#include "log.h"

namespace {

/// The file of a log with 2 slots and 2 records.
const std::string full_file = Hex(
    "49 49  44 53  10 02  4D 00 00 00  50 01 00 00  02 00 00 00  02 00 00 00  5F 00 00 00 "
    "02 00 00 00  02 00 00 00  00 00 00 00 00 00 24 40  00 00 00 00 00 00 E0 BF  02 00 00 00 "
    "01 00 00 00  78  00 00 00 00 "
    "01 00 00 00  00 00 00 00 00 00 00 00  00 00 00 00 00 00 F0 3F  00 00 00 00  00 00 00 00  00 00 00 00 "
    "6F 00 00 00  7C 00 00 00  74 00 00 00  82 00 00 00 "
    "61 61 61 61 61  50 01 00 00  00 00 00 00  62 62 62 62 62 62  50 01 00 00  01 00 00 00");
constexpr std::size_t lists = 95, data = 111;

TEST(FileSeries, BytesOfTheFile) {
  const TempFile file;
  Log series(file, Slots(2));
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
  EXPECT_EQ(series.TagTypeID(), 0x150U);
}

TEST(FileSeries, IsFoundAgainByIndexPositionAndTag) {
  const TempFile file;
  Log(file, Slots(3, 2)).AppendNext();
  Log series(file);
  EXPECT_EQ(series.pSampleTag(), nullptr);
  series.AppendNext();
  series.AppendNext();
  dtsr_cDataTag tag;
  series.GetTag(Vector({10.0, 0.0}), tag);
  EXPECT_EQ(tag.Time(), 2);
  EXPECT_EQ(series.DataIndex(dtsr_cDataTag(2), true), 2);
  EXPECT_EQ(series.DataIndex(dtsr_cDataTag(7), true), -1);
  EXPECT_THROW(series.GetTag(6, tag), arr_cIndexException);

  Log copy(series), reader(file, bstr_OpenReadOnly);
  EXPECT_EQ(Complaint([&] { reader.ResetWriteIndex(); }), Message("Can't write to series file ", file));
  EXPECT_EQ(reader.CheckedCount(), 3);  // which gives the sample tag
  reader = series;
  reader.Append("", dtsr_c2DPosition());
  EXPECT_EQ(reader.TagTypeID(), 0x150U);
  EXPECT_EQ(copy.CheckedCount(), 3);
  Log(file).Append("", dtsr_c2DPosition());
  EXPECT_EQ(file.Bytes().substr(10, 4), Hex("32 01 00 00"));
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
  Log series(file, Slots(4));
  for (int round = 0; round < 2; ++round, series.ResetWriteIndex()) {
    for (int i = 0; i < 4; ++i) {
      const dtsr_c2DPosition tag(round, i, 0);
      EXPECT_EQ(series.DataIndex(tag, true), -1);
      series.Append("", tag);
      EXPECT_EQ(series.DataIndex(tag, true), i);
    }
  }
  Log noted(file, Slots(4));
  for (const char letter : {'a', 'b', 'c'}) noted.Append("", NotedTag(letter));
  EXPECT_EQ(noted.DataIndex(NotedTag('c'), true), 2);
  EXPECT_EQ(noted.DataIndex(NotedTag('d'), true), -1);
}

TEST(FileSeries, RefusesHarmBeforeItIsDone) {
  const TempFile file;
  file.SetBytes("old");
  const auto create = [&](int a, int b) { Log(file, Slots(a, b)); };
  EXPECT_THROW(create(0, 5), arr_cIndexException);
  EXPECT_THROW(create(65536, 65536), arr_cSizeException);
  EXPECT_THROW(create(-1, -5), arr_cSizeException);
  EXPECT_EQ(Complaint([&] { create(268435445, 1); }), Message("Can't write to series file ", file));
  EXPECT_EQ(file.Bytes(), "old");
  const TempFile missing("missing");
  EXPECT_EQ(Complaint([&] { Log{missing}; }), Message("Can't open series file ", missing));
  EXPECT_FALSE(missing.bExists());

  Log series(file, Slots(3));
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
      EXPECT_EQ(Log(file).NextWriteIndex(), 2) << n;
    }
  }
}

TEST(FileSeries, IsWholeWhereverTheWriterIsKilled) {
  const TempFile file;
  std::unique_ptr<Log> log;
  // How many records are there each time before the system is asked to write, as if the writer ended there?
  const auto watch = [&](const std::function<int()>& expected, const std::function<void()>& operation) {
    FaultyDisk disk;
    disk.before_write = [&] { EXPECT_EQ(CountInFile(file), expected()) << "after " << disk.writes; };
    operation();
    return disk.writes;
  };
  watch([] { return -1; }, [&] { log = std::make_unique<Log>(file, Slots(3)); });
  const int writes[] = {6, 5, 4};  // one more for the tag type, one less where there is no next slot
  for (int count = 0; count < 3; ++count) {
    const auto expected = [&] { return count + (FaultyDisk::writes == 5); };
    EXPECT_EQ(watch(expected, [&] { log->AppendNext(); }), writes[count]);
  }
  watch([] { return FaultyDisk::writes == 0 ? 3 : 0; }, [&] { log->ResetWriteIndex(); });
}

/// Runs an operation with one call of the system failing, each in turn, and all the calls after it as told.
void FailEachCall(int also_failing, const std::function<void()>& prepare,
                  const std::function<void()>& operation,
                  const std::function<void(const std::string& complaint)>& afterwards) {
  for (int call = 0; call < 100; ++call) {
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
  FAIL() << "it fails for ever";
}

TEST(FileSeries, SurvivesFailingWrites) {
  const TempFile file;
  std::unique_ptr<Log> series;
  constexpr auto append = [](Log& log) { log.AppendNext(); };
  constexpr auto empty = [](Log& log) { log.ResetWriteIndex(); };
  struct {
    int slots, count;
    void (*operation)(Log&);
    void (*next)(Log&);
    int after;
  } const cases[] = {{3, 0, append, append, 1}, {3, 1, append, append, 2}, {3, 2, append, append, 3},
                     {3, 3, empty, empty, 0},   {3, 2, empty, append, 3},  {9000, 2, empty, empty, 0}};
  for (const auto& c : cases) {
    for (const int also_failing : {0, 1000}) {
      std::string before;
      const auto head = [&] { return file.Bytes().substr(0, lists + 8 * static_cast<std::size_t>(c.slots)); };
      const auto prepare = [&] {
        series = std::make_unique<Log>(file, Slots(c.slots));
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
            c.next(*series);
            EXPECT_EQ(CountInFile(file), c.after);
          });
    }
  }
}

TEST(FileSeries, SurvivesFailuresOfOtherCalls) {
  const TempFile file;
  const auto none = [] {};
  FailEachCall(
      0, none, [&] { Log(file, Slots(3)); }, [&](const std::string&) { EXPECT_LE(CountInFile(file), 0); });
  Log series(file), reader(series);
  dtsr_cDataTag tag;
  series.AppendNext();
  FailEachCall(
      0, none, [&] { Log{file}; },
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
