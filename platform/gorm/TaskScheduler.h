#pragma once

// The main loop's scheduler: ready tasks by priority, timers, and the wait for work.
//
// The loop's thread runs this loop, as run() does:
//    while (scheduler.waitForWork()) {          // without the activity lock
//       Zelt::ActivityLockAnchor lock(scheduler.lock(), Zelt::HandOver::now);
//       scheduler.runReady();
//    }
//
// Thread-safety: waitForWork, runReady and run belong to the loop's thread. stop may be called from any
// thread and from a signal handler. The activity lock guards all state, except where a member says otherwise.

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <string_view>

#include "platform/gorm/Task.h"
#include "platform/gorm/TimerHeap.h"
#include "platform/pavo/Ptr.h"
#include "platform/zelt/ActivityLock.h"

namespace Gorm {

// The longest delays of the loop in nanoseconds, for an operator who checks whether the loop gets processor
// time.
struct LoopDelays {
   // From the wake-up of the sleeping loop until it runs with the lock.
   std::int64_t longestWake = 0;
   // From a timer's deadline until its task became ready.
   std::int64_t longestTimer = 0;
};

class TaskScheduler final : public Pavo::RefCounted {
public:
   static constexpr std::int64_t defaultSliceNanos = 1'000'000;

   explicit TaskScheduler(std::string name, Zelt::ActivityLock& lock = Zelt::activityLock());

   const std::string& name() const { return name_; }
   Zelt::ActivityLock& lock() const { return lock_; }

   // Sleeps until a task is ready, a timer is due or stop is called.
   // RETURNS: false once stop was called.
   // THROWS: std::logic_error if the caller holds the activity lock.
   bool waitForWork();

   // Runs ready tasks, the most urgent first and tasks of one priority in turn, until no task is ready, the
   // slice is over, stop is called, or another thread has waited for the activity lock for a slice. Runs at
   // least one ready task. An exception of a task propagates; the scheduler stays usable and does not
   // reschedule the task.
   // REQUIRES: the caller holds the activity lock.
   // RETURNS: the number of executions.
   // THROWS: std::logic_error without the lock and inside a task.
   unsigned runReady(std::int64_t sliceNanos = defaultSliceNanos);

   // Runs the loop above until stop is called.
   void run();

   // Makes waitForWork return false until restart. Async-signal-safe.
   void stop() noexcept;
   bool stopRequested() const noexcept { return stop_.load(std::memory_order_relaxed); }
   // Cancels stop, for a second loop in one process. A concurrent stop either stays in force, or is cancelled
   // and its caller's earlier writes are visible after this call.
   // REQUIRES: no loop runs.
   void restart() noexcept { stop_.exchange(false, std::memory_order_acq_rel); }

   // RETURNS: the running task, or null.
   // REQUIRES: the caller holds the activity lock.
   Task* current() const { return current_; }
   // RETURNS: whether a task is ready, not counting due timers.
   // REQUIRES: the caller holds the activity lock.
   bool hasReady() const { return readyMask_ != 0; }
   // RETURNS: the longest delays since the scheduler was created.
   // REQUIRES: the caller holds the activity lock.
   const LoopDelays& delays() const { return delays_; }
   // Calls `visit` for every existing task, in the order of creation.
   // REQUIRES: the caller holds the activity lock; `visit` neither creates nor destroys tasks.
   void forEachTask(const std::function<void(const Task&)>& visit) const;

private:
   friend class Task;
   struct ReadyList {
      Task* first = nullptr;
      Task* last = nullptr;
   };
   static constexpr std::int64_t never = std::numeric_limits<std::int64_t>::max();

   ~TaskScheduler() override = default;

   void taskMade(Task& task);
   void taskGone(Task& task) noexcept;
   void makeReady(Task& task);
   void setTimer(Task& task, std::int64_t delayNanos);
   void unschedule(Task& task) noexcept;
   void linkReady(Task& task) noexcept;
   void unlinkReady(Task& task) noexcept;
   void expireTimers(std::int64_t now);
   void execute(Task& task, std::int64_t& now);
   bool shouldYield(const Task& task) const;
   void wakeFor(std::int64_t deadline) noexcept;
   void signalLoop() noexcept;

   const std::string name_;
   Zelt::ActivityLock& lock_;

   std::array<ReadyList, priorityCount> ready_;
   std::uint32_t readyMask_ = 0;  // bit p: the list of priority p is not empty
   TimerHeap timers_;
   Task* current_ = nullptr;
   Task* firstTask_ = nullptr;
   Task* lastTask_ = nullptr;

   // When the loop's next sleep times out; 0: it does not sleep. The loop's thread writes it with the lock,
   // and may read it without.
   std::int64_t wakeAt_ = 0;
   // The loop is running, or was woken and will run, so it needs no signal. Guarded by the lock.
   bool awake_ = true;
   // When the loop was woken from its sleep; 0: it was not woken, or has run since. Guarded by the lock.
   std::int64_t wokenAt_ = 0;
   LoopDelays delays_;  // guarded by the lock

   // Used without the lock.
   std::atomic<std::uint32_t> signal_{0};
   std::atomic<bool> stop_{false};
};

// The registry of the process's schedulers.
// Thread-safety: any thread.
class TaskSchedulerRoot {
public:
   // RETURNS: the scheduler with this name, created by the first call. It lives as long as the process and
   // uses Zelt::activityLock(). A process has one main loop, so most callers use the default name.
   static const Pavo::Ptr<TaskScheduler>& findOrCreateScheduler(std::string_view name = "main");
};

}  // namespace Gorm
