#include "orv/order_sets.h"

#include <gtest/gtest.h>

#include <string>
#include <unordered_set>

namespace {

using Names = std::unordered_set<std::string>;

TEST(OrderSetsTest, theSmallerSetIsFirstThenTheElementsCount) {
   const std::vector<Names> rising = {{}, {"a"}, {"b"}, {"a", "b"}, {"a", "c"}, {"b", "c"}, {"a", "b", "c"}};
   for (std::size_t i = 0; i < rising.size(); ++i) {
      for (std::size_t j = 0; j < rising.size(); ++j)
         EXPECT_EQ(orv::detail::order_sets(rising[i], rising[j]), i <=> j) << i << " and " << j;
   }
}

TEST(OrderSetsTest, theOrderOfInsertionDoesNotCount) {
   Names forward;
   Names backward(1);
   for (int i = 0; i < 100; ++i) {
      forward.insert(std::to_string(i));
      backward.insert(std::to_string(99 - i));
   }
   EXPECT_EQ(orv::detail::order_sets(forward, backward), std::strong_ordering::equal);
   backward.erase("50");
   backward.insert("500");
   EXPECT_EQ(orv::detail::order_sets(forward, backward), std::strong_ordering::less);
   EXPECT_EQ(orv::detail::order_sets(backward, forward), std::strong_ordering::greater);
}

}  // namespace
