// The output of the tool: files, messages, and the exit status.
#include <chrono>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <memory>
#include <nlohmann/json.hpp>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

#include "file/failure.h"
#include "file/header.h"
#include "io/interrupt.h"
#include "io/newfile.h"
#include "io/raw.h"
#include "tool.h"

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

class Outputs : public Tool {
 protected:
  Outputs() {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) std::signal(signal, SIG_DFL);  // as in a terminal
    Write("one.txt", "1\n2\n3\n");
    Write("a.pgm", "P5\n3 2\n255\n123456");
    Succeed("create a.dseries --dim n,,9,0,1");
    Succeed("append a.dseries one.txt --time 7");
    Succeed("create p.dseries --images --dim n,,9,0,1");
    Succeed("append p.dseries a.pgm --time 7");
    Succeed("create r.dseries --dim x,,1,0,1 --dim y,,1,0,1");
    Succeed("append r.dseries one.txt --time 7");
    series_ = Read("a.dseries");
  }
  /// Runs a bash script, in which "$0" is the program.
  Result Script(const std::string& script) { return Run("", "bash -c '" + script + "'"); }
  /// Changes a 32-bit word of a file.
  void Patch(const std::string& name, std::size_t place, std::int32_t word) {
    std::string bytes = Read(name);
    std::memcpy(bytes.data() + place, &word, sizeof word);
    Write(name, bytes);
  }
  /// The place of the offset lists of a series.
  std::size_t Lists() const {
    std::int32_t lists;
    std::memcpy(&lists, series_.data() + dseries::Header::ListsField, sizeof lists);
    return static_cast<std::size_t>(lists);
  }
  /// The number of valid data in the header of a series.
  int Stored(const std::string& name) {
    std::int32_t stored = -1;
    std::ifstream file(folder_ / name, std::ios::binary);
    file.seekg(dseries::Header::ValidField).read(reinterpret_cast<char*>(&stored), sizeof stored);
    return stored;
  }

  std::string series_;
};

TEST_F(Outputs, HaveTheStatusOfTheWorkWhereverMessagesGo) {
  Succeed("append a.dseries one.txt --time 8");
  const std::string appended = Read("a.dseries");
  const struct {
    const char* arguments;
    bool stores;  // false: its result goes to standard output
  } commands[] = {{"append a.dseries one.txt --time 8", true},
                  {"create new.dseries --force --dim n,,9,0,1", true},
                  {"convert a.dseries new.dseries --force --type float32", true},
                  {"repair a.dseries --force -o new.dseries", true},
                  {"get a.dseries 0 -o new.txt", true},
                  {"export a.dseries -o new.csv", true},
                  {"plot a.dseries -o new.svg", true},
                  {"map r.dseries -o new.png", true},
                  {"image a.pgm -o new.pgm", true},
                  {"get a.dseries 0", false},
                  {"get a.dseries 0 -o -", false},
                  {"export a.dseries -o -", false},
                  {"plot a.dseries", false},
                  {"image a.pgm", false},
                  {"list a.dseries", false},
                  {"info a.dseries --json", false},
                  {"find a.dseries --time 7", false},
                  {"verify a.dseries", false},
                  {"--help", false},
                  {"help get", false},
                  {"--version", false}};
  for (const auto& [arguments, stores] : commands) {
    for (const std::string streams :
         {"2>&-", "<&-", "2>/dev/full", ">&-", ">/dev/full", ">&- 2>&- <&-", ">/dev/full 2>/dev/full"}) {
      Write("a.dseries", series_);
      const Result result = Run(std::string(arguments) + ' ' + streams);
      const bool shown = streams.find(">&-") != 0 && streams.find(">/dev") != 0;
      EXPECT_EQ(result.status, stores || shown ? 0 : 1) << arguments << ' ' << streams;
      EXPECT_EQ(Read("a.dseries"), *arguments == 'a' ? appended : series_) << arguments << ' ' << streams;
    }
  }
  EXPECT_EQ(Run("append a.dseries one.txt --raw 5 2>/dev/full").status, 1);  // nothing is stored
  EXPECT_THAT(Run("append a.dseries one.txt >/dev/full").err, HasSubstr("1 datum appended, 2 of 9"));
  EXPECT_THAT(Run("append a.dseries - <&-").err, HasSubstr("standard input cannot be read"));
  EXPECT_THAT(Run("list a.dseries >/dev/full").err, HasSubstr("No space left"));
  EXPECT_EQ(Script("\"$0\" append a.dseries one.txt 2>&1 | false; exit ${PIPESTATUS[0]}").status, 0);
}

