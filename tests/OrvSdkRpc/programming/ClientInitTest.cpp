#include "OrvSdkRpc/programming/ClientInit.h"

#include <gtest/gtest.h>

#include <limits>
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

using orvtest::Contract;
using orvtest::iterOver;
using testing::InSequence;
using testing::Throw;

constexpr int start = pb::rpc_server_resync_msg::RESYNC_START;
constexpr int end = pb::rpc_server_resync_msg::RESYNC_END;

class ClientInitTest : public testing::Test {
protected:
   Contract contract_;
   orvtest::AgentHost& host_ = contract_.host;
};

TEST_F(ClientInitTest, onAnEmptySwitchNothingExistsButTheUnusedRedirects) {
   const auto response = contract_.init();
   ASSERT_TRUE(response.has_status());
   EXPECT_EQ(response.status().status(), pb::RPC_STATUS_OK);
   EXPECT_EQ(response.status().debug_string(), "");
   EXPECT_FALSE(response.ip_routes_exist());
   EXPECT_FALSE(response.mpls_routes_exist());
   EXPECT_FALSE(response.nexthop_groups_exist());
   EXPECT_FALSE(response.nexthop_group_tunnels_exist());
   EXPECT_TRUE(response.cbf_redirects_exist());
   EXPECT_TRUE(contract_.client.initialized());
}

TEST_F(ClientInitTest, tellsWhatTheSwitchHolds) {
   EXPECT_CALL(host_.ipRouteMgr, ip_route_iter()).WillOnce([] {
      return iterOver<orv::ip_route_iter_t>({orv::ip_route_t()});
   });
   EXPECT_CALL(host_.mplsRouteMgr, mpls_route_iter()).WillOnce([] {
      return iterOver<orv::mpls_route_iter_t>({orv::mpls_route_t()});
   });
   EXPECT_CALL(host_.mplsVrfLabelMgr, mpls_vrf_label_iter()).Times(0);
   EXPECT_CALL(host_.nexthopGroupMgr, nexthop_group_iter()).WillOnce([] {
      return iterOver<orv::nexthop_group_iter_t>({orv::nexthop_group_t()});
   });
   EXPECT_CALL(host_.tunnelMgr, nexthop_group_tunnel_iter()).WillOnce([] {
      return iterOver<orv::nexthop_group_tunnel_iter_t>({orv::nexthop_group_tunnel_t()});
   });
   const auto response = contract_.init(0, "no such map");
   EXPECT_TRUE(response.ip_routes_exist());
   EXPECT_TRUE(response.mpls_routes_exist());
   EXPECT_TRUE(response.nexthop_groups_exist());
   EXPECT_TRUE(response.nexthop_group_tunnels_exist());
   EXPECT_FALSE(response.cbf_redirects_exist());
}

TEST_F(ClientInitTest, aLoneVrfLabelCountsAsAnMplsRoute) {
   EXPECT_CALL(host_.mplsVrfLabelMgr, mpls_vrf_label_iter()).WillOnce([] {
      return iterOver<orv::mpls_vrf_label_iter_t>({orv::mpls_vrf_label_t()});
   });
   EXPECT_TRUE(contract_.init().mpls_routes_exist());
}

TEST_F(ClientInitTest, looksAtTheManagersInOrder) {
   InSequence order;
   EXPECT_CALL(host_.ipRouteMgr, tag_is(7));
   EXPECT_CALL(host_.policyMapMgr, exists(orv::policy_map_key_t("map", orv::policy_feature_t::pbr)));
   EXPECT_CALL(host_.ipRouteMgr, ip_route_iter());
   EXPECT_CALL(host_.mplsRouteMgr, mpls_route_iter());
   EXPECT_CALL(host_.mplsVrfLabelMgr, mpls_vrf_label_iter());
   EXPECT_CALL(host_.nexthopGroupMgr, nexthop_group_iter());
   EXPECT_CALL(host_.tunnelMgr, nexthop_group_tunnel_iter());
   contract_.init(7, "map");
}

