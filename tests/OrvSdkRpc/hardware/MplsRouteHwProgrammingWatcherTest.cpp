#include "OrvSdkRpc/hardware/MplsRouteHwProgrammingWatcher.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <optional>

#include "testing/mock/MockMountMgr.h"
#include "testing/server/MplsTables.h"
#include "testing/server/TraceCapture.h"

namespace OrvSdkRpc {
namespace {

using testing::_;
using testing::ElementsAre;
using testing::IsEmpty;

class MplsRouteHwProgrammingWatcherTest : public MplsTables, public testing::Test {
protected:
   MplsRouteHwProgrammingWatcherTest() {
      map_->rowIs(7, "g");
      rowIs(routeOver(100, 7));
   }
   ~MplsRouteHwProgrammingWatcherTest() override { stop(); }

   void mount(MplsRouteHwProgrammingWatcher& watcher) {
      const Zelt::ActivityLockAnchor lock;
      const auto state = Pavo::makePtr<Tessel::MountGroup>(state_);
      watcher.doMounts(state, Pavo::makePtr<ZeltSharedMem::MountGroup>(shared_));
      EXPECT_EQ(state->size(), 1U);
      watcher.initialized_is(true);
      watcher.onMountsComplete(state_, shared_);
   }
   void start() {
      const orv::sdk_scoped_lock lock;
      watcher_.startWatching();
   }
   void stop() {
      const orv::sdk_scoped_lock lock;
      watcher_.stopWatching();
   }

