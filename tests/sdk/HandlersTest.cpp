// The handler bases: registering for a lifetime, and what each watch call reaches.

#include <gtest/gtest.h>

#include <optional>
#include <vector>

#include "testing/mock/MockAclMgr.h"
#include "testing/mock/MockAgentMgr.h"
#include "testing/mock/MockBfdSessionMgr.h"
#include "testing/mock/MockEthPhyIntfMgr.h"
#include "testing/mock/MockFibMgr.h"
#include "testing/mock/MockIntfMgr.h"
#include "testing/mock/MockMountMgr.h"
#include "testing/mock/MockMplsRouteMgr.h"
#include "testing/mock/MockNexthopGroupMgr.h"
#include "testing/mock/MockPolicyMapMgr.h"

namespace {

template <typename Handler, typename Mgr>
struct Pair {
   using handler = Handler;
   using mgr = Mgr;
};
using AllHandlers = testing::Types<
     Pair<orv::acl_handler, orvtest::MockAclMgr>, Pair<orv::agent_handler, orvtest::MockAgentMgr>,
     Pair<orv::bfd_session_handler, orvtest::MockBfdSessionMgr>,
     Pair<orv::eth_phy_intf_handler, orvtest::MockEthPhyIntfMgr>, Pair<orv::fib_handler, orvtest::MockFibMgr>,
     Pair<orv::intf_handler, orvtest::MockIntfMgr>, Pair<orv::mpls_route_handler, orvtest::MockMplsRouteMgr>,
     Pair<orv::nexthop_group_handler, orvtest::MockNexthopGroupMgr>,
     Pair<orv::nexthop_group_handler_v3, orvtest::MockNexthopGroupMgr>,
     Pair<orv::policy_map_handler, orvtest::MockPolicyMapMgr>>;

template <typename T>
class HandlersTest : public testing::Test {};
TYPED_TEST_SUITE(HandlersTest, AllHandlers);

TYPED_TEST(HandlersTest, aHandlerIsRegisteredForItsLife) {
   typename TypeParam::mgr mgr;
   EXPECT_TRUE(mgr.handlers().empty());
   {
      typename TypeParam::handler first(&mgr);
      EXPECT_FALSE(mgr.handlers().wanted());
      std::optional<typename TypeParam::handler> second;
      second.emplace(&mgr);
      int count = 0;
      mgr.handlers().notify_every([&](auto&) { ++count; });
      EXPECT_EQ(count, 2);
      second.reset();
      mgr.handlers().notify_every([&](auto& h) { EXPECT_EQ(&h, &first); });
   }
   EXPECT_TRUE(mgr.handlers().empty());
}

TYPED_TEST(HandlersTest, aHandlerWithoutAManagerIsHarmless) {
   EXPECT_NO_THROW(typename TypeParam::handler(nullptr));
}

class Intfs : public orv::intf_handler {
public:
   using orv::intf_handler::intf_handler;
   void on_intf_create(const orv::intf_id_t& intf) override { seen.push_back("create " + intf.to_string()); }
   std::vector<std::string> seen;
};

TEST(IntfHandlerTest, watchesOneOrAll) {
   orvtest::MockIntfMgr mgr;
   Intfs handler(&mgr);
   EXPECT_EQ(handler.get_intf_mgr(), &mgr);
   const orv::intf_id_t one("Ethernet1");
   const orv::intf_id_t two("Ethernet2");
   const auto create = [&](const orv::intf_id_t& intf) {
      mgr.handlers().notify(intf, [&](orv::intf_handler& h) { h.on_intf_create(intf); });
   };
   create(one);
   handler.watch_intf(one, true);
   create(one);
   create(two);
   handler.watch_all_intfs(true);
   create(two);
   handler.watch_all_intfs(false);
   handler.watch_intf(one, false);
   create(one);
   EXPECT_EQ(handler.seen, (std::vector<std::string>{"create Ethernet1", "create Ethernet2"}));
}

class Groups : public orv::nexthop_group_handler_v3 {
public:
   using orv::nexthop_group_handler_v3::nexthop_group_handler_v3;
   void on_nexthop_group_programmed(const std::string& name, std::uint16_t version,
                                    const orv::nexthop_group_programmed_status_t& status) override {
      seen.push_back(name + " " + std::to_string(version) + " " + orv::to_string(status.hw_state()));
   }
   std::vector<std::string> seen;
};

TEST(NexthopGroupHandlerTest, theProgrammedCallbackReachesTheV3Handler) {
   orvtest::MockNexthopGroupMgr mgr;
   Groups handler(&mgr);
   handler.watch_nexthop_group("g", true);
   const auto programmed = [&](const std::string& name) {
      mgr.handlers().notify(name, [&](orv::nexthop_group_handler& h) {
         h.on_nexthop_group_programmed(name, 7, {orv::nexthop_group_programmed_hw_state_t::success, {}});
         h.on_nexthop_group_active(name, true);
      });
   };
   programmed("g");
   programmed("h");
   handler.watch_all_nexthop_groups(true);
   programmed("h");
   EXPECT_EQ(handler.seen, (std::vector<std::string>{"g 7 success", "h 7 success"}));
}

TEST(MountHandlerTest, tellsItsManagerOfItsLife) {
   testing::StrictMock<orvtest::MockMountMgr> mgr;
   orv::mount_handler* added = nullptr;
   EXPECT_CALL(mgr, handler_add).WillOnce(testing::SaveArg<0>(&added));
   {
      orv::mount_handler handler(&mgr);
      EXPECT_EQ(added, &handler);
      EXPECT_EQ(handler.get_mount_mgr(), &mgr);
      EXPECT_FALSE(handler.initialized());
      handler.initialized_is(true);
      EXPECT_TRUE(handler.initialized());
      EXPECT_CALL(mgr, handler_del(&handler));
   }
   EXPECT_NO_THROW(orv::mount_handler(nullptr));
}

TEST(HandlerWatchTest, eachWatchCallReachesItsManager) {
   orvtest::MockAclMgr acl;
   orv::acl_handler acls(&acl);
   acls.watch_all_acls(true);
   EXPECT_TRUE(acl.handlers().wanted());
   acls.watch_all_acls(false);
   EXPECT_FALSE(acl.handlers().wanted());

   orvtest::MockMplsRouteMgr mpls;
   orv::mpls_route_handler routes(&mpls);
   const orv::mpls_route_key_t key(orv::mpls_label_t(100));
   routes.watch_mpls_route(key, true);
   EXPECT_TRUE(mpls.handlers().wanted(key));
   routes.watch_mpls_route(key, false);
   routes.watch_all_mpls_routes(true);
   EXPECT_TRUE(mpls.handlers().wanted(orv::mpls_route_key_t()));
   routes.watch_all_mpls_routes(false);
   EXPECT_FALSE(mpls.handlers().wanted());

   orvtest::MockPolicyMapMgr policy;
   orv::policy_map_handler maps(&policy);
   const orv::policy_map_key_t name("p", orv::policy_feature_t::pbr);
   maps.watch_policy_map(name, true);
   EXPECT_TRUE(policy.handlers().wanted(name));
   maps.watch_policy_map(name, false);
   maps.watch_all_policy_maps(true);
   EXPECT_TRUE(policy.handlers().wanted({}));
   maps.watch_all_policy_maps(false);
   EXPECT_FALSE(policy.handlers().wanted());

   orvtest::MockEthPhyIntfMgr phy;
   orv::eth_phy_intf_handler ports(&phy);
   const orv::intf_id_t port("Ethernet1");
   ports.watch_eth_phy_intf(port, true);
   EXPECT_TRUE(phy.handlers().wanted(port));
   ports.watch_eth_phy_intf(port, false);
   ports.watch_all_eth_phy_intfs(true);
   EXPECT_TRUE(phy.handlers().wanted(orv::intf_id_t("Ethernet2")));
   ports.watch_all_eth_phy_intfs(false);
   EXPECT_FALSE(phy.handlers().wanted());

   orvtest::MockBfdSessionMgr bfd;
   orv::bfd_session_handler sessions(&bfd);
   const orv::sbfd_echo_session_key_t session(orv::ip_addr_t("10.0.0.1"), orv::intf_id_t("Ethernet1"), {}, 0,
                                              0);
   sessions.watch_sbfd_echo_session(session, true);
   EXPECT_TRUE(bfd.handlers().wanted(session));
   sessions.watch_sbfd_echo_session(session, false);
   sessions.watch_all_sbfd_echo_sessions(true);
   EXPECT_TRUE(bfd.handlers().wanted({}));
   sessions.watch_all_sbfd_echo_sessions(false);
   EXPECT_FALSE(bfd.handlers().wanted());
}

class Fibs : public orv::fib_handler {
public:
   using orv::fib_handler::fib_handler;
   void on_fec_del(const orv::fib_fec_key_t& key) override { last = key.fec_id(); }
   std::uint64_t last = 0;
};

TEST(FibHandlerTest, isCalledWithoutAWatch) {
   orvtest::MockFibMgr mgr;
   Fibs handler(&mgr);
   mgr.handlers().notify_every([](orv::fib_handler& h) { h.on_fec_del(orv::fib_fec_key_t(5)); });
   EXPECT_EQ(handler.last, 5U);
}

TEST(AgentHandlerTest, answersAnRpcWithNothingByDefault) {
   orvtest::MockAgentMgr mgr;
   orv::agent_handler handler(&mgr);
   EXPECT_EQ(handler.on_agent_rpc("any"), "");
   EXPECT_CALL(mgr, agent_shutdown_complete_is).Times(0);
   handler.on_agent_enabled(false);
}

}  // namespace
