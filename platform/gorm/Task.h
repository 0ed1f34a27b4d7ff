#pragma once

// A cooperative task of the main loop.
// Thread-safety: scheduling operations take the activity lock by themselves and may be called from any
// thread; everything else wants the lock held, which it is inside the work function.

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

#include "platform/pavo/Ptr.h"

namespace Gorm {

class TaskScheduler;

/// A lower number is more urgent. A task runs only while no more urgent one is ready.
using Priority = unsigned;
inline constexpr Priority priorityUrgent = 0;  ///< answers somebody who waits: ping, console
inline constexpr Priority priorityNormal = 4;
inline constexpr Priority priorityBatch = 6;  ///< long work in quanta: hardware programming
inline constexpr Priority priorityCount = 8;

enum class RunState : std::uint8_t {
   idle,     ///< nothing asked for
   waiting,  ///< a timer is set
   pending,  ///< ready, waits for its turn
   running,  ///< its work function is being called; it may be scheduled again at the same time
   retired,  ///< will never run again
};

/// A task has at most one next execution, at the earliest of the times asked for since the last one began.
/// The scheduler owns a task while it is scheduled or runs. Dropping the last Ptr of a scheduled task lets it
/// run once more; whoever captures something in the work function calls retire before that goes away.
/// Pavo::Task does so in its destructor.
class Task final : public Pavo::RefCounted {
public:
   using WorkFunction = std::function<void()>;

   static constexpr std::int64_t defaultQuantumNanos = 500'000;

   /// Throws std::invalid_argument for a priority of priorityCount or above.
   Task(Pavo::Ptr<TaskScheduler> scheduler, std::string name, Priority priority, WorkFunction work);

   /// Makes the task ready, behind those of its priority that are ready already. Nothing happens if it is
   /// ready.
   void scheduleTask();
   /// Makes the task ready `delayNanos` from now, or at an earlier time that was asked for before.
   void scheduleTaskLowestDelay(std::int64_t delayNanos);
   /// Takes back what was asked for. An execution that runs goes on.
   void unscheduleTask();
   /// Unschedules for good and drops the work function, at once or at the end of the running execution. With
   /// the activity lock held, or on the main loop's thread, no execution begins after this.
   void retire();

   const std::string& name() const { return name_; }
   Priority priority() const { return priority_; }
   RunState runState() const;
   /// Whether an execution is asked for, by a timer too.
   bool scheduled() const { return ready_ || timerSlot_ != noSlot; }

   /// How long one execution may go on before taskShouldYield says so, nanoseconds.
   std::int64_t quantum() const { return quantum_; }
   void quantumIs(std::int64_t nanos) { quantum_ = nanos; }

   /// For the running work function: whether it should schedule itself again and return. True once its
   /// quantum is over, a more urgent task is ready, the loop is to stop, or another thread has waited for the
   /// activity lock for a slice. Outside an execution: false.
   bool taskShouldYield() const;

   /// Reports units of work done, whatever the task counts.
   void taskWorkCountInc(std::uint64_t n) { workCount_ += n; }
   /// Reports units of work that are left.
   void taskWorkPendingIs(std::uint64_t n) { workPending_ = n; }
   std::uint64_t workCount() const { return workCount_; }
   std::uint64_t workPending() const { return workPending_; }

   /// Executions so far, their time together and the longest one, nanoseconds.
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

   // All below: guarded by the scheduler's activity lock.
   WorkFunction work_;
   std::int64_t quantum_ = defaultQuantumNanos;
   std::int64_t deadline_ = 0;  ///< of the timer, steady nanoseconds
   std::size_t timerSlot_ = noSlot;
   std::int64_t runEnd_ = 0;   ///< when the running execution's quantum is over
   Task* previous_ = nullptr;  ///< in the ready list of its priority
   Task* next_ = nullptr;
   Task* previousMade_ = nullptr;  ///< in the list of all tasks
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
