#include "testing/values/Generate.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace orvtest {

namespace {

template <typename T>
orv::slot_map<T> slots(ValueSource& source, std::uint32_t most) {
   orv::slot_map<T> map;
   for (std::uint32_t i = source.below(most + 1); i > 0; --i) {
      const auto slot = source.number<std::uint16_t>();
      map.set(slot, generate<T>(source));
   }
   return map;
}

template <typename Rule>
void setBaseAndVlans(ValueSource& source, Rule& rule) {
   rule.action_is(source.member<orv::acl_action_t>(2));
   rule.log_is(source.flag());
   rule.vlan_is(source.number<std::uint16_t>());
   rule.vlan_mask_is(source.number<std::uint16_t>());
   rule.inner_vlan_is(source.number<std::uint16_t>());
   rule.inner_vlan_mask_is(source.number<std::uint16_t>());
}

}  // namespace

template <>
orv::ip_addr_t generate(ValueSource& source) {
   const auto bytes = source.bytes<16>();
   switch (source.below(source.wild() ? 5 : 4)) {
      case 0:
         return {};
      case 1:
      case 2:
         return {orv::af_ipv4, bytes.data()};
      case 3:
         return {orv::af_ipv6, bytes.data()};
      default:
         return {source.number<std::uint8_t>(), bytes.data()};
   }
}

template <>
orv::eth_addr_t generate(ValueSource& source) {
   if (source.below(4) == 0) return {};
   return orv::eth_addr_t(source.bytes<6>().data());
}

template <>
orv::ip_prefix_t generate(ValueSource& source) {
   const std::uint8_t family = source.flag() ? orv::af_ipv6 : orv::af_ipv4;
   auto bytes = source.bytes<16>();
   const std::uint32_t width = family == orv::af_ipv4 ? 32 : 128;
   const std::uint32_t length = source.below(width + 1);
   for (std::uint32_t bit = length; bit < 128; ++bit)
      bytes[bit / 8] = static_cast<std::uint8_t>(bytes[bit / 8] & ~(0x80U >> (bit % 8)));
   if (source.below(8) == 0) return {};
   return {orv::ip_addr_t(family, bytes.data()), length};
}

template <>
orv::ip_addr_mask_t generate(ValueSource& source) {
   const auto address = generate<orv::ip_addr_t>(source);
   return {address, source.number<std::uint8_t>()};
}

template <>
orv::intf_id_t generate(ValueSource& source) {
   switch (source.below(4)) {
      case 0:
         return {};
      case 1:
         return orv::intf_id_t("Ethernet" + std::to_string(source.below(64) + 1));
      default:
         return orv::intf_id_t(source.text());
   }
}

template <>
orv::mpls_label_t generate(ValueSource& source) {
   return source.below(4) == 0
               ? orv::mpls_label_t()
               : orv::mpls_label_t(source.number<std::uint32_t>() % (orv::mpls_label_t::max + 1));
}

template <>
orv::mpls_fec_id_t generate(ValueSource& source) {
   return orv::mpls_fec_id_t(source.number<std::uint64_t>());
}

template <>
orv::port_range_t generate(ValueSource& source) {
   const auto start = source.number<std::uint32_t>();
   return {start, source.number<std::uint32_t>()};
}

template <>
orv::protocol_range_t generate(ValueSource& source) {
   const auto start = source.number<std::uint32_t>();
   return {start, source.number<std::uint32_t>()};
}

template <>
orv::acl_key_t generate(ValueSource& source) {
   auto name = source.text();
   return {std::move(name), source.member<orv::acl_type_t>(4)};
}

template <>
orv::policy_map_key_t generate(ValueSource& source) {
   auto name = source.text();
   return {std::move(name), source.member<orv::policy_feature_t>(4)};
}

template <>
orv::bgp_peer_key_t generate(ValueSource& source) {
   orv::bgp_peer_key_t key;
   key.vrf_name_is(source.text());
   key.peer_addr_is(generate<orv::ip_addr_t>(source));
   return key;
}

template <>
orv::bgp_path_key_t generate(ValueSource& source) {
   orv::bgp_path_key_t key;
   key.peer_addr_is(generate<orv::ip_addr_t>(source));
   key.prefix_is(generate<orv::ip_prefix_t>(source));
   key.vrf_name_is(source.text());
   return key;
}

template <>
orv::fib_fec_key_t generate(ValueSource& source) {
   return orv::fib_fec_key_t(source.number<std::uint64_t>());
}

