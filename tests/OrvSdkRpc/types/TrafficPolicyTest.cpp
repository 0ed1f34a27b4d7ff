#include "OrvSdkRpc/types/TrafficPolicy.h"

#include "Conversions.h"
#include "OrvSdkRpc/types/Addresses.h"
#include "testing/values/GeneratePolicy.h"

namespace {

using namespace types_test;
using namespace OrvSdkRpc::types;
namespace remote = orv::remote;

remote::TrafficPolicyAction drop() {
   return parsed<remote::TrafficPolicyAction>("action_type: TRAFFIC_POLICY_ACTION_TYPE_DROP");
}

TEST(TrafficPolicyTest, fieldsGoWhereTheyBelong) {
   const auto message = parsed<remote::TrafficPolicy>(R"(
      key: "p" named_counters: "c" named_counters: "c"
      rules { key: 70000 value {
         traffic_policy_rule_type: TRAFFIC_POLICY_RULE_TYPE_IPV6 match_rule_name: "m"
         raw_rule { filter_type: TRAFFIC_POLICY_RULE_TYPE_IPV4 }
         actions { action_type: TRAFFIC_POLICY_ACTION_TYPE_POLICE counter_name: "c" goto_class_name: "g"
                   goto_next: true dscp: 255 traffic_class: 254 vrf: "v" mirror_session: "s"
                   police_rate: 18446744073709551615 police_burst_size: 5000000000
                   police_rate_unit: POLICE_RATE_UNIT_PPS police_burst_unit: POLICE_BURST_UNIT_MBYTES
                   nexthop_groups: "n" nexthop_groups: "n" nexthops: "\012\000\000\001" } } })");
   const orv::traffic_policy_t policy = convert(message);
   EXPECT_EQ(policy.key(), "p");
   EXPECT_EQ(policy.named_counters(), std::unordered_set<std::string>{"c"});
   const orv::traffic_policy_rule_t& rule = policy.rules().at(70000);
   EXPECT_EQ(rule.traffic_policy_rule_type(), orv::traffic_policy_rule_type_t::ipv6);
   EXPECT_EQ(rule.match_rule_name(), "m");
   EXPECT_EQ(rule.raw_rule(), orv::tp_rule_filter_t(orv::traffic_policy_rule_type_t::ipv4));
   ASSERT_EQ(rule.actions().size(), 1U);
   const orv::traffic_policy_action_t& action = *rule.actions().begin();
   EXPECT_EQ(action.action_type(), orv::traffic_policy_action_type_t::police);
   EXPECT_EQ(action.counter_name(), "c");
   EXPECT_EQ(action.goto_class_name(), "g");
   EXPECT_TRUE(action.goto_next());
   EXPECT_EQ(action.dscp(), 255);
   EXPECT_EQ(action.traffic_class(), 254);
   EXPECT_EQ(action.vrf(), "v");
   EXPECT_EQ(action.mirror_session(), "s");
   EXPECT_EQ(action.police_rate(), 18446744073709551615U);
   EXPECT_EQ(action.police_burst_size(), 5000000000U);
   EXPECT_EQ(action.police_rate_unit(), orv::police_rate_unit_t::pps);
   EXPECT_EQ(action.police_burst_unit(), orv::police_burst_unit_t::mbytes);
   EXPECT_EQ(action.nexthop_groups(), std::unordered_set<std::string>{"n"});
   EXPECT_EQ(action.nexthops(), std::unordered_set<orv::ip_addr_t>{orv::ip_addr_t("10.0.0.1")});
}

TEST(TrafficPolicyTest, nothingGivenIsADefaultPolicy) {
   EXPECT_EQ(convert(remote::TrafficPolicy()), orv::traffic_policy_t());
   EXPECT_EQ(convert(remote::TrafficPolicyRule()), orv::traffic_policy_rule_t());
}

TEST(TrafficPolicyTest, anActionNeedsAType) {
   EXPECT_EQ(refusalOf([] { convert(remote::TrafficPolicyAction()); }),
             invalidArgument("Unknown value for traffic policy action type: 0"));
}

TEST(TrafficPolicyTest, aPoliceUnitLeftOutIsTheFirstAndComesBackAsThat) {
   const orv::traffic_policy_action_t action = convert(drop());
   EXPECT_EQ(action.police_rate_unit(), orv::police_rate_unit_t::bps);
   EXPECT_EQ(action.police_burst_unit(), orv::police_burst_unit_t::bytes);
   const remote::TrafficPolicyAction back = convert(action);
   EXPECT_EQ(back.police_rate_unit(), 1);
   EXPECT_EQ(back.police_burst_unit(), 1);
}

TEST(TrafficPolicyTest, equalActionsFoldIntoOne) {
   remote::TrafficPolicyRule rule;
   *rule.add_actions() = drop();
   *rule.add_actions() = drop();
   // The same unit, stated and left out.
   rule.add_actions()->CopyFrom(drop());
   rule.mutable_actions(2)->set_police_rate_unit(remote::POLICE_RATE_UNIT_BPS);
   EXPECT_EQ(convert(rule).actions().size(), 1U);
   EXPECT_EQ(convert(convert(rule)).actions_size(), 1);
}

TEST(TrafficPolicyTest, theFirstBadFieldIsTold) {
   expectFirstIsTold<remote::TrafficPolicyAction>(
        drop(), kConvert,
        {{[](auto& m) { m.set_action_type(static_cast<remote::TrafficPolicyActionType>(15)); },
          invalidArgument("Unknown value for traffic policy action type: 15")},
         {[](auto& m) { m.set_dscp(256); }, invalidArgument("dscp 256 is out of range")},
         {[](auto& m) { m.set_traffic_class(256); }, invalidArgument("traffic_class 256 is out of range")},
         {[](auto& m) { m.set_police_rate_unit(static_cast<remote::PoliceRateUnit>(5)); },
          invalidArgument("Unknown value for police rate unit: 5")},
         {[](auto& m) { m.set_police_burst_unit(static_cast<remote::PoliceBurstUnit>(4)); },
          invalidArgument("Unknown value for police burst unit: 4")},
         {[](auto& m) { m.add_nexthops("12345"); },
          invalidArgument("bytes length 5 does not match IPv4(4) or IPv6(16)")}});
   expectFirstIsTold<remote::TrafficPolicyRule>(
        {}, kConvert,
        {{[](auto& m) { m.set_traffic_policy_rule_type(static_cast<remote::TrafficPolicyRuleType>(3)); },
          invalidArgument("Unknown value for traffic policy rule type: 3")},
         {[](auto& m) {
             m.mutable_raw_rule()->set_filter_type(static_cast<remote::TrafficPolicyRuleType>(4));
          },
          invalidArgument("Unknown value for traffic policy rule type: 4")},
         {[](auto& m) { m.add_actions(); },
          invalidArgument("Unknown value for traffic policy action type: 0")}});
   const auto badRule = [](std::uint32_t key, int type) {
      return [key, type](remote::TrafficPolicy& m) {
         (*m.mutable_rules())[key].set_traffic_policy_rule_type(
              static_cast<remote::TrafficPolicyRuleType>(type));
      };
   };
   expectFirstIsTold<remote::TrafficPolicy>(
        {}, kConvert,
        {{badRule(1, 3), invalidArgument("Unknown value for traffic policy rule type: 3")},
         {badRule(10, 4), invalidArgument("Unknown value for traffic policy rule type: 4")},
         {badRule(4294967295U, 5), invalidArgument("Unknown value for traffic policy rule type: 5")}});
}

TEST(TrafficPolicyTest, setsGoOutInTheSdksOrder) {
   orvtest::ValueSource source(7);
   orv::traffic_policy_rule_t rule;
   for (int i = 0; i < 20; ++i)
      rule.action_set(orvtest::generate<orv::traffic_policy_action_t>(source));
   const remote::TrafficPolicyRule message = convert(rule);
   ASSERT_EQ(static_cast<std::size_t>(message.actions_size()), rule.actions().size());
   int i = 0;
   for (const orv::traffic_policy_action_t& action : rule.actions()) {
      const remote::TrafficPolicyAction& wire = message.actions(i++);
      EXPECT_TRUE(same(wire, convert(action)));
      EXPECT_EQ(std::vector<std::string>(wire.nexthop_groups().begin(), wire.nexthop_groups().end()),
                std::vector<std::string>(action.nexthop_groups().begin(), action.nexthop_groups().end()));
      std::vector<std::string> nexthops;
      for (const orv::ip_addr_t& nexthop : action.nexthops())
         nexthops.push_back(OrvSdkRpc::types::ip_addr_bytes(nexthop));
      EXPECT_EQ(std::vector<std::string>(wire.nexthops().begin(), wire.nexthops().end()), nexthops);
   }
}

TEST(TrafficPolicyTest, whatTheWireDoesNotKnowIsRefused) {
   orv::traffic_policy_action_t action;
   action.nexthops_is({orv::ip_addr_t(5, nullptr)});
   EXPECT_EQ(refusalOf([&] { convert(action); }), invalidArgument("Unknown address family: 5"));
   action.action_type_is(static_cast<orv::traffic_policy_action_type_t>(14));
   EXPECT_EQ(refusalOf([&] { convert(action); }),
             invalidArgument("Unknown value for traffic policy action type: 14"));
}

TEST(TrafficPolicyTest, roundTrips) {
   expectRoundTrips<orv::traffic_policy_t>(kConvert, kConvert);
   expectRoundTrips<orv::traffic_policy_rule_t>(kConvert, kConvert);
   expectRoundTrips<orv::traffic_policy_action_t>(kConvert, kConvert);
}

}  // namespace
