#include "OrvSdkRpc/handlers/GenericBacklog.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <map>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

#include "platform/gorm/TaskScheduler.h"
#include "platform/zelt/ActivityLock.h"
#include "platform/zelt/Anchors.h"
#include "platform/zelt/Clock.h"
#include "testing/base/CpuTime.h"
#include "testing/base/Eventually.h"
#include "testing/server/StreamFixture.h"

namespace OrvSdkRpc {
namespace {

using Handled = std::vector<std::pair<int, test::WatchResponse>>;

struct Handle {
   Handled* handled;
   std::function<void(int)>* onHandle;

   void operator()(int key, test::WatchResponse& message) {
      handled->emplace_back(key, std::move(message));
      if (*onHandle) (*onHandle)(key);
   }
};

class GenericBacklogTest : public testing::Test {
protected:
   void run() {
      Zelt::ActivityLockAnchor lock(scheduler_->lock());
      scheduler_->runReady(Zelt::nanosPerSecond);
   }
   // Runs the backlog's task once, while the scheduler always asks it to yield.
   std::vector<int> oneYieldingRun() {
      handled_.clear();
      Gorm::TaskScheduler& scheduler = *scheduler_;
      onHandle_ = [&](int) { urgent_->scheduleTask(); };
      Zelt::ActivityLockAnchor lock(scheduler.lock());
      scheduler.runReady(0);
      onHandle_ = {};
      urgent_->unscheduleTask();
      return keys();
   }
   // Runs the task once without a scheduler, so that nothing asks it to yield.
   std::vector<int> oneWholeRun() {
      handled_.clear();
      Zelt::ActivityLockAnchor lock(scheduler_->lock());
      backlog_.handleBacklogTask();
      return keys();
   }
   std::vector<int> keys() const {
      std::vector<int> keys;
      for (const auto& [key, message] : handled_)
         keys.push_back(key);
      return keys;
   }
   // The keys in the order of the table.
   static std::vector<int> inOrder(std::initializer_list<int> keys) {
      std::remove_cvref_t<decltype(backlog_.pending())> table;
      for (const int key : keys)
         table.emplace(key);
      std::vector<int> order;
      table.pass([&](int key, auto&) {
         order.push_back(key);
         return true;
      });
      return order;
   }
   void add(std::initializer_list<int> keys) {
      Zelt::ActivityLockAnchor lock(scheduler_->lock());
      for (const int key : keys)
         backlog_.get(key);
   }

   // The task's own counts: entries handled and entries left.
   using Counts = std::pair<std::uint64_t, std::uint64_t>;
   Counts counts() {
      Counts both;
      Zelt::ActivityLockAnchor lock(scheduler_->lock());
      scheduler_->forEachTask([&](const Gorm::Task& task) {
         if (task.name() == "backlog") both = {task.workCount(), task.workPending()};
      });
      return both;
   }

