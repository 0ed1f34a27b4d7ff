#include "softswitch/sbfd/sbfd_engine.h"

#include <gmock/gmock.h>

#include "softswitch/sbfd/sbfd_model.h"
#include "testing/base/Nanos.h"

namespace softswitch {
namespace {

using Status = orv::bfd_session_status_t;
using orv::sbfd_interval_t;
using orvtest::ms;
using orvtest::us;
using testing::ElementsAre;
using testing::IsEmpty;

class SbfdEngineTest : public testing::Test {
protected:
   SbfdSlot add(sbfd_interval_t interval = {50, 3}, const char* nexthop = "10.0.0.1") {
      const auto slot = engine_.add({orv::ip_addr_t(nexthop), orv::intf_id_t(), {}, 0, 0}, interval, now_);
      link(slot, true, true);
      return slot;
   }
   void link(SbfdSlot slot, bool enabled, bool up) { engine_.linkIs(slot, enabled, up, now_); }
   // Advances the clock by `nanos`, in steps of a tick.
   void pass(std::int64_t nanos) {
      for (const auto end = now_ + nanos; now_ < end;) {
         now_ = std::min(now_ + SbfdWheel::tickNanos, end);
         work();
      }
   }
   // Advances the clock by `nanos` without a run of the main loop in between.
   void stall(std::int64_t nanos) {
      now_ += nanos;
      work();
   }
   void work() {
      EXPECT_FALSE(engine_.run(now_, [] { return false; }));
   }

   std::vector<Status> statuses(SbfdSlot slot = 0) {
      std::vector<Status> all;
      while (const auto change = engine_.takeStatus()) {
         if (change->slot == slot) all.push_back(change->status);
      }
      return all;
   }
   // Waits until the session's status is `status`. RETURNS: the time of the change, to within a tick.
   std::int64_t timeOf(SbfdSlot slot, Status status, std::int64_t patience = 1000 * ms) {
      for (const auto end = now_ + patience; now_ < end && engine_.status(slot) != status;)
         pass(ms);
      EXPECT_EQ(engine_.status(slot), status);
      return now_;
   }

