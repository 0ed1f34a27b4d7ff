#include "softswitch/managers/mpls_route_mgr.h"

#include <fmt/format.h>

#include <algorithm>

#include "orv/lock.h"
#include "softswitch/fec.h"
#include "softswitch/value_codec.h"

namespace softswitch {
namespace {

using Action = orv::mpls_action_t;

constexpr int routesPerStep = 32;
constexpr int sweptPerStep = 256;

bool isBare(const orv::mpls_route_via_t& via) {
   return via == orv::mpls_route_via_t(via.route_key());
}

bool sameIdentity(const orv::mpls_route_via_t& a, const orv::mpls_route_via_t& b) {
   if (a.nexthop_group().empty() != b.nexthop_group().empty()) return false;
   return !a.nexthop_group().empty() || (a.hop() == b.hop() && a.intf() == b.intf());
}

void writeVia(store::Writer& out, const orv::mpls_route_via_t& via) {
   write(out, via.hop());
   write(out, via.intf());
   write(out, via.pushswap_label());
   writeEnum(out, via.label_action());
   writeEnum(out, via.ttl_mode());
   writeEnum(out, via.payload_type());
   out.boolean(via.skip_egress_acl());
   out.text(via.nexthop_group());
}

orv::mpls_route_via_t readVia(store::Reader& in) {
   orv::mpls_route_via_t via;
   via.hop_is(readIpAddr(in));
   via.intf_is(readIntfId(in));
   via.pushswap_label_is(readMplsLabel(in));
   via.label_action_is(readEnum(in, Action::forward));
   via.ttl_mode_is(readEnum(in, orv::mpls_ttl_mode_t::pipe));
   via.payload_type_is(readEnum(in, orv::mpls_payload_type_t::autodecide));
   via.skip_egress_acl_is(in.boolean());
   via.nexthop_group_is(std::string(in.text()));
   return via;
}

void validateKey(const orv::mpls_route_key_t& key) {
   if (key.labels().empty()) throw orv::invalid_argument_error("mpls route has no label");
   for (const auto label : key.labels()) {
      if (!label)
         throw orv::invalid_range_error("mpls route: label", label.label(), 0, orv::mpls_label_t::max);
   }
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

void MplsRouteCodec::encodeKey(const orv::mpls_route_key_t& key, store::Writer& out) {
   write(out, key);
}

orv::mpls_route_key_t MplsRouteCodec::decodeKey(store::Reader& in) {
   return readMplsRouteKey(in);
}

void MplsRouteCodec::encodeRow(const MplsRow& row, store::Writer& out) {
   out.varint(row.version);
   out.varint(row.vias.size());
   for (const auto& each : row.vias)
      writeVia(out, each.via);
}

MplsRow MplsRouteCodec::decodeRow(store::Reader& in, std::uint8_t) {
   MplsRow row;
   row.version = in.number<std::uint16_t>();
   for (auto count = in.varint(); count != 0; --count)
      row.vias.push_back({readVia(in)});
   return row;
}

MplsRouteMgr::MplsRouteMgr(const Context& context, Hardware& hardware, Names& groupNames,
                           NexthopGroupMgr& groups, const orv::intf_mgr& intfs)
     : hardware_(hardware),
       groupNames_(groupNames),
       groups_(groups),
       intfs_(intfs),
       routes_(context.store, "mpls_route", context.limits.mplsRoutes) {
   groups.observe(*this);
   routes_.forEach([this](const auto& key, const auto&) { queue(key); });
}

void MplsRouteMgr::resync_init() {
   orv::sdk_lock_check();
   routes_.resyncInit();
}

void MplsRouteMgr::resync_complete() {
   orv::sdk_lock_check();
   if (!routes_.resyncing()) return;
   routes_.resyncComplete([this](const auto& key, const auto&) { queue(key); });
   // Vias that were not set again go, though their route was.
   const auto stale = [this](const MplsVia& v) { return v.mark != routes_.epoch(); };
   for (auto cursor = Routes::Cursor(routes_); const auto item = cursor.next();) {
      if (std::none_of(item.row->vias.begin(), item.row->vias.end(), stale)) continue;
      const auto key = *item.key;
      auto row = *item.row;
      std::erase_if(row.vias, stale);
      routes_.set(key, std::move(row));
      queue(key);
   }
}

orv::mpls_route_iter_t MplsRouteMgr::mpls_route_iter() const {
   orv::sdk_lock_check();
   return makeTableIter<orv::mpls_route_iter_t>(
        routes_, [](auto item) { return std::optional(orv::mpls_route_t(*item.key, item.row->version)); });
}

orv::mpls_route_via_iter_t MplsRouteMgr::mpls_route_via_iter(const orv::mpls_route_key_t& key) const {
   orv::sdk_lock_check();
   return makeViaIter<orv::mpls_route_via_iter_t>([this, key] {
      std::vector<orv::mpls_route_via_t> vias;
      if (const auto* row = routes_.find(key)) {
         for (const auto& each : row->vias) {
            vias.push_back(each.via);
            vias.back().route_key_is(key);
         }
      }
      return vias;
   });
}

orv::mpls_route_status_iter_t MplsRouteMgr::mpls_route_status_iter() const {
   orv::sdk_lock_check();
   return makeTableIter<orv::mpls_route_status_iter_t>(
        routes_, [this](auto item) -> std::optional<orv::mpls_route_status_t> {
           const auto* state = inHardware(*item.key);
           if (state == nullptr) return std::nullopt;
           orv::mpls_route_status_t status(*item.key);
           status.fec_id_is(orv::mpls_fec_id_t(state->fec));
           status.hw_version_id_is(state->version);
           return status;
        });
}

orv::mpls_route_via_status_iter_t MplsRouteMgr::mpls_route_via_status_iter(
     const orv::mpls_route_key_t& key) const {
   orv::sdk_lock_check();
   return makeViaIter<orv::mpls_route_via_status_iter_t>([this, key] {
      std::vector<orv::mpls_route_via_t> vias;
      if (const auto* state = inHardware(key)) vias = state->vias;
      for (auto& via : vias)
         via.route_key_is(key);
      return vias;
   });
}

bool MplsRouteMgr::exists(const orv::mpls_route_key_t& key) const {
   orv::sdk_lock_check();
   return routes_.contains(key);
}

bool MplsRouteMgr::exists(const orv::mpls_route_via_t& via) const {
   orv::sdk_lock_check();
   const auto* row = routes_.find(via.route_key());
   if (row == nullptr) return false;
   if (isBare(via)) return !row->vias.empty();
   auto wanted = via;
   wanted.route_key_is({});
   return std::any_of(row->vias.begin(), row->vias.end(), [&](const auto& v) { return v.via == wanted; });
}

std::uint8_t MplsRouteMgr::metric(const orv::mpls_route_key_t& key) const {
   orv::sdk_lock_check();
   const auto item = routes_.atOrAfter(orv::mpls_route_key_t(key.labels(), 0));
   if (!item || !std::ranges::equal(item.key->labels(), key.labels())) return 0;
   return item.key->metric();
}

orv::mpls_fec_id_t MplsRouteMgr::fec_id(const orv::mpls_route_key_t& key) const {
   orv::sdk_lock_check();
   const auto* state = inHardware(key);
   return orv::mpls_fec_id_t(state == nullptr ? 0 : state->fec);
}

std::uint16_t MplsRouteMgr::hw_version_id(const orv::mpls_route_key_t& key) const {
   orv::sdk_lock_check();
   const auto* state = inHardware(key);
   return state == nullptr ? std::uint16_t{0} : state->version;
}

void MplsRouteMgr::mpls_route_set(const orv::mpls_route_t& route) {
   orv::sdk_lock_check();
   validateKey(route.key());
   MplsRow row;
   if (const auto* before = routes_.find(route.key())) row = *before;
   row.version = route.version_id();
   if (routes_.set(route.key(), std::move(row)) != Change::none) queue(route.key());
}

void MplsRouteMgr::mpls_route_del(const orv::mpls_route_key_t& key) {
   orv::sdk_lock_check();
   if (routes_.erase(key)) queue(key);
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
   const auto& key = via.route_key();
   const auto* before = routes_.find(key);
   if (before == nullptr)
      throw orv::invalid_argument_error(fmt::format("via of mpls route {}, which does not exist", key));
   validateVia(via);
   auto wanted = via;
   wanted.route_key_is({});
   auto row = *before;
   const auto it = std::find_if(row.vias.begin(), row.vias.end(),
                                [&](const auto& v) { return sameIdentity(v.via, wanted); });
   if (it != row.vias.end()) {
      *it = {std::move(wanted), routes_.epoch()};
   } else {
      if (!row.vias.empty() &&
          row.vias.front().via.nexthop_group().empty() != wanted.nexthop_group().empty()) {
         throw orv::invalid_argument_error(
              fmt::format("via of mpls route {}: the route's vias have {}, this one has {}", key,
                          wanted.nexthop_group().empty() ? "a nexthop group" : "hops",
                          wanted.nexthop_group().empty() ? "a hop" : "a nexthop group"));
      }
      row.vias.push_back({std::move(wanted), routes_.epoch()});
   }
   if (routes_.set(key, std::move(row)) != Change::none) queue(key);
}

void MplsRouteMgr::mpls_route_via_del(const orv::mpls_route_via_t& via) {
   orv::sdk_lock_check();
   const auto* before = routes_.find(via.route_key());
   if (before == nullptr || before->vias.empty()) return;
   auto row = *before;
   if (isBare(via)) {
      row.vias.clear();
   } else {
      auto wanted = via;
      wanted.route_key_is({});
      if (std::erase_if(row.vias, [&](const auto& v) { return v.via == wanted; }) == 0) return;
   }
   routes_.set(via.route_key(), std::move(row));
   queue(via.route_key());
}

const MplsRouteMgr::State* MplsRouteMgr::inHardware(const orv::mpls_route_key_t& key) const {
   const auto it = states_.find(key);
   return it == states_.end() || it->second.fec == 0 ? nullptr : &it->second;
}

void MplsRouteMgr::queue(const orv::mpls_route_key_t& key) {
   auto& state = states_[key];
   if (!state.queued) {
      state.queued = true;
      pending_.push_back(key);
   }
   hardware_.request();
}

void MplsRouteMgr::hardwareStep(ForwardingPlane& plane) {
   for (int done = 0; done < routesPerStep && !pending_.empty(); ++done) {
      const auto key = pending_.front();
      pending_.pop_front();
      const auto it = states_.find(key);
      auto& state = it->second;
      state.queued = false;
      const auto* row = routes_.find(key);
      const bool wayOut =
           row != nullptr && !row->vias.empty() &&
           (row->vias.front().via.nexthop_group().empty() ||
            groups_.programmed(groupNames_.find(row->vias.front().via.nexthop_group())) != nullptr);
      if (wayOut) {
         program(plane, key, state, *row);
      } else {
         unprogram(plane, key, state);
         // A handler may have set the route again.
         if (!state.queued && state.awaited == 0) states_.erase(key);
      }
   }
   if (!pending_.empty() || !sweeping_) return;
   for (int done = 0; done < sweptPerStep; ++done) {
      const auto item = sweepAt_->next();
      if (!item) {
         sweeping_ = false;
         sweepGroups_.clear();
         return;
      }
      if (usesSweptGroup(*item.row)) queue(*item.key);
   }
}

void MplsRouteMgr::program(ForwardingPlane& plane, const orv::mpls_route_key_t& key, State& state,
                           const MplsRow& row) {
   state.sent.clear();
   for (const auto& each : row.vias)
      state.sent.push_back(each.via);
   ++state.awaited;
   plane.mplsRouteSet({.key = key, .version = row.version, .vias = state.sent});
}

void MplsRouteMgr::mplsRouteAnswer(const orv::mpls_route_key_t& key, std::uint16_t version, bool programmed) {
   const auto it = states_.find(key);
   if (it == states_.end() || it->second.awaited == 0) return;
   auto& state = it->second;
   // Only the answer to what was handed over last counts.
   if (--state.awaited != 0) return;
   if (state.sent.empty()) {
      if (!state.queued) states_.erase(it);
      return;
   }
   if (!programmed) return;
   state.vias = state.sent;
   state.version = version;
   const auto before = state.fec;
   // Held before the former one is let go, which may be the same.
   state.group = HeldName(groupNames_, state.vias.front().nexthop_group());
   const auto fec = fecFor(state);
   state.fec = fec;
   if (before != fec) useFec(fec);
   handlers().notify(key, [&](auto& h) { h.on_mpls_route_set(key, orv::mpls_fec_id_t(fec)); });
   if (before != 0 && before != fec) leaveFec(before);
}

void MplsRouteMgr::unprogram(ForwardingPlane& plane, const orv::mpls_route_key_t& key, State& state) {
   if (state.fec == 0 && state.sent.empty()) return;
   const auto fec = state.fec;
   state.fec = 0;
   state.sent.clear();
   state.vias.clear();
   plane.mplsRouteDel(key);
   if (fec == 0) return;
   handlers().notify(key, [&](auto& h) { h.on_mpls_route_del(key); });
   leaveFec(fec);
   state.group = HeldName();
}

std::uint64_t MplsRouteMgr::fecFor(State& state) {
   if (state.group.id() != Names::none) return fecId(FecKind::nexthopGroup, state.group.id());
   if (state.ownFec == 0) state.ownFec = fecId(FecKind::mplsHops, nextFec_++);
   return state.ownFec;
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
   if (fresh) sweepGroup(id);
}

void MplsRouteMgr::groupGone(NameId id) {
   sweepGroup(id);
}

void MplsRouteMgr::sweepGroup(NameId id) {
   if (routes_.empty()) return;
   if (id >= sweepGroups_.size()) sweepGroups_.resize(id + 1);
   sweepGroups_[id] = true;
   sweeping_ = true;
   sweepAt_.emplace(routes_);
   hardware_.request();
}

bool MplsRouteMgr::usesSweptGroup(const MplsRow& row) const {
   if (row.vias.empty() || row.vias.front().via.nexthop_group().empty()) return false;
   const auto id = groupNames_.find(row.vias.front().via.nexthop_group());
   return id < sweepGroups_.size() && sweepGroups_[id];
}

}  // namespace softswitch
