#pragma once

// A scheduler with an activity lock of its own, for tests that drive it by hand or run it in a thread.

#include <thread>

#include "platform/gorm/TaskScheduler.h"
#include "platform/zelt/Anchors.h"
#include "platform/zelt/Clock.h"

namespace Gorm {

struct Loop {
   Zelt::ActivityLock lock;
   Pavo::Ptr<TaskScheduler> scheduler = Pavo::makePtr<TaskScheduler>("test", lock);

   Pavo::Ptr<Task> task(std::string name, Priority priority, Task::WorkFunction work) {
      return Pavo::makePtr<Task>(scheduler, std::move(name), priority, std::move(work));
   }

   /// One pass of the main loop without its wait.
   unsigned pass(std::int64_t sliceNanos = 10 * Zelt::nanosPerSecond) {
      const Zelt::ActivityLockAnchor anchor(lock);
      return scheduler->runReady(sliceNanos);
   }
   /// Passes until nothing is ready.
   void drain() {
      while (pass() != 0) {
      }
   }
};

/// Runs a loop in a thread of its own for as long as it lives.
class RunningLoop {
public:
   explicit RunningLoop(Loop& loop) : loop_(loop), thread_([&loop] { loop.scheduler->run(); }) {}
   ~RunningLoop() {
      loop_.scheduler->stop();
      thread_.join();
   }
   RunningLoop(const RunningLoop&) = delete;
   RunningLoop& operator=(const RunningLoop&) = delete;

private:
   Loop& loop_;
   std::thread thread_;
};

}  // namespace Gorm
