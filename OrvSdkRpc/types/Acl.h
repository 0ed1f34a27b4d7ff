// Rules of access control lists.
//
// From the wire, fields are converted in message order, and the first bad one ends the conversion. A number
// is rejected only if it does not fit the SDK's field.
//
// Thread-safety: pure functions.
#pragma once

#include "OrvSdkRpcProtos/types.pb.h"
#include "orv/acl_types.h"

namespace OrvSdkRpc::types {

// Masks are inverted on the way to the wire, but not on the way from it: writing back a rule that was read
// inverts its masks.
orv::acl_rule_eth_t convert(const orv::remote::AclRuleEth& message);
orv::remote::AclRuleEth convert(const orv::acl_rule_eth_t& rule);

orv::acl_rule_ip_t convert(const orv::remote::AclRuleIp& message);
orv::remote::AclRuleIp convert(const orv::acl_rule_ip_t& rule);

orv::acl_ttl_spec_t convert(const orv::remote::AclTtlSpec& message);
orv::remote::AclTtlSpec convert(const orv::acl_ttl_spec_t& spec);

// Ports keep their order.
orv::acl_port_spec_t convert(const orv::remote::AclPortSpec& message);
orv::remote::AclPortSpec convert(const orv::acl_port_spec_t& spec);

}  // namespace OrvSdkRpc::types
