// Announces tunnel endpoints that resolve over next-hop groups, and takes them away.
//
// Thread-safety: pump thread only.
//
// No state: what is programmed is in the SDK, and a resync is the SDK's.
#pragma once

#include <string>

#include "OrvSdkRpcProtos/orvsdk.pb.h"

namespace orv {
class nexthop_group_tunnel_mgr;
}

namespace OrvSdkRpc {

class ClientInit;

class NhgTunnelProgrammer {
public:
   NhgTunnelProgrammer(const ClientInit& client, orv::nexthop_group_tunnel_mgr* mgr)
        : client_(client), mgr_(mgr) {}

   // A message without a group name deletes.
   void processNhgTunnelRequest(const pb::nexthop_group_tunnel_msg& request, pb::rpc_status_msg& response);
   void processNhgTunnelBulkRequest(const pb::nexthop_group_tunnel_bulk_msg& request,
                                    pb::rpc_status_bulk_msg& response);

   // Both return the status value and may fill the text; they let orv::error pass.
   int addTunRibRoute(const pb::nexthop_group_tunnel_msg& request, std::string& errorText);
   int delTunRibRoute(const pb::nexthop_group_tunnel_msg& request, std::string& errorText);

private:
   const ClientInit& client_;
   orv::nexthop_group_tunnel_mgr* const mgr_;
};

}  // namespace OrvSdkRpc
