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

// The life of a waiter's word: asleep until its slice is over, then polling, then asleep again if the holder
// does not come to its release soon; granted from any of them. A granter wakes only a sleeper.
constexpr std::uint32_t asleep = 0;
constexpr std::uint32_t polling = 1;
constexpr std::uint32_t granted = 2;

// A poll takes 20 to 50 ns. Before it queues, a newcomer polls for a few microseconds, which outlasts a short
// holder; it takes the lock once it has looked free for about half a microsecond, which is longer than the
// gap of a holder that comes back at once.
constexpr int newcomerPolls = 100;
constexpr int freePollsToTake = 12;
// A waiter that has just demanded the lock runs already, and the holder releases within microseconds.
constexpr int demandPolls = 400;

}  // namespace

struct ActivityLock::Waiter {
   std::atomic<std::uint32_t> word{asleep};
   // Guarded by the lock's queueMutex_.
   Waiter* newer = nullptr;
   Waiter* older = nullptr;
   bool demands = false;
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

bool ActivityLock::acquireSpinning() noexcept {
   int freePolls = 0;
   for (int poll = 0; poll < newcomerPolls; ++poll) {
      if (state_.load(std::memory_order_relaxed) != 0) {
         freePolls = 0;
      } else if (++freePolls >= freePollsToTake && tryTake()) {
         return true;
      }
      spinPause();
   }
   return false;
}

bool ActivityLock::tryTake() noexcept {
   std::uint32_t expected = 0;
   return state_.compare_exchange_strong(expected, held, std::memory_order_seq_cst,
                                         std::memory_order_relaxed);
}

void ActivityLock::acquireSlow() noexcept {
   if (acquireSpinning()) return;

   Waiter self;
   {
      MutexAnchor guard(queueMutex_);
      self.older = newest_;
      (newest_ != nullptr ? newest_->newer : oldest_) = &self;
      newest_ = &self;
      waiting_.fetch_add(1, std::memory_order_seq_cst);
      // A holder that left for good just before the line above did not see us.
      if (tryTake()) {
         unlink(self);
         return;
      }
   }

   const std::int64_t sliceEnd = Clock::steadyNanos() + sliceNanos;
   while (self.word.load(std::memory_order_acquire) != granted) {
      if (!futexWait(self.word, asleep, sliceEnd - Clock::steadyNanos())) break;
   }

   {
      MutexAnchor guard(queueMutex_);
      if (self.word.load(std::memory_order_acquire) == granted) return;
      std::uint32_t state = state_.load(std::memory_order_relaxed);
      for (;;) {
         if ((state & held) == 0) {
            if (state_.compare_exchange_weak(state, state | held, std::memory_order_acquire,
                                             std::memory_order_relaxed)) {
               unlink(self);
               return;
            }
         } else if (state_.compare_exchange_weak(state, state | demanded, std::memory_order_relaxed)) {
            break;
         }
      }
      self.demands = true;
      ++demands_;
      self.word.store(polling, std::memory_order_relaxed);
   }

   for (int poll = 0; poll < demandPolls; ++poll) {
      if (self.word.load(std::memory_order_acquire) == granted) return;
      spinPause();
   }
   std::uint32_t expected = polling;
   if (!self.word.compare_exchange_strong(expected, asleep, std::memory_order_acquire)) return;
   while (self.word.load(std::memory_order_acquire) != granted)
      futexWait(self.word, asleep, noTimeout);
}

ActivityLock::Waiter* ActivityLock::unlinkOldest() noexcept {
   Waiter* const waiter = oldest_;
   if (waiter != nullptr) unlink(*waiter);
   return waiter;
}

void ActivityLock::unlink(Waiter& waiter) noexcept {
   (waiter.older != nullptr ? waiter.older->newer : oldest_) = waiter.newer;
   (waiter.newer != nullptr ? waiter.newer->older : newest_) = waiter.older;
   if (waiter.demands) --demands_;
   waiting_.fetch_sub(1, std::memory_order_relaxed);
}

void ActivityLock::grant(Waiter& waiter) noexcept {
   const std::atomic<std::uint32_t>* const word = &waiter.word;
   // From here on the waiter may be gone with its stack frame; waking a word that nobody sleeps on is
   // harmless.
   if (waiter.word.exchange(granted, std::memory_order_release) == asleep) futexWake(word);
}

void ActivityLock::passOn() noexcept {
   if (waiting_.load(std::memory_order_seq_cst) == 0) {
      // Nobody to pass it to, so nobody demands it either. The store comes before the second look, as a
      // newcomer enters the list before its own second look at the state: one of the two sees the other.
      state_.store(0, std::memory_order_seq_cst);
      if (waiting_.load(std::memory_order_seq_cst) == 0 || !tryTake()) return;
   }
   Waiter* next = nullptr;
   {
      MutexAnchor guard(queueMutex_);
      next = unlinkOldest();
      // While it is held, nobody else changes the word but those who demand, and they do so under the mutex.
      std::uint32_t state = 0;
      if (next != nullptr) state = demands_ != 0 ? held | demanded : held;
      state_.store(state, std::memory_order_seq_cst);
   }
   if (next != nullptr) grant(*next);
}

void ActivityLock::refuseRelease() noexcept {
   std::fputs("Zelt::ActivityLock: released by a thread that does not hold it\n", stderr);
   std::abort();
}

}  // namespace Zelt
