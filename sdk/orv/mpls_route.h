// MPLS routes and their vias.
//
// Thread-safety: every operation is a call of the SDK and needs the main thread or
// sdk_scoped_lock (lock.h). Callbacks come from the main loop.
#pragma once

#include "orv/iter.h"
#include "orv/mpls_route_types.h"
#include "orv/watch_list.h"

namespace orv {

class mpls_route_mgr;

// Registers with the manager for its lifetime; registers nothing if the manager is null.
// REQUIRES: the manager outlives the handler.
class mpls_route_handler {
public:
   explicit mpls_route_handler(mpls_route_mgr* mgr);
   virtual ~mpls_route_handler();
   mpls_route_handler(const mpls_route_handler&) = delete;
   mpls_route_handler& operator=(const mpls_route_handler&) = delete;

   // No callback comes for a route that is not watched.
   void watch_all_mpls_routes(bool interest);
   void watch_mpls_route(const mpls_route_key_t& key, bool interest);

   // The route was programmed in hardware with this FEC, or was removed from hardware. Only handlers that
   // watch all routes receive FEC events.
   virtual void on_mpls_route_set(const mpls_route_key_t& key, mpls_fec_id_t fec);
   virtual void on_mpls_route_del(const mpls_route_key_t& key);
   virtual void on_mpls_fec_set(mpls_fec_id_t fec);
   virtual void on_mpls_fec_del(mpls_fec_id_t fec);

   [[nodiscard]] mpls_route_mgr* get_mpls_route_mgr() const noexcept { return mgr_; }

private:
   mpls_route_mgr* const mgr_;
};

struct mpls_route_iter_impl : iter_impl<mpls_route_t> {};
struct mpls_route_via_iter_impl : iter_impl<mpls_route_via_t> {};
struct mpls_route_status_iter_impl : iter_impl<mpls_route_status_t> {};
struct mpls_route_via_status_iter_impl : iter_impl<mpls_route_via_t> {};
// Routes, ordered by key; vias of one route.
using mpls_route_iter_t = iter_base<mpls_route_t, mpls_route_iter_impl>;
using mpls_route_via_iter_t = iter_base<mpls_route_via_t, mpls_route_via_iter_impl>;
// The same, as programmed in hardware.
using mpls_route_status_iter_t = iter_base<mpls_route_status_t, mpls_route_status_iter_impl>;
using mpls_route_via_status_iter_t = iter_base<mpls_route_via_t, mpls_route_via_status_iter_impl>;

// THROWS: one of the errors of error.h, naming the value, if the switch refuses a value. Nothing changes
// then.
class mpls_route_mgr {
public:
   virtual ~mpls_route_mgr() = default;

   // resync_init marks every entry stale; setting an entry again clears its mark. resync_complete removes the
   // entries that are still stale. A second resync_init marks every entry again.
   virtual void resync_init() = 0;
   virtual void resync_complete() = 0;

   [[nodiscard]] virtual mpls_route_iter_t mpls_route_iter() const = 0;
   [[nodiscard]] virtual mpls_route_via_iter_t mpls_route_via_iter(const mpls_route_key_t& key) const = 0;
   [[nodiscard]] virtual mpls_route_status_iter_t mpls_route_status_iter() const = 0;
   [[nodiscard]] virtual mpls_route_via_status_iter_t mpls_route_via_status_iter(
        const mpls_route_key_t& key) const = 0;

   [[nodiscard]] virtual bool exists(const mpls_route_key_t& key) const = 0;
   // True if the route has a via that equals this one in all fields. A bare via matches any via of its route.
   [[nodiscard]] virtual bool exists(const mpls_route_via_t& via) const = 0;
   // Smallest metric among the routes with these labels; 0 if no route has these labels.
   [[nodiscard]] virtual std::uint8_t metric(const mpls_route_key_t& key) const = 0;
   // FEC of the route in hardware; 0 if hardware does not have the route.
   [[nodiscard]] virtual mpls_fec_id_t fec_id(const mpls_route_key_t& key) const = 0;

   // Creates or changes the route; its vias stay.
   virtual void mpls_route_set(const mpls_route_t& route) = 0;
   // Removes the route and its vias. A no-op if the route does not exist.
   virtual void mpls_route_del(const mpls_route_key_t& key) = 0;
   // Adds a via to an existing route, or overwrites the via with the same identity: hop and interface, or the
   // nexthop group.
   virtual void mpls_route_via_set(const mpls_route_via_t& via) = 0;
   // Removes the via that equals this one in all fields; a bare via removes all vias of its route. A no-op if
   // no via matches.
   virtual void mpls_route_via_del(const mpls_route_via_t& via) = 0;

   // A default route object if the route does not exist.
   [[nodiscard]] virtual mpls_route_t mpls_route(const mpls_route_key_t& key) const = 0;

   // For handlers and for implementations of the manager.
   [[nodiscard]] watch_list<mpls_route_handler, mpls_route_key_t>& handlers() noexcept { return handlers_; }

private:
   watch_list<mpls_route_handler, mpls_route_key_t> handlers_;
};

// Operations beyond the public manager. The manager that sdk::get_mpls_route_mgr returns has them.
class MplsRouteMgrImpl : public mpls_route_mgr {
public:
   // Version of the route in hardware; 0 if it has no version or does not exist.
   [[nodiscard]] virtual std::uint16_t hw_version_id(const mpls_route_key_t& key) const = 0;
};

}  // namespace orv
