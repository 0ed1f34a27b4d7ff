// How the switch would forward one packet: the resolved view of routes, labels, groups and redirects.
//
// A label is looked up in hardware's MPLS routes, lowest metric first, and then among the labels of VRFs. An
// address is looked up in the FIB, longest prefix first and then lowest preference. The packet's DSCP may
// redirect the group of the route or label (redirects.h), but only once: redirected traffic is not redirected
// again. A redirect to an inactive group is not in force.
//
// A packet without a label that enters at an interface first meets the traffic policy that is applied inbound
// there (traffic_policy_walk.h). The rule that takes it may drop it, punt it, set its DSCP, look it up in
// another VRF, or send it to a nexthop or a nexthop group. Such a group is not redirected again; if none of
// the rule's groups is active, the packet is routed. Outbound traffic policies are named, but not followed.
//
// Among several ways out that resolve, a hash over VRF, label and destination chooses one in proportion to
// their weights. The choice is repeatable and ignores the DSCP: two packets that differ only in DSCP and end
// up in one group leave through the same entry.
//
// Backup entries of groups and tunnels carry no traffic in this switch.
//
// Thread-safety: guarded by the SDK's lock.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "orv/intf.h"
#include "orv/intf_id.h"
#include "orv/ip_addr.h"
#include "orv/mpls_label.h"
#include "orv/vrf.h"
#include "softswitch/lookup/redirects.h"
#include "softswitch/lookup/traffic_policy_walk.h"

namespace softswitch {

class FibMgr;
class IpRouteMgr;
class MplsRouteMgr;
class MplsVrfLabelMgr;
class NexthopGroupMgr;
class SoftSwitch;
class TrafficPolicies;
class VrfMgr;

struct LookupPacket {
   orv::mpls_label_t label;     // the outermost; null for a packet without labels
   std::string vrf;             // of a packet without a label
   orv::ip_addr_t destination;  // null: unknown, which only a packet with a label may have
   std::uint8_t dscp = 0;       // at most 63
   // Only for a packet without a label: where it enters, and what rules of traffic policies match beyond the
   // destination. Empty: not known.
   orv::intf_id_t ingress{};
   orv::ip_addr_t source{};  // of the destination's family
   std::optional<std::uint8_t> protocol{};
   std::optional<std::uint16_t> sourcePort{};
   std::optional<std::uint16_t> destinationPort{};
};

enum class LookupResult : std::uint8_t {
   forward,
   drop,
   noRoute,
   controlPlane,
   unknown,  // it depends on a field of the packet that is not known
};
std::string_view to_string(LookupResult result);

// One way out of a route or group: a hop, or adjacent equal entries.
struct WayOut {
   std::string group;        // empty for a hop of a route
   std::uint32_t entry = 0;  // the first slot; for a hop its index in the route, from 0
   std::uint32_t weight = 1;
   bool resolves = false;
   bool taken = false;
   orv::ip_addr_t nexthop;
   orv::intf_id_t intf;
   std::string action;                 // "push", "swap" …; empty without a label action
   std::vector<std::uint32_t> labels;  // the outermost first
   std::string childGroup;             // the group that the entry leads into
   std::string tunnel;                 // VXLAN or VRF, as text; empty without a tunnel
};

struct Lookup {
   LookupResult result = LookupResult::noRoute;
   std::string reason;                    // why the packet is not forwarded, as text
   std::optional<PolicyRule> policyRule;  // of the traffic policy at the ingress that took the packet
   std::optional<std::uint8_t> dscpSet;   // by that traffic policy
   std::string vrf;                       // of the last look-up by address; empty if there was none
   std::string route;         // the last one found: a prefix with its preference, or a label with its metric
   std::string groupOfRoute;  // the group that the route or label leads to; empty for hops
   std::optional<Redirect> redirect;
   bool redirectInForce = false;
   std::string group;                   // the group through which the packet leaves
   std::uint16_t version = 0;           // of that group, in hardware
   std::optional<std::uint32_t> entry;  // the entry taken
   std::vector<WayOut> waysOut;         // of all routes and groups passed, in order
   std::vector<std::string> steps;      // the look-up step by step, as text
};

struct LookupTables {
   const IpRouteMgr& ipRoutes;
   const FibMgr& fib;
   const NexthopGroupMgr& groups;
   const MplsRouteMgr& mplsRoutes;
   const MplsVrfLabelMgr& mplsVrfLabels;
   const VrfMgr& vrfs;
   const orv::intf_mgr& intfs;
   const TrafficPolicies& trafficPolicies;
   Redirects redirects;
};

Lookup lookUp(const LookupTables& tables, const LookupPacket& packet);

// The same in the tables of a whole switch.
Lookup lookUp(SoftSwitch& sw, const LookupPacket& packet);

}  // namespace softswitch
