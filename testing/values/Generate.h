// SDK values that are generated from a source. Every field of a record takes many values.
//
// Thread-safe: pure functions of the source.
#pragma once

#include "orv/acl_types.h"
#include "orv/bgp_path_types.h"
#include "orv/bgp_types.h"
#include "orv/fib_types.h"
#include "orv/ip_route_types.h"
#include "orv/mpls_route_types.h"
#include "orv/mpls_vrf_label_types.h"
#include "orv/nexthop_group_types.h"
#include "orv/policy_key.h"
#include "orv/range.h"
#include "testing/values/ValueSource.h"

namespace orvtest {

// Defined only for the types below; another type does not link.
template <typename T>
T generate(ValueSource& source);

// clang-format off
template <> orv::ip_addr_t generate(ValueSource&);
template <> orv::eth_addr_t generate(ValueSource&);
template <> orv::ip_prefix_t generate(ValueSource&);
template <> orv::ip_addr_mask_t generate(ValueSource&);
template <> orv::intf_id_t generate(ValueSource&);
template <> orv::mpls_label_t generate(ValueSource&);
template <> orv::mpls_fec_id_t generate(ValueSource&);
template <> orv::port_range_t generate(ValueSource&);
template <> orv::protocol_range_t generate(ValueSource&);
template <> orv::acl_key_t generate(ValueSource&);
template <> orv::policy_map_key_t generate(ValueSource&);
template <> orv::bgp_peer_key_t generate(ValueSource&);
template <> orv::bgp_path_key_t generate(ValueSource&);
template <> orv::fib_fec_key_t generate(ValueSource&);
template <> orv::fib_route_key_t generate(ValueSource&);
template <> orv::ip_route_key_t generate(ValueSource&);
template <> orv::mpls_route_key_t generate(ValueSource&);
template <> orv::mpls_vrf_label_t generate(ValueSource&);
template <> orv::acl_rule_eth_t generate(ValueSource&);
template <> orv::acl_rule_ip_t generate(ValueSource&);
template <> orv::acl_ttl_spec_t generate(ValueSource&);
template <> orv::acl_port_spec_t generate(ValueSource&);
template <> orv::nexthop_group_mpls_action_t generate(ValueSource&);
template <> orv::nexthop_group_entry_t generate(ValueSource&);
template <> orv::nexthop_group_t generate(ValueSource&);
template <> orv::ip_route_t generate(ValueSource&);
template <> orv::ip_route_via_t generate(ValueSource&);
template <> orv::mpls_route_t generate(ValueSource&);
// Keeps the rule that PUSH and SWAP have a label and POP and FORWARD do not, unless the source is wild.
template <> orv::mpls_route_via_t generate(ValueSource&);
template <> orv::mpls_route_status_t generate(ValueSource&);
template <> orv::fib_route_t generate(ValueSource&);
template <> orv::fib_via_t generate(ValueSource&);
template <> orv::fib_fec_t generate(ValueSource&);
// clang-format on

}  // namespace orvtest