TEST_F(Outputs, ReplaceSeriesOnlyByForce) {
  const std::pair<const char*, const char*> cases[] = {{"get a.dseries 0 -o ", "taken.txt"},
                                                       {"get p.dseries 0 -o ", "taken.darr"},
                                                       {"get p.dseries 0 --row-at 1 -o ", "taken"},
                                                       {"export a.dseries -o ", "taken.csv"},
                                                       {"export a.dseries -o ", "taken.npy"},
                                                       {"plot a.dseries -o ", "taken.svg"},
                                                       {"map r.dseries -o ", "taken.png"},
                                                       {"map r.dseries --axes -o ", "taken.pdf"},
                                                       {"image a.pgm -o ", "taken.bmp"},
                                                       {"convert a.dseries --type float32 ", "taken.dseries"},
                                                       {"repair r.dseries -o ", "taken.dseries"},
                                                       {"create --dim n,,1,0,1 ", "taken.dseries"}};
  for (const auto& [command, name] : cases) {
    Write(name, series_);
    const Result refused = Run(command + std::string(name));
    EXPECT_EQ(refused.status, 1) << command;
    EXPECT_THAT(refused.err, HasSubstr("--force replaces it")) << command;
    EXPECT_EQ(Read(name), series_) << command;
    Succeed(command + std::string(name) + " --force");
    EXPECT_NE(Read(name), series_) << command;
    std::filesystem::remove(folder_ / name);
  }
  // The input itself is never replaced.
  std::filesystem::create_hard_link(folder_ / "a.dseries", folder_ / "same.txt");
  EXPECT_THAT(Run("get a.dseries 0 --force -o same.txt").err, HasSubstr("is the input itself"));
  EXPECT_THAT(Run("repair a.dseries --force -o a.dseries").err, HasSubstr("is the damaged file itself"));
  EXPECT_EQ(Read("a.dseries"), series_);
}

TEST_F(Outputs, HoldWhatTheirEndingPromises) {
  const struct {
    const char* command;
    std::vector<const char*> names;
    const char* complaint;
  } cases[] = {
      {"get a.dseries 0 -o ",
       {"x.png", "x.npy", "x.csv", "x.dseries", "x.darr", "x.f32"},
       ".txt, .dat, .tsv, .asc and .xy"},
      {"get p.dseries 0 --row-at 1 -o ", {"x.png", "x.darr"}, ".txt, .dat, .tsv, .asc and .xy"},
      {"get p.dseries 0 -o ", {"x.svg", "x", "x.csv", "-"}, ".pgm, .npy and .darr"},
      {"get p.dseries 0 -o ", {"x.txt"}, "--row-at"},
      {"image a.pgm -o ", {"x.jpg", "x.pdf"}, ".pgm, .npy and .darr"},
      {"image a.pgm --precision 3 -o ", {"x.png"}, "--precision"},
      {"export a.dseries -o ", {"x.txt", "x.json", "x.png", "x"}, ".csv and .npy"},
      {"plot a.dseries -o ", {"x.jpg", "x.pgm", "x.txt"}, ".png, .svg and .pdf"},
      {"map r.dseries -o ", {"x.svg", "x.txt"}, ".pgm, .npy and .darr"},
      {"map r.dseries --axes -o ", {"x.darr"}, ".png, .svg and .pdf"},
      {"create --dim n,,1,0,1 ", {"x.png", "x.csv"}, "to .dseries files or those without an ending"},
      {"convert a.dseries --type float32 ", {"x.npy"}, "to .dseries files or those without an ending"},
      {"repair a.dseries -o ", {"x.txt"}, "to .dseries files or those without an ending"}};
  for (const auto& [command, names, complaint] : cases) {
    for (const std::string name : names) {
      const Result result = Run(command + name);
      EXPECT_EQ(result.status, 1) << command << name;
      EXPECT_THAT(result.err, HasSubstr(complaint)) << command << name;
      EXPECT_FALSE(bExists(name)) << command << name;
    }
  }
}

