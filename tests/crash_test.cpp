#include <DataStorage/series/fileseries.h>
//
#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <new>
#include <random>
#include <string>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "disk.h"
#include "series.h"

// What other processes, and the system, do to a series while it is open.

namespace {

constexpr unsigned int data_type = 78;

dtsr_cDimensionArray Slots(int count) {
  dtsr_cDimensionArray dimensions;
  dimensions.Dimension(0) = {count, cal_c1DArrayCal(), "", "", false};
  return dimensions;
}

/// A log of records of many sizes. Record i tells its number, `base` + i, by its tag, and its bytes follow
/// from that; every time that the log is emptied it gets another base.
class Log : public dtsr_cFileSeriesBase {
 public:
  Log(const str_cString& path, int slots) : dtsr_cFileSeriesBase(path, Slots(slots), data_type) {}
  explicit Log(const str_cString& path, bstr_eAccess access = bstr_OpenExisting)
      : dtsr_cFileSeriesBase(path, data_type, access) {}

  static std::string Record(long number) {
    return std::string(static_cast<std::size_t>(number * 7919 % 3000), static_cast<char>(number));
  }
  long Number(int i) const {
    dtsr_cDataTag tag;
    GetTag(i, tag);
    return tag.Time();
  }
  std::string Bytes(int i) const {
    std::string bytes(static_cast<std::size_t>(tagOffsets_[i] - dataOffsets_[i]), '.');
    file_.Input().Seek(dataOffsets_[i]);
    file_.Input().Read(bytes.data(), static_cast<std::int64_t>(bytes.size()));
    return bytes;
  }
  void Append(long base = 0) {
    if (NextWriteIndex() > 0) base = Number(0);
    const long number = base + NextWriteIndex();
    const std::string record = Record(number);
    file_.Output().Seek(dataOffsets_[NextWriteIndex()]);
    file_.Output().Write(record.data(), static_cast<std::int64_t>(record.size()));
    SetNewestTag(dtsr_cDataTag(number));
  }
  /// How many records there are, after looking at those from `first` on.
  int CheckedCount(int first = 0) const {
    for (int i = first; i < NextWriteIndex(); ++i) {
      EXPECT_EQ(Number(i), Number(0) + i);
      EXPECT_EQ(Bytes(i), Record(Number(i))) << i;
    }
    return NextWriteIndex();
  }
};

int CountInFile(const TempFile& file) { return Log(file.Path(), bstr_OpenReadOnly).CheckedCount(); }

std::string Message(const char* text, const TempFile& file) { return (text + file.Path() + ".").CString(); }

/// What a child process and the test tell one another.
struct Shared {
  std::atomic<bool> started;
  std::atomic<int> returned;  // appends since the log was empty; 0 as soon as it may be emptied
  std::atomic<long> base;     // of the log as it will be filled next
};

/// Memory that children share.
class SharedPage {
 public:
  SharedPage()
      : page_(::mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0)) {
    new (page_) Shared{};
  }
  SharedPage(const SharedPage&) = delete;
  SharedPage& operator=(const SharedPage&) = delete;
  ~SharedPage() { ::munmap(page_, sizeof(Shared)); }
  Shared* operator->() const { return static_cast<Shared*>(page_); }

 private:
  void* page_;
};

