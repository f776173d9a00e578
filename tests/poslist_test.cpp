#include <random>

#include "receivers.h"
#include "tagged.h"
#include <DataStorage/positions/poslist.h>
#include <DataStorage/positions/range2d.h>

namespace {

constexpr int of_center = -1;

using Points = std::vector<std::pair<double, double>>;
using Watcher2D = Watcher<pos_s2DPositionChange>;
using ListWatcher = Watcher<pos_sPosListChange>;

Points PointsOf(const pos_c2DPositionList& list) {
  Points points;
  for (const pos_c2DPosition* each : list) points.emplace_back(each->X(), each->Y());
  return points;
}

void Add(pos_c2DPositionList& list, const Points& points) {
  for (auto [x, y] : points) list.AddAtTail(new pos_c2DPosition(x, y));
}

pos_c2DPosition& Point(const pos_c2DPositionList& list, int place) {
  return **std::next(list.begin(), place);
}

/// A watched list of (0, 0), (4, 2) and (1, 10), with its centre at (2, 5).
class PositionList : public testing::Test {
 protected:
  PositionList() {
    Add(list, points);
    watcher.emplace(list);
  }
  void Limit(ListWatcher::Action action) { watcher->OnOffer(std::move(action)); }
  static void Refuse(pos_sPosListChange& change) { change.Modified = true; }
  pos_c2DPosition Center() { return list.Center(); }

