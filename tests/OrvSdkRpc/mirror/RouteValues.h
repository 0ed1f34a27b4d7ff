// Routes and vias for the tests of the route service.
//
// Thread-safety: pure functions.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

#include "OrvSdkRpc/types/Identifiers.h"
#include "OrvSdkRpc/types/IpRoute.h"
#include "OrvSdkRpcProtos/ip_route.pb.h"
#include "orv/ip_route_types.h"

namespace OrvSdkRpc {

inline orv::ip_route_key_t routeKey(std::string_view prefix) {
   return orv::ip_route_key_t(orv::ip_prefix_t(prefix));
}
inline orv::ip_route_t routeTo(std::string_view prefix, std::uint32_t tag = 0) {
   orv::ip_route_t route(routeKey(prefix));
   route.tag_is(tag);
   return route;
}
inline orv::ip_route_via_t bareVia(std::string_view prefix) {
   return orv::ip_route_via_t(routeKey(prefix));
}
inline orv::ip_route_via_t hopVia(std::string_view prefix, std::string_view hop, std::uint32_t weight = 0) {
   orv::ip_route_via_t via = bareVia(prefix);
   via.hop_is(orv::ip_addr_t(hop));
   via.weight_is(weight);
   return via;
}
inline orv::ip_route_via_t groupVia(std::string_view prefix, const std::string& name) {
   orv::ip_route_via_t via = bareVia(prefix);
   via.nexthop_group_is(name);
   return via;
}

inline orv::remote::IpRouteSetRequest routeSet(const orv::ip_route_t& route,
                                               std::initializer_list<orv::ip_route_via_t> vias,
                                               std::uint32_t viasAction = 0) {
   orv::remote::IpRouteSetRequest request;
   *request.mutable_ip_route() = types::convert(route);
   for (const orv::ip_route_via_t& via : vias)
      *request.add_vias() = types::convert(via);
   request.set_vias_action(viasAction);
   return request;
}

}  // namespace OrvSdkRpc
