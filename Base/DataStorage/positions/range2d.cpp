#include <DataStorage/interfaces/expt.h>
#include <DataStorage/positions/change.h>
#include <DataStorage/positions/range2d.h>

namespace {

constexpr detail::SourceFile source_file{"range2d"};
constexpr detail::ChangeMessages messages{rnge_2DRangeChanging, rnge_2DRangeChanged};

/// The interval between two positions in this order.
detail::CenteredInterval FromTo(double from, double to) { return {(from + to) * 0.5, to - from}; }

}  // namespace

template class detail::Persistent<rnge_c2DRange>;

rnge_s2DRangeChange::~rnge_s2DRangeChange() = default;

rnge_c2DRange::rnge_c2DRange(const rnge_c2DIndexRange& indices, const cal_c2DArrayCal& cal) noexcept
    : rnge_c2DRange(FromTo(cal.PositionX(indices.StartIndexX()), cal.PositionX(indices.EndIndexX())),
                    FromTo(cal.PositionY(indices.StartIndexY()), cal.PositionY(indices.EndIndexY()))) {}

rnge_c2DRange& rnge_c2DRange::operator=(const rnge_c2DRange& other) {
  if (this != &other) SetRange(other.xcenter_, other.ycenter_, other.xwidth_, other.ywidth_, other.angle_);
  return *this;
}

pos_c2DPosition& rnge_c2DRange::Center() {
  if (!attached_) center_.AddReceiver(*this, 0xFFFF);
  attached_ = true;
  return center_;
}

void rnge_c2DRange::MoveCenter(const pos_c2DPosition& center) {
  if (!detail::bExactly(*this)) Center();  // a derived range may want to hear of it
  const detail::ScopedValue updating(updating_, true);
  if (center_ == center && !center_.bHasReceiversBeside(*this))
    center_.Take(center.X(), center.Y());  // the signs of zeros
  center_ = center;
}

void rnge_c2DRange::SetRange(double xcenter, double ycenter, double xwidth, double ywidth, double angle) {
  if (xcenter == xcenter_ && ycenter == ycenter_ && xwidth == xwidth_ && ywidth == ywidth_ &&
      angle == angle_) {
    if (bHasReceivers() || center_.bHasReceiversBeside(*this)) return;
    xcenter_ = xcenter;  // the same but for the signs of zeros
    ycenter_ = ycenter;
    xwidth_ = xwidth;
    ywidth_ = ywidth;
    angle_ = angle;
    if (const pos_c2DPosition center(xcenter, ycenter); center == center_) MoveCenter(center);
    return;
  }
  const pos_c2DPosition oldCenter = center_;
  rnge_s2DRangeChange change(*this, {xcenter, ycenter, xwidth, ywidth, angle});
  const auto fit = [&] {
    const pos_c2DPosition wanted = change.NewRange.center_;
    MoveCenter(wanted);
    if (!detail::bSameCoordinate(center_.X(), wanted.X()) ||
        !detail::bSameCoordinate(center_.Y(), wanted.Y()))
      change.NewRange.SetCenter(center_.X(), center_.Y());
  };
  const auto undo = [&] { MoveCenter(oldCenter); };
  const auto adopt = [&] {
    xcenter_ = change.NewRange.xcenter_;
    ycenter_ = change.NewRange.ycenter_;
    xwidth_ = change.NewRange.xwidth_;
    ywidth_ = change.NewRange.ywidth_;
    angle_ = change.NewRange.angle_;
  };
  if (!detail::Negotiate(*this, messages, change, fit, undo, adopt))
    source_file.ThrowUserError("2D range limit incompatible with center limit.");
}

void rnge_c2DRange::SetRange(double x1, double y1, double x2, double y2) {
  const rnge_c2DRange range(x1, y1, x2, y2);
  SetRange(range.xcenter_, range.ycenter_, range.xwidth_, range.ywidth_, 0.0);
}
void rnge_c2DRange::SetSize(double xwidth, double ywidth) {
  SetRange(xcenter_, ycenter_, xwidth, ywidth, angle_);
}
void rnge_c2DRange::SetCenter(double x, double y) { SetRange(x, y, xwidth_, ywidth_, angle_); }
void rnge_c2DRange::SetAngle(double angle) { SetRange(xcenter_, ycenter_, xwidth_, ywidth_, angle); }
void rnge_c2DRange::Move(double dx, double dy) { SetCenter(xcenter_ + dx, ycenter_ + dy); }

