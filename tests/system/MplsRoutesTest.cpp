// MPLS routes on a real switch, as the clients of their mirror service see them: what is left of a request
// that is refused, and when a route is acknowledged.
#include <fmt/ranges.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "OrvSdkRpc/mirror/MplsRouteService.h"
#include "OrvSdkRpc/mirror/NexthopGroupService.h"
#include "orv/lock.h"
#include "testing/base/Eventually.h"
#include "testing/base/TempDir.h"
#include "testing/server/RunningServer.h"
#include "testing/server/StreamClient.h"
#include "testing/softswitch/RunningSwitch.h"

namespace orvtest {
namespace {

namespace remote = orv::remote;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* refusal = "via of mpls route 100: unknown interface Ethernet99";

class MplsRoutes : public testing::Test {
protected:
   using Stub = remote::MplsRouteMgrService::Stub;
   using Acks = StreamClient<remote::MplsIntegratedAckResponse>;

   MplsRoutes() {
      std::vector<std::unique_ptr<OrvSdkRpc::GrpcService>> services;
      {
         const orv::sdk_scoped_lock lock;
         auto mpls = std::make_unique<OrvSdkRpc::MplsRouteService>(
              switch_->get_mpls_route_mgr(), switch_->get_mount_mgr(), switch_->get_nexthop_group_mgr());
         service_ = mpls.get();
         services.push_back(std::move(mpls));
         services.push_back(
              std::make_unique<OrvSdkRpc::NexthopGroupService>(switch_->get_nexthop_group_mgr()));
      }
      running_.emplace(std::move(services));
      routes_ = running_->stub<remote::MplsRouteMgrService>();
      groups_ = running_->stub<remote::NexthopGroupMgrService>();
   }
   ~MplsRoutes() override {
      running_->stop();
      const orv::sdk_scoped_lock lock;
      running_->destroy();
   }

   static softswitch::Options options(const TempDir& directory) {
      softswitch::Options made;
      made.stateDirectory = directory.path();
      return made;
   }
   template <class Service, class Rq, class Rp>
   static grpc::Status call(Service& stub, grpc::Status (Service::*rpc)(grpc::ClientContext*, const Rq&, Rp*),
                            const Rq& request, Rp& response) {
      grpc::ClientContext context;
      return (stub.*rpc)(&context, request, &response);
   }

