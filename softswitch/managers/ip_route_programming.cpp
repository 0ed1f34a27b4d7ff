// The hardware stage of the IP routes: hands rows to the forwarding plane and takes its answers.
#include <algorithm>

#include "softswitch/managers/ip_route_mgr.h"

namespace softswitch {
namespace {

using Action = orv::ip_route_action_t;

constexpr std::size_t rowsPerStep = 128;
constexpr std::size_t routesSweptPerStep = 1024;

}  // namespace

void IpRouteMgr::hardwareStep(ForwardingPlane& plane) {
   // Removals first: a route that was deleted and set again is a new route.
   if (!removals_.empty()) {
      removals_.work(rowsPerStep, [&](const GoneRoute& gone) {
         plane.routeDel(gone.key);
         if (observer_ != nullptr) observer_->routeGone(gone);
      });
   } else if (!pending_.empty()) {
      pending_.work(rowsPerStep, [&](RouteIndex index) {
         auto& row = table_.at(index);
         row.queued = false;
         if (row.sent) {
            row.again = true;
         } else if (row.alive()) {
            program(plane, row);
         } else {
            table_.release(row);
         }
      });
      flushBatch(plane);
   } else if (sweeping_) {
      sweepStep(plane);
   }
}

// A route that forwards but has no via is not programmed.
void IpRouteMgr::program(ForwardingPlane& plane, RouteRow& row) {
   const bool byVias = row.action == Action::forward || row.action == Action::nexthop_group;
   if (byVias && !row.hasVias()) {
      unprogram(plane, row);
      return;
   }
   row.sent = true;
   batch_.push_back({.token = row.index,
                     .key = row.key,
                     .action = row.action,
                     .group = row.group,
                     .vias = row.group == Names::none ? row.vias.get() : nullptr});
}

void IpRouteMgr::flushBatch(ForwardingPlane& plane) {
   if (batch_.empty()) return;
   plane.routesSet(batch_);
   batch_.clear();
}

void IpRouteMgr::unprogram(ForwardingPlane& plane, RouteRow& row) {
   if (!row.programmed) return;
   row.programmed = false;
   --programmed_;
   plane.routeDel(row.key);
   const GoneRoute gone{.key = row.key, .index = row.index, .forwarded = row.forwarded, .ownFec = row.ownFec};
   row.forwarded = row.ownFec = false;
   if (observer_ != nullptr) observer_->routeGone(gone);
}

void IpRouteMgr::routesAnswer(std::span<const RouteIndex> tokens, bool programmed) {
   for (const auto token : tokens) {
      auto& row = table_.at(token);
      row.sent = false;
      if (row.dead) {
         if (!row.queued) table_.release(row);
         continue;
      }
      if (row.again) {
         row.again = false;
         queue(row);
      }
      if (row.programmed != programmed) programmed_ += programmed ? 1 : std::size_t(-1);
      row.programmed = programmed;
      if (observer_ != nullptr) observer_->routeChanged(row);
   }
}

void IpRouteMgr::on_oper_status(const orv::intf_id_t&, orv::oper_status_t) {
   sweepHops();
}

void IpRouteMgr::on_intf_delete(const orv::intf_id_t&) {
   sweepHops();
}

void IpRouteMgr::sweepHops() {
   if (table_.rowsWithHops() == 0) return;
   sweepsHops_ = true;
   sweep();
}

void IpRouteMgr::sweep() {
   sweeping_ = true;
   sweepAt_ = 0;
   hardware_.request();
}

void IpRouteMgr::sweepStep(ForwardingPlane& plane) {
   const RouteIndex end = std::min<RouteIndex>(table_.bound(), sweepAt_ + routesSweptPerStep);
   while (sweepAt_ < end && batch_.size() < rowsPerStep) {
      auto& row = table_.at(sweepAt_++);
      if (!row.alive() || row.queued || row.sent) continue;
      if (!row.programmed) {
         program(plane, row);
      } else if (observer_ != nullptr && (groupChanged(row.group) || (sweepsHops_ && row.hasHops()))) {
         observer_->wayOutChanged(row);
      }
   }
   flushBatch(plane);
   if (sweepAt_ < table_.bound()) return;
   sweeping_ = sweepsHops_ = false;
   swept();
}

}  // namespace softswitch
