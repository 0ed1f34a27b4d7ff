// The activity lock's own source, explored in every interleaving of two and three threads.

#include <gtest/gtest.h>

#include <new>
#include <string>
#include <vector>

#include "testing/base/Eventually.h"
#include "zelt/LockModel.h"

namespace Zelt::Interleavings {
namespace {

using orvtest::sanitized;

// How each thread releases the lock, round by round: 's' by its slice, 'n' at once, 'r' with releaseAll and
// reacquire within its span.
using Script = std::vector<std::string>;

template <Flaw flaw>
Result walk(const Script& script, int clockJumps) {
   using Lock = ActivityLockCore<ModelPlatform<flaw>>;
   static_assert(sizeof(Lock) <= sizeof(World::object));
   static_assert(std::is_trivially_destructible_v<Lock>);
   Lock* lock = nullptr;
   const auto inside = [](int change) {
      World& world = Explorer::world();
      world.inside += change;
      if (world.inside > 1) Explorer::fault("two threads hold the lock");
   };
   Explorer explorer(
        script.size(), clockJumps, Lock::sliceNanos,
        [&](World& world) { lock = new (world.object.data()) Lock(); },
        [&](std::size_t fiber) {
           bool& outside = Explorer::world().fibers[fiber].outside;
           for (std::size_t round = 0; round < script[fiber].size(); ++round) {
              const char how = script[fiber][round];
              if (round != 0) {
                 outside = true;
                 Explorer::step();
                 outside = false;
              }
              lock->acquire();
              inside(+1);
              if (how == 'r') {
                 inside(-1);
                 lock->reacquire(lock->releaseAll());
                 inside(+1);
              } else {
                 Explorer::step();
              }
              inside(-1);
              lock->release(how == 's' ? HandOver::bySlice : HandOver::now);
           }
        });
   return explorer.explore();
}

class ActivityLockModel : public testing::TestWithParam<Script> {};

TEST_P(ActivityLockModel, strandsNobodyExcludesEverybodyAndAlwaysComesToItsEnd) {
   if (sanitized) GTEST_SKIP() << "a sanitizer minds that stacks are copied";
   const auto result = walk<Flaw::none>(GetParam(), 2);
   EXPECT_EQ(result.fault, "");
   EXPECT_GT(result.states, 1000U);
   RecordProperty("states", static_cast<int>(result.states));
}

INSTANTIATE_TEST_SUITE_P(TwoThreads, ActivityLockModel,
                         testing::Values(Script{"s", "s"}, Script{"ss", "s"}, Script{"ss", "ss"},
                                         Script{"s", "n"}, Script{"sn", "ns"}, Script{"r", "s"},
                                         Script{"sss", "n"}));
INSTANTIATE_TEST_SUITE_P(ThreeThreads, ActivityLockModel,
                         testing::Values(Script{"s", "s", "s"}, Script{"s", "s", "n"}));

// The exploration detects errors: for each flaw of the platform it finds the consequence.

TEST(ActivityLockModelFlaws, aWaiterThatSleepsWithoutTellingTheHolderIsStranded) {
   if (sanitized) GTEST_SKIP() << "a sanitizer minds that stacks are copied";
   const auto result = walk<Flaw::silentSleeper>({"s", "s"}, 2);
   EXPECT_EQ(result.fault.substr(0, result.fault.find(';')),
             "all who wait sleep without a time-out, and nobody will wake them")
        << result.states;
}

TEST(ActivityLockModelFlaws, aWakeThatGetsLostIsFound) {
   if (sanitized) GTEST_SKIP() << "a sanitizer minds that stacks are copied";
   EXPECT_NE(walk<Flaw::lostWake>({"s", "s"}, 2).fault, "");
}

TEST(ActivityLockModelFlaws, aSleepThatDoesNotLookFirstIsFound) {
   if (sanitized) GTEST_SKIP() << "a sanitizer minds that stacks are copied";
   EXPECT_NE(walk<Flaw::blindSleep>({"s", "s"}, 2).fault, "");
}

TEST(ActivityLockModelFlaws, anExchangeInTwoStepsLetsTwoIn) {
   if (sanitized) GTEST_SKIP() << "a sanitizer minds that stacks are copied";
   const auto result = walk<Flaw::tornExchange>({"s", "s"}, 2);
   EXPECT_EQ(result.fault.substr(0, result.fault.find(';')), "two threads hold the lock");
}

}  // namespace
}  // namespace Zelt::Interleavings
