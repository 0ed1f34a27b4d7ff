// Redirects on a switch that holds leftovers of an earlier process, an earlier policy map or an unfinished
// bulk.
#include "RedirectSwitch.h"

namespace orvtest {
namespace {

class RedirectLeftovers : public Redirects {
protected:
   // Starts the switch and its agent again on the same state.
   void restart(const std::string& policyMap = policyName) {
      stopSwitch();
      startSwitch();
      agent_->init(policyMap);
      awaitGroup(0, "gold");
   }
   // Writes what a bulk writes for its item of gold to low before the end of the bulk commits it.
   void leaveUncommitted(const Dscps& ipv4) {
      const orv::sdk_scoped_lock lock;
      std::uint32_t sequence = 0;
      for (const std::uint32_t dscp : ipv4) {
         orv::acl_rule_ip_t rule;
         rule.action_is(orv::acl_action_t::permit);
         rule.nexthop_group_is("gold");
         rule.priority_mask_is(0x3f);
         rule.priority_value_is(static_cast<std::uint8_t>(dscp));
         rule.match_ip_priority_is(true);
         sw().acls().acl_rule_set(v4("gold-low"), ++sequence, rule);
      }
      orv::class_map_t map(pbr("gold-low"));
      map.rule_set(1, orv::class_map_rule_t(v4("gold-low")));
      map.rule_set(2, orv::class_map_rule_t(v6("gold-low")));
      sw().classMaps().class_map_is(map);
   }
};

TEST_F(RedirectLeftovers, aRedirectOfOneFamilyHasTheEmptyListOfTheOther) {
   ASSERT_EQ(agent_->add("gold", "low", {}, {46}), pb::RPC_STATUS_OK);
   ASSERT_EQ(agent_->add("gold", "other", {1}), pb::RPC_STATUS_OK);
   const auto expectEmptyLists = [&] {
      EXPECT_TRUE(isCommitted(v4("gold-low")));
      EXPECT_THAT(list(v4("gold-low")), IsEmpty());
      EXPECT_TRUE(isCommitted(v6("gold-other")));
      EXPECT_THAT(list(v6("gold-other")), IsEmpty());
      EXPECT_EQ(pendingEdits(), 0u);
   };
   expectEmptyLists();
   const auto classMap = locked([&] { return sw().classMaps().class_map(pbr("gold-low")); });
   ASSERT_EQ(classMap.rules().size(), 2u);
   EXPECT_EQ(classMap.rules().at(1).acl_key(), v4("gold-low"));
   EXPECT_EQ(classMap.rules().at(2).acl_key(), v6("gold-low"));
   restart();
   EXPECT_EQ(agent_->known(), 2u);
   expectEmptyLists();
   ASSERT_EQ(agent_->add("gold", "low", {5}, {46}), pb::RPC_STATUS_OK);
   EXPECT_THAT(list(v4("gold-low")), ElementsAre(5u));
   ASSERT_EQ(agent_->add("gold", "low", {}, {46}), pb::RPC_STATUS_OK);
   expectEmptyLists();
   // IPv6 DSCPs are stored in the bits of the traffic class.
   const auto rule = locked([&] { return sw().acls().acl_all_rule_ip_iter(v6("gold-low"))->second; });
   EXPECT_EQ(rule.priority_value(), 184);
   EXPECT_EQ(rule.priority_mask(), 0xfc);
}

TEST_F(RedirectLeftovers, theListsOfAnEarlierPolicyMapHoldNothingButWhatIsAskedFor) {
   ASSERT_EQ(agent_->add("gold", "low", {1, 2, 3}, {4}), pb::RPC_STATUS_OK);
   restart("second");
   EXPECT_EQ(agent_->known(), 0u);
   ASSERT_EQ(agent_->add("gold", "low", {7}), pb::RPC_STATUS_OK);
   EXPECT_THAT(list(v4("gold-low")), ElementsAre(7u));
   EXPECT_THAT(list(v6("gold-low")), IsEmpty());
   EXPECT_EQ(groupOf(1), "gold");
   EXPECT_EQ(groupOf(7), "low");
   EXPECT_EQ(pendingEdits(), 0u);
}

TEST_F(RedirectLeftovers, theListsOfAnUnfinishedBulkHoldNothingButWhatIsAskedFor) {
   leaveUncommitted({1, 2, 3});
   restart();
   EXPECT_EQ(agent_->known(), 0u);
   ASSERT_EQ(agent_->add("gold", "low", {7}), pb::RPC_STATUS_OK);
   EXPECT_THAT(list(v4("gold-low")), ElementsAre(7u));
   EXPECT_EQ(groupOf(1), "gold");
   EXPECT_EQ(groupOf(7), "low");
   EXPECT_EQ(pendingEdits(), 0u);
}

TEST_F(RedirectLeftovers, theEditsOfAnUnfinishedBulkAreNotTakenForProgrammed) {
   ASSERT_EQ(agent_->add("gold", "low", {1}), pb::RPC_STATUS_OK);
   leaveUncommitted({2, 3});
   restart();
   EXPECT_EQ(groupOf(1), "low");
   EXPECT_EQ(groupOf(2), "gold");
   ASSERT_EQ(agent_->add("gold", "low", {2, 3}), pb::RPC_STATUS_OK);
   EXPECT_THAT(list(v4("gold-low")), ElementsAre(2u, 3u));
   EXPECT_EQ(groupOf(1), "gold");
   EXPECT_EQ(groupOf(2), "low");
   EXPECT_THAT(sequences(), ElementsAre(1u));
   EXPECT_EQ(pendingEdits(), 0u);

   // The replay of the redirects in force reverts the leftovers.
   leaveUncommitted({9, 9, 9});
   restart();
   ASSERT_EQ(agent_->add("gold", "low", {2, 3}), pb::RPC_STATUS_OK);
   ASSERT_EQ(agent_->add("gold", "other", {4}), pb::RPC_STATUS_OK);
   EXPECT_THAT(list(v4("gold-low")), ElementsAre(2u, 3u));
   EXPECT_EQ(groupOf(9), "gold");
   EXPECT_EQ(pendingEdits(), 0u);
}

TEST_F(RedirectLeftovers, anotherNameOnALivingServerTouchesNothingOfTheNewMap) {
   agent_->init("second");
   ASSERT_EQ(agent_->add("gold", "other", {2}), pb::RPC_STATUS_OK);
   agent_->init();
   ASSERT_EQ(agent_->add("gold", "low", {1}), pb::RPC_STATUS_OK);
   ASSERT_EQ(agent_->add("low", "gold", {3}), pb::RPC_STATUS_OK);
   ASSERT_EQ(agent_->remove("gold", "low"), pb::RPC_STATUS_OK);
   EXPECT_TRUE(agent_->init("second"));
   // The removal took effect at once, in the map for which it was requested.
   const auto sequence = agent_->sequence("gold", "other");
   ASSERT_TRUE(sequence);
   EXPECT_EQ(policy().rules().size(), 1u);
   EXPECT_EQ(groupOf(1), "gold");
   EXPECT_THAT(sequences("second"), ElementsAre(*sequence));
   EXPECT_EQ(groupOf(2), "other");
   EXPECT_THAT(overrides(), IsEmpty());
   EXPECT_EQ(agent_->remove("low", "gold"), pb::RPC_STATUS_NOT_FOUND);
   // The old map's rule is known again once the map's name is set again.
   EXPECT_TRUE(agent_->init());
   EXPECT_EQ(agent_->known(), 1u);
   EXPECT_TRUE(agent_->sequence("low", "gold"));
   agent_->init("");
   EXPECT_EQ(agent_->known(), 0u);
   EXPECT_EQ(agent_->add("gold", "low", {1}), pb::RPC_STATUS_ERROR);
}

}  // namespace
}  // namespace orvtest
