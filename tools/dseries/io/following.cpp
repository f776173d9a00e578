#include "io/following.h"

#include <algorithm>
#include <thread>
#include <utility>

#include "file/header.h"
#include "file/kinds.h"

namespace dseries {

namespace {

using namespace std::chrono_literals;

constexpr auto fast = 500us;    ///< from one datum to the next
constexpr auto a_while = 20ms;  ///< for counting data
constexpr auto patience = 1s;   ///< with a file that is no whole series, because it may be in the making

std::unique_ptr<Series> Opened(const std::string& path) {
  const unsigned int type = ReadHeader(path).dataType;
  if (!bKnownDataType(type)) return std::make_unique<Series>(path);
  return VisitDataType(type, [&]<class Array>(std::type_identity<Array>) -> std::unique_ptr<Series> {
    return std::make_unique<DataSeries<Array>>(path, bstr_OpenReadOnly);
  });
}

}  // namespace

Following::Following(std::string path, Clock::duration poll, Clock::duration pause, bool wait)
    : path_(std::move(path)), poll_(poll), pause_(pause) {
  if (bOpened()) return;
  if (!wait) throw Failure(reason_);
  changes_.emplace(path_);
}

bool Following::bOpened() {
  try {
    series_ = Opened(path_);
  } catch (const Failure& failure) {
    reason_ = failure.what();
    return false;
  }
  changes_.emplace(path_);
  last_ = News::Nothing;
  unusable_since_.reset();
  return true;
}

/// Decides over a while whether data come fast, since a follower that was held up sees several at once.
void Following::CountData(int data) {
  data_ += data;
  const Clock::time_point now = Clock::now();
  if (now - since_ < a_while) return;
  fast_ = now - since_ < fast * data_;
  since_ = now;
  data_ = 0;
}

News Following::Once(News::Kind kind) {
  if (std::exchange(last_, kind) == kind) return {};
  return {kind, 0, 0, reason_};
}

News Following::Look() {
  const int before = series_ == nullptr ? 0 : series_->NextWriteIndex();
  const dtsr_eRefreshed found = series_ == nullptr ? dtsr_Replaced : series_->Refresh();
  switch (found) {
    case dtsr_NothingNew:
      last_ = News::Nothing;
      return {};
    case dtsr_Appended:
    case dtsr_Reset: {
      const int begin = found == dtsr_Appended ? before : 0, end = series_->NextWriteIndex();
      CountData(end - begin);
      return {found == dtsr_Appended ? News::Data : News::Reset, begin, end, ""};
    }
    case dtsr_Cut:
      return Once(News::Cut);
    case dtsr_Removed:
      unusable_since_.reset();
      return Once(News::Removed);
    case dtsr_Replaced:
      break;
  }
  if (bOpened()) return {News::Other, 0, series_->NextWriteIndex(), ""};
  const Clock::time_point now = Clock::now();
  if (!bExists(path_) || !unusable_since_) unusable_since_ = now;
  return now - *unusable_since_ < patience ? News() : Once(News::Unusable);
}

News Following::Next(Clock::time_point until) {
  if (std::exchange(pauses_, false)) {
    std::this_thread::sleep_until(std::min(until, Clock::now() + (fast_ ? long_pause : pause_)));
  }
  for (bool woken = false;;) {
    if (News news = Look(); news.kind != News::Nothing) {
      pauses_ = true;
      return news;
    }
    if (std::exchange(woken, false)) std::this_thread::sleep_for(short_pause);  // an append is in progress
    const Clock::time_point now = Clock::now();
    if (now >= until) return {};
    if (changes_->bArmed()) continue;  // to look for what came before
    woken = changes_->bChanged(std::min(poll_, until - now));
  }
}

}  // namespace dseries
