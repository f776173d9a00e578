#include <algorithm>
#include <cstdint>
#include <ctime>
#include <limits>

#include <DataStorage/interfaces/constants.h>
#include <DataStorage/interfaces/expt.h>
#include <DataStorage/positions/detail/change.h>
#include <DataStorage/series/datatag.h>

namespace {

constexpr detail::SourceFile source_file{"DataSeries"};

/// The largest time also stands for later ones where a `long` has 32 bits; see dtsr_cDataTag::Now.
bool bFitsStream(long time) {
  using Limits = std::numeric_limits<std::int32_t>;
  const bool later = time == std::numeric_limits<long>::max() && std::time(nullptr) > time;
  return time >= Limits::min() && time <= Limits::max() && !later;
}

}  // namespace

dtsr_cTagTypeException::dtsr_cTagTypeException(const char* file, int line)
    : expt_cUserException(file, line, "Invalid TagTypeID.") {}

dtsr_cTagTypeException::~dtsr_cTagTypeException() = default;

dtsr_cDataTag::~dtsr_cDataTag() = default;

void dtsr_cDataTag::SetEqual(const dtsr_cDataTag& other) { time_ = other.time_; }

type_cBoolean dtsr_cDataTag::IsEqual(const dtsr_cDataTag& other, type_cBoolean compareTime) {
  return other.TagTypeID() == TagTypeID() && (!compareTime || other.time_ == time_);
}

void dtsr_cDataTag::Read(bstr_cBinary_istream& in) {
  std::uint32_t id;
  std::int32_t time;
  if (bstr_ReadFields(in, id) && id != TagTypeID()) throw dtsr_cTagTypeException(source_file.name, __LINE__);
  if (!bstr_ReadFields(in, time)) source_file.ThrowUserError("Can't read TagTypeID.");
  time_ = time;
}

void dtsr_cDataTag::Write(bstr_cBinary_ostream& out) const {
  if (bFitsStream(time_)) bstr_WriteFields(out, std::uint32_t{TagTypeID()}, static_cast<std::int32_t>(time_));
  if (!bFitsStream(time_) || !out.bGood()) source_file.ThrowUserError("Can't write TagTypeID.");
}

long dtsr_cDataTag::Now() {
  using Limits = std::numeric_limits<long>;
  return static_cast<long>(std::min<std::int64_t>(std::time(nullptr), Limits::max()));
}

unsigned int dtsr_cDataTag::TagTypeID() const { return obty_DataTagType; }

dtsr_cDataTag* dtsr_cDataTag::pCopy() const { return new dtsr_cDataTag(*this); }

dtsr_c2DPosition::dtsr_c2DPosition(double x, double y, long time)
    : dtsr_cDataTag(time), pos_c2DPosition(x, y) {}

dtsr_c2DPosition::dtsr_c2DPosition(const pos_c2DPosition& position, long time)
    : dtsr_cDataTag(time), pos_c2DPosition(position) {}

dtsr_c2DPosition::~dtsr_c2DPosition() = default;

dtsr_c2DPosition& dtsr_c2DPosition::operator=(const pos_c2DPosition& position) {
  dtsr_cDataTag::operator=(Now());
  pos_c2DPosition::operator=(position);
  return *this;
}

void dtsr_c2DPosition::SetPosition(double x, double y) {
  // Fast path for searches, which read one tag after the other into an object without receivers.
  if (!bHasReceivers() && detail::bExactly(*this)) return Take(x, y);
  pos_c2DPosition::SetPosition(x, y);
}

void dtsr_c2DPosition::SetEqual(const dtsr_cDataTag& other) {
  dtsr_cDataTag::SetEqual(other);
  if (other.TagTypeID() == TagTypeID()) {
    pos_c2DPosition::operator=(static_cast<const dtsr_c2DPosition&>(other));
  }
}

type_cBoolean dtsr_c2DPosition::IsEqual(const dtsr_cDataTag& other, type_cBoolean compareTime) {
  if (!dtsr_cDataTag::IsEqual(other, compareTime)) return false;
  const auto& position = static_cast<const dtsr_c2DPosition&>(other);  // the kinds are the same
  return position.X() == X() && position.Y() == Y();
}

void dtsr_c2DPosition::Read(bstr_cBinary_istream& in) {
  dtsr_cDataTag::Read(in);
  double x, y;
  if (!bstr_ReadFields(in, x, y)) source_file.ThrowUserError("Error reading 2D tag.");
  SetPosition(x, y);
}

void dtsr_c2DPosition::Write(bstr_cBinary_ostream& out) const {
  dtsr_cDataTag::Write(out);
  if (!bstr_WriteFields(out, X(), Y())) source_file.ThrowUserError("Error writing 2D tag.");
}

unsigned int dtsr_c2DPosition::TagTypeID() const { return obty_2DPositionType; }

dtsr_cDataTag* dtsr_c2DPosition::pCopy() const { return new dtsr_c2DPosition(*this); }
