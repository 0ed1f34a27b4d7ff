// Rules of a policy map that are not redirects: what a restart does with them, and what it leaves of them.
#include "RedirectSwitch.h"

namespace orvtest {
namespace {

// A kind of rule that is not a redirect.
struct Kind {
   const char* name;
   // Whether a list of the rule stays, though nothing refers to it.
   bool listStays;
};
constexpr std::array kinds{
     Kind{"two-redirects", false},       Kind{"no-redirect", false},         Kind{"no-class-map", true},
     Kind{"two-lists", false},           Kind{"two-matches", false},         Kind{"no-match", false},
     Kind{"matches-of-families", false}, Kind{"class-without-lists", false}, Kind{"lists-missing", false}};

// A policy map with one rule of each kind that is not a redirect, in any order, and redirects between them.
class BadRules : public Redirects {
protected:
   static constexpr std::uint32_t dscpOfKind(std::size_t kind) {
      return 10 + static_cast<std::uint32_t>(kind);
   }

   static orv::acl_rule_ip_t aclRule(const std::string& group, unsigned value) {
      orv::acl_rule_ip_t rule;
      rule.action_is(orv::acl_action_t::permit);
      rule.nexthop_group_is(group);
      rule.priority_value_is(static_cast<std::uint8_t>(value));
      rule.priority_mask_is(0xff);
      rule.match_ip_priority_is(true);
      return rule;
   }
   void classMap(const std::string& name, const std::vector<orv::acl_key_t>& lists) {
      orv::class_map_t map(pbr(name));
      std::uint32_t sequence = 0;
      for (const auto& each : lists)
         map.rule_set(++sequence, orv::class_map_rule_t(each));
      sw().classMaps().class_map_is(map);
   }
   static orv::policy_map_rule_t policyRule(const std::string& name, const std::vector<std::string>& groups) {
      orv::policy_map_rule_t rule(pbr(name));
      for (const auto& group : groups) {
         orv::policy_map_action_t action(orv::policy_action_type_t::nexthop_group);
         action.nexthop_group_name_is(group);
         rule.action_set(action);
      }
      return rule;
   }
   // REQUIRES: the caller holds the SDK's lock.
   orv::policy_map_rule_t bad(std::size_t kind) {
      const std::string name = kinds[kind].name;
      const unsigned dscp = dscpOfKind(kind);
      auto& acls = sw().acls();
      const auto sound = [&] { acls.acl_rule_set(v4(name), 1, aclRule("gold", dscp)); };
      switch (kind) {
         case 0:
            sound();
            classMap(name, {v4(name), v6(name)});
            return policyRule(name, {"low", "other"});
         case 1:
            sound();
            classMap(name, {v4(name), v6(name)});
            return policyRule(name, {});
         case 2:
            sound();
            return policyRule(name, {"low"});
         case 3:
            sound();
            acls.acl_rule_set(v4("second"), 1, aclRule("gold", dscp));
            classMap(name, {v4(name), v4("second")});
            return policyRule(name, {"low"});
         case 4:
            sound();
            acls.acl_rule_set(v4(name), 2, aclRule("other", dscp));
            classMap(name, {v4(name), v6(name)});
            return policyRule(name, {"low"});
         case 5:
            acls.acl_rule_set(v4(name), 1, aclRule("", dscp));
            classMap(name, {v4(name), v6(name)});
            return policyRule(name, {"low"});
         case 6:
            sound();
            acls.acl_rule_set(v6(name), 1, aclRule("other", dscp << 2));
            classMap(name, {v4(name), v6(name)});
            return policyRule(name, {"low"});
         case 7:
            classMap(name, {});
            return policyRule(name, {"low"});
         default:
            classMap(name, {v4(name), v6(name)});
            return policyRule(name, {"low"});
      }
   }
   // The redirect of gold to `to`. REQUIRES: the caller holds the SDK's lock.
   orv::policy_map_rule_t good(const std::string& to, unsigned dscp) {
      const std::string name = OrvSdkRpc::getCbfUniqueName("gold", to);
      sw().acls().acl_rule_set(v4(name), 1, aclRule("gold", dscp));
      sw().acls().acl_rule_set(v6(name), 1, aclRule("gold", dscp << 2));
      classMap(name, {v4(name), v6(name)});
      return policyRule(name, {to});
   }

   // Writes a policy map with rules of these kinds, in this order, at sequences 10, 20 and so on. A redirect
   // of DSCP 1 to low comes first; one of DSCP 2 to other comes after the rule with index `at`.
   void write(const std::vector<std::size_t>& order, std::size_t at) {
      const orv::sdk_scoped_lock lock;
      orv::policy_map_t map(pbr(policyName));
      map.rule_set(5, good("low", 1));
      map.rule_set(static_cast<std::uint32_t>(10 * at + 15), good("other", 2));
      std::uint32_t sequence = 0;
      for (const auto kind : order)
         map.rule_set(sequence += 10, bad(kind));
      sw().acls().acl_commit();
      sw().policyMaps().policy_map_is(map);
   }
   void wipe() {
      const orv::sdk_scoped_lock lock;
      sw().policyMaps().policy_map_del(pbr(policyName));
      for (auto map = sw().classMaps().class_map_iter(orv::policy_feature_t::pbr); map; ++map)
         sw().classMaps().class_map_del(*map);
      for (auto each = sw().acls().acl_iter(); each; ++each)
         sw().acls().acl_del(*each);
      sw().acls().acl_commit();
   }

