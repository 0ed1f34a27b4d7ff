#include "OrvSdkRpc/handlers/SubscriptionController.h"

#include <gtest/gtest.h>

#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

#include "orv/error.h"
#include "orv/lock.h"
#include "platform/pavo/Allocator.h"
#include "testing/base/Eventually.h"
#include "testing/server/LiveHandlers.h"
#include "testing/server/StreamFixture.h"

namespace OrvSdkRpc {
namespace {

using Controller = orvtest::ProbeController<orvtest::WatchTable>;

OpaqueId id(std::uintptr_t n) {
   return reinterpret_cast<OpaqueId>(n);
}

// A controller of a service without a server: its tags have no handlers.
class SubscriptionControllerTest : public testing::Test {
protected:
   orvtest::StreamProbe service_;
   Controller& controller_ = service_.tableStreams();
};

TEST_F(SubscriptionControllerTest, theFirstSubscriberStartsAndTheLastOneStops) {
   controller_.subscribe(id(1));
   EXPECT_EQ(controller_.started, 1);
   controller_.subscribe(id(2));
   EXPECT_EQ(controller_.started, 1);
   controller_.cancel(id(1));
   EXPECT_EQ(controller_.stopped, 0);
   controller_.cancel(id(2));
   EXPECT_EQ(controller_.started, 1);
   EXPECT_EQ(controller_.stopped, 1);
   EXPECT_FALSE(controller_.watching);
}

TEST_F(SubscriptionControllerTest, cancellingAnUnknownTagStopsOnlyWhereNobodyIsSubscribed) {
   controller_.subscribe(id(1));
   controller_.cancel(id(7));
   EXPECT_EQ(controller_.stopped, 0);
   controller_.cancel(id(1));
   controller_.cancel(id(1));
   EXPECT_EQ(controller_.stopped, 2);
}

TEST_F(SubscriptionControllerTest, theOnlySubscriberMaySubscribeAgain) {
   controller_.subscribe(id(1));
   controller_.subscribe(id(1));
   EXPECT_EQ(controller_.started, 2);
   controller_.subscribe(id(2));
   controller_.subscribe(id(2));
   EXPECT_EQ(controller_.started, 2);
}

TEST_F(SubscriptionControllerTest, theServiceIsToldUnderTheSdksLock) {
   orv::host::main_thread_is();
   std::thread pump([&] {
      bool locked = false;
      controller_.onStart = controller_.onStop = [&] { locked = orv::sdk_call_allowed(); };
      controller_.subscribe(id(1));
      EXPECT_TRUE(locked);
      locked = false;
      controller_.cancel(id(1));
      EXPECT_TRUE(locked);
   });
   pump.join();
   orv::host::main_thread_clear();
}

TEST_F(SubscriptionControllerTest, anEventMayBePublishedWhileTheServiceIsTold) {
   // Would deadlock if the controller held its mutex.
   controller_.onStart = controller_.onStop = [&] { service_.publishTable("k", 1); };
   controller_.subscribe(id(1));
   controller_.cancel(id(1));
   EXPECT_EQ(controller_.started, 1);
   EXPECT_EQ(controller_.stopped, 1);
}

TEST_F(SubscriptionControllerTest, aFailedStartLeavesNobodySubscribed) {
   controller_.onStart = [] { throw orv::configuration_error("no events"); };
   EXPECT_THROW(controller_.subscribe(id(1)), orv::configuration_error);
   // A partial start is undone.
   EXPECT_EQ(controller_.stopped, 1);
   EXPECT_FALSE(controller_.watching);
   controller_.onStart = {};
   controller_.subscribe(id(2));
   EXPECT_EQ(controller_.started, 2);
   EXPECT_TRUE(controller_.watching);
}

TEST_F(SubscriptionControllerTest, whatStoppingThrowsAfterAFailedStartIsNotTold) {
   controller_.onStart = [] { throw orv::configuration_error("no events"); };
   controller_.onStop = [] { throw orv::invalid_range_error("not watched"); };
   EXPECT_THROW(controller_.subscribe(id(1)), orv::configuration_error);
   EXPECT_EQ(controller_.stopped, 1);
   controller_.onStart = controller_.onStop = {};
   controller_.subscribe(id(2));
   EXPECT_EQ(controller_.started, 2);
}

// The SDK's lock, granted in the order of the requests.
class QueuedLock final : public orv::host::lock_backend {
public:
   QueuedLock() { orv::host::lock_backend_is(this); }
   ~QueuedLock() override { orv::host::lock_backend_is(nullptr); }

   void acquire() override {
      std::unique_lock lock(mutex_);
      const int place = asked_++;
      changed_.notify_all();
      changed_.wait(lock, [&] { return served_ == place; });
   }
   void release() noexcept override {
      const std::lock_guard lock(mutex_);
      ++served_;
      changed_.notify_all();
   }

