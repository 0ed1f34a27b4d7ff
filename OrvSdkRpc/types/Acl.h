// Rules of access control lists.
//
// From the wire the fields are taken in the order of the message and the first that cannot be taken ends the
// conversion. Numbers are refused only where they are wider than the SDK's field.
//
// Thread-safe: pure functions.
#pragma once

#include "OrvSdkRpcProtos/types.pb.h"
#include "orv/acl_types.h"

namespace OrvSdkRpc::types {

// To the wire both masks are complemented, from the wire they are not: a rule that is read and written back
// has its masks turned over.
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
