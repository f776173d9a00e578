#include <cstring>
#include <random>
#include <thread>

#include "file/check.h"
#include "file/failure.h"
#include "file/header.h"
#include "file/reading.h"
#include "file/salvage.h"
#include "file/series.h"
#include "tool.h"
#include <DataStorage/data/darray1d.h>

using testing::HasSubstr;

namespace {

class Seal : public Tool {
 protected:
  void SetUp() override { Write("numbers.txt", "1\n2\n"); }

  /// Changes a byte of the last datum but one from the end.
  void ChangeByte(const std::string& name) {
    std::string bytes = Read(name);
    bytes[bytes.size() - 8 - 3] ^= 1;  // before the last tag
    Write(name, bytes);
  }
};

TEST_F(Seal, FindsAByteThatChangedLater) {
  Succeed("create a.dseries --dim n,,9,0,1");
  Succeed("append a.dseries numbers.txt numbers.txt --time 7");
  EXPECT_THAT(Succeed("verify a.dseries"), HasSubstr("2 of 9 slots filled; no checksums"));
  EXPECT_EQ(Succeed("seal a.dseries"), "a.dseries: 2 data sealed\n");
  EXPECT_THAT(Succeed("verify a.dseries"), HasSubstr("; all match their checksums"));
  Succeed("append a.dseries numbers.txt");  // which goes on with them
  EXPECT_EQ(Succeed("seal a.dseries"), "a.dseries: 0 data sealed, 3 match their checksums\n");
  Succeed("convert a.dseries b.dseries --type sbin16");
  EXPECT_THAT(Succeed("verify b.dseries"), HasSubstr("; all match their checksums"));

  const std::string whole = Read("a.dseries");
  ChangeByte("a.dseries");
  const Result changed = Run("verify a.dseries");
  EXPECT_EQ(changed.status, 1);
  EXPECT_THAT(changed.out, HasSubstr("datum 2 does not match its checksum"));
  EXPECT_THAT(changed.err, HasSubstr("2 of 3 data are whole"));
  EXPECT_THAT(Run("seal a.dseries").err, HasSubstr("1 datum of a.dseries does not match"));
  EXPECT_THAT(Run("convert a.dseries c.dseries --type sbin16").err,
              HasSubstr("datum 2 of a.dseries does not"));
  EXPECT_FALSE(bExists("c.dseries"));
  EXPECT_THAT(Run("repair a.dseries -o c.dseries").out, HasSubstr("datum 2 does not match its checksum"));
  EXPECT_THAT(Succeed("verify c.dseries"), HasSubstr("2 of 9 slots filled; all match their checksums"));
  Succeed("seal a.dseries --force");
  EXPECT_THAT(Succeed("verify a.dseries"), HasSubstr("; all match"));

  Write("a.dseries", whole);  // older data
  EXPECT_EQ(Run("verify a.dseries").status, 1);
  Succeed("create a.dseries --dim n,,9,0,1 --force");  // and others
  EXPECT_FALSE(bExists("a.dseries.crc32c"));
  Write("a.dseries.crc32c", "damaged");
  Succeed("append a.dseries numbers.txt");
  EXPECT_THAT(Succeed("verify a.dseries"), HasSubstr("its checksums are damaged or of other data"));
  EXPECT_THAT(Run("append a.dseries numbers.txt --checksums").err, HasSubstr("new ones begin here"));
  EXPECT_THAT(Succeed("verify a.dseries"), HasSubstr("; 1 matches its checksum, 1 has none"));
}

TEST_F(Seal, NothingGoesUncheckedWithoutAWord) {
  Succeed("create a.dseries --dim n,,9,0,1 --checksums");
  Succeed("append a.dseries numbers.txt numbers.txt numbers.txt --time 7");
  const std::string whole = Read("a.dseries"), sums = Read("a.dseries.crc32c");
  const std::string changed = "do not match the checksums", unused = "nothing is compared with the checksums";
  const auto Refuses = [&](const std::string& command, const std::string& complaint) {
    const Result result = Run(command);
    EXPECT_EQ(result.status, 1) << command;
    EXPECT_THAT(result.out + result.err, HasSubstr(complaint)) << command;
  };

  std::string bytes = whole;
  bytes[41] ^= 1;  // the calibration of the dimension
  Write("a.dseries", bytes);
  Refuses("verify a.dseries", "the header or the dimensions have changed");
  Refuses("seal a.dseries", changed);
  Refuses("convert a.dseries b.dseries --type sbin16", changed);
  EXPECT_THAT(Succeed("repair a.dseries -o b.dseries"), HasSubstr(changed));

  ChangeByte("a.dseries");
  std::filesystem::create_symlink("a.dseries", folder_ / "link.dseries");
  Refuses("verify link.dseries", "datum 2 does not match its checksum");
  Write("a.dseries", whole);
  Write("a.dseries.crc32c", std::string(sums).replace(21, 1, "?"));
  EXPECT_THAT(Succeed("verify a.dseries"), HasSubstr("its checksums are damaged or of other data"));
  EXPECT_THAT(Run("append a.dseries numbers.txt").err, HasSubstr(unused));
  EXPECT_THAT(Run("convert a.dseries c.dseries --type sbin16").err, HasSubstr(unused));
  EXPECT_THAT(Succeed("repair a.dseries -o d.dseries"), HasSubstr(unused));
  Refuses("seal a.dseries", "--force replaces them");
  Succeed("seal a.dseries --force");
  EXPECT_THAT(Succeed("verify link.dseries"), HasSubstr("; all match"));

  bytes = whole;
  bytes[18] = 1;  // the count
  Write("a.dseries", bytes);
  const std::string before = Read("a.dseries.crc32c");
  Refuses("seal --force a.dseries", "is damaged");
  EXPECT_TRUE(Read("a.dseries.crc32c") == before);
  Succeed("create link.dseries --dim n,,9,0,1 --force");
  Succeed("append link.dseries numbers.txt --time 7");
  EXPECT_THAT(Succeed("verify link.dseries"), HasSubstr("; no checksums"));
  std::filesystem::create_directories(folder_ / "a.dseries.crc32c");
  Refuses("create link.dseries --dim n,,9,0,1 --force --checksums", "checksums cannot be written");
  EXPECT_THAT(Succeed("verify link.dseries"), HasSubstr("1 of 9 slots filled"));
}

TEST_F(Seal, AWriterMakesNoDamage) {
  using dseries::DataSeries;
  dtsr_cDimensionArray dimensions;
  dimensions.Dimension(0) = {3000, cal_c1DArrayCal(), "n", "", false};
  const std::string path = (folder_ / "a.dseries").string();
  DataSeries<darr_c1DArray> series(path, dimensions);
  std::thread writer([&] {
    for (int i = 0; i < series.Size(); ++i)
      series.Append(darr_c1DArray(9, dtyp_Float64, cal_c1DArrayCal()), dtsr_cDataTag(i));
  });
  std::string faults;
  for (int whole = 0; whole < series.Size();) {
    const dseries::Findings findings = dseries::Check(path, [](int, int) {});
    for (const std::string& fault : findings.faults) faults += fault + '\n';
    whole = findings.fault_count == 0 ? findings.whole : series.Size();
  }
  writer.join();
  EXPECT_EQ(faults, "");
}

TEST_F(Seal, AppendKeepsDataOverPowerCuts) {
  for (const char* mode : {"none", "group", "group:2", "group:2,0", "strict"}) {
    Succeed(std::string("append ") + mode + ".dseries numbers.txt numbers.txt --new --durability " + mode);
    EXPECT_EQ(bExists(std::string(mode) + ".dseries.crc32c"), mode[0] == 'g') << mode;
    EXPECT_THAT(Succeed(std::string("verify ") + mode + ".dseries"), HasSubstr("2 of 1000 slots filled"));
  }
  for (const char* mode : {"", "groups", "group:0", "group:", "group:1,", "strict:3"}) {
    EXPECT_EQ(Run(std::string("append none.dseries numbers.txt --durability \"") + mode + "\"").status == 0,
              *mode == 0)
        << mode;
  }
  Succeed("create sums.dseries --dim n,,9,0,1 --checksums");
  Succeed("append sums.dseries numbers.txt");
  EXPECT_THAT(Succeed("verify sums.dseries"), HasSubstr("; all match"));
}

/// A mixture of the bytes before and after, in pieces of `sector`, as unsynced writes reach the disk.
std::string Torn(const std::string& before, const std::string& after, std::mt19937& random,
                 std::size_t sector) {
  std::string torn = before;
  if (random() % 2 == 0) torn.resize(after.size());
  for (std::size_t at = 0; at < after.size(); at += sector) {
    if (random() % 2 == 0) continue;
    const std::string piece = after.substr(at, sector);
    torn.resize(std::max(torn.size(), at + piece.size()));
    torn.replace(at, piece.size(), piece);
  }
  return torn;
}

/// Data whose numbers tell which they are.
darr_c1DArray Numbered(int i) {
  darr_c1DArray array(100, dtyp_Float64, cal_c1DArrayCal());
  for (int k = 0; k < 100; ++k) array.SetValue(1000 * i + k + 1, k);
  return array;
}

bool bNumbered(const darr_c1DArray& array, int i) {
  const darr_c1DArray expected = Numbered(i);
  return array.NumIndices() == 100 && std::memcmp(array.Data(), expected.Data(), 100 * sizeof(double)) == 0;
}

TEST_F(Seal, RepairSavesWhatWasSyncedBeforeAPowerCut) {
  constexpr int synced = 5, appended = 9;
  using dseries::DataSeries;
  dtsr_cDimensionArray dimensions;
  dimensions.Dimension(0) = {20, cal_c1DArrayCal(), "n", "", false};
  const std::string path = (folder_ / "a.dseries").string(), cut = (folder_ / "cut.dseries").string();
  std::string before[2], after[2];
  const auto read = [&](std::string(&bytes)[2]) {
    bytes[0] = Read("a.dseries");
    bytes[1] = Read("a.dseries.crc32c");
  };
  {
    DataSeries<darr_c1DArray> series(path, dimensions);
    series.KeepChecksums();
    for (int i = 0; i < appended; ++i) {
      if (i == synced) read(before);
      series.Append(Numbered(i), dtsr_cDataTag(i));
    }
    read(after);
  }
  std::mt19937 random(7);
  int whole = 0;
  for (int run = 0; run < 300; ++run) {
    const std::size_t sector = run % 2 == 0 ? 512 : 1;
    Write("cut.dseries", Torn(before[0], after[0], random, sector));
    Write("cut.dseries.crc32c", Torn(before[1], after[1], random, sector));
    std::string reported;
    const dseries::SalvageReport report{[&](const std::string& sentence) { reported += sentence + "\n"; },
                                        [](int, int) {}};
    bstr_cBinary_fstream damaged = dseries::OpenToRead(cut);
    const std::string saved_path = (folder_ / "saved.dseries").string();
    dseries::Salvage(damaged, dseries::ReadHeader(damaged), saved_path, report);
    DataSeries<darr_c1DArray> saved(saved_path, bstr_OpenReadOnly);
    ASSERT_GE(saved.NextWriteIndex(), synced) << reported;
    for (int i = 0; i < saved.NextWriteIndex(); ++i) {
      const darr_c1DArray datum = saved.Datum(i);
      if (datum.NumIndices() == 0 && i >= synced) continue;  // lost
      const bool right = bNumbered(datum, i) && saved.Tag(i)->Time() == i;
      whole += right;
      const bool reported_so = i >= synced && reported.find("no checksum") != reported.npos;
      EXPECT_TRUE(right || reported_so) << "datum " << i << " in run " << run << "\n" << reported;
    }
  }
  EXPECT_GE(whole, 300 * synced);
}

}  // namespace
