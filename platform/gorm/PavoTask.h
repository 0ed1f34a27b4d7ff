#pragma once

// Tasks by inheritance: a class overrides taskExecute and is scheduled as a Gorm::Task.
// Thread-safety: as Gorm::Task. Destroy an object with the activity lock held or on the main loop's thread,
// so that no execution meets a half-destroyed object. An object may also be destroyed in its own taskExecute,
// whether it is scheduled or not.

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
   // Runs one execution, on the main loop's thread with the activity lock held.
   virtual void taskExecute() = 0;

   bool taskRunning() const { return task_->runState() == Gorm::RunState::running; }
   bool taskShouldYield() const { return task_->taskShouldYield(); }
   void taskWorkCountInc(std::uint64_t n) { task_->taskWorkCountInc(n); }
   void taskWorkPendingIs(std::uint64_t n) { task_->taskWorkPendingIs(n); }

private:
   const Ptr<Gorm::Task> task_;
};

// A task that can also be scheduled with a delay.
class TimerTask : public Task {
public:
   using Task::Task;

   // Runs the task in `delayNanos`, or earlier if it is already scheduled for an earlier time.
   void scheduleTaskLowestDelay(std::int64_t delayNanos) { task().scheduleTaskLowestDelay(delayNanos); }
};

}  // namespace Pavo
