#include "receivers.h"
#include "tagged.h"
#include <DataStorage/positions/pos1d.h>
#include <DataStorage/positions/pos2d.h>
#include <DataStorage/series/datatag.h>

namespace {

using Watcher1D = Watcher<pos_s1DPositionChange>;
using Watcher2D = Watcher<pos_s2DPositionChange>;

TEST(Positions, OfferAndAnnounceEveryRealChange) {
  pos_c1DPosition x(1);
  Watcher1D watcher(x);
  watcher.OnOffer([&](auto& change) {
    EXPECT_EQ(change.OldPosition, x);
    EXPECT_EQ(change.NewPosition, pos_c1DPosition(4));
  });
  watcher.OnAnnouncement([&](auto& change) { EXPECT_EQ(change.OldPosition, pos_c1DPosition(1)); });
  x.SetX(1);
  x = *&x;
  x = pos_c1DPosition(1);
  EXPECT_EQ(watcher.Heard(), "");
  x = pos_c1DPosition(4);
  EXPECT_EQ(watcher.Heard(), "oa");

  pos_c2DPosition p(1, 2);
  Watcher2D plane(p);
  p.Move(0, 0);
  p.SetPosition(1, 2);
  EXPECT_EQ(plane.Heard(), "");
  p.Move(0, 1);
  p.Move(1, 0);
  pos_c2DPosition(p).Move(5, 5);
  EXPECT_EQ(plane.Heard(), "oaoa");
  EXPECT_EQ(p, pos_c2DPosition(2, 3));
}

TEST(Positions, AreHeardByTheirOverridesWithoutAnyReceiver) {
  Talker<pos_c1DPosition> x;
  x = pos_c1DPosition(4);
  EXPECT_EQ(x.Heard(), "oa");
  Talker<pos_c2DPosition> p;
  p.Move(0, 0);
  p.Move(1, 0);
  EXPECT_EQ(p.Heard(), "oa");
  EXPECT_EQ(p, pos_c2DPosition(1, 0));
  Talker<dtsr_c2DPosition> tag;
  tag.SetEqual(dtsr_c2DPosition(1, 2, 3));
  EXPECT_EQ(tag.Heard(), "oa");
}

TEST(Positions, KeepTheSignOfAZeroWhileSomebodyListens) {
  const auto check = [](auto& position, auto negate, auto x) {
    negate(position);
    EXPECT_TRUE(std::signbit(x(position)));
    Watcher<mesg_sMessageData> watcher(position);
    position = std::decay_t<decltype(position)>();
    EXPECT_TRUE(std::signbit(x(position)));
    EXPECT_EQ(watcher.Heard(), "");
  };
  pos_c1DPosition x;
  check(
      x, [](auto& p) { p.SetX(-0.0); }, [](auto& p) { return p.X(); });
  pos_c2DPosition p(1, 0);
  check(
      p, [](auto& q) { q.SetPosition(-0.0, 0); }, [](auto& q) { return q.X(); });
  Talker<dtsr_c2DPosition> tag;
  tag = dtsr_c2DPosition(-0.0, 0, 0);
  EXPECT_TRUE(std::signbit(tag.X())) << "tags are read bit for bit";
}

TEST(Positions, TakeWhatALimitMakesOfTheProposal) {
  pos_c1DPosition x(1);
  Watcher1D limit(x), after(x);
  limit.OnOffer([](auto& change) {
    if (change.NewPosition.X() <= 10) return;
    change.NewPosition.SetX(10);
    change.Modified = true;
  });
  after.OnAnnouncement([&](auto& change) { EXPECT_EQ(change.NewPosition.X(), x.X()); });
  x.SetX(50);
  EXPECT_EQ(x.X(), 10);
  EXPECT_EQ(after.Heard(), "oa");
  x.SetX(11);
  EXPECT_EQ(after.Heard(), "oa") << "announced although it is back at the old value";

  limit.OnOffer([](auto& change) { change.NewPosition.SetX(9); });
  x.SetX(8);
  EXPECT_EQ(x.X(), 8) << "a rewritten proposal counts only with the flag";
  pos_c2DPosition p;
  Watcher2D forgetful(p), listener(p);
  forgetful.OnOffer([](auto& change) { change.NewPosition.SetPosition(7, 7); });
  listener.OnAnnouncement([](auto& change) { EXPECT_EQ(change.NewPosition, pos_c2DPosition(1, 2)); });
  p.SetPosition(1, 2);
  EXPECT_EQ(p, pos_c2DPosition(1, 2));
}

TEST(Positions, StayUsableWhateverReceiversDo) {
  auto x = std::make_unique<pos_c1DPosition>();
  Watcher1D destroyer(*x);
  destroyer.OnOffer([&](auto&) { x.reset(); });
  x->SetX(1);
  EXPECT_EQ(x, nullptr);

  auto p = std::make_unique<pos_c2DPosition>();
  auto leaving = std::make_unique<Watcher2D>(*p);
  Watcher2D thrower(*p), last(*p);
  leaving->OnOffer([&](auto&) { leaving.reset(); });
  p->SetPosition(1, 1);
  EXPECT_EQ(last.Heard(), "oa");

  thrower.OnOffer([](auto&) { throw Refusal(); });
  EXPECT_THROW(p->SetPosition(2, 2), Refusal);
  EXPECT_EQ(*p, pos_c2DPosition(1, 1));
  thrower.OnOffer({}).OnAnnouncement([](auto&) { throw Refusal(); });
  EXPECT_THROW(p->SetPosition(3, 3), Refusal);
  EXPECT_EQ(*p, pos_c2DPosition(3, 3));
  last.Heard();

  thrower.OnAnnouncement([&](auto&) {  // nested change
    if (p->X() < 6) p->Move(1, 0);
  });
  p->SetPosition(4, 3);
  EXPECT_EQ(p->X(), 6);
  EXPECT_EQ(last.Heard(), "oooaaa");

  thrower.OnOffer([&](auto&) {
    thrower.OnOffer([&](auto&) { p.reset(); });
    p->SetPosition(9, 9);
  });
  p->SetPosition(8, 8);
  EXPECT_EQ(p, nullptr);
  EXPECT_EQ(last.Heard(), "") << "the change ends with the position";
}

TEST(Positions, AreReadLikeAnyOtherChange) {
  for (StreamKind kind : bothStreamKinds) {
    pos_c1DPosition x(5);
    Watcher1D watcher(x);
    EXPECT_TRUE(RoundTrip(kind, pos_c1DPosition(2), x));
    EXPECT_EQ(watcher.Heard(), "oa");
    EXPECT_FALSE(RoundTrip(kind, pos_c2DPosition(1, 1), x)) << "another type";
    EXPECT_EQ(x.X(), 2);
    pos_c2DPosition p(5, 6);
    EXPECT_TRUE(ReadAtoms(kind, {{{pos_Y_Tag, pos_Y_String}, 4.0}, {{0x7777, "Unknown"}, 1}}, p));
    EXPECT_EQ(p, pos_c2DPosition(0, 4)) << "what is missing is 0";
  }
}

}  // namespace
