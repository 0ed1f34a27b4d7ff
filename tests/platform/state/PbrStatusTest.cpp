#include "platform/state/PbrStatus.h"

#include <gtest/gtest.h>

#include "platform/zelt/Anchors.h"

namespace Pbr {
namespace {

TEST(PbrStatusTest, eachActionHasThePlatformsNumber) {
   EXPECT_EQ(actionType(PbrDropAction{}), 5);
   EXPECT_EQ(actionType(PbrTtlAction{.ttl = 9}), 8);
   EXPECT_EQ(actionType(PbrNexthopAction{}), 20);
   EXPECT_EQ(actionType(PbrNexthopGroupAction{}), 21);
   EXPECT_EQ(actionType(PbrOtherAction{.type = 7}), 7);
}

TEST(PbrStatusTest, aClassIsFoundByItsPolicyAndItsName) {
   const auto status = Pavo::makePtr<Status>("status");
   const Zelt::ActivityLockAnchor lock;
   PolicyMapStatus policy;
   policy.classMapStatus["web"] = {.sequence = 10, .actions = {PbrDropAction{}}};
   status->rowIs("edge", policy);
   const auto* const found = status->classMapStatus("edge", "web");
   ASSERT_NE(found, nullptr);
   EXPECT_EQ(found->sequence, 10U);
   EXPECT_EQ(found->actions, (std::vector<PbrAction>{PbrDropAction{}}));
   EXPECT_EQ(status->classMapStatus("edge", "mail"), nullptr);
   EXPECT_EQ(status->classMapStatus("core", "web"), nullptr);
   EXPECT_FALSE(status->rowIs("edge", policy)) << "nothing has changed";
   policy.classMapStatus["web"].actions.emplace_back(PbrTtlAction{.ttl = 3});
   EXPECT_TRUE(status->rowIs("edge", policy));
}

}  // namespace
}  // namespace Pbr
