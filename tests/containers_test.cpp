#include "arrays.h"

namespace {

using testing::ElementsAre;

template <class Handle>
auto Elements(const Handle& handle) {
  using T = std::remove_cvref_t<decltype(*handle.Data())>;
  return handle.NumIndices() == 0 ? std::vector<T>()
                                  : std::vector<T>(handle.Data(), handle.Data() + handle.NumIndices());
}

template <class Storage>
struct StorageTest : testing::Test {};
using Storages = testing::Types<arr_cArray<int>, arr_cC_Array<int>>;
TYPED_TEST_SUITE(StorageTest, Storages);

TYPED_TEST(StorageTest, CopiesAndFillsWithinItsBoundsOnly) {
  const int source[] = {1, 2, 3, 4};
  int target[] = {0, 0, 0};
  TypeParam storage(4);
  storage.CopyIn(source, 4, 0, 0);
  for (const auto& [count, offset] : {std::pair(3, 2), {1, -1}, {-1, 1}, {5, 0}, {1, 4}}) {
    EXPECT_THROW(storage.CopyIn(source, count, 0, offset), arr_cIndexException);
    EXPECT_THROW(storage.CopyOut(target, count, offset, 0), arr_cIndexException);
    EXPECT_THROW(storage.Fill(9, count, offset), arr_cIndexException);
  }
  EXPECT_THROW(storage.CopyIn(source + 1, 1, -1, 0), arr_cIndexException);
  for (const int i : {-1, 4}) EXPECT_THROW(storage[i], arr_cIndexException);
  EXPECT_THROW(storage.SetSize(-1), arr_cSizeException);
  TypeParam().CopyIn(nullptr, 0, 5, 0);  // no elements, at any position
  TypeParam().CopyOut(nullptr, 0, 0, 5);

  storage.CopyOut(target, 2, 2, 1);
  EXPECT_THAT(target, ElementsAre(0, 3, 4));
  storage.Fill(9, 2, 1);
  storage.CopyIn(source, 1, 2, 0);
  storage.SetSize(6);
  const TypeParam copy(storage);
  storage.SetSize(1);
  EXPECT_EQ(storage.Size(), 1);
  EXPECT_EQ(std::vector<int>(copy.Data(), copy.Data() + 6), std::vector<int>({3, 9, 9, 4, 0, 0}));
}

TEST(Storage, KeepsElementsThatOwnSomething) {
  arr_cArray<std::string> texts(2);
  texts.Fill("long enough to lie in memory of its own", 1, 1);
  arr_cArray<std::string> copy;
  copy = texts;
  texts.SetSize(1);
  EXPECT_EQ(copy[0], "");
  EXPECT_EQ(copy[1].size(), 39U);
}

template <class T>
struct HandleTest : testing::Test {};
TYPED_TEST_SUITE(HandleTest, EveryElementType);

TYPED_TEST(HandleTest, SharesItsStorageUntilOneIsWritten) {
  using T = TypeParam;
  const std::vector<T> old = Counting<T>(4);
  const auto check = [&]<class Array>(
                         const Array& original,
                         std::initializer_list<void (*)(std::type_identity_t<Array>&, T)> writes) {
    for (const auto write : writes) {
      Array copy = original;
      EXPECT_EQ(copy.Data(), original.Data());
      write(copy, old[3]);
      EXPECT_EQ(Elements(original), old);
      EXPECT_EQ(copy.Data()[0], old[3]);
      const T* own = copy.Data();
      write(copy, old[3]);
      EXPECT_EQ(copy.Data(), own);
    }
  };
  using Line = arr_c1DNumberArray<T>;
  check(Line(4, old.data()),
        {[](Line& line, T v) { line = v; }, [](Line& line, T v) { *line.WriteAccess() = v; },
         [](Line& line, T v) { line.SetValue(v, 0); }, [](Line& line, T v) { line.SetBlock(&v, 1, 0); }});
  using Plane = arr_c2DNumberArray<T>;
  check(Plane(2, 2, old.data()),
        {[](Plane& plane, T v) { plane = v; }, [](Plane& plane, T v) { *plane.WriteAccess() = v; },
         [](Plane& plane, T v) { plane.SetValue(v, 0, 0); },
         [](Plane& plane, T v) {
           plane.SetBlock(&v, 1, {0, 0, 1, 1});
         }});
}

TEST(Handle, RefusesSizesAndPositionsThatItDoesNotHave) {
  using Line = arr_c1DNumberArray<double>;
  using Plane = arr_c2DNumberArray<double>;
  EXPECT_THROW(Line(-1), arr_cSizeException);
  EXPECT_THROW(Line{largest}, arr_cSizeException);
  for (const auto& [nx, ny] : {std::pair(-1, 1), {-1, -1}, {0, -1}, {-1, 0}, {65536, 65536}, {largest, 0}}) {
    EXPECT_THROW(Plane(nx, ny), arr_cSizeException) << nx << " " << ny;
  }
  const Line line(4);
  for (const int i : {-1, 4}) EXPECT_THROW(line[i], arr_cIndexException);
  EXPECT_THROW(line.SubArray(0, largest), arr_cSizeException);
  EXPECT_EQ(line.SubArray(0, 3).Data(), line.Data());
  EXPECT_EQ(Line(2, nullptr, 7, true).SubArray(0, 0).FillValue(), 7);

  Plane plane(3, 2);
  EXPECT_EQ(plane.SubArray(0, 0, 2, 1).Data(), plane.Data());
  plane.SetValue(7, 3, 0);  // reaches into the next row
  EXPECT_EQ(plane.Value(0, 1), 7);
  for (const auto& [x, y] : {std::pair(0, 2), {-1, 0}, {0, -1}, {largest, largest}}) {
    EXPECT_THROW(plane.Value(x, y), arr_cIndexException);
    EXPECT_THROW(plane.SetValue(1, x, y), arr_cIndexException);
  }
  for (const int bad : {-1, 3}) {
    EXPECT_THROW(plane.Column(bad), arr_cIndexException);
    EXPECT_THROW(plane.Row(bad), arr_cIndexException);
  }
  EXPECT_EQ(Plane(3, 0).Column(2).NumIndices(), 0);
  EXPECT_EQ(Plane(0, 3).Row(2).NumIndices(), 0);
}

/// Logs its announcements.
struct Announcing : arr_c2DNumberArray<int> {
  using arr_c2DNumberArray::arr_c2DNumberArray;
  using arr_c2DNumberArray::operator=;
  void Changed(int x0, int y0, int x1, int y1) override { changed = {x0, y0, x1, y1}; }
  void SizeChanged(int nx, int ny) override { resized = {nx, ny}; }

  std::tuple<int, int, int, int> changed;
  std::optional<std::pair<int, int>> resized;
};

TEST(Handle, AnnouncesWhatWasWritten) {
  Announcing array(3, 2);
  array.SetValue(1, 1, 0);
  EXPECT_EQ(array.changed, std::tuple(1, 0, 1, 0));
  const int block[] = {1, 2, 3, 4};
  array.SetBlock(block, 2, {1, 0, 2, 2});
  EXPECT_EQ(array.changed, std::tuple(1, 0, 2, 1));
  EXPECT_THAT(Elements(array), ElementsAre(0, 1, 2, 0, 3, 4));
  EXPECT_THROW(array.SetBlock(block, 2, {2, 1, 2, 1}), arr_cIndexException);
  array = 5;
  EXPECT_EQ(array.changed, std::tuple(0, 0, 2, 1));
  EXPECT_FALSE(array.resized);
  static_cast<arr_c2DNumberArray<int>&>(array) = arr_c2DNumberArray<int>(4, 5);
  EXPECT_EQ(array.changed, std::tuple(0, 0, 3, 4));
  EXPECT_EQ(array.resized, std::pair(4, 5));
}

}  // namespace
