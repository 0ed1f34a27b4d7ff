#include "platform/zelt/Clock.h"

#include <gtest/gtest.h>

#include <ctime>

namespace Zelt {
namespace {

TEST(Clock, steadyTimeNeverGoesBack) {
   std::int64_t last = Clock::steadyNanos();
   for (int i = 0; i < 10000; ++i) {
      const std::int64_t now = Clock::steadyNanos();
      ASSERT_GE(now, last);
      last = now;
   }
}

TEST(Clock, wallTimeIsTheSystemsTime) {
   const std::time_t before = std::time(nullptr);
   const std::int64_t wall = Clock::wallNanos() / nanosPerSecond;
   const std::time_t after = std::time(nullptr);
   // time() may lag behind by a tick.
   EXPECT_GE(wall, before);
   EXPECT_LE(wall, after + 1);
}

TEST(Clock, shiftTurnsASteadyStampIntoWallTime) {
   const std::int64_t before = Clock::wallNanos();
   const std::int64_t converted = Clock::steadyNanos() + Clock::wallMinusSteadyNanos();
   EXPECT_GE(converted, before - nanosPerSecond);
   EXPECT_LE(converted, Clock::wallNanos() + nanosPerSecond);
}

TEST(Clock, secondsAreNanosecondsOverABillion) {
   static_assert(Clock::seconds(0) == 0.0);
   static_assert(Clock::seconds(1'500'000'000) == 1.5);
   EXPECT_DOUBLE_EQ(Clock::seconds(-250'000'000), -0.25);
}

}  // namespace
}  // namespace Zelt
