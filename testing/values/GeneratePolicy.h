// Generated class maps, policy maps and traffic policies.
//
// Thread-safe: pure functions of the source.
#pragma once

#include "orv/class_map_types.h"
#include "orv/policy_map_types.h"
#include "orv/traffic_policy_types.h"
#include "testing/values/Generate.h"

namespace orvtest {

// clang-format off
template <> orv::class_map_rule_t generate(ValueSource&);
template <> orv::class_map_t generate(ValueSource&);
template <> orv::policy_map_action_t generate(ValueSource&);
template <> orv::policy_map_rule_t generate(ValueSource&);
template <> orv::policy_map_t generate(ValueSource&);
template <> orv::policy_map_hw_status_key_t generate(ValueSource&);
template <> orv::policy_map_hw_statuses_t generate(ValueSource&);
template <> orv::port_field_t generate(ValueSource&);
template <> orv::protocol_field_t generate(ValueSource&);
template <> orv::tp_rule_filter_t generate(ValueSource&);
template <> orv::traffic_policy_action_t generate(ValueSource&);
template <> orv::traffic_policy_rule_t generate(ValueSource&);
template <> orv::traffic_policy_t generate(ValueSource&);
// clang-format on

}  // namespace orvtest
