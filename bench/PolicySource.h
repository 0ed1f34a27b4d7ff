// Counters of policies that change all the time: writes the rows of the platform's counter table, as hardware
// does.
//
// Thread-safety: as BulkSource.
#pragma once

#include <cstdint>
#include <vector>

#include "EventSource.h"
#include "OrvSdkRpc/mirror/PolicyMapCountersService.h"
#include "platform/state/PbrCounters.h"
#include "softswitch/soft_switch.h"

namespace bench {

class PolicySource final : public BulkSource {
public:
   // Applies a traffic policy with `rules` rules to an interface.
   // REQUIRES: switch and service outlive the source.
   PolicySource(const Pavo::Ptr<Gorm::TaskScheduler>& scheduler, softswitch::SoftSwitch& sdk,
                OrvSdkRpc::PolicyMapCountersService& service, std::size_t rules);

private:
   [[nodiscard]] bool watched() const override { return service_.subscriptions().watched(); }
   void publish(std::uint64_t n) override;

   OrvSdkRpc::PolicyMapCountersService& service_;
   const Pavo::Ptr<Pbr::CounterTable> table_;
   std::vector<PbrCountersKey> keys_;
};

}  // namespace bench
