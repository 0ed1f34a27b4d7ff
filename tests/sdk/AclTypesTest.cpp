#include "orv/acl_types.h"

#include <gtest/gtest.h>

#include "Regular.h"

namespace {

using orv::acl_key_t;
using orv::acl_range_operator_t;
using orv::acl_type_t;
using orv::eth_addr_t;
using orv::ip_addr_mask_t;
using orv::ip_addr_t;

const eth_addr_t kMac("00:00:00:00:00:01");
const ip_addr_mask_t kAddr(ip_addr_t("10.0.0.1"), 8);

TEST(AclTypesTest, keys) {
   sdk_test::expectText(acl_key_t("a", acl_type_t::ipv4), "a (ipv4)");
   sdk_test::expectRising<acl_key_t>({acl_key_t(), acl_key_t("a", acl_type_t::ipv4),
                                      acl_key_t("a", acl_type_t::ipv6), acl_key_t("b", acl_type_t::none)});
   sdk_test::expectEveryFieldCounts<acl_key_t>(
        {"a", acl_type_t::ipv4},
        {[](auto& k) { k.acl_name_is("b"); }, [](auto& k) { k.acl_type_is(acl_type_t::eth); }});
}

TEST(AclTypesTest, specs) {
   sdk_test::expectEveryFieldCounts<orv::acl_ttl_spec_t>(
        {}, {[](auto& s) { s.oper_is(acl_range_operator_t::eq); }, [](auto& s) { s.ttl_is(1); }});
   sdk_test::expectEveryFieldCounts<orv::acl_port_spec_t>(
        {}, {[](auto& s) { s.oper_is(acl_range_operator_t::eq); }, [](auto& s) { s.ports_is({80}); },
             [](auto& s) {
                s.ports_is({80, 443});
             },
             [](auto& s) {
                s.ports_is({443, 80});
             }});
}

TEST(AclTypesTest, ethernetRules) {
   const orv::acl_rule_eth_t rule;
   EXPECT_EQ(rule.vlan_mask(), 0xfff);
   EXPECT_EQ(rule.eth_protocol(), 65536U) << "any";
   sdk_test::expectEveryFieldCounts<orv::acl_rule_eth_t>(
        rule, {[](auto& r) { r.action_is(orv::acl_action_t::permit); }, [](auto& r) { r.log_is(true); },
               [](auto& r) { r.vlan_is(1); }, [](auto& r) { r.vlan_mask_is(1); },
               [](auto& r) { r.inner_vlan_is(1); }, [](auto& r) { r.inner_vlan_mask_is(1); },
               [](auto& r) { r.source_addr_is(kMac); }, [](auto& r) { r.destination_addr_is(kMac); },
               [](auto& r) { r.source_mask_is(kMac); }, [](auto& r) { r.destination_mask_is(kMac); },
               [](auto& r) { r.eth_protocol_is(0x86dd); }});
}

TEST(AclTypesTest, ipRules) {
   const orv::acl_rule_ip_t rule;
   EXPECT_EQ(rule.icmp_type(), 65535) << "any";
   EXPECT_EQ(rule.icmp_code(), 65535) << "any";
   EXPECT_FALSE(rule.match_ip_priority());
   const orv::acl_port_spec_t port(acl_range_operator_t::eq, {80});
   sdk_test::expectEveryFieldCounts<orv::acl_rule_ip_t>(
        rule, {[](auto& r) { r.action_is(orv::acl_action_t::deny); },
               [](auto& r) { r.log_is(true); },
               [](auto& r) { r.vlan_is(1); },
               [](auto& r) { r.vlan_mask_is(1); },
               [](auto& r) { r.inner_vlan_is(1); },
               [](auto& r) { r.inner_vlan_mask_is(1); },
               [](auto& r) { r.ip_protocol_is(6); },
               [](auto& r) {
                  r.ttl_is({acl_range_operator_t::gt, 1});
               },
               [](auto& r) { r.source_addr_is(kAddr); },
               [](auto& r) { r.destination_addr_is(kAddr); },
               [&](auto& r) { r.source_port_is(port); },
               [&](auto& r) { r.destination_port_is(port); },
               [](auto& r) { r.nexthop_group_is("g"); },
               [](auto& r) { r.tcp_flags_is(1); },
               [](auto& r) { r.ip_type_is(orv::acl_ip_type_t::ipv4); },
               [](auto& r) { r.established_is(true); },
               [](auto& r) { r.icmp_type_is(1); },
               [](auto& r) { r.icmp_code_is(1); },
               [](auto& r) { r.priority_value_is(1); },
               [](auto& r) { r.priority_mask_is(1); },
               [](auto& r) { r.match_fragments_is(true); },
               [](auto& r) { r.match_ip_priority_is(true); }});
}

}  // namespace
