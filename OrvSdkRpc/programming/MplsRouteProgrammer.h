// Binds each incoming MPLS label to one forwarding: a next hop, a next-hop group, or a lookup in a VRF.
//
// Thread-safety: pump thread only.
//
// In the SDK the first two are a route with a via, and the third is an entry of another manager. The
// controller sees one label space: writing a label as one kind removes it as the other. There is no state
// here: the SDK stores the labels and performs the resync.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "OrvSdkRpcProtos/orvsdk.pb.h"

namespace orv {
class mpls_route_key_t;
class mpls_route_mgr;
class mpls_route_via_t;
class mpls_vrf_label_mgr;
}  // namespace orv

namespace OrvSdkRpc {

class ClientInit;

class MplsRouteProgrammer {
public:
   MplsRouteProgrammer(const ClientInit& client, orv::mpls_route_mgr* routeMgr,
                       orv::mpls_vrf_label_mgr* vrfLabelMgr)
        : client_(client), routeMgr_(routeMgr), vrfLabelMgr_(vrfLabelMgr) {}

   void processMPLSRouteRequest(const pb::mpls_route_msg& request, pb::rpc_status_msg& response);
   void processMPLSRouteBulkRequest(const pb::mpls_route_bulk_msg& request,
                                    pb::rpc_status_bulk_msg& response);

   // Each may fill the error text. The first three take the SDK's lock.
   // REQUIRES: for the deletes, the caller holds the SDK's lock.
   // RETURNS: the status value.
   // THROWS: orv::error.
   int processMplsRouteWithNexthop(const pb::mpls_route_msg& request, std::string& errorText);
   int processMplsRouteWithNexthopGroup(const pb::mpls_route_msg& request, std::string& errorText);
   int processMplsRoutePopAndForward(const pb::mpls_route_msg& request, std::string& errorText);
   int deleteMplsRoute(const pb::mpls_route_msg& request, std::string& errorText);
   int deleteMplsVrfLabel(const pb::mpls_route_msg& request, std::string& errorText);

private:
   int work(const pb::mpls_route_msg& request, std::string& errorText);
   void writeRoute(const orv::mpls_route_via_t& via);
   struct Before;
   void takeBack(const orv::mpls_route_key_t& key, const std::optional<Before>& before);

   const ClientInit& client_;
   orv::mpls_route_mgr* const routeMgr_;
   orv::mpls_vrf_label_mgr* const vrfLabelMgr_;
};

}  // namespace OrvSdkRpc
