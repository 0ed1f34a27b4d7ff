// The programming service over a real server and a real socket, on a switch of mocks.
#include "OrvSdkRpc/programming/OrvSdkRpcService.h"

#include <gmock/gmock.h>
#include <grpcpp/grpcpp.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "OrvSdkRpc/server/TagManager.h"
#include "orv/lock.h"
#include "testing/base/Eventually.h"
#include "testing/base/FreePort.h"
#include "testing/server/AgentHost.h"
#include "testing/server/EveryRpc.h"
#include "testing/server/LiveHandlers.h"
#include "testing/server/Programmed.h"
#include "testing/server/ProgrammingService.h"
#include "testing/server/RunningServer.h"

namespace OrvSdkRpc {
namespace {

using orvtest::eventually;
using orvtest::ipRoute;
using orvtest::liveHandlers;

constexpr const char* aliveType = "DetectServerAliveHandler";

class OrvSdkRpcServiceTest : public testing::Test {
protected:
   using Stub = pb::orvsdk_service::Stub;

   // Set the mocks' behaviour before this call: the pump reads it without a lock.
   void start() {
      running_ = std::make_unique<orvtest::RunningServer>(orvtest::programmingService(host_));
      stub_ = running_->stub<pb::orvsdk_service>();
   }

   void init() {
      grpc::ClientContext context;
      pb::rpc_server_init_status_msg response;
      ASSERT_TRUE(stub_->rpc_server_init(&context, {}, &response).ok());
      ASSERT_EQ(response.status().status(), pb::RPC_STATUS_OK);
   }
   // One unary call that must end with gRPC's OK.
   template <class Rq, class Rp>
   Rp call(grpc::Status (Stub::*rpc)(grpc::ClientContext*, const Rq&, Rp*), const Rq& request = {}) {
      grpc::ClientContext context;
      Rp response;
      const grpc::Status status = (*stub_.*rpc)(&context, request, &response);
      EXPECT_TRUE(status.ok()) << status.error_message();
      return response;
   }

   const google::protobuf::ServiceDescriptor& service_ =
        *orvtest::serviceNamed(pb::orvsdk_service::service_full_name());
   const std::size_t rpcs_ = static_cast<std::size_t>(service_.method_count());
   const std::uint64_t handlersBefore_ = liveHandlers();
   orvtest::AgentHost host_;
   std::unique_ptr<orvtest::RunningServer> running_;
   std::unique_ptr<Stub> stub_;
};

// A watch through the callback API, so that one thread can hold hundreds.
template <class Message>
class HeldStream final : public grpc::ClientReadReactor<Message> {
public:
   void begin() {
      this->StartRead(&message_);
      this->StartCall();
   }
   void OnReadDone(bool ok) override {
      if (!ok) return;
      ++received;
      this->StartRead(&message_);
   }
   void OnDone(const grpc::Status& status) override {
      std::lock_guard lock(mutex_);
      status_ = status;
      done_ = true;
      ended_.notify_all();
   }
   grpc::Status await() {
      std::unique_lock lock(mutex_);
      ended_.wait(lock, [this] { return done_; });
      return status_;
   }
   bool done() {
      std::lock_guard lock(mutex_);
      return done_;
   }

