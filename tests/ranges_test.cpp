#include "receivers.h"
#include "tagged.h"
#include <DataStorage/positions/range1d.h>
#include <DataStorage/positions/range2d.h>

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double inf = std::numeric_limits<double>::infinity();

/// A range with receivers attached to it and to its centre.
template <class Range, class Change, class CenterChange>
struct Watched {
  Range range;
  Watcher<Change> watcher{range};
  Watcher<CenterChange> center{range.Center()};

  struct Step {
    void (*change)(Range&);
    Range after;
    std::string heard;  // by the range and by the centre
  };
  void Check(const std::vector<Step>& steps) {
    for (const Step& step : steps) {
      watcher.OnAnnouncement([&, before = range](Change& change) {
        EXPECT_EQ(change.OldRange, before);
        EXPECT_EQ(change.NewRange, step.after);
      });
      step.change(range);
      EXPECT_EQ(range, step.after);
      EXPECT_EQ(range.Center(), Range(step.after).Center());
      EXPECT_EQ(watcher.Heard() + "|" + center.Heard(), step.heard);
    }
    watcher.OnAnnouncement({});
  }
  /// A receiver that throws before the range has changed leaves everything unchanged.
  void CheckRefusals(Range other) {
    const Range before = range;
    const auto refuse = [](auto&) { throw Refusal(); };
    const auto check = [&](auto change) {
      EXPECT_THROW(change(), Refusal);
      EXPECT_EQ(range, before);
      EXPECT_EQ(range.Center(), Range(before).Center());
    };
    center.OnAnnouncement(refuse);  // also while it is undone
    check([&] { range = other; });
    center.OnAnnouncement({});
    watcher.OnOffer(refuse);
    check([&] { range = other; });
    check([&] { range.Center() = other.Center(); });
    watcher.OnOffer({});
    range.Center() = other.Center();
    EXPECT_EQ(range.CenterX(), other.CenterX());
    EXPECT_EQ(range.SizeX(), before.SizeX()) << "it still follows";
  }
};
using Watched1D = Watched<rnge_c1DRange, rnge_s1DRangeChange, pos_s1DPositionChange>;
using Watched2D = Watched<rnge_c2DRange, rnge_s2DRangeChange, pos_s2DPositionChange>;

void ExpectRange(const rnge_c1DRange& range, double start, double end) {
  EXPECT_EQ(range.StartX(), start);
  EXPECT_EQ(range.EndX(), end);
  EXPECT_EQ(range.CenterX(), (start + end) / 2);
}

TEST(Range1D, IsSetAndFollowsItsCenter) {
  using Range = rnge_c1DRange;
  Watched1D watched{Range(5, 1)};
  const auto center_alone = [](Range& r) { r.Center().SetX(7); };
  watched.Check({{[](Range& r) { r.SetRange(1, 5); }, {1, 5}, "|"},
                 {[](Range& r) { r.SetRange(5, 1); }, {1, 5}, "oa|"},  // the ends are compared as given
                 {[](Range& r) { r.SetCenter(4); }, {2, 6}, "oa|oa"},
                 {[](Range& r) { r.SetSizeX(1); }, {3.5, 4.5}, "oa|"},
                 {[](Range& r) { r = Range(8, 9); }, {8, 9}, "oa|oa"},
                 {center_alone, {6.5, 7.5}, "oa|oa"}});
  watched.CheckRefusals({20, 22});

  watched.watcher.OnOffer([](auto& change) {
    change.Modified = true;
    change.NewRange.SetRange(6, 11);  // only its centre changes the range
  });
  center_alone(watched.range);
  ExpectRange(watched.range, 8, 9);
}

