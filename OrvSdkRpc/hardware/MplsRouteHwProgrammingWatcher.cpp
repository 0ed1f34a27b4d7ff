#include "OrvSdkRpc/hardware/MplsRouteHwProgrammingWatcher.h"

#include <string>
#include <string_view>
#include <utility>

#include "OrvSdkRpc/handlers/TellOrTrace.h"
#include "OrvSdkRpc/hardware/MplsRouteHwProgrammingSm.h"
#include "OrvSdkRpc/types/Enumerations.h"
#include "OrvSdkRpc/types/Identifiers.h"
#include "orv/lock.h"
#include "platform/tessel/MountGroup.h"
#include "platform/tessel/SharedMem.h"
#include "platform/zelt/RangeException.h"

namespace OrvSdkRpc {

using orv::remote::MplsIntegratedAckResponse;

MplsRouteHwProgrammingWatcher::MplsRouteHwProgrammingWatcher(orv::mount_mgr* mountMgr,
                                                             orv::nexthop_group_mgr* nexthopGroupMgr,
                                                             Callback callback)
     : orv::mount_handler(mountMgr),
       nexthopGroupMgr_(static_cast<orv::NexthopGroupMgrImpl*>(nexthopGroupMgr)),
       callback_(std::move(callback)) {}

MplsRouteHwProgrammingWatcher::~MplsRouteHwProgrammingWatcher() = default;

void MplsRouteHwProgrammingWatcher::doMounts(const Pavo::Ptr<Tessel::MountGroup>& state,
                                             const Pavo::Ptr<ZeltSharedMem::MountGroup>&) {
   state->mount<Mpls::Hardware::Status>(std::string(Mpls::Hardware::statusPath), Tessel::MountMode::read);
}

void MplsRouteHwProgrammingWatcher::onMountsComplete(const Pavo::Ptr<Tessel::EntityManager>& state,
                                                     const Pavo::Ptr<ZeltSharedMem::EntityManager>&) {
   mplsHwStatus_ = state->entity<Mpls::Hardware::Status>(Mpls::Hardware::statusPath);
   if (wanted_) MplsRouteHwProgrammingSmIs();
}

void MplsRouteHwProgrammingWatcher::startWatching() {
   orv::sdk_lock_check();
   wanted_ = true;
   if (initialized()) MplsRouteHwProgrammingSmIs();
}

void MplsRouteHwProgrammingWatcher::MplsRouteHwProgrammingSmIs() {
   if (stateMachine_) return;
   const auto map = nexthopGroupMgr_ == nullptr ? nullptr : nexthopGroupMgr_->nexthop_group_map();
   stateMachine_ = Pavo::makePtr<MplsRouteHwProgrammingSm>(this, mplsHwStatus_, map);
}

void MplsRouteHwProgrammingWatcher::stopWatching() {
   orv::sdk_lock_check();
   wanted_ = false;
   stateMachine_ = nullptr;
}

void MplsRouteHwProgrammingWatcher::onMplsRouteHwProgrammingUpdate(
     const Mpls::RouteKeyAndMetric& key, Routing::Fib::RouteVersionId routeVersion, const Pavo::String& name,
     Routing::Fib::FecVersionId fecVersion, Routing::Hardware::FecHwProgrammingState hwState) {
   constexpr std::string_view what = "mpls_route_via_set_version_info";
   const auto& tracer = mplsRouteHwProgrammingTracer();
   try {
      tellOrTrace(tracer, what, [&] {
         MplsIntegratedAckResponse response;
         auto& info = *response.mutable_mpls_route_via_set_version_info();
         *info.mutable_route_key() = types::convert(key);
         info.mutable_nexthop_group_version_info()->set_name(name);
         info.mutable_nexthop_group_version_info()->set_version_id(fecVersion);
         info.set_version_id(routeVersion);
         info.set_hw_state(types::convert(hwState));
         callback_(response);
      });
   } catch (const Zelt::RangeException& e) {
      // A stack that the table should not hold. The main loop must not end for it.
      orv::fmttrace(tracer, 0, "{} is not told: {}", what, e.what());
   }
}

}  // namespace OrvSdkRpc
