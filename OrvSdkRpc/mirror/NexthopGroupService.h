// Serves the SDK's nexthop groups over gRPC.
//
// Thread-safety: constructed and destroyed on the SDK's main thread, which also runs the callbacks.
// Everything else runs on the pump thread.
#pragma once

#include <cstdint>
#include <string>

#include "OrvSdkRpc/handlers/GenericBacklog.h"
#include "OrvSdkRpc/handlers/SubscriptionController.h"
#include "OrvSdkRpc/mirror/MirrorService.h"
#include "OrvSdkRpcProtos/nexthop_group.grpc.pb.h"
#include "orv/nexthop_group.h"

namespace OrvSdkRpc {

class NexthopGroupService;
namespace NexthopGroupRpcs {
struct Watch;
}  // namespace NexthopGroupRpcs

// Publishes the messages in a backlog.
struct NexthopGroupBacklog {
   NexthopGroupService& service;

   void operator()(const std::string& name, orv::remote::WatchNexthopGroupResponse& response) const;
};

class NexthopGroupService final : public MirrorService<orv::remote::NexthopGroupMgrService>,
                                  public orv::nexthop_group_handler_v3 {
public:
   // REQUIRES: the manager outlives the service and is an orv::NexthopGroupMgrImpl.
   explicit NexthopGroupService(orv::nexthop_group_mgr* mgr);
   ~NexthopGroupService() override;

   void startHandlers() override;

   using Controller = SubscriptionController<NexthopGroupService, NexthopGroupRpcs::Watch>;
   [[nodiscard]] Controller& subscriptions() { return subscriptions_; }
   [[nodiscard]] orv::nexthop_group_mgr& manager() const { return *get_nexthop_group_mgr(); }
   // Callbacks arrive only between these two calls.
   // REQUIRES: the caller holds the SDK's lock.
   void startWatching();
   void stopWatching() { watch_all_nexthop_groups(false); }

   void on_nexthop_group_active(const std::string& name, bool active) override;
   void on_nexthop_group_programmed(const std::string& name, std::uint16_t version,
                                    const orv::nexthop_group_programmed_status_t& status) override;

private:
   using Backlog = GenericBacklog<std::string, orv::remote::WatchNexthopGroupResponse, NexthopGroupBacklog>;

   Controller subscriptions_{*this};
   // Two, so that activations and hardware states are sent in separate messages.
   Backlog activeBacklog_;
   Backlog programmedBacklog_;
};

}  // namespace OrvSdkRpc
