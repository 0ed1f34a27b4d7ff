#include "softswitch/sbfd/sbfd_wheel.h"

#include <gmock/gmock.h>

#include <map>
#include <random>

#include "softswitch/sbfd/sbfd_path.h"
#include "testing/base/Nanos.h"

namespace softswitch {
namespace {

using orvtest::ms;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

constexpr std::int64_t turn = static_cast<std::int64_t>(SbfdWheel::slots) * SbfdWheel::tickNanos;

std::vector<SbfdWheel::Node> expired(SbfdWheel& wheel, std::int64_t now) {
   std::vector<SbfdWheel::Node> nodes;
   while (const auto node = wheel.expired(now))
      nodes.push_back(*node);
   return nodes;
}

class SbfdWheelTest : public testing::Test {
protected:
   SbfdWheelTest() { wheel_.grow(8); }
   SbfdWheel wheel_;
};

TEST_F(SbfdWheelTest, aNodeIsDueOnceAtTheTickBehindItsTime) {
   EXPECT_EQ(wheel_.nextDue(), sbfdNever);
   wheel_.set(3, 5 * ms + 1);
   EXPECT_EQ(wheel_.nextDue(), 6 * ms);
   EXPECT_THAT(expired(wheel_, 6 * ms - 1), IsEmpty());
   EXPECT_THAT(expired(wheel_, 6 * ms), ElementsAre(3));
   EXPECT_EQ(wheel_.size(), 0u);
   EXPECT_THAT(expired(wheel_, 7 * ms), IsEmpty());
}

TEST_F(SbfdWheelTest, settingAgainMovesAndNeverTakesOut) {
   wheel_.set(0, 5 * ms);
   wheel_.set(0, 9 * ms);
   wheel_.set(1, 5 * ms);
   wheel_.set(1, sbfdNever);
   wheel_.set(2, 5 * ms);
   wheel_.cancel(2);
   wheel_.cancel(2);
   EXPECT_THAT(expired(wheel_, 8 * ms), IsEmpty());
   EXPECT_THAT(expired(wheel_, 9 * ms), ElementsAre(0));
}

TEST_F(SbfdWheelTest, aTimeBeyondATurnWaitsForItsTurn) {
   wheel_.set(0, 3 * ms + 2 * turn);
   wheel_.set(1, 3 * ms);
   EXPECT_THAT(expired(wheel_, 3 * ms), ElementsAre(1));
   EXPECT_THAT(expired(wheel_, 3 * ms + turn), IsEmpty());
   EXPECT_THAT(expired(wheel_, 2 * ms + 2 * turn), IsEmpty());
   EXPECT_EQ(wheel_.nextDue(), 3 * ms + 2 * turn);
   EXPECT_THAT(expired(wheel_, 3 * ms + 2 * turn), ElementsAre(0));
}

TEST_F(SbfdWheelTest, aStallLongerThanATurnLosesNothing) {
   wheel_.set(0, 10 * ms);
   wheel_.set(1, turn + 20 * ms);
   wheel_.set(2, 9 * turn);
   EXPECT_THAT(expired(wheel_, 5 * turn), UnorderedElementsAre(0, 1));
   EXPECT_THAT(expired(wheel_, 9 * turn), ElementsAre(2));
}

TEST_F(SbfdWheelTest, aNodeSetAnewWhileItsTickIsWorkedOffComesWithALaterOne) {
   wheel_.set(0, 4 * ms);
   wheel_.set(1, 4 * ms);
   ASSERT_TRUE(wheel_.expired(4 * ms));
   wheel_.set(0, 4 * ms);
   wheel_.set(2, 1 * ms);
   wheel_.cancel(1);
   EXPECT_THAT(expired(wheel_, 4 * ms), IsEmpty());
   EXPECT_THAT(expired(wheel_, 5 * ms), UnorderedElementsAre(0, 2));
}

TEST_F(SbfdWheelTest, agreesWithAMapOfTimes) {
   constexpr SbfdWheel::Node nodes = 300;
   wheel_.grow(nodes);
   std::mt19937 random(1);
   std::map<SbfdWheel::Node, std::int64_t> due;
   std::int64_t now = 17 * turn;
   EXPECT_THAT(expired(wheel_, now), IsEmpty());
   for (int round = 0; round < 3000; ++round) {
      for (int i = 0; i < 10; ++i) {
         const SbfdWheel::Node node = random() % nodes;
         if (random() % 4 == 0) {
            wheel_.cancel(node);
            due.erase(node);
         } else {
            due[node] = now + ms + static_cast<std::int64_t>(random() % 10'000) * ms;
            wheel_.set(node, due[node]);
         }
      }
      ASSERT_EQ(wheel_.size(), due.size());
      ASSERT_LE(wheel_.nextDue(), std::min_element(due.begin(), due.end(), [](const auto& a, const auto& b) {
                                     return a.second < b.second;
                                  })->second);
      now += static_cast<std::int64_t>(random() % 50) * ms;
      std::vector<SbfdWheel::Node> wanted;
      std::erase_if(due, [&](const auto& item) {
         if (item.second > now) return false;
         wanted.push_back(item.first);
         return true;
      });
      ASSERT_THAT(expired(wheel_, now), testing::UnorderedElementsAreArray(wanted)) << round;
   }
}

}  // namespace
}  // namespace softswitch
