#include "softswitch/managers/bfd_session_mgr.h"

#include <gmock/gmock.h>

#include "ManagerTest.h"
#include "softswitch/managers/intf_mgr.h"

namespace softswitch {
namespace {

using orv::bfd_session_status_t;
using orv::intf_id_t;
using orv::ip_addr_t;
using orv::mpls_label_t;
using orv::sbfd_echo_session_key_t;
using orv::sbfd_interval_t;
using testing::ElementsAre;

class Listener final : public orv::bfd_session_handler {
public:
   using orv::bfd_session_handler::bfd_session_handler;
   void on_sbfd_echo_session_status(const sbfd_echo_session_key_t&, bfd_session_status_t) override {
      ++events;
   }
   int events = 0;
};

class BfdSessionMgrTest : public ManagerTest {
protected:
   void SetUp() override {
      limits_.bfdSessions = 3;
      ManagerTest::SetUp();
      make();
   }
   void TearDown() override {
      forget();
      ManagerTest::TearDown();
   }
   void make() {
      intfs_ = std::make_unique<IntfMgr>(context(), topology_);
      mgr_ = std::make_unique<BfdSessionMgr>(context(), *intfs_);
   }
   void forget() {
      mgr_.reset();
      intfs_.reset();
   }
   sbfd_echo_session_key_t key(const char* nexthop, const char* intf = "Ethernet1",
                               std::vector<mpls_label_t> labels = {}, std::uint8_t exp = 0) {
      return {ip_addr_t(nexthop), intf_id_t(intf), std::move(labels), 46, exp};
   }

   const Topology topology_ = Topology::builtIn();
   std::unique_ptr<IntfMgr> intfs_;
   std::unique_ptr<BfdSessionMgr> mgr_;
};

TEST_F(BfdSessionMgrTest, keepsSessionsDown) {
   Listener listener(mgr_.get());
   listener.watch_all_sbfd_echo_sessions(true);
   const auto session = key("10.0.0.1", "Ethernet1", {mpls_label_t(100), mpls_label_t(200)}, 5);
   EXPECT_EQ(mgr_->sbfd_echo_session_status(session), bfd_session_status_t::unknown);
   mgr_->sbfd_echo_session_set(session);
   EXPECT_TRUE(mgr_->sbfd_echo_session_exists(session));
   EXPECT_EQ(mgr_->sbfd_echo_session_status(session), bfd_session_status_t::down);
   mgr_->sbfd_echo_session_del(session);
   mgr_->sbfd_echo_session_del(session);
   EXPECT_EQ(mgr_->sbfd_echo_session_status(session), bfd_session_status_t::unknown);
   runLoop();
   EXPECT_EQ(listener.events, 0);
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
   EXPECT_THAT(all(mgr_->sbfd_echo_session_iter()), ElementsAre(first, second));
   EXPECT_EQ(mgr_->sessions().find(first)->interval, sbfd_interval_t(50, 5));
   EXPECT_TRUE(mgr_->sessions().find(first)->rttEnabled);
   EXPECT_EQ(mgr_->sessions().find(second)->interval, mgr_->sbfd_default_interval());
   EXPECT_EQ(mgr_->sbfd_echo_session_status(first), bfd_session_status_t::down);
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
