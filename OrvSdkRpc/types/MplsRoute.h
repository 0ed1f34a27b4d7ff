// MPLS routes and their vias.
//
// Thread-safe: pure functions.
#pragma once

#include "OrvSdkRpcProtos/types.pb.h"
#include "orv/mpls_route_types.h"

namespace OrvSdkRpc::types {

// A version must be 1 to 65535, otherwise orv::invalid_argument_error; a route without one has to leave it
// out. The version is judged before the key. To the wire it is always set, 0 for none.
orv::mpls_route_t convert(const orv::remote::MplsRoute& message);
orv::remote::MplsRoute convert(const orv::mpls_route_t& route);

// Before all else, PUSH and SWAP must bring a pushswap label and POP and FORWARD none, where 1048576 counts
// as none; otherwise orv::invalid_argument_error. Nothing of that is asked on the way to the wire.
orv::mpls_route_via_t convert(const orv::remote::MplsRouteVia& message);
orv::remote::MplsRouteVia convert(const orv::mpls_route_via_t& via);

}  // namespace OrvSdkRpc::types