   // Checks the state after the init of an agent that is new to the switch.
   void expectRestored(const std::vector<std::size_t>& order, std::size_t at) {
      const auto second = static_cast<std::uint32_t>(10 * at + 15);
      const auto last = std::max(second, static_cast<std::uint32_t>(10 * order.size()));
      EXPECT_EQ(agent_->known(), 2u);
      EXPECT_EQ(agent_->sequence("gold", "low"), 5u);
      EXPECT_EQ(agent_->sequence("gold", "other"), second);
      for (const auto kind : order) {
         const std::string name = kinds[kind].name;
         EXPECT_FALSE(hasClassMap(name)) << name;
         EXPECT_EQ(hasList(v4(name)), kinds[kind].listStays) << name;
         EXPECT_FALSE(hasList(v6(name))) << name;
         EXPECT_EQ(groupOf(dscpOfKind(kind)), "gold") << name;
      }
      EXPECT_FALSE(hasList(v4("second")));
      EXPECT_EQ(pendingEdits(), 0u);
      for (const auto& [to, dscp] : {std::pair("low", 1u), std::pair("other", 2u)}) {
         const std::string name = OrvSdkRpc::getCbfUniqueName("gold", to);
         EXPECT_TRUE(hasClassMap(name));
         EXPECT_THAT(list(v4(name)), ElementsAre(dscp));
         EXPECT_THAT(list(v6(name)), ElementsAre(dscp));
         EXPECT_EQ(groupOf(dscp), to);
      }
      // The bad rules themselves stay until the next push of the policy map.
      EXPECT_EQ(policy().rules().size(), order.size() + 2);
      EXPECT_EQ(agent_->add("gold", "third", {3}), pb::RPC_STATUS_OK);
      EXPECT_EQ(agent_->sequence("gold", "third"), last + 1);
      EXPECT_THAT(sequences(), ElementsAre(5u, second, last + 1));
      // The override table is not restored: a redirect enters it when it is sent again.
      EXPECT_EQ(agent_->add("gold", "low", {1}, {1}), pb::RPC_STATUS_OK);
      EXPECT_THAT(overrides(), ElementsAre(Pair("gold>low", Dscps{1}), Pair("gold>third", Dscps{3})));
      EXPECT_THAT(sequences(), ElementsAre(5u, second, last + 1));
   }
   void clearOverrides() {
      const orv::sdk_scoped_lock lock;
      const auto all = mounted()->nhgOverride();
      for (const auto& [key, dscps] : all)
         mounted()->nhgOverrideDel(key);
   }
};

TEST_F(BadRules, goAloneInEveryOrderOfTheSixComplaints) {
   std::vector<std::size_t> order{0, 1, 2, 3, 4, 5};
   std::size_t count = 0;
   do {
      SCOPED_TRACE(testing::PrintToString(order));
      const std::size_t at = count++ % (order.size() + 1);
      write(order, at);
      startAgent();
      EXPECT_TRUE(agent_->init());
      expectRestored(order, at);
      wipe();
      clearOverrides();
   } while (!HasFailure() && std::next_permutation(order.begin(), order.end()));
   EXPECT_EQ(count, 720u);
}

TEST_F(BadRules, goAloneInAnyOrderOfAllKindsAfterARestartOfTheSwitch) {
   for (unsigned seed = 0; seed < 6; ++seed) {
      SCOPED_TRACE(seed);
      std::mt19937 random(seed);
      std::vector<std::size_t> order(kinds.size());
      std::iota(order.begin(), order.end(), std::size_t{0});
      std::shuffle(order.begin(), order.end(), random);
      const std::size_t at = random() % (order.size() + 1);
      write(order, at);
      stopSwitch();
      startSwitch();
      EXPECT_THAT(overrides(), IsEmpty());
      EXPECT_TRUE(agent_->init());
      awaitGroup(0, "gold");
      awaitGroup(1, "low");
      awaitGroup(2, "other");
      expectRestored(order, at);
      wipe();
   }
}

TEST_F(BadRules, aPolicyMapOfBadRulesAloneIsLeftEmptyByTheNextPush) {
   {
      const orv::sdk_scoped_lock lock;
      orv::policy_map_t map(pbr(policyName));
      for (std::size_t kind = 0; kind < kinds.size(); ++kind)
         map.rule_set(static_cast<std::uint32_t>(kind + 1), bad(kind));
      sw().acls().acl_commit();
      sw().policyMaps().policy_map_is(map);
   }
   startAgent();
   // init() returns true since there were rules, though none is left.
   EXPECT_TRUE(agent_->init());
   EXPECT_EQ(agent_->known(), 0u);
   agent_->resync(Phase::RESYNC_START);
   agent_->resync(Phase::RESYNC_END);
   EXPECT_EQ(policy().rules().size(), kinds.size());
   agent_->route(1, "gold");
   EXPECT_EQ(agent_->add("gold", "low", {1}), pb::RPC_STATUS_OK);
   EXPECT_THAT(sequences(), ElementsAre(static_cast<std::uint32_t>(kinds.size() + 1)));
}

using BadRulesDeathTest = BadRules;

TEST_F(BadRulesDeathTest, aListOfAnotherKindEndsTheProcessAndLosesNothing) {
   GTEST_FLAG_SET(death_test_style, "threadsafe");
   write({}, 0);
   {
      const orv::sdk_scoped_lock lock;
      classMap("odd", {v4("odd"), orv::acl_key_t("odd", orv::acl_type_t::mpls)});
      auto map = sw().policyMaps().policy_map(pbr(policyName));
      map.rule_set(10, policyRule("odd", {"low"}));
      sw().policyMaps().policy_map_is(map);
   }
   startAgent();
   EXPECT_DEATH(agent_->init(), "unexpected acl-type");
   EXPECT_THAT(sequences(), ElementsAre(5u, 10u, 15u));
   EXPECT_TRUE(hasClassMap("odd"));
   EXPECT_EQ(groupOf(1), "low");
}

}  // namespace
}  // namespace orvtest
