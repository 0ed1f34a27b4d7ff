#include "OrvSdkRpc/handlers/IndexedPendingTable.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "PendingTableModel.h"
#include "orv/intf_id.h"

namespace OrvSdkRpc {
namespace {

// A negative number has no index.
struct Number {
   static constexpr std::uint32_t no_index = 0xffffffff;

   Number() = default;
   explicit Number(int value) : number(value) {}
   [[nodiscard]] std::uint32_t index() const {
      return number < 0 ? no_index : static_cast<std::uint32_t>(number);
   }
   friend auto operator<=>(const Number&, const Number&) = default;

   int number = 0;
};
std::ostream& operator<<(std::ostream& out, const Number& key) {
   return out << key.number;
}

}  // namespace
}  // namespace OrvSdkRpc

template <>
struct std::hash<OrvSdkRpc::Number> {
   std::size_t operator()(const OrvSdkRpc::Number& key) const noexcept {
      return static_cast<std::size_t>(key.number);
   }
};

namespace OrvSdkRpc {
namespace {

static_assert(std::is_same_v<PendingTableFor<Number, int>::Type, IndexedPendingTable<Number, int>>);
static_assert(std::is_same_v<PendingTableFor<Number, std::string>::Type, PendingTable<Number, std::string>>);
static_assert(std::is_same_v<PendingTableFor<int, int>::Type, PendingTable<int, int>>);

using Table = IndexedPendingTable<Number, int>;

// Every third number has no index. A large `apart` spreads the indices.
template <int apart>
struct Mixed : Number {
   Mixed() = default;
   explicit Mixed(int value) : Number(value % 3 == 0 ? -1 - value : value * apart) {}
};
template <int apart>
struct MixedOrder {
   static auto at(const Mixed<apart>& key) {
      const bool known = key.number >= 0;
      return std::tuple(!known, known ? key.index() : SpreadHash<Number>{}(key), key.number);
   }
};

}  // namespace
}  // namespace OrvSdkRpc

template <int apart>
struct std::hash<OrvSdkRpc::Mixed<apart>> : std::hash<OrvSdkRpc::Number> {};