   // Returns once `threads` threads wait for the lock. REQUIRES: the caller holds it.
   void waited(int threads) {
      std::unique_lock lock(mutex_);
      changed_.wait(lock, [&] { return asked_ - served_ == 1 + threads; });
   }

private:
   std::mutex mutex_;
   std::condition_variable changed_;
   int asked_ = 0;
   int served_ = 0;
};

// The last stream leaves on one thread. Before that thread gets the SDK's lock, the next stream subscribes.
TEST_F(SubscriptionControllerTest, aStreamThatLeavesDoesNotStopTheNextOne) {
   QueuedLock sdk;
   controller_.subscribe(id(1));
   std::thread leaving;
   {
      orv::sdk_scoped_lock lock;
      leaving = std::thread([&] { controller_.cancel(id(1)); });
      // The tag is removed before the thread waits for the lock.
      sdk.waited(1);
      controller_.subscribe(id(2));
   }
   leaving.join();
   EXPECT_TRUE(controller_.watching);
   EXPECT_EQ(controller_.stopped, 0);
   controller_.cancel(id(2));
   EXPECT_FALSE(controller_.watching);
}

// The same, but the start of the next stream fails.
TEST_F(SubscriptionControllerTest, aFailedStartBehindAStreamThatLeavesLeavesNothingOn) {
   QueuedLock sdk;
   controller_.subscribe(id(1));
   controller_.onStart = [] { throw orv::configuration_error("no events"); };
   std::thread leaving;
   std::thread next;
   {
      orv::sdk_scoped_lock lock;
      leaving = std::thread([&] { controller_.cancel(id(1)); });
      sdk.waited(1);
      next = std::thread([&] { EXPECT_THROW(controller_.subscribe(id(2)), orv::configuration_error); });
      sdk.waited(2);
   }
   leaving.join();
   next.join();
   EXPECT_EQ(controller_.started, 2);
   EXPECT_EQ(controller_.stopped, 2);
   EXPECT_FALSE(controller_.watching);
}

// A callback that runs meanwhile would send the stream what is older than its watch.
TEST_F(SubscriptionControllerTest, aStreamIsNotInTheSetBeforeTheServiceMayBeTold) {
   QueuedLock sdk;
   std::thread subscribing;
   {
      orv::sdk_scoped_lock lock;
      subscribing = std::thread([&] { controller_.subscribe(id(1)); });
      sdk.waited(1);
      EXPECT_FALSE(controller_.watched());
      EXPECT_EQ(controller_.started, 0);
   }
   subscribing.join();
   EXPECT_TRUE(controller_.watched());
   EXPECT_EQ(controller_.started, 1);
   controller_.cancel(id(1));
}

TEST_F(SubscriptionControllerTest, whereNoServerIsAMessageIsConsumedAndReachesNobody) {
   controller_.subscribe(id(1));
   test::WatchResponse message;
   message.set_key("k");
   controller_.publish(message);
   EXPECT_EQ(message.key(), "");
   EXPECT_TRUE(controller_.getHandlers().empty());
   service_.publishRate("Ethernet1", 1);
}

class AttachedControllerTest : public orvtest::StreamFixture {
protected:
   // Messages that were made for streams so far.
   static std::uint64_t allocated() {
      std::uint64_t total = 0;
      for (const Pavo::AllocationCount& row : Pavo::allocationCounts()) {
         if (row.type == "OrvSdkRpc::test::WatchResponse") total += row.total;
      }
      return total;
   }
};

TEST_F(AttachedControllerTest, aMessageForNobodyIsConsumedAndNothingIsAllocated) {
   const std::uint64_t before = allocated();
   test::WatchResponse message;
   message.set_key("k");
   service_->subscriptions().publish(message);
   EXPECT_EQ(message.key(), "");
   EXPECT_EQ(allocated(), before);
   const auto client = watch();
   service_->publish("k", 1);
   EXPECT_EQ(allocated(), before + 1);
}

TEST_F(AttachedControllerTest, aConstantMessageIsCopied) {
   const auto client = watch();
   test::WatchResponse message;
   message.set_key("k");
   service_->subscriptions().publish(std::as_const(message));
   EXPECT_EQ(message.key(), "k");
   EXPECT_EQ(client->next()->key(), "k");
}

TEST_F(AttachedControllerTest, aMessageOfAnArenaIsCopiedAndCleared) {
   const auto client = watch();
   google::protobuf::Arena arena;
   auto& message = *google::protobuf::Arena::CreateMessage<test::WatchResponse>(&arena);
   message.set_key("k");
   service_->subscriptions().publish(message);
   EXPECT_EQ(message.key(), "");
   EXPECT_EQ(client->next()->key(), "k");
}

TEST_F(AttachedControllerTest, theServiceIsToldOfItsFirstAndLastWatcher) {
   auto first = watch();
   EXPECT_EQ(service_->started, 1);
   auto second = watch();
   EXPECT_EQ(service_->started, 1);
   first.reset();
   EXPECT_TRUE(orvtest::eventually([&] { return watchers() == 1; }));
   EXPECT_EQ(service_->stopped, 0);
   second.reset();
   EXPECT_TRUE(orvtest::eventually([&] { return service_->stopped == 1; }));
   EXPECT_EQ(service_->started, 1);
}

TEST_F(AttachedControllerTest, aTagWhoseHandlerHasGoneIsSkipped) {
   const auto client = watch();
   service_->subscriptions().subscribe(service_->nextOpaqueId());
   EXPECT_EQ(watchers(), 1U);
   service_->publish("k", 1);
   EXPECT_EQ(client->next()->key(), "k");
}

TEST_F(AttachedControllerTest, everyStreamGetsTheSameMessage) {
   std::vector<std::unique_ptr<WatchClient>> clients;
   for (int i = 0; i < 20; ++i)
      clients.push_back(watch());
   const std::uint64_t before = allocated();
   for (std::uint64_t i = 1; i <= 50; ++i)
      service_->publish("k", i);
   EXPECT_EQ(allocated(), before + 50) << "one for all streams";
   for (auto& client : clients) {
      for (std::uint64_t i = 1; i <= 50; ++i)
         ASSERT_EQ(client->next()->number(), i);
   }
   // All messages were sent, so no copy is left.
   EXPECT_TRUE(orvtest::eventually([] {
      return orvtest::liveHandlers("test::WatchResponse") ==
             orvtest::liveHandlers("AdapterHandler<orvtest::Watch");
   }));
}

}  // namespace
}  // namespace OrvSdkRpc
