// IP routes and their vias.
//
// Thread-safety: pure functions.
#pragma once

#include "OrvSdkRpcProtos/types.pb.h"
#include "orv/ip_route_types.h"

namespace OrvSdkRpc::types {

orv::ip_route_t convert(const orv::remote::IpRoute& message);
orv::remote::IpRoute convert(const orv::ip_route_t& route);

// An interface, VXLAN interface or router MAC that is not set is absent on the wire.
orv::ip_route_via_t convert(const orv::remote::IpRouteVia& message);
orv::remote::IpRouteVia convert(const orv::ip_route_via_t& via);

}  // namespace OrvSdkRpc::types
