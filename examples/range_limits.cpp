#include <iostream>

#include <DataStorage/interfaces/constants.h>
#include <DataStorage/positions/range1d.h>

std::ostream& operator<<(std::ostream& out, const rnge_c1DRange& range) {
  return out << range.StartX() << " to " << range.EndX() << " um";
}

/// Keeps scans within the travel of a stage.
class TravelLimit : public mesg_cReceiver {
 public:
  void ReceiveMessage(unsigned long id, mesg_cSender& /*scan*/, mesg_sMessageData* data) override {
    if (id != rnge_1DRangeChanging) return;
    auto& change = static_cast<rnge_s1DRangeChange&>(*data);
    change.Modified = !travel_.Contains(change.NewRange);
    if (change.Modified) change.NewRange = change.NewRange & travel_;
  }

 private:
  const rnge_c1DRange travel_{0.0, 100.0};
};

/// Tells what a scan has become.
class Display : public mesg_cReceiver {
 public:
  void ReceiveMessage(unsigned long id, mesg_cSender& /*scan*/, mesg_sMessageData* data) override {
    if (id != rnge_1DRangeChanged) return;
    const auto& change = static_cast<const rnge_s1DRangeChange&>(*data);
    std::cout << "  from " << change.OldRange << " becomes " << change.NewRange << '\n';
  }
};

int main() {
  rnge_c1DRange scan(10.0, 30.0);
  TravelLimit limit;
  Display display;
  scan.AddReceiver(limit, 0);
  scan.AddReceiver(display, 1);

  std::cout << "asked for 20 to 60:\n";
  scan.SetRange(20.0, 60.0);
  std::cout << "asked for the centre 90:\n";
  scan.SetCenter(90.0);
  std::cout << "moved by its centre:\n";
  scan.Center().SetX(50.0);

  scan.RemoveReceiver(limit);
  std::cout << "without the limit:\n";
  scan.SetSizeX(300.0);
}
