// A forwarding plane, which the switch programs: memory, a kernel or a chip.
//
// The switch hands over configured objects; the plane answers with the outcome, at once or later. The switch
// hands over a changed object again, whether or not the plane has answered. A plane answers each time, in the
// order of the calls. It does not answer deletes.
//
// Thread-safety: everything here happens on the main loop, under the SDK's lock.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "orv/mpls_route_types.h"
#include "orv/nexthop_group_types.h"
#include "softswitch/tables/ip_route_table.h"
#include "softswitch/tables/names.h"

namespace softswitch {

struct PlaneRoute {
   RouteIndex token;  // returned in the answer
   RouteKey key;
   orv::ip_route_action_t action;
   NameId group;           // Names::none for a route with hops
   const RouteVias* vias;  // null for a route with a group; valid during the call
};

struct PlaneMplsRoute {
   const orv::mpls_route_key_t& key;
   std::uint16_t version;
   std::span<const orv::mpls_route_via_t> vias;  // valid during the call
};

struct GroupAnswer {
   bool programmed = false;
   bool counted = false;  // its entries have counters
};

class GroupAnswers {
public:
   virtual void groupAnswer(NameId group, std::uint16_t version, GroupAnswer answer) = 0;

protected:
   ~GroupAnswers() = default;
};

class RouteAnswers {
public:
   virtual void routesAnswer(std::span<const RouteIndex> tokens, bool programmed) = 0;

protected:
   ~RouteAnswers() = default;
};

class MplsRouteAnswers {
public:
   virtual void mplsRouteAnswer(const orv::mpls_route_key_t& key, std::uint16_t version, bool programmed) = 0;

protected:
   ~MplsRouteAnswers() = default;
};

struct PlaneAnswers {
   GroupAnswers& groups;
   RouteAnswers& routes;
   MplsRouteAnswers& mplsRoutes;
};

struct TrafficCounter {
   std::uint64_t packets = 0;
   std::uint64_t bytes = 0;
};

class ForwardingPlane {
public:
   virtual ~ForwardingPlane() = default;

   // For `show`.
   virtual std::string_view name() const = 0;

   // Called once, before anything else.
   virtual void answersTo(const PlaneAnswers& answers) = 0;

   virtual void groupSet(NameId id, const orv::nexthop_group_t& group) = 0;
   virtual void groupDel(NameId id) = 0;
   virtual void routesSet(std::span<const PlaneRoute> routes) = 0;
   virtual void routeDel(const RouteKey& key) = 0;
   virtual void mplsRouteSet(const PlaneMplsRoute& route) = 0;
   virtual void mplsRouteDel(const orv::mpls_route_key_t& key) = 0;

   // RETURNS: traffic of one entry since it was programmed; zeros if no such entry exists.
   virtual TrafficCounter counter(NameId group, std::uint16_t entry) const = 0;
   // Counts simulated traffic: for planes without wires, and for demonstrations.
   virtual void countTraffic(NameId group, std::uint16_t entry, TrafficCounter traffic) = 0;
};

}  // namespace softswitch
