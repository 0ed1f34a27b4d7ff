#include "softswitch/sbfd/bfd_session_mgr.h"

#include <gmock/gmock.h>

#include <functional>
#include <utility>
#include <vector>

#include "softswitch/managers/intf_mgr.h"
#include "softswitch/sbfd/sbfd_model.h"
#include "testing/base/Nanos.h"
#include "testing/softswitch/ManagerFixture.h"

namespace softswitch {
namespace {

using orv::bfd_session_status_t;
using orv::intf_id_t;
using orv::ip_addr_t;
using orv::mpls_label_t;
using orv::sbfd_echo_session_key_t;
using orv::sbfd_interval_t;
using orvtest::ms;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

class Listener final : public orv::bfd_session_handler {
public:
   using orv::bfd_session_handler::bfd_session_handler;
   void on_sbfd_echo_session_status(const sbfd_echo_session_key_t& key,
                                    bfd_session_status_t status) override {
      events.emplace_back(key, status);
      if (onStatus) onStatus(key);
   }
   void on_sbfd_echo_session_rtt(const sbfd_echo_session_key_t& key,
                                 const orv::sbfd_echo_session_rtt_stats_t& stats) override {
      rtts.emplace_back(key, stats);
   }
   std::vector<std::pair<sbfd_echo_session_key_t, bfd_session_status_t>> events;
   std::vector<std::pair<sbfd_echo_session_key_t, orv::sbfd_echo_session_rtt_stats_t>> rtts;
   std::function<void(const sbfd_echo_session_key_t&)> onStatus;
};

class BfdSessionMgrTest : public ManagerFixture {
protected:
   void SetUp() override {
      limits_.bfdSessions = 3;
      ManagerFixture::SetUp();
      make();
   }
   void TearDown() override {
      forget();
      ManagerFixture::TearDown();
   }
   void make() {
      intfs_ = std::make_unique<IntfMgr>(context(), topology_);
      model_ = std::make_unique<SbfdModel>();
      mgr_ = std::make_unique<BfdSessionMgr>(context(), *intfs_, *model_, 1000 * ms, [this] { return now_; });
      // The quantum never ends, so that the machine's speed has no effect.
      mgr_->task().quantumIs(std::int64_t{3600} * 1000 * ms);
   }
   void forget() {
      mgr_.reset();
      model_.reset();
      intfs_.reset();
   }
   // Advances the switch's clock, and runs the main loop at each tick.
   void pass(std::int64_t nanos) {
      for (const auto end = now_ + nanos; now_ < end;) {
         now_ += ms;
         mgr_->scheduleTask();
         runLoop();
      }
   }
   sbfd_echo_session_key_t key(const char* nexthop, const char* intf = "Ethernet1",
                               std::vector<mpls_label_t> labels = {}, std::uint8_t exp = 0) {
      return {ip_addr_t(nexthop), intf_id_t(intf), std::move(labels), 46, exp};
   }

