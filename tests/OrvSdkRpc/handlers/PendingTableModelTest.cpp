// The table against a std::map over (hash, key), step by step, under hashes good and bad.
#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "OrvSdkRpc/handlers/PendingTable.h"

namespace OrvSdkRpc {
namespace {

// All keys at home in one place: the first, one in the middle, the last.
template <std::uint64_t hash>
struct Same {
   std::uint64_t operator()(int) const { return hash; }
};
// Few homes, in rising order of the keys' last digit.
struct Coarse {
   std::uint64_t operator()(int key) const { return static_cast<std::uint64_t>(key % 8) << 61; }
};
// Everything is pushed over the edge.
struct Late {
   std::uint64_t operator()(int key) const { return ~std::uint64_t{0} - static_cast<std::uint64_t>(key % 3); }
};

template <class Hash>
class Model {
public:
   bool emplace(int key, const std::string& value) { return rows_.emplace(at(key), value).second; }
   void erase(int key) {
      const auto it = rows_.find(at(key));
      if (it == rows_.end()) return;
      const auto next = rows_.erase(it);
      if (resume_ == key) resume_ = next == rows_.end() ? std::nullopt : std::optional(next->first.second);
   }
   std::vector<int> pass(std::size_t most) {
      std::vector<int> keys;
      auto it = resume_ ? rows_.lower_bound(at(*resume_)) : rows_.begin();
      for (; it != rows_.end() && keys.size() < most; it = rows_.erase(it))
         keys.push_back(it->first.second);
      resume_ = it == rows_.end() ? std::nullopt : std::optional(it->first.second);
      return keys;
   }
   [[nodiscard]] std::size_t size() const { return rows_.size(); }
   [[nodiscard]] std::optional<int> resumeKey() const { return resume_; }
   [[nodiscard]] const std::string& value(int key) const { return rows_.at(at(key)); }

private:
   static std::pair<std::uint64_t, int> at(int key) { return {Hash{}(key), key}; }

   std::map<std::pair<std::uint64_t, int>, std::string> rows_;
   std::optional<int> resume_;
};

template <class Hash>
class PendingTableModelTest : public testing::Test {};
using Hashes = testing::Types<SpreadHash<int>, Coarse, Late, Same<0>, Same<std::uint64_t{1} << 63>,
                              Same<~std::uint64_t{0}>>;
TYPED_TEST_SUITE(PendingTableModelTest, Hashes);

TYPED_TEST(PendingTableModelTest, behavesAsATreeOverHashAndKey) {
   for (const int keys : {5, 60, 700}) {
      PendingTable<int, std::string, TypeParam> table;
      Model<TypeParam> model;
      std::mt19937 random(static_cast<unsigned>(keys));
      const auto next = [&](int below) { return static_cast<int>(random() % static_cast<unsigned>(below)); };
      for (int step = 0; step < 6000; ++step) {
         const int key = next(keys);
         const int what = next(20);
         if (what < 14) {
            const std::string value = std::to_string(step);
            const auto [entry, made] = table.emplace(key, value);
            ASSERT_EQ(made, model.emplace(key, value));
            ASSERT_EQ(entry, model.value(key));
         } else if (what < 16) {
            table.erase(key);
            model.erase(key);
         } else {
            const auto most = static_cast<std::size_t>(next(what == 19 ? 2 * keys : 5));
            std::vector<int> visited;
            const std::size_t count = table.pass([&](int visit, const std::string& value) {
               if (visited.size() == most) return false;
               EXPECT_EQ(value, model.value(visit));
               visited.push_back(visit);
               return true;
            });
            ASSERT_EQ(count, visited.size());
            ASSERT_EQ(visited, model.pass(most));
         }
         ASSERT_EQ(table.size(), model.size());
         ASSERT_EQ(table.resumeKey(), model.resumeKey());
      }
   }
}

// The keys' own order.
struct Ascending {
   std::uint64_t operator()(int key) const { return static_cast<std::uint64_t>(key) << 48; }
};

TEST(PendingTableModel, entriesThatAVisitMakesGoWithTheVisitedOnesOrStay) {
   PendingTable<int, int, Ascending> table;
   for (const int key : {10, 20, 30})
      table.emplace(key, key);
   std::vector<int> visited;
   table.pass([&](int key, int&) {
      visited.push_back(key);
      if (key == 20) {
         table.emplace(5, 5);
         table.emplace(15, 15);
         // Enough of them to move everything that stands.
         for (int more = 100; more < 200; ++more)
            table.emplace(more, more);
      }
      // Also by a visit that stops the walk.
      if (key == 150) table.emplace(7, 7);
      return key < 150;
   });
   // 15 came behind the walk and went with what was visited; 5 and 7 came in front of where the walk began.
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
