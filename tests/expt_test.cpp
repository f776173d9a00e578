#include "test.h"
#include <DataStorage/interfaces/arr.h>

namespace {

constexpr detail::SourceFile source{"family"};

TEST(Exception, TellsWhereAndWhat) {
  const int here = __LINE__;
  try {
    source.ThrowUserError("Can't do it.");
  } catch (const expt_cProgramException& e) {
    EXPECT_STREQ(e.File(), "family");
    EXPECT_EQ(e.Line(), here + 2);
    EXPECT_EQ(e.what(), "family, line " + std::to_string(here + 2) + ": Can't do it.");
    EXPECT_TRUE(dynamic_cast<const expt_cUserException&>(e).Message() == "Can't do it.");
  }
  EXPECT_THROW(source.ThrowProgramError(), expt_cProgramException);
}

template <class Exception>
std::string TextOf(const std::function<void()>& action) {
  try {
    action();
  } catch (const Exception& e) {
    const std::string text = e.what(), begin = "arr, line " + std::to_string(e.Line()) + ": ";
    EXPECT_EQ(text.substr(0, begin.size()), begin);
    return text.substr(begin.size());
  }
  return "nothing thrown";
}

TEST(Exception, TellsWhichPositionOrSizeWasAskedFor) {
  const arr_c1DNumberArray<int> line(5);
  arr_c2DNumberArray<int> plane(3, 2);
  const int block[] = {1, 2};
  using Case = std::pair<std::function<void()>, const char*>;
  for (const auto& [action, text] : {
           Case([] { arr_IndexError(); }, "position outside the array"),
           Case([&] { line[7]; }, "index 7 is outside an array of 5 elements"),
           Case([] { arr_cArray<int>(1)[-1]; }, "index -1 is outside an array of 1 element"),
           Case([&] { line.SubArray(3, 2); }, "index range 3 to 3 is empty"),
           Case([&] { arr_c1DNumberArray<int>(5).SetBlock(block, 2, 4); },
                "index range 4 to 6 is outside an array of 5 elements"),
           Case([&] { plane.SetValue(1, 0, 2); }, "index (0, 2) is outside an array of 3 x 2 elements"),
           Case([&] { plane.Column(3); }, "index 3 is outside an array of 3 elements"),
           Case([] { arr_IndexError(0, -2); }, "size -2 is negative"),
       }) {
    EXPECT_EQ(TextOf<arr_cIndexException>(action), text);
  }
  for (const auto& [action, text] : {
           Case([] { arr_SizeError(); }, "no array can have this size"),
           Case([] { arr_c1DNumberArray<int>(-1); }, "size -1 is negative"),
           Case([&] { line.SubArray(0, INT_MAX - 1); }, "size 2147483647 is too large"),
           Case([] { arr_c2DNumberArray<int>(2, -1); }, "size 2 x -1 is negative"),
           Case([] { arr_c2DNumberArray<int>(65536, 65536); }, "size 65536 x 65536 is too large"),
       }) {
    EXPECT_EQ(TextOf<arr_cSizeException>(action), text);
  }
}

}  // namespace
