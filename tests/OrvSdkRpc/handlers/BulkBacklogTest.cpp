#include "OrvSdkRpc/handlers/BulkBacklog.h"

#include <gtest/gtest.h>

#include <span>
#include <utility>
#include <vector>

#include "platform/gorm/TaskScheduler.h"
#include "platform/zelt/ActivityLock.h"
#include "platform/zelt/Anchors.h"
#include "platform/zelt/Clock.h"

namespace OrvSdkRpc {
namespace {

using Values = std::vector<std::pair<int, int>>;

struct Bursts {
   std::vector<Values>* bursts;

   void operator()(std::span<const std::pair<int, int>> values) const {
      bursts->emplace_back(values.begin(), values.end());
   }
};

class BulkBacklogTest : public testing::Test {
protected:
   using Backlog = BulkBacklog<int, int, Bursts>;

   void run() {
      const Zelt::ActivityLockAnchor lock(scheduler_->lock());
      scheduler_->runReady(Zelt::nanosPerSecond);
   }
   bool ready() {
      const Zelt::ActivityLockAnchor lock(scheduler_->lock());
      return scheduler_->hasReady();
   }
   void add(int key, int value) {
      const Zelt::ActivityLockAnchor lock(scheduler_->lock());
      backlog_.add(key, value);
   }

   Pavo::Ptr<Gorm::TaskScheduler> scheduler_ = Pavo::makePtr<Gorm::TaskScheduler>("test");
   std::vector<Values> bursts_;
   Backlog backlog_{"backlog", scheduler_, Bursts{&bursts_}};
};

TEST_F(BulkBacklogTest, whatCameBeforeTheTaskRunsGoesOnInOneBurstInItsOrder) {
   add(2, 20);
   add(1, 10);
   add(2, 21);
   EXPECT_TRUE(bursts_.empty());
   run();
   EXPECT_EQ(bursts_, std::vector<Values>({{{2, 20}, {1, 10}, {2, 21}}}));
   EXPECT_FALSE(ready());
   add(3, 30);
   run();
   ASSERT_EQ(bursts_.size(), 2U);
   EXPECT_EQ(bursts_[1], (Values{{3, 30}}));
}

TEST_F(BulkBacklogTest, aFullBurstDoesNotWaitForTheTask) {
   const int most = static_cast<int>(Backlog::burstMax);
   for (int i = 0; i < most; ++i)
      add(i, i);
   ASSERT_EQ(bursts_.size(), 1U);
   EXPECT_EQ(bursts_[0].size(), Backlog::burstMax);
   EXPECT_EQ(bursts_[0].back(), std::pair(most - 1, most - 1));
   // The task finds nothing to do. The next entry schedules it again.
   run();
   EXPECT_EQ(bursts_.size(), 1U);
   add(1, 1);
   run();
   ASSERT_EQ(bursts_.size(), 2U);
   EXPECT_EQ(bursts_[1], (Values{{1, 1}}));
}

TEST_F(BulkBacklogTest, whatWasClearedIsNotHandedOn) {
   add(1, 1);
   {
      const Zelt::ActivityLockAnchor lock(scheduler_->lock());
      backlog_.clear();
   }
   run();
   EXPECT_TRUE(bursts_.empty());
   add(2, 2);
   run();
   EXPECT_EQ(bursts_, std::vector<Values>({{{2, 2}}}));
}

}  // namespace
}  // namespace OrvSdkRpc