TEST_F(ClientInitTest, anErrorWhileLookingLeavesItUninitializedAndKeepsWhatWasFound) {
   orvtest::TraceCapture traces("OrvSdkRpc/0");
   EXPECT_CALL(host_.ipRouteMgr, tag_is(7));
   EXPECT_CALL(host_.ipRouteMgr, ip_route_iter()).WillOnce([] {
      return iterOver<orv::ip_route_iter_t>({orv::ip_route_t()});
   });
   EXPECT_CALL(host_.nexthopGroupMgr, nexthop_group_iter()).WillOnce(Throw(orv::error("on fire")));
   EXPECT_CALL(host_.tunnelMgr, nexthop_group_tunnel_iter()).Times(0);
   const auto response = contract_.init(7);
   EXPECT_EQ(response.status().status(), pb::RPC_STATUS_ERROR);
   EXPECT_EQ(response.status().debug_string(), "Error: exception on fire");
   EXPECT_EQ(traces.count("Error: exception on fire"), 1U);
   EXPECT_TRUE(response.ip_routes_exist());
   EXPECT_FALSE(response.cbf_redirects_exist());
   EXPECT_FALSE(contract_.client.initialized());
}

TEST_F(ClientInitTest, anErrorInALaterInitTakesNothingBack) {
   contract_.init();
   EXPECT_CALL(host_.ipRouteMgr, ip_route_iter()).WillOnce(Throw(orv::error("on fire")));
   EXPECT_EQ(contract_.init().status().status(), pb::RPC_STATUS_ERROR);
   EXPECT_TRUE(contract_.client.initialized());
}

TEST_F(ClientInitTest, anErrorOfTheFirstTwoStepsIsNotCaught) {
   EXPECT_CALL(host_.ipRouteMgr, tag_is(7)).WillOnce(Throw(orv::error("tag")));
   EXPECT_THROW(contract_.init(7), orv::error);
   EXPECT_CALL(host_.policyMapMgr, exists(testing::_)).WillOnce(Throw(orv::error("map")));
   EXPECT_THROW(contract_.init(0, "map"), orv::error);
   EXPECT_FALSE(contract_.client.initialized());
}

TEST_F(ClientInitTest, isRepeatableAlsoDuringAResync) {
   contract_.init();
   contract_.resync(start);
   EXPECT_CALL(host_.ipRouteMgr, tag_is(9));
   EXPECT_EQ(contract_.init(9).status().status(), pb::RPC_STATUS_OK);
   EXPECT_TRUE(contract_.client.resyncInProgress());
}

TEST_F(ClientInitTest, resyncStartsInOrder) {
   InSequence order;
   EXPECT_CALL(host_.ipRouteMgr, resync_init());
   EXPECT_CALL(host_.mplsRouteMgr, resync_init());
   EXPECT_CALL(host_.mplsVrfLabelMgr, resync_init());
   EXPECT_CALL(host_.nexthopGroupMgr, resync_init());
   EXPECT_CALL(host_.tunnelMgr, resync_init());
   orvtest::TraceCapture traces("OrvSdkRpc/0");
   EXPECT_EQ(contract_.resync(start).status(), pb::RPC_STATUS_OK);
   EXPECT_EQ(traces.count("Resync start"), 1U);
   EXPECT_TRUE(contract_.client.resyncInProgress());
   EXPECT_EQ(contract_.cbf.epoch(), 1);
   EXPECT_EQ(contract_.bfd.epoch(), 1U);
   EXPECT_FALSE(contract_.client.initialized());
}

