// Serves the counters of policies over gRPC, as one stream of all rules.
//
// Thread-safety: constructed and destroyed on the SDK's main thread, which also delivers the counters.
// Everything else runs on the pump thread.
#pragma once

#include <cstdint>

#include "OrvSdkRpc/handlers/SubscriptionController.h"
#include "OrvSdkRpc/hardware/PbrPolicyCountersMgr.h"
#include "OrvSdkRpc/hardware/PolicyMapCountersEncoder.h"
#include "OrvSdkRpc/mirror/MirrorService.h"
#include "OrvSdkRpc/mirror/PolicyMapCountersFrontend.h"
#include "OrvSdkRpcProtos/policy_map_counters.grpc.pb.h"
#include "orv/mount.h"
#include "orv/policy_map.h"

namespace OrvSdkRpc {

class PolicyMapCountersService;
namespace handlers {
struct WatchPolicyMapCounters;
}  // namespace handlers

class PolicyMapCountersService final : public MirrorService<orv::remote::PolicyMapCountersService> {
public:
   // No response of the stream is larger, in bytes, unless a single entry is.
   static constexpr std::uint32_t responseBytesMax = 65535;

   // REQUIRES: the managers outlive the service; the manager of the policy maps is an orv::PolicyMapMgrImpl
   // or null.
   PolicyMapCountersService(orv::policy_map_mgr* policyMapMgr, orv::mount_mgr* mountMgr);
   ~PolicyMapCountersService() override;

   void startHandlers() override;

   using Controller = SubscriptionController<PolicyMapCountersService, handlers::WatchPolicyMapCounters>;
   [[nodiscard]] Controller& subscriptions() { return subscriptions_; }
   [[nodiscard]] const PolicyMapCountersEncoder& encoder() const { return encoder_; }
   [[nodiscard]] const PolicyMapCountersFrontend& frontend() const { return *frontend_; }
   // Counters arrive only between these two calls.
   // REQUIRES: the caller holds the SDK's lock.
   void startWatching() { countersMgr_.startWatching(frontend_); }
   void stopWatching() { countersMgr_.stopWatching(); }

   // Sends the entry to every stream. Its time is on the monotonic clock.
   void sendCounters(const orv::remote::PolicyMapCounters& entry) const;

private:
   Controller subscriptions_{*this};
   PbrPolicyCountersMgr countersMgr_;
   const PolicyMapCountersEncoder encoder_;
   const Pavo::Ptr<PolicyMapCountersFrontend> frontend_;
};

}  // namespace OrvSdkRpc
