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
    rnge_c1DRange& scan = change.NewRange;
    change.Modified = !travel_.Contains(scan);
    if (!change.Modified) return;

    const double size = scan.SizeX();
    if (!(scan.StartX() < travel_.EndX() && scan.EndX() > travel_.StartX())) {
      scan = change.OldRange;  // outside the travel, or not a number: refused
    } else if (size > travel_.SizeX()) {
      scan = travel_;
    } else if (scan.StartX() < travel_.StartX()) {  // moved back, not cut: a scan that is moved by its centre
      scan.SetRange(travel_.StartX(), travel_.StartX() + size);  // keeps its size, whatever is proposed here
    } else {
      scan.SetRange(travel_.EndX() - size, travel_.EndX());
    }
  }

 private:
  const rnge_c1DRange travel_{0.0, 100.0};
};

/// Prints the changes of a scan.
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
  std::cout << "moved by its centre to 5:\n";
  scan.Center().SetX(5.0);
  std::cout << "asked for 500 to 600:\n";
  scan.SetRange(500.0, 600.0);
  std::cout << "asked for a size of 300:\n";
  scan.SetSizeX(300.0);
}
