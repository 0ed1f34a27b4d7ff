// Whatever identifies things on the wire: interfaces, labels, prefixes, ranges and the keys of records.
//
// From the wire, every field is applied, and an absent sub-message reads as an empty one. Besides the errors
// below, the SDK's constructors reject bad values: a label above 1048576, bits set beyond a prefix's length,
// a malformed interface name. To the wire, every oneof group is set.
//
// Thread-safety: pure functions.
#pragma once

#include "OrvSdkRpcProtos/types.pb.h"
#include "orv/acl_types.h"
#include "orv/bgp_path_types.h"
#include "orv/bgp_types.h"
#include "orv/fib_types.h"
#include "orv/intf_id.h"
#include "orv/ip_prefix.h"
#include "orv/ip_route_types.h"
#include "orv/mpls_label.h"
#include "orv/mpls_route_types.h"
#include "orv/mpls_vrf_label_types.h"
#include "orv/policy_key.h"
#include "orv/range.h"
#include "platform/state/Mpls.h"
#include "platform/state/RouteKeyAndMetric.h"

namespace OrvSdkRpc::types {

orv::intf_id_t convert(const orv::remote::IntfId& message);
orv::remote::IntfId convert(const orv::intf_id_t& intf);
// Overwrites the message of an earlier conversion and reuses the memory of its string.
void convert(const orv::intf_id_t& intf, orv::remote::IntfId& message);

orv::mpls_fec_id_t convert(const orv::remote::MplsFecId& message);
orv::remote::MplsFecId convert(orv::mpls_fec_id_t fecId);

// An absent label is the SDK's null label, which is written to the wire as its number, 1048576.
orv::mpls_label_t convert(const orv::remote::MplsLabel& message);
orv::remote::MplsLabel convert(orv::mpls_label_t label);
orv::remote::MplsLabel convert(Lumic::MplsLabel label);

// Lengths are truncated to their low 8 bits: 300 reaches the SDK as 44.
// THROWS: to the wire, orv::unsupported_error for an address of an unknown family.
orv::ip_addr_mask_t convert(const orv::remote::IpAddrMask& message);
orv::remote::IpAddrMask convert(const orv::ip_addr_mask_t& addrMask);
orv::ip_prefix_t convert(const orv::remote::Prefix& message);
orv::remote::Prefix convert(const orv::ip_prefix_t& prefix);

// One message stands for two SDK types, so these functions are named after the type. The ends are not
// checked.
orv::port_range_t port_range(const orv::remote::Range& message);
orv::remote::Range convert(const orv::port_range_t& range);
orv::protocol_range_t protocol_range(const orv::remote::Range& message);
orv::remote::Range convert(const orv::protocol_range_t& range);

orv::acl_key_t convert(const orv::remote::AclKey& message);
orv::remote::AclKey convert(const orv::acl_key_t& key);

orv::policy_map_key_t convert(const orv::remote::PolicyMapKey& message);
orv::remote::PolicyMapKey convert(const orv::policy_map_key_t& key);

// THROWS: to the wire, orv::invalid_argument_error for a peer of an unknown address family.
orv::bgp_peer_key_t convert(const orv::remote::BgpPeerKey& message);
orv::remote::BgpPeerKey convert(const orv::bgp_peer_key_t& key);
orv::bgp_path_key_t convert(const orv::remote::BgpPathKey& message);
orv::remote::BgpPathKey convert(const orv::bgp_path_key_t& key);

orv::fib_fec_key_t convert(const orv::remote::FibFecKey& message);
orv::remote::FibFecKey convert(const orv::fib_fec_key_t& key);

orv::fib_route_key_t convert(const orv::remote::FibRouteKey& message);
orv::remote::FibRouteKey convert(const orv::fib_route_key_t& key);

// An absent preference is the SDK's default. One that is set is truncated to its low 8 bits.
orv::ip_route_key_t convert(const orv::remote::IpRouteKey& message);
orv::remote::IpRouteKey convert(const orv::ip_route_key_t& key);

// THROWS: from the wire, orv::invalid_argument_error for a metric above 255.
orv::mpls_route_key_t convert(const orv::remote::MplsRouteKey& message);
orv::remote::MplsRouteKey convert(const orv::mpls_route_key_t& key);
// The outermost label comes first on the wire and last in the state tables.
// THROWS: Zelt::RangeException for a stack that is too deep for a label index.
orv::remote::MplsRouteKey convert(const Mpls::RouteKeyAndMetric& key);

orv::mpls_vrf_label_t convert(const orv::remote::MplsVrfLabel& message);
orv::remote::MplsVrfLabel convert(const orv::mpls_vrf_label_t& vrfLabel);

}  // namespace OrvSdkRpc::types
