#include <DataStorage/series/datatag.h>
//
#include <ctime>
#include <gtest/gtest.h>
#include <limits>
#include <memory>

#include "series.h"
#include <DataStorage/interfaces/constants.h>

namespace {

const std::string raw_plain = Hex("50 01 00 00  FE FF FF FF");
const std::string raw_2d = Hex("32 01 00 00  64 00 00 00  00 00 00 00 00 00 F8 3F  00 00 00 00 00 00 00 C0");

TEST(DataTag, KindTimeAndPlaceAreCompared) {
  struct Case {
    std::unique_ptr<dtsr_cDataTag> a, b;
    bool equal, equal_in_time;
  };
  const auto plain = [](long time) { return std::make_unique<dtsr_cDataTag>(time); };
  const auto at = [](double x, double y, long time) {
    return std::make_unique<dtsr_c2DPosition>(x, y, time);
  };
  Case cases[] = {{plain(1), plain(1), true, true},          {plain(1), plain(2), true, false},
                  {plain(1), at(0, 0, 1), false, false},     {at(0, 0, 1), plain(1), false, false},
                  {at(1, 2, 3), at(1, 2, 3), true, true},    {at(1, 2, 3), at(1, 2, 4), true, false},
                  {at(1, 2, 3), at(1, 2.5, 3), false, false}};
  for (Case& c : cases) {
    EXPECT_EQ(c.a->IsEqual(*c.b, false), c.equal);
    EXPECT_EQ(c.a->IsEqual(*c.b, true), c.equal_in_time);
    const std::unique_ptr<dtsr_cDataTag> copy(c.b->pCopy());
    EXPECT_TRUE(copy->IsEqual(*c.b, true));
    c.a->SetEqual(*c.b);
    EXPECT_EQ(c.a->Time(), c.b->Time());
    EXPECT_EQ(c.a->IsEqual(*c.b, true), c.a->TagTypeID() == c.b->TagTypeID());
  }
  dtsr_c2DPosition tag(5, 6, 0);
  tag.SetEqual(dtsr_cDataTag(9));
  EXPECT_EQ(tag, pos_c2DPosition(5, 6));
  const std::time_t now = std::time(nullptr);
  tag = pos_c2DPosition(7, 8);
  EXPECT_EQ(tag, pos_c2DPosition(7, 8));
  EXPECT_GE(tag.Time(), now);
  tag = dtsr_c2DPosition(1, 2, 3);
  EXPECT_EQ(tag.Time(), 3);
}

TEST(DataTag, RawFormsCutAtEveryByte) {
  EXPECT_EQ(RawForm(dtsr_cDataTag(-2)), raw_plain);
  EXPECT_EQ(RawForm<dtsr_cDataTag>(dtsr_c2DPosition(1.5, -2, 100)), raw_2d);
  for (std::size_t n = 0; n <= raw_2d.size(); ++n) {
    dtsr_c2DPosition tag(3, 4, 5);
    const std::string complaint = Complaint([&] { ReadRawForm<dtsr_cDataTag>(tag, raw_2d.substr(0, n)); });
    EXPECT_EQ(complaint, n < 8 ? "Can't read TagTypeID." : n < 24 ? "Error reading 2D tag." : "") << n;
    EXPECT_EQ(tag.Time(), n < 8 ? 5 : 100) << n;
    EXPECT_EQ(tag, n < 24 ? pos_c2DPosition(3, 4) : pos_c2DPosition(1.5, -2)) << n;
    if (n == 24) continue;
    ShortOutput out(static_cast<std::int64_t>(n));
    EXPECT_EQ(Complaint([&] { static_cast<const dtsr_cDataTag&>(tag).Write(out); }),
              n < 8 ? "Can't write TagTypeID." : "Error writing 2D tag.");
  }
  dtsr_cDataTag plain(5);
  EXPECT_EQ(Complaint([&] { ReadRawForm(plain, raw_2d); }), "Invalid TagTypeID.");
  EXPECT_EQ(plain.Time(), 5);
  ReadRawForm(plain, raw_plain);
  EXPECT_EQ(plain.Time(), -2);
}

TEST(DataTag, TimesBeyondTheFormAreRefused) {
  constexpr long last = std::numeric_limits<std::int32_t>::max();
  EXPECT_EQ(RawForm(dtsr_cDataTag(last)).size(), 8U);
  if constexpr (sizeof(long) > 4) {
    for (const long time : {last + 1, -last - 2}) {
      bstr_cMemory_ostream out;
      EXPECT_EQ(Complaint([&] { dtsr_cDataTag(time).Write(out); }), "Can't write TagTypeID.");
      EXPECT_EQ(out.Size(), 0);
    }
  }
}

}  // namespace
