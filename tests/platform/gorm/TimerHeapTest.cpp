#include "platform/gorm/TimerHeap.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <vector>

#include "testing/platform/Loop.h"

namespace Gorm {
namespace {

class TimerHeapTest : public ::testing::Test {
protected:
   TimerHeapTest() {
      for (int i = 0; i < 200; ++i)
         tasks.push_back(loop.task(std::to_string(i), priorityNormal, [] {}));
   }

   orvtest::Loop loop;
   std::vector<Pavo::Ptr<Task>> tasks;
   TimerHeap heap;
};

TEST_F(TimerHeapTest, yieldsDeadlinesInOrder) {
   std::mt19937 random(1);
   std::vector<std::int64_t> deadlines;
   for (const auto& task : tasks) {
      deadlines.push_back(static_cast<std::int64_t>(random() % 50));
      heap.insert(*task, deadlines.back());
   }
   std::sort(deadlines.begin(), deadlines.end());
   for (const std::int64_t deadline : deadlines) {
      ASSERT_EQ(heap.earliestDeadline(), deadline);
      heap.remove(heap.earliest());
   }
   EXPECT_TRUE(heap.empty());
}

TEST_F(TimerHeapTest, agreesWithAPlainMapThroughInsertsAdvancesAndRemovals) {
   std::mt19937 random(2);
   std::map<Task*, std::int64_t> model;
   for (int step = 0; step < 20000; ++step) {
      Task& task = *tasks[random() % tasks.size()];
      const auto known = model.find(&task);
      if (known == model.end()) {
         const auto deadline = static_cast<std::int64_t>(random() % 1000);
         heap.insert(task, deadline);
         model.emplace(&task, deadline);
      } else if (random() % 2 == 0) {
         known->second -= static_cast<std::int64_t>(random() % 100);
         heap.advance(task, known->second);
      } else {
         heap.remove(task);
         model.erase(known);
      }
      ASSERT_EQ(heap.size(), model.size());
      if (model.empty()) continue;
      const auto earliest = std::min_element(
           model.begin(), model.end(), [](const auto& a, const auto& b) { return a.second < b.second; });
      ASSERT_EQ(heap.earliestDeadline(), earliest->second);
      ASSERT_EQ(model.at(&heap.earliest()), earliest->second);
   }
   while (!heap.empty())
      heap.remove(heap.earliest());
}

}  // namespace
}  // namespace Gorm
