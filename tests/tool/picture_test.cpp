#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <nlohmann/json.hpp>
#include <vector>

#include "tool.h"

using testing::HasSubstr;

namespace {

std::string Bytes(std::initializer_list<int> bytes) {
  std::string text;
  for (const int byte : bytes) text += static_cast<char>(byte);
  return text;
}

std::string Floats(std::initializer_list<float> values) {
  std::string bytes(values.size() * sizeof(float), '\0');
  std::memcpy(bytes.data(), std::data(values), bytes.size());
  return bytes;
}

/// A BMP of 3 x 2 pixels made by hand, grey unless `red` is added to its colours.
std::string Bmp(const std::string& pixels, int height = 2, int bits = 8, int compression = 0, int red = 0) {
  std::string bmp = "BM" + Bytes({0x3E, 4, 0, 0, 0, 0, 0, 0, 0x36, 4, 0, 0, 40, 0, 0, 0, 3, 0, 0, 0}) +
                    Bytes({height & 0xFF, height >> 8 & 0xFF, height >> 16 & 0xFF, height >> 24 & 0xFF}) +
                    Bytes({1, 0, bits, 0, compression, 0, 0, 0}) + std::string(20, '\0');
  for (int i = 0; i < 256; ++i) bmp += Bytes({i, i, (i + red) & 0xFF, 0});
  return bmp + pixels;
}

/// A field of a TIFF; all values are stored with 4 bytes.
struct TiffField {
  int tag, type, count, value;
};

/// A grey TIFF of 3 x 2 pixels of 8 bits made by hand: `fields` follow those that every TIFF has, and
/// `behind` begins at byte 300.
std::string Tiff(const std::vector<TiffField>& fields, const std::string& behind = "", int colours = 1,
                 int pixels = 200, int samples = 1) {
  std::vector<TiffField> all{{256, 4, 1, 3},       {257, 4, 1, 2},       {258, 3, 1, 8},
                             {259, 3, 1, 1},       {262, 3, 1, colours}, {273, 4, 1, pixels},
                             {277, 3, 1, samples}, {278, 4, 1, 2},       {279, 4, 1, 6}};
  all.insert(all.end(), fields.begin(), fields.end());
  std::sort(all.begin(), all.end(), [](const auto& a, const auto& b) { return a.tag < b.tag; });
  const auto number = [](int value) {
    return Bytes({value & 0xFF, value >> 8 & 0xFF, value >> 16 & 0xFF, 0});
  };
  std::string tiff = "II*" + Bytes({0, 8, 0, 0, 0, static_cast<int>(all.size()), 0});
  for (const auto& [tag, type, count, value] : all)
    tiff += number(tag).substr(0, 2) + number(type).substr(0, 2) + number(count) + number(value);
  tiff.resize(200, '\0');
  tiff += Bytes({1, 2, 3, 4, 5, 6});
  tiff.resize(300, '\0');
  return tiff + behind;
}

// The result of every form of this picture: the top row is 1 2 3, the bottom row 4 5 6.
const std::string bottom_up = Bytes({4, 5, 6, 0, 1, 2, 3, 0});
const std::string pgm = "P5\n3 2\n255\n" + Bytes({1, 2, 3, 4, 5, 6});

class Pictures : public Tool {
 protected:
  void Refuse(const std::string& arguments, const std::string& complaint) {
    const Result result = Run(arguments);
    EXPECT_EQ(result.status, 1) << arguments;
    EXPECT_THAT(result.err, HasSubstr(complaint)) << arguments;
    EXPECT_EQ(result.err.find('\n'), result.err.size() - 1) << result.err;
  }
};

TEST_F(Pictures, ComeUprightFromEveryFormToEveryOther) {
  std::string later = Bmp(bottom_up);  // a longer header, and a gap before the pixels
  later.replace(10, 8, Bytes({0x3E + 124 - 40, 4, 0, 0, 124, 0, 0, 0}));
  later.insert(54, std::string(124 - 40, '\0')).insert(later.size() - 8, 8, '\x77');
  Write("raw.pgm", pgm);
  Write("plain.pgm", "P2 # the first row is the top one\n3 2 # extents\n255\n1 2 3\n4 5\t6");
  Write("windows.pgm", "P5\r\n3 2\r\n255\r\n" + Bytes({1, 2, 3, 4, 5, 6}));
  Write("a.tif", Tiff({}));
  std::string greys;  // of 8 bits, where TIFF wants 16
  for (int i = 0; i < 3 * 256; ++i) greys += Bytes({i & 0xFF, 0});
  Write("palette.tif", Tiff({{320, 3, 768, 300}}, greys, 3));
  Write("up.bmp", Bmp(bottom_up));
  Write("down.bmp", Bmp(Bytes({1, 2, 3, 0, 4, 5, 6, 0}), -2));
  Write("later.bmp", later);
  for (const std::string name :
       {"raw.pgm", "plain.pgm", "windows.pgm", "a.tif", "palette.tif", "up.bmp", "down.bmp", "later.bmp"}) {
    Succeed("image " + name + " -o a.bmp");
    Succeed("image " + name + " -o a.pgm");
    EXPECT_EQ(Read("a.bmp"), Bmp(bottom_up)) << name;
    EXPECT_EQ(Read("a.pgm"), pgm) << name;
    EXPECT_EQ(Succeed("image " + name + " --row-at 0 -o -"), "0\t4\n1\t5\n2\t6\n") << name;
  }
}

TEST_F(Pictures, OfOtherKindsAreRefusedByName) {
  const std::pair<std::string, const char*> cases[] = {
      {"P4\n1 1\n1", "PBM picture"},
      {"GIF89a", "a GIF picture"},
      {"\x89PNG\r\n", "a damaged PNG picture"},
      {"\xFF\xD8\xFF", "a damaged JPEG picture"},
      {std::string("II*\0\x08\0\0\0", 8), "a damaged TIFF picture"},
      {"P5\n3 2\n65535\n12345678901", "cut off"},
      {"P5\n3 2\n65536\n123456789012", "a maximum of 65536"},
      {"P5\n3 2\n255\n12345", "cut off"},
      {"P5\n3 2\n255\n12345678", "2 bytes follow the pixels"},
      {Tiff({}, "", 1, 0), "a damaged TIFF picture"},  // the pixels would begin in the header
      {Tiff({{338, 3, 1, 0}}, "", 1, 200, 2), "2 samples a pixel, the last of which is not said to be alpha"},
      {Tiff({{270, 2, 9, 300}}, "images=3" + Bytes({0})), "a stack of pictures behind a single page"},
      {"P5\n30000 30000\n255\n12345", "cut off"},
      {"P5\n2000000000 2000000000\n255\n12345", "which no series file holds"},
      {"P5\n0 2\n255\n", "without pixels"},
      {"P2\n1 1\n7\n 8", "the pixel 8 is above the maximum 7"},
      {"P2\n2 1\n7\n 5  x", "a pixel is missing"},
      {"P5\n3", "a height is missing"},
      {Bmp(bottom_up, 2, 16), "16 bits a pixel"},
      {Bmp(bottom_up, 2, 8, 1), "a compressed BMP"},
      {Bmp(bottom_up, 3), "cut off"},
      {Bmp(bottom_up, 0x7FFFFFFF), "cut off"},
      {Bmp(bottom_up, 0), "3 x 0 pixels"},
      {Bmp(bottom_up).substr(0, 100), "cut off"},
      {"", "not a picture of a kind known here"}};
  for (const auto& [bytes, complaint] : cases) {
    Write("a.pic", bytes);
    Refuse("image a.pic", complaint);
  }
  Write("one.pgm", pgm);
  Succeed("image one.pgm -o one.npy");
  Write("two.npy", Read("one.npy") + "x");
  Refuse("image two.npy", "1 byte behind the array");
  Write("a.darr", "no raw form");
  Refuse("image a.darr", "not the raw form");
}

TEST_F(Pictures, AreStoredInSeriesAndCutInPhysicalUnits) {
  Write("a.pgm", pgm);
  Write("values.f32", Floats({0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, std::nanf("")}));
  Succeed("create a.dseries --images --dim n,,4,0,1");
  Succeed("append a.dseries a.pgm --offset 10,-1 --delta 2,0.5 --time 7");
  Succeed("image a.pgm --offset 10,-1 --delta 2,0.5 -o a.darr");
  Succeed("append a.dseries a.darr");
  Refuse("append a.dseries a.darr --offset 1,1", "positions of its own");
  Succeed("append a.dseries values.f32 --raw 3,2");
  const char* const profile = "-1\t5\n-0.5\t2\n";
  for (const std::string source : {"get a.dseries 0", "get a.dseries 1", "image a.darr"}) {
    Succeed(source + " -o b.pgm");
    EXPECT_EQ(Read("b.pgm"), pgm) << source;
    EXPECT_THAT(Succeed(source), HasSubstr("y       from -1 to -0.5 in steps of 0.5")) << source;
    EXPECT_EQ(Succeed(source + " --column-at 12.5 -o -"), profile) << source;
    Succeed(source + " --region 12,-0.5,99,99 -o b.pgm");
    EXPECT_EQ(Read("b.pgm"), "P5\n2 1\n255\n" + Bytes({2, 3})) << source;
    Succeed(source + " --region 10,-1,12,0 --rescale 1,0.5 -o b.pgm");
    EXPECT_EQ(Read("b.pgm"), "P5\n2 2\n255\n" + Bytes({1, 1, 4, 4})) << source;
    Refuse(source + " --region 16,0,20,1 -o b.pgm", "holds no data: the data go from 10 to 16 along X");
    Refuse(source + " --row-at 0 -o -", "Y 0 lies outside the data, which go from -1 to 0");
    Refuse(source + " --rescale 1e-9,1 -o b.pgm", "too many elements");
    Refuse(source + " --rescale 0,1 -o b.pgm", "distances above 0");
    Refuse(source + " -o b.gif", ".pgm, .npy and .darr");
    Refuse(source + " --row-at -1", "--output is required");
  }
  Succeed("get a.dseries 3 --contrast 7,10 -o b.pgm");
  EXPECT_EQ(Read("b.pgm"), "P5\n3 2\n255\n" + Bytes({183, 255, 0, 40, 40, 112}));  // 9 10 nan over 6 7 8
  Refuse("append a.dseries a.pgm", "is full");
  Refuse("append a.dseries a.pgm --delta 1", "--delta takes 2 numbers here");
  Refuse("append a.dseries a.pgm --type sbin8", "cannot be read back");
  Refuse("image a.pgm -o a.pgm", "is the input itself");
  EXPECT_THAT(Succeed("verify a.dseries"), HasSubstr("whole, 4 of 4"));
}

TEST_F(Pictures, MapARaster) {
  // Four elements at each of 2 x 2 places; the fourth place stays empty.
  Write("a.f32", Floats({1, 2, 3, 4, 10, 20, 30, 40, 5, std::nanf(""), 7, 8}));
  Succeed("create a.dseries --dim x,m,2,0,1,reverse --dim y,m,2,5,1");
  Succeed("append a.dseries a.f32 --raw 4 --offset 0.1 --delta 0.1");
  const auto map = [this](const std::string& range) {
    Succeed("map a.dseries " + range + " -o a.darr");
    return Succeed("image a.darr --row-at 5 -o -") + Succeed("image a.darr --row-at 6 -o -");
  };
  EXPECT_EQ(map("--from 0.1 --to 0.1"), "0\t10\n1\t1\n0\tnan\n1\t5\n");
  EXPECT_EQ(map("--from 0.2 --to 0.4"), "0\t50\n1\t5\n0\tnan\n1\tnan\n");  // not the cell that begins there
  EXPECT_EQ(map("--from 0.35"), "0\t70\n1\t7\n0\tnan\n1\t15\n");
  EXPECT_EQ(map("--from -9 --to 9"), map(""));
  Succeed("map a.dseries --from 0.1 --to 0.1 -o a.bmp");
  const std::string bmp = Read("a.bmp");
  ASSERT_EQ(bmp.size(), 54u + 1024 + 8);
  EXPECT_EQ(bmp.substr(54 + 1024), Bytes({255, 40, 0, 0, 0, 136, 0, 0}));  // the lowest value is not black
  Refuse("map a.dseries --from 0.5 --to 1 -o a.bmp", "no datum of a.dseries has elements");
  Refuse("map a.dseries -o a.txt", ".pgm, .npy and .darr");
  Succeed("create line.dseries --dim x,m,2,0,1");
  Refuse("map line.dseries -o a.bmp", "needs a series over 2 dimensions");
}

TEST_F(Pictures, ConvertKeepsPlacesAndTags) {
  Write("a.txt", "3 -70000\n5 1.6\n7 70000\n9 nan\n");
  Succeed("create a.dseries --dim n,,3,0,1,reverse");
  Succeed("append a.dseries a.txt --at 1,2 --time 7 --type sbin32");
  Succeed("append a.dseries a.txt --at 3,4 --time 8");
  Succeed("convert a.dseries b.dseries --type sbin16");
  for (const char* datum : {"0", "1"}) {
    EXPECT_EQ(Succeed(std::string("get b.dseries -o - ") + datum), "3\t-32768\n5\t2\n7\t32767\n9\t0\n");
  }
  Succeed("verify b.dseries");
  const auto list = [this](const char* name) {
    auto json = nlohmann::json::parse(Succeed(std::string("list --json ") + name));
    for (auto& datum : json) datum.erase("bytes");
    return json;
  };
  EXPECT_EQ(list("b.dseries"), list("a.dseries"));
  Refuse("convert a.dseries b.dseries --type float32", "exists already");
  Refuse("convert a.dseries a.dseries --force --type float32", "is the series itself");
  Refuse("convert a.dseries c.dseries --type complex64", "cannot be read back");
  EXPECT_FALSE(bExists("c.dseries"));
  Write("a.pgm", pgm);
  Succeed("create p.dseries --images --dim n,,1,0,1");
  Succeed("append p.dseries a.pgm");
  Succeed("convert p.dseries b.dseries --force --type float32");
  EXPECT_EQ(Succeed("get b.dseries 0 --row-at 1 -o -"), "0\t1\n1\t2\n2\t3\n");
}

}  // namespace