TEST_F(Outputs, AppearUnderTheirNameOnlyWhole) {
  std::string numbers;
  for (int i = 0; i < 3000; ++i) numbers += "1\n";
  Write("many.txt", numbers);
  Succeed("append a.dseries many.txt --time 7");
  const std::string files = Files();
  for (const char* command : {"export a.dseries -o new.csv", "get a.dseries 1 -o new.txt",
                              "convert a.dseries new.dseries --type float64",
                              "repair a.dseries -o new.dseries", "plot a.dseries 0 -o new.png"}) {
    const Result result = Run(command, "ulimit -f 4;");
    EXPECT_EQ(result.status, 1) << command;
    EXPECT_THAT(result.err, Not(HasSubstr(".part"))) << command;
    EXPECT_EQ(Files(), files) << command;
  }
  // A replaced file stays until then, and its permissions remain; links are followed.
  Write("old.txt", "old");
  std::filesystem::permissions(folder_ / "old.txt", std::filesystem::perms(0640));
  std::filesystem::create_symlink("old.txt", folder_ / "link.txt");
  std::filesystem::create_symlink("made.txt", folder_ / "free.txt");
  EXPECT_EQ(Run("get a.dseries 1 -o link.txt", "ulimit -f 4;").status, 1);
  EXPECT_EQ(Read("old.txt"), "old");
  for (const char* name : {"link.txt", "free.txt"}) {
    Succeed(std::string("get a.dseries 0 -o ") + name);
    EXPECT_TRUE(std::filesystem::is_symlink(folder_ / name));
    EXPECT_EQ(Read(name), "0\t1\n1\t2\n2\t3\n");
  }
  const auto permissions = [this](const char* name) {
    return std::filesystem::status(folder_ / name).permissions();
  };
  EXPECT_EQ(permissions("old.txt"), std::filesystem::perms(0640));
  Run("get a.dseries 0 -o new.txt", "umask 027;");
  EXPECT_EQ(permissions("new.txt"), std::filesystem::perms(0640));
  EXPECT_EQ(permissions("made.txt"), permissions("one.txt"));

  EXPECT_EQ(Succeed("get a.dseries 0 -o /dev/stdout"), Read("made.txt"));
  EXPECT_THAT(Script("mkfifo fifo; \"$0\" export a.dseries 0 -o fifo & cat fifo >got.csv; wait").out,
              StartsWith("fifo: 1 datum"));
  EXPECT_EQ(Read("got.csv"), "position,value\n0,1\n1,2\n2,3\n");
}

TEST_F(Outputs, GoWhenASignalEndsTheProgram) {
  const std::string target = folder_ / "new.dseries";
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    const auto interrupted = [&] {
      dseries::HandleSignals();
      dseries::MakeSeries(target, false, [&](const std::string& path) {
        if (std::filesystem::exists(path)) std::raise(signal);
      });
    };
    EXPECT_EXIT(interrupted(), testing::KilledBySignal(signal), "");
    EXPECT_EQ(Files(), "a.dseries a.pgm err.txt one.txt out.txt p.dseries r.dseries ");
  }
  // Two that make the same file at once: the second one must not replace the first.
  dseries::NewFile first(target, dseries::Replace::Nothing), second(target, dseries::Replace::Nothing);
  first.Finish();
  EXPECT_THROW(second.Finish(), dseries::Failure);
}

