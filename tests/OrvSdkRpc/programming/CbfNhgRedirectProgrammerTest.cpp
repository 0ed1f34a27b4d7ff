#include "OrvSdkRpc/programming/CbfNhgRedirectProgrammer.h"

#include <gtest/gtest.h>

#include <map>
#include <vector>

#include "fixture/Contract.h"
#include "fixture/ListIterator.h"
#include "fixture/TraceCapture.h"

namespace OrvSdkRpc {
namespace {

using testing::_;
using testing::Return;

const orv::policy_map_key_t mapKey("map", orv::policy_feature_t::pbr);

orv::policy_map_key_t classKey(const std::string& name) {
   return {name, orv::policy_feature_t::pbr};
}

orv::policy_map_rule_t ruleTo(const std::string& className, std::initializer_list<const char*> groups) {
   orv::policy_map_rule_t rule(classKey(className));
   for (const char* group : groups) {
      orv::policy_map_action_t action(orv::policy_action_type_t::nexthop_group);
      action.nexthop_group_name_is(group);
      rule.action_set(action);
   }
   return rule;
}

orv::acl_rule_ip_entry_t aclRule(unsigned seq, const std::string& group, unsigned priority) {
   orv::acl_rule_ip_t rule;
   rule.nexthop_group_is(group);
   rule.priority_value_is(static_cast<std::uint8_t>(priority));
   return {seq, rule};
}

// A switch that holds a policy map with its class maps and lists.
class CbfNhgRedirectProgrammerTest : public testing::Test {
protected:
   CbfNhgRedirectProgrammerTest() {
      ON_CALL(host_.policyMapMgr, exists(mapKey)).WillByDefault(Return(true));
      ON_CALL(host_.policyMapMgr, policy_map(mapKey)).WillByDefault([this](const auto&) {
         return policyMap_;
      });
      ON_CALL(host_.classMapMgr, exists(_)).WillByDefault([this](const orv::policy_map_key_t& key) {
         return classMaps_.contains(key);
      });
      ON_CALL(host_.classMapMgr, class_map(_)).WillByDefault([this](const orv::policy_map_key_t& key) {
         return classMaps_.at(key);
      });
      ON_CALL(host_.aclMgr, acl_exists(_)).WillByDefault([this](const orv::acl_key_t& key) {
         return acls_.contains(key);
      });
      ON_CALL(host_.aclMgr, acl_rule_ip_iter(_)).WillByDefault([this](const orv::acl_key_t& key) {
         return fixture::rows<orv::acl_rule_ip_iter_t>(acls_[key]);
      });
   }

   // A class map `name` with a rule for each list.
   void classMap(const std::string& name, const std::vector<orv::acl_key_t>& lists) {
      orv::class_map_t map(classKey(name));
      std::uint32_t seq = 0;
      for (const auto& list : lists)
         map.rule_set(++seq, orv::class_map_rule_t(list));
      classMaps_[classKey(name)] = map;
   }
   // A redirect as the programmer builds it.
   void redirect(std::uint32_t seq, const std::string& name, const std::string& match, const std::string& to,
                 std::initializer_list<unsigned> ipv4, std::initializer_list<unsigned> ipv6) {
      policyMap_.rule_set(seq, ruleTo(name, {to.c_str()}));
      const orv::acl_key_t v4(name + "_IPv4", orv::acl_type_t::ipv4);
      const orv::acl_key_t v6(name + "_IPv6", orv::acl_type_t::ipv6);
      classMap(name, {v4, v6});
      unsigned n = 0;
      for (const unsigned dscp : ipv4)
         acls_[v4].push_back(aclRule(++n, match, dscp));
      n = 0;
      for (const unsigned dscp : ipv6)
         acls_[v6].push_back(aclRule(++n, match, dscp << 2));
   }
   const CbfNhgRedirectProgrammer::SeqAndDscpValues* find(const char* match, const char* to) const {
      const auto i = contract_.cbf.redirects().find({match, to});
      return i == contract_.cbf.redirects().end() ? nullptr : &i->second;
   }
   // The rule at 5 is bad: nothing is known of it, and its class map and lists go.
   void expectBad(const std::string& words) {
      fixture::TraceCapture traces("OrvSdkRpc/0");
      EXPECT_CALL(host_.policyMapMgr, policy_map_is(_)).Times(0);
      EXPECT_CALL(host_.aclMgr, acl_commit()).Times(1);
      EXPECT_TRUE(contract_.cbf.cbrPolicyMapNameIs("map"));
      EXPECT_EQ(traces.texts(), std::vector<std::string>{words});
      EXPECT_TRUE(contract_.cbf.redirects().empty());
      EXPECT_EQ(contract_.cbf.lastSequence(), 5U);
   }

