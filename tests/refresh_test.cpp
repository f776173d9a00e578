#include <filesystem>

#include "log.h"

// A series that another object changes meanwhile, as another process would.

namespace {

/// What a follower knew at its last refresh, and what is in the file, record by record.
using Records = std::vector<std::pair<long, std::string>>;

Records Stored(const Log& log) {
  Records records;
  for (int i = 0; i < log.NextWriteIndex(); ++i) records.emplace_back(log.Number(i), log.Bytes(i));
  return records;
}

/// Changes a log at random and compares what a follower learns with what was done.
class Pair {
 public:
  Pair(const TempFile& file, std::mt19937& random)
      : file_(file), random_(random), writer_(file, Slots(8)), follower_(Opened()) {}

  void Step() {
    const int n = writer_.NextWriteIndex();
    bool kept = true;  // what the follower knows
    for (int changes = Below(3); changes > 0; --changes) {
      switch (Below(5)) {
        case 0:
          writer_.ResetWriteIndex();
          kept = kept && known_.empty();
          Append(Below(2) == 0 ? n : Below(9));
          break;
        case 1: {
          const int removed = Below(std::min(writer_.NextWriteIndex(), 3) + 1);
          writer_.writeIndex_ -= removed;
          EXPECT_TRUE(writer_.UpdatePointers());
          kept = kept && writer_.writeIndex_ >= std::ssize(known_);
          Append(Below(3));
          break;
        }
        case 2:
          writer_ = Log(file_);
          break;
        default:
          Append(Below(3));
      }
    }
    const Records stored = Stored(Log(file_, bstr_OpenReadOnly));
    const bool more = stored.size() > known_.size();
    Expect(!kept ? dtsr_Reset : more ? dtsr_Appended : dtsr_NothingNew);
    EXPECT_EQ(Stored(follower_), stored);
    if (!stored.empty()) {
      const int i = Below(static_cast<int>(stored.size()));
      EXPECT_EQ(follower_.DataIndex(dtsr_cDataTag(stored[static_cast<std::size_t>(i)].first), true), i);
    }
    known_ = stored;
    Expect(dtsr_NothingNew);
    if (Below(8) == 0) {  // one that goes on writing
      writer_ = follower_ = Log(file_);
      follower_ = Opened();
    }
  }

 private:
  int Below(int n) { return static_cast<int>(random_() % static_cast<unsigned>(n)); }
  /// Reads only, or could write.
  Log Opened() { return Log(file_, Below(2) == 0 ? bstr_OpenReadOnly : bstr_OpenExisting); }
  void Append(int n) {
    for (; n > 0 && writer_.NextWriteIndex() < writer_.Size(); --n, ++number_) {
      // Often of the same length, as data usually are, so that only the tags differ.
      writer_.Append(Below(2) == 0 ? Log::Record(number_ % 50) : "same length", dtsr_cDataTag(number_));
    }
  }
  void Expect(dtsr_eRefreshed expected) {
    EXPECT_EQ(follower_.Refresh(), expected);
    const Log copy(follower_);
    EXPECT_EQ(copy.NextWriteIndex(), writer_.NextWriteIndex());
  }

