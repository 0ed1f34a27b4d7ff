#include "OrvSdkRpc/mirror/IntfCounterService.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <fstream>
#include <future>
#include <memory>
#include <optional>
#include <regex>
#include <string>
#include <thread>
#include <vector>

#include "OrvSdkRpc/hardware/IntfTrafficRatesWatcher.h"
#include "orv/error.h"
#include "platform/process/Toggles.h"
#include "testing/base/Eventually.h"
#include "testing/base/TempDir.h"
#include "testing/mock/MockIntfCounterMgr.h"
#include "testing/server/CounterTables.h"
#include "testing/server/IntfRequests.h"
#include "testing/server/LiveHandlers.h"
#include "testing/server/MainLoop.h"
#include "testing/server/MirrorFixture.h"

namespace OrvSdkRpc {
namespace {

namespace remote = orv::remote;
using orvtest::ethernet1;
using orvtest::ofIntf;
using testing::Return;
using testing::Throw;

// The service alone, with or without a watcher.
class CounterServer : public orvtest::MirrorFixture<IntfCounterService, remote::IntfCounterMgrService,
                                                    orvtest::MockIntfCounterMgr> {
public:
   using Stub = MirrorFixture::Stub;
   using Client = orvtest::StreamClient<remote::IntfTrafficRatesStreamResponse>;

   explicit CounterServer(IntfTrafficRatesWatcher* watcher)
        : MirrorFixture({.internalServer = true}, watcher) {}

   using MirrorFixture::call;
   using MirrorFixture::expectOneHandlerPerRpc;
   using MirrorFixture::fails;
   using MirrorFixture::ok;
   using MirrorFixture::watchers;
   orvtest::MockIntfCounterMgr& mgr() { return mgr_; }

   static remote::IntfTrafficRatesStreamRequest request(const std::string& regex = "", bool first = false) {
      remote::IntfTrafficRatesStreamRequest request;
      request.set_intf_name_regex(regex);
      request.set_first_message(first);
      return request;
   }
   std::unique_ptr<Client> open(const remote::IntfTrafficRatesStreamRequest& request) {
      meetPump();
      return std::make_unique<Client>(*stub_, &Stub::intf_traffic_rates_stream, request);
   }
   // Opens a stream and waits until it has subscribed.
   std::unique_ptr<Client> stream(const std::string& regex = "", bool first = false) {
      meetPump();
      const std::size_t before = watchers();
      auto client = std::make_unique<Client>(*stub_, &Stub::intf_traffic_rates_stream, request(regex, first));
      EXPECT_TRUE(orvtest::eventually([&] { return watchers() == before + 1; }));
      return client;
   }

   // Keeps the pump busy while `call` runs, so that what is published then stays in the streams.
   template <class Call>
   void withBusyPump(Call&& call) {
      std::promise<void> release;
      std::promise<void> busy;
      EXPECT_CALL(mgr_, counters(ethernet1)).WillOnce([&](const orv::intf_id_t&) {
         // Releases the lock, which the main loop needs.
         const Zelt::UnlockAnchor unlocked(Zelt::activityLock());
         busy.set_value();
         release.get_future().wait();
         return orv::intf_counters_t();
      });
      const auto pending = std::async(std::launch::async, [&] {
         ok(&Stub::intf_counters, ofIntf<remote::IntfCountersRequest>("Ethernet1"));
      });
      busy.get_future().wait();
      call();
      release.set_value();
   }

private:
   void TestBody() override {}
};

class IntfCounterServiceTest : public MainLoop, public CounterTables {
protected:
   using Client = CounterServer::Client;
   using Stub = CounterServer::Stub;

   IntfCounterServiceTest() {
      const orv::sdk_scoped_lock lock;
      watcher_.initialized_is(true);
      watcher_.onMountsComplete(state_, shared_);
   }

   // Adds a writer as on the main loop.
   Pavo::Ptr<EthTable> writerIs(const std::string& name) {
      const orv::sdk_scoped_lock lock;
      return CounterTables::writerIs(name);
   }
   // Writes the tables as their writers do, and runs the reactors.
   template <class Write>
   static void write(Write&& rows) {
      {
         const orv::sdk_scoped_lock lock;
         rows();
      }
      MainLoop::runLoop();
   }
   bool watching() {
      const orv::sdk_scoped_lock lock;
      return watcher_.watching();
   }
   // The next batch, sorted by name; "Ethernet1 5" is five packets per second.
   static std::vector<std::string> batch(Client& client) {
      std::vector<std::string> entries;
      const auto response = client.next();
      if (!response) return {"end"};
      for (const auto& entry : response->data())
         entries.push_back(fmt::format("{} {}", entry.intf_id().name(), entry.rates().in_pkts_rate()));
      std::sort(entries.begin(), entries.end());
      return entries;
   }

