// Routes and forwarding equivalence classes of the FIB.
//
// Thread-safety: pure functions.
#pragma once

#include "OrvSdkRpcProtos/types.pb.h"
#include "orv/fib_types.h"

namespace OrvSdkRpc::types {

// A preference, if set, is truncated to its low 8 bits.
orv::fib_route_t convert(const orv::remote::FibRoute& message);
orv::remote::FibRoute convert(const orv::fib_route_t& route);

// Vias keep their order. The SDK drops duplicates.
orv::fib_fec_t convert(const orv::remote::FibFec& message);
orv::remote::FibFec convert(const orv::fib_fec_t& fec);

orv::fib_via_t convert(const orv::remote::FibFecVia& message);
orv::remote::FibFecVia convert(const orv::fib_via_t& via);

}  // namespace OrvSdkRpc::types
