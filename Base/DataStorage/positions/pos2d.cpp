#include <cfloat>
#include <cmath>

#include <DataStorage/positions/detail/change.h>
#include <DataStorage/positions/pos2d.h>

namespace {

constexpr detail::ChangeMessages messages{pos_2DPositionChanging, pos_2DPositionChanged};

}  // namespace

constinit const tgio_cObjectType pos_c2DPosition::_ObjectType(obty_2DPositionString, obty_2DPositionType);
constinit const pos_c2DPosition pos_c2DPosition::Null;

template class DATASTORAGE_INSTANCE detail::Persistent<pos_c2DPosition>;

pos_s2DPositionChange::~pos_s2DPositionChange() = default;

pos_c2DPosition& pos_c2DPosition::operator=(const pos_c2DPosition& other) {
  if (this != &other) SetPosition(other.x_, other.y_);
  return *this;
}

void pos_c2DPosition::SetPosition(double x, double y) {
  const bool same = x == x_ && y == y_;
  if (!bHasReceivers() && (same || detail::bExactly(*this)))
    return Take(x, y);  // a zero may get another sign
  if (same) return;
  pos_s2DPositionChange change(*this, x, y);
  detail::Announce(*this, messages, change, [&] {
    if (change.Modified) return Take(change.NewPosition);
    Take(x, y);
    change.NewPosition.Take(x, y);  // drops changes without Modified
  });
}

void pos_c2DPosition::Move(double dx, double dy) { SetPosition(x_ + dx, y_ + dy); }

double pos_Distance(const pos_c2DPosition& a, const pos_c2DPosition& b) noexcept {
  return std::hypot(b.X() - a.X(), b.Y() - a.Y());
}

double pos_Angle(const pos_c2DPosition& a, const pos_c2DPosition& b) noexcept {
  const double dx = b.X() - a.X(), dy = b.Y() - a.Y();
  return std::abs(dx) < DBL_MIN && std::abs(dy) < DBL_MIN ? 0.0 : std::atan2(dy, dx);
}
