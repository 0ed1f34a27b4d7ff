// The watcher over the software switch: routes and groups that are programmed are acknowledged.
#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "OrvSdkRpc/hardware/MplsRouteHwProgrammingSm.h"
#include "OrvSdkRpc/hardware/MplsRouteHwProgrammingWatcher.h"
#include "softswitch/managers/mpls_route_mgr.h"
#include "testing/softswitch/HardwareFixture.h"
#include "testing/softswitch/SwitchFixture.h"

namespace OrvSdkRpc {
namespace {

using orv::mpls_label_t;
using orv::mpls_route_key_t;
using testing::ElementsAre;
using testing::IsEmpty;
using Texts = std::vector<std::string>;

// "100 version 1 over g version 2 state 2"
std::string acknowledgement(const orv::remote::MplsIntegratedAckResponse& response) {
   const auto& info = response.mpls_route_via_set_version_info();
   return fmt::format("{} version {} over {} version {} state {}", info.route_key().labels(0).label(),
                      info.version_id(), info.nexthop_group_version_info().name(),
                      info.nexthop_group_version_info().version_id(), info.hw_state());
}

void setOver(orv::mpls_route_mgr& mgr, std::uint32_t label, const std::string& group, std::uint16_t version) {
   const mpls_route_key_t key{mpls_label_t(label)};
   mgr.mpls_route_set(orv::mpls_route_t(key, version));
   orv::mpls_route_via_t via(key, orv::mpls_action_t::pop);
   via.nexthop_group_is(group);
   mgr.mpls_route_via_set(via);
}

orv::nexthop_group_t groupNamed(const std::string& name) {
   orv::nexthop_group_t made(name, orv::nexthop_group_encap_t::mpls);
   made.nexthop_set(0, orv::nexthop_group_entry_t(orv::ip_addr_t("192.0.2.1")));
   return made;
}

class MplsSwitchTest : public softswitch::SwitchFixture {
protected:
   void SetUp() override {
      SwitchFixture::SetUp();
      attach();
   }
   void TearDown() override { watcher_.reset(); }

   void attach() {
      watcher_ = std::make_unique<MplsRouteHwProgrammingWatcher>(
           sw().get_mount_mgr(), sw().get_nexthop_group_mgr(),
           [this](const auto& response) { told_.push_back(acknowledgement(response)); });
      settle();
   }
   void watch() {
      const orv::sdk_scoped_lock lock;
      watcher_->startWatching();
   }
   void unwatch() {
      const orv::sdk_scoped_lock lock;
      watcher_->stopWatching();
   }
   void setGroup(const std::string& name, std::uint16_t version) {
      sw().nexthopGroups().nexthop_group_set_with_version_id(groupNamed(name), version);
   }
   void setRoute(std::uint32_t label, const std::string& group, std::uint16_t version) {
      setOver(sw().mplsRoutes(), label, group, version);
   }
   void delRoute(std::uint32_t label) {
      sw().mplsRoutes().mpls_route_del(mpls_route_key_t{mpls_label_t(label)});
   }
   Texts take() {
      settle();
      return std::exchange(told_, {});
   }

