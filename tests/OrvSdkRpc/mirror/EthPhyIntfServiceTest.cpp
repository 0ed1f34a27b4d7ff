#include "OrvSdkRpc/mirror/EthPhyIntfService.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "orv/error.h"
#include "testing/base/Eventually.h"
#include "testing/mock/MockEthPhyIntfMgr.h"
#include "testing/sdk/Iterators.h"
#include "testing/server/IntfRequests.h"
#include "testing/server/MainLoop.h"
#include "testing/server/MirrorFixture.h"

namespace OrvSdkRpc {
namespace {

namespace remote = orv::remote;
using orv::eth_link_speed_t;
using orvtest::ethernet1;
using orvtest::ethernet2;
using orvtest::iterOver;
using orvtest::ofIntf;
using testing::Return;
using testing::Throw;

class EthPhyIntfServiceTest : public MainLoop,
                              public orvtest::MirrorFixture<EthPhyIntfService, remote::EthPhyIntfMgrService,
                                                            orvtest::MockEthPhyIntfMgr> {
protected:
   ~EthPhyIntfServiceTest() override {
      running_.stop();
      const orv::sdk_scoped_lock lock;
      running_.destroy();
   }

   static remote::EthPhyIntfWatchRequest all(bool value = true) {
      remote::EthPhyIntfWatchRequest request;
      request.set_all(value);
      return request;
   }
   static remote::EthPhyIntfWatchRequest one(const std::string& intf) {
      remote::EthPhyIntfWatchRequest request;
      request.mutable_intf()->set_name(intf);
      return request;
   }
   void speed(const orv::intf_id_t& intf, eth_link_speed_t speed) {
      callBack([&](auto& handler) { handler.on_eth_phy_intf_link_speed(intf, speed); });
   }
};

TEST_F(EthPhyIntfServiceTest, whatAPortIsReadsAsTheSwitchSaysIt) {
   EXPECT_CALL(mgr_, exists(ethernet1)).WillOnce([](const orv::intf_id_t&) {
      EXPECT_TRUE(locked());
      return true;
   });
   EXPECT_TRUE(ok(&Stub::exists, ofIntf<remote::EthPhyIntfExistsRequest>("Ethernet1")).exists());
   EXPECT_CALL(mgr_, exists(orv::intf_id_t())).WillOnce(Return(false));
   EXPECT_FALSE(ok(&Stub::exists, remote::EthPhyIntfExistsRequest()).exists());

   EXPECT_CALL(mgr_, hardware_present(ethernet1)).WillOnce(Return(true)).WillOnce(Return(false));
   const auto hardware = ofIntf<remote::EthPhyIntfHardwarePresentRequest>("Ethernet1");
   EXPECT_TRUE(ok(&Stub::hardware_present, hardware).hardware_present());
   EXPECT_FALSE(ok(&Stub::hardware_present, hardware).hardware_present());

   EXPECT_CALL(mgr_, link_speed(ethernet1)).WillOnce(Return(eth_link_speed_t::speed_100gb));
   EXPECT_EQ(ok(&Stub::link_speed, ofIntf<remote::EthPhyIntfLinkSpeedRequest>("Ethernet1")).link_speed(),
             static_cast<int>(eth_link_speed_t::speed_100gb));

   EXPECT_CALL(mgr_, transceiver_present(ethernet1)).WillOnce(Return(true));
   EXPECT_TRUE(
        ok(&Stub::transceiver_present, ofIntf<remote::EthPhyIntfTransceiverPresentRequest>("Ethernet1"))
             .transceiver_present());
}

TEST_F(EthPhyIntfServiceTest, theBurnedInAddressIsSixBytesInTransmissionOrder) {
   const std::string mac("\x00\x1c\x73\x00\xff\x01", 6);
   EXPECT_CALL(mgr_, burned_in_eth_addr(ethernet1))
        .WillOnce(Return(orv::eth_addr_t(reinterpret_cast<const std::uint8_t*>(mac.data()))))
        .WillOnce(Return(orv::eth_addr_t()));
   const auto request = ofIntf<remote::EthPhyIntfBurnedInEthAddrRequest>("Ethernet1");
   EXPECT_EQ(ok(&Stub::burned_in_eth_addr, request).burned_in_eth_addr(), mac);
   EXPECT_EQ(ok(&Stub::burned_in_eth_addr, request).burned_in_eth_addr(), std::string(6, '\0'));
}

TEST_F(EthPhyIntfServiceTest, portsAreListedInTheSwitchesOrder) {
   EXPECT_CALL(mgr_, eth_phy_intf_iter())
        .WillOnce(Return(iterOver<orv::eth_phy_intf_iter_t>({ethernet2, ethernet1})))
        .WillOnce(Return(orv::eth_phy_intf_iter_t()));
   const auto ports = list(&Stub::eth_phy_intfs, remote::EthPhyIntfsRequest());
   ASSERT_EQ(ports.size(), 2U);
   EXPECT_EQ(ports[0].intf_id().name(), "Ethernet2");
   EXPECT_EQ(ports[1].intf_id().name(), "Ethernet1");
   EXPECT_TRUE(list(&Stub::eth_phy_intfs, remote::EthPhyIntfsRequest()).empty());
}

TEST_F(EthPhyIntfServiceTest, theSwitchesErrorsBecomeTheStatusOfTheCall) {
   EXPECT_CALL(mgr_, link_speed(ethernet1)).WillOnce(Throw(orv::invalid_argument_error("no such port")));
   fails(&Stub::link_speed, ofIntf<remote::EthPhyIntfLinkSpeedRequest>("Ethernet1"),
         grpc::StatusCode::INVALID_ARGUMENT, "no such port");
   EXPECT_CALL(mgr_, eth_phy_intf_iter()).WillOnce(Throw(orv::error("not now")));
   listFails(&Stub::eth_phy_intfs, remote::EthPhyIntfsRequest(), grpc::StatusCode::INTERNAL, "not now");
   // This request never reaches the switch.
   remote::EthPhyIntfExistsResponse response;
   EXPECT_EQ(
        call(&Stub::exists, ofIntf<remote::EthPhyIntfExistsRequest>("not a name"), response).error_code(),
        grpc::StatusCode::INVALID_ARGUMENT);
}

TEST_F(EthPhyIntfServiceTest, twoSpeedsOfOnePortBetweenTwoTurnsAreOneMessageWithTheLast) {
   const auto client = watch(all());
   speed(ethernet1, eth_link_speed_t::speed_10gb);
   speed(ethernet1, eth_link_speed_t::speed_25gb);
   runLoop();
   speed(ethernet1, eth_link_speed_t::speed_40gb);
   runLoop();
   const auto first = client->next();
   ASSERT_TRUE(first);
   EXPECT_EQ(first->intf().name(), "Ethernet1");
   EXPECT_EQ(first->on_eth_phy_intf_link_speed().link_speed(),
             static_cast<int>(eth_link_speed_t::speed_25gb));
   const auto second = client->next();
   ASSERT_TRUE(second);
   EXPECT_EQ(second->on_eth_phy_intf_link_speed().link_speed(),
             static_cast<int>(eth_link_speed_t::speed_40gb));
}

TEST_F(EthPhyIntfServiceTest, everyKindOfEventHasItsPlaceInTheMessage) {
   const auto client = watch(all());
   callBack([](auto& handler) { handler.on_eth_phy_intf_create(ethernet1); });
   runLoop();
   callBack([](auto& handler) { handler.on_eth_phy_intf_hardware_present(ethernet1, true); });
   runLoop();
   callBack([](auto& handler) { handler.on_eth_phy_intf_transceiver_present(ethernet1, true); });
   runLoop();
   callBack([](auto& handler) { handler.on_eth_phy_intf_delete(ethernet1); });
   runLoop();
   remote::EthPhyIntfWatchResponse expected;
   expected.mutable_intf()->set_name("Ethernet1");
   auto created = expected;
   created.mutable_on_eth_phy_intf_create();
   auto hardware = expected;
   hardware.mutable_on_eth_phy_intf_hardware_present()->set_hardware_present(true);
   auto transceiver = expected;
   transceiver.mutable_on_eth_phy_intf_transceiver_present()->set_transceiver_present(true);
   auto deleted = expected;
   deleted.mutable_on_eth_phy_intf_delete();
   for (const auto& event : {created, hardware, transceiver, deleted}) {
      const auto response = client->next();
      ASSERT_TRUE(response);
      EXPECT_EQ(response->ShortDebugString(), event.ShortDebugString());
   }
}

TEST_F(EthPhyIntfServiceTest, severalKindsOfEventForOnePortAreDeliveredTogether) {
   const auto client = watch(all());
   callBack([](auto& handler) {
      handler.on_eth_phy_intf_create(ethernet1);
      handler.on_eth_phy_intf_hardware_present(ethernet1, true);
      handler.on_eth_phy_intf_transceiver_present(ethernet1, true);
      handler.on_eth_phy_intf_transceiver_present(ethernet1, false);
      handler.on_eth_phy_intf_link_speed(ethernet1, eth_link_speed_t::speed_10gb);
      handler.on_eth_phy_intf_delete(ethernet1);
   });
   runLoop();
   const auto response = client->next();
   ASSERT_TRUE(response);
   EXPECT_EQ(response->intf().name(), "Ethernet1");
   EXPECT_TRUE(response->has_on_eth_phy_intf_create());
   EXPECT_TRUE(response->on_eth_phy_intf_hardware_present().hardware_present());
   ASSERT_TRUE(response->has_on_eth_phy_intf_transceiver_present());
   EXPECT_FALSE(response->on_eth_phy_intf_transceiver_present().transceiver_present());
   EXPECT_EQ(response->on_eth_phy_intf_link_speed().link_speed(),
             static_cast<int>(eth_link_speed_t::speed_10gb));
   EXPECT_TRUE(response->has_on_eth_phy_intf_delete());
}

TEST_F(EthPhyIntfServiceTest, aSpeedThatTheWireDoesNotKnowCostsItsEventAndATrace) {
   const auto client = watch(all());
   const orvtest::TraceCapture traces("eth-phy-intf/0");
   speed(ethernet1, static_cast<eth_link_speed_t>(99));
   EXPECT_EQ(traces.texts(),
             std::vector<std::string>{"on_eth_phy_intf_link_speed is not told: unknown link speed 99"});
   runLoop();
   // No empty or incomplete message was left behind.
   speed(ethernet2, eth_link_speed_t::speed_10gb);
   runLoop();
   const auto response = client->next();
   ASSERT_TRUE(response);
   EXPECT_EQ(response->intf().name(), "Ethernet2");
}

TEST_F(EthPhyIntfServiceTest, aWatchOfOnePortHearsNothingOfOthers) {
   const auto client = watch(one("Ethernet2"));
   speed(ethernet1, eth_link_speed_t::speed_10gb);
   runLoop();
   speed(ethernet2, eth_link_speed_t::speed_25gb);
   runLoop();
   const auto response = client->next();
   ASSERT_TRUE(response);
   EXPECT_EQ(response->intf().name(), "Ethernet2");
}

TEST_F(EthPhyIntfServiceTest, withoutASelectionThereIsTheAcknowledgementAlone) {
   std::vector<remote::EthPhyIntfWatchRequest> requests{all(false), {}, one("")};
   const orvtest::TraceCapture traces("eth-phy-intf/9");
   std::size_t acks = 0;
   for (auto& request : requests) {
      request.set_ack(true);
      auto client = watch(request);
      const auto ack = client->next();
      ASSERT_TRUE(ack);
      EXPECT_TRUE(ack->ack());
      speed(ethernet1, eth_link_speed_t::speed_10gb);
      runLoop();
      EXPECT_EQ(orvtest::tracesWith(traces, "Enqueue "), ++acks);
      client.reset();
      ASSERT_TRUE(orvtest::eventually([&] { return watchers() == 0; }));
   }
}

TEST_F(EthPhyIntfServiceTest, theSwitchIsWatchedWhileSomebodyListens) {
   EXPECT_FALSE(sdkWatched());
   {
      const auto first = watch(all());
      EXPECT_TRUE(sdkWatched());
      { const auto second = watch(one("Ethernet1")); }
      EXPECT_TRUE(orvtest::eventually([&] { return watchers() == 1; }));
      EXPECT_TRUE(sdkWatched());
   }
   EXPECT_TRUE(orvtest::eventually([&] { return !sdkWatched(); }));
}

// Changes are not reported while nobody watches, so no later event would correct an old one.
TEST_F(EthPhyIntfServiceTest, whatWaitsWhenTheLastOneLeavesReachesNobody) {
   {
      const auto first = watch(all());
      speed(ethernet1, eth_link_speed_t::speed_10gb);
   }
   ASSERT_TRUE(orvtest::eventually([&] { return !sdkWatched(); }));
   const auto late = watch(all());
   runLoop();
   speed(ethernet2, eth_link_speed_t::speed_10gb);
   runLoop();
   EXPECT_EQ(late->next()->intf().name(), "Ethernet2");
}

TEST_F(EthPhyIntfServiceTest, anotherWatcherTakesNothingFromTheFirst) {
   const auto first = watch(all());
   speed(ethernet1, eth_link_speed_t::speed_10gb);
   const auto second = watch(all());
   runLoop();
   EXPECT_EQ(first->next()->intf().name(), "Ethernet1");
}

TEST_F(EthPhyIntfServiceTest, eachRpcHasOneHandlerThatWaits) {
   expectOneHandlerPerRpc();
}

}  // namespace
}  // namespace OrvSdkRpc
