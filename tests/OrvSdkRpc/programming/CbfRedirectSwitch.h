// The programmer of redirects over a switch that holds a policy map with its class maps and lists.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "OrvSdkRpc/programming/CbfNhgRedirectProgrammer.h"
#include "fixture/Contract.h"
#include "fixture/ListIterator.h"
#include "fixture/TraceCapture.h"

namespace OrvSdkRpc {

inline const orv::policy_map_key_t mapKey("map", orv::policy_feature_t::pbr);

inline orv::policy_map_key_t classKey(const std::string& name) {
   return {name, orv::policy_feature_t::pbr};
}

inline orv::policy_map_rule_t ruleTo(const std::string& className,
                                     std::initializer_list<const char*> groups) {
   orv::policy_map_rule_t rule(classKey(className));
   for (const char* group : groups) {
      orv::policy_map_action_t action(orv::policy_action_type_t::nexthop_group);
      action.nexthop_group_name_is(group);
      rule.action_set(action);
   }
   return rule;
}

inline orv::acl_rule_ip_entry_t aclRule(unsigned seq, const std::string& group, unsigned priority) {
   orv::acl_rule_ip_t rule;
   rule.nexthop_group_is(group);
   rule.priority_value_is(static_cast<std::uint8_t>(priority));
   return {seq, rule};
}

// A switch that holds a policy map with its class maps and lists.
class CbfNhgRedirectProgrammerTest : public testing::Test {
protected:
   explicit CbfNhgRedirectProgrammerTest(CbfNhgMgr* cbfNhgMgr = nullptr) : contract_(cbfNhgMgr) {
      ON_CALL(host_.policyMapMgr, exists(mapKey)).WillByDefault(testing::Return(true));
      ON_CALL(host_.policyMapMgr, policy_map(mapKey)).WillByDefault([this](const auto&) {
         return policyMap_;
      });
      ON_CALL(host_.classMapMgr, exists(testing::_)).WillByDefault([this](const orv::policy_map_key_t& key) {
         return classMaps_.contains(key);
      });
      ON_CALL(host_.classMapMgr, class_map(testing::_))
           .WillByDefault([this](const orv::policy_map_key_t& key) { return classMaps_.at(key); });
      ON_CALL(host_.aclMgr, acl_exists(testing::_)).WillByDefault([this](const orv::acl_key_t& key) {
         return acls_.contains(key);
      });
      ON_CALL(host_.aclMgr, acl_rule_ip_iter(testing::_)).WillByDefault([this](const orv::acl_key_t& key) {
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
      EXPECT_CALL(host_.policyMapMgr, policy_map_is(testing::_)).Times(0);
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

}  // namespace OrvSdkRpc
