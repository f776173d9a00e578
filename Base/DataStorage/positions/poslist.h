#pragma once

#include <memory>
#include <optional>

#include <DataStorage/interfaces/list.h>
#include <DataStorage/positions/detail/interval.h>
#include <DataStorage/positions/pos2d.h>

struct pos_sPosListChange;

/// An ordered list of 2D positions that moves as one figure and notifies its receivers of every change. It
/// owns its positions, and a centre that it keeps in the middle of their bounding box: moving the centre
/// moves all of them, moving one of them moves the centre.
///
/// A change of the whole list is offered (`pos_2DPositionListChanging`) and announced
/// (`pos_2DPositionListChanged`) like that of a range. The move of a single position or of the centre is
/// offered too, but receivers can only accept it or, by setting Modified, reject it.
///
/// Receivers may change the list and its positions while they handle a message; a loop over positions that
/// are replaced meanwhile ends there. Requires that receivers do not destroy the list. When a receiver
/// throws, the exception reaches the caller; the positions keep their values of that moment, and the centre
/// returns to their middle.
///
/// Adding a position takes constant time until `Center()` is called for the first time, and so does moving
/// one that has no other receiver, when the list has none and none of them is of a derived class. All other
/// changes take linear time, except adding at the tail when no position has moved since the last one was
/// added.
class DATASTORAGE_EXPORT pos_c2DPositionList : public list_cPtrList<pos_c2DPosition>,
                                               public tgio_cTaggedStreamObject,
                                               public mesg_cSender,
                                               public mesg_cReceiver,
                                               private detail::PositionOwner {
 public:
  static const tgio_cObjectType _ObjectType;  ///< obty_2DPosListType

  /// Empty, with the centre at (0, 0).
  pos_c2DPositionList() = default;
  /// Copies the positions and the centre, without their receivers.
  pos_c2DPositionList(const pos_c2DPositionList& other);
  ~pos_c2DPositionList() override;
  /// Replaces the positions by copies, which have no receivers; negotiated like SetPositions.
  pos_c2DPositionList& operator=(const pos_c2DPositionList& source);

  /// Adds a position, which the list then owns, and moves the centre to the new middle. Sends no list
  /// messages. Throws expt_cProgramException for a null pointer. Requires a position made with `new` that is
  /// in no list yet.
  void AddAtTail(pos_c2DPosition* position);
  /// The same at the head.
  void AddAtHead(pos_c2DPosition* position);
  /// Deletes all positions. Sends no messages and does not move the centre.
  void Clear() noexcept override;

  /// The number of positions; takes linear time.
  int NumberPositions() const noexcept;
  /// The centre, which the list owns; moving it moves the list.
  pos_c2DPosition& Center() {
    OwnCenter();
    return center_.GiveOut(*this);
  }

  /// Moves each position to that of the same index in `source`, if there is one; the positions keep their
  /// receivers. Throws expt_cUserException when the limits of the list and of its centre do not agree within
  /// 10 attempts; the positions are then unchanged, the centre is where the last attempt left it.
  void SetPositions(const pos_c2DPositionList& source);

  /// Whether the positions are the same, exactly and in the same order. The centres are not compared.
  int operator==(const pos_c2DPositionList& other) const noexcept;
  int operator!=(const pos_c2DPositionList& other) const noexcept { return !(*this == other); }

  /// The list of the negated positions.
  pos_c2DPositionList Conjugate() const;

  const tgio_cObjectType& ObjectType() const override { return _ObjectType; }
  using tgio_cTaggedStreamObject::Read;  // the ASCII form, which holds no positions
  using tgio_cTaggedStreamObject::Write;
  /// Replaces the positions, without list messages. On failure returns false, and the list holds the
  /// positions read so far.
  type_cBoolean Read(tgio_cBinary_istream& in) override;
  type_cBoolean Write(tgio_cBinary_ostream& out) const override;

  /// Follows moves of the positions and of the centre.
  void ReceiveMessage(unsigned long id, mesg_cSender& sender, mesg_sMessageData* data) override;

 private:
  friend class detail::OwnedCenter<pos_c2DPosition>;

  struct BoundingBox {
    detail::CenteredInterval x, y;
  };

  // The list also owns positions that are added through the base.
  void InsertAtHead(pos_c2DPosition* position) override { AddAtHead(position); }
  void InsertAtTail(pos_c2DPosition* position) override { AddAtTail(position); }
  /// Attaches the list to the position and adds that at the tail; does not move the centre.
  void Append(std::unique_ptr<pos_c2DPosition> position);
  void AppendCopies(const pos_c2DPositionList& other);

  pos_c2DPosition CenterPos() const noexcept;
  /// Moves the positions, and the centre with them to `center`.
  void MoveTo(const pos_c2DPosition& center);
  /// Moves the centre to the middle of the positions, if there are any; later, when nobody can see it now.
  void Recenter();
  /// The centre, up to date.
  const pos_c2DPosition& OwnCenter() const noexcept;
  void PositionChanges(const pos_c2DPosition& position) noexcept override;

  /// Whether messages of the list need not be sent.
  bool bUnheard() const noexcept;
  /// Whether a message comes from a position of the list.
  bool bOwns(const mesg_cSender& sender) const noexcept;
  /// The index of a position of the list.
  int PlaceOf(const mesg_cSender& position) const noexcept;
  // These change positions without moving the centre; ForEach moves it to the middle when a receiver throws.
  void Replace(int place, const pos_c2DPosition& position);
  template <class Function>
  void ForEach(Function function);
  void MoveAll(const pos_c2DPosition& by);

  // Handle the move of the position at index `place`, or of the centre when there is none.
  void Offer(pos_s2DPositionChange& move, std::optional<int> place);
  void Follow(const pos_s2DPositionChange& move, std::optional<int> place);
  template <class Adopt>
  void Negotiate(const pos_c2DPositionList& source, Adopt adopt);

  // Quiet also while the list moves its positions.
  mutable detail::OwnedCenter<pos_c2DPosition> center_;
  mutable bool centered_ = true;  // false when the centre has to be moved to the middle of the positions
  unsigned generation_ = 0;       // changes when the positions are deleted
  mutable BoundingBox box_{};
  mutable bool boxed_ = false;  // whether box_ is up to date
};

/// The payload of the messages of a list of positions.
struct DATASTORAGE_EXPORT pos_sPosListChange : public mesg_sMessageData {
  pos_c2DPositionList OldList;  ///< as it was before the change
  pos_c2DPositionList NewList;  ///< the proposal, which receivers may change
  bool Modified = false;        ///< receivers set it to whether they changed the proposal

  pos_sPosListChange(const pos_sPosListChange&) = default;
  pos_sPosListChange& operator=(const pos_sPosListChange&) = default;
  ~pos_sPosListChange() override;

 private:
  friend class pos_c2DPositionList;
  explicit pos_sPosListChange(const pos_c2DPositionList& from) : OldList(from) {}
  pos_sPosListChange(const pos_c2DPositionList& from, const pos_c2DPositionList& to)
      : OldList(from), NewList(to) {}
};
