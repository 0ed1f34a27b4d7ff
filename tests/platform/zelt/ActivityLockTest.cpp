#include "platform/zelt/ActivityLock.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "platform/zelt/Anchors.h"
#include "platform/zelt/Clock.h"

namespace Zelt {
namespace {

void untilTrue(const std::function<bool()>& condition) {
   while (!condition())
      std::this_thread::yield();
}

TEST(ActivityLock, isRecursiveAndKnowsItsOwner) {
   ActivityLock lock;
   EXPECT_FALSE(lock.ownedByMe());
   EXPECT_EQ(lock.depth(), 0U);
   lock.acquire();
   lock.acquire();
   lock.acquire();
   EXPECT_EQ(lock.depth(), 3U);
   bool ownedElsewhere = true;
   std::thread([&] { ownedElsewhere = lock.ownedByMe() || lock.depth() != 0; }).join();
   EXPECT_FALSE(ownedElsewhere);
   lock.release();
   lock.release();
   EXPECT_TRUE(lock.ownedByMe());
   lock.release();
   EXPECT_FALSE(lock.ownedByMe());
}

TEST(ActivityLock, staysHeldUntilTheOutermostRelease) {
   ActivityLock lock;
   bool innerIsOver = false;
   bool seenAfterInner = false;
   lock.acquire();
   lock.acquire();
   std::thread other([&] {
      lock.acquire();
      seenAfterInner = innerIsOver;
      lock.release();
   });
   lock.release(HandOver::now);
   untilTrue([&] { return lock.waiters() == 1; });
   innerIsOver = true;
   lock.release(HandOver::now);
   other.join();
   EXPECT_TRUE(seenAfterInner);
}

TEST(ActivityLock, releaseAllGivesTheDepthBackToReacquire) {
   ActivityLock lock;
   lock.acquire();
   lock.acquire();
   const unsigned depth = lock.releaseAll();
   EXPECT_EQ(depth, 2U);
   EXPECT_FALSE(lock.ownedByMe());
   std::thread([&] {
      lock.acquire();
      lock.release();
   }).join();
   lock.reacquire(depth);
   EXPECT_EQ(lock.depth(), 2U);
   lock.release();
   lock.release();
   EXPECT_FALSE(lock.ownedByMe());
}

TEST(ActivityLock, releaseAllOfAnotherThreadDoesNothing) {
   ActivityLock lock;
   lock.acquire();
   std::thread([&] {
      const unsigned depth = lock.releaseAll();
      EXPECT_EQ(depth, 0U);
      lock.reacquire(depth);
      EXPECT_FALSE(lock.ownedByMe());
   }).join();
   EXPECT_EQ(lock.depth(), 1U);
   lock.release();
}

TEST(ActivityLockDeathTest, releaseByAnotherThreadEndsTheProcess) {
   GTEST_FLAG_SET(death_test_style, "threadsafe");
   ActivityLock lock;
   EXPECT_DEATH(lock.release(), "released by a thread that does not hold it");
}

struct HookLog {
   ActivityLock& lock;
   unsigned calls = 0;
   unsigned depthSeen = 0;

