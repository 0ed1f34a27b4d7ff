// IP routes and their vias, in the default VRF or in a named one.
//
// Thread-safety: every operation is a call of the SDK and needs the main thread or
// sdk_scoped_lock (lock.h).
#pragma once

#include "orv/ip_route_types.h"
#include "orv/iter.h"

namespace orv {

struct ip_route_iter_impl : iter_impl<ip_route_t> {};
struct ip_route_via_iter_impl : iter_impl<ip_route_via_t> {};
// Routes, ordered by key; vias of one route.
using ip_route_iter_t = iter_base<ip_route_t, ip_route_iter_impl>;
using ip_route_via_iter_t = iter_base<ip_route_via_t, ip_route_via_iter_impl>;

// THROWS: one of the errors of error.h, naming the value, if the switch refuses a value. Nothing changes
// then.
//
// An operation without a VRF, or with "default", works in the default VRF. In a VRF that does not exist, a
// read finds nothing and a write is refused.
class ip_route_mgr {
public:
   virtual ~ip_route_mgr() = default;

   // Tag of the routes that this agent programs; 0 for none.
   virtual void tag_is(std::uint32_t tag) = 0;
   [[nodiscard]] virtual std::uint32_t tag() const = 0;

   // resync_init marks every entry stale; setting an entry again clears its mark. resync_complete removes the
   // entries that are still stale. A second resync_init marks every entry again.
   virtual void resync_init() = 0;
   virtual void resync_complete() = 0;

   [[nodiscard]] virtual ip_route_iter_t ip_route_iter() const = 0;
   [[nodiscard]] virtual ip_route_iter_t ip_route_iter(const std::string& vrf_name) const = 0;
   [[nodiscard]] virtual ip_route_via_iter_t ip_route_via_iter(const ip_route_key_t& key) const = 0;
   [[nodiscard]] virtual ip_route_via_iter_t ip_route_via_iter(const ip_route_key_t& key,
                                                               const std::string& vrf_name) const = 0;

   [[nodiscard]] virtual bool exists(const ip_route_key_t& key) const = 0;
   [[nodiscard]] virtual bool exists(const ip_route_key_t& key, const std::string& vrf_name) const = 0;
   // True if the route has a via that equals this one in all fields. A bare via matches any via of its route.
   [[nodiscard]] virtual bool exists(const ip_route_via_t& via) const = 0;
   [[nodiscard]] virtual bool exists(const ip_route_via_t& via, const std::string& vrf_name) const = 0;

   // A default route object if the route does not exist.
   [[nodiscard]] virtual ip_route_t ip_route(const ip_route_key_t& key) const = 0;
   [[nodiscard]] virtual ip_route_t ip_route(const ip_route_key_t& key,
                                             const std::string& vrf_name) const = 0;

   // Creates or changes the route; its vias stay. Without an action the route forwards along its vias. An
   // action that contradicts the vias is refused.
   virtual void ip_route_set(const ip_route_t& route) = 0;
   virtual void ip_route_set(const ip_route_t& route, ip_route_action_t action) = 0;
   virtual void ip_route_set(const ip_route_t& route, const std::string& vrf_name) = 0;
   // Removes the route and its vias. A no-op if the route does not exist.
   virtual void ip_route_del(const ip_route_key_t& key, const std::string& vrf_name) = 0;
   virtual void ip_route_del(const ip_route_key_t& key) = 0;

   // Adds a via to an existing route, or overwrites the via with the same identity: hop, interface, VXLAN
   // endpoint, VNI and VXLAN interface. A route has at most one via with a nexthop group.
   virtual void ip_route_via_set(const ip_route_via_t& via) = 0;
   virtual void ip_route_via_set(const ip_route_via_t& via, const std::string& vrf_name) = 0;
   // Removes the via that equals this one in all fields; a bare via removes all vias of its route. A no-op if
   // no via matches.
   virtual void ip_route_via_del(const ip_route_via_t& via) = 0;
   virtual void ip_route_via_del(const ip_route_via_t& via, const std::string& vrf_name) = 0;

   // The action of the route in the default VRF; forward if the route does not exist.
   [[nodiscard]] virtual ip_route_action_t action(const ip_route_key_t& key) const = 0;
};

}  // namespace orv