   std::unique_ptr<MplsRouteHwProgrammingWatcher> watcher_;
   Texts told_;
};

TEST_F(MplsSwitchTest, aRouteIsAcknowledgedOnceBothAreInHardware) {
   watch();
   setRoute(100, "g", 5);
   EXPECT_THAT(take(), IsEmpty());
   setGroup("g", 7);
   EXPECT_THAT(take(), ElementsAre("100 version 5 over g version 7 state 2"));
   setRoute(200, "g", 6);
   EXPECT_THAT(take(), ElementsAre("200 version 6 over g version 7 state 2"));
   setGroup("h", 1);
   EXPECT_THAT(take(), IsEmpty());
   // Both in one turn of the main loop.
   setRoute(300, "k", 1);
   setGroup("k", 2);
   EXPECT_THAT(take(), ElementsAre("300 version 1 over k version 2 state 2"));
}

TEST_F(MplsSwitchTest, eachNewVersionIsAcknowledgedAndNothingElse) {
   watch();
   setGroup("g", 7);
   setRoute(100, "g", 5);
   EXPECT_EQ(take().size(), 1U);
   setRoute(100, "g", 5);
   setGroup("g", 7);
   EXPECT_THAT(take(), IsEmpty());
   setRoute(100, "g", 6);
   EXPECT_THAT(take(), ElementsAre("100 version 6 over g version 7 state 2"));
   setGroup("g", 8);
   EXPECT_THAT(take(), ElementsAre("100 version 6 over g version 8 state 2"));
   setGroup("h", 3);
   setRoute(100, "h", 6);
   EXPECT_THAT(take(), ElementsAre("100 version 6 over h version 3 state 2"));
   delRoute(100);
   EXPECT_THAT(take(), IsEmpty());
   setRoute(100, "h", 6);
   EXPECT_THAT(take(), ElementsAre("100 version 6 over h version 3 state 2"));
}

TEST_F(MplsSwitchTest, theSwitchChoosesVersionsOfGroups) {
   watch();
   sw().nexthopGroups().nexthop_group_set(groupNamed("g"));
   setRoute(100, "g", 5);
   EXPECT_THAT(take(), ElementsAre("100 version 5 over g version 1 state 2"));
}

TEST_F(MplsSwitchTest, routesWithoutAVersionOrAGroupAreNotAcknowledged) {
   watch();
   setGroup("g", 7);
   setRoute(100, "g", 0);
   const mpls_route_key_t key{mpls_label_t(200)};
   sw().mplsRoutes().mpls_route_set(orv::mpls_route_t(key, 5));
   orv::mpls_route_via_t via(key, orv::mpls_action_t::pop);
   via.hop_is(orv::ip_addr_t("192.0.2.1"));
   sw().mplsRoutes().mpls_route_via_set(via);
   EXPECT_THAT(take(), IsEmpty());
   setGroup("g", 8);
   EXPECT_THAT(take(), IsEmpty());
   setRoute(100, "g", 1);
   EXPECT_THAT(take(), ElementsAre("100 version 1 over g version 8 state 2"));
}

TEST_F(MplsSwitchTest, aGroupThatGoesAndComesBackAcknowledgesItsRoutesAgain) {
   watch();
   setGroup("g", 7);
   setRoute(100, "g", 5);
   EXPECT_EQ(take().size(), 1U);
   sw().nexthopGroups().nexthop_group_del("g");
   EXPECT_THAT(take(), IsEmpty());
   setGroup("g", 7);
   EXPECT_THAT(take(), ElementsAre("100 version 5 over g version 7 state 2"));
}

TEST_F(MplsSwitchTest, aWatchThatIsOpenedLateHearsOfWhatIsThere) {
   setGroup("g", 7);
   setRoute(100, "g", 5);
   setRoute(200, "missing", 5);
   settle();
   watch();
   EXPECT_THAT(take(), ElementsAre("100 version 5 over g version 7 state 2"));
   unwatch();
   setRoute(100, "g", 6);
   EXPECT_THAT(take(), IsEmpty());
   watch();
   EXPECT_THAT(take(), ElementsAre("100 version 6 over g version 7 state 2"));
}

TEST_F(MplsSwitchTest, whatARestartBringsBackIsAcknowledgedAgain) {
   setGroup("g", 7);
   setRoute(100, "g", 5);
   settle();
   watcher_.reset();
   restart();
   attach();
   watch();
   EXPECT_THAT(take(), ElementsAre("100 version 5 over g version 7 state 2"));
}

TEST_F(MplsSwitchTest, aHundredThousandLabels) {
   static constexpr std::uint32_t labels = 100'000;
   const auto expectAll = [](const Texts& told, const std::string& rest) {
      ASSERT_EQ(told.size(), labels);
      std::vector<bool> seen(labels);
      for (const auto& text : told) {
         const auto number = std::stoul(text);
         EXPECT_EQ(text, fmt::format("{} {}", number, rest));
         ASSERT_LT(number, labels);
         EXPECT_FALSE(seen[number]) << text;
         seen[number] = true;
      }
   };
   setGroup("g", 1);
   for (std::uint32_t label = 0; label < labels;) {
      // One lock is one transaction of the store.
      const orv::sdk_scoped_lock lock;
      for (int i = 0; i < 1000; ++i)
         setRoute(label++, "g", 5);
   }
   settle();
   // Late, and once for each.
   watch();
   expectAll(take(), "version 5 over g version 1 state 2");
   // One new version of the group is one of every route.
   setGroup("g", 2);
   expectAll(take(), "version 5 over g version 2 state 2");
   sw().nexthopGroups().nexthop_group_del("g");
   EXPECT_THAT(take(), IsEmpty());
   setGroup("g", 3);
   expectAll(take(), "version 5 over g version 3 state 2");
}

// The same over a plane that answers late.
class MplsLatePlaneTest : public softswitch::HardwareFixture {
protected:
   void SetUp() override {
      HardwareFixture::SetUp();
      watcher_ = std::make_unique<MplsRouteHwProgrammingWatcher>(
           &mounts_, &groups(), [this](const auto& response) { told_.push_back(acknowledgement(response)); });
      runLoop();
      watcher_->startWatching();
   }
   void TearDown() override {
      watcher_.reset();
      HardwareFixture::TearDown();
   }
   // Everything but the hardware stage, which the test runs.
   void runLoop() {
      hardware_->unscheduleTask();
      const Zelt::ActivityLockAnchor lock;
      while (scheduler_->hasReady())
         scheduler_->runReady();
   }
   Texts take() {
      runLoop();
      return std::exchange(told_, {});
   }
   std::size_t waiting() {
      runLoop();
      return watcher_->stateMachine()->fecs();
   }

