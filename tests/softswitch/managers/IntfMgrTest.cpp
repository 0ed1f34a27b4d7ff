#include "softswitch/managers/intf_mgr.h"

#include <gmock/gmock.h>

#include <algorithm>

#include "testing/softswitch/ManagerFixture.h"

namespace softswitch {
namespace {

using orv::intf_id_t;
using orv::oper_status_t;
using testing::ElementsAre;

// Records its events.
class IntfListener final : public orv::intf_handler {
public:
   using orv::intf_handler::intf_handler;
   void on_intf_create(const intf_id_t& intf) override { heard.push_back(intf.to_string() + " created"); }
   void on_intf_delete(const intf_id_t& intf) override { heard.push_back(intf.to_string() + " deleted"); }
   void on_oper_status(const intf_id_t& intf, oper_status_t status) override {
      heard.push_back(intf.to_string() + " oper " + orv::to_string(status));
   }
   void on_admin_enabled(const intf_id_t& intf, bool enabled) override {
      heard.push_back(intf.to_string() + (enabled ? " enabled" : " disabled"));
   }
   void on_intf_description(const intf_id_t& intf, const std::string& description) override {
      heard.push_back(intf.to_string() + " described " + description);
   }
   std::vector<std::string> heard;
};

class IntfMgrTest : public ManagerFixture {
protected:
   void SetUp() override {
      ManagerFixture::SetUp();
      make();
   }
   void TearDown() override {
      mgr_.reset();
      ManagerFixture::TearDown();
   }
   void make() { mgr_ = std::make_unique<IntfMgr>(context(), topology_); }

   const Topology topology_ = Topology::parse(R"({"interfaces": [
      {"name": "Ethernet1", "count": 12}, {"name": "Ethernet20", "link": "down"},
      {"name": "Loopback0"}, {"name": "Vxlan1"}, {"name": "Lag1"}, {"name": "Management1"}]})",
                                              "test");
   const intf_id_t ethernet1_{"Ethernet1"}, ethernet2_{"Ethernet2"}, absent_{"Ethernet99"};
   std::unique_ptr<IntfMgr> mgr_;
};

TEST_F(IntfMgrTest, hasTheTopologysInterfacesInOrder) {
   const auto intfs = listOf(mgr_->intf_iter());
   ASSERT_EQ(intfs.size(), 17u);
   EXPECT_EQ(intfs[0], ethernet1_);
   EXPECT_EQ(intfs[1], ethernet2_);
   EXPECT_EQ(intfs[9].to_string(), "Ethernet10");
   EXPECT_EQ(intfs.back().to_string(), "Vxlan1");
   EXPECT_TRUE(mgr_->exists(ethernet1_));
   EXPECT_FALSE(mgr_->exists(absent_));
   EXPECT_FALSE(mgr_->exists(intf_id_t()));
}

TEST_F(IntfMgrTest, startsEnabledWithTheTopologysLinks) {
   EXPECT_TRUE(mgr_->admin_enabled(ethernet1_));
   EXPECT_EQ(mgr_->description(ethernet1_), "");
   EXPECT_EQ(mgr_->oper_status(ethernet1_), oper_status_t::up);
   EXPECT_EQ(mgr_->oper_status(intf_id_t("Ethernet20")), oper_status_t::down);
   EXPECT_EQ(mgr_->oper_status(intf_id_t("Loopback0")), oper_status_t::up);
}

TEST_F(IntfMgrTest, operStatusIsAdminAndLink) {
   mgr_->admin_enabled_is(ethernet1_, false);
   EXPECT_EQ(mgr_->oper_status(ethernet1_), oper_status_t::down);
   mgr_->linkIs(ethernet1_, false);
   mgr_->admin_enabled_is(ethernet1_, true);
   EXPECT_EQ(mgr_->oper_status(ethernet1_), oper_status_t::down);
   mgr_->linkIs(ethernet1_, true);
   EXPECT_EQ(mgr_->oper_status(ethernet1_), oper_status_t::up);
}

TEST_F(IntfMgrTest, kernelNamesGoBothWays) {
   EXPECT_EQ(mgr_->kernel_intf_name(ethernet1_), "eth1");
   EXPECT_EQ(mgr_->orv_intf_name("mgmt1"), intf_id_t("Management1"));
   EXPECT_EQ(refusal([&] { mgr_->orv_intf_name("eth99"); }), "no interface has the kernel name 'eth99'");
}

