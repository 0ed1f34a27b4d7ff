// The main loop of a switch of mocks: the SDK's lock is the activity lock, and the test says when the loop
// runs.
//
// Derive from it before every base or member that uses the lock.
#pragma once

#include "orv/lock.h"
#include "platform/gorm/TaskScheduler.h"
#include "platform/zelt/ActivityLock.h"
#include "platform/zelt/Anchors.h"

namespace OrvSdkRpc {

class MainLoop {
public:
   MainLoop() { orv::host::lock_backend_is(&backend_); }
   ~MainLoop() { orv::host::lock_backend_is(nullptr); }
   MainLoop(const MainLoop&) = delete;
   MainLoop& operator=(const MainLoop&) = delete;

   // Runs the main loop until no task is ready.
   static void runLoop() {
      const auto& scheduler = Gorm::TaskSchedulerRoot::findOrCreateScheduler();
      const Zelt::ActivityLockAnchor lock;
      while (scheduler->hasReady())
         scheduler->runReady();
   }
   // Whether the caller holds the SDK's lock.
   static bool locked() { return Zelt::activityLock().ownedByMe(); }

private:
   class Backend final : public orv::host::lock_backend {
   public:
      void acquire() override { Zelt::activityLock().acquire(); }
      void release() noexcept override { Zelt::activityLock().release(); }
   };

   Backend backend_;
};

}  // namespace OrvSdkRpc
