// The platform's table of MPLS routes in hardware and its map of group names, written by the test, and a
// record of what a watcher acknowledges.
#pragma once

#include <fmt/format.h>
#include <gmock/gmock.h>

#include <string>
#include <utility>
#include <vector>

#include "OrvSdkRpc/hardware/MplsRouteHwProgrammingSm.h"
#include "OrvSdkRpc/hardware/MplsRouteHwProgrammingWatcher.h"
#include "platform/state/MplsHardwareStatus.h"
#include "platform/state/NexthopGroupMap.h"
#include "platform/tessel/MountGroup.h"
#include "platform/tessel/SharedMem.h"
#include "testing/mock/MockNexthopGroupMgr.h"
#include "testing/server/MainLoop.h"

namespace OrvSdkRpc {

// A base of fixtures; comes before those that use the lock.
class MplsTables : public MainLoop {
protected:
   using FecState = Routing::Hardware::FecHwProgrammingState;
   using Table = Mpls::Hardware::Status;
   using GroupMap = NexthopGroup::NexthopGroupMap;
   using Row = Mpls::Hardware::Route;

   MplsTables() {
      mount_.entityIs(table_);
      ON_CALL(groups_, nexthop_group_map()).WillByDefault([this] { return map_; });
   }
   ~MplsTables() { runLoop(); }

   static Mpls::RouteKey label(std::uint32_t number) {
      Mpls::RouteKey key;
      key.stackSizeIs(1);
      key.labelStackIs(Lumic::MplsStackEntryIndex(0), Lumic::MplsLabel(number));
      return key;
   }
   // The row that the table has when hardware has programmed the route and its group `id`.
   static Row routeOver(std::uint32_t number, NexthopGroup::NexthopGroupId id, std::uint32_t version = 1,
                        std::uint32_t groupVersion = 1) {
      return {.key = {label(number), 0},
              .ackInfo = Mpls::Hardware::AckInfo{.fecId = NexthopGroup::nexthopGroupIdToFecId(id),
                                                 .routeVersion = version,
                                                 .fecVersion = groupVersion,
                                                 .hwState = FecState::success},
              .unprogrammed = false,
              .vias = 1};
   }
   void rowIs(const Row& row) { table_->rowIs(row.key, row); }

   // "100 metric 0 version 1 over g version 1 state 2"
   static std::string shown(const orv::remote::MplsIntegratedAckResponse& response) {
      const auto& info = response.mpls_route_via_set_version_info();
      std::string labels;
      for (const auto& each : info.route_key().labels())
         labels += fmt::format("{}{}", labels.empty() ? "" : ",", each.label());
      return fmt::format("{} metric {} version {} over {} version {} state {}", labels,
                         info.route_key().metric(), info.version_id(),
                         info.nexthop_group_version_info().name(),
                         info.nexthop_group_version_info().version_id(), info.hw_state());
   }
   MplsRouteHwProgrammingWatcher::Callback listener() {
      return [this](const orv::remote::MplsIntegratedAckResponse& response) {
         told_.push_back(shown(response));
      };
   }
   std::vector<std::string> take() {
      runLoop();
      return std::exchange(told_, {});
   }

   const Pavo::Ptr<Tessel::EntityManager> state_ = Pavo::makePtr<Tessel::EntityManager>();
   const Pavo::Ptr<ZeltSharedMem::EntityManager> shared_ = Pavo::makePtr<ZeltSharedMem::EntityManager>();
   const Pavo::Ptr<Table> table_ = Pavo::makePtr<Table>("routes");
   Pavo::Ptr<GroupMap> map_ = Pavo::makePtr<GroupMap>("groups");
   testing::NiceMock<orvtest::MockNexthopGroupMgr> groups_;
   std::vector<std::string> told_;

private:
   Tessel::Mount mount_ = state_->mount(std::string(Mpls::Hardware::statusPath), Tessel::MountMode::write);
};

}  // namespace OrvSdkRpc
