#pragma once

// How the waits for a lock have ended, for an operator who asks whether the lock works.

#include <atomic>
#include <cstdint>

#include "platform/zelt/ActivityLockCore.h"

namespace Zelt {

/// Waits that outlasted the newcomer's polls, since the lock was made.
struct LockWaits {
   std::uint64_t handed = 0;       ///< ended by a release that passed the lock on
   std::uint64_t found = 0;        ///< ended by the waiter, which looked up and found the lock free
   std::uint64_t missed = 0;       ///< the same, although a hand-over was due: not 0 is a defect of the lock
   std::int64_t longestNanos = 0;  ///< from the look at the queue to the lock
};

/// Counts them. Thread-safety: add by whoever holds the lock, read by any thread.
class LockWaitTally {
public:
   void add(WaitEnd end, std::int64_t nanos) noexcept {
      std::atomic<std::uint64_t>& count = end == WaitEnd::handed  ? handed_
                                          : end == WaitEnd::found ? found_
                                                                  : missed_;
      // One writer at a time: the holder of the lock.
      count.store(count.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
      if (nanos > longestNanos_.load(std::memory_order_relaxed))
         longestNanos_.store(nanos, std::memory_order_relaxed);
   }

   /// The counts may be of slightly different moments.
   LockWaits read() const noexcept {
      return {.handed = handed_.load(std::memory_order_relaxed),
              .found = found_.load(std::memory_order_relaxed),
              .missed = missed_.load(std::memory_order_relaxed),
              .longestNanos = longestNanos_.load(std::memory_order_relaxed)};
   }

private:
   std::atomic<std::uint64_t> handed_{0};
   std::atomic<std::uint64_t> found_{0};
   std::atomic<std::uint64_t> missed_{0};
   std::atomic<std::int64_t> longestNanos_{0};
};

}  // namespace Zelt
