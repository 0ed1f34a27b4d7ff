#include "orv/iter.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <thread>

#include "orv/error.h"
#include "testing/sdk/Iterators.h"

namespace {

struct test_iter_impl : orv::iter_impl<std::string> {};
using test_iter = orv::iter_base<std::string, test_iter_impl>;

// Iterates as a table does: the iterator holds a key, not a position.
using Table = std::map<int, std::string>;
class TableIter final : public test_iter_impl {
public:
   explicit TableIter(const Table& table) : table_(table) {}
   bool next(std::string& row) override {
      const auto it = table_.upper_bound(last_);
      if (it == table_.end()) return false;
      last_ = it->first;
      row = it->second;
      return true;
   }
   std::unique_ptr<orv::iter_impl<std::string>> clone() const override {
      return std::make_unique<TableIter>(*this);
   }

private:
   const Table& table_;
   int last_ = -1;
};
test_iter walk(const Table& table) {
   return test_iter(std::make_unique<TableIter>(table));
}

std::vector<std::string> rest(test_iter it) {
   std::vector<std::string> out;
   for (; it; ++it)
      out.push_back(*it);
   return out;
}

TEST(IterTest, anEmptyTableHasNoRow) {
   EXPECT_FALSE(test_iter());
   EXPECT_FALSE(test_iter(nullptr));
   EXPECT_FALSE(walk({}));
}

TEST(IterTest, walksAllRows) {
   const Table table{{1, "a"}, {2, "b"}, {3, "c"}};
   EXPECT_EQ(rest(walk(table)), (std::vector<std::string>{"a", "b", "c"}));
   EXPECT_EQ(walk(table)->size(), 1U);
}

TEST(IterTest, stepsBehindTheEndChangeNothing) {
   test_iter it = orvtest::iterOver<test_iter>({"only"});
   ++it;
   EXPECT_FALSE(it);
   ++it;
   EXPECT_FALSE(it);
}

TEST(IterTest, aCopyWalksOnByItself) {
   const Table table{{1, "a"}, {2, "b"}, {3, "c"}};
   test_iter first = walk(table);
   ++first;
   test_iter second = first;
   ++first;
   EXPECT_EQ(*first, "c");
   EXPECT_EQ(*second, "b");
   EXPECT_EQ(rest(second), (std::vector<std::string>{"b", "c"}));
   second = first;
   EXPECT_EQ(*second, "c");
   const test_iter moved = std::move(second);
   EXPECT_EQ(*moved, "c");
}

TEST(IterTest, theRowStaysWhenItsTableChanges) {
   Table table{{1, "a"}, {2, "b"}, {3, "c"}};
   test_iter it = walk(table);
   table[1] = "changed";
   EXPECT_EQ(*it, "a");
   table.erase(1);
   EXPECT_EQ(*it, "a");
   table[0] = "in front";
   table.erase(2);
   table[4] = "behind";
   ++it;
   EXPECT_EQ(rest(it), (std::vector<std::string>{"c", "behind"}));
   table.clear();
   ++it;
   EXPECT_FALSE(it);
}

TEST(IterTest, aStepNeedsTheLockAndALookDoesNot) {
   orv::host::main_thread_is();
   std::thread([] {
      std::optional<test_iter> it;
      {
         const orv::sdk_scoped_lock lock;
         it = orvtest::iterOver<test_iter>({"a", "b"});
      }
      EXPECT_TRUE(*it);
      EXPECT_EQ(**it, "a");
      testing::internal::CaptureStderr();
      EXPECT_THROW(++*it, orv::no_scoped_lock_obtained_error);
      testing::internal::GetCapturedStderr();
      EXPECT_EQ(**it, "a");
      const orv::sdk_scoped_lock lock;
      ++*it;
      EXPECT_EQ(**it, "b");
   }).join();
   orv::host::main_thread_clear();
}

}  // namespace