   Pavo::Ptr<Gorm::TaskScheduler> scheduler_ = Pavo::makePtr<Gorm::TaskScheduler>("test");
   Pavo::Ptr<Gorm::Task> urgent_ =
        Pavo::makePtr<Gorm::Task>(scheduler_, "urgent", Gorm::priorityUrgent, [] {});
   Handled handled_;
   std::function<void(int)> onHandle_;
   GenericBacklog<int, test::WatchResponse, Handle> backlog_{"backlog", scheduler_,
                                                             Handle{&handled_, &onHandle_}};
};

TEST_F(GenericBacklogTest, eventsOfOneKeyBecomeOneMessageWithTheLastValues) {
   backlog_.get(1).set_number(10);
   backlog_.get(1).set_number(20);
   backlog_.get(1).set_key("another field");
   run();
   ASSERT_EQ(handled_.size(), 1U);
   EXPECT_EQ(handled_[0].first, 1);
   EXPECT_EQ(handled_[0].second.number(), 20U);
   EXPECT_EQ(handled_[0].second.key(), "another field");
   backlog_.get(1);
   run();
   EXPECT_EQ(handled_[1].second.number(), 0U);
}

TEST_F(GenericBacklogTest, aSchedulerThatAlwaysSaysYieldGetsOneEntryARun) {
   const std::vector<int> order = inOrder({10, 20, 30});
   // The order of arrival differs.
   add({order[2], order[0], order[1]});
   EXPECT_EQ(oneYieldingRun(), std::vector<int>{order[0]});
   EXPECT_EQ(backlog_.pending().resumeKey(), order[1]);
   EXPECT_EQ(oneYieldingRun(), std::vector<int>{order[1]});
   EXPECT_EQ(oneYieldingRun(), std::vector<int>{order[2]});
   EXPECT_TRUE(backlog_.pending().empty());
   EXPECT_EQ(oneYieldingRun(), std::vector<int>{});
}

TEST_F(GenericBacklogTest, aKeyInFrontOfTheResumePointComesInTheRunAfter) {
   const std::vector<int> order = inOrder({5, 10, 20, 25, 30});
   add({order[1], order[2], order[4]});
   EXPECT_EQ(oneYieldingRun(), std::vector<int>{order[1]});
   add({order[0], order[3]});
   EXPECT_EQ(oneWholeRun(), (std::vector<int>{order[2], order[3], order[4]}));
   EXPECT_EQ(backlog_.pending().size(), 1U);
   EXPECT_FALSE(backlog_.pending().resumeKey());
   EXPECT_EQ(oneYieldingRun(), std::vector<int>{order[0]});
   EXPECT_TRUE(backlog_.pending().empty());
}

TEST_F(GenericBacklogTest, anEventForAKeyThatWasHandedOnComesAgain) {
   const std::vector<int> order = inOrder({10, 20});
   add({10, 20});
   EXPECT_EQ(oneYieldingRun(), std::vector<int>{order[0]});
   backlog_.get(order[0]).set_number(2);
   run();
   ASSERT_EQ(keys(), (std::vector<int>{order[0], order[1], order[0]}));
   EXPECT_EQ(handled_[2].second.number(), 2U);
}

TEST_F(GenericBacklogTest, anEmptyTableIsNothingAndAsksForNoRun) {
   backlog_.handleBacklogTask();
   EXPECT_TRUE(handled_.empty());
   EXPECT_EQ(counts(), (Counts{0, 0}));
   const Zelt::ActivityLockAnchor lock(scheduler_->lock());
   EXPECT_FALSE(scheduler_->hasReady());
}

TEST_F(GenericBacklogTest, theTaskTellsWhatItDidAndWhatIsLeft) {
   add({1, 2, 3});
   oneYieldingRun();
   EXPECT_EQ(counts(), (Counts{1, 2}));
   run();
   EXPECT_EQ(counts(), (Counts{3, 0}));
}

TEST_F(GenericBacklogTest, whatIsPendingGoesWithTheBacklog) {
   {
      Zelt::ActivityLockAnchor lock(scheduler_->lock());
      GenericBacklog<int, test::WatchResponse, Handle> other("other", scheduler_,
                                                             Handle{&handled_, &onHandle_});
      other.get(1);
   }
   run();
   EXPECT_TRUE(handled_.empty());
}

// As in a service: callbacks on the main loop, a watcher of all ports, a million link changes.
TEST(GenericBacklog, aStormReachesTheWatcherAsTheLastStateOfEachPortAndThePingStaysQuick) {
   auto* const service = new orvtest::StreamProbe;
   orvtest::RunningServer running{std::unique_ptr<orvtest::StreamProbe>(service)};
   const auto stub = running.stub<test::StreamProbeService>();
   struct Publish {
      orvtest::StreamProbe* service;
      void operator()(int, test::WatchResponse& message) { service->subscriptions().publish(message); }
   };
   const auto scheduler = Pavo::makePtr<Gorm::TaskScheduler>("storm");
   GenericBacklog<int, test::WatchResponse, Publish> backlog("backlog", scheduler, Publish{service});
   test::WatchRequest request;
   request.set_all(true);
   orvtest::StreamClient<test::WatchResponse> client(*stub, &test::StreamProbeService::Stub::watch, request);
   ASSERT_TRUE(orvtest::eventually([&] { return service->subscriptions().getHandlers().size() == 1; }));

   constexpr int ports = 64;
   constexpr std::uint64_t changes = 1'000'000;
   std::thread loop([&] { scheduler->run(); });
   // The CPU time of the loop's thread between a question and its answer.
   std::vector<std::int64_t> pings;
   std::int64_t asked = 0;
   const auto ping = Pavo::makePtr<Gorm::Task>(scheduler, "ping", Gorm::priorityUrgent, [&] {
      pings.push_back(orvtest::threadCpuNanos() - asked);
      asked = 0;
   });
   // One task makes the changes in its callbacks, as the switch does; another thread pings all the time.
   std::uint64_t made = 0;
   Gorm::Task* self = nullptr;
   const auto storm = Pavo::makePtr<Gorm::Task>(scheduler, "storm", Gorm::priorityNormal, [&] {
      while (made < changes && !self->taskShouldYield()) {
         const int port = static_cast<int>(made % ports);
         test::WatchResponse& message = backlog.get(port);
         message.set_key(std::to_string(port));
         message.set_number(++made);
         if (made % 1000 == 0 && asked == 0) {
            asked = orvtest::threadCpuNanos();
            ping->scheduleTask();
         }
      }
      if (made < changes) self->scheduleTask();
   });
   self = storm.get();
   storm->scheduleTask();

   std::map<std::string, std::uint64_t> last;
   std::uint64_t received = 0;
   while (last.size() < ports || std::any_of(last.begin(), last.end(), [](const auto& port) {
             return port.second <= changes - ports;
          })) {
      const auto response = client.next();
      ASSERT_TRUE(response);
      std::uint64_t& number = last[response->key()];
      EXPECT_LT(number, response->number());
      number = response->number();
      ++received;
   }
   scheduler->stop();
   loop.join();
   EXPECT_LT(received, changes / 2);
   std::sort(pings.begin(), pings.end());
   ASSERT_GE(pings.size(), 10U);
   EXPECT_LT(pings[(pings.size() - 1) * 99 / 100], 10 * Zelt::nanosPerMilli * orvtest::slowdown());
   EXPECT_LT(pings.back(), 20 * Zelt::nanosPerMilli * orvtest::slowdown());
   storm->retire();
   ping->retire();
}

}  // namespace
}  // namespace OrvSdkRpc
