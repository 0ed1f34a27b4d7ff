// Echo sessions on a real switch, as a controller sees them through the API.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "OrvSdkRpc/programming/OrvSdkRpcService.h"
#include "orv/lock.h"
#include "softswitch/console/commands.h"
#include "testing/base/TempDir.h"
#include "testing/server/Programmed.h"
#include "testing/server/RunningServer.h"
#include "testing/server/StreamClient.h"
#include "testing/softswitch/RunningSwitch.h"

namespace orvtest {
namespace {

namespace pb = OrvSdkRpc::pb;
using Phase = pb::rpc_server_resync_msg;
using Message = pb::watch_sbfd_echo_session_status_msg;
using Status = pb::sbfd_echo_session_oper_status_msg;
using Stub = pb::orvsdk_service::Stub;
using testing::ElementsAre;
using testing::Pair;

constexpr int down = Status::SBFD_OPER_STATUS_DOWN;
constexpr int up = Status::SBFD_OPER_STATUS_UP;

// One bulk of alive updates: sessions by the last byte of their next hop, in order.
using Statuses = std::vector<std::pair<int, int>>;

class Sbfd : public testing::Test {
protected:
   Sbfd() { start(); }
   ~Sbfd() override { stop(); }

   void start() {
      softswitch::Options options;
      options.stateDirectory = directory_ / "state";
      options.sbfdSnapshotNanos = 10'000'000;
      switch_.emplace(std::move(options));
      auto& sdk = **switch_;
      std::vector<std::unique_ptr<OrvSdkRpc::GrpcService>> services;
      {
         const orv::sdk_scoped_lock lock;
         services.push_back(std::make_unique<OrvSdkRpc::OrvSdkRpcService>(OrvSdkRpc::ProgrammingManagers{
              .acl = sdk.get_acl_mgr(),
              .agent = sdk.get_agent_mgr(),
              .bfdSession = sdk.get_bfd_session_mgr(),
              .intf = sdk.get_intf_mgr(),
              .classMap = sdk.get_class_map_mgr(),
              .ipRoute = sdk.get_ip_route_mgr(),
              .mplsRoute = sdk.get_mpls_route_mgr(),
              .mplsVrfLabel = sdk.get_mpls_vrf_label_mgr(),
              .nexthopGroup = sdk.get_nexthop_group_mgr(),
              .nexthopGroupTunnel = sdk.get_nexthop_group_tunnel_mgr(),
              .policyMap = sdk.get_policy_map_mgr(),
              .cbfNhg = nullptr,
         }));
      }
      running_.emplace(std::move(services));
      stub_ = running_->stub<pb::orvsdk_service>();
      grpc::ClientContext context;
      pb::rpc_server_init_status_msg response;
      EXPECT_TRUE(stub_->rpc_server_init(&context, {}, &response).ok());
   }
   void stop() {
      watch_.reset();
      running_->stop();
      {
         const orv::sdk_scoped_lock lock;
         running_->destroy();
      }
      running_.reset();
      switch_.reset();
   }

   // Watches all sessions. Returns once the server has the stream.
   std::unique_ptr<orvtest::StreamClient<Message>> watch() {
      pb::watch_sbfd_echo_session_config_msg request;
      request.set_send_initial_message(true);
      auto client = std::make_unique<orvtest::StreamClient<Message>>(
           *stub_, &Stub::watch_sbfd_echo_session_status_msgs, request);
      const auto opening = client->next();
      EXPECT_TRUE(opening && opening->initial());
      return client;
   }

