#include "softswitch/managers/vrf_mgr.h"

#include <gmock/gmock.h>

#include "testing/softswitch/ManagerFixture.h"

namespace softswitch {
namespace {

using testing::ElementsAre;

class VrfMgrTest : public ManagerFixture {
protected:
   void SetUp() override {
      limits_.vrfs = 4;
      ManagerFixture::SetUp();
      make();
   }
   void TearDown() override {
      mgr_.reset();
      ManagerFixture::TearDown();
   }
   void make() { mgr_ = std::make_unique<VrfMgr>(context()); }

   std::unique_ptr<VrfMgr> mgr_;
};

TEST_F(VrfMgrTest, defaultIsAlwaysThereAndNeverListed) {
   EXPECT_TRUE(mgr_->exists("default"));
   EXPECT_THAT(listOf(mgr_->vrf_iter()), ElementsAre());
   EXPECT_NO_THROW(mgr_->require("default"));
}

TEST_F(VrfMgrTest, configuredOnesSurviveARestart) {
   mgr_->vrfSet("red");
   mgr_->vrfSet("blue");
   mgr_->vrfSet("green");
   mgr_->vrfDel("green");
   restart([&] { mgr_.reset(); });
   make();
   EXPECT_THAT(listOf(mgr_->vrf_iter()), ElementsAre("blue", "red"));
   EXPECT_TRUE(mgr_->exists("red"));
   EXPECT_FALSE(mgr_->exists("green"));
}

TEST_F(VrfMgrTest, settingOneTwiceChangesNothing) {
   mgr_->vrfSet("red");
   mgr_->vrfSet("red");
   EXPECT_EQ(mgr_->config().size(), 1u);
}

TEST_F(VrfMgrTest, walkSurvivesChanges) {
   for (const auto* name : {"a", "b", "c"})
      mgr_->vrfSet(name);
   auto walk = mgr_->vrf_iter();
   EXPECT_EQ(*walk, "a");
   mgr_->vrfDel("b");
   mgr_->vrfSet("d");
   ++walk;
   EXPECT_EQ(*walk, "c");
   ++walk;
   EXPECT_EQ(*walk, "d");
   ++walk;
   EXPECT_FALSE(walk);
}

TEST_F(VrfMgrTest, refusesNamesThatAreNone) {
   const std::string expected =
        "', expected 1 to 63 letters, digits, '.', '_' or '-', and neither default nor all";
   const std::vector<std::string> names{"", "default", "all", "two words", std::string(64, 'v')};
   for (const auto& name : names) {
      EXPECT_EQ(refusal([&] { mgr_->vrfSet(name); }), "VRF name '" + name + expected);
   }
   EXPECT_EQ(refusal([&] { mgr_->vrfSet(std::string(63, 'v')); }), "");
}

TEST_F(VrfMgrTest, refusesTheRemovalOfWhatIsAbsentOrInUse) {
   EXPECT_EQ(refusal([&] { mgr_->vrfDel("red"); }), "unknown VRF red");
   EXPECT_EQ(refusal([&] { mgr_->require("red"); }), "unknown VRF red");
   mgr_->vrfSet("red");
   mgr_->usageIs([](const std::string& name) { return name == "red" ? "3 IP routes" : ""; });
   EXPECT_EQ(refusal([&] { mgr_->vrfDel("red"); }), "VRF red cannot be removed, it has 3 IP routes");
   EXPECT_TRUE(mgr_->exists("red"));
}

TEST_F(VrfMgrTest, refusesOneMoreThanTheTableHolds) {
   for (const auto* name : {"a", "b", "c", "d"})
      mgr_->vrfSet(name);
   EXPECT_EQ(refusal([&] { mgr_->vrfSet("e"); }), "vrf table is full, it holds 4 rows");
   EXPECT_FALSE(mgr_->exists("e"));
}

}  // namespace
}  // namespace softswitch
