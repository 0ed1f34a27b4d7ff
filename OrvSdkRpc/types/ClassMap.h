// Class maps.
//
// Thread-safety: pure functions.
#pragma once

#include "OrvSdkRpcProtos/types.pb.h"
#include "orv/class_map_types.h"

namespace OrvSdkRpc::types {

// Rules keep their sequence numbers.
orv::class_map_t convert(const orv::remote::ClassMap& message);
orv::remote::ClassMap convert(const orv::class_map_t& map);

orv::class_map_rule_t convert(const orv::remote::ClassMapRule& message);
orv::remote::ClassMapRule convert(const orv::class_map_rule_t& rule);

}  // namespace OrvSdkRpc::types