   grpc::ClientContext context;
   std::atomic<int> received{0};

private:
   Message message_;
   std::mutex mutex_;
   std::condition_variable ended_;
   bool done_ = false;
   grpc::Status status_;
};
using Alive = HeldStream<pb::rpc_server_alive_msg>;

TEST_F(OrvSdkRpcServiceTest, everyRpcWaitsForItsCall) {
   start();
   EXPECT_EQ(liveHandlers() - handlersBefore_, rpcs_);
   // The two streams have a done tag beside their main tag.
   EXPECT_EQ(running_->server().tags().size(), rpcs_ + 2);
   EXPECT_THAT(orvtest::rpcsWithoutHandler(running_->channel(), service_), testing::IsEmpty());
}

TEST_F(OrvSdkRpcServiceTest, programsARouteFromTheWireToTheSdk) {
   std::atomic<int> written{0};
   ON_CALL(host_.ipRouteMgr, ip_route_via_set(testing::_)).WillByDefault([&](const orv::ip_route_via_t& via) {
      EXPECT_EQ(via.nexthop_group(), "g");
      ++written;
   });
   start();
   EXPECT_EQ(call(&Stub::ip_route, ipRoute(1, "g")).status(), pb::RPC_STATUS_NOT_INITIALIZED);
   init();
   EXPECT_EQ(call(&Stub::ip_route, ipRoute(1, "g")).status(), pb::RPC_STATUS_OK);
   EXPECT_EQ(written, 1);
}

TEST_F(OrvSdkRpcServiceTest, aRefusalHasGrpcStatusOk) {
   start();
   init();
   EXPECT_EQ(call(&Stub::nexthop_group, pb::nexthop_group_msg()).status(), pb::RPC_STATUS_ERROR);
   EXPECT_EQ(call(&Stub::ip_route, ipRoute(1, "")).status(), pb::RPC_STATUS_NOT_FOUND);
}

TEST_F(OrvSdkRpcServiceTest, theStateIsReadableBeforeInit) {
   ON_CALL(host_.agentMgr, status("k")).WillByDefault(testing::Return("v"));
   start();
   pb::rpc_server_state_status_msg request;
   request.add_key_value_pairs()->set_key("k");
   const auto pairs = call(&Stub::get_rpc_server_state, request);
   ASSERT_EQ(pairs.key_value_pairs_size(), 1);
   EXPECT_EQ(pairs.key_value_pairs(0).value(), "v");
   EXPECT_EQ(call(&Stub::rpc_server_state, pb::rpc_server_state_config_msg()).status(),
             pb::RPC_STATUS_NOT_INITIALIZED);
   init();
   EXPECT_EQ(call(&Stub::rpc_server_state, pb::rpc_server_state_config_msg()).status(), pb::RPC_STATUS_OK);
}

TEST_F(OrvSdkRpcServiceTest, resyncNeedsNoInit) {
   start();
   pb::rpc_server_resync_msg request;
   request.set_resync_phase(pb::rpc_server_resync_msg::RESYNC_START);
   EXPECT_EQ(call(&Stub::rpc_server_resync, request).status(), pb::RPC_STATUS_OK);
   request.set_resync_phase(pb::rpc_server_resync_msg::RESYNC_END);
   EXPECT_EQ(call(&Stub::rpc_server_resync, request).status(), pb::RPC_STATUS_OK);
   EXPECT_EQ(call(&Stub::rpc_server_resync, request).status(), pb::RPC_STATUS_ERROR);
}

TEST_F(OrvSdkRpcServiceTest, aBulkHasAnEntryPerItem) {
   start();
   init();
   pb::ip_route_bulk_msg routes;
   for (int i = 0; i < 250; ++i)
      *routes.add_bulk() = ipRoute(i, i % 2 == 0 ? "group-with-a-rather-long-name" : "");
   const auto answer = call(&Stub::ip_route_bulk, routes);
   ASSERT_EQ(answer.statuses_size(), 250);
   for (int i = 0; i < 250; ++i) {
      EXPECT_EQ(answer.statuses(i).status(), i % 2 == 0 ? pb::RPC_STATUS_OK : pb::RPC_STATUS_NOT_FOUND);
   }
   pb::nexthop_group_bulk_msg groups;
   groups.add_bulk()->set_name("g");
   orvtest::addNexthop(*groups.add_bulk(), 1, {100});
   groups.mutable_bulk(1)->set_name("h");
   const auto statuses = call(&Stub::nexthop_group_bulk, groups).statuses();
   ASSERT_EQ(statuses.size(), 2);
   EXPECT_EQ(statuses[0].status(), pb::RPC_STATUS_ERROR);
   EXPECT_EQ(statuses[1].status(), pb::RPC_STATUS_OK);
}

TEST_F(OrvSdkRpcServiceTest, tunnelsAndLabelsReachTheirManagers) {
   EXPECT_CALL(host_.tunnelMgr, nexthop_group_tunnel_set(testing::_)).Times(2);
   EXPECT_CALL(host_.mplsVrfLabelMgr, mpls_vrf_label_set(testing::_)).Times(2);
   start();
   pb::nexthop_group_tunnel_bulk_msg tunnels;
   *tunnels.add_bulk()->mutable_prefix() = orvtest::ipRoute(1, "").prefix();
   tunnels.mutable_bulk(0)->set_nexthop_group_name("g");
   pb::mpls_route_bulk_msg labels;
   labels.add_bulk()->set_label(16);
   labels.mutable_bulk(0)->set_popandforward("red");
   EXPECT_EQ(call(&Stub::nexthop_group_tunnel, tunnels.bulk(0)).status(), pb::RPC_STATUS_NOT_INITIALIZED);
   EXPECT_EQ(call(&Stub::mpls_route, labels.bulk(0)).status(), pb::RPC_STATUS_NOT_INITIALIZED);
   init();
   EXPECT_EQ(call(&Stub::nexthop_group_tunnel, tunnels.bulk(0)).status(), pb::RPC_STATUS_OK);
   EXPECT_EQ(call(&Stub::nexthop_group_tunnel_bulk, tunnels).statuses(0).status(), pb::RPC_STATUS_OK);
   EXPECT_EQ(call(&Stub::mpls_route, labels.bulk(0)).status(), pb::RPC_STATUS_OK);
   EXPECT_EQ(call(&Stub::mpls_route_bulk, labels).statuses(0).status(), pb::RPC_STATUS_OK);
}

TEST_F(OrvSdkRpcServiceTest, redirectsAndSessionsReachTheirManagers) {
   EXPECT_CALL(host_.classMapMgr, class_map_is(testing::_)).Times(2);
   EXPECT_CALL(host_.bfdSessionMgr, sbfd_echo_session_set(testing::_)).Times(2);
   start();
   pb::cbf_nexthop_group_redirect_bulk_msg cbf;
   cbf.add_bulk()->set_match_nexthop_group_name("a");
   cbf.mutable_bulk(0)->set_redirect_nexthop_group_name("b");
   cbf.mutable_bulk(0)->add_match_ipv4_dscp(1);
   pb::sbfd_echo_session_bulk_msg sbfd;
   sbfd.add_bulk()->mutable_key()->set_nexthop_intf("Ethernet1");
   EXPECT_EQ(call(&Stub::cbf_nexthop_group_redirect, cbf.bulk(0)).status(), pb::RPC_STATUS_NOT_INITIALIZED);
   EXPECT_EQ(call(&Stub::sbfd_echo_session, sbfd.bulk(0)).status(), pb::RPC_STATUS_NOT_INITIALIZED);
   pb::rpc_server_config_msg config;
   config.set_cbf_nexthop_group_redirect_policy_map_name("map");
   ASSERT_EQ(call(&Stub::rpc_server_init, config).status().status(), pb::RPC_STATUS_OK);
   EXPECT_EQ(call(&Stub::cbf_nexthop_group_redirect, cbf.bulk(0)).status(), pb::RPC_STATUS_OK);
   cbf.mutable_bulk(0)->set_redirect_nexthop_group_name("c");
   EXPECT_EQ(call(&Stub::cbf_nexthop_group_redirect_bulk, cbf).statuses(0).status(), pb::RPC_STATUS_OK);
   EXPECT_EQ(call(&Stub::sbfd_echo_session, sbfd.bulk(0)).status(), pb::RPC_STATUS_OK);
   EXPECT_EQ(call(&Stub::sbfd_echo_session_bulk, sbfd).statuses(0).status(), pb::RPC_STATUS_OK);
}

TEST_F(OrvSdkRpcServiceTest, theAliveWatchSaysNothingAndEndsWithTheServer) {
   start();
   const pb::rpc_server_alive_msg request;
   Alive watch;
   stub_->async()->watch_rpc_server_alive(&watch.context, &request, &watch);
   watch.begin();
   ASSERT_TRUE(eventually([] { return liveHandlers(aliveType) == 2; }));
   init();
   EXPECT_FALSE(watch.done());
   EXPECT_EQ(watch.received, 0);
   running_->stop();
   EXPECT_FALSE(watch.await().ok());
   EXPECT_EQ(watch.received, 0);
}

TEST_F(OrvSdkRpcServiceTest, anAliveWatchWhoseClientLeavesIsFreedAtOnce) {
   start();
   const pb::rpc_server_alive_msg request;
   Alive watches[3];
   for (Alive& watch : watches) {
      stub_->async()->watch_rpc_server_alive(&watch.context, &request, &watch);
      watch.begin();
   }
   ASSERT_TRUE(eventually([] { return liveHandlers(aliveType) == 4; }));
   watches[1].context.TryCancel();
   EXPECT_TRUE(eventually([] { return liveHandlers(aliveType) == 3; }));
   EXPECT_EQ(watches[1].await().error_code(), grpc::StatusCode::CANCELLED);
   EXPECT_FALSE(watches[0].done());
   for (Alive& watch : watches)
      watch.context.TryCancel();
   EXPECT_TRUE(eventually([] { return liveHandlers(aliveType) == 1; }));
   EXPECT_TRUE(eventually([&] { return running_->server().tags().size() == rpcs_ + 2; }));
   for (Alive& watch : watches)
      watch.await();
}

// A server that refuses remote clients does so on its mirror services: the controller's is always served.
TEST_F(OrvSdkRpcServiceTest, aPeerThatOtherServicesRejectIsServed) {
   // The peer comes from 127.0.0.1, which is not local to the first address, a unix one.
   const std::string tcp = orvtest::freeLoopbackAddress();
   orvtest::RunningServer running(orvtest::programmingService(host_),
                                  ServerProperties{.addresses = {tcp},
                                                   .sslProfileState = SslProfileState::NotConfigured,
                                                   .allowInsecureRemote = false});
   const auto stub =
        pb::orvsdk_service::NewStub(grpc::CreateChannel(tcp, grpc::InsecureChannelCredentials()));
   grpc::ClientContext context;
   pb::rpc_server_init_status_msg response;
   const grpc::Status status = stub->rpc_server_init(&context, {}, &response);
   EXPECT_TRUE(status.ok()) << status.error_message();
   EXPECT_EQ(response.status().status(), pb::RPC_STATUS_OK);
}

TEST_F(OrvSdkRpcServiceTest, stopUnderLoadIsPromptAndLeavesNothing) {
   constexpr std::size_t count = 200;
   std::atomic<bool> entered{false};
   ON_CALL(host_.ipRouteMgr, ip_route_via_set(testing::_)).WillByDefault([&](const auto&) {
      entered = true;
   });
   start();
   init();
   const pb::rpc_server_alive_msg aliveRequest;
   std::vector<std::unique_ptr<Alive>> watches;
   // Several connections, as several controllers have them.
   std::vector<std::unique_ptr<Stub>> stubs;
   for (int i = 0; i < 4; ++i)
      stubs.push_back(running_->stub<pb::orvsdk_service>());
   for (std::size_t i = 0; i < count; ++i) {
      watches.push_back(std::make_unique<Alive>());
      stubs[i % stubs.size()]->async()->watch_rpc_server_alive(&watches.back()->context, &aliveRequest,
                                                               watches.back().get());
      watches.back()->begin();
   }
   ASSERT_TRUE(eventually([] { return liveHandlers(aliveType) == count + 1; }));

   struct Call {
      grpc::ClientContext context;
      pb::rpc_status_msg response;
   };
   std::vector<std::unique_ptr<Call>> calls;
   std::atomic<std::size_t> ended{0};
   const auto request = ipRoute(1, "g");
   std::chrono::steady_clock::time_point begin;
   {
      // The thread that stops the server holds the SDK's lock, for which the pump waits in a call.
      orv::sdk_scoped_lock lock;
      for (std::size_t i = 0; i < count; ++i) {
         calls.push_back(std::make_unique<Call>());
         stubs[i % stubs.size()]->async()->ip_route(&calls.back()->context, &request, &calls.back()->response,
                                                    [&](const grpc::Status&) { ++ended; });
      }
      // One call has reached its handler, since the handler for the next call exists.
      ASSERT_TRUE(eventually([] { return liveHandlers("ip_route_msg") == 2; }));
      begin = std::chrono::steady_clock::now();
      running_->server().stop();
   }
   running_->stop();
   EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(2 * orvtest::slowdown()));
   EXPECT_TRUE(entered);
   EXPECT_EQ(running_->server().tags().size(), 0U);
   EXPECT_EQ(liveHandlers(), handlersBefore_);
   for (auto& watch : watches)
      EXPECT_FALSE(watch->await().ok());
   EXPECT_TRUE(eventually([&] { return ended == count; }));
}

TEST_F(OrvSdkRpcServiceTest, stopWhileCallsKeepComing) {
   start();
   init();
   std::atomic<bool> over{false};
   std::vector<std::thread> clients;
   std::atomic<int> served{0};
   for (int i = 0; i < 4; ++i) {
      clients.emplace_back([&] {
         const auto stub = running_->stub<pb::orvsdk_service>();
         pb::ip_route_bulk_msg request;
         for (int r = 0; r < 100; ++r)
            *request.add_bulk() = ipRoute(r, "g");
         while (!over) {
            grpc::ClientContext context;
            context.set_deadline(std::chrono::system_clock::now() + std::chrono::seconds(5));
            pb::rpc_status_bulk_msg response;
            if (stub->ip_route_bulk(&context, request, &response).ok()) {
               EXPECT_EQ(response.statuses_size(), 100);
               ++served;
            }
         }
      });
   }
   ASSERT_TRUE(eventually([&] { return served > 20; }));
   running_->stop();
   EXPECT_EQ(liveHandlers(), handlersBefore_);
   over = true;
   for (auto& client : clients)
      client.join();
}

}  // namespace
}  // namespace OrvSdkRpc
