#include "orv/mpls_label_stack.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iterator>
#include <utility>

namespace {

using orv::mpls_label_stack_t;
using orv::mpls_label_t;
using testing::ElementsAre;

// The labels 1 to `depth`.
mpls_label_stack_t stackOf(std::uint32_t depth) {
   mpls_label_stack_t stack;
   for (std::uint32_t label = 1; label <= depth; ++label)
      stack.push_back(mpls_label_t(label));
   return stack;
}

TEST(MplsLabelStackTest, labelsKeepTheirOrderAtEveryDepth) {
   EXPECT_TRUE(mpls_label_stack_t().empty());
   for (std::uint32_t depth = 1; depth <= 20; ++depth) {
      const auto stack = stackOf(depth);
      ASSERT_EQ(stack.size(), depth);
      EXPECT_EQ(stack.front(), mpls_label_t(1));
      std::uint32_t expected = 0;
      for (const mpls_label_t label : stack)
         EXPECT_EQ(label.label(), ++expected);
      EXPECT_EQ(expected, depth);
   }
   EXPECT_THAT((mpls_label_stack_t{mpls_label_t(7), mpls_label_t(5)}),
               ElementsAre(mpls_label_t(7), mpls_label_t(5)));
}

TEST(MplsLabelStackTest, stacksOfEqualLabelsAreEqual) {
   for (std::uint32_t depth = 0; depth <= 8; ++depth) {
      EXPECT_EQ(stackOf(depth), stackOf(depth));
      EXPECT_NE(stackOf(depth), stackOf(depth + 1));
      auto other = stackOf(depth);
      other.push_back(mpls_label_t(99));
      EXPECT_NE(stackOf(depth + 1), other);
   }
}

TEST(MplsLabelStackTest, copiesShareALongStackUntilOneGrows) {
   const auto stack = stackOf(5);
   auto copy = stack;
   EXPECT_EQ(copy.begin(), stack.begin());
   copy.push_back(mpls_label_t(6));
   EXPECT_EQ(copy, stackOf(6));
   EXPECT_EQ(stack, stackOf(5));
   auto shortCopy = stackOf(3);
   const auto kept = shortCopy;
   shortCopy.push_back(mpls_label_t(4));
   EXPECT_EQ(kept, stackOf(3));
   EXPECT_EQ(shortCopy, stackOf(4));
}

// Its labels may be gone, but it does not say that it has more of them than it has.
TEST(MplsLabelStackTest, aStackThatWasMovedFromIsAValidStack) {
   for (const std::uint32_t depth : {2U, 5U}) {
      auto from = stackOf(depth);
      const auto to = std::move(from);
      EXPECT_EQ(to, stackOf(depth));
      // NOLINTNEXTLINE(bugprone-use-after-move): that is the test.
      EXPECT_EQ(static_cast<std::size_t>(std::distance(from.begin(), from.end())), from.size());
      EXPECT_LE(from.size(), 3U);
      from.push_back(mpls_label_t(9));
      EXPECT_EQ(*(from.end() - 1), mpls_label_t(9));
      from = stackOf(4);
      EXPECT_EQ(from, stackOf(4));
   }
}

}  // namespace
