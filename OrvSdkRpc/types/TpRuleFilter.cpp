#include "OrvSdkRpc/types/TpRuleFilter.h"

#include "OrvSdkRpc/types/Containers.h"
#include "OrvSdkRpc/types/Enumerations.h"
#include "OrvSdkRpc/types/Identifiers.h"

namespace OrvSdkRpc::types {

namespace remote = orv::remote;

namespace {

using Names = std::unordered_set<std::string>;

std::set<orv::ip_addr_mask_t> addrsOf(const google::protobuf::RepeatedPtrField<remote::IpAddrMask>& addrs) {
   return setOf<std::set<orv::ip_addr_mask_t>>(addrs,
                                               [](const remote::IpAddrMask& addr) { return convert(addr); });
}

}  // namespace

orv::tp_rule_filter_t convert(const remote::TpRuleFilter& message) {
   orv::tp_rule_filter_t filter(convert(message.filter_type()));
   filter.src_addrs_is(addrsOf(message.src_addrs()));
   filter.src_addr_field_sets_is(setOf<Names>(message.src_addr_field_sets()));
   filter.dst_addrs_is(addrsOf(message.dst_addrs()));
   filter.dst_addr_field_sets_is(setOf<Names>(message.dst_addr_field_sets()));
   std::map<orv::protocol_range_t, orv::protocol_field_t> protocols;
   for (const remote::TpRuleFilter_ProtocolValue& protocol : message.protocols())
      protocols.emplace(protocol_range(protocol.key()), convert(protocol.value()));
   filter.protocols_is(std::move(protocols));
   return filter;
}

remote::TpRuleFilter convert(const orv::tp_rule_filter_t& filter) {
   remote::TpRuleFilter message;
   message.set_filter_type(convert(filter.filter_type()));
   for (const orv::ip_addr_mask_t& addr : filter.src_addrs())
      *message.add_src_addrs() = convert(addr);
   for (const std::string& name : filter.src_addr_field_sets())
      message.add_src_addr_field_sets(name);
   for (const orv::ip_addr_mask_t& addr : filter.dst_addrs())
      *message.add_dst_addrs() = convert(addr);
   for (const std::string& name : filter.dst_addr_field_sets())
      message.add_dst_addr_field_sets(name);
   for (const auto& [range, field] : filter.protocols()) {
      remote::TpRuleFilter_ProtocolValue& protocol = *message.add_protocols();
      *protocol.mutable_key() = convert(range);
      *protocol.mutable_value() = convert(field);
   }
   return message;
}

orv::protocol_field_t convert(const remote::ProtocolField& message) {
   return orv::protocol_field_t(mapOf<orv::port_field_t>(
        message.ports(), [](const remote::PortField& field) { return convert(field); }));
}

remote::ProtocolField convert(const orv::protocol_field_t& field) {
   remote::ProtocolField message;
   mapkv(field.ports(), *message.mutable_ports());
   return message;
}

orv::port_field_t convert(const remote::PortField& message) {
   orv::port_field_t field;
   field.src_ports_is(setOf<std::set<orv::port_range_t>>(message.src_ports(), port_range));
   field.dst_ports_is(setOf<std::set<orv::port_range_t>>(message.dst_ports(), port_range));
   field.src_port_field_sets_is(setOf<Names>(message.src_port_field_sets()));
   field.dst_port_field_sets_is(setOf<Names>(message.dst_port_field_sets()));
   return field;
}

remote::PortField convert(const orv::port_field_t& field) {
   remote::PortField message;
   for (const orv::port_range_t& range : field.src_ports())
      *message.add_src_ports() = convert(range);
   for (const orv::port_range_t& range : field.dst_ports())
      *message.add_dst_ports() = convert(range);
   for (const std::string& name : field.src_port_field_sets())
      message.add_src_port_field_sets(name);
   for (const std::string& name : field.dst_port_field_sets())
      message.add_dst_port_field_sets(name);
   return message;
}

}  // namespace OrvSdkRpc::types
