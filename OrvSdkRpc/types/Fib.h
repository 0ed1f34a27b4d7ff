// Routes and forwarding equivalence classes of the FIB.
//
// Thread-safe: pure functions.
#pragma once

#include "OrvSdkRpcProtos/types.pb.h"
#include "orv/fib_types.h"

namespace OrvSdkRpc::types {

// A preference that is set is cut to its low 8 bits.
orv::fib_route_t convert(const orv::remote::FibRoute& message);
orv::remote::FibRoute convert(const orv::fib_route_t& route);

// Vias keep their order; the SDK drops one that is there already.
orv::fib_fec_t convert(const orv::remote::FibFec& message);
orv::remote::FibFec convert(const orv::fib_fec_t& fec);

orv::fib_via_t convert(const orv::remote::FibFecVia& message);
orv::remote::FibFecVia convert(const orv::fib_via_t& via);

}  // namespace OrvSdkRpc::types
