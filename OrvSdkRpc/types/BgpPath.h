// BGP paths and the options of a query for them.
//
// Thread-safety: pure functions.
#pragma once

#include "OrvSdkRpcProtos/types.pb.h"
#include "orv/bgp_path_types.h"

namespace OrvSdkRpc::types {

// The stage is passed on as a number, even if the enumeration has no name for it.
orv::bgp_path_options_t convert(const orv::remote::BgpPathOptions& message);
orv::bgp_path_attr_fields_t convert(const orv::remote::BgpPathAttrFields& message);

orv::remote::BgpPath convert(const orv::bgp_path_t& path);
// THROWS: orv::invalid_argument_error for a next hop of an unknown address family.
orv::remote::BgpPathAttrs convert(const orv::bgp_path_attr_t& attr);

}  // namespace OrvSdkRpc::types
