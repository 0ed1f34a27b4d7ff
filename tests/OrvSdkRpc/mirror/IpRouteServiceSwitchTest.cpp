// The service of IP routes over a running switch, as its clients see it: what a refused request leaves
// behind, and lists of every VRF while routes and VRFs come and go. IpRouteSetTest.cpp has every kind of
// refusal.
#include "OrvSdkRpc/mirror/IpRouteService.h"

#include <fmt/ranges.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "RouteValues.h"
#include "orv/lock.h"
#include "softswitch/managers/vrf_mgr.h"
#include "testing/base/TempDir.h"
#include "testing/server/RunningServer.h"
#include "testing/server/StreamClient.h"
#include "testing/softswitch/RunningSwitch.h"

namespace OrvSdkRpc {
namespace {

namespace remote = orv::remote;
using testing::HasSubstr;

class IpRouteServiceSwitchTest : public testing::Test {
protected:
   using Stub = remote::IpRouteMgrService::Stub;
   using SetRequest = remote::IpRouteSetRequest;
   using Rows = std::vector<std::string>;

   struct Refusal {
      SetRequest request;
      std::string words;
   };

   IpRouteServiceSwitchTest() {
      std::unique_ptr<IpRouteService> service;
      {
         const orv::sdk_scoped_lock lock;
         for (const char* vrf : {"blue", "red"})
            switch_->vrfs().vrfSet(vrf);
         service = std::make_unique<IpRouteService>(switch_->get_ip_route_mgr(), switch_->get_vrf_mgr());
      }
      running_.emplace(std::move(service));
      stub_ = running_->stub<remote::IpRouteMgrService>();
   }
   ~IpRouteServiceSwitchTest() override {
      running_->stop();
      const orv::sdk_scoped_lock lock;
      running_->destroy();
   }

   static softswitch::Options options(const orvtest::TempDir& directory) {
      softswitch::Options made;
      made.stateDirectory = directory.path();
      return made;
   }
   template <class Rq, class Rp>
   static grpc::Status call(Stub& stub, grpc::Status (Stub::*rpc)(grpc::ClientContext*, const Rq&, Rp*),
                            const Rq& request, Rp& response) {
      grpc::ClientContext context;
      return (stub.*rpc)(&context, request, &response);
   }

   static SetRequest inVrf(const std::string& vrf, SetRequest request) {
      request.set_vrf_name(vrf);
      return request;
   }
   // RETURNS: the error text of the call; empty if it succeeds.
   std::string set(const SetRequest& request) {
      remote::IpRouteSetResponse response;
      return call(*stub_, &Stub::ip_route_set, request, response).error_message();
   }
   // The same in a bulk between two other routes. The first of them is set, the other is not.
   std::string setInBulk(const SetRequest& request) {
      remote::BulkIpRouteSetRequest bulk;
      *bulk.add_requests() = routeSet(routeTo("8.0.0.0/8"), {hopVia("8.0.0.0/8", "192.0.2.8")});
      *bulk.add_requests() = request;
      *bulk.add_requests() = routeSet(routeTo("8.128.0.0/9"), {});
      remote::BulkIpRouteSetResponse response;
      EXPECT_TRUE(call(*stub_, &Stub::bulk_ip_route_set, bulk, response).ok());
      EXPECT_EQ(response.count(), 1U);
      EXPECT_TRUE(del("8.0.0.0/8"));
      EXPECT_FALSE(del("8.128.0.0/9"));
      return response.status().message();
   }
   // Deletes a route of the default VRF. RETURNS: whether it was there.
   bool del(const std::string& prefix) {
      remote::IpRouteExistsRequest exists;
      *exists.mutable_key() = types::convert(routeKey(prefix));
      remote::IpRouteExistsResponse existed;
      EXPECT_TRUE(call(*stub_, &Stub::ip_route_exists, exists, existed).ok());
      remote::IpRouteDelRequest request;
      *request.mutable_key() = exists.key();
      remote::IpRouteDelResponse response;
      EXPECT_TRUE(call(*stub_, &Stub::ip_route_del, request, response).ok());
      return existed.exists();
   }

