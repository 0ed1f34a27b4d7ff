#pragma once

// The activity lock: whoever holds it may touch the state of the main loop (tasks, timers, managers, tables).
//
// Recursive, and fair by time slices. A thread that releases and takes it again in a tight loop keeps it,
// without a system call, until the oldest waiter has waited for one slice; the first release after that hands
// the lock directly to that waiter. A holder reads the clock at a release only while somebody waits. While
// its slice lasts, the oldest waiter also looks up from its sleep now and then, so that it gets a lock that
// was freed and left alone; after that it is handed the lock by the next release, whatever the clock says.
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

#include "platform/zelt/ActivityLockCore.h"
#include "platform/zelt/Clock.h"
#include "platform/zelt/Futex.h"
#include "platform/zelt/LockWaits.h"
#include "platform/zelt/Mutex.h"

namespace Zelt {

/// What the lock stands on in production.
struct SystemLockPlatform {
   template <class T>
   using Atomic = std::atomic<T>;
   using Mutex = Zelt::Mutex;
   using MutexAnchor = Zelt::MutexAnchor;
   using WaitTally = LockWaitTally;

   // A poll takes 20 to 50 ns. Before it queues, a newcomer polls for a few microseconds, which outlasts a
   // short holder; it takes the lock once it has looked free for about half a microsecond, which is longer
   // than the gap of a holder that comes back at once.
   static constexpr int newcomerPolls = 100;
   static constexpr int freePollsToTake = 12;

   static std::int64_t steadyNanos() noexcept { return Clock::steadyNanos(); }
   static bool futexWait(const std::atomic<std::uint32_t>& word, std::uint32_t expected,
                         std::int64_t timeoutNs) noexcept {
      return Zelt::futexWait(word, expected, timeoutNs);
   }
   static void futexWake(const std::atomic<std::uint32_t>* word) noexcept { Zelt::futexWake(word); }
   static void spinPause() noexcept { Zelt::spinPause(); }

   /// The identity of the calling thread: an address that no other living thread has.
   static const void* threadMark() noexcept {
      static thread_local constinit char mark = 0;
      return &mark;
   }
   /// A thread has released a lock that it does not hold.
   [[noreturn]] static void refuseRelease() noexcept;
};

extern template class ActivityLockCore<SystemLockPlatform>;
using ActivityLock = ActivityLockCore<SystemLockPlatform>;

namespace detail {
extern constinit ActivityLock processActivityLock;
}

/// The lock of this process's main loop.
inline ActivityLock& activityLock() noexcept {
   return detail::processActivityLock;
}

}  // namespace Zelt