   static pb::sbfd_echo_session_msg session(int last, bool rttEnabled = false,
                                            const std::string& intf = "Ethernet1", std::uint32_t minTx = 5) {
      pb::sbfd_echo_session_msg request;
      request.mutable_key()->mutable_nexthop()->set_address(orvtest::ipv4({192, 0, 2, last}));
      request.mutable_key()->set_nexthop_intf(intf);
      request.mutable_key()->add_label_stack(16);
      request.set_rtt_enabled(rttEnabled);
      request.set_track_intf_state(true);
      request.set_min_tx(minTx);
      request.set_detectionmultiplier(200);
      return request;
   }
   void set(const pb::sbfd_echo_session_msg& request) {
      grpc::ClientContext context;
      pb::rpc_status_msg response;
      ASSERT_TRUE(stub_->sbfd_echo_session(&context, request, &response).ok());
      EXPECT_EQ(response.status(), pb::RPC_STATUS_OK) << response.debug_string();
   }
   void resync(Phase::resync_phase_enum phase) {
      grpc::ClientContext context;
      Phase request;
      request.set_resync_phase(phase);
      pb::rpc_status_msg response;
      ASSERT_TRUE(stub_->rpc_server_resync(&context, request, &response).ok());
      EXPECT_EQ(response.status(), pb::RPC_STATUS_OK) << response.debug_string();
   }
   void console(std::string_view line) {
      softswitch::console::StringOutput out;
      softswitch::console::Commands(**switch_).run(line, out);
   }
   std::size_t sessions() {
      const orv::sdk_scoped_lock lock;
      std::size_t count = 0;
      for (auto it = (*switch_)->get_bfd_session_mgr()->sbfd_echo_session_iter(); it; ++it)
         ++count;
      return count;
   }

   static int lastByte(const Message& item) {
      return static_cast<unsigned char>(item.key().nexthop().address().back());
   }
   // The next bulk of alive updates. RTT updates before it are skipped.
   Statuses nextAlive() {
      for (;;) {
         const auto message = watch_->next();
         EXPECT_TRUE(message);
         if (!message) return {};
         if (message->bulk_size() == 0 || message->bulk(0).has_rtt()) continue;
         Statuses statuses;
         for (int i = 0; i + 1 < message->bulk_size(); ++i) {
            EXPECT_TRUE(message->bulk(i).has_oper_status());
            statuses.emplace_back(lastByte(message->bulk(i)), message->bulk(i).oper_status().status());
         }
         EXPECT_TRUE(message->bulk(message->bulk_size() - 1).bulk_end());
         return statuses;
      }
   }
   // Reads until an update has reported `status` for each of the sessions.
   void await(std::vector<int> wanted, int status) {
      while (!wanted.empty()) {
         const auto statuses = nextAlive();
         ASSERT_FALSE(statuses.empty());
         for (const auto& [last, told] : statuses) {
            EXPECT_EQ(told, status);
            std::erase(wanted, last);
         }
      }
   }

