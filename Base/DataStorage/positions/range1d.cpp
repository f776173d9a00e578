#include <DataStorage/interfaces/expt.h>
#include <DataStorage/positions/change.h>
#include <DataStorage/positions/range1d.h>

namespace {

constexpr detail::SourceFile source_file{"range1d"};
constexpr detail::ChangeMessages messages{rnge_1DRangeChanging, rnge_1DRangeChanged};

}  // namespace

template class detail::Persistent<rnge_c1DRange>;

rnge_s1DRangeChange::~rnge_s1DRangeChange() = default;

rnge_c1DRange::rnge_c1DRange(const rnge_c1DIndexRange& indices, const cal_c1DArrayCal& cal) noexcept
    : rnge_c1DRange(
          detail::Interval{cal.PositionX(indices.StartIndexX()), cal.PositionX(indices.EndIndexX())}) {}

rnge_c1DRange& rnge_c1DRange::operator=(const rnge_c1DRange& other) {
  if (this != &other) SetRange(other.start_, other.end_);
  return *this;
}

pos_c1DPosition& rnge_c1DRange::Center() {
  if (!attached_) center_.AddReceiver(*this, 0xFFFF);
  attached_ = true;
  return center_;
}

void rnge_c1DRange::MoveCenter(const pos_c1DPosition& center) {
  if (!detail::bExactly(*this)) Center();  // a derived range may want to hear of it
  const detail::ScopedValue updating(updating_, true);
  if (center_ == center && !center_.bHasReceiversBeside(*this)) center_.x_ = center.x_;  // the sign of a zero
  center_ = center;
}

void rnge_c1DRange::SetRange(double a, double b) {
  if (a == start_ && b == end_) {
    if (bHasReceivers() || center_.bHasReceiversBeside(*this)) return;
    start_ = a;  // the same but for the signs of zeros
    end_ = b;
    if (const pos_c1DPosition center((a + b) * 0.5); center == center_) MoveCenter(center);
    return;
  }
  const pos_c1DPosition oldCenter = center_;
  rnge_s1DRangeChange change(*this, {a, b});
  const auto fit = [&] {
    const pos_c1DPosition wanted = change.NewRange.center_;
    MoveCenter(wanted);
    if (!detail::bSameCoordinate(center_.X(), wanted.X())) change.NewRange.SetCenter(center_.X());
  };
  const auto undo = [&] { MoveCenter(oldCenter); };
  const auto adopt = [&] {
    start_ = change.NewRange.start_;
    end_ = change.NewRange.end_;
  };
  if (!detail::Negotiate(*this, messages, change, fit, undo, adopt))
    source_file.ThrowUserError("1D range limit incompatible with center limit.");
}

void rnge_c1DRange::SetCenter(double center) {
  const double size = SizeX(), start = center - 0.5 * size;
  SetRange(start, start + size);
}

void rnge_c1DRange::SetSizeX(double size) {
  const double start = CenterX() - 0.5 * size;
  SetRange(start, start + size);
}

void rnge_c1DRange::ReceiveMessage(unsigned long id, mesg_cSender& sender, mesg_sMessageData* data) {
  if (updating_ || &sender != &center_ || (id != pos_1DPositionChanging && id != pos_1DPositionChanged))
    return;
  auto& move = static_cast<pos_s1DPositionChange&>(*data);
  const double d = move.NewPosition.X() - move.OldPosition.X();
  rnge_s1DRangeChange change(*this, {start_ + d, end_ + d});
  if (id == pos_1DPositionChanged) {
    start_ += d;
    end_ += d;
    SendMessage(messages.changed, &change);
  } else if (!move.Modified) {
    SendMessage(messages.changing, &change);
    if (!change.Modified) return;
    move.NewPosition.SetX(change.NewRange.CenterX());
    move.Modified = true;
  }
}

rnge_c1DRange rnge_c1DRange::operator&(const rnge_c1DRange& other) const noexcept {
  const auto both = detail::Overlap(Ends(), other.Ends());
  return both ? rnge_c1DRange(*both) : Null;
}

rnge_c1DRange operator|(const rnge_c1DRange& a, const rnge_c1DRange& b) noexcept {
  return {b.StartX() < a.StartX() ? b.StartX() : a.StartX(), b.EndX() > a.EndX() ? b.EndX() : a.EndX()};
}
rnge_c1DRange operator|(const rnge_c1DRange& range, const pos_c1DPosition& position) noexcept {
  return range | rnge_c1DRange(position.X(), position.X());
}
rnge_c1DRange operator|(const pos_c1DPosition& position, const rnge_c1DRange& range) noexcept {
  return range | position;
}

rnge_c1DIndexRange::rnge_c1DIndexRange(const rnge_c1DRange& range, const cal_c1DArrayCal& cal,
                                       rnge_eIndexSelect select) noexcept
    : rnge_c1DIndexRange(detail::SelectIndices(range.StartX(), range.EndX(), cal.AxisX(), select)) {}
