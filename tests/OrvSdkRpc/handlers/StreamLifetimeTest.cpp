// Streams that end: at every moment, by either side, many at once, and with the server.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "testing/base/Eventually.h"
#include "testing/server/LiveHandlers.h"
#include "testing/server/RawCall.h"
#include "testing/server/StreamFixture.h"

namespace OrvSdkRpc {
namespace {

using orvtest::allFields;
using orvtest::eventually;
using orvtest::liveHandlers;
using orvtest::PumpHold;
using RatesClient = orvtest::StreamClient<test::RatesResponse>;
using CountersClient = orvtest::StreamClient<test::CountersResponse>;

class StreamLifetimeTest : public orvtest::StreamFixture {
protected:
   void expectNothingLeft() {
      for (const char* definition : {"Watch", "WatchTable", "Rates", "Counters", "Rows"})
         expectAllFreed(definition);
      EXPECT_TRUE(eventually([&] {
         return !service_->watching && !service_->tableStreams().watching &&
                !service_->rateStreams().watching && !service_->counterStreams().watching;
      }));
      EXPECT_EQ(watchers(), 0U);
      EXPECT_EQ(tableWatchers(), 0U);
   }
   // Publishes events of every kind. Each round waits until the pump has answered a call that came behind the
   // events: so a stream whose client does not read stays below its queue limit, and the pump also serves
   // calls.
   void publishUntil(const std::atomic<bool>& over) {
      const auto own = stub();
      for (std::uint64_t i = 0; !over; ++i) {
         {
            orv::sdk_scoped_lock lock;
            service_->publish("k", i);
            service_->publishTable("k", i);
            service_->publishRate("Ethernet" + std::to_string(i % 10), i);
         }
         orvtest::StreamClient<test::Row>(*own, &Stub::rows, test::RowsRequest()).rest();
      }
   }
   // All objects of this service that the counting allocator knows, messages included.
   static std::uint64_t alive() { return liveHandlers("OrvSdkRpc::test::"); }
};

TEST_F(StreamLifetimeTest, cancelBeforeTheCallIsServed) {
   PumpHold hold(*service_, *stub_);
   {
      const auto client = watchTable(withFields(all(), {allFields}));
      client->cancel();
   }
   hold.release();
   expectNothingLeft();
}

TEST_F(StreamLifetimeTest, cancelBeforeTheFirstWrite) {
   watch()->cancel();
   expectNothingLeft();
}

TEST_F(StreamLifetimeTest, cancelWithTheAlarmSet) {
   for (int round = 0; round < 50; ++round) {
      const auto client = watch();
      PumpHold hold(*service_, *stub_);
      // The rounds alternate the order of the call's end and the alarm on the queue.
      if (round % 2 == 0) client->cancel();
      service_->publish("k", 1);
      if (round % 2 != 0) client->cancel();
      hold.release();
      EXPECT_TRUE(eventually([&] { return watchers() == 0; }));
   }
   expectNothingLeft();
}

TEST_F(StreamLifetimeTest, cancelWithAWriteInFlight) {
   const auto client = watch();
   // More than the client's window, and nobody reads.
   service_->publish("k", 1, 8U << 20);
   for (int i = 0; i < 1000; ++i)
      service_->publish("behind", 1);
   client->cancel();
   expectNothingLeft();
}

TEST_F(StreamLifetimeTest, cancelDuringADump) {
   change([&] {
      for (int i = 0; i < 200; ++i)
         service_->table["key" + std::to_string(i)] = 1;
   });
   for (int read = 0; read < 20; ++read) {
      const auto client = watchTable(withFields(all(), {allFields}));
      for (int i = 0; i < read; ++i)
         ASSERT_TRUE(client->next());
      client->cancel();
   }
   expectNothingLeft();
}

TEST_F(StreamLifetimeTest, cancelAfterAnOverflow) {
   const auto client = watch();
   service_->publish("k", 1, 8U << 20);
   for (int i = 0; i < 262'145; ++i)
      service_->publish("behind", 1);
   EXPECT_TRUE(eventually([&] { return watchers() == 0; }));
   EXPECT_EQ(service_->stopped, 1);
   EXPECT_EQ(open("Watch"), 1U);
   client->cancel();
   expectNothingLeft();
   // Once by the overflow, once at the end.
   EXPECT_EQ(service_->stopped, 2);
}

TEST_F(StreamLifetimeTest, anIdleWatchWhoseClientIsKilledIsGoneAtOnce) {
   const std::string path = running_->address().substr(std::string("unix://").size());
   orvtest::RawCall client(path, "/OrvSdkRpc.test.StreamProbeService/watch");
   ASSERT_TRUE(eventually([&] { return watchers() == 1; }));
   EXPECT_TRUE(service_->watching);
   client.vanish();
   expectNothingLeft();
}

TEST_F(StreamLifetimeTest, aWatchWhoseClientIsKilledDuringAWriteIsGoneAtOnce) {
   const std::string path = running_->address().substr(std::string("unix://").size());
   orvtest::RawCall client(path, "/OrvSdkRpc.test.StreamProbeService/rates");
   ASSERT_TRUE(eventually([&] { return service_->rateStreams().getHandlers().size() == 1; }));
   for (int i = 0; i < 100'000; ++i)
      service_->publishRate("Ethernet" + std::to_string(i), 1);
   client.vanish();
   expectNothingLeft();
}

TEST_F(StreamLifetimeTest, aThousandStreamsOpenedAndDroppedAtRandomLeaveNothing) {
   change([&] {
      for (int i = 0; i < 20; ++i)
         service_->table["key" + std::to_string(i)] = 1;
   });
   std::atomic<bool> over{false};
   std::thread publisher([&] { publishUntil(over); });
   std::vector<std::thread> clients;
   for (unsigned seed = 1; seed <= 4; ++seed) {
      clients.emplace_back([&, seed] {
         std::mt19937 random(seed);
         std::vector<std::unique_ptr<WatchClient>> open;
         const auto mine = stub();
         for (int i = 0; i < 250; ++i) {
            switch (random() % 3) {
               case 0:
                  open.push_back(std::make_unique<WatchClient>(*mine, &Stub::watch, all()));
                  break;
               case 1:
                  open.push_back(std::make_unique<WatchClient>(*mine, &Stub::watch_table,
                                                               withFields(all(), {allFields})));
                  break;
               default: {
                  RatesClient rates(*mine, &Stub::rates, test::RatesRequest());
                  if (random() % 2 == 0) rates.next();
               }
            }
            if (!open.empty() && random() % 2 == 0) {
               auto& client = open[random() % open.size()];
               for (unsigned read = random() % 4; read > 0; --read)
                  ASSERT_TRUE(client->next());
               std::swap(client, open.back());
               open.pop_back();
            }
         }
      });
   }
   for (auto& client : clients)
      client.join();
   over = true;
   publisher.join();
   expectNothingLeft();
   running_->stop();
   EXPECT_EQ(alive(), 0U);
}

TEST_F(StreamLifetimeTest, stopWithHundredsOfStreamsInEveryStateIsPromptAndLeavesNothing) {
   change([&] {
      for (int i = 0; i < 1000; ++i)
         service_->table["key" + std::to_string(i)] = 1;
   });
   std::vector<std::unique_ptr<WatchClient>> watches;
   for (int i = 0; i < 150; ++i) {
      // Idle watches, watches with an alarm or a write pending, and dumps that are blocked or running.
      watches.push_back(
           std::make_unique<WatchClient>(*stub_, &Stub::watch, i % 2 == 0 ? all() : key("never")));
      watches.push_back(watchTable(withFields(all(), {allFields})));
   }
   RatesClient rates(*stub_, &Stub::rates, test::RatesRequest());
   CountersClient counters(*stub_, &Stub::counters, test::CountersRequest());
   ASSERT_TRUE(eventually([&] { return watchers() == 150 && tableWatchers() == 150; }));
   service_->publish("big", 1, 8U << 20);
   std::atomic<bool> over{false};
   std::thread publisher([&] { publishUntil(over); });
   for (int i = 0; i < 5; ++i)
      ASSERT_TRUE(watches[1]->next());
   const auto begin = std::chrono::steady_clock::now();
   running_->stop();
   const auto stopped = std::chrono::steady_clock::now() - begin;
   RecordProperty("stop_ms", std::to_string(stopped / std::chrono::milliseconds(1)));
   EXPECT_LT(stopped, std::chrono::seconds(5 * orvtest::slowdown()));
   over = true;
   publisher.join();
   EXPECT_EQ(running_->server().tags().size(), 0U);
   EXPECT_FALSE(service_->watching);
   EXPECT_EQ(alive(), 0U);
}

TEST_F(StreamLifetimeTest, clientsThatLeaveWhileTheServerStopsLeaveNothing) {
   change([&] {
      for (int i = 0; i < 100; ++i)
         service_->table["key" + std::to_string(i)] = 1;
   });
   std::vector<std::unique_ptr<WatchClient>> watches;
   std::vector<std::unique_ptr<RatesClient>> rates;
   for (int i = 0; i < 40; ++i) {
      watches.push_back(watch());
      watches.push_back(watchTable(withFields(all(), {allFields})));
      rates.push_back(std::make_unique<RatesClient>(*stub_, &Stub::rates, test::RatesRequest()));
   }
   ASSERT_TRUE(eventually([&] { return service_->rateStreams().getHandlers().size() == 40; }));
   service_->publish("k", 1);
   service_->publishRate("Ethernet1", 1);
   // Half of them before the server begins to stop, the other half while it does.
   const auto leave = [&](std::size_t begin) {
      for (std::size_t i = begin; i < watches.size(); i += 2)
         watches[i]->cancel();
      for (std::size_t i = begin; i < rates.size(); i += 2)
         rates[i]->cancel();
   };
   leave(0);
   std::thread leaving([&] { leave(1); });
   running_->stop();
   leaving.join();
   EXPECT_EQ(running_->server().tags().size(), 0U);
   EXPECT_FALSE(service_->watching);
   EXPECT_FALSE(service_->tableStreams().watching);
   EXPECT_FALSE(service_->rateStreams().watching);
   EXPECT_EQ(alive(), 0U);
}

TEST_F(StreamLifetimeTest, stopDoesNotWaitForAClientThatTakesNothingOffItsSocket) {
   const std::string path = running_->address().substr(std::string("unix://").size());
   const orvtest::RawCall client(path, "/OrvSdkRpc.test.StreamProbeService/watch", all().SerializeAsString());
   ASSERT_TRUE(eventually([&] { return watchers() == 1; }));
   for (int i = 0; i < 20; ++i)
      service_->publish("k", 1, 1U << 20);
   const auto stream = service_->subscriptions().getHandlers().at(0);
   // The socket is full when a write does not complete although the windows are open.
   ASSERT_TRUE(eventually([&] { return static_cast<EventStream&>(*stream).queued() < 20; }));
   ASSERT_GT(static_cast<EventStream&>(*stream).queued(), 10U);
   const auto begin = std::chrono::steady_clock::now();
   running_->stop();
   EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5 * orvtest::slowdown()));
   EXPECT_EQ(running_->server().tags().size(), 0U);
   EXPECT_EQ(stream.use_count(), 1);
}

// A queue of four, so that streams overflow all the time, on either thread.
class TinyQueueTest : public orvtest::StreamFixture {
protected:
   TinyQueueTest() : StreamFixture(4) {}
};

TEST_F(TinyQueueTest, aPublisherWithTheSdksLockADumpAndAnOverflowDoNotWaitForEachOther) {
   change([&] {
      for (int i = 0; i < 50; ++i)
         service_->table["key" + std::to_string(i)] = 1;
   });
   std::atomic<bool> over{false};
   std::thread sdk([&] {
      for (std::uint64_t i = 0; !over; ++i) {
         orv::sdk_scoped_lock lock;
         for (int n = 0; n < 6; ++n)
            service_->publishTable("live", i);
      }
   });
   std::vector<std::thread> clients;
   std::atomic<int> closed{0};
   for (int c = 0; c < 3; ++c) {
      clients.emplace_back([&] {
         for (int round = 0; round < 60; ++round) {
            const auto client = watchTable(withFields(all(), {allFields}));
            const grpc::Status status = client->finish();
            EXPECT_EQ(status.error_code(), grpc::StatusCode::RESOURCE_EXHAUSTED);
            ++closed;
         }
      });
   }
   for (auto& client : clients)
      client.join();
   over = true;
   sdk.join();
   EXPECT_EQ(closed, 180);
   EXPECT_TRUE(eventually([&] { return !service_->tableStreams().watching; }));
   expectAllFreed("WatchTable");
}

TEST_F(TinyQueueTest, theElementOfADumpMayBeTheOneTooMany) {
   change([&] {
      service_->table = {{"a", 1}, {"b", 1}, {"c", 1}};
      service_->onDumpElement = [&](const std::string& element) {
         if (element != "b") return;
         for (int i = 0; i < 4; ++i)
            service_->publishTable("live", 1);
      };
   });
   const auto client = watchTable(withFields(all(), {allFields}));
   EXPECT_EQ(client->finish().error_code(), grpc::StatusCode::RESOURCE_EXHAUSTED);
   expectAllFreed("WatchTable");
   EXPECT_FALSE(service_->tableStreams().watching);
}

}  // namespace
}  // namespace OrvSdkRpc