   const orvtest::TempDir directory_;
   std::optional<orvtest::RunningSwitch> switch_;
   std::optional<orvtest::RunningServer> running_;
   std::unique_ptr<Stub> stub_;
   std::unique_ptr<orvtest::StreamClient<Message>> watch_;
};

TEST_F(Sbfd, aSessionThatIsSetComesUpAndEveryStreamIsTold) {
   watch_ = watch();
   const auto other = watch();
   set(session(1));
   EXPECT_THAT(nextAlive(), ElementsAre(Pair(1, up)));
   watch_ = nullptr;
   const auto message = other->next();
   ASSERT_TRUE(message && message->bulk_size() == 2);
   EXPECT_EQ(message->bulk(0).key().nexthop_intf(), "Ethernet1");
   EXPECT_THAT(message->bulk(0).key().label_stack(), ElementsAre(16));
   EXPECT_EQ(message->bulk(0).oper_status().status(), up);
   EXPECT_TRUE(message->bulk(1).bulk_end());
}

TEST_F(Sbfd, aLinkThatGoesDownIsToldAtOnceAheadOfDetection) {
   watch_ = watch();
   // With a detection time of half an hour, any update comes from the interface.
   auto slow = session(1, false, "Ethernet1", 10'000);
   console("set sbfd default delay 0");
   for (const int last : {1, 2}) {
      auto quick = session(last);
      set(quick);
   }
   set(session(3, false, "Ethernet2"));
   await({1, 2, 3}, up);
   for (const int last : {1, 2}) {
      slow.mutable_key()->mutable_nexthop()->set_address(orvtest::ipv4({192, 0, 2, last}));
      set(slow);
   }
   console("set link Ethernet1 down");
   auto told = nextAlive();
   std::sort(told.begin(), told.end());
   EXPECT_THAT(told, ElementsAre(Pair(1, down), Pair(2, down)));
   // The sessions themselves have detected no failure.
   console("set link Ethernet1 up");
   told = nextAlive();
   std::sort(told.begin(), told.end());
   EXPECT_THAT(told, ElementsAre(Pair(1, up), Pair(2, up)));
}

TEST_F(Sbfd, detectionTellsWhatTheInterfaceDoesNot) {
   watch_ = watch();
   auto request = session(1);
   request.set_detectionmultiplier(20);
   set(request);
   EXPECT_THAT(nextAlive(), ElementsAre(Pair(1, up)));
   console("set sbfd 192.0.2.1 down");
   EXPECT_THAT(nextAlive(), ElementsAre(Pair(1, down)));
   console("set sbfd 192.0.2.1 up");
   EXPECT_THAT(nextAlive(), ElementsAre(Pair(1, up)));
}

TEST_F(Sbfd, roundTripTimesArriveOfSessionsThatHaveThemEnabled) {
   console("set sbfd default delay 350");
   watch_ = watch();
   set(session(1, true));
   set(session(2, false));
   for (int messages = 0; messages < 5;) {
      const auto message = watch_->next();
      ASSERT_TRUE(message);
      ASSERT_GT(message->bulk_size(), 0);
      if (!message->bulk(0).has_rtt()) continue;
      ++messages;
      for (const auto& item : message->bulk()) {
         EXPECT_EQ(lastByte(item), 1);
         EXPECT_EQ(item.rtt().last_rtt(), 350u);
         EXPECT_EQ(item.rtt().min_rtt(), 350u);
         EXPECT_EQ(item.rtt().avg_rtt(), 350u);
         EXPECT_EQ(item.rtt().max_rtt(), 350u);
         EXPECT_EQ(item.rtt().snapshot_min_rtt(), 350u);
         EXPECT_EQ(item.rtt().snapshot_avg_rtt(), 350u);
         EXPECT_EQ(item.rtt().snapshot_max_rtt(), 350u);
      }
   }
}

TEST_F(Sbfd, aResyncDeletesWhatWasNotReplayedAndTellsTheStatusOfTheRest) {
   watch_ = watch();
   set(session(1));
   set(session(2));
   await({1, 2}, up);
   resync(Phase::RESYNC_START);
   set(session(2));
   resync(Phase::RESYNC_END);
   EXPECT_THAT(nextAlive(), ElementsAre(Pair(2, up)));
   EXPECT_EQ(sessions(), 1u);
}

TEST_F(Sbfd, sessionsComeUpByThemselvesAfterARestart) {
   watch_ = watch();
   set(session(1));
   await({1}, up);
   stop();
   start();
   EXPECT_EQ(sessions(), 1u);
   const auto isUp = [&] {
      const orv::sdk_scoped_lock lock;
      auto& mgr = *(*switch_)->get_bfd_session_mgr();
      return mgr.sbfd_echo_session_status(*mgr.sbfd_echo_session_iter()) == orv::bfd_session_status_t::up;
   };
   while (!isUp())
      std::this_thread::yield();
   // A session that the switch still runs is stale unless it is replayed.
   resync(Phase::RESYNC_START);
   resync(Phase::RESYNC_END);
   EXPECT_EQ(sessions(), 0u);
}

}  // namespace
}  // namespace orvtest
