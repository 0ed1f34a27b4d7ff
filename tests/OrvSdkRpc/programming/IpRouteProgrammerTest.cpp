#include "OrvSdkRpc/programming/IpRouteProgrammer.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "orv/error.h"
#include "orv/lock.h"
#include "testing/sdk/Iterators.h"
#include "testing/server/Contract.h"
#include "testing/server/Programmed.h"
#include "testing/server/TraceCapture.h"
#include "testing/server/WatchedLock.h"

namespace OrvSdkRpc {
namespace {

using orvtest::ipRoute;
using testing::_;
using testing::InSequence;
using testing::Matcher;
using testing::Return;
using testing::Throw;

orv::ip_route_key_t routeKeyOf(int third) {
   return orv::ip_route_key_t(orv::ip_prefix_t("10.0." + std::to_string(third) + ".0/24"));
}

class IpRouteProgrammerTest : public testing::Test {
protected:
   pb::rpc_status_msg process(const pb::ip_route_msg& request) {
      pb::rpc_status_msg response;
      contract_.ip.processIpRouteRequest(request, response);
      return response;
   }
   void expectNothingWritten() {
      EXPECT_CALL(mgr_, ip_route_set(_, Matcher<orv::ip_route_action_t>(_))).Times(0);
      EXPECT_CALL(mgr_, ip_route_via_set(_)).Times(0);
      EXPECT_CALL(mgr_, ip_route_via_del(_)).Times(0);
      EXPECT_CALL(mgr_, ip_route_del(_)).Times(0);
   }

