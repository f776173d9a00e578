#include <atomic>
#include <csignal>
#include <filesystem>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "log.h"

// A series while other processes, and the system, interfere with it.

namespace {

/// Memory that a child process shares with the test.
struct Shared {
  std::atomic<bool> started;
  std::atomic<int> returned;  // appends since the log was empty; 0 once it may be emptied
  std::atomic<long> base;     // of the log when it is filled next
};

/// Runs `work` in a child process, which ends with 1 if an expectation failed there.
pid_t Child(const std::function<void()>& work) {
  std::fflush(nullptr);
  const pid_t child = ::fork();
  if (child == 0) {
    ::alarm(120);  // so that it does not wait forever for a parent that failed
    try {
      work();
    } catch (const std::exception& error) {
      ADD_FAILURE() << error.what();
    }
    ::_exit(testing::Test::HasFailure());
  }
  return child;
}

int StatusOf(pid_t child) {
  int status = -1;
  ::waitpid(child, &status, 0);
  return status;
}

TEST(Crash, KillsOfAWriterLoseNothing) {
  constexpr int slots = 40, kills = 300;
  const TempFile file;
  { const Log create(file, Slots(slots)); }
  constexpr int access = PROT_READ | PROT_WRITE, kind = MAP_SHARED | MAP_ANONYMOUS;
  auto* const shared = new (::mmap(nullptr, sizeof(Shared), access, kind, -1, 0)) Shared{};
  std::mt19937 random(RandomSeed());
  int cut_short = 0;
  for (int kill = 0; kill < kills && !HasFailure(); ++kill) {
    SCOPED_TRACE(kill);
    shared->started = false;
    const pid_t child = Child([&] {
      Log log(file);
      for (shared->started = true;;) {
        if (log.NextWriteIndex() == slots) {
          shared->returned = 0;
          log.ResetWriteIndex();
          shared->base += 1000;
        }
        log.AppendNext(shared->base);
        shared->returned = log.NextWriteIndex();
      }
    });
    ASSERT_GT(child, 0);
    while (!shared->started && ::waitpid(child, nullptr, WNOHANG) == 0) ::usleep(20);
    ::usleep(static_cast<useconds_t>(random() % 500));
    ::kill(child, SIGKILL);
    ASSERT_TRUE(WIFSIGNALED(StatusOf(child)));

    const int returned = shared->returned;
    Log log(file);
    const int count = log.CheckedCount();
    if (returned > 0) {
      EXPECT_TRUE(count == returned || count == returned + 1) << count << " of " << returned;
    } else {
      EXPECT_TRUE(count <= 1 || count == slots) << count;
    }
    cut_short += count > returned;
    if (count < slots) {
      log.AppendNext(shared->base += count == 0 ? 1000 : 0);
      EXPECT_EQ(log.CheckedCount(count), count + 1);
    }
    shared->returned = log.NextWriteIndex() % slots;
  }
  std::printf("%d kills, %d of them between the count in the file and the return\n", kills, cut_short);
}

TEST(Crash, ReadersSeeWholeLogsWhileAWriterAppends) {
  constexpr int slots = 500;
  const TempFile file;
  { const Log create(file, Slots(slots)); }
  const auto watch = [&] {
    for (int seen = 0; seen < slots && !HasFailure();) {
      const int count = Log(file, bstr_OpenReadOnly).CheckedCount(std::max(seen - 1, 0));
      EXPECT_GE(count, seen);
      seen = count;
    }
  };
  const pid_t readers[] = {Child(watch), Child(watch)};
  Log log(file);
  while (log.NextWriteIndex() < slots) log.AppendNext();
  for (const pid_t reader : readers) EXPECT_EQ(StatusOf(reader), 0);
}

TEST(Crash, ALockEndsWithItsProcess) {
  if (!system_has_locks) GTEST_SKIP() << "plain C++ has no file locks";
  const TempFile file;
  { Log(file, Slots(3)).AppendNext(); }
  constexpr int access = PROT_READ | PROT_WRITE, kind = MAP_SHARED | MAP_ANONYMOUS;
  auto* const shared = new (::mmap(nullptr, sizeof(Shared), access, kind, -1, 0)) Shared{};
  const pid_t child = Child([&] {
    Log log(file, bstr_OpenLocked);
    log.AppendNext();
    for (shared->started = true;;) ::pause();
  });
  while (!shared->started && ::waitpid(child, nullptr, WNOHANG) == 0) ::usleep(20);
  const std::string before = file.Bytes();
  for (const auto& open : {std::function<void()>([&] { Log(file, bstr_OpenLocked); }),
                           {[&] { Log(file, Slots(3), bstr_CreateLocked); }}}) {
    try {
      open();
      ADD_FAILURE() << "two processes have the lock";
    } catch (const dtsr_cFileLockedException& e) {
      const std::string holder = "process " + std::to_string(child) + " (";
      EXPECT_EQ(std::string(e.Holder().CString()).substr(0, holder.size()), holder);
      EXPECT_TRUE(e.Message() == str_cString(Message("Can't open series file ", file).c_str()) +
                                     " It is locked by " + e.Holder() + ".");
    }
  }
  EXPECT_EQ(file.Bytes(), before);
  EXPECT_EQ(CountInFile(file), 2) << "readers take no lock";
  ::kill(child, SIGKILL);
  EXPECT_TRUE(WIFSIGNALED(StatusOf(child)));
  Log(file, bstr_OpenLocked).AppendNext();
  EXPECT_EQ(CountInFile(file), 3);
  Log emptied(file, Slots(3), bstr_CreateLocked);
  EXPECT_EQ(CountInFile(file), 0);
}

constexpr std::size_t lists_end = 95 + 3 * 8;  // of a log of three slots

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

void FillDisks() {
#if defined(DATASTORAGE_PLAIN_SYSTEM)
  std::signal(SIGXFSZ, SIG_IGN);  // the library in plain C++ does not handle it
#endif
  const TempFile file;
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
  // In a child, as its output files cannot grow either.
  EXPECT_EQ(StatusOf(Child(FillDisks)), 0);
}

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
  EXPECT_EQ(Complaint([&] { Log(file, bstr_OpenReadOnly); }), Message("Can't open series file ", file));

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
