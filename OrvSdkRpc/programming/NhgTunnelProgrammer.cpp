#include "OrvSdkRpc/programming/NhgTunnelProgrammer.h"

#include "OrvSdkRpc/programming/Reply.h"

namespace OrvSdkRpc {

void NhgTunnelProgrammer::processNhgTunnelRequest(const pb::nexthop_group_tunnel_msg& request,
                                                  pb::rpc_status_msg& response) {
   serveUnavailable(client_, request, response);
}

void NhgTunnelProgrammer::processNhgTunnelBulkRequest(const pb::nexthop_group_tunnel_bulk_msg& request,
                                                      pb::rpc_status_bulk_msg& response) {
   serveBulk(request, response,
             [this](const auto& item, auto& status) { processNhgTunnelRequest(item, status); });
}

}  // namespace OrvSdkRpc
