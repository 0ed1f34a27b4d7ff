#include "softswitch/managers/mpls_route_mgr.h"

#include <fmt/format.h>

#include <algorithm>

#include "orv/lock.h"
#include "softswitch/fec.h"

namespace softswitch {
namespace {

using Action = orv::mpls_action_t;

constexpr std::size_t routesPerStep = 64;
constexpr int sweptPerStep = 256;
// Of a hop in the store, about.
constexpr std::size_t bytesOfHop = 64;

bool isBare(const orv::mpls_route_via_t& via) {
   return via == orv::mpls_route_via_t(via.route_key());
}

// In all fields but the route's key.
bool sameFields(const orv::mpls_route_via_t& kept, const orv::mpls_route_via_t& via) {
   return kept.hop() == via.hop() && kept.intf() == via.intf() &&
          kept.pushswap_label() == via.pushswap_label() && kept.label_action() == via.label_action() &&
          kept.ttl_mode() == via.ttl_mode() && kept.payload_type() == via.payload_type() &&
          kept.skip_egress_acl() == via.skip_egress_acl() && kept.nexthop_group() == via.nexthop_group();
}

bool sameIdentity(const orv::mpls_route_via_t& a, const orv::mpls_route_via_t& b) {
   if (a.nexthop_group().empty() != b.nexthop_group().empty()) return false;
   return !a.nexthop_group().empty() || (a.hop() == b.hop() && a.intf() == b.intf());
}

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

// An SDK iterator over the routes. `Make` turns a row into an optional of what the iterator yields, empty to
// skip it.
template <class Iter, class Make>
class RowIter final : public Iter::impl_type {
public:
   using Value = typename Iter::value_type;

   RowIter(const MplsRouteTable& table, Make make) : cursor_(table), make_(std::move(make)) {}

