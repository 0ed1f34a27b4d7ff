#pragma once

// The activity lock guards the state of the main loop: tasks, timers, managers, tables.
//
// The lock is recursive, and fair by time slices. A thread that releases and reacquires it in a tight loop
// keeps it, without a system call, until the oldest waiter has waited for one slice. The first release after
// that hands the lock directly to that waiter. A release reads the clock only while another thread waits.
// During its slice, the oldest waiter wakes up now and then to take a lock that was left free. After its
// slice, the next release hands it the lock, whatever the clock says.
//
// The holder reads the clock, because on a busy machine a sleeping waiter's timer may fire a scheduler tick
// late. A holder that has handed over the lock blocks at its next acquire, which frees its processor for the
// waiter.
//
// Thread-safety: any thread.
//
// The class has no capability annotation: the analysis cannot follow a recursive lock that one function
// acquires and another releases. Its waiting list is annotated. Lock order: the waiting list's mutex is
// innermost; nothing is called while it is held.

#include <atomic>
#include <cstdint>

#include "platform/zelt/ActivityLockCore.h"
#include "platform/zelt/Clock.h"
#include "platform/zelt/Futex.h"
#include "platform/zelt/LockWaits.h"
#include "platform/zelt/Mutex.h"

namespace Zelt {

// The platform of the lock in production.
struct SystemLockPlatform {
   template <class T>
   using Atomic = std::atomic<T>;
   using Mutex = Zelt::Mutex;
   using MutexAnchor = Zelt::MutexAnchor;
   using WaitTally = LockWaitTally;

   // A poll takes 20 to 50 ns. Before it joins the waiting list, a newcomer polls for a few microseconds,
   // longer than a short hold. It takes the lock once the lock has looked free for about half a microsecond,
   // longer than the gap between a release and an immediate reacquire.
   static constexpr int newcomerPolls = 100;
   static constexpr int freePollsToTake = 12;

   static std::int64_t steadyNanos() noexcept { return Clock::steadyNanos(); }
   static bool futexWait(const std::atomic<std::uint32_t>& word, std::uint32_t expected,
                         std::int64_t timeoutNs) noexcept {
      return Zelt::futexWait(word, expected, timeoutNs);
   }
   static void futexWake(const std::atomic<std::uint32_t>* word) noexcept { Zelt::futexWake(word); }
   static void spinPause() noexcept { Zelt::spinPause(); }

   // The identity of the calling thread: an address that no other living thread has.
   static const void* threadMark() noexcept {
      static thread_local constinit char mark = 0;
      return &mark;
   }
   // Reports a release by a thread that does not hold the lock, and aborts the process.
   [[noreturn]] static void refuseRelease() noexcept;
};

extern template class ActivityLockCore<SystemLockPlatform>;
using ActivityLock = ActivityLockCore<SystemLockPlatform>;

namespace detail {
extern constinit ActivityLock processActivityLock;
}

// The lock of this process's main loop.
inline ActivityLock& activityLock() noexcept {
   return detail::processActivityLock;
}

}  // namespace Zelt
