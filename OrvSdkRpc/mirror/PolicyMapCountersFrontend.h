// Passes the changes of policies' counters on to the streams of a service.
//
// Thread-safety: called on the main loop, or with the SDK's lock held.
#pragma once

#include <cstdint>

#include "platform/state/PbrCounters.h"

namespace OrvSdkRpc {

class PolicyMapCountersEncoder;
class PolicyMapCountersService;

class PolicyMapCountersFrontend final : public PbrCountersFrontend {
public:
   // `limit` bounds the responses of a snapshot, in bytes.
   // REQUIRES: service and encoder are not null and outlive the frontend.
   PolicyMapCountersFrontend(PolicyMapCountersService* service, const PolicyMapCountersEncoder* encoder,
                             std::uint32_t limit);

   [[nodiscard]] PolicyMapCountersService* service() const { return service_; }
   [[nodiscard]] const PolicyMapCountersEncoder* encoder() const { return encoder_; }
   [[nodiscard]] std::uint32_t limit() const { return limit_; }

   void appendItem(const PbrCounters& counters, PbrCountersEncodingFlags flags) override;
   // Streams gather their own batches.
   void push() override {}

protected:
   void onInitialized() override;

private:
   PolicyMapCountersService* const service_;
   const PolicyMapCountersEncoder* const encoder_;
   const std::uint32_t limit_;
};

}  // namespace OrvSdkRpc