   static remote::MplsRouteKey key(std::uint32_t label = 100) {
      remote::MplsRouteKey made;
      made.add_labels()->set_label(label);
      return made;
   }
   // A via over 10.0.0.N; 0 stands for one that the switch refuses.
   static remote::MplsRouteVia via(char number) {
      remote::MplsRouteVia made;
      made.set_label_action(remote::MPLS_ACTIONS_POP);
      *made.mutable_route_key() = key();
      made.set_hop(std::string("\x0a\0\0", 3) + (number == 0 ? '\x63' : number));
      if (number == 0) made.mutable_intf()->set_name("Ethernet99");
      return made;
   }
   static remote::MplsRouteSetRequest setting(const std::vector<char>& vias,
                                              remote::MplsRouteViasAction action) {
      remote::MplsRouteSetRequest request;
      *request.mutable_route()->mutable_key() = key();
      for (const char number : vias)
         *request.add_vias() = via(number);
      request.set_vias_action(action);
      return request;
   }
   // Sends the request as a unary call or as the only item of a bulk.
   // RETURNS: the error text; empty if the request succeeds.
   std::string set(const remote::MplsRouteSetRequest& request, bool bulk = false) {
      if (!bulk) {
         remote::MplsRouteSetResponse response;
         return call(*routes_, &Stub::mpls_route_set, request, response).error_message();
      }
      remote::BulkMplsRouteSetRequest requests;
      *requests.add_requests() = request;
      remote::BulkMplsRouteSetResponse response;
      EXPECT_TRUE(call(*routes_, &Stub::bulk_mpls_route_set, requests, response).ok());
      EXPECT_EQ(response.count(), response.status().code() == 0 ? 1U : 0U);
      return response.status().message();
   }
   void clear() {
      remote::MplsRouteDelRequest request;
      *request.mutable_route_key() = key();
      remote::MplsRouteDelResponse response;
      EXPECT_TRUE(call(*routes_, &Stub::mpls_route_del, request, response).ok());
   }
   bool exists() {
      remote::MplsRouteExistsRequest request;
      *request.mutable_route_key() = key();
      remote::MplsRouteExistsResponse response;
      EXPECT_TRUE(call(*routes_, &Stub::exists, request, response).ok());
      return response.exists();
   }
   std::vector<remote::MplsRouteViasResponse> viasOf(const remote::MplsRouteKey& route) {
      remote::MplsRouteViasRequest request;
      *request.mutable_route_key() = route;
      return StreamClient<remote::MplsRouteViasResponse>(*routes_, &Stub::mpls_route_vias, request).rest();
   }
   // The last bytes of the hops of the route.
   std::vector<int> vias() {
      std::vector<int> found;
      for (const auto& response : viasOf(key()))
         found.push_back(response.via().hop().back());
      return found;
   }
   // Every route with its vias, a row for each.
   std::vector<std::string> table() {
      std::vector<std::string> rows;
      for (const auto& response :
           StreamClient<remote::MplsRoutesResponse>(*routes_, &Stub::mpls_routes, remote::MplsRoutesRequest())
                .rest()) {
         std::vector<std::string> found;
         for (const auto& via : viasOf(response.route().key()))
            found.push_back(via.ShortDebugString());
         std::sort(found.begin(), found.end());
         rows.push_back(fmt::format("{}: {}", response.route().ShortDebugString(), fmt::join(found, "; ")));
      }
      return rows;
   }
   std::size_t inHardware() {
      return StreamClient<remote::MplsRouteStatusesResponse>(*routes_, &Stub::mpls_route_statuses,
                                                             remote::MplsRouteStatusesRequest())
           .rest()
           .size();
   }

   void setGroup(const std::string& name, std::uint32_t version) {
      remote::NexthopGroupSetRequest request;
      request.mutable_nexthop_group()->set_name(name);
      request.mutable_nexthop_group()->set_type(remote::NEXTHOP_GROUP_ENCAP_TYPES_MPLS);
      (*request.mutable_nexthop_group()->mutable_nexthops())[0].set_nexthop(std::string("\x0a\0\0\x01", 4));
      request.set_version_id(version);
      remote::NexthopGroupSetResponse response;
      const auto status =
           call(*groups_, &remote::NexthopGroupMgrService::Stub::nexthop_group_set, request, response);
      EXPECT_TRUE(status.ok()) << status.error_message();
   }
   void setOver(std::uint32_t label, const std::string& group, std::uint32_t version) {
      remote::MplsRouteSetRequest request;
      *request.mutable_route()->mutable_key() = key(label);
      request.mutable_route()->set_version_id(version);
      auto& over = *request.add_vias();
      over.set_label_action(remote::MPLS_ACTIONS_POP);
      *over.mutable_route_key() = key(label);
      over.set_nexthop_group(group);
      EXPECT_EQ(set(request), "");
   }
   std::unique_ptr<Acks> watchAcks() {
      remote::MplsIntegratedAckRequest request;
      request.set_ack(true);
      return std::make_unique<Acks>(*routes_, &Stub::watch_mpls_integrated, request);
   }
   // Skips acknowledgements of the watch itself.
   // RETURNS: the next report about a route: "100 version 1 over g version 2 state 2".
   static std::string report(Acks& acks) {
      for (;;) {
         const auto response = acks.next();
         if (!response) return "end";
         if (response->ack()) continue;
         const auto& info = response->mpls_route_via_set_version_info();
         return fmt::format("{} version {} over {} version {} state {}", info.route_key().labels(0).label(),
                            info.version_id(), info.nexthop_group_version_info().name(),
                            info.nexthop_group_version_info().version_id(), info.hw_state());
      }
   }

