#pragma once

// Statistics on how the waits for a lock have ended, for an operator who checks whether the lock works.

#include <atomic>
#include <cstdint>

#include "platform/zelt/ActivityLockCore.h"

namespace Zelt {

// Waits that outlasted the newcomer's polls, since the lock was created.
struct LockWaits {
   std::uint64_t handed = 0;       // ended by a release that handed over the lock
   std::uint64_t found = 0;        // ended by the waiter, which woke up and found the lock free
   std::uint64_t missed = 0;       // as `found`, but a hand-over was due: a defect of the lock
   std::int64_t longestNanos = 0;  // from joining the waiting list to getting the lock
};

// Counts them. Only the holder of the lock calls add; any thread may call read.
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

   // RETURNS: the counts, which may be from slightly different moments.
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
