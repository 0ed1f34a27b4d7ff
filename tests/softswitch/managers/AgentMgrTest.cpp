#include "softswitch/managers/agent_mgr.h"

#include <gmock/gmock.h>

#include "testing/softswitch/SwitchFixture.h"

namespace softswitch {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class AgentMgrTest : public SwitchFixture {
protected:
   AgentMgrTest() {
      options_.name = "Tester";
      options_.agentOptions = {{"color", "blue"}, {"empty", ""}};
   }
};

TEST_F(AgentMgrTest, statusSurvivesARestart) {
   auto* agent = &sw().agent();
   agent->status_set("b", "two");
   agent->status_set("a", "one");
   agent->status_set("gone", "x");
   agent->status_set("", "the empty key is a key");
   agent->status_del("gone");
   agent->status_del("never there");
   restart();
   agent = &sw().agent();
   EXPECT_THAT(listOf(agent->status_iter()), ElementsAre("", "a", "b"));
   EXPECT_EQ(agent->status("a"), "one");
   EXPECT_EQ(agent->status(""), "the empty key is a key");
   EXPECT_EQ(agent->status("gone"), "");
}

TEST_F(AgentMgrTest, tooLongNamesAndValuesAreRefused) {
   EXPECT_THAT(refusal([&] { sw().agent().status_set(std::string(256, 'n'), "v"); }), HasSubstr("256 bytes"));
   EXPECT_THAT(refusal([&] { sw().agent().status_set("big", std::string((1 << 20) + 1, 'v')); }),
               HasSubstr("'big': value of 1048577 bytes"));
   EXPECT_EQ(refusal([&] { sw().agent().status_set(std::string(255, 'n'), std::string(1 << 20, 'v')); }), "");
   EXPECT_EQ(refusal([&] { sw().agent().status_set("n", "Z\xfcrich"); }),
             "agent status 'n': value 'Z\\xfcrich' is not UTF-8");
   EXPECT_EQ(listOf(sw().agent().status_iter()).size(), 1u);
}

TEST_F(AgentMgrTest, optionsAreThoseOfTheStart) {
   auto& agent = sw().agent();
   EXPECT_THAT(listOf(agent.agent_option_iter()), ElementsAre("color"));
   EXPECT_EQ(agent.agent_option("color"), "blue");
   EXPECT_TRUE(agent.agent_option_exists("color"));
   EXPECT_FALSE(agent.agent_option_exists("empty"));
   EXPECT_EQ(agent.agent_option("other"), "");
}

class OptionListener final : public orv::agent_handler {
public:
   using orv::agent_handler::agent_handler;
   void on_agent_option(const std::string& name, const std::string& value) override {
      heard.push_back(name + "=" + value);
   }
   std::vector<std::string> heard;
};

TEST_F(AgentMgrTest, aChangedOptionIsToldLater) {
   auto& agent = sw().agent();
   OptionListener listener(&agent);
   agent.agentOptionIs("color", "red");
   agent.agentOptionIs("color", "red");
   agent.agentOptionIs("color", "");
   agent.agentOptionIs("color", "");
   EXPECT_TRUE(listener.heard.empty());
   settle();
   EXPECT_THAT(listener.heard, ElementsAre("color=red", "color="));
   EXPECT_FALSE(agent.agent_option_exists("color"));
   EXPECT_THAT(refusal([&] { agent.agentOptionIs("", "x"); }), HasSubstr("no name"));
}

TEST_F(AgentMgrTest, optionsThatWereSetSurviveARestartAndThoseOfTheStartGoFirst) {
   sw().agent().agentOptionIs("shape", "round");
   sw().agent().agentOptionIs("color", "red");
   sw().agent().agentOptionIs("gone", "x");
   sw().agent().agentOptionIs("gone", "");
   EXPECT_EQ(sw().agent().agent_option("color"), "red");
   restart();
   EXPECT_THAT(listOf(sw().agent().agent_option_iter()), ElementsAre("color", "shape"));
   EXPECT_EQ(sw().agent().agent_option("shape"), "round");
   EXPECT_EQ(sw().agent().agent_option("color"), "blue");
   options_.agentOptions.clear();
   restart();
   EXPECT_EQ(sw().agent().agent_option("color"), "red");
   sw().agent().agentOptionIs("color", "");
   restart();
   EXPECT_THAT(listOf(sw().agent().agent_option_iter()), ElementsAre("shape"));
}

TEST_F(AgentMgrTest, tooLongOptionsAreRefused) {
   EXPECT_THAT(refusal([&] { sw().agent().agentOptionIs(std::string(256, 'n'), "v"); }),
               HasSubstr("256 bytes"));
   EXPECT_THAT(refusal([&] { sw().agent().agentOptionIs("big", std::string((1 << 20) + 1, 'v')); }),
               HasSubstr("'big': value of 1048577 bytes"));
}

TEST_F(AgentMgrTest, knowsItself) {
   auto& agent = sw().agent();
   EXPECT_TRUE(agent.enabled());
   EXPECT_NE(agent.id("Tester"), 0u);
   EXPECT_EQ(agent.id("Somebody"), 0u);
   EXPECT_EQ(agent.id(nullptr), 0u);
   const auto before = agent.agent_uptime();
   EXPECT_GE(before, 0.0);
   EXPECT_GE(agent.agent_uptime(), before);
}

}  // namespace
}  // namespace softswitch
