// What forwarding does with one packet: the resolved view of routes, labels, groups and redirects.
//
// A label is looked up in hardware's MPLS routes, the lowest metric first, and then among the labels of VRFs;
// an address by the longest prefix among the routes of the FIB, of one prefix the lowest preference. A group
// that a route or label leads to may be redirected by the packet's DSCP (redirects.h), once: traffic that was
// redirected is not redirected again. A redirect to a group that is not active is not in force.
//
// Of several ways out that resolve one is taken by a hash over VRF, label and destination, in proportion to
// their weights. It is the same each time and does not look at the DSCP, so two packets that differ in
// nothing else and end up in one group leave it by one entry.
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

namespace softswitch {

class FibMgr;
class IpRouteMgr;
class MplsRouteMgr;
class MplsVrfLabelMgr;
class NexthopGroupMgr;
class SoftSwitch;
class VrfMgr;

struct LookupPacket {
   orv::mpls_label_t label;     // the outermost; null for a packet without
   std::string vrf;             // of a packet without a label
   orv::ip_addr_t destination;  // null: not known, which only a label allows
   std::uint8_t dscp = 0;       // at most 63
};

enum class LookupResult : std::uint8_t {
   forward,
   drop,
   noRoute,
   controlPlane,
   unknown,  // the packet's address would have to be known
};
std::string_view to_string(LookupResult result);

// One way out of a route or group: a hop, or equal entries next to each other.
struct WayOut {
   std::string group;        // empty for a hop of a route
   std::uint32_t entry = 0;  // the first slot; of hops their place in the route, from 0
   std::uint32_t weight = 1;
   bool resolves = false;
   bool taken = false;
   orv::ip_addr_t nexthop;
   orv::intf_id_t intf;
   std::string action;                 // "push", "swap" …; empty for none
   std::vector<std::uint32_t> labels;  // the outermost first
   std::string childGroup;             // that the entry leads into
   std::string tunnel;                 // VXLAN or VRF, in words; empty for none
};

struct Lookup {
   LookupResult result = LookupResult::noRoute;
   std::string reason;        // why the packet is not forwarded, in words
   std::string vrf;           // of the last look-up by address; empty without one
   std::string route;         // that was found last: a prefix with its preference, or a label with its metric
   std::string groupOfRoute;  // to which the route or label leads; empty for hops
   std::optional<Redirect> redirect;
   bool redirectInForce = false;
   std::string group;                   // through which it leaves in the end
   std::uint16_t version = 0;           // of that group, in hardware
   std::optional<std::uint32_t> entry;  // the one that is taken
   std::vector<WayOut> waysOut;         // of all routes and groups passed, in their order
   std::vector<std::string> steps;      // how it went, in words
};

struct LookupTables {
   const IpRouteMgr& ipRoutes;
   const FibMgr& fib;
   const NexthopGroupMgr& groups;
   const MplsRouteMgr& mplsRoutes;
   const MplsVrfLabelMgr& mplsVrfLabels;
   const VrfMgr& vrfs;
   const orv::intf_mgr& intfs;
   Redirects redirects;
};

Lookup lookUp(const LookupTables& tables, const LookupPacket& packet);

// In the tables of a whole switch.
Lookup lookUp(SoftSwitch& sw, const LookupPacket& packet);

}  // namespace softswitch
