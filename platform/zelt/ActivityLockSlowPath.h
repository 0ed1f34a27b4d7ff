#pragma once

// The contended paths of the activity lock. Included where the lock is instantiated.

#include "platform/zelt/ActivityLockCore.h"

namespace Zelt {

template <class Platform>
struct ActivityLockCore<Platform>::Waiter {
   static constexpr std::uint32_t waiting = 0;
   static constexpr std::uint32_t granted = 1;

   const std::int64_t sliceEnd;
   Atomic<std::uint32_t> word{waiting};
   // Guarded by the lock's queueMutex_.
   Waiter* newer = nullptr;
   Waiter* older = nullptr;
   // Relies on a hand-over. The lock's word has the bit while this waiter is the oldest.
   bool overdue = false;

   bool isGranted() const noexcept { return word.load(std::memory_order_acquire) == granted; }
};

template <class Platform>
unsigned ActivityLockCore<Platform>::releaseAll() noexcept {
   if (!ownedByMe()) return 0;
   const unsigned depth = depth_;
   depth_ = 1;
   leave(HandOver::now);
   return depth;
}

template <class Platform>
void ActivityLockCore<Platform>::reacquire(unsigned depth) noexcept {
   if (depth == 0) return;
   acquire();
   depth_ = depth;
}

template <class Platform>
void ActivityLockCore<Platform>::setReleaseHook(ReleaseHook hook, void* argument) noexcept {
   acquire();
   hook_ = hook;
   hookArgument_ = argument;
   if (depth_ == 1) {
      setFree(HandOver::bySlice);
   } else {
      --depth_;
   }
}

template <class Platform>
std::uint32_t ActivityLockCore<Platform>::waiters() const noexcept {
   Anchor guard(queueMutex_);
   std::uint32_t count = 0;
   for (const Waiter* waiter = oldest_; waiter != nullptr; waiter = waiter->newer)
      ++count;
   return count;
}

template <class Platform>
bool ActivityLockCore<Platform>::tryTake() noexcept {
   std::uint32_t state = state_.load(std::memory_order_relaxed);
   while ((state & held) == 0) {
      if (state_.compare_exchange_weak(state, state | held, std::memory_order_acquire,
                                       std::memory_order_relaxed)) {
         return true;
      }
   }
   return false;
}

template <class Platform>
bool ActivityLockCore<Platform>::tryTakeSpinning() noexcept {
   int freePolls = 0;
   for (int poll = 0; poll < Platform::newcomerPolls; ++poll) {
      if ((state_.load(std::memory_order_relaxed) & held) != 0) {
         freePolls = 0;
      } else if (++freePolls >= Platform::freePollsToTake && tryTake()) {
         return true;
      }
      Platform::spinPause();
   }
   return false;
}

template <class Platform>
bool ActivityLockCore<Platform>::looksAbandoned() const noexcept {
   for (int poll = 0; poll < Platform::freePollsToTake; ++poll) {
      if ((state_.load(std::memory_order_relaxed) & held) != 0) return false;
      Platform::spinPause();
   }
   return true;
}

template <class Platform>
void ActivityLockCore<Platform>::acquireSlow() noexcept {
   if (tryTake() || tryTakeSpinning()) return;

   const std::int64_t began = Platform::steadyNanos();
   Waiter self{.sliceEnd = began + sliceNanos};
   {
      Anchor guard(queueMutex_);
      link(self);
      // A later release sees this waiter in the list; an earlier one has left the lock free.
      if (tryTake()) {
         unlink(self);
         return;
      }
   }
   const WaitEnd end = waitInLine(self);
   waits_.add(end, Platform::steadyNanos() - began);
}

template <class Platform>
WaitEnd ActivityLockCore<Platform>::waitInLine(Waiter& self) noexcept {
   std::int64_t nap = napNanos;
   for (;;) {
      while (!self.isGranted() && Platform::futexWait(self.word, Waiter::waiting, nap)) {
      }
      if (self.isGranted()) return WaitEnd::handed;
      const bool sliceOver = Platform::steadyNanos() >= self.sliceEnd;
      if (!sliceOver && !looksAbandoned()) continue;

      Anchor guard(queueMutex_);
      if (self.isGranted()) return WaitEnd::handed;
      const bool promised = self.overdue;
      if (sliceOver && !promised) {
         self.overdue = true;
         if (oldest_ == &self) state_.fetch_or(overdue, std::memory_order_relaxed);
         // From here on a sleep may be long. If the attempt below finds the lock held, it was still held
         // after the bit was set, so the holder's release sees the bit. A waiter that is not yet the oldest
         // becomes the oldest in an unlink by a later holder, which sets the bit for it.
         nap = overdueNapNanos;
      }
      if (oldest_ == &self && tryTake()) {
         unlink(self);
         return promised ? WaitEnd::missed : WaitEnd::found;
      }
   }
}

template <class Platform>
void ActivityLockCore<Platform>::setFreeContended(HandOver how) noexcept {
   if (how == HandOver::bySlice && Platform::steadyNanos() < sliceEnd_.load(std::memory_order_relaxed)) {
      // Fails if the oldest waiter has become overdue since the clock was read, however long ago that was.
      std::uint32_t expected = held | contended;
      if (state_.compare_exchange_strong(expected, contended, std::memory_order_release,
                                         std::memory_order_relaxed)) {
         return;
      }
   }
   passOn();
}

template <class Platform>
void ActivityLockCore<Platform>::passOn() noexcept {
   const Atomic<std::uint32_t>* word = nullptr;
   {
      Anchor guard(queueMutex_);
      // The list is not empty: a waiter leaves it by itself only when it takes the lock, and the lock is
      // still held.
      Waiter& next = *oldest_;
      unlink(next);
      // Under the same mutex as the unlink, so that a waiter whose slice ends now finds itself either in the
      // list or granted.
      next.word.store(Waiter::granted, std::memory_order_release);
      word = &next.word;
   }
   // The pointer may be dangling, because the waiter may have returned. Waking an address that no thread
   // sleeps on is harmless.
   Platform::futexWake(word);
}

template <class Platform>
void ActivityLockCore<Platform>::link(Waiter& waiter) noexcept {
   waiter.older = newest_;
   newest_ = &waiter;
   if (waiter.older != nullptr) {
      waiter.older->newer = &waiter;
   } else {
      oldest_ = &waiter;
      sliceEnd_.store(waiter.sliceEnd, std::memory_order_relaxed);
      // Publishes sliceEnd_ to a holder that sees the bit.
      state_.fetch_or(contended, std::memory_order_release);
   }
}

// The caller holds the lock, for itself or on behalf of the waiter that it removes.
template <class Platform>
void ActivityLockCore<Platform>::unlink(Waiter& waiter) noexcept {
   (waiter.older != nullptr ? waiter.older->newer : oldest_) = waiter.newer;
   (waiter.newer != nullptr ? waiter.newer->older : newest_) = waiter.older;
   if (oldest_ == nullptr) {
      state_.fetch_and(~(contended | overdue), std::memory_order_relaxed);
      return;
   }
   sliceEnd_.store(oldest_->sliceEnd, std::memory_order_relaxed);
   const bool marked = (state_.load(std::memory_order_relaxed) & overdue) != 0;
   if (oldest_->overdue && !marked) state_.fetch_or(overdue, std::memory_order_relaxed);
   if (!oldest_->overdue && marked) state_.fetch_and(~overdue, std::memory_order_relaxed);
}

}  // namespace Zelt