   const TempDir directory_;
   RunningSwitch switch_{options(directory_)};
   // Owned by the server.
   OrvSdkRpc::MplsRouteService* service_ = nullptr;
   std::optional<RunningServer> running_;
   std::unique_ptr<Stub> routes_;
   std::unique_ptr<remote::NexthopGroupMgrService::Stub> groups_;
};

constexpr auto addVias = remote::MPLS_ROUTE_VIAS_ACTION_ADD;
constexpr auto replaceVias = remote::MPLS_ROUTE_VIAS_ACTION_REPLACE;

// A new route, and one that had vias before.
TEST_F(MplsRoutes, aViaThatCannotBeAddedTakesTheRouteOutWhereverItStands) {
   for (const bool bulk : {false, true}) {
      for (const bool before : {false, true}) {
         for (std::size_t position = 0; position < 4; ++position) {
            SCOPED_TRACE(testing::Message()
                         << position << (before ? " before" : "") << (bulk ? " bulk" : ""));
            if (before) {
               ASSERT_EQ(set(setting({8, 9}, addVias)), "");
            }
            std::vector<char> asked{1, 2, 3};
            asked.insert(asked.begin() + static_cast<std::ptrdiff_t>(position), char{0});
            EXPECT_EQ(set(setting(asked, addVias), bulk), refusal);
            EXPECT_FALSE(exists());
            EXPECT_THAT(vias(), IsEmpty());
            EXPECT_TRUE(eventually([&] { return inHardware() == 0; }));
         }
      }
   }
}

TEST_F(MplsRoutes, aViaThatCannotReplaceAnotherLeavesWhatWasDoneAndEveryOldVia) {
   for (const bool bulk : {false, true}) {
      for (std::size_t position = 0; position < 4; ++position) {
         SCOPED_TRACE(testing::Message() << position << (bulk ? " bulk" : ""));
         clear();
         ASSERT_EQ(set(setting({2, 8}, addVias)), "");
         std::vector<char> asked{1, 2, 3};
         asked.insert(asked.begin() + static_cast<std::ptrdiff_t>(position), char{0});
         EXPECT_EQ(set(setting(asked, replaceVias), bulk), refusal);
         std::vector<int> expected{2, 8};
         if (position > 0) expected.push_back(1);
         if (position > 2) expected.push_back(3);
         EXPECT_THAT(vias(), testing::UnorderedElementsAreArray(expected));
      }
   }
}

// Routes that share labels, a metric or hops with the refused one.
TEST_F(MplsRoutes, aRefusedViaTouchesNoOtherRoute) {
   const auto addNeighbour = [this](const remote::MplsRouteKey& neighbour) {
      auto request = setting({1, 2, 9}, addVias);
      *request.mutable_route()->mutable_key() = neighbour;
      for (auto& each : *request.mutable_vias())
         *each.mutable_route_key() = neighbour;
      ASSERT_EQ(set(request), "");
   };
   auto worse = key();
   worse.set_metric(7);
   auto stack = key();
   stack.add_labels()->set_label(100);
   for (const auto& neighbour : {key(99), key(101), worse, stack})
      addNeighbour(neighbour);
   const auto neighbours = table();
   ASSERT_EQ(neighbours.size(), 4U);
   for (std::size_t position = 0; position < 4; ++position) {
      std::vector<char> asked{1, 2, 3};
      asked.insert(asked.begin() + static_cast<std::ptrdiff_t>(position), char{0});
      for (const bool bulk : {false, true}) {
         SCOPED_TRACE(testing::Message() << position << (bulk ? " bulk" : ""));
         EXPECT_EQ(set(setting(asked, addVias), bulk), refusal);
         EXPECT_EQ(table(), neighbours);
         ASSERT_EQ(set(setting({2, 8}, addVias)), "");
         EXPECT_EQ(set(setting(asked, replaceVias), bulk), refusal);
         clear();
         EXPECT_EQ(table(), neighbours);
      }
   }
}

TEST_F(MplsRoutes, viasAreReplacedAndThoseThatStayAreNotTouched) {
   ASSERT_EQ(set(setting({1, 2, 3}, addVias)), "");
   EXPECT_EQ(set(setting({4, 2}, replaceVias)), "");
   EXPECT_THAT(vias(), testing::UnorderedElementsAre(2, 4));
   EXPECT_EQ(set(setting({5}, addVias)), "");
   EXPECT_THAT(vias(), testing::UnorderedElementsAre(2, 4, 5));
   EXPECT_EQ(set(setting({}, replaceVias)), "");
   EXPECT_THAT(vias(), IsEmpty());
   EXPECT_TRUE(exists());
}

TEST_F(MplsRoutes, anUnknownActionLeavesTheRouteWithoutItsVias) {
   EXPECT_EQ(set(setting({1}, static_cast<remote::MplsRouteViasAction>(2))), "vias_action");
   EXPECT_TRUE(exists());
   EXPECT_THAT(vias(), IsEmpty());
}

// Additions come first, and the vias of one route must not mix the two.
TEST_F(MplsRoutes, hopsAreNotReplacedByAGroup) {
   ASSERT_EQ(set(setting({1}, addVias)), "");
   auto request = setting({}, replaceVias);
   auto& over = *request.add_vias();
   over.set_label_action(remote::MPLS_ACTIONS_POP);
   *over.mutable_route_key() = key();
   over.set_nexthop_group("g");
   EXPECT_THAT(set(request), testing::HasSubstr("have hops, this one has a nexthop group"));
   EXPECT_THAT(vias(), ElementsAre(1));
}

TEST_F(MplsRoutes, aRouteIsAcknowledgedOnceItAndItsGroupAreInHardware) {
   const auto acks = watchAcks();
   const auto first = acks->next();
   ASSERT_TRUE(first && first->ack());
   setOver(100, "g", 5);
   setGroup("g", 7);
   EXPECT_EQ(report(*acks), "100 version 5 over g version 7 state 2");
   setGroup("g", 8);
   EXPECT_EQ(report(*acks), "100 version 5 over g version 8 state 2");
   setOver(100, "g", 6);
   EXPECT_EQ(report(*acks), "100 version 6 over g version 8 state 2");
   // Whoever comes late hears of it too, alone.
   acks->cancel();
   acks->rest();
   ASSERT_TRUE(eventually([&] { return !service_->integratedSubscriptions().watched(); }));
   const auto late = watchAcks();
   EXPECT_EQ(report(*late), "100 version 6 over g version 8 state 2");
}

// Both routes wait for a group that hardware does not have. One of them is led to another group meanwhile.
TEST_F(MplsRoutes, aRouteThatIsLedAwayFromAMissingGroupIsNotAcknowledgedWithIt) {
   const auto acks = watchAcks();
   const auto first = acks->next();
   ASSERT_TRUE(first && first->ack());
   setOver(100, "missing", 5);
   setOver(101, "missing", 5);
   setGroup("there", 1);
   setOver(100, "there", 5);
   EXPECT_EQ(report(*acks), "100 version 5 over there version 1 state 2");
   setGroup("missing", 2);
   EXPECT_EQ(report(*acks), "101 version 5 over missing version 2 state 2");
   setGroup("there", 3);
   EXPECT_EQ(report(*acks), "100 version 5 over there version 3 state 2");
   // A group that goes takes its name along; whoever still names it waits again.
   remote::NexthopGroupDelRequest gone;
   gone.set_name("missing");
   remote::NexthopGroupDelResponse deleted;
   ASSERT_TRUE(call(*groups_, &remote::NexthopGroupMgrService::Stub::nexthop_group_del, gone, deleted).ok());
   setGroup("renamed", 2);
   setGroup("there", 4);
   EXPECT_EQ(report(*acks), "100 version 5 over there version 4 state 2");
   const auto late = watchAcks();
   const auto subscribed = late->next();
   ASSERT_TRUE(subscribed && subscribed->ack());
   setOver(101, "renamed", 6);
   EXPECT_EQ(report(*acks), "101 version 6 over renamed version 2 state 2");
   // The second watch was opened into a running one: it hears of what changes from then on.
   EXPECT_EQ(report(*late), "101 version 6 over renamed version 2 state 2");
}

}  // namespace
}  // namespace orvtest