  const Points points{{0, 0}, {4, 2}, {1, 10}};
  pos_c2DPositionList list;
  std::optional<ListWatcher> watcher;
};

TEST_F(PositionList, KeepsItsCenterInTheMiddleOfTheBoundingBox) {
  EXPECT_EQ(Center(), pos_c2DPosition(2, 5));
  list.AddAtHead(new pos_c2DPosition(-2, 12));
  EXPECT_EQ(Center(), pos_c2DPosition(1, 6));
  Point(list, 2).SetPosition(8, 2);
  EXPECT_EQ(Center(), pos_c2DPosition(3, 6));
  EXPECT_EQ(list.Conjugate().Center(), pos_c2DPosition(-3, -6));
  EXPECT_EQ(PointsOf(list.Conjugate().Conjugate()), PointsOf(list));
  list.Clear();
  EXPECT_EQ(Center(), pos_c2DPosition(3, 6));
  EXPECT_THROW(list.AddAtTail(nullptr), expt_cProgramException);
}

TEST_F(PositionList, OwnsItsPositionsAlsoThroughItsBase) {
  struct Counted : pos_c2DPosition {
    explicit Counted(int& count) : count_(count) { ++count_; }
    ~Counted() override { --count_; }
    int& count_;
  };
  int alive = 0;
  list_cPtrList<pos_c2DPosition>& base = list;
  base.InsertAtTail(new pos_c2DPosition(10, 20));
  base.InsertAtHead(new Counted(alive));
  EXPECT_EQ(Center(), pos_c2DPosition(5, 10));
  Point(list, 0).SetPosition(-10, 0);
  EXPECT_EQ(watcher->Heard(), "oa");
  EXPECT_EQ(Center(), pos_c2DPosition(0, 10));
  base.Clear();
  EXPECT_EQ(list.NumberPositions(), 0);
  EXPECT_EQ(alive, 0);
}

TEST_F(PositionList, ComputesTheBoundingBoxFromHeadToTailToTheLastBit) {
  pos_c2DPositionList grown;
  double x = 0.1, y = 1e3;
  for (int i = 0; i < 500; ++i) {
    x = x * -1.013 + 0.7;  // rounding depends on the order of additions
    y = y * 0.97 - x / 3;
    grown.AddAtTail(new pos_c2DPosition(x, y));
    if (i % 50 == 17) Point(grown, i / 2).Move(0.3, -0.1);
    rnge_c2DRange box = rnge_c2DRange::Null;
    for (const pos_c2DPosition* each : grown)
      box = (each == *grown.begin() ? rnge_c2DRange(each->X(), each->Y(), 0, 0, 0) : box) | *each;
    ASSERT_EQ(grown.Center(), pos_c2DPosition(box.CenterX(), box.CenterY())) << i;
  }
}

TEST_F(PositionList, KnowsWherePositionsAreWhoseChangeItHasNotHeard) {
  struct Silent : pos_c2DPosition {
    type_cBoolean SendMessage(unsigned long, mesg_sMessageData*) override { return true; }
  };
  const auto add = [&] { list.AddAtTail(new pos_c2DPosition(1, 1)); };
  pos_c2DPosition& detached = Point(list, 2);
  detached.RemoveReceiver(list);
  detached.SetPosition(1, 4);
  detached.AddReceiver(list, 0xFFFF);
  add();
  EXPECT_EQ(Center(), pos_c2DPosition(2, 2));

  pos_c2DPosition* silent = new Silent;
  list.AddAtTail(silent);
  silent->SetPosition(8, 2);
  add();
  EXPECT_EQ(Center(), pos_c2DPosition(4, 2));

  Watcher2D late(Point(list, 1)), early(Point(list, 1));
  Point(list, 1).RemoveReceiver(early);
  Point(list, 1).AddReceiver(early, 0);
  late.OnOffer([&](auto&) { add(); });  // before the position has moved
  early.OnAnnouncement([](auto&) { throw Refusal(); });
  EXPECT_THROW(Point(list, 1).SetPosition(4, 8), Refusal);
  add();
  EXPECT_EQ(Center(), pos_c2DPosition(4, 4));
}

TEST(PositionListCenter, IsTheSameWhetherItIsLookedAtOrNot) {
  std::mt19937 random(1);
  const auto below = [&random](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
  for (int round = 0; round < 2000; ++round) {
    pos_c2DPositionList seen, unseen, shape;
    seen.Center();  // is moved with every change from now on
    shape.AddAtTail(new pos_c2DPosition(3, 4));
    const auto both = [&](auto change) {
      change(seen);
      change(unseen);
    };
    for (int step = below(12); step >= 0; --step) {
      const double x = below(1000) / 7.0, y = below(1000) / 3.0;
      const int count = seen.NumberPositions(), i = count > 0 ? below(count) : -1;
      const int what = i < 0 ? below(2) : below(9);
      both([&](pos_c2DPositionList& list) {
        if (what == 0) list.AddAtTail(new pos_c2DPosition(x, y));
        if (what == 1) list.AddAtHead(new pos_c2DPosition(x, y));
        if (what == 2 || what == 3) Point(list, i).SetPosition(x, y);
        if (what == 4) Point(list, i).RemoveReceiver(list);
        if (what == 5) Point(list, i).AddReceiver(list, 0xFFFF);
        if (what == 6) list.SetPositions(shape);
        if (what == 7) list.Clear();
        if (what == 8) {
          Watcher2D watcher(Point(list, i));
          watcher.OnAnnouncement([&](auto&) { list.AddAtHead(new pos_c2DPosition(y, x)); });
          Point(list, i).Move(x, y);
        }
      });
    }
    ASSERT_EQ(unseen.Center(), seen.Center()) << round;
  }
}

TEST_F(PositionList, ShowsItsOldCenterThoughAReceiverHasAddedAPosition) {
  Limit([&, added = false](auto&) mutable {
    if (!std::exchange(added, true)) list.AddAtTail(new pos_c2DPosition(-94, 10));
  });
  std::optional<pos_c2DPosition> old;
  watcher->OnAnnouncement([&](auto& change) { old = change.OldList.Center(); });
  Point(list, 0).SetPosition(-100, 0);
  EXPECT_EQ(old, pos_c2DPosition(-45, 5));
}

TEST_F(PositionList, IsHeardByItsOverridesWithoutAnyReceiver) {
  Listener<pos_c2DPositionList> derived;
  Add(derived, {{0, 0}, {2, 2}});
  EXPECT_EQ(derived.Heard(), "()");
  Point(derived, 1).Move(2, 0);
  EXPECT_EQ(derived.Heard(), "(o)()a") << "the centre moves before the list is announced";
  derived.Center().Move(1, 1);
  EXPECT_EQ(derived.Heard(), "(o)()()a");
  derived.SetPositions(list);
  EXPECT_EQ(derived.Heard(), "()o()()a");
  Point(list, 0).SetPosition(-0.0, -0.0);
  EXPECT_FALSE(std::signbit(Point(list, 0).X())) << "the list is a receiver";
}

TEST_F(PositionList, MovesAsOneFigureWithItsCenter) {
  const Points moved{{1, 0}, {5, 2}, {2, 10}};
  std::string log;
  Watcher2D point(Point(list, 2), &log);
  ListWatcher late(list, &log);
  late.name = {'O', 'A'};
  late.OnOffer([&](auto& change) {
    EXPECT_EQ(PointsOf(change.OldList), points);
    EXPECT_EQ(PointsOf(change.NewList), moved);
    EXPECT_EQ(change.NewList.Center(), pos_c2DPosition(2, 5));
  });
  late.OnAnnouncement([&](auto& change) {
    EXPECT_EQ(PointsOf(change.OldList), points);
    EXPECT_EQ(PointsOf(change.NewList), moved);
  });
  list.Center().SetPosition(3, 5);
  EXPECT_EQ(PointsOf(list), moved);
  EXPECT_EQ(log, "OoaA");
}

TEST_F(PositionList, TellsOfASinglePoint) {
  list.AddAtTail(new pos_c2DPosition(0, 0));  // the same place twice
  const Points before = PointsOf(list);
  watcher->OnOffer([&](auto& change) { EXPECT_EQ(PointsOf(change.NewList).back(), std::pair(6.0, -2.0)); });
  watcher->OnAnnouncement([&](auto& change) {
    EXPECT_EQ(PointsOf(change.OldList), before);
    EXPECT_EQ(change.OldList.Center(), pos_c2DPosition(2, 5));
    EXPECT_EQ(change.NewList.Center(), pos_c2DPosition(3, 4));
  });
  Point(list, 3).SetPosition(6, -2);
  EXPECT_EQ(watcher->Heard(), "oa");
}

TEST_F(PositionList, ObeysARefusal) {
  Limit(Refuse);
  Watcher2D center(list.Center());
  list.Center().SetPosition(3, 5);
  Point(list, 1).SetPosition(9, 9);
  EXPECT_EQ(PointsOf(list), points);
  EXPECT_EQ(Center(), pos_c2DPosition(2, 5));
  EXPECT_EQ(watcher->Heard(), "oaoa") << "announced although nothing moved";
  EXPECT_EQ(center.Heard(), "oa");
}

TEST_F(PositionList, TakesOverTheShapeOfAnother) {
  pos_c2DPositionList source;
  Add(source, {{1, 1}, {3, 3}, {5, 9}});
  Watcher2D point(Point(list, 0));
  list.SetPositions(source);
  EXPECT_EQ(list, source);
  EXPECT_EQ(Center(), pos_c2DPosition(3, 5));
  EXPECT_EQ(point.Heard(), "oa");
  list.SetPositions(source);
  EXPECT_EQ(watcher->Heard(), "oaoa") << "also when nothing changes";
  source.AddAtTail(new pos_c2DPosition(100, 100));
  list.SetPositions(source);
  EXPECT_NE(list, source) << "it keeps its three points";
  list = source;
  EXPECT_EQ(list, source);
  EXPECT_EQ(watcher->Heard(), "oaoa");
  Point(list, 0).Move(-1, 0);
  EXPECT_EQ(watcher->Heard(), "oa") << "the list receives messages of the new positions";
}

TEST_F(PositionList, FollowsALimitOfItsCenter) {
  Watcher2D limit(list.Center());
  limit.OnOffer([](auto& change) {
    change.Modified = change.NewPosition.X() > 10;
    if (change.Modified) change.NewPosition.SetPosition(10, change.NewPosition.Y());
  });
  int objections = 1;
  Limit([&](auto& change) { change.Modified = objections-- > 0; });
  pos_c2DPositionList source;
  Add(source, {{20, 0}, {22, 2}, {24, 4}});
  list.SetPositions(source);
  EXPECT_EQ(PointsOf(list), (Points{{8, 0}, {10, 2}, {12, 4}}));
  EXPECT_EQ(watcher->Heard(), "ooa");

  Limit(Refuse);
  ExpectGivesUp([&] { list = source; }, "pos2d", "Limits on center and point positions are incompatible.");
  EXPECT_THROW(list.SetPositions(source), expt_cUserException);
  EXPECT_EQ(watcher->Heard(), "oooooooooooooooooooo");
  EXPECT_EQ(PointsOf(list), (Points{{8, 0}, {10, 2}, {12, 4}}));
}

TEST_F(PositionList, KeepsItsCenterRightWhenAReceiverThrows) {
  pos_c2DPositionList source;
  Add(source, {{1, 1}, {3, 3}, {5, 9}});
  const auto refuse = [](auto&) { throw Refusal(); };
  Limit(refuse);
  EXPECT_THROW(list.SetPositions(source), Refusal);
  EXPECT_THROW(list = source, Refusal);
  EXPECT_THROW(list.Center().Move(1, 1), Refusal);
  EXPECT_THROW(Point(list, 0).Move(1, 1), Refusal);
  EXPECT_EQ(PointsOf(list), points);
  EXPECT_EQ(Center(), pos_c2DPosition(2, 5));

  Limit({});
  Watcher2D thrower(Point(list, 1));
  thrower.OnOffer(refuse);
  EXPECT_THROW(list.Center().Move(10, 0), Refusal);
  EXPECT_EQ(PointsOf(list), (Points{{10, 0}, {4, 2}, {1, 10}}));
  EXPECT_EQ(Center(), pos_c2DPosition(5.5, 5)) << "the middle of moved and unmoved positions";
  EXPECT_THROW(list.SetPositions(source), Refusal);
  EXPECT_EQ(Center(), pos_c2DPosition(2.5, 5.5));
  Point(list, 1).RemoveReceiver(thrower);
  list.Center().AddReceiver(thrower, 0xFFFF);
  EXPECT_THROW(list.AddAtTail(new pos_c2DPosition(7, 7)), Refusal);
  EXPECT_EQ(list.NumberPositions(), 4);
  thrower.OnOffer({});
  watcher->Heard();
  list.Center().Move(1, 1);
  Point(list, 3).Move(1, 1);
  EXPECT_EQ(watcher->Heard(), "oaoa") << "it still reacts";
}

TEST_F(PositionList, MayBeReplacedWhileReceiversAreTold) {
  pos_c2DPositionList source;
  Add(source, {{1, 1}, {2, 2}});
  // The receiver that replaces it: one of the moved position, called before or after the list, one of the
  // list, or one of a point that moves with the centre.
  enum class Meddler { Early, Late, OfList, InLoop };
  for (Meddler who : {Meddler::Early, Meddler::Late, Meddler::OfList, Meddler::InLoop})
    for (bool offered : {true, false})
      for (int place : {of_center, 0, 2}) {  // of the moved position
        list.Clear();
        Add(list, points);
        bool done = false;
        const auto replace = [&](auto&) {
          if (!std::exchange(done, true)) list = source;
        };
        pos_c2DPosition& moved = place == of_center ? list.Center() : Point(list, place);
        pos_c2DPosition& told = who == Meddler::InLoop && place == of_center ? Point(list, 1) : moved;
        Watcher2D ofPoint(told);
        ListWatcher ofList(list);
        told.RemoveReceiver(ofPoint);
        told.AddReceiver(ofPoint, who == Meddler::Early ? 0 : 0xFFFF);
        const auto let = [&](auto& meddler) {
          offered ? meddler.OnOffer(replace) : meddler.OnAnnouncement(replace);
        };
        who == Meddler::OfList ? let(ofList) : let(ofPoint);
        moved.Move(1, 1);
        EXPECT_TRUE(done);
        EXPECT_EQ(list.NumberPositions(), 2);
        EXPECT_TRUE(place == of_center || list == source);  // the centre moves the positions it finds
      }
  watcher->Heard();
  Point(list, 0).Move(0, 1);
  EXPECT_EQ(watcher->Heard(), "oa");
}

TEST_F(PositionList, IsReadBackFromABinaryStream) {
  pos_c2DPositionList read;
  Add(read, {{9, 9}});
  ListWatcher reader(read);
  EXPECT_TRUE(RoundTrip(StreamKind::Binary, list, read));
  EXPECT_EQ(read, list);
  EXPECT_EQ(read.Center(), pos_c2DPosition(2, 5));
  EXPECT_EQ(reader.Heard(), "");
  Point(read, 2).Move(1, 0);
  EXPECT_EQ(reader.Heard(), "oa");
  EXPECT_TRUE(ReadAtoms(StreamKind::Binary, {{{0x7777, ""}, 1}}, read));
  EXPECT_EQ(read.NumberPositions(), 0);
  EXPECT_FALSE(ReadAtoms(StreamKind::Binary, {{{0x0100, ""}, 1.0}}, list));
  EXPECT_EQ(list.NumberPositions(), 0) << "only positions that could be read";
}

}  // namespace
