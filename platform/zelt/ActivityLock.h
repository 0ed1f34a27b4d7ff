#pragma once

// The activity lock: whoever holds it may touch the state of the main loop (tasks, timers, managers, tables).
//
// Recursive, and fair by time slices. A thread that releases and takes it again in a tight loop keeps it, at
// the price of two atomic operations a round, until somebody has waited for one slice; the first release
// after that hands the lock directly to the thread that has waited longest. The clock is read by the waiter
// alone: it sleeps for its slice, then marks the lock as demanded, and the holder's release sees the mark.
//
// Thread-safety: every operation may be called from any thread, except where "owner" is said.
//
// The class carries no capability annotation on purpose: it is recursive and is passed on through interfaces
// that acquire in one function and release in another, which the analysis cannot follow. Its own waiting list
// is annotated. Order: the waiting list's mutex is innermost, nothing is called while it is held.

#include <atomic>
#include <cstdint>

#include "zelt/Mutex.h"

namespace Zelt {

/// What a release does for those who wait.
enum class HandOver : std::uint8_t {
   bySlice,  ///< nothing until the oldest waiter's slice is over: the caller is likely to come back at once
   now,      ///< pass the lock to the oldest waiter: the caller is going to sleep
};

class ActivityLock {
public:
   using ReleaseHook = void (*)(void*);

   /// How long a holder that comes back again and again may keep others waiting.
   static constexpr std::int64_t sliceNanos = 200'000;

   constexpr ActivityLock() = default;
   ActivityLock(const ActivityLock&) = delete;
   ActivityLock& operator=(const ActivityLock&) = delete;

   void acquire() noexcept {
      if (ownedByMe()) {
         ++depth_;
         return;
      }
      std::uint32_t expected = 0;
      if (!state_.compare_exchange_strong(expected, held, std::memory_order_acquire,
                                          std::memory_order_relaxed)) [[unlikely]] {
         acquireSlow();
      }
      owner_.store(threadMark(), std::memory_order_relaxed);
      depth_ = 1;
   }

   /// Undoes one acquire. Ends the process if the caller is not the owner.
   void release(HandOver how = HandOver::bySlice) noexcept {
      if (!ownedByMe()) [[unlikely]]
         refuseRelease();
      if (depth_ != 1) {
         --depth_;
         return;
      }
      leave(how);
   }

   bool ownedByMe() const noexcept { return owner_.load(std::memory_order_relaxed) == threadMark(); }

   /// Releases the lock whatever its depth is and passes it on as by HandOver::now. Returns the depth for
   /// reacquire; 0, with nothing done, if the caller does not hold the lock.
   unsigned releaseAll() noexcept;
   /// Takes the lock with the depth that releaseAll returned; with 0 does nothing. The caller must not hold
   /// it.
   void reacquire(unsigned depth) noexcept;

   /// Owner: how many acquires are open. 0 for everybody else.
   unsigned depth() const noexcept { return ownedByMe() ? depth_ : 0; }

   /// Whether somebody has waited for a slice, so that a long piece of work should come to a release. Costs
   /// one plain load.
   bool handOverDue() const noexcept { return (state_.load(std::memory_order_relaxed) & demanded) != 0; }

   /// How many threads are in the waiting list. It may have changed when the caller looks at it.
   std::uint32_t waiters() const noexcept { return waiting_.load(std::memory_order_relaxed); }

   /// Installs the function that the owner calls just before the lock becomes free: once per full release, in
   /// release at depth 1 and in releaseAll, still holding the lock at depth 1. It may acquire and release
   /// recursively. It must not throw: that ends the process. nullptr removes it. The first release that calls
   /// a new hook is the one that ends the installing caller's own span, or else the next one.
   void setReleaseHook(ReleaseHook hook, void* argument) noexcept;

   /// The identity of the calling thread as the lock knows it: an address that no other living thread has.
   static const void* threadMark() noexcept {
      static thread_local constinit char mark = 0;
      return &mark;
   }

private:
   struct Waiter;

   static constexpr std::uint32_t held = 1;
   /// Set only together with `held`, and only while a waiter whose slice is over is in the list. A release
   /// that finds it does not free the lock but passes it on.
   static constexpr std::uint32_t demanded = 2;

   void leave(HandOver how) noexcept {
      if (hook_ != nullptr) hook_(hookArgument_);
      setFree(how);
   }

   void setFree(HandOver how) noexcept {
      depth_ = 0;
      owner_.store(nullptr, std::memory_order_relaxed);
      if (how == HandOver::now) {
         passOn();
         return;
      }
      std::uint32_t expected = held;
      if (!state_.compare_exchange_strong(expected, 0, std::memory_order_release, std::memory_order_relaxed))
           [[unlikely]] {
         passOn();
      }
   }

   void acquireSlow() noexcept;
   bool acquireSpinning() noexcept;
   bool tryTake() noexcept;
   void passOn() noexcept;
   Waiter* unlinkOldest() noexcept ZELT_REQUIRES(queueMutex_);
   void unlink(Waiter& waiter) noexcept ZELT_REQUIRES(queueMutex_);
   static void grant(Waiter& waiter) noexcept;
   [[noreturn]] static void refuseRelease() noexcept;

   std::atomic<std::uint32_t> state_{0};
   /// Length of the waiting list, readable without its mutex.
   std::atomic<std::uint32_t> waiting_{0};
   std::atomic<const void*> owner_{nullptr};

   // Guarded by the lock itself: read and written by the owner.
   unsigned depth_ = 0;
   ReleaseHook hook_ = nullptr;
   void* hookArgument_ = nullptr;

   Mutex queueMutex_;
   Waiter* oldest_ ZELT_GUARDED_BY(queueMutex_) = nullptr;
   Waiter* newest_ ZELT_GUARDED_BY(queueMutex_) = nullptr;
   unsigned demands_ ZELT_GUARDED_BY(queueMutex_) = 0;
};

namespace detail {
extern constinit ActivityLock processActivityLock;
}

/// The lock of this process's main loop.
inline ActivityLock& activityLock() noexcept {
   return detail::processActivityLock;
}

}  // namespace Zelt
