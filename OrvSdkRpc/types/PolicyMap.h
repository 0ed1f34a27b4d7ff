// Policy maps and the status of applying them.
//
// Thread-safety: pure functions.
#pragma once

#include "OrvSdkRpcProtos/types.pb.h"
#include "orv/policy_map_types.h"

namespace OrvSdkRpc::types {

// Rules keep their sequence numbers.
orv::policy_map_t convert(const orv::remote::PolicyMap& message);
orv::remote::PolicyMap convert(const orv::policy_map_t& map);

// An absent rule type is the SDK's default. Equal actions collapse into one.
orv::policy_map_rule_t convert(const orv::remote::PolicyMapRule& message);
orv::remote::PolicyMapRule convert(const orv::policy_map_rule_t& rule);

// Equal nexthops collapse into one, and their order is lost.
// THROWS: orv::invalid_argument_error for a DSCP or traffic class above 255. The SDK checks smaller values.
orv::policy_map_action_t convert(const orv::remote::PolicyMapAction& message);
orv::remote::PolicyMapAction convert(const orv::policy_map_action_t& action);

orv::remote::PolicyMapHwStatuses convert(const orv::policy_map_hw_statuses_t& statuses);
orv::remote::PolicyMapHwStatusKey convert(const orv::policy_map_hw_status_key_t& key);

}  // namespace OrvSdkRpc::types
