// The second stage: hands what was configured to the forwarding plane, some time after it was configured.
//
// A manager that has something to hand over asks for it by request(); a task of the main loop then, a
// millisecond later or when it gets its turn, lets each client do its work in small pieces, within the task's
// quantum. As long as there was something to do it comes again by itself, four milliseconds later.
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

   // Those added first do their work first: what others refer to comes before them.
   void add(HardwareClient& client) { clients_.push_back(&client); }

   // Something is waiting. Cheap when asked again.
   void request() {
      if (requested_) return;
      requested_ = true;
      scheduleTaskLowestDelay(delayNanos);
   }
   // True when all that was configured has been handed over.
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
