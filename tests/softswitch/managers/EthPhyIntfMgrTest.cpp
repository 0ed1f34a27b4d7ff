#include "softswitch/managers/eth_phy_intf_mgr.h"

#include <gmock/gmock.h>

#include "softswitch/managers/intf_mgr.h"
#include "testing/softswitch/ManagerFixture.h"

namespace softswitch {
namespace {

using orv::eth_link_speed_t;
using orv::intf_id_t;
using orv::oper_status_t;
using testing::ElementsAre;
using testing::IsEmpty;

class PortListener final : public orv::eth_phy_intf_handler {
public:
   explicit PortListener(orv::eth_phy_intf_mgr* mgr) : orv::eth_phy_intf_handler(mgr) {
      watch_all_eth_phy_intfs(true);
   }
   void on_eth_phy_intf_create(const intf_id_t& intf) override {
      heard.push_back(intf.to_string() + " created");
   }
   void on_eth_phy_intf_delete(const intf_id_t& intf) override {
      heard.push_back(intf.to_string() + " deleted");
   }
   void on_eth_phy_intf_hardware_present(const intf_id_t& intf, bool present) override {
      heard.push_back(intf.to_string() + (present ? " hardware" : " no hardware"));
   }
   void on_eth_phy_intf_link_speed(const intf_id_t& intf, eth_link_speed_t speed) override {
      heard.push_back(intf.to_string() + " speed " + orv::to_string(speed));
   }
   void on_eth_phy_intf_transceiver_present(const intf_id_t& intf, bool present) override {
      heard.push_back(intf.to_string() + (present ? " transceiver" : " no transceiver"));
   }
   std::vector<std::string> take() { return std::exchange(heard, {}); }
   std::vector<std::string> heard;
};

class EthPhyIntfMgrTest : public ManagerFixture {
protected:
   void SetUp() override {
      ManagerFixture::SetUp();
      make();
   }
   void TearDown() override {
      drop();
      ManagerFixture::TearDown();
   }
   void make() {
      intfs_ = std::make_unique<IntfMgr>(context(), topology_);
      mgr_ = std::make_unique<EthPhyIntfMgr>(context(), *intfs_);
   }
   void drop() {
      mgr_.reset();
      intfs_.reset();
   }
   oper_status_t oper(const intf_id_t& intf) const { return intfs_->oper_status(intf); }

   const Topology topology_ = Topology::parse(R"({"interfaces": [
      {"name": "Ethernet1", "count": 10}, {"name": "Ethernet11", "speed": "400G"},
      {"name": "Loopback0"}, {"name": "Lag1"}, {"name": "Management1"}]})",
                                              "test");
   const intf_id_t ethernet1_{"Ethernet1"}, loopback_{"Loopback0"}, absent_{"Ethernet99"};
   std::unique_ptr<IntfMgr> intfs_;
   std::unique_ptr<EthPhyIntfMgr> mgr_;
};

TEST_F(EthPhyIntfMgrTest, showsThePortsOfTheTopologyInOrder) {
   const auto ports = listOf(mgr_->eth_phy_intf_iter());
   ASSERT_EQ(ports.size(), 12u);
   EXPECT_EQ(ports[0], ethernet1_);
   EXPECT_EQ(ports[1].to_string(), "Ethernet2");
   EXPECT_EQ(ports.back().to_string(), "Management1");
   EXPECT_TRUE(mgr_->exists(ethernet1_));
   EXPECT_FALSE(mgr_->exists(loopback_));
   EXPECT_FALSE(mgr_->exists(absent_));
   EXPECT_FALSE(mgr_->exists(intf_id_t()));
   EXPECT_TRUE(mgr_->hardware_present(ethernet1_));
   EXPECT_TRUE(mgr_->transceiver_present(ethernet1_));
   EXPECT_EQ(mgr_->link_speed(ethernet1_), eth_link_speed_t::speed_100gb);
   EXPECT_EQ(mgr_->link_speed(intf_id_t("Ethernet11")), eth_link_speed_t::speed_400gb);
   EXPECT_EQ(mgr_->link_speed(intf_id_t("Management1")), eth_link_speed_t::speed_1gb);
   EXPECT_EQ(mgr_->burned_in_eth_addr(ethernet1_).to_string(), "02:00:00:00:00:01");
}

