#include "platform/gorm/TaskScheduler.h"

#include <algorithm>
#include <bit>
#include <map>
#include <stdexcept>
#include <utility>

#include "platform/zelt/Anchors.h"
#include "platform/zelt/Clock.h"
#include "platform/zelt/Futex.h"
#include "platform/zelt/Mutex.h"

namespace Gorm {

using Zelt::Clock;

TaskScheduler::TaskScheduler(std::string name, Zelt::ActivityLock& lock)
     : name_(std::move(name)), lock_(lock) {}

bool TaskScheduler::waitForWork() {
   if (lock_.ownedByMe()) throw std::logic_error("the main loop waits for work with the activity lock held");
   while (!stopRequested() && signal_.exchange(0, std::memory_order_acquire) == 0) {
      const std::int64_t now = wakeAt_ != never ? Clock::steadyNanos() : 0;
      if (wakeAt_ <= now) break;
      Zelt::futexWait(signal_, 0, wakeAt_ != never ? wakeAt_ - now : Zelt::noTimeout);
   }
   return !stopRequested();
}

unsigned TaskScheduler::runReady(std::int64_t sliceNanos) {
   if (!lock_.ownedByMe()) throw std::logic_error("tasks are run without the activity lock");
   if (current_ != nullptr)
      throw std::logic_error("tasks are run from inside task '" + current_->name() + "'");
   awake_ = true;
   // Stays 0 if a task throws, so that the loop comes back at once.
   wakeAt_ = 0;
   unsigned executions = 0;
   std::int64_t now = Clock::steadyNanos();
   const std::int64_t end = now + sliceNanos;
   if (wokenAt_ != 0) delays_.longestWake = std::max(delays_.longestWake, now - std::exchange(wokenAt_, 0));
   for (;;) {
      expireTimers(now);
      if (readyMask_ == 0) break;
      execute(*ready_[static_cast<std::size_t>(std::countr_zero(readyMask_))].first, now);
      ++executions;
      if (now >= end || lock_.handOverDue(now) || stopRequested()) break;
   }
   if (readyMask_ == 0) {
      wakeAt_ = timers_.empty() ? never : timers_.earliestDeadline();
      awake_ = false;
   }
   return executions;
}

void TaskScheduler::run() {
   while (waitForWork()) {
      Zelt::ActivityLockAnchor lock(lock_, Zelt::HandOver::now);
      runReady();
   }
}

void TaskScheduler::stop() noexcept {
   stop_.store(true, std::memory_order_release);
   signalLoop();
}

void TaskScheduler::forEachTask(const std::function<void(const Task&)>& visit) const {
   for (const Task* task = firstTask_; task != nullptr; task = task->nextMade_)
      visit(*task);
}

void TaskScheduler::taskMade(Task& task) {
   task.previousMade_ = lastTask_;
   (lastTask_ != nullptr ? lastTask_->nextMade_ : firstTask_) = &task;
   lastTask_ = &task;
}

void TaskScheduler::taskGone(Task& task) noexcept {
   (task.previousMade_ != nullptr ? task.previousMade_->nextMade_ : firstTask_) = task.nextMade_;
   (task.nextMade_ != nullptr ? task.nextMade_->previousMade_ : lastTask_) = task.previousMade_;
}

// The scheduler holds one reference to a scheduled task. It passes from the timers to the ready list and from
// there to the execution.

void TaskScheduler::makeReady(Task& task) {
   if (task.timerSlot_ != Task::noSlot) {
      timers_.remove(task);
   } else {
      task.ref();
   }
   linkReady(task);
   wakeFor(0);
}

void TaskScheduler::setTimer(Task& task, std::int64_t delayNanos) {
   const std::int64_t now = Clock::steadyNanos();
   const std::int64_t delay = std::max<std::int64_t>(delayNanos, 0);
   const std::int64_t deadline = delay < never - now ? now + delay : never;
   if (task.timerSlot_ == Task::noSlot) {
      timers_.insert(task, deadline);
      task.ref();
   } else if (deadline < task.deadline_) {
      timers_.advance(task, deadline);
   } else {
      return;
   }
   wakeFor(deadline);
}

void TaskScheduler::unschedule(Task& task) noexcept {
   if (task.ready_) {
      unlinkReady(task);
   } else if (task.timerSlot_ != Task::noSlot) {
      timers_.remove(task);
   } else {
      return;
   }
   task.unref();
}

void TaskScheduler::linkReady(Task& task) noexcept {
   ReadyList& list = ready_[task.priority_];
   task.previous_ = list.last;
   task.next_ = nullptr;
   (list.last != nullptr ? list.last->next_ : list.first) = &task;
   list.last = &task;
   task.ready_ = true;
   readyMask_ |= 1U << task.priority_;
}

void TaskScheduler::unlinkReady(Task& task) noexcept {
   ReadyList& list = ready_[task.priority_];
   (task.previous_ != nullptr ? task.previous_->next_ : list.first) = task.next_;
   (task.next_ != nullptr ? task.next_->previous_ : list.last) = task.previous_;
   task.previous_ = nullptr;
   task.next_ = nullptr;
   task.ready_ = false;
   if (list.first == nullptr) readyMask_ &= ~(1U << task.priority_);
}

void TaskScheduler::expireTimers(std::int64_t now) {
   while (!timers_.empty() && timers_.earliestDeadline() <= now) {
      Task& task = timers_.earliest();
      delays_.longestTimer = std::max(delays_.longestTimer, now - timers_.earliestDeadline());
      timers_.remove(task);
      linkReady(task);
   }
}

void TaskScheduler::execute(Task& task, std::int64_t& now) {
   unlinkReady(task);
   // Ends the execution, also when the work function throws, and drops the scheduler's reference.
   struct Execution {
      TaskScheduler& scheduler;
      Task& task;
      std::int64_t& now;
      Task::WorkFunction dropped;

      ~Execution() {
         const std::int64_t end = Clock::steadyNanos();
         const std::int64_t took = end - now;
         now = end;
         ++task.runCount_;
         task.runNanos_ += took;
         task.longestRunNanos_ = std::max(task.longestRunNanos_, took);
         scheduler.current_ = nullptr;
         if (task.retired_) dropped.swap(task.work_);
         task.unref();
      }
   };
   task.runEnd_ = now + task.quantum_;
   current_ = &task;
   Execution execution{.scheduler = *this, .task = task, .now = now, .dropped = {}};
   task.work_();
}

bool TaskScheduler::shouldYield(const Task& task) const {
   if (task.retired_ || stopRequested()) return true;
   if ((readyMask_ & ((1U << task.priority_) - 1)) != 0) return true;
   const std::int64_t now = Clock::steadyNanos();
   if (now >= task.runEnd_ || lock_.handOverDue(now)) return true;
   return !timers_.empty() && timers_.earliestDeadline() <= now &&
          timers_.earliest().priority() < task.priority_;
}

void TaskScheduler::wakeFor(std::int64_t deadline) noexcept {
   if (awake_ || deadline >= wakeAt_) return;
   awake_ = true;
   // The cost of reading the clock is negligible beside the system call that follows.
   wokenAt_ = Clock::steadyNanos();
   signalLoop();
}

void TaskScheduler::signalLoop() noexcept {
   signal_.store(1, std::memory_order_release);
   Zelt::futexWake(&signal_);
}

const Pavo::Ptr<TaskScheduler>& TaskSchedulerRoot::findOrCreateScheduler(std::string_view name) {
   struct Root {
      Zelt::Mutex mutex;
      std::map<std::string, Pavo::Ptr<TaskScheduler>, std::less<>> schedulers ZELT_GUARDED_BY(mutex);
   };
   // Never destroyed: tasks of static objects outlive main.
   static Root& root = *new Root;
   Zelt::MutexAnchor guard(root.mutex);
   auto it = root.schedulers.find(name);
   if (it == root.schedulers.end()) {
      it = root.schedulers.emplace(name, Pavo::makePtr<TaskScheduler>(std::string(name))).first;
   }
   return it->second;
}

}  // namespace Gorm
