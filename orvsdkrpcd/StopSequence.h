// The one way in which this process ends in order, whoever asks for it: a signal, or a start that failed.
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

   // Begins the end: the service manager and health clients are told, the switch's main loop ends. `why` goes
   // to the log. Without effect, and false, when the end has begun.
   bool begin(std::string_view why);
   // The same, but a request that comes while the process ends makes the switch stop waiting for
   // acknowledgements.
   void beginOrHurry(std::string_view why);

   bool begun() const { return begun_.load(); }

private:
   const Log& log_;
   ServiceStatus& status_;
   HealthService& health_;
   softswitch::SoftSwitch& switch_;
   // Held for all steps, so that a second request finds the first one carried out.
   std::mutex mutex_;
   std::atomic<bool> begun_{false};
};

}  // namespace orvsdkrpcd