TEST_F(IntfMgrTest, linkEventsReachHandlersFromTheLoopOnly) {
   IntfListener watching(mgr_.get());
   IntfListener deaf(mgr_.get());
   watching.watch_all_intfs(true);
   mgr_->linkIs(ethernet1_, false);
   mgr_->linkIs(ethernet1_, false);
   mgr_->linkIs(ethernet1_, true);
   EXPECT_THAT(watching.heard, ElementsAre());
   runLoop();
   EXPECT_THAT(watching.heard, ElementsAre("Ethernet1 oper down", "Ethernet1 oper up"));
   EXPECT_THAT(deaf.heard, ElementsAre());
}

TEST_F(IntfMgrTest, adminAndDescriptionEventsComeInOrder) {
   IntfListener listener(mgr_.get());
   listener.watch_all_intfs(true);
   mgr_->admin_enabled_is(ethernet1_, false);
   mgr_->admin_enabled_is(ethernet1_, false);
   mgr_->description_is(ethernet1_, "to the spine");
   mgr_->description_is(ethernet1_, "to the spine");
   runLoop();
   EXPECT_THAT(listener.heard,
               ElementsAre("Ethernet1 disabled", "Ethernet1 oper down", "Ethernet1 described to the spine"));
}

TEST_F(IntfMgrTest, watchingOneInterfaceHearsOfThatOne) {
   IntfListener listener(mgr_.get());
   listener.watch_intf(ethernet2_, true);
   mgr_->linkIs(ethernet1_, false);
   mgr_->linkIs(ethernet2_, false);
   runLoop();
   EXPECT_THAT(listener.heard, ElementsAre("Ethernet2 oper down"));
}

TEST_F(IntfMgrTest, configurationSurvivesARestartAndTheLinkDoesNot) {
   mgr_->admin_enabled_is(ethernet1_, false);
   mgr_->description_is(ethernet2_, "K\xc3\xb6ln");
   mgr_->linkIs(intf_id_t("Ethernet3"), false);
   mgr_->admin_enabled_is(intf_id_t("Ethernet4"), false);
   mgr_->admin_enabled_is(intf_id_t("Ethernet4"), true);
   restart([&] { mgr_.reset(); });
   make();
   EXPECT_FALSE(mgr_->admin_enabled(ethernet1_));
   EXPECT_EQ(mgr_->oper_status(ethernet1_), oper_status_t::down);
   EXPECT_EQ(mgr_->description(ethernet2_), "K\xc3\xb6ln");
   EXPECT_TRUE(mgr_->linkUp(intf_id_t("Ethernet3")));
   EXPECT_TRUE(mgr_->admin_enabled(intf_id_t("Ethernet4")));
   EXPECT_EQ(mgr_->config().size(), 2u);
}

TEST_F(IntfMgrTest, interfacesAreMadeAndRemoved) {
   IntfListener listener(mgr_.get());
   listener.watch_all_intfs(true);
   const intf_id_t made("Loopback7"), lag("Lag1");
   mgr_->intfAdd(made);
   mgr_->intfDel(lag);
   EXPECT_TRUE(mgr_->exists(made));
   EXPECT_EQ(mgr_->oper_status(made), oper_status_t::up);
   EXPECT_EQ(mgr_->kernel_intf_name(made), "lo7");
   EXPECT_EQ(mgr_->orv_intf_name("lo7"), made);
   EXPECT_FALSE(mgr_->exists(lag));
   EXPECT_NE(refusal([&] { mgr_->orv_intf_name("lag1"); }), "");
   EXPECT_THAT(listener.heard, ElementsAre());
   runLoop();
   EXPECT_THAT(listener.heard,
               ElementsAre("Loopback7 created", "Loopback7 oper up", "Loopback7 enabled", "Lag1 deleted"));
}

TEST_F(IntfMgrTest, aPortThatComesTellsAllOfItself) {
   mgr_->description_is(ethernet1_, "to the spine");
   mgr_->admin_enabled_is(ethernet1_, false);
   mgr_->portDel(ethernet1_);
   runLoop();
   IntfListener listener(mgr_.get());
   listener.watch_all_intfs(true);
   mgr_->portAdd(ethernet1_);
   mgr_->portAdd(absent_);
   EXPECT_THAT(listener.heard, ElementsAre());
   runLoop();
   EXPECT_THAT(listener.heard, ElementsAre("Ethernet1 created", "Ethernet1 oper down", "Ethernet1 disabled",
                                           "Ethernet1 described to the spine", "Ethernet99 created",
                                           "Ethernet99 oper up", "Ethernet99 enabled"));
}

