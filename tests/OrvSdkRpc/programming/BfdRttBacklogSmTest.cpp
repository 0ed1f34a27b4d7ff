#include "OrvSdkRpc/programming/BfdRttBacklogSm.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

#include "orv/sbfd_types.h"
#include "platform/gorm/TaskScheduler.h"
#include "platform/zelt/Anchors.h"
#include "testing/server/Contract.h"

namespace OrvSdkRpc {
namespace {

class BfdRttBacklogSmTest : public testing::Test {
protected:
   // The quantum is long enough, whatever else the machine does.
   BfdRttBacklogSmTest() { task_->quantumIs(std::int64_t{60'000'000'000}); }
   ~BfdRttBacklogSmTest() override { task_->retire(); }

   static BfdRttBacklogSm::Key keyOf(int last) {
      return {orv::ip_addr_t("192.0.2." + std::to_string(last)), orv::intf_id_t("Ethernet1"), {}, 0, 0};
   }
   void report(int last, std::uint32_t rtt) {
      const Zelt::ActivityLockAnchor lock(scheduler_->lock());
      pb::sbfd_echo_session_rtt_msg message;
      message.set_last_rtt(rtt);
      backlog_->backlogIs(keyOf(last), message);
      task_->scheduleTask();
   }
   void runTasks() {
      const Zelt::ActivityLockAnchor lock(scheduler_->lock());
      while (scheduler_->hasReady())
         scheduler_->runReady();
   }
   // Everything that was sent, by the last byte of the nexthop; each message has `items` items.
   std::map<int, std::uint32_t> sent(int items) {
      std::map<int, std::uint32_t> rtts;
      for (const auto& message : updates_.rtt) {
         EXPECT_EQ(message.bulk_size(), items);
         for (const auto& item : message.bulk()) {
            const int last = static_cast<unsigned char>(item.key().nexthop().address().back());
            EXPECT_TRUE(rtts.emplace(last, item.rtt().last_rtt()).second) << last << " was sent twice";
            EXPECT_FALSE(item.bulk_end());
         }
      }
      updates_.rtt.clear();
      return rtts;
   }

   orvtest::SentUpdates updates_;
   const Pavo::Ptr<Gorm::TaskScheduler> scheduler_ = Gorm::TaskSchedulerRoot::findOrCreateScheduler();
   const Pavo::Ptr<BfdRttBacklogSm> backlog_{new BfdRttBacklogSm(updates_)};
   const Pavo::Ptr<Gorm::Task> task_ = backlog_->rttBacklogTaskIs(scheduler_, 3, "backlog");
};

using Rtts = std::map<int, std::uint32_t>;

TEST_F(BfdRttBacklogSmTest, oneRunIsOneMessageOfTheLatestReports) {
   report(1, 10);
   report(2, 20);
   report(1, 11);
   EXPECT_EQ(backlog_->backlogSize(), 2U);
   runTasks();
   EXPECT_EQ(sent(2), (Rtts{{1, 11}, {2, 20}}));
   EXPECT_EQ(backlog_->backlogSize(), 0U);
   runTasks();
   EXPECT_TRUE(updates_.rtt.empty());
}

TEST_F(BfdRttBacklogSmTest, whatDoesNotFitTheQuantumGoesInLaterRuns) {
   // The quantum ends at once: a run sends only the one message that it must.
   task_->quantumIs(1);
   for (int last = 1; last <= 5; ++last)
      report(last, static_cast<std::uint32_t>(10 * last));
   runTasks();
   EXPECT_EQ(updates_.rtt.size(), 5U);
   EXPECT_EQ(sent(1), (Rtts{{1, 10}, {2, 20}, {3, 30}, {4, 40}, {5, 50}}));
   EXPECT_EQ(backlog_->backlogSize(), 0U);
}

TEST_F(BfdRttBacklogSmTest, whatWaitsForASessionCanBeDropped) {
   report(1, 10);
   report(2, 20);
   backlog_->backlogDel(keyOf(1));
   backlog_->backlogDel(keyOf(3));
   runTasks();
   EXPECT_EQ(sent(1), (Rtts{{2, 20}}));
   report(3, 30);
   backlog_->backlogDel(keyOf(3));
   runTasks();
   EXPECT_TRUE(updates_.rtt.empty());
}

}  // namespace
}  // namespace OrvSdkRpc