TEST(Range1D, NegotiatesBetweenItsLimitsAndThoseOfItsCenter) {
  Watched1D watched{rnge_c1DRange(0, 2)};
  auto& range = watched.range;
  auto& limit = watched.watcher;
  auto& center_limit = watched.center;
  center_limit.OnOffer([](auto& change) {
    change.Modified = change.NewPosition.X() > 5;
    if (change.Modified) change.NewPosition.SetX(5);
  });
  watched.Check({{[](auto& r) { r.SetRange(8, 12); }, {3, 7}, "oa|oa"}});
  limit.OnOffer([](auto& change) {
    change.Modified = change.NewRange.SizeX() > 2;
    if (change.Modified) change.NewRange.SetSizeX(2);
  });
  watched.Check({{[](auto& r) { r.SetRange(10, 16); }, {4, 6}, "ooa|oa"}});

  limit.OnOffer([](auto& change) { change.Modified = true; });
  ExpectGivesUp([&] { range.SetRange(1, 3); }, "range1d", "1D range limit incompatible with center limit.");
  EXPECT_EQ(limit.Heard(), "oooooooooo");
  EXPECT_EQ(range, rnge_c1DRange(4, 6));
  EXPECT_EQ(range.CenterX(), 2);
}

TEST(Range2D, IsSetAndNegotiatesLikeRange1D) {
  using Range = rnge_c2DRange;
  EXPECT_EQ(Range(4, 6, 0, 2), Range(2, 4, 4, 4, 0));
  Watched2D watched{Range(4, 6, 0, 2)};
  auto& range = watched.range;
  auto& limit = watched.watcher;
  auto& center_limit = watched.center;
  watched.Check({{[](Range& r) { r.SetAngle(0.5); }, {2, 4, 4, 4, 0.5}, "oa|"},
                 {[](Range& r) { r.SetSize(1, 2); }, {2, 4, 1, 2, 0.5}, "oa|"},
                 {[](Range& r) { r.Move(6, 5); }, {8, 9, 1, 2, 0.5}, "oa|oa"},
                 {[](Range& r) { r.Center().Move(-2, 1); }, {6, 10, 1, 2, 0.5}, "oa|oa"},
                 {[](Range& r) { r = Range(r); }, {6, 10, 1, 2, 0.5}, "|"},
                 {[](Range& r) { r.SetRange(1, 1, 3, 3); }, {2, 2, 2, 2, 0}, "oa|oa"}});  // resets the angle
  watched.CheckRefusals({5, 6, 7, 9});

  limit.OnOffer([](auto& change) {  // excludes the left half
    change.Modified = change.NewRange.CenterX() < 0;
    if (change.Modified) change.NewRange.SetCenter(0, change.NewRange.CenterY());
  });
  range.Center().SetPosition(-3, 5);
  EXPECT_EQ(range, Range(0, 5, 2, 2, 0));
  center_limit.OnOffer([](auto& change) {
    change.Modified = change.NewPosition.Y() > 6;
    if (change.Modified) change.NewPosition.SetPosition(change.NewPosition.X(), 6);
  });
  range.SetRange(4, 9, 1, 1, 0);
  EXPECT_EQ(range, Range(4, 6, 1, 1, 0));
  limit.OnOffer([](auto& change) { change.Modified = true; });
  ExpectGivesUp([&] { range.Move(-1, -1); }, "range2d", "2D range limit incompatible with center limit.");
  EXPECT_EQ(range, Range(4, 6, 1, 1, 0));
  EXPECT_EQ(range.Center(), pos_c2DPosition(3, 5));
}

TEST(Ranges, AreHeardByTheirOverridesWithoutAnyReceiver) {
  Listener<rnge_c1DRange> line(0, 2);
  line.SetRange(3, 7);
  EXPECT_EQ(line.Heard(), "()oa");
  line.Center().SetX(1);
  EXPECT_EQ(line.Heard(), "(o)a");
  Listener<rnge_c2DRange> plane(0, 0, 2, 2);
  plane.Move(1, 0);
  EXPECT_EQ(plane.Heard(), "()oa");
  plane.Center().Move(0, 1);
  EXPECT_EQ(plane.Heard(), "(o)a");
}