   std::unique_ptr<MplsRouteHwProgrammingWatcher> watcher_;
   Texts told_;
};

// Every order of the route, the group, and the hand-over of what is configured by then with its answer.
TEST_F(MplsLatePlaneTest, theOrderOfRouteGroupAndAnswersDoesNotMatter) {
   Texts events{"answer", "group", "route"};
   std::uint16_t round = 0;
   do {
      SCOPED_TRACE(testing::PrintToString(events));
      ++round;
      const std::string group = fmt::format("g{}", round);
      for (const auto& event : events) {
         EXPECT_THAT(take(), IsEmpty());
         if (event == "route") {
            setOver(*mplsRoutes_, 100U + round, group, round);
         } else if (event == "group") {
            groups().nexthop_group_set_with_version_id(groupNamed(group), 7);
         } else {
            step();
            plane_->answerAll();
         }
      }
      for (int i = 0; i < 2; ++i) {
         step();
         plane_->answerAll();
      }
      EXPECT_THAT(take(), ElementsAre(fmt::format("{} version {} over {} version 7 state 2", 100 + round,
                                                  round, group)));
   } while (std::next_permutation(events.begin(), events.end()));
   EXPECT_EQ(round, 6);
}

// The same with the opening of the watch among the events, and with a hand-over that may complete before it.
TEST_F(MplsLatePlaneTest, theWatchMayBeOpenedAtAnyPointOfIt) {
   Texts events{"answer", "answer", "group", "route", "watch"};
   std::uint16_t round = 0;
   do {
      SCOPED_TRACE(testing::PrintToString(events));
      ++round;
      const mpls_route_key_t key{mpls_label_t(100U + round)};
      const std::string group = fmt::format("g{}", round);
      watcher_->stopWatching();
      ASSERT_THAT(take(), IsEmpty());
      for (const auto& event : events) {
         if (event == "watch") {
            watcher_->startWatching();
         } else if (event == "route") {
            setOver(*mplsRoutes_, 100U + round, group, round);
         } else if (event == "group") {
            groups().nexthop_group_set_with_version_id(groupNamed(group), 7);
         } else {
            step();
            plane_->answerAll();
         }
         runLoop();
      }
      for (int i = 0; i < 2; ++i) {
         step();
         plane_->answerAll();
         runLoop();
      }
      EXPECT_THAT(take(), ElementsAre(fmt::format("{} version {} over {} version 7 state 2", 100 + round,
                                                  round, group)));
      // A watch begins with all that hardware has, so this route must not be there in the next round.
      mplsRoutes_->mpls_route_del(key);
      step();
      plane_->answerAll();
      EXPECT_THAT(take(), IsEmpty());
   } while (std::next_permutation(events.begin(), events.end()));
   EXPECT_EQ(round, 60);
}

TEST_F(MplsLatePlaneTest, aRefusalIsAcknowledgedAsOne) {
   groups().nexthop_group_set_with_version_id(groupNamed("g"), 7);
   step();
   plane_->answerAll();
   setOver(*mplsRoutes_, 100, "g", 5);
   step();
   EXPECT_THAT(take(), IsEmpty());
   plane_->answerAll(false);
   EXPECT_THAT(take(), ElementsAre("100 version 5 over g version 7 state 3"));
}

// The row changes, and the group has left hardware before the loop looks at the row.
TEST_F(MplsLatePlaneTest, aGroupThatIsRenamedAwayTakesTheWaitingRoutesAlong) {
   groups().nexthop_group_set_with_version_id(groupNamed("g"), 7);
   step();
   plane_->answerAll();
   setOver(*mplsRoutes_, 100, "g", 5);
   step();
   runLoop();
   plane_->answerAll();
   groups().nexthop_group_del("g");
   groups().hardwareStep(*plane_);
   EXPECT_EQ(waiting(), 0U) << "the map's change drops the set";
   EXPECT_THAT(take(), IsEmpty());
   // The group is there again under another name; the route names the old one.
   groups().nexthop_group_set_with_version_id(groupNamed("renamed"), 7);
   step();
   plane_->answerAll();
   step();
   EXPECT_THAT(take(), IsEmpty());
   setOver(*mplsRoutes_, 100, "renamed", 5);
   step();
   plane_->answerAll();
   EXPECT_THAT(take(), ElementsAre("100 version 5 over renamed version 7 state 2"));
}

}  // namespace
}  // namespace OrvSdkRpc