   bool next(Value& value) override {
      while (const auto* row = cursor_.next()) {
         std::optional<Value> made = make_(*row);
         if (!made) continue;
         value = *std::move(made);
         return true;
      }
      return false;
   }
   std::unique_ptr<orv::iter_impl<Value>> clone() const override { return std::make_unique<RowIter>(*this); }

private:
   MplsRouteTable::Cursor cursor_;
   Make make_;
};

template <class Iter, class Make>
Iter makeRowIter(const MplsRouteTable& table, Make make) {
   return Iter(std::make_unique<RowIter<Iter, Make>>(table, std::move(make)));
}

// The vias as they were when the walk began, without those that are gone when their turn comes.
template <class Impl, class Now>
class ViaIter final : public Impl {
public:
   explicit ViaIter(Now now) : now_(std::move(now)), vias_(now_()) {}
   bool next(orv::mpls_route_via_t& via) override {
      while (at_ < vias_.size()) {
         const auto& candidate = vias_[at_++];
         const auto vias = now_();
         const auto it = std::find_if(vias.begin(), vias.end(),
                                      [&](const auto& v) { return sameIdentity(v, candidate); });
         if (it == vias.end()) continue;
         via = *it;
         return true;
      }
      return false;
   }
   std::unique_ptr<orv::iter_impl<orv::mpls_route_via_t>> clone() const override {
      return std::make_unique<ViaIter>(*this);
   }

private:
   Now now_;
   std::vector<orv::mpls_route_via_t> vias_;
   std::size_t at_ = 0;
};

template <class Iter, class Now>
Iter makeViaIter(Now now) {
   return Iter(std::make_unique<ViaIter<typename Iter::impl_type, Now>>(std::move(now)));
}

}  // namespace

MplsRouteMgr::MplsRouteMgr(const Context& context, Hardware& hardware, Names& groupNames,
                           NexthopGroupMgr& groups, const orv::intf_mgr& intfs)
     : hardware_(hardware),
       groupNames_(groupNames),
       groups_(groups),
       intfs_(intfs),
       table_(context.store, groupNames, context.limits.mplsRoutes) {
   groups.observe(*this);
   table_.visitAll([this](MplsRow& row) { queue(row); });
}

void MplsRouteMgr::resync_init() {
   orv::sdk_lock_check();
   table_.resyncInit();
}

void MplsRouteMgr::resync_complete() {
   orv::sdk_lock_check();
   if (!table_.resyncing()) return;
   table_.resyncEnds();
   table_.visitAll([this](MplsRow& row) {
      if (row.mark != table_.epoch()) {
         erase(row);
      } else if (dropStaleVias(row)) {
         changed(row);
      }
   });
}

// Vias that were not set again go, though their route was. False where there are none.
bool MplsRouteMgr::dropStaleVias(MplsRow& row) {
   const auto epoch = table_.epoch();
   if (row.group != Names::none) {
      if (row.viaMark == epoch) return false;
      table_.prepare(0, true);
      table_.clearVias(row);
      return true;
   }
   const auto stale = [epoch](const MplsVia& v) { return v.mark != epoch; };
   if (row.vias == nullptr || std::none_of(row.vias->begin(), row.vias->end(), stale)) return false;
   table_.prepare(0, true);
   std::erase_if(*row.vias, stale);
   if (row.vias->empty()) table_.clearVias(row);
   return true;
}

orv::mpls_route_iter_t MplsRouteMgr::mpls_route_iter() const {
   orv::sdk_lock_check();
   return makeRowIter<orv::mpls_route_iter_t>(
        table_, [](const MplsRow& row) { return std::optional(orv::mpls_route_t(row.key(), row.version)); });
}

orv::mpls_route_via_iter_t MplsRouteMgr::mpls_route_via_iter(const orv::mpls_route_key_t& key) const {
   orv::sdk_lock_check();
   return makeViaIter<orv::mpls_route_via_iter_t>([this, key] {
      const auto* row = table_.findRoute(key);
      return row == nullptr ? std::vector<orv::mpls_route_via_t>() : table_.viasOf(*row);
   });
}

orv::mpls_route_status_iter_t MplsRouteMgr::mpls_route_status_iter() const {
   orv::sdk_lock_check();
   return makeRowIter<orv::mpls_route_status_iter_t>(
        table_, [](const MplsRow& row) -> std::optional<orv::mpls_route_status_t> {
           if (row.fec == 0) return std::nullopt;
           orv::mpls_route_status_t status(row.key());
           status.fec_id_is(orv::mpls_fec_id_t(row.fec));
           status.hw_version_id_is(row.programmedVersion);
           return status;
        });
}

orv::mpls_route_via_status_iter_t MplsRouteMgr::mpls_route_via_status_iter(
     const orv::mpls_route_key_t& key) const {
   orv::sdk_lock_check();
   return makeViaIter<orv::mpls_route_via_status_iter_t>([this, key] {
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
   });
}

bool MplsRouteMgr::exists(const orv::mpls_route_key_t& key) const {
   orv::sdk_lock_check();
   return table_.findRoute(key) != nullptr;
}

bool MplsRouteMgr::exists(const orv::mpls_route_via_t& via) const {
   orv::sdk_lock_check();
   const auto* row = table_.findRoute(via.route_key());
   if (row == nullptr) return false;
   if (isBare(via)) return row->hasVias();
   const auto vias = table_.viasOf(*row);
   return std::find(vias.begin(), vias.end(), via) != vias.end();
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
      table_.prepare(0);
      row = &table_.insert(route.key());
   } else {
      row->mark = table_.epoch();
      if (row->version == route.version_id()) return;
      table_.prepare(0);
   }
   row->version = route.version_id();
   changed(*row);
}

void MplsRouteMgr::mpls_route_del(const orv::mpls_route_key_t& key) {
   orv::sdk_lock_check();
   if (auto* row = table_.findRoute(key)) erase(*row);
}

