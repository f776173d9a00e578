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
/// An append is seen within a millisecond where the system reports changes of files, and after `poll` at the
/// latest elsewhere. Data that come faster than that are seen up to 50 ms later, many at a time, which takes
/// nothing from the process that writes.
class Following {
 public:
  using Clock = std::chrono::steady_clock;
  static constexpr std::chrono::milliseconds usual_poll{100};

  /// Opens the series; data that it holds are not new. Throws Failure when it cannot be opened; a file that
  /// is missing or not whole may appear later if `wait` is true, as News::Other.
  explicit Following(std::string path, Clock::duration poll = usual_poll, bool wait = false);

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
  News Once(News::Kind kind);

  std::string path_;
  Clock::duration poll_;
  std::unique_ptr<Series> series_;
  std::optional<FileChanges> changes_;
  std::chrono::microseconds pause_;  ///< after news, while the writers are not delayed by reports
  bool pauses_ = false;
  News::Kind last_ = News::Nothing;
  std::string reason_;  ///< why the file could not be opened
  std::optional<Clock::time_point> unusable_since_;
};

}  // namespace dseries
