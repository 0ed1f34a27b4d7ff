#include "OrvSdkRpc/hardware/MplsRouteHwProgrammingSm.h"

#include <utility>

#include "OrvSdkRpc/hardware/MplsRouteHwProgrammingWatcher.h"
#include "OrvSdkRpc/server/Assert.h"
#include "orv/lock.h"
#include "orv/tracer.h"

namespace OrvSdkRpc {

namespace Fib = Rillo::Fib;

namespace {

template <typename... Args>
void traceStep(fmt::format_string<Args...> format, Args&&... args) {
   orv::fmttrace(mplsRouteHwProgrammingTracer(), 8, format, std::forward<Args>(args)...);
}

void traceEntry(const char* function) {
   orv::fmttrace(mplsRouteHwProgrammingTracer(), 7, "{}", function);
}

// Whether the route can be acknowledged.
bool isICBSupported(const Mpls::Hardware::Route& route) {
   if (route.ackInfo.value_or(Mpls::Hardware::AckInfo{}).routeVersion != 0 && !route.unprogrammed)
      return true;
   traceStep("MPLS route is not versioned or unprogrammed {}", route);
   return false;
}

}  // namespace

MplsRouteHwProgrammingSm::MplsRouteHwProgrammingSm(
     MplsRouteHwProgrammingWatcher* mplsRouteHwProgrammingWatcher,
     const Pavo::Ptr<const Mpls::Hardware::Status>& mplsHwStatus,
     const Pavo::Ptr<const NexthopGroup::NexthopGroupMap>& nexthopGroupMap)
     : mplsRouteHwProgrammingWatcher_(mplsRouteHwProgrammingWatcher),
       mplsHwStatus_(mplsHwStatus),
       nexthopGroupMap_(nexthopGroupMap) {
   if (mplsHwStatus_) {
      mplsHwStatusDispatch_ = mplsHwStatus_->changeReactorIs(
           [this](const Mpls::RouteKey& key, const std::optional<Mpls::Hardware::Route>& before) {
              handleMplsRoute(key, before);
           });
   }
   if (nexthopGroupMap_) {
      nexthopGroupMapDispatch_ = nexthopGroupMap_->reactorIs(
           [this](NexthopGroup::NexthopGroupId id) { handleNexthopGroupStatus(id); });
   }
}

void MplsRouteHwProgrammingSm::handleMplsRoute(const Mpls::RouteKey& key,
                                               const std::optional<Mpls::Hardware::Route>& before) {
   const orv::sdk_scoped_lock lock;
   const Pavo::Ptr<MplsRouteHwProgrammingSm> self(this);  // the last watch may end inside the callback
   traceEntry(__func__);
   const auto now = mplsHwStatus_->row(key);
   if (before && now && before->ackInfo == now->ackInfo && before->unprogrammed == now->unprogrammed) {
      traceStep("Skip publishing a duplicate event for integrated MPLS-NHG callback");
      return;
   }
   processRoute(key);
}

void MplsRouteHwProgrammingSm::processRoute(const Mpls::RouteKey& key) {
   traceEntry(__func__);
   const auto route = mplsHwStatus_->row(key);
   if (!route) {
      traceStep("MPLS route key: {} doesn't exist", key);
      return;
   }
   if (!isICBSupported(*route)) return;
   traceStep("Processing MPLS route key: {}", key);
   const auto& ack = *route->ackInfo;
   const auto fec = ack.fecId;
   assertThat(fec.adjType() < Fib::adjTypeMax(), "(value_ >> Fib::adjTypePos()) < Fib::adjTypeMax()");
   if (fec.adjType() != Fib::adjTypeNexthopGroup) {
      traceStep("MPLS route points to {} is not NHG adjacency", fec);
      return;
   }
   if (ack.fecVersion == 0) {
      traceStep("MPLS route points to a non-versioned NHG");
      return;
   }
   const Pavo::String name =
        nexthopGroupMap_ ? nexthopGroupMap_->name(NexthopGroup::fecIdToNexthopGroupId(fec)) : Pavo::String();
   if (name.empty()) {
      fecIdToMplsRouteKeySetIs(fec).mplsRouteKeySetIs(key);
      return;
   }
   traceStep("NHG: {} is present", name);
   mplsRouteHwProgrammingWatcher_->onMplsRouteHwProgrammingUpdate(route->key, ack.routeVersion, name,
                                                                  ack.fecVersion, ack.hwState);
}

void MplsRouteHwProgrammingSm::handleNexthopGroupStatus(NexthopGroup::NexthopGroupId id) {
   const orv::sdk_scoped_lock lock;
   const Pavo::Ptr<MplsRouteHwProgrammingSm> self(this);  // the last watch may end inside the callback
   traceEntry(__func__);
   const auto fec = NexthopGroup::nexthopGroupIdToFecId(id);
   traceStep("Processing NHG ID: {}", id);
   if (!nexthopGroupMap_->name(id).empty()) {
      // A route that leads to another group by now may join another set, but not this one, whose group has a
      // name.
      for (const auto& key : fecIdToMplsRouteKeySetIs(fec).mplsRouteKeySet())
         processRoute(key);
   }
   fecIdToMplsRouteKeySetDel(fec);
}

const FecIdToMplsRouteKeySet* MplsRouteHwProgrammingSm::fecIdToMplsRouteKeySet(
     const Rillo::Fib::FecId& fec) const {
   const auto it = fecIdToMplsRouteKeySet_.find(fec);
   return it == fecIdToMplsRouteKeySet_.end() ? nullptr : &it->second;
}

FecIdToMplsRouteKeySet& MplsRouteHwProgrammingSm::fecIdToMplsRouteKeySetIs(const Rillo::Fib::FecId& fec) {
   return fecIdToMplsRouteKeySet_.try_emplace(fec, fec).first->second;
}

}  // namespace OrvSdkRpc
