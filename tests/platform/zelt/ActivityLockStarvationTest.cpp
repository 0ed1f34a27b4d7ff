// The activity lock on a machine that preempts threads at the worst moments. The lock's source runs on
// platforms with real threads and real futexes, which pause a thread between two steps.

#include <gtest/gtest.h>
#include <sched.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <thread>
#include <vector>

#include "platform/zelt/ActivityLock.h"
#include "platform/zelt/ActivityLockSlowPath.h"
#include "testing/platform/SpinningThreads.h"

namespace Zelt {
namespace {

// The holder reads the clock during the waiter's slice and is preempted. The slice ends, and the waiter
// sleeps until the lock is handed to it. Then the holder continues.

struct StoppingPlatform : SystemLockPlatform {
   static constexpr std::int64_t longSleep = ActivityLockCore<StoppingPlatform>::overdueNapNanos;

   static inline std::atomic<std::int64_t> now{0};
   static inline std::atomic<bool> waiterRelies{false};
   static inline std::atomic<bool> waiterSleptInVain{false};
   static inline thread_local bool stopsAtTheClock = false;

   static std::int64_t steadyNanos() {
      const std::int64_t seen = now.load();
      if (stopsAtTheClock) {
         now += ActivityLockCore<StoppingPlatform>::sliceNanos;
         while (!waiterRelies)
            std::this_thread::yield();
      }
      return seen;
   }
   static bool futexWait(const std::atomic<std::uint32_t>& word, std::uint32_t expected,
                         std::int64_t timeoutNs) {
      if (timeoutNs < longSleep) return Zelt::futexWait(word, expected, timeoutNs);
      waiterRelies = true;
      const bool woken = Zelt::futexWait(word, expected, 5 * nanosPerSecond);
      if (!woken) waiterSleptInVain = true;
      return woken;
   }
};

TEST(ActivityLockStarvation, aHolderStoppedBetweenTheClockAndTheReleaseStillHandsOver) {
   using Platform = StoppingPlatform;
   ActivityLockCore<Platform> lock;
   lock.acquire();
   std::thread waiter([&] {
      lock.acquire();
      lock.release();
   });
   while (lock.waiters() == 0)
      std::this_thread::yield();
   Platform::stopsAtTheClock = true;
   lock.release(HandOver::bySlice);
   Platform::stopsAtTheClock = false;
   waiter.join();
   EXPECT_FALSE(Platform::waiterSleptInVain);
   EXPECT_EQ(lock.waits().read().handed, 1U);
   EXPECT_EQ(lock.waits().read().missed, 0U);
}

// Any step may be followed by a pause of any length up to a few slices.

std::uint32_t random(std::uint32_t below) {
   static std::atomic<std::uint32_t> seeds{1};
   static thread_local std::uint32_t state = 0x9e3779b9U * seeds.fetch_add(1);
   state ^= state << 13;
   state ^= state >> 17;
   state ^= state << 5;
   return state % below;
}

void maybePause() {
   const std::uint32_t chance = random(256);
   if (chance == 0) {
      std::this_thread::sleep_for(std::chrono::microseconds(random(400)));
   } else if (chance < 8) {
      sched_yield();
   }
}

// With `forgets` the overdue bit is lost: a waiter sleeps and the holder does not know.
template <bool forgets>
struct JitteryPlatform : SystemLockPlatform {
   template <class T>
   class Atomic {
   public:
      constexpr Atomic(T value) : value_(value) {}
      T load(std::memory_order order) const {
         maybePause();
         return value_.load(order);
      }
      void store(T value, std::memory_order order) {
         maybePause();
         value_.store(value, order);
      }
      bool compare_exchange_strong(T& expected, T desired, std::memory_order success,
                                   std::memory_order failure) {
         maybePause();
         return value_.compare_exchange_strong(expected, desired, success, failure);
      }
      bool compare_exchange_weak(T& expected, T desired, std::memory_order success,
                                 std::memory_order failure) {
         maybePause();
         return value_.compare_exchange_weak(expected, desired, success, failure);
      }
      void fetch_or(T bits, std::memory_order order) {
         maybePause();
         constexpr T overdueBit = 4;
         if (forgets && bits == overdueBit) return;
         value_.fetch_or(bits, order);
      }
      void fetch_and(T bits, std::memory_order order) {
         maybePause();
         value_.fetch_and(bits, order);
      }
      const std::atomic<T>& word() const { return value_; }

