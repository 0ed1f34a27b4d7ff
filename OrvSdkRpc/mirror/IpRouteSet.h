// Sets an IP route together with its vias.
//
// Thread-safety: the caller holds the SDK's lock.
#pragma once

#include "OrvSdkRpcProtos/ip_route.pb.h"
#include "orv/ip_route.h"
#include "orv/tracer.h"

namespace OrvSdkRpc {

// Sets the route and adds its vias, or replaces the vias of an unchanged route: see IpRouteSetRequest.
//
// If a via is refused, passes on that error after a roll-back: replaced vias are restored, and in every other
// case the route is deleted. An error of the roll-back itself is only traced.
void ipRouteSetImpl(const orv::remote::IpRouteSetRequest& request, orv::ip_route_mgr& manager,
                    const orv::tracer& tracer);

}  // namespace OrvSdkRpc
