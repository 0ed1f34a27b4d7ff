#include "orv/policy_map_types.h"

#include <gtest/gtest.h>

#include "Regular.h"
#include "orv/class_map_types.h"

namespace {

using orv::acl_key_t;
using orv::acl_type_t;
using orv::ip_addr_t;
using orv::policy_action_type_t;
using orv::policy_feature_t;
using orv::policy_map_action_t;
using orv::policy_map_key_t;
using orv::policy_map_rule_t;

const policy_map_key_t kMapKey("p", policy_feature_t::pbr);

TEST(PolicyMapTypesTest, keys) {
   sdk_test::expectText(kMapKey, "p (pbr)");
   sdk_test::expectRising<policy_map_key_t>({policy_map_key_t(), kMapKey,
                                             policy_map_key_t("p", policy_feature_t::qos),
                                             policy_map_key_t("q", policy_feature_t::none)});
   sdk_test::expectEveryFieldCounts<policy_map_key_t>(
        kMapKey, {[](auto& k) { k.name_is("q"); }, [](auto& k) { k.feature_is(policy_feature_t::qos); }});
}

TEST(PolicyMapTypesTest, classMaps) {
   const orv::class_map_rule_t first(acl_key_t("a", acl_type_t::ipv4));
   const orv::class_map_rule_t second(acl_key_t("a", acl_type_t::ipv6));
   orv::class_map_t map(kMapKey);
   map.rule_set(2, second);
   map.rule_set(1, second);
   map.rule_set(1, first);
   ASSERT_EQ(map.rules().size(), 2U);
   EXPECT_EQ(map.rules().begin()->second, first);
   map.rule_del(9);
   sdk_test::expectEveryFieldCounts<orv::class_map_t>(
        map, {[](auto& m) { m.key_is(policy_map_key_t()); }, [](auto& m) { m.rule_del(2); },
              [&](auto& m) { m.rule_set(2, first); }, [&](auto& m) { m.rule_set(3, second); },
              [](auto& m) { m.rules_is({}); }});
   sdk_test::expectRising<orv::class_map_rule_t>({first, second});
}

TEST(PolicyMapTypesTest, everyFieldOfAnActionCountsInItsOrderToo) {
   const policy_map_action_t action(policy_action_type_t::drop);
   sdk_test::expectEveryFieldCounts<policy_map_action_t>(
        action, {[](auto& a) { a.action_type_is(policy_action_type_t::nexthop_group); },
                 [](auto& a) { a.nexthop_group_name_is("g"); },
                 [](auto& a) { a.nexthops_is({ip_addr_t("10.0.0.1")}); },
                 [](auto& a) {
                    a.nexthops_is({ip_addr_t("10.0.0.1"), ip_addr_t("10.0.0.2")});
                 },
                 [](auto& a) { a.vrf_is("g"); }, [](auto& a) { a.dscp_is(1); },
                 [](auto& a) { a.traffic_class_is(1); }});
   policy_map_action_t named = action;
   named.nexthop_group_name_is("g");
   policy_map_action_t hopped = named;
   hopped.nexthops_is({ip_addr_t("10.0.0.1")});
   sdk_test::expectRising<policy_map_action_t>({policy_map_action_t(), action, named, hopped,
                                                policy_map_action_t(policy_action_type_t::nexthop_group)});
}

TEST(PolicyMapTypesTest, theOrderOfItsNexthopsDoesNotMakeAnotherAction) {
   std::unordered_set<ip_addr_t> forward;
   std::unordered_set<ip_addr_t> backward(1);
   for (int i = 1; i <= 50; ++i) {
      forward.insert(ip_addr_t("10.0.0." + std::to_string(i)));
      backward.insert(ip_addr_t("10.0.0." + std::to_string(51 - i)));
   }
   policy_map_action_t a(policy_action_type_t::nexthop);
   a.nexthops_is(forward);
   policy_map_action_t b(policy_action_type_t::nexthop);
   b.nexthops_is(backward);
   EXPECT_EQ(a, b);
   EXPECT_EQ(a <=> b, std::strong_ordering::equal);
   EXPECT_EQ(a.hash(), b.hash());
   EXPECT_EQ(a.to_string(), b.to_string());
   b.vrf_is("v");
   EXPECT_LT(a, b);
   a.dscp_is(1);
   EXPECT_LT(a, b);
}

TEST(PolicyMapTypesTest, equalActionsOfARuleFoldIntoOne) {
   policy_map_rule_t rule(kMapKey);
   EXPECT_EQ(rule.policy_map_rule_type(), orv::policy_map_rule_type_t::class_map);
   rule.action_set(policy_map_action_t(policy_action_type_t::drop));
   rule.action_set(policy_map_action_t(policy_action_type_t::drop));
   rule.action_set(policy_map_action_t(policy_action_type_t::vrf));
   EXPECT_EQ(rule.actions().size(), 2U);
   rule.action_del(policy_map_action_t(policy_action_type_t::drop));
   EXPECT_EQ(rule.actions().size(), 1U);
   orv::acl_rule_ip_t raw;
   raw.ip_protocol_is(6);
   sdk_test::expectEveryFieldCounts<policy_map_rule_t>(
        rule, {[](auto& r) { r.class_map_key_is(policy_map_key_t()); },
               [](auto& r) { r.policy_map_rule_type_is(orv::policy_map_rule_type_t::raw); },
               [&](auto& r) { r.raw_rule_is(raw); }, [](auto& r) { r.actions_is({}); }});
}

TEST(PolicyMapTypesTest, policyMaps) {
   orv::policy_map_t map(kMapKey);
   map.rule_set(5, policy_map_rule_t(kMapKey));
   sdk_test::expectEveryFieldCounts<orv::policy_map_t>(
        map, {[](auto& m) { m.key_is(policy_map_key_t()); }, [](auto& m) { m.rule_del(5); },
              [](auto& m) { m.rule_set(5, policy_map_rule_t()); },
              [](auto& m) { m.rule_set(4, policy_map_rule_t(kMapKey)); }});
}

TEST(PolicyMapTypesTest, hardwareStatuses) {
   const orv::policy_map_hw_status_key_t in(orv::intf_id_t("Ethernet2"), orv::acl_direction_t::in);
   const orv::policy_map_hw_status_key_t out(orv::intf_id_t("Ethernet2"), orv::acl_direction_t::out);
   const orv::policy_map_hw_status_key_t later(orv::intf_id_t("Ethernet10"), orv::acl_direction_t::none);
   sdk_test::expectRising<orv::policy_map_hw_status_key_t>({in, out, later});
   sdk_test::expectEveryFieldCounts<orv::policy_map_hw_statuses_t>(
        orv::policy_map_hw_statuses_t(kMapKey),
        {[](auto& s) { s.key_is(policy_map_key_t()); },
         [&](auto& s) {
            s.intf_statuses_is({{in, orv::policy_map_status_t::success}});
         },
         [&](auto& s) {
            s.intf_statuses_is({{in, orv::policy_map_status_t::failure}});
         },
         [&](auto& s) {
            s.intf_statuses_is({{out, orv::policy_map_status_t::success}});
         }});
}

}  // namespace
