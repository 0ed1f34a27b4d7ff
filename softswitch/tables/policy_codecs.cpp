#include "softswitch/tables/policy_codecs.h"

#include <set>
#include <string>
#include <unordered_set>

namespace softswitch {
namespace {

void writePorts(store::Writer& out, const orv::acl_port_spec_t& v) {
   writeEnum(out, v.oper());
   out.varint(v.ports().size());
   for (auto port : v.ports())
      out.u16(port);
}

orv::acl_port_spec_t readPortSpec(store::Reader& in) {
   const auto oper = readEnum(in, orv::acl_range_operator_t::null_operator);
   std::vector<std::uint16_t> ports;
   for (auto count = in.varint(); count > 0; --count)
      ports.push_back(in.u16());
   return {oper, std::move(ports)};
}

void writeBase(store::Writer& out, const orv::acl_rule_base_t& v) {
   writeEnum(out, v.action());
   out.boolean(v.log());
}

void readBase(store::Reader& in, orv::acl_rule_base_t& into) {
   into.action_is(readEnum(in, orv::acl_action_t::deny));
   into.log_is(in.boolean());
}

template <typename Rule>
void writeVlans(store::Writer& out, const Rule& v) {
   out.u16(v.vlan());
   out.u16(v.vlan_mask());
   out.u16(v.inner_vlan());
   out.u16(v.inner_vlan_mask());
}

template <typename Rule>
void readVlans(store::Reader& in, Rule& into) {
   into.vlan_is(in.u16());
   into.vlan_mask_is(in.u16());
   into.inner_vlan_is(in.u16());
   into.inner_vlan_mask_is(in.u16());
}

void writeAction(store::Writer& out, const orv::policy_map_action_t& v) {
   writeEnum(out, v.action_type());
   out.text(v.nexthop_group_name());
   // Sorted, so that equal actions give equal rows.
   const std::set<orv::ip_addr_t> nexthops(v.nexthops().begin(), v.nexthops().end());
   out.varint(nexthops.size());
   for (const auto& nexthop : nexthops)
      write(out, nexthop);
   out.text(v.vrf());
   out.u8(v.dscp());
   out.u8(v.traffic_class());
}

orv::policy_map_action_t readAction(store::Reader& in) {
   orv::policy_map_action_t v(readEnum(in, orv::policy_action_type_t::vrf));
   v.nexthop_group_name_is(std::string(in.text()));
   std::unordered_set<orv::ip_addr_t> nexthops;
   for (auto count = in.varint(); count > 0; --count)
      nexthops.insert(readIpAddr(in));
   v.nexthops_is(std::move(nexthops));
   v.vrf_is(std::string(in.text()));
   v.dscp_is(in.u8());
   v.traffic_class_is(in.u8());
   return v;
}

}  // namespace

void write(store::Writer& out, const orv::acl_key_t& v) {
   writeEnum(out, v.acl_type());
   out.text(v.acl_name());
}

orv::acl_key_t readAclKey(store::Reader& in) {
   const auto type = readEnum(in, orv::acl_type_t::mpls);
   return {std::string(in.text()), type};
}

void write(store::Writer& out, const orv::policy_map_key_t& v) {
   writeEnum(out, v.feature());
   out.text(v.name());
}

orv::policy_map_key_t readPolicyMapKey(store::Reader& in) {
   const auto feature = readEnum(in, orv::policy_feature_t::control_plane);
   return {std::string(in.text()), feature};
}

void write(store::Writer& out, const orv::acl_rule_ip_t& v) {
   writeBase(out, v);
   writeVlans(out, v);
   out.u8(v.ip_protocol());
   writeEnum(out, v.ttl().oper());
   out.u8(v.ttl().ttl());
   write(out, v.source_addr());
   write(out, v.destination_addr());
   writePorts(out, v.source_port());
   writePorts(out, v.destination_port());
   out.text(v.nexthop_group());
   out.u16(v.tcp_flags());
   writeEnum(out, v.ip_type());
   out.boolean(v.established());
   out.u16(v.icmp_type());
   out.u16(v.icmp_code());
   out.u8(v.priority_value());
   out.u8(v.priority_mask());
   out.boolean(v.match_fragments());
   out.boolean(v.match_ip_priority());
}

orv::acl_rule_ip_t readAclRuleIp(store::Reader& in) {
   orv::acl_rule_ip_t v;
   readBase(in, v);
   readVlans(in, v);
   v.ip_protocol_is(in.u8());
   const auto ttlOper = readEnum(in, orv::acl_range_operator_t::null_operator);
   v.ttl_is({ttlOper, in.u8()});
   v.source_addr_is(readIpAddrMask(in));
   v.destination_addr_is(readIpAddrMask(in));
   v.source_port_is(readPortSpec(in));
   v.destination_port_is(readPortSpec(in));
   v.nexthop_group_is(std::string(in.text()));
   v.tcp_flags_is(in.u16());
   v.ip_type_is(readEnum(in, orv::acl_ip_type_t::ipv6));
   v.established_is(in.boolean());
   v.icmp_type_is(in.u16());
   v.icmp_code_is(in.u16());
   v.priority_value_is(in.u8());
   v.priority_mask_is(in.u8());
   v.match_fragments_is(in.boolean());
   v.match_ip_priority_is(in.boolean());
   return v;
}

void write(store::Writer& out, const orv::acl_rule_eth_t& v) {
   writeBase(out, v);
   writeVlans(out, v);
   write(out, v.source_addr());
   write(out, v.destination_addr());
   write(out, v.source_mask());
   write(out, v.destination_mask());
   out.u32(v.eth_protocol());
}

orv::acl_rule_eth_t readAclRuleEth(store::Reader& in) {
   orv::acl_rule_eth_t v;
   readBase(in, v);
   readVlans(in, v);
   v.source_addr_is(readEthAddr(in));
   v.destination_addr_is(readEthAddr(in));
   v.source_mask_is(readEthAddr(in));
   v.destination_mask_is(readEthAddr(in));
   v.eth_protocol_is(in.u32());
   return v;
}

void writeRules(store::Writer& out, const orv::class_map_t& v) {
   out.varint(v.rules().size());
   for (const auto& [sequence, rule] : v.rules()) {
      out.u32(sequence);
      write(out, rule.acl_key());
   }
}

void readRules(store::Reader& in, orv::class_map_t& into) {
   for (auto count = in.varint(); count > 0; --count) {
      const auto sequence = in.u32();
      into.rule_set(sequence, orv::class_map_rule_t(readAclKey(in)));
   }
}

void writeRules(store::Writer& out, const orv::policy_map_t& v) {
   out.varint(v.rules().size());
   for (const auto& [sequence, rule] : v.rules()) {
      out.u32(sequence);
      write(out, rule.class_map_key());
      writeEnum(out, rule.policy_map_rule_type());
      // Only a raw rule has a match of its own; the others need not carry an empty one.
      const bool hasRawRule = rule.raw_rule() != orv::acl_rule_ip_t();
      out.boolean(hasRawRule);
      if (hasRawRule) write(out, rule.raw_rule());
      out.varint(rule.actions().size());
      for (const auto& action : rule.actions())
         writeAction(out, action);
   }
}

void readRules(store::Reader& in, orv::policy_map_t& into) {
   for (auto count = in.varint(); count > 0; --count) {
      const auto sequence = in.u32();
      orv::policy_map_rule_t rule(readPolicyMapKey(in));
      rule.policy_map_rule_type_is(readEnum(in, orv::policy_map_rule_type_t::class_default));
      if (in.boolean()) rule.raw_rule_is(readAclRuleIp(in));
      for (auto actions = in.varint(); actions > 0; --actions)
         rule.action_set(readAction(in));
      into.rule_set(sequence, std::move(rule));
   }
}

}  // namespace softswitch
