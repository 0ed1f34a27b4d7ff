#include "OrvSdkRpc/mirror/PolicyMapCountersService.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "orv/lock.h"
#include "testing/base/Eventually.h"
#include "testing/mock/MockMountMgr.h"
#include "testing/server/EveryRpc.h"
#include "testing/server/LiveHandlers.h"
#include "testing/server/PolicyCounterTables.h"
#include "testing/server/RunningServer.h"
#include "testing/server/StreamClient.h"

namespace OrvSdkRpc {
namespace {

namespace remote = orv::remote;
using orvtest::eventually;
using orvtest::liveHandlers;
using testing::ElementsAre;
using testing::IsEmpty;

// The service in a running server, over tables that the test writes.
class PolicyMapCountersServiceTest : public PolicyCounterTables, public testing::Test {
protected:
   using Rpc = remote::PolicyMapCountersService;
   using Client = orvtest::StreamClient<remote::PolicyMapCountersWatchResponse>;
   using Entries = std::vector<std::string>;

   PolicyMapCountersServiceTest() {
      orv::mount_handler* handler = nullptr;
      EXPECT_CALL(mountMgr_, handler_add).WillOnce(testing::SaveArg<0>(&handler));
      EXPECT_CALL(mountMgr_, handler_del);
      std::unique_ptr<PolicyMapCountersService> service;
      {
         const orv::sdk_scoped_lock lock;
         service = std::make_unique<PolicyMapCountersService>(&policies_, &mountMgr_);
         mount(*handler);
      }
      service_ = service.get();
      running_.emplace(std::move(service));
      stub_ = running_->stub<Rpc>();
   }
   ~PolicyMapCountersServiceTest() override {
      running_->stop();
      const orv::sdk_scoped_lock lock;
      running_->destroy();
   }

   std::unique_ptr<Client> open(const remote::PolicyMapCountersWatchRequest& request = {}) {
      return std::make_unique<Client>(*stub_, &Rpc::Stub::watch_policy_map_counters, request);
   }
   // A stream that has received its snapshot, of `snapshot` entries.
   std::unique_ptr<Client> watch(std::size_t snapshot = 0) {
      auto client = open();
      EXPECT_EQ(snapshotOf(*client).size(), snapshot);
      return client;
   }
   // The next response, in the order of the short keys.
   static Entries next(Client& client) {
      const auto response = client.next();
      if (!response) return {"end"};
      std::vector<std::pair<std::uint64_t, std::string>> found;
      for (const auto& entry : response->data())
         found.emplace_back(entry.key(), shown(entry));
      std::sort(found.begin(), found.end());
      Entries entries;
      for (auto& [key, text] : found)
         entries.push_back(std::move(text));
      return entries;
   }
   // Everything up to the response without data.
   static Entries snapshotOf(Client& client) {
      Entries all;
      for (;;) {
         const Entries entries = next(client);
         if (entries.empty()) return all;
         all.insert(all.end(), entries.begin(), entries.end());
         if (entries.front() == "end") return all;
      }
   }
   // Calls `change` while the pump waits, so that what is published stays in the streams and merges there. A
   // call keeps the pump: its snapshot needs the lock.
   // RETURNS: the stream of that call.
   template <class Change>
   std::unique_ptr<Client> whileThePumpWaits(Change&& change) {
      const orv::sdk_scoped_lock lock;
      const auto before = liveHandlers("WatchPolicyMapCounters");
      auto client = open();
      EXPECT_TRUE(eventually([&] { return liveHandlers("WatchPolicyMapCounters") == before + 1; }));
      change();
      return client;
   }
   void tell(const std::string& className, std::uint64_t packets) {
      rowIs(className, packets);
      runLoop();
   }
   void tellGone(const std::string& className) {
      rowDel(className);
      runLoop();
   }
   [[nodiscard]] std::size_t watchers() { return service_->subscriptions().getHandlers().size(); }

