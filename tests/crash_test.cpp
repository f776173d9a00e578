#include <atomic>
#include <chrono>
#include <filesystem>
#include <thread>

#include "log.h"
#include "process.h"
#if !defined(_WIN32)
#include <csignal>
#include <sys/resource.h>
#endif

// A series while other processes, and the system, interfere with it.

namespace {

/// Memory that a child process shares with the test.
struct Shared {
  std::atomic<bool> started;
  std::atomic<int> returned;  // appends since the log was empty; 0 once it may be emptied
  std::atomic<long> base;     // of the log when it is filled next
};

Shared& SharedState() { return *static_cast<Shared*>(SharedMemory(sizeof(Shared))); }

constexpr int kept_slots = 40, watched_slots = 500;

void WriteForever(const TempFile& file) {
  Shared& shared = SharedState();
  Log log(file);
  for (shared.started = true;;) {
    if (log.NextWriteIndex() == kept_slots) {
      shared.returned = 0;
      log.ResetWriteIndex();
      shared.base += 1000;
    }
    log.AppendNext(shared.base);
    shared.returned = log.NextWriteIndex();
  }
}

TEST(Crash, KillsOfAWriterLoseNothing) {
  if (Child::bWorks(WriteForever)) return;
  const TempFile file;
  { const Log create(file, Slots(kept_slots)); }
  Shared& shared = SharedState();
  std::mt19937 random(RandomSeed());
  int cut_short = 0;
  for (int kill = 0; kill < Child::kills && !HasFailure(); ++kill) {
    SCOPED_TRACE(kill);
    shared.started = false;
    Child child(WriteForever, file);
    child.Await(shared.started);
    std::this_thread::sleep_for(std::chrono::microseconds(random() % 500));
    ASSERT_TRUE(child.bKilled());

    const int returned = shared.returned;
    Log log(file);
    const int count = log.CheckedCount();
    if (returned > 0) {
      EXPECT_TRUE(count == returned || count == returned + 1) << count << " of " << returned;
    } else {
      EXPECT_TRUE(count <= 1 || count == kept_slots) << count;
    }
    cut_short += count > returned;
    if (count < kept_slots) {
      log.AppendNext(shared.base += count == 0 ? 1000 : 0);
      EXPECT_EQ(log.CheckedCount(count), count + 1);
    }
    shared.returned = log.NextWriteIndex() % kept_slots;
  }
  std::printf("%d kills, %d of them between the count in the file and the return\n", Child::kills, cut_short);
}

void Watch(const TempFile& file) {
  for (int seen = 0; seen < watched_slots && !testing::Test::HasFailure();) {
    const int count = Log(file, bstr_OpenReadOnly).CheckedCount(std::max(seen - 1, 0));
    EXPECT_GE(count, seen);
    seen = count;
  }
}

TEST(Crash, ReadersSeeWholeLogsWhileAWriterAppends) {
  if (Child::bWorks(Watch)) return;
  const TempFile file;
  { const Log create(file, Slots(watched_slots)); }
  Child first(Watch, file), second(Watch, file);
  Log log(file);
  while (log.NextWriteIndex() < watched_slots) log.AppendNext();
  EXPECT_EQ(first.Status(), 0U);
  EXPECT_EQ(second.Status(), 0U);
}

void HoldTheLock(const TempFile& file) {
  Shared& shared = SharedState();
  Log log(file, bstr_OpenLocked);
  log.AppendNext();
  for (shared.started = true;;) std::this_thread::sleep_for(std::chrono::seconds(1));
}

TEST(Crash, ALockEndsWithItsProcess) {
  if (!system_has_locks) GTEST_SKIP() << "plain C++ has no file locks";
  if (Child::bWorks(HoldTheLock)) return;
  const TempFile file;
  { Log(file, Slots(3)).AppendNext(); }
  Shared& shared = SharedState();
  shared.started = false;
  Child child(HoldTheLock, file);
  child.Await(shared.started);
  const std::string before = file.Bytes();
  for (const auto& open : {std::function<void()>([&] { Log(file, bstr_OpenLocked); }),
                           {[&] { Log(file, Slots(3), bstr_CreateLocked); }}}) {
    try {
      open();
      ADD_FAILURE() << "two processes have the lock";
    } catch (const dtsr_cFileLockedException& e) {
      const std::string holder =
          system_knows_holders ? "process " + std::to_string(child.Id()) + " (" : "another process";
      EXPECT_EQ(std::string(e.Holder().CString()).substr(0, holder.size()), holder);
      EXPECT_TRUE(e.Message() == str_cString(Message("Can't open series file ", file).c_str()) +
                                     " It is locked by " + e.Holder() + ".");
    }
  }
  EXPECT_EQ(file.Bytes(), before);
  EXPECT_EQ(CountInFile(file), 2) << "readers take no lock";
  EXPECT_TRUE(child.bKilled());
  Log(file, bstr_OpenLocked).AppendNext();
  EXPECT_EQ(CountInFile(file), 3);
  Log emptied(file, Slots(3), bstr_CreateLocked);
  EXPECT_EQ(CountInFile(file), 0);
}

/// As its only writer, with checksums and syncs.
void WriteLockedForever(const TempFile& file) {
  Shared& shared = SharedState();
  Log log(file, bstr_OpenLocked);
  log.SetDurability(dtsr_DurabilityGroup, 7);
  for (shared.started = true;;) {
    if (log.NextWriteIndex() == kept_slots) {
      shared.returned = 0;
      log.ResetWriteIndex();
      shared.base += 1000;
    }
    log.AppendNext(shared.base);
    shared.returned = log.NextWriteIndex();
  }
}

TEST(Crash, KillsOfALockedWriterFreeTheLockAndLoseNothing) {
  if (!system_has_locks) GTEST_SKIP() << "plain C++ has no file locks";
  if (Child::bWorks(WriteLockedForever)) return;
  const TempFile file;
  { const Log create(file, Slots(kept_slots)); }
  Shared& shared = SharedState();
  shared.returned = 0;
  shared.base = 0;
  std::mt19937 random(RandomSeed());
  for (int kill = 0; kill < Child::kills / 5 && !HasFailure(); ++kill) {
    SCOPED_TRACE(kill);
    shared.started = false;
    Child child(WriteLockedForever, file);
    child.Await(shared.started);
    EXPECT_THROW(Log(file, bstr_OpenLocked), dtsr_cFileLockedException);
    std::this_thread::sleep_for(std::chrono::microseconds(random() % 5000));
    ASSERT_TRUE(child.bKilled());
    Log log(file, bstr_OpenLocked);
    const int returned = shared.returned, count = log.CheckedCount();
    if (returned > 0) {
      EXPECT_TRUE(count == returned || count == returned + 1) << count << " of " << returned;
      for (int i = 0; i < returned; ++i) EXPECT_EQ(log.Checked(i), dtsr_Right) << i;
      for (int i = returned; i < count; ++i) EXPECT_NE(log.Checked(i), dtsr_Wrong) << i;
    }
    log.ResetWriteIndex();
    shared.returned = 0;
    shared.base += 1000;
  }
  std::remove((std::string(file.Path().CString()) + ".crc32c").c_str());
}

constexpr std::size_t lists_end = 95 + 3 * 8;  // of a log of three slots

#if defined(_WIN32)
TEST(Crash, AFullDiskIsToldAndGotOver) { GTEST_SKIP() << "this system has no limit on the length of files"; }
#else
/// Appends with a limit on the length of files, as on a full disk.
std::string ToldOnFullDisk(std::size_t room, Log& log) {
  rlimit before;
  ::getrlimit(RLIMIT_FSIZE, &before);
  const rlimit limit = {room, before.rlim_max};
  ::setrlimit(RLIMIT_FSIZE, &limit);
  const std::string told = Complaint([&] { log.AppendNext(); });
  ::setrlimit(RLIMIT_FSIZE, &before);
  return told;
}

void FillDisks(const TempFile& file) {
#if defined(DATASTORAGE_PLAIN_SYSTEM)
  std::signal(SIGXFSZ, SIG_IGN);  // the library in plain C++ does not handle it
#endif
  { Log(file, Slots(3)).AppendNext(); }
  const std::string one = file.Bytes();
  const std::size_t grown = one.size() + Log::Record(1).size() + 8;
  for (std::size_t room = one.size(); room <= grown; ++room) {
    file.SetBytes(one);
    Log log(file);
    const std::string told = ToldOnFullDisk(room, log);
    EXPECT_EQ(told, room < grown ? Message("Can't write to series file ", file) : "") << room;
    EXPECT_EQ(log.CheckedCount(), room < grown ? 1 : 2) << room;
    EXPECT_EQ(CountInFile(file), log.NextWriteIndex()) << room;
    log.AppendNext();
    EXPECT_EQ(CountInFile(file), log.NextWriteIndex()) << room;
  }
}

TEST(Crash, AFullDiskIsToldAndGotOver) {
  const TempFile file;
  // In a child, as its output files cannot grow either.
  EXPECT_EQ(Child(FillDisks, file).Status(), 0U);
}
#endif

/// Uses an open log, then the file. They may throw only exceptions of the library.
void Use(Log& log, const TempFile& file) {
  const auto read = [&] { Log(file).Number(1); };
  const auto append = [&] { log.AppendNext(); };
  const auto empty = [&] { log.ResetWriteIndex(); };
  for (const std::function<void()>& operation : {std::function<void()>(append), {empty}, {append}, {read}}) {
    try {
      operation();
    } catch (const expt_cProgramException&) {
    }
  }
}

TEST(Crash, TheFileVanishesOrChangesUnderAnOpenSeries) {
  const TempFile file;
  { Log(file, Slots(3)).AppendNext(); }
  Log(file).AppendNext();
  const std::string whole = file.Bytes();

  Log removed(file);
  std::remove(file.Path().CString());
  removed.AppendNext();
  EXPECT_EQ(removed.CheckedCount(), 3);
  if (!bUnderWine()) {  // where a removed file can be opened until the last one closes it
    EXPECT_EQ(Complaint([&] { Log(file, bstr_OpenReadOnly); }), Message("Can't open series file ", file));
  }

  const std::size_t second_tag = whole.size() - 8;
  for (std::size_t size = 0; size < whole.size(); size += size < 100 || size >= second_tag ? 1 : 53) {
    SCOPED_TRACE(size);
    file.SetBytes(whole);
    Log log(file);
    std::filesystem::resize_file(file.Path().CString(), size);
    if (std::string told = Complaint([&] { EXPECT_EQ(log.Number(1), 1); }); !told.empty()) {
      EXPECT_EQ(told, "Can't read TagTypeID.");  // unless it was read ahead
    }
    if (size < lists_end) {
      EXPECT_EQ(Complaint([&] { Log(file, bstr_OpenReadOnly); }), Message("Can't read series file ", file));
    } else {
      const Log opened(file);
      EXPECT_EQ(Complaint([&] { opened.Number(1); }), "Can't read TagTypeID.");
      if (size >= second_tag) {
        EXPECT_EQ(opened.Number(0), 0);
        EXPECT_EQ(opened.Bytes(1), Log::Record(1));
      }
    }
    Use(log, file);
  }
  for (std::size_t at = 0; at < 100; ++at) {
    for (const char byte : {'\0', '\x7F', '\xFF'}) {
      file.SetBytes(whole);
      Log log(file);
      std::string changed = whole;
      changed[at] = byte;
      file.SetBytes(changed);
      EXPECT_EQ(log.CheckedCount(), 2);  // places of data are read when a file is opened
      Use(log, file);
    }
  }
}

}  // namespace
