#pragma once

// The main loop's scheduler: ready tasks by priority, timers, and the wait for work.
//
// The loop's thread calls, again and again:
//    while (scheduler.waitForWork()) {          // without the activity lock
//       Zelt::ActivityLockAnchor lock(scheduler.lock(), Zelt::HandOver::now);
//       scheduler.runReady();
//    }
// which is what run() does.
//
// Thread-safety: waitForWork, runReady and run belong to the loop's thread; stop may be called from any
// thread and from a signal handler. All state is guarded by the activity lock, except what is said at the
// members.

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

/// How late the loop has been at the worst, for an operator who asks whether it is served. Nanoseconds.
struct LoopDelays {
   /// From the wake-up of the sleeping loop to its next turn with the lock.
   std::int64_t longestWake = 0;
   /// From a timer's time to the moment at which its task became ready.
   std::int64_t longestTimer = 0;
};

class TaskScheduler final : public Pavo::RefCounted {
public:
   static constexpr std::int64_t defaultSliceNanos = 1'000'000;

   explicit TaskScheduler(std::string name, Zelt::ActivityLock& lock = Zelt::activityLock());

   const std::string& name() const { return name_; }
   Zelt::ActivityLock& lock() const { return lock_; }

   /// Sleeps until a task is ready, a timer is due or stop was called. Returns false once stop was called.
   /// Throws std::logic_error if the caller holds the activity lock.
   bool waitForWork();

   /// Runs ready tasks, the most urgent first and tasks of one priority in turn, until none is ready, the
   /// slice is over, stop was called, or another thread has waited for the activity lock for a slice. At
   /// least one ready task runs. Returns the number of executions. The caller holds the activity lock. An
   /// exception of a task passes through; the scheduler stays usable and the task is not scheduled again by
   /// itself. Throws std::logic_error without the lock and inside a task.
   unsigned runReady(std::int64_t sliceNanos = defaultSliceNanos);

   /// The loop above, until stop.
   void run();

   /// Makes waitForWork return false, now and until restart. Async-signal-safe.
   void stop() noexcept;
   bool stopRequested() const noexcept { return stop_.load(std::memory_order_relaxed); }
   /// Takes back stop, for a second loop in one process. Not while a loop runs.
   /// A stop that comes at the same time is either seen by what follows this call or stands.
   void restart() noexcept { stop_.exchange(false, std::memory_order_acq_rel); }

   /// The task that runs, or null. With the activity lock.
   Task* current() const { return current_; }
   /// Whether a task is ready now, due timers not counted. With the activity lock.
   bool hasReady() const { return readyMask_ != 0; }
   /// Since the scheduler was made. With the activity lock.
   const LoopDelays& delays() const { return delays_; }
   /// Calls `visit` for every task that exists, in the order of their making. With the activity lock; `visit`
   /// must neither make nor drop tasks.
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
   std::uint32_t readyMask_ = 0;  ///< bit p: the list of priority p is not empty
   TimerHeap timers_;
   Task* current_ = nullptr;
   Task* firstTask_ = nullptr;
   Task* lastTask_ = nullptr;

   /// When the loop's next sleep ends by itself; 0: it does not sleep. Written by the loop's thread with the
   /// lock, read by it also without.
   std::int64_t wakeAt_ = 0;
   /// The loop runs, or has been woken and will run: it needs no signal. Guarded by the lock.
   bool awake_ = true;
   /// When the loop was woken from its sleep; 0: it was not, or has had its turn. Guarded by the lock.
   std::int64_t wokenAt_ = 0;
   LoopDelays delays_;  ///< guarded by the lock

   // Without the lock.
   std::atomic<std::uint32_t> signal_{0};
   std::atomic<bool> stop_{false};
};

/// Where the process's schedulers are found. Thread-safe.
class TaskSchedulerRoot {
public:
   /// The scheduler of the name, made at the first call. It lives as long as the process and uses
   /// Zelt::activityLock(). A process has one main loop, so nearly everybody uses the default name.
   static const Pavo::Ptr<TaskScheduler>& findOrCreateScheduler(std::string_view name = "main");
};

}  // namespace Gorm