TEST(Ranges, KeepTheSignOfAZeroWhileSomebodyListens) {
  const auto check = [](auto range, auto same, auto signs, auto other) {
    for (bool asked : {false, true}) {  // a centre without other receivers does not count
      if (asked) range.Center();
      same(range, asked ? 0.0 : -0.0);
      EXPECT_EQ(signs(range), std::pair(!asked, !asked));
    }
    for (mesg_cSender* sender :
         {static_cast<mesg_cSender*>(&range), static_cast<mesg_cSender*>(&range.Center())}) {
      Watcher<mesg_sMessageData> watcher(*sender);
      same(range, -0.0);
      EXPECT_EQ(watcher.Heard(), "");
      EXPECT_EQ(signs(range), std::pair(false, false));
    }
    range = other;
    same(range, -0.0);
    EXPECT_EQ(signs(range), std::pair(true, true)) << "a change that leaves the centre where it is";
  };
  check(
      rnge_c1DRange(), [](auto& r, double zero) { r.SetRange(zero, zero); },
      [](auto& r) { return std::pair(std::signbit(r.EndX()), std::signbit(r.CenterX())); },
      rnge_c1DRange(-1, 1));
  check(
      rnge_c2DRange(), [](auto& r, double zero) { r.SetRange(zero, 0, 0, 0, 0); },
      [](auto& r) { return std::pair(std::signbit(r.CenterX()), std::signbit(r.Center().X())); },
      rnge_c2DRange(-1, -1, 1, 1));
}

TEST(Ranges, EndTheirNegotiationAlsoWithoutNumbers) {
  for (double a : {nan, -inf, inf, DBL_MAX})
    for (double b : {nan, inf, DBL_MAX, 0.0}) {
      Watched1D line{rnge_c1DRange(0, 2)};
      line.range.SetRange(a, b);
      EXPECT_EQ(line.watcher.Heard(), "oa");
      line.range.SetCenter(a);
      line.range.Center().SetX(b);
      Watched2D{rnge_c2DRange(0, 0, 2, 2)}.range.SetRange(a, b, b, a);
    }
  EXPECT_FALSE(rnge_c1DRange(nan, 2).Contains(1));
  EXPECT_FALSE(rnge_c2DRange(0, 0, 2, 2).Contains(1, nan));
  EXPECT_EQ(rnge_c1DRange(0, 2) & rnge_c1DRange(nan, nan), rnge_c1DRange::Null);
  ExpectRange(rnge_c1DRange(0, 2) | pos_c1DPosition(nan), 0, 2);
}

TEST(Range1D, ContainsComparesAndCombines) {
  const rnge_c1DRange range(0, 2), point(3, 3);
  for (double x : {0.0, 2.0, -1.9e-9, 2 + 1.9e-9}) EXPECT_TRUE(range.Contains(x)) << x;
  for (double x : {-2.1e-9, 2 + 2.1e-9}) EXPECT_FALSE(range.Contains(x)) << x;
  EXPECT_TRUE(point.Contains(pos_c1DPosition(3)));
  EXPECT_FALSE(point.Contains(std::nextafter(3.0, 4.0)));
  for (const rnge_c1DRange& other : {rnge_c1DRange(-1, 3), {2, 3}, {0.5, 1}})
    EXPECT_TRUE(range.Intersects(other));
  EXPECT_FALSE(range.Intersects(point));
  EXPECT_EQ(range, rnge_c1DRange(1e-9, 2));
  EXPECT_NE(range, rnge_c1DRange(1e-8, 2));

  ExpectRange(rnge_c1DRange(0, 1) & rnge_c1DRange(1, 2), 1, 1);
  EXPECT_EQ(range & point, rnge_c1DRange::Null);
  EXPECT_FALSE((range & point).IsNull());
  EXPECT_TRUE(rnge_c1DRange::Null.IsNull());
  ExpectRange(rnge_c1DRange(0, 1) | point, 0, 3);
  ExpectRange(pos_c1DPosition(-4) | (range | pos_c1DPosition(6)), -4, 6);
}