void MplsRouteMgr::erase(MplsRow& row) {
   table_.prepare(0, true);
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
      if (via.nexthop_group().size() > NexthopGroupMgr::nameBytesMax) {
         refuseVia(fmt::format("nexthop group name of {} bytes, expected at most {}",
                               via.nexthop_group().size(), NexthopGroupMgr::nameBytesMax));
      }
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
   if (row->vias != nullptr && row->group == Names::none && group)
      refuseMix(via.route_key(), "hops", "a nexthop group");
   if (row->group != Names::none && !group) refuseMix(via.route_key(), "a nexthop group", "a hop");
   if (!group) {
      setListedVia(*row, via);
      return;
   }
   row->mark = table_.epoch();
   const bool plain = MplsRouteTable::plainGroup(via);
   if (row->group != Names::none && groupNames_.text(row->group) == via.nexthop_group() &&
       (plain ? row->vias == nullptr && row->action == via.label_action()
              : row->vias != nullptr && sameFields(row->vias->front().via, via))) {
      row->viaMark = table_.epoch();
      return;
   }
   table_.prepare(via.nexthop_group().size());
   table_.setGroup(*row, via);
   changed(*row);
}

void MplsRouteMgr::setListedVia(MplsRow& row, const orv::mpls_route_via_t& via) {
   row.mark = table_.epoch();
   const auto same = [&](const MplsVia& v) { return v.via.hop() == via.hop() && v.via.intf() == via.intf(); };
   const auto count = row.vias == nullptr ? 0 : row.vias->size();
   auto* known = count == 0 ? nullptr : &*row.vias->begin();
   if (count != 0) {
      const auto it = std::find_if(row.vias->begin(), row.vias->end(), same);
      known = it == row.vias->end() ? nullptr : &*it;
   }
   if (known != nullptr && sameFields(known->via, via)) {
      known->mark = table_.epoch();
      return;
   }
   table_.prepare((count + 1) * bytesOfHop);
   if (row.vias == nullptr) row.vias = std::make_unique<MplsVias>();
   if (known == nullptr) known = &row.vias->emplace_back();
   *known = {via, table_.epoch()};
   known->via.route_key_is({});
   changed(row);
}

void MplsRouteMgr::mpls_route_via_del(const orv::mpls_route_via_t& via) {
   orv::sdk_lock_check();
   auto* row = table_.findRoute(via.route_key());
   if (row == nullptr || !row->hasVias()) return;
   const bool all = isBare(via);
   if (!all && !exists(via)) return;
   table_.prepare(0, true);
   row->mark = table_.epoch();
   if (!all && row->vias != nullptr && row->vias->size() > 1) {
      std::erase_if(*row->vias, [&](const MplsVia& v) { return sameFields(v.via, via); });
   } else {
      table_.clearVias(*row);
   }
   changed(*row);
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
      pending_.push_back(&row);
   }
   hardware_.request();
}

void MplsRouteMgr::hardwareStep(ForwardingPlane& plane) {
   for (std::size_t done = 0; done < routesPerStep && pendingAt_ < pending_.size(); ++done) {
      auto& row = *pending_[pendingAt_++];
      row.queued = false;
      if (hasWayOut(row)) {
         program(plane, row);
      } else {
         unprogram(plane, row);
         releaseIfDone(row);
      }
   }
   if (pendingAt_ < pending_.size()) return;
   pending_.clear();
   // A burst's memory is given back, a trickle's is kept.
   if (pending_.capacity() > 65536) pending_.shrink_to_fit();
   pendingAt_ = 0;
   if (sweeping_) sweepStep();
}

bool MplsRouteMgr::hasWayOut(const MplsRow& row) const {
   if (!row.configured) return false;
   return row.group == Names::none ? row.vias != nullptr : groups_.programmed(row.group) != nullptr;
}

void MplsRouteMgr::program(ForwardingPlane& plane, MplsRow& row) {
   table_.nameIs(row.sentGroup, row.group);
   row.sentAction = row.action;
   std::span<const orv::mpls_route_via_t> vias;
   if (row.vias != nullptr) {
      if (row.hardware == nullptr) row.hardware = std::make_unique<MplsHardwareVias>();
      row.hardware->sent.clear();
      for (const auto& each : *row.vias)
         row.hardware->sent.push_back(each.via);
      vias = row.hardware->sent;
   } else {
      if (row.hardware != nullptr) row.hardware->sent.clear();
      plainVia_.label_action_is(row.action);
      plainVia_.nexthop_group_is(groupNames_.text(row.group));
      vias = {&plainVia_, 1};
   }
   row.sent = true;
   ++row.awaited;
   const auto key = row.key();
   plane.mplsRouteSet({.key = key, .version = row.version, .vias = vias});
}

