#pragma once

// Scope guards for the activity lock and for an embedded interpreter's lock.
// Thread-safety: an anchor belongs to the thread that created it. Call gilHooksIs before other threads start.

#include "platform/zelt/ActivityLock.h"

namespace Zelt {

// Holds the lock for its scope.
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

// Releases the lock for its scope, at any depth, and reacquires it with that depth. A no-op on a thread that
// does not hold the lock.
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

// The functions with which a host releases and reacquires the lock of an interpreter that it embeds.
// `release` returns a token for `reacquire`; both are called on the same thread.
struct GilHooks {
   void* (*release)() = nullptr;
   void (*reacquire)(void* token) = nullptr;
};

// Installs the hooks; default-constructed ones remove them.
void gilHooksIs(GilHooks hooks) noexcept;
GilHooks gilHooks() noexcept;

// Releases the embedded interpreter's lock for its scope if the host has installed hooks; otherwise a no-op.
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