   std::vector<remote::IpRoutesResponse> list(const remote::IpRoutesRequest& request) {
      orvtest::StreamClient<remote::IpRoutesResponse> client(*stub_, &Stub::ip_routes, request);
      std::vector<remote::IpRoutesResponse> items = client.rest();
      EXPECT_TRUE(client.finish().ok());
      return items;
   }
   // Every route of every VRF with its vias.
   Rows tables() {
      Rows rows;
      for (const char* vrf : {"default", "blue", "red"}) {
         remote::IpRoutesRequest request;
         request.set_vrf_name(vrf);
         request.set_embed_vias(true);
         for (const auto& response : list(request)) {
            Rows vias;
            for (const auto& via : response.vias())
               vias.push_back(types::convert(via).to_string());
            std::sort(vias.begin(), vias.end());
            rows.push_back(fmt::format("{} {}: {}", vrf, types::convert(response.route()).to_string(),
                                       fmt::join(vias, ", ")));
         }
      }
      return rows;
   }
   Rows without(Rows rows, const std::string& vrf) const {
      const std::string begin = fmt::format("{} {}:", vrf.empty() ? "default" : vrf, route_.to_string());
      EXPECT_EQ(std::erase_if(rows, [&](const std::string& row) { return row.starts_with(begin); }), 1U);
      return rows;
   }

   // Routes that no refused request names, among them one with the same prefix.
   void addNeighbours() {
      orv::ip_route_t worse(orv::ip_route_key_t(orv::ip_prefix_t(prefix_), 2));
      orv::ip_route_via_t worseVia(worse.key());
      worseVia.hop_is(orv::ip_addr_t("192.0.2.9"));
      for (const char* vrf : {"default", "blue", "red"}) {
         for (const char* other : {"9.0.0.0/8", "10.0.0.0/9", "2001:db8::/32"}) {
            ASSERT_EQ(set(inVrf(vrf, routeSet(routeTo(other, 3),
                                              {hopVia(other, "192.0.2.1"), hopVia(other, "192.0.2.9", 5)}))),
                      "");
         }
         ASSERT_EQ(set(inVrf(vrf, routeSet(worse, {worseVia}))), "");
      }
   }
   SetRequest usual(std::uint32_t viasAction = 0) const {
      return routeSet(
           route_,
           {hopVia(prefix_, "192.0.2.1"), hopVia(prefix_, "192.0.2.2", 1), hopVia(prefix_, "192.0.2.3")},
           viasAction);
   }
   void setEverywhere() {
      for (const char* vrf : {"default", "blue", "red"})
         ASSERT_EQ(set(inVrf(vrf, usual())), "");
   }
   // The request with a via that the service cannot read or the switch refuses, at each position.
   static std::vector<Refusal> withARefusedVia(const SetRequest& request) {
      orv::ip_route_via_t unknown = hopVia(prefix_, "192.0.2.66");
      unknown.intf_is(orv::intf_id_t("Ethernet999"));
      remote::IpRouteVia unreadable = types::convert(hopVia(prefix_, "192.0.2.66"));
      unreadable.set_hop("12345");
      const std::vector<std::pair<remote::IpRouteVia, std::string>> refused{
           {types::convert(unknown), "Ethernet999"}, {unreadable, "bytes length 5 does not match"}};
      std::vector<Refusal> made;
      for (const auto& [via, words] : refused) {
         for (int position = 0; position <= request.vias_size(); ++position) {
            Refusal& each = made.emplace_back(Refusal{request, words});
            *each.request.add_vias() = via;
            for (int i = request.vias_size(); i > position; --i)
               each.request.mutable_vias()->SwapElements(i, i - 1);
         }
      }
      return made;
   }