TEST_F(IntfMgrTest, whatChangesAfterAnInterfaceCameIsToldBehindHowItCame) {
   IntfListener listener(mgr_.get());
   listener.watch_all_intfs(true);
   const intf_id_t made("Loopback7");
   mgr_->intfAdd(made);
   mgr_->admin_enabled_is(made, false);
   mgr_->description_is(made, "made");
   runLoop();
   EXPECT_THAT(listener.heard,
               ElementsAre("Loopback7 created", "Loopback7 oper up", "Loopback7 enabled",
                           "Loopback7 disabled", "Loopback7 oper down", "Loopback7 described made"));
}

// Reads the interface in each event, as handlers may.
class Reader final : public orv::intf_handler {
public:
   using orv::intf_handler::intf_handler;
   void on_oper_status(const intf_id_t& intf, oper_status_t) override { read(intf); }
   void on_admin_enabled(const intf_id_t& intf, bool) override { read(intf); }
   void on_intf_description(const intf_id_t& intf, const std::string&) override { read(intf); }
   void read(const intf_id_t& intf) {
      EXPECT_NO_THROW(static_cast<void>(get_intf_mgr()->admin_enabled(intf)));
   }
};

TEST_F(IntfMgrTest, ofAnInterfaceThatIsGoneAgainOnlyComingAndGoingAreTold) {
   IntfListener listener(mgr_.get());
   Reader reader(mgr_.get());
   listener.watch_all_intfs(true);
   reader.watch_all_intfs(true);
   const intf_id_t made("Loopback7");
   mgr_->intfAdd(made);
   mgr_->admin_enabled_is(made, false);
   mgr_->description_is(made, "made");
   mgr_->intfDel(made);
   runLoop();
   EXPECT_THAT(listener.heard, ElementsAre("Loopback7 created", "Loopback7 deleted"));
   // An interface is removed and added again before the main loop runs: the last events give its state.
   listener.heard.clear();
   mgr_->admin_enabled_is(ethernet1_, false);
   mgr_->portDel(ethernet1_);
   mgr_->portAdd(ethernet1_);
   runLoop();
   EXPECT_THAT(listener.heard, ElementsAre("Ethernet1 disabled", "Ethernet1 oper down", "Ethernet1 deleted",
                                           "Ethernet1 created", "Ethernet1 oper down", "Ethernet1 disabled"));
}

TEST_F(IntfMgrTest, whatWasMadeAndRemovedSurvivesARestart) {
   const intf_id_t made("Loopback7"), gone("Loopback8"), lag("Lag1");
   mgr_->intfAdd(made);
   mgr_->description_is(made, "made");
   mgr_->admin_enabled_is(made, false);
   mgr_->intfAdd(gone);
   mgr_->description_is(gone, "gone");
   mgr_->intfDel(gone);
   mgr_->description_is(lag, "gone too");
   mgr_->intfDel(lag);
   restart([&] { mgr_.reset(); });
   make();
   EXPECT_EQ(mgr_->description(made), "made");
   EXPECT_FALSE(mgr_->admin_enabled(made));
   EXPECT_FALSE(mgr_->exists(gone));
   EXPECT_FALSE(mgr_->exists(lag));
   EXPECT_EQ(mgr_->config().size(), 1u) << "configuration goes with its interface";
   mgr_->intfAdd(lag);
   EXPECT_EQ(mgr_->description(lag), "");
   restart([&] { mgr_.reset(); });
   make();
   EXPECT_TRUE(mgr_->exists(lag));
}

TEST_F(IntfMgrTest, aWalkSurvivesInterfacesThatComeAndGo) {
   auto it = mgr_->intf_iter();
   mgr_->portDel(ethernet1_);
   mgr_->portDel(ethernet2_);
   mgr_->intfAdd(intf_id_t("Loopback5"));
   EXPECT_EQ(*it, ethernet1_);
   ++it;
   EXPECT_EQ(it->to_string(), "Ethernet3");
   std::vector<std::string> rest;
   for (; it; ++it)
      rest.push_back(it->to_string());
   EXPECT_EQ(rest.size(), 16u);
   EXPECT_EQ(std::count(rest.begin(), rest.end(), "Loopback5"), 1);
}

