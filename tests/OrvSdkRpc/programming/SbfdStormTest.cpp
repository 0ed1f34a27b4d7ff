// Ten thousand echo sessions whose status and round-trip times change all at once, again and again, and
// streams of which one never reads.
#include <grpcpp/create_channel.h>
#include <grpcpp/security/credentials.h>
#include <gtest/gtest.h>
#include <malloc.h>

#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "OrvSdkRpc/programming/OrvSdkRpcService.h"
#include "orv/lock.h"
#include "platform/gorm/TaskScheduler.h"
#include "platform/zelt/Anchors.h"
#include "testing/base/Eventually.h"
#include "testing/server/AgentHost.h"
#include "testing/server/LiveHandlers.h"
#include "testing/server/Programmed.h"
#include "testing/server/ProgrammingService.h"
#include "testing/server/RunningServer.h"

namespace OrvSdkRpc {
namespace {

using orvtest::eventually;
using orvtest::liveHandlers;
using Message = pb::watch_sbfd_echo_session_status_msg;
using Status = orv::bfd_session_status_t;

constexpr std::uint32_t sessionCount = 10'000;
constexpr std::uint32_t firstLabel = 100'000;

orv::sbfd_echo_session_key_t sessionKey(std::uint32_t i) {
   const std::uint8_t address[] = {10, 0, static_cast<std::uint8_t>(i >> 8), static_cast<std::uint8_t>(i)};
   return {orv::ip_addr_t(orv::af_ipv4, address),
           orv::intf_id_t("Ethernet" + std::to_string(i % 64 + 1)),
           {orv::mpls_label_t(firstLabel + i)},
           0,
           0};
}

std::uint32_t indexOf(const Message& item) {
   return item.key().label_stack(0) - firstLabel;
}

// Round 1 takes all sessions down, round 2 up, and so on.
int statusOfRound(std::uint32_t round) {
   return round % 2 == 1 ? 1 : 3;
}

// A stream on a connection of its own, open once it is constructed. Its client receives nothing ahead of its
// reads but what the initial window holds. The stream ends by itself when the test takes far too long.
class Stream {
public:
   explicit Stream(const orvtest::RunningServer& server) {
      grpc::ChannelArguments arguments;
      arguments.SetInt(GRPC_ARG_USE_LOCAL_SUBCHANNEL_POOL, 1);
      arguments.SetInt(GRPC_ARG_HTTP2_BDP_PROBE, 0);
      stub_ = pb::orvsdk_service::NewStub(
           grpc::CreateCustomChannel(server.address(), grpc::InsecureChannelCredentials(), arguments));
      context_.set_deadline(std::chrono::system_clock::now() + std::chrono::minutes(2));
      pb::watch_sbfd_echo_session_config_msg request;
      request.set_send_initial_message(true);
      reader_ = stub_->watch_sbfd_echo_session_status_msgs(&context_, request);
      Message opening;
      EXPECT_TRUE(read(opening) && opening.initial());
   }
   ~Stream() {
      context_.TryCancel();
      reader_->Finish();
   }
   bool read(Message& message) { return reader_->Read(&message); }

private:
   std::unique_ptr<pb::orvsdk_service::Stub> stub_;
   grpc::ClientContext context_;
   std::unique_ptr<grpc::ClientReader<Message>> reader_;
};

// What a reader has received for each session, checked on arrival.
class Told {
public:
   bool complete(std::uint32_t rounds) const {
      return statuses_ == std::uint64_t{rounds} * sessionCount && latest_ == sessionCount;
   }
   void take(const Message& message, std::uint32_t rounds) {
      ASSERT_GT(message.bulk_size(), 0);
      for (const Message& item : message.bulk()) {
         if (item.bulk_end()) {
            EXPECT_EQ(&item, &*message.bulk().rbegin());
         } else if (item.has_rtt()) {
            auto& before = rtts_.at(indexOf(item));
            EXPECT_GT(item.rtt().last_rtt(), before);
            before = item.rtt().last_rtt();
            if (before == rounds) ++latest_;
         } else {
            EXPECT_EQ(item.oper_status().status(), statusOfRound(++rounds_.at(indexOf(item))));
            ++statuses_;
         }
      }
      if (message.bulk(0).has_oper_status()) {
         EXPECT_TRUE(message.bulk().rbegin()->bulk_end());
      }
   }

private:
   std::vector<std::uint32_t> rounds_ = std::vector<std::uint32_t>(sessionCount);
   std::vector<std::uint32_t> rtts_ = std::vector<std::uint32_t>(sessionCount);
   std::uint64_t statuses_ = 0;
   std::uint64_t latest_ = 0;
};

// The streams of a real server; the test acts as the SDK's thread.
class SbfdStormTest : public testing::Test {
protected:
   SbfdStormTest() {
      grpc::ClientContext initContext;
      pb::rpc_server_init_status_msg initialized;
      EXPECT_TRUE(stub_->rpc_server_init(&initContext, {}, &initialized).ok());
      pb::sbfd_echo_session_bulk_msg bulk;
      for (std::uint32_t i = 0; i < sessionCount; ++i) {
         auto& session = *bulk.add_bulk();
         session.mutable_key()->mutable_nexthop()->set_address(
              orvtest::ipv4({10, 0, static_cast<int>(i >> 8), static_cast<int>(i & 0xff)}));
         session.mutable_key()->set_nexthop_intf("Ethernet" + std::to_string(i % 64 + 1));
         session.mutable_key()->add_label_stack(firstLabel + i);
         session.set_rtt_enabled(true);
      }
      grpc::ClientContext context;
      pb::rpc_status_bulk_msg reply;
      EXPECT_TRUE(stub_->sbfd_echo_session_bulk(&context, bulk, &reply).ok());
      EXPECT_EQ(reply.statuses_size(), static_cast<int>(sessionCount));
      for (const auto& status : reply.statuses())
         EXPECT_EQ(status.status(), pb::RPC_STATUS_OK) << status.debug_string();
   }

