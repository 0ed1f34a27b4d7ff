#include "softswitch/managers/traffic_policies.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "orv/error.h"
#include "softswitch/managers/class_map_mgr.h"
#include "softswitch/managers/intf_mgr.h"
#include "softswitch/managers/policy_map_mgr.h"
#include "testing/sdk/Refusal.h"
#include "testing/softswitch/ManagerFixture.h"
#include "testing/softswitch/SwitchFixture.h"

namespace softswitch {
namespace {

using orv::intf_id_t;
using orv::ip_addr_t;
using orv::policy_feature_t;
using orv::policy_map_key_t;
using orv::traffic_policy_action_t;
using orv::traffic_policy_action_type_t;
using orv::traffic_policy_direction_t;
using orv::traffic_policy_rule_t;
using orv::traffic_policy_rule_type_t;
using orv::traffic_policy_t;
using testing::ElementsAre;
using testing::IsEmpty;

class ConfigListener final : public orv::policy_map_handler {
public:
   using orv::policy_map_handler::policy_map_handler;
   void on_traffic_policy_config_set(const policy_map_key_t& key) override { traffic.push_back(key); }
   void on_policy_map_config_set(const policy_map_key_t& key) override { maps.push_back(key); }
   void on_policy_map_sync(const policy_map_key_t& key) override { synced.push_back(key); }
   std::vector<policy_map_key_t> traffic, maps, synced;
};

// Traffic policies as the SDK sees them, through the manager of policy maps.
class TrafficPoliciesTest : public ManagerFixture {
protected:
   void SetUp() override {
      ManagerFixture::SetUp();
      make();
   }
   void TearDown() override {
      forget();
      ManagerFixture::TearDown();
   }
   void make(const Topology& topology = Topology::builtIn()) {
      intfs_ = std::make_unique<IntfMgr>(context(), topology);
      classMaps_ = std::make_unique<ClassMapMgr>(context());
      mgr_ = std::make_unique<PolicyMapMgr>(context(), *intfs_, *classMaps_);
   }
   void forget() {
      mgr_.reset();
      classMaps_.reset();
      intfs_.reset();
   }
   static policy_map_key_t keyOf(const std::string& name) { return {name, policy_feature_t::none}; }
   // A policy with one rule, which drops IPv4 packets.
   static traffic_policy_t dropping(const std::string& name) {
      traffic_policy_rule_t rule(traffic_policy_rule_type_t::ipv4, "all");
      rule.action_set(traffic_policy_action_t(traffic_policy_action_type_t::drop));
      traffic_policy_t policy(name);
      policy.rule_set(10, rule);
      return policy;
   }
   void apply(const std::string& name, const intf_id_t& intf,
              traffic_policy_direction_t direction = traffic_policy_direction_t::in) {
      mgr_->traffic_policy_apply(name, intf, direction, true);
   }
   void remove(const std::string& name, const intf_id_t& intf,
               traffic_policy_direction_t direction = traffic_policy_direction_t::in) {
      mgr_->traffic_policy_apply(name, intf, direction, false);
   }
   // "Ethernet1 in edge" for each place, in order.
   std::vector<std::string> places() const {
      std::vector<std::string> all;
      mgr_->trafficPolicies().places().forEach([&](const auto& place, const std::string& name) {
         all.push_back(fmt::format("{} {} {}", place.intf, place.direction, name));
      });
      return all;
   }

