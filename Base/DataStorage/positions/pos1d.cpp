#include <DataStorage/interfaces/atoms.h>
#include <DataStorage/positions/change.h>
#include <DataStorage/positions/pos1d.h>

namespace {

constexpr detail::ChangeMessages messages{pos_1DPositionChanging, pos_1DPositionChanged};

using Data = pos_c1DPosition::sPositionData;

std::array<detail::DoubleAtom, 1> Atoms(Data& data) { return {{{{pos_X_Tag, pos_X_String}, &data.X}}}; }

template <class Stream>
bool Read(Stream& in, pos_c1DPosition& position) {
  Data data;
  if (!data.Read(in)) return false;
  position.SetX(data.X);
  return true;
}

template <class Stream>
bool Write(Stream& out, const pos_c1DPosition& position) {
  Data data;
  data.X = position.X();
  return detail::WriteDoubles(out, Atoms(data));
}

}  // namespace

pos_s1DPositionChange::~pos_s1DPositionChange() = default;

type_cBoolean pos_c1DPosition::sPositionData::ReadAtom(tgio_cBinary_istream& in) {
  return detail::ReadDouble(in, Atoms(*this)) || tgio_cTaggedStreamObject::ReadAtom(in);
}
type_cBoolean pos_c1DPosition::sPositionData::ReadAtom(tgio_cASCII_istream& in) {
  return detail::ReadDouble(in, Atoms(*this)) || tgio_cTaggedStreamObject::ReadAtom(in);
}

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
    if (!change.Modified) change.NewPosition.x_ = x;  // a receiver may rewrite it without saying so
    x_ = change.NewPosition.x_;
  });
}

type_cBoolean pos_c1DPosition::Read(tgio_cASCII_istream& in) { return ::Read(in, *this); }
type_cBoolean pos_c1DPosition::Read(tgio_cBinary_istream& in) { return ::Read(in, *this); }
type_cBoolean pos_c1DPosition::Write(tgio_cASCII_ostream& out) const { return ::Write(out, *this); }
type_cBoolean pos_c1DPosition::Write(tgio_cBinary_ostream& out) const { return ::Write(out, *this); }
