// Points prefixes at next-hop groups and takes them away.
//
// Thread-safety: pump thread only.
//
// In the SDK a route is two objects, a route and a via; both are written or removed under one lock. No state
// but the tag: what is programmed is in the SDK, and a resync is the SDK's.
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

   // The tag that every route must carry from now on; 0 for any, and then the SDK's own tag stays as it was.
   void ipRouteTagIs(std::uint32_t tag);

   // A message without a group name deletes.
   void processIpRouteRequest(const pb::ip_route_msg& request, pb::rpc_status_msg& response);
   void processIpRouteBulkRequest(const pb::ip_route_bulk_msg& request, pb::rpc_status_bulk_msg& response);

   // Both return the status value and may fill the text; they let orv::error pass.
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
