#include <boost/signals2/dummy_mutex.hpp>
#include <boost/signals2/signal_type.hpp>

#include "../messages.h"

namespace {

/// A signal for one thread, like our messages.
using Signal =
    boost::signals2::signal_type<void(unsigned long, PlainChange*),
                                 boost::signals2::keywords::mutex_type<boost::signals2::dummy_mutex>>::type;

[[maybe_unused]] const bool registered = [] {
  RegisterMessages<SignalSender<Signal>>("boost_signals2");
  return true;
}();

}  // namespace
