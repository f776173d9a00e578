#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <deque>
#include <fmt/format.h>
#include <initializer_list>
#include <iterator>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "cli/labels.h"
#include "cli/mapping.h"
#include "cli/show.h"
#include "cli/usage.h"
#include "commands/commands.h"
#include "figure/drawing.h"
#include "file/coordinates.h"
#include "file/dimensions.h"
#include "file/failure.h"
#include "file/header.h"
#include "file/series.h"
#include "file/text.h"
#include "io/console.h"
#include "io/following.h"
#include "io/system.h"

namespace dseries {

namespace {

using Clock = Following::Clock;
using Seconds = std::chrono::duration<double>;

struct Options {
  std::string file;
  bool plot = false;
  bool map = false;
  Mapping mapping;
  Drawing drawing;
  int last = 10;
  int until = 0;      ///< 0: the series is full
  double time = 0;    ///< in seconds; 0: no limit
  double poll = 0.1;  ///< in seconds
  bool wait = false;
  std::string command;
  bool stop = false;
};

/// "45 s", "12 min" or "3 h 20 min".
std::string DurationText(double seconds) {
  constexpr double minute = 60, hour = 60 * minute, most = 1000 * hour;
  if (seconds < 2 * minute) return fmt::format("{:.0f} s", seconds);
  if (seconds < 2 * hour) return fmt::format("{:.0f} min", seconds / minute);
  if (seconds >= most) return "more than 1000 h";
  const int minutes = static_cast<int>(seconds / minute);
  return fmt::format("{} h {} min", minutes / 60, minutes % 60);
}

/// "12.5 per second", or in a minute or an hour.
std::string RateText(double per_second) {
  constexpr std::pair<double, const char*> units[]{{1, "second"}, {60, "minute"}, {3600, "hour"}};
  const auto* unit = std::find_if(std::begin(units), std::end(units) - 1,
                                  [&](const auto& u) { return per_second * u.first >= 1; });
  return fmt::format("{} per {}", NumberText(per_second * unit->first, 3), unit->second);
}

/// How fast data come: over ten seconds, or from one to the next.
class Rate {
 public:
  void Add(int data) {
    const Clock::time_point now = Clock::now();
    seen_.emplace_back(now, (seen_.empty() ? 0 : seen_.back().second) + data);
    while (seen_.size() > 2 && now - seen_.front().first > std::chrono::seconds(10)) seen_.pop_front();
  }
  /// "12.5 per second, 3 min left, newest 20 s ago", as far as it is known.
  std::string Text(int data_left) const {
    if (seen_.empty()) return "";
    std::string text;
    const Clock::time_point begin = seen_.front().first, end = seen_.back().first;
    const double silent = Seconds(Clock::now() - end).count();
    if (const int data = seen_.back().second - seen_.front().second; data > 0) {
      double time = Seconds(end - begin).count();
      if (silent > time / data) time += silent;
      const double rate = data / std::max(time, 1e-6);
      text = fmt::format(", {}, {} left", RateText(rate), DurationText(data_left / rate));
    }
    if (silent >= 2) text += fmt::format(", newest {} ago", DurationText(silent));
    return text;
  }

 private:
  std::deque<std::pair<Clock::time_point, int>> seen_;
};

class Watch {
 public:
  explicit Watch(const Options& options);
  Watch(const Watch&) = delete;
  Watch& operator=(const Watch&) = delete;
  /// Leaves the terminal tidy.
  ~Watch() {
    if (terminal_) static_cast<void>(bWritten(standard_output, pictures_ ? "\n" : "\r\x1b[K"));
  }

  /// Returns why it ended: the series is full, or has the number of data or it is the time that was chosen.
  std::string Run();

 private:
  void CheckKind();
  void Handle(const News& news);
  void Show(int begin, int end);
  void PrintLines(int begin, int end);
  void AddToMap(int i);
  void RunCommand(int i);
  std::string Picture();
  void Draw();
  std::string Completed();
  void Say(const std::string& text);
  std::string StatusText();

