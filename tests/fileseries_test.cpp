#include "log.h"
#include <DataStorage/interfaces/detail/elementloop.h>

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
  EXPECT_EQ(reader.CheckedCount(), 3);  // sets the sample tag
  reader = series;
  reader.Append("", dtsr_c2DPosition());
  EXPECT_EQ(reader.TagTypeID(), 0x150U);
  EXPECT_EQ(copy.CheckedCount(), 3);
  Log(file).Append("", dtsr_c2DPosition());
  EXPECT_EQ(file.Bytes().substr(10, 4), Hex("32 01 00 00"));
}

TEST(FileSeries, KnowsTheKindOfItsTags) {
  const TempFile file;
  for (const int asked : {0, 9}) {  // no such tag and, for the second, no such slot
    Log series(file, Slots(2));
    dtsr_cDataTag tag;
    EXPECT_THROW(series.GetTag(asked, tag), expt_cProgramException);
    series.Append("a", dtsr_c2DPosition());
    EXPECT_EQ(file.Bytes().substr(10, 4), Hex("32 01 00 00"));
    EXPECT_EQ(std::unique_ptr<dtsr_cDataTag>(series.pSampleTag())->TagTypeID(), 0x132U);
  }
  Log series(file);
  EXPECT_EQ(series.DataIndex(dtsr_cDataTag(), false), -1);

  Log mixed(file, Slots(3));
  mixed.Append("b", dtsr_c2DPosition(1, 2, 5));
  mixed.Append("b", dtsr_cDataTag(5));
  mixed.Append("b", dtsr_c2DPosition(1, 2, 6));
  file.SetBytes(file.Bytes().substr(0, file.Bytes().size() - 9));
  EXPECT_EQ(Complaint([&] { Log(file).DataIndex(dtsr_cDataTag(7), true); }), "");
  EXPECT_EQ(Complaint([&] { Log(file).DataIndex(dtsr_c2DPosition(), true); }), "Error reading 2D tag.");
}

/// A tag with more bytes than the tags of the library.
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

/// A tag of so many bytes, padded to a place that is a multiple of 16; its last byte identifies it.
struct OwnTag : dtsr_cDataTag {
  OwnTag(int bytes, char told) : dtsr_cDataTag(0), length(bytes), last(told) {}
  type_cBoolean IsEqual(const dtsr_cDataTag& other, type_cBoolean) override {
    return static_cast<const OwnTag&>(other).last == last;
  }
  void Write(bstr_cBinary_ostream& out) const override {
    for (int i = 1; i < length; ++i) out.Write("-", 1);
    if (length > 0) out.Write(&last, 1);
    while (length == 5 && out.Position() % 16 > 0) out.Write("+", 1);
  }
  void Read(bstr_cBinary_istream& in) override {
    EXPECT_TRUE(in.Skip(std::max(length - 1, 0)));
    if (length > 0) in.Read(&last, 1);
    if (length == 5) in.Skip(15 - (in.Position() + 15) % 16);
  }
  unsigned int TagTypeID() const override { return 0x4D; }
  dtsr_cDataTag* pCopy() const override { return new OwnTag(*this); }
  int length;
  char last;
};

TEST(FileSeries, TakesTagsOfOtherKinds) {
  const TempFile file;
  for (const int length : {0, 1, 4, 5, 100}) {
    SCOPED_TRACE(length);
    { Log(file, Slots(4)).Append("first", OwnTag(length, 'a')); }
    for (const char told : {'b', 'c', 'd'}) {
      Log series(file);
      series.Append("next", OwnTag(length, told));
      const int i = series.DataIndex(OwnTag(length, told), false);
      EXPECT_EQ(i, length == 0 ? 0 : told - 'a');
      EXPECT_EQ(series.file_.Input().Position(),
                length == 5 ? std::ssize(file.Bytes()) : series.tagOffsets_[i] + length);
      EXPECT_EQ(series.Bytes(0) + series.Bytes(1), "firstnext");
    }
  }
}

/// Does randomly to a log what a concrete series may do, and compares all of its tags with the bytes at their
/// places in the file.
class Tinkerer {
 public:
  Tinkerer(const TempFile& file, std::mt19937& random)
      : file_(file), log_(file, Slots(12)), random_(random) {}

  void Step() {
    const int n = log_.NextWriteIndex();
    switch (Below(8)) {
      case 0:
      case 1:
        Append(log_);
        break;
      case 2:
        log_.writeIndex_ = n - static_cast<int>(Below(std::min(n, 3) + 1));
        EXPECT_TRUE(Below(2) == 0 || log_.UpdatePointers());
        break;
      case 3:
        if (n > 0) Write(log_.tagOffsets_[static_cast<int>(Below(n))], RawForm(NewTag()));
        break;
      case 4:
        if (n > 0) Move(static_cast<int>(Below(n)));
        break;
      case 5: {
        Log copy(log_);
        if (Below(3) == 0) copy.ResetWriteIndex();
        Append(copy);
        log_ = copy;
        break;
      }
      case 6:
        log_.DataIndex(NewTag(), true);
        break;
      default:
        if (n > 0) Compare(static_cast<int>(Below(n)), file_.Bytes());
    }
  }

