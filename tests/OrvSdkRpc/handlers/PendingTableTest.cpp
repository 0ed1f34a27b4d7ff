#include "OrvSdkRpc/handlers/PendingTable.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace OrvSdkRpc {
namespace {

using IntKeys = std::vector<int>;

// The order of the table is that of the keys.
struct Ascending {
   std::uint64_t operator()(int key) const { return static_cast<std::uint64_t>(key) << 56; }
};

class PendingTableTest : public testing::Test {
protected:
   void add(std::initializer_list<int> keys) {
      for (const int key : keys)
         table_.emplace(key);
   }
   // A pass over `most` entries.
   IntKeys pass(std::size_t most) {
      IntKeys keys;
      const std::size_t visited = table_.pass([&](int key, int&) {
         if (keys.size() == most) return false;
         keys.push_back(key);
         return true;
      });
      EXPECT_EQ(visited, keys.size());
      return keys;
   }

   PendingTable<int, int, Ascending> table_;
};

TEST_F(PendingTableTest, aKeyHasOneEntry) {
   auto [entry, made] = table_.emplace(3, 7);
   EXPECT_TRUE(made);
   EXPECT_EQ(entry, 7);
   entry = 8;
   const auto again = table_.emplace(3, 9);
   EXPECT_FALSE(again.second);
   EXPECT_EQ(again.first, 8);
   EXPECT_EQ(table_.size(), 1U);
}

TEST_F(PendingTableTest, aPassFromTheBeginningThatEndsRemovesEverything) {
   add({5, 1, 3});
   EXPECT_EQ(pass(10), (IntKeys{1, 3, 5}));
   EXPECT_TRUE(table_.empty());
   EXPECT_FALSE(table_.resumeKey());
}

TEST_F(PendingTableTest, aPassFromTheBeginningThatStopsRemovesWhatItVisited) {
   add({1, 3, 5});
   EXPECT_EQ(pass(2), (IntKeys{1, 3}));
   EXPECT_EQ(table_.resumeKey(), 5);
   EXPECT_EQ(table_.size(), 1U);
}

TEST_F(PendingTableTest, aResumedPassThatEndsRemovesFromTheResumeKeyOn) {
   add({1, 3, 5});
   pass(1);
   add({2, 4});
   EXPECT_EQ(pass(10), (IntKeys{3, 4, 5}));
   EXPECT_FALSE(table_.resumeKey());
   // A key in front of the resume key waits for the next pass.
   EXPECT_EQ(pass(10), IntKeys{2});
   EXPECT_TRUE(table_.empty());
}

TEST_F(PendingTableTest, aResumedPassThatStopsRemovesUpToWhereItStands) {
   add({1, 3, 5, 7});
   pass(1);
   add({2});
   EXPECT_EQ(pass(2), (IntKeys{3, 5}));
   EXPECT_EQ(table_.resumeKey(), 7);
   EXPECT_EQ(pass(10), IntKeys{7});
   EXPECT_EQ(pass(10), IntKeys{2});
}

TEST_F(PendingTableTest, aPassThatStopsAtOnceChangesNothing) {
   add({1, 3});
   EXPECT_EQ(pass(0), IntKeys{});
   EXPECT_EQ(table_.resumeKey(), 1);
   EXPECT_EQ(table_.size(), 2U);
   EXPECT_EQ(pass(10), (IntKeys{1, 3}));
}

TEST_F(PendingTableTest, aPassOverAnEmptyTableVisitsNothing) {
   EXPECT_EQ(pass(10), IntKeys{});
   EXPECT_FALSE(table_.resumeKey());
}

TEST_F(PendingTableTest, anErasedResumeKeyHandsOverToTheNext) {
   add({1, 3, 5});
   pass(1);
   table_.erase(3);
   EXPECT_EQ(table_.resumeKey(), 5);
   table_.erase(5);
   EXPECT_FALSE(table_.resumeKey());
   table_.erase(5);
   add({2});
   EXPECT_EQ(pass(10), IntKeys{2});
}

}  // namespace

// Two keys of one hash.
struct Colliding {
   int value = 0;
   bool operator==(const Colliding&) const = default;
   bool operator<(const Colliding& other) const { return value < other.value; }
};

}  // namespace OrvSdkRpc

template <>
struct std::hash<OrvSdkRpc::Colliding> {
   std::size_t operator()(const OrvSdkRpc::Colliding&) const noexcept { return 1; }
};

namespace OrvSdkRpc {
namespace {

TEST(PendingTable, keysOfOneHashAreTold) {
   PendingTable<Colliding, std::string> table;
   table.emplace({2}, "two");
   table.emplace({1}, "one");
   EXPECT_FALSE(table.emplace({2}).second);
   EXPECT_EQ(table.emplace({2}).first, "two");
   EXPECT_EQ(table.size(), 2U);
   table.erase({1});
   EXPECT_EQ(table.size(), 1U);
   EXPECT_TRUE(table.emplace({1}).second);
}

TEST(PendingTable, aHundredThousandKeysInManySmallPassesComeOnceEach) {
   PendingTable<std::string, int> table;
   for (int i = 0; i < 100'000; ++i)
      table.emplace("key" + std::to_string(i), i);
   std::vector<bool> seen(100'000);
   while (!table.empty()) {
      int most = 997;
      table.pass([&](const std::string&, int& value) {
         if (most-- == 0) return false;
         EXPECT_FALSE(seen[static_cast<std::size_t>(value)]);
         seen[static_cast<std::size_t>(value)] = true;
         return true;
      });
   }
   EXPECT_EQ(std::count(seen.begin(), seen.end(), false), 0);
}

}  // namespace
}  // namespace OrvSdkRpc
