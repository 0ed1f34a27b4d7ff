#include "softswitch/managers/callbacks.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "platform/zelt/ActivityLock.h"
#include "platform/zelt/Anchors.h"

namespace softswitch {
namespace {

class CallbacksTest : public testing::Test {
protected:
   void runLoop() {
      const Zelt::ActivityLockAnchor lock;
      while (scheduler_->hasReady())
         scheduler_->runReady();
   }

   const Pavo::Ptr<Gorm::TaskScheduler> scheduler_ = Gorm::TaskSchedulerRoot::findOrCreateScheduler();
   Callbacks callbacks_{scheduler_};
   std::vector<int> called_;
};

TEST_F(CallbacksTest, callsComeLaterAndInOrder) {
   for (int i = 0; i < 3; ++i)
      callbacks_.post([this, i] { called_.push_back(i); });
   EXPECT_TRUE(called_.empty());
   runLoop();
   EXPECT_EQ(called_, (std::vector<int>{0, 1, 2}));
   runLoop();
   EXPECT_EQ(called_.size(), 3u);
}

// A handler passes on what it is notified of, so whatever was written earlier in the same turn must be
// committed first. One callback may write what the next one reports.
TEST_F(CallbacksTest, whatWasDoneBeforeIsCommittedWhenACallIsMade) {
   std::vector<std::string> log;
   Zelt::activityLock().setReleaseHook(
        [](void* l) { static_cast<std::vector<std::string>*>(l)->emplace_back("commit"); }, &log);
   {
      const Zelt::ActivityLockAnchor lock;
      callbacks_.post([&] { log.emplace_back("first"); });
      callbacks_.post([&] { log.emplace_back("second"); });
      while (scheduler_->hasReady())
         scheduler_->runReady();
   }
   Zelt::activityLock().setReleaseHook(nullptr, nullptr);
   EXPECT_EQ(log, (std::vector<std::string>{"commit", "first", "commit", "second", "commit"}));
}

TEST_F(CallbacksTest, aCallMayPost) {
   callbacks_.post([this] {
      called_.push_back(1);
      callbacks_.post([this] { called_.push_back(3); });
   });
   callbacks_.post([this] { called_.push_back(2); });
   runLoop();
   EXPECT_EQ(called_, (std::vector<int>{1, 2, 3}));
}

TEST_F(CallbacksTest, aCallThatThrowsDoesNotStrandTheOthers) {
   callbacks_.post([] { throw std::runtime_error("no"); });
   callbacks_.post([this] { called_.push_back(1); });
   EXPECT_THROW(runLoop(), std::runtime_error);
   runLoop();
   EXPECT_EQ(called_, (std::vector<int>{1}));
   callbacks_.post([this] { called_.push_back(2); });
   runLoop();
   EXPECT_EQ(called_.size(), 2u);
}

}  // namespace
}  // namespace softswitch
