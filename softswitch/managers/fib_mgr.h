// The FIB of the default VRF: a view of what hardware has, stored nowhere else.
//
// A route is in the FIB while hardware has it, it has a way out (its nexthop group is in hardware, one of its
// hops resolves, or it drops or punts), and no route of the same prefix with a smaller preference qualifies.
// Its FEC is the group's, or its own if it has hops; a route that drops or punts has no FEC.
//
// A FEC is announced before the first route that uses it. A route's own FEC is withdrawn after the route, or
// after the route was announced with another FEC.
//
// Thread-safety: guarded by the SDK's lock.
#pragma once

#include "orv/fib.h"
#include "orv/intf.h"
#include "softswitch/managers/ip_route_mgr.h"
#include "softswitch/managers/nexthop_group_mgr.h"
#include "softswitch/tables/fec.h"

namespace softswitch {

class FibMgr final : public orv::fib_mgr, public RouteObserver, public GroupObserver {
public:
   FibMgr(IpRouteMgr& routes, NexthopGroupMgr& groups, const Names& groupNames, const orv::intf_mgr& intfs);

   void eventsEnabledIs(bool enabled) { events_ = enabled; }

   bool events_enabled() const override;
   orv::fib_route_iter_t fib_route_iter() const override;
   bool fib_route_exists(const orv::fib_route_key_t& key) const override;
   orv::fib_route_t fib_route(const orv::fib_route_key_t& key) const override;
   orv::fib_fec_iter_t fib_fec_iter() const override;
   bool fib_fec_exists(const orv::fib_fec_key_t& key) const override;
   orv::fib_fec_t fib_fec(const orv::fib_fec_key_t& key) const override;

   void routeChanged(RouteRow& row) override;
   void wayOutChanged(RouteRow& row) override;
   void routeGone(const GoneRoute& route) override;
   void groupProgrammed(NameId id, bool fresh) override;
   void groupGone(NameId id) override;

   // For the iterators and for look-ups.
   bool inFib(const RouteRow& row) const { return hasWayOut(row) && best(row); }
   bool hopResolves(const orv::ip_route_via_t& via) const;
   orv::fib_route_t toFibRoute(const RouteRow& row) const;
   orv::fib_fec_t groupFec(NameId id) const;
   orv::fib_fec_t hopsFec(const RouteRow& row) const;
   const IpRouteMgr& routes() const { return routes_; }
   const NexthopGroupMgr& groups() const { return groups_; }

private:
   bool hasWayOut(const RouteRow& row) const;
   bool best(const RouteRow& row) const;
   const RouteRow* bestOf(const RouteKey& key) const;
   void announce(RouteRow& row);
   void replaceOthers(const RouteRow& row);
   void withdraw(const RouteKey& key);
   void withdrawFec(RouteIndex index);
   void withdrawFec(RouteRow& row);

   IpRouteMgr& routes_;
   NexthopGroupMgr& groups_;
   const Names& groupNames_;
   const orv::intf_mgr& intfs_;
   bool events_ = false;
};

}  // namespace softswitch