/// Runs `work` in a child process, which ends with 1 if an expectation failed there.
pid_t Child(const std::function<void()>& work) {
  std::fflush(nullptr);
  const pid_t child = ::fork();
  if (child == 0) {
    ::alarm(120);  // it must not wait forever for a parent that failed
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

/// From DATASTORAGE_SEED where that is set, to repeat a run.
unsigned Seed() {
  const char* given = std::getenv("DATASTORAGE_SEED");
  const unsigned seed =
      given ? static_cast<unsigned>(std::strtoul(given, nullptr, 0)) : std::random_device()();
  std::printf("DATASTORAGE_SEED=%u\n", seed);
  return seed;
}

TEST(Crash, KillsOfAWriterLoseNothing) {
  constexpr int slots = 40, kills = 300;
  const TempFile file;
  { const Log create(file.Path(), slots); }
  const SharedPage shared;
  std::mt19937 random(Seed());
  int cut_short = 0;
  for (int kill = 0; kill < kills && !HasFailure(); ++kill) {
    SCOPED_TRACE(kill);
    shared->started = false;
    const pid_t child = Child([&] {
      Log log(file.Path());
      for (shared->started = true;;) {
        if (log.NextWriteIndex() == slots) {
          shared->returned = 0;
          log.ResetWriteIndex();
          shared->base += 1000;
        }
        log.Append(shared->base);
        shared->returned = log.NextWriteIndex();
      }
    });
    ASSERT_GT(child, 0);
    while (!shared->started && ::waitpid(child, nullptr, WNOHANG) == 0) ::usleep(20);
    ::usleep(static_cast<useconds_t>(random() % 500));
    ::kill(child, SIGKILL);
    ASSERT_TRUE(WIFSIGNALED(StatusOf(child)));

    const int returned = shared->returned;
    Log log(file.Path());
    const int count = log.CheckedCount();
    if (returned > 0) {
      EXPECT_TRUE(count == returned || count == returned + 1) << count << " of " << returned;
    } else {
      EXPECT_TRUE(count <= 1 || count == slots) << count;
    }
    cut_short += count > returned;
    if (count < slots) {
      log.Append(shared->base += count == 0 ? 1000 : 0);
      EXPECT_EQ(log.CheckedCount(count), count + 1);
    }
    shared->returned = log.NextWriteIndex() % slots;
  }
  std::printf("%d kills, %d of them between the count in the file and the return\n", kills, cut_short);
}

TEST(Crash, ReadersSeeWholeLogsWhileAWriterAppends) {
  constexpr int slots = 500;
  const TempFile file;
  { const Log create(file.Path(), slots); }
  const auto watch = [&] {
    for (int seen = 0; seen < slots && !HasFailure();) {
      const int count = Log(file.Path(), bstr_OpenReadOnly).CheckedCount(std::max(seen - 1, 0));
      EXPECT_GE(count, seen);
      seen = count;
    }
  };
  const pid_t readers[] = {Child(watch), Child(watch)};
  Log log(file.Path());
  while (log.NextWriteIndex() < slots) log.Append();
  for (const pid_t reader : readers) EXPECT_EQ(StatusOf(reader), 0);
}

constexpr std::size_t lists_end = 62 + 3 * 8;  // of a log of three slots

/// Lets no file become longer while it lives, as a full disk does.
class FullDisk {
 public:
  explicit FullDisk(std::size_t longest) {
    ::getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit limit = {longest, before_.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &limit);
  }
  FullDisk(const FullDisk&) = delete;
  FullDisk& operator=(const FullDisk&) = delete;
  ~FullDisk() { ::setrlimit(RLIMIT_FSIZE, &before_); }

 private:
  rlimit before_;
};

TEST(Crash, AFullDiskIsToldAndGotOver) {
  // In a child, whose output nobody misses while no file may grow.
  EXPECT_EQ(StatusOf(Child([] {
              const TempFile file;
              { Log(file.Path(), 3).Append(1); }
              const std::string one = file.Bytes();
              const std::size_t grown = one.size() + Log::Record(2).size() + 8;
              const std::string complaint = Message("Can't write to series file ", file);

              for (std::size_t room = one.size(); room <= grown; room += room < grown - 12 ? 101 : 1) {
                file.SetBytes(one);
                Log log(file.Path());
                std::string told;
                {
                  const FullDisk disk(room);
                  told = Complaint([&] { log.Append(); });
                }
                EXPECT_EQ(told, room < grown ? complaint : "") << room;
                EXPECT_EQ(log.CheckedCount(), room < grown ? 1 : 2) << room;
                EXPECT_EQ(CountInFile(file), room < grown ? 1 : 2) << room;
                log.Append();
                EXPECT_EQ(CountInFile(file), log.NextWriteIndex()) << room;
              }
              for (std::size_t room = 0; room <= lists_end; ++room) {
                std::remove(file.Path().CString());
                std::string told;
                {
                  const FullDisk disk(room);
                  told = Complaint([&] { Log(file.Path(), 3); });
                }
                EXPECT_EQ(told.empty(), Complaint([&] { CountInFile(file); }).empty()) << room << told;
                EXPECT_EQ(told, room < lists_end ? complaint : "") << room;
                Log log(file.Path(), 3);
                log.Append();
                {
                  const FullDisk disk(room);
                  told = Complaint([&] { log.ResetWriteIndex(); });
                }
                EXPECT_EQ(log.CheckedCount(), told.empty() ? 0 : 1) << room;
                log.Append();
                EXPECT_EQ(CountInFile(file), log.NextWriteIndex()) << room;
              }
            })),
            0);
}

/// Everything that can be done with an open log, then with the file. Only the library's errors may come out.
void Use(Log& log, const TempFile& file) {
  const auto attempt = [](const std::function<void()>& operation) {
    try {
      operation();
    } catch (const expt_cProgramException&) {
    }
  };
  dtsr_cDimensionArray dimensions;
  attempt([&] { log.ReadDimensionArray(dimensions); });
  attempt([&] { log.Number(1); });
  log.Bytes(1);
  attempt([&] { log.Append(); });
  attempt([&] { log.ResetWriteIndex(); });
  attempt([&] { log.Append(); });
  attempt([&] {
    const Log opened(file.Path());
    for (int i = 0; i < opened.NextWriteIndex(); ++i) attempt([&] { opened.Number(i); });
  });
}

TEST(Crash, TheFileVanishesOrChangesUnderAnOpenSeries) {
  const TempFile file;
  { Log(file.Path(), 3).Append(); }
  Log(file.Path()).Append();
  const std::string whole = file.Bytes();

  Log removed(file.Path());
  std::remove(file.Path().CString());
  EXPECT_EQ(removed.CheckedCount(), 2);
  removed.Append();
  EXPECT_EQ(removed.CheckedCount(), 3);
  EXPECT_EQ(Complaint([&] { CountInFile(file); }), Message("Can't open series file ", file));

  const std::size_t second_tag = whole.size() - 8;
  for (std::size_t size = 0; size < whole.size(); size += size < 100 || size >= second_tag ? 1 : 53) {
    SCOPED_TRACE(size);
    file.SetBytes(whole);
    Log log(file.Path());
    std::filesystem::resize_file(file.Path().CString(), size);
    if (std::string told = Complaint([&] { EXPECT_EQ(log.Number(1), 1); }); !told.empty()) {
      EXPECT_EQ(told, "Can't read TagTypeID.");  // unless it was read ahead
    }
    if (size < lists_end) {
      EXPECT_EQ(Complaint([&] { CountInFile(file); }), Message("Can't read series file ", file));
    } else {
      const Log opened(file.Path());
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
      Log log(file.Path());
      std::string changed = whole;
      changed[at] = byte;
      file.SetBytes(changed);
      EXPECT_EQ(log.CheckedCount(), 2);  // where the data stand is known since the opening
      Use(log, file);
    }
  }
}

}  // namespace
