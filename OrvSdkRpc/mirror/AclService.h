// The SDK's access control lists, on the network.
//
// Thread-safety: constructed and destroyed on the SDK's main thread, where the callbacks come too; everything
// else runs on the pump thread.
#pragma once

#include <string>

#include "OrvSdkRpc/handlers/SubscriptionController.h"
#include "OrvSdkRpc/mirror/MirrorService.h"
#include "OrvSdkRpcProtos/acl.grpc.pb.h"
#include "orv/acl.h"

namespace OrvSdkRpc {

class AclService final : public MirrorService<orv::remote::AclMgrService>, public orv::acl_handler {
public:
   // The manager lives longer than the service.
   explicit AclService(orv::acl_mgr* mgr);
   ~AclService() override;

   void startHandlers() override;

   // The definition of its watch.
   struct Watch;
   [[nodiscard]] SubscriptionController<AclService, Watch>& subscriptions() { return subscriptions_; }
   [[nodiscard]] orv::acl_mgr& manager() const { return *get_acl_mgr(); }
   // With the SDK's lock: callbacks come only in between.
   void startWatching() { watch_all_acls(true); }
   void stopWatching() { watch_all_acls(false); }

   void on_acl_sync() override;
   void on_acl_sync_fail(const std::string& source, const std::string& message) override;

private:
   SubscriptionController<AclService, Watch> subscriptions_{*this};
};

}  // namespace OrvSdkRpc
