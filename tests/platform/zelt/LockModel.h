#pragma once

// A platform on which the activity lock's own source is explored in every interleaving.
//
// Every access to a word that threads share is a step, and so are the clock, the futex and the list's mutex.
// The owner's mark is the exception: a thread only compares it with its own, and no other thread changes that
// result. A sleep that the lock bounds only as a safeguard is unbounded here, so that the safeguard cannot
// hide an error.

#include <cstdint>
#include <type_traits>

#include "platform/zelt/ActivityLockCore.h"
#include "platform/zelt/ActivityLockSlowPath.h"
#include "platform/zelt/ThreadAnnotations.h"
#include "zelt/Interleavings.h"

namespace Zelt::Interleavings {

// What may be wrong with a platform. The exploration must find every flaw but `none`.
enum class Flaw : std::uint8_t {
   none,
   // The waiter sleeps without telling the holder: the overdue bit is lost. The waiter of such a lock drops
   // its timeout once it has seen the lock held.
   silentSleeper,
   lostWake,      // futexWake wakes no thread
   blindSleep,    // futexWait does not check the word before it sleeps
   tornExchange,  // another thread may run between the compare and the exchange
};

template <Flaw flaw>
struct ModelPlatform {
   template <class T>
   class Atomic {
   public:
      constexpr Atomic(T value) : value_(value) {}
      Atomic(const Atomic&) = delete;
      Atomic& operator=(const Atomic&) = delete;

      T load(std::memory_order) const {
         step();
         return value_;
      }
      void store(T value, std::memory_order) {
         step();
         value_ = value;
      }
      bool compare_exchange_strong(T& expected, T desired, std::memory_order, std::memory_order) {
         step();
         if (value_ != expected) {
            expected = value_;
            return false;
         }
         if constexpr (flaw == Flaw::tornExchange) step();
         value_ = desired;
         return true;
      }
      bool compare_exchange_weak(T& expected, T desired, std::memory_order a, std::memory_order b) {
         return compare_exchange_strong(expected, desired, a, b);
      }
      void fetch_or(T bits, std::memory_order) {
         step();
         constexpr T overdueBit = 4;
         if (flaw == Flaw::silentSleeper && bits == overdueBit) return;
         value_ |= bits;
      }
      void fetch_and(T bits, std::memory_order) {
         step();
         value_ &= bits;
      }

   private:
      void step() const {
         if constexpr (!std::is_pointer_v<T>) Explorer::step();
      }
      T value_;
   };

   class ZELT_CAPABILITY("mutex") Mutex {
   public:
      constexpr Mutex() = default;
      void lock() ZELT_ACQUIRE() ZELT_NO_ANALYSIS {
         Explorer::waitWhile(&taken_);
         taken_ = true;
      }
      void unlock() ZELT_RELEASE() ZELT_NO_ANALYSIS { taken_ = false; }

   private:
      bool taken_ = false;
   };
   class ZELT_SCOPED_CAPABILITY MutexAnchor {
   public:
      explicit MutexAnchor(Mutex& mutex) ZELT_ACQUIRE(mutex) : mutex_(mutex) { mutex_.lock(); }
      ~MutexAnchor() ZELT_RELEASE() { mutex_.unlock(); }
      MutexAnchor(const MutexAnchor&) = delete;
      MutexAnchor& operator=(const MutexAnchor&) = delete;

   private:
      Mutex& mutex_;
   };

   struct WaitTally {
      void add(WaitEnd end, std::int64_t) {
         if (end == WaitEnd::missed) Explorer::fault("a waiter that was promised the lock found it free");
      }
   };

   static constexpr int newcomerPolls = 1;
   static constexpr int freePollsToTake = 1;

   static std::int64_t steadyNanos() {
      Explorer::step();
      return Explorer::world().now;
   }
   static bool futexWait(const Atomic<std::uint32_t>& word, std::uint32_t expected, std::int64_t timeoutNs) {
      const std::uint32_t seen = word.load(std::memory_order_relaxed);
      if constexpr (flaw == Flaw::blindSleep) Explorer::step();
      if (seen != expected) return true;
      return Explorer::sleep(&word, timeoutNs < ActivityLockCore<ModelPlatform>::overdueNapNanos);
   }
   static void futexWake(const Atomic<std::uint32_t>* word) {
      Explorer::step();
      if constexpr (flaw != Flaw::lostWake) Explorer::wake(word);
   }
   static void spinPause() {}
   static const void* threadMark() { return &Explorer::world().fibers[Explorer::world().current]; }
   static void refuseRelease() { Explorer::fault("released by a thread that does not hold it"); }
};

}  // namespace Zelt::Interleavings
