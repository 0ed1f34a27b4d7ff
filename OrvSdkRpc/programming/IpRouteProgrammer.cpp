#include "OrvSdkRpc/programming/IpRouteProgrammer.h"

#include <vector>

#include "OrvSdkRpc/programming/Convert.h"
#include "OrvSdkRpc/programming/Reply.h"
#include "orv/ip_route.h"
#include "orv/lock.h"

namespace OrvSdkRpc {

// The route as it was before the write.
struct IpRouteProgrammer::Before {
   orv::ip_route_t route;
   orv::ip_route_action_t action;
};

void IpRouteProgrammer::ipRouteTagIs(std::uint32_t tag) {
   tag_ = tag;
   if (tag == 0) return;
   orv::sdk_scoped_lock lock;
   mgr_->tag_is(tag);
}

void IpRouteProgrammer::processIpRouteRequest(const pb::ip_route_msg& request, pb::rpc_status_msg& response) {
   serveRequest(client_, request, response, [&](std::string& errorText) {
      // An unset oneof reads as an empty name: both delete.
      return request.nexthop_group_name().empty() ? delRibRoute(request, errorText)
                                                  : addRibRoute(request, errorText);
   });
}

void IpRouteProgrammer::processIpRouteBulkRequest(const pb::ip_route_bulk_msg& request,
                                                  pb::rpc_status_bulk_msg& response) {
   serveBulk(request, response,
             [this](const auto& item, auto& status) { processIpRouteRequest(item, status); });
}

int IpRouteProgrammer::addRibRoute(const pb::ip_route_msg& request, std::string& errorText) {
   const orv::ip_prefix_t prefix = ipPrefixToPrefix(request.prefix());
   if (tag_ != 0 && tag_ != request.tag()) {
      errorText = fmt::format("Error: Create {} route with tag {} != rpc_server_init::ip_route_tag {}",
                              prefix, request.tag(), tag_);
      orv::fmttrace(programmingTracer(), 0, "{}", errorText);
      return pb::RPC_STATUS_ERROR;
   }
   orv::fmttrace(programmingTracer(), 1, "create {} route", prefix);
   const orv::ip_route_key_t key(prefix);
   orv::ip_route_t route(key);
   route.tag_is(request.tag());
   orv::ip_route_via_t via(key);
   if (request.forwarding_case() == pb::ip_route_msg::FORWARDING_NOT_SET) {
      errorText = fmt::format("Error: ip route {} must specify Forwarding nexthop", prefix);
      orv::fmttrace(programmingTracer(), 0, "{}", errorText);
      return pb::RPC_STATUS_ERROR;
   }
   via.nexthop_group_is(request.nexthop_group_name());
   orv::sdk_scoped_lock lock;
   std::optional<Before> before;
   if (mgr_->exists(key)) before = Before{mgr_->ip_route(key), mgr_->action(key)};
   mgr_->ip_route_set(route, orv::ip_route_action_t::nexthop_group);
   try {
      mgr_->ip_route_via_set(via);
   } catch (const orv::error&) {
      takeBack(key, before);
      throw;
   }
   return pb::RPC_STATUS_OK;
}

// Restores a route whose new via was rejected. Its old vias still exist, but are set again so that a resync
// keeps the route with them. Errors here are only traced: the controller gets the error of the rejected via.
void IpRouteProgrammer::takeBack(const orv::ip_route_key_t& key, const std::optional<Before>& before) {
   try {
      if (!before) {
         mgr_->ip_route_del(key);
         return;
      }
      mgr_->ip_route_set(before->route, before->action);
      std::vector<orv::ip_route_via_t> vias;
      for (auto it = mgr_->ip_route_via_iter(key); it; ++it)
         vias.push_back(*it);
      for (const orv::ip_route_via_t& via : vias)
         mgr_->ip_route_via_set(via);
   } catch (const orv::error& e) {
      orv::fmttrace(programmingTracer(), 0, "Error: ip route {} cannot be restored, exception {}",
                    key.prefix(), e.what());
   }
}

int IpRouteProgrammer::delRibRoute(const pb::ip_route_msg& request, std::string&) {
   const orv::ip_prefix_t prefix = ipPrefixToPrefix(request.prefix());
   orv::fmttrace(programmingTracer(), 1, "delete {} route", prefix);
   const orv::ip_route_key_t key(prefix);
   // The lookup is an SDK call, so it needs the lock like the writes.
   orv::sdk_scoped_lock lock;
   if (!mgr_->exists(key)) return pb::RPC_STATUS_NOT_FOUND;
   mgr_->ip_route_via_del(orv::ip_route_via_t(key));
   mgr_->ip_route_del(key);
   return pb::RPC_STATUS_OK;
}

}  // namespace OrvSdkRpc
