#include "OrvSdkRpc/handlers/BulkStreams.h"

#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "testing/base/Eventually.h"
#include "testing/server/LiveHandlers.h"
#include "testing/server/StreamFixture.h"

namespace OrvSdkRpc {
namespace {

using orvtest::eventually;
using orvtest::PumpHold;
using orvtest::tracesWith;
using RatesClient = orvtest::StreamClient<test::RatesResponse>;
using CountersClient = orvtest::StreamClient<test::CountersResponse>;

using Steps = std::vector<std::string>;

// What a stream did, from its traces of level 8 without the first few.
Steps steps(const orvtest::TraceCapture& traces, std::size_t first = 0) {
   Steps steps;
   const std::vector<std::string> texts = traces.texts();
   for (std::size_t i = first; i < texts.size(); ++i) {
      const std::string& text = texts[i];
      const auto has = [&](std::string_view part) { return text.find(part) != std::string::npos; };
      if (text.starts_with("Set alarm for handler 0x")) {
         steps.emplace_back("alarm set");
      } else if (text.starts_with("Wrote ")) {
         steps.push_back("wrote " + text.substr(6, text.find(' ', 6) - 6));
      } else if (text.starts_with("process handler 0x") && has(" source ALARM ")) {
         steps.emplace_back("alarm fired");
      } else if (text.starts_with("process handler 0x") && has(" source WRITE ")) {
         steps.emplace_back("write done");
      } else {
         steps.push_back(text);
      }
   }
   return steps;
}

class RatesStreamTest : public orvtest::StreamFixture {
protected:
   std::unique_ptr<RatesClient> rates(const std::string& names = "", bool firstMessage = false) {
      const std::size_t before = service_->rateStreams().getHandlers().size();
      test::RatesRequest request;
      request.set_name_regex(names);
      request.set_first_message(firstMessage);
      auto client = std::make_unique<RatesClient>(*stub_, &Stub::rates, request);
      EXPECT_TRUE(eventually([&] { return service_->rateStreams().getHandlers().size() == before + 1; }));
      return client;
   }
   static std::string port(int n) { return "Ethernet" + std::to_string(n); }
   static std::set<std::string> namesOf(const test::RatesResponse& response) {
      std::set<std::string> names;
      for (const auto& entry : response.data())
         EXPECT_TRUE(names.insert(entry.name()).second) << entry.name();
      return names;
   }
};

TEST_F(RatesStreamTest, anEntryForAKeyThatWaitsIsMergedAndSetsNoAlarm) {
   const auto client = rates();
   const orvtest::TraceCapture traces("stream-probe/8-9");
   {
      PumpHold hold(*service_, *stub_);
      test::RatesEntry entry;
      entry.set_name(port(1));
      entry.set_packets(1);
      entry.set_bytes(100);
      entry.add_samples(7);
      service_->rateStreams().publishBulk(port(1), entry);
      entry.Clear();
      entry.set_packets(2);
      entry.add_samples(8);
      service_->rateStreams().publishBulk(port(1), entry);
      EXPECT_EQ(tracesWith(traces, "Set alarm for handler 0x"), 1U);
      EXPECT_EQ(tracesWith(traces, "Enqueue packets: 2 samples: 8 to handler 0x"), 1U);
   }
   const auto response = client->next();
   ASSERT_TRUE(response);
   ASSERT_EQ(response->data_size(), 1);
   EXPECT_EQ(response->data(0).name(), port(1));
   EXPECT_EQ(response->data(0).packets(), 2U);
   EXPECT_EQ(response->data(0).bytes(), 100U);
   EXPECT_EQ(response->data(0).samples_size(), 2);
   EXPECT_TRUE(eventually([&] { return tracesWith(traces, "Wrote 1 entries to handler 0x") == 1; }));
   EXPECT_EQ(tracesWith(traces, "Set alarm for handler 0x"), 1U);
}

TEST_F(RatesStreamTest, aThousandAndOneKeysMakeTwoBatchesEachFromAnAlarmOfItsOwn) {
   const auto client = rates();
   const orvtest::TraceCapture traces("stream-probe/8");
   {
      PumpHold hold(*service_, *stub_);
      for (int i = 0; i < 1001; ++i)
         service_->publishRate(port(i), 1);
   }
   std::set<std::string> names;
   for (const int size : {1000, 1}) {
      const auto response = client->next();
      ASSERT_TRUE(response);
      EXPECT_EQ(response->data_size(), size);
      for (const auto& entry : response->data())
         EXPECT_TRUE(names.insert(entry.name()).second);
   }
   EXPECT_EQ(names.size(), 1001U);
   // The completed write set the second alarm, and wrote nothing itself.
   EXPECT_TRUE(eventually([&] { return traces.texts().size() >= 8; }));
   EXPECT_EQ(steps(traces), (Steps{"alarm set", "alarm fired", "wrote 1000", "write done",  //
                                   "alarm set", "alarm fired", "wrote 1", "write done"}));
   EXPECT_EQ(traces.countAt(8), traces.texts().size());
}

TEST_F(RatesStreamTest, keysThatComeWhileABatchStandsGoOutLaterEachOnce) {
   const auto client = rates();
   {
      PumpHold hold(*service_, *stub_);
      for (int i = 0; i < 1500; ++i)
         service_->publishRate(port(i), 1);
   }
   auto first = client->next();
   ASSERT_EQ(first->data_size(), 1000);
   // Some of these keys come before the resume point.
   for (int i = 1500; i < 2500; ++i)
      service_->publishRate(port(i), 1);
   std::multiset<std::string> names;
   for (const auto& entry : first->data())
      names.insert(entry.name());
   while (names.size() < 2500) {
      const auto response = client->next();
      ASSERT_TRUE(response);
      for (const auto& entry : response->data())
         names.insert(entry.name());
   }
   for (int i = 0; i < 2500; ++i)
      EXPECT_EQ(names.count(port(i)), 1U) << i;
}

TEST_F(RatesStreamTest, aNewKeyInFrontOfTheResumePointStaysForALaterPass) {
   const auto client = rates();
   // A batch is larger than the client's window, so its write does not complete until the client reads it.
   const std::string wide(16U << 10, 'x');
   const auto publish = [&](int begin, int end) {
      for (int i = begin; i < end; ++i) {
         test::RatesEntry entry;
         entry.set_name(port(i));
         entry.set_padding(wide);
         service_->rateStreams().publishBulk(port(i), entry);
      }
   };
   const orvtest::TraceCapture traces("stream-probe/8");
   {
      PumpHold hold(*service_, *stub_);
      publish(0, 1500);
   }
   ASSERT_TRUE(eventually([&] { return tracesWith(traces, "Wrote ") == 1; }));
   publish(1500, 1600);
   const auto first = client->next();
   ASSERT_EQ(first->data_size(), 1000);
   // From the resume point to the end: the keys that were left, and those new keys that come after that
   // point.
   const auto second = client->next();
   const std::set<std::string> resumed = namesOf(*second);
   std::set<std::string> names = namesOf(*first);
   for (int i = 0; i < 1500; ++i)
      EXPECT_EQ(names.count(port(i)) + resumed.count(port(i)), 1U) << i;
   EXPECT_GT(resumed.size(), 500U);
   EXPECT_LT(resumed.size(), 600U);
   const auto third = client->next();
   const std::set<std::string> later = namesOf(*third);
   EXPECT_EQ(later.size(), 600U - resumed.size());
   for (int i = 1500; i < 1600; ++i)
      EXPECT_EQ(resumed.count(port(i)) + later.count(port(i)), 1U) << i;
}

TEST_F(RatesStreamTest, theFirstMessageIsEmptyAndOnlyThereWhenAskedFor) {
   const auto asked = rates("", true);
   EXPECT_EQ(asked->next()->data_size(), 0);
   const auto silent = rates();
   service_->publishRate(port(1), 1);
   EXPECT_EQ(asked->next()->data_size(), 1);
   EXPECT_EQ(silent->next()->data_size(), 1);
}

TEST_F(RatesStreamTest, eachStreamHasAFilterOfWholeNames) {
   const auto one = rates("Ethernet1");
   const auto tens = rates("Ethernet1\\d");
   const auto everything = rates();
   {
      // All values are in the tables before anything is written, so each stream writes one batch.
      PumpHold hold(*service_, *stub_);
      for (const std::string& name : {port(1), port(10), port(11), port(2), port(100), "a" + port(1)})
         service_->publishRate(name, 1);
   }
   EXPECT_EQ(namesOf(*one->next()), std::set<std::string>{port(1)});
   EXPECT_EQ(namesOf(*tens->next()), (std::set<std::string>{port(10), port(11)}));
   EXPECT_EQ(everything->next()->data_size(), 6);
   // Values that a stream does not want are not kept for it either.
   service_->publishRate(port(1), 2);
   service_->publishRate(port(10), 2);
   EXPECT_EQ(namesOf(*one->next()), std::set<std::string>{port(1)});
   EXPECT_EQ(namesOf(*tens->next()), std::set<std::string>{port(10)});
}

TEST_F(RatesStreamTest, aBadExpressionIsTheStatusOfTheCall) {
   for (const bool firstMessage : {false, true}) {
      test::RatesRequest request;
      request.set_name_regex("(");
      request.set_first_message(firstMessage);
      RatesClient client(*stub_, &Stub::rates, request);
      EXPECT_EQ(client.finish().error_code(), grpc::StatusCode::INVALID_ARGUMENT);
   }
   expectAllFreed("Rates");
   EXPECT_EQ(service_->rateStreams().started, 0);
   EXPECT_EQ(service_->rateStreams().stopped, 0);
}

TEST_F(RatesStreamTest, aSlowClientGetsTheLatestValuesAndStaysConnected) {
   const auto client = rates();
   // Larger than the client's window, and the client does not read.
   test::RatesEntry big;
   big.set_name(std::string(8U << 20, 'x'));
   service_->rateStreams().publishBulk(std::string("big"), big);
   for (std::uint64_t value = 1; value <= 300'000; ++value)
      service_->publishRate(port(1), value);
   EXPECT_EQ(service_->rateStreams().getHandlers().size(), 1U);
   std::uint64_t last = 0;
   int responses = 0;
   while (last != 300'000) {
      const auto response = client->next();
      ASSERT_TRUE(response);
      ++responses;
      for (const auto& entry : response->data())
         last = entry.packets();
   }
   EXPECT_LT(responses, 1000);
}

TEST_F(RatesStreamTest, aClientThatLeavesIsFreedWithWhatWaits) {
   const auto idle = rates();
   const auto writing = rates();
   test::RatesEntry big;
   big.set_name(std::string(8U << 20, 'x'));
   service_->rateStreams().publishBulk(std::string("big"), big);
   for (int i = 0; i < 100; ++i)
      service_->publishRate(port(i), 1);
   EXPECT_GE(orvtest::liveHandlers("test::RatesEntry"), 100U);
   idle->cancel();
   writing->cancel();
   expectAllFreed("Rates");
   EXPECT_TRUE(eventually([&] { return !service_->rateStreams().watching; }));
   EXPECT_TRUE(eventually([&] { return orvtest::liveHandlers("test::RatesEntry") == 0; }));
}

class CountersStreamTest : public orvtest::StreamFixture {
protected:
   using Entry = test::CountersEntry;

   std::unique_ptr<CountersClient> counters() {
      auto client = std::make_unique<CountersClient>(*stub_, &Stub::counters, test::CountersRequest());
      EXPECT_TRUE(eventually([&] { return service_->counterStreams().getHandlers().size() == 1; }));
      return client;
   }
   // A stream whose empty snapshot the client has received.
   std::unique_ptr<CountersClient> live() {
      auto client = counters();
      EXPECT_EQ(client->next()->data_size(), 0);
      return client;
   }
   static Entry entry(std::uint64_t key, std::uint64_t packets) {
      Entry entry;
      entry.set_key(key);
      entry.set_packets(packets);
      return entry;
   }
   static Entry vanish(std::uint64_t key) {
      Entry entry;
      entry.set_key(key);
      entry.set_operation(Entry::OPERATION_VANISH);
      return entry;
   }
};

TEST_F(CountersStreamTest, anEmptySnapshotIsOneEmptyResponse) {
   const orvtest::TraceCapture traces("stream-probe/9");
   const auto client = counters();
   EXPECT_EQ(client->next()->data_size(), 0);
   EXPECT_TRUE(eventually([&] { return tracesWith(traces, "handler 0x") == 1; }));
   EXPECT_TRUE(traces.texts().back().ends_with("end of dump"));
   service_->publishCounter(entry(1, 1));
   EXPECT_EQ(client->next()->data_size(), 1);
}

TEST_F(CountersStreamTest, theSnapshotComesWholeAndLiveEntriesWaitForItsEnd) {
   for (std::uint64_t i = 1; i <= 3; ++i) {
      test::CountersResponse response;
      *response.add_data() = entry(i, i);
      *response.add_data() = entry(100 + i, i);
      change([&] { service_->snapshot.push_back(response); });
   }
   // The controller starts before the snapshot is sent, so these entries are published in the middle of it.
   change([&] {
      service_->counterStreams().onStart = [&] {
         service_->publishCounter(entry(1, 10));
         service_->publishCounter(entry(7, 7));
      };
   });
   const auto client = counters();
   for (std::uint64_t i = 1; i <= 3; ++i) {
      const auto response = client->next();
      ASSERT_EQ(response->data_size(), 2);
      EXPECT_EQ(response->data(0).key(), i);
   }
   EXPECT_EQ(client->next()->data_size(), 0);
   const auto live = client->next();
   ASSERT_EQ(live->data_size(), 2);
   std::map<std::uint64_t, std::uint64_t> packets;
   for (const auto& counter : live->data())
      packets[counter.key()] = counter.packets();
   EXPECT_EQ(packets, (std::map<std::uint64_t, std::uint64_t>{{1, 10}, {7, 7}}));
}

TEST_F(CountersStreamTest, theStreamHasSubscribedWhenItsSnapshotIsWritten) {
   const orvtest::TraceCapture traces("stream-probe/9");
   std::atomic<std::size_t> written{1};
   // The end of the snapshot is traced.
   change([&] { service_->counterStreams().onStart = [&] { written = tracesWith(traces, "handler 0x"); }; });
   const auto client = live();
   EXPECT_EQ(written.load(), 0U);
}

TEST_F(CountersStreamTest, theDefinitionMergesWhatWaitsAndWhatIsNew) {
   const auto client = live();
   {
      PumpHold hold(*service_, *stub_);
      for (const std::uint64_t packets : {1U, 2U, 3U})
         service_->publishCounter(entry(1, packets));
   }
   const auto response = client->next();
   ASSERT_EQ(response->data_size(), 1);
   EXPECT_EQ(response->data(0).packets(), 3U);
   EXPECT_EQ(response->data(0).updates(), 2U);
}

TEST_F(CountersStreamTest, aKeyThatTheDefinitionGivesUpLeavesTheTable) {
   const auto client = live();
   {
      PumpHold hold(*service_, *stub_);
      service_->publishCounter(entry(1, 1));
      service_->publishCounter(vanish(1));
      // It is new then: not merged, and it does not vanish.
      service_->publishCounter(entry(3, 3));
      service_->publishCounter(vanish(3));
      service_->publishCounter(entry(3, 4));
   }
   service_->publishCounter(entry(2, 2));
   std::map<std::uint64_t, std::uint64_t> packets;
   while (packets.size() < 2) {
      const auto response = client->next();
      ASSERT_TRUE(response);
      for (const Entry& sent : response->data()) {
         packets[sent.key()] = sent.packets();
         EXPECT_EQ(sent.updates(), 0U);
      }
   }
   EXPECT_EQ(packets, (std::map<std::uint64_t, std::uint64_t>{{2, 2}, {3, 4}}));
}

TEST_F(CountersStreamTest, anAlarmThatFindsTheTableEmptyWritesNothing) {
   const orvtest::TraceCapture traces("stream-probe/8");
   const auto client = live();
   ASSERT_TRUE(eventually([&] { return steps(traces).back() == "write done"; }));
   const std::size_t before = traces.texts().size();
   {
      PumpHold hold(*service_, *stub_);
      service_->publishCounter(entry(1, 1));
      service_->publishCounter(vanish(1));
   }
   ASSERT_TRUE(eventually([&] { return traces.texts().size() >= before + 2; }));
   pumpPasses();
   EXPECT_EQ(steps(traces, before), (Steps{"alarm set", "alarm fired"}));
   // The stream is idle: the next entry sets an alarm of its own.
   service_->publishCounter(entry(2, 2));
   const auto response = client->next();
   ASSERT_EQ(response->data_size(), 1);
   EXPECT_EQ(response->data(0).key(), 2U);
   EXPECT_TRUE(eventually([&] { return traces.texts().size() >= before + 6; }));
   EXPECT_EQ(steps(traces, before), (Steps{"alarm set", "alarm fired",  //
                                           "alarm set", "alarm fired", "wrote 1", "write done"}));
}

TEST_F(CountersStreamTest, theDefinitionIsToldOfEachBatchBeforeItsFirstEntry) {
   const auto client = live();
   {
      PumpHold hold(*service_, *stub_);
      service_->publishCounter(entry(1, 1));
      service_->publishCounter(entry(2, 2));
   }
   const auto first = client->next();
   ASSERT_EQ(first->data_size(), 2);
   for (const Entry& sent : first->data())
      EXPECT_EQ(sent.batch(), 1U);
   service_->publishCounter(entry(1, 3));
   EXPECT_EQ(client->next()->data(0).batch(), 2U);
}

TEST_F(CountersStreamTest, aBatchIsAtMostAsLargeAsItsLimit) {
   const auto client = live();
   {
      PumpHold hold(*service_, *stub_);
      for (std::uint64_t i = 1; i <= 100; ++i) {
         Entry large = entry(i, 1);
         large.set_padding(std::string(1500, 'x'));
         service_->publishCounter(large);
      }
   }
   std::size_t most = 0;
   int entries = 0;
   int responses = 0;
   for (; entries < 100; ++responses) {
      const auto response = client->next();
      ASSERT_TRUE(response);
      entries += response->data_size();
      most = std::max(most, response->ByteSizeLong());
   }
   EXPECT_LE(most, 65535U + 4U);
   EXPECT_GT(most, 65535U - 1600U);
   EXPECT_EQ(responses, 3);
}

TEST_F(CountersStreamTest, anEntryAboveTheLimitGoesOutNeverAndResponsesAreEmpty) {
   const auto client = live();
   Entry large = entry(5, 1);
   large.set_padding(std::string(70'000, 'x'));
   service_->publishCounter(large);
   for (int i = 0; i < 5; ++i)
      EXPECT_EQ(client->next()->data_size(), 0);
}

TEST_F(CountersStreamTest, aRequestThatIsNotServedGetsItsWords) {
   test::CountersRequest request;
   request.set_compress_keys(false);
   CountersClient refused(*stub_, &Stub::counters, request);
   const grpc::Status status = refused.finish();
   EXPECT_EQ(status.error_code(), grpc::StatusCode::INVALID_ARGUMENT);
   EXPECT_EQ(status.error_message(), "disabling compression is not supported");
   EXPECT_EQ(service_->counterStreams().started, 0);
   request.set_compress_keys(true);
   CountersClient served(*stub_, &Stub::counters, request);
   EXPECT_TRUE(served.next());
}

TEST_F(CountersStreamTest, aClientThatLeavesDuringTheSnapshotEndsIt) {
   test::CountersResponse response;
   Entry large = entry(1, 1);
   large.set_padding(std::string(1U << 20, 'x'));
   *response.add_data() = large;
   change([&] { service_->snapshot.assign(50, response); });
   {
      const auto client = counters();
      ASSERT_TRUE(client->next());
      service_->publishCounter(entry(2, 2));
   }
   expectAllFreed("Counters");
   EXPECT_FALSE(service_->counterStreams().watching);
}

TEST(BulkStreams, theSizeOfABatchIsThatOfItsResponse) {
   BatchBytes bytes(65535);
   test::CountersResponse response;
   for (const std::size_t size : {0, 1, 100, 127, 128, 20'000}) {
      test::CountersEntry entry;
      entry.set_padding(std::string(size, 'x'));
      *response.add_data() = entry;
      bytes.add(entry);
   }
   test::CountersEntry last;
   // One more entry whose own size fills the rest of the limit: its text has four bytes of header.
   last.set_padding(std::string(65535 - response.ByteSizeLong() - 4, 'x'));
   ASSERT_EQ(last.ByteSizeLong() + response.ByteSizeLong(), 65535U);
   EXPECT_TRUE(bytes.fits(last));
   last.mutable_padding()->push_back('x');
   EXPECT_FALSE(bytes.fits(last));
   bytes.clear();
   EXPECT_TRUE(bytes.fits(last));
}

}  // namespace
}  // namespace OrvSdkRpc