void MplsRouteMgr::mplsRouteAnswer(const orv::mpls_route_key_t& key, std::uint16_t version, bool programmed) {
   auto* const row = table_.find(key);
   if (row == nullptr || row->awaited == 0) return;
   // Only the answer to what was handed over last counts.
   if (--row->awaited != 0) return;
   if (!row->sent) {
      releaseIfDone(*row);
      return;
   }
   if (!programmed) return;
   if (row->hardware != nullptr) row->hardware->programmed = row->hardware->sent;
   // Held before the former one is let go, which may be the same.
   table_.nameIs(row->programmedGroup, row->sentGroup);
   row->programmedAction = row->sentAction;
   row->programmedVersion = version;
   const auto before = row->fec;
   const auto fec = fecFor(*row);
   row->fec = fec;
   if (before != fec) useFec(fec);
   handlers().notify(key, [&](auto& h) { h.on_mpls_route_set(key, orv::mpls_fec_id_t(fec)); });
   if (before != 0 && before != fec) leaveFec(before);
}

void MplsRouteMgr::unprogram(ForwardingPlane& plane, MplsRow& row) {
   if (row.fec == 0 && !row.sent) return;
   const auto fec = row.fec;
   row.fec = 0;
   row.sent = false;
   row.programmedVersion = 0;
   table_.nameIs(row.sentGroup, Names::none);
   if (row.hardware != nullptr) {
      row.hardware->sent.clear();
      row.hardware->programmed.clear();
   }
   const auto key = row.key();
   plane.mplsRouteDel(key);
   if (fec == 0) return;
   handlers().notify(key, [&](auto& h) { h.on_mpls_route_del(key); });
   leaveFec(fec);
   table_.nameIs(row.programmedGroup, Names::none);
}

// A handler may have set the route again.
void MplsRouteMgr::releaseIfDone(MplsRow& row) {
   if (!row.configured && !row.queued && row.awaited == 0) table_.release(row);
}

std::uint64_t MplsRouteMgr::fecFor(MplsRow& row) {
   if (row.programmedGroup != Names::none) return fecId(FecKind::nexthopGroup, row.programmedGroup);
   if (row.hardware->ownFec == 0) row.hardware->ownFec = fecId(FecKind::mplsHops, nextFec_++);
   return row.hardware->ownFec;
}

void MplsRouteMgr::useFec(std::uint64_t fec) {
   if (fecUsers_[fec]++ != 0) return;
   handlers().notify_all([&](auto& h) { h.on_mpls_fec_set(orv::mpls_fec_id_t(fec)); });
}

void MplsRouteMgr::leaveFec(std::uint64_t fec) {
   const auto it = fecUsers_.find(fec);
   if (--it->second != 0) return;
   fecUsers_.erase(it);
   handlers().notify_all([&](auto& h) { h.on_mpls_fec_del(orv::mpls_fec_id_t(fec)); });
}

void MplsRouteMgr::groupProgrammed(NameId id, bool fresh) {
   if (fresh && groupNames_.references(id) > 1) sweepGroup(id);
}

void MplsRouteMgr::groupGone(NameId id) {
   if (groupNames_.references(id) > 0) sweepGroup(id);
}

// Besides the group itself, who holds a reference to its name is a route, of IP or of MPLS.
void MplsRouteMgr::sweepGroup(NameId id) {
   if (table_.size() == 0) return;
   if (id >= sweepGroups_.size()) sweepGroups_.resize(id + 1);
   sweepGroups_[id] = true;
   sweeping_ = true;
   sweepAt_.emplace(table_);
   hardware_.request();
}

void MplsRouteMgr::sweepStep() {
   for (int done = 0; done < sweptPerStep; ++done) {
      const auto* row = sweepAt_->next();
      if (row == nullptr) {
         sweeping_ = false;
         sweepGroups_.clear();
         return;
      }
      if (row->group < sweepGroups_.size() && sweepGroups_[row->group]) queue(*table_.find(row->key()));
   }
}

}  // namespace softswitch
