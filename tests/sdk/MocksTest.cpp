// Every mock implements the whole of its manager, and overloaded operations stay distinct.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <type_traits>

#include "orv/error.h"
#include "testing/mock/MockAclMgr.h"
#include "testing/mock/MockAgentMgr.h"
#include "testing/mock/MockBfdSessionMgr.h"
#include "testing/mock/MockClassMapMgr.h"
#include "testing/mock/MockEthPhyIntfMgr.h"
#include "testing/mock/MockFibMgr.h"
#include "testing/mock/MockIntfCounterMgr.h"
#include "testing/mock/MockIntfMgr.h"
#include "testing/mock/MockIpRouteMgr.h"
#include "testing/mock/MockMountMgr.h"
#include "testing/mock/MockMplsRouteMgr.h"
#include "testing/mock/MockMplsVrfLabelMgr.h"
#include "testing/mock/MockNexthopGroupMgr.h"
#include "testing/mock/MockNexthopGroupTunnelMgr.h"
#include "testing/mock/MockPolicyMapMgr.h"
#include "testing/mock/MockSdk.h"
#include "testing/mock/MockVrfMgr.h"
#include "testing/sdk/Iterators.h"

namespace {

using testing::_;
using testing::An;
using testing::InSequence;
using testing::Return;

// A mock that leaves an operation out does not compile here.
static_assert(!std::is_abstract_v<orvtest::MockAclMgr>);
static_assert(!std::is_abstract_v<orvtest::MockAgentMgr>);
static_assert(!std::is_abstract_v<orvtest::MockBfdSessionMgr>);
static_assert(!std::is_abstract_v<orvtest::MockClassMapMgr>);
static_assert(!std::is_abstract_v<orvtest::MockEthPhyIntfMgr>);
static_assert(!std::is_abstract_v<orvtest::MockFibMgr>);
static_assert(!std::is_abstract_v<orvtest::MockIntfCounterMgr>);
static_assert(!std::is_abstract_v<orvtest::MockIntfMgr>);
static_assert(!std::is_abstract_v<orvtest::MockIpRouteMgr>);
static_assert(!std::is_abstract_v<orvtest::MockMountMgr>);
static_assert(!std::is_abstract_v<orvtest::MockMplsRouteMgr>);
static_assert(!std::is_abstract_v<orvtest::MockMplsVrfLabelMgr>);
static_assert(!std::is_abstract_v<orvtest::MockNexthopGroupMgr>);
static_assert(!std::is_abstract_v<orvtest::MockNexthopGroupTunnelMgr>);
static_assert(!std::is_abstract_v<orvtest::MockPolicyMapMgr>);
static_assert(!std::is_abstract_v<orvtest::MockSdk>);
static_assert(!std::is_abstract_v<orvtest::MockVrfMgr>);

TEST(MockIpRouteMgrTest, theOverloadsStayApart) {
   orvtest::MockIpRouteMgr mock;
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
   orvtest::MockNexthopGroupMgr mock;
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
   orvtest::MockVrfMgr mock;
   EXPECT_CALL(mock, vrf_iter).WillOnce(Return(orvtest::iterOver<orv::vrf_iter_t>({"blue", "red"})));
   std::string names;
   for (orv::vrf_iter_t it = mock.vrf_iter(); it; ++it)
      names += *it + " ";
   EXPECT_EQ(names, "blue red ");
}

}  // namespace
