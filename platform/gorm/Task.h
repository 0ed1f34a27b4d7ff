#pragma once

// A cooperative task of the main loop.
// Thread-safety: scheduling operations acquire the activity lock and may be called from any thread.
// Everything else requires the lock, which is held in the work function.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include "platform/pavo/Ptr.h"

namespace Gorm {

class TaskScheduler;

// A lower number is more urgent. A task starts only while no more urgent task is ready.
using Priority = unsigned;
inline constexpr Priority priorityUrgent = 0;  // answers a waiting client: ping, console
inline constexpr Priority priorityNormal = 4;
inline constexpr Priority priorityBatch = 6;  // long work in quanta: hardware programming
inline constexpr Priority priorityCount = 8;

enum class RunState : std::uint8_t {
   idle,     // not scheduled
   waiting,  // a timer is set
   pending,  // ready to run
   running,  // its work function runs; it may be scheduled again meanwhile
   retired,  // will never run again
};

// A task has at most one pending execution, at the earliest of the times requested since the last execution
// began. The scheduler owns a task while it is scheduled or running, so a scheduled task runs once more even
// after its last Ptr is dropped. Call retire before anything that the work function captures is destroyed;
// Pavo::Task does so in its destructor.
class Task final : public Pavo::RefCounted {
public:
   using WorkFunction = std::function<void()>;

   static constexpr std::int64_t defaultQuantumNanos = 500'000;

   // THROWS: std::invalid_argument for a priority of priorityCount or above.
   Task(Pavo::Ptr<TaskScheduler> scheduler, std::string name, Priority priority, WorkFunction work);

   // Makes the task ready, behind the ready tasks of its priority. A no-op if it is already ready.
   void scheduleTask();
   // Makes the task ready in `delayNanos`, or earlier if it is already scheduled for an earlier time.
   void scheduleTaskLowestDelay(std::int64_t delayNanos);
   // Cancels the pending execution. A running execution continues.
   void unscheduleTask();
   // Unschedules the task for good and destroys the work function, at once or at the end of the running
   // execution. If the caller holds the activity lock or is the main loop's thread, no execution begins
   // afterwards.
   void retire();

   const std::string& name() const { return name_; }
   Priority priority() const { return priority_; }
   RunState runState() const;
   // RETURNS: whether an execution is pending, at once or by a timer.
   bool scheduled() const { return ready_ || timerSlot_ != noSlot; }

   // How long one execution may run before taskShouldYield returns true, in nanoseconds.
   std::int64_t quantum() const { return quantum_; }
   void quantumIs(std::int64_t nanos) { quantum_ = nanos; }

   // RETURNS: whether the running work function should schedule itself again and return, because its quantum
   // is over, a more urgent task is ready, the task is retired, the loop should stop, or another thread has
   // waited for the activity lock for a slice. False outside an execution.
   bool taskShouldYield() const;

   // Adds to the units of work done; the task chooses the unit.
   void taskWorkCountInc(std::uint64_t n) { workCount_ += n; }
   // Sets the units of work that are left.
   void taskWorkPendingIs(std::uint64_t n) { workPending_ = n; }
   std::uint64_t workCount() const { return workCount_; }
   std::uint64_t workPending() const { return workPending_; }

   // The number of executions so far; their total time and the longest one, in nanoseconds.
   std::uint64_t runCount() const { return runCount_; }
   std::int64_t runNanos() const { return runNanos_; }
   std::int64_t longestRunNanos() const { return longestRunNanos_; }

private:
   friend class TaskScheduler;
   friend class TimerHeap;
   static constexpr std::size_t noSlot = static_cast<std::size_t>(-1);

   ~Task() override;

   const Pavo::Ptr<TaskScheduler> scheduler_;
   const std::string name_;
   const Priority priority_;

   // Everything below is guarded by the scheduler's activity lock.
   WorkFunction work_;
   std::int64_t quantum_ = defaultQuantumNanos;
   std::int64_t deadline_ = 0;  // of the timer, steady nanoseconds
   std::size_t timerSlot_ = noSlot;
   std::int64_t runEnd_ = 0;   // when the running execution's quantum is over
   Task* previous_ = nullptr;  // in the ready list of its priority
   Task* next_ = nullptr;
   Task* previousMade_ = nullptr;  // in the list of all tasks
   Task* nextMade_ = nullptr;
   bool ready_ = false;
   bool retired_ = false;
   std::uint64_t workCount_ = 0;
   std::uint64_t workPending_ = 0;
   std::uint64_t runCount_ = 0;
   std::int64_t runNanos_ = 0;
   std::int64_t longestRunNanos_ = 0;
};

}  // namespace Gorm
