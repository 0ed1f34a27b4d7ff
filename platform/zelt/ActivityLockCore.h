#pragma once

// The algorithm of the activity lock, over a platform of atomics, a mutex, a clock and a futex.
//
// Production code uses Zelt::ActivityLock (ActivityLock.h), which is this over the system. The platform is a
// parameter so that tests can run the very same source where every step is theirs to choose: one platform
// walks through all interleavings, another stops a thread between two steps. Its members are listed at
// SystemLockPlatform.
//
// How it works. The lock is one word. A release by its slice leaves the word free and wakes nobody, because
// the caller is likely to come back at once. Whoever waits therefore naps and looks up, until its slice is
// over. From then on it relies on being handed the lock, and says so in the same word (`overdue`): a release
// changes the word from exactly what it has seen, so it either finds the bit and hands over, or was over
// before the bit was set and has left the lock free for the waiter's own attempt, which follows. The clock
// decides how soon the lock is handed over, never whether.

#include <atomic>
#include <cstdint>

#include "platform/zelt/ThreadAnnotations.h"

namespace Zelt {

/// What a release does for those who wait.
enum class HandOver : std::uint8_t {
   bySlice,  ///< nothing until the oldest waiter's slice is over: the caller is likely to come back at once
   now,      ///< pass the lock to the oldest waiter: the caller is going to sleep
};

/// How a thread in the waiting list came to the lock.
enum class WaitEnd : std::uint8_t {
   handed,  ///< a release passed it on
   found,   ///< the waiter looked up and found it free
   missed,  ///< the same, although the waiter had been promised a hand-over: a defect of the lock
};

template <class Platform>
class ActivityLockCore {
public:
   using ReleaseHook = void (*)(void*);

   /// How long a holder that comes back again and again may keep others waiting.
   static constexpr std::int64_t sliceNanos = 200'000;
   /// How long a waiter sleeps between two looks at the lock while its slice lasts.
   static constexpr std::int64_t napNanos = sliceNanos / 4;
   /// The same once it has been promised a hand-over. It need not look up at all then; it does so that a
   /// broken promise would cost a tenth of a second and be counted, rather than stop the main loop.
   static constexpr std::int64_t overdueNapNanos = 100'000'000;

   constexpr ActivityLockCore() = default;
   ActivityLockCore(const ActivityLockCore&) = delete;
   ActivityLockCore& operator=(const ActivityLockCore&) = delete;

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
      owner_.store(Platform::threadMark(), std::memory_order_relaxed);
      depth_ = 1;
   }

   /// Undoes one acquire. Ends the process if the caller is not the owner.
   void release(HandOver how = HandOver::bySlice) noexcept {
      if (!ownedByMe()) [[unlikely]]
         Platform::refuseRelease();
      if (depth_ != 1) {
         --depth_;
         return;
      }
      leave(how);
   }

   bool ownedByMe() const noexcept {
      return owner_.load(std::memory_order_relaxed) == Platform::threadMark();
   }

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

   /// How the waits of this lock have ended so far. Written by threads that had to wait, read by any.
   const typename Platform::WaitTally& waits() const noexcept { return waits_; }

   /// Installs the function that the owner calls just before the lock becomes free: once per full release, in
   /// release at depth 1 and in releaseAll, still holding the lock at depth 1; and in settle, at whatever
   /// depth. It may acquire and release recursively. It must not throw: that ends the process. nullptr
   /// removes it. The first release that calls a new hook is the one that ends the installing caller's own
   /// span, or else the next one.
   void setReleaseHook(ReleaseHook hook, void* argument) noexcept;

   /// Calls the release hook without letting go: what a release would make final is final afterwards. Does
   /// nothing for a caller that does not hold the lock.
   void settle() noexcept {
      if (ownedByMe() && hook_ != nullptr) hook_(hookArgument_);
   }

private:
   struct Waiter;
   using Anchor = typename Platform::MutexAnchor;
   template <class T>
   using Atomic = typename Platform::template Atomic<T>;

   static constexpr std::uint32_t held = 1;
   /// The waiting list is not empty. Set and cleared under queueMutex_. A release that finds it has a choice
   /// to make; an acquire that finds it alone may take the lock.
   static constexpr std::uint32_t contended = 2;
   /// The oldest waiter sleeps until it is handed the lock: a release has no choice. Set and cleared under
   /// queueMutex_, never without `contended`.
   static constexpr std::uint32_t overdue = 4;

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
   WaitEnd waitInLine(Waiter& self) noexcept;
   bool tryTake() noexcept;
   bool tryTakeSpinning() noexcept;
   bool looksAbandoned() const noexcept;
   void setFreeContended(HandOver how) noexcept;
   void passOn() noexcept;
   void link(Waiter& waiter) noexcept ZELT_REQUIRES(queueMutex_);
   void unlink(Waiter& waiter) noexcept ZELT_REQUIRES(queueMutex_);

   Atomic<std::uint32_t> state_{0};
   Atomic<const void*> owner_{nullptr};

   // Guarded by the lock itself: read and written by the owner.
   unsigned depth_ = 0;
   ReleaseHook hook_ = nullptr;
   void* hookArgument_ = nullptr;

   /// When the oldest waiter's slice is over, steady nanoseconds. Written under queueMutex_; of no meaning
   /// while the list is empty.
   Atomic<std::int64_t> sliceEnd_{0};
   mutable typename Platform::Mutex queueMutex_;
   Waiter* oldest_ ZELT_GUARDED_BY(queueMutex_) = nullptr;
   Waiter* newest_ ZELT_GUARDED_BY(queueMutex_) = nullptr;

   /// Written by the owner.
   typename Platform::WaitTally waits_;
};

}  // namespace Zelt
