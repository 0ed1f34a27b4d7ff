#include "OrvSdkRpc/programming/NhgTunnelProgrammer.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "orv/error.h"
#include "orv/lock.h"
#include "testing/server/Contract.h"
#include "testing/server/Programmed.h"
#include "testing/server/TraceCapture.h"
#include "testing/server/WatchedLock.h"

namespace OrvSdkRpc {
namespace {

using testing::_;
using testing::Return;
using testing::Throw;

const orv::ip_prefix_t endpoint("10.0.1.0/24");

pb::nexthop_group_tunnel_msg tunnelTo(const std::string& group) {
   pb::nexthop_group_tunnel_msg message;
   *message.mutable_prefix() = orvtest::ipRoute(1, "").prefix();
   message.set_nexthop_group_name(group);
   message.set_igp_metric(20);
   return message;
}

class NhgTunnelProgrammerTest : public testing::Test {
protected:
   pb::rpc_status_msg process(const pb::nexthop_group_tunnel_msg& request) {
      pb::rpc_status_msg response;
      tunnels_.processNhgTunnelRequest(request, response);
      return response;
   }
   void expectNothingWritten() {
      EXPECT_CALL(mgr_, nexthop_group_tunnel_set(_)).Times(0);
      EXPECT_CALL(mgr_, nexthop_group_tunnel_del(_)).Times(0);
   }

