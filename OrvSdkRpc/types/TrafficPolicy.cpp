#include "OrvSdkRpc/types/TrafficPolicy.h"

#include "OrvSdkRpc/types/Addresses.h"
#include "OrvSdkRpc/types/BoundaryCheck.h"
#include "OrvSdkRpc/types/Containers.h"
#include "OrvSdkRpc/types/Enumerations.h"

namespace OrvSdkRpc::types {

namespace remote = orv::remote;

namespace {

using Names = std::unordered_set<std::string>;

}  // namespace

orv::traffic_policy_t convert(const remote::TrafficPolicy& message) {
   orv::traffic_policy_t policy(message.key());
   policy.named_counters_is(setOf<Names>(message.named_counters()));
   policy.rules_is(mapOf<orv::traffic_policy_rule_t>(
        message.rules(), [](const remote::TrafficPolicyRule& rule) { return convert(rule); }));
   return policy;
}

remote::TrafficPolicy convert(const orv::traffic_policy_t& policy) {
   remote::TrafficPolicy message;
   message.set_key(policy.key());
   for (const std::string& name : policy.named_counters())
      message.add_named_counters(name);
   mapkv(policy.rules(), *message.mutable_rules());
   return message;
}

orv::traffic_policy_rule_t convert(const remote::TrafficPolicyRule& message) {
   orv::traffic_policy_rule_t rule(convert(message.traffic_policy_rule_type()), message.match_rule_name());
   rule.raw_rule_is(convert(message.raw_rule()));
   rule.actions_is(setOf<std::set<orv::traffic_policy_action_t>>(
        message.actions(), [](const remote::TrafficPolicyAction& action) { return convert(action); }));
   return rule;
}

remote::TrafficPolicyRule convert(const orv::traffic_policy_rule_t& rule) {
   remote::TrafficPolicyRule message;
   // Sub-messages are constructed in place, as in a policy map's rule.
   message.set_traffic_policy_rule_type(convert(rule.traffic_policy_rule_type()));
   message.set_match_rule_name(rule.match_rule_name());
   message.set_allocated_raw_rule(new auto(convert(rule.raw_rule())));
   for (const orv::traffic_policy_action_t& action : rule.actions())
      message.mutable_actions()->AddAllocated(new auto(convert(action)));
   return message;
}

orv::traffic_policy_action_t convert(const remote::TrafficPolicyAction& message) {
   orv::traffic_policy_action_t action;
   action.action_type_is(convert(message.action_type()));
   action.counter_name_is(message.counter_name());
   action.goto_class_name_is(message.goto_class_name());
   action.goto_next_is(message.goto_next());
   action.dscp_is(boundaryCheck<std::uint8_t>(message.dscp(), "dscp {} is out of range"));
   action.traffic_class_is(
        boundaryCheck<std::uint8_t>(message.traffic_class(), "traffic_class {} is out of range"));
   action.vrf_is(message.vrf());
   action.mirror_session_is(message.mirror_session());
   action.police_rate_is(message.police_rate());
   action.police_burst_size_is(message.police_burst_size());
   action.police_rate_unit_is(convert(message.police_rate_unit()));
   action.police_burst_unit_is(convert(message.police_burst_unit()));
   action.nexthop_groups_is(setOf<Names>(message.nexthop_groups()));
   action.nexthops_is(setOf<std::unordered_set<orv::ip_addr_t>>(message.nexthops(), ip_addr));
   return action;
}

remote::TrafficPolicyAction convert(const orv::traffic_policy_action_t& action) {
   remote::TrafficPolicyAction message;
   // Empty strings are not set: a new message has them anyway, setting one would allocate, and most actions
   // have several.
   message.set_action_type(convert(action.action_type()));
   if (!action.counter_name().empty()) message.set_counter_name(action.counter_name());
   if (!action.goto_class_name().empty()) message.set_goto_class_name(action.goto_class_name());
   message.set_goto_next(action.goto_next());
   message.set_dscp(action.dscp());
   message.set_traffic_class(action.traffic_class());
   if (!action.vrf().empty()) message.set_vrf(action.vrf());
   if (!action.mirror_session().empty()) message.set_mirror_session(action.mirror_session());
   message.set_police_rate(action.police_rate());
   message.set_police_burst_size(action.police_burst_size());
   message.set_police_rate_unit(convert(action.police_rate_unit()));
   message.set_police_burst_unit(convert(action.police_burst_unit()));
   for (const std::string& name : action.nexthop_groups())
      message.add_nexthop_groups(name);
   for (const orv::ip_addr_t& nexthop : action.nexthops())
      message.add_nexthops(ip_addr_bytes(nexthop));
   return message;
}

}  // namespace OrvSdkRpc::types