   const intf_id_t ethernet1_{"Ethernet1"}, ethernet2_{"Ethernet2"};
   std::unique_ptr<IntfMgr> intfs_;
   std::unique_ptr<ClassMapMgr> classMaps_;
   std::unique_ptr<PolicyMapMgr> mgr_;
};

TEST_F(TrafficPoliciesTest, keepsWhatItIsGiven) {
   EXPECT_FALSE(mgr_->traffic_policy_exists("edge"));
   EXPECT_EQ(mgr_->traffic_policy("edge"), traffic_policy_t());
   mgr_->traffic_policy_is(dropping("edge"));
   EXPECT_TRUE(mgr_->traffic_policy_exists("edge"));
   EXPECT_EQ(mgr_->traffic_policy("edge"), dropping("edge"));
   mgr_->traffic_policy_is(traffic_policy_t("edge"));
   EXPECT_EQ(mgr_->traffic_policy("edge"), traffic_policy_t("edge"));
   mgr_->traffic_policy_del("edge");
   mgr_->traffic_policy_del("edge");
   EXPECT_FALSE(mgr_->traffic_policy_exists("edge"));
}

TEST_F(TrafficPoliciesTest, areListedByNameWithoutAFeature) {
   for (const auto* name : {"edge", "core", "a longer name"})
      mgr_->traffic_policy_is(dropping(name));
   EXPECT_THAT(listOf(mgr_->traffic_policy_iter()),
               ElementsAre(keyOf("a longer name"), keyOf("core"), keyOf("edge")));
}

TEST_F(TrafficPoliciesTest, haveNothingInCommonWithPolicyMapsOfTheirName) {
   const policy_map_key_t map("edge", policy_feature_t::pbr);
   mgr_->policy_map_is(orv::policy_map_t(map));
   EXPECT_FALSE(mgr_->traffic_policy_exists("edge"));
   mgr_->traffic_policy_is(dropping("edge"));
   apply("edge", ethernet1_);
   mgr_->policy_map_del(map);
   EXPECT_TRUE(mgr_->traffic_policy_exists("edge"));
   EXPECT_THAT(places(), ElementsAre("Ethernet1 in edge"));
   EXPECT_THAT(listOf(mgr_->policy_map_iter(policy_feature_t::none)), IsEmpty());
}

TEST_F(TrafficPoliciesTest, surviveARestartWhereTheyAreApplied) {
   auto policy = dropping("edge");
   policy.named_counters_is({"hits", "misses"});
   mgr_->traffic_policy_is(policy);
   mgr_->traffic_policy_is(dropping("core"));
   apply("edge", ethernet1_);
   apply("core", ethernet2_, traffic_policy_direction_t::out);
   restart([&] { forget(); });
   make();
   EXPECT_EQ(mgr_->traffic_policy("edge"), policy);
   EXPECT_THAT(listOf(mgr_->traffic_policy_iter()), ElementsAre(keyOf("core"), keyOf("edge")));
   EXPECT_THAT(places(), ElementsAre("Ethernet1 in edge", "Ethernet2 out core"));
   mgr_->traffic_policy_del("edge");
   restart([&] { forget(); });
   make();
   EXPECT_FALSE(mgr_->traffic_policy_exists("edge"));
   EXPECT_THAT(places(), ElementsAre("Ethernet2 out core"));
}

TEST_F(TrafficPoliciesTest, aSetIsToldFromTheLoopWithTheNameAndNoFeature) {
   ConfigListener all(mgr_.get()), one(mgr_.get()), other(mgr_.get());
   all.watch_all_policy_maps(true);
   one.watch_policy_map(keyOf("edge"), true);
   other.watch_policy_map(policy_map_key_t("edge", policy_feature_t::pbr), true);
   mgr_->traffic_policy_is(dropping("edge"));
   mgr_->traffic_policy_is(dropping("core"));
   EXPECT_THAT(all.traffic, IsEmpty());
   runLoop();
   EXPECT_THAT(all.traffic, ElementsAre(keyOf("edge"), keyOf("core")));
   EXPECT_THAT(one.traffic, ElementsAre(keyOf("edge")));
   EXPECT_THAT(other.traffic, IsEmpty());
   EXPECT_THAT(all.maps, IsEmpty());
   EXPECT_THAT(all.synced, IsEmpty());
   // The same again is a set too; a refused one is not.
   mgr_->traffic_policy_is(dropping("edge"));
   EXPECT_NE(refusal([&] { mgr_->traffic_policy_is(traffic_policy_t()); }), "");
   mgr_->traffic_policy_del("edge");
   runLoop();
   EXPECT_THAT(one.traffic, ElementsAre(keyOf("edge"), keyOf("edge")));
   EXPECT_EQ(all.traffic.size(), 3u);
}

TEST_F(TrafficPoliciesTest, aPlaceTakesOneOfThem) {
   mgr_->traffic_policy_is(dropping("edge"));
   mgr_->traffic_policy_is(dropping("core"));
   apply("edge", ethernet1_);
   apply("edge", ethernet1_, traffic_policy_direction_t::out);
   apply("core", ethernet1_);
   EXPECT_THAT(places(), ElementsAre("Ethernet1 in core", "Ethernet1 out edge"));
   // Removing one that is not there any more leaves the one that replaced it.
   remove("edge", ethernet1_);
   EXPECT_THAT(places(), ElementsAre("Ethernet1 in core", "Ethernet1 out edge"));
   remove("core", ethernet1_);
   remove("edge", ethernet1_, traffic_policy_direction_t::out);
   EXPECT_THAT(places(), IsEmpty());
}

TEST_F(TrafficPoliciesTest, deletingOneTakesItOffItsInterfaces) {
   mgr_->traffic_policy_is(dropping("edge"));
   mgr_->traffic_policy_is(dropping("core"));
   apply("edge", ethernet1_);
   apply("edge", ethernet2_, traffic_policy_direction_t::out);
   apply("core", ethernet2_);
   mgr_->traffic_policy_del("edge");
   EXPECT_THAT(places(), ElementsAre("Ethernet2 in core"));
}

TEST_F(TrafficPoliciesTest, resyncRemovesWhatWasNotSetAgain) {
   mgr_->traffic_policy_is(dropping("edge"));
   mgr_->traffic_policy_is(dropping("core"));
   apply("edge", ethernet1_);
   apply("core", ethernet2_);
   mgr_->resync_init();
   mgr_->traffic_policy_is(dropping("core"));
   mgr_->resync_complete();
   EXPECT_FALSE(mgr_->traffic_policy_exists("edge"));
   EXPECT_TRUE(mgr_->traffic_policy_exists("core"));
   EXPECT_THAT(places(), ElementsAre("Ethernet2 in core"));
   // Without an init, nothing is stale.
   mgr_->resync_complete();
   EXPECT_TRUE(mgr_->traffic_policy_exists("core"));
}

TEST_F(TrafficPoliciesTest, areTakenOffAnInterfaceThatATopologyLeftOut) {
   mgr_->traffic_policy_is(dropping("edge"));
   apply("edge", ethernet1_);
   restart([&] { forget(); });
   make(Topology::parse(R"({"interfaces": [{"name": "Ethernet2"}]})", "test"));
   EXPECT_THAT(places(), ElementsAre("Ethernet1 in edge"));
   EXPECT_EQ(refusal([&] { apply("edge", ethernet1_); }), "unknown interface Ethernet1");
   remove("edge", ethernet1_);
   EXPECT_THAT(places(), IsEmpty());
}

TEST_F(TrafficPoliciesTest, refusesToApplyWhatIsNotThere) {
   EXPECT_EQ(refusal([&] { apply("edge", ethernet1_); }),
             "traffic policy 'edge' cannot be applied to interface Ethernet1, it does not exist");
   mgr_->traffic_policy_is(dropping("edge"));
   EXPECT_EQ(refusal([&] { apply("edge", intf_id_t("Ethernet99")); }), "unknown interface Ethernet99");
   EXPECT_EQ(refusal([&] { remove("edge", intf_id_t("Ethernet99")); }), "unknown interface Ethernet99");
   EXPECT_THROW(apply("edge", ethernet1_, static_cast<traffic_policy_direction_t>(2)),
                orv::invalid_argument_error);
   EXPECT_THAT(places(), IsEmpty());
}

TEST_F(TrafficPoliciesTest, everyWriteNeedsAName) {
   const std::string words = "traffic policy name is empty, expected a name";
   EXPECT_EQ(refusal([&] { mgr_->traffic_policy_is(traffic_policy_t()); }), words);
   EXPECT_EQ(refusal([&] { mgr_->traffic_policy_del(""); }), words);
   EXPECT_EQ(refusal([&] { apply("", ethernet1_); }), words);
   EXPECT_EQ(refusal([&] { remove("", ethernet1_); }), words);
   EXPECT_FALSE(mgr_->traffic_policy_exists(""));
}

TEST_F(TrafficPoliciesTest, aRefusedPolicyChangesNothing) {
   mgr_->traffic_policy_is(dropping("edge"));
   auto bad = dropping("edge");
   bad.rule_set(20, traffic_policy_rule_t(traffic_policy_rule_type_t::none, "other"));
   EXPECT_EQ(refusal([&] { mgr_->traffic_policy_is(bad); }),
             "traffic policy 'edge' rule 20: type none, expected ipv4 or ipv6");
   EXPECT_EQ(mgr_->traffic_policy("edge"), dropping("edge"));
}

TEST_F(TrafficPoliciesTest, aFullTableRefusesANewOneAndReplacesAnOldOne) {
   forget();
   limits_.trafficPolicies = 2;
   make();
   mgr_->traffic_policy_is(dropping("a"));
   mgr_->traffic_policy_is(dropping("b"));
   EXPECT_EQ(refusal([&] { mgr_->traffic_policy_is(dropping("c")); }),
             "traffic policy table is full, it holds 2 rows");
   EXPECT_FALSE(mgr_->traffic_policy_exists("c"));
   mgr_->traffic_policy_is(traffic_policy_t("a"));
   mgr_->traffic_policy_del("b");
   mgr_->traffic_policy_is(dropping("c"));
   EXPECT_THAT(listOf(mgr_->traffic_policy_iter()), ElementsAre(keyOf("a"), keyOf("c")));
}

// All removals are one transaction, until it has no room for another.
TEST_F(TrafficPoliciesTest, aDeleteThatAFullDiskRefusesLeavesThePolicyWhereItIsApplied) {
   constexpr int policies = 64;
   const auto name = [](int n) { return fmt::format("p{:02}", n); };
   const auto intf = [](int n) { return intf_id_t(fmt::format("Ethernet{}", n)); };
   for (int n = 1; n <= policies; ++n) {
      mgr_->traffic_policy_is(dropping(name(n)));
      apply(name(n), intf(n), traffic_policy_direction_t::in);
      apply(name(n), intf(n), traffic_policy_direction_t::out);
   }
   context().store.commit();
   fillDisk(context().store);
   int refused = 0;
   std::vector<std::string> expected;
   for (int n = 1; n <= policies; ++n) {
      const bool stays = !refusal([&] { mgr_->traffic_policy_del(name(n)); }).empty();
      refused += stays ? 1 : 0;
      EXPECT_EQ(mgr_->traffic_policy_exists(name(n)), stays) << name(n);
      if (!stays) continue;
      for (const char* direction : {"in", "out"})
         expected.push_back(fmt::format("{} {} {}", intf(n), direction, name(n)));
   }
   EXPECT_GT(refused, 0);
   EXPECT_LT(refused, policies);
   auto stand = places();
   std::sort(stand.begin(), stand.end());
   std::sort(expected.begin(), expected.end());
   EXPECT_EQ(stand, expected);
}

}  // namespace
}  // namespace softswitch
