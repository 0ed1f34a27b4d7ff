// The programmer of redirects over a switch that holds a policy map with its class maps and lists, pending
// and committed.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "OrvSdkRpc/programming/CbfNhgMgr.h"
#include "OrvSdkRpc/programming/CbfNhgRedirectProgrammer.h"
#include "platform/tessel/EntityManager.h"
#include "platform/tessel/MountGroup.h"
#include "platform/tessel/SharedMem.h"
#include "testing/sdk/Iterators.h"
#include "testing/server/Contract.h"
#include "testing/server/TraceCapture.h"

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
      ON_CALL(host_.classMapMgr, class_map_is(testing::_)).WillByDefault([this](const orv::class_map_t& map) {
         classMaps_[map.key()] = map;
      });
      ON_CALL(host_.classMapMgr, class_map_del(testing::_))
           .WillByDefault([this](const orv::policy_map_key_t& key) { classMaps_.erase(key); });
      ON_CALL(host_.policyMapMgr, policy_map_is(testing::_))
           .WillByDefault([this](const orv::policy_map_t& map) { policyMap_ = map; });
      ON_CALL(host_.aclMgr, acl_exists(testing::_)).WillByDefault([this](const orv::acl_key_t& key) {
         return pending_.contains(key);
      });
      ON_CALL(host_.aclMgr, acl_all_exists(testing::_)).WillByDefault([this](const orv::acl_key_t& key) {
         return committed_.contains(key);
      });
      ON_CALL(host_.aclMgr, acl_rule_ip_iter(testing::_)).WillByDefault([this](const orv::acl_key_t& key) {
         return iterOver(pending_, key);
      });
      ON_CALL(host_.aclMgr, acl_all_rule_ip_iter(testing::_))
           .WillByDefault([this](const orv::acl_key_t& key) { return iterOver(committed_, key); });
      ON_CALL(host_.aclMgr,
              acl_rule_set(testing::_, testing::_, testing::Matcher<const orv::acl_rule_ip_t&>(testing::_)))
           .WillByDefault([this](const orv::acl_key_t& key, unsigned seq, const orv::acl_rule_ip_t& rule) {
              pending_[key][seq] = rule;
           });
      ON_CALL(host_.aclMgr, acl_rule_del(testing::_, testing::_))
           .WillByDefault([this](const orv::acl_key_t& key, unsigned seq) {
              const auto found = pending_.find(key);
              if (found != pending_.end()) found->second.erase(seq);
           });
      ON_CALL(host_.aclMgr, acl_del(testing::_)).WillByDefault([this](const orv::acl_key_t& key) {
         pending_.erase(key);
      });
      ON_CALL(host_.aclMgr, acl_commit()).WillByDefault([this] { committed_ = pending_; });
   }

   // A list that is committed.
   void listIs(const orv::acl_key_t& key, const std::vector<orv::acl_rule_ip_entry_t>& rules) {
      pending_[key] = Rules(rules.begin(), rules.end());
      committed_[key] = pending_[key];
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
      std::vector<orv::acl_rule_ip_entry_t> rules;
      for (const unsigned dscp : ipv4)
         rules.push_back(aclRule(static_cast<unsigned>(rules.size()) + 1, match, dscp));
      listIs(v4, rules);
      rules.clear();
      for (const unsigned dscp : ipv6)
         rules.push_back(aclRule(static_cast<unsigned>(rules.size()) + 1, match, dscp << 2));
      listIs(v6, rules);
   }
   const CbfNhgRedirectProgrammer::SeqAndDscpValues* find(const char* match, const char* to) const {
      const auto i = contract_.cbf.redirects().find({match, to});
      return i == contract_.cbf.redirects().end() ? nullptr : &i->second;
   }
   // The rule at 5 is bad: the programmer does not know it, and removes its class map and lists.
   void expectBad(const std::string& words) {
      orvtest::TraceCapture traces("OrvSdkRpc/0");
      EXPECT_CALL(host_.policyMapMgr, policy_map_is(testing::_)).Times(0);
      EXPECT_CALL(host_.aclMgr, acl_commit()).Times(1);
      EXPECT_TRUE(contract_.cbf.cbrPolicyMapNameIs("map"));
      EXPECT_EQ(traces.texts(), std::vector<std::string>{words});
      EXPECT_TRUE(contract_.cbf.redirects().empty());
      EXPECT_EQ(contract_.cbf.lastSequence(), 5U);
   }

   using Rules = std::map<unsigned, orv::acl_rule_ip_t>;
   using Lists = std::map<orv::acl_key_t, Rules>;

   static orv::acl_rule_ip_iter_t iterOver(const Lists& lists, const orv::acl_key_t& key) {
      const auto found = lists.find(key);
      if (found == lists.end()) return orvtest::iterOver<orv::acl_rule_ip_iter_t>({});
      return orvtest::iterOver<orv::acl_rule_ip_iter_t>({found->second.begin(), found->second.end()});
   }

   orvtest::Contract contract_;
   orvtest::AgentHost& host_ = contract_.host;
   orv::policy_map_t policyMap_{mapKey};
   std::map<orv::policy_map_key_t, orv::class_map_t> classMaps_;
   Lists pending_;
   Lists committed_;
};