   MplsRouteHwProgrammingWatcher watcher_{nullptr, &groups_, listener()};
};

TEST_F(MplsRouteHwProgrammingWatcherTest, registersForItsMountsForAsLongAsItLives) {
   testing::StrictMock<orvtest::MockMountMgr> mounts;
   orv::mount_handler* handler = nullptr;
   EXPECT_CALL(mounts, handler_add).WillOnce(testing::SaveArg<0>(&handler));
   {
      const MplsRouteHwProgrammingWatcher watcher(&mounts, &groups_, listener());
      EXPECT_EQ(handler, &watcher);
      EXPECT_CALL(mounts, handler_del(handler));
   }
}

TEST_F(MplsRouteHwProgrammingWatcherTest, theTableIsFollowedWhileSomebodyWatches) {
   mount(watcher_);
   const auto references = table_->refCount();
   EXPECT_EQ(watcher_.stateMachine(), nullptr);
   EXPECT_THAT(take(), IsEmpty());
   start();
   EXPECT_NE(watcher_.stateMachine(), nullptr);
   EXPECT_GT(table_->refCount(), references);
   EXPECT_THAT(take(), ElementsAre("100 metric 0 version 1 over g version 1 state 2"));
   stop();
   stop();
   EXPECT_EQ(watcher_.stateMachine(), nullptr);
   EXPECT_EQ(table_->refCount(), references);
   rowIs(routeOver(100, 7, 2));
   EXPECT_THAT(take(), IsEmpty());
   start();
   EXPECT_THAT(take(), ElementsAre("100 metric 0 version 2 over g version 1 state 2"));
}

TEST_F(MplsRouteHwProgrammingWatcherTest, whatWaitsGoesWithTheLastWatch) {
   mount(watcher_);
   start();
   rowIs(routeOver(200, 8));
   EXPECT_EQ(take().size(), 1U);
   EXPECT_EQ(watcher_.stateMachine()->fecs(), 1U);
   stop();
   start();
   EXPECT_EQ(watcher_.stateMachine()->fecs(), 0U);
   runLoop();
   EXPECT_EQ(watcher_.stateMachine()->fecs(), 1U) << "and is found again";
}

TEST_F(MplsRouteHwProgrammingWatcherTest, aSecondStartChangesNothing) {
   mount(watcher_);
   start();
   const auto* const first = watcher_.stateMachine().get();
   start();
   EXPECT_EQ(watcher_.stateMachine().get(), first);
   EXPECT_EQ(take().size(), 1U);
}

TEST_F(MplsRouteHwProgrammingWatcherTest, aWatchBeforeTheMountsBeginsWithThem) {
   start();
   EXPECT_EQ(watcher_.stateMachine(), nullptr);
   EXPECT_THAT(take(), IsEmpty());
   mount(watcher_);
   EXPECT_EQ(take().size(), 1U);
   // One that has ended by then does not begin.
   MplsRouteHwProgrammingWatcher other(nullptr, &groups_, listener());
   const orv::sdk_scoped_lock lock;
   other.startWatching();
   other.stopWatching();
   mount(other);
   EXPECT_EQ(other.stateMachine(), nullptr);
}

TEST_F(MplsRouteHwProgrammingWatcherTest, withoutTheTableAWatchIsSilent) {
   const auto other = Pavo::makePtr<Tessel::EntityManager>();
   watcher_.initialized_is(true);
   watcher_.onMountsComplete(other, shared_);
   start();
   EXPECT_NE(watcher_.stateMachine(), nullptr);
   EXPECT_THAT(take(), IsEmpty());
}

TEST_F(MplsRouteHwProgrammingWatcherTest, anEntityOfAnotherTypeCountsAsMissing) {
   const auto other = Pavo::makePtr<Tessel::EntityManager>();
   const auto wrong = other->mount(std::string(Mpls::Hardware::statusPath), Tessel::MountMode::write);
   wrong.entityIs(Pavo::makePtr<GroupMap>("wrong"));
   watcher_.initialized_is(true);
   watcher_.onMountsComplete(other, shared_);
   start();
   EXPECT_THAT(take(), IsEmpty());
}

TEST_F(MplsRouteHwProgrammingWatcherTest, withoutGroupsEveryRouteWaits) {
   MplsRouteHwProgrammingWatcher alone(nullptr, nullptr, listener());
   mount(alone);
   {
      const orv::sdk_scoped_lock lock;
      alone.startWatching();
   }
   EXPECT_THAT(take(), IsEmpty());
   EXPECT_EQ(alone.stateMachine()->fecs(), 1U);
   const orv::sdk_scoped_lock lock;
   alone.stopWatching();
}

TEST_F(MplsRouteHwProgrammingWatcherTest, everyFieldOfAReport) {
   std::optional<orv::remote::MplsIntegratedAckResponse> sent;
   MplsRouteHwProgrammingWatcher watcher(nullptr, &groups_, [&](const auto& response) { sent = response; });
   watcher.onMplsRouteHwProgrammingUpdate({label(100), 5}, 4294967295, "g", 4294967294, FecState::failure);
   ASSERT_TRUE(sent);
   EXPECT_FALSE(sent->ack());
   EXPECT_EQ(shown(*sent), "100 metric 5 version 4294967295 over g version 4294967294 state 3");
}

TEST_F(MplsRouteHwProgrammingWatcherTest, anEmptyCallbackIsABadFunctionCall) {
   MplsRouteHwProgrammingWatcher watcher(nullptr, &groups_, {});
   EXPECT_THROW(watcher.onMplsRouteHwProgrammingUpdate({label(100), 0}, 1, "g", 1, FecState::success),
                std::bad_function_call);
}

// Only a fault of the switch makes such rows. The others are still reported.
TEST_F(MplsRouteHwProgrammingWatcherTest, aRowThatTheWireCannotExpressIsTracedAndNotTold) {
   mount(watcher_);
   start();
   EXPECT_EQ(take().size(), 1U);
   const orvtest::TraceCapture traces("MplsRouteHwProgrammingSm/0");
   auto row = routeOver(200, 7);
   row.key.stackSizeIs(15);
   rowIs(row);
   row = routeOver(300, 7);
   row.ackInfo->hwState = static_cast<FecState>(3);
   rowIs(row);
   rowIs(routeOver(400, 7));
   EXPECT_THAT(take(), ElementsAre("400 metric 0 version 1 over g version 1 state 2"));
   EXPECT_THAT(
        traces.texts(),
        testing::UnorderedElementsAre(
             "mpls_route_via_set_version_info is not told: Lumic::MplsStackEntryIndex::value < "
             "Lumic::MplsStackEntryIndex::min or > Lumic::MplsStackEntryIndex::nullValue not allowed",
             "mpls_route_via_set_version_info is not told: Unknown value for FEC hw programming state: 3"));
}

// A stream that overflows ends its watch inside the callback, also the last one.
TEST_F(MplsRouteHwProgrammingWatcherTest, theLastWatchMayEndInsideTheReport) {
   int reports = 0;
   std::optional<MplsRouteHwProgrammingWatcher> watcher;
   watcher.emplace(nullptr, &groups_, [&](const auto&) {
      ++reports;
      watcher->stopWatching();
   });
   mount(*watcher);
   {
      const orv::sdk_scoped_lock lock;
      watcher->startWatching();
   }
   runLoop();
   EXPECT_EQ(reports, 1);
   EXPECT_EQ(watcher->stateMachine(), nullptr);
   // The same while several routes wait for a group.
   table_->rowDel(label(100));
   rowIs(routeOver(200, 8));
   rowIs(routeOver(300, 8));
   {
      const orv::sdk_scoped_lock lock;
      watcher->startWatching();
   }
   runLoop();
   ASSERT_EQ(watcher->stateMachine()->fecs(), 1U);
   map_->rowIs(8, "h");
   runLoop();
   EXPECT_GT(reports, 1);
   EXPECT_EQ(watcher->stateMachine(), nullptr);
}

}  // namespace
}  // namespace OrvSdkRpc
