// Adds and deletes tunnel endpoints that resolve over next-hop groups.
//
// Thread-safety: pump thread only.
//
// There is no state here: the SDK stores the tunnels and performs the resync.
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

   // A message without a group name deletes the tunnel.
   void processNhgTunnelRequest(const pb::nexthop_group_tunnel_msg& request, pb::rpc_status_msg& response);
   void processNhgTunnelBulkRequest(const pb::nexthop_group_tunnel_bulk_msg& request,
                                    pb::rpc_status_bulk_msg& response);

   // Both may fill the error text.
   // RETURNS: the status value.
   // THROWS: orv::error.
   int addTunRibRoute(const pb::nexthop_group_tunnel_msg& request, std::string& errorText);
   int delTunRibRoute(const pb::nexthop_group_tunnel_msg& request, std::string& errorText);

private:
   const ClientInit& client_;
   orv::nexthop_group_tunnel_mgr* const mgr_;
};

}  // namespace OrvSdkRpc