TEST_F(Outputs, OfAppendEndBehindTheDatumInProgress) {
  for (const int signal : {SIGINT, SIGTERM}) {
    Write("a.dseries", series_);
    std::filesystem::remove(folder_ / "fifo");
    ASSERT_EQ(mkfifo((folder_ / "fifo").c_str(), 0600), 0);
    const int fifo = open((folder_ / "fifo").c_str(), O_RDWR);  // keeps it open, so that it does not end
    std::thread sender([&] {
      const char data[20] = {};  // two data and a half
      EXPECT_EQ(write(fifo, data, sizeof data), 20);
      for (int i = 0; i < 2000 && Stored("a.dseries") < 3; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
      }
      kill(std::stoi(Read("pid")), signal);
    });
    const Result result =
        Run("append a.dseries fifo --raw 2; exit $?", "bash -c 'echo $$ >pid; exec \"$@\"' sh");
    sender.join();
    close(fifo);
    EXPECT_EQ(result.status, 128 + signal);
    EXPECT_THAT(result.err, StartsWith("dseries: interrupted; 2 data were stored\n"));
    EXPECT_EQ(result.out, "");
    EXPECT_THAT(Succeed("verify a.dseries"), HasSubstr("3 of 9 slots filled"));
  }
}

TEST_F(Outputs, RefuseWhatCannotFitBeforeTheyBegin) {
  // Datum 1 begins where a datum of 3 doubles and its tag just fit below the 2 GiB limit of a file.
  constexpr std::int32_t last = 0x7FFFFFFF, needed = 26 + 3 * 8 + 8;
  Patch("a.dseries", Lists() + 4, last - needed);
  std::filesystem::resize_file(folder_ / "a.dseries", last - needed);  // most of it is a hole
  const Result two = Run("append a.dseries one.txt one.txt");
  EXPECT_EQ(two.status, 1);
  EXPECT_THAT(two.err, HasSubstr("room for 58 bytes below 2 GiB, and 2 data would take 116; store fewer"));
  EXPECT_THAT(Run("append a.dseries - --raw 7 </dev/zero").err, HasSubstr("1 datum would take 62"));
  EXPECT_THAT(Run("append a.dseries - --raw 2000000000").err, HasSubstr("would pass 2 GiB"));
  EXPECT_EQ(std::filesystem::file_size(folder_ / "a.dseries"), std::uintmax_t{last - needed});
  EXPECT_EQ(Stored("a.dseries"), 1);
  Succeed("append a.dseries one.txt");
  std::filesystem::remove(folder_ / "a.dseries");

  Write("a.dseries", series_);
  Succeed("append a.dseries one.txt --type float32");
  Patch("a.dseries", Lists() + 4 * 9 + 4, 0x70000000);  // datum 1 seems to end there
  Patch("a.dseries", Lists() + 8, 0x70000008);
  std::filesystem::resize_file(folder_ / "a.dseries", 0x70000100);  // with a large hole
  EXPECT_THAT(Run("convert a.dseries new.dseries --type float64").err, HasSubstr("choose a smaller type"));
  std::filesystem::remove(folder_ / "a.dseries");
  EXPECT_FALSE(bExists("new.dseries"));
  EXPECT_THAT(Run("create new.dseries --dim n,,300000000,0,1").err, HasSubstr("up to 268435448"));
}