template <>
orv::fib_route_key_t generate(ValueSource& source) {
   return orv::fib_route_key_t(generate<orv::ip_prefix_t>(source));
}

template <>
orv::ip_route_key_t generate(ValueSource& source) {
   const auto prefix = generate<orv::ip_prefix_t>(source);
   return {prefix, source.number<std::uint8_t>()};
}

template <>
orv::mpls_route_key_t generate(ValueSource& source) {
   std::vector<orv::mpls_label_t> labels(source.below(orv::mpls_route_key_t::labels_max + 1));
   for (auto& label : labels)
      label = generate<orv::mpls_label_t>(source);
   return {labels, source.number<std::uint8_t>()};
}

template <>
orv::mpls_vrf_label_t generate(ValueSource& source) {
   const auto label = generate<orv::mpls_label_t>(source);
   return {label, source.text()};
}

template <>
orv::acl_rule_eth_t generate(ValueSource& source) {
   orv::acl_rule_eth_t rule;
   setBaseAndVlans(source, rule);
   rule.source_addr_is(generate<orv::eth_addr_t>(source));
   rule.destination_addr_is(generate<orv::eth_addr_t>(source));
   rule.source_mask_is(generate<orv::eth_addr_t>(source));
   rule.destination_mask_is(generate<orv::eth_addr_t>(source));
   rule.eth_protocol_is(source.number<std::uint32_t>());
   return rule;
}

template <>
orv::acl_rule_ip_t generate(ValueSource& source) {
   orv::acl_rule_ip_t rule;
   setBaseAndVlans(source, rule);
   rule.ip_protocol_is(source.number<std::uint8_t>());
   rule.ttl_is(generate<orv::acl_ttl_spec_t>(source));
   rule.source_addr_is(generate<orv::ip_addr_mask_t>(source));
   rule.destination_addr_is(generate<orv::ip_addr_mask_t>(source));
   rule.source_port_is(generate<orv::acl_port_spec_t>(source));
   rule.destination_port_is(generate<orv::acl_port_spec_t>(source));
   rule.nexthop_group_is(source.text());
   rule.tcp_flags_is(source.number<std::uint16_t>());
   rule.ip_type_is(source.member<orv::acl_ip_type_t>(2));
   rule.established_is(source.flag());
   rule.icmp_type_is(source.number<std::uint16_t>());
   rule.icmp_code_is(source.number<std::uint16_t>());
   rule.priority_value_is(source.number<std::uint8_t>());
   rule.priority_mask_is(source.number<std::uint8_t>());
   rule.match_fragments_is(source.flag());
   rule.match_ip_priority_is(source.flag());
   return rule;
}

template <>
orv::acl_ttl_spec_t generate(ValueSource& source) {
   const auto oper = source.member<orv::acl_range_operator_t>(6);
   return {oper, source.number<std::uint8_t>()};
}

template <>
orv::acl_port_spec_t generate(ValueSource& source) {
   const auto oper = source.member<orv::acl_range_operator_t>(6);
   std::vector<std::uint16_t> ports(source.below(11));
   for (std::uint16_t& port : ports)
      port = source.number<std::uint16_t>();
   return {oper, std::move(ports)};
}

template <>
orv::nexthop_group_mpls_action_t generate(ValueSource& source) {
   const auto action = source.member<orv::mpls_action_t>(4);
   orv::mpls_label_stack_t labels;
   for (std::uint32_t i = source.below(7); i > 0; --i)
      labels.push_back(generate<orv::mpls_label_t>(source));
   return {action, std::move(labels)};
}

template <>
orv::nexthop_group_entry_t generate(ValueSource& source) {
   orv::nexthop_group_entry_t entry(generate<orv::ip_addr_t>(source));
   entry.mpls_action_is(generate<orv::nexthop_group_mpls_action_t>(source));
   entry.intf_is(generate<orv::intf_id_t>(source));
   entry.child_nexthop_group_is(source.text());
   return entry;
}