   IntfTrafficRatesWatcher watcher_{nullptr};
   CounterServer server_{&watcher_};
};

using Batch = std::vector<std::string>;

TEST_F(IntfCounterServiceTest, countersAndRatesReadAsTheSwitchSaysThem) {
   orv::intf_counters_t counters;
   counters.in_octets_is(5);
   counters.sample_time_is(1.5);
   EXPECT_CALL(server_.mgr(), counters(ethernet1)).WillOnce([&](const orv::intf_id_t&) {
      EXPECT_TRUE(locked());
      return counters;
   });
   const auto read =
        server_.ok(&Stub::intf_counters, ofIntf<remote::IntfCountersRequest>("Ethernet1")).counters();
   EXPECT_EQ(read.in_octets(), 5U);
   EXPECT_EQ(read.sample_time(), 1.5);

   EXPECT_CALL(server_.mgr(), traffic_rates(ethernet1)).WillOnce([](const orv::intf_id_t&) {
      EXPECT_TRUE(locked());
      return orv::intf_traffic_rates_t(1, 2, 3, 4, 5);
   });
   const auto rates =
        server_.ok(&Stub::intf_traffic_rates, ofIntf<remote::IntfTrafficRatesRequest>("Ethernet1")).rates();
   EXPECT_EQ(rates.out_pkts_rate(), 1);
   EXPECT_EQ(rates.in_pkts_rate(), 2);
   EXPECT_EQ(rates.out_bits_rate(), 3);
   EXPECT_EQ(rates.in_bits_rate(), 4);
   EXPECT_EQ(rates.sample_time(), 5);
}

TEST_F(IntfCounterServiceTest, theSwitchesErrorsBecomeTheStatusOfTheCall) {
   EXPECT_CALL(server_.mgr(), counters(ethernet1)).WillOnce(Throw(orv::invalid_argument_error("no such")));
   server_.fails(&Stub::intf_counters, ofIntf<remote::IntfCountersRequest>("Ethernet1"),
                 grpc::StatusCode::INVALID_ARGUMENT, "no such");
   EXPECT_CALL(server_.mgr(), traffic_rates(orv::intf_id_t())).WillOnce(Throw(orv::error("not now")));
   server_.fails(&Stub::intf_traffic_rates, remote::IntfTrafficRatesRequest(), grpc::StatusCode::INTERNAL,
                 "not now");
}

TEST_F(IntfCounterServiceTest, aStreamTellsAllFiveRates) {
   const auto table = writerIs("a");
   const auto client = server_.stream();
   write([&] {
      table->rowIs(
           id("Ethernet1"),
           {.statistics = {},
            .rates = {
                 .outPktsRate = 1, .inPktsRate = 2, .outBitsRate = 3, .inBitsRate = 4, .sampleTime = 5}});
   });
   const auto response = client->next();
   ASSERT_TRUE(response);
   ASSERT_EQ(response->data_size(), 1);
   EXPECT_EQ(response->data(0).intf_id().name(), "Ethernet1");
   const auto& rates = response->data(0).rates();
   EXPECT_EQ(rates.out_pkts_rate(), 1);
   EXPECT_EQ(rates.in_pkts_rate(), 2);
   EXPECT_EQ(rates.out_bits_rate(), 3);
   EXPECT_EQ(rates.in_bits_rate(), 4);
   EXPECT_EQ(rates.sample_time(), 5);
}

TEST_F(IntfCounterServiceTest, theFirstMessageIsEmptyWhereItIsAskedFor) {
   const auto client = server_.open(CounterServer::request("", true));
   EXPECT_EQ(batch(*client), Batch{});
   ASSERT_TRUE(orvtest::eventually([&] { return server_.watchers() == 1; }));
   const auto table = writerIs("a");
   write([&] { table->rowIs(id("Ethernet1"), row(5)); });
   EXPECT_EQ(batch(*client), Batch{"Ethernet1 5"});
}

TEST_F(IntfCounterServiceTest, whatIsKnownAlreadyComesAtTheBeginning) {
   const auto table = writerIs("a");
   write([&] {
      table->rowIs(id("Ethernet1"), row(5));
      lags_->rowIs(id("Lag1"), row(6));
   });
   const auto client = server_.stream("Lag1");
   MainLoop::runLoop();
   EXPECT_EQ(batch(*client), Batch{"Lag1 6"});
}

TEST_F(IntfCounterServiceTest, internalInterfacesAndRowsWithoutRatesAreNeverStreamed) {
   const auto table = writerIs("a");
   const auto client = server_.stream();
   write([&] {
      for (const char* name : {"Internal1", "PeerEthernet1", "PeerLag1"})
         table->rowIs(id(name), row(5));
      table->rowIs(id("Ethernet2"), {});
      table->rowIs(id("Ethernet1"), row(5));
   });
   EXPECT_EQ(batch(*client), Batch{"Ethernet1 5"});
}

TEST_F(IntfCounterServiceTest, aNameExpressionMatchesWholeNamesAndEachStreamHasItsOwn) {
   const auto table = writerIs("a");
   const auto exact = server_.stream("Ethernet1");
   const auto lags = server_.stream("Lag.*");
   const auto everything = server_.stream();
   {
      // The pump cannot run before all rows are reported, so each stream sets one alarm.
      const orv::sdk_scoped_lock lock;
      for (const char* name : {"Ethernet1", "Ethernet12", "Ethernet1/1", "aEthernet1"})
         table->rowIs(id(name), row(5));
      lags_->rowIs(id("Lag1"), row(6));
   }
   MainLoop::runLoop();
   EXPECT_EQ(batch(*exact), Batch{"Ethernet1 5"});
   EXPECT_EQ(batch(*lags), Batch{"Lag1 6"});
   Batch all;
   while (all.size() < 5) {
      for (auto& entry : batch(*everything))
         all.push_back(entry);
   }
   std::sort(all.begin(), all.end());
   EXPECT_EQ(all, (Batch{"Ethernet1 5", "Ethernet1/1 5", "Ethernet12 5", "Lag1 6", "aEthernet1 5"}));
   // Nothing of the other interfaces follows.
   write([&] { table->rowIs(id("Ethernet1"), row(7)); });
   EXPECT_EQ(batch(*exact), Batch{"Ethernet1 7"});
}

TEST_F(IntfCounterServiceTest, anIllFormedExpressionIsRefusedWithTheNameOfTheArgument) {
   std::string words;
   try {
      const std::regex regex("(");
   } catch (const std::regex_error& e) {
      words = e.what();
   }
   for (const bool first : {false, true}) {
      const auto client = server_.open(CounterServer::request("(", first));
      if (first) {
         EXPECT_EQ(batch(*client), Batch{});
      }
      const grpc::Status status = client->finish();
      EXPECT_EQ(status.error_code(), grpc::StatusCode::INVALID_ARGUMENT);
      EXPECT_EQ(status.error_message(), "intf_name_regex: " + words);
   }
   EXPECT_EQ(server_.watchers(), 0U);
   EXPECT_FALSE(watching());
}

TEST_F(IntfCounterServiceTest, aWriterThatComesLaterIsFollowed) {
   const auto client = server_.stream();
   Pavo::Ptr<EthTable> table;
   write([&] {
      table = writerIs("later");
      table->rowIs(id("Ethernet1"), row(5));
   });
   EXPECT_EQ(batch(*client), Batch{"Ethernet1 5"});
   write([&] { table->rowIs(id("Ethernet1"), row(6)); });
   EXPECT_EQ(batch(*client), Batch{"Ethernet1 6"});
}

TEST_F(IntfCounterServiceTest, theLastStreamOutStopsTheWatcherAndTheNextStartsItAnew) {
   const auto table = writerIs("a");
   EXPECT_FALSE(watching());
   {
      const auto first = server_.stream();
      { const auto second = server_.stream(); }
      EXPECT_TRUE(orvtest::eventually([&] { return server_.watchers() == 1; }));
      EXPECT_TRUE(watching());
   }
   EXPECT_TRUE(orvtest::eventually([&] { return !watching(); }));
   write([&] { table->rowIs(id("Ethernet1"), row(5)); });
   const auto next = server_.stream();
   EXPECT_TRUE(watching());
   MainLoop::runLoop();
   EXPECT_EQ(batch(*next), Batch{"Ethernet1 5"});
}

TEST_F(IntfCounterServiceTest, streamsComeAndGoWhileRatesAreTold) {
   const auto table = writerIs("a");
   const auto rowsAre = [&](double rate) {
      write([&] {
         for (int i = 0; i < 20; ++i)
            table->rowIs(id(fmt::format("Ethernet{}", i)), row(rate));
         lags_->rowIs(id("Lag1"), row(rate));
      });
   };
   std::atomic<bool> over{false};
   std::thread mainLoop([&] {
      for (int rate = 1; !over; ++rate)
         rowsAre(rate);
   });
   std::vector<std::thread> clients;
   for (int c = 0; c < 4; ++c) {
      clients.emplace_back([&, c] {
         for (int round = 0; round < 60; ++round) {
            const auto client = server_.open(CounterServer::request(c % 2 == 0 ? "" : "Ethernet1.*", c < 2));
            // Some leave before they are served.
            if (round % 3 != 0) {
               EXPECT_TRUE(client->next());
            }
         }
      });
   }
   for (auto& client : clients)
      client.join();
   over = true;
   mainLoop.join();
   EXPECT_TRUE(orvtest::eventually([&] { return !watching(); }));
   EXPECT_TRUE(orvtest::eventually([&] { return orvtest::liveHandlers() == 3U; }));
   rowsAre(0.5);
   const auto next = server_.stream("Lag1");
   MainLoop::runLoop();
   EXPECT_EQ(batch(*next), Batch{"Lag1 0.5"});
}

TEST_F(IntfCounterServiceTest, aBatchHasAThousandEntriesAtMost) {
   // Names that the switch knows, and unknown ones, which are queued in another table.
   const auto nameOf = [](int i) { return fmt::format("{}{}", i % 3 == 0 ? "Unknown" : "Batch", i); };
   for (int i = 0; i < 1001; ++i) {
      if (i % 3 != 0) orv::host::intf_name_known(nameOf(i));
   }
   const auto table = writerIs("a");
   const auto client = server_.stream();
   server_.withBusyPump([&] {
      write([&] {
         for (int i = 0; i < 1001; ++i)
            table->rowIs(id(nameOf(i)), row(i + 1));
      });
   });
   const Batch first = batch(*client);
   EXPECT_EQ(first.size(), 1000U);
   Batch all = batch(*client);
   EXPECT_EQ(all.size(), 1U);
   all.insert(all.end(), first.begin(), first.end());
   std::sort(all.begin(), all.end());
   EXPECT_EQ(std::unique(all.begin(), all.end()) - all.begin(), 1001);
}

TEST_F(IntfCounterServiceTest, aSlowReaderGetsTheLatestValue) {
   const auto table = writerIs("a");
   const auto client = server_.stream();
   server_.withBusyPump([&] {
      for (const int rate : {1, 2, 3})
         write([&] { table->rowIs(id("Ethernet1"), row(rate)); });
   });
   EXPECT_EQ(batch(*client), Batch{"Ethernet1 3"});
}

TEST_F(IntfCounterServiceTest, aRateThatFellToZeroReplacesTheOneThatWaits) {
   const auto table = writerIs("a");
   for (const char* name : {"Fell1", "Fell2"}) {
      // Once for an unknown name and once for a known one.
      if (name == std::string("Fell2")) orv::host::intf_name_known(name);
      ASSERT_TRUE(orvtest::eventually([&] { return server_.watchers() == 0; }));
      const auto client = server_.stream(name);
      const auto rowIs = [&](const Interface::IntfRates& rates) {
         write([&] { table->rowIs(id(name), {.statistics = {}, .rates = rates}); });
      };
      server_.withBusyPump([&] {
         rowIs({.outPktsRate = 1, .inPktsRate = 2, .outBitsRate = 3, .inBitsRate = 4, .sampleTime = 5});
         rowIs({.outPktsRate = 6, .inPktsRate = 0, .outBitsRate = 0, .inBitsRate = 0, .sampleTime = 7});
      });
      const auto response = client->next();
      ASSERT_TRUE(response);
      ASSERT_EQ(response->data_size(), 1);
      const auto& rates = response->data(0).rates();
      EXPECT_EQ(rates.out_pkts_rate(), 6);
      EXPECT_TRUE(rates.has_in_pkts_rate());
      EXPECT_EQ(rates.in_pkts_rate(), 0);
      EXPECT_TRUE(rates.has_out_bits_rate());
      EXPECT_EQ(rates.out_bits_rate(), 0);
      EXPECT_TRUE(rates.has_in_bits_rate());
      EXPECT_EQ(rates.in_bits_rate(), 0);
      EXPECT_EQ(rates.sample_time(), 7);
   }
}

TEST_F(IntfCounterServiceTest, eachStreamKeepsItsOwnVerdicts) {
   orv::host::intf_name_known("Matched1");
   orv::host::intf_name_known("Matched2");
   const auto table = writerIs("a");
   const auto ones = server_.stream("Matched1");
   const auto twos = server_.stream("Matched2|Unheard1");
   for (const int rate : {1, 2, 3}) {
      write([&] {
         for (const char* name : {"Matched1", "Matched2", "Unheard1", "Unheard2"})
            table->rowIs(id(name), row(rate));
      });
      EXPECT_EQ(batch(*ones), Batch{fmt::format("Matched1 {}", rate)});
      Batch both = batch(*twos);
      while (both.size() < 2) {
         for (auto& entry : batch(*twos))
            both.push_back(entry);
      }
      std::sort(both.begin(), both.end());
      EXPECT_EQ(both, (Batch{fmt::format("Matched2 {}", rate), fmt::format("Unheard1 {}", rate)}));
   }
}

TEST_F(IntfCounterServiceTest, anExpressionThatCouldHoldUpTheSwitchIsRefused) {
   for (const char* expression : {"(ab)\\1", "(?:\\w*){24000}!", "(?=.*(?=.*b)).*"}) {
      const auto client = server_.open(CounterServer::request(expression));
      const grpc::Status status = client->finish();
      EXPECT_EQ(status.error_code(), grpc::StatusCode::INVALID_ARGUMENT) << expression;
      EXPECT_TRUE(status.error_message().starts_with("intf_name_regex: regular expression "))
           << status.error_message();
   }
}

TEST(IntfCounterService, withoutAWatcherAStreamStaysOpenAndSilent) {
   const MainLoop loop;
   CounterServer server(nullptr);
   const auto client = server.stream("", true);
   const auto first = client->next();
   ASSERT_TRUE(first);
   EXPECT_EQ(first->data_size(), 0);
   EXPECT_EQ(server.watchers(), 1U);
   client->cancel();
   EXPECT_FALSE(client->next());
   EXPECT_TRUE(orvtest::eventually([&] { return server.watchers() == 0; }));
}

TEST(IntfCounterService, eachRpcHasOneHandlerThatWaits) {
   CounterServer server(nullptr);
   server.expectOneHandlerPerRpc();
}

// A toggle is read once per process, so each look at it has a process of its own.
int withTheToggleOff() {
   const orvtest::TempDir dir;
   std::ofstream(dir / "OrvSdkRpc.json") << R"({"OrvSdkRpcTrafficStream": false})";
   toggleDirectoryIs(dir.path());
   {
      CounterServer server(nullptr);
      for (const bool first : {false, true}) {
         const auto client = server.open(CounterServer::request("(", first));
         EXPECT_EQ(client->rest().size(), first ? 1U : 0U);
         const grpc::Status status = client->finish();
         EXPECT_EQ(status.error_code(), grpc::StatusCode::UNIMPLEMENTED);
         EXPECT_EQ(status.error_message(), "This feature is not yet implemented");
         // Too late: the toggle has been read.
         toggleDirectoryDel();
      }
      EXPECT_EQ(server.watchers(), 0U);
      EXPECT_CALL(server.mgr(), counters(ethernet1)).WillOnce(Return(orv::intf_counters_t()));
      server.ok(&CounterServer::Stub::intf_counters, ofIntf<remote::IntfCountersRequest>("Ethernet1"));
   }
   return testing::Test::HasFailure() ? 1 : 0;
}

TEST(IntfCounterServiceDeathTest, whereTheToggleIsOffTheStreamIsNotThere) {
   GTEST_FLAG_SET(death_test_style, "threadsafe");
   EXPECT_EXIT(std::exit(withTheToggleOff()), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace OrvSdkRpc
