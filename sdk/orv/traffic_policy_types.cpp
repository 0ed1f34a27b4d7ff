#include "orv/traffic_policy_types.h"

#include <tuple>

#include "orv/order_sets.h"
#include "orv/record_text.h"

namespace orv {

std::string_view enum_text(traffic_policy_action_type_t v) noexcept {
   switch (v) {
      case traffic_policy_action_type_t::none:
         return "none";
      case traffic_policy_action_type_t::drop:
         return "drop";
      case traffic_policy_action_type_t::count:
         return "count";
      case traffic_policy_action_type_t::log:
         return "log";
      case traffic_policy_action_type_t::goto_class:
         return "goto-class";
      case traffic_policy_action_type_t::dscp:
         return "dscp";
      case traffic_policy_action_type_t::traffic_class:
         return "traffic-class";
      case traffic_policy_action_type_t::vrf:
         return "vrf";
      case traffic_policy_action_type_t::mirror:
         return "mirror";
      case traffic_policy_action_type_t::police:
         return "police";
      case traffic_policy_action_type_t::nexthop_group:
         return "nexthop-group";
      case traffic_policy_action_type_t::nexthop:
         return "nexthop";
      case traffic_policy_action_type_t::punt:
         return "punt";
      case traffic_policy_action_type_t::permit:
         return "permit";
   }
   return {};
}

std::string_view enum_text(traffic_policy_direction_t v) noexcept {
   switch (v) {
      case traffic_policy_direction_t::in:
         return "in";
      case traffic_policy_direction_t::out:
         return "out";
   }
   return {};
}

std::string_view enum_text(police_rate_unit_t v) noexcept {
   switch (v) {
      case police_rate_unit_t::bps:
         return "bps";
      case police_rate_unit_t::kbps:
         return "kbps";
      case police_rate_unit_t::mbps:
         return "mbps";
      case police_rate_unit_t::pps:
         return "pps";
   }
   return {};
}

std::string_view enum_text(police_burst_unit_t v) noexcept {
   switch (v) {
      case police_burst_unit_t::bytes:
         return "bytes";
      case police_burst_unit_t::kbytes:
         return "kbytes";
      case police_burst_unit_t::mbytes:
         return "mbytes";
   }
   return {};
}

std::size_t traffic_policy_action_t::hash() const {
   return detail::hash_of(action_type_, counter_name_, goto_class_name_, goto_next_, dscp_, traffic_class_,
                          vrf_, mirror_session_, police_rate_, police_burst_size_, police_rate_unit_,
                          police_burst_unit_, nexthop_groups_, nexthops_);
}

std::string traffic_policy_action_t::to_string() const {
   return detail::record_text("traffic_policy_action_t",
                              {{"action_type", detail::text_of(action_type_)},
                               {"counter_name", detail::text_of(counter_name_)},
                               {"goto_class_name", detail::text_of(goto_class_name_)},
                               {"goto_next", detail::text_of(goto_next_)},
                               {"dscp", detail::text_of(dscp_)},
                               {"traffic_class", detail::text_of(traffic_class_)},
                               {"vrf", detail::text_of(vrf_)},
                               {"mirror_session", detail::text_of(mirror_session_)},
                               {"police_rate", detail::text_of(police_rate_)},
                               {"police_burst_size", detail::text_of(police_burst_size_)},
                               {"police_rate_unit", detail::text_of(police_rate_unit_)},
                               {"police_burst_unit", detail::text_of(police_burst_unit_)},
                               {"nexthop_groups", detail::text_of(nexthop_groups_)},
                               {"nexthops", detail::text_of(nexthops_)}});
}

std::strong_ordering traffic_policy_action_t::operator<=>(const traffic_policy_action_t& other) const {
   const auto scalars = [](const traffic_policy_action_t& a) {
      return std::tie(a.action_type_, a.counter_name_, a.goto_class_name_, a.goto_next_, a.dscp_,
                      a.traffic_class_, a.vrf_, a.mirror_session_, a.police_rate_, a.police_burst_size_,
                      a.police_rate_unit_, a.police_burst_unit_);
   };
   if (const auto order = scalars(*this) <=> scalars(other); order != 0) return order;
   if (const auto order = detail::order_sets(nexthop_groups_, other.nexthop_groups_); order != 0)
      return order;
   return detail::order_sets(nexthops_, other.nexthops_);
}

std::size_t traffic_policy_rule_t::hash() const {
   return detail::hash_of(traffic_policy_rule_type_, match_rule_name_, raw_rule_, actions_);
}

std::string traffic_policy_rule_t::to_string() const {
   return detail::record_text("traffic_policy_rule_t",
                              {{"traffic_policy_rule_type", detail::text_of(traffic_policy_rule_type_)},
                               {"match_rule_name", detail::text_of(match_rule_name_)},
                               {"raw_rule", detail::text_of(raw_rule_)},
                               {"actions", detail::text_of(actions_)}});
}

std::size_t traffic_policy_t::hash() const {
   return detail::hash_of(key_, named_counters_, rules_);
}

std::string traffic_policy_t::to_string() const {
   return detail::record_text("traffic_policy_t", {{"key", detail::text_of(key_)},
                                                   {"named_counters", detail::text_of(named_counters_)},
                                                   {"rules", detail::text_of(rules_)}});
}

}  // namespace orv
