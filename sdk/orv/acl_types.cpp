#include "orv/acl_types.h"

#include "orv/record_text.h"

namespace orv {

std::string_view enum_text(acl_type_t v) noexcept {
   switch (v) {
      case acl_type_t::none:
         return "none";
      case acl_type_t::ipv4:
         return "ipv4";
      case acl_type_t::ipv6:
         return "ipv6";
      case acl_type_t::eth:
         return "eth";
      case acl_type_t::mpls:
         return "mpls";
   }
   return {};
}

std::string_view enum_text(acl_action_t v) noexcept {
   switch (v) {
      case acl_action_t::none:
         return "none";
      case acl_action_t::permit:
         return "permit";
      case acl_action_t::deny:
         return "deny";
   }
   return {};
}

std::string_view enum_text(acl_direction_t v) noexcept {
   switch (v) {
      case acl_direction_t::none:
         return "none";
      case acl_direction_t::in:
         return "in";
      case acl_direction_t::out:
         return "out";
   }
   return {};
}

std::string_view enum_text(acl_ip_type_t v) noexcept {
   switch (v) {
      case acl_ip_type_t::any:
         return "any";
      case acl_ip_type_t::ipv4:
         return "ipv4";
      case acl_ip_type_t::ipv6:
         return "ipv6";
   }
   return {};
}

std::string_view enum_text(acl_range_operator_t v) noexcept {
   switch (v) {
      case acl_range_operator_t::any:
         return "any";
      case acl_range_operator_t::eq:
         return "eq";
      case acl_range_operator_t::gt:
         return "gt";
      case acl_range_operator_t::lt:
         return "lt";
      case acl_range_operator_t::neq:
         return "neq";
      case acl_range_operator_t::range:
         return "range";
      case acl_range_operator_t::null_operator:
         return "null";
   }
   return {};
}

std::size_t acl_key_t::hash() const {
   return detail::hash_of(acl_name_, acl_type_);
}

std::string acl_key_t::to_string() const {
   return fmt::format("{} ({})", acl_name_, acl_type_);
}

std::size_t acl_ttl_spec_t::hash() const {
   return detail::hash_of(oper_, ttl_);
}

std::string acl_ttl_spec_t::to_string() const {
   return detail::record_text("acl_ttl_spec_t",
                              {{"oper", detail::text_of(oper_)}, {"ttl", detail::text_of(ttl_)}});
}

std::size_t acl_port_spec_t::hash() const {
   return detail::hash_of(oper_, ports_);
}

std::string acl_port_spec_t::to_string() const {
   return detail::record_text("acl_port_spec_t",
                              {{"oper", detail::text_of(oper_)}, {"ports", detail::text_of(ports_)}});
}

std::size_t acl_rule_base_t::hash() const {
   return detail::hash_of(action_, log_);
}

std::string acl_rule_base_t::to_string() const {
   return detail::record_text("acl_rule_base_t",
                              {{"action", detail::text_of(action_)}, {"log", detail::text_of(log_)}});
}

std::size_t acl_rule_eth_t::hash() const {
   return detail::hash_of(acl_rule_base_t::hash(), vlan_, vlan_mask_, inner_vlan_, inner_vlan_mask_,
                          source_addr_, destination_addr_, source_mask_, destination_mask_, eth_protocol_);
}

std::string acl_rule_eth_t::to_string() const {
   return detail::record_text("acl_rule_eth_t", {{"action", detail::text_of(action())},
                                                 {"log", detail::text_of(log())},
                                                 {"vlan", detail::text_of(vlan_)},
                                                 {"vlan_mask", detail::text_of(vlan_mask_)},
                                                 {"inner_vlan", detail::text_of(inner_vlan_)},
                                                 {"inner_vlan_mask", detail::text_of(inner_vlan_mask_)},
                                                 {"source_addr", detail::text_of(source_addr_)},
                                                 {"destination_addr", detail::text_of(destination_addr_)},
                                                 {"source_mask", detail::text_of(source_mask_)},
                                                 {"destination_mask", detail::text_of(destination_mask_)},
                                                 {"eth_protocol", detail::text_of(eth_protocol_)}});
}

std::size_t acl_rule_ip_t::hash() const {
   return detail::hash_of(acl_rule_base_t::hash(), vlan_, vlan_mask_, inner_vlan_, inner_vlan_mask_,
                          ip_protocol_, ttl_, source_addr_, destination_addr_, source_port_,
                          destination_port_, nexthop_group_, tcp_flags_, ip_type_, established_, icmp_type_,
                          icmp_code_, priority_value_, priority_mask_, match_fragments_, match_ip_priority_);
}

std::string acl_rule_ip_t::to_string() const {
   return detail::record_text("acl_rule_ip_t", {{"action", detail::text_of(action())},
                                                {"log", detail::text_of(log())},
                                                {"vlan", detail::text_of(vlan_)},
                                                {"vlan_mask", detail::text_of(vlan_mask_)},
                                                {"inner_vlan", detail::text_of(inner_vlan_)},
                                                {"inner_vlan_mask", detail::text_of(inner_vlan_mask_)},
                                                {"ip_protocol", detail::text_of(ip_protocol_)},
                                                {"ttl", detail::text_of(ttl_)},
                                                {"source_addr", detail::text_of(source_addr_)},
                                                {"destination_addr", detail::text_of(destination_addr_)},
                                                {"source_port", detail::text_of(source_port_)},
                                                {"destination_port", detail::text_of(destination_port_)},
                                                {"nexthop_group", detail::text_of(nexthop_group_)},
                                                {"tcp_flags", detail::text_of(tcp_flags_)},
                                                {"ip_type", detail::text_of(ip_type_)},
                                                {"established", detail::text_of(established_)},
                                                {"icmp_type", detail::text_of(icmp_type_)},
                                                {"icmp_code", detail::text_of(icmp_code_)},
                                                {"priority_value", detail::text_of(priority_value_)},
                                                {"priority_mask", detail::text_of(priority_mask_)},
                                                {"match_fragments", detail::text_of(match_fragments_)},
                                                {"match_ip_priority", detail::text_of(match_ip_priority_)}});
}

}  // namespace orv
