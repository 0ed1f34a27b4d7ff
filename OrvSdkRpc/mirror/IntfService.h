// Serves the SDK's interfaces over gRPC.
//
// Thread-safety: constructed and destroyed on the SDK's main thread, which also runs the callbacks.
// Everything else runs on the pump thread.
#pragma once

#include <string>

#include "OrvSdkRpc/handlers/SubscriptionController.h"
#include "OrvSdkRpc/mirror/MirrorService.h"
#include "OrvSdkRpcProtos/intf.grpc.pb.h"
#include "orv/intf.h"

namespace OrvSdkRpc {

namespace IntfServiceHandlers {
struct Watch;
}  // namespace IntfServiceHandlers

class IntfService final : public MirrorService<orv::remote::IntfMgrService>, public orv::intf_handler {
public:
   // REQUIRES: the manager outlives the service.
   explicit IntfService(orv::intf_mgr* mgr);
   ~IntfService() override;

   void startHandlers() override;

   using Controller = SubscriptionController<IntfService, IntfServiceHandlers::Watch>;
   [[nodiscard]] Controller& subscriptions() { return subscriptions_; }
   [[nodiscard]] orv::intf_mgr& manager() const { return *get_intf_mgr(); }
   // Callbacks arrive only between these two calls.
   // REQUIRES: the caller holds the SDK's lock.
   void startWatching() { watch_all_intfs(true); }
   void stopWatching() { watch_all_intfs(false); }

   // Each callback publishes one message immediately.
   void on_intf_create(const orv::intf_id_t& intf) override;
   void on_intf_delete(const orv::intf_id_t& intf) override;
   void on_oper_status(const orv::intf_id_t& intf, orv::oper_status_t status) override;
   void on_admin_enabled(const orv::intf_id_t& intf, bool enabled) override;
   void on_intf_description(const orv::intf_id_t& intf, const std::string& description) override;

private:
   Controller subscriptions_{*this};
};

}  // namespace OrvSdkRpc