   static void called(void* argument) {
      auto& log = *static_cast<HookLog*>(argument);
      ++log.calls;
      log.depthSeen = log.lock.depth();
      const ActivityLockAnchor inner(log.lock);
   }
};

TEST(ActivityLock, hookIsCalledOncePerFullReleaseStillHoldingTheLock) {
   ActivityLock lock;
   HookLog log{.lock = lock};
   lock.setReleaseHook(&HookLog::called, &log);
   EXPECT_EQ(log.calls, 0U) << "installing it is not a span of its own";

   lock.acquire();
   lock.acquire();
   lock.release();
   EXPECT_EQ(log.calls, 0U);
   lock.release();
   EXPECT_EQ(log.calls, 1U);
   EXPECT_EQ(log.depthSeen, 1U);

   lock.acquire();
   lock.acquire();
   const unsigned depth = lock.releaseAll();
   EXPECT_EQ(log.calls, 2U);
   EXPECT_EQ(log.depthSeen, 1U);
   lock.reacquire(depth);
   lock.release();
   lock.release(HandOver::now);
   EXPECT_EQ(log.calls, 3U);

   lock.setReleaseHook(nullptr, nullptr);
   lock.acquire();
   lock.release();
   EXPECT_EQ(log.calls, 3U);
}

TEST(ActivityLock, aSettleCallsTheHookAndLetsNobodyIn) {
   ActivityLock lock;
   HookLog log{.lock = lock};
   lock.setReleaseHook(&HookLog::called, &log);
   lock.settle();
   EXPECT_EQ(log.calls, 0U) << "nobody holds the lock";

   lock.acquire();
   lock.acquire();
   std::thread([&] { lock.settle(); }).join();
   EXPECT_EQ(log.calls, 0U) << "somebody else holds it";
   lock.settle();
   EXPECT_EQ(log.calls, 1U);
   EXPECT_EQ(log.depthSeen, 2U);
   EXPECT_EQ(lock.depth(), 2U);
   lock.release();
   lock.release();
   EXPECT_EQ(log.calls, 2U) << "the release calls it all the same";

   lock.setReleaseHook(nullptr, nullptr);
   const ActivityLockAnchor anchor(lock);
   lock.settle();
   EXPECT_EQ(log.calls, 2U);
}

TEST(ActivityLock, hookInstalledUnderTheLockSeesTheEndOfThatSpan) {
   ActivityLock lock;
   HookLog log{.lock = lock};
   lock.acquire();
   lock.setReleaseHook(&HookLog::called, &log);
   EXPECT_EQ(lock.depth(), 1U);
   lock.release();
   EXPECT_EQ(log.calls, 1U);
}

TEST(ActivityLock, hookIsCalledOncePerFullReleaseUnderContention) {
   static constexpr unsigned threadCount = 4;
   static constexpr unsigned spans = 2000;
   ActivityLock lock;
   HookLog log{.lock = lock};
   lock.setReleaseHook(&HookLog::called, &log);
   std::vector<std::thread> threads;
   for (unsigned t = 0; t < threadCount; ++t) {
      threads.emplace_back([&, t] {
         for (unsigned i = 0; i < spans; ++i) {
            lock.acquire();
            lock.acquire();
            lock.release();
            lock.release((i + t) % 3 == 0 ? HandOver::now : HandOver::bySlice);
         }
      });
   }
   for (auto& thread : threads)
      thread.join();
   EXPECT_EQ(log.calls, threadCount * spans);
}

TEST(ActivityLock, excludesThreadsFromEachOther) {
   static constexpr unsigned threadCount = 4;
   static constexpr unsigned rounds = 20000;
   ActivityLock lock;
   std::uint64_t counter = 0;
   std::atomic<unsigned> inside{0};
   std::atomic<unsigned> overlaps{0};
   std::vector<std::thread> threads;
   for (unsigned t = 0; t < threadCount; ++t) {
      threads.emplace_back([&, t] {
         for (unsigned i = 0; i < rounds; ++i) {
            lock.acquire();
            if (inside.fetch_add(1, std::memory_order_relaxed) != 0) overlaps.fetch_add(1);
            ++counter;
            inside.fetch_sub(1, std::memory_order_relaxed);
            if (i % 64 == t) {
               lock.reacquire(lock.releaseAll());
               lock.release();
            } else {
               lock.release(i % 16 == 0 ? HandOver::now : HandOver::bySlice);
            }
         }
      });
   }
   for (auto& thread : threads)
      thread.join();
   EXPECT_EQ(counter, std::uint64_t{threadCount} * rounds);
   EXPECT_EQ(overlaps.load(), 0U);
   EXPECT_EQ(lock.waiters(), 0U);
}

TEST(ActivityLock, releaseNowPassesTheLockToTheWaiterBeforeTheReleaserComesBack) {
   ActivityLock lock;
   std::string order;
   for (int round = 0; round < 50; ++round) {
      order.clear();
      lock.acquire();
      std::thread waiter([&] {
         lock.acquire();
         order += 'w';
         lock.release(HandOver::now);
      });
      untilTrue([&] { return lock.waiters() == 1; });
      lock.release(HandOver::now);
      lock.acquire();
      order += 'r';
      lock.release();
      waiter.join();
      ASSERT_EQ(order, "wr");
   }
}

TEST(ActivityLock, releaseAllPassesTheLockOnToo) {
   ActivityLock lock;
   std::string order;
   lock.acquire();
   lock.acquire();
   std::thread waiter([&] {
      lock.acquire();
      order += 'w';
      lock.release(HandOver::now);
   });
   untilTrue([&] { return lock.waiters() == 1; });
   lock.reacquire(lock.releaseAll());
   order += 'r';
   lock.release();
   lock.release();
   waiter.join();
   EXPECT_EQ(order, "wr");
}

TEST(ActivityLock, waitersAreServedInTheOrderOfTheirComing) {
   ActivityLock lock;
   std::string order;
   std::vector<std::thread> waiters;
   lock.acquire();
   for (unsigned i = 0; i < 5; ++i) {
      waiters.emplace_back([&, i] {
         lock.acquire();
         order += static_cast<char>('a' + i);
         lock.release(HandOver::now);
      });
      untilTrue([&] { return lock.waiters() == i + 1; });
   }
   lock.release(HandOver::now);
   for (auto& waiter : waiters)
      waiter.join();
   EXPECT_EQ(order, "abcde");
}

TEST(ActivityLock, aFreedAndAbandonedLockReachesTheWaiter) {
   ActivityLock lock;
   lock.acquire();
   bool got = false;
   std::thread waiter([&] {
      lock.acquire();
      got = true;
      lock.release();
   });
   untilTrue([&] { return lock.waiters() == 1; });
   lock.release(HandOver::bySlice);
   waiter.join();
   EXPECT_TRUE(got);
}

TEST(ActivityLock, handOverIsDueOnceTheOldestWaiterHasWaitedForASlice) {
   ActivityLock lock;
   lock.acquire();
   EXPECT_FALSE(lock.handOverDue(Clock::steadyNanos() + nanosPerSecond)) << "nobody waits";
   const std::int64_t before = Clock::steadyNanos();
   std::thread waiter([&] {
      lock.acquire();
      lock.release();
   });
   untilTrue([&] { return lock.waiters() == 1; });
   const std::int64_t after = Clock::steadyNanos();
   EXPECT_FALSE(lock.handOverDue(before + ActivityLock::sliceNanos - 1));
   EXPECT_TRUE(lock.handOverDue(after + ActivityLock::sliceNanos));
   lock.release(HandOver::now);
   waiter.join();
}

// Fairness. Wall-clock bounds are loose, for loaded machines and instrumented builds. Exact are the
// assertions about which thread makes progress, and that the lock does not change hands at every release.

struct Saturation {
   ActivityLock lock;
   std::atomic<bool> over{false};
   // Guarded by the lock.
   int last = -1;
   std::array<std::uint64_t, 2> spans{};
   std::array<std::uint64_t, 2> turns{};