TEST(Range2D, HasCorners) {
  const rnge_c2DRange flat(0, 0, 2, 1, 0), upright(0, 0, 2, 1, std::numbers::pi / 2);
  const auto corners = [](const rnge_c2DRange& r) {
    return std::array{r.Top(), r.TopX(), r.Left(), r.LeftY(), r.Bottom(), r.BottomX(), r.Right(), r.RightY()};
  };
  EXPECT_EQ(corners(flat), (std::array{0.5, -1.0, -1.0, -0.5, -0.5, 1.0, 1.0, 0.5}));
  const std::array turned{1.0, -0.5, -0.5, -1.0, -1.0, 0.5, 0.5, 1.0};
  for (std::size_t i = 0; i < turned.size(); ++i) EXPECT_NEAR(corners(upright)[i], turned[i], 1e-15) << i;
  EXPECT_EQ(upright.RangeY().SizeX(), 2);
  const rnge_c2DRange other(1, 1, 2, 2);
  EXPECT_EQ(std::pair(flat.OffsetX(other), flat.OffsetY(other)), std::pair(-2.0, -1.5));

  using Point = std::pair<double, double>;
  for (auto [x, y] : {Point(1, 0.5), {0.9, 0}, {1 + 1.9e-9, 0}, {0, 0}})
    EXPECT_TRUE(flat.Contains(x, y)) << x;
  for (auto [x, y] : {Point(1.1, 0), {0, 0.9}, {0, 0.5 + 1.1e-9}}) EXPECT_FALSE(flat.Contains(x, y)) << x;
  EXPECT_TRUE(upright.Contains(0, 0.9));
  EXPECT_FALSE(upright.Contains(0.9, 0));
  const rnge_c2DRange diagonal(0, 0, 4, 1, std::numbers::pi / 4);
  EXPECT_TRUE(diagonal.Contains(1, 1) && !diagonal.Contains(1, -1));
  EXPECT_TRUE(rnge_c2DRange(0, 0, 4, 4, 0).Contains(upright));
  EXPECT_FALSE(flat.Contains(upright));
}

TEST(Range2D, CombinesOnlyAlongTheAxes) {
  const rnge_c2DRange range(0, 0, 2, 2), turned(1, 1, 2, 2, 0.1);
  EXPECT_EQ(range & rnge_c2DRange(1, 1, 5, 5), rnge_c2DRange(1, 1, 2, 2));
  EXPECT_EQ(range | rnge_c2DRange(4, 4, 5, 5), rnge_c2DRange(0, 0, 5, 5));
  EXPECT_EQ(pos_c2DPosition(1, 1) | (range | pos_c2DPosition(-1, 5)), rnge_c2DRange(-1, 0, 2, 5));
  for (const rnge_c2DRange& nothing :
       {range & rnge_c2DRange(3, 0, 4, 1), range & turned, turned | range, turned | pos_c2DPosition()}) {
    EXPECT_EQ(nothing, rnge_c2DRange::Null);
    EXPECT_FALSE(nothing.IsNull());
  }
  EXPECT_TRUE(rnge_c2DRange::Null.IsNull());
  EXPECT_TRUE(range.Intersects(rnge_c2DRange(2, 0, 3, 2))) << "in an edge";
  EXPECT_FALSE(range.Intersects(turned));
  EXPECT_TRUE(range.Intersects(rnge_c2DRange(1, 1, 2, 2, 1e-310)))
      << "an angle below the normal doubles is zero";
  EXPECT_EQ(turned, rnge_c2DRange(1, 1, 2, 2, 0.1 + 5e-7));
  EXPECT_NE(turned, rnge_c2DRange(1, 1, 2, 2, 0.1 + 1.01e-6));
  EXPECT_NE(range, rnge_c2DRange(0, 0, 2, 2 + 1e-8));
}

TEST(IndexRanges, OrderCountAndShift) {
  const rnge_c1DIndexRange range(7, 3);
  EXPECT_EQ(range, rnge_c1DIndexRange(3, 7));
  EXPECT_FALSE(range.Contains(7));
  EXPECT_EQ(range.Shift(INT_MAX), rnge_c1DIndexRange(INT_MAX, INT_MAX));
  EXPECT_EQ(rnge_c1DIndexRange(INT_MIN, INT_MAX).NumIndicesX(), INT_MAX);
  EXPECT_TRUE(rnge_c1DIndexRange::Null.IsNull() && !rnge_c1DIndexRange().IsNull());

  const rnge_c2DIndexRange plane(5, 1, 2, 3);
  EXPECT_EQ(plane.Shift(1, -1), rnge_c2DIndexRange(3, 0, 6, 2));
  EXPECT_TRUE(plane.Contains(4, 2) && !plane.Contains(4, 0));
}

