#include "OrvSdkRpc/programming/BfdProgrammer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <map>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "OrvSdkRpc/programming/Reply.h"
#include "orv/error.h"
#include "orv/lock.h"
#include "platform/gorm/TaskScheduler.h"
#include "platform/zelt/Anchors.h"
#include "testing/sdk/Iterators.h"
#include "testing/server/Contract.h"
#include "testing/server/Programmed.h"
#include "testing/server/TraceCapture.h"

namespace OrvSdkRpc {
namespace {

using testing::_;
using testing::InSequence;
using testing::Return;
using testing::Throw;
using Request = pb::sbfd_echo_session_msg;
using Message = pb::watch_sbfd_echo_session_status_msg;
using Status = orv::bfd_session_status_t;

Request session(int last, const std::string& intf = "Ethernet1") {
   Request request;
   request.mutable_key()->mutable_nexthop()->set_address(orvtest::ipv4({192, 0, 2, last}));
   request.mutable_key()->set_nexthop_intf(intf);
   return request;
}

orv::sbfd_echo_session_key_t keyOf(int last, const std::string& intf = "Ethernet1") {
   return {orv::ip_addr_t("192.0.2." + std::to_string(last)), orv::intf_id_t(intf), {}, 0, 0};
}

// Runs the tasks of the main loop that are ready.
void runTasks() {
   Gorm::TaskScheduler& scheduler = *Gorm::TaskSchedulerRoot::findOrCreateScheduler();
   const Zelt::ActivityLockAnchor lock(scheduler.lock());
   while (scheduler.hasReady())
      scheduler.runReady();
}

class BfdProgrammerTest : public testing::Test {
protected:
   BfdProgrammerTest() {
      ON_CALL(mgr_, sbfd_default_interval()).WillByDefault(Return(orv::sbfd_interval_t(300, 3)));
      ON_CALL(mgr_, sbfd_echo_session_status(_)).WillByDefault([this](const auto& key) {
         const auto i = statuses_.find(key);
         return i == statuses_.end() ? Status::up : i->second;
      });
   }

   pb::rpc_status_msg process(const Request& request) {
      pb::rpc_status_msg response;
      contract_.bfd.processSbfdEchoSessionRequest(request, response);
      return response;
   }
   int status(const Request& request) { return process(request).status(); }
   static Request tracked(int last) {
      Request request = session(last);
      request.set_track_intf_state(true);
      return request;
   }
   // "192.0.2.1 1" for an item of that session with that status, "end" for the end of a bulk.
   static std::vector<std::string> itemsOf(const Message& message) {
      std::vector<std::string> items;
      for (const Message& item : message.bulk()) {
         EXPECT_EQ(item.bulk_size(), 0);
         if (item.bulk_end()) {
            items.emplace_back("end");
            continue;
         }
         const auto& address = item.key().nexthop().address();
         items.push_back(fmt::format("192.0.2.{} {}", static_cast<int>(address.back()),
                                     item.has_rtt() ? static_cast<int>(item.rtt().last_rtt())
                                                    : static_cast<int>(item.oper_status().status())));
      }
      std::sort(items.begin(), items.end());
      return items;
   }

