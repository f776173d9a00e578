#include "arrays.h"
#include <DataStorage/services/binimage.h>

namespace {

using Image = arr_c2DNumberArray<unsigned char>;

Image Picture(int nx, int ny) {
  Image image(nx, ny);
  std::iota(image.WriteAccess(), image.WriteAccess() + image.NumIndices(), static_cast<unsigned char>(1));
  return image;
}

std::string Written(const Image& image) {
  bstr_cMemory_ostream out;
  EXPECT_TRUE(dbrw_Write(out, image));
  return {static_cast<const char*>(out.Data()), static_cast<std::size_t>(out.Size())};
}

bool Read(Image& image, const std::string& bytes) {
  bstr_cMemory_istream in(bytes.data(), static_cast<std::int64_t>(bytes.size()));
  return dbrw_Read(in, image);
}

std::string Header(const std::string& width_and_height, char colours = 0) {
  return "\x28\0\0\0"s + width_and_height + "\1\0\10\0"s + std::string(16, '\0') + colours +
         std::string(7, '\0');
}

TEST(Bitmap, HasKnownBytes) {
  std::string table;
  for (int i = 0; i < 256; ++i) table += std::string(3, static_cast<char>(i)) + '\0';
  EXPECT_EQ(Written(Picture(5, 2)),
            Header("\5\0\0\0\2\0\0\0"s) + table + "\1\2\3\4\5\0\0\0\6\7\10\11\12\0\0\0"s);
  EXPECT_EQ(Written(Picture(4, 1)), Header("\4\0\0\0\1\0\0\0"s) + table + "\1\2\3\4"s);
}

TEST(Bitmap, ReadsBackPicturesOfAnySize) {
  for (const auto& [nx, ny] : {std::pair(8, 2), {0, 4}, {3, 0}, {301, 3600}, {70001, 3}}) {
    const std::string bytes = Written(Picture(nx, ny));
    Image read;
    ASSERT_TRUE(Read(read, bytes)) << nx << " " << ny;
    EXPECT_EQ(Written(read), bytes);
    EXPECT_FALSE(Read(read, bytes.substr(0, bytes.size() - 1)));
  }
}

TEST(Bitmap, SkipsTheTableAndRefusesWhatIsNotThere) {
  Image image = Picture(1, 1);
  const std::string bytes = Header("\1\0\0\0\2\0\0\0"s, 16) + std::string(64, 'c') + "\5\0\0\0\6\0\0\0"s;
  const std::string enough(2000, '\0');
  for (const std::string& extents :
       {"\0\0\1\0\xFF\x7F\0\0"s, "\0\0\1\0\0\0\1\0"s, "\xFF\xFF\xFF\x7F\1\0\0\0"s,
        "\xFF\xFF\xFF\x7F\xFF\xFF\xFF\x7F"s, "\xFF\xFF\xFF\x7F\0\0\0\0"s}) {
    EXPECT_FALSE(Read(image, Header(extents) + enough));
  }
  for (const std::string& extents :
       {"\xFF\xFF\xFF\xFF\1\0\0\0"s, "\1\0\0\0\xFF\xFF\xFF\xFF"s, "\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF"s}) {
    EXPECT_THROW(Read(image, Header(extents) + enough), arr_cSizeException);
  }
  EXPECT_EQ(image.Value(0, 0), 1);
  ASSERT_TRUE(Read(image, bytes));
  EXPECT_EQ(image.Value(0, 0), 5);
  EXPECT_EQ(image.Value(0, 1), 6);
}

}  // namespace