void rnge_c2DRange::ReceiveMessage(unsigned long id, mesg_cSender& sender, mesg_sMessageData* data) {
  if (updating_ || &sender != &center_ || (id != pos_2DPositionChanging && id != pos_2DPositionChanged))
    return;
  auto& move = static_cast<pos_s2DPositionChange&>(*data);
  const pos_c2DPosition d = move.NewPosition - move.OldPosition;
  rnge_s2DRangeChange change(*this, {xcenter_ + d.X(), ycenter_ + d.Y(), xwidth_, ywidth_, angle_});
  if (id == pos_2DPositionChanged) {
    xcenter_ += d.X();
    ycenter_ += d.Y();
    SendMessage(messages.changed, &change);
  } else if (!move.Modified) {
    SendMessage(messages.changing, &change);
    if (!change.Modified) return;
    move.NewPosition.SetPosition(change.NewRange.xcenter_, change.NewRange.ycenter_);
    move.Modified = true;
  }
}

double rnge_c2DRange::Top() const noexcept {
  if (bAxisAligned()) return SideY().End();
  return ycenter_ + 0.5 * (ywidth_ * std::cos(angle_) + xwidth_ * std::sin(angle_));
}
double rnge_c2DRange::Bottom() const noexcept {
  if (bAxisAligned()) return SideY().Start();
  return ycenter_ - 0.5 * (ywidth_ * std::cos(angle_) + xwidth_ * std::sin(angle_));
}
double rnge_c2DRange::Left() const noexcept {
  if (bAxisAligned()) return SideX().Start();
  return xcenter_ - 0.5 * (ywidth_ * std::sin(angle_) + xwidth_ * std::cos(angle_));
}
double rnge_c2DRange::Right() const noexcept {
  if (bAxisAligned()) return SideX().End();
  return xcenter_ + 0.5 * (ywidth_ * std::sin(angle_) + xwidth_ * std::cos(angle_));
}
double rnge_c2DRange::TopX() const noexcept {
  return bAxisAligned() ? Left() : Left() + xwidth_ * std::cos(angle_);
}
double rnge_c2DRange::LeftY() const noexcept {
  return bAxisAligned() ? Bottom() : Bottom() + ywidth_ * std::cos(angle_);
}
double rnge_c2DRange::BottomX() const noexcept {
  return bAxisAligned() ? Right() : Right() - xwidth_ * std::cos(angle_);
}
double rnge_c2DRange::RightY() const noexcept {
  return bAxisAligned() ? Top() : Top() - ywidth_ * std::cos(angle_);
}

type_cBoolean rnge_c2DRange::Contains(double x, double y) const noexcept {
  if (bAxisAligned()) return SideX().bContains(x) && SideY().bContains(y);
  const double dx = x - xcenter_, dy = y - ycenter_, c = std::cos(angle_), s = std::sin(angle_);
  const double u = dx * c + dy * s, v = -dx * s + dy * c;
  return -xwidth_ / 2 <= u && u <= xwidth_ / 2 && -ywidth_ / 2 <= v && v <= ywidth_ / 2;
}

type_cBoolean rnge_c2DRange::Contains(const rnge_c2DRange& other) const noexcept {
  return Contains(other.Left(), other.LeftY()) && Contains(other.TopX(), other.Top()) &&
         Contains(other.Right(), other.RightY()) && Contains(other.BottomX(), other.Bottom());
}

type_cBoolean rnge_c2DRange::Intersects(const rnge_c2DRange& other) const noexcept {
  return (*this & other) != Null;
}

int rnge_c2DRange::operator==(const rnge_c2DRange& other) const noexcept {
  return SideX().bEquals(other.SideX()) && SideY().bEquals(other.SideY()) &&
         std::abs(angle_ - other.angle_) < 1e-6;
}

rnge_c2DRange rnge_c2DRange::operator&(const rnge_c2DRange& other) const noexcept {
  if (!bAxisAligned() || !other.bAxisAligned()) return Null;
  const auto x = detail::Overlap(SideX().Ends(), other.SideX().Ends());
  const auto y = detail::Overlap(SideY().Ends(), other.SideY().Ends());
  if (!x || !y) return Null;
  return {x->start, y->start, x->end, y->end};
}

rnge_c2DRange operator|(const rnge_c2DRange& a, const rnge_c2DRange& b) noexcept {
  if (!a.bAxisAligned() || !b.bAxisAligned()) return rnge_c2DRange::Null;
  return {a.SideX().Hull(b.SideX()), a.SideY().Hull(b.SideY())};
}
rnge_c2DRange operator|(const rnge_c2DRange& range, const pos_c2DPosition& position) noexcept {
  return range | rnge_c2DRange(position.X(), position.Y(), 0, 0, 0);
}
rnge_c2DRange operator|(const pos_c2DPosition& position, const rnge_c2DRange& range) noexcept {
  return range | position;
}

rnge_c2DIndexRange::rnge_c2DIndexRange(const rnge_c2DRange& range, const cal_c2DArrayCal& cal,
                                       rnge_eIndexSelect select) noexcept {
  const auto x = detail::SelectIndices(range.Left(), range.Right(), cal.AxisX(), select);
  const auto y = detail::SelectIndices(range.Bottom(), range.Top(), cal.AxisY(), select);
  startX_ = x.start;
  startY_ = y.start;
  endX_ = x.end;
  endY_ = y.end;
}
