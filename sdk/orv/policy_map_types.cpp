#include "orv/policy_map_types.h"

#include <tuple>

#include "orv/order_sets.h"
#include "orv/record_text.h"

namespace orv {

std::string_view enum_text(policy_action_type_t v) noexcept {
   switch (v) {
      case policy_action_type_t::none:
         return "none";
      case policy_action_type_t::drop:
         return "drop";
      case policy_action_type_t::nexthop:
         return "nexthop";
      case policy_action_type_t::dscp:
         return "dscp";
      case policy_action_type_t::nexthop_group:
         return "nexthop-group";
      case policy_action_type_t::traffic_class:
         return "traffic-class";
      case policy_action_type_t::vrf:
         return "vrf";
   }
   return {};
}

std::string_view enum_text(policy_map_rule_type_t v) noexcept {
   switch (v) {
      case policy_map_rule_type_t::class_map:
         return "class-map";
      case policy_map_rule_type_t::raw:
         return "raw";
      case policy_map_rule_type_t::class_default:
         return "class-default";
   }
   return {};
}

std::string_view enum_text(policy_map_status_t v) noexcept {
   switch (v) {
      case policy_map_status_t::unknown:
         return "unknown";
      case policy_map_status_t::in_progress:
         return "in-progress";
      case policy_map_status_t::success:
         return "success";
      case policy_map_status_t::failure:
         return "failure";
   }
   return {};
}

std::strong_ordering policy_map_action_t::operator<=>(const policy_map_action_t& other) const {
   if (const auto order = std::tie(action_type_, nexthop_group_name_) <=>
                          std::tie(other.action_type_, other.nexthop_group_name_);
       order != 0) {
      return order;
   }
   if (const auto order = detail::order_sets(nexthops_, other.nexthops_); order != 0) return order;
   return std::tie(vrf_, dscp_, traffic_class_) <=> std::tie(other.vrf_, other.dscp_, other.traffic_class_);
}

std::size_t policy_map_action_t::hash() const {
   return detail::hash_of(action_type_, nexthop_group_name_, nexthops_, vrf_, dscp_, traffic_class_);
}

std::string policy_map_action_t::to_string() const {
   return detail::record_text("policy_map_action_t",
                              {{"action_type", detail::text_of(action_type_)},
                               {"nexthop_group_name", detail::text_of(nexthop_group_name_)},
                               {"nexthops", detail::text_of(nexthops_)},
                               {"vrf", detail::text_of(vrf_)},
                               {"dscp", detail::text_of(dscp_)},
                               {"traffic_class", detail::text_of(traffic_class_)}});
}

std::size_t policy_map_rule_t::hash() const {
   return detail::hash_of(class_map_key_, policy_map_rule_type_, raw_rule_, actions_);
}

std::string policy_map_rule_t::to_string() const {
   return detail::record_text("policy_map_rule_t",
                              {{"class_map_key", detail::text_of(class_map_key_)},
                               {"policy_map_rule_type", detail::text_of(policy_map_rule_type_)},
                               {"raw_rule", detail::text_of(raw_rule_)},
                               {"actions", detail::text_of(actions_)}});
}

std::size_t policy_map_t::hash() const {
   return detail::hash_of(key_, rules_);
}

std::string policy_map_t::to_string() const {
   return detail::record_text("policy_map_t",
                              {{"key", detail::text_of(key_)}, {"rules", detail::text_of(rules_)}});
}

std::size_t policy_map_hw_status_key_t::hash() const {
   return detail::hash_of(intf_id_, direction_);
}

std::string policy_map_hw_status_key_t::to_string() const {
   return detail::record_text("policy_map_hw_status_key_t", {{"intf_id", detail::text_of(intf_id_)},
                                                             {"direction", detail::text_of(direction_)}});
}

std::size_t policy_map_hw_statuses_t::hash() const {
   return detail::hash_of(key_, intf_statuses_);
}

std::string policy_map_hw_statuses_t::to_string() const {
   return detail::record_text(
        "policy_map_hw_statuses_t",
        {{"key", detail::text_of(key_)}, {"intf_statuses", detail::text_of(intf_statuses_)}});
}

}  // namespace orv