  void CompareAll() {
    const std::string bytes = file_.Bytes();
    for (int i = 0; i < log_.NextWriteIndex(); ++i) Compare(i, bytes);
    const dtsr_c2DPosition tag = NewTag();
    EXPECT_EQ(log_.DataIndex(tag, true), Index(tag, bytes, true));
    EXPECT_EQ(log_.DataIndex(tag, false), Index(tag, bytes, false));
  }

 private:
  std::size_t Below(int n) { return random_() % static_cast<unsigned>(n); }
  dtsr_c2DPosition NewTag() { return {static_cast<double>(Below(4)), 1, static_cast<long>(Below(3))}; }
  std::string Stored(int i, const std::string& bytes) const {
    return bytes.substr(static_cast<std::size_t>(log_.tagOffsets_[i]), 24);
  }
  /// Of the first tag with the same bytes, or with the same but for those of the time.
  int Index(const dtsr_c2DPosition& tag, const std::string& bytes, bool compare_time) const {
    for (int i = 0; i < log_.NextWriteIndex(); ++i) {
      std::string stored = Stored(i, bytes), sought = RawForm(tag);
      if (!compare_time && stored.size() == sought.size()) stored.replace(4, 4, sought, 4, 4);
      if (stored == sought) return i;
    }
    return -1;
  }
  /// May fail: moved data may have left no room behind data that were removed.
  void Append(Log& log) {
    if (log.NextWriteIndex() == log.Size()) return;
    const std::string told = Complaint([&] { log.Append(std::string(Below(30), 'd'), NewTag()); });
    EXPECT_TRUE(told.empty() || told == Message("Can't write to series file ", file_)) << told;
  }
  void Write(std::int64_t position, const std::string& bytes) {
    log_.file_.Output().Seek(position);
    EXPECT_TRUE(log_.file_.Output().Write(bytes.data(), std::ssize(bytes)));
  }
  /// Moves a datum and its tag to the end, where the next datum then goes.
  void Move(int i) {
    const std::string bytes = file_.Bytes(), datum = log_.Bytes(i), tag = Stored(i, bytes);
    const auto end = static_cast<long>(bytes.size());
    Write(end, datum + tag);
    log_.dataOffsets_[i] = end;
    log_.tagOffsets_[i] = end + static_cast<long>(datum.size());
    const int next = log_.NextWriteIndex();
    if (next < log_.Size()) log_.dataOffsets_[next] = log_.tagOffsets_[i] + 24;
    EXPECT_TRUE(Below(2) == 0 || log_.UpdatePointers());
  }
  void Compare(int i, const std::string& bytes) {
    dtsr_c2DPosition tag, expected;
    const std::string stored = Stored(i, bytes), complaint = ReadComplaint(expected, stored);
    EXPECT_EQ(Complaint([&] { log_.GetTag(i, tag); }), complaint) << i;
    EXPECT_TRUE(!complaint.empty() || RawForm(tag) == stored) << i;
  }

  const TempFile& file_;
  Log log_;
  std::mt19937& random_;
};

TEST(FileSeries, TagsAreAsTheyAreInTheFileWhateverTheSeriesDoes) {
  const TempFile file;
  std::mt19937 random(RandomSeed());
  for (int run = 0; run < 40 && !HasFailure(); ++run) {
    Tinkerer tinkerer(file, random);
    for (int step = 0; step < 100 && !HasFailure(); ++step) {
      tinkerer.Step();
      if (step % 5 == 0) tinkerer.CompareAll();
    }
  }
}

TEST(FileSeries, SearchesAfterTheFirstAskTheSystemForNewTagsOnly) {
  const TempFile file;
  Log series(file, Slots(200));
  for (int i = 0; i < 200; ++i) {
    series.Append(std::string(5000, 'd'), dtsr_c2DPosition(i, 0, 0));
    const FaultyDisk disk;
    EXPECT_EQ(series.DataIndex(dtsr_c2DPosition(i, 0, 0), true), i);
    EXPECT_LE(disk.count, 1);
  }
}

