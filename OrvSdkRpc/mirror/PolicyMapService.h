// Serves the SDK's policy maps and traffic policies over gRPC.
//
// Thread-safety: constructed and destroyed on the SDK's main thread, which also runs the callbacks.
// Everything else runs on the pump thread.
#pragma once

#include <string>

#include "OrvSdkRpc/handlers/GenericBacklog.h"
#include "OrvSdkRpc/handlers/SubscriptionController.h"
#include "OrvSdkRpc/mirror/MirrorService.h"
#include "OrvSdkRpcProtos/policy_map.grpc.pb.h"
#include "orv/policy_map.h"

namespace OrvSdkRpc {

class PolicyMapService;

// Publishes the messages in a backlog.
struct PolicyMapEventHandler {
   PolicyMapService& service;

   void operator()(const orv::policy_map_key_t& key, orv::remote::PolicyMapWatchResponse& response) const;
};

class PolicyMapService final : public MirrorService<orv::remote::PolicyMapMgrService>,
                               public orv::policy_map_handler {
public:
   // REQUIRES: the manager outlives the service.
   explicit PolicyMapService(orv::policy_map_mgr* mgr);
   ~PolicyMapService() override;

   void startHandlers() override;

   // Definition of the watch RPC.
   struct Watch;
   [[nodiscard]] SubscriptionController<PolicyMapService, Watch>& subscriptions() { return subscriptions_; }
   [[nodiscard]] orv::policy_map_mgr& manager() const { return *get_policy_map_mgr(); }
   // Callbacks arrive only between these two calls.
   // REQUIRES: the caller holds the SDK's lock.
   void startWatching();
   void stopWatching() { watch_all_policy_maps(false); }

   void on_policy_map_sync(const orv::policy_map_key_t& key) override;
   void on_policy_map_sync_fail(const orv::policy_map_key_t& key, const std::string& message) override;
   void on_policy_map_config_set(const orv::policy_map_key_t& key) override;
   void on_traffic_policy_config_set(const orv::policy_map_key_t& key) override;

private:
   using Backlog =
        GenericBacklog<orv::policy_map_key_t, orv::remote::PolicyMapWatchResponse, PolicyMapEventHandler>;

   // Puts an event into the backlog, in place of the key's pending one.
   void tell(Backlog& backlog, const char* what, const orv::policy_map_key_t& key,
             orv::remote::PolicyMapEvent event);

   Backlog syncBacklog_;
   Backlog configSetBacklog_;
   SubscriptionController<PolicyMapService, Watch> subscriptions_{*this};
};

}  // namespace OrvSdkRpc
