#include "file/header.h"
#include "file/series.h"
#include "tool.h"

using testing::HasSubstr;

namespace {

/// A tag of another program, with a temperature besides the time.
class OwnTag : public dtsr_cDataTag {
 public:
  OwnTag(long time, double temperature) : dtsr_cDataTag(time), temperature_(temperature) {}
  void Write(bstr_cBinary_ostream& out) const override {
    dtsr_cDataTag::Write(out);
    bstr_WriteFields(out, temperature_);
  }
  unsigned int TagTypeID() const override { return 0x777; }
  dtsr_cDataTag* pCopy() const override { return new OwnTag(*this); }

 private:
  double temperature_;
};

/// The series of that program, whose data are texts.
class OwnSeries : public dseries::Series {
 public:
  OwnSeries(const std::string& path, int size) : Series(path, Line(size), 0x888, bstr_CreateEmpty) {}
  void Append(const std::string& text, const dtsr_cDataTag& tag) {
    AppendDatum(tag, [&](bstr_cBinary_ostream& out) { return out.Write(text.data(), std::ssize(text)); });
  }

 private:
  static dtsr_cDimensionArray Line(int size) {
    dtsr_cDimensionArray line(1);
    line.Dimension(0) = dtsr_cDimension(size, cal_c1DArrayCal(10, 2.5), "x", "um", false);
    return line;
  }
};

// The places of the words that are damaged here.
constexpr std::size_t Valid = dseries::Header::ValidField, Lists = dseries::Header::ListsField;

class Foreign : public Tool {
 protected:
  /// Makes a series of three data in so many slots.
  void Make(int slots) {
    OwnSeries series(folder_ / "a.dseries", slots);
    for (int i = 0; i < 3; ++i)
      series.Append(std::string(static_cast<std::size_t>(5 * i + 2), 'x'), OwnTag(100 + i, i));
  }
  std::string Repaired() {
    std::filesystem::remove(folder_ / "b.dseries");
    const std::string told = Succeed("repair a.dseries -o b.dseries");
    EXPECT_THAT(Succeed("verify b.dseries"), HasSubstr("b.dseries: whole"));
    return told;
  }
};

TEST_F(Foreign, SeriesTellAllButTheirData) {
  for (const int slots : {3, 5}) {
    Make(slots);
    EXPECT_THAT(Succeed("info a.dseries"),
                HasSubstr("data    data of a kind unknown here (identifier 0x0888)"));
    EXPECT_THAT(Succeed("info a.dseries"),
                HasSubstr("tags    time and more, of a kind unknown here (identifier 0x0777)"));
    EXPECT_THAT(Succeed("info a.dseries --json"), HasSubstr("\"last_time\": \"1970-01-01T00:01:42Z\""));
    EXPECT_THAT(Succeed("list a.dseries"), HasSubstr("    1      1  12.5  1970-01-01T00:01:41Z\n"));
    EXPECT_THAT(Succeed("list a.dseries --json"), HasSubstr("\"bytes\": 12"));
    EXPECT_THAT(Succeed("verify a.dseries"), HasSubstr("their places are checked, but not their bytes"));
    EXPECT_THAT(Repaired(), HasSubstr("3 of 3 data saved"));
    EXPECT_EQ(Read("b.dseries"), Read("a.dseries"));
    for (const char* command :
         {"get a.dseries 0", "plot a.dseries", "map a.dseries -o a.png", "export a.dseries -o -",
          "convert a.dseries c.dseries --type float32", "append a.dseries a.txt"}) {
      EXPECT_THAT(Run(command).err, HasSubstr("a.dseries holds data of a kind unknown here")) << command;
    }
    EXPECT_THAT(Run("find a.dseries --time 101").err,
                HasSubstr("'dseries list a.dseries' shows their times"));
  }
}

TEST_F(Foreign, SeriesAreSavedAsFarAsTheirListsLead) {
  Make(5);
  const std::string whole = Read("a.dseries");
  const auto damaged = [&](std::size_t position, char byte, std::size_t cut) {
    std::string bytes = whole.substr(0, whole.size() - cut);
    bytes[position] = byte;
    Write("a.dseries", bytes);
    return Repaired();
  };
  EXPECT_THAT(damaged(Valid, 2, 0), HasSubstr("the header counts 2 valid data"));
  EXPECT_EQ(Read("b.dseries"), whole);
  const auto lists = static_cast<std::size_t>(whole[Lists]);
  // The place of datum 1, which is also the end of tag 0.
  const std::string told = damaged(lists + 4, 9, 0);
  EXPECT_THAT(told, HasSubstr("the tag of datum 0 is lost"));
  EXPECT_THAT(told, HasSubstr("datum 1 is lost"));
  EXPECT_THAT(told, HasSubstr("2 of 3"));
  EXPECT_THAT(damaged(lists + 20 + 4, 1, 0),
              HasSubstr("datum 1 is lost; a datum without bytes holds its place"));
  EXPECT_THAT(damaged(Valid, 3, 1), HasSubstr("the tag of datum 2 is lost"));
  EXPECT_THAT(damaged(Valid, 3, 17), HasSubstr("datum 2 is lost"));
}

}  // namespace
