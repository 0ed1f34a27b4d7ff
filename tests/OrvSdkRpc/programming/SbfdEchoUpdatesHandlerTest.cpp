#include "OrvSdkRpc/programming/SbfdEchoUpdatesHandler.h"

#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "OrvSdkRpc/server/TagManager.h"
#include "testing/base/Eventually.h"
#include "testing/server/AgentHost.h"
#include "testing/server/LiveHandlers.h"
#include "testing/server/ProgrammingService.h"
#include "testing/server/RunningServer.h"

namespace OrvSdkRpc {
namespace {

using orvtest::eventually;
using orvtest::liveHandlers;
using Message = pb::watch_sbfd_echo_session_status_msg;

constexpr const char* handlerType = "SbfdEchoUpdatesHandler";

// The streams of a real server; the test acts as the SDK's thread.
class SbfdEchoUpdatesTest : public testing::Test {
protected:
   struct Stream {
      Stream(pb::orvsdk_service::Stub& stub, bool initial) {
         pb::watch_sbfd_echo_session_config_msg request;
         request.set_send_initial_message(initial);
         reader = stub.watch_sbfd_echo_session_status_msgs(&context, request);
      }
      ~Stream() {
         context.TryCancel();
         reader->Finish();
      }
      // The number that alive() or rtt() was given; 0 for an opening message.
      std::string read() {
         Message message;
         if (!reader->Read(&message)) return "end";
         if (message.initial()) return message.bulk_size() == 0 && !message.has_key() ? "initial" : "odd";
         const std::uint32_t dscp = message.bulk(0).key().dscp();
         return (message.bulk(0).has_rtt() ? "rtt " : "alive ") + std::to_string(dscp);
      }
      grpc::ClientContext context;
      std::unique_ptr<grpc::ClientReader<Message>> reader;
   };

   // Opens a stream and waits until it receives updates.
   std::unique_ptr<Stream> open(bool initial = false) {
      const std::uint64_t before = liveHandlers(handlerType);
      auto stream = std::make_unique<Stream>(*stub_, initial);
      EXPECT_TRUE(eventually([&] { return liveHandlers(handlerType) > before; }));
      // Once the pump answers another call, it has opened the stream.
      grpc::ClientContext context;
      pb::rpc_server_state_status_msg state;
      EXPECT_TRUE(stub_->get_rpc_server_state(&context, state, &state).ok());
      return stream;
   }
   static Message message(int number, bool rtt, std::size_t padding = 0) {
      Message update;
      auto& item = *update.add_bulk();
      item.mutable_key()->set_dscp(static_cast<std::uint32_t>(number));
      item.mutable_key()->set_nexthop_intf(std::string(padding, 'x'));
      if (rtt) {
         item.mutable_rtt()->set_last_rtt(1);
      } else {
         item.mutable_oper_status();
      }
      return update;
   }
   void alive(int number, std::size_t padding = 0) {
      service_->sendSbfdAliveUpdate(message(number, false, padding));
   }
   void rtt(int number) { service_->sendSbfdRttUpdate(message(number, true)); }
   void expectAllFreed() {
      EXPECT_TRUE(eventually([] { return liveHandlers(handlerType) == 1; }));
   }

   // Runs `meanwhile` while the pump is blocked in a call: no write completes.
   template <class Meanwhile>
   void whileThePumpIsBusy(Meanwhile&& meanwhile) {
      std::thread call([this] {
         grpc::ClientContext context;
         pb::rpc_server_state_status_msg request;
         request.add_key_value_pairs()->set_key("slow");
         pb::rpc_server_state_status_msg response;
         EXPECT_TRUE(stub_->get_rpc_server_state(&context, request, &response).ok());
      });
      inside_.wait();
      meanwhile();
      leave_.count_down();
      call.join();
   }