   fixture::Contract contract_;
   fixture::AgentHost& host_ = contract_.host;
   orv::policy_map_t policyMap_{mapKey};
   std::map<orv::policy_map_key_t, orv::class_map_t> classMaps_;
   std::map<orv::acl_key_t, std::vector<orv::acl_rule_ip_entry_t>> acls_;
};

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
   // The same name again asks nobody.
   EXPECT_TRUE(contract_.cbf.cbrPolicyMapNameIs("other"));
}

TEST_F(CbfNhgRedirectProgrammerTest, anEmptyPolicyMapHoldsNoRedirects) {
   EXPECT_FALSE(contract_.cbf.cbrPolicyMapNameIs("map"));
}

TEST_F(CbfNhgRedirectProgrammerTest, redirectsAreReadBack) {
   redirect(3, "a-b", "a", "b", {46, 10}, {46});
   redirect(7, "c-d", "c", "d", {}, {1, 2});
   contract_.cbf.resyncStart();
   fixture::TraceCapture traces("OrvSdkRpc/7");
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
   EXPECT_CALL(host_.aclMgr, acl_del(orv::acl_key_t("a-b_IPv4", orv::acl_type_t::ipv4)));
   // The IPv6 list does not exist here.
   EXPECT_CALL(host_.aclMgr, acl_del(orv::acl_key_t("a-b_IPv6", orv::acl_type_t::ipv6))).Times(0);
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
   acls_[one] = {aclRule(1, "a", 10)};
   acls_[two] = {aclRule(1, "a", 11)};
   EXPECT_CALL(host_.aclMgr, acl_del(one));
   EXPECT_CALL(host_.aclMgr, acl_del(two));
   expectBad("Error: policy-map seq 5 class-map a-b seq 2 existing DSCP values");
}

TEST_F(CbfNhgRedirectProgrammerTest, contradictingMatchGroupsAreBad) {
   policyMap_.rule_set(5, ruleTo("a-b", {"b"}));
   const orv::acl_key_t list("one", orv::acl_type_t::ipv4);
   classMap("a-b", {list});
   acls_[list] = {aclRule(1, "a", 10), aclRule(2, "x", 11)};
   expectBad("Error: policy-map seq 5 class-map a-b seq 1 contradicting match NexthopGroups a x");
}

TEST_F(CbfNhgRedirectProgrammerTest, noMatchGroupIsBad) {
   policyMap_.rule_set(5, ruleTo("a-b", {"b"}));
   const orv::acl_key_t list("one", orv::acl_type_t::ipv4);
   classMap("a-b", {list});
   acls_[list] = {};
   EXPECT_CALL(host_.classMapMgr, class_map_del(classKey("a-b")));
   EXPECT_CALL(host_.aclMgr, acl_del(list));
   expectBad("Error: policy-map seq 5 missing match NexthopGroup");
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

TEST_F(CbfNhgRedirectProgrammerTest, requestsAreToldThatThereIsNoProgrammingInThisBuild) {
   pb::cbf_nexthop_group_redirect_bulk_msg request;
   request.add_bulk()->set_match_nexthop_group_name("a");
   pb::rpc_status_bulk_msg response;
   contract_.cbf.processCbfNhgRedirectBulkRequest(request, response);
   ASSERT_EQ(response.statuses_size(), 1);
   EXPECT_EQ(response.statuses(0).status(), pb::RPC_STATUS_NOT_INITIALIZED);
   contract_.init();
   response.Clear();
   contract_.cbf.processCbfNhgRedirectBulkRequest(request, response);
   EXPECT_EQ(response.statuses(0).status(), pb::RPC_STATUS_ERROR);
   EXPECT_EQ(response.statuses(0).debug_string(),
             "Error: not available in this build, request match_nexthop_group_name: \"a\"");
}

}  // namespace
}  // namespace OrvSdkRpc
