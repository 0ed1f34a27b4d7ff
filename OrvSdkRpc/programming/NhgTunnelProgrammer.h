// The RPCs of next-hop group tunnels.
//
// Thread-safety: pump thread only.
//
// This build programs no tunnels: every request is answered with RPC_STATUS_ERROR and words that say so.
#pragma once

#include "OrvSdkRpcProtos/orvsdk.pb.h"

namespace OrvSdkRpc {

class ClientInit;

class NhgTunnelProgrammer {
public:
   explicit NhgTunnelProgrammer(const ClientInit& client) : client_(client) {}

   void processNhgTunnelRequest(const pb::nexthop_group_tunnel_msg& request, pb::rpc_status_msg& response);
   void processNhgTunnelBulkRequest(const pb::nexthop_group_tunnel_bulk_msg& request,
                                    pb::rpc_status_bulk_msg& response);

private:
   const ClientInit& client_;
};

}  // namespace OrvSdkRpc