   orvtest::Contract contract_;
   testing::NiceMock<orvtest::MockNexthopGroupTunnelMgr>& mgr_ = contract_.host.tunnelMgr;
   NhgTunnelProgrammer tunnels_{contract_.client, &mgr_};
};

TEST_F(NhgTunnelProgrammerTest, beforeInitEveryItemOfABulkIsRefused) {
   expectNothingWritten();
   pb::nexthop_group_tunnel_bulk_msg request;
   request.add_bulk()->set_nexthop_group_name("a");
   request.add_bulk()->set_igp_metric(1);
   pb::rpc_status_bulk_msg response;
   tunnels_.processNhgTunnelBulkRequest(request, response);
   ASSERT_EQ(response.statuses_size(), 2);
   EXPECT_EQ(response.statuses(0).status(), pb::RPC_STATUS_NOT_INITIALIZED);
   EXPECT_EQ(response.statuses(0).debug_string(),
             "Error: no prior rpc_server_init call, request nexthop_group_name: \"a\"");
   EXPECT_EQ(response.statuses(1).debug_string(),
             "Error: no prior rpc_server_init call, request igp_metric: 1");
}

TEST_F(NhgTunnelProgrammerTest, aGroupNameCreatesAndTheGroupIsNotLookedAt) {
   contract_.init();
   orvtest::TraceCapture traces("OrvSdkRpc/1");
   orv::nexthop_group_tunnel_t tunnel;
   tunnel.tunnel_endpoint_is(endpoint);
   tunnel.nhg_name_is("g");
   tunnel.igp_metric_is(20);
   EXPECT_CALL(contract_.host.nexthopGroupMgr, exists(_)).Times(0);
   EXPECT_CALL(mgr_, nexthop_group_tunnel_set(tunnel));
   const auto response = process(tunnelTo("g"));
   EXPECT_EQ(response.status(), pb::RPC_STATUS_OK);
   EXPECT_EQ(response.debug_string(), "");
   EXPECT_EQ(traces.texts(), std::vector<std::string>{"create 10.0.1.0/24 tunnel"});
}

TEST_F(NhgTunnelProgrammerTest, anEmptyGroupNameDeletes) {
   contract_.init();
   orvtest::TraceCapture traces("OrvSdkRpc/1");
   EXPECT_CALL(mgr_, exists(endpoint)).WillOnce(Return(true));
   EXPECT_CALL(mgr_, nexthop_group_tunnel_del(endpoint));
   EXPECT_EQ(process(tunnelTo("")).status(), pb::RPC_STATUS_OK);
   EXPECT_EQ(traces.texts(), std::vector<std::string>{"delete 10.0.1.0/24 tunnel"});
}

TEST_F(NhgTunnelProgrammerTest, aDeleteOfAnAbsentTunnelIsNotFoundWithoutWords) {
   contract_.init();
   expectNothingWritten();
   EXPECT_CALL(mgr_, exists(endpoint)).WillOnce(Return(false));
   const auto response = process(tunnelTo(""));
   EXPECT_EQ(response.status(), pb::RPC_STATUS_NOT_FOUND);
   EXPECT_EQ(response.debug_string(), "");
}

TEST_F(NhgTunnelProgrammerTest, anErrorBecomesWordsAndTheBulkGoesOn) {
   contract_.init();
   pb::nexthop_group_tunnel_bulk_msg request;
   *request.add_bulk() = tunnelTo("g");
   request.mutable_bulk(0)->mutable_prefix()->set_prefix_length(8);
   *request.add_bulk() = tunnelTo("full");
   *request.add_bulk() = tunnelTo("h");
   orvtest::TraceCapture traces("OrvSdkRpc/0");
   EXPECT_CALL(mgr_, nexthop_group_tunnel_set(_))
        .WillOnce(Throw(orv::configuration_error("no room")))
        .WillOnce(Return());
   pb::rpc_status_bulk_msg response;
   tunnels_.processNhgTunnelBulkRequest(request, response);
   ASSERT_EQ(response.statuses_size(), 3);
   EXPECT_EQ(response.statuses(0).status(), pb::RPC_STATUS_ERROR);
   EXPECT_EQ(response.statuses(1).status(), pb::RPC_STATUS_ERROR);
   EXPECT_TRUE(
        response.statuses(1).debug_string().starts_with("Error: request nexthop_group_name: \"full\""));
   EXPECT_TRUE(response.statuses(1).debug_string().ends_with(" exception no room"));
   EXPECT_EQ(response.statuses(2).status(), pb::RPC_STATUS_OK);
   EXPECT_EQ(traces.texts(), (std::vector<std::string>{response.statuses(0).debug_string(),
                                                       response.statuses(1).debug_string()}));
}

TEST_F(NhgTunnelProgrammerTest, anAbsentPrefixIsTheDefaultOne) {
   contract_.init();
   EXPECT_CALL(mgr_, exists(orv::ip_prefix_t())).WillOnce(Return(false));
   EXPECT_EQ(process({}).status(), pb::RPC_STATUS_NOT_FOUND);
}

TEST_F(NhgTunnelProgrammerTest, theLockSpansOneItem) {
   contract_.init();
   orvtest::WatchedLock lock;
   // Which taking of the lock each call of the SDK stands under; 0 for none.
   std::vector<int> seen;
   const auto see = [&](const auto&...) { seen.push_back(orv::sdk_call_allowed() ? lock.taken() : 0); };
   ON_CALL(mgr_, nexthop_group_tunnel_set(_)).WillByDefault(see);
   ON_CALL(mgr_, nexthop_group_tunnel_del(_)).WillByDefault(see);
   ON_CALL(mgr_, exists(_)).WillByDefault([&](const auto&) {
      see();
      return true;
   });
   pb::nexthop_group_tunnel_bulk_msg bulk;
   *bulk.add_bulk() = tunnelTo("g");
   *bulk.add_bulk() = tunnelTo("");
   std::thread pump([&] {
      process(bulk.bulk(0));
      process(bulk.bulk(1));
      pb::rpc_status_bulk_msg response;
      tunnels_.processNhgTunnelBulkRequest(bulk, response);
   });
   pump.join();
   // A set, then the look and the delete; the same in the bulk.
   EXPECT_EQ(seen, (std::vector{1, 2, 2, 3, 4, 4}));
   EXPECT_EQ(lock.released(), 4);
}

}  // namespace
}  // namespace OrvSdkRpc
