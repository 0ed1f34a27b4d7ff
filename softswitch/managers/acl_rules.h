// Rules of access control lists: which rules the switch accepts, and which packets a rule matches.
//
// Thread-safety: functions without state.
#pragma once

#include <absl/functional/function_ref.h>

#include <cstdint>
#include <string>
#include <variant>

#include "orv/acl_types.h"

namespace softswitch {

using AclRule = std::variant<orv::acl_rule_ip_t, orv::acl_rule_eth_t>;

// THROWS: orv::invalid_argument_error for a key that names no list: an empty name, or no type.
void checkAclKey(const orv::acl_key_t& key);

// THROWS: orv::invalid_argument_error for a key that names no list, and for a rule that a list of this key
// cannot have:
//    a list name of more than 400 bytes, or not in UTF-8
//    an Ethernet rule in a list of a type other than eth, an IP rule in a list of type eth or mpls
//    a VLAN or VLAN mask above 4095, an EtherType above 65536 (which stands for any)
//    an address of another family than the list's, or a mask longer than the address
//    an ICMP type or code above 255 other than 65535 (which stands for any), TCP flags above 0x1ff
//    a TTL with operator range
//    ports that do not fit their operator: 1 to 10 ports for eq and neq, one for gt and lt, two in ascending
//    order for range, none for any
//    a nexthop group name of more than 255 bytes, or not in UTF-8
void checkAclRule(const orv::acl_key_t& key, std::uint32_t seq, const AclRule& rule);

// The same for an IP rule outside a list. Its addresses have the family of ip_type or, without ip_type, one
// common family. `where` names the rule; it is called only for a refusal.
void checkRawRule(absl::FunctionRef<std::string()> where, const orv::acl_rule_ip_t& rule);

// The fields of an IP packet that a rule can match and that are known of a connection or datagram.
struct AclPacket {
   orv::ip_addr_t source;
   orv::ip_addr_t destination;
   std::uint8_t protocol = 0;
   std::uint16_t sourcePort = 0;
   std::uint16_t destinationPort = 0;
};

// Converts the arguments of an SDK call.
// THROWS: orv::invalid_range_error for a protocol above 255 or a port above 65535,
// orv::invalid_argument_error for addresses of two families or of none.
AclPacket aclPacket(const orv::ip_addr_t& source, const orv::ip_addr_t& destination, std::uint32_t protocol,
                    std::uint32_t sourcePort, std::uint32_t destinationPort);

// RETURNS: whether `rule` matches the packet. A rule that looks at a field that AclPacket lacks (VLAN, TTL,
// TCP flags, ICMP type, priority, fragments, nexthop group) does not.
bool matches(const orv::acl_rule_ip_t& rule, const AclPacket& packet);

}  // namespace softswitch
