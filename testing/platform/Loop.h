// A scheduler with an activity lock of its own, which a test runs step by step or on a thread.
#pragma once

#include <thread>

#include "platform/gorm/TaskScheduler.h"
#include "platform/zelt/Anchors.h"
#include "platform/zelt/Clock.h"

namespace orvtest {

struct Loop {
   Zelt::ActivityLock lock;
   Pavo::Ptr<Gorm::TaskScheduler> scheduler = Pavo::makePtr<Gorm::TaskScheduler>("test", lock);

   Pavo::Ptr<Gorm::Task> task(std::string name, Gorm::Priority priority, Gorm::Task::WorkFunction work) {
      return Pavo::makePtr<Gorm::Task>(scheduler, std::move(name), priority, std::move(work));
   }

   // One pass of the main loop without its wait.
   unsigned pass(std::int64_t sliceNanos = 10 * Zelt::nanosPerSecond) {
      const Zelt::ActivityLockAnchor anchor(lock);
      return scheduler->runReady(sliceNanos);
   }
   // Runs passes until no task is ready.
   void drain() {
      while (pass() != 0) {
      }
   }
};

// Runs a loop in a thread of its own for as long as it lives.
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

}  // namespace orvtest
