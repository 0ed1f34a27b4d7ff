// Serves the SDK's MPLS routes over gRPC, and acknowledges routes over nexthop groups.
//
// Thread-safety: constructed and destroyed on the SDK's main thread, which also runs the callbacks.
// Everything else runs on the pump thread.
#pragma once

#include <functional>

#include "OrvSdkRpc/handlers/GenericBacklog.h"
#include "OrvSdkRpc/handlers/SubscriptionController.h"
#include "OrvSdkRpc/hardware/MplsRouteHwProgrammingWatcher.h"
#include "OrvSdkRpc/mirror/MirrorService.h"
#include "OrvSdkRpcProtos/mpls_route.grpc.pb.h"
#include "orv/mpls_route.h"

namespace OrvSdkRpc {

class MplsRouteService;
namespace MplsRoute {
struct Watch;
struct WatchMplsIntegrated;
}  // namespace MplsRoute

// Publish the messages in a backlog.
struct MplsRouteBacklog {
   MplsRouteService& service;

   void operator()(const orv::mpls_route_key_t& key, orv::remote::MplsRouteWatchResponse& response) const;
};
struct MplsFecBacklog {
   MplsRouteService& service;

   void operator()(orv::mpls_fec_id_t fec, orv::remote::MplsRouteWatchResponse& response) const;
};

// The streams of acknowledgements, which follow hardware and not the SDK's callbacks.
template <class Svc>
class WatchIntegratedSubscriptionController final
     : public SubscriptionController<Svc, MplsRoute::WatchMplsIntegrated> {
public:
   using SubscriptionController<Svc, MplsRoute::WatchMplsIntegrated>::SubscriptionController;

private:
   void startWatching() override { this->service_.startWatchMplsIntegrated(); }
   void stopWatching() override { this->service_.stopWatchMplsIntegrated(); }
};

class MplsRouteService final : public MirrorService<orv::remote::MplsRouteMgrService>,
                               public orv::mpls_route_handler {
public:
   // REQUIRES: the managers outlive the service; they are an orv::MplsRouteMgrImpl and an
   // orv::NexthopGroupMgrImpl.
   MplsRouteService(orv::mpls_route_mgr* mgr, orv::mount_mgr* mountMgr,
                    orv::nexthop_group_mgr* nexthopGroupMgr);
   ~MplsRouteService() override;

   void startHandlers() override;

   using Controller = SubscriptionController<MplsRouteService, MplsRoute::Watch>;
   using IntegratedController = WatchIntegratedSubscriptionController<MplsRouteService>;
   [[nodiscard]] Controller& subscriptions() { return subscriptions_; }
   [[nodiscard]] IntegratedController& integratedSubscriptions() { return integratedSubscriptions_; }
   [[nodiscard]] orv::mpls_route_mgr& manager() const { return *get_mpls_route_mgr(); }
   [[nodiscard]] orv::MplsRouteMgrImpl& managerImpl() const { return *mgrImpl_; }
   // Callbacks arrive only between these two calls.
   // REQUIRES: the caller holds the SDK's lock.
   void startWatching();
   void stopWatching() { watch_all_mpls_routes(false); }
   // Acknowledgements arrive only between these two calls.
   // REQUIRES: the caller holds the SDK's lock.
   void startWatchMplsIntegrated() { watcher_.startWatching(); }
   void stopWatchMplsIntegrated() { watcher_.stopWatching(); }

   void on_mpls_route_set(const orv::mpls_route_key_t& key, orv::mpls_fec_id_t fec) override;
   void on_mpls_route_del(const orv::mpls_route_key_t& key) override;
   void on_mpls_fec_set(orv::mpls_fec_id_t fec) override;
   void on_mpls_fec_del(orv::mpls_fec_id_t fec) override;

private:
   using Response = orv::remote::MplsRouteWatchResponse;

   Controller subscriptions_{*this};
   // Two: routes and FECs have keys of their own.
   GenericBacklog<orv::mpls_route_key_t, Response, MplsRouteBacklog> routeBacklog_;
   GenericBacklog<orv::mpls_fec_id_t, Response, MplsFecBacklog> fecBacklog_;
   IntegratedController integratedSubscriptions_{*this};
   const std::function<void(const orv::remote::MplsIntegratedAckResponse&)> publishIntegrated_;
   MplsRouteHwProgrammingWatcher watcher_;
   orv::MplsRouteMgrImpl* const mgrImpl_;
};

}  // namespace OrvSdkRpc
