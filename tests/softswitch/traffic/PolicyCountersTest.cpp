#include "softswitch/traffic/policy_counters.h"

#include <gmock/gmock.h>

#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "softswitch/managers/class_map_mgr.h"
#include "softswitch/managers/intf_mgr.h"
#include "softswitch/managers/mount_mgr.h"
#include "softswitch/managers/policy_map_mgr.h"
#include "testing/softswitch/ManagerFixture.h"

namespace softswitch {
namespace {

class PolicyCountersTest : public ManagerFixture {
protected:
   void SetUp() override {
      ManagerFixture::SetUp();
      mounts_ = std::make_unique<MountMgr>(context());
      intfs_ = std::make_unique<IntfMgr>(context(), topology_);
      classMaps_ = std::make_unique<ClassMapMgr>(context());
      policies_ = std::make_unique<PolicyMapMgr>(context(), *intfs_, *classMaps_);
      counters_ = std::make_unique<PolicyCounters>(context(), *mounts_, *policies_, [this] { return now_; });
   }
   void TearDown() override {
      counters_.reset();
      policies_.reset();
      classMaps_.reset();
      intfs_.reset();
      mounts_.reset();
      ManagerFixture::TearDown();
   }

   using Rules = std::vector<std::pair<std::uint32_t, std::string>>;
   void set(const std::string& name, const Rules& rules, bool drop = false) {
      orv::traffic_policy_t policy(name);
      for (const auto& [sequence, ruleName] : rules) {
         orv::traffic_policy_rule_t rule(orv::traffic_policy_rule_type_t::ipv4, ruleName);
         if (drop) rule.action_set(orv::traffic_policy_action_t(orv::traffic_policy_action_type_t::drop));
         policy.rule_set(sequence, rule);
      }
      policies_->traffic_policy_is(policy);
   }
   void apply(const std::string& name, bool apply = true) {
      policies_->traffic_policy_apply(name, orv::intf_id_t("Ethernet1"), orv::traffic_policy_direction_t::in,
                                      apply);
   }
   Pavo::Ptr<Pbr::CounterTable> table() {
      return mounts_->shared()->entity<Pbr::CounterTable>(Pbr::counterPath);
   }
   // The rows after a turn of the main loop: "edge web 10: 5 packets 500 bytes at 1".
   std::set<std::string> rows() {
      runLoop();
      std::set<std::string> texts;
      for (const auto& key : table()->keys()) {
         EXPECT_EQ(key.sliceName, "");
         const auto& row = *table()->find(key);
         texts.insert(fmt::format("{} {} {}: {} packets {} bytes at {}", key.policyName, key.className,
                                  key.ruleName, row.packets, row.bytes, row.time));
      }
      return texts;
   }

