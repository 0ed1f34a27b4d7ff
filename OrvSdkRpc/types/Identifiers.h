// What names things on the wire: interfaces, labels, prefixes, ranges and the keys of records.
//
// From the wire every field is applied and a sub-message that was left out reads as an empty one; besides
// what is told below, the SDK's own constructors refuse what they refuse (a label above 1048576, bits behind
// a prefix's length, an interface name of a bad form). To the wire every oneof group is set.
//
// Thread-safe: pure functions.
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
// Over a message that an earlier conversion made; nothing of that is left but the memory of its text.
void convert(const orv::intf_id_t& intf, orv::remote::IntfId& message);

orv::mpls_fec_id_t convert(const orv::remote::MplsFecId& message);
orv::remote::MplsFecId convert(orv::mpls_fec_id_t fecId);

// A label that was left out is the SDK's null label, which comes back as its number, 1048576.
orv::mpls_label_t convert(const orv::remote::MplsLabel& message);
orv::remote::MplsLabel convert(orv::mpls_label_t label);
orv::remote::MplsLabel convert(Lumic::MplsLabel label);

// Lengths are cut to their low 8 bits: 300 reaches the SDK as 44. To the wire an address of an unknown family
// throws orv::unsupported_error.
orv::ip_addr_mask_t convert(const orv::remote::IpAddrMask& message);
orv::remote::IpAddrMask convert(const orv::ip_addr_mask_t& addrMask);
orv::ip_prefix_t convert(const orv::remote::Prefix& message);
orv::remote::Prefix convert(const orv::ip_prefix_t& prefix);

// One message for two values, so these two are named; neither end is checked.
orv::port_range_t port_range(const orv::remote::Range& message);
orv::remote::Range convert(const orv::port_range_t& range);
orv::protocol_range_t protocol_range(const orv::remote::Range& message);
orv::remote::Range convert(const orv::protocol_range_t& range);

orv::acl_key_t convert(const orv::remote::AclKey& message);
orv::remote::AclKey convert(const orv::acl_key_t& key);

orv::policy_map_key_t convert(const orv::remote::PolicyMapKey& message);
orv::remote::PolicyMapKey convert(const orv::policy_map_key_t& key);

// To the wire a peer of an unknown family throws orv::invalid_argument_error.
orv::bgp_peer_key_t convert(const orv::remote::BgpPeerKey& message);
orv::remote::BgpPeerKey convert(const orv::bgp_peer_key_t& key);
orv::bgp_path_key_t convert(const orv::remote::BgpPathKey& message);
orv::remote::BgpPathKey convert(const orv::bgp_path_key_t& key);

orv::fib_fec_key_t convert(const orv::remote::FibFecKey& message);
orv::remote::FibFecKey convert(const orv::fib_fec_key_t& key);

orv::fib_route_key_t convert(const orv::remote::FibRouteKey& message);
orv::remote::FibRouteKey convert(const orv::fib_route_key_t& key);

// A preference that was left out is the SDK's default; one that is set is cut to its low 8 bits.
orv::ip_route_key_t convert(const orv::remote::IpRouteKey& message);
orv::remote::IpRouteKey convert(const orv::ip_route_key_t& key);

// A metric above 255 throws orv::invalid_argument_error.
orv::mpls_route_key_t convert(const orv::remote::MplsRouteKey& message);
orv::remote::MplsRouteKey convert(const orv::mpls_route_key_t& key);
// The outermost label comes first on the wire and last in the state tables. A stack that no index reaches
// throws Zelt::RangeException.
orv::remote::MplsRouteKey convert(const Mpls::RouteKeyAndMetric& key);

orv::mpls_vrf_label_t convert(const orv::remote::MplsVrfLabel& message);
orv::remote::MplsVrfLabel convert(const orv::mpls_vrf_label_t& vrfLabel);

}  // namespace OrvSdkRpc::types
