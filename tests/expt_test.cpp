#include "test.h"
#include <DataStorage/interfaces/expt.h>

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
  EXPECT_THROW(arr_IndexError(), arr_cIndexException);
  EXPECT_THROW(arr_SizeError(), arr_cSizeException);
}

}  // namespace