   private:
      std::atomic<T> value_;
   };

   static std::int64_t steadyNanos() {
      const std::int64_t now = Clock::steadyNanos();
      maybePause();
      return now;
   }
   static bool futexWait(const Atomic<std::uint32_t>& word, std::uint32_t expected, std::int64_t timeoutNs) {
      maybePause();
      // Wakes sooner than in production from a sleep that a wake-up should end, and so counts more of the
      // sleeps that no wake-up would have ended.
      return Zelt::futexWait(word.word(), expected, std::min(timeoutNs, 2 * nanosPerMilli));
   }
   static void futexWake(const Atomic<std::uint32_t>* word) {
      maybePause();
      Zelt::futexWake(reinterpret_cast<const std::atomic<std::uint32_t>*>(word));
   }
};

// Threads that take the lock in bursts and pause in between, on a machine that is busy with other work. Ends
// after `time`, or once a waiter has been forgotten.
// RETURNS: how often a waiter was forgotten.
template <bool forgets>
std::uint64_t stress(std::chrono::milliseconds time) {
   const orvtest::SpinningThreads spinning;
   ActivityLockCore<JitteryPlatform<forgets>> lock;
   const auto end = std::chrono::steady_clock::now() + time;
   std::uint64_t counter = 0;
   std::atomic<std::uint64_t> spans{0};
   std::vector<std::thread> threads;
   for (int t = 0; t < 3; ++t) {
      threads.emplace_back([&] {
         std::uint64_t mine = 0;
         while (std::chrono::steady_clock::now() < end && lock.waits().read().missed == 0) {
            for (std::uint32_t burst = random(20); burst != 0; --burst, ++mine) {
               lock.acquire();
               ++counter;
               if (random(4) == 0) maybePause();
               lock.release(random(8) == 0 ? HandOver::now : HandOver::bySlice);
            }
            std::this_thread::sleep_for(std::chrono::microseconds(random(10'000)));
         }
         spans += mine;
      });
   }
   for (auto& thread : threads)
      thread.join();
   EXPECT_EQ(counter, spans.load());
   EXPECT_EQ(lock.waiters(), 0U);
   return lock.waits().read().missed;
}

TEST(ActivityLockStarvation, noWaiterIsForgottenOnABusyMachine) {
   EXPECT_EQ(stress<false>(std::chrono::seconds(3)), 0U);
}

TEST(ActivityLockStarvation, theSameStressFindsALockThatForgets) {
   EXPECT_GT(stress<true>(std::chrono::seconds(20)), 0U);
}

// The real lock on the real platform.
TEST(ActivityLockStarvation, theMainLoopsLockForgetsNobodyOnABusyMachine) {
   const orvtest::SpinningThreads spinning;
   ActivityLock lock;
   const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(2);
   std::vector<std::thread> threads;
   for (int t = 0; t < 3; ++t) {
      threads.emplace_back([&] {
         while (std::chrono::steady_clock::now() < end) {
            for (std::uint32_t burst = random(200); burst != 0; --burst) {
               lock.acquire();
               if (random(64) == 0) sched_yield();
               lock.release();
            }
            if (random(4) == 0) std::this_thread::sleep_for(std::chrono::microseconds(random(1000)));
         }
      });
   }
   for (auto& thread : threads)
      thread.join();
   EXPECT_EQ(lock.waiters(), 0U);
   EXPECT_EQ(lock.waits().read().missed, 0U);
   EXPECT_GT(lock.waits().read().longestNanos, 0);
}

}  // namespace
}  // namespace Zelt
