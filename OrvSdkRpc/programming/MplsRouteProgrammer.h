// The RPCs of MPLS routes.
//
// Thread-safety: pump thread only.
//
// This build programs no MPLS routes: every request is answered with RPC_STATUS_ERROR and words that say so.
#pragma once

#include "OrvSdkRpcProtos/orvsdk.pb.h"

namespace OrvSdkRpc {

class ClientInit;

class MplsRouteProgrammer {
public:
   explicit MplsRouteProgrammer(const ClientInit& client) : client_(client) {}

   void processMPLSRouteRequest(const pb::mpls_route_msg& request, pb::rpc_status_msg& response);
   void processMPLSRouteBulkRequest(const pb::mpls_route_bulk_msg& request,
                                    pb::rpc_status_bulk_msg& response);

private:
   const ClientInit& client_;
};

}  // namespace OrvSdkRpc
