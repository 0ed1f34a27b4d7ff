#include "softswitch/managers/policy_map_mgr.h"

#include <gmock/gmock.h>

#include <algorithm>

#include "softswitch/managers/class_map_mgr.h"
#include "softswitch/managers/intf_mgr.h"
#include "testing/softswitch/ManagerFixture.h"

namespace softswitch {
namespace {

using orv::acl_direction_t;
using orv::class_map_t;
using orv::intf_id_t;
using orv::ip_addr_t;
using orv::policy_action_type_t;
using orv::policy_feature_t;
using orv::policy_map_action_t;
using orv::policy_map_hw_status_key_t;
using orv::policy_map_key_t;
using orv::policy_map_rule_t;
using orv::policy_map_status_t;
using orv::policy_map_t;
using testing::ElementsAre;
using testing::Pair;

class PolicyListener final : public orv::policy_map_handler {
public:
   using orv::policy_map_handler::policy_map_handler;
   void on_policy_map_sync(const policy_map_key_t& key) override { heard.push_back("sync " + key.name()); }
   void on_policy_map_sync_fail(const policy_map_key_t& key, const std::string& message) override {
      heard.push_back("fail " + key.name() + ": " + message);
   }
   void on_policy_map_config_set(const policy_map_key_t& key) override {
      heard.push_back("set " + key.name());
   }
   std::vector<std::string> heard;
};

class PolicyMapMgrTest : public ManagerFixture {
protected:
   void SetUp() override {
      ManagerFixture::SetUp();
      make();
   }
   void TearDown() override {
      forget();
      ManagerFixture::TearDown();
   }
   void make() {
      intfs_ = std::make_unique<IntfMgr>(context(), topology_);
      classMaps_ = std::make_unique<ClassMapMgr>(context());
      mgr_ = std::make_unique<PolicyMapMgr>(context(), *intfs_, *classMaps_);
   }
   void forget() {
      mgr_.reset();
      classMaps_.reset();
      intfs_.reset();
   }
   // A policy map with one rule, which sends the class to a group.
   policy_map_t mapOf(const policy_map_key_t& key) {
      policy_map_action_t action(policy_action_type_t::nexthop_group);
      action.nexthop_group_name_is("group");
      policy_map_rule_t rule(class_);
      rule.action_set(action);
      policy_map_t map(key);
      map.rule_set(5, rule);
      return map;
   }
   policy_map_t withAction(const policy_map_action_t& action) {
      policy_map_rule_t rule(class_);
      rule.action_set(action);
      policy_map_t map(a_);
      map.rule_set(5, rule);
      return map;
   }

