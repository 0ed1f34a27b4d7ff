#include "OrvSdkRpc/handlers/DumpStreamingHandler.h"

#include <gtest/gtest.h>

#include <atomic>
#include <set>
#include <string>
#include <vector>

#include "fixture/StreamTest.h"
#include "orv/error.h"

namespace OrvSdkRpc {
namespace {

using fixture::eventually;
using fixture::tracesWith;

constexpr int allFields = test::WATCH_FIELD_ALL;
constexpr int number = test::WATCH_FIELD_NUMBER;
constexpr int payload = test::WATCH_FIELD_PAYLOAD;

class DumpStreamingHandlerTest : public fixture::StreamTest {
protected:
   void tableIs(std::initializer_list<std::pair<const std::string, std::uint64_t>> table) {
      orv::sdk_scoped_lock lock;
      service_->table = table;
   }
   // The keys up to and with the acknowledgement, whose key is "ack".
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
   const std::vector<test::WatchRequest> requests = {all(), withFields(all(), {}), withFields(all(), {9})};
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
}

TEST_F(DumpStreamingHandlerTest, theTableComesFirstThenTheAcknowledgementThenEvents) {
   const fixture::TraceCapture traces("stream-probe/9");
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
   const fixture::TraceCapture traces("stream-probe/9");
   EXPECT_EQ(dumped(*watchTable(withFields(all(), {allFields}))), Keys{"ack"});
   EXPECT_EQ(tracesWith(traces, "handler 0x"), 1U);
}

TEST_F(DumpStreamingHandlerTest, onlyTheSelectedFieldsAreThere) {
   tableIs({{"a", 1}});
   const auto first = watchTable(withFields(all(), {payload}))->next();
   EXPECT_EQ(first->number(), 0U);
   EXPECT_EQ(first->payload(), "payload");
   // The rest of the list is not read after the value for all.
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
   // On the pump thread, while the second element is made: the first one has been written.
   change([&] {
      service_->onDumpElement = [&](const std::string& element) {
         if (element == "b") service_->publishTable("c", 30);
      };
   });
   const auto client = watchTable(withFields(all(), {allFields}));
   EXPECT_EQ(dumped(*client), (Keys{"a", "c", "b", "c", "ack"}));
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
   // The element of "b" was rejected and made no write; any event of "a" brings the end of the dump.
   service_->publishTable("a", 10);
   EXPECT_EQ(dumped(*client), (Keys{"a", "ack"}));
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

TEST_F(DumpStreamingHandlerTest, aClientThatLeavesDuringTheDumpEndsIt) {
   constexpr int rows = 100'000;
   std::atomic<int> elements{0};
   change([&] {
      for (int i = 0; i < rows; ++i)
         service_->table["key" + std::to_string(i)] = 1;
      service_->onDumpElement = [&](const std::string&) { ++elements; };
   });
   {
      // More than the client's window, so the dump stands in the middle when it leaves.
      const auto client = watchTable(withFields(all(), {allFields}));
      for (int i = 0; i < 3; ++i)
         ASSERT_TRUE(client->next());
      client->cancel();
   }
   expectAllFreed("WatchTable");
   EXPECT_LT(elements, rows);
   EXPECT_FALSE(service_->tableStreams().watching);
}

TEST_F(DumpStreamingHandlerTest, everyRowThatIsThereThroughoutAppearsAndMemoryStaysFlat) {
   constexpr std::size_t rows = 100'000;
   {
      orv::sdk_scoped_lock lock;
      for (std::size_t i = 0; i < rows; ++i)
         service_->table["stays" + std::to_string(i)] = 1;
   }
   std::size_t mostQueued = 0;
   std::set<std::string> seen;
   bool acknowledged = false;
   const auto client = watchTable(withFields(all(), {number}));
   while (const auto response = client->next()) {
      if (response->ack()) {
         acknowledged = true;
         break;
      }
      EXPECT_TRUE(seen.insert(response->key()).second) << response->key();
      if (seen.size() % 100 != 0) continue;
      {
         // In front of where the walk stands and behind it.
         orv::sdk_scoped_lock lock;
         for (const std::size_t i : {seen.size(), rows - seen.size()}) {
            service_->table["stays" + std::to_string(i) + "x"] = 2;
            service_->table.erase("stays" + std::to_string(i - 100) + "x");
         }
      }
      for (const auto& handler : service_->tableStreams().getHandlers())
         mostQueued = std::max(mostQueued, static_cast<EventStream&>(*handler).queued());
   }
   EXPECT_TRUE(acknowledged);
   EXPECT_LE(mostQueued, 2U);
   for (std::size_t i = 0; i < rows; ++i)
      ASSERT_TRUE(seen.contains("stays" + std::to_string(i))) << i;
}

}  // namespace
}  // namespace OrvSdkRpc
