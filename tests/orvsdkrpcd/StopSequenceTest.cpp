#include "orvsdkrpcd/StopSequence.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "ServiceManager.h"
#include "orv/agent.h"
#include "testing/base/TempDir.h"

namespace orvsdkrpcd {
namespace {

using testing::ElementsAre;

// Records that the switch disables it, and acknowledges that only when the test says so.
class Agent final : public orv::agent_handler {
public:
   explicit Agent(orv::sdk& sdk) : orv::agent_handler(sdk.get_agent_mgr()) {}
   void on_agent_enabled(bool enabled) override {
      disabled_ = !enabled;
      if (whenDisabled) whenDisabled();
   }
   bool disabled() const { return disabled_; }

   std::function<void()> whenDisabled;

private:
   bool disabled_ = false;
};

class StopSequenceTest : public testing::Test {
protected:
   static softswitch::Options options(const std::string& directory) {
      softswitch::Options made;
      made.stateDirectory = directory;
      return made;
   }

   const orvtest::TempDir directory_;
   test::ServiceManager manager_{directory_ / "notify"};
   std::vector<std::string> lines_;
   const Log log_ = [this](std::string_view line) { lines_.emplace_back(line); };
   HealthService health_;
   ServiceStatus status_;
   softswitch::SoftSwitch switch_{options(directory_ / "state")};
   StopSequence stop_{log_, status_, health_, switch_};
};

TEST_F(StopSequenceTest, theFirstRequestBeginsAndAnotherBeginningIsNone) {
   Agent agent(switch_);
   agent.whenDisabled = [&] { agent.get_agent_mgr()->agent_shutdown_complete_is(true); };
   EXPECT_FALSE(stop_.begun());
   EXPECT_TRUE(stop_.begin("TERM"));
   EXPECT_TRUE(stop_.begun());
   EXPECT_FALSE(stop_.begin("nothing is served"));
   switch_.mainLoop();
   EXPECT_TRUE(agent.disabled());
   EXPECT_THAT(lines_, ElementsAre("TERM, stopping"));
   EXPECT_THAT(manager_.rest(), ElementsAre("STOPPING=1"));
}

TEST_F(StopSequenceTest, aSecondSignalEndsTheWaitForAnAcknowledgementAlone) {
   Agent agent(switch_);
   agent.whenDisabled = [&] { stop_.beginOrHurry("INT"); };
   stop_.beginOrHurry("TERM");
   switch_.mainLoop();
   EXPECT_TRUE(agent.disabled());
   EXPECT_THAT(lines_, ElementsAre("TERM, stopping", "INT, no longer waiting for acknowledgements"));
   EXPECT_THAT(manager_.rest(), ElementsAre("STOPPING=1"));
}

TEST_F(StopSequenceTest, requestsAtOnceBeginOnceAndTellTheHandlers) {
   Agent agent(switch_);
   std::vector<std::thread> signals;
   for (int i = 0; i < 4; ++i)
      signals.emplace_back([&] { stop_.beginOrHurry("TERM"); });
   switch_.mainLoop();
   for (auto& signal : signals)
      signal.join();
   EXPECT_TRUE(agent.disabled());
   EXPECT_EQ(lines_.size(), 4u);
   EXPECT_THAT(manager_.rest(), ElementsAre("STOPPING=1"));
}

}  // namespace
}  // namespace orvsdkrpcd
