// A daemon's interfaces, ports, rates and groups: what the operator does at the console reaches the clients.
#include <grpcpp/grpcpp.h>
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "OrvSdkRpcProtos/eth_phy_intf.grpc.pb.h"
#include "OrvSdkRpcProtos/intf.grpc.pb.h"
#include "OrvSdkRpcProtos/intf_counter.grpc.pb.h"
#include "OrvSdkRpcProtos/nexthop_group.grpc.pb.h"
#include "testing/base/TempDir.h"
#include "testing/process/Console.h"
#include "testing/process/Daemon.h"
#include "testing/server/StreamClient.h"

namespace orvtest {
namespace {

namespace remote = orv::remote;

TEST(DaemonWatch, theOperatorsDoingsReachTheWatchersOfAllFour) {
   TempDir directory("orv-watch-");
   Daemon daemon(programPath("orvsdkrpcd"), directory.path());
   daemon.start();
   const auto channel = grpc::CreateChannel(daemon.address(), grpc::InsecureChannelCredentials());
   const auto acknowledged = [](auto& watch) {
      const auto ack = watch.next();
      EXPECT_TRUE(ack && ack->ack());
   };

   const auto intfs = remote::IntfMgrService::NewStub(channel);
   remote::WatchIntfRequest intfRequest;
   intfRequest.mutable_intf()->set_name("Ethernet1");
   intfRequest.set_ack(true);
   orvtest::StreamClient<remote::WatchIntfResponse> intfWatch(*intfs, &remote::IntfMgrService::Stub::watch,
                                                              intfRequest);
   acknowledged(intfWatch);

   const auto phys = remote::EthPhyIntfMgrService::NewStub(channel);
   remote::EthPhyIntfWatchRequest phyRequest;
   phyRequest.mutable_intf()->set_name("Ethernet1");
   phyRequest.set_ack(true);
   orvtest::StreamClient<remote::EthPhyIntfWatchResponse> phyWatch(
        *phys, &remote::EthPhyIntfMgrService::Stub::watch, phyRequest);
   acknowledged(phyWatch);

   const auto groups = remote::NexthopGroupMgrService::NewStub(channel);
   remote::WatchNexthopGroupRequest groupRequest;
   groupRequest.set_name("uplink");
   groupRequest.set_ack(true);
   orvtest::StreamClient<remote::WatchNexthopGroupResponse> groupWatch(
        *groups, &remote::NexthopGroupMgrService::Stub::watch, groupRequest);
   acknowledged(groupWatch);
   const auto awaitActive = [&](bool active) {
      for (auto event = groupWatch.next(); event; event = groupWatch.next()) {
         EXPECT_EQ(event->name(), "uplink");
         if (event->active_status_present_case() == remote::WatchNexthopGroupResponse::kActive &&
             event->active() == active) {
            return;
         }
      }
      FAIL() << "the group never became " << (active ? "active" : "inactive");
   };

   const auto counters = remote::IntfCounterMgrService::NewStub(channel);
   remote::IntfTrafficRatesStreamRequest ratesRequest;
   ratesRequest.set_intf_name_regex("Ethernet[12]");
   ratesRequest.set_first_message(true);
   orvtest::StreamClient<remote::IntfTrafficRatesStreamResponse> rates(
        *counters, &remote::IntfCounterMgrService::Stub::intf_traffic_rates_stream, ratesRequest);
   const auto first = rates.next();
   ASSERT_TRUE(first);
   EXPECT_EQ(first->data_size(), 0);

   Console console(daemon.consolePath());
   console.run("set counter-interval 1");
   console.run("configure nexthop-group uplink entry 0 nexthop 192.0.2.1 interface Ethernet1");
   awaitActive(true);
   console.run("set traffic Ethernet2 in-pps 300");
   double rate = 0;
   while (std::abs(rate - 300) > 1) {
      const auto batch = rates.next();
      ASSERT_TRUE(batch);
      for (const auto& entry : batch->data()) {
         EXPECT_EQ(entry.intf_id().name(), "Ethernet2");
         rate = entry.rates().in_pkts_rate();
      }
   }
   console.run("set link Ethernet1 down");
   EXPECT_EQ(intfWatch.next()->oper_status(), remote::OPER_STATUS_DOWN);
   EXPECT_EQ(phyWatch.next()->on_eth_phy_intf_link_speed().link_speed(), remote::ETH_LINK_SPEED_UNKNOWN);
   awaitActive(false);
   console.run("set link Ethernet1 up");
   EXPECT_EQ(intfWatch.next()->oper_status(), remote::OPER_STATUS_UP);
   awaitActive(true);
}

}  // namespace
}  // namespace orvtest
