#include <sigc++/sigc++.h>

#include "../messages.h"

namespace {

[[maybe_unused]] const bool registered = [] {
  RegisterMessages<SignalSender<sigc::signal<void, unsigned long, PlainChange*>>>("libsigc++");
  return true;
}();

}  // namespace
