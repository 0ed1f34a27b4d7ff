// Adds and deletes IP routes that point to next-hop groups.
//
// Thread-safety: pump thread only.
//
// In the SDK a route is two objects, a route and a via; both are written or removed under one lock. The tag
// is the only state here: the SDK stores the routes and performs the resync.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "OrvSdkRpcProtos/orvsdk.pb.h"

namespace orv {
class ip_route_mgr;
class ip_route_key_t;
}  // namespace orv

namespace OrvSdkRpc {

class ClientInit;

class IpRouteProgrammer {
public:
   IpRouteProgrammer(const ClientInit& client, orv::ip_route_mgr* mgr) : client_(client), mgr_(mgr) {}

   // Sets the tag that every new route must carry. 0 allows any tag and leaves the SDK's own tag unchanged.
   void ipRouteTagIs(std::uint32_t tag);

   // A message without a group name deletes the route.
   void processIpRouteRequest(const pb::ip_route_msg& request, pb::rpc_status_msg& response);
   void processIpRouteBulkRequest(const pb::ip_route_bulk_msg& request, pb::rpc_status_bulk_msg& response);

   // Both may fill the error text.
   // RETURNS: the status value.
   // THROWS: orv::error.
   int addRibRoute(const pb::ip_route_msg& request, std::string& errorText);
   int delRibRoute(const pb::ip_route_msg& request, std::string& errorText);

private:
   struct Before;
   void takeBack(const orv::ip_route_key_t& key, const std::optional<Before>& before);

   const ClientInit& client_;
   orv::ip_route_mgr* const mgr_;
   std::uint32_t tag_ = 0;
};

}  // namespace OrvSdkRpc
