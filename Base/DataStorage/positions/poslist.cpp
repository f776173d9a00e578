#include <algorithm>
#include <iterator>

#include <DataStorage/interfaces/expt.h>
#include <DataStorage/positions/detail/negotiate.h>
#include <DataStorage/positions/poslist.h>

namespace {

constexpr detail::SourceFile source_file{"pos2d"};
constexpr detail::ChangeMessages messages{pos_2DPositionListChanging, pos_2DPositionListChanged};

constexpr unsigned short position_tag = 0x0100;  // persistent

}  // namespace

constinit const tgio_cObjectType pos_c2DPositionList::_ObjectType(obty_2DPosListString, obty_2DPosListType);

pos_sPosListChange::~pos_sPosListChange() = default;

pos_c2DPositionList::pos_c2DPositionList(const pos_c2DPositionList& other) : pos_c2DPositionList() {
  AppendCopies(other);
  center_.Move(*this, other.OwnCenter());
}

pos_c2DPositionList::~pos_c2DPositionList() { Clear(); }

pos_c2DPositionList& pos_c2DPositionList::operator=(const pos_c2DPositionList& source) {
  if (this == &source) return *this;
  Negotiate(source, [this](const pos_c2DPositionList& adopted) {
    Clear();
    AppendCopies(adopted);
  });
  return *this;
}

void pos_c2DPositionList::Append(std::unique_ptr<pos_c2DPosition> position) {
  position->AddReceiver(*this, mesg_LowestPriority);
  list_cPtrList::InsertAtTail(position.get());
  pos_c2DPosition& added = *position.release();
  added.owner_ = this;
  // The box is computed from head to tail, so a position at the tail is the next step.
  if (boxed_) box_ = {box_.x.Hull({added.X(), 0}), box_.y.Hull({added.Y(), 0})};
}

void pos_c2DPositionList::AppendCopies(const pos_c2DPositionList& other) {
  for (const pos_c2DPosition* each : other) Append(std::make_unique<pos_c2DPosition>(*each));
}

void pos_c2DPositionList::AddAtTail(pos_c2DPosition* position) {
  if (position == nullptr) source_file.ThrowProgramError();
  Append(std::unique_ptr<pos_c2DPosition>(position));
  Recenter();
}

void pos_c2DPositionList::AddAtHead(pos_c2DPosition* position) {
  if (position == nullptr) source_file.ThrowProgramError();
  std::unique_ptr<pos_c2DPosition> owner(position);
  owner->AddReceiver(*this, mesg_LowestPriority);
  list_cPtrList::InsertAtHead(position);
  owner.release()->owner_ = this;
  boxed_ = false;
  Recenter();
}

void pos_c2DPositionList::Clear() noexcept {
  OwnCenter();
  ++generation_;
  boxed_ = false;
  for (const pos_c2DPosition* each : *this) delete each;
  list_cPtrList::Clear();
}

int pos_c2DPositionList::NumberPositions() const noexcept {
  return static_cast<int>(std::distance(begin(), end()));
}

pos_c2DPosition pos_c2DPositionList::CenterPos() const noexcept {
  if (!boxed_) {
    const pos_c2DPosition& first = **begin();
    box_ = {{first.X(), 0}, {first.Y(), 0}};
    for (const pos_c2DPosition* each : *this)
      box_ = {box_.x.Hull({each->X(), 0}), box_.y.Hull({each->Y(), 0})};
    boxed_ = true;
  }
  return {box_.x.center, box_.y.center};
}

bool pos_c2DPositionList::bUnheard() const noexcept { return !bHasReceivers() && detail::bExactly(*this); }

void pos_c2DPositionList::Recenter() {
  if (begin() == end()) return;
  if (center_.bGivenOut() || !detail::bExactly(*this))
    center_.Move(*this, CenterPos());
  else
    centered_ = false;
}

const pos_c2DPosition& pos_c2DPositionList::OwnCenter() const noexcept {
  if (!centered_ && begin() != end()) center_.Take(CenterPos());
  centered_ = true;
  return *center_;
}

void pos_c2DPositionList::PositionChanges(const pos_c2DPosition& position) noexcept {
  // When nothing but this list, which has no receivers, hears of the change, nothing reads the centre before
  // the list moves it.
  const bool only = bUnheard() && !center_.bQuiet() && position.bHasReceivers() &&
                    !position.bHasReceiversBeside(*this) && detail::bExactly(position);
  if (!only) OwnCenter();
  boxed_ = false;
}

bool pos_c2DPositionList::bOwns(const mesg_cSender& sender) const noexcept {
  const auto* const position = dynamic_cast<const pos_c2DPosition*>(&sender);
  return position != nullptr && position->owner_ == this;
}

