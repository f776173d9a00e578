#include <DataStorage/positions/detail/change.h>
#include <DataStorage/positions/pos1d.h>

namespace {

constexpr detail::ChangeMessages messages{pos_1DPositionChanging, pos_1DPositionChanged};

}  // namespace

constinit const tgio_cObjectType pos_c1DPosition::_ObjectType(obty_1DPositionString, obty_1DPositionType);
constinit const pos_c1DPosition pos_c1DPosition::Null;

template class DATASTORAGE_INSTANCE detail::Persistent<pos_c1DPosition>;

pos_s1DPositionChange::~pos_s1DPositionChange() = default;

pos_c1DPosition& pos_c1DPosition::operator=(const pos_c1DPosition& other) {
  if (this != &other) SetX(other.x_);
  return *this;
}

void pos_c1DPosition::SetX(double x) {
  if (!bHasReceivers() &&
      (x == x_ || detail::bExactly(*this))) {  // also when only the sign of a zero changes
    x_ = x;
    return;
  }
  if (x == x_) return;
  pos_s1DPositionChange change(*this, x);
  detail::Announce(*this, messages, change, [&] {
    if (!change.Modified) change.NewPosition.x_ = x;  // drops changes without Modified
    Take(change.NewPosition);
  });
}
