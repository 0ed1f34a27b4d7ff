#include "OrvSdkRpc/hardware/MplsRouteHwProgrammingSm.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "testing/server/MplsTables.h"
#include "testing/server/TraceCapture.h"

namespace OrvSdkRpc {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Texts = std::vector<std::string>;

constexpr const char* duplicate = "Skip publishing a duplicate event for integrated MPLS-NHG callback";

class MplsRouteHwProgrammingSmTest : public MplsTables, public testing::Test {
protected:
   // Reports the rows and groups that are there.
   void start() {
      const Zelt::ActivityLockAnchor lock;
      sm_ = Pavo::makePtr<MplsRouteHwProgrammingSm>(&watcher_, table_, map_);
   }
   std::size_t waiting(NexthopGroup::NexthopGroupId id) const {
      const auto* set = sm_->fecIdToMplsRouteKeySet(NexthopGroup::nexthopGroupIdToFecId(id));
      return set == nullptr ? 0 : set->mplsRouteKeySet().size();
   }
   // The traces at `level` that the loop writes until it rests.
   Texts traced(int level) {
      const orvtest::TraceCapture traces(fmt::format("MplsRouteHwProgrammingSm/{}", level));
      runLoop();
      return traces.texts();
   }

   MplsRouteHwProgrammingWatcher watcher_{nullptr, &groups_, listener()};
   Pavo::Ptr<MplsRouteHwProgrammingSm> sm_;
};

TEST_F(MplsRouteHwProgrammingSmTest, aRouteWhoseGroupIsThereIsReportedAtOnce) {
   map_->rowIs(7, "g");
   start();
   runLoop();
   rowIs(routeOver(100, 7, 3, 4));
   EXPECT_EQ(traced(8), (Texts{"Processing MPLS route key: 100", "NHG: g is present"}));
   EXPECT_THAT(take(), ElementsAre("100 metric 0 version 3 over g version 4 state 2"));
   EXPECT_EQ(sm_->fecs(), 0U);
}

TEST_F(MplsRouteHwProgrammingSmTest, rowsAndGroupsOfTheStartAreEachSeenAsAChange) {
   rowIs(routeOver(100, 7));
   rowIs(routeOver(200, 8));
   map_->rowIs(7, "g");
   start();
   EXPECT_THAT(told_, IsEmpty()) << "the loop reports, not the caller";
   EXPECT_THAT(take(), ElementsAre("100 metric 0 version 1 over g version 1 state 2"));
   EXPECT_EQ(waiting(8), 1U);
}

TEST_F(MplsRouteHwProgrammingSmTest, theStepsAreTracedByName) {
   start();
   rowIs(routeOver(100, 7));
   EXPECT_EQ(traced(7), (Texts{"handleMplsRoute", "processRoute"}));
   map_->rowIs(7, "g");
   EXPECT_EQ(traced(7), (Texts{"handleNexthopGroupStatus", "processRoute"}));
}

TEST_F(MplsRouteHwProgrammingSmTest, eachNewStateIsAReport) {
   map_->rowIs(7, "g");
   map_->rowIs(8, "h");
   start();
   rowIs(routeOver(100, 7));
   EXPECT_THAT(take(), ElementsAre("100 metric 0 version 1 over g version 1 state 2"));
   rowIs(routeOver(100, 7, 2));
   EXPECT_THAT(take(), ElementsAre("100 metric 0 version 2 over g version 1 state 2"));
   rowIs(routeOver(100, 7, 2, 9));
   EXPECT_THAT(take(), ElementsAre("100 metric 0 version 2 over g version 9 state 2"));
   rowIs(routeOver(100, 8, 2, 9));
   EXPECT_THAT(take(), ElementsAre("100 metric 0 version 2 over h version 9 state 2"));
   auto row = routeOver(100, 8, 2, 9);
   row.ackInfo->hwState = FecState::failure;
   rowIs(row);
   EXPECT_THAT(take(), ElementsAre("100 metric 0 version 2 over h version 9 state 3"));
   row.ackInfo->hwState = FecState::pending;
   rowIs(row);
   EXPECT_THAT(take(), ElementsAre("100 metric 0 version 2 over h version 9 state 1"));
}

TEST_F(MplsRouteHwProgrammingSmTest, aChangeThatIsNotAboutTheAnswerIsOneTraceAndNoReport) {
   map_->rowIs(7, "g");
   start();
   auto row = routeOver(100, 7);
   rowIs(row);
   EXPECT_EQ(take().size(), 1U);
   row.vias = 2;
   rowIs(row);
   EXPECT_EQ(traced(8), Texts{duplicate});
   EXPECT_THAT(take(), IsEmpty());
   // A row that has come back to what it was by the time the loop looks.
   rowIs(routeOver(100, 7, 5));
   rowIs(row);
   EXPECT_EQ(traced(8), Texts{duplicate});
   // Two rows that hardware has not answered for are the same.
   row.ackInfo.reset();
   rowIs(row);
   runLoop();
   row.vias = 3;
   rowIs(row);
   EXPECT_EQ(traced(8), Texts{duplicate});
   EXPECT_THAT(take(), IsEmpty());
}

TEST_F(MplsRouteHwProgrammingSmTest, aChangedFlagIsNoDuplicate) {
   map_->rowIs(7, "g");
   start();
   auto row = routeOver(100, 7);
   rowIs(row);
   EXPECT_EQ(take().size(), 1U);
   row.unprogrammed = true;
   rowIs(row);
   EXPECT_EQ(
        traced(8),
        Texts{"MPLS route is not versioned or unprogrammed 100 metric 0, FEC 216172782113783815, version 1 "
              "over 1, state 1, unprogrammed, vias 1"});
   EXPECT_THAT(take(), IsEmpty());
   row.unprogrammed = false;
   rowIs(row);
   EXPECT_THAT(take(), ElementsAre("100 metric 0 version 1 over g version 1 state 2"));
}

TEST_F(MplsRouteHwProgrammingSmTest, aRouteWithoutAVersionIsNeverReported) {
   map_->rowIs(7, "g");
   start();
   runLoop();
   for (std::uint32_t groupVersion = 1; groupVersion < 4; ++groupVersion) {
      rowIs(routeOver(100, 7, 0, groupVersion));
      EXPECT_THAT(traced(8), ElementsAre(testing::StartsWith("MPLS route is not versioned or unprogrammed")));
   }
   // A missing answer reads as one with a version of 0.
   auto row = routeOver(100, 7);
   row.ackInfo.reset();
   rowIs(row);
   EXPECT_EQ(traced(8), Texts{"MPLS route is not versioned or unprogrammed 100 metric 0, vias 1"});
   EXPECT_THAT(take(), IsEmpty());
}

TEST_F(MplsRouteHwProgrammingSmTest, aRouteThatDoesNotPointAtAGroupIsNotReported) {
   map_->rowIs(7, "g");
   start();
   runLoop();
   for (const std::uint64_t type : {0U, 1U, 2U, 4U, 26U}) {
      auto row = routeOver(100, 7);
      row.ackInfo->fecId = Rillo::Fib::FecId(type << 56 | 7);
      rowIs(row);
      EXPECT_EQ(traced(8),
                (Texts{"Processing MPLS route key: 100",
                       fmt::format("MPLS route points to {} is not NHG adjacency", type << 56 | 7)}));
   }
   EXPECT_THAT(take(), IsEmpty());
   EXPECT_EQ(sm_->fecs(), 0U);
}

using MplsRouteHwProgrammingSmDeathTest = MplsRouteHwProgrammingSmTest;

TEST_F(MplsRouteHwProgrammingSmDeathTest, anAdjacencyTypeThatIsNoneEndsTheProcess) {
   start();
   for (const std::uint64_t type : {27U, 255U}) {
      auto row = routeOver(100, 7);
      row.ackInfo->fecId = Rillo::Fib::FecId(type << 56 | 7);
      EXPECT_DEATH(
           {
              rowIs(row);
              runLoop();
           },
           R"(Assertion `\(value_ >> Fib::adjTypePos\(\)\) < Fib::adjTypeMax\(\)' failed)");
   }
}

TEST_F(MplsRouteHwProgrammingSmTest, aGroupWithoutAVersionIsNotReported) {
   map_->rowIs(7, "g");
   start();
   runLoop();
   rowIs(routeOver(100, 7, 1, 0));
   EXPECT_EQ(traced(8),
             (Texts{"Processing MPLS route key: 100", "MPLS route points to a non-versioned NHG"}));
   EXPECT_THAT(take(), IsEmpty());
}

TEST_F(MplsRouteHwProgrammingSmTest, aRowThatIsGoneIsTraced) {
   map_->rowIs(7, "g");
   start();
   rowIs(routeOver(100, 7));
   EXPECT_EQ(take().size(), 1U);
   table_->rowDel(label(100));
   EXPECT_EQ(traced(8), Texts{"MPLS route key: 100 doesn't exist"});
   EXPECT_THAT(take(), IsEmpty());
   // The same state again is a new one.
   rowIs(routeOver(100, 7));
   EXPECT_EQ(take().size(), 1U);
}

TEST_F(MplsRouteHwProgrammingSmTest, aRouteWaitsForTheNameOfItsGroup) {
   start();
   rowIs(routeOver(200, 7));
   rowIs(routeOver(100, 7, 3));
   rowIs(routeOver(300, 8));
   EXPECT_THAT(take(), IsEmpty());
   EXPECT_EQ(waiting(7), 2U);
   map_->rowIs(9, "other");
   EXPECT_THAT(take(), IsEmpty());
   map_->rowIs(7, "g");
   EXPECT_EQ(traced(8), (Texts{"Processing NHG ID: 7", "Processing MPLS route key: 100", "NHG: g is present",
                               "Processing MPLS route key: 200", "NHG: g is present"}));
   EXPECT_THAT(take(), ElementsAre("100 metric 0 version 3 over g version 1 state 2",
                                   "200 metric 0 version 1 over g version 1 state 2"));
   EXPECT_EQ(waiting(7), 0U);
   EXPECT_EQ(waiting(8), 1U);
   // It has been told; another change of the group is not about the route.
   map_->rowIs(7, "renamed");
   EXPECT_THAT(take(), IsEmpty());
}

TEST_F(MplsRouteHwProgrammingSmTest, whatIsReportedLaterIsTheRouteAsItIsThen) {
   start();
   rowIs(routeOver(100, 7));
   rowIs(routeOver(200, 7));
   rowIs(routeOver(300, 7));
   EXPECT_THAT(take(), IsEmpty());
   table_->rowDel(label(100));
   rowIs(routeOver(200, 7, 5));
   rowIs(routeOver(300, 8));
   EXPECT_THAT(take(), IsEmpty());
   EXPECT_EQ(waiting(8), 1U);
   map_->rowIs(7, "g");
   EXPECT_THAT(take(), ElementsAre("200 metric 0 version 5 over g version 1 state 2"));
   EXPECT_EQ(waiting(7), 0U);
   EXPECT_EQ(waiting(8), 1U) << "it waits for its new group";
   map_->rowIs(8, "h");
   EXPECT_THAT(take(), ElementsAre("300 metric 0 version 1 over h version 1 state 2"));
}

TEST_F(MplsRouteHwProgrammingSmTest, aGroupThatGoesTakesTheWaitingRoutesAlong) {
   start();
   rowIs(routeOver(100, 7));
   runLoop();
   EXPECT_EQ(waiting(7), 1U);
   // It came and went before the loop looked.
   map_->rowIs(7, "g");
   map_->rowDel(7);
   EXPECT_EQ(traced(8), Texts{"Processing NHG ID: 7"});
   EXPECT_THAT(take(), IsEmpty());
   EXPECT_EQ(sm_->fecs(), 0U);
   map_->rowIs(7, "g");
   EXPECT_THAT(take(), IsEmpty()) << "nobody waits any more";
   rowIs(routeOver(100, 7, 2));
   EXPECT_THAT(take(), ElementsAre("100 metric 0 version 2 over g version 1 state 2"));
}

TEST_F(MplsRouteHwProgrammingSmTest, theEmptyNameIsNoName) {
   start();
   rowIs(routeOver(100, 7));
   runLoop();
   map_->rowIs(7, "");
   EXPECT_THAT(take(), IsEmpty());
   EXPECT_EQ(sm_->fecs(), 0U);
}

TEST_F(MplsRouteHwProgrammingSmTest, keysAreStacksWithAMetric) {
   map_->rowIs(7, "g");
   start();
   auto row = routeOver(200, 7);
   row.key.stackSizeIs(2);
   row.key.labelStackIs(Lumic::MplsStackEntryIndex(1), Lumic::MplsLabel(100));
   row.key.metricIs(255);
   rowIs(row);
   EXPECT_THAT(take(), ElementsAre("100,200 metric 255 version 1 over g version 1 state 2"));
}

TEST_F(MplsRouteHwProgrammingSmTest, withoutATableOrAMapItIsSilent) {
   rowIs(routeOver(100, 7));
   map_->rowIs(7, "g");
   {
      const Zelt::ActivityLockAnchor lock;
      sm_ = Pavo::makePtr<MplsRouteHwProgrammingSm>(&watcher_, nullptr, map_);
   }
   EXPECT_THAT(take(), IsEmpty());
   {
      const Zelt::ActivityLockAnchor lock;
      sm_ = Pavo::makePtr<MplsRouteHwProgrammingSm>(&watcher_, table_, nullptr);
   }
   EXPECT_THAT(take(), IsEmpty());
   EXPECT_EQ(waiting(7), 1U);
}

TEST(FecIdToMplsRouteKeySetTest, keepsEachKeyOnce) {
   const auto key = [](std::uint32_t number) {
      Mpls::RouteKey made;
      made.stackSizeIs(1);
      made.labelStackIs(Lumic::MplsStackEntryIndex(0), Lumic::MplsLabel(number));
      return made;
   };
   FecIdToMplsRouteKeySet set(Rillo::Fib::FecId(7));
   EXPECT_EQ(set.fecId(), Rillo::Fib::FecId(7));
   for (const std::uint32_t number : {300U, 100U, 200U, 100U})
      set.mplsRouteKeySetIs(key(number));
   EXPECT_THAT(set.mplsRouteKeySet(), ElementsAre(key(100), key(200), key(300)));
   set.mplsRouteKeySetDel(key(200));
   set.mplsRouteKeySetDel(key(999));
   EXPECT_THAT(set.mplsRouteKeySet(), ElementsAre(key(100), key(300)));
   set.mplsRouteKeySetDelAll();
   EXPECT_THAT(set.mplsRouteKeySet(), IsEmpty());
}

}  // namespace
}  // namespace OrvSdkRpc