template <>
orv::nexthop_group_t generate(ValueSource& source) {
   auto name = source.text();
   const auto encap = source.member<orv::nexthop_group_encap_t>(5);
   orv::nexthop_group_t group(std::move(name), encap, source.member<orv::nexthop_group_gre_key_t>(1));
   group.ttl_is(source.number<std::uint16_t>());
   group.source_ip_is(generate<orv::ip_addr_t>(source));
   group.source_intf_is(generate<orv::intf_id_t>(source));
   group.autosize_is(source.flag());
   group.nexthops_is(slots<orv::nexthop_group_entry_t>(source, 16));
   group.backup_nexthops_is(slots<orv::nexthop_group_entry_t>(source, 4));
   group.destination_ips_is(slots<orv::ip_addr_t>(source, 8));
   group.counters_unshared_is(source.flag());
   group.counters_persistent_is(source.flag());
   group.hierarchical_fecs_enabled_is(source.flag());
   group.version_id_is(source.number<std::uint16_t>());
   return group;
}

template <>
orv::ip_route_t generate(ValueSource& source) {
   orv::ip_route_t route(generate<orv::ip_route_key_t>(source));
   route.tag_is(source.number<std::uint32_t>());
   route.rib_bypass_is(source.flag());
   route.command_tag_is(source.text());
   return route;
}

template <>
orv::ip_route_via_t generate(ValueSource& source) {
   orv::ip_route_via_t via(generate<orv::ip_route_key_t>(source));
   via.hop_is(generate<orv::ip_addr_t>(source));
   via.intf_is(generate<orv::intf_id_t>(source));
   via.nexthop_group_is(source.text());
   via.mpls_label_is(generate<orv::mpls_label_t>(source));
   via.vni_is(source.number<std::uint32_t>());
   via.vtep_addr_is(generate<orv::ip_addr_t>(source));
   via.router_mac_is(generate<orv::eth_addr_t>(source));
   via.egress_vrf_is(source.text());
   via.metric_is(source.number<std::uint32_t>());
   via.vxlan_intf_is(generate<orv::intf_id_t>(source));
   via.vtep_sip_validation_is(source.flag());
   via.weight_is(source.number<std::uint32_t>());
   return via;
}

template <>
orv::mpls_route_t generate(ValueSource& source) {
   const auto key = generate<orv::mpls_route_key_t>(source);
   return {key, source.number<std::uint16_t>()};
}

template <>
orv::mpls_route_via_t generate(ValueSource& source) {
   const auto key = generate<orv::mpls_route_key_t>(source);
   orv::mpls_route_via_t via(key, source.member<orv::mpls_action_t>(4));
   via.hop_is(generate<orv::ip_addr_t>(source));
   via.intf_is(generate<orv::intf_id_t>(source));
   const auto label = generate<orv::mpls_label_t>(source);
   if (source.wild()) {
      via.pushswap_label_is(label);
   } else if (via.label_action() == orv::mpls_action_t::push ||
              via.label_action() == orv::mpls_action_t::swap) {
      via.pushswap_label_is(!label ? orv::mpls_label_t(0) : label);
   }
   via.ttl_mode_is(source.member<orv::mpls_ttl_mode_t>(2));
   via.payload_type_is(source.member<orv::mpls_payload_type_t>(4));
   via.skip_egress_acl_is(source.flag());
   via.nexthop_group_is(source.text());
   return via;
}

template <>
orv::mpls_route_status_t generate(ValueSource& source) {
   orv::mpls_route_status_t status(generate<orv::mpls_route_key_t>(source));
   status.fec_id_is(generate<orv::mpls_fec_id_t>(source));
   status.hw_version_id_is(source.number<std::uint16_t>());
   return status;
}

template <>
orv::fib_route_t generate(ValueSource& source) {
   orv::fib_route_t route(generate<orv::fib_route_key_t>(source));
   route.preference_is(source.number<std::uint8_t>());
   route.metric_is(source.number<std::uint32_t>());
   route.route_type_is(source.member<orv::fib_route_type_t>(26));
   route.fec_id_is(source.number<std::uint64_t>());
   return route;
}

template <>
orv::fib_via_t generate(ValueSource& source) {
   const auto hop = generate<orv::ip_addr_t>(source);
   orv::fib_via_t via(hop, generate<orv::intf_id_t>(source));
   via.mpls_label_is(generate<orv::mpls_label_t>(source));
   return via;
}

template <>
orv::fib_fec_t generate(ValueSource& source) {
   orv::fib_fec_t fec(generate<orv::fib_fec_key_t>(source));
   fec.fec_type_is(source.member<orv::fib_fec_type_t>(7));
   fec.nexthop_group_name_is(source.text());
   for (std::uint32_t i = source.below(9); i > 0; --i)
      fec.via_set(generate<orv::fib_via_t>(source));
   return fec;
}

}  // namespace orvtest