TEST_F(ClientInitTest, resyncEndsInItsOwnOrderWithTheGroupsLast) {
   contract_.resync(start);
   InSequence order;
   EXPECT_CALL(host_.ipRouteMgr, resync_complete());
   EXPECT_CALL(host_.mplsRouteMgr, resync_complete());
   EXPECT_CALL(host_.mplsVrfLabelMgr, resync_complete());
   EXPECT_CALL(host_.tunnelMgr, resync_complete());
   EXPECT_CALL(host_.nexthopGroupMgr, resync_complete());
   orvtest::TraceCapture traces("OrvSdkRpc/0");
   EXPECT_EQ(contract_.resync(end).status(), pb::RPC_STATUS_OK);
   EXPECT_EQ(traces.count("Resync end"), 1U);
   EXPECT_FALSE(contract_.client.resyncInProgress());
}

// What points at groups goes between the tunnels and the groups: first the redirects, which are scheduled,
// then the sessions, which the switch deletes at once.
TEST_F(ClientInitTest, staleRedirectsAndSessionsGoBetweenTheTunnelsAndTheGroups) {
   contract_.init(0, "map");
   pb::cbf_nexthop_group_redirect_msg redirect;
   redirect.set_match_nexthop_group_name("a");
   redirect.set_redirect_nexthop_group_name("b");
   redirect.add_match_ipv4_dscp(1);
   pb::rpc_status_msg response;
   contract_.cbf.processCbfNhgRedirectRequest(redirect, response);
   ASSERT_EQ(response.status(), pb::RPC_STATUS_OK);
   pb::sbfd_echo_session_msg session;
   session.mutable_key()->set_nexthop_intf("Ethernet1");
   contract_.bfd.processSbfdEchoSessionRequest(session, response);
   ASSERT_EQ(response.status(), pb::RPC_STATUS_OK);
   contract_.resync(start);

   orvtest::TraceCapture traces("OrvSdkRpc/1");
   const auto scheduled = [&] { return traces.count("Scheduled removal map seq 1 matching a redirect b"); };
   InSequence order;
   EXPECT_CALL(host_.tunnelMgr, resync_complete()).WillOnce([&] { EXPECT_EQ(scheduled(), 0U); });
   EXPECT_CALL(host_.bfdSessionMgr, sbfd_echo_session_del(testing::_)).WillOnce([&](const auto& key) {
      EXPECT_EQ(key.nexthop_intf(), orv::intf_id_t("Ethernet1"));
      EXPECT_EQ(scheduled(), 1U);
   });
   EXPECT_CALL(host_.nexthopGroupMgr, resync_complete());
   EXPECT_EQ(contract_.resync(end).status(), pb::RPC_STATUS_OK);
}

// And nothing of them goes where a manager refuses before.
TEST_F(ClientInitTest, anErrorInTheEndLeavesTheSessionsBehindIt) {
   contract_.init();
   pb::sbfd_echo_session_msg session;
   session.mutable_key()->set_nexthop_intf("Ethernet1");
   pb::rpc_status_msg response;
   contract_.bfd.processSbfdEchoSessionRequest(session, response);
   ASSERT_EQ(response.status(), pb::RPC_STATUS_OK);
   contract_.resync(start);
   EXPECT_CALL(host_.tunnelMgr, resync_complete()).WillOnce(Throw(orv::error("refused")));
   EXPECT_CALL(host_.bfdSessionMgr, sbfd_echo_session_del(testing::_)).Times(0);
   EXPECT_CALL(host_.nexthopGroupMgr, resync_complete()).Times(0);
   EXPECT_EQ(contract_.resync(end).debug_string(), "Error: exception refused");
}