TEST_F(EthPhyIntfMgrTest, changesAreToldFromTheLoopAndRepeatsAreNot) {
   PortListener listener(mgr_.get());
   mgr_->linkSpeedIs(ethernet1_, eth_link_speed_t::speed_40gb);
   mgr_->linkSpeedIs(ethernet1_, eth_link_speed_t::speed_40gb);
   mgr_->transceiverPresentIs(ethernet1_, false);
   mgr_->transceiverPresentIs(ethernet1_, false);
   mgr_->transceiverPresentIs(ethernet1_, true);
   EXPECT_THAT(listener.heard, IsEmpty());
   runLoop();
   EXPECT_THAT(listener.take(),
               ElementsAre("Ethernet1 speed 40G", "Ethernet1 no transceiver", "Ethernet1 transceiver"));
   EXPECT_EQ(mgr_->link_speed(ethernet1_), eth_link_speed_t::speed_40gb);
}

TEST_F(EthPhyIntfMgrTest, withoutHardwareThereIsNoTransceiverAndNoSpeed) {
   PortListener listener(mgr_.get());
   mgr_->hardwarePresentIs(ethernet1_, false);
   EXPECT_FALSE(mgr_->hardware_present(ethernet1_));
   EXPECT_FALSE(mgr_->transceiver_present(ethernet1_));
   EXPECT_EQ(mgr_->link_speed(ethernet1_), eth_link_speed_t::unknown);
   mgr_->linkSpeedIs(ethernet1_, eth_link_speed_t::speed_25gb);
   runLoop();
   EXPECT_THAT(listener.take(),
               ElementsAre("Ethernet1 no hardware", "Ethernet1 no transceiver", "Ethernet1 speed unknown"));
   mgr_->hardwarePresentIs(ethernet1_, true);
   runLoop();
   EXPECT_THAT(listener.take(),
               ElementsAre("Ethernet1 hardware", "Ethernet1 transceiver", "Ethernet1 speed 25G"));
}

TEST_F(EthPhyIntfMgrTest, withoutALinkThereIsNoSpeed) {
   PortListener listener(mgr_.get());
   intfs_->linkIs(ethernet1_, false);
   EXPECT_EQ(mgr_->link_speed(ethernet1_), eth_link_speed_t::unknown);
   intfs_->linkIs(ethernet1_, false);
   mgr_->linkSpeedIs(ethernet1_, eth_link_speed_t::speed_25gb);
   intfs_->linkIs(intf_id_t("Lag1"), false);
   runLoop();
   EXPECT_THAT(listener.take(), ElementsAre("Ethernet1 speed unknown"));
   intfs_->linkIs(ethernet1_, true);
   runLoop();
   EXPECT_THAT(listener.take(), ElementsAre("Ethernet1 speed 25G"));
   mgr_->hardwarePresentIs(ethernet1_, false);
   runLoop();
   listener.take();
   intfs_->linkIs(ethernet1_, false);
   intfs_->linkIs(ethernet1_, true);
   runLoop();
   EXPECT_THAT(listener.take(), IsEmpty());
}

TEST_F(EthPhyIntfMgrTest, aPortIsUpWithCableTransceiverAndHardware) {
   EXPECT_EQ(oper(ethernet1_), oper_status_t::up);
   mgr_->transceiverPresentIs(ethernet1_, false);
   EXPECT_EQ(oper(ethernet1_), oper_status_t::down);
   mgr_->hardwarePresentIs(ethernet1_, false);
   mgr_->transceiverPresentIs(ethernet1_, true);
   EXPECT_EQ(oper(ethernet1_), oper_status_t::down);
   intfs_->linkIs(ethernet1_, false);
   mgr_->hardwarePresentIs(ethernet1_, true);
   EXPECT_EQ(oper(ethernet1_), oper_status_t::down);
   intfs_->linkIs(ethernet1_, true);
   EXPECT_EQ(oper(ethernet1_), oper_status_t::up);
}

