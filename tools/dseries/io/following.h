#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "file/series.h"
#include "io/system.h"

namespace dseries {

/// What has happened to a series file.
struct News {
  enum Kind {
    Nothing,
    Data,      ///< more data
    Reset,     ///< the series was emptied; all data are new
    Other,     ///< another file or series has the name and was opened; all data are new
    Cut,       ///< the file ends before the newest datum; intact data can still be read
    Removed,   ///< no file has the name; the old one is still open
    Unusable,  ///< what has the name has been no whole series for a second; `reason` says why
  };

  Kind kind = Nothing;
  int begin = 0, end = 0;  ///< the new data
  std::string reason;
};

/// Follows the series file of a name while others write, reset, remove and replace it. Never locks or writes.
///
/// Where the system reports changes of files, a datum is seen within a millisecond or, if another one came
/// less than a pause before, after that; elsewhere after `poll` at the latest. A report costs the process
/// that writes some 20 us for each follower, and there are none during pauses. Many followers take long
/// pauses therefore, as does each one of data that come faster than 2000 in a second.
class Following {
 public:
  using Clock = std::chrono::steady_clock;
  static constexpr std::chrono::milliseconds usual_poll{100};
  static constexpr std::chrono::microseconds short_pause{200}, long_pause{50'000};

  /// Opens the series; data that it holds are not new. Throws Failure when it cannot be opened; a file that
  /// is missing or not whole may appear later if `wait` is true, as News::Other.
  explicit Following(std::string path, Clock::duration poll = usual_poll, Clock::duration pause = short_pause,
                     bool wait = false);

  /// Waits for news, or until this time. Everything but data is returned once.
  News Next(Clock::time_point until);

  /// Whether there is a series; not before the first one was found.
  bool bOpen() const { return series_ != nullptr; }
  /// The series as it is when Next has returned, a DataSeries if the kind of its data is known. Requires
  /// bOpen().
  Series& Current() { return *series_; }

 private:
  News Look();
  bool bOpened();
  void CountData(int data);
  News Once(News::Kind kind);

  std::string path_;
  Clock::duration poll_, pause_;
  std::unique_ptr<Series> series_;
  std::optional<FileChanges> changes_;
  bool fast_ = false;        ///< data come fast
  bool pauses_ = false;      ///< before the next look
  Clock::time_point since_;  ///< when the counting of data began
  int data_ = 0;
  News::Kind last_ = News::Nothing;
  std::string reason_;  ///< why the file could not be opened
  std::optional<Clock::time_point> unusable_since_;
};

}  // namespace dseries
