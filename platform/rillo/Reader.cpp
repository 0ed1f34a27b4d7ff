#include "platform/rillo/Reader.h"

#include <utility>

#include "platform/gorm/Task.h"

namespace Rillo {
namespace {

constexpr unsigned toldPerLook = 16;        // rows between two checks of the task's quantum
constexpr std::size_t waitingRoom = 16384;  // reported rows that waiting_ keeps before they are erased

}  // namespace

std::shared_ptr<Reader> Reader::make(const Pavo::Ptr<Gorm::TaskScheduler>& scheduler, std::string name,
                                     Tell tell) {
   const std::shared_ptr<Reader> made(new Reader(std::move(tell)));
   made->task_ = Pavo::makePtr<Gorm::Task>(scheduler, std::move(name), Gorm::priorityNormal,
                                           [weak = std::weak_ptr<Reader>(made)] {
                                              if (const auto reader = weak.lock()) reader->run();
                                           });
   return made;
}

Reader::~Reader() {
   task_->retire();
}

bool Reader::changed(std::uint32_t slot) {
   if (closed_) return false;
   if (slot >= waits_.size()) waits_.resize(static_cast<std::size_t>(slot) + slot / 2 + 1);
   if (waits_[slot]) return false;
   waits_[slot] = true;
   waiting_.push_back(slot);
   if (waiting_.size() - told_ == 1) task_->scheduleTask();
   return true;
}

std::vector<std::uint32_t> Reader::close() {
   closed_ = true;
   task_->unscheduleTask();
   waiting_.erase(waiting_.begin(), waiting_.begin() + static_cast<std::ptrdiff_t>(told_));
   told_ = 0;
   return std::exchange(waiting_, {});
}

void Reader::run() {
   // Scheduled before the first row, so that the remaining rows are not lost if a reactor throws.
   task_->scheduleTask();
   unsigned told = 0;
   while (told_ < waiting_.size()) {
      const auto slot = waiting_[told_++];
      waits_[slot] = false;
      // Erases also when a steady flow of changes keeps the reader from reaching the end.
      if (told_ == waiting_.size() || told_ > waitingRoom) {
         waiting_.erase(waiting_.begin(), waiting_.begin() + static_cast<std::ptrdiff_t>(told_));
         told_ = 0;
      }
      tell_(slot);
      if (closed_) return;
      task_->taskWorkCountInc(1);
      if (++told % toldPerLook == 0 && task_->taskShouldYield()) break;
   }
   if (told_ == waiting_.size()) task_->unscheduleTask();
}

}  // namespace Rillo