   static constexpr const char* prefix_ = "10.0.0.0/8";
   const orv::ip_route_t route_ = routeTo(prefix_, 7);
   const orvtest::TempDir directory_;
   orvtest::RunningSwitch switch_{options(directory_)};
   std::optional<orvtest::RunningServer> running_;
   std::unique_ptr<Stub> stub_;
};

// ---------------------------------------------------------------- refused requests

TEST_F(IpRouteServiceSwitchTest, aNewRouteLeavesNothingBehindIfAnyOfItsViasIsRefused) {
   addNeighbours();
   const Rows before = tables();
   for (const char* vrf : {"", "default", "red"}) {
      for (const std::uint32_t viasAction : {0U, 1U, 2U}) {
         for (const auto& [request, words] : withARefusedVia(inVrf(vrf, usual(viasAction)))) {
            EXPECT_THAT(set(request), HasSubstr(words));
            EXPECT_EQ(tables(), before) << request.ShortDebugString();
            EXPECT_THAT(setInBulk(request), HasSubstr(words));
            EXPECT_EQ(tables(), before) << request.ShortDebugString();
         }
      }
   }
}

TEST_F(IpRouteServiceSwitchTest, anExistingRouteIsGoneFromItsVrfAloneIfAnAddedViaIsRefused) {
   addNeighbours();
   setEverywhere();
   const Rows before = tables();
   for (const char* vrf : {"", "default", "red"}) {
      for (const auto& [request, words] : withARefusedVia(inVrf(vrf, usual()))) {
         for (const bool bulk : {false, true}) {
            EXPECT_THAT(bulk ? setInBulk(request) : set(request), HasSubstr(words));
            EXPECT_EQ(tables(), without(before, vrf)) << request.ShortDebugString();
            setEverywhere();
            ASSERT_EQ(tables(), before);
         }
      }
   }
}

TEST_F(IpRouteServiceSwitchTest, aRouteWithAnActionIsGoneFromTheDefaultVrfIfAnyOfItsViasIsRefused) {
   addNeighbours();
   setEverywhere();
   const Rows before = tables();
   // An action keeps vias from being replaced, whatever the number says.
   for (const std::uint32_t viasAction : {0U, 1U, 2U}) {
      SetRequest forwarded = usual(viasAction);
      forwarded.set_action(remote::IP_ROUTE_ACTIONS_FORWARD);
      for (const auto& [request, words] : withARefusedVia(forwarded)) {
         EXPECT_THAT(set(request), HasSubstr(words));
         EXPECT_EQ(tables(), without(before, "")) << request.ShortDebugString();
         setEverywhere();
      }
   }
   SetRequest dropped = usual();
   dropped.set_action(remote::IP_ROUTE_ACTIONS_DROP);
   EXPECT_NE(set(dropped), "");
   EXPECT_EQ(tables(), before) << "the route itself was refused";
}

TEST_F(IpRouteServiceSwitchTest, aRefusedReplacementLeavesEveryTableAsItWas) {
   addNeighbours();
   setEverywhere();
   const Rows before = tables();
   for (const char* vrf : {"", "default", "red"}) {
      // One via stays, one is overwritten, one is new, and one goes.
      const auto replacement =
           inVrf(vrf, routeSet(route_,
                               {hopVia(prefix_, "192.0.2.1"), hopVia(prefix_, "192.0.2.2", 2),
                                hopVia(prefix_, "192.0.2.4")},
                               1));
      for (const auto& [request, words] : withARefusedVia(replacement)) {
         EXPECT_THAT(set(request), HasSubstr(words));
         EXPECT_EQ(tables(), before) << request.ShortDebugString();
         EXPECT_THAT(setInBulk(request), HasSubstr(words));
         EXPECT_EQ(tables(), before) << request.ShortDebugString();
      }
      EXPECT_EQ(set(inVrf(vrf, usual(2))), "vias_action");
      EXPECT_EQ(tables(), before);
   }
}

TEST_F(IpRouteServiceSwitchTest, aVrfThatDoesNotExistTakesNothing) {
   addNeighbours();
   setEverywhere();
   const Rows before = tables();
   for (const std::uint32_t viasAction : {0U, 1U, 2U}) {
      EXPECT_NE(set(inVrf("green", usual(viasAction))), "");
      EXPECT_NE(setInBulk(inVrf("green", usual(viasAction))), "");
      EXPECT_EQ(tables(), before);
   }
}

// ---------------------------------------------------------------- lists

TEST_F(IpRouteServiceSwitchTest, aListOfEveryVrfHasWhatStaysOnceWhileRoutesAndVrfsComeAndGo) {
   // The tag is the VRF's, since a list does not name it.
   const std::vector<std::string> vrfs{"default", "blue", "red"};
   static constexpr std::uint32_t comesAndGoes = 9;
   static constexpr std::size_t perVrf = 50;
   const auto staying = [](std::size_t n) { return fmt::format("10.{}.0.0/16", n); };
   const auto passing = [](std::size_t n) { return fmt::format("10.{}.1.0/24", n); };
   remote::BulkIpRouteSetRequest bulk;
   for (std::uint32_t vrf = 0; vrf < vrfs.size(); ++vrf) {
      for (std::size_t n = 0; n < perVrf; ++n) {
         const std::string to = staying(n);
         *bulk.add_requests() =
              inVrf(vrfs[vrf],
                    routeSet(routeTo(to, vrf), {hopVia(to, "192.0.2.1", vrf), hopVia(to, "192.0.2.2", vrf)}));
      }
   }
   remote::BulkIpRouteSetResponse stored;
   ASSERT_TRUE(call(*stub_, &Stub::bulk_ip_route_set, bulk, stored).ok());
   ASSERT_EQ(stored.count(), vrfs.size() * perVrf);

   std::atomic<bool> over = false;
   std::thread changing([&] {
      const auto other = running_->stub<remote::IpRouteMgrService>();
      for (std::size_t turn = 0; !over; ++turn) {
         // VRFs in front of the others, between them and behind them.
         const std::string vrf = std::vector<std::string>{"amber", "green", "violet"}[turn % 3];
         {
            const orv::sdk_scoped_lock lock;
            switch_->vrfs().vrfSet(vrf);
         }
         remote::BulkIpRouteSetRequest come;
         remote::BulkIpRouteDelRequest go;
         for (const std::string& each : {vrf, vrfs[turn % vrfs.size()]}) {
            const std::string to = passing(turn % perVrf);
            *come.add_requests() =
                 inVrf(each, routeSet(routeTo(to, comesAndGoes), {hopVia(to, "192.0.2.3")}));
            remote::IpRouteDelRequest& del = *go.add_requests();
            del.set_vrf_name(each);
            *del.mutable_key() = types::convert(routeKey(to));
         }
         remote::BulkIpRouteSetResponse came;
         EXPECT_TRUE(call(*other, &Stub::bulk_ip_route_set, come, came).ok());
         EXPECT_EQ(came.count(), 2U) << came.status().message();
         remote::BulkIpRouteDelResponse gone;
         EXPECT_TRUE(call(*other, &Stub::bulk_ip_route_del, go, gone).ok());
         EXPECT_EQ(gone.count(), 2U) << gone.status().message();
         const orv::sdk_scoped_lock lock;
         switch_->vrfs().vrfDel(vrf);
      }
   });

   remote::IpRoutesRequest request;
   request.set_vrf_name("all");
   for (int round = 0; round < 30; ++round) {
      request.set_embed_vias(round % 2 == 0);
      request.set_include_vias(round % 3 != 0);
      Rows shown;
      std::set<std::pair<std::uint32_t, std::string>> seen;
      std::string last;
      bool lastStays = false;
      std::size_t vias = 0;
      for (const auto& item : list(request)) {
         if (item.has_via()) {
            EXPECT_EQ(types::convert(item.via()).route_key().to_string(), last);
            if (lastStays) ++vias;
            continue;
         }
         last = types::convert(item.route()).key().to_string();
         lastStays = item.route().tag() != comesAndGoes;
         if (!lastStays) continue;
         vias += static_cast<std::size_t>(item.vias_size());
         EXPECT_TRUE(seen.emplace(item.route().tag(), last).second) << last << " was listed twice";
         shown.push_back(fmt::format("{} {}", item.route().tag(), last));
      }
      Rows expected;
      for (std::uint32_t vrf = 0; vrf < vrfs.size(); ++vrf) {
         for (std::size_t n = 0; n < perVrf; ++n)
            expected.push_back(fmt::format("{} {}", vrf, staying(n)));
      }
      EXPECT_EQ(shown, expected) << "the default VRF comes first, then the others by name";
      EXPECT_EQ(vias, request.embed_vias() || request.include_vias() ? 2 * expected.size() : 0);
   }
   over = true;
   changing.join();
}

}  // namespace
}  // namespace OrvSdkRpc