namespace OrvSdkRpc {
namespace {

TEST(IndexedPendingTable, behavesAsATreeOverTheIndicesWithTheOthersBehind) {
   for (const int keys : {5, 60, 700}) {
      comparesWithModel<Mixed<1>, MixedOrder<1>>(IndexedPendingTable<Mixed<1>, int>(), keys);
      comparesWithModel<Mixed<61>, MixedOrder<61>>(IndexedPendingTable<Mixed<61>, int>(), keys);
   }
}

std::vector<int> passOver(Table& table, std::size_t most) {
   std::vector<int> keys;
   const std::size_t count = table.pass([&](const Number& key, int&) {
      if (keys.size() == most) return false;
      keys.push_back(key.number);
      return true;
   });
   EXPECT_EQ(count, keys.size());
   return keys;
}

TEST(IndexedPendingTable, aNewKeyInFrontOfTheResumePointGoesInALaterPass) {
   Table table;
   for (const int key : {10, 100, 1000, -1})
      table.emplace(Number(key), key);
   EXPECT_EQ(passOver(table, 2), (std::vector<int>{10, 100}));
   EXPECT_EQ(table.resumeKey(), Number(1000));
   table.emplace(Number(50), 50);
   EXPECT_EQ(passOver(table, 5), (std::vector<int>{1000, -1}));
   EXPECT_FALSE(table.resumeKey());
   EXPECT_EQ(passOver(table, 5), std::vector<int>{50});
   EXPECT_TRUE(table.empty());
}

TEST(IndexedPendingTable, theOthersAreResumedToo) {
   Table table;
   for (const int key : {7, -1})
      table.emplace(Number(key), key);
   // The pass stops exactly at the last index.
   EXPECT_EQ(passOver(table, 1), std::vector<int>{7});
   EXPECT_EQ(table.resumeKey(), Number(-1));
   table.emplace(Number(8), 8);
   EXPECT_EQ(passOver(table, 5), std::vector<int>{-1});
   EXPECT_EQ(passOver(table, 5), std::vector<int>{8});
}

TEST(IndexedPendingTable, anErasedResumeKeyHandsOverToTheNext) {
   Table table;
   for (const int key : {1, 2, 200, -1})
      table.emplace(Number(key), key);
   passOver(table, 1);
   table.erase(Number(2));
   EXPECT_EQ(table.resumeKey(), Number(200));
   table.erase(Number(200));
   EXPECT_EQ(table.resumeKey(), Number(-1));
   table.erase(Number(-1));
   EXPECT_FALSE(table.resumeKey());
   EXPECT_TRUE(table.empty());
   // No entry has this key.
   table.erase(Number(5000));
   EXPECT_TRUE(table.empty());
}

TEST(IndexedPendingTable, entriesThatAVisitMakesGoWithTheVisitedOnesOrStay) {
   Table table;
   for (const int key : {10, 20, 30})
      table.emplace(Number(key), key);
   std::vector<int> visited;
   table.pass([&](const Number& key, int&) {
      visited.push_back(key.number);
      if (key == Number(20)) {
         for (const int more : {5, 15, 25, 5000, -1})
            table.emplace(Number(more), more);
      }
      return key != Number(5000);
   });
   // 5 and 15 were added behind the pass and removed with the visited entries.
   EXPECT_EQ(visited, (std::vector<int>{10, 20, 25, 30, 5000}));
   EXPECT_EQ(table.resumeKey(), Number(5000));
   EXPECT_EQ(passOver(table, 5), (std::vector<int>{5000, -1}));
   EXPECT_TRUE(table.empty());
}

TEST(IndexedPendingTable, anEntryStaysWhereItIs) {
   Table table;
   int* const first = &table.emplace(Number(0), 7).first;
   for (int key = 1; key < 50'000; ++key)
      table.emplace(Number(key), key);
   EXPECT_EQ(&table.emplace(Number(0), 8).first, first);
   EXPECT_EQ(*first, 7);
}

TEST(IndexedPendingTable, aTableThatWasClearedBeginsAnew) {
   Table table;
   for (const int key : {1, 2, -1, -2})
      table.emplace(Number(key), key);
   passOver(table, 1);
   table.clear();
   EXPECT_TRUE(table.empty());
   EXPECT_FALSE(table.resumeKey());
   EXPECT_TRUE(table.emplace(Number(2), 3).second);
   EXPECT_EQ(passOver(table, 5), std::vector<int>{2});
}

TEST(IndexedPendingTable, aNameThatBecomesKnownWhileItWaitsIsOneKey) {
   IndexedPendingTable<orv::intf_id_t, int> table;
   const orv::intf_id_t before("BecomesKnown1");
   ASSERT_EQ(before.index(), orv::intf_id_t::no_index);
   table.emplace(before, 1);
   const orv::intf_id_t after = orv::host::intf_name_known("BecomesKnown1");
   ASSERT_NE(after.index(), orv::intf_id_t::no_index);
   const auto [entry, made] = table.emplace(after, 2);
   EXPECT_FALSE(made);
   EXPECT_EQ(entry, 1);
   EXPECT_EQ(table.size(), 1U);
   table.erase(after);
   EXPECT_TRUE(table.empty());
   EXPECT_TRUE(table.emplace(after, 3).second);
   // An id that was made before the name became known is the same key.
   EXPECT_FALSE(table.emplace(before, 4).second);
   table.erase(before);
   EXPECT_TRUE(table.empty());
}

std::uint64_t pageBytes() {
   std::uint64_t bytes = 0;
   for (const auto& row : Pavo::allocationCounts()) {
      if (row.type.find("IndexedPendingTable") != std::string::npos) bytes += row.bytes;
   }
   return bytes;
}

TEST(IndexedPendingTable, theMemoryOfAStormIsGivenBackAfterTheNextFill) {
   Table table;
   const auto fill = [&](int keys, int apart) {
      for (int key = 0; key < keys; ++key)
         table.emplace(Number(key * apart), key);
      passOver(table, 1'000'000);
      EXPECT_TRUE(table.empty());
   };
   fill(100'000, 1);
   EXPECT_GT(pageBytes(), 800'000U);
   fill(100'000, 1);
   EXPECT_GT(pageBytes(), 800'000U);
   fill(1000, 1);
   EXPECT_EQ(pageBytes(), 0U);
   fill(1000, 1);
   EXPECT_GT(pageBytes(), 0U);
   // Few entries on many pages.
   fill(1000, 64);
   EXPECT_EQ(pageBytes(), 0U);
   fill(10, 1);
   EXPECT_EQ(pageBytes(), 0U);
}

}  // namespace
}  // namespace OrvSdkRpc
