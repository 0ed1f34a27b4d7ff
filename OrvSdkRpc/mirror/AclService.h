// Serves the SDK's access control lists over gRPC.
//
// Thread-safety: constructed and destroyed on the SDK's main thread, which also runs the callbacks.
// Everything else runs on the pump thread.
#pragma once

#include <string>

#include "OrvSdkRpc/handlers/SubscriptionController.h"
#include "OrvSdkRpc/mirror/MirrorService.h"
#include "OrvSdkRpcProtos/acl.grpc.pb.h"
#include "orv/acl.h"

namespace OrvSdkRpc {

class AclService final : public MirrorService<orv::remote::AclMgrService>, public orv::acl_handler {
public:
   // REQUIRES: the manager outlives the service.
   explicit AclService(orv::acl_mgr* mgr);
   ~AclService() override;

   void startHandlers() override;

   // Definition of the watch RPC.
   struct Watch;
   [[nodiscard]] SubscriptionController<AclService, Watch>& subscriptions() { return subscriptions_; }
   [[nodiscard]] orv::acl_mgr& manager() const { return *get_acl_mgr(); }
   // Callbacks arrive only between these two calls.
   // REQUIRES: the caller holds the SDK's lock.
   void startWatching() { watch_all_acls(true); }
   void stopWatching() { watch_all_acls(false); }

   void on_acl_sync() override;
   void on_acl_sync_fail(const std::string& source, const std::string& message) override;

private:
   SubscriptionController<AclService, Watch> subscriptions_{*this};
};

}  // namespace OrvSdkRpc
