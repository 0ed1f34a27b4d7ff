#pragma once

// The timers of a scheduler: a binary heap of tasks, ordered by deadline. Each task knows its slot, so moving
// or removing it needs no search. Setting a timer allocates only when the heap grows. The heap does not own
// its tasks.
// Thread-safety: guarded by the scheduler's activity lock.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/gorm/Task.h"

namespace Gorm {

class TimerHeap {
public:
   bool empty() const { return heap_.empty(); }
   std::size_t size() const { return heap_.size(); }
   // RETURNS: the task with the earliest deadline.
   // REQUIRES: the heap is not empty.
   Task& earliest() const { return *heap_.front(); }
   std::int64_t earliestDeadline() const { return heap_.front()->deadline_; }

   // REQUIRES: the task is not in the heap.
   void insert(Task& task, std::int64_t deadline);
   // Moves a task to an earlier deadline.
   // REQUIRES: the task is in the heap.
   void advance(Task& task, std::int64_t deadline);
   void remove(Task& task);

private:
   void place(std::size_t slot, Task* task);
   void up(std::size_t slot);
   void down(std::size_t slot);

   std::vector<Task*> heap_;
};

}  // namespace Gorm
