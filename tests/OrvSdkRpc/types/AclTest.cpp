#include "OrvSdkRpc/types/Acl.h"

#include "Conversions.h"
#include "EveryField.h"

namespace {

using namespace types_test;
using namespace OrvSdkRpc::types;
using namespace std::string_literals;
namespace remote = orv::remote;

Refusal badMac(std::size_t length) {
   return invalidArgument(fmt::format("bytes length {} do not match MAC(6)", length));
}

// A distinct value for every field.
const char* const kEthRule = R"(
   base { action: ACL_ACTION_DENY log: true }
   vlan: 1 vlan_mask: 2 inner_vlan: 3 inner_vlan_mask: 4
   source_addr: "\x00\x00\x00\x00\x00\x01" destination_addr: "\x00\x00\x00\x00\x00\x02"
   source_mask: "\xff\xff\xff\x00\x00\x00" destination_mask: "\xff\xff\x00\x00\x00\x00"
   eth_protocol: 4294967295)";

const char* const kIpRule = R"(
   base { action: ACL_ACTION_PERMIT log: true }
   vlan: 1 vlan_mask: 2 inner_vlan: 3 inner_vlan_mask: 4 ip_protocol: 6
   ttl { oper: ACL_RANGE_OPERATOR_GT ttl: 5 }
   source_addr { addr: "\x0a\x00\x00\x01" mask_length: 8 }
   destination_addr { addr: "\x0b\x00\x00\x01" mask_length: 9 }
   source_port { oper: ACL_RANGE_OPERATOR_EQ ports: 80 ports: 22 }
   destination_port { oper: ACL_RANGE_OPERATOR_RANGE ports: 1000 ports: 2000 }
   nexthop_group: "g" tcp_flags: 7 ip_type: ACL_IP_TYPE_IPV4 established: true
   icmp_type: 8 icmp_code: 9 priority_value: 10 priority_mask: 11
   match_fragments: true match_ip_priority: true)";

orv::acl_rule_eth_t ethRule() {
   orv::acl_rule_eth_t rule;
   rule.action_is(orv::acl_action_t::deny);
   rule.log_is(true);
   rule.vlan_is(1);
   rule.vlan_mask_is(2);
   rule.inner_vlan_is(3);
   rule.inner_vlan_mask_is(4);
   rule.source_addr_is(orv::eth_addr_t("00:00:00:00:00:01"));
   rule.destination_addr_is(orv::eth_addr_t("00:00:00:00:00:02"));
   rule.source_mask_is(orv::eth_addr_t("ff:ff:ff:00:00:00"));
   rule.destination_mask_is(orv::eth_addr_t("ff:ff:00:00:00:00"));
   rule.eth_protocol_is(4294967295U);
   return rule;
}

orv::acl_rule_ip_t ipRule() {
   orv::acl_rule_ip_t rule;
   rule.action_is(orv::acl_action_t::permit);
   rule.log_is(true);
   rule.vlan_is(1);
   rule.vlan_mask_is(2);
   rule.inner_vlan_is(3);
   rule.inner_vlan_mask_is(4);
   rule.ip_protocol_is(6);
   rule.ttl_is({orv::acl_range_operator_t::gt, 5});
   rule.source_addr_is({orv::ip_addr_t("10.0.0.1"), 8});
   rule.destination_addr_is({orv::ip_addr_t("11.0.0.1"), 9});
   rule.source_port_is({orv::acl_range_operator_t::eq, {80, 22}});
   rule.destination_port_is({orv::acl_range_operator_t::range, {1000, 2000}});
   rule.nexthop_group_is("g");
   rule.tcp_flags_is(7);
   rule.ip_type_is(orv::acl_ip_type_t::ipv4);
   rule.established_is(true);
   rule.icmp_type_is(8);
   rule.icmp_code_is(9);
   rule.priority_value_is(10);
   rule.priority_mask_is(11);
   rule.match_fragments_is(true);
   rule.match_ip_priority_is(true);
   return rule;
}

TEST(AclTest, everyFieldOfAnEthernetRule) {
   EXPECT_TRUE(setsEveryField(parsed<remote::AclRuleEth>(kEthRule)));
   EXPECT_EQ(convert(parsed<remote::AclRuleEth>(kEthRule)), ethRule());
   auto message = parsed<remote::AclRuleEth>(kEthRule);
   message.set_source_mask("\0\0\0\xff\xff\xff"s);
   message.set_destination_mask("\0\0\xff\xff\xff\xff"s);
   EXPECT_TRUE(same(convert(ethRule()), message)) << "masks are complemented on their way out";
}