   const Topology topology_ = Topology::builtIn();
   const policy_map_key_t a_{"a", policy_feature_t::pbr}, b_{"b", policy_feature_t::pbr},
        qos_{"a", policy_feature_t::qos}, class_{"class", policy_feature_t::pbr};
   const intf_id_t ethernet1_{"Ethernet1"}, ethernet2_{"Ethernet2"};
   std::unique_ptr<IntfMgr> intfs_;
   std::unique_ptr<ClassMapMgr> classMaps_;
   std::unique_ptr<PolicyMapMgr> mgr_;
};

TEST_F(PolicyMapMgrTest, keepsWhatItIsGiven) {
   EXPECT_FALSE(mgr_->exists(a_));
   EXPECT_EQ(mgr_->policy_map(a_), policy_map_t());
   mgr_->policy_map_is(mapOf(a_));
   EXPECT_EQ(mgr_->policy_map(a_), mapOf(a_));
   mgr_->policy_map_is(policy_map_t(a_));
   EXPECT_EQ(mgr_->policy_map(a_), policy_map_t(a_));
   mgr_->policy_map_del(a_);
   mgr_->policy_map_del(a_);
   EXPECT_FALSE(mgr_->exists(a_));
}

TEST_F(PolicyMapMgrTest, listsByFeature) {
   auto qos = policy_map_t(qos_);
   for (const auto& map : {mapOf(b_), mapOf(a_), qos})
      mgr_->policy_map_is(map);
   EXPECT_THAT(listOf(mgr_->policy_map_iter(policy_feature_t::pbr)), ElementsAre(a_, b_));
   EXPECT_THAT(listOf(mgr_->policy_map_iter(policy_feature_t::qos)), ElementsAre(qos_));
}

TEST_F(PolicyMapMgrTest, everythingSurvivesARestart) {
   auto map = mapOf(a_);
   policy_map_action_t nexthops(policy_action_type_t::nexthop);
   nexthops.nexthops_is({ip_addr_t("10.0.0.1"), ip_addr_t("2001:db8::1")});
   nexthops.vrf_is("red");
   nexthops.dscp_is(46);
   nexthops.traffic_class_is(5);
   policy_map_rule_t raw;
   raw.policy_map_rule_type_is(orv::policy_map_rule_type_t::raw);
   orv::acl_rule_ip_t match;
   match.ip_protocol_is(17);
   raw.raw_rule_is(match);
   raw.action_set(nexthops);
   raw.action_set(policy_map_action_t(policy_action_type_t::drop));
   map.rule_set(9, raw);
   mgr_->policy_map_is(map);
   classMaps_->class_map_is(class_map_t(class_));
   mgr_->policy_map_apply(a_, ethernet1_, acl_direction_t::in, true);
   restart([&] { forget(); });
   make();
   EXPECT_EQ(mgr_->policy_map(a_), map);
   EXPECT_THAT(mgr_->hw_status(a_).intf_statuses(),
               ElementsAre(Pair(policy_map_hw_status_key_t(ethernet1_, acl_direction_t::in),
                                policy_map_status_t::in_progress)));
   runLoop();
   EXPECT_EQ(mgr_->hw_status(a_).intf_statuses().begin()->second, policy_map_status_t::success);
}

TEST_F(PolicyMapMgrTest, hardwareAnswersFromTheLoop) {
   PolicyListener listener(mgr_.get());
   listener.watch_all_policy_maps(true);
   classMaps_->class_map_is(class_map_t(class_));
   mgr_->policy_map_is(mapOf(a_));
   EXPECT_TRUE(mgr_->hw_status(a_).intf_statuses().empty());
   mgr_->policy_map_apply(a_, ethernet1_, acl_direction_t::in, true);
   mgr_->policy_map_apply(a_, ethernet2_, acl_direction_t::out, true);
   const policy_map_hw_status_key_t in(ethernet1_, acl_direction_t::in),
        out(ethernet2_, acl_direction_t::out);
   EXPECT_THAT(mgr_->hw_status(a_).intf_statuses(), ElementsAre(Pair(in, policy_map_status_t::in_progress),
                                                                Pair(out, policy_map_status_t::in_progress)));
   EXPECT_THAT(listener.heard, ElementsAre());
   runLoop();
   EXPECT_THAT(mgr_->hw_status(a_).intf_statuses(),
               ElementsAre(Pair(in, policy_map_status_t::success), Pair(out, policy_map_status_t::success)));
   EXPECT_THAT(listener.heard, ElementsAre("set a", "sync a"));
   EXPECT_THAT(listOf(mgr_->policy_map_hw_status_iter(policy_feature_t::pbr)), ElementsAre(a_));
}

TEST_F(PolicyMapMgrTest, anAppliedPolicyMapFollowsItsClassMap) {
   PolicyListener listener(mgr_.get());
   listener.watch_policy_map(a_, true);
   mgr_->policy_map_is(mapOf(a_));
   mgr_->policy_map_is(mapOf(b_));
   mgr_->policy_map_apply(a_, ethernet1_, acl_direction_t::in, true);
   runLoop();
   EXPECT_THAT(listener.heard, ElementsAre("set a", "fail a: rule 5: class map 'class' does not exist"));
   EXPECT_EQ(mgr_->hw_status(a_).intf_statuses().begin()->second, policy_map_status_t::failure);
   classMaps_->class_map_is(class_map_t(class_));
   runLoop();
   EXPECT_EQ(listener.heard.back(), "sync a");
   EXPECT_EQ(mgr_->hw_status(a_).intf_statuses().begin()->second, policy_map_status_t::success);
   classMaps_->class_map_del(class_);
   runLoop();
   EXPECT_EQ(mgr_->hw_status(a_).intf_statuses().begin()->second, policy_map_status_t::failure);
}

TEST_F(PolicyMapMgrTest, aPlaceTakesOnePolicyMapOfAFeature) {
   classMaps_->class_map_is(class_map_t(class_));
   mgr_->policy_map_is(mapOf(a_));
   mgr_->policy_map_is(mapOf(b_));
   mgr_->policy_map_apply(a_, ethernet1_, acl_direction_t::in, true);
   mgr_->policy_map_apply(b_, ethernet1_, acl_direction_t::in, true);
   EXPECT_TRUE(mgr_->hw_status(a_).intf_statuses().empty());
   EXPECT_EQ(mgr_->hw_status(b_).intf_statuses().size(), 1u);
   mgr_->policy_map_apply(a_, ethernet1_, acl_direction_t::in, false);
   EXPECT_EQ(mgr_->hw_status(b_).intf_statuses().size(), 1u);
   mgr_->policy_map_apply(b_, ethernet1_, acl_direction_t::in, false);
   EXPECT_TRUE(mgr_->places().empty());
}

TEST_F(PolicyMapMgrTest, deletingTakesItOffItsInterfaces) {
   mgr_->policy_map_is(mapOf(a_));
   mgr_->policy_map_apply(a_, ethernet1_, acl_direction_t::in, true);
   mgr_->policy_map_del(a_);
   EXPECT_TRUE(mgr_->places().empty());
   runLoop();
   EXPECT_TRUE(mgr_->hw_status(a_).intf_statuses().empty());
}

TEST_F(PolicyMapMgrTest, resyncRemovesWhatWasNotSetAgain) {
   mgr_->policy_map_is(mapOf(a_));
   mgr_->policy_map_is(mapOf(b_));
   mgr_->policy_map_apply(a_, ethernet1_, acl_direction_t::in, true);
   mgr_->resync_init();
   mgr_->policy_map_is(mapOf(b_));
   mgr_->resync_complete();
   EXPECT_FALSE(mgr_->exists(a_));
   EXPECT_TRUE(mgr_->exists(b_));
   EXPECT_TRUE(mgr_->places().empty());
}

TEST_F(PolicyMapMgrTest, refusesRulesThatCannotWork) {
   const auto words = [&](const policy_map_t& map) { return refusal([&] { mgr_->policy_map_is(map); }); };
   EXPECT_EQ(words(policy_map_t()), "policy map name is empty, expected a name");
   EXPECT_EQ(words(policy_map_t(policy_map_key_t("a", policy_feature_t::none))),
             "policy map 'a' has feature none, expected pbr, qos, tap-aggregation or control-plane");
   policy_map_t map(a_);
   map.rule_set(5, policy_map_rule_t());
   EXPECT_EQ(words(map), "policy map 'a' rule 5: the class map's name is empty, expected a name");
   map.rule_set(5, policy_map_rule_t(policy_map_key_t("class", policy_feature_t::qos)));
   EXPECT_EQ(words(map), "policy map 'a' rule 5: class map 'class' has feature qos, expected pbr");

   policy_map_action_t action(policy_action_type_t::nexthop);
   EXPECT_EQ(words(withAction(action)),
             "policy map 'a' rule 5: action nexthop has no nexthops, expected at least one");
   action.nexthops_is({ip_addr_t()});
   EXPECT_EQ(words(withAction(action)),
             "policy map 'a' rule 5: action nexthop has a null nexthop, expected IPv4 or IPv6 addresses");
   EXPECT_EQ(words(withAction(policy_map_action_t(policy_action_type_t::nexthop_group))),
             "policy map 'a' rule 5: action nexthop-group has no group, expected a name");
   EXPECT_EQ(words(withAction(policy_map_action_t(policy_action_type_t::vrf))),
             "policy map 'a' rule 5: action vrf has no VRF, expected a name");
   policy_map_action_t dscp(policy_action_type_t::dscp);
   dscp.dscp_is(64);
   EXPECT_EQ(words(withAction(dscp)), "policy map 'a' rule 5: dscp 64 is out of range, expected 0 to 63");
   policy_map_action_t trafficClass(policy_action_type_t::traffic_class);
   trafficClass.traffic_class_is(8);
   EXPECT_EQ(words(withAction(trafficClass)),
             "policy map 'a' rule 5: traffic-class 8 is out of range, expected 0 to 7");
   const policy_map_key_t longName(std::string(401, 'n'), policy_feature_t::pbr);
   EXPECT_EQ(words(policy_map_t(longName)), "policy map name of 401 bytes, expected at most 400");
   map.rule_set(5, policy_map_rule_t(longName));
   EXPECT_EQ(words(map), "policy map 'a' rule 5: class map name of 401 bytes, expected at most 400");
   // Rules of other types carry a class map's name too.
   policy_map_rule_t raw(longName);
   raw.policy_map_rule_type_is(orv::policy_map_rule_type_t::raw);
   map.rule_set(5, raw);
   EXPECT_EQ(words(map), "policy map 'a' rule 5: class map name of 401 bytes, expected at most 400");
   policy_map_action_t group(policy_action_type_t::nexthop_group);
   group.nexthop_group_name_is(std::string(256, 'g'));
   EXPECT_EQ(words(withAction(group)),
             "policy map 'a' rule 5: action nexthop-group: group name of 256 bytes, expected at most 255");
   policy_map_action_t vrf(policy_action_type_t::vrf);
   vrf.vrf_is(std::string(256, 'v'));
   EXPECT_EQ(words(withAction(vrf)),
             "policy map 'a' rule 5: action vrf: VRF name of 256 bytes, expected at most 255");
   EXPECT_FALSE(mgr_->exists(a_));
   const policy_map_key_t longest(std::string(400, 'n'), policy_feature_t::pbr);
   EXPECT_EQ(words(policy_map_t(longest)), "");
   EXPECT_EQ(refusal([&] { mgr_->policy_map_apply(longest, ethernet1_, acl_direction_t::in, true); }), "");
   policy_map_t empty(a_);
   empty.rule_set(1, policy_map_rule_t(class_));
   EXPECT_EQ(words(empty), "");
}

TEST_F(PolicyMapMgrTest, refusesARawRuleThatNoListCouldHave) {
   using orv::acl_range_operator_t;
   using orv::acl_rule_ip_t;
   using orv::policy_map_rule_type_t;
   const auto words = [&](policy_map_rule_type_t type, auto change) {
      acl_rule_ip_t match;
      change(match);
      policy_map_rule_t rule(class_);
      rule.policy_map_rule_type_is(type);
      rule.raw_rule_is(match);
      policy_map_t map(a_);
      map.rule_set(1, policy_map_rule_t(class_));
      map.rule_set(5, rule);
      try {
         mgr_->policy_map_is(map);
      } catch (const orv::invalid_argument_error& e) {
         EXPECT_FALSE(mgr_->exists(a_));
         const std::string text = e.what();
         const std::string where = "policy map 'a' rule 5: raw rule: ";
         EXPECT_TRUE(text.starts_with(where)) << text;
         return text.substr(std::min(where.size(), text.size()));
      }
      mgr_->policy_map_del(a_);
      return std::string();
   };
   const auto raw = [&](auto change) { return words(policy_map_rule_type_t::raw, change); };
   const ip_addr_t one("10.0.0.1"), six("2001:db8::1");
   EXPECT_EQ(raw([&](auto& r) { r.source_addr_is({one, 32}); }), "");
   EXPECT_EQ(raw([&](auto& r) { r.source_addr_is({six, 128}); }), "");
   EXPECT_EQ(raw([&](auto& r) {
                r.source_addr_is({one, 33});
             }),
             "source 10.0.0.1 has mask length 33, expected 0 to 32");
   EXPECT_EQ(raw([&](auto& r) {
                r.destination_addr_is({six, 129});
             }),
             "destination 2001:db8::1 has mask length 129, expected 0 to 128");
   EXPECT_EQ(raw([&](auto& r) {
                r.source_addr_is({ip_addr_t(), 1});
             }),
             "source has mask length 1 without an address, expected 0");
   EXPECT_EQ(raw([&](auto& r) {
                r.source_addr_is({one, 8});
                r.destination_addr_is({six, 8});
             }),
             "destination 2001:db8::1/8 has family 6, expected 4");
   EXPECT_EQ(raw([&](auto& r) {
                r.ip_type_is(orv::acl_ip_type_t::ipv6);
                r.source_addr_is({one, 8});
             }),
             "source 10.0.0.1/8 has family 4, expected 6");
   EXPECT_EQ(raw([&](auto& r) {
                r.source_port_is({acl_range_operator_t::eq, {}});
             }),
             "source port has 0 numbers for operator eq, expected 1 to 10");
   EXPECT_EQ(raw([&](auto& r) {
                r.destination_port_is({acl_range_operator_t::range, {9, 3}});
             }),
             "destination port ranges from 9 to 3, expected an ascending range");
   EXPECT_EQ(raw([&](auto& r) { r.vlan_is(4096); }), "vlan 4096 is out of range, expected 0 to 4095");
   EXPECT_EQ(raw([&](auto& r) {
                r.ttl_is({acl_range_operator_t::range, 1});
             }),
             "ttl has operator range, expected eq, gt, lt, neq or any");
   EXPECT_EQ(raw([&](auto& r) { r.tcp_flags_is(512); }), "tcp flags 512 is out of range, expected 0 to 511");
   EXPECT_EQ(raw([&](auto& r) { r.icmp_code_is(256); }),
             "icmp code 256 is out of range, expected 0 to 255, or 65535 for any");
   // The limits apply to a rule of another type as well.
   EXPECT_EQ(words(policy_map_rule_type_t::class_map,
                   [&](auto& r) {
                      r.source_addr_is({one, 200});
                   }),
             "source 10.0.0.1 has mask length 200, expected 0 to 32");
}

TEST_F(PolicyMapMgrTest, refusesToApplyWhatIsNotThere) {
   EXPECT_EQ(refusal([&] { mgr_->policy_map_apply(a_, ethernet1_, acl_direction_t::in, true); }),
             "policy map 'a' cannot be applied to interface Ethernet1, it does not exist");
   mgr_->policy_map_is(mapOf(a_));
   EXPECT_EQ(refusal([&] { mgr_->policy_map_apply(a_, intf_id_t("Ethernet99"), acl_direction_t::in, true); }),
             "unknown interface Ethernet99");
   EXPECT_EQ(refusal([&] { mgr_->policy_map_apply(a_, ethernet1_, acl_direction_t::none, true); }),
             "direction none, expected in or out");
   EXPECT_TRUE(mgr_->places().empty());
}

}  // namespace
}  // namespace softswitch
