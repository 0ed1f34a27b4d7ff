#include "platform/gorm/TaskScheduler.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <future>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "platform/zelt/Clock.h"
#include "testing/base/Nanos.h"
#include "testing/platform/Loop.h"
#include "testing/platform/SpinningThreads.h"

namespace Gorm {
namespace {

using orvtest::anHour;

using ::testing::ElementsAre;

TEST(TaskScheduler, runsTheMostUrgentFirstAndEqualsInTurn) {
   orvtest::Loop loop;
   std::string order;
   std::vector<Pavo::Ptr<Task>> tasks;
   const auto add = [&](char name, Priority priority) {
      tasks.push_back(loop.task(std::string(1, name), priority, [&order, name] { order += name; }));
      tasks.back()->scheduleTask();
   };
   add('x', priorityBatch);
   add('m', priorityNormal);
   add('a', priorityUrgent);
   add('n', priorityNormal);
   add('z', priorityCount - 1);
   add('b', priorityUrgent);
   EXPECT_EQ(loop.pass(), 6U);
   EXPECT_EQ(order, "abmnxz");
}

TEST(TaskScheduler, equalTasksThatComeAgainTakeTurns) {
   orvtest::Loop loop;
   std::string order;
   Pavo::Ptr<Task> a;
   Pavo::Ptr<Task> b;
   a = loop.task("a", priorityNormal, [&] {
      order += 'a';
      if (order.size() < 6) a->scheduleTask();
   });
   b = loop.task("b", priorityNormal, [&] {
      order += 'b';
      if (order.size() < 6) b->scheduleTask();
   });
   a->scheduleTask();
   b->scheduleTask();
   loop.drain();
   EXPECT_EQ(order, "abababa");
}

TEST(TaskScheduler, anUrgentTaskRunsBetweenTwoQuantaOfABatch) {
   orvtest::Loop loop;
   std::string order;
   Pavo::Ptr<Task> batch;
   const auto urgent = loop.task("urgent", priorityUrgent, [&] { order += 'u'; });
   int quanta = 0;
   batch = loop.task("batch", priorityBatch, [&] {
      order += 'b';
      if (++quanta < 4) batch->scheduleTask();
      if (quanta == 2) urgent->scheduleTask();
   });
   batch->scheduleTask();
   loop.drain();
   EXPECT_EQ(order, "bbubb");
}

TEST(TaskScheduler, dueTimersRunInTheOrderOfTheirTimes) {
   static constexpr std::int64_t delay = Zelt::nanosPerMilli;
   orvtest::Loop loop;
   std::string order;
   const auto late = loop.task("late", priorityNormal, [&] { order += 'l'; });
   const auto early = loop.task("early", priorityNormal, [&] { order += 'e'; });
   const auto farAway = loop.task("far", priorityUrgent, [&] { order += 'f'; });
   farAway->scheduleTaskLowestDelay(anHour);
   // Repeats until less than the delay has passed between the two requests: only then is `early` due first.
   std::int64_t begin = 0;
   do {
      late->unscheduleTask();
      early->unscheduleTask();
      begin = Zelt::Clock::steadyNanos();
      late->scheduleTaskLowestDelay(delay);
      early->scheduleTaskLowestDelay(0);
   } while (Zelt::Clock::steadyNanos() - begin >= delay);
   while (Zelt::Clock::steadyNanos() - begin < 2 * delay)
      std::this_thread::yield();
   EXPECT_EQ(loop.pass(), 2U);
   EXPECT_EQ(order, "el");
   farAway->unscheduleTask();
}

TEST(TaskScheduler, aSliceThatIsOverEndsThePass) {
   orvtest::Loop loop;
   const auto a = loop.task("a", priorityNormal, [] {});
   const auto b = loop.task("b", priorityNormal, [] {});
   a->scheduleTask();
   b->scheduleTask();
   EXPECT_EQ(loop.pass(0), 1U) << "at least one runs";
   EXPECT_TRUE(loop.scheduler->hasReady());
   EXPECT_TRUE(loop.scheduler->waitForWork()) << "does not sleep while something is ready";
   EXPECT_EQ(loop.pass(0), 1U);
   EXPECT_FALSE(loop.scheduler->hasReady());
}

TEST(TaskScheduler, aThreadThatWaitsForTheLockEndsThePass) {
   orvtest::Loop loop;
   std::thread other;
   const auto first = loop.task("first", priorityNormal, [&] {
      other = std::thread([&] { const Zelt::ActivityLockAnchor anchor(loop.lock); });
      while (!loop.lock.handOverDue(Zelt::Clock::steadyNanos()))
         std::this_thread::yield();
   });
   const auto second = loop.task("second", priorityNormal, [] {});
   first->scheduleTask();
   second->scheduleTask();
   EXPECT_EQ(loop.pass(), 1U);
   other.join();
   EXPECT_EQ(loop.pass(), 1U);
   EXPECT_EQ(second->runCount(), 1U);
}

TEST(TaskScheduler, anExceptionPassesThroughAndTheLoopGoesOn) {
   orvtest::Loop loop;
   const auto bad = loop.task("bad", priorityNormal, [] { throw std::runtime_error("bad"); });
   const auto good = loop.task("good", priorityNormal, [] {});
   bad->scheduleTask();
   good->scheduleTask();
   EXPECT_THROW(loop.pass(), std::runtime_error);
   EXPECT_FALSE(loop.lock.ownedByMe());
   EXPECT_EQ(loop.scheduler->current(), nullptr);
   EXPECT_TRUE(loop.scheduler->waitForWork());
   EXPECT_EQ(loop.pass(), 1U);
   EXPECT_EQ(good->runCount(), 1U);
   EXPECT_EQ(bad->runCount(), 1U);
}

TEST(TaskScheduler, refusesMisuseInWords) {
   orvtest::Loop loop;
   EXPECT_THROW(loop.scheduler->runReady(), std::logic_error) << "without the lock";
   const auto nested = loop.task("nested", priorityNormal, [&] { loop.scheduler->runReady(); });
   nested->scheduleTask();
   EXPECT_THROW(loop.pass(), std::logic_error);
   const Zelt::ActivityLockAnchor anchor(loop.lock);
   EXPECT_THROW(loop.scheduler->waitForWork(), std::logic_error) << "with the lock";
}

TEST(TaskScheduler, aTaskScheduledByAnotherThreadWakesTheLoop) {
   orvtest::Loop loop;
   std::promise<std::thread::id> ranOn;
   const auto task = loop.task("t", priorityNormal, [&] { ranOn.set_value(std::this_thread::get_id()); });
   std::promise<std::thread::id> loopThread;
   const auto hello =
        loop.task("hello", priorityNormal, [&] { loopThread.set_value(std::this_thread::get_id()); });
   hello->scheduleTask();
   const orvtest::RunningLoop running(loop);
   const auto expected = loopThread.get_future().get();
   {
      const Zelt::ActivityLockAnchor anchor(loop.lock);
      task->scheduleTask();
   }
   EXPECT_EQ(ranOn.get_future().get(), expected);
}

TEST(TaskScheduler, everyWakeFromAnotherThreadArrives) {
   orvtest::Loop loop;
   std::atomic<unsigned> runs{0};
   const auto task = loop.task("t", priorityNormal, [&] { runs.fetch_add(1); });
   const orvtest::RunningLoop running(loop);
   for (unsigned i = 1; i <= 2000; ++i) {
      if (i % 2 == 0) {
         task->scheduleTask();
      } else {
         task->scheduleTaskLowestDelay(0);
      }
      while (runs.load() != i)
         std::this_thread::yield();
   }
   EXPECT_EQ(runs.load(), 2000U);
}

TEST(TaskScheduler, everyWakeArrivesWhileTheMachineIsBusy) {
   const orvtest::SpinningThreads spinning;
   orvtest::Loop loop;
   std::atomic<unsigned> runs{0};
   const auto task = loop.task("t", priorityNormal, [&] { runs.fetch_add(1); });
   const orvtest::RunningLoop running(loop);
   for (unsigned i = 1; i <= 200; ++i) {
      if (i % 2 == 0) {
         task->scheduleTask();
      } else {
         task->scheduleTaskLowestDelay(i % 4 == 1 ? 0 : 50 * Zelt::nanosPerMicro);
      }
      const std::int64_t limit = Zelt::Clock::steadyNanos() + 20 * Zelt::nanosPerSecond;
      while (runs.load() != i && Zelt::Clock::steadyNanos() < limit)
         std::this_thread::yield();
      ASSERT_EQ(runs.load(), i) << "a wake-up was lost";
   }
   const Zelt::ActivityLockAnchor anchor(loop.lock);
   EXPECT_GT(loop.scheduler->delays().longestWake, 0);
}

TEST(TaskScheduler, everyStopArrivesWhileTheMachineIsBusy) {
   const orvtest::SpinningThreads spinning;
   orvtest::Loop loop;
   for (int i = 0; i < 100; ++i) {
      std::promise<void> ended;
      std::thread thread([&] {
         loop.scheduler->run();
         ended.set_value();
      });
      loop.scheduler->stop();
      ASSERT_EQ(ended.get_future().wait_for(std::chrono::seconds(20)), std::future_status::ready);
      thread.join();
      loop.scheduler->restart();
   }
}

TEST(TaskScheduler, aStopIsNotLostToARestartAtTheSameTime) {
   orvtest::Loop loop;
   for (int i = 0; i < 2000; ++i) {
      loop.scheduler->stop();
      std::atomic<int> stops{1};
      std::thread second([&] {
         stops.fetch_add(1);
         loop.scheduler->stop();
      });
      loop.scheduler->restart();
      const bool seen = stops.load() == 2;
      second.join();
      EXPECT_TRUE(seen || loop.scheduler->stopRequested());
      loop.scheduler->restart();
   }
}

TEST(TaskScheduler, tellsHowLateATimerWas) {
   orvtest::Loop loop;
   const auto task = loop.task("t", priorityNormal, [] {});
   const std::int64_t begin = Zelt::Clock::steadyNanos();
   task->scheduleTaskLowestDelay(0);
   while (Zelt::Clock::steadyNanos() - begin < 2 * Zelt::nanosPerMilli)
      std::this_thread::yield();
   loop.pass();
   const Zelt::ActivityLockAnchor anchor(loop.lock);
   EXPECT_GT(loop.scheduler->delays().longestTimer, 0);
   EXPECT_LE(loop.scheduler->delays().longestTimer, Zelt::Clock::steadyNanos() - begin);
}

TEST(TaskScheduler, anEarlierTimerFromAnotherThreadShortensTheSleep) {
   orvtest::Loop loop;
   std::promise<void> asleepSoon;
   std::promise<void> ran;
   const auto far = loop.task("far", priorityNormal, [] {});
   const auto hello = loop.task("hello", priorityNormal, [&] { asleepSoon.set_value(); });
   const auto soon = loop.task("soon", priorityNormal, [&] { ran.set_value(); });
   far->scheduleTaskLowestDelay(anHour);
   hello->scheduleTask();
   const orvtest::RunningLoop running(loop);
   asleepSoon.get_future().wait();
   soon->scheduleTaskLowestDelay(1000);
   ran.get_future().wait();
   const Zelt::ActivityLockAnchor anchor(loop.lock);
   EXPECT_EQ(far->runState(), RunState::waiting);
   far->unscheduleTask();
}

TEST(TaskScheduler, anUrgentTaskIsServedWhileAnotherThreadAndABatchSaturateTheLoop) {
   orvtest::Loop loop;
   std::atomic<bool> over{false};
   std::atomic<unsigned> answers{0};
   Pavo::Ptr<Task> batch;
   batch = loop.task("batch", priorityBatch, [&] {
      while (!batch->taskShouldYield())
         batch->taskWorkCountInc(1);
      batch->scheduleTask();
   });
   const auto urgent = loop.task("urgent", priorityUrgent, [&] { answers.fetch_add(1); });
   batch->scheduleTask();
   std::uint64_t bulkSpans = 0;
   std::thread bulk([&] {
      while (!over.load(std::memory_order_relaxed)) {
         const Zelt::ActivityLockAnchor anchor(loop.lock);
         ++bulkSpans;
      }
   });
   {
      const orvtest::RunningLoop running(loop);
      for (unsigned i = 1; i <= 50; ++i) {
         urgent->scheduleTask();
         while (answers.load() != i)
            std::this_thread::yield();
      }
   }
   over.store(true);
   bulk.join();
   EXPECT_GT(batch->workCount(), 0U);
   EXPECT_GT(bulkSpans, 0U);
   batch->unscheduleTask();
}

TEST(TaskScheduler, stopEndsTheLoopAlsoBeforeItBegins) {
   orvtest::Loop loop;
   loop.scheduler->stop();
   EXPECT_FALSE(loop.scheduler->waitForWork());
   loop.scheduler->run();
   EXPECT_TRUE(loop.scheduler->stopRequested());
   loop.scheduler->restart();
   const auto task = loop.task("t", priorityNormal, [&] { loop.scheduler->stop(); });
   task->scheduleTask();
   loop.scheduler->run();
   EXPECT_EQ(task->runCount(), 1U);
}

TEST(TaskScheduler, stopFromAnotherThreadWakesASleepingLoop) {
   orvtest::Loop loop;
   std::thread thread([&] { loop.scheduler->run(); });
   loop.scheduler->stop();
   thread.join();
   EXPECT_FALSE(loop.lock.ownedByMe());
}

TaskScheduler* signalled = nullptr;

TEST(TaskScheduler, stopIsSafeInASignalHandler) {
   orvtest::Loop loop;
   signalled = loop.scheduler.get();
   struct sigaction action {};
   struct sigaction before {};
   action.sa_handler = [](int) { signalled->stop(); };
   ASSERT_EQ(sigaction(SIGUSR1, &action, &before), 0);
   const auto task = loop.task("t", priorityNormal, [] {
      errno = 42;
      std::raise(SIGUSR1);
      EXPECT_EQ(errno, 42);
   });
   task->scheduleTask();
   loop.scheduler->run();
   ASSERT_EQ(sigaction(SIGUSR1, &before, nullptr), 0);
   EXPECT_TRUE(loop.scheduler->stopRequested());
}

TEST(TaskScheduler, showsItsTasks) {
   orvtest::Loop loop;
   const auto a = loop.task("a", priorityNormal, [] {});
   auto b = loop.task("b", priorityNormal, [] {});
   const auto c = loop.task("c", priorityNormal, [] {});
   std::vector<std::string> names;
   const auto list = [&] {
      names.clear();
      const Zelt::ActivityLockAnchor anchor(loop.lock);
      loop.scheduler->forEachTask([&](const Task& task) { names.push_back(task.name()); });
      return names;
   };
   EXPECT_THAT(list(), ElementsAre("a", "b", "c"));
   b = nullptr;
   EXPECT_THAT(list(), ElementsAre("a", "c"));
}

TEST(TaskScheduler, schedulesAndRetiresFromManyThreads) {
   orvtest::Loop loop;
   const orvtest::RunningLoop running(loop);
   std::vector<std::thread> threads;
   std::atomic<unsigned> runs{0};
   for (int t = 0; t < 3; ++t) {
      threads.emplace_back([&, t] {
         for (int i = 0; i < 500; ++i) {
            const auto task =
                 loop.task("t", static_cast<Priority>(i) % priorityCount, [&] { runs.fetch_add(1); });
            task->scheduleTaskLowestDelay(i % 3 == 0 ? 1000 : 0);
            if (i % 2 == t % 2) task->scheduleTask();
            const Zelt::ActivityLockAnchor anchor(loop.lock);
            task->retire();
         }
      });
   }
   for (auto& thread : threads)
      thread.join();
   const Zelt::ActivityLockAnchor anchor(loop.lock);
   EXPECT_LE(runs.load(), 1500U);
   EXPECT_FALSE(loop.scheduler->hasReady());
   unsigned left = 0;
   loop.scheduler->forEachTask([&](const Task&) { ++left; });
   EXPECT_EQ(left, 0U);
}

TEST(TaskSchedulerRoot, findsTheSameSchedulerAgain) {
   const auto& first = TaskSchedulerRoot::findOrCreateScheduler();
   EXPECT_EQ(first, TaskSchedulerRoot::findOrCreateScheduler());
   EXPECT_EQ(first->name(), "main");
   EXPECT_EQ(&first->lock(), &Zelt::activityLock());
   EXPECT_NE(first, TaskSchedulerRoot::findOrCreateScheduler("another"));
}

}  // namespace
}  // namespace Gorm
