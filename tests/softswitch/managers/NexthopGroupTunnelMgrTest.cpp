#include "softswitch/managers/nexthop_group_tunnel_mgr.h"

#include <gmock/gmock.h>

#include "testing/softswitch/SwitchFixture.h"

namespace softswitch {
namespace {

using testing::HasSubstr;

class NexthopGroupTunnelMgrTest : public SwitchFixture {
protected:
   NexthopGroupTunnelMgr& mgr() { return sw().nexthopGroupTunnels(); }
   void set(std::string_view endpoint, std::string group, std::uint32_t metric = 0) {
      orv::nexthop_group_tunnel_t tunnel(prefix(endpoint), std::move(group));
      tunnel.igp_metric_is(metric);
      mgr().nexthop_group_tunnel_set(tunnel);
   }
};

TEST_F(NexthopGroupTunnelMgrTest, setReplaceDeleteAndRestart) {
   set("192.0.2.2/32", "b");
   set("192.0.2.1/32", "a", 10);
   set("192.0.2.1/32", "a", 20);
   set("2001:db8::/64", "c");
   mgr().nexthop_group_tunnel_del(prefix("2001:db8::/64"));
   mgr().nexthop_group_tunnel_del(prefix("2001:db8::/65"));
   restart();
   const auto tunnels = listOf(mgr().nexthop_group_tunnel_iter());
   ASSERT_EQ(tunnels.size(), 2u);
   EXPECT_EQ(tunnels[0].tunnel_endpoint(), prefix("192.0.2.1/32"));
   EXPECT_EQ(tunnels[0].nhg_name(), "a");
   EXPECT_EQ(tunnels[0].igp_metric(), 20u);
   EXPECT_EQ(tunnels[1].tunnel_endpoint(), prefix("192.0.2.2/32"));
   EXPECT_TRUE(mgr().exists(prefix("192.0.2.2/32")));
   EXPECT_FALSE(mgr().exists(prefix("2001:db8::/64")));
}

TEST_F(NexthopGroupTunnelMgrTest, aGroupThatDoesNotExistIsAccepted) {
   EXPECT_EQ(refusal([&] { set("192.0.2.1/32", "nobody"); }), "");
}

TEST_F(NexthopGroupTunnelMgrTest, whatNamesNothingIsRefused) {
   EXPECT_THAT(refusal([&] { mgr().nexthop_group_tunnel_set({}); }), HasSubstr("no endpoint"));
   EXPECT_THAT(refusal([&] { set("192.0.2.1/32", ""); }), HasSubstr("192.0.2.1/32 names no nexthop group"));
   EXPECT_THAT(refusal([&] { set("192.0.2.1/32", std::string(256, 'g')); }), HasSubstr("256 bytes"));
   EXPECT_EQ(mgr().size(), 0u);
}

TEST_F(NexthopGroupTunnelMgrTest, resyncRemovesWhatWasNotSetAgain) {
   set("192.0.2.1/32", "a");
   set("192.0.2.2/32", "b");
   mgr().resync_init();
   set("192.0.2.2/32", "b");
   mgr().resync_complete();
   EXPECT_FALSE(mgr().exists(prefix("192.0.2.1/32")));
   EXPECT_TRUE(mgr().exists(prefix("192.0.2.2/32")));
}

}  // namespace
}  // namespace softswitch
