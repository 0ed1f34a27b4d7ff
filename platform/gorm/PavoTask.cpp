#include "platform/gorm/PavoTask.h"

#include <utility>

namespace Pavo {

Task::Task(const Ptr<Gorm::TaskScheduler>& scheduler, String name, Gorm::Priority priority)
     : task_(makePtr<Gorm::Task>(scheduler, std::move(name), priority, [this] { taskExecute(); })) {}

Task::~Task() {
   task_->retire();
}

}  // namespace Pavo
