#include "softswitch/forwarding/memory_plane.h"

namespace softswitch {

void MemoryPlane::groupSet(NameId id, const orv::nexthop_group_t& group) {
   auto& kept = groups_[id];
   // A changed entry starts from zero again, unless the group's counters are persistent.
   orv::slot_map<Entry> entries;
   entries.reserve(group.nexthops().size());
   for (const auto& [slot, nexthop] : group.nexthops()) {
      const auto* before = kept.find(slot);
      const bool goesOn = before != nullptr && (group.counters_persistent() || before->what == nexthop);
      entries.set(slot, Entry{nexthop, goesOn ? before->traffic : TrafficCounter{}});
   }
   kept = std::move(entries);
   answers_->groups.groupAnswer(id, group.version_id(), {.programmed = true, .counted = true});
}

void MemoryPlane::groupDel(NameId id) {
   groups_.erase(id);
}

void MemoryPlane::routesSet(std::span<const PlaneRoute> routes) {
   tokens_.clear();
   for (const auto& route : routes)
      tokens_.push_back(route.token);
   answers_->routes.routesAnswer(tokens_, true);
}

void MemoryPlane::routeDel(const RouteKey&) {}

void MemoryPlane::mplsRouteSet(const PlaneMplsRoute& route) {
   answers_->mplsRoutes.mplsRouteAnswer(route.key, route.version, true);
}

void MemoryPlane::mplsRouteDel(const orv::mpls_route_key_t&) {}

TrafficCounter MemoryPlane::counter(NameId group, std::uint16_t entry) const {
   const auto it = groups_.find(group);
   if (it == groups_.end()) return {};
   const auto* found = it->second.find(entry);
   return found == nullptr ? TrafficCounter{} : found->traffic;
}

void MemoryPlane::countTraffic(NameId group, std::uint16_t entry, TrafficCounter traffic) {
   const auto it = groups_.find(group);
   if (it == groups_.end()) return;
   if (const auto* found = it->second.find(entry)) {
      auto counted = *found;
      counted.traffic.packets += traffic.packets;
      counted.traffic.bytes += traffic.bytes;
      it->second.set(entry, std::move(counted));
   }
}

}  // namespace softswitch
