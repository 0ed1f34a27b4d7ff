// Reads back redirects that the switch already holds.
#include "CbfRedirectSwitch.h"

namespace OrvSdkRpc {
namespace {

using testing::_;
using testing::Return;

TEST_F(CbfNhgRedirectProgrammerTest, theEmptyNameOfAFreshServerIsTheKnownOne) {
   EXPECT_CALL(host_.policyMapMgr, exists(_)).Times(0);
   EXPECT_CALL(host_.agentMgr, status_set(_, _)).Times(0);
   EXPECT_TRUE(contract_.cbf.cbrPolicyMapNameIs(""));
}

TEST_F(CbfNhgRedirectProgrammerTest, aNameWithoutAPolicyMapIsKeptAndFalse) {
   testing::InSequence order;
   EXPECT_CALL(host_.policyMapMgr, exists(classKey("other"))).WillOnce(Return(false));
   EXPECT_CALL(host_.agentMgr, status("OrvSdkRpc-cbfNexthopGroupRedirectPolicyMapName"));
   EXPECT_CALL(host_.agentMgr, status_set("OrvSdkRpc-cbfNexthopGroupRedirectPolicyMapName", "other"));
   EXPECT_FALSE(contract_.cbf.cbrPolicyMapNameIs("other"));
   // The same name again calls no manager.
   EXPECT_TRUE(contract_.cbf.cbrPolicyMapNameIs("other"));
}

TEST_F(CbfNhgRedirectProgrammerTest, anEmptyPolicyMapHoldsNoRedirects) {
   EXPECT_FALSE(contract_.cbf.cbrPolicyMapNameIs("map"));
}

TEST_F(CbfNhgRedirectProgrammerTest, redirectsAreReadBack) {
   redirect(3, "a-b", "a", "b", {46, 10}, {46});
   redirect(7, "c-d", "c", "d", {}, {1, 2});
   contract_.cbf.resyncStart();
   orvtest::TraceCapture traces("OrvSdkRpc/7");
   EXPECT_CALL(host_.aclMgr, acl_commit()).Times(0);
   EXPECT_TRUE(contract_.cbf.cbrPolicyMapNameIs("map"));
   const auto* const first = find("a", "b");
   ASSERT_NE(first, nullptr);
   EXPECT_EQ(first->sequence, 3U);
   EXPECT_EQ(first->epoch, 1);
   EXPECT_EQ(first->ipv4.values(), (std::vector<std::uint8_t>{10, 46}));
   EXPECT_EQ(first->ipv6.values(), (std::vector<std::uint8_t>{46}));
   const auto* const second = find("c", "d");
   ASSERT_NE(second, nullptr);
   EXPECT_TRUE(second->ipv4.empty());
   EXPECT_EQ(contract_.cbf.lastSequence(), 7U);
   EXPECT_EQ(traces.texts(),
             (std::vector<std::string>{
                  "Restored policy-map seq 3 nexthop-group a -> b IPv4 DSCP [ 10, 46 ] IPv6 DSCP [ 46 ]",
                  "Restored policy-map seq 7 nexthop-group c -> d IPv4 DSCP [] IPv6 DSCP [ 1, 2 ]"}));
}

TEST_F(CbfNhgRedirectProgrammerTest, contradictingRedirectGroupsAreBad) {
   redirect(5, "a-b", "a", "b", {1}, {});
   policyMap_.rule_set(5, ruleTo("a-b", {"b", "c"}));
   EXPECT_CALL(host_.classMapMgr, class_map_del(classKey("a-b")));
   const orv::acl_key_t v4("a-b_IPv4", orv::acl_type_t::ipv4), v6("a-b_IPv6", orv::acl_type_t::ipv6);
   pending_.erase(v6);
   committed_.erase(v6);
   EXPECT_CALL(host_.aclMgr, acl_del(v4));
   EXPECT_CALL(host_.aclMgr, acl_del(v6)).Times(0);
   expectBad("Error: policy-map seq 5 contradicting redirect NexthopGroups");
}

TEST_F(CbfNhgRedirectProgrammerTest, noRedirectGroupIsBad) {
   policyMap_.rule_set(5, ruleTo("a-b", {}));
   EXPECT_CALL(host_.classMapMgr, class_map_del(_)).Times(0);
   expectBad("Error: policy-map seq 5 missing redirect NexthopGroup");
}

TEST_F(CbfNhgRedirectProgrammerTest, aMissingClassMapIsBad) {
   policyMap_.rule_set(5, ruleTo("a-b", {"b"}));
   EXPECT_CALL(host_.classMapMgr, class_map_del(_)).Times(0);
   expectBad("Error: policy-map seq 5 class-map a-b missing");
}

TEST_F(CbfNhgRedirectProgrammerTest, twoListsOfOneFamilyAreBad) {
   policyMap_.rule_set(5, ruleTo("a-b", {"b"}));
   const orv::acl_key_t one("one", orv::acl_type_t::ipv4);
   const orv::acl_key_t two("two", orv::acl_type_t::ipv4);
   classMap("a-b", {one, two});
   listIs(one, {aclRule(1, "a", 10)});
   listIs(two, {aclRule(1, "a", 11)});
   EXPECT_CALL(host_.aclMgr, acl_del(one));
   EXPECT_CALL(host_.aclMgr, acl_del(two));
   expectBad("Error: policy-map seq 5 class-map a-b seq 2 existing DSCP values");
}

TEST_F(CbfNhgRedirectProgrammerTest, contradictingMatchGroupsAreBad) {
   policyMap_.rule_set(5, ruleTo("a-b", {"b"}));
   const orv::acl_key_t list("one", orv::acl_type_t::ipv4);
   classMap("a-b", {list});
   listIs(list, {aclRule(1, "a", 10), aclRule(2, "x", 11)});
   expectBad("Error: policy-map seq 5 class-map a-b seq 1 contradicting match NexthopGroups a x");
}

TEST_F(CbfNhgRedirectProgrammerTest, noMatchGroupIsBad) {
   policyMap_.rule_set(5, ruleTo("a-b", {"b"}));
   const orv::acl_key_t list("one", orv::acl_type_t::ipv4);
   classMap("a-b", {list});
   listIs(list, {});
   EXPECT_CALL(host_.classMapMgr, class_map_del(classKey("a-b")));
   EXPECT_CALL(host_.aclMgr, acl_del(list));
   expectBad("Error: policy-map seq 5 missing match NexthopGroup");
}

TEST_F(CbfNhgRedirectProgrammerTest, listsThatWereNeverCommittedAreNoRedirect) {
   redirect(5, "a-b", "a", "b", {1}, {2});
   committed_.clear();
   EXPECT_CALL(host_.classMapMgr, class_map_del(classKey("a-b")));
   expectBad("Error: policy-map seq 5 missing match NexthopGroup");
   EXPECT_TRUE(pending_.empty());
}

TEST_F(CbfNhgRedirectProgrammerTest, aBadRuleBesideGoodOnesGoesAlone) {
   redirect(3, "a-b", "a", "b", {1}, {});
   policyMap_.rule_set(5, ruleTo("none", {}));
   redirect(9, "c-d", "c", "d", {2}, {});
   EXPECT_CALL(host_.aclMgr, acl_commit()).Times(1);
   EXPECT_TRUE(contract_.cbf.cbrPolicyMapNameIs("map"));
   EXPECT_EQ(contract_.cbf.redirects().size(), 2U);
   EXPECT_EQ(contract_.cbf.lastSequence(), 9U);
}

using CbfNhgRedirectProgrammerDeathTest = CbfNhgRedirectProgrammerTest;

TEST_F(CbfNhgRedirectProgrammerDeathTest, aListOfAnotherKindEndsTheProcess) {
   GTEST_FLAG_SET(death_test_style, "threadsafe");
   policyMap_.rule_set(5, ruleTo("a-b", {"b"}));
   classMap("a-b", {orv::acl_key_t("one", orv::acl_type_t::mpls)});
   EXPECT_DEATH(contract_.cbf.cbrPolicyMapNameIs("map"), "unexpected acl-type");
}

}  // namespace
}  // namespace OrvSdkRpc
