// BGP paths, and what a query for them asks.
//
// Thread-safe: pure functions.
#pragma once

#include "OrvSdkRpcProtos/types.pb.h"
#include "orv/bgp_path_types.h"

namespace OrvSdkRpc::types {

// The stage is handed on as the number it is, also one that has no name.
orv::bgp_path_options_t convert(const orv::remote::BgpPathOptions& message);
orv::bgp_path_attr_fields_t convert(const orv::remote::BgpPathAttrFields& message);

orv::remote::BgpPath convert(const orv::bgp_path_t& path);
// A next hop of an unknown family throws orv::invalid_argument_error.
orv::remote::BgpPathAttrs convert(const orv::bgp_path_attr_t& attr);

}  // namespace OrvSdkRpc::types
