#pragma once

// The algorithm of the activity lock, over a platform that provides atomics, a mutex, a clock and a futex.
//
// Production code uses Zelt::ActivityLock (ActivityLock.h), the instance over the operating system. The
// platform is a parameter so that tests can control every step of the same source: one test platform explores
// all interleavings, another stops a thread between two steps. SystemLockPlatform shows the members that a
// platform needs.
//
// How it works: the lock is one word. A release within the slice leaves the word free and wakes no thread,
// because the caller is likely to come back at once. A waiter therefore polls between short sleeps until its
// slice is over. Then it sets the `overdue` bit in the word and relies on a hand-over. A release is a
// compare-and-swap from the value that it expects. Either it fails because of the bit and hands over, or it
// completed before the bit was set and left the lock free for the attempt that the waiter makes after setting
// the bit. The clock decides how soon the lock is handed over, never whether.

#include <atomic>
#include <cstdint>

#include "platform/zelt/ThreadAnnotations.h"

namespace Zelt {

// What a release does for waiting threads.
enum class HandOver : std::uint8_t {
   bySlice,  // nothing until the oldest waiter's slice is over: the caller is likely to come back at once
   now,      // hand the lock to the oldest waiter: the caller is going to sleep
};

// How a thread in the waiting list got the lock.
enum class WaitEnd : std::uint8_t {
   handed,  // a release handed it over
   found,   // the waiter woke up and found it free
   missed,  // as `found`, but a hand-over was due: a defect of the lock
};

template <class Platform>
class ActivityLockCore {
public:
   using ReleaseHook = void (*)(void*);

   // How long a holder that keeps coming back may keep other threads waiting.
   static constexpr std::int64_t sliceNanos = 200'000;
   // How long a waiter sleeps between two attempts during its slice.
   static constexpr std::int64_t napNanos = sliceNanos / 4;
   // The same once a hand-over is due. The waiter need not wake up by itself then. It does, so that a missed
   // hand-over costs a tenth of a second and is counted, instead of stopping the main loop.
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

   // Undoes one acquire. Aborts the process if the caller is not the owner.
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

   // Releases the lock at any depth, as with HandOver::now. A no-op if the caller does not hold the lock.
   // RETURNS: the depth for reacquire; 0 if the caller did not hold the lock.
   unsigned releaseAll() noexcept;
   // Acquires the lock with the depth that releaseAll returned; a no-op for 0.
   // REQUIRES: the caller does not hold the lock.
   void reacquire(unsigned depth) noexcept;

   // RETURNS: the number of open acquires of the caller; 0 if the caller does not hold the lock.
   unsigned depth() const noexcept { return ownedByMe() ? depth_ : 0; }

   // RETURNS: whether another thread has waited for a slice, so that long work should release the lock soon.
   // `now` is Clock::steadyNanos(). Costs two plain loads.
   bool handOverDue(std::int64_t now) const noexcept {
      return (state_.load(std::memory_order_relaxed) & contended) != 0 &&
             now >= sliceEnd_.load(std::memory_order_relaxed);
   }

   // RETURNS: the number of threads in the waiting list, which may be outdated when the caller reads it.
   std::uint32_t waiters() const noexcept;

   // RETURNS: how the waits for this lock have ended so far.
   const typename Platform::WaitTally& waits() const noexcept { return waits_; }

   // Installs the hook that the owner calls just before the lock becomes free: once per full release (release
   // at depth 1, and releaseAll), with the lock still held at depth 1; and in settle, at any depth. The hook
   // may acquire and release recursively. It must not throw: an exception ends the process. nullptr removes
   // it. If the caller holds the lock, its own full release is the first to call the new hook; otherwise the
   // next one by any thread is.
   void setReleaseHook(ReleaseHook hook, void* argument) noexcept;

   // Calls the release hook without a release: what a release would make final is final afterwards. A no-op
   // if the caller does not hold the lock.
   void settle() noexcept {
      if (ownedByMe() && hook_ != nullptr) hook_(hookArgument_);
   }

private:
   struct Waiter;
   using Anchor = typename Platform::MutexAnchor;
   template <class T>
   using Atomic = typename Platform::template Atomic<T>;

   static constexpr std::uint32_t held = 1;
   // The waiting list is not empty. Set and cleared under queueMutex_. A release that sees only this bit
   // beside `held` may leave the lock free or hand it over. An acquire that sees this bit without `held` may
   // take the lock.
   static constexpr std::uint32_t contended = 2;
   // The oldest waiter relies on a hand-over, so a release has to hand over. Set and cleared under
   // queueMutex_, and never set without `contended`.
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

   // Guarded by the lock itself: only the owner reads and writes these members.
   unsigned depth_ = 0;
   ReleaseHook hook_ = nullptr;
   void* hookArgument_ = nullptr;

   // When the oldest waiter's slice ends, in steady nanoseconds. Written under queueMutex_; meaningless while
   // the list is empty.
   Atomic<std::int64_t> sliceEnd_{0};
   mutable typename Platform::Mutex queueMutex_;
   Waiter* oldest_ ZELT_GUARDED_BY(queueMutex_) = nullptr;
   Waiter* newest_ ZELT_GUARDED_BY(queueMutex_) = nullptr;

   // Written by the owner.
   typename Platform::WaitTally waits_;
};

}  // namespace Zelt