/// Tags by the hundred, between data of these sizes: both kinds, each sought among its own and among the
/// others.
TEST(FileSeries, FindsEachOfManyTags) {
  constexpr int n = 700;
  const TempFile file;
  for (const std::size_t size : {0u, 16u, 300u, 5000u}) {
    Log placed(file, Slots(n + 1));
    for (int i = 0; i < n; ++i) placed.Append(std::string(size, 'd'), dtsr_c2DPosition(i % 350, -0.0, i));
    placed.Append("", dtsr_c2DPosition(std::nan(""), 1, 1));
    const TempFile other("other");
    Log plain(other, Slots(n));
    for (int i = 0; i < n; ++i) plain.Append(std::string(size, 'd'), dtsr_cDataTag(1000 - i));
    for (const int i : {0, 1, 255, 256, 257, 349, 350, 511, 512, 699}) {
      const Log found(file, bstr_OpenReadOnly), series(other, bstr_OpenReadOnly);
      for (int times = 0; times < 2; ++times) {
        EXPECT_EQ(found.DataIndex(dtsr_c2DPosition(i % 350, 0.0, i), true), i) << size;
        EXPECT_EQ(found.file_.Input().Position(), found.tagOffsets_[i] + 24);
        EXPECT_EQ(found.DataIndex(dtsr_c2DPosition(i % 350, 0.0, -1), false), i % 350);
        EXPECT_EQ(found.DataIndex(dtsr_c2DPosition(i % 350, 0.0, -1), true), -1);
        EXPECT_EQ(found.DataIndex(dtsr_cDataTag(i), true), -1);
        EXPECT_EQ(series.DataIndex(dtsr_cDataTag(1000 - i), true), i) << size;
        EXPECT_EQ(series.DataIndex(dtsr_cDataTag(0), false), 0);
        EXPECT_EQ(series.DataIndex(dtsr_c2DPosition(i, 0, i), false), -1);
      }
    }
    EXPECT_EQ(placed.DataIndex(dtsr_c2DPosition(std::nan(""), 1, 1), true), -1);
    EXPECT_EQ(std::unique_ptr<dtsr_cDataTag>(plain.pSampleTag())->Time(), 1000);
  }
}

TEST(FileSeries, ReadsListsOfAnyLength) {
  const TempFile file;
  std::mt19937 random(RandomSeed());
  for (const int n : {1, 2, 3, 7, 64, 65, 1000, 8191}) {
    { Log(file, Slots(n)); }
    std::string bytes = file.Bytes();
    std::vector<std::int32_t> entries(2 * static_cast<std::size_t>(n));
    for (auto& entry : entries) entry = static_cast<std::int32_t>(random());
    char* const stored = bytes.data() + bytes.size() - 4 * entries.size();
    for (std::size_t i = 0; i < entries.size(); ++i) detail::StoreLittleEndian(stored + 4 * i, entries[i]);
    file.SetBytes(bytes);
    const Log series(file, bstr_OpenReadOnly);
    for (int i = 0; i < n; ++i) {
      ASSERT_EQ(series.dataOffsets_[i], entries[static_cast<std::size_t>(i)]) << n;
      ASSERT_EQ(series.tagOffsets_[i], entries[static_cast<std::size_t>(n + i)]) << n;
    }
  }
}

/// The bytes of a log, with another value for one list entry.
std::string WithEntry(std::string bytes, std::size_t at, std::int32_t value) {
  detail::StoreLittleEndian(bytes.data() + at, value);
  return bytes;
}

TEST(FileSeries, AppendsOnlyWhereNothingIsLost) {
  const TempFile file;
  { Log(file, Slots(3)).AppendNext(); }
  { Log(file).AppendNext(); }
  const std::string whole = file.Bytes();
  constexpr std::size_t next = lists + 8, tags = lists + 12, first = lists + 24;  // the places of entries
  constexpr int end_of_data = first + 27, far_away = 1 << 20;
  struct {
    std::size_t at;
    int value;
    const char* readable;  // which of the two records are readable
  } const cases[] = {{next, -1, "01"},
                     {next, 0, "01"},
                     {next, 18, "01"},
                     {next, lists, "01"},
                     {next, first - 1, "01"},
                     {next, first, "01"},
                     {next, first + 4, "01"},
                     {next, first + 12, "01"},
                     {next, first + 13, "01"},
                     {next, end_of_data - 1, "01"},
                     {next, end_of_data + 1, "01"},
                     {next, far_away, "01"},
                     {lists, 3, "1"},
                     {lists + 4, -1, "0"},
                     {tags, 0, "1"},
                     {tags + 4, far_away, "0"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.at << " " << c.value);
    const std::string damaged = WithEntry(whole, c.at, c.value);
    file.SetBytes(damaged);
    Log series(file);
    EXPECT_EQ(series.NextWriteIndex(), 2);
    for (const char* i = c.readable; *i != 0; ++i) {
      EXPECT_EQ(series.Number(*i - '0'), *i - '0');
      EXPECT_EQ(series.Bytes(*i - '0'), Log::Record(*i - '0'));
    }
    for (int times = 0; times < 2; ++times) {
      EXPECT_EQ(Complaint([&] { series.Append("new", dtsr_cDataTag(2)); }),
                Message("Can't write to series file ", file));
      EXPECT_EQ(file.Bytes(), damaged);
    }
    // With the place corrected it can append.
    Log corrected(series);
    for (int i = 0; i < 3; ++i) {
      corrected.dataOffsets_[i] = static_cast<long>(first) + (i == 0 ? 0 : i == 1 ? 13 : 27);
      corrected.tagOffsets_[i] = i == 0 ? first + 5 : i == 1 ? first + 19 : 0;
    }
    EXPECT_TRUE(corrected.UpdatePointers());
    corrected.AppendNext();
    EXPECT_EQ(CountInFile(file), 3);
    series.ResetWriteIndex();
    series.AppendNext();
    EXPECT_EQ(CountInFile(file), 1);
  }
}

