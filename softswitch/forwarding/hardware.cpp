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
   // Requested before the work, so that a handler that throws does not strand the rest.
   requested_ = false;
   request();
   bool worked = false;
   for (auto* client : clients_) {
      while (!client->hardwareIdle()) {
         // Neither the plane nor the handlers that its answers notify may learn of state that can still be
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
   // A later client may have given an earlier one work.
   if (!idle()) return;
   unscheduleTask();
   requested_ = worked;
   // More work usually follows. Running again unasked spares the main loop, and the requesting thread, a
   // wake-up per burst.
   if (worked) scheduleTaskLowestDelay(againNanos);
}

}  // namespace softswitch
