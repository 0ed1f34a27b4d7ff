#include "softswitch/managers/traffic_policy_status.h"

#include <gmock/gmock.h>

#include <memory>
#include <string>

#include "softswitch/managers/class_map_mgr.h"
#include "softswitch/managers/intf_mgr.h"
#include "softswitch/managers/policy_map_mgr.h"
#include "testing/softswitch/ManagerFixture.h"

namespace softswitch {
namespace {

using ActionKind = orv::traffic_policy_action_type_t;
using PolicyDirection = orv::traffic_policy_direction_t;

class TrafficPolicyStatusTest : public ManagerFixture {
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

   static orv::traffic_policy_rule_t rule(const std::string& name,
                                          const std::set<orv::traffic_policy_action_t>& actions = {}) {
      orv::traffic_policy_rule_t made(orv::traffic_policy_rule_type_t::ipv4, name);
      made.actions_is(actions);
      return made;
   }
   static orv::traffic_policy_action_t action(ActionKind type) { return orv::traffic_policy_action_t(type); }
   // A policy with one rule, "web", at 10.
   void set(const std::string& name, const std::set<orv::traffic_policy_action_t>& actions = {}) {
      orv::traffic_policy_t policy(name);
      policy.rule_set(10, rule("web", actions));
      mgr_->traffic_policy_is(policy);
   }
   void apply(const std::string& name, std::string_view intf = "Ethernet1", bool apply = true,
              PolicyDirection direction = PolicyDirection::in) {
      mgr_->traffic_policy_apply(name, orv::intf_id_t(intf), direction, apply);
   }
   // The policies in hardware, each with its classes: "edge(web 10)".
   std::string inHardware() {
      runLoop();
      std::set<std::string> texts;
      const auto status = mgr_->pbr_status();
      for (const auto& name : status->keys()) {
         std::string text = name + "(";
         for (const auto& [rule, of] : status->find(name)->classMapStatus)
            text += fmt::format("{}{} {}", text.ends_with('(') ? "" : ", ", rule, of.sequence);
         texts.insert(text + ")");
      }
      return fmt::format("{}", fmt::join(texts, " "));
   }

