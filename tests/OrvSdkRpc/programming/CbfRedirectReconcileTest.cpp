// Redirects over a switch whose contents differ from what is wanted: left by a killed process or a refused
// call, or stored under another name.
#include "CbfRedirectSwitch.h"
#include "orv/error.h"

namespace OrvSdkRpc {
namespace {

using testing::_;
using testing::DoDefault;
using testing::Throw;

// Lists that are left of a redirect of a to b with {1, 2, 3} and {4, 5}.
class LeftLists : public CbfRedirectTest {
protected:
   void writeLists() {
      listIs(v4("a-b"), {aclRule(1, "a", 1), aclRule(2, "a", 2), aclRule(3, "a", 3), aclRule(9, "x", 9)});
      listIs(v6("a-b"), {aclRule(0, "a", 12), aclRule(1, "a", 16), aclRule(2, "a", 20)});
   }
   void expectAskedFor() {
      EXPECT_EQ(priorities(v4("a-b")), (std::vector<int>{7}));
      EXPECT_EQ(priorities(v6("a-b")), std::vector<int>());
   }
};

TEST_F(LeftLists, underAnotherPolicyMapHoldNothingButWhatTheNewRedirectAsksFor) {
   writeLists();
   contract_.init(0, "other");
   EXPECT_EQ(status(message("a", "b", {7})), pb::RPC_STATUS_OK);
   expectAskedFor();
}

TEST_F(LeftLists, ofAKilledBulkHoldNothingButWhatTheNewRedirectAsksFor) {
   writeLists();
   committed_.clear();
   contract_.init(0, "map");
   EXPECT_EQ(bulk({message("a", "b", {7})}).statuses(0).status(), pb::RPC_STATUS_OK);
   expectAskedFor();
}

TEST_F(NamedCbfRedirectTest, theListsOfARefusedFirstAddHoldNothingButWhatTheNextOneAsksFor) {
   EXPECT_CALL(host_.classMapMgr, class_map_is(_))
        .WillOnce(Throw(orv::error("no room")))
        .WillOnce(DoDefault());
   EXPECT_EQ(status(message("a", "b", {1, 2, 3}, {4})), pb::RPC_STATUS_ERROR);
   EXPECT_EQ(status(message("a", "b", {7})), pb::RPC_STATUS_OK);
   EXPECT_EQ(priorities(v4("a-b")), (std::vector<int>{7}));
   EXPECT_EQ(priorities(v6("a-b")), std::vector<int>());
}

TEST_F(NamedCbfRedirectTest, anAddThatIsRefusedWithinAListIsMadeGoodByTheNextOne) {
   EXPECT_EQ(status(message("a", "b", {1})), pb::RPC_STATUS_OK);
   anyOtherRule();
   EXPECT_CALL(host_.aclMgr, acl_rule_set(v4("a-b"), _, testing::Matcher<const orv::acl_rule_ip_t&>(_)))
        .WillOnce(DoDefault())
        .WillOnce(Throw(orv::error("no room")))
        .WillRepeatedly(DoDefault());
   EXPECT_EQ(status(message("a", "b", {7, 8})), pb::RPC_STATUS_ERROR);
   // The commit of another redirect puts half of it in force.
   EXPECT_EQ(status(message("c", "d", {1})), pb::RPC_STATUS_OK);
   EXPECT_EQ(status(message("a", "b", {1})), pb::RPC_STATUS_OK);
   EXPECT_EQ(priorities(v4("a-b")), (std::vector<int>{1}));
}

// A redirect that is in force with {1}, and rules for {2, 3} that were not committed.
class PendingRules : public CbfRedirectTest {
protected:
   PendingRules() {
      redirect(4, "a-b", "a", "b", {1}, {});
      pending_[v4("a-b")] = {aclRule(1, "a", 2), aclRule(2, "a", 3)};
      EXPECT_TRUE(contract_.cbf.cbrPolicyMapNameIs("map"));
      contract_.init(0, "map");
   }
};

TEST_F(PendingRules, areNotTakenForProgrammed) {
   EXPECT_EQ(find("a", "b")->ipv4.values(), (std::vector<std::uint8_t>{1}));
   EXPECT_EQ(status(message("a", "b", {2, 3})), pb::RPC_STATUS_OK);
   EXPECT_EQ(priorities(v4("a-b")), (std::vector<int>{2, 3}));
   EXPECT_EQ(find("a", "b")->sequence, 4U);
   expectNoChange();
   EXPECT_EQ(status(message("a", "b", {2, 3})), pb::RPC_STATUS_OK);
}

TEST_F(PendingRules, areTakenBackByTheAddOfWhatIsInForce) {
   EXPECT_EQ(status(message("a", "b", {1})), pb::RPC_STATUS_OK);
   EXPECT_EQ(priorities(v4("a-b")), (std::vector<int>{1}));
   EXPECT_EQ(pending_.at(v4("a-b")).size(), 1U);
}

TEST_F(CbfRedirectTest, oneThatIsReadBackUnderOtherNamesIsLeftAloneUntilItChanges) {
   policyMap_.rule_set(5, ruleTo("odd", {"b"}));
   classMap("odd", {v4("odd"), v6("odd")});
   listIs(v4("odd"), {aclRule(1, "a", 1)});
   contract_.init(0, "map");
   const auto before = policyMap_;
   EXPECT_EQ(status(message("a", "b", {1})), pb::RPC_STATUS_OK);
   EXPECT_EQ(policyMap_, before);
   EXPECT_FALSE(pending_.contains(v4("a-b")));
   // A change points the rule at the lists that it writes.
   EXPECT_EQ(status(message("a", "b", {2})), pb::RPC_STATUS_OK);
   EXPECT_EQ(policyMap_.rules(),
             (std::map<std::uint32_t, orv::policy_map_rule_t>{{5, ruleTo("a-b", {"b"})}}));
   EXPECT_EQ(classMaps_.at(classKey("a-b")).rules().at(1).acl_key(), v4("a-b"));
   EXPECT_EQ(priorities(v4("a-b")), (std::vector<int>{2}));
}

// The commit puts the edits of the other lists in force as well.
TEST_F(CbfRedirectTest, oneUnderOtherNamesWhoseListsAreEditedIsWrittenAnewByTheAddOfWhatIsInForce) {
   policyMap_.rule_set(5, ruleTo("odd", {"b"}));
   classMap("odd", {v4("odd"), v6("odd")});
   listIs(v4("odd"), {aclRule(1, "a", 1)});
   pending_[v4("odd")] = {aclRule(1, "a", 2)};
   contract_.init(0, "map");
   EXPECT_EQ(status(message("a", "b", {1})), pb::RPC_STATUS_OK);
   EXPECT_EQ(policyMap_.rules(),
             (std::map<std::uint32_t, orv::policy_map_rule_t>{{5, ruleTo("a-b", {"b"})}}));
   EXPECT_EQ(classMaps_.at(classKey("a-b")).rules().at(1).acl_key(), v4("a-b"));
   EXPECT_EQ(priorities(v4("a-b")), (std::vector<int>{1}));
}

TEST_F(NamedCbfRedirectTest, aBulkThatIsNotCommittedRefusesItsAddsAndNoRemoval) {
   ASSERT_EQ(status(message("old", "b", {1})), pb::RPC_STATUS_OK);
   ASSERT_EQ(status(message("same", "b", {1})), pb::RPC_STATUS_OK);
   EXPECT_CALL(host_.aclMgr, acl_commit()).WillOnce(Throw(orv::error("full"))).WillRepeatedly(DoDefault());
   const auto response = bulk({removal("old", "b"), message("same", "b", {1}), message("new", "b", {2}),
                               message("new", "b", {2}), removal("none", "b"), message("gone", "b", {3}),
                               removal("gone", "b")});
   EXPECT_EQ(response.statuses(0).status(), pb::RPC_STATUS_OK);
   EXPECT_EQ(response.statuses(1).status(), pb::RPC_STATUS_OK);
   EXPECT_EQ(response.statuses(2).status(), pb::RPC_STATUS_ERROR);
   EXPECT_EQ(response.statuses(2).debug_string(), "Error: exception full");
   EXPECT_EQ(response.statuses(3).status(), pb::RPC_STATUS_ERROR);
   EXPECT_EQ(response.statuses(4).status(), pb::RPC_STATUS_NOT_FOUND);
   EXPECT_EQ(response.statuses(5).status(), pb::RPC_STATUS_ERROR);
   EXPECT_EQ(response.statuses(6).status(), pb::RPC_STATUS_OK);
   // Sent again, on its own, it is committed and pushed.
   EXPECT_EQ(status(message("new", "b", {2})), pb::RPC_STATUS_OK);
   EXPECT_EQ(priorities(v4("new-b")), (std::vector<int>{2}));
   EXPECT_EQ(policyMap_.rules().size(), 4U);
   EXPECT_EQ(contract_.cbf.processRemove(), 2U);
   EXPECT_EQ(policyMap_.rules().size(), 2U);
   expectNoChange();
   EXPECT_EQ(status(message("new", "b", {2})), pb::RPC_STATUS_OK);
}

TEST_F(NamedCbfRedirectTest, aBulkThatIsCommittedAndNotPushedRefusesWhatNeedsThePush) {
   ASSERT_EQ(status(message("old", "b", {1})), pb::RPC_STATUS_OK);
   EXPECT_CALL(host_.policyMapMgr, policy_map_is(_)).WillOnce(Throw(orv::error("full")));
   const auto response = bulk({message("old", "b", {7}), message("new", "b", {2})});
   EXPECT_EQ(response.statuses(0).status(), pb::RPC_STATUS_OK);
   EXPECT_EQ(response.statuses(1).status(), pb::RPC_STATUS_ERROR);
   EXPECT_EQ(priorities(v4("old-b")), (std::vector<int>{7}));
}

// A switch that takes no policy map with such a name, whoever asks.
class RefusedForGood : public NamedCbfRedirectTest {
protected:
   RefusedForGood() {
      ON_CALL(host_.policyMapMgr, policy_map_is(_)).WillByDefault([this](const orv::policy_map_t& map) {
         for (const auto& [sequence, rule] : map.rules()) {
            for (const orv::policy_map_action_t& action : rule.actions()) {
               if (action.nexthop_group_name().size() > 255) throw orv::invalid_argument_error("too long");
            }
         }
         policyMap_ = map;
      });
      EXPECT_EQ(status(message("old", "b", {1})), pb::RPC_STATUS_OK);
   }
   Request tooLong(const char* match) const { return message(match, longName_.c_str(), {1}); }

