#include "orv/traffic_policy_types.h"

#include <gtest/gtest.h>

#include "Regular.h"

namespace {

using orv::ip_addr_t;
using orv::police_burst_unit_t;
using orv::police_rate_unit_t;
using orv::traffic_policy_action_t;
using orv::traffic_policy_action_type_t;
using orv::traffic_policy_rule_t;
using orv::traffic_policy_rule_type_t;
using orv::traffic_policy_t;

TEST(TrafficPolicyTypesTest, enumeratorsHaveNames) {
   sdk_test::expectNamed<traffic_policy_action_type_t>(13);
   sdk_test::expectNamed<orv::traffic_policy_direction_t>(1);
   sdk_test::expectNamed<police_rate_unit_t>(3);
   sdk_test::expectNamed<police_burst_unit_t>(2);
   sdk_test::expectText(traffic_policy_action_type_t::goto_class, "goto-class");
}

// One change per field, in the order of the fields, which decides how two values compare.
const std::vector<std::function<void(traffic_policy_action_t&)>> kChanges = {
     [](auto& a) { a.action_type_is(traffic_policy_action_type_t::drop); },
     [](auto& a) { a.counter_name_is("a"); },
     [](auto& a) { a.goto_class_name_is("a"); },
     [](auto& a) { a.goto_next_is(true); },
     [](auto& a) { a.dscp_is(1); },
     [](auto& a) { a.traffic_class_is(1); },
     [](auto& a) { a.vrf_is("a"); },
     [](auto& a) { a.mirror_session_is("a"); },
     [](auto& a) { a.police_rate_is(1); },
     [](auto& a) { a.police_burst_size_is(1); },
     [](auto& a) { a.police_rate_unit_is(police_rate_unit_t::kbps); },
     [](auto& a) { a.police_burst_unit_is(police_burst_unit_t::kbytes); },
     [](auto& a) { a.nexthop_groups_is({"a"}); },
     [](auto& a) {
        a.nexthop_groups_is({"a", "b"});
     },
     [](auto& a) { a.nexthops_is({ip_addr_t("10.0.0.1")}); },
     [](auto& a) {
        a.nexthops_is({ip_addr_t("10.0.0.1"), ip_addr_t("10.0.0.2")});
     }};

TEST(TrafficPolicyTypesTest, everyFieldOfAnActionCounts) {
   sdk_test::expectEveryFieldCounts<traffic_policy_action_t>({}, kChanges);
}

TEST(TrafficPolicyTypesTest, everyFieldOfAnActionCountsInItsOrder) {
   const traffic_policy_action_t plain;
   for (std::size_t i = 0; i < kChanges.size(); ++i) {
      SCOPED_TRACE(testing::Message() << "change " << i);
      traffic_policy_action_t changed;
      kChanges[i](changed);
      EXPECT_LT(plain, changed);
      EXPECT_GT(changed, plain);
      EXPECT_FALSE(changed < changed);
   }
}

TEST(TrafficPolicyTypesTest, equalActionsAreOneWhateverTheOrderOfTheirSets) {
   std::unordered_set<ip_addr_t> forward;
   std::unordered_set<ip_addr_t> backward(1);
   for (int i = 1; i <= 50; ++i) {
      forward.insert(ip_addr_t("10.0.0." + std::to_string(i)));
      backward.insert(ip_addr_t("10.0.0." + std::to_string(51 - i)));
   }
   traffic_policy_action_t a(traffic_policy_action_type_t::nexthop);
   a.nexthops_is(forward);
   traffic_policy_action_t b(traffic_policy_action_type_t::nexthop);
   b.nexthops_is(backward);
   EXPECT_EQ(a, b);
   EXPECT_EQ(a.hash(), b.hash());
   EXPECT_EQ(a.to_string(), b.to_string());
   traffic_policy_rule_t rule;
   rule.action_set(a);
   rule.action_set(b);
   EXPECT_EQ(rule.actions().size(), 1U);
   rule.action_del(b);
   EXPECT_TRUE(rule.actions().empty());
}

TEST(TrafficPolicyTypesTest, rules) {
   orv::tp_rule_filter_t filter;
   filter.src_addr_field_sets_is({"a"});
   sdk_test::expectEveryFieldCounts<traffic_policy_rule_t>(
        traffic_policy_rule_t(traffic_policy_rule_type_t::ipv4, "r"),
        {[](auto& r) { r.traffic_policy_rule_type_is(traffic_policy_rule_type_t::ipv6); },
         [](auto& r) { r.match_rule_name_is("s"); }, [&](auto& r) { r.raw_rule_is(filter); },
         [](auto& r) { r.action_set(traffic_policy_action_t(traffic_policy_action_type_t::drop)); }});
}

TEST(TrafficPolicyTypesTest, policies) {
   const traffic_policy_rule_t rule(traffic_policy_rule_type_t::ipv4, "r");
   traffic_policy_t policy("p");
   policy.rule_set(5, rule);
   policy.rule_del(9);
   EXPECT_EQ(policy.rules().size(), 1U);
   sdk_test::expectEveryFieldCounts<traffic_policy_t>(
        policy, {[](auto& p) { p.key_is("q"); }, [](auto& p) { p.named_counters_is({"a"}); },
                 [](auto& p) {
                    p.named_counters_is({"a", "b"});
                 },
                 [](auto& p) { p.rule_del(5); }, [](auto& p) { p.rule_set(5, traffic_policy_rule_t()); },
                 [&](auto& p) { p.rule_set(4, rule); }});
}

}  // namespace