TEST_F(Outputs, GoToASeriesFromOneWriterAtATime) {
  auto writer = std::make_unique<bstr_cBinary_fstream>((folder_ / "a.dseries").c_str(), bstr_OpenLocked);
  const std::string holder = "a.dseries is being written by process " + std::to_string(getpid()) + " (";
  const struct {
    const char* arguments;
    bool writes;
  } commands[] = {{"append a.dseries one.txt --wait 0", true},
                  {"append a.dseries one.txt --wait 0.1", true},
                  {"create a.dseries --force --dim n,,9,0,1", true},
                  {"convert p.dseries a.dseries --force --type float32", true},
                  {"list a.dseries", false},
                  {"verify a.dseries", false},
                  {"get a.dseries 0", false}};
  for (const auto& command : commands) {
    const Result result = Run(command.arguments);
    EXPECT_EQ(result.status, command.writes ? 1 : 0) << command.arguments;
    EXPECT_THAT(result.err, HasSubstr(command.writes ? holder : "")) << command.arguments;
  }
  EXPECT_EQ(Read("a.dseries"), series_);
  std::thread end([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    writer.reset();
  });
  EXPECT_THAT(Run("append a.dseries one.txt --time 7 --wait 60").err, HasSubstr("; waiting"));
  end.join();
  EXPECT_EQ(Stored("a.dseries"), 2);
}

TEST_F(Outputs, SendNoControlCharactersToATerminal) {
  const std::string name = "'\x1b[31m\n.dseries'";
  EXPECT_THAT(Run("info " + name).err, HasSubstr("there is no file ?[31m?.dseries;"));
  EXPECT_EQ(Succeed("append " + name + " one.txt --new"),
            "?[31m?.dseries: 1 datum appended, 1 of 1000 slots filled\n");
}

TEST_F(Outputs, HoldWhatCameThroughPipes) {
  Write("raw", std::string("\1\0\2\0\3\0\4\0\5\0\6\0", 12));
  const std::string stored = "0\t1\n1\t2\n2\t3\n0\t4\n1\t5\n2\t6\n";
  for (const char* input : {"<(cat raw)", "<(head -c 7 raw; sleep 0.1; tail -c 5 raw)", "/dev/stdin <raw",
                            "- <raw", "--interleaved <(printf \"\\1\\0\\4\\0\\2\\0\\5\\0\\3\\0\\6\\0\")"}) {
    Write("a.dseries", series_);
    const std::string append = "\"$0\" append a.dseries --raw 3 --type ubin16 " + std::string(input);
    EXPECT_THAT(Script(append).out, HasSubstr("2 data appended")) << input;
    EXPECT_EQ(Succeed("get a.dseries 1 -o -") + Succeed("get a.dseries 2 -o -"), stored) << input;
  }
  EXPECT_THAT(Script("\"$0\" append a.dseries <(cat one.txt)").out, HasSubstr("4 of 9"));
  EXPECT_THAT(Script("\"$0\" append p.dseries <(cat a.pgm)").out, HasSubstr("2 of 9"));
  EXPECT_THAT(Script("\"$0\" image <(cat a.pgm)").out, HasSubstr("3 x 2 = 6 elements"));
  EXPECT_THAT(Script("\"$0\" plot - <a.pgm").out, HasSubstr("┬"));
  EXPECT_THAT(Script("\"$0\" info <(cat a.dseries)").err, HasSubstr("series cannot be read from pipes"));
  EXPECT_EQ(Script("cat raw | \"$0\" append a.dseries - --raw 5 --type ubin8").err,
            "dseries: standard input ends within its datum 2: 2 of 5 bytes; 2 data were stored\n");
  EXPECT_THAT(Script("\"$0\" append a.dseries - --raw 2 --type ubin8 <raw").err,
              HasSubstr("room for 3 more data, and 6"));
  EXPECT_EQ(Script("cat raw | \"$0\" append a.dseries - --raw 2 --type ubin8").err,
            "dseries: a.dseries is full, and there are more data; 3 data were stored\n");

  // Memory does not grow with the input.
  Succeed("create big.dseries --dim n,,99,0,1");
  const std::string limit = sanitized ? "" : "ulimit -v 120000; ";
  EXPECT_EQ(Script(limit + "head -c 160000000 /dev/zero | \"$0\" append big.dseries - --raw 1000000").err,
            "");
  EXPECT_THAT(Succeed("verify big.dseries"), HasSubstr("40 of 99 slots filled"));
  EXPECT_THAT(Script("\"$0\" append big.dseries - --raw 9 --interleaved </dev/zero").err,
              HasSubstr("more than 256 MiB"));

  // What goes to a file that somebody removes is not reported as stored.
  Write("a.dseries", series_);
  const Result lost = Script(
      "mkfifo f; (head -c 6 raw; until \"$0\" list a.dseries | grep -q 1970; do sleep 0.05; done; rm "
      "a.dseries; "
      "tail -c 6 raw) >f & \"$0\" append a.dseries --raw 3 --type ubin16 --time 0 f");
  EXPECT_EQ(lost.status, 1);
  EXPECT_THAT(lost.err,
              HasSubstr("a.dseries was removed meanwhile: 2 data were stored in a file that has no name"));
}

