// Follows the MPLS routes in hardware and acknowledges each that points at a nexthop group. No SDK manager
// reports when a route and its group are both in hardware.
//
// Holds the mounted table for the life of the service. A state machine follows it only between
// startWatching() and stopWatching().
//
// Thread-safety: guarded by the SDK's lock. The main loop acknowledges with the lock held.
#pragma once

#include <functional>

#include "OrvSdkRpcProtos/mpls_route.pb.h"
#include "orv/mount.h"
#include "orv/nexthop_group.h"
#include "platform/pavo/Ptr.h"
#include "platform/pavo/String.h"
#include "platform/state/MplsHardwareStatus.h"
#include "platform/state/NexthopGroupMap.h"

namespace OrvSdkRpc {

class MplsRouteHwProgrammingSm;

class MplsRouteHwProgrammingWatcher final : public orv::mount_handler {
public:
   using Callback = std::function<void(const orv::remote::MplsIntegratedAckResponse&)>;

   // `nexthopGroupMgr` is the source of the groups' names.
   // REQUIRES: the managers outlive the watcher; the group manager is an orv::NexthopGroupMgrImpl or null.
   MplsRouteHwProgrammingWatcher(orv::mount_mgr* mountMgr, orv::nexthop_group_mgr* nexthopGroupMgr,
                                 Callback callback);
   ~MplsRouteHwProgrammingWatcher() override;

   void doMounts(const Pavo::Ptr<Tessel::MountGroup>& state,
                 const Pavo::Ptr<ZeltSharedMem::MountGroup>& shared) override;
   void onMountsComplete(const Pavo::Ptr<Tessel::EntityManager>& state,
                         const Pavo::Ptr<ZeltSharedMem::EntityManager>& shared) override;

   // Acknowledges every route that hardware has, then each that changes. Before the mounts are complete,
   // watching waits for them. A repeated call is a no-op.
   // REQUIRES: the caller holds the SDK's lock.
   void startWatching();
   // Stops following the table. A repeated call is a no-op.
   // REQUIRES: the caller holds the SDK's lock.
   void stopWatching();

   // Called by the state machine when a route has a new state in hardware.
   // THROWS: std::bad_function_call if the callback is empty.
   void onMplsRouteHwProgrammingUpdate(const Mpls::RouteKeyAndMetric& key,
                                       Routing::Fib::RouteVersionId routeVersion, const Pavo::String& name,
                                       Routing::Fib::FecVersionId fecVersion,
                                       Routing::Hardware::FecHwProgrammingState hwState);

   // The state machine; null unless watching.
   [[nodiscard]] const Pavo::Ptr<MplsRouteHwProgrammingSm>& stateMachine() const { return stateMachine_; }

private:
   void MplsRouteHwProgrammingSmIs();

   orv::NexthopGroupMgrImpl* const nexthopGroupMgr_;
   const Callback callback_;
   Pavo::Ptr<MplsRouteHwProgrammingSm> stateMachine_;
   // Null if the platform has no such table.
   Pavo::Ptr<const Mpls::Hardware::Status> mplsHwStatus_;
   bool wanted_ = false;
};

}  // namespace OrvSdkRpc
