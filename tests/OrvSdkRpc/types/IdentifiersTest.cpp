#include "OrvSdkRpc/types/Identifiers.h"

#include "Conversions.h"
#include "platform/zelt/RangeException.h"

namespace {

using namespace types_test;
using namespace OrvSdkRpc::types;
using namespace std::string_literals;
namespace remote = orv::remote;

TEST(IdentifiersTest, whatWasLeftOutReadsAsEmpty) {
   EXPECT_EQ(convert(remote::IntfId()), orv::intf_id_t());
   EXPECT_EQ(convert(remote::MplsFecId()), orv::mpls_fec_id_t());
   EXPECT_EQ(convert(remote::MplsLabel()), orv::mpls_label_t());
   EXPECT_EQ(convert(remote::IpAddrMask()), orv::ip_addr_mask_t());
   EXPECT_EQ(convert(remote::Prefix()), orv::ip_prefix_t());
   EXPECT_EQ(port_range(remote::Range()), orv::port_range_t());
   EXPECT_EQ(protocol_range(remote::Range()), orv::protocol_range_t());
   EXPECT_EQ(convert(remote::AclKey()), orv::acl_key_t());
   EXPECT_EQ(convert(remote::PolicyMapKey()), orv::policy_map_key_t());
   EXPECT_EQ(convert(remote::BgpPeerKey()), orv::bgp_peer_key_t());
   EXPECT_EQ(convert(remote::BgpPathKey()), orv::bgp_path_key_t());
   EXPECT_EQ(convert(remote::FibFecKey()), orv::fib_fec_key_t());
   EXPECT_EQ(convert(remote::FibRouteKey()), orv::fib_route_key_t());
   EXPECT_EQ(convert(remote::IpRouteKey()), orv::ip_route_key_t());
   EXPECT_EQ(convert(remote::MplsRouteKey()), orv::mpls_route_key_t());
   EXPECT_EQ(convert(remote::MplsVrfLabel()), orv::mpls_vrf_label_t());
}

TEST(IdentifiersTest, interfaces) {
   const orv::intf_id_t intf("Ethernet1/2");
   EXPECT_EQ(convert(parsed<remote::IntfId>("name: 'Ethernet1/2'")), intf);
   EXPECT_TRUE(same(convert(intf), parsed<remote::IntfId>("name: 'Ethernet1/2'")));
   // The SDK checks the name.
   EXPECT_EQ(refusalOf([] { convert(parsed<remote::IntfId>("name: 'a b'")); }),
             refusalOf([] { orv::intf_id_t("a b"); }));
}

TEST(IdentifiersTest, fecIds) {
   const auto message = parsed<remote::MplsFecId>("id: 18446744073709551615");
   EXPECT_EQ(convert(message), orv::mpls_fec_id_t(18446744073709551615U));
   EXPECT_TRUE(same(convert(orv::mpls_fec_id_t(18446744073709551615U)), message));
   const auto key = parsed<remote::FibFecKey>("fec_id: 18446744073709551615");
   EXPECT_EQ(convert(key), orv::fib_fec_key_t(18446744073709551615U));
   EXPECT_TRUE(same(convert(orv::fib_fec_key_t(18446744073709551615U)), key));
}

TEST(IdentifiersTest, aLabelThatIsLeftOutIsNotLabelZero) {
   EXPECT_EQ(convert(parsed<remote::MplsLabel>("label: 0")), orv::mpls_label_t(0));
   EXPECT_NE(convert(parsed<remote::MplsLabel>("label: 0")), convert(remote::MplsLabel()));
   EXPECT_TRUE(same(convert(orv::mpls_label_t(0)), parsed<remote::MplsLabel>("label: 0")));
   // An absent label comes back as the null label's number.
   EXPECT_TRUE(same(convert(convert(remote::MplsLabel())), parsed<remote::MplsLabel>("label: 1048576")));
}

TEST(IdentifiersTest, theBoundOfALabelIsTheSdks) {
   EXPECT_EQ(convert(parsed<remote::MplsLabel>("label: 1048575")).label(), 1048575U);
   EXPECT_EQ(convert(parsed<remote::MplsLabel>("label: 1048576")), orv::mpls_label_t());
   const auto refusal = refusalOf([] { convert(parsed<remote::MplsLabel>("label: 1048577")); });
   EXPECT_EQ(refusal, refusalOf([] { orv::mpls_label_t(1048577); }));
   ASSERT_TRUE(refusal);
   EXPECT_EQ(refusal->type, typeid(orv::invalid_range_error));
}

TEST(IdentifiersTest, labelsOfTheStateTables) {
   EXPECT_TRUE(same(convert(Lumic::MplsLabel(100)), parsed<remote::MplsLabel>("label: 100")));
   EXPECT_TRUE(same(convert(Lumic::MplsLabel(0)), parsed<remote::MplsLabel>("label: 0")));
   EXPECT_TRUE(same(convert(Lumic::MplsLabel()), parsed<remote::MplsLabel>("label: 1048576")));
}

TEST(IdentifiersTest, addressesWithAMask) {
   const orv::ip_addr_mask_t addrMask(orv::ip_addr_t("10.0.0.1"), 8);
   const auto message = parsed<remote::IpAddrMask>(R"(addr: "\x0a\0\0\x01" mask_length: 8)");
   EXPECT_EQ(convert(message), addrMask);
   EXPECT_TRUE(same(convert(addrMask), message));
   EXPECT_EQ(refusalOf([] { convert(parsed<remote::IpAddrMask>("addr: '12345'")); }), badAddress(5));
   const orv::ip_addr_mask_t unknown(orv::ip_addr_t(7, ""), 8);
   EXPECT_EQ(refusalOf([&] { convert(unknown); }),
             unsupported("Unknown address family on conversion from SDK"));
}

TEST(IdentifiersTest, lengthsAreCutToTheirLowEightBits) {
   for (const auto& [sent, arrives] : std::vector<std::pair<std::uint32_t, int>>{
             {255, 255}, {256, 0}, {300, 44}, {65536 + 24, 24}, {4294967295, 255}}) {
      SCOPED_TRACE(sent);
      remote::IpAddrMask message;
      message.set_addr("\x0a\0\0\0"s);
      message.set_mask_length(sent);
      EXPECT_EQ(convert(message).mask_length(), arrives);
   }
   auto prefix = parsed<remote::Prefix>(R"(network: "\x0a\0\0\0" prefix_length: 264)");
   EXPECT_EQ(convert(prefix), orv::ip_prefix_t("10.0.0.0/8"));
   // 300 reaches the SDK as 44, which it refuses for an IPv4 network and accepts for an IPv6 one.
   prefix.set_prefix_length(300);
   EXPECT_EQ(refusalOf([&] { convert(prefix); }),
             refusalOf([] { orv::ip_prefix_t(orv::ip_addr_t("10.0.0.0"), 44); }));
   prefix.set_network(std::string(16, '\0'));
   EXPECT_EQ(convert(prefix), orv::ip_prefix_t("::/44"));
}

TEST(IdentifiersTest, prefixes) {
   const auto message = parsed<remote::Prefix>(R"(network: "\x0a\0\0\0" prefix_length: 8)");
   EXPECT_EQ(convert(message), orv::ip_prefix_t("10.0.0.0/8"));
   EXPECT_TRUE(same(convert(orv::ip_prefix_t("10.0.0.0/8")), message));
   EXPECT_EQ(convert(convert(orv::ip_prefix_t("2001:db8::/32"))), orv::ip_prefix_t("2001:db8::/32"));
   EXPECT_TRUE(same(convert(orv::ip_prefix_t()), remote::Prefix()));
   EXPECT_EQ(refusalOf([] { convert(parsed<remote::Prefix>("network: '12345' prefix_length: 300")); }),
             badAddress(5));
}

TEST(IdentifiersTest, ranges) {
   // Neither order nor width is checked.
   const auto message = parsed<remote::Range>("range_start: 70000 range_end: 1");
   EXPECT_EQ(port_range(message), orv::port_range_t(70000, 1));
   EXPECT_TRUE(same(convert(orv::port_range_t(70000, 1)), message));
   EXPECT_EQ(protocol_range(message), orv::protocol_range_t(70000, 1));
   EXPECT_TRUE(same(convert(orv::protocol_range_t(70000, 1)), message));
}

TEST(IdentifiersTest, aclKeys) {
   const auto message = parsed<remote::AclKey>("acl_name: 'a' acl_type: ACL_TYPE_IPV6");
   const orv::acl_key_t key("a", orv::acl_type_t::ipv6);
   EXPECT_EQ(convert(message), key);
   EXPECT_TRUE(same(convert(key), message));
   remote::AclKey bad = message;
   bad.set_acl_type(static_cast<remote::AclType>(5));
   EXPECT_EQ(refusalOf([&] { convert(bad); }), invalidArgument("Unknown value for Acl type: 5"));
   EXPECT_EQ(refusalOf([] { convert(orv::acl_key_t("a", static_cast<orv::acl_type_t>(5))); }),
             invalidArgument("Unknown value for Acl type: 5"));
}

TEST(IdentifiersTest, policyMapKeys) {
   const auto message = parsed<remote::PolicyMapKey>("name: 'p' feature: POLICY_FEATURE_QOS");
   const orv::policy_map_key_t key("p", orv::policy_feature_t::qos);
   EXPECT_EQ(convert(message), key);
   EXPECT_TRUE(same(convert(key), message));
   remote::PolicyMapKey bad = message;
   bad.set_feature(static_cast<remote::PolicyFeature>(5));
   EXPECT_EQ(refusalOf([&] { convert(bad); }), invalidArgument("Unknown value for policy feature: 5"));
}

TEST(IdentifiersTest, bgpKeys) {
   const auto peer = parsed<remote::BgpPeerKey>(R"(vrf_name: "v" peer_addr: "\x0a\0\0\x01")");
   orv::bgp_peer_key_t peerKey;
   peerKey.vrf_name_is("v");
   peerKey.peer_addr_is(orv::ip_addr_t("10.0.0.1"));
   EXPECT_EQ(convert(peer), peerKey);
   EXPECT_TRUE(same(convert(peerKey), peer));

   const auto path = parsed<remote::BgpPathKey>(R"(
      peer_addr: "\x0a\0\0\x01" vrf_name: "v" prefix { network: "\x0b\0\0\0" prefix_length: 8 })");
   orv::bgp_path_key_t pathKey;
   pathKey.vrf_name_is("v");
   pathKey.peer_addr_is(orv::ip_addr_t("10.0.0.1"));
   pathKey.prefix_is(orv::ip_prefix_t("11.0.0.0/8"));
   EXPECT_EQ(convert(path), pathKey);
   EXPECT_TRUE(same(convert(pathKey), path));

   EXPECT_EQ(refusalOf([] { convert(parsed<remote::BgpPeerKey>("peer_addr: '12345'")); }), badAddress(5));
   expectFirstIsTold<remote::BgpPathKey>(
        path, kConvert,
        {{[](auto& m) { m.set_peer_addr("12345"); }, badAddress(5)},
         {[](auto& m) { m.mutable_prefix()->set_network("123456"); },
          invalidArgument("bytes length 6 does not match IPv4(4) or IPv6(16)")}});
   // Peers use the message for addresses that are written whole.
   peerKey.peer_addr_is(orv::ip_addr_t(7, ""));
   EXPECT_EQ(refusalOf([&] { convert(peerKey); }), invalidArgument("Unknown address family: 7"));
   pathKey.peer_addr_is(orv::ip_addr_t(7, ""));
   EXPECT_EQ(refusalOf([&] { convert(pathKey); }), invalidArgument("Unknown address family: 7"));
}

TEST(IdentifiersTest, fibRouteKeys) {
   const auto message = parsed<remote::FibRouteKey>(R"(prefix { network: "\x0a\0\0\0" prefix_length: 8 })");
   const orv::fib_route_key_t key(orv::ip_prefix_t("10.0.0.0/8"));
   EXPECT_EQ(convert(message), key);
   EXPECT_TRUE(same(convert(key), message));
}

TEST(IdentifiersTest, ipRouteKeys) {
   auto message = parsed<remote::IpRouteKey>(R"(prefix { network: "\x0a\0\0\0" prefix_length: 8 })");
   const orv::ip_route_key_t plain(orv::ip_prefix_t("10.0.0.0/8"));
   EXPECT_EQ(convert(message), plain) << "the preference is the SDK's default";
   message.set_preference(0);
   EXPECT_EQ(convert(message), orv::ip_route_key_t(orv::ip_prefix_t("10.0.0.0/8"), 0));
   message.set_preference(256 + 7);
   EXPECT_EQ(convert(message).preference(), 7) << "cut to its low 8 bits";
   message.set_preference(plain.preference());
   EXPECT_TRUE(same(convert(plain), message)) << "written always";
}

TEST(IdentifiersTest, mplsRouteKeys) {
   const auto message =
        parsed<remote::MplsRouteKey>("labels { label: 300 } labels { } labels { label: 100 } metric: 255");
   const std::vector<orv::mpls_label_t> labels{orv::mpls_label_t(300), orv::mpls_label_t(),
                                               orv::mpls_label_t(100)};
   const orv::mpls_route_key_t key(labels, 255);
   EXPECT_EQ(convert(message), key) << "in the client's order, a label that was left out in its place";
   EXPECT_TRUE(same(
        convert(key),
        parsed<remote::MplsRouteKey>("labels { label: 300 } labels { label: 1048576 } labels { label: 100 } "
                                     "metric: 255")));
}

TEST(IdentifiersTest, mplsRouteKeysAreRefusedLabelsFirst) {
   const auto label = refusalOf([] { orv::mpls_label_t(2000000); });
   const std::vector<orv::mpls_label_t> fifteen(15, orv::mpls_label_t(1));
   const auto tooMany = refusalOf([&] { orv::mpls_route_key_t(fifteen, 0); });
   ASSERT_TRUE(label && tooMany);
   expectFirstIsTold<remote::MplsRouteKey>(
        parsed<remote::MplsRouteKey>("labels { label: 1 } metric: 1"), kConvert,
        {{[](auto& m) { m.add_labels()->set_label(2000000); }, *label},
         {[](auto& m) { m.set_metric(256); }, invalidArgument("metric 256 is out of range")},
         {[](auto& m) {
             while (m.labels_size() < 15)
                m.add_labels()->set_label(1);
          },
          *tooMany}});
}

TEST(IdentifiersTest, routeKeysOfTheStateTablesAreTurnedOver) {
   Mpls::RouteKeyAndMetric key;
   key.metricIs(255);
   EXPECT_TRUE(same(convert(key), parsed<remote::MplsRouteKey>("metric: 255")));
   key.stackSizeIs(3);
   for (std::uint32_t i = 0; i < 3; ++i)
      key.labelStackIs(Lumic::MplsStackEntryIndex(i), Lumic::MplsLabel(100 * i));
   EXPECT_TRUE(same(convert(key), parsed<remote::MplsRouteKey>(
                                       "labels { label: 200 } labels { label: 100 } labels { label: 0 } "
                                       "metric: 255")));
   key.stackSizeIs(14);
   EXPECT_EQ(convert(key).labels_size(), 14);
   const Refusal outOfRange{typeid(Zelt::RangeException),
                            "Lumic::MplsStackEntryIndex::value < Lumic::MplsStackEntryIndex::min or > "
                            "Lumic::MplsStackEntryIndex::nullValue not allowed"};
   for (const int size : {15, 16, 255}) {
      key.stackSizeIs(static_cast<std::uint8_t>(size));
      EXPECT_EQ(refusalOf([&] { convert(key); }), outOfRange);
   }
}

TEST(IdentifiersTest, mplsVrfLabels) {
   const auto message = parsed<remote::MplsVrfLabel>("vrf_name: 'v' label { label: 16 }");
   const orv::mpls_vrf_label_t vrfLabel(orv::mpls_label_t(16), "v");
   EXPECT_EQ(convert(message), vrfLabel);
   EXPECT_TRUE(same(convert(vrfLabel), message));
}

TEST(IdentifiersTest, roundTrips) {
   expectRoundTrips<orv::intf_id_t>(kConvert, kConvert);
   expectRoundTrips<orv::mpls_fec_id_t>(kConvert, kConvert);
   expectRoundTrips<orv::mpls_label_t>(kConvert, kConvert);
   expectRoundTrips<orv::ip_addr_mask_t>(kConvert, kConvert);
   expectRoundTrips<orv::ip_prefix_t>(kConvert, kConvert);
   expectRoundTrips<orv::port_range_t>(kConvert, port_range);
   expectRoundTrips<orv::protocol_range_t>(kConvert, protocol_range);
   expectRoundTrips<orv::acl_key_t>(kConvert, kConvert);
   expectRoundTrips<orv::policy_map_key_t>(kConvert, kConvert);
   expectRoundTrips<orv::bgp_peer_key_t>(kConvert, kConvert);
   expectRoundTrips<orv::bgp_path_key_t>(kConvert, kConvert);
   expectRoundTrips<orv::fib_fec_key_t>(kConvert, kConvert);
   expectRoundTrips<orv::fib_route_key_t>(kConvert, kConvert);
   expectRoundTrips<orv::ip_route_key_t>(kConvert, kConvert);
   expectRoundTrips<orv::mpls_route_key_t>(kConvert, kConvert);
   expectRoundTrips<orv::mpls_vrf_label_t>(kConvert, kConvert);
}

}  // namespace