  const TempFile& file_;
  std::mt19937& random_;
  Log writer_, follower_;
  Records known_;
  long number_ = 0;
};

TEST(Refresh, LearnsWhatAnotherObjectDoes) {
  const TempFile file;
  std::mt19937 random(RandomSeed());
  for (int run = 0; run < 60 && !HasFailure(); ++run) {
    Pair pair(file, random);
    for (int step = 0; step < 60 && !HasFailure(); ++step) pair.Step();
  }
}

TEST(Refresh, NoticesFilesThatAreReplacedRemovedAndCut) {
  const TempFile file, other("other");
  const std::string path = file.Path().CString(), aside = other.Path().CString();
  const auto filled = [&](int slots, int count) {
    Log log(file, Slots(slots));
    for (int i = 0; i < count; ++i) log.AppendNext();
    return log;
  };
  {  // the path names another file: this object goes on with its own, which is renamed and then removed
    Log writer = filled(5, 2), follower(file, bstr_OpenReadOnly);
    std::filesystem::rename(path, aside);
    EXPECT_EQ(follower.Refresh(), dtsr_Removed);
    filled(5, 2);
    for (int times = 0; times < 2 && system_has_locks; ++times) EXPECT_EQ(follower.Refresh(), dtsr_Replaced);
    writer.AppendNext();
    EXPECT_EQ(follower.Refresh(), dtsr_Appended);
    EXPECT_EQ(follower.CheckedCount(), 3);
    EXPECT_EQ(follower.Refresh(), system_has_locks ? dtsr_Replaced : dtsr_NothingNew);
    std::filesystem::remove(path);
    EXPECT_EQ(follower.Refresh(), dtsr_Removed);
    std::filesystem::rename(aside, path);
    EXPECT_EQ(follower.Refresh(), dtsr_NothingNew);
  }
  // Another series in the same file: with other slots, other dimensions of as many slots, not yet complete.
  const auto replaced = [&](const std::function<void()>& create) {
    const Log known = filled(4, 2);
    Log follower(known);
    create();
    for (int times = 0; times < 2; ++times) EXPECT_EQ(follower.Refresh(), dtsr_Replaced);
    EXPECT_EQ(follower.NextWriteIndex(), 0);
    const std::string bytes = file.Bytes();
    EXPECT_EQ(Complaint([&] { follower.AppendNext(); }), Message("Can't write to series file ", file));
    EXPECT_EQ(Complaint([&] { follower.ResetWriteIndex(); }), Message("Can't write to series file ", file));
    EXPECT_FALSE(follower.UpdatePointers());
    EXPECT_EQ(file.Bytes(), bytes);
  };
  replaced([&] { filled(5, 2); });
  replaced([&] {
    dtsr_cDimensionArray moved = Slots(4);
    moved.Dimension(0) = {4, cal_c1DArrayCal(10, 0.25), "x", "", true};
    Log(file, moved).AppendNext();
  });
  replaced([&] { file.SetBytes(file.Bytes().replace(22, 4, 4, '\0')); });
  {  // the same series once more
    Log follower = filled(4, 2);
    filled(4, 1);
    EXPECT_EQ(follower.Refresh(), dtsr_Reset);
    EXPECT_EQ(follower.CheckedCount(), 1);
    follower.AppendNext();
    EXPECT_EQ(CountInFile(file), 2);
  }
  Log whole = filled(4, 2);
  const std::string bytes = file.Bytes();
  for (std::size_t size = 0; size < bytes.size(); ++size) {
    file.SetBytes(bytes);
    EXPECT_EQ(whole.Refresh(), dtsr_NothingNew);
    std::filesystem::resize_file(path, size);
    for (int times = 0; times < 2; ++times) EXPECT_EQ(whole.Refresh(), dtsr_Cut) << size;
    EXPECT_EQ(whole.NextWriteIndex(), 2);
  }
}

TEST(Refresh, FollowsALinkToAnotherFile) {
  if (!system_has_locks) GTEST_SKIP() << "plain C++ cannot tell files apart";
  const TempFile first("first"), second("second"), link("link");
  for (const TempFile* file : {&first, &second}) Log(*file, Slots(3)).AppendNext();
  const auto point = [&](const TempFile& file) {
    std::error_code error;
    std::filesystem::remove(link.Path().CString());
    std::filesystem::create_symlink(file.Path().CString(), link.Path().CString(), error);
    return !error;
  };
  if (!point(first)) GTEST_SKIP() << "no symbolic links here";
  Log follower(link, bstr_OpenReadOnly);
  // Settled: only the count is read, and whether the file was changed.
  int calls = 9;
  for (int tries = 0; calls > 1 && tries < 100'000; ++tries) {
    const FaultyDisk disk;
    EXPECT_EQ(follower.Refresh(), dtsr_NothingNew);
    calls = disk.count;
  }
  EXPECT_EQ(calls, 1);
  point(second);
  dtsr_eRefreshed refreshed = dtsr_NothingNew;
  for (int tries = 0; refreshed == dtsr_NothingNew && tries < 1'000'000; ++tries)
    refreshed = follower.Refresh();
  EXPECT_EQ(refreshed, dtsr_Replaced);
}

/// The writer appends, or empties and fills the log, before each of the reads of a refresh in turn.
TEST(Refresh, SeesAWholeStateWhateverHappensMeanwhile) {
  const TempFile file;
  for (int call = 0; call < 40; ++call) {
    Log writer(file, Slots(6));
    for (int i = 0; i < 2; ++i) writer.AppendNext();
    Log follower(file, bstr_OpenReadOnly);
    writer.AppendNext();
    FaultyDisk disk;
    int calls = 0;
    disk.before_read = [&] {
      if (calls++ != call) return;
      if (call % 2 == 0) writer.ResetWriteIndex();
      while (writer.NextWriteIndex() < 5) writer.AppendNext(call % 2 == 0 ? 100 : 0);
    };
    EXPECT_GT(follower.Refresh(), dtsr_NothingNew);
    disk.before_read = nullptr;
    follower.Refresh();
    EXPECT_EQ(follower.CheckedCount(), writer.NextWriteIndex());
  }
}

}  // namespace
