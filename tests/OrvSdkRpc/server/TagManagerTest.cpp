#include "OrvSdkRpc/server/TagManager.h"

#include <gtest/gtest.h>

#include <set>
#include <thread>
#include <vector>

#include "OrvSdkRpc/server/MakeHandler.h"
#include "testing/server/ProbeService.h"
#include "testing/server/RunningServer.h"

namespace OrvSdkRpc {
namespace {

// A handler that only counts its destruction. Its server is never used, so one real server on an idle socket
// is enough for all.
class Idle final : public RequestHandler {
public:
   Idle(OpaqueId tag, GrpcServer& server, grpc::ServerCompletionQueue& cq, int& ended,
        TagManager* asked = nullptr)
        : RequestHandler(tag, server.server(), cq, server.events()), ended_(ended), asked_(asked) {}
   ~Idle() override {
      ++ended_;
      // Would deadlock if the registry destroyed a handler under its mutex.
      if (asked_ != nullptr) {
         EXPECT_LT(asked_->size(), 100U);
      }
   }
   void process(OpaqueId) override {}
   std::shared_ptr<RequestHandler> chain(OpaqueId) override { return nullptr; }

private:
   int& ended_;
   TagManager* asked_;
};

class TagManagerTest : public testing::Test {
protected:
   std::shared_ptr<RequestHandler> handler(TagManager* asked = nullptr) {
      return std::make_shared<Idle>(tags_.nextId(), running_.server(), service_->cq(), ended_, asked);
   }

