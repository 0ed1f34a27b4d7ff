#pragma once

// The activity lock: whoever holds it may touch the state of the main loop (tasks, timers, managers, tables).
//
// Recursive, and fair by time slices. A thread that releases and takes it again in a tight loop keeps it,
// without a system call, until the oldest waiter has waited for one slice; the first release after that hands
// the lock directly to that waiter. A holder reads the clock at a release only while somebody waits. The
// oldest waiter also looks up from its sleep now and then, so that it gets a lock that was freed and left
// alone.
//
// It is the holder who looks at the clock, since on a busy machine a sleeping waiter's timer may be served a
// scheduler tick late, while a holder that has passed the lock on blocks at its next acquire and thereby
// lends the waiter its processor.
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

   /// Whether somebody has waited for a slice, so that a long piece of work should come to a release. `now`
   /// is Clock::steadyNanos(). Costs two plain loads.
   bool handOverDue(std::int64_t now) const noexcept {
      return (state_.load(std::memory_order_relaxed) & contended) != 0 &&
             now >= sliceEnd_.load(std::memory_order_relaxed);
   }

   /// How many threads are in the waiting list. It may have changed when the caller looks at it.
   std::uint32_t waiters() const noexcept;

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
   /// The waiting list is not empty. Set and cleared under queueMutex_. A release that finds it has a choice
   /// to make; an acquire that finds it alone may take the lock.
   static constexpr std::uint32_t contended = 2;

   void leave(HandOver how) noexcept {
      if (hook_ != nullptr) hook_(hookArgument_);
      setFree(how);
   }

   void setFree(HandOver how) noexcept {
      depth_ = 0;
      owner_.store(nullptr, std::memory_order_relaxed);
      std::uint32_t expected = held;
      if (!state_.compare_exchange_strong(expected, 0, std::memory_order_release, std::memory_order_relaxed))
           [[unlikely]] {
         setFreeContended(how);
      }
   }

   void acquireSlow() noexcept;
   bool tryTake() noexcept;
   bool tryTakeSpinning() noexcept;
   bool looksAbandoned() const noexcept;
   void setFreeContended(HandOver how) noexcept;
   void passOn() noexcept;
   void link(Waiter& waiter) noexcept ZELT_REQUIRES(queueMutex_);
   void unlink(Waiter& waiter) noexcept ZELT_REQUIRES(queueMutex_);
   [[noreturn]] static void refuseRelease() noexcept;

   std::atomic<std::uint32_t> state_{0};
   std::atomic<const void*> owner_{nullptr};

   // Guarded by the lock itself: read and written by the owner.
   unsigned depth_ = 0;
   ReleaseHook hook_ = nullptr;
   void* hookArgument_ = nullptr;

   /// When the oldest waiter's slice is over, steady nanoseconds. Written under queueMutex_; of no meaning
   /// while the list is empty.
   std::atomic<std::int64_t> sliceEnd_{0};
   mutable Mutex queueMutex_;
   Waiter* oldest_ ZELT_GUARDED_BY(queueMutex_) = nullptr;
   Waiter* newest_ ZELT_GUARDED_BY(queueMutex_) = nullptr;
};

namespace detail {
extern constinit ActivityLock processActivityLock;
}

/// The lock of this process's main loop.
inline ActivityLock& activityLock() noexcept {
   return detail::processActivityLock;
}

}  // namespace Zelt
