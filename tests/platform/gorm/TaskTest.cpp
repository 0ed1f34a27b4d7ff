#include "platform/gorm/Task.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

#include "platform/zelt/Clock.h"
#include "testing/base/Nanos.h"
#include "testing/platform/Loop.h"

namespace Gorm {
namespace {

using orvtest::anHour;

TEST(Task, runsOnceHoweverOftenItIsScheduled) {
   orvtest::Loop loop;
   int runs = 0;
   const auto task = loop.task("t", priorityNormal, [&] { ++runs; });
   EXPECT_EQ(task->runState(), RunState::idle);
   task->scheduleTask();
   task->scheduleTask();
   EXPECT_EQ(task->runState(), RunState::pending);
   EXPECT_EQ(loop.pass(), 1U);
   EXPECT_EQ(runs, 1);
   EXPECT_EQ(task->runState(), RunState::idle);
   EXPECT_EQ(loop.pass(), 0U);
}

TEST(Task, knowsThatItRuns) {
   orvtest::Loop loop;
   RunState seen = RunState::idle;
   Pavo::Ptr<Task> task;
   task = loop.task("t", priorityNormal, [&] { seen = task->runState(); });
   task->scheduleTask();
   loop.pass();
   EXPECT_EQ(seen, RunState::running);
}

TEST(Task, scheduledInsideItsExecutionItRunsAgain) {
   orvtest::Loop loop;
   int runs = 0;
   Pavo::Ptr<Task> task;
   task = loop.task("t", priorityNormal, [&] {
      if (++runs < 3) task->scheduleTask();
   });
   task->scheduleTask();
   EXPECT_EQ(loop.pass(), 3U);
   EXPECT_EQ(runs, 3);
}

TEST(Task, unscheduledWhilePendingItDoesNotRun) {
   orvtest::Loop loop;
   int runs = 0;
   const auto task = loop.task("t", priorityNormal, [&] { ++runs; });
   task->scheduleTask();
   task->unscheduleTask();
   EXPECT_EQ(loop.pass(), 0U);
   task->scheduleTask();
   loop.pass();
   EXPECT_EQ(runs, 1);
}

TEST(Task, unscheduledInsideItsExecutionItDoesNotRunAgain) {
   orvtest::Loop loop;
   int runs = 0;
   Pavo::Ptr<Task> task;
   task = loop.task("t", priorityNormal, [&] {
      ++runs;
      task->scheduleTask();
      task->unscheduleTask();
   });
   task->scheduleTask();
   loop.drain();
   EXPECT_EQ(runs, 1);
}

TEST(Task, aDroppedPendingTaskRunsOnceMoreAndGoes) {
   orvtest::Loop loop;
   int runs = 0;
   const auto token = std::make_shared<int>(0);
   auto task = loop.task("t", priorityNormal, [&runs, token] { ++runs; });
   task->scheduleTask();
   task = nullptr;
   EXPECT_EQ(token.use_count(), 2);
   EXPECT_EQ(loop.pass(), 1U);
   EXPECT_EQ(runs, 1);
   EXPECT_EQ(token.use_count(), 1);
}

TEST(Task, retiredWhilePendingItNeverRunsAndDropsItsWork) {
   orvtest::Loop loop;
   int runs = 0;
   const auto token = std::make_shared<int>(0);
   const auto task = loop.task("t", priorityNormal, [&runs, token] { ++runs; });
   task->scheduleTask();
   task->retire();
   EXPECT_EQ(token.use_count(), 1);
   EXPECT_EQ(task->runState(), RunState::retired);
   task->scheduleTask();
   task->scheduleTaskLowestDelay(0);
   EXPECT_FALSE(task->scheduled());
   EXPECT_EQ(loop.pass(), 0U);
   EXPECT_EQ(runs, 0);
}

TEST(Task, retiredInsideItsExecutionItKeepsItsWorkUntilTheEnd) {
   orvtest::Loop loop;
   const auto token = std::make_shared<int>(0);
   long usesInside = 0;
   bool yields = false;
   Pavo::Ptr<Task> task;
   task = loop.task("t", priorityNormal, [&, token] {
      task->scheduleTask();
      task->retire();
      usesInside = token.use_count();
      yields = task->taskShouldYield();
   });
   task->scheduleTask();
   loop.drain();
   EXPECT_EQ(usesInside, 2);
   EXPECT_TRUE(yields);
   EXPECT_EQ(token.use_count(), 1);
   EXPECT_EQ(task->runCount(), 1U);
}

TEST(Task, aTaskMayRetireAnotherOneThatIsReady) {
   orvtest::Loop loop;
   int otherRuns = 0;
   const auto other = loop.task("other", priorityNormal, [&] { ++otherRuns; });
   const auto last = loop.task("last", priorityNormal, [] {});
   const auto first = loop.task("first", priorityNormal, [&] { other->retire(); });
   first->scheduleTask();
   other->scheduleTask();
   last->scheduleTask();
   loop.drain();
   EXPECT_EQ(otherRuns, 0);
   EXPECT_EQ(last->runCount(), 1U);
}

TEST(Task, lowestDelayKeepsTheEarliestTime) {
   orvtest::Loop loop;
   const auto task = loop.task("t", priorityNormal, [] {});
   task->scheduleTaskLowestDelay(anHour);
   EXPECT_EQ(task->runState(), RunState::waiting);
   EXPECT_EQ(loop.pass(), 0U);
   task->scheduleTaskLowestDelay(0);
   task->scheduleTaskLowestDelay(anHour);
   EXPECT_EQ(loop.pass(), 1U);
   EXPECT_FALSE(task->scheduled()) << "one execution for all three requests";
}

TEST(Task, scheduledAtOnceTheTimerIsOver) {
   orvtest::Loop loop;
   const auto task = loop.task("t", priorityNormal, [] {});
   task->scheduleTaskLowestDelay(anHour);
   task->scheduleTask();
   EXPECT_EQ(loop.pass(), 1U);
   EXPECT_FALSE(task->scheduled());
   task->scheduleTask();
   task->scheduleTaskLowestDelay(anHour);
   EXPECT_EQ(loop.pass(), 1U);
   EXPECT_FALSE(task->scheduled());
}

TEST(Task, unscheduledWhileWaitingTheTimerIsGone) {
   orvtest::Loop loop;
   const auto token = std::make_shared<int>(0);
   auto task = loop.task("t", priorityNormal, [token] {});
   task->scheduleTaskLowestDelay(anHour);
   task->unscheduleTask();
   EXPECT_EQ(task->runState(), RunState::idle);
   task = nullptr;
   EXPECT_EQ(token.use_count(), 1);
}

TEST(Task, aDelayBeyondTheClockNeverComes) {
   orvtest::Loop loop;
   const auto task = loop.task("t", priorityNormal, [] {});
   task->scheduleTaskLowestDelay(std::numeric_limits<std::int64_t>::max());
   EXPECT_EQ(loop.pass(), 0U);
   EXPECT_EQ(task->runState(), RunState::waiting);
   task->scheduleTaskLowestDelay(-5);
   EXPECT_EQ(loop.pass(), 1U);
}

TEST(Task, aTimerRunsNotBeforeItsTime) {
   orvtest::Loop loop;
   std::int64_t ranAt = 0;
   const auto task = loop.task("t", priorityNormal, [&] {
      ranAt = Zelt::Clock::steadyNanos();
      loop.scheduler->stop();
   });
   const std::int64_t asked = Zelt::Clock::steadyNanos();
   task->scheduleTaskLowestDelay(2 * Zelt::nanosPerMilli);
   loop.scheduler->run();
   EXPECT_GE(ranAt - asked, 2 * Zelt::nanosPerMilli);
}

TEST(Task, yieldsWhenItsQuantumIsOver) {
   orvtest::Loop loop;
   bool atOnce = false;
   bool withLongQuantum = true;
   Pavo::Ptr<Task> hasty;
   hasty = loop.task("hasty", priorityNormal, [&] { atOnce = hasty->taskShouldYield(); });
   hasty->quantumIs(0);
   Pavo::Ptr<Task> patient;
   patient = loop.task("patient", priorityNormal, [&] { withLongQuantum = patient->taskShouldYield(); });
   patient->quantumIs(anHour);
   EXPECT_EQ(patient->quantum(), anHour);
   hasty->scheduleTask();
   patient->scheduleTask();
   loop.drain();
   EXPECT_TRUE(atOnce);
   EXPECT_FALSE(withLongQuantum);
   EXPECT_FALSE(hasty->taskShouldYield()) << "it does not run";
}

TEST(Task, yieldsToAMoreUrgentTaskOnly) {
   orvtest::Loop loop;
   std::string seen;
   const auto urgent = loop.task("urgent", priorityUrgent, [] {});
   const auto equal = loop.task("equal", priorityNormal, [] {});
   const auto batch = loop.task("batch", priorityBatch, [] {});
   Pavo::Ptr<Task> task;
   task = loop.task("t", priorityNormal, [&] {
      batch->scheduleTask();
      equal->scheduleTask();
      seen += task->taskShouldYield() ? 'y' : 'n';
      urgent->scheduleTaskLowestDelay(anHour);
      seen += task->taskShouldYield() ? 'y' : 'n';
      urgent->scheduleTaskLowestDelay(0);
      seen += task->taskShouldYield() ? 'y' : 'n';
   });
   task->quantumIs(anHour);
   task->scheduleTask();
   loop.drain();
   EXPECT_EQ(seen, "nny");
}

TEST(Task, yieldsToAThreadThatWaitsForTheLock) {
   orvtest::Loop loop;
   std::atomic<bool> otherWasIn{false};
   std::thread other;
   Pavo::Ptr<Task> task;
   task = loop.task("t", priorityNormal, [&] {
      other = std::thread([&] {
         const Zelt::ActivityLockAnchor anchor(loop.lock);
         otherWasIn.store(true);
      });
      while (!task->taskShouldYield())
         std::this_thread::yield();
      EXPECT_FALSE(otherWasIn.load());
   });
   task->quantumIs(anHour);
   task->scheduleTask();
   EXPECT_EQ(loop.pass(), 1U);
   other.join();
   EXPECT_TRUE(otherWasIn.load());
}

TEST(Task, yieldsToAStop) {
   orvtest::Loop loop;
   bool yields = false;
   Pavo::Ptr<Task> task;
   task = loop.task("t", priorityNormal, [&] {
      loop.scheduler->stop();
      yields = task->taskShouldYield();
   });
   task->quantumIs(anHour);
   task->scheduleTask();
   loop.pass();
   EXPECT_TRUE(yields);
}

TEST(Task, countsItsWork) {
   orvtest::Loop loop;
   Pavo::Ptr<Task> task;
   task = loop.task("t", priorityNormal, [&] {
      task->taskWorkCountInc(3);
      task->taskWorkPendingIs(10 - task->workCount());
      if (task->workPending() > 5) task->scheduleTask();
   });
   task->scheduleTask();
   loop.drain();
   EXPECT_EQ(task->workCount(), 6U);
   EXPECT_EQ(task->workPending(), 4U);
   EXPECT_EQ(task->runCount(), 2U);
   EXPECT_GE(task->runNanos(), task->longestRunNanos());
   EXPECT_GE(task->longestRunNanos(), 0);
}

TEST(Task, refusesAPriorityThatDoesNotExist) {
   orvtest::Loop loop;
   EXPECT_THROW(loop.task("t", priorityCount, [] {}), std::invalid_argument);
   EXPECT_NO_THROW(loop.task("t", priorityCount - 1, [] {}));
}

}  // namespace
}  // namespace Gorm
