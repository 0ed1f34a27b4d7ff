// The table against its model, in the order of (hash, key), under hashes good and bad.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "OrvSdkRpc/handlers/PendingTable.h"
#include "PendingTableModel.h"

namespace OrvSdkRpc {
namespace {

// All keys have the same hash: the lowest, one in the middle or the highest.
template <std::uint64_t hash>
struct Same {
   std::uint64_t operator()(int) const { return hash; }
};
// Few hashes, in the order of key % 8.
struct Coarse {
   std::uint64_t operator()(int key) const { return static_cast<std::uint64_t>(key % 8) << 61; }
};
// All hashes are close to the highest, so entries are pushed past the end.
struct Late {
   std::uint64_t operator()(int key) const { return ~std::uint64_t{0} - static_cast<std::uint64_t>(key % 3); }
};

template <class Hash>
struct OrderOf {
   static std::pair<std::uint64_t, int> at(int key) { return {Hash{}(key), key}; }
};

template <class Hash>
class PendingTableModelTest : public testing::Test {};
using Hashes = testing::Types<SpreadHash<int>, Coarse, Late, Same<0>, Same<std::uint64_t{1} << 63>,
                              Same<~std::uint64_t{0}>>;
TYPED_TEST_SUITE(PendingTableModelTest, Hashes);

TYPED_TEST(PendingTableModelTest, behavesAsATreeOverHashAndKey) {
   for (const int keys : {5, 60, 700})
      comparesWithModel<int, OrderOf<TypeParam>>(PendingTable<int, int, TypeParam>(), keys);
}

// The hash keeps the order of the keys.
struct InKeyOrder {
   std::uint64_t operator()(int key) const { return static_cast<std::uint64_t>(key) << 48; }
};

TEST(PendingTableModel, entriesThatAVisitMakesGoWithTheVisitedOnesOrStay) {
   PendingTable<int, int, InKeyOrder> table;
   for (const int key : {10, 20, 30})
      table.emplace(key, key);
   std::vector<int> visited;
   table.pass([&](int key, int&) {
      visited.push_back(key);
      if (key == 20) {
         table.emplace(5, 5);
         table.emplace(15, 15);
         // These are enough to move every entry.
         for (int more = 100; more < 200; ++more)
            table.emplace(more, more);
      }
      // The visit that stops the pass adds an entry too.
      if (key == 150) table.emplace(7, 7);
      return key < 150;
   });
   // 15 was added behind the pass and removed with the visited entries; 5 and 7 come before its start and
   // stay.
   std::vector<int> expected{10, 20, 30};
   for (int more = 100; more <= 150; ++more)
      expected.push_back(more);
   EXPECT_EQ(visited, expected);
   EXPECT_EQ(table.resumeKey(), 150);
   EXPECT_EQ(table.size(), 52U);
   visited.clear();
   const auto note = [&](int key, int&) {
      visited.push_back(key);
      return true;
   };
   table.pass(note);
   EXPECT_EQ(visited.front(), 150);
   EXPECT_EQ(visited.size(), 50U);
   visited.clear();
   table.pass(note);
   EXPECT_EQ(visited, (std::vector<int>{5, 7}));
}

TEST(PendingTableModel, aNewEntryHoldsNothingOfTheOneWhoseMemoryItHas) {
   PendingTable<int, std::vector<int>> table;
   for (int round = 0; round < 3; ++round) {
      for (int key = 0; key < 100; ++key) {
         const auto [entry, made] = table.emplace(key);
         EXPECT_TRUE(made);
         EXPECT_TRUE(entry.empty());
         entry.assign(3, key);
      }
      table.erase(3);
      EXPECT_TRUE(table.emplace(3).first.empty());
      table.pass([](int, std::vector<int>&) { return true; });
   }
}

TEST(PendingTableModel, anEntryStaysWhereItIs) {
   PendingTable<int, std::string> table;
   const std::string* const first = &table.emplace(0, "zero").first;
   for (int key = 1; key < 5000; ++key)
      table.emplace(key, "other");
   EXPECT_EQ(&table.emplace(0).first, first);
   EXPECT_EQ(*first, "zero");
}

struct Counted {
   char bytes[64] = {};
};

std::uint64_t liveBytes() {
   std::uint64_t bytes = 0;
   for (const auto& row : Pavo::allocationCounts()) {
      if (row.type.find("Counted") != std::string::npos) bytes += row.bytes;
   }
   return bytes;
}

TEST(PendingTableModel, theMemoryOfAStormIsGivenBackAfterTheNextFill) {
   PendingTable<int, Counted> table;
   const auto fill = [&](int keys) {
      for (int key = 0; key < keys; ++key)
         table.emplace(key);
      table.pass([](int, Counted&) { return true; });
      EXPECT_TRUE(table.empty());
   };
   fill(100'000);
   EXPECT_GT(liveBytes(), 6'400'000U);
   fill(100'000);
   EXPECT_GT(liveBytes(), 6'400'000U);
   fill(1000);
   EXPECT_LT(liveBytes(), 200'000U);
   fill(10);
   EXPECT_EQ(liveBytes(), 0U);
}

}  // namespace
}  // namespace OrvSdkRpc
