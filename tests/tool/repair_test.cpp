#include <cstring>

#include "commands/commands.h"
#include "file/check.h"
#include "file/failure.h"
#include "tool.h"

using testing::HasSubstr;

namespace {

// The places of the words that these tests damage. The file has one dimension of five slots, three of them
// filled with two 8-byte floats each.
constexpr int TagType = 10, Total = 14, Valid = 18, Lists = 22, DimensionCount = 26, Size = 30,
              TextLength = 54, DataOffsets = 63, TagOffsets = 83, Datum0 = 103, Tag0 = 145, Datum1 = 153,
              Tag1 = 195, Datum2 = 203, Tag2 = 245, End = 253;
constexpr int Count = 22;  // place of the element count in a datum

struct Damage {
  int position;
  std::int32_t word;
};

class Repair : public Tool {
 protected:
  void SetUp() override {
    Succeed("create whole.dseries --dim n,,5,0,2");
    for (const char* const numbers : {"1\n2\n", "3\n4\n", "5\n6\n"}) {
      Write("numbers.txt", numbers);
      Succeed("append whole.dseries numbers.txt --time 7");
    }
    bytes_ = Read("whole.dseries");
    ASSERT_EQ(bytes_.size(), std::size_t{End});
    for (const char* const k : {"0", "1", "2"}) {
      texts_.push_back(Succeed(std::string("get -o - whole.dseries ") + k));
    }
  }

  /// Repairs the file with some words changed and cut at `size`.
  Result Mend(std::initializer_list<Damage> damages, int size = End) {
    std::string bytes = bytes_;
    for (const auto& [position, word] : damages) {
      std::memcpy(bytes.data() + position, &word, sizeof word);
    }
    bytes.resize(static_cast<std::size_t>(size));
    Write("a.dseries", bytes);
    std::filesystem::remove(folder_ / "b.dseries");
    const Result result = Run("repair a.dseries -o b.dseries");
    EXPECT_EQ(Read("a.dseries"), bytes);
    if (result.status == 0) {
      EXPECT_THAT(Succeed("verify b.dseries"), testing::StartsWith("b.dseries: whole"));
    }
    return result;
  }

  /// The data in the new file: "012" when all are there, a dot for one without elements.
  std::string Saved() {
    std::string saved;
    for (const std::string& text : texts_) {
      const char k = static_cast<char>('0' + saved.size());
      const Result found = Run(std::string("get -o - b.dseries ") + k);
      if (found.status != 0) break;
      saved += found.out == text ? k : found.out.empty() ? '.' : '?';
    }
    return saved;
  }

