// Traffic policies.
//
// Equal elements of a set fold into one; names and nexthops lose their order, actions come back in the SDK's.
//
// Thread-safe: pure functions.
#pragma once

#include "OrvSdkRpcProtos/types.pb.h"
#include "orv/traffic_policy_types.h"

namespace OrvSdkRpc::types {

// Rules keep their sequence numbers.
orv::traffic_policy_t convert(const orv::remote::TrafficPolicy& message);
orv::remote::TrafficPolicy convert(const orv::traffic_policy_t& policy);

orv::traffic_policy_rule_t convert(const orv::remote::TrafficPolicyRule& message);
orv::remote::TrafficPolicyRule convert(const orv::traffic_policy_rule_t& rule);

// A DSCP or traffic class above 255 throws orv::invalid_argument_error; what lies below is the SDK's to
// judge. A police unit that was left out is the SDK's first and comes back as that.
orv::traffic_policy_action_t convert(const orv::remote::TrafficPolicyAction& message);
orv::remote::TrafficPolicyAction convert(const orv::traffic_policy_action_t& action);

}  // namespace OrvSdkRpc::types
