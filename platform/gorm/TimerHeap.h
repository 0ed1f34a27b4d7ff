#pragma once

// The timers of a scheduler: a binary heap of tasks by deadline. A task knows its slot, so that it can be
// moved or taken out without a search, and setting a timer allocates only when the heap grows. Thread-safety:
// none of its own; guarded by the scheduler's activity lock. Owns nothing.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/gorm/Task.h"

namespace Gorm {

class TimerHeap {
public:
   bool empty() const { return heap_.empty(); }
   std::size_t size() const { return heap_.size(); }
   /// The task with the earliest deadline; the heap must not be empty.
   Task& earliest() const { return *heap_.front(); }
   std::int64_t earliestDeadline() const { return heap_.front()->deadline_; }

   /// Enters a task that is not in the heap.
   void insert(Task& task, std::int64_t deadline);
   /// Moves a task of the heap to an earlier deadline.
   void advance(Task& task, std::int64_t deadline);
   void remove(Task& task);

private:
   void place(std::size_t slot, Task* task);
   void up(std::size_t slot);
   void down(std::size_t slot);

   std::vector<Task*> heap_;
};

}  // namespace Gorm
