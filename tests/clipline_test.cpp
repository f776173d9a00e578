#include "receivers.h"
#include <DataStorage/positions/clipline.h>

namespace {

struct Segment {
  double x1, y1, x2, y2;
  Segment Reversed() const { return {x2, y2, x1, y1}; }
};

TEST(ClipLine, CutsASegmentDownToARange) {
  const rnge_c2DRange square(0, 0, 2, 2, 0);
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const Segment none{nan, nan, nan, nan};
  const std::vector<std::pair<Segment, Segment>> cases{
      {{-2, -2, 2, 2}, {-1, -1, 1, 1}},
      {{-2, 2, 2, -2}, {-1, 1, 1, -1}},
      {{-5, 0.5, 5, 0.5}, {-1, 0.5, 1, 0.5}},
      {{0, 3, 0, -3}, {0, 1, 0, -1}},
      {{0, 0, 4, 2}, {0, 0, 1, 0.5}},
      {{0, 0, -2, 4}, {0, 0, -0.5, 1}},
      {{-0.5, 0, 0.5, 0.2}, {-0.5, 0, 0.5, 0.2}},
      {{0.5, 3, 3, 0.5}, none},  // its box overlaps, but the line misses the corner
      {{2, 2, 2, 2}, none},
      {{2, -5, 2, 5}, none},
      {{nan, 0, 0, 0}, none}};
  for (const auto& [from, to] : cases)
    for (bool reversed : {false, true}) {
      const Segment before = reversed ? from.Reversed() : from;
      const Segment after = reversed ? to.Reversed() : to;
      pos_c2DPosition p1(before.x1, before.y1), p2(before.x2, before.y2);
      std::string log;
      Watcher<pos_s2DPositionChange> first(p1, &log), second(p2, &log);
      first.name = {'o', '1'};
      second.name = {'o', '2'};
      const bool hit = after.x1 == after.x1;
      EXPECT_EQ(rnge_ClipLine(square, p1, p2), hit) << before.x1 << ", " << before.y1;
      if (!hit) {
        EXPECT_EQ(log, "");
        continue;
      }
      EXPECT_EQ(p1, pos_c2DPosition(after.x1, after.y1));
      EXPECT_EQ(p2, pos_c2DPosition(after.x2, after.y2));
      const int moves =
          (p1 != pos_c2DPosition(before.x1, before.y1)) + (p2 != pos_c2DPosition(before.x2, before.y2));
      EXPECT_EQ(log, std::string(moves == 2 ? "o1o2" : moves == 0 ? "" : reversed ? "o1" : "o2"));
    }
}

TEST(ClipLine, NeverCutsAtATurnedRange) {
  const rnge_c2DRange turned(0, 0, 2, 2, 0.1);
  pos_c2DPosition inside1(-0.5, 0), inside2(0.5, 0.1), outside(3, 0);
  EXPECT_TRUE(rnge_ClipLine(turned, inside1, inside2));
  EXPECT_FALSE(rnge_ClipLine(turned, inside1, outside));
  EXPECT_EQ(outside, pos_c2DPosition(3, 0));
}

TEST(Segments, HaveALengthAndADirection) {
  const double pi = std::numbers::pi;
  EXPECT_EQ(pos_Distance({0, 0}, {3, 4}), 5);
  EXPECT_EQ(pos_Distance({1e300, 0}, {0, 0}), 1e300);
  EXPECT_EQ(pos_Angle({0, 0}, {0, 1}), pi / 2);
  EXPECT_EQ(pos_Angle({0, 0}, {-1, 0}), pi);
  EXPECT_EQ(pos_Angle({1, 1}, {1, 0}), -pi / 2);
  EXPECT_EQ(pos_Angle({1, 1}, {1, 1}), 0);
  EXPECT_EQ(pos_Angle({0, 0}, {-1e-310, -1e-310}), 0);
}

}  // namespace
