// The managers that program hardware, over a forwarding plane that answers when the test says so.
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "softswitch/forwarding/hardware.h"
#include "softswitch/managers/fib_mgr.h"
#include "softswitch/managers/ip_route_mgr.h"
#include "softswitch/managers/mount_mgr.h"
#include "softswitch/managers/mpls_route_mgr.h"
#include "softswitch/managers/nexthop_group_mgr.h"
#include "softswitch/managers/vrf_mgr.h"
#include "testing/base/TempDir.h"
#include "testing/softswitch/SwitchFixture.h"

namespace softswitch {

// A plane that answers when the test says so, with the result that the test chooses.
class LatePlane final : public ForwardingPlane {
public:
   std::string_view name() const override { return "late"; }
   void answersTo(const PlaneAnswers& answers) override { answers_.emplace(answers); }
   void groupSet(NameId id, const orv::nexthop_group_t& group) override {
      log.push_back("group " + group.name());
      if (onGroup) onGroup();
      later_.push_back([this, id, version = group.version_id()](bool good) {
         answers_->groups.groupAnswer(id, version, {.programmed = good, .counted = good});
      });
   }
   void groupDel(NameId) override { log.push_back("group gone"); }
   void routesSet(std::span<const PlaneRoute> routes) override {
      for (const auto& route : routes) {
         log.push_back("route " + route.key.prefix().to_string());
         later_.push_back([this, token = route.token](bool good) {
            answers_->routes.routesAnswer(std::span(&token, 1), good);
         });
      }
   }
   void routeDel(const RouteKey& key) override { log.push_back("gone " + key.prefix().to_string()); }
   void mplsRouteSet(const PlaneMplsRoute& route) override {
      log.push_back("mpls " + route.key.to_string());
      later_.push_back([this, key = route.key, version = route.version](bool good) {
         answers_->mplsRoutes.mplsRouteAnswer(key, version, good);
      });
   }
   void mplsRouteDel(const orv::mpls_route_key_t& key) override {
      log.push_back("mpls gone " + key.to_string());
   }
   TrafficCounter counter(NameId, std::uint16_t) const override { return {}; }
   void countTraffic(NameId, std::uint16_t, TrafficCounter) override {}

   void answerAll(bool good = true) {
      while (!later_.empty()) {
         const auto answer = std::move(later_.front());
         later_.pop_front();
         answer(good);
      }
   }
   std::vector<std::string> takeLog() { return std::exchange(log, {}); }

   std::vector<std::string> log;
   std::function<void()> onGroup;

private:
   std::optional<PlaneAnswers> answers_;
   std::deque<std::function<void(bool)>> later_;
};

class HardwareFixture : public testing::Test {
protected:
   void SetUp() override {
      auto plane = std::make_unique<LatePlane>();
      plane_ = plane.get();
      hardware_ = std::make_unique<Hardware>(scheduler_, std::move(plane));
      hardware_->plane().answersTo({.groups = groups(), .routes = routes(), .mplsRoutes = *mplsRoutes_});
      for (HardwareClient* client : clients())
         hardware_->add(*client);
   }
   void TearDown() override { hardware_->unscheduleTask(); }

   NexthopGroupMgr& groups() {
      if (!groups_) {
         groups_ = std::make_unique<NexthopGroupMgr>(context_, *hardware_, names_, intfs_);
         mplsRoutes_ =
              std::make_unique<MplsRouteMgr>(context_, *hardware_, names_, *groups_, intfs_, mounts_);
         routes_ = std::make_unique<IpRouteMgr>(context_, *hardware_, names_, intfs_, vrfs_);
         fib_ = std::make_unique<FibMgr>(*routes_, *groups_, names_, intfs_);
      }
      return *groups_;
   }
   IpRouteMgr& routes() {
      groups();
      return *routes_;
   }
   std::array<HardwareClient*, 4> clients() {
      groups();
      return {groups_.get(), mplsRoutes_.get(), routes_.get(), &mplsRoutes_->teller()};
   }
   void step() {
      while (!hardware_->idle()) {
         for (HardwareClient* client : clients()) {
            if (!client->hardwareIdle()) client->hardwareStep(*plane_);
         }
      }
   }
   void setRoute(std::string_view text) {
      const orv::ip_route_key_t key(prefix(text));
      routes().ip_route_set(orv::ip_route_t(key), orv::ip_route_action_t::nexthop_group);
      orv::ip_route_via_t via(key);
      via.nexthop_group_is("g");
      routes().ip_route_via_set(via);
   }
   bool inFib(std::string_view text) { return fib_->fib_route_exists(orv::fib_route_key_t(prefix(text))); }

   orvtest::TempDir directory_;
   const Limits limits_{};
   const Topology topology_ = Topology::builtIn();
   Pavo::Ptr<Gorm::TaskScheduler> scheduler_ = Gorm::TaskSchedulerRoot::findOrCreateScheduler();
   store::Store store_{{.directory = directory_ / "state", .bootId = "boot", .log = {}}};
   Callbacks callbacks_{scheduler_};
   const Context context_{store_, callbacks_, limits_, scheduler_};
   Names names_;
   LatePlane* plane_ = nullptr;
   std::unique_ptr<Hardware> hardware_;
   IntfMgr intfs_{context_, topology_};
   MountMgr mounts_{context_};
   VrfMgr vrfs_{context_};
   std::unique_ptr<NexthopGroupMgr> groups_;
   std::unique_ptr<MplsRouteMgr> mplsRoutes_;
   std::unique_ptr<IpRouteMgr> routes_;
   std::unique_ptr<FibMgr> fib_;
};

}  // namespace softswitch