TEST_F(ClientInitTest, anErrorStopsTheStartWhereItIs) {
   for (int failing = 0; failing < 5; ++failing) {
      Contract contract;
      std::vector<std::string> called;
      const auto step = [&](const char* name) {
         return [&called, name, failing] {
            called.emplace_back(name);
            if (static_cast<int>(called.size()) == failing + 1) throw orv::error("refused");
         };
      };
      ON_CALL(contract.host.ipRouteMgr, resync_init()).WillByDefault(step("ip"));
      ON_CALL(contract.host.mplsRouteMgr, resync_init()).WillByDefault(step("mpls"));
      ON_CALL(contract.host.mplsVrfLabelMgr, resync_init()).WillByDefault(step("label"));
      ON_CALL(contract.host.nexthopGroupMgr, resync_init()).WillByDefault(step("group"));
      ON_CALL(contract.host.tunnelMgr, resync_init()).WillByDefault(step("tunnel"));
      const auto response = contract.resync(start);
      EXPECT_EQ(response.status(), pb::RPC_STATUS_ERROR);
      EXPECT_EQ(response.debug_string(), "Error: exception refused");
      EXPECT_TRUE(contract.client.resyncInProgress());
      std::vector<std::string> expected{"ip", "mpls", "label", "group", "tunnel"};
      expected.resize(static_cast<std::size_t>(failing) + 1);
      EXPECT_EQ(called, expected);
      EXPECT_EQ(contract.cbf.epoch(), 0);
      EXPECT_EQ(contract.bfd.epoch(), 0U);
   }
}

TEST_F(ClientInitTest, anErrorStopsTheEndWhereItIs) {
   for (int failing = 0; failing < 5; ++failing) {
      Contract contract;
      contract.resync(start);
      std::vector<std::string> called;
      const auto step = [&](const char* name) {
         return [&called, name, failing] {
            called.emplace_back(name);
            if (static_cast<int>(called.size()) == failing + 1) throw orv::error("refused");
         };
      };
      ON_CALL(contract.host.ipRouteMgr, resync_complete()).WillByDefault(step("ip"));
      ON_CALL(contract.host.mplsRouteMgr, resync_complete()).WillByDefault(step("mpls"));
      ON_CALL(contract.host.mplsVrfLabelMgr, resync_complete()).WillByDefault(step("label"));
      ON_CALL(contract.host.tunnelMgr, resync_complete()).WillByDefault(step("tunnel"));
      ON_CALL(contract.host.nexthopGroupMgr, resync_complete()).WillByDefault(step("group"));
      const auto response = contract.resync(end);
      EXPECT_EQ(response.status(), pb::RPC_STATUS_ERROR);
      EXPECT_EQ(response.debug_string(), "Error: exception refused");
      EXPECT_FALSE(contract.client.resyncInProgress());
      std::vector<std::string> expected{"ip", "mpls", "label", "tunnel", "group"};
      expected.resize(static_cast<std::size_t>(failing) + 1);
      EXPECT_EQ(called, expected);
   }
}

TEST_F(ClientInitTest, anEndWithoutAStartIsRefusedAndPurgesNothing) {
   EXPECT_CALL(host_.ipRouteMgr, resync_complete()).Times(0);
   EXPECT_CALL(host_.nexthopGroupMgr, resync_complete()).Times(0);
   orvtest::TraceCapture traces("OrvSdkRpc/0");
   const auto response = contract_.resync(end);
   EXPECT_EQ(response.status(), pb::RPC_STATUS_ERROR);
   EXPECT_EQ(response.debug_string(), "Error: resync state is already false");
   EXPECT_EQ(traces.count("Error: resync state is already false"), 1U);
}

TEST_F(ClientInitTest, anyOtherNumberCountsAsTheEnd) {
   contract_.resync(start);
   EXPECT_CALL(host_.nexthopGroupMgr, resync_complete());
   EXPECT_EQ(contract_.resync(42).status(), pb::RPC_STATUS_OK);
   EXPECT_EQ(contract_.resync(-1).debug_string(), "Error: resync state is already false");
}

TEST(ClientInitDeathTest, aSentinelOfTheEnumerationEndsTheProcess) {
   GTEST_FLAG_SET(death_test_style, "threadsafe");
   Contract contract;
   EXPECT_DEATH(contract.resync(std::numeric_limits<int>::min()), "resync_phase");
   EXPECT_DEATH(contract.resync(std::numeric_limits<int>::max()), "resync_phase");
}

