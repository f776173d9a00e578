#include <chrono>
#include <csignal>
#include <optional>
#include <random>
#include <thread>
#include <vector>

#include "file/series.h"
#include "io/following.h"
#include "tool.h"

using dseries::DataSeries;
using dseries::News;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using Lines = DataSeries<darr_c1DArray>;

dtsr_cDimensionArray Dimensions(int nx, int ny = 1) {
  dtsr_cDimensionArray dimensions(ny > 1 ? 2 : 1);
  dimensions.Dimension(0) = {nx, cal_c1DArrayCal(0, 0.5), "x", "mm", false};
  if (ny > 1) dimensions.Dimension(1) = {ny, cal_c1DArrayCal(0, 1), "y", "mm", false};
  return dimensions;
}

void Append(Lines& series, long time) {
  const double values[]{1, 2, 4};
  series.Append(darr_c1DArray(arr_c1DNumberArray<double>(3, values), cal_c1DArrayCal()), dtsr_cDataTag(time));
}

/// Runs the program in the background.
class Watching : public Tool {
 protected:
  ~Watching() override {
    if (watch_ > 0) kill(watch_, SIGKILL), waitpid(watch_, nullptr, 0);
  }

  std::string Path(const std::string& name) { return folder_ / name; }
  void Start(const std::string& arguments, const std::string& before = "exec") {
    const std::string command = "cd '" + folder_.string() + "' && { " + before + " " DSERIES " watch " +
                                arguments + "; } </dev/null >out.txt 2>err.txt";
    Write("out.txt", "");
    Write("err.txt", "");
    watch_ = fork();
    if (watch_ == 0) execl("/bin/sh", "sh", "-c", command.c_str(), nullptr), _exit(127);
  }
  /// Waits until a file holds a text.
  void Await(const std::string& name, const std::string& text) {
    const Clock::time_point end = Clock::now() + 20s;
    while (Read(name).find(text) == std::string::npos && Clock::now() < end) std::this_thread::sleep_for(5ms);
    ASSERT_THAT(Read(name), HasSubstr(text)) << Read("err.txt");
  }
  /// How the program ends: its status, or minus the signal.
  int Status() {
    int status = 0;
    for (const Clock::time_point end = Clock::now() + 20s; waitpid(watch_, &status, WNOHANG) == 0;) {
      if (Clock::now() > end) return -1000;
      std::this_thread::sleep_for(5ms);
    }
    watch_ = 0;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }

  pid_t watch_ = 0;
};

TEST_F(Watching, WritesALineForEachDatumAsItComes) {
  Lines series(Path("a.dseries"), Dimensions(12));
  Append(series, 0);
  Start("a.dseries --last 1");
  Await("out.txt", "1970-01-01T00:00:00Z\n");
  for (int i = 1; i < 12; ++i) {
    Append(series, i);
    Await("out.txt", ":" + std::string(i < 10 ? "0" : "") + std::to_string(i) + "Z\n");
  }
  EXPECT_EQ(Status(), 0);
  EXPECT_EQ(Read("out.txt"), Succeed("list a.dseries"));
  Start("a.dseries --last 2");
  EXPECT_EQ(Status(), 0);
  EXPECT_EQ(Read("err.txt"), "dseries: a.dseries is full: all of its 12 slots are filled\n");
  EXPECT_THAT(Read("out.txt"), testing::AllOf(HasSubstr("00:00:10Z"), Not(HasSubstr("00:00:09Z"))));
}

TEST_F(Watching, GoesOnWithWhatBecomesOfTheFile) {
  std::optional<Lines> series(std::in_place, Path("a.dseries"), Dimensions(3));
  Append(*series, 0);
  Start("a.dseries");
  Await("out.txt", "00:00:00Z\n");
  series->ResetWriteIndex();
  Await("err.txt", "dseries: a.dseries was reset\n");
  Append(*series, 1);
  Await("out.txt", "00:00:01Z\n");

  std::filesystem::remove(folder_ / "a.dseries");
  Await("err.txt", "dseries: a.dseries was removed\n");
  Append(*series, 2);  // to the file that has no name any more
  Await("out.txt", "00:00:02Z\n");
  Write("a.dseries", "no series");
  Await("err.txt", "a.dseries is not a series file: it ends after 9 bytes");
  series.emplace(Path("other"), Dimensions(5));
  Append(*series, 3);
  std::filesystem::rename(folder_ / "other", folder_ / "a.dseries");
  Await("err.txt", "dseries: a.dseries is another file or series now\n");
  Await("out.txt", "00:00:03Z\n");

  series.emplace(Path("a.dseries"), Dimensions(4));  // in the same file
  Append(*series, 4);
  Await("out.txt", "00:00:04Z\n");
  const std::string whole = Read("a.dseries");
  Write("a.dseries", whole.substr(0, whole.size() - 1));
  Await("err.txt", "dseries: a.dseries was cut within its data\n");
  Write("a.dseries", whole);
  Append(*series, 5);
  Await("out.txt", "00:00:05Z\n");
  kill(watch_, SIGINT);
  EXPECT_EQ(Status(), -SIGINT);
}

