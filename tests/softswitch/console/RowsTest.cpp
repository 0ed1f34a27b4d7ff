#include "softswitch/console/rows.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>

#include "orv/iter.h"

namespace softswitch::console {
namespace {

struct CountIterImpl : orv::iter_impl<int> {};
using CountIter = orv::iter_base<int, CountIterImpl>;

// Iterates over 1 to `last`, and counts the live iterators.
class Count final : public CountIterImpl {
public:
   Count(int last, int& walks) : last_(last), walks_(&walks) { ++*walks_; }
   Count(const Count& other)
        : CountIterImpl(other), at_(other.at_), last_(other.last_), walks_(other.walks_) {
      ++*walks_;
   }
   ~Count() override {
      EXPECT_GT(orv::detail::this_thread_lock.depth, 0u) << "an iterator went without the lock";
      --*walks_;
   }
   bool next(int& row) override {
      EXPECT_GT(orv::detail::this_thread_lock.depth, 0u) << "an iterator was stepped without the lock";
      if (at_ == last_) return false;
      row = ++at_;
      return true;
   }
   std::unique_ptr<orv::iter_impl<int>> clone() const override { return std::make_unique<Count>(*this); }

private:
   int at_ = 0;
   int last_;
   int* walks_;
};

class RowsTest : public testing::TestWithParam<int> {
protected:
   int walks_ = 0;
};

TEST_P(RowsTest, eachRowIsTakenUnderTheLockAndShownWithoutIt) {
   const int last = GetParam();
   int shown = 0;
   forEachRow([&] { return CountIter(std::make_unique<Count>(last, walks_)); },
              [](int row) {
                 EXPECT_EQ(orv::detail::this_thread_lock.depth, 1u);
                 return row;
              },
              [&](int row) {
                 EXPECT_EQ(orv::detail::this_thread_lock.depth, 0u);
                 EXPECT_EQ(row, ++shown);
              });
   EXPECT_EQ(shown, last);
   EXPECT_EQ(walks_, 0);
}

INSTANTIATE_TEST_SUITE_P(Lengths, RowsTest, testing::Values(0, 1, 999, 1000, 1001, 2000, 5500));

TEST_F(RowsTest, aReaderThatLeavesEndsTheWalkUnderTheLock) {
   EXPECT_THROW(forEachRow([&] { return CountIter(std::make_unique<Count>(5000, walks_)); },
                           [](int row) { return row; },
                           [](int row) {
                              if (row == 1500) throw std::runtime_error("gone");
                           }),
                std::runtime_error);
   EXPECT_EQ(walks_, 0);
}

}  // namespace
}  // namespace softswitch::console
