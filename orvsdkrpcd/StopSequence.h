// The orderly shutdown of this process, after a signal or a failed start.
//
// Thread-safety: any thread. The switch, the health service and the status must outlive the sequence.
#pragma once

#include <atomic>
#include <mutex>
#include <string_view>

#include "orvsdkrpcd/Daemon.h"
#include "orvsdkrpcd/HealthService.h"
#include "orvsdkrpcd/SystemdNotify.h"
#include "softswitch/soft_switch.h"

namespace orvsdkrpcd {

class StopSequence {
public:
   StopSequence(const Log& log, ServiceStatus& status, HealthService& health, softswitch::SoftSwitch& sdk)
        : log_(log), status_(status), health_(health), switch_(sdk) {}

   // Begins the shutdown: logs `why`, notifies the service manager and health clients, and ends the switch's
   // main loop. A no-op if the shutdown has already begun.
   // RETURNS: false if it had already begun.
   bool begin(std::string_view why);
   // The same, but a request during the shutdown makes the switch stop waiting for acknowledgements.
   void beginOrHurry(std::string_view why);

   bool begun() const { return begun_.load(); }

private:
   const Log& log_;
   ServiceStatus& status_;
   HealthService& health_;
   softswitch::SoftSwitch& switch_;
   // Held for all steps, so that a second request finds the first one completed.
   std::mutex mutex_;
   std::atomic<bool> begun_{false};
};

}  // namespace orvsdkrpcd