   const Topology topology_ = Topology::builtIn();
   std::int64_t now_ = 1000 * ms;
   std::unique_ptr<IntfMgr> intfs_;
   std::unique_ptr<SbfdModel> model_;
   std::unique_ptr<BfdSessionMgr> mgr_;
};

TEST_F(BfdSessionMgrTest, aSessionIsDownComesUpAndIsUnknownOnceItIsGone) {
   Listener listener(mgr_.get());
   listener.watch_all_sbfd_echo_sessions(true);
   const auto session = key("10.0.0.1", "Ethernet1", {mpls_label_t(100), mpls_label_t(200)}, 5);
   EXPECT_EQ(mgr_->sbfd_echo_session_status(session), bfd_session_status_t::unknown);
   mgr_->sbfd_echo_session_set(session);
   EXPECT_TRUE(mgr_->sbfd_echo_session_exists(session));
   EXPECT_EQ(mgr_->sbfd_echo_session_status(session), bfd_session_status_t::down);
   EXPECT_THAT(listener.events, IsEmpty());
   pass(310 * ms);
   EXPECT_EQ(mgr_->sbfd_echo_session_status(session), bfd_session_status_t::up);
   EXPECT_THAT(listener.events, ElementsAre(Pair(session, bfd_session_status_t::up)));
   mgr_->sbfd_echo_session_del(session);
   mgr_->sbfd_echo_session_del(session);
   EXPECT_EQ(mgr_->sbfd_echo_session_status(session), bfd_session_status_t::unknown);
   EXPECT_EQ(mgr_->state(session).sent, 0u);
   pass(2000 * ms);
   EXPECT_EQ(listener.events.size(), 1u);
}

TEST_F(BfdSessionMgrTest, followsTheStateOfItsInterface) {
   Listener listener(mgr_.get());
   const auto session = key("10.0.0.1");
   const auto other = key("10.0.0.1", "Ethernet2");
   const auto free = key("10.0.0.1", "");
   listener.watch_sbfd_echo_session(session, true);
   for (const auto& each : {session, other, free}) {
      mgr_->sbfd_echo_session_set(each);
      mgr_->sbfd_echo_session_interval_set(each, {50, 3});
   }
   pass(60 * ms);
   intfs_->linkIs(intf_id_t("Ethernet1"), false);
   pass(100 * ms);
   EXPECT_EQ(mgr_->sbfd_echo_session_status(session), bfd_session_status_t::up);
   pass(60 * ms);
   EXPECT_EQ(mgr_->sbfd_echo_session_status(session), bfd_session_status_t::down);
   EXPECT_EQ(mgr_->sbfd_echo_session_status(other), bfd_session_status_t::up);
   EXPECT_EQ(mgr_->sbfd_echo_session_status(free), bfd_session_status_t::up);
   intfs_->linkIs(intf_id_t("Ethernet1"), true);
   pass(60 * ms);
   intfs_->admin_enabled_is(intf_id_t("Ethernet1"), false);
   pass(160 * ms);
   intfs_->admin_enabled_is(intf_id_t("Ethernet1"), true);
   pass(60 * ms);
   EXPECT_THAT(
        listener.events,
        ElementsAre(Pair(session, bfd_session_status_t::up), Pair(session, bfd_session_status_t::down),
                    Pair(session, bfd_session_status_t::up), Pair(session, bfd_session_status_t::admin_down),
                    Pair(session, bfd_session_status_t::up)));
}

TEST_F(BfdSessionMgrTest, aSessionOnAnInterfaceThatIsDownStaysDown) {
   intfs_->linkIs(intf_id_t("Ethernet1"), false);
   runLoop();
   const auto session = key("10.0.0.1");
   mgr_->sbfd_echo_session_set(session);
   pass(2000 * ms);
   EXPECT_EQ(mgr_->sbfd_echo_session_status(session), bfd_session_status_t::down);
   EXPECT_GE(mgr_->state(session).sent, 6u);
   EXPECT_EQ(mgr_->state(session).answered, 0u);
}

TEST_F(BfdSessionMgrTest, anInterfaceThatGoesAwayAndComesBack) {
   intfs_->intfAdd(intf_id_t("Vlan7"));
   runLoop();
   const auto session = key("10.0.0.1", "Vlan7");
   mgr_->sbfd_echo_session_set(session);
   pass(310 * ms);
   EXPECT_EQ(mgr_->sbfd_echo_session_status(session), bfd_session_status_t::up);
   intfs_->intfDel(intf_id_t("Vlan7"));
   pass(1000 * ms);
   EXPECT_EQ(mgr_->sbfd_echo_session_status(session), bfd_session_status_t::down);
   intfs_->intfAdd(intf_id_t("Vlan7"));
   pass(310 * ms);
   EXPECT_EQ(mgr_->sbfd_echo_session_status(session), bfd_session_status_t::up);
}

TEST_F(BfdSessionMgrTest, roundTripTimesAreToldOncePerSnapshotWhenEnabled) {
   Listener listener(mgr_.get());
   listener.watch_all_sbfd_echo_sessions(true);
   const auto session = key("10.0.0.1");
   const auto silent = key("10.0.0.2");
   for (const auto& each : {session, silent}) {
      mgr_->sbfd_echo_session_set(each);
      mgr_->sbfd_echo_session_interval_set(each, {10, 3});
   }
   mgr_->sbfd_echo_session_rtt_enabled_set(session, true);
   model_->defaultFarEndIs({.delayNanos = 700'000});
   pass(3100 * ms);
   ASSERT_EQ(listener.rtts.size(), 3u);
   for (const auto& [told, stats] : listener.rtts) {
      EXPECT_EQ(told, session);
      EXPECT_EQ(stats.last_rtt(), 700u);
      EXPECT_EQ(stats.snapshot_max_rtt(), 700u);
   }
   EXPECT_EQ(mgr_->state(silent).rtt.avg_rtt(), 700u);
   mgr_->sbfd_echo_session_rtt_enabled_set(session, false);
   pass(3000 * ms);
   EXPECT_EQ(listener.rtts.size(), 3u);
}

TEST_F(BfdSessionMgrTest, settingWhatIsSetDisturbsNothing) {
   Listener listener(mgr_.get());
   listener.watch_all_sbfd_echo_sessions(true);
   const auto session = key("10.0.0.1");
   for (int i = 0; i < 100; ++i) {
      mgr_->sbfd_echo_session_set(session);
      mgr_->sbfd_echo_session_interval_set(session, {50, 3});
      mgr_->sbfd_echo_session_rtt_enabled_set(session, false);
      pass(10 * ms);
   }
   EXPECT_THAT(listener.events, ElementsAre(Pair(session, bfd_session_status_t::up)));
   EXPECT_EQ(mgr_->state(session).sent, 21u);
}

TEST_F(BfdSessionMgrTest, aHandlerMayRemoveAndMakeSessions) {
   Listener listener(mgr_.get());
   listener.watch_all_sbfd_echo_sessions(true);
   const auto first = key("10.0.0.1");
   const auto second = key("10.0.0.2");
   const auto third = key("10.0.0.3");
   mgr_->sbfd_echo_session_set(first);
   mgr_->sbfd_echo_session_set(second);
   bool called = false;
   listener.onStatus = [&](const sbfd_echo_session_key_t&) {
      if (std::exchange(called, true)) return;
      mgr_->sbfd_echo_session_del(first);
      mgr_->sbfd_echo_session_del(second);
      mgr_->sbfd_echo_session_set(third);
   };
   // Both come up within one execution.
   now_ += 300 * ms;
   pass(ms);
   now_ += 300 * ms;
   pass(300 * ms);
   ASSERT_EQ(listener.events.size(), 2u);
   EXPECT_EQ(listener.events[1].first, third);
}

TEST_F(BfdSessionMgrTest, sessionsAndTheirSettingsSurviveARestart) {
   const auto first = key("10.0.0.1", "Ethernet1", {mpls_label_t(100)}, 5);
   const auto second = key("2001:db8::1", "");
   mgr_->sbfd_echo_session_set(second);
   mgr_->sbfd_echo_session_set(first);
   mgr_->sbfd_echo_session_interval_set(first, sbfd_interval_t(50, 5));
   mgr_->sbfd_echo_session_rtt_enabled_set(first, true);
   mgr_->sbfd_echo_session_set(first);
   restart([&] { forget(); });
   make();
   EXPECT_THAT(listOf(mgr_->sbfd_echo_session_iter()), ElementsAre(first, second));
   EXPECT_EQ(mgr_->sessions().find(first)->interval, sbfd_interval_t(50, 5));
   EXPECT_TRUE(mgr_->sessions().find(first)->rttEnabled);
   EXPECT_EQ(mgr_->sessions().find(second)->interval, mgr_->sbfd_default_interval());
   EXPECT_EQ(mgr_->sbfd_echo_session_status(first), bfd_session_status_t::down);
   pass(310 * ms);
   EXPECT_EQ(mgr_->sbfd_echo_session_status(first), bfd_session_status_t::up);
   EXPECT_EQ(mgr_->sbfd_echo_session_status(second), bfd_session_status_t::up);
}

TEST_F(BfdSessionMgrTest, refusesKeysThatNameNoPath) {
   const auto words = [&](const sbfd_echo_session_key_t& session) {
      return refusal([&] { mgr_->sbfd_echo_session_set(session); });
   };
   EXPECT_EQ(words(sbfd_echo_session_key_t()),
             "sBFD session has no nexthop, expected an IPv4 or IPv6 address");
   EXPECT_EQ(words(key("10.0.0.1", "Ethernet99")), "unknown interface Ethernet99");
   EXPECT_EQ(words(key("10.0.0.1", "Ethernet1", {}, 8)), "sBFD mpls_exp 8 is out of range, expected 0 to 7");
   EXPECT_EQ(words(key("10.0.0.1", "Ethernet1", {}, 7)), "");
   EXPECT_EQ(words(key("10.0.0.1", "Ethernet1", std::vector(15, mpls_label_t(16)))),
             "sBFD label stack size 15 is out of range, expected 0 to 14");
   EXPECT_NE(words(key("10.0.0.1", "Ethernet1", {mpls_label_t()})).find("has a null label"),
             std::string::npos);
   EXPECT_EQ(mgr_->sessions().size(), 1u);
}

TEST_F(BfdSessionMgrTest, refusesSettingsThatCannotWork) {
   const auto session = key("10.0.0.1");
   EXPECT_NE(refusal([&] {
                mgr_->sbfd_echo_session_interval_set(session, {50, 3});
             }).find("does not exist"),
             std::string::npos);
   EXPECT_NE(refusal([&] { mgr_->sbfd_echo_session_rtt_enabled_set(session, true); }).find("does not exist"),
             std::string::npos);
   mgr_->sbfd_echo_session_set(session);
   EXPECT_EQ(refusal([&] {
                mgr_->sbfd_echo_session_interval_set(session, {0, 3});
             }),
             "min_tx 0 is out of range, expected 1 to 65535");
   EXPECT_EQ(refusal([&] {
                mgr_->sbfd_echo_session_interval_set(session, {50, 0});
             }),
             "multiplier 0 is out of range, expected 1 to 255");
   EXPECT_EQ(mgr_->sessions().find(session)->interval, mgr_->sbfd_default_interval());
}

TEST_F(BfdSessionMgrTest, refusesOneMoreThanTheTableHolds) {
   for (const auto* nexthop : {"10.0.0.1", "10.0.0.2", "10.0.0.3"})
      mgr_->sbfd_echo_session_set(key(nexthop));
   EXPECT_EQ(refusal([&] { mgr_->sbfd_echo_session_set(key("10.0.0.4")); }),
             "sbfd session table is full, it holds 3 rows");
}

}  // namespace
}  // namespace softswitch
