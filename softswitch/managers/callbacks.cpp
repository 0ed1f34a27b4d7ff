#include "softswitch/managers/callbacks.h"

#include <utility>

#include "platform/zelt/ActivityLock.h"

namespace softswitch {

void Callbacks::taskExecute() {
   while (!calls_.empty()) {
      // Taken out first: the call may post, or throw.
      auto call = std::move(calls_.front());
      calls_.pop_front();
      // Before the call, so that a call that throws does not strand those behind it.
      if (!calls_.empty()) scheduleTask();
      taskWorkCountInc(1);
      // A handler may report to the outside world, and this turn of the main loop may have written to the
      // store.
      Zelt::activityLock().settle();
      call();
      if (taskShouldYield()) break;
   }
   taskWorkPendingIs(calls_.size());
   if (calls_.empty()) {
      unscheduleTask();
   } else {
      scheduleTask();
   }
}

}  // namespace softswitch