   void saturate(std::size_t me, HandOver how) {
      while (!over.load(std::memory_order_relaxed)) {
         lock.acquire();
         ++spans[me];
         if (last != static_cast<int>(me)) {
            last = static_cast<int>(me);
            ++turns[me];
            if (turns[0] >= 100 && turns[1] >= 100) over.store(true, std::memory_order_relaxed);
         }
         lock.release(how);
      }
   }
};

TEST(ActivityLock, twoSaturatingThreadsTakeTurnsBySlices) {
   Saturation run;
   std::thread first([&] { run.saturate(0, HandOver::bySlice); });
   std::thread second([&] { run.saturate(1, HandOver::bySlice); });
   first.join();
   second.join();
   EXPECT_GE(run.turns[0], 100U);
   EXPECT_GE(run.turns[1], 100U);
   EXPECT_GT(run.spans[0] + run.spans[1], 10 * (run.turns[0] + run.turns[1])) << "a turn is many spans long";
   const double share = static_cast<double>(run.spans[0]) / static_cast<double>(run.spans[0] + run.spans[1]);
   EXPECT_GT(share, 0.05);
   EXPECT_LT(share, 0.95);
}

// `waiter` wants the lock again and again while `bulk` saturates it.
void expectServed(HandOver waiterReleases) {
   ActivityLock lock;
   std::atomic<bool> over{false};
   std::uint64_t bulkSpans = 0;
   std::thread bulk([&] {
      while (!over.load(std::memory_order_relaxed)) {
         lock.acquire();
         ++bulkSpans;
         lock.release();
      }
   });
   std::uint64_t bulkSpansBefore = 0;
   for (int round = 0; round < 200; ++round) {
      lock.acquire();
      EXPECT_GE(bulkSpans, bulkSpansBefore);
      bulkSpansBefore = bulkSpans;
      lock.release(waiterReleases);
   }
   // The bulk thread makes progress as well.
   for (;;) {
      const ActivityLockAnchor anchor(lock, HandOver::now);
      if (bulkSpans > bulkSpansBefore) break;
   }
   over.store(true);
   bulk.join();
}

TEST(ActivityLock, saturatedLockIsGotByAWaiterAgainAndAgain) {
   expectServed(HandOver::bySlice);
   expectServed(HandOver::now);
}

TEST(ActivityLock, longHolderThatAsksGivesWayWithinItsSpan) {
   ActivityLock lock;
   std::atomic<bool> served{false};
   lock.acquire();
   std::thread waiter([&] {
      const ActivityLockAnchor anchor(lock);
      served.store(true);
   });
   // A batch that looks at handOverDue as it goes on.
   while (!lock.handOverDue(Clock::steadyNanos()))
      std::this_thread::yield();
   EXPECT_FALSE(served.load());
   lock.release();
   waiter.join();
   EXPECT_TRUE(served.load());
}

TEST(ActivityLock, manyThreadsAllGetTheirShare) {
   static constexpr unsigned threadCount = 6;
   ActivityLock lock;
   std::array<unsigned, threadCount> spans{};
   std::atomic<unsigned> ready{0};
   std::atomic<bool> over{false};
   std::vector<std::thread> threads;
   for (unsigned t = 0; t < threadCount; ++t) {
      threads.emplace_back([&, t] {
         ready.fetch_add(1);
         while (!over.load(std::memory_order_relaxed)) {
            const ActivityLockAnchor anchor(lock);
            ++spans[t];
            if (*std::min_element(spans.begin(), spans.end()) >= 20) over.store(true);
         }
      });
   }
   for (auto& thread : threads)
      thread.join();
   EXPECT_GE(*std::min_element(spans.begin(), spans.end()), 20U);
}

}  // namespace
}  // namespace Zelt
