#include "softswitch/tables/traffic_policy_codec.h"

#include <gtest/gtest.h>

#include <string>

#include "testing/values/GeneratePolicy.h"

namespace softswitch {
namespace {

std::string bytesOf(const orv::traffic_policy_t& policy) {
   std::string bytes;
   store::Writer out(bytes);
   writePolicy(out, policy);
   return bytes;
}

TEST(TrafficPolicyCodec, policiesComeBackWithoutTheirKeys) {
   for (std::uint64_t seed = 0; seed < 200; ++seed) {
      orvtest::ValueSource source(seed);
      auto policy = orvtest::generate<orv::traffic_policy_t>(source);
      policy.key_is({});
      const auto bytes = bytesOf(policy);
      store::Reader in(bytes);
      EXPECT_EQ(readPolicy(in), policy) << "seed " << seed;
      in.end();
   }
}

TEST(TrafficPolicyCodec, equalPoliciesGiveEqualBytes) {
   orv::traffic_policy_action_t action(orv::traffic_policy_action_type_t::nexthop_group), same = action;
   action.nexthop_groups_is({"a", "b", "c", "d", "e"});
   action.nexthops_is({orv::ip_addr_t("10.0.0.1"), orv::ip_addr_t("10.0.0.2"), orv::ip_addr_t("::1")});
   // Other buckets, so another order of iteration.
   std::unordered_set<std::string> groups(64);
   for (const auto* name : {"e", "d", "c", "b", "a"})
      groups.insert(name);
   std::unordered_set<orv::ip_addr_t> nexthops(64);
   for (const auto* address : {"::1", "10.0.0.2", "10.0.0.1"})
      nexthops.emplace(address);
   same.nexthop_groups_is(groups);
   same.nexthops_is(nexthops);
   const auto with = [](const orv::traffic_policy_action_t& each) {
      orv::traffic_policy_rule_t rule(orv::traffic_policy_rule_type_t::ipv4, "rule");
      rule.action_set(each);
      orv::traffic_policy_t policy;
      policy.rule_set(1, rule);
      return bytesOf(policy);
   };
   EXPECT_EQ(with(action), with(same));
}

TEST(TrafficPolicyCodec, damageIsNoticed) {
   std::size_t checked = 0;
   for (std::uint64_t seed = 0; checked < 10; ++seed) {
      orvtest::ValueSource source(seed);
      const auto policy = orvtest::generate<orv::traffic_policy_t>(source);
      if (policy.rules().empty()) continue;
      ++checked;
      const auto bytes = bytesOf(policy);
      for (std::size_t length = 0; length < bytes.size(); ++length) {
         store::Reader in(std::string_view(bytes).substr(0, length));
         EXPECT_THROW(readPolicy(in), store::StoreError) << "cut to " << length << " of " << bytes.size();
      }
      const auto longer = bytes + '\0';
      store::Reader in(longer);
      readPolicy(in);
      EXPECT_THROW(in.end(), store::StoreError);
   }
}

TEST(TrafficPolicyCodec, unknownEnumeratorsAreDamage) {
   orv::traffic_policy_t policy;
   policy.rule_set(1, orv::traffic_policy_rule_t(orv::traffic_policy_rule_type_t::ipv6, "rule"));
   auto bytes = bytesOf(policy);
   // The type of the rule, behind the number of counters, the number of rules and a sequence number.
   ASSERT_EQ(bytes.at(6), 2);
   bytes[6] = 3;
   store::Reader in(bytes);
   EXPECT_THROW(readPolicy(in), store::StoreError);
}

}  // namespace
}  // namespace softswitch