   std::map<orv::sbfd_echo_session_key_t, Status> statuses_;
   orvtest::Contract contract_;
   testing::NiceMock<orvtest::MockBfdSessionMgr>& mgr_ = contract_.host.bfdSessionMgr;
   std::vector<Message>& alive_ = contract_.updates.alive;
   std::vector<Message>& rtt_ = contract_.updates.rtt;
};

class InitializedBfdProgrammerTest : public BfdProgrammerTest {
protected:
   InitializedBfdProgrammerTest() { contract_.init(); }
};

TEST_F(BfdProgrammerTest, aRequestIsRefusedAsUninitializedFirst) {
   EXPECT_CALL(mgr_, sbfd_echo_session_set(_)).Times(0);
   pb::sbfd_echo_session_bulk_msg request;
   request.add_bulk()->set_min_tx(300);
   request.add_bulk()->mutable_key()->set_dscp(256);
   pb::rpc_status_bulk_msg response;
   contract_.bfd.processSbfdEchoSessionBulkRequest(request, response);
   ASSERT_EQ(response.statuses_size(), 2);
   EXPECT_EQ(response.statuses(0).status(), pb::RPC_STATUS_NOT_INITIALIZED);
   EXPECT_EQ(response.statuses(0).debug_string(),
             "Error: no prior rpc_server_init call, request min_tx: 300");
   EXPECT_EQ(response.statuses(1).status(), pb::RPC_STATUS_NOT_INITIALIZED);
}

TEST_F(InitializedBfdProgrammerTest, aSessionIsMadeWithItsIntervalAndRttSetting) {
   Request request = session(1);
   request.set_min_tx(50);
   request.set_detectionmultiplier(4);
   request.set_rtt_enabled(true);
   orvtest::TraceCapture traces("OrvSdkRpc/1");
   InSequence order;
   EXPECT_CALL(mgr_, sbfd_echo_session_set(keyOf(1)));
   EXPECT_CALL(mgr_, sbfd_echo_session_interval_set(keyOf(1), orv::sbfd_interval_t(50, 4)));
   EXPECT_CALL(mgr_, sbfd_echo_session_rtt_enabled_set(keyOf(1), true));
   const auto response = process(request);
   EXPECT_EQ(response.status(), pb::RPC_STATUS_OK);
   EXPECT_EQ(response.debug_string(), "");
   EXPECT_EQ(traces.texts(), std::vector<std::string>{"Process sBFD request: " + pb::toString(request)});
}

TEST_F(InitializedBfdProgrammerTest, withoutAnIntervalTheDefaultIsSetAlsoOnAnUpdate) {
   EXPECT_CALL(mgr_, sbfd_echo_session_interval_set(keyOf(1), orv::sbfd_interval_t(300, 3))).Times(2);
   EXPECT_CALL(mgr_, sbfd_echo_session_rtt_enabled_set(keyOf(1), false)).Times(2);
   EXPECT_EQ(status(session(1)), pb::RPC_STATUS_OK);
   EXPECT_EQ(status(session(1)), pb::RPC_STATUS_OK);
}

TEST_F(InitializedBfdProgrammerTest, intervalAndMultiplierAreTakenWithinTheirBits) {
   Request request = session(1);
   request.set_min_tx(0x10000 + 50);
   request.set_detectionmultiplier(0x100 + 4);
   EXPECT_CALL(mgr_, sbfd_echo_session_interval_set(keyOf(1), orv::sbfd_interval_t(50, 4)));
   EXPECT_EQ(status(request), pb::RPC_STATUS_OK);
}

TEST_F(InitializedBfdProgrammerTest, intervalAndMultiplierComeTogetherOrNotAtAll) {
   EXPECT_CALL(mgr_, sbfd_echo_session_set(_)).Times(0);
   orvtest::TraceCapture traces("OrvSdkRpc/0");
   for (const bool tx : {true, false}) {
      Request request = session(1);
      if (tx) request.set_min_tx(50);
      if (!tx) request.set_detectionmultiplier(3);
      const auto response = process(request);
      EXPECT_EQ(response.status(), pb::RPC_STATUS_ERROR);
      EXPECT_EQ(response.debug_string(),
                "Error: Must specify either both min_tx and detectionMultiplier or none of them. Request " +
                     pb::toString(request));
      EXPECT_EQ(traces.count(response.debug_string()), 1U);
   }
}

TEST_F(InitializedBfdProgrammerTest, dscpAndExpHaveTheirLimits) {
   Request request = session(1);
   request.mutable_key()->set_dscp(255);
   request.mutable_key()->set_mpls_exp(7);
   EXPECT_EQ(status(request), pb::RPC_STATUS_OK);
   EXPECT_CALL(mgr_, sbfd_echo_session_set(_)).Times(0);
   request.mutable_key()->set_mpls_exp(8);
   EXPECT_EQ(process(request).debug_string(),
             "Error: invalid MPLS exp value 8 request " + pb::toString(request));
   request.mutable_key()->set_dscp(256);
   EXPECT_EQ(process(request).debug_string(),
             "Error: invalid DSCP value 256 request " + pb::toString(request));
}

TEST_F(InitializedBfdProgrammerTest, anErrorBecomesWordsAndTheBulkGoesOn) {
   pb::sbfd_echo_session_bulk_msg request;
   *request.add_bulk() = session(1);
   request.mutable_bulk(0)->mutable_key()->mutable_nexthop()->set_address("abc");
   *request.add_bulk() = session(2);
   *request.add_bulk() = session(3);
   EXPECT_CALL(mgr_, sbfd_echo_session_set(_)).WillOnce(Throw(orv::error("full"))).WillOnce(Return());
   pb::rpc_status_bulk_msg response;
   contract_.bfd.processSbfdEchoSessionBulkRequest(request, response);
   ASSERT_EQ(response.statuses_size(), 3);
   EXPECT_TRUE(response.statuses(0).debug_string().starts_with("Error: request key { nexthop {"));
   EXPECT_TRUE(response.statuses(0).debug_string().ends_with(
        " exception bytes length 3 does not match IPv4(4) or IPv6(16)"));
   EXPECT_TRUE(response.statuses(1).debug_string().ends_with(" exception full"));
   EXPECT_EQ(response.statuses(2).status(), pb::RPC_STATUS_OK);
}

TEST_F(InitializedBfdProgrammerTest, aNewSessionWhoseIntervalIsRefusedIsNotLeftBehind) {
   EXPECT_EQ(status(session(1)), pb::RPC_STATUS_OK);
   ON_CALL(mgr_, sbfd_echo_session_interval_set(_, _))
        .WillByDefault(Throw(orv::invalid_argument_error("no")));
   EXPECT_CALL(mgr_, sbfd_echo_session_del(keyOf(2)));
   EXPECT_CALL(mgr_, sbfd_echo_session_del(keyOf(1))).Times(0);
   EXPECT_EQ(status(session(2)), pb::RPC_STATUS_ERROR);
   EXPECT_EQ(status(session(1)), pb::RPC_STATUS_ERROR);
}

// Made by another user of the SDK since this process began.
TEST_F(InitializedBfdProgrammerTest, aRefusedRequestLeavesASessionThatItDidNotMake) {
   ON_CALL(mgr_, sbfd_echo_session_interval_set(_, _))
        .WillByDefault(Throw(orv::invalid_argument_error("no")));
   EXPECT_CALL(mgr_, sbfd_echo_session_exists(keyOf(1))).WillOnce(Return(true));
   EXPECT_CALL(mgr_, sbfd_echo_session_del(_)).Times(0);
   EXPECT_TRUE(process(session(1)).debug_string().ends_with(" exception no"));
}

TEST_F(InitializedBfdProgrammerTest, aSessionThatCannotBeTakenBackIsTracedAndTheRefusalKeepsItsWords) {
   ON_CALL(mgr_, sbfd_echo_session_interval_set(_, _))
        .WillByDefault(Throw(orv::invalid_argument_error("no")));
   EXPECT_CALL(mgr_, sbfd_echo_session_del(keyOf(1))).WillOnce(Throw(orv::error("full")));
   orvtest::TraceCapture traces("OrvSdkRpc/0");
   EXPECT_TRUE(process(session(1)).debug_string().ends_with(" exception no"));
   EXPECT_EQ(
        traces.count(fmt::format("Error: sBFD session {} cannot be taken back, exception full", keyOf(1))),
        1U);
}

TEST_F(InitializedBfdProgrammerTest, aDeleteOfAnUnknownSessionIsDone) {
   Request request = session(1);
   request.set_delete_(true);
   EXPECT_CALL(mgr_, sbfd_echo_session_del(keyOf(1)));
   const auto response = process(request);
   EXPECT_EQ(response.status(), pb::RPC_STATUS_OK);
   EXPECT_EQ(response.debug_string(), "");
}

TEST_F(InitializedBfdProgrammerTest, aResyncKeepsWhatWasReplayedAndTellsItInOneBulk) {
   status(session(1));
   status(session(2));
   status(session(3));
   statuses_[keyOf(3)] = Status::down;
   contract_.resync(0);
   status(session(1));
   status(session(3));
   EXPECT_CALL(mgr_, sbfd_echo_session_del(keyOf(2)));
   orvtest::TraceCapture traces("OrvSdkRpc/1");
   EXPECT_EQ(contract_.resync(1).status(), pb::RPC_STATUS_OK);
   ASSERT_EQ(alive_.size(), 1U);
   EXPECT_EQ(itemsOf(alive_[0]), (std::vector<std::string>{"192.0.2.1 3", "192.0.2.3 1", "end"}));
   EXPECT_TRUE(alive_[0].bulk(2).bulk_end());
   EXPECT_EQ(traces.count(fmt::format("Purging {} has stale epoch 0 != 1", keyOf(2))), 1U);
   EXPECT_EQ(traces.count(fmt::format("key={} status={}", keyOf(1), Status::up)), 1U);
}

// A stream's client assumes that a session that is not reported was removed.
TEST_F(InitializedBfdProgrammerTest, whatAResyncPurgedIsFinalBeforeTheRestIsTold) {
   struct Backend final : orv::host::lock_backend {
      explicit Backend(std::function<void()> call) : onSettle(std::move(call)) {
         orv::host::lock_backend_is(this);
      }
      ~Backend() override { orv::host::lock_backend_is(nullptr); }
      void acquire() override {}
      void release() noexcept override {}
      void settle() noexcept override { onSettle(); }
      std::function<void()> onSettle;
   };
   status(session(1));
   status(session(2));
   contract_.resync(0);
   status(session(1));
   std::vector<std::string> log;
   EXPECT_CALL(mgr_, sbfd_echo_session_del(keyOf(2))).WillOnce([&](const auto&) {
      log.emplace_back("purge");
   });
   const Backend backend([&] { log.push_back(alive_.empty() ? "settle" : "settle too late"); });
   contract_.resync(1);
   EXPECT_EQ(alive_.size(), 1U);
   EXPECT_EQ(log, (std::vector<std::string>{"purge", "settle"}));
}

TEST_F(InitializedBfdProgrammerTest, aResyncThatLeavesNoSessionSendsNothing) {
   status(session(1));
   contract_.resync(0);
   contract_.resync(1);
   EXPECT_TRUE(alive_.empty());
   contract_.resync(0);
   contract_.resync(0);
   EXPECT_EQ(contract_.bfd.epoch(), 3U);
}

TEST_F(InitializedBfdProgrammerTest, withTheEnvironmentVariableAResyncPurgesInSilence) {
   status(session(1));
   contract_.resync(0);
   status(session(2));
   ASSERT_EQ(::setenv("KELPAGENT_NOBFD", "", 1), 0);
   EXPECT_CALL(mgr_, sbfd_echo_session_del(keyOf(1)));
   contract_.resync(1);
   ::unsetenv("KELPAGENT_NOBFD");
   EXPECT_TRUE(alive_.empty());
}

TEST(BfdProgrammer, theSessionsThatTheSwitchRunsFallOutUnlessReplayed) {
   testing::NiceMock<orvtest::MockBfdSessionMgr> mgr;
   testing::NiceMock<orvtest::MockIntfMgr> intfs;
   ON_CALL(mgr, sbfd_echo_session_iter()).WillByDefault([] {
      return orvtest::iterOver<orv::sbfd_echo_session_iter_t>({keyOf(1), keyOf(2)});
   });
   orvtest::Contract contract;
   contract.init();
   orvtest::SentUpdates updates;
   BfdProgrammer bfd(contract.client, &mgr, &intfs, updates);
   bfd.resyncStart();
   pb::rpc_status_msg response;
   bfd.processSbfdEchoSessionRequest(session(2), response);
   EXPECT_CALL(mgr, sbfd_echo_session_del(keyOf(1)));
   bfd.resyncEnd();
   ASSERT_EQ(updates.alive.size(), 1U);
   EXPECT_EQ(updates.alive[0].bulk_size(), 2);
}

TEST_F(InitializedBfdProgrammerTest, severalStatusesBetweenTwoRunsAreOneBulkInOrder) {
   contract_.bfd.on_sbfd_echo_session_status(keyOf(2), Status::up);
   contract_.bfd.on_sbfd_echo_session_status(keyOf(1), Status::down);
   contract_.bfd.on_sbfd_echo_session_status(keyOf(2), static_cast<Status>(9));
   EXPECT_TRUE(alive_.empty());
   orvtest::TraceCapture traces("OrvSdkRpc/1");
   runTasks();
   ASSERT_EQ(alive_.size(), 1U);
   ASSERT_EQ(alive_[0].bulk_size(), 4);
   EXPECT_EQ(static_cast<int>(alive_[0].bulk(0).oper_status().status()), 3);
   EXPECT_EQ(static_cast<int>(alive_[0].bulk(1).oper_status().status()), 1);
   EXPECT_EQ(static_cast<int>(alive_[0].bulk(2).oper_status().status()), 0);
   EXPECT_TRUE(alive_[0].bulk(3).bulk_end());
   EXPECT_EQ(traces.texts(), std::vector<std::string>{"send BfdSendAliveBulk"});
   runTasks();
   EXPECT_EQ(alive_.size(), 1U);
}

TEST_F(InitializedBfdProgrammerTest, ofSeveralRttReportsTheLatestIsSent) {
   const auto report = [&](int last, std::uint32_t rtt) {
      orv::sbfd_echo_session_rtt_stats_t stats;
      stats.last_rtt_is(rtt);
      stats.min_rtt_is(1);
      stats.avg_rtt_is(2);
      stats.max_rtt_is(3);
      stats.snapshot_min_rtt_is(4);
      stats.snapshot_avg_rtt_is(5);
      stats.snapshot_max_rtt_is(6);
      contract_.bfd.on_sbfd_echo_session_rtt(keyOf(last), stats);
   };
   report(1, 100);
   report(2, 200);
   report(1, 101);
   runTasks();
   ASSERT_EQ(rtt_.size(), 1U);
   EXPECT_EQ(itemsOf(rtt_[0]), (std::vector<std::string>{"192.0.2.1 101", "192.0.2.2 200"}));
   const auto& rtt = rtt_[0].bulk(0).rtt();
   EXPECT_EQ(rtt.min_rtt(), 1U);
   EXPECT_EQ(rtt.avg_rtt(), 2U);
   EXPECT_EQ(rtt.max_rtt(), 3U);
   EXPECT_EQ(rtt.snapshot_min_rtt(), 4U);
   EXPECT_EQ(rtt.snapshot_avg_rtt(), 5U);
   EXPECT_EQ(rtt.snapshot_max_rtt(), 6U);
   // What waits for a session is removed with it.
   report(1, 102);
   Request request = session(1);
   request.set_delete_(true);
   process(request);
   runTasks();
   EXPECT_EQ(rtt_.size(), 1U);
}

TEST_F(InitializedBfdProgrammerTest, anInterfaceThatGoesDownTakesItsTrackedSessionsAtOnce) {
   status(tracked(1));
   status(tracked(2));
   status(session(3));
   statuses_[keyOf(2)] = Status::down;
   ON_CALL(contract_.host.intfMgr, admin_enabled(_)).WillByDefault(Return(true));
   orvtest::TraceCapture traces("OrvSdkRpc/1-2");
   contract_.bfd.on_oper_status(orv::intf_id_t("Ethernet1"), orv::oper_status_t::down);
   ASSERT_EQ(alive_.size(), 1U);
   EXPECT_EQ(itemsOf(alive_[0]), (std::vector<std::string>{"192.0.2.1 1", "end"}));
   EXPECT_EQ(traces.count(fmt::format("key={} status={} on intf state change admin=true oper={} skip",
                                      keyOf(2), Status::down, orv::oper_status_t::down)),
             1U);
   EXPECT_EQ(traces.count(fmt::format("key={} status={} on intf state change admin=true oper={}", keyOf(1),
                                      Status::down, orv::oper_status_t::down)),
             1U);
}

TEST_F(InitializedBfdProgrammerTest, anInterfaceThatComesUpTellsWhatTheSwitchSays) {
   status(tracked(1));
   status(tracked(2));
   // The session itself will tell when it comes up.
   status(tracked(3));
   statuses_[keyOf(1)] = Status::init;
   statuses_[keyOf(3)] = Status::down;
   ON_CALL(contract_.host.intfMgr, oper_status(_)).WillByDefault(Return(orv::oper_status_t::up));
   contract_.bfd.on_admin_enabled(orv::intf_id_t("Ethernet1"), true);
   ASSERT_EQ(alive_.size(), 1U);
   EXPECT_EQ(itemsOf(alive_[0]), (std::vector<std::string>{"192.0.2.1 2", "192.0.2.2 3", "end"}));
}

TEST_F(InitializedBfdProgrammerTest, disabledOrDeletedInterfacesAreDownAndUnknownOnesAreSilent) {
   status(tracked(1));
   ON_CALL(contract_.host.intfMgr, oper_status(_)).WillByDefault(Return(orv::oper_status_t::unknown));
   contract_.bfd.on_admin_enabled(orv::intf_id_t("Ethernet1"), true);
   EXPECT_TRUE(alive_.empty());
   contract_.bfd.on_admin_enabled(orv::intf_id_t("Ethernet1"), false);
   ASSERT_EQ(alive_.size(), 1U);
   EXPECT_EQ(itemsOf(alive_[0])[0], "192.0.2.1 1");
   contract_.bfd.on_intf_delete(orv::intf_id_t("Ethernet1"));
   EXPECT_EQ(alive_.size(), 2U);
   contract_.bfd.on_intf_create(orv::intf_id_t("Ethernet1"));
   EXPECT_EQ(alive_.size(), 2U);
   orvtest::TraceCapture traces("OrvSdkRpc/2");
   contract_.bfd.on_intf_delete(orv::intf_id_t("Ethernet9"));
   EXPECT_EQ(traces.texts(), std::vector<std::string>{fmt::format(
                                  "intf=Ethernet9 admin=false oper={} no sBFD session track intf state",
                                  orv::oper_status_t::down)});
}

TEST_F(InitializedBfdProgrammerTest, anInterfaceThatIsGoneWhenItsEventComesCostsTheEvent) {
   process(tracked(1));
   auto& intfMgr = contract_.host.intfMgr;
   const orv::invalid_argument_error gone("no such interface");
   EXPECT_CALL(intfMgr, admin_enabled(_)).WillOnce(Throw(gone));
   EXPECT_CALL(intfMgr, oper_status(_)).WillOnce(Throw(gone));
   EXPECT_CALL(mgr_, sbfd_echo_session_status(_)).WillOnce(Throw(gone));
   const orvtest::TraceCapture traces("*/0");
   const orv::sdk_scoped_lock lock;
   const orv::intf_id_t intf("Ethernet1");
   contract_.bfd.on_oper_status(intf, orv::oper_status_t::up);
   contract_.bfd.on_admin_enabled(intf, true);
   contract_.bfd.on_intf_delete(intf);
   EXPECT_EQ(traces.texts(), (std::vector<std::string>{"on_oper_status is not told: no such interface",
                                                       "on_admin_enabled is not told: no such interface",
                                                       "on_intf_delete is not told: no such interface"}));
   EXPECT_TRUE(alive_.empty());
}

TEST_F(InitializedBfdProgrammerTest, anInterfaceIsWatchedAsLongAsASessionTracksIt) {
   auto& handlers = contract_.host.intfMgr.handlers();
   const auto watched = [&] { return handlers.wanted(orv::intf_id_t("Ethernet1")); };
   EXPECT_FALSE(watched());
   status(tracked(1));
   status(tracked(2));
   EXPECT_TRUE(watched());
   status(session(1));
   EXPECT_TRUE(watched());
   Request request = session(2);
   request.set_delete_(true);
   process(request);
   EXPECT_FALSE(watched());
}

TEST_F(InitializedBfdProgrammerTest, everyCallHoldsTheLock) {
   orv::host::main_thread_is();
   std::vector<bool> allowed;
   const auto see = [&](const auto&...) { allowed.push_back(orv::sdk_call_allowed()); };
   ON_CALL(mgr_, sbfd_echo_session_set(_)).WillByDefault(see);
   ON_CALL(mgr_, sbfd_echo_session_interval_set(_, _)).WillByDefault(see);
   ON_CALL(mgr_, sbfd_echo_session_rtt_enabled_set(_, _)).WillByDefault(see);
   ON_CALL(mgr_, sbfd_echo_session_del(_)).WillByDefault(see);
   std::thread pump([&] {
      process(session(1));
      EXPECT_FALSE(orv::sdk_call_allowed());
      Request request = session(1);
      request.set_delete_(true);
      process(request);
      contract_.bfd.resyncStart();
      contract_.bfd.resyncEnd();
      EXPECT_FALSE(orv::sdk_call_allowed());
   });
   pump.join();
   EXPECT_EQ(allowed, std::vector<bool>(4, true));
   orv::host::main_thread_clear();
}

}  // namespace
}  // namespace OrvSdkRpc