TEST_F(Watching, FollowsWritersThatAreKilled) {
  constexpr int data = 20000;
  {
    Lines series(Path("a.dseries"), Dimensions(data));
    Start("a.dseries");
    Append(series, 0);
    Await("out.txt", "00:00:00Z\n");  // what was there before it is not shown
  }
  int kills = 0;
  for (int filled = 0; filled < data; ++kills) {
    const pid_t writer = fork();
    if (writer == 0) {
      Lines series(Path("a.dseries"));
      while (series.NextWriteIndex() < data) Append(series, series.NextWriteIndex());
      _exit(0);
    }
    if (kills < 20) std::this_thread::sleep_for(5ms), kill(writer, SIGKILL);
    waitpid(writer, nullptr, 0);
    filled = Lines(Path("a.dseries"), bstr_OpenReadOnly).NextWriteIndex();
  }
  EXPECT_GT(kills, 5);
  EXPECT_EQ(Status(), 0);
  const std::string seen = Read("out.txt"), all = Succeed("list a.dseries");
  const auto at = static_cast<std::size_t>(
      std::mismatch(seen.begin(), seen.end(), all.begin(), all.end()).first - seen.begin());
  EXPECT_TRUE(seen == all) << at << seen.substr(at, 200) << "\ninstead of\n" << all.substr(at, 200);
}

TEST_F(Watching, FindsDataWhereNoChangesAreReported) {
  if (sanitized) GTEST_SKIP() << "the sanitizer needs descriptors itself";
  Lines series(Path("a.dseries"), Dimensions(2));
  // No descriptor is left to ask for reports.
  Start("a.dseries --poll 0.01", "exec 3>&- 4>&- 5>&- 6>&- 7>&- 8>&- 9>&-; ulimit -n 4; exec");
  for (int i = 0; i < 2; ++i) {
    std::this_thread::sleep_for(50ms);
    Append(series, i);
    Await("out.txt", "00:00:0" + std::to_string(i) + "Z\n");
  }
  EXPECT_EQ(Status(), 0);
}

TEST_F(Watching, RunsACommandForEachNewDatum) {
  const std::string name = "a \"b' $(touch hacked).dseries";
  Lines series(Path(name), Dimensions(9));
  Append(series, 0);
  const std::string file = "'a \"b'\\'' $(touch hacked).dseries'";
  const std::string command =
      " --exec 'echo \"$DSERIES_FILE\" $DSERIES_DATUM >>log; test $DSERIES_DATUM != 2'";
  Start(file + " --until 5" + command);
  Await("out.txt", "Z\n");
  for (int i = 1; i < 5; ++i) Append(series, i);
  EXPECT_EQ(Status(), 0);
  std::string expected;
  for (const char i : {'1', '2', '3', '4'}) expected += name + ' ' + i + '\n';
  EXPECT_EQ(Read("log"), expected);
  EXPECT_EQ(Read("err.txt"),
            "dseries: the command for datum 2 failed with status 1\ndseries: " + name + " holds 5 data\n");
  EXPECT_FALSE(bExists("hacked"));
  Start(file + " --exec false --stop");
  Await("out.txt", "Z\n");
  Append(series, 5);
  EXPECT_EQ(Status(), 1);
  EXPECT_EQ(Read("err.txt"), "dseries: the command for datum 5 failed with status 1\n");

  // A command that runs ends with the watch.
  std::filesystem::remove(folder_ / "log");
  Start(file + " --exec 'echo $$. >>log; exec sleep 20'");
  Await("out.txt", "Z\n");
  Append(series, 6);
  Await("log", ".");
  kill(watch_, SIGTERM);
  EXPECT_EQ(Status(), -SIGTERM);
  const pid_t command_process = std::stoi(Read("log"));
  for (int tries = 0; kill(command_process, 0) == 0 && tries < 1000; ++tries)
    std::this_thread::sleep_for(5ms);
  EXPECT_NE(kill(command_process, 0), 0);
}

