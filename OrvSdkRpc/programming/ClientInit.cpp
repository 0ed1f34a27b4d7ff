#include "OrvSdkRpc/programming/ClientInit.h"

#include <cstdint>
#include <limits>

#include "OrvSdkRpc/programming/BfdProgrammer.h"
#include "OrvSdkRpc/programming/CbfNhgRedirectProgrammer.h"
#include "OrvSdkRpc/programming/IpRouteProgrammer.h"
#include "OrvSdkRpc/programming/Reply.h"
#include "OrvSdkRpc/server/Assert.h"
#include "orv/ip_route.h"
#include "orv/lock.h"
#include "orv/mpls_route.h"
#include "orv/mpls_vrf_label.h"
#include "orv/nexthop_group.h"
#include "orv/nexthop_group_tunnel.h"

namespace OrvSdkRpc {
namespace {

// Takes the lock for one manager call only, so that the main loop can run between calls.
template <class Call>
auto locked(Call&& call) {
   orv::sdk_scoped_lock lock;
   return call();
}

void reportError(const orv::error& e, pb::rpc_status_msg& status) {
   orv::fmttrace(
        programmingTracer(), 0, "{}",
        setReplyStatusWithDebugString(status, pb::RPC_STATUS_ERROR, "Error: exception {}", e.what()));
}

}  // namespace

void ClientInit::processInitRequest(const pb::rpc_server_config_msg& request,
                                    pb::rpc_server_init_status_msg& response) {
   programmers_.ipRoute->ipRouteTagIs(request.ip_route_tag());
   const bool cbfRedirectsExist =
        programmers_.cbf->cbrPolicyMapNameIs(request.cbf_nexthop_group_redirect_policy_map_name());
   // Present even if the status is OK.
   pb::rpc_status_msg& status = *response.mutable_status();
   try {
      lookAtManagers(response);
   } catch (const orv::error& e) {
      reportError(e, status);
      return;
   }
   response.set_cbf_redirects_exist(cbfRedirectsExist);
   initialized_ = true;
   status.set_status(pb::RPC_STATUS_OK);
}

void ClientInit::lookAtManagers(pb::rpc_server_init_status_msg& response) const {
   response.set_ip_routes_exist(locked([&] { return static_cast<bool>(ipRouteMgr_->ip_route_iter()); }));
   // A switch may hold only VRF labels, and no MPLS routes.
   response.set_mpls_routes_exist(
        locked([&] { return static_cast<bool>(mplsRouteMgr_->mpls_route_iter()); }) ||
        locked([&] { return static_cast<bool>(mplsVrfLabelMgr_->mpls_vrf_label_iter()); }));
   response.set_nexthop_groups_exist(
        locked([&] { return static_cast<bool>(nexthopGroupMgr_->nexthop_group_iter()); }));
   response.set_nexthop_group_tunnels_exist(
        locked([&] { return static_cast<bool>(tunnelMgr_->nexthop_group_tunnel_iter()); }));
}

void ClientInit::processResync(const pb::rpc_server_resync_msg& request, pb::rpc_status_msg& response) {
   const int phase = request.resync_phase();
   // The sentinels that protobuf adds to every open enumeration, so that no number is outside it.
   using Limits = std::numeric_limits<std::int32_t>;
   assertThat(phase != Limits::min() && phase != Limits::max(), "resync_phase is no sentinel");
   try {
      if (phase == pb::rpc_server_resync_msg::RESYNC_START) {
         resyncStart();
      } else if (resyncInProgress_) {
         resyncEnd();
      } else {
         orv::fmttrace(programmingTracer(), 0, "{}",
                       setReplyStatusWithDebugString(response, pb::RPC_STATUS_ERROR,
                                                     "Error: resync state is already {}", resyncInProgress_));
         return;
      }
   } catch (const orv::error& e) {
      reportError(e, response);
      return;
   }
   response.set_status(pb::RPC_STATUS_OK);
}

void ClientInit::resyncStart() {
   resyncInProgress_ = true;
   orv::fmttrace(programmingTracer(), 0, "Resync start");
   locked([&] { ipRouteMgr_->resync_init(); });
   locked([&] { mplsRouteMgr_->resync_init(); });
   locked([&] { mplsVrfLabelMgr_->resync_init(); });
   locked([&] { nexthopGroupMgr_->resync_init(); });
   locked([&] { tunnelMgr_->resync_init(); });
   programmers_.cbf->resyncStart();
   programmers_.bfd->resyncStart();
}

// Not in the order of resyncStart: references to next-hop groups are removed first, the groups themselves
// last.
void ClientInit::resyncEnd() {
   resyncInProgress_ = false;
   orv::fmttrace(programmingTracer(), 0, "Resync end");
   locked([&] { ipRouteMgr_->resync_complete(); });
   locked([&] { mplsRouteMgr_->resync_complete(); });
   locked([&] { mplsVrfLabelMgr_->resync_complete(); });
   locked([&] { tunnelMgr_->resync_complete(); });
   programmers_.cbf->resyncEnd();
   programmers_.bfd->resyncEnd();
   locked([&] { nexthopGroupMgr_->resync_complete(); });
}

}  // namespace OrvSdkRpc
