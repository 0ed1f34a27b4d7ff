#include "platform/zelt/Anchors.h"

#include <gtest/gtest.h>

#include <thread>

namespace Zelt {
namespace {

TEST(ActivityLockAnchor, holdsTheProcessLockForItsScopeByDefault) {
   {
      const ActivityLockAnchor outer;
      const ActivityLockAnchor inner;
      EXPECT_EQ(activityLock().depth(), 2U);
   }
   EXPECT_FALSE(activityLock().ownedByMe());
}

TEST(UnlockAnchor, letsAnotherThreadInAndComesBackToTheSameDepth) {
   ActivityLock lock;
   const ActivityLockAnchor outer(lock);
   const ActivityLockAnchor inner(lock);
   bool otherWasIn = false;
   {
      const UnlockAnchor unlocked(lock);
      EXPECT_FALSE(lock.ownedByMe());
      // Joining with the lock held would deadlock.
      std::thread([&] {
         const ActivityLockAnchor anchor(lock);
         otherWasIn = true;
      }).join();
   }
   EXPECT_TRUE(otherWasIn);
   EXPECT_EQ(lock.depth(), 2U);
}

TEST(UnlockAnchor, doesNothingWithoutTheLock) {
   ActivityLock lock;
   {
      const UnlockAnchor unlocked(lock);
      EXPECT_FALSE(lock.ownedByMe());
   }
   EXPECT_FALSE(lock.ownedByMe());
}

int interpreter = 0;
bool interpreterHeld = true;
void* reacquiredWith = nullptr;

TEST(MaybeGilUnlockAnchor, usesTheHooksWhereThereAreAny) {
   {
      const MaybeGilUnlockAnchor nothing;
      EXPECT_TRUE(interpreterHeld);
   }
   gilHooksIs({.release = []() -> void* {
                  interpreterHeld = false;
                  return &interpreter;
               },
               .reacquire =
                    [](void* token) {
                       interpreterHeld = true;
                       reacquiredWith = token;
                    }});
   {
      const MaybeGilUnlockAnchor unlocked;
      EXPECT_FALSE(interpreterHeld);
      // An anchor's destructor uses the same hooks as its constructor.
      gilHooksIs({});
   }
   EXPECT_TRUE(interpreterHeld);
   EXPECT_EQ(reacquiredWith, &interpreter);
   EXPECT_EQ(gilHooks().release, nullptr);
}

}  // namespace
}  // namespace Zelt
