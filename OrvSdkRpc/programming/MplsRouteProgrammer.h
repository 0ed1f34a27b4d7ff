// Binds incoming MPLS labels to one forwarding each: a next hop, a next-hop group, or a look-up in a VRF.
//
// Thread-safety: pump thread only.
//
// In the SDK the first two are a route with a via and the third an entry of another manager. The controller
// sees one label space: whoever writes a label as the one kind removes it as the other. No state: what is
// programmed is in the SDK, and a resync is the SDK's.
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

   // Each returns the status value and may fill the text; they let orv::error pass. The first three take the
   // SDK's lock, the deletes expect it.
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
