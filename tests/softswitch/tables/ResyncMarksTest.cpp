#include "softswitch/tables/resync_marks.h"

#include <gtest/gtest.h>

namespace softswitch {
namespace {

TEST(ResyncMarksTest, eachBeginMakesEverythingStaleAndOneEndEndsThemAll) {
   ResyncMarks marks;
   EXPECT_FALSE(marks.stale(marks.epoch()));
   EXPECT_FALSE(marks.end()) << "none runs";
   const auto before = marks.epoch();
   marks.begin();
   EXPECT_TRUE(marks.stale(before));
   const auto first = marks.epoch();
   EXPECT_FALSE(marks.stale(first));
   marks.begin();
   EXPECT_TRUE(marks.stale(first));
   EXPECT_TRUE(marks.end());
   EXPECT_FALSE(marks.stale(marks.epoch()));
   EXPECT_FALSE(marks.end());
}

}  // namespace
}  // namespace softswitch