TEST(AclTest, everyFieldOfAnIpRule) {
   EXPECT_TRUE(setsEveryField(parsed<remote::AclRuleIp>(kIpRule)));
   EXPECT_EQ(convert(parsed<remote::AclRuleIp>(kIpRule)), ipRule());
   EXPECT_TRUE(same(convert(ipRule()), parsed<remote::AclRuleIp>(kIpRule)));
}

TEST(AclTest, groupsThatAreLeftOutLeaveTheSdksDefault) {
   EXPECT_EQ(convert(remote::AclRuleEth()), orv::acl_rule_eth_t());
   EXPECT_EQ(convert(remote::AclRuleIp()), orv::acl_rule_ip_t());
   EXPECT_EQ(convert(remote::AclTtlSpec()), orv::acl_ttl_spec_t());
   EXPECT_EQ(convert(remote::AclPortSpec()), orv::acl_port_spec_t());
}

TEST(AclTest, groupsThatHoldZeroAreApplied) {
   const auto eth = convert(parsed<remote::AclRuleEth>("vlan_mask: 0 inner_vlan_mask: 0 eth_protocol: 0"));
   EXPECT_EQ(eth.vlan_mask(), 0);
   EXPECT_EQ(eth.inner_vlan_mask(), 0);
   EXPECT_EQ(eth.eth_protocol(), 0U);
   const auto ip =
        convert(parsed<remote::AclRuleIp>("vlan_mask: 0 inner_vlan_mask: 0 icmp_type: 0 icmp_code: 0"));
   EXPECT_EQ(ip.vlan_mask(), 0);
   EXPECT_EQ(ip.inner_vlan_mask(), 0);
   EXPECT_EQ(ip.icmp_type(), 0);
   EXPECT_EQ(ip.icmp_code(), 0);
   // A 0 that is set in the group is checked, and the IP type has no member 0.
   remote::AclRuleIp message;
   message.set_ip_type(remote::ACL_IP_TYPE_UNSPECIFIED);
   EXPECT_EQ(refusalOf([&] { convert(message); }), invalidArgument("Unknown value for Acl IP type: 0"));
}

TEST(AclTest, everyGroupIsSetOnTheWayOut) {
   const auto eth = convert(orv::acl_rule_eth_t());
   EXPECT_TRUE(eth.base().has_action() && eth.has_vlan_mask() && eth.has_inner_vlan_mask() &&
               eth.has_eth_protocol());
   const auto ip = convert(orv::acl_rule_ip_t());
   EXPECT_TRUE(ip.base().has_action() && ip.has_vlan_mask() && ip.has_inner_vlan_mask() && ip.has_ip_type() &&
               ip.has_icmp_type() && ip.has_icmp_code() && ip.ttl().has_oper() &&
               ip.source_port().has_oper() && ip.destination_port().has_oper());
   EXPECT_TRUE(ip.has_source_addr() && ip.has_destination_addr());
}

TEST(AclTest, anEthernetRuleIsRefusedInTheOrderOfItsFields) {
   expectFirstIsTold<remote::AclRuleEth>(
        parsed<remote::AclRuleEth>(kEthRule), kConvert,
        {{[](auto& m) { m.mutable_base()->set_action(static_cast<remote::AclAction>(3)); },
          invalidArgument("Unknown value for Acl action: 3")},
         {[](auto& m) { m.set_vlan(65536); }, invalidArgument("vlan 65536 is out of range")},
         {[](auto& m) { m.set_vlan_mask(65537); }, invalidArgument("vlan mask 65537 is out of range")},
         {[](auto& m) { m.set_inner_vlan(65538); }, invalidArgument("inner vlan 65538 is out of range")},
         {[](auto& m) { m.set_inner_vlan_mask(65539); },
          invalidArgument("inner vlan mask 65539 is out of range")},
         {[](auto& m) { m.set_source_addr("1"); }, badMac(1)},
         {[](auto& m) { m.set_destination_addr("12"); }, badMac(2)},
         {[](auto& m) { m.set_source_mask("123"); }, badMac(3)},
         {[](auto& m) { m.set_destination_mask("1234567"); }, badMac(7)}});
}

