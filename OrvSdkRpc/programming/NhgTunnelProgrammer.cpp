#include "OrvSdkRpc/programming/NhgTunnelProgrammer.h"

#include "OrvSdkRpc/programming/Convert.h"
#include "OrvSdkRpc/programming/Reply.h"
#include "orv/lock.h"
#include "orv/nexthop_group_tunnel.h"

namespace OrvSdkRpc {

void NhgTunnelProgrammer::processNhgTunnelRequest(const pb::nexthop_group_tunnel_msg& request,
                                                  pb::rpc_status_msg& response) {
   serveRequest(client_, request, response, [&](std::string& errorText) {
      return request.nexthop_group_name().empty() ? delTunRibRoute(request, errorText)
                                                  : addTunRibRoute(request, errorText);
   });
}

void NhgTunnelProgrammer::processNhgTunnelBulkRequest(const pb::nexthop_group_tunnel_bulk_msg& request,
                                                      pb::rpc_status_bulk_msg& response) {
   serveBulk(request, response,
             [this](const auto& item, auto& status) { processNhgTunnelRequest(item, status); });
}

int NhgTunnelProgrammer::addTunRibRoute(const pb::nexthop_group_tunnel_msg& request, std::string&) {
   const orv::ip_prefix_t prefix = ipPrefixToPrefix(request.prefix());
   orv::fmttrace(programmingTracer(), 1, "create {} tunnel", prefix);
   orv::nexthop_group_tunnel_t tunnel;
   tunnel.tunnel_endpoint_is(prefix);
   tunnel.nhg_name_is(request.nexthop_group_name());
   tunnel.igp_metric_is(request.igp_metric());
   orv::sdk_scoped_lock lock;
   mgr_->nexthop_group_tunnel_set(tunnel);
   return pb::RPC_STATUS_OK;
}

int NhgTunnelProgrammer::delTunRibRoute(const pb::nexthop_group_tunnel_msg& request, std::string&) {
   const orv::ip_prefix_t prefix = ipPrefixToPrefix(request.prefix());
   orv::fmttrace(programmingTracer(), 1, "delete {} tunnel", prefix);
   // The lookup is an SDK call, so it needs the lock like the write.
   orv::sdk_scoped_lock lock;
   if (!mgr_->exists(prefix)) return pb::RPC_STATUS_NOT_FOUND;
   mgr_->nexthop_group_tunnel_del(prefix);
   return pb::RPC_STATUS_OK;
}

}  // namespace OrvSdkRpc
