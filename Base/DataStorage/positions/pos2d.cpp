#include <DataStorage/interfaces/atoms.h>
#include <DataStorage/positions/change.h>
#include <DataStorage/positions/pos2d.h>

namespace {

constexpr detail::ChangeMessages messages{pos_2DPositionChanging, pos_2DPositionChanged};

using Data = pos_c2DPosition::sPositionData;

std::array<detail::DoubleAtom, 2> Atoms(Data& data) {
  return {{{{pos_X_Tag, pos_X_String}, &data.X}, {{pos_Y_Tag, pos_Y_String}, &data.Y}}};
}

template <class Stream>
bool Read(Stream& in, pos_c2DPosition& position) {
  Data data;
  if (!data.Read(in)) return false;
  position.SetPosition(data.X, data.Y);
  return true;
}

template <class Stream>
bool Write(Stream& out, const pos_c2DPosition& position) {
  Data data;
  data.X = position.X();
  data.Y = position.Y();
  return detail::WriteDoubles(out, Atoms(data));
}

}  // namespace

pos_s2DPositionChange::~pos_s2DPositionChange() = default;

type_cBoolean pos_c2DPosition::sPositionData::ReadAtom(tgio_cBinary_istream& in) {
  return detail::ReadDouble(in, Atoms(*this)) || tgio_cTaggedStreamObject::ReadAtom(in);
}
type_cBoolean pos_c2DPosition::sPositionData::ReadAtom(tgio_cASCII_istream& in) {
  return detail::ReadDouble(in, Atoms(*this)) || tgio_cTaggedStreamObject::ReadAtom(in);
}

pos_c2DPosition& pos_c2DPosition::operator=(const pos_c2DPosition& other) {
  if (this != &other) SetPosition(other.x_, other.y_);
  return *this;
}

void pos_c2DPosition::SetPosition(double x, double y) {
  const bool same = x == x_ && y == y_;
  if (!bHasReceivers() && (same || detail::bExactly(*this)))
    return Take(x, y);  // same: but for a zero's sign
  if (same) return;
  pos_s2DPositionChange change(*this, {x, y});
  detail::Announce(*this, messages, change, [&] {
    if (change.Modified) return Take(change.NewPosition.x_, change.NewPosition.y_);
    Take(x, y);
    change.NewPosition.Take(x, y);  // a receiver may have rewritten it without saying so
  });
}

void pos_c2DPosition::Move(double dx, double dy) { SetPosition(x_ + dx, y_ + dy); }

type_cBoolean pos_c2DPosition::Read(tgio_cASCII_istream& in) { return ::Read(in, *this); }
type_cBoolean pos_c2DPosition::Read(tgio_cBinary_istream& in) { return ::Read(in, *this); }
type_cBoolean pos_c2DPosition::Write(tgio_cASCII_ostream& out) const { return ::Write(out, *this); }
type_cBoolean pos_c2DPosition::Write(tgio_cBinary_ostream& out) const { return ::Write(out, *this); }