TEST_F(EthPhyIntfMgrTest, portsComeAndGo) {
   PortListener listener(mgr_.get());
   const intf_id_t added("Ethernet65");
   mgr_->portAdd(added);
   mgr_->portDel(ethernet1_);
   EXPECT_TRUE(mgr_->exists(added));
   EXPECT_TRUE(intfs_->exists(added));
   EXPECT_EQ(intfs_->kernel_intf_name(added), "eth65");
   EXPECT_EQ(mgr_->link_speed(added), eth_link_speed_t::speed_100gb);
   EXPECT_NE(mgr_->burned_in_eth_addr(added), mgr_->burned_in_eth_addr(intf_id_t("Ethernet2")));
   EXPECT_FALSE(mgr_->exists(ethernet1_));
   EXPECT_FALSE(intfs_->exists(ethernet1_));
   runLoop();
   EXPECT_THAT(listener.take(), ElementsAre("Ethernet65 created", "Ethernet1 deleted"));
   mgr_->portAdd(ethernet1_);
   EXPECT_EQ(mgr_->burned_in_eth_addr(ethernet1_).to_string(), "02:00:00:00:00:01") << "it is the same port";
}

TEST_F(EthPhyIntfMgrTest, eachStartFindsTheTopologysPorts) {
   mgr_->portAdd(intf_id_t("Ethernet65"));
   mgr_->portDel(ethernet1_);
   mgr_->linkSpeedIs(intf_id_t("Ethernet2"), eth_link_speed_t::speed_10gb);
   intfs_->description_is(intf_id_t("Ethernet65"), "later");
   restart([&] { drop(); });
   make();
   EXPECT_TRUE(mgr_->exists(ethernet1_));
   EXPECT_FALSE(mgr_->exists(intf_id_t("Ethernet65")));
   EXPECT_EQ(mgr_->link_speed(intf_id_t("Ethernet2")), eth_link_speed_t::speed_100gb);
   mgr_->portAdd(intf_id_t("Ethernet65"));
   EXPECT_EQ(intfs_->description(intf_id_t("Ethernet65")), "later") << "a port's configuration waits for it";
}

TEST_F(EthPhyIntfMgrTest, aWalkSurvivesPortsThatGo) {
   auto it = mgr_->eth_phy_intf_iter();
   EXPECT_EQ(*it, ethernet1_);
   for (const char* name : {"Ethernet1", "Ethernet2", "Ethernet3"})
      mgr_->portDel(intf_id_t(name));
   ++it;
   EXPECT_EQ(it->to_string(), "Ethernet4");
}

TEST_F(EthPhyIntfMgrTest, refusals) {
   EXPECT_EQ(refusal([&] { mgr_->link_speed(absent_); }), "unknown interface Ethernet99");
   EXPECT_EQ(refusal([&] { mgr_->hardware_present(loopback_); }),
             "interface Loopback0 is of type loopback, not a port");
   EXPECT_EQ(refusal([&] { mgr_->burned_in_eth_addr(absent_); }), "unknown interface Ethernet99");
   EXPECT_EQ(refusal([&] { mgr_->transceiver_present(intf_id_t()); }), "unknown interface (none)");
   EXPECT_EQ(refusal([&] { mgr_->linkSpeedIs(ethernet1_, eth_link_speed_t::unknown); }),
             "speed unknown of interface Ethernet1, expected a link speed");
   EXPECT_EQ(refusal([&] { mgr_->transceiverPresentIs(loopback_, false); }),
             "interface Loopback0 is of type loopback, not a port");
   EXPECT_EQ(refusal([&] { mgr_->portAdd(ethernet1_); }), "interface Ethernet1 exists already");
   EXPECT_EQ(refusal([&] { mgr_->portAdd(intf_id_t("Loopback9")); }),
             "interface Loopback9 is of type loopback, expected a port");
   EXPECT_EQ(refusal([&] { mgr_->portDel(loopback_); }),
             "interface Loopback0 is of type loopback, expected a port");
   EXPECT_EQ(refusal([&] { mgr_->portDel(absent_); }), "unknown interface Ethernet99");
}

}  // namespace
}  // namespace softswitch
