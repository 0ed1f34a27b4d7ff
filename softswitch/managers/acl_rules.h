// Rules of access control lists: which the switch takes, and what a list decides about a packet.
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

// Throws orv::invalid_argument_error for a key that names no list: an empty name, or no type.
void checkAclKey(const orv::acl_key_t& key);

// Throws orv::invalid_argument_error for a key that names no list, and for a rule that a list of this key
// cannot have:
//    a list whose name is of more than 400 bytes, or not UTF-8
//    an Ethernet rule in a list of another type than eth, an IP rule in one of type eth or mpls
//    a VLAN or VLAN mask above 4095, an EtherType above 65536 (which stands for any)
//    an address of the other family than an ipv4 or ipv6 list, or a mask longer than the address
//    an ICMP type or code above 255 other than 65535 (which stands for any), TCP flags above 0x1ff
//    ports or a TTL that do not fit their operator: 1 to 10 ports for eq and neq, one for gt and lt, two in
//    rising order for range, none for any
void checkAclRule(const orv::acl_key_t& key, std::uint32_t seq, const AclRule& rule);

// The same for an IP rule that stands in no list. Its addresses are of the family that ip_type tells, or else
// of one family. `where` tells in words whose rule it is; it is asked only for a refusal.
void checkRawRule(absl::FunctionRef<std::string()> where, const orv::acl_rule_ip_t& rule);

// The parts of an IP packet that a rule may look at, as far as a connection or datagram tells them.
struct AclPacket {
   orv::ip_addr_t source;
   orv::ip_addr_t destination;
   std::uint8_t protocol = 0;
   std::uint16_t sourcePort = 0;
   std::uint16_t destinationPort = 0;
};

// From what a caller of the SDK tells. Throws orv::invalid_range_error for a protocol above 255 or a port
// above 65535, orv::invalid_argument_error for addresses of two families or none.
AclPacket aclPacket(const orv::ip_addr_t& source, const orv::ip_addr_t& destination, std::uint32_t protocol,
                    std::uint32_t sourcePort, std::uint32_t destinationPort);

// Whether `rule` takes the packet. A rule that looks at something the packet does not tell (VLAN, TTL, TCP
// flags, ICMP type, priority, fragments, nexthop group) does not.
bool matches(const orv::acl_rule_ip_t& rule, const AclPacket& packet);

}  // namespace softswitch
