#include "platform/pavo/Allocator.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <deque>
#include <limits>
#include <map>
#include <memory>
#include <thread>
#include <vector>

namespace Pavo {

// Types that only this test uses, so that no other allocation counts under them. They have names, so that the
// test can look them up.
struct SharedThing {
   std::array<char, 100> data;
};
struct ListedThing {
   int value = 0;
};
struct QueuedThing {
   int value = 0;
};
struct alignas(128) WideThing {
   char data = 0;
};
struct BusyThing {
   int value = 0;
};
struct UnusedThing {};
struct MappedThing {
   int value = 0;
};

namespace {

AllocationCount countOf(const std::string& type) {
   const std::vector<AllocationCount> counts = allocationCounts();
   const auto it =
        std::find_if(counts.begin(), counts.end(), [&](const auto& row) { return row.type == type; });
   return it != counts.end() ? *it : AllocationCount{};
}

TEST(Allocator, sharedObjectsCountUnderTheirOwnType) {
   auto one = std::allocate_shared<SharedThing>(Allocator<SharedThing>());
   auto two = std::allocate_shared<SharedThing>(Allocator<SharedThing>());
   AllocationCount count = countOf("Pavo::SharedThing");
   EXPECT_EQ(count.live, 2U);
   EXPECT_EQ(count.total, 2U);
   EXPECT_GE(count.bytes, 2 * sizeof(SharedThing));
   const std::uint64_t bytesOfTwo = count.bytes;

   one.reset();
   count = countOf("Pavo::SharedThing");
   EXPECT_EQ(count.live, 1U);
   EXPECT_EQ(count.total, 2U);
   EXPECT_EQ(count.bytes, bytesOfTwo / 2);

   const std::weak_ptr<SharedThing> observer = two;
   two.reset();
   EXPECT_EQ(countOf("Pavo::SharedThing").live, 1U) << "the block lives on for the weak pointer";
}

TEST(Allocator, vectorsCountTheirBytes) {
   {
      std::vector<ListedThing, Allocator<ListedThing>> things;
      things.reserve(10);
      const AllocationCount count = countOf("Pavo::ListedThing");
      EXPECT_EQ(count.live, 1U);
      EXPECT_EQ(count.bytes, 10 * sizeof(ListedThing));
   }
   const AllocationCount count = countOf("Pavo::ListedThing");
   EXPECT_EQ(count.live, 0U);
   EXPECT_EQ(count.bytes, 0U);
   EXPECT_EQ(count.total, 1U);
}

TEST(Allocator, nodesAndBlockMapsCountUnderTheElementType) {
   {
      std::deque<QueuedThing, Allocator<QueuedThing>> queue;
      for (int i = 0; i < 1000; ++i)
         queue.push_back({i});
      EXPECT_GE(countOf("Pavo::QueuedThing").bytes, 1000 * sizeof(QueuedThing));
      using Pair = std::pair<const int, MappedThing>;
      std::map<int, MappedThing, std::less<>, Allocator<Pair, MappedThing>> map;
      map.emplace(1, MappedThing{});
      map.emplace(2, MappedThing{});
      EXPECT_EQ(countOf("Pavo::MappedThing").live, 2U);
   }
   EXPECT_EQ(countOf("Pavo::QueuedThing").live, 0U);
   EXPECT_EQ(countOf("Pavo::QueuedThing").bytes, 0U);
   EXPECT_EQ(countOf("Pavo::MappedThing").bytes, 0U);
}

TEST(Allocator, keepsAlignmentsBeyondTheDefault) {
   Allocator<WideThing> allocator;
   WideThing* const block = allocator.allocate(3);
   EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % alignof(WideThing), 0U);
   EXPECT_EQ(countOf("Pavo::WideThing").bytes, 3 * sizeof(WideThing));
   allocator.deallocate(block, 3);
   EXPECT_EQ(countOf("Pavo::WideThing").bytes, 0U);
}

TEST(Allocator, refusesASizeThatCannotBe) {
   Allocator<ListedThing> allocator;
   const std::uint64_t before = countOf("Pavo::ListedThing").total;
   // Hides the value from the optimiser, which would warn about it.
   volatile std::size_t huge = std::numeric_limits<std::size_t>::max() / 2;
   EXPECT_THROW(static_cast<void>(allocator.allocate(huge)), std::bad_array_new_length);
   EXPECT_EQ(countOf("Pavo::ListedThing").total, before);
}

TEST(Allocator, rowsAreSortedAndCoverTypesThatNeverAllocated) {
   Allocator<UnusedThing> allocator;
   if (allocationCounts().empty()) allocator.deallocate(allocator.allocate(1), 1);
   const std::vector<AllocationCount> counts = allocationCounts();
   EXPECT_TRUE(std::is_sorted(counts.begin(), counts.end(),
                              [](const auto& a, const auto& b) { return a.type < b.type; }));
   EXPECT_EQ(countOf("Pavo::UnusedThing").type, "Pavo::UnusedThing");
   EXPECT_EQ(countOf("Pavo::UnusedThing").total, 0U);
}

TEST(Allocator, countsOfManyThreadsAddUp) {
   std::vector<std::thread> threads;
   for (int t = 0; t < 4; ++t) {
      threads.emplace_back([] {
         for (int i = 0; i < 5000; ++i)
            std::allocate_shared<BusyThing>(Allocator<BusyThing>());
      });
   }
   // A reader in between sees no impossible counts, such as more freed than allocated.
   for (int i = 0; i < 100; ++i)
      EXPECT_LE(countOf("Pavo::BusyThing").live, 20000U);
   for (auto& thread : threads)
      thread.join();
   const AllocationCount count = countOf("Pavo::BusyThing");
   EXPECT_EQ(count.live, 0U);
   EXPECT_EQ(count.total, 20000U);
}

}  // namespace
}  // namespace Pavo
