#include "platform/gorm/Task.h"

#include <fmt/format.h>

#include <stdexcept>
#include <utility>

#include "platform/gorm/TaskScheduler.h"
#include "platform/zelt/Anchors.h"

namespace Gorm {

Task::Task(Pavo::Ptr<TaskScheduler> scheduler, std::string name, Priority priority, WorkFunction work)
     : scheduler_(std::move(scheduler)), name_(std::move(name)), priority_(priority), work_(std::move(work)) {
   if (priority_ >= priorityCount) {
      throw std::invalid_argument(
           fmt::format("task '{}': priority {}, expected less than {}", name_, priority_, priorityCount));
   }
   Zelt::ActivityLockAnchor lock(scheduler_->lock());
   scheduler_->taskMade(*this);
}

Task::~Task() {
   Zelt::ActivityLockAnchor lock(scheduler_->lock());
   scheduler_->taskGone(*this);
}

void Task::scheduleTask() {
   Zelt::ActivityLockAnchor lock(scheduler_->lock());
   if (!retired_ && !ready_) scheduler_->makeReady(*this);
}

void Task::scheduleTaskLowestDelay(std::int64_t delayNanos) {
   Zelt::ActivityLockAnchor lock(scheduler_->lock());
   if (!retired_ && !ready_) scheduler_->setTimer(*this, delayNanos);
}

void Task::unscheduleTask() {
   const Pavo::Ptr<Task> keep(this);
   Zelt::ActivityLockAnchor lock(scheduler_->lock());
   scheduler_->unschedule(*this);
}

void Task::retire() {
   const Pavo::Ptr<Task> keep(this);
   // Destroyed after the lock is released, since it may own anything.
   WorkFunction work;
   Zelt::ActivityLockAnchor lock(scheduler_->lock());
   scheduler_->unschedule(*this);
   retired_ = true;
   if (scheduler_->current() != this) work.swap(work_);
}

RunState Task::runState() const {
   if (scheduler_->current() == this) return RunState::running;
   if (retired_) return RunState::retired;
   if (ready_) return RunState::pending;
   return timerSlot_ != noSlot ? RunState::waiting : RunState::idle;
}

bool Task::taskShouldYield() const {
   return scheduler_->current() == this && scheduler_->shouldYield(*this);
}

}  // namespace Gorm
