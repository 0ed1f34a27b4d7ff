#include "orv/ip_route_types.h"

#include <gtest/gtest.h>

#include "Regular.h"

namespace {

using orv::ip_prefix_t;
using orv::ip_route_key_t;
using orv::ip_route_t;
using orv::ip_route_via_t;

const ip_route_key_t kRouteKey(ip_prefix_t("10.0.0.0/8"));

TEST(IpRouteTypesTest, aKeyIsPrefixAndPreference) {
   EXPECT_EQ(kRouteKey.preference(), 1);
   EXPECT_EQ(ip_route_key_t().preference(), 1);
   EXPECT_EQ(kRouteKey, ip_route_key_t(ip_prefix_t("10.0.0.0/8"), 1));
   sdk_test::expectText(kRouteKey, "10.0.0.0/8");
   sdk_test::expectText(ip_route_key_t(ip_prefix_t("10.0.0.0/8"), 5), "10.0.0.0/8 preference 5");
   sdk_test::expectRising<ip_route_key_t>({ip_route_key_t(), kRouteKey,
                                           ip_route_key_t(ip_prefix_t("10.0.0.0/8"), 255),
                                           ip_route_key_t(ip_prefix_t("10.0.0.0/9"), 0)});
   sdk_test::expectEveryFieldCounts<ip_route_key_t>(
        kRouteKey,
        {[](auto& k) { k.prefix_is(ip_prefix_t("10.0.0.0/9")); }, [](auto& k) { k.preference_is(2); }});
   EXPECT_TRUE(std::is_trivially_copyable_v<ip_route_key_t>);
   EXPECT_LE(sizeof(ip_route_key_t), 20U);
}

TEST(IpRouteTypesTest, aRoute) {
   const ip_route_t route(kRouteKey);
   EXPECT_EQ(route.tag(), 0U);
   EXPECT_FALSE(route.rib_bypass());
   sdk_test::expectText(route, "ip_route_t(key=10.0.0.0/8, tag=0, rib_bypass=false, command_tag='')");
   sdk_test::expectEveryFieldCounts<ip_route_t>(
        route,
        {[](auto& r) { r.key_is(ip_route_key_t(ip_prefix_t("11.0.0.0/8"))); }, [](auto& r) { r.tag_is(7); },
         [](auto& r) { r.rib_bypass_is(true); }, [](auto& r) { r.command_tag_is("x"); }});
}

TEST(IpRouteTypesTest, aVia) {
   const ip_route_via_t via(kRouteKey);
   EXPECT_TRUE(!via.hop());
   EXPECT_TRUE(!via.intf());
   EXPECT_TRUE(!via.mpls_label());
   EXPECT_TRUE(!via.vtep_addr());
   EXPECT_TRUE(!via.router_mac());
   EXPECT_TRUE(!via.vxlan_intf());
   sdk_test::expectEveryFieldCounts<ip_route_via_t>(
        via,
        {[](auto& v) { v.route_key_is(ip_route_key_t(ip_prefix_t("10.0.0.0/8"), 2)); },
         [](auto& v) { v.hop_is(orv::ip_addr_t("10.0.0.1")); },
         [](auto& v) { v.intf_is(orv::intf_id_t("Ethernet1")); }, [](auto& v) { v.nexthop_group_is("g"); },
         [](auto& v) { v.mpls_label_is(orv::mpls_label_t(0)); }, [](auto& v) { v.vni_is(1); },
         [](auto& v) { v.vtep_addr_is(orv::ip_addr_t("10.0.0.1")); },
         [](auto& v) { v.router_mac_is(orv::eth_addr_t("00:00:00:00:00:01")); },
         [](auto& v) { v.egress_vrf_is("g"); }, [](auto& v) { v.metric_is(1); },
         [](auto& v) { v.vxlan_intf_is(orv::intf_id_t("Ethernet1")); },
         [](auto& v) { v.vtep_sip_validation_is(true); }, [](auto& v) { v.weight_is(1); }});
}

}  // namespace