TEST(IndexRanges, SelectTheCellsOfACalibratedAxis) {
  constexpr rnge_eIndexSelect all[] = {rnge_IndexInner, rnge_IndexOuter, rnge_IndexNearest,
                                       rnge_IndexInnerStart};
  constexpr std::pair everything{INT_MIN, INT_MAX};
  const cal_cArrayCal unit, other(10, 0.5, 2);
  struct {
    cal_cArrayCal cal;
    double from, to;
    std::pair<int, int> expected[4];  // in the order of the selections
  } const cases[] = {
      {unit, 0.2, 0.7, {{1, 0}, {0, 1}, {0, 1}, {1, 1}}},
      {unit, 0.0, 3.0, {{0, 3}, {0, 3}, {0, 3}, {0, 3}}},
      {unit, 1e-7, 3 - 1e-7, {{0, 3}, {0, 3}, {0, 3}, {0, 3}}},
      {unit, 0.6, 3.4, {{1, 3}, {0, 4}, {1, 3}, {1, 4}}},
      {unit, 2.0, 2.0, {{2, 2}, {2, 3}, {2, 2}, {2, 3}}},
      {other, 9.0, 10.2, {{0, 2}, {0, 3}, {0, 2}, {0, 3}}},
      {unit, -1e300, 1e300, {everything, everything, everything, everything}},
  };
  for (const auto& [cal, from, to, expected] : cases)
    for (rnge_eIndexSelect select : all) {
      const rnge_c1DIndexRange line(rnge_c1DRange(from, to), cal_c1DArrayCal(cal), select);
      const std::pair found(line.StartIndexX(), line.EndIndexX());
      EXPECT_EQ(found, expected[select]) << from << " to " << to << ", select " << select;
      const rnge_c2DRange band(1, from, 2, to);
      const rnge_c2DIndexRange plane(band, cal_c2DArrayCal(unit, cal), select);
      EXPECT_EQ(std::pair(plane.StartIndexY(), plane.EndIndexY()), found);
      EXPECT_EQ(plane.IndexRangeX(), rnge_c1DIndexRange(1, 2));
    }
  for (double delta : {0.0, nan, inf, -1.0})  // any result, but no undefined behaviour
    for (double end : {nan, inf, 3.0})
      for (rnge_eIndexSelect select : all)
        EXPECT_LE(rnge_c1DIndexRange(rnge_c1DRange(0, end), cal_c1DArrayCal(0, delta, INT_MAX), select)
                      .NumIndicesX(),
                  INT_MAX);

  ExpectRange(rnge_c1DRange(rnge_c1DIndexRange(1, 3), cal_c1DArrayCal(10, 2, 0)), 12, 16);
  ExpectRange(rnge_c1DRange(rnge_c1DIndexRange(1, 3), cal_c1DArrayCal(10, -2, 0)), 8, 4);
  rnge_c2DRange plane(rnge_c2DIndexRange(1, 0, 3, 4), cal_c2DArrayCal(10, 20, 2, -1));
  EXPECT_EQ(plane.Center(), pos_c2DPosition(14, 18));
  EXPECT_EQ(plane.SizeY(), -4);
  EXPECT_NE(plane, plane) << "a range with a negative width equals nothing";
}

TEST(Ranges, AreReadLikeAnyOtherChange) {
  for (StreamKind kind : bothStreamKinds) {
    Watched1D watched{rnge_c1DRange(0, 1)};
    EXPECT_TRUE(ReadAtoms(kind,
                          {{{rnge_XmaxTag, rnge_XmaxString}, -2.0}, {{rnge_AngleTag, rnge_AngleString}, 1.0}},
                          watched.range));
    ExpectRange(watched.range, -2, 0);
    EXPECT_EQ(watched.watcher.Heard(), "oa");
    rnge_c2DRange plane(1, 2, 3, 4, 5);
    EXPECT_TRUE(ReadAtoms(kind, {{{rnge_YwidthTag, rnge_YwidthString}, 3.0}}, plane));
    EXPECT_EQ(plane, rnge_c2DRange(0, 0, 0, 3, 0));
  }
}

}  // namespace
