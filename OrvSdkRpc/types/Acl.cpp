#include "OrvSdkRpc/types/Acl.h"

#include "OrvSdkRpc/types/Addresses.h"
#include "OrvSdkRpc/types/BoundaryCheck.h"
#include "OrvSdkRpc/types/Enumerations.h"
#include "OrvSdkRpc/types/Identifiers.h"

namespace OrvSdkRpc::types {

namespace remote = orv::remote;

namespace {

// The fields that Ethernet and IP rules share.
template <typename Message, typename Rule>
void takeBaseAndVlans(const Message& message, Rule& rule) {
   if (message.base().has_action()) rule.action_is(convert(message.base().action()));
   rule.log_is(message.base().log());
   rule.vlan_is(boundaryCheck<std::uint16_t>(message.vlan(), "vlan {} is out of range"));
   if (message.has_vlan_mask()) {
      rule.vlan_mask_is(boundaryCheck<std::uint16_t>(message.vlan_mask(), "vlan mask {} is out of range"));
   }
   rule.inner_vlan_is(boundaryCheck<std::uint16_t>(message.inner_vlan(), "inner vlan {} is out of range"));
   if (message.has_inner_vlan_mask()) {
      rule.inner_vlan_mask_is(
           boundaryCheck<std::uint16_t>(message.inner_vlan_mask(), "inner vlan mask {} is out of range"));
   }
}

template <typename Rule, typename Message>
void giveBaseAndVlans(const Rule& rule, Message& message) {
   message.mutable_base()->set_action(convert(rule.action()));
   message.mutable_base()->set_log(rule.log());
   message.set_vlan(rule.vlan());
   message.set_vlan_mask(rule.vlan_mask());
   message.set_inner_vlan(rule.inner_vlan());
   message.set_inner_vlan_mask(rule.inner_vlan_mask());
}

// Fills the spec in place: an IP rule has three of them, and lists of rules are long.
void give(const orv::acl_ttl_spec_t& spec, remote::AclTtlSpec& message) {
   message.set_oper(convert(spec.oper()));
   message.set_ttl(spec.ttl());
}

void give(const orv::acl_port_spec_t& spec, remote::AclPortSpec& message) {
   message.set_oper(convert(spec.oper()));
   message.mutable_ports()->Add(spec.ports().begin(), spec.ports().end());
}

}  // namespace

orv::acl_rule_eth_t convert(const remote::AclRuleEth& message) {
   orv::acl_rule_eth_t rule;
   takeBaseAndVlans(message, rule);
   rule.source_addr_is(eth_addr(message.source_addr()));
   rule.destination_addr_is(eth_addr(message.destination_addr()));
   rule.source_mask_is(eth_addr(message.source_mask()));
   rule.destination_mask_is(eth_addr(message.destination_mask()));
   if (message.has_eth_protocol()) rule.eth_protocol_is(message.eth_protocol());
   return rule;
}

remote::AclRuleEth convert(const orv::acl_rule_eth_t& rule) {
   remote::AclRuleEth message;
   giveBaseAndVlans(rule, message);
   message.set_source_addr(eth_addr_bytes(rule.source_addr(), false));
   message.set_destination_addr(eth_addr_bytes(rule.destination_addr(), false));
   message.set_source_mask(eth_addr_bytes(rule.source_mask(), true));
   message.set_destination_mask(eth_addr_bytes(rule.destination_mask(), true));
   message.set_eth_protocol(rule.eth_protocol());
   return message;
}

orv::acl_rule_ip_t convert(const remote::AclRuleIp& message) {
   orv::acl_rule_ip_t rule;
   takeBaseAndVlans(message, rule);
   rule.ip_protocol_is(boundaryCheck<std::uint8_t>(message.ip_protocol(), "IP protocol {} is out of range"));
   rule.ttl_is(convert(message.ttl()));
   rule.source_addr_is(convert(message.source_addr()));
   rule.destination_addr_is(convert(message.destination_addr()));
   rule.source_port_is(convert(message.source_port()));
   rule.destination_port_is(convert(message.destination_port()));
   rule.nexthop_group_is(message.nexthop_group());
   rule.tcp_flags_is(boundaryCheck<std::uint16_t>(message.tcp_flags(), "tcp flags {} is out of range"));
   if (message.has_ip_type()) rule.ip_type_is(convert(message.ip_type()));
   rule.established_is(message.established());
   if (message.has_icmp_type()) {
      rule.icmp_type_is(boundaryCheck<std::uint16_t>(message.icmp_type(), "icmp type {} is out of range"));
   }
   if (message.has_icmp_code()) {
      rule.icmp_code_is(boundaryCheck<std::uint16_t>(message.icmp_code(), "icmp code {} is out of range"));
   }
   rule.priority_value_is(
        boundaryCheck<std::uint8_t>(message.priority_value(), "priority value {} is out of range"));
   rule.priority_mask_is(
        boundaryCheck<std::uint8_t>(message.priority_mask(), "priority mask {} is out of range"));
   rule.match_fragments_is(message.match_fragments());
   rule.match_ip_priority_is(message.match_ip_priority());
   return rule;
}

remote::AclRuleIp convert(const orv::acl_rule_ip_t& rule) {
   remote::AclRuleIp message;
   giveBaseAndVlans(rule, message);
   message.set_ip_protocol(rule.ip_protocol());
   give(rule.ttl(), *message.mutable_ttl());
   *message.mutable_source_addr() = convert(rule.source_addr());
   *message.mutable_destination_addr() = convert(rule.destination_addr());
   give(rule.source_port(), *message.mutable_source_port());
   give(rule.destination_port(), *message.mutable_destination_port());
   if (!rule.nexthop_group().empty()) message.set_nexthop_group(rule.nexthop_group());
   message.set_tcp_flags(rule.tcp_flags());
   message.set_ip_type(convert(rule.ip_type()));
   message.set_established(rule.established());
   message.set_icmp_type(rule.icmp_type());
   message.set_icmp_code(rule.icmp_code());
   message.set_priority_value(rule.priority_value());
   message.set_priority_mask(rule.priority_mask());
   message.set_match_fragments(rule.match_fragments());
   message.set_match_ip_priority(rule.match_ip_priority());
   return message;
}

orv::acl_ttl_spec_t convert(const remote::AclTtlSpec& message) {
   orv::acl_ttl_spec_t spec;
   if (message.has_oper()) spec.oper_is(convert(message.oper()));
   spec.ttl_is(boundaryCheck<std::uint8_t>(message.ttl(), "ttl {} is out of range"));
   return spec;
}

remote::AclTtlSpec convert(const orv::acl_ttl_spec_t& spec) {
   remote::AclTtlSpec message;
   give(spec, message);
   return message;
}

orv::acl_port_spec_t convert(const remote::AclPortSpec& message) {
   orv::acl_port_spec_t spec;
   if (message.has_oper()) spec.oper_is(convert(message.oper()));
   std::vector<std::uint16_t> ports;
   ports.reserve(static_cast<std::size_t>(message.ports_size()));
   for (const std::uint32_t port : message.ports())
      ports.push_back(boundaryCheck<std::uint16_t>(port, "port {} is out of range"));
   spec.ports_is(std::move(ports));
   return spec;
}

remote::AclPortSpec convert(const orv::acl_port_spec_t& spec) {
   remote::AclPortSpec message;
   give(spec, message);
   return message;
}

}  // namespace OrvSdkRpc::types