int pos_c2DPositionList::PlaceOf(const mesg_cSender& position) const noexcept {
  return static_cast<int>(std::distance(begin(), std::find(begin(), end(), &position)));
}

template <class Function>
void pos_c2DPositionList::ForEach(Function function) {
  const auto quiet = center_.Quiet();
  const auto recenter = [this] { Recenter(); };
  const detail::OnException guard(recenter);
  const unsigned generation = generation_;
  for (pos_c2DPosition* each : *this) {
    function(*each);
    if (generation_ != generation) return;
  }
}

void pos_c2DPositionList::MoveAll(const pos_c2DPosition& by) {
  ForEach([&by](pos_c2DPosition& each) { each.Move(by.X(), by.Y()); });
}

void pos_c2DPositionList::MoveTo(const pos_c2DPosition& center) {
  MoveAll(center - OwnCenter());
  Recenter();
}

void pos_c2DPositionList::Replace(int place, const pos_c2DPosition& position) {
  const auto quiet = center_.Quiet();
  **std::next(begin(), place) = position;
}

template <class Adopt>
void pos_c2DPositionList::Negotiate(const pos_c2DPositionList& source, Adopt adopt) {
  pos_sPosListChange change(*this, source);
  if (!center_.Negotiate(*this, messages, change, change.NewList, [&] { adopt(change.NewList); }))
    source_file.ThrowUserError("Limits on center and point positions are incompatible.");
}

void pos_c2DPositionList::SetPositions(const pos_c2DPositionList& source) {
  Negotiate(source, [this](const pos_c2DPositionList& adopted) {
    auto next = adopted.begin();
    ForEach([&](pos_c2DPosition& each) {
      if (next != adopted.end()) each = **next++;
    });
  });
}

int pos_c2DPositionList::operator==(const pos_c2DPositionList& other) const noexcept {
  return std::equal(begin(), end(), other.begin(), other.end(),
                    [](const pos_c2DPosition* a, const pos_c2DPosition* b) { return *a == *b; });
}

pos_c2DPositionList pos_c2DPositionList::Conjugate() const {
  pos_c2DPositionList result;
  for (const pos_c2DPosition* each : *this) result.AddAtTail(new pos_c2DPosition(-each->X(), -each->Y()));
  return result;
}

void pos_c2DPositionList::ReceiveMessage(unsigned long id, mesg_cSender& sender, mesg_sMessageData* data) {
  if (id != pos_2DPositionChanging && id != pos_2DPositionChanged) return;
  if (center_.bQuiet()) return;
  const bool center = center_.bSends(sender);
  if (!center && !bOwns(sender)) return;
  const bool unheard = bUnheard();
  if (unheard && id == pos_2DPositionChanging) return;
  if (unheard && !center) return Recenter();
  std::optional<int> place;
  if (!center) place = PlaceOf(sender);
  auto& move = static_cast<pos_s2DPositionChange&>(*data);
  if (id == pos_2DPositionChanging)
    Offer(move, place);
  else
    Follow(move, place);
}

void pos_c2DPositionList::Offer(pos_s2DPositionChange& move, std::optional<int> place) {
  if (move.Modified) return;
  pos_sPosListChange change(*this, *this);
  if (place)
    change.NewList.Replace(*place, move.NewPosition);
  else
    change.NewList.MoveAll(move.NewPosition - move.OldPosition);
  SendMessage(messages.changing, &change);
  if (!change.Modified) return;
  move.NewPosition = move.OldPosition;
  move.Modified = true;
}

void pos_c2DPositionList::Follow(const pos_s2DPositionChange& move, std::optional<int> place) {
  const auto quiet = center_.Quiet();
  std::unique_ptr<pos_sPosListChange> change;  // made only when messages are sent
  if (!bUnheard()) {
    change.reset(new pos_sPosListChange(*this));
    if (place) change->OldList.Replace(*place, move.OldPosition);
  }
  if (place)
    Recenter();
  else
    MoveAll(move.NewPosition - move.OldPosition);
  if (!change) return;
  change->NewList.AppendCopies(*this);
  change->NewList.center_.Move(change->NewList, OwnCenter());
  SendMessage(messages.changed, change.get());
}

type_cBoolean pos_c2DPositionList::Read(tgio_cBinary_istream& in) {
  Clear();
  while (in.bHasAtom()) {
    if (in.Tag() == position_tag) {
      auto position = std::make_unique<pos_c2DPosition>();
      if (!in.Read(*position)) return false;
      AddAtTail(position.release());
    } else if (!in.SkipObject()) {
      return false;
    }
  }
  return true;
}

type_cBoolean pos_c2DPositionList::Write(tgio_cBinary_ostream& out) const {
  return std::all_of(begin(), end(),
                     [&out](const pos_c2DPosition* each) { return out.Write(*each, position_tag); });
}
