#include <DataStorage/series/datatag.h>
//

#include "series.h"

namespace {

TEST(DataTag, KindTimeAndPlaceAreCompared) {
  const auto plain = [](long time) { return std::make_unique<dtsr_cDataTag>(time); };
  const auto at = [](double x, double y, long time) {
    return std::make_unique<dtsr_c2DPosition>(x, y, time);
  };
  struct {
    std::unique_ptr<dtsr_cDataTag> a, b;
    bool equal, equal_in_time;
  } cases[] = {{plain(1), plain(2), true, false},       {plain(1), at(0, 0, 1), false, false},
               {at(0, 0, 1), plain(2), false, false},   {at(1, 2, 3), at(1, 2, 3), true, true},
               {at(1, 2, 3), at(1, 2, 4), true, false}, {at(1, 2, 3), at(1, 5, 3), false, false}};
  for (auto& c : cases) {
    EXPECT_EQ(c.a->IsEqual(*c.b, false), c.equal);
    EXPECT_EQ(c.a->IsEqual(*c.b, true), c.equal_in_time);
    c.a->SetEqual(*c.b);  // only the time of another kind
    EXPECT_EQ(c.a->Time(), c.b->Time());
    EXPECT_EQ(c.a->IsEqual(*c.b, true), c.a->TagTypeID() == c.b->TagTypeID());
  }
}

TEST(DataTag, RawFormsCutAtEveryByte) {
  const std::string plain = Hex("50 01 00 00  FE FF FF FF");
  const std::string at_place =
      Hex("32 01 00 00  64 00 00 00  00 00 00 00 00 00 F8 3F  00 00 00 00 00 00 00 C0");
  EXPECT_EQ(RawForm(dtsr_cDataTag(-2)), plain);
  EXPECT_EQ(RawForm(dtsr_c2DPosition(1.5, -2, 100)), at_place);
  for (std::size_t n = 0; n <= at_place.size(); ++n) {
    dtsr_c2DPosition tag(3, 4, 5);
    EXPECT_EQ(ReadComplaint(tag, at_place.substr(0, n)), n < 8    ? "Can't read TagTypeID."
                                                         : n < 24 ? "Error reading 2D tag."
                                                                  : "");
    EXPECT_TRUE(tag.IsEqual(dtsr_c2DPosition(n < 24 ? 3 : 1.5, n < 24 ? 4 : -2, n < 8 ? 5 : 100), true)) << n;
  }
  dtsr_cDataTag tag(5);
  EXPECT_EQ(ReadComplaint(tag, at_place), "Invalid TagTypeID.");
  EXPECT_EQ(tag.Time(), 5);
  bstr_cMemory_ostream out;
  if constexpr (sizeof(long) > 4) {
    constexpr long last = std::numeric_limits<std::int32_t>::max();
    for (const long time : {last + 1, -last - 2}) {
      EXPECT_EQ(Complaint([&] { dtsr_cDataTag(time).Write(out); }), "Can't write TagTypeID.");
    }
  }
  EXPECT_EQ(out.Size(), 0);
}

}  // namespace