   void runTasks() {
      Gorm::TaskScheduler& scheduler = *Gorm::TaskSchedulerRoot::findOrCreateScheduler();
      const Zelt::ActivityLockAnchor lock(scheduler.lock());
      while (scheduler.hasReady())
         scheduler.runReady();
   }
   // All sessions change their status and report the round's number as their round-trip time.
   void storm(std::uint32_t round) {
      {
         const orv::sdk_scoped_lock lock;
         for (const auto& key : keys_) {
            const auto status = static_cast<Status>(statusOfRound(round));
            host_.bfdSessionMgr.handlers().notify(
                 key, [&](auto& handler) { handler.on_sbfd_echo_session_status(key, status); });
            orv::sbfd_echo_session_rtt_stats_t rtt;
            rtt.last_rtt_is(round);
            host_.bfdSessionMgr.handlers().notify(
                 key, [&](auto& handler) { handler.on_sbfd_echo_session_rtt(key, rtt); });
         }
      }
      runTasks();
   }
   // Larger than what a connection holds, so that its write completes only when the client reads.
   static Message tooLarge() {
      Message update;
      update.add_bulk()->mutable_key()->set_nexthop_intf(std::string(std::size_t{3} << 20, 'x'));
      return update;
   }

   const std::vector<orv::sbfd_echo_session_key_t> keys_ = [] {
      std::vector<orv::sbfd_echo_session_key_t> keys;
      for (std::uint32_t i = 0; i < sessionCount; ++i)
         keys.push_back(sessionKey(i));
      return keys;
   }();
   orvtest::AgentHost host_;
   OrvSdkRpcService* service_ = orvtest::programmingService(host_).release();
   orvtest::RunningServer running_{std::unique_ptr<OrvSdkRpcService>(service_)};
   std::unique_ptr<pb::orvsdk_service::Stub> stub_ = running_.stub<pb::orvsdk_service>();
};

TEST_F(SbfdStormTest, readersMissNothingBesideOneThatNeverReads) {
   constexpr std::uint32_t rounds = 10;
   Stream deaf(running_);
   Stream first(running_);
   Stream second(running_);
   service_->sendSbfdAliveUpdate(tooLarge());
   const auto follow = [](Stream& stream, Told& told) {
      Message message;
      ASSERT_TRUE(stream.read(message));
      while (!told.complete(rounds)) {
         ASSERT_TRUE(stream.read(message));
         told.take(message, rounds);
      }
   };
   Told toldFirst;
   Told toldSecond;
   std::thread firstReader([&] { follow(first, toldFirst); });
   std::thread secondReader([&] { follow(second, toldSecond); });
   for (std::uint32_t round = 1; round <= rounds; ++round)
      storm(round);
   firstReader.join();
   secondReader.join();
   EXPECT_TRUE(toldFirst.complete(rounds));
   EXPECT_TRUE(toldSecond.complete(rounds));

   // Everything waits for the stream that was not read. Behind the update in flight come the alive updates of
   // every round, then the round-trip times, though both were reported in turn.
   Told toldLate;
   Message message;
   ASSERT_TRUE(deaf.read(message));
   bool rttBegan = false;
   while (!toldLate.complete(rounds)) {
      ASSERT_TRUE(deaf.read(message));
      toldLate.take(message, rounds);
      const bool rtt = message.bulk(0).has_rtt();
      EXPECT_TRUE(rtt || !rttBegan);
      rttBegan = rttBegan || rtt;
   }
   EXPECT_TRUE(rttBegan);
}

bool mallocKeepsAccount() {
   const auto before = mallinfo2().uordblks;
   const std::vector<char> block(1 << 16);
   return mallinfo2().uordblks >= before + block.size();
}

TEST_F(SbfdStormTest, whatAReaderThatNeverReadsCosts) {
   if (!mallocKeepsAccount()) GTEST_SKIP() << "malloc keeps no account here";
   constexpr std::uint32_t rounds = 10;
   const auto used = [] { return mallinfo2().uordblks + mallinfo2().hblkhd; };
   storm(1);
   const auto unwatched = used();
   std::size_t held = 0;
   {
      Stream deaf(running_);
      service_->sendSbfdAliveUpdate(tooLarge());
      // This round allocates what stays with the programmer.
      storm(2);
      const auto before = used();
      for (std::uint32_t round = 3; round < 3 + rounds; ++round)
         storm(round);
      held = used() - before;
   }
   const double perUpdate = static_cast<double>(held) / (2.0 * rounds * sessionCount);
   RecordProperty("bytes_per_update", std::to_string(perUpdate));
   std::printf("an update that waits takes %.0f bytes\n", perUpdate);
   // An alive or an RTT update of one session, with its key, takes about 600 bytes. That includes what the
   // transport allocates meanwhile.
   EXPECT_GT(perUpdate, 100);
   EXPECT_LT(perUpdate, 800);
   // The stream's memory is freed with it.
   ASSERT_TRUE(eventually([] { return liveHandlers("SbfdEchoUpdatesHandler") == 1; }));
   EXPECT_LT(used(), unwatched + held / 10);
}

}  // namespace
}  // namespace OrvSdkRpc
