// The hardware stage of the MPLS routes: hands rows to the forwarding plane and takes its answers.
#include "softswitch/managers/mpls_route_mgr.h"
#include "softswitch/tables/fec.h"

namespace softswitch {
namespace {

constexpr std::size_t routesPerStep = 64;
constexpr int labelsSweptPerStep = 256;

}  // namespace

void MplsRouteMgr::hardwareStep(ForwardingPlane& plane) {
   pending_.work(routesPerStep, [&](MplsRow* row) {
      row->queued = false;
      if (hasWayOut(*row)) {
         program(plane, *row);
      } else {
         unprogram(plane, *row);
         tellStatus(row->key());
         releaseIfDone(*row);
      }
   });
   if (pending_.empty() && sweepAt_) sweepStep();
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
   // Only the answer to the last request counts.
   if (--row->awaited != 0) return;
   if (!row->sent) {
      releaseIfDone(*row);
      return;
   }
   if (!programmed) {
      tellRefusal(*row, version);
      return;
   }
   if (row->hardware != nullptr) row->hardware->programmed = row->hardware->sent;
   table_.nameIs(row->programmedGroup, row->sentGroup);
   row->programmedAction = row->sentAction;
   row->programmedVersion = version;
   const auto before = row->fec;
   const auto fec = fecFor(*row);
   row->fec = fec;
   tellStatus(key);
   if (before != fec) useFec(fec, groupVersion(row->programmedGroup));
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

// Keeps the row if a handler has set the route again.
void MplsRouteMgr::releaseIfDone(MplsRow& row) {
   if (!row.configured && !row.queued && row.awaited == 0) table_.release(row);
}

std::uint64_t MplsRouteMgr::fecFor(MplsRow& row) {
   if (row.programmedGroup != Names::none) return fecId(FecKind::nexthopGroup, row.programmedGroup);
   if (row.hardware->ownFec == 0) row.hardware->ownFec = fecId(FecKind::mplsHops, nextFec_++);
   return row.hardware->ownFec;
}

void MplsRouteMgr::useFec(std::uint64_t fec, std::uint16_t groupVersion) {
   const auto [use, fresh] = fecUsers_.try_emplace(fec, FecUse{.routes = 0, .groupVersion = groupVersion});
   ++use->second.routes;
   if (!fresh) return;
   handlers().notify_all([&](auto& h) { h.on_mpls_fec_set(orv::mpls_fec_id_t(fec)); });
}

void MplsRouteMgr::leaveFec(std::uint64_t fec) {
   const auto it = fecUsers_.find(fec);
   if (--it->second.routes != 0) return;
   fecUsers_.erase(it);
   handlers().notify_all([&](auto& h) { h.on_mpls_fec_del(orv::mpls_fec_id_t(fec)); });
}

void MplsRouteMgr::sweep() {
   if (table_.size() == 0) {
      swept();
      return;
   }
   sweepAt_.emplace(table_);
   hardware_.request();
}

void MplsRouteMgr::sweepStep() {
   for (int done = 0; done < labelsSweptPerStep; ++done) {
      const auto* row = sweepAt_->next();
      if (row == nullptr) {
         sweepAt_.reset();
         swept();
         return;
      }
      if (groupChanged(row->group)) queue(*table_.find(row->key()));
   }
}

}  // namespace softswitch
