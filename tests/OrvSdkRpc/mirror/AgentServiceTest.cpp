#include "OrvSdkRpc/mirror/AgentService.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <future>
#include <string>
#include <string_view>
#include <thread>
#include <type_traits>
#include <typeinfo>
#include <vector>

#include "orv/error.h"
#include "orv/lock.h"
#include "platform/gorm/TaskScheduler.h"
#include "platform/zelt/ActivityLock.h"
#include "platform/zelt/Anchors.h"
#include "platform/zelt/Clock.h"
#include "testing/base/Eventually.h"
#include "testing/mock/MockAgentMgr.h"
#include "testing/sdk/Iterators.h"
#include "testing/server/LiveHandlers.h"
#include "testing/server/MirrorFixture.h"
#include "testing/server/TraceCapture.h"

namespace OrvSdkRpc {
namespace {

namespace remote = orv::remote;
using orvtest::iterOver;
using testing::InSequence;
using testing::Return;
using testing::StrEq;
using testing::Throw;
using Words = orv::invalid_argument_error;

class AgentServiceTest
     : public orvtest::MirrorFixture<AgentService, remote::AgentService, orvtest::MockAgentMgr> {
protected:
   using WatchClient = orvtest::StreamClient<remote::WatchAgentResponse>;
   using Ping = std::future<remote::AgentPingResponse>;

   using MirrorFixture::MirrorFixture;
   // The service's task is destroyed under the lock, as on the main loop.
   ~AgentServiceTest() override {
      running_.stop();
      const Zelt::ActivityLockAnchor lock;
      running_.destroy();
   }

   template <class Rq>
   static Rq named(const std::string& name) {
      Rq request;
      request.set_name(name);
      return request;
   }
   static remote::AgentStatusSetRequest statusSet(const std::string& name, const std::string& value) {
      auto request = named<remote::AgentStatusSetRequest>(name);
      request.set_value(value);
      return request;
   }
   WatchClient watch(bool ack) {
      remote::WatchAgentRequest request;
      request.set_ack(ack);
      return {*stub_, &Stub::watch, request};
   }
   // Notifies every handler, as the main loop does.
   void changeOption(const std::string& name, const std::string& value) {
      orv::sdk_scoped_lock lock;
      mgr_.handlers().notify_every(
           [&](orv::agent_handler& handler) { handler.on_agent_option(name, value); });
   }

   std::size_t pingsWaiting() {
      const Zelt::ActivityLockAnchor lock;
      return service_->pingBacklog().pending().size();
   }
   // Starts a ping and does not wait for it.
   Ping pingOf(const std::string& payload) {
      remote::AgentPingRequest request;
      request.set_payload(payload);
      return std::async(std::launch::async, [this, request] {
         grpc::ClientContext context;
         remote::AgentPingResponse response;
         EXPECT_TRUE(stub_->ping(&context, request, &response).ok());
         return response;
      });
   }
   // Starts a ping and waits until it is queued for the main loop.
   Ping ping(const std::string& payload) {
      const std::size_t before = pingsWaiting();
      Ping answer = pingOf(payload);
      EXPECT_TRUE(orvtest::eventually([&] { return pingsWaiting() == before + 1; }));
      return answer;
   }
   // The tags of the handlers that wait for a ping, in the order of the backlog.
   std::vector<OpaqueId> pingTags() {
      std::remove_cvref_t<decltype(service_->pingBacklog().pending())> table;
      const auto end = reinterpret_cast<std::uintptr_t>(service_->nextOpaqueId());
      for (std::uintptr_t n = 1; n < end; ++n) {
         const auto tag = reinterpret_cast<OpaqueId>(n);
         const auto handler = service_->findHandler(tag);
         if (!handler) continue;
         const RequestHandler& found = *handler;
         if (std::string_view(typeid(found).name()).find("PingHandler") != std::string_view::npos) {
            table.emplace(tag);
         }
      }
      std::vector<OpaqueId> tags;
      table.pass([&](OpaqueId tag, auto&) {
         tags.push_back(tag);
         return true;
      });
      return tags;
   }
   // One turn of the main loop.
   static void mainLoop() {
      const auto& scheduler = Gorm::TaskSchedulerRoot::findOrCreateScheduler();
      const Zelt::ActivityLockAnchor lock;
      scheduler->runReady(Zelt::nanosPerSecond);
   }
   // One turn of a main loop for whose lock another thread has waited long.
   static void busyMainLoop() {
      const auto& scheduler = Gorm::TaskSchedulerRoot::findOrCreateScheduler();
      Zelt::ActivityLock& lock = Zelt::activityLock();
      lock.acquire();
      std::thread other([] { const Zelt::ActivityLockAnchor wanted; });
      EXPECT_TRUE(orvtest::eventually([&] { return lock.handOverDue(Zelt::Clock::steadyNanos()); }));
      scheduler->runReady(Zelt::nanosPerSecond);
      lock.release();
      other.join();
   }
   static bool answered(const Ping& ping) {
      return ping.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
   }
};

TEST_F(AgentServiceTest, whatTheAgentIsReadsAsTheSwitchSaysIt) {
   EXPECT_CALL(mgr_, enabled()).WillOnce(Return(true)).WillOnce(Return(false));
   EXPECT_TRUE(ok(&Stub::enabled, remote::AgentEnabledRequest()).enabled());
   EXPECT_FALSE(ok(&Stub::enabled, remote::AgentEnabledRequest()).enabled());
   EXPECT_CALL(mgr_, agent_uptime()).WillOnce(Return(12.5));
   EXPECT_EQ(ok(&Stub::agent_uptime, remote::AgentUptimeRequest()).uptime(), 12.5);
}

TEST_F(AgentServiceTest, anAgentsNumberIsAskedForByACStringAndTraced) {
   const orvtest::TraceCapture traces("agent/9");
   EXPECT_CALL(mgr_, id(StrEq("router"))).Times(2).WillRepeatedly(Return(0x123456789AULL));
   EXPECT_EQ(ok(&Stub::agent_id, named<remote::AgentIdRequest>("router")).id(), 0x123456789AULL);
   EXPECT_EQ(traces.count("Agent router id 78187493530"), 1U);
   EXPECT_EQ(ok(&Stub::agent_id, named<remote::AgentIdRequest>(std::string("router\0s", 8))).id(),
             0x123456789AULL);
}

TEST_F(AgentServiceTest, optionsAreReadByName) {
   EXPECT_CALL(mgr_, agent_option("colour")).WillOnce(Return("red"));
   EXPECT_EQ(ok(&Stub::agent_option, named<remote::AgentOptionRequest>("colour")).value(), "red");
   EXPECT_CALL(mgr_, agent_option_exists("colour")).WillOnce(Return(true));
   EXPECT_TRUE(ok(&Stub::agent_option_exists, named<remote::AgentOptionExistsRequest>("colour")).exists());
   EXPECT_CALL(mgr_, agent_option_iter())
        .WillOnce(Return(iterOver<orv::agent_option_iter_t>({"colour", "size"})));
   const auto names = list(&Stub::agent_options, remote::AgentOptionsRequest());
   ASSERT_EQ(names.size(), 2U);
   EXPECT_EQ(names[0].name(), "colour");
   EXPECT_EQ(names[1].name(), "size");
}

TEST_F(AgentServiceTest, statusEntriesAreReadAndWritten) {
   EXPECT_CALL(mgr_, status("epoch")).WillOnce(Return("7"));
   EXPECT_EQ(ok(&Stub::status, named<remote::AgentStatusRequest>("epoch")).value(), "7");
   EXPECT_CALL(mgr_, status_iter()).WillOnce(Return(iterOver<orv::agent_status_iter_t>({"epoch"})));
   const auto names = list(&Stub::statuses, remote::AgentStatusesRequest());
   ASSERT_EQ(names.size(), 1U);
   EXPECT_EQ(names[0].name(), "epoch");
   EXPECT_CALL(mgr_, status_set("epoch", "8"));
   ok(&Stub::status_set, statusSet("epoch", "8"));
   EXPECT_CALL(mgr_, status_del("epoch"));
   ok(&Stub::status_del, named<remote::AgentStatusDelRequest>("epoch"));
}

TEST_F(AgentServiceTest, whatTheSwitchRaisesForAKeyBecomesTheStatus) {
   EXPECT_CALL(mgr_, status_set("", "v")).WillOnce(Throw(Words("no name")));
   fails(&Stub::status_set, statusSet("", "v"), grpc::StatusCode::INVALID_ARGUMENT, "no name");
   EXPECT_CALL(mgr_, agent_option("")).WillOnce(Throw(orv::configuration_error("no options")));
   fails(&Stub::agent_option, remote::AgentOptionRequest(), grpc::StatusCode::FAILED_PRECONDITION,
         "no options");
   EXPECT_CALL(mgr_, agent_option_iter()).WillOnce(Throw(orv::error("broken")));
   listFails(&Stub::agent_options, remote::AgentOptionsRequest(), grpc::StatusCode::INTERNAL, "broken");
}

TEST_F(AgentServiceTest, bulksOfStatusesStopAtTheFirstFailure) {
   const InSequence order;
   EXPECT_CALL(mgr_, status_set("a", "1"));
   EXPECT_CALL(mgr_, status_set("b", "2")).WillOnce(Throw(orv::invalid_range_error("too long")));
   remote::AgentBulkStatusSetRequest sets;
   *sets.add_requests() = statusSet("a", "1");
   *sets.add_requests() = statusSet("b", "2");
   *sets.add_requests() = statusSet("c", "3");
   const auto set = ok(&Stub::bulk_status_set, sets);
   EXPECT_EQ(set.count(), 1U);
   EXPECT_EQ(set.status().code(), remote::RPC_RESPONSE_STATUS_CODE_INVALID_RANGE);
   EXPECT_EQ(set.status().message(), "too long");

   EXPECT_CALL(mgr_, status_del("a"));
   EXPECT_CALL(mgr_, status_del("b"));
   remote::AgentBulkStatusDelRequest dels;
   *dels.add_requests() = named<remote::AgentStatusDelRequest>("a");
   *dels.add_requests() = named<remote::AgentStatusDelRequest>("b");
   const auto del = ok(&Stub::bulk_status_del, dels);
   EXPECT_EQ(del.count(), 2U);
   EXPECT_TRUE(del.has_status());
   EXPECT_EQ(del.status().code(), remote::RPC_RESPONSE_STATUS_CODE_SUCCESS);
}

TEST_F(AgentServiceTest, aWatchShowsNothingUntilAnOptionChanges) {
   // The mock is strict: no option is read.
   WatchClient client = watch(false);
   ASSERT_TRUE(orvtest::eventually([&] { return watchers() == 1; }));
   changeOption("colour", "red");
   changeOption("colour", "");
   const auto set = client.next();
   ASSERT_TRUE(set);
   EXPECT_EQ(set->agent_event_case(), remote::WatchAgentResponse::kAgentOption);
   EXPECT_FALSE(set->ack());
   EXPECT_EQ(set->agent_option().name(), "colour");
   EXPECT_EQ(set->agent_option().value(), "red");
   const auto deleted = client.next();
   ASSERT_TRUE(deleted);
   EXPECT_EQ(deleted->agent_option().name(), "colour");
   EXPECT_EQ(deleted->agent_option().value(), "");
}

TEST_F(AgentServiceTest, anAcknowledgementComesBeforeEveryEvent) {
   WatchClient client = watch(true);
   const auto ack = client.next();
   ASSERT_TRUE(ack);
   EXPECT_TRUE(ack->ack());
   EXPECT_EQ(ack->agent_event_case(), remote::WatchAgentResponse::AGENT_EVENT_NOT_SET);
   changeOption("colour", "red");
   const auto event = client.next();
   ASSERT_TRUE(event);
   EXPECT_EQ(event->agent_option().value(), "red");
}

TEST_F(AgentServiceTest, aWatcherThatLeavesIsForgotten) {
   {
      WatchClient client = watch(true);
      ASSERT_TRUE(client.next());
   }
   EXPECT_TRUE(orvtest::eventually([&] { return watchers() == 0; }));
   changeOption("colour", "red");
}

TEST_F(AgentServiceTest, theServiceTakesNoPartInTheAgentsLife) {
   service_->on_initialized();
   service_->on_agent_enabled(false);
   EXPECT_EQ(service_->on_agent_rpc("anything"), "");
   EXPECT_CALL(mgr_, enabled()).WillOnce(Return(true));
   EXPECT_TRUE(ok(&Stub::enabled, remote::AgentEnabledRequest()).enabled());
}

TEST_F(AgentServiceTest, eachRpcHasOneHandlerThatWaits) {
   expectOneHandlerPerRpc();
}

TEST_F(AgentServiceTest, aPingIsAnsweredByTheMainLoopWithBothStamps) {
   const std::int64_t before = Zelt::Clock::wallNanos();
   Ping pending = ping("are you there");
   const std::int64_t asked = Zelt::Clock::wallNanos();
   EXPECT_FALSE(answered(pending));
   mainLoop();
   const auto response = pending.get();
   const std::int64_t after = Zelt::Clock::wallNanos();
   EXPECT_EQ(response.payload(), "are you there");
   EXPECT_GE(response.received(), before);
   EXPECT_LE(response.received(), asked);
   EXPECT_GE(response.responded(), asked);
   EXPECT_LE(response.responded(), after);
   EXPECT_EQ(pingsWaiting(), 0U);
}

TEST_F(AgentServiceTest, aPingTakesNoLockOfTheSdk) {
   std::promise<void> release;
   std::promise<void> held;
   std::thread holder([&] {
      orv::sdk_scoped_lock lock;
      held.set_value();
      release.get_future().wait();
   });
   held.get_future().wait();
   Ping pending = ping("p");
   mainLoop();
   EXPECT_EQ(pending.get().payload(), "p");
   release.set_value();
   holder.join();
}

TEST_F(AgentServiceTest, severalPingsAreAnsweredInOneRunOfTheLoop) {
   std::vector<Ping> pings;
   for (int i = 0; i < 10; ++i)
      pings.push_back(ping(std::to_string(i)));
   mainLoop();
   for (int i = 0; i < 10; ++i)
      EXPECT_EQ(pings[static_cast<std::size_t>(i)].get().payload(), std::to_string(i));
}

TEST_F(AgentServiceTest, aBusyLoopAnswersOnePingATurn) {
   std::vector<Ping> pings;
   for (int i = 0; i < 3; ++i)
      pings.push_back(ping(std::to_string(i)));
   for (std::size_t left = 3; left > 0; --left) {
      EXPECT_EQ(pingsWaiting(), left);
      busyMainLoop();
      const Zelt::ActivityLockAnchor lock;
      EXPECT_EQ(service_->pingBacklog().pending().resumeKey().has_value(), left > 1);
   }
   EXPECT_EQ(pingsWaiting(), 0U);
   for (Ping& pending : pings)
      EXPECT_TRUE(pending.get().responded());
}

// Tags are assigned as calls arrive. To distinguish the two orders the test puts the calls under other tags.
TEST_F(AgentServiceTest, pingsAreAnsweredInTheOrderOfTheirTagsAndNotOfTheirArrival) {
   // A second handler for each RPC, so that two calls can arrive whose tags are known in advance.
   service_->startHandlers();
   const std::vector<OpaqueId> tags = pingTags();
   ASSERT_EQ(tags.size(), 2U);
   auto& backlog = service_->pingBacklog();
   {
      // The entry of the second tag is created first; the arriving calls find both entries.
      const Zelt::ActivityLockAnchor lock;
      backlog.get(tags[1]) = nullptr;
      backlog.get(tags[0]) = nullptr;
   }
   const auto arrived = [&](std::size_t tag) {
      const Zelt::ActivityLockAnchor lock;
      return backlog.get(tags[tag]) != nullptr;
   };
   Ping first = pingOf("first");
   ASSERT_TRUE(orvtest::eventually([&] { return arrived(0) || arrived(1); }));
   const bool firstIsAhead = arrived(0);
   Ping second = pingOf("second");
   ASSERT_TRUE(orvtest::eventually([&] { return arrived(0) && arrived(1); }));
   EXPECT_EQ(pingsWaiting(), 2U);
   if (firstIsAhead) {
      const Zelt::ActivityLockAnchor lock;
      PingHandler* const handler = backlog.get(tags[0]);
      backlog.get(tags[0]) = backlog.get(tags[1]);
      backlog.get(tags[1]) = handler;
   }
   busyMainLoop();
   EXPECT_EQ(second.get().payload(), "second");
   EXPECT_FALSE(answered(first));
   EXPECT_EQ(pingsWaiting(), 1U);
   busyMainLoop();
   EXPECT_EQ(first.get().payload(), "first");
}

TEST_F(AgentServiceTest, aCancelledPingIsAnsweredToNobody) {
   grpc::ClientContext context;
   remote::AgentPingRequest request;
   remote::AgentPingResponse response;
   auto call = std::async(std::launch::async, [&] { return stub_->ping(&context, request, &response); });
   ASSERT_TRUE(orvtest::eventually([&] { return pingsWaiting() == 1; }));
   context.TryCancel();
   EXPECT_EQ(call.get().error_code(), grpc::StatusCode::CANCELLED);
   EXPECT_EQ(pingsWaiting(), 1U);
   mainLoop();
   EXPECT_EQ(pingsWaiting(), 0U);
   // Only the handler that waits for the next call is left.
   EXPECT_TRUE(orvtest::eventually([] { return orvtest::liveHandlers("PingHandler") == 1; }));
}

TEST_F(AgentServiceTest, aServerThatStopsDoesNotWaitForThePingsOfABusyLoop) {
   remote::AgentPingRequest request;
   auto call = std::async(std::launch::async, [&] {
      grpc::ClientContext context;
      remote::AgentPingResponse response;
      return stub_->ping(&context, request, &response);
   });
   ASSERT_TRUE(orvtest::eventually([&] { return pingsWaiting() == 1; }));
   running_.stop();
   EXPECT_FALSE(call.get().ok());
   // The main loop runs too late, and answers nothing.
   mainLoop();
   EXPECT_EQ(pingsWaiting(), 0U);
}

}  // namespace
}  // namespace OrvSdkRpc
