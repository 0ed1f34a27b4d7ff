#include "OrvSdkRpc/mirror/PolicyMapCountersFrontend.h"

#include "OrvSdkRpc/hardware/PolicyMapCountersEncoder.h"
#include "OrvSdkRpc/mirror/PolicyMapCountersService.h"
#include "OrvSdkRpc/server/Assert.h"

namespace OrvSdkRpc {

PolicyMapCountersFrontend::PolicyMapCountersFrontend(PolicyMapCountersService* service,
                                                     const PolicyMapCountersEncoder* encoder,
                                                     std::uint32_t limit)
     : service_(service), encoder_(encoder), limit_(limit) {
   PolicyMapCountersFrontend::onInitialized();
}

void PolicyMapCountersFrontend::onInitialized() {
   assertThat(service_ != nullptr, "service_");
   assertThat(encoder_ != nullptr, "encoder_");
}

void PolicyMapCountersFrontend::appendItem(const PbrCounters& counters, PbrCountersEncodingFlags flags) {
   orv::remote::PolicyMapCounters entry;
   // Times stay monotonic here: each stream shifts them when it sends them.
   assertThat(encoder_->encodeEntry(entry, counters, flags),
              "encoder_->encodeEntry( entry, counters, flags )");
   service_->sendCounters(entry);
}

}  // namespace OrvSdkRpc
