#include "softswitch/forwarding/hardware.h"

#include <gtest/gtest.h>

#include "testing/softswitch/HardwareFixture.h"

namespace softswitch {
namespace {

class HardwareTest : public HardwareFixture {};

orv::nexthop_group_t plainGroup() {
   orv::nexthop_group_t g("g", orv::nexthop_group_encap_t::mpls);
   g.nexthop_set(0, orv::nexthop_group_entry_t{address("192.0.2.1")});
   return g;
}

TEST_F(HardwareTest, nothingIsProgrammedBeforeThePlaneHasAnswered) {
   groups().nexthop_group_set(plainGroup());
   setRoute("10.0.0.0/8");
   step();
   EXPECT_EQ(plane_->takeLog(), (std::vector<std::string>{"group g", "route 10.0.0.0/8"}));
   EXPECT_FALSE(listOf(groups().programmed_nexthop_group_iter()).size());
   EXPECT_EQ(routes().programmed(), 0u);
   EXPECT_FALSE(inFib("10.0.0.0/8"));
   plane_->answerAll();
   EXPECT_EQ(routes().programmed(), 1u);
   EXPECT_EQ(groups().get_nexthop_group_programmed_hw_state("g"),
             orv::nexthop_group_programmed_hw_state_t::success);
   step();
   EXPECT_TRUE(inFib("10.0.0.0/8"));
}

TEST_F(HardwareTest, thePlaneIsToldOfNothingThatIsNotCommitted) {
   Zelt::activityLock().setReleaseHook([](void* s) { static_cast<store::Store*>(s)->commit(); }, &store_);
   int told = 0;
   plane_->onGroup = [&] {
      ++told;
      EXPECT_FALSE(store_.inSpan());
   };
   {
      const Zelt::ActivityLockAnchor lock;
      groups().nexthop_group_set(plainGroup());
   }
   while (told == 0) {
      scheduler_->waitForWork();
      const Zelt::ActivityLockAnchor lock;
      // A task writes in the same turn, before the hardware task runs.
      vrfs_.vrfSet("v");
      EXPECT_TRUE(store_.inSpan());
      scheduler_->runReady();
      if (told == 0) vrfs_.vrfDel("v");
   }
   Zelt::activityLock().setReleaseHook(nullptr, nullptr);
   EXPECT_EQ(told, 1);
}

TEST_F(HardwareTest, aRefusalOfThePlaneIsTold) {
   groups().nexthop_group_set(plainGroup());
   setRoute("10.0.0.0/8");
   step();
   plane_->answerAll(false);
   EXPECT_EQ(groups().get_nexthop_group_programmed_hw_state("g"),
             orv::nexthop_group_programmed_hw_state_t::failure);
   EXPECT_EQ(groups().counter_state("g"), orv::nexthop_group_counter_state_t::failure);
   EXPECT_FALSE(groups().active("g"));
   EXPECT_EQ(routes().programmed(), 0u);
   EXPECT_FALSE(inFib("10.0.0.0/8"));
}

TEST_F(HardwareTest, aRouteThatIsDeletedBeforeTheAnswerStaysDeleted) {
   groups().nexthop_group_set(plainGroup());
   setRoute("10.0.0.0/8");
   step();
   plane_->takeLog();
   routes().ip_route_del(orv::ip_route_key_t(prefix("10.0.0.0/8")));
   // The row of the deleted route must not be reused while the answer is pending.
   setRoute("11.0.0.0/8");
   step();
   EXPECT_EQ(plane_->takeLog(), (std::vector<std::string>{"gone 10.0.0.0/8", "route 11.0.0.0/8"}));
   plane_->answerAll();
   step();
   EXPECT_EQ(routes().programmed(), 1u);
   EXPECT_FALSE(inFib("10.0.0.0/8"));
   EXPECT_TRUE(inFib("11.0.0.0/8"));
}

TEST_F(HardwareTest, aRouteThatIsSetAgainBeforeTheAnswerIsHandedOverAgain) {
   groups().nexthop_group_set(plainGroup());
   setRoute("10.0.0.0/8");
   step();
   routes().ip_route_del(orv::ip_route_key_t(prefix("10.0.0.0/8")));
   setRoute("10.0.0.0/8");
   plane_->takeLog();
   step();
   EXPECT_EQ(plane_->takeLog(), (std::vector<std::string>{"gone 10.0.0.0/8", "route 10.0.0.0/8"}));
   plane_->answerAll();
   step();
   EXPECT_EQ(routes().programmed(), 1u);
   EXPECT_TRUE(inFib("10.0.0.0/8"));
}

TEST_F(HardwareTest, anAnswerForAGroupThatWasReplacedIsNotTakenForTheNewOne) {
   groups().nexthop_group_set(plainGroup());
   step();
   groups().nexthop_group_set(plainGroup());
   step();
   EXPECT_EQ(groups().programmed_nexthop_group("g").version_id(), 0);
   plane_->answerAll();
   EXPECT_EQ(groups().programmed_nexthop_group("g").version_id(), 2);
}

TEST_F(HardwareTest, aGroupThatIsDeletedBeforeTheAnswerStaysDeleted) {
   groups().nexthop_group_set(plainGroup());
   step();
   groups().nexthop_group_del("g");
   step();
   plane_->answerAll();
   EXPECT_EQ(groups().programmed_nexthop_group("g").name(), "");
   EXPECT_FALSE(groups().active("g"));
}

TEST_F(HardwareTest, anMplsRouteThatIsDeletedBeforeTheAnswerStaysDeleted) {
   const orv::mpls_route_key_t key(orv::mpls_label_t(100));
   groups();
   mplsRoutes_->mpls_route_set(orv::mpls_route_t(key));
   orv::mpls_route_via_t via(key, orv::mpls_action_t::pop);
   via.hop_is(address("192.0.2.1"));
   mplsRoutes_->mpls_route_via_set(via);
   step();
   mplsRoutes_->mpls_route_del(key);
   step();
   plane_->answerAll();
   EXPECT_EQ(mplsRoutes_->fec_id(key).id(), 0u);
}

}  // namespace
}  // namespace softswitch