  std::string bytes_;
  std::vector<std::string> texts_;  // the data as columns
};

TEST_F(Repair, SavesWhatIsWholeInItsPlace) {
  const Damage no_lists[] = {{DataOffsets, 0},      {DataOffsets + 4, 0}, {DataOffsets + 8, -1},
                             {DataOffsets + 12, 5}, {TagOffsets, 0},      {TagOffsets + 4, 77}};
  const struct {
    std::initializer_list<Damage> damages;
    int size;
    const char* saved;
    const char* told;
  } cases[] = {
      {{}, End, "012", "a.dseries: 3 of 3 data saved in b.dseries\n"},
      {{{Valid, 1}}, End, "012", "the header counts 1 valid data\n"},
      {{{Valid, -1}}, End, "012", "3 of 3"},
      {{{Valid, 0}}, End, "012", "3 of 3"},
      {{{Valid, 4}}, End, "012", "datum 3 is lost\na.dseries: 3 of 4"},
      {{{Total, 0}}, End, "012", "3 of 3"},
      {{{Lists, 12345}}, End, "012", "3 of 3"},
      {{{TagType, 0x999}}, End, "012", "3 of 3"},
      {{no_lists[0], no_lists[1], no_lists[2], no_lists[3], no_lists[4], no_lists[5]}, End, "012", "3 of 3"},
      {{no_lists[1], {Valid, -1}}, Tag2 - 1, "01", "2 of 2"},
      {{}, End - 1, "012", "the tag of datum 2 is lost; its time is 1970-01-01T00:00:00Z now\n"},
      {{}, Tag2 - 1, "01", "datum 2 is lost\na.dseries: 2 of 3"},
      {{}, Tag0 + 1, "0", "data 1 to 2 are lost\na.dseries: 1 of 3"},
      {{{Datum1 + Count, 1}}, End, "0.2", "datum 1 is lost; an array without elements holds its place\n"},
      {{{Datum0 + Count, -5}}, End, ".12", "2 of 3"},
      {{{Datum0 + Count, 0x7FFFFFFF}, no_lists[1]}, End, "..2", "1 of 3"},
      {{{Tag1, 0}}, End, "012", "the tag of datum 1 is lost"},
      {{{Tag1, 0}, no_lists[5]}, End, "0.2", "datum 1 is lost"},
      {{{Size, 2}}, End, "012", "the dimensions are lost: the data lie along one plain dimension\n"},
      {{{Size, 2}, {Total, 3}}, End, "012", "plain"},
      {{{DimensionCount, -1}}, End, "012", "plain"},
      {{{TextLength, 100}}, End, "012", "plain"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.told);
    const Result result = Mend(c.damages, c.size);
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_THAT(result.out, HasSubstr(c.told));
    EXPECT_EQ(Saved(), c.saved) << result.out;
    const bool plain = result.out.find("plain") != std::string::npos;
    EXPECT_THAT(Succeed("info b.dseries"), HasSubstr(plain ? "datum" : "n "));
  }
  EXPECT_THAT(Succeed("list b.dseries"), HasSubstr("1970-01-01T00:00:07Z"));
}

TEST_F(Repair, RefusesWhereNothingCanBeSaved) {
  EXPECT_THAT(Mend({}, Datum0 + 5).err, HasSubstr("nothing in a.dseries can be saved"));
  EXPECT_THAT(Mend({}, DataOffsets).err, HasSubstr("nothing in a.dseries can be saved"));
  EXPECT_THAT(Mend({}, 20).err, HasSubstr("a.dseries is not a series file"));
  EXPECT_FALSE(bExists("b.dseries"));
  EXPECT_THAT(Run("repair whole.dseries -o whole.dseries").err, HasSubstr("is the damaged file itself"));
  EXPECT_EQ(Read("whole.dseries"), bytes_);

  std::string numbers;
  for (int i = 0; i < 200; ++i) numbers += "1\n";
  Write("many.txt", numbers);
  Succeed("append whole.dseries many.txt");
  EXPECT_THAT(Run("repair whole.dseries -o b.dseries", "ulimit -f 2;").err,
              HasSubstr("Can't write to series"));
  EXPECT_FALSE(bExists("b.dseries"));
}

TEST_F(Repair, MakesAWholeFileOfEveryCutAndEveryChangedByte) {
  const std::string damaged = folder_ / "a.dseries", saved = folder_ / "b.dseries";
  const auto mend = [&](std::size_t at, const std::string& bytes) {
    Write("a.dseries", bytes);
    std::filesystem::remove(saved);
    try {
      CLI::App program;
      dseries::AddRepair(program);
      testing::internal::CaptureStdout();
      program.parse("repair " + damaged + " -o " + saved);
    } catch (const dseries::Failure&) {
    }
    testing::internal::GetCapturedStdout();
    if (!std::filesystem::exists(saved)) return -1;
    const dseries::Findings findings = dseries::Check(saved, [](int, int) {});
    EXPECT_EQ(findings.fault_count, 0) << at;
    EXPECT_LE(findings.valid, 3) << at;
    return findings.valid;
  };
  for (std::size_t i = 0; i < bytes_.size(); ++i) {
    const int whole = i >= Tag2 ? 3 : i >= Tag1 ? 2 : i >= Tag0 ? 1 : -1;
    EXPECT_EQ(mend(i, bytes_.substr(0, i)), whole) << i;
    for (const int flipped : {0x01, 0x80, 0xFF}) {
      std::string changed = bytes_;
      changed[i] = static_cast<char>(changed[i] ^ flipped);
      const int kept = mend(i, changed);
      if (i >= TagType && (i < Datum2 || i >= Tag2)) {
        EXPECT_EQ(kept, 3) << i;
      }
    }
  }
}

}  // namespace