   testing::StrictMock<orvtest::MockMountMgr> mountMgr_;
   // Owned by the server.
   PolicyMapCountersService* service_ = nullptr;
   std::optional<orvtest::RunningServer> running_;
   std::unique_ptr<Rpc::Stub> stub_;
};

TEST_F(PolicyMapCountersServiceTest, theServiceHasItsName) {
   EXPECT_EQ(service_->name(), "policy_map_counters");
   EXPECT_EQ(service_->frontend().service(), service_);
   EXPECT_EQ(service_->frontend().encoder(), &service_->encoder());
   EXPECT_EQ(service_->frontend().limit(), 65535U);
}

TEST_F(PolicyMapCountersServiceTest, compressionIsOnByDefaultAndCannotBeRefused) {
   remote::PolicyMapCountersWatchRequest request;
   request.set_compress_keys(true);
   EXPECT_THAT(snapshotOf(*open(request)), IsEmpty());
   EXPECT_THAT(snapshotOf(*open()), IsEmpty());
   request.set_compress_keys(false);
   const auto refused = open(request);
   EXPECT_FALSE(refused->next());
   const grpc::Status status = refused->finish();
   EXPECT_EQ(status.error_code(), grpc::StatusCode::INVALID_ARGUMENT);
   EXPECT_EQ(status.error_message(), "compress_keys: disabling compression is not supported");
}

TEST_F(PolicyMapCountersServiceTest, aSnapshotWithoutRowsIsOneEmptyResponse) {
   const auto client = open();
   EXPECT_THAT(next(*client), IsEmpty());
   tell("web", 1);
   EXPECT_THAT(next(*client), ElementsAre("1 edge/web/10 1 packets 100 bytes"));
}

TEST_F(PolicyMapCountersServiceTest, theSnapshotHasEveryCounterAndWhatFollowsHasShortKeys) {
   rowIs("web", 5);
   actionsAre("web", {Pbr::PbrDropAction{}});
   runLoop();
   const auto client = open();
   EXPECT_THAT(snapshotOf(*client), ElementsAre("1 edge/web/10 5 packets 500 bytes drop"));
   tell("web", 6);
   EXPECT_THAT(next(*client), ElementsAre("1 6 packets 600 bytes drop"));
   tell("mail", 1);
   EXPECT_THAT(next(*client), ElementsAre("2 edge/mail/10 1 packets 100 bytes"));
   tell("mail", 2);
   EXPECT_THAT(next(*client), ElementsAre("2 2 packets 200 bytes"));
   tellGone("web");
   EXPECT_THAT(next(*client), ElementsAre("1 edge/web/10 gone"));
}

TEST_F(PolicyMapCountersServiceTest, timesAreWallClockTimes) {
   const auto now = [] { return Zelt::Clock::seconds(Zelt::Clock::wallNanos()); };
   const auto row = [this] {
      const orv::sdk_scoped_lock lock;
      table_->rowIs(keyOf("web"), {.time = Zelt::Clock::seconds(Zelt::Clock::steadyNanos())});
   };
   row();
   const auto client = open();
   const auto snapshot = client->next();
   ASSERT_TRUE(snapshot && snapshot->data_size() == 1);
   EXPECT_NEAR(snapshot->data(0).counters().time(), now(), 60);
   EXPECT_THAT(next(*client), IsEmpty());
   row();
   runLoop();
   const auto live = client->next();
   ASSERT_TRUE(live && live->data_size() == 1);
   EXPECT_NEAR(live->data(0).counters().time(), now(), 60);
}

TEST_F(PolicyMapCountersServiceTest, aCounterThatGoesBeforeItsFirstEntryHasLeftIsNotToldOf) {
   const auto client = watch();
   const auto other = whileThePumpWaits([this] {
      tell("web", 1);
      tellGone("web");
      tell("mail", 2);
   });
   EXPECT_THAT(next(*client), ElementsAre("2 edge/mail/10 2 packets 200 bytes"));
   EXPECT_THAT(snapshotOf(*other), ElementsAre("2 edge/mail/10 2 packets 200 bytes"));
}

TEST_F(PolicyMapCountersServiceTest, aCounterThatGoesWithAnUpdateWaitingIsDeletedByItsShortKey) {
   const auto client = watch();
   tell("web", 1);
   EXPECT_THAT(next(*client), ElementsAre("1 edge/web/10 1 packets 100 bytes"));
   actionsAre("web", {Pbr::PbrDropAction{}});
   const auto other = whileThePumpWaits([this] {
      tell("web", 2);
      tellGone("web");
   });
   const auto response = client->next();
   ASSERT_TRUE(response && response->data_size() == 1);
   const auto& entry = response->data(0);
   EXPECT_EQ(entry.key(), 1U);
   EXPECT_EQ(entry.operation(), 1);
   EXPECT_FALSE(entry.has_key_name());
   EXPECT_FALSE(entry.has_counters());
   EXPECT_FALSE(entry.has_policy_action());
}

TEST_F(PolicyMapCountersServiceTest, aRuleThatComesBackIsANewCounter) {
   const auto client = watch();
   tell("web", 1);
   EXPECT_THAT(next(*client), ElementsAre("1 edge/web/10 1 packets 100 bytes"));
   const auto other = whileThePumpWaits([this] {
      tell("web", 2);
      tellGone("web");
      tell("web", 3);
   });
   EXPECT_THAT(next(*client), ElementsAre("1 gone", "2 edge/web/10 3 packets 300 bytes"));
}

TEST_F(PolicyMapCountersServiceTest, whatWaitsTakesTheNewestValuesAndKeepsItsLongKey) {
   const auto client = watch();
   const auto other = whileThePumpWaits([this] {
      tell("web", 1);
      actionsAre("web", {Pbr::PbrTtlAction{.ttl = 3}});
      tell("web", 2);
      tell("web", 3);
   });
   EXPECT_THAT(next(*client), ElementsAre("1 edge/web/10 3 packets 300 bytes out ttl 3"));
}

TEST_F(PolicyMapCountersServiceTest, aSnapshotIsWholeWhileRulesChange) {
   rowIs("web", 1);
   runLoop();
   const auto first = watch(1);
   // The main loop has not told of these when the second snapshot is made.
   rowIs("mail", 2);
   rowDel("web");
   const auto second = open();
   EXPECT_THAT(snapshotOf(*second), ElementsAre("2 edge/mail/10 2 packets 200 bytes"));
   EXPECT_THAT(next(*first), ElementsAre("1 edge/web/10 gone", "2 edge/mail/10 2 packets 200 bytes"));
   tell("mail", 3);
   for (auto* client : {first.get(), second.get()})
      EXPECT_THAT(next(*client), ElementsAre("2 3 packets 300 bytes"));
}

TEST_F(PolicyMapCountersServiceTest, aChangeDuringTheSnapshotComesBehindIt) {
   for (int i = 0; i < 2000; ++i)
      rowIs(fmt::format("{:0100}", i), 1);
   const auto client = open();
   const auto first = next(*client);
   EXPECT_GT(first.size(), 100U);
   EXPECT_LT(first.size(), 2000U);
   tell("web", 5);
   EXPECT_EQ(first.size() + snapshotOf(*client).size(), 2000U);
   Entries live;
   while (live.empty() || live.back() != "2001 edge/web/10 5 packets 500 bytes") {
      // The rows were new to the main loop, too.
      live = next(*client);
      ASSERT_NE(live, Entries{"end"});
   }
}

TEST_F(PolicyMapCountersServiceTest, noResponseIsAboveTheLimitUnlessASingleEntryIs) {
   for (int i = 0; i < 1000; ++i)
      rowIs(fmt::format("{:0300}", i), 1);
   actionsAre("large",
              {Pbr::PbrNexthopAction{.nexthops = std::vector<std::string>(20'000, "\x0a\x01\x01\x01")}});
   rowIs("large", 1);
   runLoop();
   const auto client = open();
   int entries = 0;
   bool large = false;
   for (;;) {
      const auto response = client->next();
      ASSERT_TRUE(response);
      if (response->data_size() == 0) break;
      entries += response->data_size();
      large = large || response->ByteSizeLong() > 65535U;
      EXPECT_TRUE(response->data_size() == 1 || response->ByteSizeLong() < 65535U);
   }
   EXPECT_EQ(entries, 1001);
   EXPECT_TRUE(large);
   // The same for what is live.
   for (int i = 0; i < 1000; ++i)
      rowIs(fmt::format("{:0400}", i), 2);
   runLoop();
   for (int told = 0; told < 1000;) {
      const auto response = client->next();
      ASSERT_TRUE(response);
      told += response->data_size();
      // The limit is for the entries; the header of the last one comes on top.
      EXPECT_LE(response->ByteSizeLong(), 65535U + 4U);
   }
}

TEST_F(PolicyMapCountersServiceTest, nothingIsEncodedWhileNobodyWatches) {
   const auto watching = [this] {
      const orv::sdk_scoped_lock lock;
      return service_->frontend().refCount() > 1;
   };
   EXPECT_FALSE(watching());
   tell("web", 1);
   auto first = watch(1);
   auto second = watch(1);
   EXPECT_TRUE(watching());
   first.reset();
   EXPECT_TRUE(eventually([&] { return watchers() == 1; }));
   EXPECT_TRUE(watching());
   second.reset();
   EXPECT_TRUE(eventually([&] { return !watching(); }));
   tell("web", 2);
   tell("mail", 1);
   // The next one begins with all of it.
   EXPECT_THAT(snapshotOf(*open()),
               ElementsAre("1 edge/web/10 2 packets 200 bytes", "2 edge/mail/10 1 packets 100 bytes"));
}

TEST_F(PolicyMapCountersServiceTest, everyStreamGetsEveryCounter) {
   const auto first = watch();
   const auto second = watch();
   tell("web", 1);
   for (auto* client : {first.get(), second.get()})
      EXPECT_THAT(next(*client), ElementsAre("1 edge/web/10 1 packets 100 bytes"));
}

TEST_F(PolicyMapCountersServiceTest, eachRpcHasOneHandlerThatWaits) {
   const auto* const service = orvtest::serviceNamed(Rpc::service_full_name());
   ASSERT_NE(service, nullptr);
   EXPECT_EQ(service->method_count(), 1);
   EXPECT_EQ(liveHandlers(), 1U);
   EXPECT_THAT(orvtest::rpcsWithoutHandler(running_->channel(), *service), IsEmpty());
}

using PolicyMapCountersServiceDeathTest = PolicyMapCountersServiceTest;

TEST_F(PolicyMapCountersServiceDeathTest, anUnknownOperationIsAProgrammingError) {
   GTEST_FLAG_SET(death_test_style, "threadsafe");
   const auto client = watch();
   const auto other = whileThePumpWaits([this] {
      remote::PolicyMapCounters entry;
      entry.set_key(9);
      service_->sendCounters(entry);
      entry.set_operation(static_cast<remote::PolicyMapCountersOperation>(7));
      EXPECT_DEATH(service_->sendCounters(entry), "false && \"invalid value for operation\"");
   });
   EXPECT_THAT(next(*client), ElementsAre("9"));
}

TEST(PolicyMapCountersFrontendDeathTest, aFrontendHasAServiceAndAnEncoder) {
   GTEST_FLAG_SET(death_test_style, "threadsafe");
   EXPECT_DEATH(PolicyMapCountersFrontend(nullptr, nullptr, 1), "service_");
}

}  // namespace
}  // namespace OrvSdkRpc
