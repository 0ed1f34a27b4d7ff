#include "softswitch/tables/sdk_iters.h"

#include <gmock/gmock.h>

#include <map>
#include <vector>

namespace softswitch {
namespace {

using testing::ElementsAre;
using Pair = std::pair<int, int>;

struct IntIterImpl : orv::iter_impl<int> {};
using IntIter = orv::iter_base<int, IntIterImpl>;
struct PairIterImpl : orv::iter_impl<Pair> {};
using PairIter = orv::iter_base<Pair, PairIterImpl>;

template <class Iter>
std::vector<typename Iter::value_type> gathered(Iter it) {
   std::vector<typename Iter::value_type> values;
   for (; it; ++it)
      values.push_back(*it);
   return values;
}

struct Cursor {
   const std::vector<int>* rows;
   std::size_t at = 0;
   const int* next() { return at < rows->size() ? &(*rows)[at++] : nullptr; }
};

TEST(CursorIter, leavesOutWhatMakesNothing) {
   const std::vector<int> rows{1, 2, 3, 4};
   const auto even = [](int row, int& value) {
      value = 10 * row;
      return row % 2 == 0;
   };
   auto it = makeCursorIter<IntIter>(Cursor{&rows}, even);
   EXPECT_EQ(*it, 20);
   auto copy = it;
   ++it;
   ++it;
   EXPECT_FALSE(it);
   EXPECT_THAT(gathered(copy), ElementsAre(20, 40));
}

class SnapshotIterTest : public testing::Test {
protected:
   PairIter iter() {
      return makeSnapshotIter<PairIter>([this] { return std::vector<Pair>(now_.begin(), now_.end()); },
                                        [](const Pair& a, const Pair& b) { return a.first == b.first; });
   }
   std::map<int, int> now_{{1, 1}, {2, 2}, {3, 3}};
};

TEST_F(SnapshotIterTest, anElementComesOnceAsItIsWhenItsTurnComes) {
   auto it = iter();
   now_[0] = 0;
   now_[4] = 4;
   now_[3] = 30;
   now_.erase(2);
   EXPECT_THAT(gathered(it), ElementsAre(Pair{1, 1}, Pair{3, 30}));
}

TEST_F(SnapshotIterTest, aListThatHasNotChangedIsReadOnce) {
   int reads = 0;
   bool changed = false;
   const auto now = [&] {
      ++reads;
      return std::vector<Pair>(now_.begin(), now_.end());
   };
   const auto same = [](const Pair& a, const Pair& b) { return a.first == b.first; };
   auto it = makeSnapshotIter<PairIter>(now, same, [&] { return !changed; });
   EXPECT_EQ(*it, (Pair{1, 1}));
   ++it;
   EXPECT_EQ(*it, (Pair{2, 2}));
   EXPECT_EQ(reads, 1);
   now_[3] = 30;
   changed = true;
   ++it;
   EXPECT_EQ(*it, (Pair{3, 30}));
   EXPECT_EQ(reads, 2);
}

TEST_F(SnapshotIterTest, aCopyGoesOnFromTheSamePlace) {
   auto it = iter();
   ++it;
   auto copy = it;
   ++it;
   EXPECT_THAT(gathered(copy), ElementsAre(Pair{2, 2}, Pair{3, 3}));
   EXPECT_THAT(gathered(it), ElementsAre(Pair{3, 3}));
   now_.clear();
   EXPECT_FALSE(iter());
}

}  // namespace
}  // namespace softswitch
