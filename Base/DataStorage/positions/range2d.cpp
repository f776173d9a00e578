#include <DataStorage/interfaces/expt.h>
#include <DataStorage/positions/detail/negotiate.h>
#include <DataStorage/positions/range2d.h>

namespace {

constexpr detail::SourceFile source_file{"range2d"};
constexpr detail::ChangeMessages messages{rnge_2DRangeChanging, rnge_2DRangeChanged};

/// The interval from one position to another; its width is negative when `to < from`.
detail::CenteredInterval FromTo(double from, double to) { return {(from + to) * 0.5, to - from}; }

}  // namespace

constinit const tgio_cObjectType rnge_c2DRange::_ObjectType(obty_2DRangeString, obty_2DRangeType);
constinit const rnge_c2DIndexRange rnge_c2DIndexRange::Null;
constinit const rnge_c2DRange rnge_c2DRange::Null;

template class DATASTORAGE_INSTANCE detail::Persistent<rnge_c2DRange>;

rnge_s2DRangeChange::~rnge_s2DRangeChange() = default;

rnge_c2DRange::rnge_c2DRange(const rnge_c2DIndexRange& indices, const cal_c2DArrayCal& cal) noexcept
    : rnge_c2DRange(detail::Rectangle{
          FromTo(cal.PositionX(indices.StartIndexX()), cal.PositionX(indices.EndIndexX())),
          FromTo(cal.PositionY(indices.StartIndexY()), cal.PositionY(indices.EndIndexY())), 0.0}) {}

void rnge_c2DRange::SetRange(double xcenter, double ycenter, double xwidth, double ywidth, double angle) {
  if (!detail::RangeChange::Set<rnge_s2DRangeChange>(
          *this, detail::Rectangle{{xcenter, xwidth}, {ycenter, ywidth}, angle}, messages))
    source_file.ThrowUserError("2D range limit incompatible with center limit.");
}

void rnge_c2DRange::ReceiveMessage(unsigned long id, mesg_cSender& sender, mesg_sMessageData* data) {
  if (center_.bQuiet() || !center_.bSends(sender)) return;
  if (id != pos_2DPositionChanging && id != pos_2DPositionChanged) return;
  detail::RangeChange::Follow<rnge_s2DRangeChange>(*this, static_cast<pos_s2DPositionChange&>(*data),
                                                   id == pos_2DPositionChanged, messages);
}

double rnge_c2DRange::Top() const noexcept {
  if (bAxisAligned()) return values_.y.End();
  return CenterY() + 0.5 * (SizeY() * std::cos(Angle()) + SizeX() * std::sin(Angle()));
}
double rnge_c2DRange::Bottom() const noexcept {
  if (bAxisAligned()) return values_.y.Start();
  return CenterY() - 0.5 * (SizeY() * std::cos(Angle()) + SizeX() * std::sin(Angle()));
}
double rnge_c2DRange::Left() const noexcept {
  if (bAxisAligned()) return values_.x.Start();
  return CenterX() - 0.5 * (SizeY() * std::sin(Angle()) + SizeX() * std::cos(Angle()));
}
double rnge_c2DRange::Right() const noexcept {
  if (bAxisAligned()) return values_.x.End();
  return CenterX() + 0.5 * (SizeY() * std::sin(Angle()) + SizeX() * std::cos(Angle()));
}
double rnge_c2DRange::TopX() const noexcept {
  return bAxisAligned() ? Left() : Left() + SizeX() * std::cos(Angle());
}
double rnge_c2DRange::LeftY() const noexcept {
  return bAxisAligned() ? Bottom() : Bottom() + SizeY() * std::cos(Angle());
}
double rnge_c2DRange::BottomX() const noexcept {
  return bAxisAligned() ? Right() : Right() - SizeX() * std::cos(Angle());
}
double rnge_c2DRange::RightY() const noexcept {
  return bAxisAligned() ? Top() : Top() - SizeY() * std::cos(Angle());
}

type_cBoolean rnge_c2DRange::Contains(double x, double y) const noexcept {
  if (bAxisAligned()) return values_.x.bContains(x) && values_.y.bContains(y);
  const double dx = x - CenterX(), dy = y - CenterY(), c = std::cos(Angle()), s = std::sin(Angle());
  const double u = dx * c + dy * s, v = -dx * s + dy * c;
  return -SizeX() / 2 <= u && u <= SizeX() / 2 && -SizeY() / 2 <= v && v <= SizeY() / 2;
}

type_cBoolean rnge_c2DRange::Contains(const rnge_c2DRange& other) const noexcept {
  return Contains(other.Left(), other.LeftY()) && Contains(other.TopX(), other.Top()) &&
         Contains(other.Right(), other.RightY()) && Contains(other.BottomX(), other.Bottom());
}

type_cBoolean rnge_c2DRange::Intersects(const rnge_c2DRange& other) const noexcept {
  return (*this & other) != Null;
}

int rnge_c2DRange::operator==(const rnge_c2DRange& other) const noexcept {
  return values_.x.bEquals(other.values_.x) && values_.y.bEquals(other.values_.y) &&
         std::abs(Angle() - other.Angle()) < 1e-6;
}

rnge_c2DRange rnge_c2DRange::operator&(const rnge_c2DRange& other) const noexcept {
  if (!bAxisAligned() || !other.bAxisAligned()) return Null;
  const auto x = detail::Overlap(values_.x.Ends(), other.values_.x.Ends());
  const auto y = detail::Overlap(values_.y.Ends(), other.values_.y.Ends());
  if (!x || !y) return Null;
  return {x->start, y->start, x->end, y->end};
}

rnge_c2DRange operator|(const rnge_c2DRange& a, const rnge_c2DRange& b) noexcept {
  if (!a.bAxisAligned() || !b.bAxisAligned()) return rnge_c2DRange::Null;
  return rnge_c2DRange(detail::Rectangle{a.values_.x.Hull(b.values_.x), a.values_.y.Hull(b.values_.y), 0.0});
}
rnge_c2DRange operator|(const rnge_c2DRange& range, const pos_c2DPosition& position) noexcept {
  return range | rnge_c2DRange(position.X(), position.Y(), 0, 0, 0);
}
rnge_c2DRange operator|(const pos_c2DPosition& position, const rnge_c2DRange& range) noexcept {
  return range | position;
}

rnge_c2DIndexRange::rnge_c2DIndexRange(const rnge_c2DRange& range, const cal_c2DArrayCal& cal,
                                       rnge_eIndexSelect select) noexcept
    : x_(detail::SelectIndices(range.Left(), range.Right(), cal.AxisX(), select)),
      y_(detail::SelectIndices(range.Bottom(), range.Top(), cal.AxisY(), select)) {}
