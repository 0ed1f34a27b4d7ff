// How a table of pending entries must behave: like a std::map in the table's order, compared step by step.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <map>
#include <optional>
#include <random>
#include <utility>
#include <vector>

namespace OrvSdkRpc {

// Order::at(key) is ordered as the table's entries are.
template <class Key, class Order>
class PendingTableModel {
public:
   bool emplace(const Key& key, int value) { return rows_.emplace(Order::at(key), Row{key, value}).second; }
   void erase(const Key& key) {
      const auto it = rows_.find(Order::at(key));
      if (it == rows_.end()) return;
      const auto next = rows_.erase(it);
      if (resume_ == key) resumeAt(next);
   }
   std::vector<Key> pass(std::size_t most) {
      std::vector<Key> keys;
      auto it = resume_ ? rows_.lower_bound(Order::at(*resume_)) : rows_.begin();
      for (; it != rows_.end() && keys.size() < most; it = rows_.erase(it))
         keys.push_back(it->second.key);
      resumeAt(it);
      return keys;
   }
   [[nodiscard]] std::size_t size() const { return rows_.size(); }
   [[nodiscard]] std::optional<Key> resumeKey() const { return resume_; }
   [[nodiscard]] int value(const Key& key) const { return rows_.at(Order::at(key)).value; }

private:
   struct Row {
      Key key;
      int value;
   };
   using Rows = std::map<decltype(Order::at(std::declval<Key>())), Row>;

   void resumeAt(typename Rows::const_iterator it) {
      resume_ = it == rows_.end() ? std::nullopt : std::optional(it->second.key);
   }

   Rows rows_;
   std::optional<Key> resume_;
};

// Runs thousands of random steps over `keys` keys, which are made from numbers.
template <class Key, class Order, class Table>
void comparesWithModel(Table table, int keys) {
   PendingTableModel<Key, Order> model;
   std::mt19937 random(static_cast<unsigned>(keys));
   const auto next = [&](int below) { return static_cast<int>(random() % static_cast<unsigned>(below)); };
   for (int step = 0; step < 6000; ++step) {
      const Key key(next(keys));
      const int what = next(20);
      if (what < 14) {
         const auto [entry, made] = table.emplace(key, step);
         ASSERT_EQ(made, model.emplace(key, step));
         ASSERT_EQ(entry, model.value(key));
      } else if (what < 16) {
         table.erase(key);
         model.erase(key);
      } else {
         const auto most = static_cast<std::size_t>(next(what == 19 ? 2 * keys : 5));
         std::vector<Key> visited;
         const std::size_t count = table.pass([&](const Key& visit, int& value) {
            if (visited.size() == most) return false;
            EXPECT_EQ(value, model.value(visit));
            visited.push_back(visit);
            return true;
         });
         ASSERT_EQ(count, visited.size());
         ASSERT_EQ(visited, model.pass(most));
      }
      ASSERT_EQ(table.size(), model.size());
      ASSERT_EQ(table.empty(), model.size() == 0);
      ASSERT_EQ(table.resumeKey(), model.resumeKey());
   }
}

}  // namespace OrvSdkRpc