TEST_F(Watching, DrawsWholeScreensInATerminal) {
  for (const char* option : {"", "--plot", "--map"}) {
    std::filesystem::remove(folder_ / "a.dseries");
    Start("--wait a.dseries " + std::string(option) + "' /dev/null",
          "exec script -qefc 'stty rows 20 cols 70;");
    Await("out.txt", "waiting");
    if (option == std::string("--map")) {  // one without a map is no end of it
      { const Lines other(Path("a.dseries"), Dimensions(3)); }
      Await("out.txt", "a map needs a series");
      std::filesystem::remove(folder_ / "a.dseries");
    }
    Lines series(Path("a.dseries"), Dimensions(3, 2));
    for (int i = 0; i < 6; ++i) {
      Append(series, i);
      Await("out.txt", std::to_string(i + 1) + " of 6 data");
    }
    EXPECT_EQ(Status(), 0);
    const std::string screen = Read("out.txt");
    EXPECT_THAT(screen, HasSubstr("a.dseries is full: all of its 6 slots are filled")) << option;
    EXPECT_THAT(screen, HasSubstr(" per second, 0 s left")) << option;
    EXPECT_THAT(screen, Not(HasSubstr("\x1b[2J"))) << option;
    EXPECT_EQ(screen.find("\x1b[H") != std::string::npos, *option != '\0') << option;
    EXPECT_EQ(screen.find("00:00:05Z\r\n") != std::string::npos, *option == '\0') << option;
    if (*option == '\0') continue;
    EXPECT_THAT(screen, HasSubstr(option[2] == 'm' ? "sum of all" : "datum 5:")) << screen;
  }
}

TEST_F(Watching, RefusesWhatItCannotShow) {
  { const Lines series(Path("a.dseries"), Dimensions(3)); }
  for (const auto& [arguments, status, complaint] :
       {std::tuple("b.dseries", 1, "there is no file b.dseries"),
        std::tuple("a.dseries --map", 1, "--plot and --map draw in a terminal"),
        std::tuple("a.dseries --plot --map", 2, "--map"),
        std::tuple("a.dseries --value mean", 2, "needs --map"),
        std::tuple("a.dseries --log", 2, "--log needs --plot or --map"),
        std::tuple("a.dseries --stop", 2, "--exec"), std::tuple("a.dseries --poll 0", 2, "--poll"),
        std::tuple("a.dseries --for nan", 2, "--for: 'nan' is not a number from 0.001 to")}) {
    const Result result = Run(std::string("watch ") + arguments);
    EXPECT_EQ(result.status, status) << arguments;
    EXPECT_THAT(result.err, HasSubstr(complaint)) << arguments;
  }
  EXPECT_EQ(Succeed("watch a.dseries --for 0.1"), "");
}

/// The times in the tags of a series.
std::vector<long> TimesOf(const dseries::Series& series, int begin, int end) {
  std::vector<long> times;
  for (int i = begin; i < end; ++i) times.push_back(series.Tag(i)->Time());
  return times;
}

TEST_F(Tool, FollowingKnowsWhatIsInTheFile) {
  const std::string path = folder_ / "a.dseries", other = folder_ / "other";
  std::mt19937 random(7);
  const auto chance = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
  std::optional<Lines> writer(std::in_place, path, Dimensions(50));
  dseries::Following following(path, 1ms);
  std::vector<long> seen;
  for (long step = 0, time = 0; step < 300; ++step) {
    for (int operations = 1 + chance(3); operations > 0; --operations) {
      switch (chance(12)) {
        case 0:
          writer->ResetWriteIndex();
          break;
        case 1:
          writer.emplace(other, Dimensions(20 + chance(30)));
          Append(*writer, ++time);
          std::filesystem::rename(other, path);
          writer.emplace(path);
          break;
        case 2:
          std::filesystem::remove(path);
          if (chance(2) == 0) following.Next(Clock::now());
          writer.emplace(path, Dimensions(50));
          break;
        case 3:
          writer.emplace(path, Dimensions(20 + chance(30)));
          break;
        default:
          for (int n = chance(4); n > 0 && writer->NextWriteIndex() < writer->Size(); --n)
            Append(*writer, ++time);
      }
    }
    const int data = writer->NextWriteIndex();
    const auto current = TimesOf(*writer, 0, data);
    for (const Clock::time_point end = Clock::now() + 5s; seen != current && Clock::now() < end;) {
      const News news = following.Next(Clock::now() + 20ms);
      if (news.kind == News::Reset || news.kind == News::Other) seen.clear();
      if (news.end > 0) {
        ASSERT_EQ(news.begin, std::ssize(seen));
        for (const long t : TimesOf(following.Current(), news.begin, news.end)) seen.push_back(t);
      }
    }
    ASSERT_EQ(seen, current) << "step " << step;
  }
}

}  // namespace