TEST(AclTest, anIpRuleIsRefusedInTheOrderOfItsFields) {
   const auto oper = static_cast<remote::AclRangeOperator>(7);
   const auto badOper = invalidArgument("Unknown value for Acl range operator: 7");
   expectFirstIsTold<remote::AclRuleIp>(
        parsed<remote::AclRuleIp>(kIpRule), kConvert,
        {{[](auto& m) { m.mutable_base()->set_action(static_cast<remote::AclAction>(-1)); },
          invalidArgument("Unknown value for Acl action: -1")},
         {[](auto& m) { m.set_vlan(65536); }, invalidArgument("vlan 65536 is out of range")},
         {[](auto& m) { m.set_vlan_mask(65537); }, invalidArgument("vlan mask 65537 is out of range")},
         {[](auto& m) { m.set_inner_vlan(65538); }, invalidArgument("inner vlan 65538 is out of range")},
         {[](auto& m) { m.set_inner_vlan_mask(65539); },
          invalidArgument("inner vlan mask 65539 is out of range")},
         {[](auto& m) { m.set_ip_protocol(256); }, invalidArgument("IP protocol 256 is out of range")},
         {[&](auto& m) { m.mutable_ttl()->set_oper(oper); }, badOper},
         {[](auto& m) { m.mutable_ttl()->set_ttl(257); }, invalidArgument("ttl 257 is out of range")},
         {[](auto& m) { m.mutable_source_addr()->set_addr("12345"); }, badAddress(5)},
         {[](auto& m) { m.mutable_destination_addr()->set_addr("123456"); },
          invalidArgument("bytes length 6 does not match IPv4(4) or IPv6(16)")},
         {[](auto& m) { m.mutable_source_port()->set_oper(static_cast<remote::AclRangeOperator>(8)); },
          invalidArgument("Unknown value for Acl range operator: 8")},
         {[](auto& m) { m.mutable_source_port()->add_ports(70001); },
          invalidArgument("port 70001 is out of range")},
         {[](auto& m) { m.mutable_destination_port()->set_oper(static_cast<remote::AclRangeOperator>(9)); },
          invalidArgument("Unknown value for Acl range operator: 9")},
         {[](auto& m) { m.mutable_destination_port()->add_ports(70002); },
          invalidArgument("port 70002 is out of range")},
         {[](auto& m) { m.set_tcp_flags(65540); }, invalidArgument("tcp flags 65540 is out of range")},
         {[](auto& m) { m.set_ip_type(static_cast<remote::AclIpType>(4)); },
          invalidArgument("Unknown value for Acl IP type: 4")},
         {[](auto& m) { m.set_icmp_type(65541); }, invalidArgument("icmp type 65541 is out of range")},
         {[](auto& m) { m.set_icmp_code(65542); }, invalidArgument("icmp code 65542 is out of range")},
         {[](auto& m) { m.set_priority_value(258); }, invalidArgument("priority value 258 is out of range")},
         {[](auto& m) { m.set_priority_mask(259); }, invalidArgument("priority mask 259 is out of range")}});
}

TEST(AclTest, ofSeveralPortsTheFirstBadOneIsTold) {
   EXPECT_EQ(refusalOf([] { convert(parsed<remote::AclPortSpec>("ports: 80 ports: 70000 ports: 80000")); }),
             invalidArgument("port 70000 is out of range"));
}

TEST(AclTest, badMembersOfTheSdkDoNotLeave) {
   orv::acl_rule_ip_t rule;
   rule.destination_addr_is({orv::ip_addr_t(7, ""), 8});
   EXPECT_EQ(refusalOf([&] { convert(rule); }), unsupported("Unknown address family on conversion from SDK"));
   rule.source_addr_is({});
   rule.ttl_is({static_cast<orv::acl_range_operator_t>(7), 0});
   EXPECT_EQ(refusalOf([&] { convert(rule); }), invalidArgument("Unknown value for Acl range operator: 7"));
   rule.action_is(static_cast<orv::acl_action_t>(3));
   EXPECT_EQ(refusalOf([&] { convert(rule); }), invalidArgument("Unknown value for Acl action: 3"));
}

TEST(AclTest, roundTrips) {
   expectRoundTrips<orv::acl_rule_ip_t>(kConvert, kConvert);
   expectRoundTrips<orv::acl_ttl_spec_t>(kConvert, kConvert);
   expectRoundTrips<orv::acl_port_spec_t>(kConvert, kConvert);
}

TEST(AclTest, anEthernetRuleThatIsReadAndWrittenBackHasItsMasksTurnedOver) {
   expectRoundTrips<orv::acl_rule_eth_t>(kConvert, kConvert, [](orv::acl_rule_eth_t rule) {
      const auto turned = [](const orv::eth_addr_t& mask) {
         std::array<std::uint8_t, 6> bytes{};
         for (std::size_t i = 0; i < bytes.size(); ++i)
            bytes[i] = static_cast<std::uint8_t>(mask.bytes()[i] ^ 0xff);
         return orv::eth_addr_t(bytes.data());
      };
      rule.source_mask_is(turned(rule.source_mask()));
      rule.destination_mask_is(turned(rule.destination_mask()));
      return rule;
   });
}

}  // namespace
