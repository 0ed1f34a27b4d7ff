#include "softswitch/traffic/traffic_model.h"

#include <gmock/gmock.h>

#include "TrafficFixture.h"

namespace softswitch {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class TrafficModelTest : public TrafficFixture {
protected:
   TrafficModel::Account account(std::string_view intf) {
      TrafficModel::Account result;
      EXPECT_TRUE(traffic_->account(Lumic::IntfId(intf), now_, result));
      return result;
   }
};

TEST_F(TrafficModelTest, trafficAddsUpAcrossItsChanges) {
   TrafficModel::Account none;
   EXPECT_FALSE(traffic_->account(Lumic::IntfId("Ethernet1"), now_, none));
   const Traffic some{.inPackets = 10, .inBits = 8000, .outPackets = 1, .outBits = 2};
   traffic_->trafficIs("Ethernet1", some);
   EXPECT_EQ(traffic_->traffic("Ethernet1"), some);
   EXPECT_EQ(account("Ethernet1").amounts, TrafficAmounts{});
   pass(2);
   EXPECT_EQ(account("Ethernet1").amounts,
             (TrafficAmounts{.inPackets = 20, .inBits = 16000, .outPackets = 2, .outBits = 4}));
   traffic_->trafficIs("Ethernet1", {.inPackets = 100});
   pass(1);
   EXPECT_EQ(account("Ethernet1").amounts,
             (TrafficAmounts{.inPackets = 120, .inBits = 16000, .outPackets = 2, .outBits = 4}));
   EXPECT_EQ(account("Ethernet1").rates.inPackets, 100);
   traffic_->trafficIs("Ethernet1", {});
   pass(5);
   EXPECT_EQ(account("Ethernet1").amounts.inPackets, 120);
   EXPECT_EQ(traffic_->traffic("Ethernet2"), Traffic{});
}

TEST_F(TrafficModelTest, nothingFlowsThroughAnInterfaceThatIsDown) {
   traffic_->trafficIs("Ethernet1", {.inPackets = 10});
   pass(1);
   intfs_->linkIs(orv::intf_id_t("Ethernet1"), false);
   runLoop();
   pass(10);
   EXPECT_EQ(account("Ethernet1").amounts.inPackets, 10);
   EXPECT_EQ(account("Ethernet1").rates, TrafficAmounts{});
   intfs_->linkIs(orv::intf_id_t("Ethernet1"), true);
   runLoop();
   pass(1);
   EXPECT_EQ(account("Ethernet1").amounts.inPackets, 20);
   intfs_->admin_enabled_is(orv::intf_id_t("Ethernet2"), false);
   traffic_->trafficIs("Ethernet2", {.inPackets = 10});
   pass(1);
   EXPECT_EQ(account("Ethernet2").amounts.inPackets, 0);
}

TEST_F(TrafficModelTest, anInterfaceThatGoesTakesItsTrafficAlong) {
   traffic_->trafficIs("Lag1", {.inPackets = 10});
   intfs_->intfDel(orv::intf_id_t("Lag1"));
   runLoop();
   intfs_->intfAdd(orv::intf_id_t("Lag1"));
   runLoop();
   TrafficModel::Account none;
   EXPECT_FALSE(traffic_->account(Lumic::IntfId("Lag1"), now_, none));
}

TEST_F(TrafficModelTest, internalInterfacesAreAlwaysUp) {
   traffic_->trafficIs("Internal1", {.inPackets = 10});
   traffic_->trafficIs("PeerEthernet3/1", {.inPackets = 10});
   traffic_->trafficIs("PeerLag2", {.inPackets = 10});
   traffic_->trafficIs("PeerLag2", {.inPackets = 20});
   EXPECT_THAT(
        traffic_->internalIntfs(),
        ElementsAre(Lumic::IntfId("Internal1"), Lumic::IntfId("PeerEthernet3/1"), Lumic::IntfId("PeerLag2")));
   pass(1);
   EXPECT_EQ(account("Internal1").amounts.inPackets, 10);
}

TEST_F(TrafficModelTest, refusals) {
   EXPECT_EQ(refusal([&] { traffic_->trafficIs("Ethernet99", {}); }), "unknown interface Ethernet99");
   EXPECT_EQ(refusal([&] { traffic_->traffic("Ethernet99"); }), "unknown interface Ethernet99");
   EXPECT_EQ(refusal([&] { traffic_->trafficIs("Loopback0", {}); }),
             "interface Loopback0 is of type loopback and carries no traffic of its own");
   EXPECT_THAT(refusal([&] { traffic_->trafficIs("Ethernet1", {.inPackets = 1'000'000'000'001}); }),
               HasSubstr("packets per second 1000000000001 is out of range"));
   EXPECT_THAT(refusal([&] { traffic_->trafficIs("Ethernet1", {.outBits = 1'000'000'000'000'001}); }),
               HasSubstr("bits per second 1000000000000001 is out of range"));
   for (const char* name : {"Internal4097", "Internal", "InternalX", "PeerEthernet1/4097", "PeerEthernet1/",
                            "PeerLag1/2", "Internal99999999999999999999"}) {
      EXPECT_THAT(refusal([&] { traffic_->trafficIs(name, {}); }), HasSubstr("with a number up to 4096"))
           << name;
   }
   EXPECT_EQ(refusal([&] { traffic_->trafficIs("Internal4096", {}); }), "");
}

}  // namespace
}  // namespace softswitch
