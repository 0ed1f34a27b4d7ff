// MPLS routes, their vias, and their state in hardware.
//
// Thread-safety: pure functions.
#pragma once

#include "OrvSdkRpcProtos/types.pb.h"
#include "orv/mpls_route_types.h"

namespace OrvSdkRpc::types {

// Without a version, the field must be absent. To the wire it is always set; 0 means no version.
// THROWS: orv::invalid_argument_error for a version outside 1 to 65535, before the key is checked.
orv::mpls_route_t convert(const orv::remote::MplsRoute& message);
orv::remote::MplsRoute convert(const orv::mpls_route_t& route);

// Nothing is checked on the way to the wire.
// THROWS: from the wire, before any other check, orv::invalid_argument_error if PUSH or SWAP has no pushswap
// label, or POP or FORWARD has one. 1048576 counts as no label.
orv::mpls_route_via_t convert(const orv::remote::MplsRouteVia& message);
orv::remote::MplsRouteVia convert(const orv::mpls_route_via_t& via);

orv::remote::MplsRouteStatus convert(const orv::mpls_route_status_t& status);

}  // namespace OrvSdkRpc::types