   orvtest::Contract contract_;
   testing::NiceMock<orvtest::MockIpRouteMgr>& mgr_ = contract_.host.ipRouteMgr;
};

TEST_F(IpRouteProgrammerTest, beforeInitNothingIsProgrammed) {
   expectNothingWritten();
   const auto response = process(ipRoute(1, "g"));
   EXPECT_EQ(response.status(), pb::RPC_STATUS_NOT_INITIALIZED);
   EXPECT_EQ(response.debug_string(),
             "Error: no prior rpc_server_init call, request nexthop_group_name: \"g\" "
             "prefix { network { address: \"\\n\\000\\001\\000\" } prefix_length: 24 }");
}

TEST_F(IpRouteProgrammerTest, aRouteAndItsViaAreWrittenTogether) {
   contract_.init();
   orv::ip_route_t route(routeKeyOf(1));
   route.tag_is(5);
   orv::ip_route_via_t via(routeKeyOf(1));
   via.nexthop_group_is("g");
   InSequence order;
   EXPECT_CALL(mgr_, ip_route_set(route, orv::ip_route_action_t::nexthop_group));
   EXPECT_CALL(mgr_, ip_route_via_set(via));
   orvtest::TraceCapture traces("OrvSdkRpc/1");
   const auto response = process(ipRoute(1, "g", 5));
   EXPECT_EQ(response.status(), pb::RPC_STATUS_OK);
   EXPECT_EQ(response.debug_string(), "");
   EXPECT_EQ(static_cast<int>(orv::ip_route_action_t::nexthop_group), 3);
   EXPECT_EQ(traces.texts(), std::vector<std::string>{"create 10.0.1.0/24 route"});
}

TEST_F(IpRouteProgrammerTest, withoutAGroupNameOrWithAnEmptyOneTheRouteIsDeletedViaFirst) {
   contract_.init();
   auto named = ipRoute(1, "");
   named.set_nexthop_group_name("");
   for (const auto& request : {ipRoute(1, ""), named}) {
      InSequence order;
      EXPECT_CALL(mgr_, exists(Matcher<const orv::ip_route_key_t&>(routeKeyOf(1)))).WillOnce(Return(true));
      EXPECT_CALL(mgr_, ip_route_via_del(orv::ip_route_via_t(routeKeyOf(1))));
      EXPECT_CALL(mgr_, ip_route_del(routeKeyOf(1)));
      EXPECT_EQ(process(request).status(), pb::RPC_STATUS_OK);
   }
}

TEST_F(IpRouteProgrammerTest, aDeleteOfAnAbsentRouteIsNotFoundWithoutWords) {
   contract_.init();
   expectNothingWritten();
   EXPECT_CALL(mgr_, exists(Matcher<const orv::ip_route_key_t&>(_))).WillOnce(Return(false));
   orvtest::TraceCapture traces("OrvSdkRpc/1");
   const auto response = process(ipRoute(1, ""));
   EXPECT_EQ(response.status(), pb::RPC_STATUS_NOT_FOUND);
   EXPECT_EQ(response.debug_string(), "");
   EXPECT_EQ(traces.texts(), std::vector<std::string>{"delete 10.0.1.0/24 route"});
}

TEST_F(IpRouteProgrammerTest, tagZeroTellsTheSdkNothingAndLetsAnyTagThrough) {
   EXPECT_CALL(mgr_, tag_is(_)).Times(0);
   contract_.init(0);
   EXPECT_EQ(process(ipRoute(1, "g", 8)).status(), pb::RPC_STATUS_OK);
}

TEST_F(IpRouteProgrammerTest, anotherTagThanInitsIsRefused) {
   EXPECT_CALL(mgr_, tag_is(7));
   contract_.init(7);
   expectNothingWritten();
   orvtest::TraceCapture traces("OrvSdkRpc/0");
   const auto response = process(ipRoute(1, "g", 8));
   EXPECT_EQ(response.status(), pb::RPC_STATUS_ERROR);
   const std::string words = "Error: Create 10.0.1.0/24 route with tag 8 != rpc_server_init::ip_route_tag 7";
   EXPECT_EQ(response.debug_string(), words);
   EXPECT_EQ(traces.count(words), 1U);
}

TEST_F(IpRouteProgrammerTest, initsTagIsAcceptedAndADeleteIsNotTagChecked) {
   contract_.init(7);
   EXPECT_EQ(process(ipRoute(1, "g", 7)).status(), pb::RPC_STATUS_OK);
   EXPECT_CALL(mgr_, exists(Matcher<const orv::ip_route_key_t&>(_))).WillOnce(Return(true));
   EXPECT_CALL(mgr_, ip_route_del(routeKeyOf(1)));
   EXPECT_EQ(process(ipRoute(1, "", 8)).status(), pb::RPC_STATUS_OK);
}

TEST_F(IpRouteProgrammerTest, aLaterInitWithTagZeroLetsAnyTagThroughAgain) {
   contract_.init(7);
   EXPECT_CALL(mgr_, tag_is(_)).Times(0);
   contract_.init(0);
   EXPECT_EQ(process(ipRoute(1, "g", 8)).status(), pb::RPC_STATUS_OK);
}

TEST_F(IpRouteProgrammerTest, aDirectAddWithoutForwardingIsRefused) {
   contract_.init();
   expectNothingWritten();
   std::string text;
   EXPECT_EQ(contract_.ip.addRibRoute(ipRoute(1, ""), text), pb::RPC_STATUS_ERROR);
   EXPECT_EQ(text, "Error: ip route 10.0.1.0/24 must specify Forwarding nexthop");
}

TEST_F(IpRouteProgrammerTest, anErrorOfTheSdkBecomesWords) {
   contract_.init();
   orvtest::TraceCapture traces("OrvSdkRpc/0");
   EXPECT_CALL(mgr_, ip_route_via_set(_)).WillOnce(Throw(orv::configuration_error("no room")));
   const auto response = process(ipRoute(1, "g"));
   EXPECT_EQ(response.status(), pb::RPC_STATUS_ERROR);
   EXPECT_TRUE(response.debug_string().starts_with("Error: request nexthop_group_name: \"g\" prefix {"));
   EXPECT_TRUE(response.debug_string().ends_with("prefix_length: 24 } exception no room"));
   EXPECT_EQ(traces.count(response.debug_string()), 1U);
}

TEST_F(IpRouteProgrammerTest, aNewRouteWhoseViaIsRefusedIsTakenBack) {
   contract_.init();
   InSequence order;
   EXPECT_CALL(mgr_, exists(Matcher<const orv::ip_route_key_t&>(routeKeyOf(1)))).WillOnce(Return(false));
   EXPECT_CALL(mgr_, ip_route_set(_, Matcher<orv::ip_route_action_t>(_)));
   EXPECT_CALL(mgr_, ip_route_via_set(_)).WillOnce(Throw(orv::invalid_argument_error("name too long")));
   EXPECT_CALL(mgr_, ip_route_del(routeKeyOf(1)));
   EXPECT_TRUE(process(ipRoute(1, "g")).debug_string().ends_with("exception name too long"));
}

TEST_F(IpRouteProgrammerTest, aRouteThatStoodIsAsItWasWhenTheViaIsRefused) {
   contract_.init();
   orv::ip_route_t before(routeKeyOf(1));
   before.tag_is(5);
   orv::ip_route_via_t old(routeKeyOf(1));
   old.nexthop_group_is("old");
   ON_CALL(mgr_, action(routeKeyOf(1))).WillByDefault(Return(orv::ip_route_action_t::nexthop_group));
   ON_CALL(mgr_, ip_route_via_iter(routeKeyOf(1))).WillByDefault([&](const auto&) {
      return orvtest::iterOver<orv::ip_route_via_iter_t>({old});
   });
   InSequence order;
   EXPECT_CALL(mgr_, exists(Matcher<const orv::ip_route_key_t&>(routeKeyOf(1)))).WillOnce(Return(true));
   EXPECT_CALL(mgr_, ip_route(routeKeyOf(1))).WillOnce(Return(before));
   EXPECT_CALL(mgr_, ip_route_set(_, Matcher<orv::ip_route_action_t>(_)));
   EXPECT_CALL(mgr_, ip_route_via_set(_)).WillOnce(Throw(orv::invalid_argument_error("name too long")));
   EXPECT_CALL(mgr_, ip_route_set(before, Matcher<orv::ip_route_action_t>(_)));
   EXPECT_CALL(mgr_, ip_route_via_set(old));
   EXPECT_CALL(mgr_, ip_route_del(_)).Times(0);
   EXPECT_EQ(process(ipRoute(1, "g", 6)).status(), pb::RPC_STATUS_ERROR);
}

TEST_F(IpRouteProgrammerTest, aRouteWithoutViasGetsItsActionBack) {
   contract_.init();
   ON_CALL(mgr_, exists(Matcher<const orv::ip_route_key_t&>(_))).WillByDefault(Return(true));
   ON_CALL(mgr_, ip_route(routeKeyOf(1))).WillByDefault(Return(orv::ip_route_t(routeKeyOf(1))));
   ON_CALL(mgr_, action(routeKeyOf(1))).WillByDefault(Return(orv::ip_route_action_t::drop));
   InSequence order;
   EXPECT_CALL(mgr_, ip_route_set(_, orv::ip_route_action_t::nexthop_group));
   EXPECT_CALL(mgr_, ip_route_via_set(_)).WillOnce(Throw(orv::invalid_argument_error("name too long")));
   EXPECT_CALL(mgr_, ip_route_set(orv::ip_route_t(routeKeyOf(1)), orv::ip_route_action_t::drop));
   EXPECT_EQ(process(ipRoute(1, "g")).status(), pb::RPC_STATUS_ERROR);
}

TEST_F(IpRouteProgrammerTest, anErrorInTakingBackDoesNotHideTheRefusal) {
   contract_.init();
   orvtest::TraceCapture traces("OrvSdkRpc/0");
   EXPECT_CALL(mgr_, ip_route_via_set(_)).WillOnce(Throw(orv::invalid_argument_error("name too long")));
   EXPECT_CALL(mgr_, ip_route_del(_)).WillOnce(Throw(orv::error("worse")));
   EXPECT_TRUE(process(ipRoute(1, "g")).debug_string().ends_with("exception name too long"));
   EXPECT_EQ(traces.count("Error: ip route 10.0.1.0/24 cannot be restored, exception worse"), 1U);
}

TEST_F(IpRouteProgrammerTest, aBadPrefixIsAnErrorOfTheRequest) {
   contract_.init();
   expectNothingWritten();
   auto request = ipRoute(1, "g");
   request.mutable_prefix()->set_prefix_length(8);
   EXPECT_EQ(process(request).status(), pb::RPC_STATUS_ERROR);
   request.mutable_prefix()->mutable_network()->set_address("abc");
   EXPECT_TRUE(process(request).debug_string().ends_with(
        "exception bytes length 3 does not match IPv4(4) or IPv6(16)"));
}

TEST_F(IpRouteProgrammerTest, anAbsentPrefixIsTheDefaultOne) {
   contract_.init();
   pb::ip_route_msg request;
   request.set_nexthop_group_name("g");
   EXPECT_CALL(mgr_, ip_route_set(orv::ip_route_t(orv::ip_route_key_t(orv::ip_prefix_t())),
                                  Matcher<orv::ip_route_action_t>(_)));
   EXPECT_EQ(process(request).status(), pb::RPC_STATUS_OK);
}

TEST_F(IpRouteProgrammerTest, aBulkGoesOnBehindAFailedItem) {
   contract_.init(7);
   pb::ip_route_bulk_msg request;
   *request.add_bulk() = ipRoute(1, "g", 7);
   *request.add_bulk() = ipRoute(2, "g", 8);
   *request.add_bulk() = ipRoute(3, "");
   *request.add_bulk() = ipRoute(4, "g", 7);
   EXPECT_CALL(mgr_, ip_route_set(_, Matcher<orv::ip_route_action_t>(_))).Times(2);
   pb::rpc_status_bulk_msg response;
   contract_.ip.processIpRouteBulkRequest(request, response);
   ASSERT_EQ(response.statuses_size(), 4);
   EXPECT_EQ(response.statuses(0).status(), pb::RPC_STATUS_OK);
   EXPECT_EQ(response.statuses(1).status(), pb::RPC_STATUS_ERROR);
   EXPECT_EQ(response.statuses(2).status(), pb::RPC_STATUS_NOT_FOUND);
   EXPECT_EQ(response.statuses(3).status(), pb::RPC_STATUS_OK);
}

TEST_F(IpRouteProgrammerTest, anEmptyBulkIsAReplyWithoutEntries) {
   pb::rpc_status_bulk_msg response;
   contract_.ip.processIpRouteBulkRequest({}, response);
   EXPECT_EQ(response.statuses_size(), 0);
}

TEST_F(IpRouteProgrammerTest, theLockSpansAllCallsForOneRouteAndNoMore) {
   contract_.init();
   orvtest::WatchedLock lock;
   // Which taking of the lock each call of the SDK stands under; 0 for none.
   std::vector<int> seen;
   const auto see = [&](const auto&...) { seen.push_back(orv::sdk_call_allowed() ? lock.taken() : 0); };
   ON_CALL(mgr_, ip_route_set(_, Matcher<orv::ip_route_action_t>(_))).WillByDefault(see);
   ON_CALL(mgr_, ip_route_via_set(_)).WillByDefault(see);
   ON_CALL(mgr_, ip_route_via_del(_)).WillByDefault(see);
   ON_CALL(mgr_, ip_route_del(_)).WillByDefault(see);
   ON_CALL(mgr_, exists(Matcher<const orv::ip_route_key_t&>(_))).WillByDefault([&](const auto& key) {
      see(key);
      return true;
   });
   std::thread pump([&] {
      process(ipRoute(1, "g"));
      process(ipRoute(1, ""));
      pb::ip_route_bulk_msg bulk;
      *bulk.add_bulk() = ipRoute(1, "g");
      *bulk.add_bulk() = ipRoute(2, "");
      pb::rpc_status_bulk_msg response;
      contract_.ip.processIpRouteBulkRequest(bulk, response);
   });
   pump.join();
   EXPECT_EQ(seen, (std::vector{1, 1, 1, 2, 2, 2, 3, 3, 3, 4, 4, 4}));
   EXPECT_EQ(lock.released(), 4);
}

}  // namespace
}  // namespace OrvSdkRpc
