#include "OrvSdkRpc/types/PolicyMap.h"

#include "OrvSdkRpc/types/Acl.h"
#include "OrvSdkRpc/types/Addresses.h"
#include "OrvSdkRpc/types/BoundaryCheck.h"
#include "OrvSdkRpc/types/Containers.h"
#include "OrvSdkRpc/types/Enumerations.h"
#include "OrvSdkRpc/types/Identifiers.h"

namespace OrvSdkRpc::types {

namespace remote = orv::remote;

orv::policy_map_t convert(const remote::PolicyMap& message) {
   orv::policy_map_t map(convert(message.key()));
   map.rules_is(mapOf<orv::policy_map_rule_t>(
        message.rules(), [](const remote::PolicyMapRule& rule) { return convert(rule); }));
   return map;
}

remote::PolicyMap convert(const orv::policy_map_t& map) {
   remote::PolicyMap message;
   *message.mutable_key() = convert(map.key());
   mapkv(map.rules(), *message.mutable_rules());
   return message;
}

orv::policy_map_rule_t convert(const remote::PolicyMapRule& message) {
   orv::policy_map_rule_t rule;
   rule.class_map_key_is(convert(message.class_map_key()));
   if (message.has_policy_map_rule_type()) {
      rule.policy_map_rule_type_is(convert(message.policy_map_rule_type()));
   }
   rule.raw_rule_is(convert(message.raw_rule()));
   rule.actions_is(setOf<std::set<orv::policy_map_action_t>>(
        message.actions(), [](const remote::PolicyMapAction& action) { return convert(action); }));
   return rule;
}

remote::PolicyMapRule convert(const orv::policy_map_rule_t& rule) {
   remote::PolicyMapRule message;
   // Sub-messages are constructed in place. An assignment would construct, swap and destroy one more of each,
   // and a map has many rules.
   message.set_allocated_class_map_key(new auto(convert(rule.class_map_key())));
   message.set_policy_map_rule_type(convert(rule.policy_map_rule_type()));
   message.set_allocated_raw_rule(new auto(convert(rule.raw_rule())));
   for (const orv::policy_map_action_t& action : rule.actions())
      message.mutable_actions()->AddAllocated(new auto(convert(action)));
   return message;
}

orv::policy_map_action_t convert(const remote::PolicyMapAction& message) {
   orv::policy_map_action_t action;
   action.action_type_is(convert(message.action_type()));
   action.nexthop_group_name_is(message.nexthop_group_name());
   action.nexthops_is(setOf<std::unordered_set<orv::ip_addr_t>>(message.nexthops(), ip_addr));
   action.vrf_is(message.vrf());
   action.dscp_is(boundaryCheck<std::uint8_t>(message.dscp(), "dscp {} is out of range"));
   action.traffic_class_is(
        boundaryCheck<std::uint8_t>(message.traffic_class(), "traffic_class {} is out of range"));
   return action;
}

remote::PolicyMapAction convert(const orv::policy_map_action_t& action) {
   remote::PolicyMapAction message;
   // Empty strings are not set: a new message has them anyway, setting one would allocate, and most actions
   // have several.
   message.set_action_type(convert(action.action_type()));
   if (!action.nexthop_group_name().empty()) message.set_nexthop_group_name(action.nexthop_group_name());
   for (const orv::ip_addr_t& nexthop : action.nexthops())
      message.add_nexthops(ip_addr_bytes(nexthop));
   if (!action.vrf().empty()) message.set_vrf(action.vrf());
   message.set_dscp(action.dscp());
   message.set_traffic_class(action.traffic_class());
   return message;
}

remote::PolicyMapHwStatuses convert(const orv::policy_map_hw_statuses_t& statuses) {
   remote::PolicyMapHwStatuses message;
   for (const auto& [key, status] : statuses.intf_statuses()) {
      remote::PolicyMapStatusValue& value = *message.add_intf_statuses();
      *value.mutable_key() = convert(key);
      value.set_status(convert(status));
   }
   return message;
}

remote::PolicyMapHwStatusKey convert(const orv::policy_map_hw_status_key_t& key) {
   remote::PolicyMapHwStatusKey message;
   *message.mutable_intf_id() = convert(key.intf_id());
   message.set_direction(convert(key.direction()));
   return message;
}

}  // namespace OrvSdkRpc::types