   std::latch inside_{1};
   std::latch leave_{1};
   orvtest::AgentHost host_;
   // Runs before the server starts, whose pump reads the mock's behaviour without a lock.
   const bool prepared_ = [this] {
      ON_CALL(host_.agentMgr, status(testing::_)).WillByDefault([this](const std::string&) {
         inside_.count_down();
         leave_.wait();
         return std::string();
      });
      return true;
   }();
   OrvSdkRpcService* service_ = orvtest::programmingService(host_).release();
   orvtest::RunningServer running_{std::unique_ptr<OrvSdkRpcService>(service_)};
   std::unique_ptr<pb::orvsdk_service::Stub> stub_ = running_.stub<pb::orvsdk_service>();
};

TEST_F(SbfdEchoUpdatesTest, aStreamOpensInSilenceUnlessAskedToSayOneThing) {
   const auto silent = open(false);
   const auto greeted = open(true);
   EXPECT_EQ(greeted->read(), "initial");
   alive(1);
   EXPECT_EQ(greeted->read(), "alive 1");
   EXPECT_EQ(silent->read(), "alive 1");
}

TEST_F(SbfdEchoUpdatesTest, everyStreamGetsEveryUpdateInOrder) {
   std::vector<std::unique_ptr<Stream>> streams;
   for (int i = 0; i < 3; ++i)
      streams.push_back(open());
   for (int i = 0; i < 20; ++i)
      alive(i);
   for (const auto& stream : streams) {
      for (int i = 0; i < 20; ++i)
         EXPECT_EQ(stream->read(), "alive " + std::to_string(i));
   }
}

TEST_F(SbfdEchoUpdatesTest, anAliveUpdateOvertakesTheRttUpdatesThatWait) {
   const auto stream = open();
   whileThePumpIsBusy([&] {
      // This write stays in flight, since the pump does not see it complete.
      alive(1);
      for (int i = 10; i < 20; ++i)
         rtt(i);
      alive(2);
   });
   EXPECT_EQ(stream->read(), "alive 1");
   EXPECT_EQ(stream->read(), "alive 2");
   for (int i = 10; i < 20; ++i)
      EXPECT_EQ(stream->read(), "rtt " + std::to_string(i));
}

TEST_F(SbfdEchoUpdatesTest, aSilentStreamWhoseClientLeavesIsFreedAtOnceAndTheOthersMissNothing) {
   auto leaving = open();
   const auto staying = open();
   EXPECT_EQ(liveHandlers(handlerType), 3U);
   leaving.reset();
   EXPECT_TRUE(eventually([] { return liveHandlers(handlerType) == 2; }));
   alive(1);
   EXPECT_EQ(staying->read(), "alive 1");
}

TEST_F(SbfdEchoUpdatesTest, aReaderThatNeverReadsDoesNotDisturbTheOthers) {
   const auto deaf = open();
   const auto reader = open();
   alive(0, 3U << 20);
   EXPECT_EQ(reader->read(), "alive 0");
   for (int i = 1; i < 1000; ++i) {
      rtt(i);
      EXPECT_EQ(reader->read(), "rtt " + std::to_string(i));
   }
   // What this client did not read is still there.
   EXPECT_EQ(deaf->read(), "alive 0");
   EXPECT_EQ(deaf->read(), "rtt 1");
}

TEST_F(SbfdEchoUpdatesTest, clientsComeAndGoWhileUpdatesFlow) {
   std::atomic<bool> over{false};
   std::thread sdk([&] {
      for (int i = 0; !over; ++i) {
         alive(i & 0xff);
         rtt(i & 0xff);
      }
   });
   for (int round = 0; round < 50; ++round) {
      Stream stream(*stub_, round % 2 == 0);
      for (int i = 0; i < round % 4; ++i)
         EXPECT_NE(stream.read(), "end");
   }
   over = true;
   sdk.join();
   expectAllFreed();
}

TEST_F(SbfdEchoUpdatesTest, stopWhileUpdatesFlow) {
   std::vector<std::unique_ptr<Stream>> streams;
   for (int i = 0; i < 10; ++i)
      streams.push_back(open());
   std::atomic<bool> over{false};
   std::thread sdk([&] {
      while (!over)
         alive(1);
   });
   EXPECT_EQ(streams[0]->read(), "alive 1");
   running_.stop();
   over = true;
   sdk.join();
   EXPECT_EQ(running_.server().tags().size(), 0U);
   EXPECT_EQ(liveHandlers(handlerType), 0U);
}

// The pump stands in a call, so the stream's handler is still there.
TEST_F(SbfdEchoUpdatesTest, aServiceThatClosesLeavesUpdatesUntouched) {
   const auto stream = open();
   std::thread call([this] {
      grpc::ClientContext context;
      pb::rpc_server_state_status_msg request;
      request.add_key_value_pairs()->set_key("slow");
      pb::rpc_server_state_status_msg response;
      // Whether the stop cuts it off is not the point here.
      static_cast<void>(stub_->get_rpc_server_state(&context, request, &response));
   });
   inside_.wait();
   running_.server().stop();
   for (const bool rtt : {false, true}) {
      auto update = message(1, rtt);
      if (rtt) {
         service_->sendSbfdRttUpdate(std::move(update));
      } else {
         service_->sendSbfdAliveUpdate(std::move(update));
      }
      // NOLINTNEXTLINE(bugprone-use-after-move): it was not taken.
      EXPECT_EQ(update.bulk_size(), 1);
   }
   leave_.count_down();
   call.join();
   running_.stop();
}

TEST(SbfdEchoUpdatesDeathTest, aStreamIsEnteredOnce) {
   GTEST_FLAG_SET(death_test_style, "threadsafe");
   orvtest::AgentHost host;
   OrvSdkRpcService service(orvtest::programmingManagers(host));
   int tag = 0;
   service.registerSbfdHandlerForUpdates(&tag);
   EXPECT_DEATH(service.registerSbfdHandlerForUpdates(&tag), "inserted");
}

}  // namespace
}  // namespace OrvSdkRpc
