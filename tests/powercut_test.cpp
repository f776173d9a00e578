#include <set>

#include "log.h"
#include "powerdisk.h"

// What is left of a series after a power cut.

namespace {

/// Whether these can be synced is asked of the system, which the simulated disk replaces.
const TempFile::Borrowed log_path{"log"};

enum class Mode { none, checksums, group, strict };

/// A datum as it was appended: its place in the file, the number in its tag, its bytes.
struct Entry {
  long data, tag, number;
  std::string bytes;
};

/// Writes a log at random and looks at what a power cut would leave before each call of the system.
class Acquisition {
 public:
  Acquisition(Mode mode, std::mt19937& random) : mode_(mode), random_(random) {
    PowerDisk::SetWatch([this] { CutHere(); });
    writer_ = std::make_unique<Log>(file_, Slots(300));
    Promise();
    created_ = true;
  }
  ~Acquisition() { PowerDisk::SetWatch(nullptr); }

  void Step() {
    switch (Below(16)) {
      case 0:
        During(Doing::emptying, [&] { writer_->ResetWriteIndex(); });
        known_.clear();
        synced_ = 0;
        break;
      case 1: {
        const int left = std::max(0, writer_->NextWriteIndex() - Below(3));
        writer_->writeIndex_ = left;
        known_.resize(static_cast<std::size_t>(left));
        synced_ = std::min(synced_, left);
        During(Doing::updating, [&] {
          EXPECT_TRUE(writer_->UpdatePointers());
          if (mode_ != Mode::none) writer_->Seal();
        });
        AllSynced();
        break;
      }
      case 2:
        if (bPromises()) writer_->Sync();
        AllSynced();
        break;
      case 3:
        writer_.reset();
        AllSynced();
        writer_ = std::make_unique<Log>(file_);
        Promise();
        break;
      default:
        Append();
    }
  }

  static inline int cuts = 0, most_cuts = 0;
  static inline int opened = 0, kept = 0, lost = 0;  // images that opened, data found right, data not

 private:
  enum class Doing { nothing, appending, emptying, updating };

  int Below(int n) { return static_cast<int>(random_() % static_cast<unsigned>(n)); }

  template <class Operation>
  void During(Doing doing, const Operation& operation) {
    doing_ = doing;
    operation();
    doing_ = Doing::nothing;
  }

