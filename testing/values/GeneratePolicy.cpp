#include "testing/values/GeneratePolicy.h"

#include <map>
#include <set>
#include <string>
#include <unordered_set>
#include <utility>

namespace orvtest {

namespace {

constexpr std::uint32_t most = 4;

template <typename Set>
Set setOf(ValueSource& source) {
   Set set;
   for (std::uint32_t i = source.below(most + 1); i > 0; --i)
      set.insert(generate<typename Set::value_type>(source));
   return set;
}

std::unordered_set<std::string> names(ValueSource& source) {
   std::unordered_set<std::string> set;
   for (std::uint32_t i = source.below(most + 1); i > 0; --i)
      set.insert(source.text());
   return set;
}

template <typename Rule>
std::map<std::uint32_t, Rule> byNumber(ValueSource& source) {
   std::map<std::uint32_t, Rule> map;
   for (std::uint32_t i = source.below(most + 1); i > 0; --i) {
      const auto number = source.number<std::uint32_t>();
      map.insert_or_assign(number, generate<Rule>(source));
   }
   return map;
}

}  // namespace

template <>
orv::class_map_rule_t generate(ValueSource& source) {
   return orv::class_map_rule_t(generate<orv::acl_key_t>(source));
}

template <>
orv::class_map_t generate(ValueSource& source) {
   orv::class_map_t map(generate<orv::policy_map_key_t>(source));
   map.rules_is(byNumber<orv::class_map_rule_t>(source));
   return map;
}

template <>
orv::policy_map_action_t generate(ValueSource& source) {
   orv::policy_map_action_t action(source.member<orv::policy_action_type_t>(6));
   action.nexthop_group_name_is(source.text());
   action.nexthops_is(setOf<std::unordered_set<orv::ip_addr_t>>(source));
   action.vrf_is(source.text());
   action.dscp_is(source.number<std::uint8_t>());
   action.traffic_class_is(source.number<std::uint8_t>());
   return action;
}

template <>
orv::policy_map_rule_t generate(ValueSource& source) {
   orv::policy_map_rule_t rule(generate<orv::policy_map_key_t>(source));
   rule.policy_map_rule_type_is(source.member<orv::policy_map_rule_type_t>(2));
   rule.raw_rule_is(generate<orv::acl_rule_ip_t>(source));
   rule.actions_is(setOf<std::set<orv::policy_map_action_t>>(source));
   return rule;
}

template <>
orv::policy_map_t generate(ValueSource& source) {
   orv::policy_map_t map(generate<orv::policy_map_key_t>(source));
   map.rules_is(byNumber<orv::policy_map_rule_t>(source));
   return map;
}

template <>
orv::policy_map_hw_status_key_t generate(ValueSource& source) {
   auto intf = generate<orv::intf_id_t>(source);
   return {std::move(intf), source.member<orv::acl_direction_t>(2)};
}

template <>
orv::policy_map_hw_statuses_t generate(ValueSource& source) {
   orv::policy_map_hw_statuses_t statuses(generate<orv::policy_map_key_t>(source));
   std::map<orv::policy_map_hw_status_key_t, orv::policy_map_status_t> map;
   for (std::uint32_t i = source.below(most + 1); i > 0; --i) {
      auto key = generate<orv::policy_map_hw_status_key_t>(source);
      map.insert_or_assign(std::move(key), source.member<orv::policy_map_status_t>(3));
   }
   statuses.intf_statuses_is(std::move(map));
   return statuses;
}

template <>
orv::port_field_t generate(ValueSource& source) {
   orv::port_field_t field;
   field.src_ports_is(setOf<std::set<orv::port_range_t>>(source));
   field.dst_ports_is(setOf<std::set<orv::port_range_t>>(source));
   field.src_port_field_sets_is(names(source));
   field.dst_port_field_sets_is(names(source));
   return field;
}

template <>
orv::protocol_field_t generate(ValueSource& source) {
   return orv::protocol_field_t(byNumber<orv::port_field_t>(source));
}

template <>
orv::tp_rule_filter_t generate(ValueSource& source) {
   orv::tp_rule_filter_t filter(source.member<orv::traffic_policy_rule_type_t>(2));
   filter.src_addrs_is(setOf<std::set<orv::ip_addr_mask_t>>(source));
   filter.src_addr_field_sets_is(names(source));
   filter.dst_addrs_is(setOf<std::set<orv::ip_addr_mask_t>>(source));
   filter.dst_addr_field_sets_is(names(source));
   std::map<orv::protocol_range_t, orv::protocol_field_t> protocols;
   for (std::uint32_t i = source.below(most + 1); i > 0; --i) {
      const auto range = generate<orv::protocol_range_t>(source);
      protocols.insert_or_assign(range, generate<orv::protocol_field_t>(source));
   }
   filter.protocols_is(std::move(protocols));
   return filter;
}

template <>
orv::traffic_policy_action_t generate(ValueSource& source) {
   orv::traffic_policy_action_t action(source.member<orv::traffic_policy_action_type_t>(13));
   action.counter_name_is(source.text());
   action.goto_class_name_is(source.text());
   action.goto_next_is(source.flag());
   action.dscp_is(source.number<std::uint8_t>());
   action.traffic_class_is(source.number<std::uint8_t>());
   action.vrf_is(source.text());
   action.mirror_session_is(source.text());
   action.police_rate_is(source.number<std::uint64_t>());
   action.police_burst_size_is(source.number<std::uint64_t>());
   action.police_rate_unit_is(source.member<orv::police_rate_unit_t>(3));
   action.police_burst_unit_is(source.member<orv::police_burst_unit_t>(2));
   action.nexthop_groups_is(names(source));
   action.nexthops_is(setOf<std::unordered_set<orv::ip_addr_t>>(source));
   return action;
}

template <>
orv::traffic_policy_rule_t generate(ValueSource& source) {
   const auto type = source.member<orv::traffic_policy_rule_type_t>(2);
   orv::traffic_policy_rule_t rule(type, source.text());
   rule.raw_rule_is(generate<orv::tp_rule_filter_t>(source));
   rule.actions_is(setOf<std::set<orv::traffic_policy_action_t>>(source));
   return rule;
}

template <>
orv::traffic_policy_t generate(ValueSource& source) {
   orv::traffic_policy_t policy(source.text());
   policy.named_counters_is(names(source));
   policy.rules_is(byNumber<orv::traffic_policy_rule_t>(source));
   return policy;
}

}  // namespace orvtest
