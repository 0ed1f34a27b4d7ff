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
// By key; vias of one route.
using ip_route_iter_t = iter_base<ip_route_t, ip_route_iter_impl>;
using ip_route_via_iter_t = iter_base<ip_route_via_t, ip_route_via_iter_impl>;

// A value that the switch refuses throws one of the errors of error.h, naming it;
// nothing has changed then.
//
// An operation without a VRF works in the default one, as one with "default" does.
// What a VRF that does not exist is asked for is not there; a write to it is refused.
class ip_route_mgr {
public:
   virtual ~ip_route_mgr() = default;

   // The mark of the routes that this agent programs; 0 for none.
   virtual void tag_is(std::uint32_t tag) = 0;
   [[nodiscard]] virtual std::uint32_t tag() const = 0;

   // Between the two every entry that is not set again is stale; resync_complete
   // removes what is. A second resync_init makes everything stale once more.
   virtual void resync_init() = 0;
   virtual void resync_complete() = 0;

   [[nodiscard]] virtual ip_route_iter_t ip_route_iter() const = 0;
   [[nodiscard]] virtual ip_route_iter_t ip_route_iter(const std::string& vrf_name) const = 0;
   [[nodiscard]] virtual ip_route_via_iter_t ip_route_via_iter(const ip_route_key_t& key) const = 0;
   [[nodiscard]] virtual ip_route_via_iter_t ip_route_via_iter(const ip_route_key_t& key,
                                                               const std::string& vrf_name) const = 0;

   [[nodiscard]] virtual bool exists(const ip_route_key_t& key) const = 0;
   [[nodiscard]] virtual bool exists(const ip_route_key_t& key, const std::string& vrf_name) const = 0;
   // True when the route has a via that equals this one in all fields. A bare via
   // stands for any via of its route.
   [[nodiscard]] virtual bool exists(const ip_route_via_t& via) const = 0;
   [[nodiscard]] virtual bool exists(const ip_route_via_t& via, const std::string& vrf_name) const = 0;

   // A default route object where there is none.
   [[nodiscard]] virtual ip_route_t ip_route(const ip_route_key_t& key) const = 0;
   [[nodiscard]] virtual ip_route_t ip_route(const ip_route_key_t& key,
                                             const std::string& vrf_name) const = 0;

   // Makes or changes the route; its vias stay. Without an action the route forwards
   // along its vias. An action that contradicts the vias is refused.
   virtual void ip_route_set(const ip_route_t& route) = 0;
   virtual void ip_route_set(const ip_route_t& route, ip_route_action_t action) = 0;
   virtual void ip_route_set(const ip_route_t& route, const std::string& vrf_name) = 0;
   // Removes the route and its vias. A route that is not there is no error.
   virtual void ip_route_del(const ip_route_key_t& key, const std::string& vrf_name) = 0;
   virtual void ip_route_del(const ip_route_key_t& key) = 0;

   // Adds a via to a route that exists, or overwrites the one of the same identity:
   // hop, interface, VXLAN endpoint, VNI and VXLAN interface. A route has one via with
   // a nexthop group at most.
   virtual void ip_route_via_set(const ip_route_via_t& via) = 0;
   virtual void ip_route_via_set(const ip_route_via_t& via, const std::string& vrf_name) = 0;
   // Removes the via that equals this one in all fields; a bare via stands for all
   // vias of its route. Nothing to remove is no error.
   virtual void ip_route_via_del(const ip_route_via_t& via) = 0;
   virtual void ip_route_via_del(const ip_route_via_t& via, const std::string& vrf_name) = 0;

   // The action of the route in the default VRF; forward where there is none.
   [[nodiscard]] virtual ip_route_action_t action(const ip_route_key_t& key) const = 0;
};

}  // namespace orv