  void Promise() {
    if (mode_ == Mode::checksums) writer_->KeepChecksums();
    group_ = 1 + Below(5);
    if (mode_ == Mode::group) writer_->SetDurability(dtsr_DurabilityGroup, group_, 1'000'000'000);
    if (mode_ == Mode::strict) writer_->SetDurability(dtsr_DurabilityStrict);
    if (!bPromises()) {
      writer_->Sync();
      writer_->file_.SyncName();
    }
    AllSynced();
  }
  bool bPromises() const { return mode_ == Mode::group || mode_ == Mode::strict; }
  void AllSynced() { synced_ = bPromises() ? static_cast<int>(std::ssize(known_)) : 0; }

  void Append() {
    const int i = writer_->NextWriteIndex();
    if (i == writer_->Size()) return;
    // Often of the same length: then data and tags stand where those of earlier fillings did.
    const std::int32_t length = Below(3) == 0 ? 4 + Below(1200) : 40;
    std::string bytes(static_cast<std::size_t>(length), static_cast<char>(number_));
    std::memcpy(bytes.data(), &length, sizeof length);
    const long data = writer_->dataOffsets_[i], tag = data + static_cast<long>(bytes.size());
    appended_ = {data, tag, number_, bytes};
    history_[i].insert({number_, bytes});
    During(Doing::appending, [&] { writer_->Append(bytes, dtsr_cDataTag(number_)); });
    EXPECT_EQ(writer_->tagOffsets_[i], tag);
    known_.push_back(appended_);
    ++number_;
    if (mode_ == Mode::strict || std::ssize(known_) - synced_ >= group_) AllSynced();
  }

  void CutHere() {
    if (cuts >= most_cuts || testing::Test::HasFailure() || Below(3) == 0) return;
    ++cuts;
    const bool whole_sectors = Below(2) == 0;
    const PowerDisk disk(PowerDisk::Cut(random_, whole_sectors ? 512 : 1));
    Judge(whole_sectors);
  }

  /// Whether the datum may be in slot i.
  bool bAppended(int i, long number, const std::string& bytes) {
    if (mode_ == Mode::checksums) return history_[i].count({number, bytes}) > 0;
    const int n = static_cast<int>(std::ssize(known_));
    if (i == n && doing_ == Doing::appending) return number == appended_.number && bytes == appended_.bytes;
    if (i >= n && doing_ == Doing::updating) return history_[i].count({number, bytes}) > 0;
    return i < n && number == known_[static_cast<std::size_t>(i)].number &&
           bytes == known_[static_cast<std::size_t>(i)].bytes;
  }

  void Judge(bool whole_sectors) {
    const bool promises = bPromises();
    const bool relocating = doing_ == Doing::emptying || doing_ == Doing::updating;
    const std::string image =
        bstr_cBinary_fstream(file_.Path(), bstr_OpenReadOnly).Input().bGood() ? Contents() : std::string();
    // What was synced is where it was, so that repair finds it whatever has become of the count.
    for (int i = 0; i < synced_ && promises; ++i) {
      const Entry& entry = known_[static_cast<std::size_t>(i)];
      const std::string expected = entry.bytes + RawForm(dtsr_cDataTag(entry.number));
      ASSERT_EQ(image.substr(static_cast<std::size_t>(entry.data), expected.size()), expected) << i;
    }
    std::unique_ptr<Log> log;
    const std::string complaint = Complaint([&] { log = std::make_unique<Log>(file_, bstr_OpenReadOnly); });
    if (!log) {
      EXPECT_TRUE(!promises || !created_ || !whole_sectors) << complaint;
      return;
    }
    ++opened;
    const int count = log->NextWriteIndex(), appended = static_cast<int>(std::ssize(known_));
    if (promises && created_ && whole_sectors && doing_ != Doing::updating) {
      EXPECT_GE(count, doing_ == Doing::emptying ? 0 : synced_);
      EXPECT_LE(count, doing_ == Doing::appending ? appended + 1 : appended);
    }
    for (int i = 0; i < count && i < 300; ++i) {
      const bool right = mode_ == Mode::strict ? bWhole(*log, i) : log->Checked(i) == dtsr_Right;
      kept += right;
      lost += !right;
      if (right && mode_ != Mode::none) {
        EXPECT_TRUE(bAppended(i, log->Number(i), log->Bytes(i))) << "wrong datum " << i << " of " << count;
      }
      EXPECT_TRUE(right || i >= synced_ || relocating) << "lost datum " << i;
    }
  }

  std::string Contents() const {
    bstr_cBinary_fstream file(file_.Path(), bstr_OpenReadOnly);
    std::string bytes(static_cast<std::size_t>(file.Input().Size()), '\0');
    file.Input().Read(bytes.data(), std::ssize(bytes));
    return bytes;
  }
  /// Whether the lists lead to a datum, which holds its length as those of concrete series do.
  static bool bWhole(const Log& log, int i) {
    const std::int64_t data = log.dataOffsets_[i], tag = log.tagOffsets_[i];
    std::int32_t length = 0;
    dtsr_cDataTag read;
    return log.file_.ReadNow(&length, sizeof length, data) == sizeof length && data + length == tag &&
           Complaint([&] { log.GetTag(i, read); }).empty();
  }

  Mode mode_;
  std::mt19937& random_;
  const TempFile file_{log_path};
  std::unique_ptr<Log> writer_;
  std::vector<Entry> known_;                                       // appended since the log was empty
  std::map<int, std::set<std::pair<long, std::string>>> history_;  // of each slot
  Entry appended_{};
  Doing doing_ = Doing::nothing;
  int synced_ = 0, group_ = 1;
  long number_ = 1;
  bool created_ = false;
};

TEST(PowerCut, LeavesWhatWasPromised) {
  const char* const asked = std::getenv("DATASTORAGE_CUTS");
  std::mt19937 random(RandomSeed());
  for (const Mode mode : {Mode::none, Mode::checksums, Mode::group, Mode::strict}) {
    SCOPED_TRACE(static_cast<int>(mode));
    Acquisition::cuts = Acquisition::opened = Acquisition::kept = Acquisition::lost = 0;
    Acquisition::most_cuts = asked != nullptr ? std::atoi(asked) / 4 : 5000;
    while (Acquisition::cuts < Acquisition::most_cuts && !HasFailure()) {
      const PowerDisk disk;
      Acquisition acquisition(mode, random);
      for (int step = 0; step < 60 && !HasFailure(); ++step) acquisition.Step();
    }
    std::printf("mode %d: %d cuts, %d files opened, %d data right, %d missing or damaged\n",
                static_cast<int>(mode), Acquisition::cuts, Acquisition::opened, Acquisition::kept,
                Acquisition::lost);
  }
}

}  // namespace
