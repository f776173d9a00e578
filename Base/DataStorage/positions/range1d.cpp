#include <DataStorage/interfaces/expt.h>
#include <DataStorage/positions/detail/negotiate.h>
#include <DataStorage/positions/range1d.h>

namespace {

constexpr detail::SourceFile source_file{"range1d"};
constexpr detail::ChangeMessages messages{rnge_1DRangeChanging, rnge_1DRangeChanged};

}  // namespace

constinit const tgio_cObjectType rnge_c1DRange::_ObjectType(obty_1DRangeString, obty_1DRangeType);
constinit const rnge_c1DIndexRange rnge_c1DIndexRange::Null;
constinit const rnge_c1DRange rnge_c1DRange::Null;

template class DATASTORAGE_INSTANCE detail::Persistent<rnge_c1DRange>;

rnge_s1DRangeChange::~rnge_s1DRangeChange() = default;

rnge_c1DRange::rnge_c1DRange(const rnge_c1DIndexRange& indices, const cal_c1DArrayCal& cal) noexcept
    : rnge_c1DRange(
          detail::Interval{cal.PositionX(indices.StartIndexX()), cal.PositionX(indices.EndIndexX())}) {}

rnge_c1DRange& rnge_c1DRange::operator=(const rnge_c1DRange& other) {
  if (this != &other) SetRange(other.StartX(), other.EndX());
  return *this;
}

void rnge_c1DRange::SetRange(double a, double b) {
  if (!detail::RangeChange::Set<rnge_s1DRangeChange>(*this, detail::Interval{a, b}, messages))
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
  if (center_.bQuiet() || !center_.bSends(sender)) return;
  if (id != pos_1DPositionChanging && id != pos_1DPositionChanged) return;
  detail::RangeChange::Follow<rnge_s1DRangeChange>(*this, static_cast<pos_s1DPositionChange&>(*data),
                                                   id == pos_1DPositionChanged, messages);
}

rnge_c1DRange rnge_c1DRange::operator&(const rnge_c1DRange& other) const noexcept {
  const auto both = detail::Overlap(values_, other.values_);
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
    : span_(detail::SelectIndices(range.StartX(), range.EndX(), cal.AxisX(), select)) {}
