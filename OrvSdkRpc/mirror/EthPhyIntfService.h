// Serves the SDK's physical Ethernet interfaces over gRPC.
//
// Thread-safety: constructed and destroyed on the SDK's main thread, which also runs the callbacks.
// Everything else runs on the pump thread.
#pragma once

#include "OrvSdkRpc/handlers/GenericBacklog.h"
#include "OrvSdkRpc/handlers/SubscriptionController.h"
#include "OrvSdkRpc/mirror/MirrorService.h"
#include "OrvSdkRpcProtos/eth_phy_intf.grpc.pb.h"
#include "orv/eth_phy_intf.h"

namespace OrvSdkRpc {

class EthPhyIntfService;

// Publishes the messages in the backlog.
struct EthPhyIntfBacklog {
   EthPhyIntfService& service;

   void operator()(const orv::intf_id_t& intf, orv::remote::EthPhyIntfWatchResponse& response) const;
};

class EthPhyIntfService final : public MirrorService<orv::remote::EthPhyIntfMgrService>,
                                public orv::eth_phy_intf_handler {
public:
   // REQUIRES: the manager outlives the service.
   explicit EthPhyIntfService(orv::eth_phy_intf_mgr* mgr);
   ~EthPhyIntfService() override;

   void startHandlers() override;

   // Definition of the watch RPC.
   struct Watch;
   [[nodiscard]] SubscriptionController<EthPhyIntfService, Watch>& subscriptions() { return subscriptions_; }
   [[nodiscard]] orv::eth_phy_intf_mgr& manager() const { return *get_eth_phy_intf_mgr(); }
   // Callbacks arrive only between these two calls.
   // REQUIRES: the caller holds the SDK's lock.
   void startWatching();
   void stopWatching() { watch_all_eth_phy_intfs(false); }

   void on_eth_phy_intf_create(const orv::intf_id_t& intf) override;
   void on_eth_phy_intf_delete(const orv::intf_id_t& intf) override;
   void on_eth_phy_intf_hardware_present(const orv::intf_id_t& intf, bool present) override;
   void on_eth_phy_intf_link_speed(const orv::intf_id_t& intf, orv::eth_link_speed_t speed) override;
   void on_eth_phy_intf_transceiver_present(const orv::intf_id_t& intf, bool present) override;

private:
   // RETURNS: the interface's pending message, for one more event.
   orv::remote::EthPhyIntfWatchResponse& pending(const orv::intf_id_t& intf);

   SubscriptionController<EthPhyIntfService, Watch> subscriptions_{*this};
   GenericBacklog<orv::intf_id_t, orv::remote::EthPhyIntfWatchResponse, EthPhyIntfBacklog> backlog_;
};

}  // namespace OrvSdkRpc