TEST_F(ClientInitTest, aSecondStartStartsOver) {
   EXPECT_CALL(host_.ipRouteMgr, resync_init()).Times(2);
   EXPECT_CALL(host_.nexthopGroupMgr, resync_init()).Times(2);
   contract_.resync(start);
   EXPECT_EQ(contract_.resync(start).status(), pb::RPC_STATUS_OK);
   EXPECT_EQ(contract_.cbf.epoch(), 2);
   EXPECT_EQ(contract_.bfd.epoch(), 2U);
}

TEST_F(ClientInitTest, theRedirectsEpochWrapsAt256) {
   for (int i = 0; i < 256; ++i)
      contract_.resync(start);
   EXPECT_EQ(contract_.cbf.epoch(), 0);
   EXPECT_EQ(contract_.bfd.epoch(), 256U);
}

TEST_F(ClientInitTest, aResyncBeforeInitDoesNotLetProgrammingThrough) {
   contract_.resync(start);
   pb::rpc_status_msg response;
   contract_.ip.processIpRouteRequest(orvtest::ipRoute(1, "g"), response);
   EXPECT_EQ(response.status(), pb::RPC_STATUS_NOT_INITIALIZED);
}

// Off the main thread every manager call holds the SDK's lock in a scope of its own, so the main loop gets
// its turn between two calls.
TEST_F(ClientInitTest, everyManagerCallHoldsTheLockAloneAndBriefly) {
   orvtest::WatchedLock lock;
   std::vector<int> seen;
   const auto see = [&] {
      EXPECT_TRUE(orv::sdk_call_allowed());
      seen.push_back(lock.taken());
   };
   ON_CALL(host_.ipRouteMgr, tag_is).WillByDefault([&](auto) { see(); });
   ON_CALL(host_.policyMapMgr, exists).WillByDefault([&](const auto&) {
      see();
      return false;
   });
   const auto none = [&](auto iter) {
      return [&see, iter] {
         see();
         return iter;
      };
   };
   ON_CALL(host_.ipRouteMgr, ip_route_iter()).WillByDefault(none(orv::ip_route_iter_t()));
   ON_CALL(host_.mplsRouteMgr, mpls_route_iter()).WillByDefault(none(orv::mpls_route_iter_t()));
   ON_CALL(host_.mplsVrfLabelMgr, mpls_vrf_label_iter()).WillByDefault(none(orv::mpls_vrf_label_iter_t()));
   ON_CALL(host_.nexthopGroupMgr, nexthop_group_iter()).WillByDefault(none(orv::nexthop_group_iter_t()));
   ON_CALL(host_.tunnelMgr, nexthop_group_tunnel_iter())
        .WillByDefault(none(orv::nexthop_group_tunnel_iter_t()));
   const auto resyncIsSeen = [&](auto& mgr) {
      ON_CALL(mgr, resync_init()).WillByDefault(see);
      ON_CALL(mgr, resync_complete()).WillByDefault(see);
   };
   resyncIsSeen(host_.ipRouteMgr);
   resyncIsSeen(host_.mplsRouteMgr);
   resyncIsSeen(host_.mplsVrfLabelMgr);
   resyncIsSeen(host_.nexthopGroupMgr);
   resyncIsSeen(host_.tunnelMgr);
   std::thread pump([&] {
      contract_.init(3, "map");
      contract_.resync(start);
      contract_.resync(end);
   });
   pump.join();
   ASSERT_EQ(seen.size(), 17U);
   for (std::size_t i = 1; i < seen.size(); ++i)
      EXPECT_GT(seen[i], seen[i - 1]) << "call " << i << " is under the lock of the one before";
   EXPECT_EQ(lock.released(), lock.taken());
}

}  // namespace
}  // namespace OrvSdkRpc
