// Every mock is a whole manager, and the operations' overloads stay apart.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <type_traits>

#include "orv/error.h"
#include "support/VectorIter.h"
#include "support/mock/MockAclMgr.h"
#include "support/mock/MockAgentMgr.h"
#include "support/mock/MockBfdSessionMgr.h"
#include "support/mock/MockClassMapMgr.h"
#include "support/mock/MockEthPhyIntfMgr.h"
#include "support/mock/MockFibMgr.h"
#include "support/mock/MockIntfCounterMgr.h"
#include "support/mock/MockIntfMgr.h"
#include "support/mock/MockIpRouteMgr.h"
#include "support/mock/MockMountMgr.h"
#include "support/mock/MockMplsRouteMgr.h"
#include "support/mock/MockMplsVrfLabelMgr.h"
#include "support/mock/MockNexthopGroupMgr.h"
#include "support/mock/MockNexthopGroupTunnelMgr.h"
#include "support/mock/MockPolicyMapMgr.h"
#include "support/mock/MockSdk.h"
#include "support/mock/MockVrfMgr.h"

namespace {

using testing::_;
using testing::An;
using testing::InSequence;
using testing::Return;

// A mock that leaves an operation out does not compile here.
static_assert(!std::is_abstract_v<support::MockAclMgr>);
static_assert(!std::is_abstract_v<support::MockAgentMgr>);
static_assert(!std::is_abstract_v<support::MockBfdSessionMgr>);
static_assert(!std::is_abstract_v<support::MockClassMapMgr>);
static_assert(!std::is_abstract_v<support::MockEthPhyIntfMgr>);
static_assert(!std::is_abstract_v<support::MockFibMgr>);
static_assert(!std::is_abstract_v<support::MockIntfCounterMgr>);
static_assert(!std::is_abstract_v<support::MockIntfMgr>);
static_assert(!std::is_abstract_v<support::MockIpRouteMgr>);
static_assert(!std::is_abstract_v<support::MockMountMgr>);
static_assert(!std::is_abstract_v<support::MockMplsRouteMgr>);
static_assert(!std::is_abstract_v<support::MockMplsVrfLabelMgr>);
static_assert(!std::is_abstract_v<support::MockNexthopGroupMgr>);
static_assert(!std::is_abstract_v<support::MockNexthopGroupTunnelMgr>);
static_assert(!std::is_abstract_v<support::MockPolicyMapMgr>);
static_assert(!std::is_abstract_v<support::MockSdk>);
static_assert(!std::is_abstract_v<support::MockVrfMgr>);

TEST(MockIpRouteMgrTest, theOverloadsStayApart) {
   support::MockIpRouteMgr mock;
   orv::ip_route_mgr& mgr = mock;
   const orv::ip_route_key_t key(orv::ip_prefix_t("10.0.0.0/8"));
   const orv::ip_route_t route(key);
   const orv::ip_route_via_t via(key);
   const InSequence order;
   EXPECT_CALL(mock, exists(An<const orv::ip_route_key_t&>())).WillOnce(Return(true));
   EXPECT_CALL(mock, exists(An<const orv::ip_route_via_t&>(), std::string("red"))).WillOnce(Return(true));
   EXPECT_CALL(mock, ip_route_set(route));
   EXPECT_CALL(mock, ip_route_set(route, orv::ip_route_action_t::nexthop_group));
   EXPECT_CALL(mock, ip_route_set(route, std::string("red")));
   EXPECT_CALL(mock, ip_route_via_set(via)).WillOnce([](const auto&) {
      throw orv::invalid_argument_error("refused");
   });
   EXPECT_CALL(mock, ip_route_del(key));
   EXPECT_CALL(mock, ip_route_del(key, std::string("red")));
   EXPECT_TRUE(mgr.exists(key));
   EXPECT_TRUE(mgr.exists(via, "red"));
   mgr.ip_route_set(route);
   mgr.ip_route_set(route, orv::ip_route_action_t::nexthop_group);
   mgr.ip_route_set(route, "red");
   EXPECT_THROW(mgr.ip_route_via_set(via), orv::invalid_argument_error);
   mgr.ip_route_del(key);
   mgr.ip_route_del(key, "red");
}

TEST(MockNexthopGroupMgrTest, isTheImplementationToo) {
   support::MockNexthopGroupMgr mock;
   orv::nexthop_group_mgr* const mgr = &mock;
   EXPECT_CALL(mock, nexthop_group_set(_, An<std::uint16_t&>())).WillOnce(testing::SetArgReferee<1>(7));
   std::uint16_t version = 0;
   mgr->nexthop_group_set(orv::nexthop_group_t("g", orv::nexthop_group_encap_t::mpls), version);
   EXPECT_EQ(version, 7);
   EXPECT_CALL(mock, nexthop_group_set_with_version_id(_, 9));
   auto* const impl = dynamic_cast<orv::NexthopGroupMgrImpl*>(mgr);
   ASSERT_NE(impl, nullptr);
   impl->nexthop_group_set_with_version_id({}, 9);
}

TEST(MockVrfMgrTest, anIteratorWalksRowsThatTheTestGives) {
   support::MockVrfMgr mock;
   EXPECT_CALL(mock, vrf_iter).WillOnce(Return(support::iterOver<orv::vrf_iter_t>({"blue", "red"})));
   std::string names;
   for (orv::vrf_iter_t it = mock.vrf_iter(); it; ++it)
      names += *it + " ";
   EXPECT_EQ(names, "blue red ");
}

}  // namespace
