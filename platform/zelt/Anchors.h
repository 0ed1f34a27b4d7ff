#pragma once

// Scope guards over the activity lock and over an embedding interpreter's lock.
// Thread-safety: an anchor belongs to the thread that made it. gilHooksIs: before other threads start.

#include "platform/zelt/ActivityLock.h"

namespace Zelt {

/// Holds the lock for its scope.
class ActivityLockAnchor {
public:
   explicit ActivityLockAnchor(ActivityLock& lock = activityLock(),
                               HandOver atEnd = HandOver::bySlice) noexcept
        : lock_(lock), atEnd_(atEnd) {
      lock_.acquire();
   }
   ~ActivityLockAnchor() { lock_.release(atEnd_); }
   ActivityLockAnchor(const ActivityLockAnchor&) = delete;
   ActivityLockAnchor& operator=(const ActivityLockAnchor&) = delete;

private:
   ActivityLock& lock_;
   HandOver atEnd_;
};

/// Releases the lock wholly for its scope, whatever its depth is, and takes it again with that depth. Does
/// nothing on a thread that does not hold it.
class UnlockAnchor {
public:
   explicit UnlockAnchor(ActivityLock& lock) noexcept : lock_(lock), depth_(lock.releaseAll()) {}
   ~UnlockAnchor() { lock_.reacquire(depth_); }
   UnlockAnchor(const UnlockAnchor&) = delete;
   UnlockAnchor& operator=(const UnlockAnchor&) = delete;

private:
   ActivityLock& lock_;
   unsigned depth_;
};

/// How a host that embeds an interpreter lets go of the interpreter's lock and takes it back. `release`
/// returns a token for `reacquire`; both are called on the same thread.
struct GilHooks {
   void* (*release)() = nullptr;
   void (*reacquire)(void* token) = nullptr;
};

/// Installs the hooks; default-constructed ones remove them.
void gilHooksIs(GilHooks hooks) noexcept;
GilHooks gilHooks() noexcept;

/// Releases an embedding interpreter's lock for its scope where a host has installed hooks, else nothing.
class MaybeGilUnlockAnchor {
public:
   MaybeGilUnlockAnchor() noexcept : hooks_(gilHooks()) {
      if (hooks_.release != nullptr) token_ = hooks_.release();
   }
   ~MaybeGilUnlockAnchor() {
      if (hooks_.reacquire != nullptr) hooks_.reacquire(token_);
   }
   MaybeGilUnlockAnchor(const MaybeGilUnlockAnchor&) = delete;
   MaybeGilUnlockAnchor& operator=(const MaybeGilUnlockAnchor&) = delete;

private:
   GilHooks hooks_;
   void* token_ = nullptr;
};

}  // namespace Zelt
