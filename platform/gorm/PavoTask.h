#pragma once

// Tasks by derivation: a class overrides taskExecute and is scheduled as a Gorm::Task.
// Thread-safety: as Gorm::Task. Destroy an object with the activity lock held or on the main loop's thread,
// so that no execution meets a half-destroyed object; also inside its own taskExecute, while scheduled or
// not.

#include <cstdint>

#include "platform/gorm/Task.h"
#include "platform/gorm/TaskScheduler.h"
#include "platform/pavo/Ptr.h"
#include "platform/pavo/String.h"

namespace Pavo {

class Task {
public:
   Task(const Ptr<Gorm::TaskScheduler>& scheduler, String name,
        Gorm::Priority priority = Gorm::priorityNormal);
   virtual ~Task();
   Task(const Task&) = delete;
   Task& operator=(const Task&) = delete;

   void scheduleTask() { task_->scheduleTask(); }
   void unscheduleTask() { task_->unscheduleTask(); }

   Gorm::Task& task() { return *task_; }
   const Gorm::Task& task() const { return *task_; }

protected:
   /// One execution, on the main loop's thread with the activity lock held.
   virtual void taskExecute() = 0;

   bool taskRunning() const { return task_->runState() == Gorm::RunState::running; }
   bool taskShouldYield() const { return task_->taskShouldYield(); }
   void taskWorkCountInc(std::uint64_t n) { task_->taskWorkCountInc(n); }
   void taskWorkPendingIs(std::uint64_t n) { task_->taskWorkPendingIs(n); }

private:
   const Ptr<Gorm::Task> task_;
};

/// A task that can also be asked for later.
class TimerTask : public Task {
public:
   using Task::Task;

   /// Runs the task `delayNanos` from now, or at an earlier time that was asked for before.
   void scheduleTaskLowestDelay(std::int64_t delayNanos) { task().scheduleTaskLowestDelay(delayNanos); }
};

}  // namespace Pavo
