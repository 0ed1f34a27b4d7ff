#include "platform/gorm/TimerHeap.h"

namespace Gorm {

void TimerHeap::insert(Task& task, std::int64_t deadline) {
   heap_.push_back(&task);
   task.deadline_ = deadline;
   task.timerSlot_ = heap_.size() - 1;
   up(task.timerSlot_);
}

void TimerHeap::advance(Task& task, std::int64_t deadline) {
   task.deadline_ = deadline;
   up(task.timerSlot_);
}

void TimerHeap::remove(Task& task) {
   const std::size_t slot = task.timerSlot_;
   Task* const last = heap_.back();
   heap_.pop_back();
   task.timerSlot_ = Task::noSlot;
   if (last == &task) return;
   place(slot, last);
   up(slot);
   down(last->timerSlot_);
}

void TimerHeap::place(std::size_t slot, Task* task) {
   heap_[slot] = task;
   task->timerSlot_ = slot;
}

void TimerHeap::up(std::size_t slot) {
   Task* const task = heap_[slot];
   while (slot != 0) {
      const std::size_t parent = (slot - 1) / 2;
      if (heap_[parent]->deadline_ <= task->deadline_) break;
      place(slot, heap_[parent]);
      slot = parent;
   }
   place(slot, task);
}

void TimerHeap::down(std::size_t slot) {
   Task* const task = heap_[slot];
   for (;;) {
      std::size_t child = 2 * slot + 1;
      if (child >= heap_.size()) break;
      if (child + 1 < heap_.size() && heap_[child + 1]->deadline_ < heap_[child]->deadline_) ++child;
      if (task->deadline_ <= heap_[child]->deadline_) break;
      place(slot, heap_[child]);
      slot = child;
   }
   place(slot, task);
}

}  // namespace Gorm
