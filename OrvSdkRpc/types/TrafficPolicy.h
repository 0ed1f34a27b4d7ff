// Traffic policies.
//
// Equal elements of a set collapse into one. Names and nexthops lose their order; actions come back in the
// SDK's order.
//
// Thread-safety: pure functions.
#pragma once

#include "OrvSdkRpcProtos/types.pb.h"
#include "orv/traffic_policy_types.h"

namespace OrvSdkRpc::types {

// Rules keep their sequence numbers.
orv::traffic_policy_t convert(const orv::remote::TrafficPolicy& message);
orv::remote::TrafficPolicy convert(const orv::traffic_policy_t& policy);

orv::traffic_policy_rule_t convert(const orv::remote::TrafficPolicyRule& message);
orv::remote::TrafficPolicyRule convert(const orv::traffic_policy_rule_t& rule);

// An absent police unit becomes the SDK's first unit and is written back as that.
// THROWS: orv::invalid_argument_error for a DSCP or traffic class above 255. The SDK checks smaller values.
orv::traffic_policy_action_t convert(const orv::remote::TrafficPolicyAction& message);
orv::remote::TrafficPolicyAction convert(const orv::traffic_policy_action_t& action);

}  // namespace OrvSdkRpc::types