// Requests of a controller.
class CbfRedirectTest : public CbfNhgRedirectProgrammerTest {
protected:
   using Request = pb::cbf_nexthop_group_redirect_msg;

   explicit CbfRedirectTest(CbfNhgMgr* cbfNhgMgr = nullptr) : CbfNhgRedirectProgrammerTest(cbfNhgMgr) {}

   static Request message(const char* match, const char* redirect, std::initializer_list<unsigned> ipv4,
                          std::initializer_list<unsigned> ipv6 = {}) {
      Request request;
      request.set_match_nexthop_group_name(match);
      request.set_redirect_nexthop_group_name(redirect);
      for (const unsigned dscp : ipv4)
         request.add_match_ipv4_dscp(dscp);
      for (const unsigned dscp : ipv6)
         request.add_match_ipv6_dscp(dscp);
      return request;
   }
   static Request removal(const char* match, const char* redirect) {
      Request request = message(match, redirect, {});
      request.set_delete_(true);
      return request;
   }
   pb::rpc_status_msg process(const Request& request) {
      pb::rpc_status_msg response;
      contract_.cbf.processCbfNhgRedirectRequest(request, response);
      return response;
   }
   int status(const Request& request) { return process(request).status(); }
   pb::rpc_status_bulk_msg bulk(const std::vector<Request>& requests) {
      pb::cbf_nexthop_group_redirect_bulk_msg message;
      for (const Request& request : requests)
         *message.add_bulk() = request;
      pb::rpc_status_bulk_msg response;
      contract_.cbf.processCbfNhgRedirectBulkRequest(message, response);
      return response;
   }
   static orv::acl_key_t v4(const std::string& name) { return {name + "_IPv4", orv::acl_type_t::ipv4}; }
   static orv::acl_key_t v6(const std::string& name) { return {name + "_IPv6", orv::acl_type_t::ipv6}; }
   // Priority values of a committed list, by sequence; nothing where no such list is committed.
   [[nodiscard]] std::optional<std::vector<int>> priorities(const orv::acl_key_t& key) const {
      const auto list = committed_.find(key);
      if (list == committed_.end()) return std::nullopt;
      std::vector<int> values;
      unsigned expected = 0;
      for (const auto& [seq, rule] : list->second) {
         EXPECT_EQ(seq, ++expected);
         values.push_back(rule.priority_value());
      }
      return values;
   }
   // Allows all other calls, for a test that expects the calls for one list.
   void anyOtherRule() {
      EXPECT_CALL(host_.aclMgr, acl_rule_set(testing::_, testing::_,
                                             testing::Matcher<const orv::acl_rule_ip_t&>(testing::_)))
           .Times(testing::AnyNumber());
   }
   void expectNoChange() {
      EXPECT_CALL(host_.aclMgr, acl_rule_set(testing::_, testing::_,
                                             testing::Matcher<const orv::acl_rule_ip_t&>(testing::_)))
           .Times(0);
      EXPECT_CALL(host_.aclMgr, acl_rule_del(testing::_, testing::_)).Times(0);
      EXPECT_CALL(host_.aclMgr, acl_del(testing::_)).Times(0);
      EXPECT_CALL(host_.aclMgr, acl_commit()).Times(0);
      EXPECT_CALL(host_.classMapMgr, class_map_is(testing::_)).Times(0);
      EXPECT_CALL(host_.classMapMgr, class_map_del(testing::_)).Times(0);
      EXPECT_CALL(host_.policyMapMgr, policy_map_is(testing::_)).Times(0);
   }
};

// The policy map's name is set.
class NamedCbfRedirectTest : public CbfRedirectTest {
protected:
   NamedCbfRedirectTest() { contract_.init(0, "map"); }
};

struct MountedOverrides {
   MountedOverrides() {
      mgr_.doMounts(Pavo::makePtr<Tessel::MountGroup>(entities_), nullptr);
      mgr_.onMountsComplete(entities_, nullptr);
   }

   const Pavo::Ptr<Tessel::EntityManager> entities_ = Pavo::makePtr<Tessel::EntityManager>();
   CbfNhgMgr mgr_{nullptr};
};

// With the override table mounted.
class CbfOverrideTest : private MountedOverrides, public CbfRedirectTest {
protected:
   explicit CbfOverrideTest(bool init = true) : CbfRedirectTest(&mgr_) {
      if (init) contract_.init(0, "map");
   }
   const auto& table() const {
      return entities_->entity<CbfNhgExt::CbfNhgOverrideConfig>("te/nexthopgroup/override/config")
           ->nhgOverride();
   }
};

}  // namespace OrvSdkRpc
