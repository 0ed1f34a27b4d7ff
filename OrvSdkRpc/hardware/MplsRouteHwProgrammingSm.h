// Joins the routes in hardware with the names of the nexthop groups that they point at.
//
// Reports a route when its row changes and the name of its group is known; otherwise the route waits until
// the name arrives. A group that leaves hardware takes the routes that wait for it along.
//
// Thread-safety: guarded by the SDK's lock. Changes are handled on the main loop.
#pragma once

#include <cstddef>
#include <map>
#include <optional>

#include "OrvSdkRpc/hardware/FecIdToMplsRouteKeySet.h"
#include "orv/tracer.h"
#include "platform/pavo/Ptr.h"
#include "platform/state/MplsHardwareStatus.h"
#include "platform/state/NexthopGroupMap.h"

namespace OrvSdkRpc {

class MplsRouteHwProgrammingWatcher;

inline const orv::tracer& mplsRouteHwProgrammingTracer() {
   static const orv::tracer tracer("MplsRouteHwProgrammingSm");
   return tracer;
}

class MplsRouteHwProgrammingSm final : public Pavo::RefCounted {
public:
   // Handles every existing row and group, then each that changes. Without a table nothing is handled;
   // without a map no route gets a name.
   // REQUIRES: the watcher outlives the state machine.
   MplsRouteHwProgrammingSm(MplsRouteHwProgrammingWatcher* mplsRouteHwProgrammingWatcher,
                            const Pavo::Ptr<const Mpls::Hardware::Status>& mplsHwStatus,
                            const Pavo::Ptr<const NexthopGroup::NexthopGroupMap>& nexthopGroupMap);

   // A row has changed. `before` is the row as last handled; nothing if there was none.
   void handleMplsRoute(const Mpls::RouteKey& key, const std::optional<Mpls::Hardware::Route>& before);
   // A group has entered or left hardware, or its number is another group's now.
   void handleNexthopGroupStatus(NexthopGroup::NexthopGroupId id);

   // RETURNS: the routes that wait for this FEC's group; null if none do.
   [[nodiscard]] const FecIdToMplsRouteKeySet* fecIdToMplsRouteKeySet(const Rillo::Fib::FecId& fec) const;
   // The same; creates the set.
   FecIdToMplsRouteKeySet& fecIdToMplsRouteKeySetIs(const Rillo::Fib::FecId& fec);
   void fecIdToMplsRouteKeySetDel(const Rillo::Fib::FecId& fec) { fecIdToMplsRouteKeySet_.erase(fec); }
   // The number of FECs that routes wait for.
   [[nodiscard]] std::size_t fecs() const { return fecIdToMplsRouteKeySet_.size(); }

private:
   ~MplsRouteHwProgrammingSm() override = default;

   void processRoute(const Mpls::RouteKey& key);

   MplsRouteHwProgrammingWatcher* const mplsRouteHwProgrammingWatcher_;
   const Pavo::Ptr<const Mpls::Hardware::Status> mplsHwStatus_;
   const Pavo::Ptr<const NexthopGroup::NexthopGroupMap> nexthopGroupMap_;
   std::map<Rillo::Fib::FecId, FecIdToMplsRouteKeySet> fecIdToMplsRouteKeySet_;
   Mpls::Hardware::Status::Reaction mplsHwStatusDispatch_;
   NexthopGroup::NexthopGroupMap::Reaction nexthopGroupMapDispatch_;
};

}  // namespace OrvSdkRpc
