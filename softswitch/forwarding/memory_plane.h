// A forwarding plane that forwards nothing: it accepts everything, answers at once, and counts the traffic
// given to countTraffic().
//
// It keeps no copy of the routes; the route table is in the same process.
//
// Thread-safety: as forwarding/plane.h.
#pragma once

#include <absl/container/flat_hash_map.h>

#include <optional>
#include <vector>

#include "orv/slot_map.h"
#include "softswitch/forwarding/plane.h"

namespace softswitch {

class MemoryPlane final : public ForwardingPlane {
public:
   std::string_view name() const override { return "memory"; }
   void answersTo(const PlaneAnswers& answers) override { answers_.emplace(answers); }
   void groupSet(NameId id, const orv::nexthop_group_t& group) override;
   void groupDel(NameId id) override;
   void routesSet(std::span<const PlaneRoute> routes) override;
   void routeDel(const RouteKey& key) override;
   void mplsRouteSet(const PlaneMplsRoute& route) override;
   void mplsRouteDel(const orv::mpls_route_key_t& key) override;
   TrafficCounter counter(NameId group, std::uint16_t entry) const override;
   void countTraffic(NameId group, std::uint16_t entry, TrafficCounter traffic) override;

private:
   struct Entry {
      orv::nexthop_group_entry_t what;
      TrafficCounter traffic;
   };

   std::optional<PlaneAnswers> answers_;
   absl::flat_hash_map<NameId, orv::slot_map<Entry>> groups_;
   std::vector<RouteIndex> tokens_;  // reused buffer
};

}  // namespace softswitch
