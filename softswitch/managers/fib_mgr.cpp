#include "softswitch/managers/fib_mgr.h"

#include <algorithm>
#include <memory>

#include "orv/lock.h"
#include "softswitch/tables/sdk_iters.h"

namespace softswitch {
namespace {

using Action = orv::ip_route_action_t;

RouteKey firstOf(const orv::ip_prefix_t& prefix) {
   return {Names::none, prefix, 0};
}

orv::fib_route_type_t typeOf(const RouteRow& row) {
   switch (row.action) {
      case Action::drop:
         return orv::fib_route_type_t::drop;
      case Action::punt:
         return orv::fib_route_type_t::receive;
      case Action::nexthop_group:
         return orv::fib_route_type_t::nexthop_group;
      case Action::forward:
         break;
   }
   return orv::fib_route_type_t::sdk_agent;
}

// In order of FEC id: the FECs of routes with hops, then those of groups.
class FecIter final : public orv::fib_fec_iter_impl {
public:
   explicit FecIter(const FibMgr& fib) : fib_(&fib) {}
   bool next(orv::fib_fec_t& fec) override {
      const auto& table = fib_->routes().table();
      if (table.rowsWithHops() != 0) {
         while (row_ < table.bound()) {
            const auto& row = table.at(row_++);
            if (!row.alive() || !row.hasHops() || row.key.vrf() != Names::none || !fib_->inFib(row)) continue;
            fec = fib_->hopsFec(row);
            return true;
         }
      }
      group_ = fib_->groups().programmedAtOrAfter(group_ + 1);
      if (group_ == Names::none) {
         group_ = static_cast<NameId>(-2);
         return false;
      }
      fec = fib_->groupFec(group_);
      return true;
   }
   std::unique_ptr<orv::iter_impl<orv::fib_fec_t>> clone() const override {
      return std::make_unique<FecIter>(*this);
   }

private:
   const FibMgr* fib_;
   RouteIndex row_ = 0;
   NameId group_ = Names::none;
};

}  // namespace

FibMgr::FibMgr(IpRouteMgr& routes, NexthopGroupMgr& groups, const Names& groupNames,
               const orv::intf_mgr& intfs)
     : routes_(routes), groups_(groups), groupNames_(groupNames), intfs_(intfs) {
   // A group's FEC is announced before the routes over it.
   groups.observe(*this);
   groups.observe(routes);
   routes.observe(*this);
}

bool FibMgr::events_enabled() const {
   orv::sdk_lock_check();
   return events_;
}

orv::fib_route_iter_t FibMgr::fib_route_iter() const {
   orv::sdk_lock_check();
   return makeCursorIter<orv::fib_route_iter_t>(IpRouteTable::Cursor(routes_.table(), Names::none),
                                                [this](const RouteRow& row, orv::fib_route_t& route) {
                                                   if (!inFib(row)) return false;
                                                   route = toFibRoute(row);
                                                   return true;
                                                });
}

bool FibMgr::fib_route_exists(const orv::fib_route_key_t& key) const {
   orv::sdk_lock_check();
   return bestOf(firstOf(key.prefix())) != nullptr;
}

orv::fib_route_t FibMgr::fib_route(const orv::fib_route_key_t& key) const {
   orv::sdk_lock_check();
   const auto* row = bestOf(firstOf(key.prefix()));
   return row == nullptr ? orv::fib_route_t{} : toFibRoute(*row);
}

orv::fib_fec_iter_t FibMgr::fib_fec_iter() const {
   orv::sdk_lock_check();
   return orv::fib_fec_iter_t(std::make_unique<FecIter>(*this));
}

bool FibMgr::fib_fec_exists(const orv::fib_fec_key_t& key) const {
   return fib_fec(key).fec_key().fec_id() != 0;
}

orv::fib_fec_t FibMgr::fib_fec(const orv::fib_fec_key_t& key) const {
   orv::sdk_lock_check();
   const auto number = fecNumber(key.fec_id());
   switch (fecKind(key.fec_id())) {
      case FecKind::hops: {
         const auto& table = routes_.table();
         if (number == 0 || number > table.bound()) return {};
         const auto& row = table.at(static_cast<RouteIndex>(number - 1));
         if (!row.alive() || !row.hasHops() || row.key.vrf() != Names::none || !inFib(row)) return {};
         return hopsFec(row);
      }
      case FecKind::nexthopGroup:
         if (number > groupNames_.bound() || groups_.programmed(static_cast<NameId>(number)) == nullptr)
            return {};
         return groupFec(static_cast<NameId>(number));
      case FecKind::mplsHops:
         break;
   }
   return {};
}

bool FibMgr::hopResolves(const orv::ip_route_via_t& via) const {
   return !via.intf() ||
          (intfs_.exists(via.intf()) && intfs_.oper_status(via.intf()) == orv::oper_status_t::up);
}

bool FibMgr::hasWayOut(const RouteRow& row) const {
   if (!row.programmed || row.dead) return false;
   if (row.group != Names::none) return groups_.programmed(row.group) != nullptr;
   if (!row.vias) return row.action == Action::drop || row.action == Action::punt;
   return std::any_of(row.vias->begin(), row.vias->end(),
                      [this](const auto& v) { return hopResolves(v.via); });
}

bool FibMgr::best(const RouteRow& row) const {
   if (routes_.table().rowsOfOtherPreference() == 0) return true;
   auto key = row.key;
   key.preference = 0;
   return bestOf(key) == &row;
}

// RETURNS: the route of the prefix that is in the FIB, or null.
const RouteRow* FibMgr::bestOf(const RouteKey& key) const {
   const auto& table = routes_.table();
   const auto* row = table.atOrAfter(key);
   while (row != nullptr && row->key.samePrefix(key)) {
      if (hasWayOut(*row)) return row;
      if (row->key.preference == 255) break;
      auto following = row->key;
      ++following.preference;
      row = table.atOrAfter(following);
   }
   return nullptr;
}

orv::fib_route_t FibMgr::toFibRoute(const RouteRow& row) const {
   orv::fib_route_t route{orv::fib_route_key_t(row.key.prefix())};
   route.preference_is(row.key.preference);
   route.route_type_is(typeOf(row));
   if (row.vias) route.metric_is(row.vias->front().via.metric());
   if (row.group != Names::none) {
      route.fec_id_is(fecId(FecKind::nexthopGroup, row.group));
   } else if (row.vias) {
      route.fec_id_is(fecId(FecKind::hops, std::uint64_t{row.index} + 1));
   }
   return route;
}

// Its vias are the entries that resolve, each with its outermost pushed label.
orv::fib_fec_t FibMgr::groupFec(NameId id) const {
   orv::fib_fec_t fec{orv::fib_fec_key_t(fecId(FecKind::nexthopGroup, id))};
   fec.fec_type_is(orv::fib_fec_type_t::nexthop_group);
   fec.nexthop_group_name_is(groupNames_.text(id));
   for (const auto& [slot, entry] : groups_.programmed(id)->nexthops()) {
      if (!groups_.resolves(entry)) continue;
      orv::fib_via_t via(entry.nexthop(), entry.intf());
      const auto& action = entry.mpls_action();
      if (action.action_type() == orv::mpls_action_t::push && !action.label_stack().empty())
         via.mpls_label_is(action.label_stack().front());
      fec.via_set(std::move(via));
   }
   return fec;
}

orv::fib_fec_t FibMgr::hopsFec(const RouteRow& row) const {
   orv::fib_fec_t fec{orv::fib_fec_key_t(fecId(FecKind::hops, std::uint64_t{row.index} + 1))};
   fec.fec_type_is(orv::fib_fec_type_t::forward);
   for (const auto& each : *row.vias) {
      if (!hopResolves(each.via)) continue;
      orv::fib_via_t via(each.via.hop(), each.via.intf());
      via.mpls_label_is(each.via.mpls_label());
      fec.via_set(std::move(via));
   }
   return fec;
}

void FibMgr::routeChanged(RouteRow& row) {
   if (row.key.vrf() != Names::none) return;
   const bool now = inFib(row);
   if (now) {
      announce(row);
      if (routes_.table().rowsOfOtherPreference() != 0) replaceOthers(row);
   } else if (row.forwarded) {
      row.forwarded = false;
      withdraw(row.key);
      withdrawFec(row);
   }
}

// Clears the marks of the route that `row` replaces in the FIB.
void FibMgr::replaceOthers(const RouteRow& row) {
   for (auto key = row.key; key.preference != 255;) {
      ++key.preference;
      const auto* next = routes_.table().atOrAfter(key);
      if (next == nullptr || !next->key.samePrefix(row.key)) return;
      auto& other = routes_.table().at(next->index);
      other.forwarded = false;
      withdrawFec(other);
      key = next->key;
   }
}

void FibMgr::wayOutChanged(RouteRow& row) {
   if (row.key.vrf() != Names::none) return;
   if (inFib(row) != row.forwarded) {
      routeChanged(row);
   } else if (row.forwarded && row.hasHops() && events_ && !handlers().empty()) {
      const auto fec = hopsFec(row);
      handlers().notify_every([&](auto& h) { h.on_fec_set(fec); });
   }
}

void FibMgr::routeGone(const GoneRoute& route) {
   if (route.forwarded) withdraw(route.key);
   if (route.ownFec) withdrawFec(route.index);
}

void FibMgr::announce(RouteRow& row) {
   row.forwarded = true;
   const bool told = events_ && !handlers().empty();
   if (row.hasHops()) {
      row.ownFec = true;
      if (told) {
         const auto fec = hopsFec(row);
         handlers().notify_every([&](auto& h) { h.on_fec_set(fec); });
      }
   }
   if (told) {
      const auto route = toFibRoute(row);
      handlers().notify_every([&](auto& h) { h.on_route_set(route); });
   }
   if (!row.hasHops()) withdrawFec(row);
}

void FibMgr::withdrawFec(RouteRow& row) {
   if (!row.ownFec) return;
   row.ownFec = false;
   withdrawFec(row.index);
}

void FibMgr::withdrawFec(RouteIndex index) {
   if (!events_ || handlers().empty()) return;
   const orv::fib_fec_key_t key(fecId(FecKind::hops, std::uint64_t{index} + 1));
   handlers().notify_every([&](auto& h) { h.on_fec_del(key); });
}

// The prefix lost its route: announces its next best route, or the removal.
void FibMgr::withdraw(const RouteKey& key) {
   auto first = key;
   first.preference = 0;
   if (const auto* next = bestOf(first)) {
      announce(routes_.table().at(next->index));
      return;
   }
   if (!events_ || handlers().empty()) return;
   const orv::fib_route_key_t gone(key.prefix());
   handlers().notify_every([&](auto& h) { h.on_route_del(gone); });
}

void FibMgr::groupProgrammed(NameId id, bool) {
   if (!events_ || handlers().empty()) return;
   const auto fec = groupFec(id);
   handlers().notify_every([&](auto& h) { h.on_fec_set(fec); });
}

void FibMgr::groupGone(NameId id) {
   if (!events_ || handlers().empty()) return;
   const orv::fib_fec_key_t key(fecId(FecKind::nexthopGroup, id));
   handlers().notify_every([&](auto& h) { h.on_fec_del(key); });
}

}  // namespace softswitch
