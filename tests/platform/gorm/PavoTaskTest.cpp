#include "platform/gorm/PavoTask.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>

#include "platform/zelt/Clock.h"
#include "testing/platform/Loop.h"

namespace Pavo {
namespace {

class Recorder : public TimerTask {
public:
   using Body = std::function<void(Recorder&)>;
   Recorder(orvtest::Loop& loop, Body body)
        : TimerTask(loop.scheduler, "recorder", Gorm::priorityNormal), body_(std::move(body)) {}
   ~Recorder() override { scheduleTask(); }

   using Task::taskRunning;
   using Task::taskShouldYield;
   using Task::taskWorkCountInc;
   using Task::taskWorkPendingIs;

private:
   void taskExecute() override { body_(*this); }
   Body body_;
};

TEST(PavoTask, executesTheOverride) {
   orvtest::Loop loop;
   int runs = 0;
   bool running = false;
   Recorder task(loop, [&](Recorder& self) {
      ++runs;
      running = self.taskRunning();
      self.taskWorkCountInc(2);
      self.taskWorkPendingIs(7);
   });
   EXPECT_EQ(task.task().name(), "recorder");
   EXPECT_EQ(task.task().priority(), Gorm::priorityNormal);
   task.scheduleTask();
   EXPECT_EQ(loop.pass(), 1U);
   EXPECT_EQ(runs, 1);
   EXPECT_TRUE(running);
   EXPECT_FALSE(task.taskRunning());
   EXPECT_EQ(task.task().workCount(), 2U);
   EXPECT_EQ(task.task().workPending(), 7U);
}

TEST(PavoTask, destroyedWhilePendingItNeverExecutes) {
   orvtest::Loop loop;
   int runs = 0;
   auto task = std::make_unique<Recorder>(loop, [&](Recorder&) { ++runs; });
   task->scheduleTask();
   task.reset();
   EXPECT_EQ(loop.pass(), 0U);
   EXPECT_EQ(runs, 0);
}

TEST(PavoTask, destroyedWhileItsTimerRunsItNeverExecutes) {
   orvtest::Loop loop;
   int runs = 0;
   auto task = std::make_unique<Recorder>(loop, [&](Recorder&) { ++runs; });
   task->scheduleTaskLowestDelay(0);
   task.reset();
   EXPECT_EQ(loop.pass(), 0U);
   EXPECT_EQ(runs, 0);
}

TEST(PavoTask, mayDestroyItselfInsideItsExecution) {
   orvtest::Loop loop;
   int runs = 0;
   std::unique_ptr<Recorder> task;
   task = std::make_unique<Recorder>(loop, [&](Recorder& self) {
      ++runs;
      self.scheduleTask();
      task.reset();
   });
   task->scheduleTask();
   loop.drain();
   EXPECT_EQ(runs, 1);
   EXPECT_EQ(task, nullptr);
}

TEST(PavoTask, mayDestroyAnotherThatIsReady) {
   orvtest::Loop loop;
   int otherRuns = 0;
   auto other = std::make_unique<Recorder>(loop, [&](Recorder&) { ++otherRuns; });
   Recorder first(loop, [&](Recorder&) { other.reset(); });
   first.scheduleTask();
   other->scheduleTask();
   loop.drain();
   EXPECT_EQ(otherRuns, 0);
}

TEST(TimerTask, lowestDelayKeepsTheEarliestTime) {
   orvtest::Loop loop;
   int runs = 0;
   Recorder task(loop, [&](Recorder&) { ++runs; });
   task.scheduleTaskLowestDelay(3600 * Zelt::nanosPerSecond);
   EXPECT_EQ(loop.pass(), 0U);
   task.scheduleTaskLowestDelay(0);
   loop.drain();
   EXPECT_EQ(runs, 1);
   EXPECT_FALSE(task.task().scheduled());
}

}  // namespace
}  // namespace Pavo
