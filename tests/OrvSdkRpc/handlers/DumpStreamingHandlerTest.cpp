#include "OrvSdkRpc/handlers/DumpStreamingHandler.h"

#include <absl/cleanup/cleanup.h>
#include <gtest/gtest.h>
#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "orv/error.h"
#include "orv/tracer.h"
#include "platform/pavo/Allocator.h"
#include "testing/base/Eventually.h"
#include "testing/server/StreamFixture.h"

namespace OrvSdkRpc {
namespace {

using orvtest::allFields;
using orvtest::eventually;
using orvtest::PumpHold;
using orvtest::tracesWith;

constexpr int number = test::WATCH_FIELD_NUMBER;
constexpr int payload = test::WATCH_FIELD_PAYLOAD;

class DumpStreamingHandlerTest : public orvtest::StreamFixture {
protected:
   void tableIs(std::initializer_list<std::pair<const std::string, std::uint64_t>> table) {
      orv::sdk_scoped_lock lock;
      service_->table = table;
   }
   // The number of messages in the streams that are alive.
   static std::uint64_t liveMessages() {
      std::uint64_t live = 0;
      for (const Pavo::AllocationCount& row : Pavo::allocationCounts()) {
         if (row.type == "OrvSdkRpc::test::WatchResponse") live += row.live;
      }
      return live;
   }
   // Bytes that the process has allocated; 0 when the allocator keeps no statistics.
   static std::size_t allocatedBytes() {
      const struct mallinfo2 info = mallinfo2();
      return info.uordblks + info.hblkhd;
   }
   // The keys up to and including the acknowledgement, whose key is "ack".
   static std::vector<std::string> dumped(WatchClient& client) {
      std::vector<std::string> keys;
      while (const auto response = client.next()) {
         keys.push_back(response->ack() ? "ack" : response->key());
         if (response->ack()) break;
      }
      return keys;
   }
};

using Keys = std::vector<std::string>;

TEST_F(DumpStreamingHandlerTest, withoutFieldsThereIsNoDump) {
   tableIs({{"a", 1}});
   test::WatchRequest emptyControl = all();
   emptyControl.mutable_fields_control();
   const std::vector<test::WatchRequest> requests = {all(), emptyControl, withFields(all(), {9})};
   for (const test::WatchRequest& request : requests) {
      const auto client = watchTable(request);
      ASSERT_TRUE(eventually([&] { return tableWatchers() == 1; }));
      service_->publishTable("live", 1);
      const auto response = client->next();
      EXPECT_EQ(response->key(), "live");
      EXPECT_FALSE(response->ack());
      client->cancel();
      ASSERT_TRUE(eventually([&] { return tableWatchers() == 0; }));
   }
}

TEST_F(DumpStreamingHandlerTest, withoutADumpTheRequestDecidesAboutTheAcknowledgement) {
   tableIs({{"a", 1}});
   test::WatchRequest request = all();
   request.set_ack(true);
   EXPECT_EQ(dumped(*watchTable(request)), Keys{"ack"});
   request.mutable_fields_control();
   EXPECT_EQ(dumped(*watchTable(request)), Keys{"ack"});
   EXPECT_EQ(dumped(*watchTable(withFields(request, {9}))), Keys{"ack"});
}

TEST_F(DumpStreamingHandlerTest, theTableComesFirstThenTheAcknowledgementThenEvents) {
   const orvtest::TraceCapture traces("stream-probe/9");
   tableIs({{"a", 1}, {"b", 2}, {"c", 3}});
   const auto client = watchTable(withFields(all(), {allFields}));
   EXPECT_EQ(client->next()->number(), 1U);
   EXPECT_EQ(client->next()->payload(), "payload");
   EXPECT_EQ(dumped(*client), (Keys{"c", "ack"}));
   service_->publishTable("d", 4);
   EXPECT_EQ(client->next()->key(), "d");
   EXPECT_EQ(tracesWith(traces, "handler 0x"), 1U);
   for (const std::string& text : traces.texts()) {
      if (text.starts_with("handler 0x")) {
         EXPECT_TRUE(text.ends_with(" end of dump"));
      }
   }
}

TEST_F(DumpStreamingHandlerTest, aDumpIsAcknowledgedOnceWhateverTheRequestSays) {
   tableIs({{"a", 1}});
   test::WatchRequest request = withFields(all(), {number});
   request.set_ack(true);
   const auto client = watchTable(request);
   EXPECT_EQ(dumped(*client), (Keys{"a", "ack"}));
   service_->publishTable("d", 4);
   EXPECT_EQ(client->next()->key(), "d");
}

TEST_F(DumpStreamingHandlerTest, anEmptyTableIsAcknowledgedAtOnce) {
   const orvtest::TraceCapture traces("stream-probe/9");
   EXPECT_EQ(dumped(*watchTable(withFields(all(), {allFields}))), Keys{"ack"});
   EXPECT_EQ(tracesWith(traces, "handler 0x"), 1U);
}

TEST_F(DumpStreamingHandlerTest, onlyTheSelectedFieldsAreThere) {
   tableIs({{"a", 1}});
   const auto first = watchTable(withFields(all(), {payload}))->next();
   EXPECT_EQ(first->number(), 0U);
   EXPECT_EQ(first->payload(), "payload");
   // Fields behind the value for all are not read.
   const auto second = watchTable(withFields(all(), {number, allFields, 9}))->next();
   EXPECT_EQ(second->number(), 1U);
   EXPECT_EQ(second->payload(), "payload");
}

TEST_F(DumpStreamingHandlerTest, eachStepHasTheSdksLock) {
   orv::host::main_thread_is();
   {
      tableIs({{"a", 1}, {"b", 2}});
      EXPECT_EQ(dumped(*watchTable(withFields(all(), {allFields}))), (Keys{"a", "b", "ack"}));
   }
   orv::host::main_thread_clear();
}

TEST_F(DumpStreamingHandlerTest, aLiveEventDuringTheDumpIsQueuedInTheOrderOfArrival) {
   tableIs({{"a", 1}, {"b", 2}, {"c", 3}});
   // Runs on the pump thread while the second element is made, after the first one was written.
   change([&] {
      service_->onDumpElement = [&](const std::string& element) {
         if (element == "b") service_->publishTable("c", 30);
      };
   });
   const auto client = watchTable(withFields(all(), {allFields}));
   EXPECT_EQ(dumped(*client), (Keys{"a", "c", "b", "c", "ack"}));
}

TEST_F(DumpStreamingHandlerTest, liveEventsOfTheSdksThreadGoOutInTheOrderOfTheirArrival) {
   tableIs({{"a", 1}, {"b", 2}, {"c", 3}});
   // The first element is larger than the client's window, so its write does not complete until the client
   // reads it.
   std::atomic<int> made{0};
   change([&] {
      service_->tablePayload = 8U << 20;
      service_->onDumpElement = [&](const std::string&) { ++made; };
   });
   const auto own = stub();
   WatchClient client(*own, &Stub::watch_table, withFields(all(), {allFields}));
   ASSERT_TRUE(eventually([&] { return made == 1; }));
   // The element was queued. Once the queue is empty, it is being written.
   pumpPasses();
   const auto streams = service_->tableStreams().getHandlers();
   ASSERT_EQ(streams.size(), 1U);
   ASSERT_TRUE(eventually([&] { return static_cast<EventStream&>(*streams[0]).queued() == 0; }));
   // Publishes as the main loop's callbacks do, with the SDK's lock, while the dump is blocked.
   std::thread sdk([&] {
      orv::sdk_scoped_lock lock;
      service_->tablePayload = 0;
      service_->table["c"] = 30;
      service_->publishTable("c", 30);
      service_->publishTable("z", 1);
      service_->publishTable("a", 10);
   });
   sdk.join();
   EXPECT_EQ(made, 1);
   // Each completed write brings one element, which is queued behind the events.
   const std::vector<std::pair<std::string, std::uint64_t>> expected{{"a", 1},  {"c", 30}, {"z", 1},
                                                                     {"a", 10}, {"b", 2},  {"c", 30}};
   for (const auto& [key, value] : expected) {
      const auto response = client.next();
      ASSERT_TRUE(response);
      EXPECT_EQ(response->key(), key);
      EXPECT_EQ(response->number(), value);
      EXPECT_FALSE(response->ack());
   }
   EXPECT_TRUE(client.next()->ack());
   EXPECT_EQ(made, 3);
}

TEST_F(DumpStreamingHandlerTest, theStreamHasSubscribedBeforeTheFirstElementIsMade) {
   tableIs({{"a", 1}});
   bool subscribed = false;
   change([&] {
      service_->onDumpElement = [&](const std::string&) { subscribed = service_->tableStreams().watching; };
   });
   EXPECT_EQ(dumped(*watchTable(withFields(all(), {allFields}))), (Keys{"a", "ack"}));
   EXPECT_TRUE(subscribed);
}

TEST_F(DumpStreamingHandlerTest, aStreamOfOneKeyGetsThatElementAndGoesOnWithTheNextWrite) {
   tableIs({{"a", 1}, {"b", 2}});
   const auto client = watchTable(withFields(key("a"), {allFields}));
   EXPECT_EQ(client->next()->key(), "a");
   // The element of "b" was rejected and made no write; any event of "a" lets the dump finish.
   service_->publishTable("a", 10);
   EXPECT_EQ(dumped(*client), (Keys{"a", "ack"}));
}

TEST_F(DumpStreamingHandlerTest, oneElementFollowsEachWriteThatCompletesAndNoAlarm) {
   const orvtest::TraceCapture traces("stream-probe/9");
   tableIs({{"a", 1}, {"b", 2}, {"c", 3}, {"d", 4}, {"e", 5}});
   std::atomic<int> made{0};
   change([&] { service_->onDumpElement = [&](const std::string&) { ++made; }; });
   const auto client = watchTable(withFields(key("e"), {allFields}));
   ASSERT_TRUE(eventually([&] { return made == 1; }));
   pumpPasses();
   // The elements before "e" are rejected and make no write, so the dump pauses after each.
   EXPECT_EQ(made, 1);
   const auto streams = service_->tableStreams().getHandlers();
   ASSERT_EQ(streams.size(), 1U);
   const std::string completion = fmt::format("process handler {} source WRITE", streams[0]->tag());
   const auto completions = [&](std::size_t count) {
      ASSERT_TRUE(eventually([&] { return tracesWith(traces, completion) == count; }));
      // Waits for what follows the completion too.
      pumpPasses();
   };
   // This makes one alarm and one write.
   service_->publishTable("e", 10);
   completions(1);
   EXPECT_EQ(made, 2);
   {
      // This makes one alarm and two writes.
      PumpHold hold(*service_, *stub_);
      service_->publishTable("e", 20);
      service_->publishTable("e", 30);
   }
   completions(3);
   ASSERT_EQ(made, 4);
   EXPECT_EQ(tracesWith(traces, "Set alarm"), 2U);
   for (const std::uint64_t value : {10U, 20U, 30U})
      EXPECT_EQ(client->next()->number(), value);
   service_->publishTable("e", 40);
   EXPECT_EQ(dumped(*client), (Keys{"e", "e", "ack"}));
   EXPECT_EQ(made, 5);
}

TEST_F(DumpStreamingHandlerTest, anErrorOfTheIteratorIsTheStatusOfTheCall) {
   change([&] { service_->iteratorError = "range"; });
   const auto client = watchTable(withFields(all(), {allFields}));
   EXPECT_EQ(client->finish().error_code(), grpc::StatusCode::OUT_OF_RANGE);
   expectAllFreed("WatchTable");
   EXPECT_EQ(service_->tableStreams().started, 0);
}

TEST_F(DumpStreamingHandlerTest, anErrorOfTheFirstElementIsTheStatusAndTheStreamLeaves) {
   tableIs({{"a", 1}});
   change([&] {
      service_->onDumpElement = [](const std::string&) { throw orv::invalid_argument_error("element"); };
   });
   const auto client = watchTable(withFields(all(), {allFields}));
   EXPECT_EQ(client->finish().error_code(), grpc::StatusCode::INVALID_ARGUMENT);
   expectAllFreed("WatchTable");
   EXPECT_FALSE(service_->tableStreams().watching);
}

// As in a list, nothing but the beginning of the call turns errors into its status.
TEST_F(DumpStreamingHandlerTest, anErrorOfALaterElementIsNotTheStreamsToCatch) {
   GTEST_FLAG_SET(death_test_style, "threadsafe");
   tableIs({{"a", 1}, {"b", 2}});
   change([&] {
      service_->onDumpElement = [](const std::string& key) {
         if (key == "b") throw orv::invalid_argument_error("element b");
      };
   });
   EXPECT_DEATH(dumped(*watchTable(withFields(all(), {allFields}))), "element b");
}

TEST_F(DumpStreamingHandlerTest, aClientThatLeavesDuringTheDumpEndsIt) {
   constexpr int rows = 100'000;
   std::atomic<int> elements{0};
   std::atomic<int> elementsAtItsLeave{-1};
   // Written to until the guard turns traces off, which is before the counters end.
   orv::trace_sink_is([&](std::string_view, int, std::string_view text) {
      if (text.starts_with("Cancelled handler ")) elementsAtItsLeave = elements.load();
   });
   orv::trace_setting_is("stream-probe/9");
   absl::Cleanup untraced = [] {
      orv::trace_setting_is("");
      orv::trace_sink_is({});
   };
   change([&] {
      for (int i = 0; i < rows; ++i)
         service_->table["key" + std::to_string(i)] = 1;
      service_->onDumpElement = [&](const std::string&) { ++elements; };
   });
   {
      // The rows exceed the client's window, so the dump is blocked in the middle when the client leaves.
      const auto client = watchTable(withFields(all(), {allFields}));
      for (int i = 0; i < 3; ++i)
         ASSERT_TRUE(client->next());
      client->cancel();
   }
   expectAllFreed("WatchTable");
   std::move(untraced).Invoke();
   EXPECT_EQ(elements, elementsAtItsLeave);
   EXPECT_LT(elements, rows);
   EXPECT_FALSE(service_->tableStreams().watching);
}

TEST_F(DumpStreamingHandlerTest, everyRowThatIsThereThroughoutAppearsAndMemoryStaysFlat) {
   constexpr std::size_t rows = 100'000;
   const auto row = [](std::size_t i) { return fmt::format("{:06}", i); };
   // Rows that come and go sort directly behind those that stay.
   const auto passing = [&](std::size_t i) { return row(i) + "x"; };
   // Guarded by the SDK's lock.
   std::size_t made = 0;
   std::uint64_t mostMessages = 0;
   std::size_t leastBytes = 0;
   std::size_t mostBytes = 0;
   change([&] {
      for (std::size_t i = 0; i < rows; ++i)
         service_->table[row(i)] = 1;
      service_->onDumpElement = [&](const std::string&) {
         // Includes the message that is being made.
         if (++made % 20 == 0) mostMessages = std::max(mostMessages, liveMessages());
         if (made % 1000 != 0) return;
         mostBytes = std::max(mostBytes, allocatedBytes());
         if (made == 1000) leastBytes = mostBytes;
      };
   });
   std::vector<bool> seen(rows);
   std::size_t count = 0;
   std::size_t changes = 0;
   Keys there;
   const auto client = watchTable(withFields(all(), {number}));
   auto response = client->next();
   for (; response && !response->ack(); response = client->next()) {
      const std::size_t i = std::stoul(response->key());
      if (response->number() == 1) {
         EXPECT_FALSE(seen[i]) << response->key();
         seen[i] = true;
      }
      if (++count % 100 != 0) continue;
      // Adds one row far ahead of the dump, one that the dump has passed and one close to it; removes the
      // rows of the last change.
      change([&] {
         for (const std::string& key : there)
            service_->table.erase(key);
         there = {passing((i + rows / 2) % rows), passing(i / 2), passing(i)};
         for (const std::string& key : there)
            service_->table[key] = 2;
      });
      ++changes;
   }
   ASSERT_TRUE(response);
   EXPECT_TRUE(response->ack());
   EXPECT_GE(changes, rows / 100);
   EXPECT_EQ(std::count(seen.begin(), seen.end(), false), 0);
   // The acknowledgement ends the dump: only events follow it.
   std::size_t madeInAll = 0;
   change([&] { madeInAll = made; });
   EXPECT_EQ(madeInAll, count);
   for (std::uint64_t event = 1; event <= 3; ++event) {
      service_->publishTable("live", event);
      const auto live = client->next();
      EXPECT_EQ(live->key(), "live");
      EXPECT_EQ(live->number(), event);
   }
   change([&] { EXPECT_EQ(made, madeInAll); });
   // One message is being written and one is being made.
   EXPECT_LE(mostMessages, 2U);
   RecordProperty("grown_bytes", std::to_string(mostBytes - leastBytes));
   if (leastBytes != 0) {
      // All rows together would be some 20 MB of messages.
      EXPECT_LT(mostBytes - leastBytes, 1U << 20);
   }
}

}  // namespace
}  // namespace OrvSdkRpc
