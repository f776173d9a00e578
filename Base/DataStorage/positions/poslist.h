#pragma once

#include <memory>
#include <optional>

#include <DataStorage/interfaces/list.h>
#include <DataStorage/positions/detail/interval.h>
#include <DataStorage/positions/pos2d.h>

struct pos_sPosListChange;

/// An ordered list of 2D positions that moves as one figure and tells its receivers of every change. It owns
/// its positions, and a centre that it keeps in the middle of their bounding box: moving the centre moves all
/// of them, moving one of them moves the centre.
///
/// A change of the whole list is offered (`pos_2DPositionListChanging`) and announced
/// (`pos_2DPositionListChanged`) as that of a range is. The move of a single position or of the centre is
/// offered too, but can only be accepted or, by setting Modified, refused.
///
/// Receivers may change the list and its positions while they are being told; a loop over positions that are
/// replaced meanwhile ends there. They must not destroy the list. When a receiver throws, the exception
/// reaches the caller; the positions keep the values that they have by then, and the centre goes back to
/// their middle.
///
/// Adding at the tail takes constant time unless a position has moved since the last one was added. Adding at
/// the head and moving a position take linear time.
class DATASTORAGE_EXPORT pos_c2DPositionList : public list_cPtrList<pos_c2DPosition>,
                                               public tgio_cTaggedStreamObject,
                                               public mesg_cSender,
                                               public mesg_cReceiver {
 public:
  static const tgio_cObjectType _ObjectType;  ///< obty_2DPosListType

  /// Empty, with the centre at (0, 0).
  pos_c2DPositionList() = default;
  /// With copies of the positions and of the centre, without their receivers.
  pos_c2DPositionList(const pos_c2DPositionList& other);
  ~pos_c2DPositionList() override;
  /// Replaces the positions by copies, which have no receivers; negotiated as SetPositions is.
  pos_c2DPositionList& operator=(const pos_c2DPositionList& source);

  /// Takes over a position on the heap, which must not be in a list yet, and brings the centre to the new
  /// middle. No list messages are sent. A null pointer is a program error.
  void AddAtTail(pos_c2DPosition* position);
  /// The same at the other end.
  void AddAtHead(pos_c2DPosition* position);
  /// Deletes all positions. No messages are sent, and the centre stays where it is.
  void Clear() noexcept override;

  /// Takes linear time.
  int NumberPositions() const noexcept;
  /// The centre, which belongs to the list; moving it moves the list.
  pos_c2DPosition& Center() { return center_.GiveOut(*this); }

  /// Moves the positions onto those of the source, in order and as far as both lists reach; they keep their
  /// receivers. Throws expt_cUserException when the limits of the list and of its centre do not agree within
  /// 10 attempts; the positions are unchanged then, the centre is where the last attempt left it.
  void SetPositions(const pos_c2DPositionList& source);

  /// Whether the positions are the same, exactly and in the same order. The centres are not compared.
  int operator==(const pos_c2DPositionList& other) const noexcept;
  int operator!=(const pos_c2DPositionList& other) const noexcept { return !(*this == other); }

  /// The list of the negated positions.
  pos_c2DPositionList Conjugate() const;

  const tgio_cObjectType& ObjectType() const override { return _ObjectType; }
  using tgio_cTaggedStreamObject::Read;  // the ASCII form, which holds no positions
  using tgio_cTaggedStreamObject::Write;
  /// Replaces the positions, without list messages. When false is returned, the list holds those that could
  /// be read.
  type_cBoolean Read(tgio_cBinary_istream& in) override;
  type_cBoolean Write(tgio_cBinary_ostream& out) const override;

  /// Follows the positions and the centre.
  void ReceiveMessage(unsigned long id, mesg_cSender& sender, mesg_sMessageData* data) override;

 private:
  friend class detail::OwnedCenter<pos_c2DPosition>;

  struct BoundingBox {
    detail::CenteredInterval x, y;
  };

  // Through the base, too, positions become the list's own.
  void InsertAtHead(pos_c2DPosition* position) override { AddAtHead(position); }
  void InsertAtTail(pos_c2DPosition* position) override { AddAtTail(position); }
  /// Attaches the list to the position and puts it at the tail; the centre stays.
  void Append(std::unique_ptr<pos_c2DPosition> position);
  void AppendCopies(const pos_c2DPositionList& other);

  pos_c2DPosition CenterPos() const noexcept;
  /// Moves the positions until the centre is there.
  void MoveTo(const pos_c2DPosition& center);
  /// To the middle of the positions; stays where it is when there are none.
  void Recenter();

  /// Whether nobody would hear a message of the list.
  bool bUnheard() const noexcept;
  /// Nothing for a position that is not in the list.
  std::optional<int> PlaceOf(const mesg_cSender& position) const noexcept;
  // These change positions, and the centre stays where it is; to the middle it goes when a receiver throws in
  // ForEach.
  void Replace(int place, const pos_c2DPosition& position);
  template <class Function>
  void ForEach(Function function);
  void MoveAll(const pos_c2DPosition& by);

  // The move of the position at a place, or without one of the centre.
  void Offer(pos_s2DPositionChange& move, std::optional<int> place);
  void Follow(const pos_s2DPositionChange& move, std::optional<int> place);
  template <class Adopt>
  void Negotiate(const pos_c2DPositionList& source, Adopt adopt);

  detail::OwnedCenter<pos_c2DPosition> center_;  // quiet also while the list moves its positions
  unsigned generation_ = 0;                      // changes when the positions are deleted
  mutable BoundingBox box_{};
  mutable bool boxed_ = false;  // the box is that of all positions; each of them clears it when it changes
};

/// What a list of positions sends with its messages.
struct DATASTORAGE_EXPORT pos_sPosListChange : public mesg_sMessageData {
  pos_c2DPositionList OldList;  ///< the one that changes
  pos_c2DPositionList NewList;  ///< the proposal, which receivers may rewrite
  bool Modified = false;        ///< to be set by a receiver to whether it has rewritten the proposal

  pos_sPosListChange(const pos_sPosListChange&) = default;
  pos_sPosListChange& operator=(const pos_sPosListChange&) = default;
  ~pos_sPosListChange() override;

 private:
  friend class pos_c2DPositionList;
  explicit pos_sPosListChange(const pos_c2DPositionList& from) : OldList(from) {}
  pos_sPosListChange(const pos_c2DPositionList& from, const pos_c2DPositionList& to)
      : OldList(from), NewList(to) {}
};
