#include <cmath>
#include <fmt/format.h>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "commands.h"
#include "failure.h"
#include "format.h"
#include "header.h"
#include "series.h"
#include "show.h"
#include <DataStorage/interfaces/constants.h>

namespace dseries {

namespace {

struct Options {
  std::string file;
  std::vector<double> at;
  std::string time;
};

/// The position nearest to one at which nothing was found, for those who typed it rounded.
std::string Nearest(const Series& series, double x, double y) {
  double least = std::numeric_limits<double>::infinity();
  std::string nearest = "there are no data";
  dtsr_c2DPosition tag;
  for (int i = 0; i < series.NextWriteIndex(); ++i) {
    series.GetTag(i, tag);
    const double distance = std::hypot(tag.X() - x, tag.Y() - y);
    if (distance < least) {
      least = distance;
      nearest = fmt::format("the nearest is at {},{}", tag.X(), tag.Y());
    }
  }
  return nearest;
}

void Find(const Options& options) {
  const Series series(options.file);
  const bool positions = !options.at.empty(), times = !options.time.empty();
  const unsigned int wanted = positions ? obty_2DPositionType : obty_DataTagType;
  const unsigned int present = series.TagTypeID();
  if (present != 0 && present != wanted) {
    MakeTag(present);  // complains of kinds that are unknown
    Fail("the data in {} are tagged with {}; find them by {}", options.file, TagTypeName(present),
         positions ? "--time" : "--at");
  }
  const long time = times ? ParseTime(options.time) : 0;
  int i;
  if (positions) {
    i = series.DataIndex(dtsr_c2DPosition(options.at[0], options.at[1], time), times);
    if (i < 0) {
      Fail("no datum of {} is tagged with {},{}{}; {}", options.file, options.at[0], options.at[1],
           times ? " at that time" : "", Nearest(series, options.at[0], options.at[1]));
    }
  } else {
    i = series.DataIndex(dtsr_cDataTag(time), true);
    if (i < 0) Fail("no datum of {} was taken at {}", options.file, TimeText(time));
  }
  DatumTable table(series, present);
  table.Row(i);
  fmt::print("{}", table.Text());
}

}  // namespace

void AddFind(CLI::App& program) {
  auto options = std::make_shared<Options>();
  CLI::App& command = *program.add_subcommand("find", "Find the first datum with a tag");
  command.add_option("FILE", options->file, "The series file")->required();
  CLI::Option* at = command.add_option("--at", options->at, "Where the datum was taken, exactly")
                        ->type_name("X,Y")
                        ->delimiter(',')
                        ->expected(2);
  CLI::Option* time =
      command.add_option("--time", options->time, "When it was taken: ISO 8601 or seconds since 1970")
          ->type_name("TIME");
  command.footer("Example:\n  dseries find sst.dseries --at 181,1");
  command.callback([=] {
    if (at->count() + time->count() == 0) throw CLI::RequiredError("--at or --time");
    Find(*options);
  });
}

}  // namespace dseries
