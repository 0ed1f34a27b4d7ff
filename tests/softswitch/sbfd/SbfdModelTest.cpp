#include "softswitch/sbfd/sbfd_model.h"

#include <gmock/gmock.h>

#include "orv/error.h"
#include "testing/base/Nanos.h"
#include "testing/sdk/Refusal.h"

namespace softswitch {
namespace {

using orvtest::ms;
using orvtest::us;

const SbfdFarEndPlace place{.nexthop = orv::ip_addr_t("10.0.0.1"), .intf = {}};

class SbfdModelTest : public testing::Test {
protected:
   void add(SbfdSlot slot, const char* nexthop = "10.0.0.1", const char* intf = "Ethernet1") {
      model_.sessionAdd(slot, {orv::ip_addr_t(nexthop), orv::intf_id_t(intf), {}, 0, 0});
      model_.linkIs(slot, true);
   }
   // The round-trip time in nanoseconds of a probe that is sent at 0; -1 when it is lost.
   std::int64_t roundTrip(SbfdSlot slot) {
      model_.send(slot, 0);
      SbfdAnswer answer;
      return model_.receive(SbfdModel::delayMax * 2, answer) ? answer.received : -1;
   }
   SbfdModel model_;
};

TEST_F(SbfdModelTest, answersComeInOrderOfTheirArrivalAndNotBefore) {
   add(0);
   add(1, "10.0.0.2");
   model_.farEndIs(place, {.delayNanos = 5 * ms});
   model_.farEndIs({.nexthop = orv::ip_addr_t("10.0.0.2"), .intf = {}}, {.delayNanos = 1 * ms});
   EXPECT_EQ(model_.nextArrival(), sbfdNever);
   model_.send(0, 10 * ms);
   model_.send(1, 11 * ms);
   model_.send(0, 12 * ms);
   EXPECT_EQ(model_.nextArrival(), 12 * ms);
   SbfdAnswer answer;
   EXPECT_FALSE(model_.receive(12 * ms - 1, answer));
   ASSERT_TRUE(model_.receive(16 * ms, answer));
   EXPECT_EQ(answer.slot, 1u);
   EXPECT_EQ(answer.sent, 11 * ms);
   EXPECT_EQ(answer.received, 12 * ms);
   ASSERT_TRUE(model_.receive(16 * ms, answer));
   EXPECT_EQ(answer.slot, 0u);
   EXPECT_EQ(answer.received, 15 * ms);
   EXPECT_FALSE(model_.receive(16 * ms, answer));
   EXPECT_EQ(model_.nextArrival(), 17 * ms);
}

TEST_F(SbfdModelTest, theClosestFarEndAnswers) {
   add(0);
   EXPECT_EQ(roundTrip(0), 200 * us);
   model_.defaultFarEndIs({.delayNanos = 300 * us});
   EXPECT_EQ(roundTrip(0), 300 * us);
   const SbfdFarEndPlace exact{.nexthop = place.nexthop, .intf = orv::intf_id_t("Ethernet1")};
   model_.farEndIs(place, {.delayNanos = 400 * us});
   EXPECT_EQ(roundTrip(0), 400 * us);
   model_.farEndIs(exact, {.delayNanos = 500 * us});
   EXPECT_EQ(roundTrip(0), 500 * us);
   add(1, "10.0.0.1", "Ethernet2");
   EXPECT_EQ(roundTrip(1), 400 * us);
   model_.farEndDel(exact);
   model_.farEndDel(exact);
   EXPECT_EQ(roundTrip(0), 400 * us);
   model_.farEndDel(place);
   EXPECT_EQ(roundTrip(0), 300 * us);
   EXPECT_TRUE(model_.farEnds().empty());
}

TEST_F(SbfdModelTest, losesByPercentAndAddsJitterWithinItsBound) {
   add(0);
   model_.farEndIs(place, {.delayNanos = 1 * ms, .jitterNanos = 100 * us, .lossPercent = 30});
   int lost = 0;
   std::int64_t least = SbfdModel::delayMax;
   std::int64_t most = 0;
   for (int i = 0; i < 10'000; ++i) {
      const auto took = roundTrip(0);
      if (took < 0) {
         ++lost;
      } else {
         least = std::min(least, took);
         most = std::max(most, took);
      }
   }
   EXPECT_NEAR(lost, 3000, 200);
   EXPECT_GE(least, 1 * ms);
   EXPECT_LE(least, 1 * ms + 5 * us);
   EXPECT_LE(most, 1 * ms + 100 * us);
   EXPECT_GE(most, 1 * ms + 95 * us);
   model_.farEndIs(place, {.lossPercent = 100});
   EXPECT_EQ(roundTrip(0), -1);
}

TEST_F(SbfdModelTest, nothingPassesALinkOrAFarEndThatIsDown) {
   add(0);
   SbfdAnswer answer;
   model_.send(0, 0);
   model_.linkIs(0, false);
   EXPECT_FALSE(model_.receive(ms, answer));
   EXPECT_EQ(roundTrip(0), -1);
   model_.linkIs(0, true);
   EXPECT_EQ(roundTrip(0), 200 * us);
   model_.farEndIs(place, {.up = false});
   EXPECT_EQ(roundTrip(0), -1);
}

TEST_F(SbfdModelTest, answersToASessionThatIsGoneAreNotTakenByTheNextOneOfItsSlot) {
   add(0);
   model_.send(0, 0);
   model_.sessionDel(0);
   add(0, "10.0.0.9");
   SbfdAnswer answer;
   EXPECT_FALSE(model_.receive(ms, answer));
   EXPECT_EQ(roundTrip(0), 200 * us);
}

TEST_F(SbfdModelTest, refusesWhatNoFarEndCanBe) {
   EXPECT_EQ(orvtest::refusal([&] { model_.defaultFarEndIs({.lossPercent = 101}); }),
             "sBFD far end's loss, percent, 101 is out of range, expected 0 to 100");
   EXPECT_EQ(orvtest::refusal([&] { model_.farEndIs(place, {.delayNanos = SbfdModel::delayMax + us}); }),
             "sBFD far end's delay, us, 10000001 is out of range, expected 0 to 10000000");
   EXPECT_EQ(orvtest::refusal([&] { model_.farEndIs(place, {.jitterNanos = SbfdModel::delayMax + us}); }),
             "sBFD far end's jitter, us, 10000001 is out of range, expected 0 to 10000000");
   EXPECT_EQ(orvtest::refusal([&] { model_.farEndIs({}, {}); }),
             "sBFD far end has no nexthop, expected an IPv4 or IPv6 address");
   EXPECT_TRUE(model_.farEnds().empty());
   EXPECT_EQ(model_.defaultFarEnd(), SbfdFarEnd());
}

}  // namespace
}  // namespace softswitch