TEST_F(Outputs, OfSeveralFilesDoNotStopAtAMissingOne) {
  const Result appended = Run("append a.dseries one.txt none.txt one.txt");
  EXPECT_EQ(appended.status, 1);
  EXPECT_THAT(appended.out, HasSubstr("2 data appended, 3 of 9 slots filled"));
  EXPECT_EQ(appended.err,
            "dseries: there is no file none.txt\ndseries: stored: one.txt, one.txt; not stored: none.txt\n");
  for (const char* command : {"info", "list", "info --json", "list --json", "verify"}) {
    const Result result = Run(std::string(command) + " none.dseries a.dseries a.pgm 'x*' p.dseries");
    EXPECT_EQ(result.status, 1) << command;
    EXPECT_THAT(result.out, HasSubstr("p.dseries")) << command;
    EXPECT_THAT(result.err, HasSubstr("dseries: 3 of 5 files ")) << command;
  }
}

TEST_F(Outputs, OfListsAreWholeOrNone) {
  using nlohmann::json;
  Succeed("create e.dseries --dim n,,9,0,1");
  EXPECT_EQ(Succeed("list --json e.dseries"), "[]\n");
  Write("cut.dseries", series_.substr(0, series_.size() - 1));
  for (const char* command : {"list cut.dseries", "list --json cut.dseries"}) {
    const Result result = Run(command);
    EXPECT_EQ(result.status, 1) << command;
    EXPECT_EQ(result.out, "") << command;
  }
  const json all = json::parse(Run("list --json cut.dseries e.dseries p.dseries a.dseries p.dseries").out);
  EXPECT_EQ(all, (json{{"e.dseries", json::array()},
                       {"p.dseries", json::parse(Succeed("list --json p.dseries"))},
                       {"a.dseries", json::parse(Succeed("list --json a.dseries"))}}));
  EXPECT_EQ(Run("list --json none.dseries cut.dseries").out, "{}\n");
}

/// Compares raw data with a direct reading of the bytes.
TEST_F(Outputs, HoldRawDataHoweverTheyAreRead) {
  for (const int elements : {1, 2, 5}) {
    for (const int count : {1, 3, 70}) {
      std::string raw;
      for (int i = 0; i < elements * count; ++i) raw += {static_cast<char>(i), static_cast<char>(i >> 8)};
      Write("raw", raw);
      for (const bool interleaved : {false, true}) {
        for (const std::int64_t block : {1, 7, 100, 1 << 20}) {
          dseries::RawInput input(folder_ / "raw", dtyp_UBin16, {elements}, interleaved, block);
          ASSERT_EQ(input.Count(), count);
          std::string datum(static_cast<std::size_t>(2 * elements), ' ');
          for (int i = 0; i < count; ++i) {
            ASSERT_TRUE(input.Next(datum.data()));
            for (int k = 0; k < elements; ++k) {
              const auto place = static_cast<std::size_t>(interleaved ? k * count + i : i * elements + k);
              ASSERT_EQ(datum.substr(static_cast<std::size_t>(2 * k), 2), raw.substr(2 * place, 2))
                  << i << ' ' << k;
            }
          }
          EXPECT_FALSE(input.Next(datum.data()));
        }
      }
    }
  }
}

}  // namespace
