// Redirects as a controller adds and removes them.
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "CbfRedirectSwitch.h"
#include "orv/error.h"
#include "orv/lock.h"
#include "platform/zelt/RangeException.h"
#include "testing/server/WatchedLock.h"

namespace OrvSdkRpc {
namespace {

using testing::_;
using testing::Return;

TEST(CbfUniqueName, readsShortWhereTheNamesAreRelated) {
   EXPECT_EQ(getCbfUniqueName("a", "b"), "a-b");
   EXPECT_EQ(getCbfUniqueName("nhg_a", "nhg_b"), "nhg_a_b");
   EXPECT_EQ(getCbfUniqueName("nhg-a", "nhg-b"), "nhg-a-b");
   EXPECT_EQ(getCbfUniqueName("nhg", "nhg_b"), "nhg_b");
   EXPECT_EQ(getCbfUniqueName("nhg", "nhg-b"), "nhg-b");
   EXPECT_EQ(getCbfUniqueName("nhg1", "nhg2"), "nhg1-nhg2");
   EXPECT_EQ(getCbfUniqueName("nhg", "nhgb"), "nhg-nhgb");
   EXPECT_EQ(getCbfUniqueName("nhg_b", "nhg"), "nhg_b-nhg");
   EXPECT_EQ(getCbfUniqueName("nhg_", "nhg_b"), "nhg__b");
   EXPECT_EQ(getCbfUniqueName("same", "same"), "same-same");
   EXPECT_EQ(getCbfUniqueName("", "b"), "-b");
   EXPECT_EQ(getCbfUniqueName("a", ""), "a-");
}

TEST_F(CbfRedirectTest, whatIsMissingIsRefusedInOrderAndNothingIsChanged) {
   expectNoChange();
   EXPECT_EQ(process({}).status(), pb::RPC_STATUS_NOT_INITIALIZED);
   EXPECT_EQ(process({}).debug_string(), "Error: no prior rpc_server_init call, request ");
   contract_.init();
   EXPECT_EQ(process({}).debug_string(),
             "Error: no cbf_nexthop_group_redirect_policy_map_name specified in init");
   contract_.init(0, "map");
   orvtest::TraceCapture traces("OrvSdkRpc/0");
   const auto refusal = [&](const Request& request) {
      const auto response = process(request);
      EXPECT_EQ(response.status(), pb::RPC_STATUS_ERROR);
      EXPECT_EQ(traces.count(response.debug_string()), 1U);
      return response.debug_string();
   };
   EXPECT_EQ(refusal(message("", "", {64})), "Error: match_nexthop_group_name required");
   EXPECT_EQ(refusal(message("a", "", {64})), "Error: redirect_nexthop_group_name required");
   EXPECT_EQ(refusal(message("a", "b", {})), "Error: match_ipv4_dscp or match_ipv6_dscp must be specified");
   EXPECT_EQ(refusal(message("a", "b", {63, 64, 65}, {70})),
             "Error: match_ipv4_dscp contain invalid DSCP value 64");
   EXPECT_EQ(refusal(message("a", "b", {63}, {70})), "Error: match_ipv6_dscp contain invalid DSCP value 70");
   // A delete must name both groups too.
   Request request = removal("a", "");
   EXPECT_EQ(process(request).debug_string(), "Error: redirect_nexthop_group_name required");
}

TEST_F(NamedCbfRedirectTest, aRedirectIsTwoListsAClassMapAndARule) {
   orvtest::TraceCapture traces("OrvSdkRpc/1");
   {
      testing::InSequence order;
      EXPECT_CALL(host_.aclMgr, acl_commit());
      EXPECT_CALL(host_.classMapMgr, class_map_is(_));
      EXPECT_CALL(host_.policyMapMgr, policy_map_is(_));
   }
   EXPECT_EQ(status(message("nhg_a", "nhg_b", {46, 10, 10}, {46})), pb::RPC_STATUS_OK);
   EXPECT_EQ(priorities(v4("nhg_a_b")), (std::vector<int>{10, 10, 46}));
   EXPECT_EQ(priorities(v6("nhg_a_b")), (std::vector<int>{184}));
   const orv::acl_rule_ip_t& rule = committed_.at(v6("nhg_a_b")).at(1);
   EXPECT_EQ(rule.action(), orv::acl_action_t::permit);
   EXPECT_EQ(rule.nexthop_group(), "nhg_a");
   EXPECT_EQ(rule.priority_mask(), 0xfc);
   EXPECT_TRUE(rule.match_ip_priority());
   EXPECT_EQ(committed_.at(v4("nhg_a_b")).at(1).priority_mask(), 0x3f);
   const auto& classRules = classMaps_.at(classKey("nhg_a_b")).rules();
   ASSERT_EQ(classRules.size(), 2U);
   EXPECT_EQ(classRules.at(1).acl_key(), v4("nhg_a_b"));
   EXPECT_EQ(classRules.at(2).acl_key(), v6("nhg_a_b"));
   EXPECT_EQ(policyMap_.rules(),
             (std::map<std::uint32_t, orv::policy_map_rule_t>{{1, ruleTo("nhg_a_b", {"nhg_b"})}}));
   EXPECT_EQ(policyMap_.key(), mapKey);
   EXPECT_EQ(traces.texts(),
             std::vector<std::string>{"Added map seq 1 matching nhg_a redirect nhg_b IPv4-DSCP "
                                      "[ 10, 10, 46 ] IPv6-DSCP [ 46 ]"});
}

TEST_F(NamedCbfRedirectTest, aFamilyWithoutValuesHasAnEmptyListAndItsPlaceInTheClassMap) {
   EXPECT_EQ(status(message("a", "b", {}, {46})), pb::RPC_STATUS_OK);
   EXPECT_EQ(priorities(v4("a-b")), std::vector<int>());
   EXPECT_EQ(classMaps_.at(classKey("a-b")).rules().at(1).acl_key(), v4("a-b"));
   EXPECT_EQ(classMaps_.at(classKey("a-b")).rules().at(2).acl_key(), v6("a-b"));
   EXPECT_EQ(classMaps_.at(classKey("a-b")).rules().size(), 2U);
   EXPECT_EQ(status(message("c", "d", {46})), pb::RPC_STATUS_OK);
   EXPECT_EQ(priorities(v6("c-d")), std::vector<int>());
}

TEST_F(NamedCbfRedirectTest, whatIsWrittenReadsBackInTheNextProcess) {
   EXPECT_EQ(status(message("a", "b", {0, 63}, {46})), pb::RPC_STATUS_OK);
   CbfNhgRedirectProgrammer next(contract_.client, &host_.policyMapMgr, &host_.classMapMgr, &host_.aclMgr,
                                 &host_.agentMgr, nullptr);
   EXPECT_TRUE(next.cbrPolicyMapNameIs("map"));
   ASSERT_EQ(next.redirects().size(), 1U);
   const auto& [key, values] = *next.redirects().begin();
   EXPECT_EQ(key, (CbfNhgRedirectProgrammer::Key{"a", "b"}));
   EXPECT_EQ(values.ipv4.values(), (std::vector<std::uint8_t>{0, 63}));
   EXPECT_EQ(values.ipv6.values(), (std::vector<std::uint8_t>{46}));
}

TEST_F(NamedCbfRedirectTest, theSameAgainChangesNothingButTheEpoch) {
   EXPECT_EQ(status(message("a", "b", {1, 2})), pb::RPC_STATUS_OK);
   contract_.resync(0);
   expectNoChange();
   orvtest::TraceCapture traces("OrvSdkRpc/6");
   EXPECT_EQ(status(message("a", "b", {2, 1})), pb::RPC_STATUS_OK);
   EXPECT_EQ(find("a", "b")->epoch, 1);
   EXPECT_EQ(traces.texts(),
             std::vector<std::string>{"Ignore add map seq 1 matching a redirect b IPv4-DSCP [ 1, 2 ] "
                                      "IPv6-DSCP [] existing sequence"});
}

TEST_F(NamedCbfRedirectTest, theFirstAddMakesThePolicyMapThatInitDidNotFind) {
   const orv::policy_map_key_t other = classKey("other");
   EXPECT_FALSE(contract_.cbf.cbrPolicyMapNameIs("other"));
   EXPECT_EQ(status(message("a", "b", {1})), pb::RPC_STATUS_OK);
   EXPECT_EQ(policyMap_.key(), other);
   EXPECT_EQ(policyMap_.rules().size(), 1U);
}

TEST_F(NamedCbfRedirectTest, otherValuesChangeTheListsAlone) {
   EXPECT_EQ(status(message("a", "b", {1, 2, 3})), pb::RPC_STATUS_OK);
   EXPECT_CALL(host_.classMapMgr, class_map_is(_)).Times(0);
   EXPECT_CALL(host_.policyMapMgr, policy_map_is(_)).Times(0);
   EXPECT_CALL(host_.aclMgr, acl_commit());
   EXPECT_CALL(host_.aclMgr, acl_rule_set(v4("a-b"), 1, testing::Matcher<const orv::acl_rule_ip_t&>(_)));
   EXPECT_CALL(host_.aclMgr, acl_rule_del(v4("a-b"), 2));
   EXPECT_CALL(host_.aclMgr, acl_rule_del(v4("a-b"), 3));
   orvtest::TraceCapture traces("OrvSdkRpc/1,OrvSdkRpc/6");
   EXPECT_EQ(status(message("a", "b", {9})), pb::RPC_STATUS_OK);
   EXPECT_EQ(priorities(v4("a-b")), (std::vector<int>{9}));
   EXPECT_EQ(traces.count("Update Acl a-b seq 1 matching a redirect b IPv4-DSCP [ 1, 2, 3 ]->[ 9 ] "
                          "IPv6-DSCP []->[]"),
             1U);
   EXPECT_EQ(traces.count("Updated Acl for map seq 1 matching a redirect b IPv4-DSCP [ 9 ] IPv6-DSCP []"),
             1U);
}

TEST_F(NamedCbfRedirectTest, aBulkCommitsAndPushesOnceWhateverItsItemsAre) {
   for (const auto& requests :
        {std::vector<Request>{message("a", "b", {1}), message("a", "", {1}), message("c", "d", {2})},
         std::vector<Request>{}, std::vector<Request>{message("", "", {})}}) {
      testing::Mock::VerifyAndClearExpectations(&host_.aclMgr);
      testing::Mock::VerifyAndClearExpectations(&host_.policyMapMgr);
      testing::InSequence order;
      EXPECT_CALL(host_.aclMgr, acl_commit());
      EXPECT_CALL(host_.policyMapMgr, policy_map_is(_));
      const auto response = bulk(requests);
      ASSERT_EQ(response.statuses_size(), static_cast<int>(requests.size()));
      if (requests.size() == 3) {
         EXPECT_EQ(response.statuses(0).status(), pb::RPC_STATUS_OK);
         EXPECT_EQ(response.statuses(1).status(), pb::RPC_STATUS_ERROR);
         EXPECT_EQ(response.statuses(2).status(), pb::RPC_STATUS_OK);
      }
   }
   EXPECT_EQ(contract_.cbf.lastSequence(), 2U);
}

TEST_F(NamedCbfRedirectTest, aBulkThatCannotBePushedIsAnErrorOfItsGoodItems) {
   EXPECT_CALL(host_.policyMapMgr, policy_map_is(_)).WillOnce(testing::Throw(orv::error("full")));
   const auto response = bulk({message("a", "b", {1}), removal("x", "y")});
   EXPECT_EQ(response.statuses(0).status(), pb::RPC_STATUS_ERROR);
   EXPECT_EQ(response.statuses(0).debug_string(), "Error: exception full");
   EXPECT_EQ(response.statuses(1).status(), pb::RPC_STATUS_NOT_FOUND);
   // The controller sends it once more, alone.
   EXPECT_CALL(host_.policyMapMgr, policy_map_is(_)).WillOnce([this](const orv::policy_map_t& map) {
      policyMap_ = map;
   });
   EXPECT_EQ(status(message("a", "b", {1})), pb::RPC_STATUS_OK);
   EXPECT_EQ(policyMap_.rules().size(), 1U);
}

TEST_F(CbfRedirectTest, aBulkBeforeInitDoesNotPushAPolicyMapWithoutAName) {
   EXPECT_CALL(host_.policyMapMgr, policy_map_is(_)).Times(0);
   EXPECT_CALL(host_.aclMgr, acl_commit()).Times(1);
   EXPECT_EQ(bulk({message("a", "b", {1})}).statuses(0).status(), pb::RPC_STATUS_NOT_INITIALIZED);
}

TEST_F(NamedCbfRedirectTest, anErrorBecomesWords) {
   EXPECT_CALL(host_.classMapMgr, class_map_is(_))
        .WillOnce(testing::Throw(orv::configuration_error("no room")));
   const auto response = process(message("a", "b", {1}));
   EXPECT_EQ(response.status(), pb::RPC_STATUS_ERROR);
   EXPECT_TRUE(response.debug_string().starts_with("Error: request match_ipv4_dscp: 1 "));
   EXPECT_TRUE(response.debug_string().ends_with(" exception no room"));
   EXPECT_TRUE(contract_.cbf.redirects().empty());
}

TEST_F(NamedCbfRedirectTest, aRemovalWaitsAndThenTakesEverythingInOnePush) {
   status(message("a", "b", {1}));
   status(message("c", "d", {2}));
   status(message("e", "f", {3}));
   orvtest::TraceCapture traces("OrvSdkRpc/1");
   const orv::policy_map_t before = policyMap_;
   EXPECT_EQ(status(removal("a", "b")), pb::RPC_STATUS_OK);
   EXPECT_EQ(status(removal("a", "b")), pb::RPC_STATUS_OK);
   EXPECT_EQ(status(removal("c", "d")), pb::RPC_STATUS_OK);
   EXPECT_EQ(policyMap_, before);
   EXPECT_EQ(committed_.size(), 6U);
   EXPECT_EQ(classMaps_.size(), 3U);
   EXPECT_CALL(host_.aclMgr, acl_commit()).Times(1);
   EXPECT_EQ(contract_.cbf.processRemove(), 2U);
   EXPECT_EQ(policyMap_.rules(),
             (std::map<std::uint32_t, orv::policy_map_rule_t>{{3, ruleTo("e-f", {"f"})}}));
   EXPECT_EQ(committed_.size(), 2U);
   EXPECT_EQ(classMaps_.size(), 1U);
   EXPECT_EQ(traces.count("Scheduled removal map seq 1 matching a redirect b"), 2U);
   EXPECT_EQ(traces.count("Removed map seq 1 matchNhg a redirectNhg b"), 1U);
   EXPECT_EQ(traces.count("Removed 2 sequences from map"), 1U);
   testing::Mock::VerifyAndClearExpectations(&host_.aclMgr);
   // Sequences are not reused.
   EXPECT_EQ(status(message("a", "b", {1})), pb::RPC_STATUS_OK);
   EXPECT_EQ(find("a", "b")->sequence, 4U);
   EXPECT_EQ(find("c", "d"), nullptr);
}

TEST_F(NamedCbfRedirectTest, whatIsAddedAgainBeforeTheRemovalStays) {
   status(message("a", "b", {1}));
   status(removal("a", "b"));
   expectNoChange();
   orvtest::TraceCapture traces("OrvSdkRpc/6");
   EXPECT_EQ(status(message("a", "b", {1})), pb::RPC_STATUS_OK);
   EXPECT_EQ(traces.texts().at(0),
             "Ignore add map seq 1 matching a redirect b IPv4-DSCP [ 1 ] IPv6-DSCP [] "
             "existing sequence unscheduled pending removal");
   EXPECT_EQ(contract_.cbf.processRemove(), 0U);
   EXPECT_NE(find("a", "b"), nullptr);
}

TEST_F(NamedCbfRedirectTest, aRemovalThatIsRefusedIsTriedAgainAsAWhole) {
   status(message("a", "b", {1}));
   status(message("c", "d", {2}));
   status(removal("a", "b"));
   status(removal("c", "d"));
   orvtest::TraceCapture traces("OrvSdkRpc/0");
   EXPECT_CALL(host_.policyMapMgr, policy_map_is(_))
        .WillOnce(testing::Throw(orv::error("disk full")))
        .WillRepeatedly([this](const orv::policy_map_t& map) { policyMap_ = map; });
   EXPECT_EQ(contract_.cbf.processRemove(), 0U);
   EXPECT_EQ(traces.texts(), std::vector<std::string>{"Error: exception disk full"});
   EXPECT_EQ(contract_.cbf.redirects().size(), 2U);
   // A redirect that is added again meanwhile has lost layers; all of them are restored, at the same
   // sequence.
   EXPECT_EQ(status(message("c", "d", {2})), pb::RPC_STATUS_OK);
   EXPECT_EQ(priorities(v4("c-d")), (std::vector<int>{2}));
   EXPECT_TRUE(classMaps_.contains(classKey("c-d")));
   EXPECT_CALL(host_.classMapMgr, class_map_del(_))
        .WillOnce(testing::Throw(orv::error("still full")))
        .WillOnce(Return());
   EXPECT_EQ(contract_.cbf.processRemove(), 0U);
   EXPECT_EQ(contract_.cbf.processRemove(), 1U);
   EXPECT_EQ(policyMap_.rules(),
             (std::map<std::uint32_t, orv::policy_map_rule_t>{{2, ruleTo("c-d", {"d"})}}));
   EXPECT_EQ(contract_.cbf.redirects().size(), 1U);
   EXPECT_EQ(contract_.cbf.processRemove(), 0U);
}

TEST_F(NamedCbfRedirectTest, anAddThatWasRefusedIsMadeGoodByTheNextOne) {
   EXPECT_CALL(host_.policyMapMgr, policy_map_is(_))
        .WillOnce(testing::Throw(orv::error("disk full")))
        .WillRepeatedly([this](const orv::policy_map_t& map) { policyMap_ = map; });
   EXPECT_EQ(status(message("a", "b", {1})), pb::RPC_STATUS_ERROR);
   EXPECT_TRUE(policyMap_.rules().empty());
   EXPECT_EQ(status(message("a", "b", {1})), pb::RPC_STATUS_OK);
   EXPECT_EQ(policyMap_.rules(),
             (std::map<std::uint32_t, orv::policy_map_rule_t>{{1, ruleTo("a-b", {"b"})}}));
   // A change to other values is refused, so sending the old values is not a repetition.
   EXPECT_CALL(host_.aclMgr, acl_commit())
        .WillOnce(testing::Throw(orv::error("disk full")))
        .WillRepeatedly(testing::DoDefault());
   EXPECT_EQ(status(message("a", "b", {7, 8})), pb::RPC_STATUS_ERROR);
   EXPECT_EQ(status(message("a", "b", {1})), pb::RPC_STATUS_OK);
   EXPECT_EQ(priorities(v4("a-b")), (std::vector<int>{1}));
   EXPECT_EQ(contract_.cbf.lastSequence(), 1U);
   testing::Mock::VerifyAndClearExpectations(&host_.aclMgr);
   testing::Mock::VerifyAndClearExpectations(&host_.policyMapMgr);
   expectNoChange();
   EXPECT_EQ(status(message("a", "b", {1})), pb::RPC_STATUS_OK);
}

TEST_F(NamedCbfRedirectTest, aRemovalOfAnUnknownRedirectIsNotFoundWithoutWords) {
   expectNoChange();
   orvtest::TraceCapture traces("OrvSdkRpc/6");
   const auto response = process(removal("a", "b"));
   EXPECT_EQ(response.status(), pb::RPC_STATUS_NOT_FOUND);
   EXPECT_EQ(response.debug_string(), "");
   EXPECT_EQ(traces.texts(),
             std::vector<std::string>{"Ignore remove map matching a redirect b no matching sequence"});
}

TEST_F(NamedCbfRedirectTest, aResyncSchedulesWhatWasNotReplayedAndALateReplaySavesIt) {
   status(message("a", "b", {1}));
   status(message("c", "d", {2}));
   status(message("e", "f", {3}));
   contract_.resync(0);
   status(message("a", "b", {1}));
   EXPECT_EQ(contract_.resync(1).status(), pb::RPC_STATUS_OK);
   status(message("c", "d", {2}));
   EXPECT_EQ(contract_.cbf.processRemove(), 1U);
   EXPECT_NE(find("a", "b"), nullptr);
   EXPECT_NE(find("c", "d"), nullptr);
   EXPECT_EQ(find("e", "f"), nullptr);
}

// The items of a bulk give the main loop its turn; the commit and the push at its end belong together.
TEST_F(NamedCbfRedirectTest, theLockSpansOneItemAndTheEndOfABulk) {
   orvtest::WatchedLock lock;
   // Which taking of the lock each call of the SDK stands under; 0 for none.
   std::vector<int> seen;
   const auto see = [&](const auto&...) { seen.push_back(orv::sdk_call_allowed() ? lock.taken() : 0); };
   ON_CALL(host_.aclMgr, acl_commit()).WillByDefault([&] { see(); });
   ON_CALL(host_.classMapMgr, class_map_is(_)).WillByDefault(see);
   ON_CALL(host_.policyMapMgr, policy_map_is(_)).WillByDefault(see);
   std::thread pump([&] {
      status(message("a", "b", {1}));
      bulk({message("c", "d", {1}), removal("a", "b")});
   });
   pump.join();
   // Commit, class map and policy map; the class map of the bulk, its removal, its commit and its push.
   EXPECT_EQ(seen, (std::vector{1, 1, 1, 2, 4, 4}));
   EXPECT_EQ(lock.released(), 4);
}

TEST_F(NamedCbfRedirectTest, anEpochIsStaleAlsoWhereTheCountStartsAnew) {
   const auto starts = [&](int count) {
      for (; count > 0; --count)
         contract_.resync(0);
   };
   for (const char* match : {"a", "c"})
      EXPECT_EQ(status(message(match, "b", {1})), pb::RPC_STATUS_OK);
   starts(255);
   EXPECT_EQ(status(message("a", "b", {1})), pb::RPC_STATUS_OK);
   EXPECT_EQ(find("a", "b")->epoch, 255);
   contract_.resync(1);
   EXPECT_EQ(contract_.cbf.processRemove(), 1U);
   EXPECT_EQ(find("c", "b"), nullptr);
   starts(1);
   EXPECT_EQ(contract_.cbf.epoch(), 0);
   EXPECT_EQ(status(message("e", "b", {1})), pb::RPC_STATUS_OK);
   contract_.resync(1);
   EXPECT_EQ(contract_.cbf.processRemove(), 1U);
   EXPECT_EQ(find("a", "b"), nullptr);
   EXPECT_NE(find("e", "b"), nullptr);
}

TEST_F(CbfOverrideTest, theTableHasTheUnionOfBothFamiliesUntilTheRemoval) {
   EXPECT_EQ(status(message("a", "b", {1, 63}, {1, 46})), pb::RPC_STATUS_OK);
   ASSERT_EQ(table().size(), 1U);
   EXPECT_EQ(table().begin()->first.match.nhgName(), "a");
   EXPECT_EQ(table().begin()->first.redirect.nhgName(), "b");
   EXPECT_EQ(table().begin()->second.count(), 3U);
   EXPECT_TRUE(table().begin()->second.dscp(46));
   status(removal("a", "b"));
   EXPECT_EQ(table().size(), 1U);
   contract_.cbf.processRemove();
   EXPECT_TRUE(table().empty());
}

TEST_F(CbfOverrideTest, itIsWrittenFirstAndStaysWhenALaterLayerRefuses) {
   EXPECT_CALL(host_.classMapMgr, class_map_is(_)).WillOnce(testing::Throw(orv::error("no")));
   EXPECT_EQ(status(message("a", "b", {1})), pb::RPC_STATUS_ERROR);
   EXPECT_EQ(table().size(), 1U);
}

TEST_F(CbfOverrideTest, aNameOf129BytesIsBeyondTheTable) {
   EXPECT_EQ(status(message(std::string(128, 'x').c_str(), "b", {1})), pb::RPC_STATUS_OK);
   EXPECT_THROW(process(message(std::string(129, 'x').c_str(), "b", {1})), Zelt::RangeException);
}

TEST_F(NamedCbfRedirectTest, withoutATableANameOf129BytesIsHarmless) {
   EXPECT_EQ(status(message(std::string(129, 'x').c_str(), "b", {1})), pb::RPC_STATUS_OK);
}

}  // namespace
}  // namespace OrvSdkRpc
