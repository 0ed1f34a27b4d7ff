#include "OrvSdkRpc/types/Fib.h"

#include "Conversions.h"
#include "EveryField.h"

namespace {

using namespace types_test;
using namespace OrvSdkRpc::types;
namespace remote = orv::remote;

const char* const kRoute = R"(
   route_key { prefix { network: "\x0a\x00\x00\x00" prefix_length: 8 } } preference: 3 metric: 4294967295
   route_type: FIB_ROUTE_TYPE_BGP_EXTERNAL fec_id: 18446744073709551615)";

const char* const kFec = R"(
   fec_key { fec_id: 7 } fec_type: FIB_FEC_TYPE_VXLAN nexthop_group_name: "g"
   via { hop: "\x0a\x00\x00\x02" intf { name: "Ethernet2" } mpls_label { label: 100 } }
   via { hop: "\x0a\x00\x00\x01" intf { name: "Ethernet1" } mpls_label { label: 1048576 } })";

TEST(FibTest, everyFieldOfARoute) {
   EXPECT_TRUE(setsEveryField(parsed<remote::FibRoute>(kRoute)));
   orv::fib_route_t route(orv::fib_route_key_t(orv::ip_prefix_t("10.0.0.0/8")));
   route.preference_is(3);
   route.metric_is(4294967295U);
   route.route_type_is(orv::fib_route_type_t::bgp_external);
   route.fec_id_is(18446744073709551615U);
   EXPECT_EQ(convert(parsed<remote::FibRoute>(kRoute)), route);
   EXPECT_TRUE(same(convert(route), parsed<remote::FibRoute>(kRoute)));
}

TEST(FibTest, aPreferenceIsTheSdksDefaultOrCutToItsLowEightBits) {
   EXPECT_EQ(convert(remote::FibRoute()), orv::fib_route_t());
   EXPECT_EQ(convert(parsed<remote::FibRoute>("preference: 0")).preference(), 0);
   EXPECT_EQ(convert(parsed<remote::FibRoute>("preference: 300")).preference(), 44);
   EXPECT_TRUE(convert(orv::fib_route_t()).has_preference());
}

TEST(FibTest, everyFieldOfAFec) {
   EXPECT_TRUE(setsEveryField(parsed<remote::FibFec>(kFec)));
   orv::fib_fec_t fec(orv::fib_fec_key_t(7));
   fec.fec_type_is(orv::fib_fec_type_t::vxlan);
   fec.nexthop_group_name_is("g");
   orv::fib_via_t labelled(orv::ip_addr_t("10.0.0.2"), orv::intf_id_t("Ethernet2"));
   labelled.mpls_label_is(orv::mpls_label_t(100));
   fec.via_set(labelled);
   fec.via_set({orv::ip_addr_t("10.0.0.1"), orv::intf_id_t("Ethernet1")});
   EXPECT_EQ(convert(parsed<remote::FibFec>(kFec)), fec) << "in the order of the message";
   EXPECT_TRUE(same(convert(fec), parsed<remote::FibFec>(kFec)));
}

TEST(FibTest, whatWasLeftOutIsTheSdksDefault) {
   EXPECT_EQ(convert(remote::FibFec()), orv::fib_fec_t());
   EXPECT_EQ(convert(remote::FibFecVia()), orv::fib_via_t());
   EXPECT_EQ(convert(parsed<remote::FibFecVia>("mpls_label { }")).mpls_label(), orv::mpls_label_t());
   const auto message = convert(orv::fib_via_t());
   EXPECT_TRUE(message.has_intf());
   EXPECT_TRUE(message.mpls_label().has_label());
}

TEST(FibTest, aRouteIsRefusedInTheOrderOfItsFields) {
   expectFirstIsTold<remote::FibRoute>(
        parsed<remote::FibRoute>(kRoute), kConvert,
        {{[](auto& m) { m.mutable_route_key()->mutable_prefix()->set_network("12345"); },
          invalidArgument("bytes length 5 does not match IPv4(4) or IPv6(16)")},
         {[](auto& m) { m.set_route_type(static_cast<remote::FibRouteType>(27)); },
          unsupported("Unkown FIB route type 27")}});
}

TEST(FibTest, aFecIsRefusedInTheOrderOfItsFields) {
   const auto intf = refusalOf([] { orv::intf_id_t("not a name"); });
   const auto label = refusalOf([] { orv::mpls_label_t(1048577); });
   ASSERT_TRUE(intf && label);
   expectFirstIsTold<remote::FibFec>(
        parsed<remote::FibFec>(kFec), kConvert,
        {{[](auto& m) { m.set_fec_type(static_cast<remote::FibFecType>(8)); },
          unsupported("Invalid FIB FEC TYPE 8")},
         {[](auto& m) { m.mutable_via(0)->set_hop("12345"); },
          invalidArgument("bytes length 5 does not match IPv4(4) or IPv6(16)")},
         {[](auto& m) { m.mutable_via(0)->mutable_intf()->set_name("not a name"); }, *intf},
         {[](auto& m) { m.mutable_via(0)->mutable_mpls_label()->set_label(1048577); }, *label},
         {[](auto& m) { m.mutable_via(1)->set_hop("123456"); },
          invalidArgument("bytes length 6 does not match IPv4(4) or IPv6(16)")}});
}

TEST(FibTest, badMembersOfTheSdkDoNotLeave) {
   EXPECT_EQ(refusalOf([] { convert(orv::fib_via_t(orv::ip_addr_t(7, ""), {})); }),
             invalidArgument("Unknown address family: 7"));
   orv::fib_route_t route;
   route.route_type_is(static_cast<orv::fib_route_type_t>(27));
   EXPECT_EQ(refusalOf([&] { convert(route); }), unsupported("Unkown FIB route type 27"));
}

TEST(FibTest, roundTrips) {
   expectRoundTrips<orv::fib_route_t>(kConvert, kConvert);
   expectRoundTrips<orv::fib_fec_t>(kConvert, kConvert);
   expectRoundTrips<orv::fib_via_t>(kConvert, kConvert);
}

}  // namespace
