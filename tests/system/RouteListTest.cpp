// A list that leaves out a million routes: what a route costs, and how long the main loop takes to answer.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "OrvSdkRpc/mirror/AgentService.h"
#include "OrvSdkRpc/mirror/IpRouteService.h"
#include "OrvSdkRpc/mirror/IpRoutesAdapter.h"
#include "orv/lock.h"
#include "platform/zelt/Clock.h"
#include "softswitch/forwarding/hardware.h"
#include "softswitch/managers/ip_route_mgr.h"
#include "testing/base/CpuTime.h"
#include "testing/base/Eventually.h"
#include "testing/base/TempDir.h"
#include "testing/server/RunningServer.h"
#include "testing/server/StreamClient.h"
#include "testing/softswitch/RunningSwitch.h"

namespace orvtest {
namespace {

namespace remote = orv::remote;

std::uint32_t routes() {
   return orvtest::slowdown() > 1 ? 100'000 : 1'000'000;
}

class RouteList : public testing::Test {
protected:
   RouteList() {
      std::vector<std::unique_ptr<OrvSdkRpc::GrpcService>> services;
      {
         const orv::sdk_scoped_lock lock;
         services.push_back(std::make_unique<OrvSdkRpc::AgentService>(switch_->get_agent_mgr()));
         auto service = std::make_unique<OrvSdkRpc::IpRouteService>(switch_->get_ip_route_mgr(),
                                                                    switch_->get_vrf_mgr());
         service_ = service.get();
         services.push_back(std::move(service));
      }
      running_.emplace(std::move(services));
      routes_ = running_->stub<remote::IpRouteMgrService>();
      agent_ = running_->stub<remote::AgentService>();
      addRoutes();
   }
   ~RouteList() override {
      running_->stop();
      const orv::sdk_scoped_lock lock;
      running_->destroy();
   }

   static softswitch::Options options(const orvtest::TempDir& directory) {
      softswitch::Options made;
      made.stateDirectory = directory.path();
      return made;
   }
   // Every tenth route goes to a hop, the others to a group.
   void addRoutes() {
      orv::ip_route_mgr& mgr = *switch_->get_ip_route_mgr();
      for (std::uint32_t n = 0; n < routes();) {
         const orv::sdk_scoped_lock lock;
         for (const std::uint32_t end = n + 1000; n < end; ++n) {
            const std::uint8_t bytes[] = {static_cast<std::uint8_t>(10 + (n >> 24)),
                                          static_cast<std::uint8_t>(n >> 16),
                                          static_cast<std::uint8_t>(n >> 8), static_cast<std::uint8_t>(n)};
            const orv::ip_route_key_t key(orv::ip_prefix_t(orv::ip_addr_t(orv::af_ipv4, bytes), 32));
            mgr.ip_route_set(orv::ip_route_t(key));
            orv::ip_route_via_t via(key);
            if (n % 10 == 0) {
               via.hop_is(orv::ip_addr_t("192.0.2.1"));
            } else {
               via.nexthop_group_is("g");
            }
            mgr.ip_route_via_set(via);
         }
      }
      EXPECT_TRUE(orvtest::eventually([this] {
         const orv::sdk_scoped_lock lock;
         return switch_->hardware().idle();
      }));
   }
   // No route has this VNI.
   static remote::IpRoutesRequest nothing() {
      remote::IpRoutesRequest request;
      request.set_vni(1);
      return request;
   }

   const orvtest::TempDir directory_;
   orvtest::RunningSwitch switch_{options(directory_)};
   // Owned by the server.
   OrvSdkRpc::IpRouteService* service_ = nullptr;
   std::optional<orvtest::RunningServer> running_;
   std::unique_ptr<remote::IpRouteMgrService::Stub> routes_;
   std::unique_ptr<remote::AgentService::Stub> agent_;
};

// What it costs to leave a route out, beside a plain walk over the same routes and their vias.
TEST_F(RouteList, leavingARouteOutCostsLittleMoreThanReadingIt) {
   std::int64_t search = INT64_MAX;
   std::int64_t walk = INT64_MAX;
   for (int round = 0; round < 3; ++round) {
      std::int64_t cpu = 0;
      const auto timed = [&](const auto& step) {
         const orv::sdk_scoped_lock lock;
         const std::int64_t begin = orvtest::threadCpuNanos();
         step();
         cpu += orvtest::threadCpuNanos() - begin;
      };
      std::optional<OrvSdkRpc::IpRoutesAdapter::Iterator> it;
      timed([&] { it.emplace(OrvSdkRpc::IpRoutesAdapter::iterator(nothing(), *service_)); });
      while (it->searching())
         timed([&] { it->search(); });
      EXPECT_FALSE(*it);
      search = std::min(search, cpu / routes());

      cpu = 0;
      int vias = 0;
      timed([&] {
         const auto* mgr = switch_->get_ip_route_mgr();
         for (auto route = mgr->ip_route_iter(); route; ++route) {
            for (auto via = mgr->ip_route_via_iter(route->key()); via; ++via)
               vias += via->vni() == 1 ? 0 : 1;
         }
      });
      EXPECT_EQ(vias, routes());
      walk = std::min(walk, cpu / routes());
   }
   RecordProperty("search_ns", std::to_string(search));
   RecordProperty("walk_ns", std::to_string(walk));
   EXPECT_LE(search, 2 * walk);
}

TEST_F(RouteList, thePingStaysQuickWhileAMillionRoutesAreLeftOut) {
   std::atomic<bool> over{false};
   // The smaller of wall time and CPU time of each ping, as the client sees it: other work on a busy machine
   // rarely adds to both.
   std::vector<std::int64_t> least;
   std::vector<std::int64_t> wall;
   std::thread pinging([&] {
      while (!over) {
         const std::int64_t begun = Zelt::Clock::steadyNanos();
         const std::int64_t done = orvtest::processCpuNanos();
         remote::AgentPingResponse response;
         grpc::ClientContext context;
         EXPECT_TRUE(agent_->ping(&context, remote::AgentPingRequest(), &response).ok());
         wall.push_back(Zelt::Clock::steadyNanos() - begun);
         least.push_back(std::min(wall.back(), orvtest::processCpuNanos() - done));
      }
   });
   orvtest::StreamClient<remote::IpRoutesResponse> list(*routes_, &remote::IpRouteMgrService::Stub::ip_routes,
                                                        nothing());
   EXPECT_FALSE(list.next());
   over = true;
   pinging.join();
   EXPECT_TRUE(list.finish().ok());

   ASSERT_FALSE(wall.empty());
   std::sort(wall.begin(), wall.end());
   std::sort(least.begin(), least.end());
   RecordProperty("pings", std::to_string(wall.size()));
   RecordProperty("ping_p50_us", std::to_string(wall[wall.size() / 2] / 1000));
   RecordProperty("ping_max_us", std::to_string(wall.back() / 1000));
   RecordProperty("ping_max_least_us", std::to_string(least.back() / 1000));
   const std::int64_t bound = 10 * Zelt::nanosPerMilli * orvtest::slowdown();
   EXPECT_LT(wall[wall.size() / 2], bound);
   // A search that held the lock to its end would leave a handful; a busy host that pauses the machine adds
   // to both clocks of one or two.
   EXPECT_GE(wall.size(), 20U);
   EXPECT_LT(least[least.size() * 99 / 100], bound);
}

}  // namespace
}  // namespace orvtest