   std::int64_t now_ = 1'000'000 * ms;
   SbfdModel model_;
   SbfdEngine engine_{model_, 1000 * ms};
};

TEST_F(SbfdEngineTest, comesUpWithinAnIntervalAndTheRoundTrip) {
   EXPECT_EQ(engine_.nextDue(), sbfdNever);
   const auto slot = add();
   EXPECT_EQ(engine_.status(slot), Status::down);
   EXPECT_THAT(statuses(), IsEmpty());
   const auto start = now_;
   EXPECT_LE(timeOf(slot, Status::up), start + 52 * ms);
   EXPECT_THAT(statuses(), ElementsAre(Status::up));
}

TEST_F(SbfdEngineTest, sendsOneProbePerInterval) {
   const auto slot = add();
   pass(50 * ms);
   const auto sent = engine_.sent(slot);
   pass(5000 * ms);
   EXPECT_EQ(engine_.sent(slot) - sent, 100u);
   EXPECT_GE(engine_.answered(slot), 99u);
   EXPECT_LE(engine_.nextDue(), now_ + 50 * ms);
}

TEST_F(SbfdEngineTest, goesDownAfterIntervalTimesMultiplierWithoutAnAnswer) {
   const auto slot = add();
   timeOf(slot, Status::up);
   const auto answered = engine_.answered(slot);
   model_.defaultFarEndIs({.up = false});
   const auto last = now_;
   const auto down = timeOf(slot, Status::down);
   EXPECT_EQ(engine_.answered(slot), answered);
   // The answer that brought the session up arrived at most one tick before the engine saw it.
   EXPECT_GE(down - last, 149 * ms);
   EXPECT_LE(down - last, 151 * ms);
   model_.defaultFarEndIs({.up = true});
   EXPECT_LE(timeOf(slot, Status::up), down + 52 * ms);
   EXPECT_THAT(statuses(), ElementsAre(Status::up, Status::down, Status::up));
}

TEST_F(SbfdEngineTest, lossesOfFewerProbesInARowThanTheMultiplierAreNothing) {
   const auto slot = add({50, 3});
   timeOf(slot, Status::up);
   statuses();
   for (int i = 0; i < 20; ++i) {
      model_.defaultFarEndIs({.up = false});
      pass(100 * ms);
      model_.defaultFarEndIs({.up = true});
      pass(50 * ms);
   }
   EXPECT_THAT(statuses(), IsEmpty());
}

TEST_F(SbfdEngineTest, anAnswerLaterThanTheDetectionTimeKeepsASessionUpAllTheSame) {
   model_.defaultFarEndIs({.delayNanos = 1000 * ms});
   const auto slot = add({10, 2});
   timeOf(slot, Status::up, 2000 * ms);
   pass(3000 * ms);
   EXPECT_THAT(statuses(), ElementsAre(Status::up));
   EXPECT_EQ(engine_.rtt(slot).min_rtt(), 1'000'000u);
}

TEST_F(SbfdEngineTest, aDownLinkTakesTheSessionDownAfterItsDetectionTimeAndAnUpLinkUp) {
   const auto slot = add({100, 3});
   const auto other = add({100, 3}, "10.0.0.2");
   pass(100 * ms + ms);
   link(slot, true, false);
   const auto cut = now_;
   const auto down = timeOf(slot, Status::down);
   EXPECT_GE(down - cut, 199 * ms);
   EXPECT_LE(down - cut, 301 * ms);
   EXPECT_EQ(engine_.status(other), Status::up);
   link(slot, true, true);
   const auto plugged = now_;
   EXPECT_LE(timeOf(slot, Status::up) - plugged, 102 * ms);
}

TEST_F(SbfdEngineTest, aDisabledInterfaceMakesItAdminDown) {
   const auto slot = add();
   timeOf(slot, Status::up);
   link(slot, false, false);
   EXPECT_EQ(engine_.status(slot), Status::up);
   timeOf(slot, Status::admin_down);
   // The interface is enabled but has no link: from here on that is a failure.
   link(slot, true, false);
   timeOf(slot, Status::down);
   link(slot, false, false);
   timeOf(slot, Status::admin_down);
   link(slot, true, true);
   timeOf(slot, Status::up);
   EXPECT_THAT(statuses(),
               ElementsAre(Status::up, Status::admin_down, Status::down, Status::admin_down, Status::up));
}

TEST_F(SbfdEngineTest, aStallOfTheSwitchIsNotHeldAgainstTheFarEnd) {
   const auto slot = add();
   pass(500 * ms);
   ASSERT_THAT(statuses(), ElementsAre(Status::up));
   for (int i = 0; i < 10; ++i) {
      stall(1000 * ms);
      pass(60 * ms);
   }
   EXPECT_THAT(statuses(), IsEmpty());
   // A far end that is really gone is still detected.
   model_.defaultFarEndIs({.up = false});
   stall(1000 * ms);
   timeOf(slot, Status::down, 300 * ms);
}

TEST_F(SbfdEngineTest, aStallIsFollowedByOneProbeNotByAllThatWereMissed) {
   const auto slot = add();
   pass(500 * ms);
   const auto sent = engine_.sent(slot);
   stall(10'000 * ms);
   EXPECT_EQ(engine_.sent(slot) - sent, 1u);
}

TEST_F(SbfdEngineTest, sumsUpRoundTripTimesOverTheLifeAndOverTheLastSnapshot) {
   const auto slot = add({50, 3});
   EXPECT_EQ(engine_.rtt(slot), orv::sbfd_echo_session_rtt_stats_t());
   model_.defaultFarEndIs({.delayNanos = 400 * us});
   pass(900 * ms);
   EXPECT_EQ(engine_.rtt(slot).snapshot_avg_rtt(), 0u);
   pass(160 * ms);
   EXPECT_EQ(engine_.rtt(slot).snapshot_avg_rtt(), 400u);
   model_.defaultFarEndIs({.delayNanos = 200 * us});
   pass(2060 * ms);
   model_.defaultFarEndIs({.delayNanos = 600 * us});
   pass(60 * ms);
   const auto rtt = engine_.rtt(slot);
   EXPECT_EQ(rtt.last_rtt(), 600u);
   EXPECT_EQ(rtt.min_rtt(), 200u);
   EXPECT_EQ(rtt.max_rtt(), 600u);
   EXPECT_GT(rtt.avg_rtt(), 250u);
   EXPECT_LT(rtt.avg_rtt(), 300u);
   EXPECT_EQ(rtt.snapshot_min_rtt(), 200u);
   EXPECT_EQ(rtt.snapshot_avg_rtt(), 200u);
   EXPECT_EQ(rtt.snapshot_max_rtt(), 200u);
}

TEST_F(SbfdEngineTest, aLateMainLoopDoesNotLengthenRoundTripTimes) {
   const auto slot = add();
   pass(49 * ms);
   for (int i = 0; i < 100; ++i)
      stall(7 * ms);
   EXPECT_EQ(engine_.rtt(slot).max_rtt(), 200u);
}

TEST_F(SbfdEngineTest, reportsOncePerSnapshotOnlyWhatIsToBeReported) {
   const auto slot = add();
   add({50, 3}, "10.0.0.2");
   engine_.reportsRttIs(slot, true);
   int reports = 0;
   for (int second = 0; second < 10; ++second) {
      pass(1000 * ms);
      while (const auto reported = engine_.takeRtt()) {
         EXPECT_EQ(*reported, slot);
         ++reports;
      }
   }
   EXPECT_GE(reports, 8);
   EXPECT_LE(reports, 10);
   // Reports that are not taken for a while collapse into one, the latest.
   pass(5000 * ms);
   EXPECT_EQ(engine_.takeRtt(), slot);
   EXPECT_EQ(engine_.takeRtt(), std::nullopt);
   EXPECT_TRUE(engine_.hasReports());
   statuses();
   EXPECT_FALSE(engine_.hasReports());
}

TEST_F(SbfdEngineTest, aShorterIntervalDoesNotTakeASessionDown) {
   const auto slot = add({1000, 3});
   pass(2900 * ms);
   ASSERT_EQ(engine_.status(slot), Status::up);
   engine_.intervalIs(slot, {10, 3}, now_);
   pass(500 * ms);
   EXPECT_THAT(statuses(), ElementsAre(Status::up));
   EXPECT_GE(engine_.sent(slot), 50u);
   model_.defaultFarEndIs({.up = false});
   const auto cut = now_;
   EXPECT_LE(timeOf(slot, Status::down) - cut, 31 * ms);
}

TEST_F(SbfdEngineTest, intervalsBeyondATurnOfTheWheelKeepTheirTime) {
   const auto slot = add({65'535, 255});
   pass(65'536 * ms);
   EXPECT_EQ(engine_.status(slot), Status::up);
   const auto sent = engine_.sent(slot);
   model_.defaultFarEndIs({.up = false});
   for (int i = 0; i < 10; ++i)
      pass(65'535 * ms);
   EXPECT_EQ(engine_.sent(slot) - sent, 10u);
   EXPECT_EQ(engine_.status(slot), Status::up);
}

TEST_F(SbfdEngineTest, nothingIsToldOfASessionThatIsGone) {
   const auto slot = add();
   engine_.reportsRttIs(slot, true);
   pass(2000 * ms);
   engine_.del(slot);
   EXPECT_EQ(engine_.status(slot), Status::unknown);
   EXPECT_EQ(add({50, 3}, "10.0.0.2"), slot);
   EXPECT_EQ(engine_.takeStatus(), std::nullopt);
   EXPECT_EQ(engine_.takeRtt(), std::nullopt);
   EXPECT_EQ(engine_.answered(slot), 0u);
   pass(60 * ms);
   EXPECT_THAT(statuses(slot), ElementsAre(Status::up));
}

TEST_F(SbfdEngineTest, sessionsMadeTogetherDoNotSendTogether) {
   constexpr int count = 1000;
   for (int i = 0; i < count; ++i)
      add();
   std::uint64_t before = 0;
   std::uint64_t most = 0;
   for (int tick = 0; tick < 50; ++tick) {
      pass(ms);
      std::uint64_t sent = 0;
      for (SbfdSlot slot = 0; slot < count; ++slot)
         sent += engine_.sent(slot);
      most = std::max(most, sent - before);
      before = sent;
   }
   EXPECT_GE(before, 999u);
   EXPECT_LE(most, 30u);
}

TEST_F(SbfdEngineTest, workIsDoneInPiecesAndNoAnswerIsOvertakenByTheEndOfItsTime) {
   constexpr int count = 500;
   for (int i = 0; i < count; ++i)
      add({10, 2});
   pass(20 * ms);
   while (engine_.takeStatus()) {
   }
   int pieces = 0;
   for (int i = 0; i < 50; ++i) {
      now_ += 10 * ms;
      while (engine_.run(now_, [] { return true; }))
         ++pieces;
   }
   EXPECT_GE(pieces, 500);
   EXPECT_EQ(engine_.takeStatus(), std::nullopt);
}

}  // namespace
}  // namespace softswitch
