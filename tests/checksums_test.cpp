#include <filesystem>

#include "log.h"
#include "powerdisk.h"
#include <DataStorage/interfaces/detail/crc32c.h>

// Checksums beside a series file, and syncs that fail.

namespace {

detail::Bytes BytesOf(const std::string& text) {
  return {reinterpret_cast<const unsigned char*>(text.data()), text.size()};
}

TEST(Checksums, OfKnownBytesAndByEitherRoad) {
  EXPECT_EQ(detail::Crc32c(BytesOf("123456789")), 0xE3069283U);
  EXPECT_EQ(detail::Crc32c(BytesOf(std::string(32, '\xFF'))), 0x62A8AB43U);  // RFC 3720, B.4
  std::mt19937 random(RandomSeed());
  std::string text(200, '\0');
  for (char& c : text) c = static_cast<char>(random());
  for (std::size_t begin = 0; begin < 9; ++begin) {
    for (std::size_t end = begin; end <= text.size(); ++end) {
      const std::string part = text.substr(begin, end - begin);
      const std::uint32_t sum = detail::Crc32c(BytesOf(part));
      EXPECT_EQ(sum, detail::Crc32cByTables(BytesOf(part)));
      const std::size_t half = part.size() / 2;
      EXPECT_EQ(sum,
                detail::Crc32c(BytesOf(part.substr(half)), detail::Crc32c(BytesOf(part.substr(0, half)))));
    }
  }
}

/// A log with its checksums, which are removed with it.
struct Summed {
  explicit Summed(const std::string& name = "file") : file(name), sums(name + ".crc32c") {}
  /// "RWU": right, wrong, unchecked.
  std::string Checked() const { return Checked(Log(file, bstr_OpenReadOnly)); }
  static std::string Checked(const Log& log) {
    std::string checked;
    for (int i = 0; i < log.NextWriteIndex(); ++i) checked += "URW"[log.Checked(i)];
    return checked;
  }
  Log New(int count) const {
    Log log(file, Slots(8));
    log.KeepChecksums();
    for (int i = 0; i < count; ++i) log.AppendNext();
    return log;
  }
  TempFile file, sums;
};

TEST(Checksums, FindEveryChangedByte) {
  const Summed summed;
  for (const bool sealed : {false, true}) {
    Log log(summed.file, Slots(8));
    if (!sealed) log.KeepChecksums();
    for (int i = 0; i < 3; ++i) {
      if (i == 1) {
        log.Append(Log::Record(1), dtsr_c2DPosition(1, 2, 1));
      } else {
        log.AppendNext();
      }
    }
    if (sealed) {
      std::remove(summed.sums.Path().CString());
      EXPECT_EQ(summed.Checked(), "UUU");
      EXPECT_EQ(Log(summed.file, bstr_OpenReadOnly).Seal(), 3);
    }
    const std::string whole = summed.file.Bytes();
    EXPECT_EQ(summed.Checked(), "RRR");
    for (auto at = static_cast<std::size_t>(log.dataOffsets_[0]); at < whole.size(); ++at) {
      std::string changed = whole;
      changed[at] ^= static_cast<char>(1 << (at % 8));
      summed.file.SetBytes(changed);
      int datum = 2;
      while (at < static_cast<std::size_t>(log.dataOffsets_[datum])) --datum;
      EXPECT_EQ(summed.Checked(), "RRR"s.replace(static_cast<std::size_t>(datum), 1, "W")) << at;
    }
    // So does a changed list entry.
    for (const std::size_t entry : {95u, 99u, 127u, 131u}) {
      summed.file.SetBytes(Patched(whole, entry, "F0"));
      EXPECT_NE(summed.Checked(), "RRR") << entry;
    }
    summed.file.SetBytes(whole);
  }
}

TEST(Checksums, MissingShorterAndOlderOnesDoNoHarm) {
  const Summed summed;
  summed.New(2);
  const std::string older = summed.sums.Bytes();
  Log(summed.file).AppendNext();  // without checksums
  EXPECT_EQ(summed.Checked(), "RRU");
  {
    Log log(summed.file);
    EXPECT_EQ(log.KeepChecksums(), dtsr_HasChecksums);
    log.AppendNext();
    EXPECT_EQ(Summed::Checked(log), "RRUR");
    EXPECT_EQ(log.Seal(), 1);
    EXPECT_EQ(Summed::Checked(log), "RRRR");
    EXPECT_EQ(log.Seal(), 0);
  }
  const std::string whole = summed.sums.Bytes();
  for (std::size_t size = 0; size < 60; ++size) {
    summed.sums.SetBytes(whole.substr(0, size));
    const std::size_t known = size < 28 ? 0 : std::min<std::size_t>((size - 28) / 4, 4);
    EXPECT_EQ(summed.Checked(), std::string(known, 'R') + std::string(4 - known, 'U')) << size;
    EXPECT_EQ(CountInFile(summed.file), 4);
  }
  for (std::size_t at = 0; at < 28; ++at) {  // of another series, or damaged
    std::string changed = whole;
    changed[at] ^= 1;
    summed.sums.SetBytes(changed);
    EXPECT_EQ(Log(summed.file, bstr_OpenReadOnly).Checksums(), dtsr_OtherChecksums) << at;
  }
  EXPECT_EQ(Log(summed.file).KeepChecksums(), dtsr_OtherChecksums);
  EXPECT_EQ(summed.Checked(), "UUUU");

  // Emptied and filled again, with and without them.
  summed.sums.SetBytes(whole);
  Log log(summed.file);
  log.ResetWriteIndex();
  log.AppendNext(50);
  EXPECT_EQ(Log(summed.file).Checksums(), dtsr_OtherChecksums);
  EXPECT_EQ(log.KeepChecksums(), dtsr_OtherChecksums);
  log.AppendNext(50);
  EXPECT_EQ(Summed::Checked(log), "UR");
  log.ResetWriteIndex();
  for (int i = 0; i < 3; ++i) log.AppendNext(50);
  EXPECT_EQ(Summed::Checked(log), "RRR");
  log.writeIndex_ = 2;
  EXPECT_TRUE(log.UpdatePointers());
  EXPECT_EQ(Summed::Checked(log), "UU");
  const TempFile other("other");
  log = Log(other, Slots(1));  // on Windows an open file keeps its name
  std::filesystem::remove(summed.sums.Path().CString());
  std::filesystem::create_directory(summed.sums.Path().CString());
  EXPECT_EQ(Complaint([&] { Log(summed.file).KeepChecksums(); }),
            Message("Can't write checksums to ", summed.sums));
}

TEST(Checksums, AreUsedWhateverElseIsDamaged) {
  const Summed summed;
  {
    const Log log = summed.New(6);
    const std::string whole = summed.file.Bytes();
    for (const auto at : {6, 14, 24, 27, 60}) {  // data type, slots, lists, dimensions
      summed.file.SetBytes(whole);
      Log reader(summed.file, bstr_OpenReadOnly);
      std::string changed = whole;
      changed[static_cast<std::size_t>(at)] ^= 1;
      summed.file.SetBytes(changed);
      EXPECT_EQ(reader.Checksums(), dtsr_HeaderDiffers) << at;
      EXPECT_EQ(Summed::Checked(reader), "RRRRRR");
    }
    std::string changed = whole;
    for (const int i : {0, 1, 2, 3}) changed[static_cast<std::size_t>(log.tagOffsets_[i]) + 4] ^= 1;
    summed.file.SetBytes(changed);
  }
  EXPECT_EQ(summed.Checked(), "WWWWRR");
  EXPECT_EQ(Log(summed.file).KeepChecksums(), dtsr_HasChecksums);
  EXPECT_EQ(summed.Checked(), "WWWWRR");
}

/// An append is killed before each of its writes. The next one comes from a program that keeps checksums or
/// from one that does not.
TEST(Checksums, OfAKilledAppendAreNotOfTheNext) {
  const Summed summed, killed("killed");
  for (const bool keeping : {false, true}) {
    Log log = summed.New(0);
    int cuts = 0;
    for (int data = 0; data < 3; ++data) {
      const FaultyDisk disk;
      bool inside = false;
      FaultyDisk::before_write = [&] {
        if (std::exchange(inside, true)) return;
        killed.file.SetBytes(summed.file.Bytes());
        killed.sums.SetBytes(summed.sums.Bytes());
        Log next(killed.file);
        EXPECT_EQ(keeping ? next.KeepChecksums() : next.Checksums(), dtsr_HasChecksums);
        next.AppendNext(50);
        const std::string checked = killed.Checked();
        EXPECT_EQ(checked.find('W'), checked.npos) << checked;
        EXPECT_EQ(checked.back(), keeping ? 'R' : 'U');
        ++cuts;
        inside = false;
      };
      log.AppendNext();
    }
    EXPECT_GE(cuts, 15);
  }
  // Those that a power cut left, or a part of one, go when checksums are kept again.
  Log log = summed.New(2);
  const std::string two = summed.file.Bytes();
  log.AppendNext();
  const std::string sums = summed.sums.Bytes();
  for (const auto& [size, checked] : {std::pair(28 + 12, "RRU"), {28 + 10, "RRU"}, {28 + 7, "RUU"}}) {
    summed.file.SetBytes(two);
    summed.sums.SetBytes(sums.substr(0, static_cast<std::size_t>(size)));
    Log(summed.file).KeepChecksums();
    Log(summed.file).AppendNext(50);
    EXPECT_EQ(summed.Checked(), checked);
  }
}

TEST(Checksums, LieBesideTheFileThatAPathLedTo) {
  namespace fs = std::filesystem;
  const Summed summed;
  const TempFile link("link"), elsewhere("elsewhere"), wrong("elsewhere.crc32c");
  const fs::path before = fs::current_path(), path = summed.file.Path().CString();
  fs::current_path(path.parent_path());
  Log log(TempFile(TempFile::Borrowed{path.filename().string()}), Slots(8));
  fs::create_directory(elsewhere.Path().CString());
  fs::current_path(elsewhere.Path().CString());
  log.KeepChecksums();
  log.AppendNext();
  EXPECT_EQ(log.Refresh(), dtsr_NothingNew);
  fs::current_path(before);
  EXPECT_EQ(summed.Checked(), "R");

  std::error_code none;
  fs::create_symlink(summed.file.Path().CString(), link.Path().CString(), none);
  if (none) GTEST_SKIP() << "no symbolic links here";
  Log linked(link);
  linked.KeepChecksums();
  linked.AppendNext();
  EXPECT_EQ(summed.Checked(), "RR");
  fs::remove(link.Path().CString());  // the link leads elsewhere; the series stays
  fs::create_symlink(elsewhere.Path().CString(), link.Path().CString());
  linked.ResetWriteIndex();
  for (int i = 0; i < 3; ++i) linked.AppendNext();
  EXPECT_EQ(summed.Checked(), "RRR");
  EXPECT_FALSE(wrong.bExists());
}

TEST(Checksums, AFailingWriteFailsTheAppend) {
  const Summed summed;
  Log log = summed.New(1);
  int failures = 0;
  for (int call = 0, data = 1; data < 4; ++call) {
    {
      const FaultyDisk disk;
      FaultyDisk::failing_call = call;
      try {
        log.AppendNext();
        ++data;
        call = -1;
      } catch (const expt_cUserException&) {
        ++failures;
      }
    }
    EXPECT_EQ(log.NextWriteIndex(), data);
    EXPECT_EQ(summed.Checked(), std::string(static_cast<std::size_t>(data), 'R')) << call;
  }
  EXPECT_GE(failures, 15);  // datum, tag, checksum, lists and count, of each of three data
}

/// A tag that only the test knows, at the end of a full series too, and a datum that is not written in order.
TEST(Checksums, CoverWhateverIsAppended) {
  struct OwnTag : dtsr_cDataTag {
    using dtsr_cDataTag::dtsr_cDataTag;
    void Write(bstr_cBinary_ostream& out) const override { out.Write("own tag", 7); }
    dtsr_cDataTag* pCopy() const override { return new OwnTag(*this); }
  };
  class Patching : public Log {
   public:
    using Log::Log;
    void Append(const dtsr_cDataTag& tag) {
      AppendDatum(tag, [](bstr_cBinary_ostream& out) {
        const std::int64_t begin = out.Position();
        return out.Write("....and more", 12) && out.Seek(begin) && out.Write("head", 4) &&
               out.Seek(begin + 12) && out.WriteTwo("!", 1, "?", 1);
      });
    }
  };
  const Summed summed;
  Patching log(summed.file, Slots(3));
  log.KeepChecksums();
  Patching copy(log);
  for (int i = 0; i < 3; ++i) {
    Patching& writer = i == 1 ? copy : log;
    if (i == 1) copy = log;
    if (i == 2) log = copy;
    i == 0 ? writer.Append(OwnTag()) : writer.Append(OwnTag(i));
    EXPECT_EQ(Summed::Checked(writer), std::string(static_cast<std::size_t>(i) + 1, 'R'));
  }
  const std::string bytes = summed.file.Bytes();
  for (const char* place : {"and", "own", "!?"}) {
    summed.file.SetBytes(Patched(bytes, bytes.find(place), "5A"));
    EXPECT_NE(summed.Checked(), "RRR") << place;
  }
}

TEST(Durability, AFailedSyncIsFinal) {
  const TempFile file(TempFile::Borrowed{"log"});
  const std::string refused = Message("Can't write to series file ", file) + " It could not be synced.";
  for (const dtsr_eDurability mode : {dtsr_DurabilityGroup, dtsr_DurabilityStrict}) {
    for (const bool emptying : {false, true}) {
      const PowerDisk disk;
      Log log(file, Slots(9));
      log.SetDurability(mode, 3, 1'000'000);
      for (int i = 0; i < 5; ++i) log.AppendNext();
      Log copy(log);
      PowerDisk::FailSyncs();
      if (emptying) {
        EXPECT_EQ(Complaint([&] { log.ResetWriteIndex(); }), refused);
      } else {
        EXPECT_EQ(Complaint([&] { log.AppendNext(); }), refused);
      }
      EXPECT_EQ(log.CheckedCount(), 5);
      EXPECT_EQ(CountInFile(file), 5);
      for (Log* each : {&log, &copy}) {
        EXPECT_EQ(Complaint([&] { each->AppendNext(); }), refused);
        EXPECT_EQ(Complaint([&] { each->ResetWriteIndex(); }), refused);
        EXPECT_EQ(Complaint([&] { each->Sync(); }), refused);
        EXPECT_FALSE(each->UpdatePointers());
      }
      EXPECT_EQ(log.CheckedCount(), 5);
    }
  }
}

TEST(Durability, SyncsWhenItIsDue) {
  if (!bstr_cBinary_fstream::bCanSync()) {
    const TempFile file;
    Log log(file, Slots(3));
    EXPECT_NE(Complaint([&] { log.SetDurability(dtsr_DurabilityStrict); }), "");
    EXPECT_NE(Complaint([&] { log.Sync(); }), "");
    log.AppendNext();
    return;
  }
  const Summed summed;
  const auto syncs = [](const std::function<void()>& work) {
    FaultyDisk disk;
    work();
    return disk.syncs;
  };
  Log log(summed.file, Slots(20));
  EXPECT_EQ(syncs([&] { log.AppendNext(); }), 0);
  EXPECT_EQ(syncs([&] { log.SetDurability(dtsr_DurabilityStrict); }), 1);
  EXPECT_EQ(syncs([&] { log.AppendNext(); }), 2);
  log.SetDurability(dtsr_DurabilityGroup, 3, 1'000'000);
  // Each sync is one of the checksums and one of the series.
  for (const int expected : {0, 0, 2, 0, 0, 2, 0}) EXPECT_EQ(syncs([&] { log.AppendNext(); }), expected);
  EXPECT_EQ(syncs([&] { log.Sync(); }), 2);
  log.SetDurability(dtsr_DurabilityGroup, 1000, 0);
  EXPECT_EQ(syncs([&] { log.AppendNext(); }), 2);
  log.SetDurability(dtsr_DurabilityGroup, 1000, 1'000'000);
  log.AppendNext();
  EXPECT_EQ(syncs([&] { Log copy(log); }), 0);
  EXPECT_EQ(syncs([&] { log = Log(summed.file); }), 2) << "the last copy syncs";
  EXPECT_EQ(summed.Checked(), "UU" + std::string(9, 'R'));
  EXPECT_THROW(log.SetDurability(dtsr_DurabilityGroup, 0), arr_cSizeException);
  EXPECT_EQ(Complaint([&] { Log(summed.file, bstr_OpenReadOnly).Sync(); }),
            Message("Can't write to series file ", summed.file));
}

}  // namespace
