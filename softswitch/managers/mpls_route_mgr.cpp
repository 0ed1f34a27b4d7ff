#include "softswitch/managers/mpls_route_mgr.h"

#include <fmt/format.h>

#include <algorithm>

#include "orv/lock.h"
#include "softswitch/tables/name_check.h"
#include "softswitch/tables/sdk_iters.h"

namespace softswitch {
namespace {

using Action = orv::mpls_action_t;

[[noreturn]] void refuseMix(const orv::mpls_route_key_t& key, const char* have, const char* has) {
   throw orv::invalid_argument_error(
        fmt::format("via of mpls route {}: the route's vias have {}, this one has {}", key, have, has));
}

void validateKey(const orv::mpls_route_key_t& key) {
   if (key.labels().empty()) throw orv::invalid_argument_error("mpls route has no label");
   for (const auto label : key.labels()) {
      if (!label)
         throw orv::invalid_range_error("mpls route: label", label.label(), 0, orv::mpls_label_t::max);
   }
}

}  // namespace

MplsRouteMgr::MplsRouteMgr(const Context& context, Hardware& hardware, Names& groupNames,
                           NexthopGroupMgr& groups, const orv::intf_mgr& intfs, const MountMgr& mounts)
     : GroupSweep(groupNames),
       hardware_(hardware),
       groupNames_(groupNames),
       groups_(groups),
       intfs_(intfs),
       viasMax_(context.limits.viasPerRoute),
       table_(context.store, groupNames, context.limits.mplsRoutes),
       status_(mounts) {
   groups.observe(*this);
   table_.visitAll([this](MplsRow& row) { queue(row); });
}

void MplsRouteMgr::resync_init() {
   orv::sdk_lock_check();
   table_.marks().begin();
}

void MplsRouteMgr::resync_complete() {
   orv::sdk_lock_check();
   completeResync(
        table_, [this](MplsRow& row) { erase(row); }, [this](MplsRow& row) { changed(row); });
}

orv::mpls_route_iter_t MplsRouteMgr::mpls_route_iter() const {
   orv::sdk_lock_check();
   return makeCursorIter<orv::mpls_route_iter_t>(MplsRouteTable::Cursor(table_),
                                                 [](const MplsRow& row, orv::mpls_route_t& route) {
                                                    route = orv::mpls_route_t(row.key(), row.version);
                                                    return true;
                                                 });
}

orv::mpls_route_via_iter_t MplsRouteMgr::mpls_route_via_iter(const orv::mpls_route_key_t& key) const {
   orv::sdk_lock_check();
   return makeSnapshotIter<orv::mpls_route_via_iter_t>(
        [this, key] {
           const auto* row = table_.findRoute(key);
           return row == nullptr ? std::vector<orv::mpls_route_via_t>() : table_.viasOf(*row);
        },
        MplsRouteTable::sameVia,
        [this, changes = table_.viaChanges()] { return table_.viaChanges() == changes; });
}

orv::mpls_route_status_iter_t MplsRouteMgr::mpls_route_status_iter() const {
   orv::sdk_lock_check();
   return makeCursorIter<orv::mpls_route_status_iter_t>(
        MplsRouteTable::Cursor(table_), [](const MplsRow& row, orv::mpls_route_status_t& status) {
           if (row.fec == 0) return false;
           status = orv::mpls_route_status_t(row.key());
           status.fec_id_is(orv::mpls_fec_id_t(row.fec));
           status.hw_version_id_is(row.programmedVersion);
           return true;
        });
}

orv::mpls_route_via_status_iter_t MplsRouteMgr::mpls_route_via_status_iter(
     const orv::mpls_route_key_t& key) const {
   orv::sdk_lock_check();
   return makeSnapshotIter<orv::mpls_route_via_status_iter_t>(
        [this, key] {
           std::vector<orv::mpls_route_via_t> vias;
           const auto* row = inHardware(key);
           if (row == nullptr) return vias;
           if (row->hardware != nullptr && !row->hardware->programmed.empty()) {
              vias = row->hardware->programmed;
           } else if (row->programmedGroup != Names::none) {
              vias.emplace_back(key, row->programmedAction)
                   .nexthop_group_is(groupNames_.text(row->programmedGroup));
           }
           for (auto& via : vias)
              via.route_key_is(key);
           return vias;
        },
        MplsRouteTable::sameVia);
}

bool MplsRouteMgr::exists(const orv::mpls_route_key_t& key) const {
   orv::sdk_lock_check();
   return table_.findRoute(key) != nullptr;
}

bool MplsRouteMgr::exists(const orv::mpls_route_via_t& via) const {
   orv::sdk_lock_check();
   const auto* row = table_.findRoute(via.route_key());
   return row != nullptr && table_.hasVia(*row, via);
}

orv::mpls_route_t MplsRouteMgr::mpls_route(const orv::mpls_route_key_t& key) const {
   orv::sdk_lock_check();
   const auto* row = table_.findRoute(key);
   return row == nullptr ? orv::mpls_route_t{} : orv::mpls_route_t(key, row->version);
}

std::uint8_t MplsRouteMgr::metric(const orv::mpls_route_key_t& key) const {
   orv::sdk_lock_check();
   const auto* row = table_.atOrAfter(orv::mpls_route_key_t(key.labels(), 0));
   if (row == nullptr) return 0;
   const auto found = row->key();
   return std::ranges::equal(found.labels(), key.labels()) ? found.metric() : std::uint8_t{0};
}

orv::mpls_fec_id_t MplsRouteMgr::fec_id(const orv::mpls_route_key_t& key) const {
   orv::sdk_lock_check();
   const auto* row = inHardware(key);
   return orv::mpls_fec_id_t(row == nullptr ? 0 : row->fec);
}

std::uint16_t MplsRouteMgr::hw_version_id(const orv::mpls_route_key_t& key) const {
   orv::sdk_lock_check();
   const auto* row = inHardware(key);
   return row == nullptr ? std::uint16_t{0} : row->programmedVersion;
}

void MplsRouteMgr::mpls_route_set(const orv::mpls_route_t& route) {
   orv::sdk_lock_check();
   validateKey(route.key());
   auto* row = table_.findRoute(route.key());
   if (row == nullptr) {
      table_.checkCapacity();
      table_.prepare(table_.find(route.key()), 0);
      row = &table_.insert(route.key());
   } else {
      row->mark = table_.marks().epoch();
      if (row->version == route.version_id()) return;
      table_.prepare(row, table_.bytesOfVias(*row));
   }
   row->version = route.version_id();
   changed(*row);
}

void MplsRouteMgr::mpls_route_del(const orv::mpls_route_key_t& key) {
   orv::sdk_lock_check();
   if (auto* row = table_.findRoute(key)) erase(*row);
}

void MplsRouteMgr::erase(MplsRow& row) {
   table_.prepare(&row, table_.bytesOfVias(row), true);
   table_.erase(row);
   queue(row);
}

void MplsRouteMgr::validateVia(const orv::mpls_route_via_t& via) const {
   const auto refuseVia = [&](const std::string& why) {
      throw orv::invalid_argument_error(fmt::format("via of mpls route {}: {}", via.route_key(), why));
   };
   const bool hop = via.hop().af() != orv::af_none;
   if (!via.nexthop_group().empty()) {
      if (hop || !!via.intf()) {
         refuseVia(fmt::format("it has both nexthop group {} and {} {}", via.nexthop_group(),
                               hop ? "hop" : "interface",
                               hop ? via.hop().to_string() : via.intf().to_string()));
      }
      if (const auto fault = textFault(via.nexthop_group(), NexthopGroupMgr::nameBytesMax); !fault.empty())
         refuseVia(fmt::format("nexthop group name {}", fault));
   } else if (!hop && !via.intf()) {
      refuseVia("it names neither a hop nor an interface nor a nexthop group");
   }
   if (!!via.intf() && !intfs_.exists(via.intf()))
      refuseVia(fmt::format("unknown interface {}", via.intf().name()));
   const bool needsLabel = via.label_action() == Action::push || via.label_action() == Action::swap;
   if (via.label_action() == Action::none) refuseVia("it has no label action");
   if (needsLabel && !via.pushswap_label())
      refuseVia(
           fmt::format("action {} needs a label of at most {}", via.label_action(), orv::mpls_label_t::max));
   if (!needsLabel && !!via.pushswap_label())
      refuseVia(
           fmt::format("action {} takes no label, {} was given", via.label_action(), via.pushswap_label()));
}

void MplsRouteMgr::mpls_route_via_set(const orv::mpls_route_via_t& via) {
   orv::sdk_lock_check();
   auto* row = table_.findRoute(via.route_key());
   if (row == nullptr) {
      throw orv::invalid_argument_error(
           fmt::format("via of mpls route {}, which does not exist", via.route_key()));
   }
   validateVia(via);
   const bool group = !via.nexthop_group().empty();
   if (row->hasHops() && group) refuseMix(via.route_key(), "hops", "a nexthop group");
   if (row->group != Names::none && !group) refuseMix(via.route_key(), "a nexthop group", "a hop");
   if (!group) {
      if (row->hops() >= viasMax_ && !table_.hasHop(*row, via)) {
         throw orv::invalid_argument_error(fmt::format(
              "via of mpls route {}: the route already has {} vias, the maximum", via.route_key(), viasMax_));
      }
      if (table_.setHop(*row, via)) changed(*row);
      return;
   }
   if (table_.keepGroup(*row, via)) return;
   table_.prepare(row, MplsRouteTable::bytesOfGroup(via.nexthop_group()));
   table_.setGroup(*row, via);
   changed(*row);
}

void MplsRouteMgr::mpls_route_via_del(const orv::mpls_route_via_t& via) {
   orv::sdk_lock_check();
   auto* row = table_.findRoute(via.route_key());
   if (row != nullptr && table_.eraseVias(*row, via)) changed(*row);
}

const MplsRow* MplsRouteMgr::inHardware(const orv::mpls_route_key_t& key) const {
   const auto* row = table_.find(key);
   return row == nullptr || row->fec == 0 ? nullptr : row;
}

void MplsRouteMgr::changed(MplsRow& row) {
   table_.changed(row);
   queue(row);
}

void MplsRouteMgr::queue(MplsRow& row) {
   if (!row.queued) {
      row.queued = true;
      pending_.push(&row);
   }
   hardware_.request();
}

}  // namespace softswitch