   const std::string longName_ = std::string(256, 'x');
};

TEST_F(RefusedForGood, anAddDoesNotStandInTheWayOfOthersAndOfRemovals) {
   EXPECT_EQ(status(tooLong("a")), pb::RPC_STATUS_ERROR);
   EXPECT_EQ(status(message("gold", "low", {1})), pb::RPC_STATUS_OK);
   EXPECT_EQ(status(tooLong("a")), pb::RPC_STATUS_ERROR);
   EXPECT_EQ(status(removal("old", "b")), pb::RPC_STATUS_OK);
   EXPECT_EQ(contract_.cbf.processRemove(), 1U);
   EXPECT_EQ(policyMap_.rules(),
             (std::map<std::uint32_t, orv::policy_map_rule_t>{{3, ruleTo("gold-low", {"low"})}}));
   EXPECT_TRUE(find("gold", "low")->inForce());
   // It goes like any other.
   EXPECT_EQ(status(removal("a", longName_.c_str())), pb::RPC_STATUS_OK);
   EXPECT_EQ(contract_.cbf.processRemove(), 1U);
   EXPECT_EQ(contract_.cbf.redirects().size(), 1U);
}

TEST_F(RefusedForGood, anItemSpoilsItsBulkAndNoOther) {
   const auto spoilt = bulk({tooLong("a"), message("gold", "low", {1})});
   EXPECT_EQ(spoilt.statuses(0).status(), pb::RPC_STATUS_ERROR);
   EXPECT_EQ(spoilt.statuses(1).status(), pb::RPC_STATUS_ERROR);
   EXPECT_EQ(bulk({message("gold", "low", {1})}).statuses(0).status(), pb::RPC_STATUS_OK);
   EXPECT_EQ(policyMap_.rules().size(), 2U);
   EXPECT_TRUE(find("gold", "low")->inForce());
}

TEST_F(RefusedForGood, aRemovalDoesNotWaitForABulkThatIsUnderWay) {
   // Its end does not come to the push.
   EXPECT_CALL(host_.aclMgr, acl_commit()).WillOnce(Throw(orv::error("full"))).WillRepeatedly(DoDefault());
   bulk({tooLong("a"), message("gold", "low", {1})});
   EXPECT_EQ(status(removal("old", "b")), pb::RPC_STATUS_OK);
   EXPECT_EQ(contract_.cbf.processRemove(), 1U);
   EXPECT_TRUE(policyMap_.rules().empty());
   // What the bulk has written still waits for its push.
   EXPECT_FALSE(find("gold", "low")->isUnsure());
}

TEST_F(CbfRedirectTest, aRefusedChangeOfOneUnderOtherNamesLeavesItInForce) {
   policyMap_.rule_set(5, ruleTo("odd", {"b"}));
   classMap("odd", {v4("odd"), v6("odd")});
   listIs(v4("odd"), {aclRule(1, "a", 1)});
   contract_.init(0, "map");
   const auto before = policyMap_;
   EXPECT_CALL(host_.policyMapMgr, policy_map_is(_))
        .WillOnce(Throw(orv::error("full")))
        .WillRepeatedly(DoDefault());
   EXPECT_EQ(status(message("a", "b", {2})), pb::RPC_STATUS_ERROR);
   EXPECT_EQ(status(message("c", "d", {1})), pb::RPC_STATUS_OK);
   EXPECT_EQ(policyMap_.rules().at(5), before.rules().at(5));
   EXPECT_EQ(status(message("a", "b", {2})), pb::RPC_STATUS_OK);
   EXPECT_EQ(policyMap_.rules().at(5), ruleTo("a-b", {"b"}));
}

TEST_F(NamedCbfRedirectTest, aRepetitionWithinABulkIsWrittenOnce) {
   anyOtherRule();
   EXPECT_CALL(host_.aclMgr, acl_rule_set(v4("a-b"), 1, testing::Matcher<const orv::acl_rule_ip_t&>(_)))
        .Times(1);
   EXPECT_CALL(host_.aclMgr, acl_commit()).Times(1);
   const auto response = bulk({message("a", "b", {1}), message("a", "b", {1})});
   EXPECT_EQ(response.statuses(1).status(), pb::RPC_STATUS_OK);
   EXPECT_TRUE(find("a", "b")->inForce());
}

TEST_F(NamedCbfRedirectTest, aCommitThatFailsForAListIsMadeGoodByTheNextAdd) {
   ASSERT_EQ(status(message("a", "b", {1})), pb::RPC_STATUS_OK);
   ASSERT_EQ(status(message("c", "d", {1})), pb::RPC_STATUS_OK);
   const auto fail = [&](const char* source) {
      host_.aclMgr.handlers().notify_all(
           [&](orv::acl_handler& handler) { handler.on_acl_sync_fail(source, "disk full"); });
   };
   fail("a-b_IPv4 (ipv4)");
   fail("web (ipv4)");
   EXPECT_CALL(host_.aclMgr, acl_commit()).Times(1);
   EXPECT_CALL(host_.policyMapMgr, policy_map_is(_)).Times(0);
   EXPECT_EQ(status(message("c", "d", {1})), pb::RPC_STATUS_OK);
   EXPECT_EQ(status(message("a", "b", {1})), pb::RPC_STATUS_OK);
   EXPECT_EQ(status(message("a", "b", {1})), pb::RPC_STATUS_OK);
}

TEST_F(NamedCbfRedirectTest, anotherNameOnALivingServerCarriesOutWhatIsDueAndForgetsTheRest) {
   ASSERT_EQ(status(message("a", "b", {1})), pb::RPC_STATUS_OK);
   ASSERT_EQ(status(message("c", "d", {2})), pb::RPC_STATUS_OK);
   ASSERT_EQ(status(removal("a", "b")), pb::RPC_STATUS_OK);
   // The other map has rules at the same sequences.
   orv::policy_map_t other(classKey("other"));
   classMap("e-f", {v4("e-f"), v6("e-f")});
   listIs(v4("e-f"), {aclRule(1, "e", 5)});
   other.rule_set(1, ruleTo("e-f", {"f"}));
   ON_CALL(host_.policyMapMgr, exists(classKey("other"))).WillByDefault(testing::Return(true));
   ON_CALL(host_.policyMapMgr, policy_map(classKey("other"))).WillByDefault(testing::Return(other));
   EXPECT_TRUE(contract_.cbf.cbrPolicyMapNameIs("other"));
   EXPECT_EQ(policyMap_.key(), mapKey);
   EXPECT_EQ(policyMap_.rules(),
             (std::map<std::uint32_t, orv::policy_map_rule_t>{{2, ruleTo("c-d", {"d"})}}));
   EXPECT_EQ(contract_.cbf.redirects().size(), 1U);
   EXPECT_NE(find("e", "f"), nullptr);
   // Nothing of the old map is due, stale or programmed in the new one.
   EXPECT_CALL(host_.policyMapMgr, policy_map_is(_)).Times(0);
   EXPECT_EQ(contract_.cbf.processRemove(), 0U);
   EXPECT_EQ(status(removal("c", "d")), pb::RPC_STATUS_NOT_FOUND);
   testing::Mock::VerifyAndClearExpectations(&host_.policyMapMgr);
   EXPECT_EQ(status(message("c", "d", {2})), pb::RPC_STATUS_OK);
   EXPECT_EQ(find("c", "d")->sequence, 3U);
   EXPECT_EQ(policyMap_.key(), classKey("other"));
   EXPECT_EQ(policyMap_.rules(), (std::map<std::uint32_t, orv::policy_map_rule_t>{
                                      {1, ruleTo("e-f", {"f"})}, {3, ruleTo("c-d", {"d"})}}));
}

TEST_F(NamedCbfRedirectTest, theEmptyNameOnALivingServerLeavesNothingToDo) {
   ASSERT_EQ(status(message("a", "b", {1})), pb::RPC_STATUS_OK);
   ASSERT_EQ(status(message("c", "d", {2})), pb::RPC_STATUS_OK);
   ASSERT_EQ(status(removal("a", "b")), pb::RPC_STATUS_OK);
   EXPECT_FALSE(contract_.cbf.cbrPolicyMapNameIs(""));
   EXPECT_EQ(policyMap_.rules().size(), 1U);
   expectNoChange();
   contract_.resync(0);
   contract_.resync(1);
   EXPECT_EQ(contract_.cbf.processRemove(), 0U);
   EXPECT_EQ(process(removal("c", "d")).debug_string(),
             "Error: no cbf_nexthop_group_redirect_policy_map_name specified in init");
}

TEST_F(NamedCbfRedirectTest, aRemovalThatAChangeOfNameMeetsAndTheSwitchRefusesIsGivenUp) {
   ASSERT_EQ(status(message("a", "b", {1})), pb::RPC_STATUS_OK);
   ASSERT_EQ(status(removal("a", "b")), pb::RPC_STATUS_OK);
   EXPECT_CALL(host_.policyMapMgr, policy_map_is(_)).WillOnce(Throw(orv::error("disk full")));
   EXPECT_FALSE(contract_.cbf.cbrPolicyMapNameIs("other"));
   EXPECT_EQ(contract_.cbf.processRemove(), 0U);
   EXPECT_TRUE(contract_.cbf.redirects().empty());
}

TEST_F(NamedCbfRedirectTest, aMillionEqualDscpsAreOneRule) {
   anyOtherRule();
   EXPECT_CALL(host_.aclMgr, acl_rule_set(v4("a-b"), _, testing::Matcher<const orv::acl_rule_ip_t&>(_)))
        .Times(1);
   Request request = message("a", "b", {});
   request.mutable_match_ipv4_dscp()->Resize(1'000'000, 46);
   EXPECT_EQ(status(request), pb::RPC_STATUS_OK);
   EXPECT_EQ(priorities(v4("a-b")), (std::vector<int>{46}));
   expectNoChange();
   EXPECT_EQ(status(request), pb::RPC_STATUS_OK);
}

class RestoredBeyondTheTable : public CbfOverrideTest {
protected:
   RestoredBeyondTheTable() : CbfOverrideTest(false) {
      redirect(1, longName_ + "-b", longName_, "b", {1}, {});
      redirect(2, "c-d", "c", "d", {1}, {});
      contract_.init(0, "map");
   }

   const std::string longName_ = std::string(129, 'x');
};

TEST_F(RestoredBeyondTheTable, aNameOf129BytesIsRemovedLikeAnyOther) {
   ASSERT_EQ(contract_.cbf.redirects().size(), 2U);
   EXPECT_EQ(status(removal(longName_.c_str(), "b")), pb::RPC_STATUS_OK);
   EXPECT_EQ(contract_.cbf.processRemove(), 1U);
   EXPECT_EQ(policyMap_.rules().size(), 1U);
}

TEST_F(RestoredBeyondTheTable, aChangeOfNameTakesTheEntriesOfTheOldMapOutOfTheTable) {
   EXPECT_EQ(status(message("c", "d", {1})), pb::RPC_STATUS_OK);
   EXPECT_EQ(table().size(), 1U);
   EXPECT_FALSE(contract_.cbf.cbrPolicyMapNameIs("other"));
   EXPECT_TRUE(table().empty());
}

}  // namespace
}  // namespace OrvSdkRpc
