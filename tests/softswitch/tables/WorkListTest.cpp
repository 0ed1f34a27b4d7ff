#include "softswitch/tables/work_list.h"

#include <gmock/gmock.h>

#include <vector>

namespace softswitch {
namespace {

using testing::ElementsAre;

TEST(WorkListTest, handsOutInOrderAndNoMoreThanAsked) {
   WorkList<int> list;
   std::vector<int> seen;
   const auto see = [&](int item) { seen.push_back(item); };
   EXPECT_TRUE(list.empty());
   for (int item = 1; item <= 5; ++item)
      list.push(item);
   list.work(2, see);
   EXPECT_THAT(seen, ElementsAre(1, 2));
   EXPECT_FALSE(list.empty());
   list.push(6);
   list.work(100, see);
   EXPECT_THAT(seen, ElementsAre(1, 2, 3, 4, 5, 6));
   EXPECT_TRUE(list.empty());
   list.work(100, see);
   EXPECT_EQ(seen.size(), 6U);
}

TEST(WorkListTest, whatAVisitPushesIsWorkToo) {
   WorkList<int> list;
   std::vector<int> seen;
   list.push(1);
   list.work(10, [&](int item) {
      seen.push_back(item);
      for (int more = 0; item == 1 && more < 1000; ++more)
         list.push(2 + more);
   });
   EXPECT_EQ(seen.size(), 10U);
   list.work(100000, [&](int item) { seen.push_back(item); });
   ASSERT_EQ(seen.size(), 1001U);
   for (int i = 0; i < 1001; ++i)
      EXPECT_EQ(seen[static_cast<std::size_t>(i)], i + 1);
   EXPECT_TRUE(list.empty());
}

}  // namespace
}  // namespace softswitch
