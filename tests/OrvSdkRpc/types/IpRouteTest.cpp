#include "OrvSdkRpc/types/IpRoute.h"

#include "Conversions.h"
#include "EveryField.h"

namespace {

using namespace types_test;
using namespace OrvSdkRpc::types;
namespace remote = orv::remote;

const char* const kKey = R"({ prefix { network: "\x0a\x00\x00\x00" prefix_length: 8 } preference: 3 })";

orv::ip_route_key_t key() {
   return {orv::ip_prefix_t("10.0.0.0/8"), 3};
}

const std::string kVia = "route_key " + std::string(kKey) + R"(
   hop: "\x0a\x00\x00\x01" intf { name: "Ethernet1" } nexthop_group: "g" mpls_label: 429496
   vni: 5 vtep_addr: "\x0b\x00\x00\x01" router_mac: "\x00\x00\x00\x00\x00\x01" egress_vrf: "v" metric: 6
   vxlan_intf { name: "Vxlan1" } vtep_sip_validation: true weight: 7)";

orv::ip_route_via_t via() {
   orv::ip_route_via_t value(key());
   value.hop_is(orv::ip_addr_t("10.0.0.1"));
   value.intf_is(orv::intf_id_t("Ethernet1"));
   value.nexthop_group_is("g");
   value.mpls_label_is(orv::mpls_label_t(429496));
   value.vni_is(5);
   value.vtep_addr_is(orv::ip_addr_t("11.0.0.1"));
   value.router_mac_is(orv::eth_addr_t("00:00:00:00:00:01"));
   value.egress_vrf_is("v");
   value.metric_is(6);
   value.vxlan_intf_is(orv::intf_id_t("Vxlan1"));
   value.vtep_sip_validation_is(true);
   value.weight_is(7);
   return value;
}

remote::IpRouteVia viaMessage() {
   return parsed<remote::IpRouteVia>(kVia);
}

TEST(IpRouteTest, everyFieldOfARoute) {
   const auto message = parsed<remote::IpRoute>("key " + std::string(kKey) +
                                                "tag: 4294967295 rib_bypass: true command_tag: 'c'");
   orv::ip_route_t route(key());
   route.tag_is(4294967295U);
   route.rib_bypass_is(true);
   route.command_tag_is("c");
   EXPECT_TRUE(setsEveryField(message));
   EXPECT_EQ(convert(message), route);
   EXPECT_TRUE(same(convert(route), message));
}

TEST(IpRouteTest, everyFieldOfAVia) {
   EXPECT_TRUE(setsEveryField(viaMessage()));
   EXPECT_EQ(convert(viaMessage()), via());
   EXPECT_TRUE(same(convert(via()), viaMessage()));
}

TEST(IpRouteTest, whatWasLeftOutIsTheSdksDefault) {
   EXPECT_EQ(convert(remote::IpRoute()), orv::ip_route_t());
   EXPECT_EQ(convert(remote::IpRouteVia()), orv::ip_route_via_t());
   EXPECT_EQ(convert(parsed<remote::IpRouteVia>("mpls_label: 0")).mpls_label(), orv::mpls_label_t(0));
   EXPECT_EQ(convert(remote::IpRouteVia()).mpls_label(), orv::mpls_label_t());
}

TEST(IpRouteTest, whatIsNotSetStaysAbsent) {
   const auto message = convert(orv::ip_route_via_t());
   EXPECT_FALSE(message.has_intf());
   EXPECT_FALSE(message.has_vxlan_intf());
   EXPECT_EQ(message.router_mac(), "");
   EXPECT_EQ(message.hop(), "");
   EXPECT_EQ(message.vtep_addr(), "");
   EXPECT_TRUE(message.has_mpls_label());
   EXPECT_EQ(message.mpls_label(), 1048576U);
   EXPECT_TRUE(message.route_key().has_preference());
   // Each interface on its own.
   orv::ip_route_via_t value;
   value.intf_is(orv::intf_id_t("Ethernet1"));
   EXPECT_TRUE(convert(value).has_intf());
   EXPECT_FALSE(convert(value).has_vxlan_intf());
   value.intf_is({});
   value.vxlan_intf_is(orv::intf_id_t("Vxlan1"));
   EXPECT_FALSE(convert(value).has_intf());
   EXPECT_TRUE(convert(value).has_vxlan_intf());
}

TEST(IpRouteTest, aRouterMacOfZerosIsTheNullOne) {
   auto message = viaMessage();
   message.set_router_mac(std::string(6, '\0'));
   EXPECT_EQ(convert(message).router_mac(), orv::eth_addr_t());
   EXPECT_EQ(convert(convert(message)).router_mac(), "");
}

TEST(IpRouteTest, aViaIsRefusedInTheOrderOfItsFields) {
   const auto intf = refusalOf([] { orv::intf_id_t("not a name"); });
   const auto vxlanIntf = refusalOf([] { orv::intf_id_t("nor this"); });
   const auto label = refusalOf([] { orv::mpls_label_t(1048577); });
   ASSERT_TRUE(intf && vxlanIntf && label);
   expectFirstIsTold<remote::IpRouteVia>(
        viaMessage(), kConvert,
        {{[](auto& m) { m.mutable_route_key()->mutable_prefix()->set_network("1"); }, badAddress(1)},
         {[](auto& m) { m.set_hop("12"); }, badAddress(2)},
         {[](auto& m) { m.mutable_intf()->set_name("not a name"); }, *intf},
         {[](auto& m) { m.set_mpls_label(1048577); }, *label},
         {[](auto& m) { m.set_vtep_addr("123"); }, badAddress(3)},
         {[](auto& m) { m.set_router_mac("12345"); }, invalidArgument("bytes length 5 do not match MAC(6)")},
         {[](auto& m) { m.mutable_vxlan_intf()->set_name("nor this"); }, *vxlanIntf}});
}

TEST(IpRouteTest, unknownFamiliesDoNotLeave) {
   const Refusal copied = unsupported("Unknown address family on conversion from SDK");
   orv::ip_route_via_t hop;
   hop.hop_is(orv::ip_addr_t(7, ""));
   EXPECT_EQ(refusalOf([&] { convert(hop); }), copied);
   orv::ip_route_via_t vtep;
   vtep.vtep_addr_is(orv::ip_addr_t(7, ""));
   EXPECT_EQ(refusalOf([&] { convert(vtep); }), copied);
}

TEST(IpRouteTest, roundTrips) {
   expectRoundTrips<orv::ip_route_t>(kConvert, kConvert);
   expectRoundTrips<orv::ip_route_via_t>(kConvert, kConvert);
}

}  // namespace