  const Options& options_;
  const bool terminal_ = bTerminal(standard_output);
  const bool pictures_;
  const bool screen_;  ///< for the eye only, so that a moment is soon enough
  const Clock::time_point end_;
  Following following_;
  Rate rate_;
  std::optional<DatumTable> table_;
  std::optional<PixelMap> map_;
  std::vector<int> map_place_;  ///< of the map, along the dimensions beyond the second
  std::string notice_;          ///< below a picture
  Clock::time_point noticed_;
  bool opened_ = false;  ///< whether there was a series before
  bool drawable_ = true;
};

/// Writes to standard output at once, so that a terminal never shows half of it.
void Put(std::string_view text) {
  if (!bWritten(standard_output, text)) throw std::system_error(errno, std::generic_category());
}

Clock::duration Time(double seconds) { return std::chrono::duration_cast<Clock::duration>(Seconds(seconds)); }

Watch::Watch(const Options& options)
    : options_(options),
      pictures_(options.plot || options.map),
      screen_(terminal_ && options.command.empty()),
      end_(options.time > 0 ? Clock::now() + Time(options.time) : Clock::time_point::max()),
      following_(options.file, Time(options.poll), screen_ ? Following::long_pause : Following::short_pause,
                 options.wait) {
  if (pictures_ && !terminal_) {
    Fail(
        "--plot and --map draw in a terminal, and standard output is none; 'dseries plot' and 'dseries map' "
        "draw to files");
  }
}

/// Throws Failure when the series cannot be drawn as is asked.
void Watch::CheckKind() {
  opened_ = true;
  const Series& series = following_.Current();
  const bool lines = dynamic_cast<const DataSeries<darr_c1DArray>*>(&series) != nullptr;
  if (options_.map && !(lines && series.DimensionArray().NumberDimensions() >= 2))
    Fail("a map needs a series of 1D data over 2 dimensions or more, which {} is not", options_.file);
  if (options_.plot) KnownDataType(options_.file);
}

/// Writes a line to standard error, or below the picture.
void Watch::Say(const std::string& text) {
  if (pictures_) {
    notice_ = text;
    noticed_ = Clock::now();
    return;
  }
  if (terminal_) Put("\r\x1b[K");
  Complain("{}", text);
}

std::string Watch::StatusText() {
  std::string text = "waiting for " + options_.file;
  if (following_.bOpen()) {
    const int data = following_.Current().NextWriteIndex(), slots = following_.Current().Size();
    text = fmt::format("{} of {}{}", data, Count(slots, "datum", "data"),
                       rate_.Text((options_.until > 0 ? std::min(options_.until, slots) : slots) - data));
  }
  if (!notice_.empty()) text += "; " + notice_;
  constexpr int usual = 80;
  const auto window = TerminalSize();
  return Shortened(Printable(text),
                   static_cast<std::size_t>(std::max((window ? window->columns : usual) - 1, 1)));
}

/// The lines of data, with headings before the first of them.
void Watch::PrintLines(int begin, int end) {
  if (begin == end) return;
  const Series& series = following_.Current();
  const bool first = !table_;
  if (first) table_.emplace(series, series.TagTypeID()).MeasureSlots();
  std::vector<int> readable;
  for (int i = begin; i < end; ++i) {
    try {
      table_->Measure(i);
      readable.push_back(i);
    } catch (const Failure& failure) {
      Say(failure.what());
    }
  }
  std::string text = terminal_ ? "\r\x1b[K" : "";
  if (first) text += table_->Text();
  for (const int i : readable) text += table_->Line(i);
  if (terminal_) text += StatusText();
  Put(text);
}

/// Adds a datum to the map of the first two dimensions at its place along the others.
void Watch::AddToMap(int i) {
  auto& series = dynamic_cast<DataSeries<darr_c1DArray>&>(following_.Current());
  const std::vector<int> index = VectorOf(series.DimensionArray().IndexPosition(i));
  std::vector<int> place(index.begin() + 2, index.end());
  if (!map_ || place != map_place_) {
    map_.emplace(series.DimensionArray(), 0, 1, options_.mapping);
    map_place_ = std::move(place);
  }
  try {
    map_->Add(series.Datum(i), i);
  } catch (const Failure& failure) {
    Say(failure.what());
  }
}

/// Shows data, or makes them part of the next picture.
void Watch::Show(int begin, int end) {
  if (!drawable_) return;
  if (!pictures_) return PrintLines(begin, end);
  for (int i = begin; options_.map && i < end; ++i) AddToMap(i);
}

/// Reports a command that fails and goes on, unless that ends the watch.
void Watch::RunCommand(int i) {
  if (terminal_ && !pictures_) Put("\r\x1b[K");
  const int status =
      RunInShell(options_.command, {{"DSERIES_FILE", options_.file}, {"DSERIES_DATUM", std::to_string(i)}});
  if (status == 0) return;
  const std::string text = fmt::format("the command for datum {} failed with status {}", i, status);
  if (options_.stop) Fail("{}", text);
  Say(text);
}

void Watch::Handle(const News& news) {
  constexpr std::chrono::seconds readable(10);
  if (news.kind == News::Data && Clock::now() - noticed_ > readable) notice_.clear();
  switch (news.kind) {
    case News::Nothing:
      return;
    case News::Data:
      break;
    case News::Reset:
    case News::Other:
      Say(options_.file + (news.kind == News::Reset ? " was reset"
                           : opened_                ? " is another file or series now"
                                                    : " is there now"));
      table_.reset();
      map_.reset();
      rate_ = {};
      try {
        CheckKind();
        drawable_ = true;
      } catch (const Failure& failure) {  // another one may take its place
        drawable_ = false;
        Say(failure.what());
      }
      break;
    case News::Cut:
      return Say(options_.file + " was cut within its data");
    case News::Removed:
      return Say(options_.file + " was removed");
    case News::Unusable:
      return Say(news.reason);
  }
  if (news.end > news.begin) rate_.Add(news.end - news.begin);
  if (options_.command.empty()) return Show(news.begin, news.end);
  for (int i = news.begin; i < news.end && Clock::now() < end_; ++i) {
    Show(i, i + 1);
    RunCommand(i);
  }
}

/// A picture that leaves the last row of the terminal free.
std::string Watch::Picture() try {
  constexpr int rows_below = 2;
  if (map_)
    return TerminalText(FigureOf(map_->Plane(), options_.drawing, map_->CaptionOf(options_.file)),
                        rows_below);
  const bool any = following_.bOpen() && following_.Current().NextWriteIndex() > 0;
  if (!any || !drawable_ || options_.map) return "";
  Series& series = following_.Current();
  const int newest = series.NextWriteIndex() - 1;
  const Labels labels = LabelsOf(options_.file);
  Caption caption{TitleOf(labels, options_.file), DatumText(series, newest), LabelText(labels.x, "position"),
                  LabelText(labels.value, "value"), LabelText(labels.value)};
  if (auto* lines = dynamic_cast<DataSeries<darr_c1DArray>*>(&series)) {
    return TerminalText(
        FigureOf({CurveOf(lines->Datum(newest), "", options_.drawing)}, options_.drawing, caption),
        rows_below);
  }
  caption.x_label = LabelText(labels.x, "x");
  caption.y_label = LabelText(labels.y, "y");
  auto& planes = dynamic_cast<DataSeries<darr_c2DArray>&>(series);
  return TerminalText(FigureOf(planes.Datum(newest), options_.drawing, caption), rows_below);
} catch (const Failure& failure) {
  return std::string(failure.what()) + '\n';
}

/// Draws the status line, or all of the screen: over what was there, because a cleared screen flickers.
void Watch::Draw() {
  std::string text = "\r" + StatusText() + "\x1b[K";
  if (pictures_) {
    std::string frame = "\x1b[H";
    for (const char c : Picture()) frame += c == '\n' ? "\x1b[K\n" : std::string(1, c);
    text = frame + text + "\x1b[J";
  }
  Put(text);
}

/// Why the watch is complete, or an empty text.
std::string Watch::Completed() {
  if (!following_.bOpen()) return "";
  const int data = following_.Current().NextWriteIndex(), slots = following_.Current().Size();
  if (data == slots) return fmt::format("{} is full: all of its {} slots are filled", options_.file, slots);
  if (options_.until == 0 || data < options_.until) return "";
  return fmt::format("{} holds {}", options_.file, Count(data, "datum", "data"));
}

std::string Watch::Run() {
  if (screen_) LetOthersRun();
  constexpr std::chrono::milliseconds shortest(40), longest(500);  // between two drawings
  if (following_.bOpen()) {
    CheckKind();
    const int n = following_.Current().NextWriteIndex();
    Show(options_.map ? 0 : std::max(n - options_.last, 0), n);
  } else {
    Say(fmt::format("there is no series {} yet; waiting", options_.file));
  }
  Clock::time_point drawn{}, due{};
  for (;;) {
    std::string complete = Completed();
    const Clock::time_point now = Clock::now();
    if (terminal_ && (now >= due || !complete.empty())) {
      Draw();
      drawn = now;
      due = now + longest;
    }
    if (!complete.empty()) return complete;
    if (now >= end_) return "";
    const News news = following_.Next(terminal_ ? std::min(due, end_) : end_);
    if (news.kind == News::Nothing) continue;
    Handle(news);
    due = std::min(due, drawn + shortest);
  }
}

}  // namespace

void AddWatch(CLI::App& program) {
  auto options = std::make_shared<Options>();
  CLI::App& command = *program.add_subcommand("watch", "Show data as they are appended by other programs");
  command.add_option("FILE", options->file, "The series file")->required();
  CLI::Option* plot = command.add_flag("--plot", options->plot, "Draw the newest datum, in a terminal");
  command.add_flag("--map", options->map, "Draw the map as it fills, as 'dseries map' does, in a terminal")
      ->excludes(plot);
  command.add_option("--last", options->last, "Begin with so many data that are there already; default 10")
      ->type_name("N")
      ->check(WholeNumber(0));
  command
      .add_option("--until", options->until,
                  "End when the series holds so many data; default: when it is full")
      ->type_name("N")
      ->check(WholeNumber(1));
  command
      .add_option("--for", options->time,
                  "End after this time, or when a command that is running then has ended")
      ->type_name("SECONDS")
      ->check(Number(0.001, 1e8));
  command.add_flag("--wait", options->wait, "Wait for the file if there is none yet");
  command
      .add_option(
          "--poll", options->poll,
          "How often to look for data where the system does not report changes, as on network drives; "
          "default 0.1")
      ->type_name("SECONDS")
      ->check(Number(0.001, 3600));
  CLI::Option* exec =
      command
          .add_option(
              "--exec", options->command,
              "Run this command line in the shell for each new datum, one after the other. The variables "
              "DSERIES_FILE and DSERIES_DATUM hold the name of the file and the linear index")
          ->type_name("COMMAND");
  command.add_flag("--stop", options->stop, "End when the command fails; default: report it and go on")
      ->needs(exec);
  AddMapping(command, options->mapping);
  AddColors(command, options->drawing);
  command.remove_option(command.get_option("--stretch"));  // is for files
  AddLabels(command, options->drawing);
  command.footer(
      "Writers are never kept waiting. A reset, the removal of the file and another\n"
      "file in its place are reported, and the watch goes on with what is there. A\n"
      "table is written line by line, also into pipes; of data that come very fast the\n"
      "pictures show the newest.\n\n"
      "Example: each datum as a line, then a map that fills\n"
      "  dseries watch spectra.dseries\n"
      "  dseries watch sst.dseries --map --value mean\n"
      "A text file for each datum\n"
      "  dseries watch spectra.dseries --last 0 \\\n"
      "    --exec 'dseries get \"$DSERIES_FILE\" $DSERIES_DATUM -o $DSERIES_DATUM.txt'");
  command.callback([options, &command] {
    const auto need = [&](bool given, const char* wanted, std::initializer_list<const char*> names) {
      for (const char* name : names)
        if (!given && command.count(name) > 0)
          throw CLI::ValidationError(fmt::format("{} needs {}", name, wanted));
    };
    need(options->map, "--map", {"--value", "--from", "--to", "--cells"});
    need(options->map || options->plot, "--plot or --map",
         {"--contrast", "--colors", "--x-label", "--y-label", "--z-label", "--log"});
    std::string end = Watch(*options).Run();
    if (!end.empty()) Complain("{}", end);
  });
}

}  // namespace dseries