   const Topology topology_ =
        Topology::parse(R"({"interfaces": [{"name": "Ethernet1", "count": 4}]})", "test");
   std::unique_ptr<IntfMgr> intfs_;
   std::unique_ptr<ClassMapMgr> classMaps_;
   std::unique_ptr<PolicyMapMgr> mgr_;
};

TEST_F(TrafficPolicyStatusTest, hardwareHasAPolicyWhileItIsApplied) {
   set("edge");
   EXPECT_EQ(inHardware(), "");
   apply("edge");
   EXPECT_EQ(inHardware(), "edge(web 10)");
   apply("edge", "Ethernet2", true, PolicyDirection::out);
   apply("edge", "Ethernet1", false);
   EXPECT_EQ(inHardware(), "edge(web 10)");
   apply("edge", "Ethernet2", false, PolicyDirection::out);
   EXPECT_EQ(inHardware(), "");
}

TEST_F(TrafficPolicyStatusTest, rowsChangeOnTheMainLoopOnly) {
   set("edge");
   apply("edge");
   EXPECT_EQ(mgr_->pbr_status()->size(), 0U);
   runLoop();
   EXPECT_EQ(mgr_->pbr_status()->size(), 1U);
   mgr_->traffic_policy_del("edge");
   EXPECT_EQ(mgr_->pbr_status()->size(), 1U);
   EXPECT_EQ(inHardware(), "");
}

TEST_F(TrafficPolicyStatusTest, aPolicyThatReplacesAnotherTakesItOutOfHardware) {
   set("a");
   set("b");
   apply("a");
   apply("a", "Ethernet2");
   EXPECT_EQ(inHardware(), "a(web 10)");
   apply("b");
   EXPECT_EQ(inHardware(), "a(web 10) b(web 10)");
   apply("b", "Ethernet2");
   apply("b", "Ethernet2");
   EXPECT_EQ(inHardware(), "b(web 10)");
   apply("b", "Ethernet2", false);
   EXPECT_EQ(inHardware(), "b(web 10)");
   mgr_->traffic_policy_del("b");
   EXPECT_EQ(inHardware(), "");
   set("b");
   EXPECT_EQ(inHardware(), "") << "it is not applied any more";
}

TEST_F(TrafficPolicyStatusTest, rulesComeAndGo) {
   set("edge");
   apply("edge");
   orv::traffic_policy_t policy("edge");
   policy.rule_set(20, rule("web"));
   policy.rule_set(30, rule("mail"));
   mgr_->traffic_policy_is(policy);
   EXPECT_EQ(inHardware(), "edge(mail 30, web 20)");
   mgr_->traffic_policy_is(orv::traffic_policy_t("edge"));
   EXPECT_EQ(inHardware(), "edge()");
}

TEST_F(TrafficPolicyStatusTest, aResyncTakesOutWhatItDoesNotSetAgain) {
   set("kept");
   set("dropped");
   apply("kept");
   apply("dropped", "Ethernet2");
   mgr_->resync_init();
   set("kept");
   mgr_->resync_complete();
   EXPECT_EQ(inHardware(), "kept(web 10)");
}

TEST_F(TrafficPolicyStatusTest, hardwareIsProgrammedAfterARestart) {
   set("edge");
   set("idle");
   apply("edge");
   restart([this] { forget(); });
   make();
   EXPECT_EQ(inHardware(), "edge(web 10)");
   apply("edge", "Ethernet1", false);
   EXPECT_EQ(inHardware(), "");
}

TEST_F(TrafficPolicyStatusTest, theActionsThatDecideTheWay) {
   const auto actionsOf = [this](const std::set<orv::traffic_policy_action_t>& actions) {
      set("edge", actions);
      runLoop();
      return mgr_->pbr_status()->classMapStatus("edge", "web")->actions;
   };
   using Actions = std::vector<Pbr::PbrAction>;
   set("edge");
   apply("edge");
   EXPECT_EQ(actionsOf({}), Actions{});
   EXPECT_EQ(actionsOf({action(ActionKind::drop), action(ActionKind::log)}), (Actions{Pbr::PbrDropAction{}}));
   auto hops = action(ActionKind::nexthop);
   hops.nexthops_is({orv::ip_addr_t("10.0.0.2"), orv::ip_addr_t("10.0.0.1"), orv::ip_addr_t("2001:db8::1")});
   EXPECT_EQ(actionsOf({hops}),
             (Actions{Pbr::PbrNexthopAction{
                  .nexthops = {std::string("\x0a\0\0\x01", 4), std::string("\x0a\0\0\x02", 4),
                               std::string("\x20\x01\x0d\xb8\0\0\0\0\0\0\0\0\0\0\0\x01", 16)}}}));
   auto groups = action(ActionKind::nexthop_group);
   groups.nexthop_groups_is({"silver", "gold"});
   EXPECT_EQ(actionsOf({groups}),
             (Actions{Pbr::PbrNexthopGroupAction{"gold"}, Pbr::PbrNexthopGroupAction{"silver"}}));
   EXPECT_EQ(actionsOf({action(ActionKind::permit)}), Actions{});
}

TEST_F(TrafficPolicyStatusTest, aReaderHearsOfEachPolicyThatChanges) {
   std::vector<std::string> told;
   const auto reaction = mgr_->pbr_status()->reactorIs([&](const std::string& name) { told.push_back(name); },
                                                       context().scheduler);
   set("edge");
   apply("edge");
   runLoop();
   set("edge");
   runLoop();
   set("edge", {action(ActionKind::drop)});
   runLoop();
   EXPECT_THAT(told, testing::ElementsAre("edge", "edge")) << "setting it again has changed nothing";
}

}  // namespace
}  // namespace softswitch
