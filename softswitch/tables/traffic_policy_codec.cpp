#include "softswitch/tables/traffic_policy_codec.h"

#include <map>
#include <set>
#include <unordered_set>
#include <utility>

namespace softswitch {
namespace {

// Sorted, so that equal sets give equal rows.
template <typename Value>
std::set<Value> sorted(const std::unordered_set<Value>& values) {
   return {values.begin(), values.end()};
}

void writeNames(store::Writer& out, const std::unordered_set<std::string>& names) {
   out.varint(names.size());
   for (const auto& name : sorted(names))
      out.text(name);
}

std::unordered_set<std::string> readNames(store::Reader& in) {
   std::unordered_set<std::string> names;
   for (auto count = in.varint(); count > 0; --count)
      names.emplace(in.text());
   return names;
}

void writeMasks(store::Writer& out, const std::set<orv::ip_addr_mask_t>& masks) {
   out.varint(masks.size());
   for (const auto& mask : masks)
      write(out, mask);
}

std::set<orv::ip_addr_mask_t> readMasks(store::Reader& in) {
   std::set<orv::ip_addr_mask_t> masks;
   for (auto count = in.varint(); count > 0; --count)
      masks.insert(readIpAddrMask(in));
   return masks;
}

template <typename Range>
void writeRange(store::Writer& out, const Range& range) {
   out.varint(range.range_start());
   out.varint(range.range_end());
}

template <typename Range>
Range readRange(store::Reader& in) {
   const auto start = in.number<std::uint32_t>();
   return {start, in.number<std::uint32_t>()};
}

void writeRanges(store::Writer& out, const std::set<orv::port_range_t>& ranges) {
   out.varint(ranges.size());
   for (const auto& range : ranges)
      writeRange(out, range);
}

std::set<orv::port_range_t> readRanges(store::Reader& in) {
   std::set<orv::port_range_t> ranges;
   for (auto count = in.varint(); count > 0; --count)
      ranges.insert(readRange<orv::port_range_t>(in));
   return ranges;
}

void writeProtocol(store::Writer& out, const orv::protocol_field_t& v) {
   out.varint(v.ports().size());
   for (const auto& [sequence, ports] : v.ports()) {
      out.u32(sequence);
      writeRanges(out, ports.src_ports());
      writeRanges(out, ports.dst_ports());
      writeNames(out, ports.src_port_field_sets());
      writeNames(out, ports.dst_port_field_sets());
   }
}

orv::protocol_field_t readProtocol(store::Reader& in) {
   std::map<std::uint32_t, orv::port_field_t> all;
   for (auto count = in.varint(); count > 0; --count) {
      const auto sequence = in.u32();
      orv::port_field_t ports;
      ports.src_ports_is(readRanges(in));
      ports.dst_ports_is(readRanges(in));
      ports.src_port_field_sets_is(readNames(in));
      ports.dst_port_field_sets_is(readNames(in));
      all.insert_or_assign(sequence, std::move(ports));
   }
   return orv::protocol_field_t(std::move(all));
}

void writeFilter(store::Writer& out, const orv::tp_rule_filter_t& v) {
   writeEnum(out, v.filter_type());
   writeMasks(out, v.src_addrs());
   writeNames(out, v.src_addr_field_sets());
   writeMasks(out, v.dst_addrs());
   writeNames(out, v.dst_addr_field_sets());
   out.varint(v.protocols().size());
   for (const auto& [range, protocol] : v.protocols()) {
      writeRange(out, range);
      writeProtocol(out, protocol);
   }
}

orv::tp_rule_filter_t readFilter(store::Reader& in) {
   orv::tp_rule_filter_t v(readEnum(in, orv::traffic_policy_rule_type_t::ipv6));
   v.src_addrs_is(readMasks(in));
   v.src_addr_field_sets_is(readNames(in));
   v.dst_addrs_is(readMasks(in));
   v.dst_addr_field_sets_is(readNames(in));
   std::map<orv::protocol_range_t, orv::protocol_field_t> protocols;
   for (auto count = in.varint(); count > 0; --count) {
      const auto range = readRange<orv::protocol_range_t>(in);
      protocols.insert_or_assign(range, readProtocol(in));
   }
   v.protocols_is(std::move(protocols));
   return v;
}

void writeTrafficAction(store::Writer& out, const orv::traffic_policy_action_t& v) {
   writeEnum(out, v.action_type());
   out.text(v.counter_name());
   out.text(v.goto_class_name());
   out.boolean(v.goto_next());
   out.u8(v.dscp());
   out.u8(v.traffic_class());
   out.text(v.vrf());
   out.text(v.mirror_session());
   out.varint(v.police_rate());
   out.varint(v.police_burst_size());
   writeEnum(out, v.police_rate_unit());
   writeEnum(out, v.police_burst_unit());
   writeNames(out, v.nexthop_groups());
   out.varint(v.nexthops().size());
   for (const auto& nexthop : sorted(v.nexthops()))
      write(out, nexthop);
}

orv::traffic_policy_action_t readTrafficAction(store::Reader& in) {
   orv::traffic_policy_action_t v(readEnum(in, orv::traffic_policy_action_type_t::permit));
   v.counter_name_is(std::string(in.text()));
   v.goto_class_name_is(std::string(in.text()));
   v.goto_next_is(in.boolean());
   v.dscp_is(in.u8());
   v.traffic_class_is(in.u8());
   v.vrf_is(std::string(in.text()));
   v.mirror_session_is(std::string(in.text()));
   v.police_rate_is(in.varint());
   v.police_burst_size_is(in.varint());
   v.police_rate_unit_is(readEnum(in, orv::police_rate_unit_t::pps));
   v.police_burst_unit_is(readEnum(in, orv::police_burst_unit_t::mbytes));
   v.nexthop_groups_is(readNames(in));
   std::unordered_set<orv::ip_addr_t> nexthops;
   for (auto count = in.varint(); count > 0; --count)
      nexthops.insert(readIpAddr(in));
   v.nexthops_is(std::move(nexthops));
   return v;
}

}  // namespace

void writePolicy(store::Writer& out, const orv::traffic_policy_t& v) {
   writeNames(out, v.named_counters());
   out.varint(v.rules().size());
   for (const auto& [sequence, rule] : v.rules()) {
      out.u32(sequence);
      writeEnum(out, rule.traffic_policy_rule_type());
      out.text(rule.match_rule_name());
      writeFilter(out, rule.raw_rule());
      out.varint(rule.actions().size());
      for (const auto& action : rule.actions())
         writeTrafficAction(out, action);
   }
}

orv::traffic_policy_t readPolicy(store::Reader& in) {
   orv::traffic_policy_t policy;
   policy.named_counters_is(readNames(in));
   for (auto count = in.varint(); count > 0; --count) {
      const auto sequence = in.u32();
      const auto type = readEnum(in, orv::traffic_policy_rule_type_t::ipv6);
      orv::traffic_policy_rule_t rule(type, std::string(in.text()));
      rule.raw_rule_is(readFilter(in));
      for (auto actions = in.varint(); actions > 0; --actions)
         rule.action_set(readTrafficAction(in));
      policy.rule_set(sequence, std::move(rule));
   }
   return policy;
}

}  // namespace softswitch