TEST(FileSeries, FillsAHoleAsFarAsItReaches) {
  const TempFile file;
  { Log(file, Slots(4)).AppendNext(); }
  Log series(file);
  series.AppendNext();
  // The first record moves to the end, and the next ones fill its place.
  long& next = series.dataOffsets_[2];
  const long hole = series.dataOffsets_[0];
  series.file_.Output().Seek(next);
  series.file_.Output().Write((Log::Record(0) + RawForm(dtsr_cDataTag(0))).data(), 13);
  series.dataOffsets_[0] = next;
  series.tagOffsets_[0] = next + 5;
  next = hole;
  EXPECT_TRUE(series.UpdatePointers());
  for (const char* record : {"the tag", "the datum is what does not fit"}) {
    EXPECT_EQ(Complaint([&] { series.Append(record, dtsr_cDataTag(2)); }),
              Message("Can't write to series file ", file));
    EXPECT_EQ(series.CheckedCount(), 2) << record;
    series = Log(file);  // which finds the hole
  }
  series.Append("a", dtsr_cDataTag(2));
  EXPECT_EQ(Complaint([&] { series.Append("b", dtsr_cDataTag(3)); }),
            Message("Can't write to series file ", file));
  const Log opened(file);
  EXPECT_EQ(opened.Bytes(0) + opened.Bytes(1) + opened.Bytes(2), "aaaaabbbbbba");
  EXPECT_EQ(opened.Number(2), 2);
}

TEST(FileSeries, RefusesDamagedFiles) {
  const TempFile file;
  std::pair<const char*, std::istringstream> cases[] = {
      {"Invalid format for ", std::istringstream("0 4D  2 00  4 11")},
      {"Invalid data type for ", std::istringstream("6 4E")},
      {"Can't read series file ",
       std::istringstream("14 00000000  14 FFFFFFFF  14 FFFFFF0F  14 03  18 03  18 FFFFFFFF  22 19  "
                          "22 FFFFFF7F  30 03  30 FFFFFFFF  30 00000080")},
      {"Can't read dimension.", std::istringstream("26 03  54 02  54 FFFFFF7F")}};
  for (auto& [complaint, changes] : cases) {
    std::size_t at;
    for (std::string digits, why; changes >> at >> digits;) {
      file.SetBytes(Patched(full_file, at, digits));
      EXPECT_EQ(CountInFile(file, &why), -1);
      EXPECT_EQ(why, std::string(complaint).back() == '.' ? complaint : Message(complaint, file)) << at;
    }
  }
  file.SetBytes(Patched(full_file, 26, "FFFFFFFF"));
  EXPECT_THROW(CountInFile(file), arr_cSizeException);
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
  // Counts the records before each system call that writes, as if the writer were killed there.
  const auto watch = [&](const std::function<int()>& expected, const std::function<void()>& operation) {
    FaultyDisk disk;
    disk.before_write = [&] { EXPECT_EQ(CountInFile(file), expected()) << "after " << disk.writes; };
    operation();
    return disk.writes;
  };
  watch([] { return -1; }, [&] { log = std::make_unique<Log>(file, Slots(3)); });
  const int writes[] = {6, 5, 4};  // one more for the tag type, one less without a next slot
  for (int count = 0; count < 3; ++count) {
    const auto expected = [&] { return count + (FaultyDisk::writes == 5); };
    EXPECT_EQ(watch(expected, [&] { log->AppendNext(); }), writes[count]);
  }
  watch([] { return FaultyDisk::writes == 0 ? 3 : 0; }, [&] { log->ResetWriteIndex(); });
}

/// Runs an operation with each system call failing in turn, and `also_failing` calls after it.
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
  FAIL() << "it always fails";
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
