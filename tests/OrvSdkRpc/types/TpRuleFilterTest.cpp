#include "OrvSdkRpc/types/TpRuleFilter.h"

#include "Conversions.h"
#include "testing/values/GeneratePolicy.h"

namespace {

using namespace types_test;
using namespace OrvSdkRpc::types;
namespace remote = orv::remote;

TEST(TpRuleFilterTest, fieldsGoWhereTheyBelong) {
   const auto message = parsed<remote::TpRuleFilter>(R"(
      filter_type: TRAFFIC_POLICY_RULE_TYPE_IPV4
      src_addrs { addr: "\012\000\000\001" mask_length: 8 } src_addrs { addr: "\012\000\000\001" mask_length: 8 }
      src_addr_field_sets: "s" src_addr_field_sets: "s"
      dst_addrs { addr: "\012\000\000\002" mask_length: 300 }
      dst_addr_field_sets: "d"
      protocols { key { range_start: 6 range_end: 17 } value { ports { key: 70000 value {
         src_ports { range_start: 1 range_end: 2 } dst_ports { range_start: 3 range_end: 4 }
         src_port_field_sets: "sp" dst_port_field_sets: "dp" } } } })");
   const orv::tp_rule_filter_t filter = convert(message);
   const orv::ip_addr_mask_t source(orv::ip_addr_t("10.0.0.1"), 8);
   const orv::ip_addr_mask_t destination(orv::ip_addr_t("10.0.0.2"), 44);
   EXPECT_EQ(filter.filter_type(), orv::traffic_policy_rule_type_t::ipv4);
   EXPECT_EQ(filter.src_addrs(), std::set{source});
   EXPECT_EQ(filter.src_addr_field_sets(), std::unordered_set<std::string>{"s"});
   EXPECT_EQ(filter.dst_addrs(), std::set{destination});
   EXPECT_EQ(filter.dst_addr_field_sets(), std::unordered_set<std::string>{"d"});
   ASSERT_EQ(filter.protocols().size(), 1U);
   EXPECT_EQ(filter.protocols().begin()->first, orv::protocol_range_t(6, 17));
   const orv::port_field_t& ports = filter.protocols().begin()->second.ports().at(70000);
   EXPECT_EQ(ports.src_ports(), std::set{orv::port_range_t(1, 2)});
   EXPECT_EQ(ports.dst_ports(), std::set{orv::port_range_t(3, 4)});
   EXPECT_EQ(ports.src_port_field_sets(), std::unordered_set<std::string>{"sp"});
   EXPECT_EQ(ports.dst_port_field_sets(), std::unordered_set<std::string>{"dp"});
}

TEST(TpRuleFilterTest, nothingGivenIsADefaultFilter) {
   EXPECT_EQ(convert(remote::TpRuleFilter()), orv::tp_rule_filter_t());
   EXPECT_EQ(convert(remote::ProtocolField()), orv::protocol_field_t());
   EXPECT_EQ(convert(remote::PortField()), orv::port_field_t());
}

TEST(TpRuleFilterTest, rangesAreNotChecked) {
   const auto ports = parsed<remote::PortField>(R"(
      src_ports { range_start: 100 range_end: 1 } src_ports { range_start: 65536 range_end: 4294967295 })");
   EXPECT_EQ(convert(ports).src_ports(),
             (std::set{orv::port_range_t(100, 1), orv::port_range_t(65536, 4294967295U)}));
   const auto filter = parsed<remote::TpRuleFilter>("protocols { key { range_start: 256 range_end: 1 } }");
   EXPECT_EQ(convert(filter).protocols().begin()->first, orv::protocol_range_t(256, 1));
}

TEST(TpRuleFilterTest, rangesAndAddressesComeBackInRisingOrder) {
   const auto ports = parsed<remote::PortField>(R"(
      dst_ports { range_start: 443 range_end: 443 } dst_ports { range_start: 80 range_end: 80 }
      dst_ports { range_start: 443 range_end: 443 })");
   EXPECT_TRUE(same(convert(convert(ports)), parsed<remote::PortField>(R"(
      dst_ports { range_start: 80 range_end: 80 } dst_ports { range_start: 443 range_end: 443 })")));
   const auto filter = parsed<remote::TpRuleFilter>(R"(
      src_addrs { addr: "\012\000\000\002" mask_length: 32 } src_addrs { addr: "\012\000\000\001" mask_length: 32 })");
   EXPECT_EQ(convert(convert(filter)).src_addrs(0).addr(), std::string("\x0a\0\0\x01", 4));
}

TEST(TpRuleFilterTest, ofTwoEntriesForOneRangeOfProtocolsTheFirstStays) {
   const auto message = parsed<remote::TpRuleFilter>(R"(
      protocols { key { range_start: 6 range_end: 6 } value { ports { key: 1 value { } } } }
      protocols { key { range_start: 6 range_end: 6 } value { ports { key: 2 value { } } } })");
   const orv::tp_rule_filter_t filter = convert(message);
   ASSERT_EQ(filter.protocols().size(), 1U);
   EXPECT_TRUE(filter.protocols().begin()->second.ports().contains(1));
   EXPECT_FALSE(filter.protocols().begin()->second.ports().contains(2));
}

TEST(TpRuleFilterTest, theFirstBadFieldIsTold) {
   expectFirstIsTold<remote::TpRuleFilter>(
        {}, kConvert,
        {{[](auto& m) { m.set_filter_type(static_cast<remote::TrafficPolicyRuleType>(3)); },
          invalidArgument("Unknown value for traffic policy rule type: 3")},
         {[](auto& m) { m.add_src_addrs()->set_addr("12345"); },
          invalidArgument("bytes length 5 does not match IPv4(4) or IPv6(16)")},
         {[](auto& m) { m.add_dst_addrs()->set_addr("123456"); },
          invalidArgument("bytes length 6 does not match IPv4(4) or IPv6(16)")}});
}

TEST(TpRuleFilterTest, anAddressOfAnUnknownFamilyDoesNotGoOut) {
   orv::tp_rule_filter_t filter;
   filter.dst_addrs_is({orv::ip_addr_mask_t(orv::ip_addr_t(5, nullptr), 8)});
   EXPECT_EQ(refusalOf([&] { convert(filter); }),
             unsupported("Unknown address family on conversion from SDK"));
   filter.filter_type_is(static_cast<orv::traffic_policy_rule_type_t>(3));
   EXPECT_EQ(refusalOf([&] { convert(filter); }),
             invalidArgument("Unknown value for traffic policy rule type: 3"));
}

TEST(TpRuleFilterTest, roundTrips) {
   expectRoundTrips<orv::tp_rule_filter_t>(kConvert, kConvert);
   expectRoundTrips<orv::protocol_field_t>(kConvert, kConvert);
   expectRoundTrips<orv::port_field_t>(kConvert, kConvert);
}

}  // namespace
