#include "softswitch/forwarding/hardware.h"

#include <algorithm>

#include "platform/zelt/ActivityLock.h"

namespace softswitch {

Hardware::Hardware(const Pavo::Ptr<Gorm::TaskScheduler>& scheduler, std::unique_ptr<ForwardingPlane> plane)
     : Pavo::TimerTask(scheduler, "hardware programming", Gorm::priorityBatch), plane_(std::move(plane)) {}

bool Hardware::idle() const {
   return std::all_of(clients_.begin(), clients_.end(), [](const auto* c) { return c->hardwareIdle(); });
}

void Hardware::taskExecute() {
   // Asked for before the work, so that a handler that throws does not strand what is left.
   requested_ = false;
   request();
   bool worked = false;
   for (auto* client : clients_) {
      while (!client->hardwareIdle()) {
         // Neither the plane nor the handlers that are told of its answers may know of what can still be
         // lost.
         Zelt::activityLock().settle();
         client->hardwareStep(*plane_);
         worked = true;
         taskWorkCountInc(1);
         if (taskShouldYield()) {
            scheduleTask();
            return;
         }
      }
   }
   // A later client may have given an earlier one something to do.
   if (!idle()) return;
   unscheduleTask();
   requested_ = worked;
   // More follows as a rule. Looking again by itself spares the main loop, and the thread that requests, a
   // wake-up per burst.
   if (worked) scheduleTaskLowestDelay(againNanos);
}

}  // namespace softswitch
