// The second stage: hands configured objects to the forwarding plane, some time after they were configured.
//
// A manager with work calls request(). A task of the main loop runs a millisecond later, or when its turn
// comes, and lets each client do its work in small pieces within the task's quantum. After a run with work
// the task runs again unasked, four milliseconds later.
//
// Thread-safety: guarded by the SDK's lock; the work happens on the main loop.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "platform/gorm/PavoTask.h"
#include "softswitch/forwarding/plane.h"

namespace softswitch {

class HardwareClient {
public:
   virtual bool hardwareIdle() const = 0;
   // One piece of work, some tens of microseconds at most.
   virtual void hardwareStep(ForwardingPlane& plane) = 0;

protected:
   ~HardwareClient() = default;
};

class Hardware final : public Pavo::TimerTask {
public:
   Hardware(const Pavo::Ptr<Gorm::TaskScheduler>& scheduler, std::unique_ptr<ForwardingPlane> plane);

   // Clients work in the order in which they were added: add the managers of referenced objects first.
   void add(HardwareClient& client) { clients_.push_back(&client); }

   // Asks for a run of the task. Cheap when repeated.
   void request() {
      if (requested_) return;
      requested_ = true;
      scheduleTaskLowestDelay(delayNanos);
   }
   // RETURNS: whether everything configured has been handed over.
   bool idle() const;

   ForwardingPlane& plane() { return *plane_; }
   const ForwardingPlane& plane() const { return *plane_; }

protected:
   void taskExecute() override;

private:
   static constexpr std::int64_t delayNanos = 1'000'000;
   static constexpr std::int64_t againNanos = 4'000'000;

   std::unique_ptr<ForwardingPlane> plane_;
   std::vector<HardwareClient*> clients_;
   bool requested_ = false;
};

}  // namespace softswitch
