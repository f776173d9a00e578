// The protocol of a position, written for nothing else: receivers in a vector, none of which may come or go
// while a message is delivered.

#include <memory>
#include <vector>

#include "../messages.h"

namespace {

class Receiver {
 public:
  virtual ~Receiver() = default;
  virtual void Receive(unsigned long id, PlainChange* change) = 0;
};

struct Counter final : Receiver {
  void Receive(unsigned long id, PlainChange*) override { sum += id; }
  unsigned long sum = 0;
};
struct Limit final : Receiver {
  void Receive(unsigned long, PlainChange* change) override { change->modified = change->to[0] > 1e300; }
};

std::unique_ptr<Receiver> New(bool limit) {
  if (limit) return std::make_unique<Limit>();
  return std::make_unique<Counter>();
}

class PlainSender {
 public:
  explicit PlainSender(std::size_t receivers) {
    bool limit = false;  // the compiler does not see that all of them are counters
    for (std::size_t i = 0; i < receivers; ++i) receivers_.push_back(New(Opaque(limit)));
  }
  void Send(unsigned long id) { Send(id, nullptr); }
  void Change(double x) {
    if (x == position_[0] && position_[1] == 0) return;
    PlainChange change{{position_[0], position_[1]}, {x, 0}, false};
    Send(1, &change);
    position_[0] = change.modified ? change.to[0] : x;
    position_[1] = change.modified ? change.to[1] : 0;
    Send(2, &change);
  }

 private:
  void Send(unsigned long id, PlainChange* change) {
    for (const auto& each : receivers_) each->Receive(id, change);
  }

  std::vector<std::unique_ptr<Receiver>> receivers_;
  double position_[2] = {0, 0};
};

[[maybe_unused]] const bool registered = [] {
  RegisterMessages<PlainSender>("limit");
  return true;
}();

}  // namespace