TEST_F(IntfMgrTest, refusesInterfacesThatCannotBeMadeOrRemoved) {
   EXPECT_EQ(refusal([&] { mgr_->intfAdd(intf_id_t("Loopback0")); }), "interface Loopback0 exists already");
   EXPECT_EQ(
        refusal([&] { mgr_->intfAdd(absent_); }),
        "interface Ethernet99 is a port and is added with its hardware, expected a loopback, LAG, VLAN or "
        "VXLAN");
   EXPECT_EQ(refusal([&] { mgr_->intfDel(ethernet1_); }),
             "interface Ethernet1 is a port and is removed with its hardware, expected a loopback, LAG, VLAN "
             "or VXLAN");
   EXPECT_EQ(refusal([&] { mgr_->intfDel(absent_); }), "unknown interface Ethernet99");
   for (const char* name : {"Tunnel1", "Loopback", "Loopback12345678901234", "Loopback:1"}) {
      EXPECT_EQ(refusal([&] { mgr_->intfAdd(intf_id_t(name)); }),
                std::string("interface name '") + name +
                     "' does not imply a type, expected Ethernet, Management, Loopback, Lag, Vlan or Vxlan "
                     "with a number");
   }
   mgr_->intfAdd(intf_id_t("Vlan3/1"));
   EXPECT_EQ(refusal([&] { mgr_->intfAdd(intf_id_t("Vlan3_1")); }),
             "interface Vlan3_1 would have the kernel name vlan3_1, which Vlan3/1 has");
}

TEST_F(IntfMgrTest, refusesWhatItDoesNotHave) {
   EXPECT_EQ(refusal([&] { mgr_->admin_enabled(absent_); }), "unknown interface Ethernet99");
   EXPECT_EQ(refusal([&] { mgr_->admin_enabled_is(absent_, true); }), "unknown interface Ethernet99");
   EXPECT_EQ(refusal([&] { mgr_->description(absent_); }), "unknown interface Ethernet99");
   EXPECT_EQ(refusal([&] { mgr_->description_is(absent_, "x"); }), "unknown interface Ethernet99");
   EXPECT_EQ(refusal([&] { mgr_->oper_status(absent_); }), "unknown interface Ethernet99");
   EXPECT_EQ(refusal([&] { mgr_->kernel_intf_name(absent_); }), "unknown interface Ethernet99");
   EXPECT_EQ(refusal([&] { mgr_->linkIs(absent_, true); }), "unknown interface Ethernet99");
   EXPECT_EQ(refusal([&] { mgr_->require(intf_id_t()); }), "unknown interface (none)");
   EXPECT_THROW(mgr_->require(absent_), orv::invalid_argument_error);
}

TEST_F(IntfMgrTest, refusesALinkWithoutACable) {
   EXPECT_EQ(refusal([&] { mgr_->linkIs(intf_id_t("Loopback0"), false); }),
             "interface Loopback0 is of type loopback and has no link to set");
   EXPECT_EQ(refusal([&] { mgr_->linkIs(intf_id_t("Vxlan1"), false); }),
             "interface Vxlan1 is of type vxlan and has no link to set");
   EXPECT_EQ(refusal([&] { mgr_->linkIs(intf_id_t("Lag1"), false); }), "");
   EXPECT_EQ(refusal([&] { mgr_->linkIs(intf_id_t("Management1"), false); }), "");
}

TEST_F(IntfMgrTest, refusesDescriptionsThatAreTooLongOrNotText) {
   EXPECT_EQ(refusal([&] { mgr_->description_is(ethernet1_, std::string(255, 'd')); }), "");
   EXPECT_EQ(refusal([&] { mgr_->description_is(ethernet1_, std::string(256, 'd')); }),
             "description of interface Ethernet1 has 256 bytes, expected at most 255");
   EXPECT_EQ(refusal([&] { mgr_->description_is(ethernet1_, "two\nlines"); }),
             "description of interface Ethernet1 is 'two\\x0alines', expected no control character");
   EXPECT_EQ(refusal([&] { mgr_->description_is(ethernet1_, "to Z\xfcrich"); }),
             "description of interface Ethernet1 'to Z\\xfcrich' is not UTF-8");
   EXPECT_EQ(mgr_->description(ethernet1_), std::string(255, 'd'));
   EXPECT_EQ(refusal([&] { mgr_->description_is(ethernet1_, "to Z\xc3\xbcrich"); }), "");
}

}  // namespace
}  // namespace softswitch
