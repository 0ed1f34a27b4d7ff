#include "softswitch/managers/acl_rules.h"

#include <gtest/gtest.h>

#include "orv/error.h"

namespace softswitch {
namespace {

using orv::acl_key_t;
using orv::acl_range_operator_t;
using orv::acl_rule_eth_t;
using orv::acl_rule_ip_t;
using orv::acl_type_t;
using orv::ip_addr_t;

const acl_key_t v4{"edge", acl_type_t::ipv4};
const acl_key_t v6{"edge", acl_type_t::ipv6};
const acl_key_t eth{"edge", acl_type_t::eth};

std::string refusalOfRule(const acl_key_t& key, const AclRule& rule) {
   try {
      checkAclRule(key, 7, rule);
   } catch (const orv::error& e) {
      const std::string words = e.what();
      const auto colon = words.find(" rule 7: ");
      return colon == std::string::npos ? words : words.substr(colon + 9);
   }
   return "";
}

template <typename Change>
std::string changed(const acl_key_t& key, Change change) {
   acl_rule_ip_t rule;
   change(rule);
   return refusalOfRule(key, rule);
}

TEST(AclRules, defaultRulesFitTheirLists) {
   EXPECT_EQ(refusalOfRule(v4, acl_rule_ip_t()), "");
   EXPECT_EQ(refusalOfRule(v6, acl_rule_ip_t()), "");
   EXPECT_EQ(refusalOfRule(eth, acl_rule_eth_t()), "");
}

TEST(AclRules, refuseKeysThatNameNoList) {
   EXPECT_EQ(refusalOfRule({"", acl_type_t::ipv4}, acl_rule_ip_t()), "ACL name is empty, expected a name");
   EXPECT_NE(refusalOfRule({"edge", acl_type_t::none}, acl_rule_ip_t()).find("has type none"),
             std::string::npos);
}

TEST(AclRules, refuseTheWrongKindForTheList) {
   EXPECT_EQ(refusalOfRule(eth, acl_rule_ip_t()),
             "an IP rule in a list of type eth, expected type ipv4 or ipv6");
   EXPECT_EQ(refusalOfRule({"edge", acl_type_t::mpls}, acl_rule_ip_t()),
             "an IP rule in a list of type mpls, expected type ipv4 or ipv6");
   EXPECT_EQ(refusalOfRule(v4, acl_rule_eth_t()),
             "an Ethernet rule in a list of type ipv4, expected type eth");
}

TEST(AclRules, refuseAGroupNameThatNoGroupCanHave) {
   EXPECT_EQ(changed(v4, [](auto& r) { r.nexthop_group_is(std::string(255, 'g')); }), "");
   EXPECT_EQ(changed(v4, [](auto& r) { r.nexthop_group_is(std::string(256, 'g')); }),
             "nexthop group name of 256 bytes, expected at most 255");
   EXPECT_EQ(changed(v6, [](auto& r) { r.nexthop_group_is("\xff"); }),
             "nexthop group name '\\xff' is not UTF-8");
}

TEST(AclRules, refuseNumbersOutOfRange) {
   EXPECT_EQ(changed(v4, [](auto& r) { r.vlan_is(4095); }), "");
   EXPECT_EQ(changed(v4, [](auto& r) { r.vlan_is(4096); }), "vlan 4096 is out of range, expected 0 to 4095");
   EXPECT_EQ(changed(v4, [](auto& r) { r.vlan_mask_is(4096); }),
             "vlan mask 4096 is out of range, expected 0 to 4095");
   EXPECT_EQ(changed(v4, [](auto& r) { r.inner_vlan_is(5000); }),
             "inner vlan 5000 is out of range, expected 0 to 4095");
   EXPECT_EQ(changed(v4, [](auto& r) { r.inner_vlan_mask_is(65535); }),
             "inner vlan mask 65535 is out of range, expected 0 to 4095");
   EXPECT_EQ(changed(v4, [](auto& r) { r.tcp_flags_is(0x200); }),
             "tcp flags 512 is out of range, expected 0 to 511");
   EXPECT_EQ(changed(v4, [](auto& r) { r.icmp_type_is(255); }), "");
   EXPECT_EQ(changed(v4, [](auto& r) { r.icmp_type_is(256); }),
             "icmp type 256 is out of range, expected 0 to 255, or 65535 for any");
   EXPECT_EQ(changed(v4, [](auto& r) { r.icmp_code_is(65534); }),
             "icmp code 65534 is out of range, expected 0 to 255, or 65535 for any");
   acl_rule_eth_t ethRule;
   ethRule.eth_protocol_is(65537);
   EXPECT_EQ(refusalOfRule(eth, ethRule), "eth protocol 65537 is out of range, expected 0 to 65536");
}

TEST(AclRules, refuseAddressesThatDoNotFit) {
   EXPECT_EQ(changed(v4, [](auto& r) { r.source_addr_is({ip_addr_t("10.0.0.1"), 32}); }), "");
   EXPECT_EQ(changed(v6, [](auto& r) { r.source_addr_is({ip_addr_t("2001:db8::1"), 128}); }), "");
   EXPECT_EQ(changed(v4,
                     [](auto& r) {
                        r.source_addr_is({ip_addr_t("10.0.0.1"), 33});
                     }),
             "source 10.0.0.1 has mask length 33, expected 0 to 32");
   EXPECT_EQ(changed(v4,
                     [](auto& r) {
                        r.destination_addr_is({ip_addr_t("2001:db8::1"), 64});
                     }),
             "destination 2001:db8::1/64 has family 6, expected 4");
   EXPECT_EQ(changed(v6,
                     [](auto& r) {
                        r.destination_addr_is({ip_addr_t("10.0.0.1"), 8});
                     }),
             "destination 10.0.0.1/8 has family 4, expected 6");
   EXPECT_EQ(changed(v4,
                     [](auto& r) {
                        r.source_addr_is({ip_addr_t(), 8});
                     }),
             "source has mask length 8 without an address, expected 0");
}

TEST(AclRules, refusePortsThatDoNotFitTheirOperator) {
   const auto ports = [](acl_range_operator_t oper, std::vector<std::uint16_t> numbers) {
      return changed(v4, [&](auto& r) { r.source_port_is({oper, numbers}); });
   };
   EXPECT_EQ(ports(acl_range_operator_t::eq, {80}), "");
   EXPECT_EQ(ports(acl_range_operator_t::eq, std::vector<std::uint16_t>(10, 1)), "");
   EXPECT_EQ(ports(acl_range_operator_t::range, {80, 80}), "");
   EXPECT_EQ(ports(acl_range_operator_t::eq, {}),
             "source port has 0 numbers for operator eq, expected 1 to 10");
   EXPECT_EQ(ports(acl_range_operator_t::neq, std::vector<std::uint16_t>(11, 1)),
             "source port has 11 numbers for operator neq, expected 1 to 10");
   EXPECT_EQ(ports(acl_range_operator_t::gt, {1, 2}),
             "source port has 2 numbers for operator gt, expected 1");
   EXPECT_EQ(ports(acl_range_operator_t::range, {1}),
             "source port has 1 numbers for operator range, expected 2");
   EXPECT_EQ(ports(acl_range_operator_t::range, {2, 1}),
             "source port ranges from 2 to 1, expected an ascending range");
   EXPECT_EQ(ports(acl_range_operator_t::any, {1}), "source port has 1 numbers for operator any, expected 0");
   EXPECT_EQ(changed(v4,
                     [](auto& r) {
                        r.ttl_is({acl_range_operator_t::range, 1});
                     }),
             "ttl has operator range, expected eq, gt, lt, neq or any");
}

class Matching : public testing::Test {
protected:
   template <typename Change>
   bool takes(Change change) {
      acl_rule_ip_t rule;
      change(rule);
      return matches(rule, packet_);
   }
   const AclPacket packet_ = aclPacket(ip_addr_t("10.1.2.3"), ip_addr_t("192.0.2.1"), 6, 40000, 443);
};

TEST_F(Matching, anEmptyRuleTakesEverything) {
   EXPECT_TRUE(matches(acl_rule_ip_t(), packet_));
}

TEST_F(Matching, addressesUnderTheirMask) {
   EXPECT_TRUE(takes([](auto& r) { r.source_addr_is({ip_addr_t("10.1.2.3"), 32}); }));
   EXPECT_TRUE(takes([](auto& r) { r.source_addr_is({ip_addr_t("10.1.3.99"), 23}); }));
   EXPECT_FALSE(takes([](auto& r) { r.source_addr_is({ip_addr_t("10.1.3.99"), 24}); }));
   EXPECT_TRUE(takes([](auto& r) { r.source_addr_is({ip_addr_t("1.1.1.1"), 0}); }));
   EXPECT_FALSE(takes([](auto& r) { r.destination_addr_is({ip_addr_t("192.0.2.0"), 32}); }));
   EXPECT_FALSE(takes([](auto& r) { r.destination_addr_is({ip_addr_t("::"), 0}); }));
}

TEST_F(Matching, protocolAndPorts) {
   EXPECT_TRUE(takes([](auto& r) { r.ip_protocol_is(6); }));
   EXPECT_FALSE(takes([](auto& r) { r.ip_protocol_is(17); }));
   const auto port = [this](acl_range_operator_t oper, std::vector<std::uint16_t> numbers) {
      return takes([&](auto& r) { r.destination_port_is({oper, numbers}); });
   };
   EXPECT_TRUE(port(acl_range_operator_t::eq, {80, 443}));
   EXPECT_FALSE(port(acl_range_operator_t::neq, {80, 443}));
   EXPECT_TRUE(port(acl_range_operator_t::neq, {80}));
   EXPECT_FALSE(port(acl_range_operator_t::gt, {443}));
   EXPECT_TRUE(port(acl_range_operator_t::gt, {442}));
   EXPECT_FALSE(port(acl_range_operator_t::lt, {443}));
   EXPECT_TRUE(port(acl_range_operator_t::range, {443, 443}));
   EXPECT_FALSE(port(acl_range_operator_t::range, {444, 500}));
}

TEST_F(Matching, whatThePacketDoesNotTellIsNotTaken) {
   EXPECT_FALSE(takes([](auto& r) { r.vlan_is(5); }));
   EXPECT_FALSE(takes([](auto& r) { r.nexthop_group_is("g"); }));
   EXPECT_FALSE(takes([](auto& r) { r.match_ip_priority_is(true); }));
   EXPECT_FALSE(takes([](auto& r) { r.established_is(true); }));
   EXPECT_FALSE(takes([](auto& r) { r.ip_type_is(orv::acl_ip_type_t::ipv6); }));
   EXPECT_TRUE(takes([](auto& r) { r.ip_type_is(orv::acl_ip_type_t::ipv4); }));
}

TEST(AclPacketTest, refusesWhatIsNoPacket) {
   const ip_addr_t a("10.0.0.1"), b("2001:db8::1");
   EXPECT_THROW(aclPacket(a, b, 6, 1, 1), orv::invalid_argument_error);
   EXPECT_THROW(aclPacket({}, {}, 6, 1, 1), orv::invalid_argument_error);
   EXPECT_THROW(aclPacket(a, a, 256, 1, 1), orv::invalid_range_error);
   EXPECT_THROW(aclPacket(a, a, 6, 65536, 1), orv::invalid_range_error);
   EXPECT_THROW(aclPacket(a, a, 6, 1, 65536), orv::invalid_range_error);
}

}  // namespace
}  // namespace softswitch