   orvtest::ProbeService* service_ = new orvtest::ProbeService;
   orvtest::RunningServer running_{std::unique_ptr<orvtest::ProbeService>(service_)};
   TagManager tags_;
   int ended_ = 0;
};

TEST_F(TagManagerTest, idsAreNeverNullAndNeverReused) {
   std::set<OpaqueId> seen;
   for (int i = 0; i < 1000; ++i) {
      const OpaqueId id = tags_.nextId();
      EXPECT_NE(id, nullptr);
      EXPECT_TRUE(seen.insert(id).second);
   }
   auto one = handler();
   const OpaqueId tag = one->tag();
   tags_.add(0, std::move(one));
   tags_.remove(tag);
   EXPECT_TRUE(seen.insert(tag).second);
   EXPECT_TRUE(seen.insert(tags_.nextId()).second);
}

TEST_F(TagManagerTest, idsAreUniqueAcrossThreads) {
   std::vector<std::vector<OpaqueId>> dealt(4);
   std::vector<std::thread> threads;
   for (auto& mine : dealt) {
      threads.emplace_back([&] {
         for (int i = 0; i < 1000; ++i)
            mine.push_back(tags_.nextId());
      });
   }
   for (auto& thread : threads)
      thread.join();
   std::set<OpaqueId> seen;
   for (const auto& mine : dealt)
      seen.insert(mine.begin(), mine.end());
   EXPECT_EQ(seen.size(), 4000U);
}

TEST_F(TagManagerTest, aHandlerLivesAsLongAsOneOfItsTags) {
   auto one = handler();
   RequestHandler* const raw = one.get();
   const OpaqueId tag = one->tag();
   tags_.add(3, one);
   const OpaqueId extra = tags_.addExtra(3, one);
   EXPECT_NE(extra, tag);
   one.reset();
   EXPECT_EQ(tags_.find(tag).get(), raw);
   EXPECT_EQ(tags_.find(extra).get(), raw);
   tags_.remove(tag);
   EXPECT_EQ(ended_, 0);
   EXPECT_EQ(tags_.find(tag), nullptr);
   tags_.remove(extra);
   EXPECT_EQ(ended_, 1);
   EXPECT_EQ(tags_.size(), 0U);
}

TEST_F(TagManagerTest, aRemovedTagIsAnEmptyLookup) {
   auto one = handler();
   const OpaqueId tag = one->tag();
   tags_.add(0, std::move(one));
   tags_.remove(tag);
   EXPECT_EQ(tags_.find(tag), nullptr);
   tags_.remove(tag);
   EXPECT_EQ(ended_, 1);
}

TEST_F(TagManagerTest, theEventOfARemovedExtraTagStillFindsItsHandlerToBeCounted) {
   auto one = handler();
   RequestHandler* const raw = one.get();
   const OpaqueId tag = one->tag();
   tags_.add(3, one);
   const OpaqueId extra = tags_.addExtra(3, one);
   one.reset();
   EXPECT_TRUE(tags_.findEvent(extra).registered);
   tags_.remove(extra);
   EXPECT_EQ(tags_.find(extra), nullptr);
   EXPECT_EQ(tags_.size(), 1U);
   EXPECT_EQ(tags_.findEvent(extra).handler.get(), raw);
   EXPECT_FALSE(tags_.findEvent(extra).registered);
   {
      MutexLock lock(tags_.mutex());
      EXPECT_TRUE(tags_.listHandlers(3, &extra, &extra + 1).empty());
   }
   // The handler's tags are removed with it.
   tags_.remove(tag);
   EXPECT_EQ(ended_, 1);
   EXPECT_EQ(tags_.findEvent(extra).handler, nullptr);
}

TEST_F(TagManagerTest, removeAllTakesEveryTagOfAHandlerAndNoOther) {
   auto one = handler();
   auto two = handler();
   tags_.add(0, one);
   tags_.add(0, two);
   tags_.addExtra(0, one);
   tags_.addExtra(0, one);
   const OpaqueId other = tags_.addExtra(0, two);
   tags_.removeAll(*one);
   one.reset();
   EXPECT_EQ(ended_, 1);
   EXPECT_EQ(tags_.size(), 2U);
   EXPECT_EQ(tags_.find(other), two);
}

TEST_F(TagManagerTest, handlersEndOutsideTheMutex) {
   auto removed = handler(&tags_);
   auto removedAll = handler(&tags_);
   auto cleared = handler(&tags_);
   const OpaqueId tag = removed->tag();
   tags_.add(0, std::move(removed));
   tags_.remove(tag);
   RequestHandler& all = *removedAll;
   tags_.add(0, std::move(removedAll));
   tags_.addExtra(0, tags_.find(all.tag()));
   tags_.removeAll(all);
   tags_.add(0, std::move(cleared));
   tags_.clear();
   EXPECT_EQ(ended_, 3);
}

TEST_F(TagManagerTest, listHandlersKeepsTheOrderAndSkipsWhatIsGone) {
   auto one = handler();
   auto two = handler();
   auto gone = handler();
   const std::vector<OpaqueId> range{two->tag(), gone->tag(), one->tag()};
   tags_.add(5, one);
   tags_.add(5, two);
   MutexLock lock(tags_.mutex());
   const auto listed = tags_.listHandlers(5, range.begin(), range.end());
   ASSERT_EQ(listed.size(), 2U);
   EXPECT_EQ(listed[0], two);
   EXPECT_EQ(listed[1], one);
}

TEST_F(TagManagerTest, anEmptyRangeListsNothing) {
   const std::vector<OpaqueId> range;
   tags_.add(5, handler());
   MutexLock lock(tags_.mutex());
   EXPECT_TRUE(tags_.listHandlers(5, range.begin(), range.end()).empty());
}

using TagManagerDeathTest = TagManagerTest;

TEST_F(TagManagerDeathTest, aTagOfAnotherServiceEndsTheProcess) {
   GTEST_FLAG_SET(death_test_style, "threadsafe");
   auto one = handler();
   const std::vector<OpaqueId> range{one->tag()};
   tags_.add(5, one);
   const auto list = [&] {
      MutexLock lock(tags_.mutex());
      tags_.listHandlers(6, range.begin(), range.end());
   };
   EXPECT_DEATH(list(), "Assertion `i->second->serviceId == serviceId' failed");
}

}  // namespace
}  // namespace OrvSdkRpc
