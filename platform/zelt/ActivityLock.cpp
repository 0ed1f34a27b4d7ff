#include "zelt/ActivityLock.h"

#include <cstdio>
#include <cstdlib>

#include "zelt/Clock.h"
#include "zelt/Futex.h"

namespace Zelt {

namespace detail {
constinit ActivityLock processActivityLock;
}

namespace {

// A poll takes 20 to 50 ns. Before it queues, a newcomer polls for a few microseconds, which outlasts a short
// holder; it takes the lock once it has looked free for about half a microsecond, which is longer than the
// gap of a holder that comes back at once.
constexpr int newcomerPolls = 100;
constexpr int freePollsToTake = 12;

constexpr std::int64_t napNanos = ActivityLock::sliceNanos / 4;

constexpr std::uint32_t waiting = 0;
constexpr std::uint32_t granted = 1;

}  // namespace

struct ActivityLock::Waiter {
   const std::int64_t sliceEnd;
   std::atomic<std::uint32_t> word{waiting};
   // Guarded by the lock's queueMutex_.
   Waiter* newer = nullptr;
   Waiter* older = nullptr;
};

unsigned ActivityLock::releaseAll() noexcept {
   if (!ownedByMe()) return 0;
   const unsigned depth = depth_;
   depth_ = 1;
   leave(HandOver::now);
   return depth;
}

void ActivityLock::reacquire(unsigned depth) noexcept {
   if (depth == 0) return;
   acquire();
   depth_ = depth;
}

void ActivityLock::setReleaseHook(ReleaseHook hook, void* argument) noexcept {
   acquire();
   hook_ = hook;
   hookArgument_ = argument;
   if (depth_ == 1) {
      setFree(HandOver::bySlice);
   } else {
      --depth_;
   }
}

std::uint32_t ActivityLock::waiters() const noexcept {
   MutexAnchor guard(queueMutex_);
   std::uint32_t count = 0;
   for (const Waiter* waiter = oldest_; waiter != nullptr; waiter = waiter->newer)
      ++count;
   return count;
}

bool ActivityLock::tryTake() noexcept {
   std::uint32_t state = state_.load(std::memory_order_relaxed);
   while ((state & held) == 0) {
      if (state_.compare_exchange_weak(state, state | held, std::memory_order_acquire,
                                       std::memory_order_relaxed)) {
         return true;
      }
   }
   return false;
}

bool ActivityLock::tryTakeSpinning() noexcept {
   int freePolls = 0;
   for (int poll = 0; poll < newcomerPolls; ++poll) {
      if ((state_.load(std::memory_order_relaxed) & held) != 0) {
         freePolls = 0;
      } else if (++freePolls >= freePollsToTake && tryTake()) {
         return true;
      }
      spinPause();
   }
   return false;
}

bool ActivityLock::looksAbandoned() const noexcept {
   for (int poll = 0; poll < freePollsToTake; ++poll) {
      if ((state_.load(std::memory_order_relaxed) & held) != 0) return false;
      spinPause();
   }
   return true;
}

void ActivityLock::acquireSlow() noexcept {
   if (tryTake() || tryTakeSpinning()) return;

   Waiter self{.sliceEnd = Clock::steadyNanos() + sliceNanos};
   {
      MutexAnchor guard(queueMutex_);
      link(self);
      // Every later release sees us in the list; an earlier one has left the lock free.
      if (tryTake()) {
         unlink(self);
         return;
      }
   }

   std::int64_t nap = napNanos;
   for (;;) {
      while (self.word.load(std::memory_order_acquire) != granted && futexWait(self.word, waiting, nap)) {
      }
      if (self.word.load(std::memory_order_acquire) == granted) return;
      const bool sliceOver = Clock::steadyNanos() >= self.sliceEnd;
      if (!sliceOver && !looksAbandoned()) continue;

      MutexAnchor guard(queueMutex_);
      if (self.word.load(std::memory_order_acquire) == granted) return;
      if (oldest_ == &self && tryTake()) {
         unlink(self);
         return;
      }
      // With the slice over, the release of whoever holds it now passes it on, to us or to an older waiter,
      // whose release does the same.
      const bool isHeld = (state_.load(std::memory_order_relaxed) & held) != 0;
      nap = sliceOver && isHeld ? noTimeout : napNanos;
   }
}

void ActivityLock::setFreeContended(HandOver how) noexcept {
   if (how == HandOver::bySlice && Clock::steadyNanos() < sliceEnd_.load(std::memory_order_relaxed)) {
      state_.fetch_and(~held, std::memory_order_release);
   } else {
      passOn();
   }
}

void ActivityLock::passOn() noexcept {
   const std::atomic<std::uint32_t>* word = nullptr;
   {
      MutexAnchor guard(queueMutex_);
      // Not empty: only a taker leaves the list by itself, and the lock is still held.
      Waiter& next = *oldest_;
      unlink(next);
      // Under the same mutex as the unlinking: a waiter whose slice ends now finds itself in the list or
      // granted.
      next.word.store(granted, std::memory_order_release);
      word = &next.word;
   }
   // The waiter may be gone with its stack frame; waking a word that nobody sleeps on is harmless.
   futexWake(word);
}

void ActivityLock::link(Waiter& waiter) noexcept {
   waiter.older = newest_;
   newest_ = &waiter;
   if (waiter.older != nullptr) {
      waiter.older->newer = &waiter;
   } else {
      oldest_ = &waiter;
      sliceEnd_.store(waiter.sliceEnd, std::memory_order_relaxed);
      // Publishes the slice's end to the holder that sees the bit.
      state_.fetch_or(contended, std::memory_order_release);
   }
}

void ActivityLock::unlink(Waiter& waiter) noexcept {
   (waiter.older != nullptr ? waiter.older->newer : oldest_) = waiter.newer;
   (waiter.newer != nullptr ? waiter.newer->older : newest_) = waiter.older;
   if (oldest_ != nullptr) {
      sliceEnd_.store(oldest_->sliceEnd, std::memory_order_relaxed);
   } else {
      state_.fetch_and(~contended, std::memory_order_relaxed);
   }
}

void ActivityLock::refuseRelease() noexcept {
   std::fputs("Zelt::ActivityLock: released by a thread that does not hold it\n", stderr);
   std::abort();
}

}  // namespace Zelt
