#include "softswitch/managers/ip_route_mgr.h"

#include <fmt/format.h>

#include "orv/error.h"
#include "orv/lock.h"
#include "softswitch/tables/name_check.h"
#include "softswitch/tables/sdk_iters.h"

namespace softswitch {
namespace {

using Action = orv::ip_route_action_t;

bool isDefault(const std::string& vrfName) {
   return vrfName.empty() || vrfName == orv::default_vrf_name;
}

orv::ip_route_t toRoute(const IpRouteTable& table, const RouteRow& row) {
   orv::ip_route_t route(row.key.routeKey());
   route.tag_is(row.tag);
   route.rib_bypass_is(row.ribBypass);
   route.command_tag_is(table.commandTag(row));
   return route;
}

}  // namespace

IpRouteMgr::IpRouteMgr(const Context& context, Hardware& hardware, Names& groupNames, orv::intf_mgr& intfs,
                       orv::vrf_mgr& vrfs)
     : GroupSweep(groupNames),
       orv::intf_handler(&intfs),
       hardware_(hardware),
       intfs_(intfs),
       vrfMgr_(vrfs),
       viasMax_(context.limits.viasPerRoute),
       table_(context.store, groupNames, vrfNames_, context.limits.ipRoutes) {
   watch_all_intfs(true);
   if (table_.size() != 0) sweep();
}

void IpRouteMgr::tag_is(std::uint32_t tag) {
   orv::sdk_lock_check();
   tag_ = tag;
}

std::uint32_t IpRouteMgr::tag() const {
   orv::sdk_lock_check();
   return tag_;
}

void IpRouteMgr::resync_init() {
   orv::sdk_lock_check();
   table_.marks().begin();
}

void IpRouteMgr::resync_complete() {
   orv::sdk_lock_check();
   completeResync(
        table_, [this](RouteRow& row) { del(row); }, [this](RouteRow& row) { changed(row); });
}

orv::ip_route_iter_t IpRouteMgr::ip_route_iter() const {
   return ip_route_iter(orv::default_vrf_name);
}

orv::ip_route_iter_t IpRouteMgr::ip_route_iter(const std::string& vrf_name) const {
   orv::sdk_lock_check();
   NameId vrf;
   if (!vrfNumber(vrf_name, vrf)) return {};
   return makeCursorIter<orv::ip_route_iter_t>(IpRouteTable::Cursor(table_, vrf),
                                               [this](const RouteRow& row, orv::ip_route_t& route) {
                                                  route = toRoute(table_, row);
                                                  return true;
                                               });
}

orv::ip_route_via_iter_t IpRouteMgr::ip_route_via_iter(const orv::ip_route_key_t& key) const {
   return ip_route_via_iter(key, orv::default_vrf_name);
}

orv::ip_route_via_iter_t IpRouteMgr::ip_route_via_iter(const orv::ip_route_key_t& key,
                                                       const std::string& vrf_name) const {
   orv::sdk_lock_check();
   NameId vrf;
   if (!vrfNumber(vrf_name, vrf)) return {};
   return makeSnapshotIter<orv::ip_route_via_iter_t>(
        [this, wanted = RouteKey(vrf, key.prefix(), key.preference())] {
           const auto* row = table_.find(wanted);
           return row == nullptr ? std::vector<orv::ip_route_via_t>() : table_.viasOf(*row);
        },
        IpRouteTable::sameVia,
        [this, changes = table_.viaChanges()] { return table_.viaChanges() == changes; });
}

bool IpRouteMgr::exists(const orv::ip_route_key_t& key) const {
   orv::sdk_lock_check();
   return table_.find(RouteKey(Names::none, key.prefix(), key.preference())) != nullptr;
}

bool IpRouteMgr::exists(const orv::ip_route_key_t& key, const std::string& vrf_name) const {
   orv::sdk_lock_check();
   return find(key, vrf_name) != nullptr;
}

bool IpRouteMgr::exists(const orv::ip_route_via_t& via) const {
   return exists(via, orv::default_vrf_name);
}

bool IpRouteMgr::exists(const orv::ip_route_via_t& via, const std::string& vrf_name) const {
   orv::sdk_lock_check();
   const auto* row = find(via.route_key(), vrf_name);
   return row != nullptr && table_.hasVia(*row, via);
}

orv::ip_route_t IpRouteMgr::ip_route(const orv::ip_route_key_t& key) const {
   return ip_route(key, orv::default_vrf_name);
}

orv::ip_route_t IpRouteMgr::ip_route(const orv::ip_route_key_t& key, const std::string& vrf_name) const {
   orv::sdk_lock_check();
   const auto* row = find(key, vrf_name);
   return row == nullptr ? orv::ip_route_t{} : toRoute(table_, *row);
}

Action IpRouteMgr::action(const orv::ip_route_key_t& key) const {
   return action(key, orv::default_vrf_name);
}

Action IpRouteMgr::action(const orv::ip_route_key_t& key, const std::string& vrf_name) const {
   orv::sdk_lock_check();
   const auto* row = find(key, vrf_name);
   return row == nullptr ? Action::forward : row->action;
}

std::size_t IpRouteMgr::routesIn(const std::string& vrf_name) const {
   orv::sdk_lock_check();
   NameId vrf;
   if (!vrfNumber(vrf_name, vrf)) return 0;
   std::size_t count = 0;
   for (IpRouteTable::Cursor cursor(table_, vrf); cursor.next() != nullptr;)
      ++count;
   return count;
}

void IpRouteMgr::ip_route_set(const orv::ip_route_t& route) {
   orv::sdk_lock_check();
   set(route, nullptr, Names::none);
}

void IpRouteMgr::ip_route_set(const orv::ip_route_t& route, Action action) {
   orv::sdk_lock_check();
   set(route, &action, Names::none);
}

void IpRouteMgr::ip_route_set(const orv::ip_route_t& route, const std::string& vrf_name) {
   orv::sdk_lock_check();
   set(route, nullptr, vrfForWrite(vrf_name));
}

void IpRouteMgr::ip_route_del(const orv::ip_route_key_t& key, const std::string& vrf_name) {
   orv::sdk_lock_check();
   NameId vrf;
   if (!vrfNumber(vrf_name, vrf)) return;
   if (auto* row = table_.find(RouteKey(vrf, key.prefix(), key.preference()))) del(*row);
}

void IpRouteMgr::ip_route_del(const orv::ip_route_key_t& key) {
   ip_route_del(key, orv::default_vrf_name);
}

void IpRouteMgr::ip_route_via_set(const orv::ip_route_via_t& via) {
   orv::sdk_lock_check();
   setVia(via, Names::none);
}

void IpRouteMgr::ip_route_via_set(const orv::ip_route_via_t& via, const std::string& vrf_name) {
   orv::sdk_lock_check();
   setVia(via, vrfForWrite(vrf_name));
}

void IpRouteMgr::ip_route_via_del(const orv::ip_route_via_t& via) {
   ip_route_via_del(via, orv::default_vrf_name);
}

void IpRouteMgr::ip_route_via_del(const orv::ip_route_via_t& via, const std::string& vrf_name) {
   orv::sdk_lock_check();
   NameId vrf;
   if (!vrfNumber(vrf_name, vrf)) return;
   const auto& key = via.route_key();
   auto* row = table_.find(RouteKey(vrf, key.prefix(), key.preference()));
   if (row != nullptr && table_.eraseVias(*row, via)) changed(*row);
}

// RETURNS: false for a VRF that never had a route.
bool IpRouteMgr::vrfNumber(const std::string& vrfName, NameId& number) const {
   number = Names::none;
   if (isDefault(vrfName)) return true;
   number = vrfNames_.find(vrfName);
   return number != Names::none;
}

NameId IpRouteMgr::vrfForWrite(const std::string& vrfName) {
   if (isDefault(vrfName)) return Names::none;
   if (!vrfMgr_.exists(vrfName)) throw orv::invalid_argument_error(fmt::format("unknown VRF {}", vrfName));
   const auto known = vrfNames_.find(vrfName);
   // Never dropped: VRFs are few.
   return known != Names::none ? known : vrfNames_.hold(vrfName);
}

const RouteRow* IpRouteMgr::find(const orv::ip_route_key_t& key, const std::string& vrfName) const {
   NameId vrf;
   if (!vrfNumber(vrfName, vrf)) return nullptr;
   return table_.find(RouteKey(vrf, key.prefix(), key.preference()));
}

void IpRouteMgr::set(const orv::ip_route_t& route, const Action* action, NameId vrf) {
   const auto& prefix = route.key().prefix();
   if (prefix.af() == orv::af_none) throw orv::invalid_argument_error("ip route has no prefix");
   if (const auto fault = textFault(route.command_tag(), commandTagBytesMax); !fault.empty())
      throw orv::invalid_argument_error(fmt::format("ip route {}: command tag {}", prefix, fault));
   const RouteKey key(vrf, prefix, route.key().preference());
   auto* row = table_.find(key);
   auto newAction = action == nullptr ? Action::forward : *action;
   if (row != nullptr) {
      const bool group = row->group != Names::none;
      if (action == nullptr) {
         if (group) newAction = Action::nexthop_group;
      } else if (row->hasVias() && newAction != (group ? Action::nexthop_group : Action::forward)) {
         throw orv::invalid_argument_error(
              fmt::format("ip route {}: action {} contradicts its vias, which have {}", prefix, newAction,
                          group ? "a nexthop group" : "hops"));
      }
      if (row->tag == route.tag() && row->ribBypass == route.rib_bypass() && row->action == newAction &&
          table_.commandTag(*row) == route.command_tag()) {
         row->mark = table_.marks().epoch();
         return;
      }
   } else {
      table_.checkCapacity();
   }
   table_.prepare(row, route.command_tag().size() + (row == nullptr ? 0 : table_.bytesOfVias(*row)));
   if (row == nullptr) row = &table_.insert(key);
   row->mark = table_.marks().epoch();
   row->tag = route.tag();
   row->ribBypass = route.rib_bypass();
   row->action = newAction;
   if (table_.commandTag(*row) != route.command_tag()) table_.setCommandTag(*row, route.command_tag());
   changed(*row);
}

void IpRouteMgr::del(RouteRow& row) {
   const GoneRoute gone{.key = row.key, .index = row.index, .forwarded = row.forwarded, .ownFec = row.ownFec};
   const bool programmed = row.programmed;
   const bool known = row.programmed || row.sent;
   table_.erase(row);
   if (programmed) --programmed_;
   if (!known) return;
   removals_.push(gone);
   hardware_.request();
}

void IpRouteMgr::validateVia(const orv::ip_route_via_t& via) const {
   const auto& key = via.route_key();
   const auto refuseVia = [&](const std::string& why) {
      throw orv::invalid_argument_error(fmt::format("via of ip route {}: {}", key.prefix(), why));
   };
   if (!via.nexthop_group().empty()) {
      if (via.hop().af() != orv::af_none || !!via.intf()) {
         refuseVia(
              fmt::format("it has both nexthop group {} and {} {}", via.nexthop_group(),
                          via.hop().af() != orv::af_none ? "hop" : "interface",
                          via.hop().af() != orv::af_none ? via.hop().to_string() : via.intf().to_string()));
      }
      if (const auto fault = textFault(via.nexthop_group(), NexthopGroupMgr::nameBytesMax); !fault.empty())
         refuseVia(fmt::format("nexthop group name {}", fault));
   } else if (via.hop().af() == orv::af_none && !via.intf() && via.vtep_addr().af() == orv::af_none &&
              via.vni() == 0 && !via.vxlan_intf() && via.egress_vrf().empty()) {
      refuseVia("it names neither a hop nor an interface, a VXLAN tunnel, a VRF or a nexthop group");
   }
   for (const auto* intf : {&via.intf(), &via.vxlan_intf()}) {
      if (!!*intf && !intfs_.exists(*intf)) refuseVia(fmt::format("unknown interface {}", intf->name()));
   }
   if (via.vni() > vniMax) {
      throw orv::invalid_range_error(fmt::format("via of ip route {}: VNI", key.prefix()),
                                     std::uint64_t{via.vni()}, 0, vniMax);
   }
   if (!isDefault(via.egress_vrf()) && !vrfMgr_.exists(via.egress_vrf()))
      refuseVia(fmt::format("unknown VRF {}", via.egress_vrf()));
}

void IpRouteMgr::setVia(const orv::ip_route_via_t& via, NameId vrf) {
   const auto& key = via.route_key();
   auto* row = table_.find(RouteKey(vrf, key.prefix(), key.preference()));
   if (row == nullptr)
      throw orv::invalid_argument_error(
           fmt::format("via of ip route {}, which does not exist", key.prefix()));
   // The common via needs no further check.
   const bool group = !via.nexthop_group().empty();
   if (!group || !IpRouteKind::plain(via) ||
       !textFault(via.nexthop_group(), NexthopGroupMgr::nameBytesMax).empty()) {
      validateVia(via);
   }
   if (row->action == Action::drop || row->action == Action::punt) {
      throw orv::invalid_argument_error(fmt::format(
           "via of ip route {}: the route's action is {}, it takes no via", key.prefix(), row->action));
   }
   if (!group) {
      setHop(*row, via);
      return;
   }
   if (row->hasHops()) {
      throw orv::invalid_argument_error(
           fmt::format("via of ip route {}: nexthop group {} on a route that has hops", key.prefix(),
                       via.nexthop_group()));
   }
   if (row->action == Action::nexthop_group && table_.keepGroup(*row, via)) return;
   table_.prepare(row, table_.commandTag(*row).size() + IpRouteTable::bytesOfGroup(via.nexthop_group()));
   table_.setGroup(*row, via);
   row->action = Action::nexthop_group;
   changed(*row);
}

void IpRouteMgr::setHop(RouteRow& row, const orv::ip_route_via_t& via) {
   const auto& prefix = via.route_key().prefix();
   if (row.group != Names::none || row.action == Action::nexthop_group) {
      throw orv::invalid_argument_error(
           fmt::format("via of ip route {}: a hop on a route that is for a nexthop group", prefix));
   }
   if (row.hops() >= viasMax_ && !table_.hasHop(row, via)) {
      throw orv::invalid_argument_error(
           fmt::format("via of ip route {}: the route already has {} vias, the maximum", prefix, viasMax_));
   }
   if (table_.setHop(row, via)) changed(row);
}

void IpRouteMgr::changed(RouteRow& row) {
   table_.changed(row);
   queue(row);
}

void IpRouteMgr::queue(RouteRow& row) {
   if (row.queued) return;
   row.queued = true;
   pending_.push(row.index);
   hardware_.request();
}

}  // namespace softswitch