   const Topology topology_ = Topology::parse(R"({"interfaces": [{"name": "Ethernet1"}]})", "test");
   std::int64_t now_ = 1'000'000'000;
   std::unique_ptr<MountMgr> mounts_;
   std::unique_ptr<IntfMgr> intfs_;
   std::unique_ptr<ClassMapMgr> classMaps_;
   std::unique_ptr<PolicyMapMgr> policies_;
   std::unique_ptr<PolicyCounters> counters_;
};

using testing::ElementsAre;
using testing::IsEmpty;

TEST_F(PolicyCountersTest, aRuleHasARowWhileItsPolicyIsAppliedAndHasIt) {
   set("edge", {{10, "web"}, {20, "mail"}});
   EXPECT_THAT(rows(), IsEmpty());
   apply("edge");
   EXPECT_THAT(rows(),
               ElementsAre("edge mail 20: 0 packets 0 bytes at 1", "edge web 10: 0 packets 0 bytes at 1"));
   now_ += 1'000'000'000;
   set("edge", {{10, "web"}, {30, "voice"}});
   EXPECT_THAT(rows(),
               ElementsAre("edge voice 30: 0 packets 0 bytes at 2", "edge web 10: 0 packets 0 bytes at 1"));
   apply("edge", false);
   EXPECT_THAT(rows(), IsEmpty());
}

TEST_F(PolicyCountersTest, whatIsCountedAddsUpAndIsGoneWithTheRule) {
   set("edge", {{10, "web"}});
   apply("edge");
   rows();
   now_ += 500'000'000;
   counters_->count("edge", "web", {.packets = 5, .bytes = 500});
   counters_->count("edge", "web", {.packets = 1, .bytes = 64});
   EXPECT_THAT(rows(), ElementsAre("edge web 10: 6 packets 564 bytes at 1.5"));
   EXPECT_EQ(counters_->counted("edge", "web")->bytes, 564U);
   policies_->traffic_policy_del("edge");
   EXPECT_THAT(rows(), IsEmpty());
   EXPECT_FALSE(counters_->counted("edge", "web"));
   set("edge", {{10, "web"}});
   apply("edge");
   EXPECT_THAT(rows(), ElementsAre("edge web 10: 0 packets 0 bytes at 1.5"));
}

TEST_F(PolicyCountersTest, aRuleAtAnotherPlaceOrOfAnotherNameIsAnotherRule) {
   set("edge", {{10, "web"}});
   apply("edge");
   rows();
   counters_->count("edge", "web", {.packets = 5, .bytes = 500});
   set("edge", {{20, "web"}});
   EXPECT_THAT(rows(), ElementsAre("edge web 20: 0 packets 0 bytes at 1"));
   counters_->count("edge", "web", {.packets = 5, .bytes = 500});
   set("edge", {{20, "mail"}});
   EXPECT_THAT(rows(), ElementsAre("edge mail 20: 0 packets 0 bytes at 1"));
}

TEST_F(PolicyCountersTest, otherActionsKeepTheCountsAndChangeTheRow) {
   set("edge", {{10, "web"}});
   apply("edge");
   rows();
   counters_->count("edge", "web", {.packets = 5, .bytes = 500});
   now_ += 1'000'000'000;
   set("edge", {{10, "web"}});
   EXPECT_THAT(rows(), ElementsAre("edge web 10: 5 packets 500 bytes at 1")) << "nothing has changed";
   set("edge", {{10, "web"}}, true);
   EXPECT_THAT(rows(), ElementsAre("edge web 10: 5 packets 500 bytes at 2"));
}

TEST_F(PolicyCountersTest, theOldRuleCountsUntilHardwareHasTheNewOne) {
   set("edge", {{10, "web"}});
   apply("edge");
   rows();
   set("edge", {{20, "web"}});
   counters_->count("edge", "web", {.packets = 1, .bytes = 64});
   EXPECT_EQ(table()->find({"edge", "", "web", "10"})->packets, 1U);
   EXPECT_THAT(rows(), ElementsAre("edge web 20: 0 packets 0 bytes at 1"));
}

// The rows follow the status in a later turn of the main loop.
TEST_F(PolicyCountersTest, nothingIsCountedForARuleThatHasNoRowYet) {
   counters_.reset();
   const auto later = Pavo::makePtr<Gorm::TaskScheduler>("counters");
   counters_ = std::make_unique<PolicyCounters>(Context{.store = context().store,
                                                        .callbacks = context().callbacks,
                                                        .limits = context().limits,
                                                        .scheduler = later},
                                                *mounts_, *policies_, [this] { return now_; });
   set("edge", {{10, "web"}});
   apply("edge");
   runLoop();
   ASSERT_NE(policies_->pbr_status()->classMapStatus("edge", "web"), nullptr);
   EXPECT_FALSE(counters_->counted("edge", "web"));
   EXPECT_EQ(refusal([&] { counters_->count("edge", "web", {.packets = 5, .bytes = 500}); }),
             "hardware has no traffic policy 'edge' with a rule 'web'");
   apply("edge", false);
   runLoop();
   apply("edge");
   runLoop();
   {
      const Zelt::ActivityLockAnchor lock;
      while (later->hasReady())
         later->runReady();
   }
   EXPECT_THAT(rows(), ElementsAre("edge web 10: 0 packets 0 bytes at 1"));
}

TEST_F(PolicyCountersTest, refusals) {
   const auto words = [this](const std::string& policy, const std::string& rule) {
      return refusal([&] { counters_->count(policy, rule, {.packets = 1, .bytes = 1}); });
   };
   set("edge", {{10, "web"}});
   EXPECT_EQ(words("edge", "web"), "hardware has no traffic policy 'edge' with a rule 'web'");
   apply("edge");
   rows();
   EXPECT_EQ(words("edge", "mail"), "hardware has no traffic policy 'edge' with a rule 'mail'");
   EXPECT_EQ(words("edge", "web"), "");
}

TEST_F(PolicyCountersTest, theTableHasOneWriter) {
   EXPECT_THROW(PolicyCounters second(context(), *mounts_, *policies_), std::runtime_error);
}

}  // namespace
}  // namespace softswitch
