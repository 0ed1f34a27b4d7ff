// Every order in which the events of a stream can end, and the end of the server in the middle of them.
#include <grpcpp/generic/generic_stub.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <latch>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "OrvSdkRpc/server/TagManager.h"
#include "testing/base/Eventually.h"
#include "testing/server/LiveHandlers.h"
#include "testing/server/ProbeService.h"
#include "testing/server/RunningServer.h"

namespace OrvSdkRpc {
namespace {

using orvtest::eventually;
using orvtest::liveHandlers;

constexpr const char* watchType = "ProbeWatchHandler";

class PumpTest : public testing::Test {
protected:
   // One watch of one client, open until it is closed.
   struct Watch {
      explicit Watch(test::ProbeService::Stub& stub) : reader(stub.watch(&context, test::ProbeRequest())) {}
      grpc::ClientContext context;
      std::unique_ptr<grpc::ClientReader<test::ProbeResponse>> reader;
   };

   std::unique_ptr<Watch> open(std::size_t watchers) {
      auto watch = std::make_unique<Watch>(*stub_);
      EXPECT_TRUE(eventually([&] { return service_->watchers() == watchers; }));
      return watch;
   }
   // Only the handler that waits for the next call is left.
   void expectAllFreed() {
      EXPECT_TRUE(eventually([] { return liveHandlers(watchType) == 1; }));
      EXPECT_TRUE(eventually([&] { return running_.server().tags().size() == 5; }));
      EXPECT_EQ(service_->watchers(), 0U);
   }

   orvtest::ProbeService* service_ = new orvtest::ProbeService;
   orvtest::RunningServer running_{std::unique_ptr<orvtest::ProbeService>(service_)};
   std::unique_ptr<test::ProbeService::Stub> stub_ = running_.stub<test::ProbeService>();
};

TEST_F(PumpTest, aSilentStreamWhoseClientLeavesIsFreedAtOnce) {
   const auto watch = open(1);
   EXPECT_EQ(liveHandlers(watchType), 2U);
   watch->context.TryCancel();
   expectAllFreed();
   EXPECT_EQ(watch->reader->Finish().error_code(), grpc::StatusCode::CANCELLED);
}

TEST_F(PumpTest, aStreamWhoseClientHasADeadlineIsFreedAtItsEnd) {
   grpc::ClientContext context;
   context.set_deadline(std::chrono::system_clock::now() + std::chrono::milliseconds(50));
   const auto reader = stub_->watch(&context, test::ProbeRequest());
   test::ProbeResponse response;
   EXPECT_FALSE(reader->Read(&response));
   EXPECT_EQ(reader->Finish().error_code(), grpc::StatusCode::DEADLINE_EXCEEDED);
   expectAllFreed();
}

TEST_F(PumpTest, messagesArriveInOrder) {
   const auto watch = open(1);
   for (int i = 0; i < 100; ++i)
      service_->publish(std::to_string(i));
   test::ProbeResponse response;
   for (int i = 0; i < 100; ++i) {
      ASSERT_TRUE(watch->reader->Read(&response));
      EXPECT_EQ(response.text(), std::to_string(i));
   }
   watch->context.TryCancel();
   expectAllFreed();
   watch->reader->Finish();
}

TEST_F(PumpTest, theEventOfARemovedTagIsDroppedAndStillCounted) {
   const auto watch = open(1);
   service_->publish("give back");
   service_->publish("behind");
   test::ProbeResponse response;
   ASSERT_TRUE(watch->reader->Read(&response));
   EXPECT_EQ(response.text(), "give back");
   ASSERT_TRUE(watch->reader->Read(&response));
   EXPECT_EQ(response.text(), "behind");
   watch->context.TryCancel();
   expectAllFreed();
   watch->reader->Finish();
}

TEST_F(PumpTest, theServerEndsAStreamAndTheDoneEventComesBesideTheFinish) {
   const auto watch = open(1);
   service_->publish("last");
   service_->publish("finish");
   test::ProbeResponse response;
   EXPECT_TRUE(watch->reader->Read(&response));
   EXPECT_FALSE(watch->reader->Read(&response));
   EXPECT_EQ(watch->reader->Finish().error_code(), grpc::StatusCode::RESOURCE_EXHAUSTED);
   expectAllFreed();
}

TEST_F(PumpTest, aClientLeavesWhileAWriteCannotProceed) {
   const auto watch = open(1);
   // Larger than the client's flow-control window, and the client does not read.
   service_->publish(std::string(8U << 20, 'x'));
   service_->publish("behind");
   ASSERT_TRUE(eventually([&] { return service_->writes == 1; }));
   watch->context.TryCancel();
   expectAllFreed();
   EXPECT_EQ(service_->writes, 1) << "what is behind it was never written";
   watch->reader->Finish();
}

TEST_F(PumpTest, aClientLeavesWhileOthersPublish) {
   std::atomic<bool> over{false};
   std::thread publisher([&] {
      while (!over)
         service_->publish("x");
   });
   for (int round = 0; round < 50; ++round) {
      Watch watch(*stub_);
      test::ProbeResponse response;
      // Each round cancels after a different number of messages.
      for (int i = 0; i < round % 5; ++i)
         watch.reader->Read(&response);
      watch.context.TryCancel();
      watch.reader->Finish();
   }
   over = true;
   publisher.join();
   expectAllFreed();
}

TEST_F(PumpTest, aClientAndTheServerEndTheStreamTogether) {
   for (int round = 0; round < 50; ++round) {
      const auto watch = open(1);
      std::thread server([&] { service_->publish("finish"); });
      watch->context.TryCancel();
      server.join();
      watch->reader->Finish();
      expectAllFreed();
   }
}

TEST_F(PumpTest, stopWhileOthersPublishAndStreamsAreOpen) {
   std::vector<std::unique_ptr<Watch>> watches;
   for (std::size_t i = 1; i <= 20; ++i)
      watches.push_back(open(i));
   std::atomic<bool> over{false};
   std::vector<std::thread> publishers;
   for (int i = 0; i < 2; ++i) {
      publishers.emplace_back([&] {
         while (!over)
            service_->publish("x");
      });
   }
   test::ProbeResponse response;
   for (auto& watch : watches)
      EXPECT_TRUE(watch->reader->Read(&response));
   running_.stop();
   EXPECT_EQ(running_.server().tags().size(), 0U);
   over = true;
   // A publisher holds references to the handlers that it is about to publish to.
   for (auto& publisher : publishers)
      publisher.join();
   EXPECT_EQ(liveHandlers(watchType), 0U);
   for (auto& watch : watches) {
      while (watch->reader->Read(&response)) {
      }
      EXPECT_FALSE(watch->reader->Finish().ok());
   }
}

TEST_F(PumpTest, stopWithAWriteThatCannotProceed) {
   const auto watch = open(1);
   service_->publish(std::string(8U << 20, 'x'));
   ASSERT_TRUE(eventually([&] { return service_->writes == 1; }));
   running_.stop();
   EXPECT_EQ(liveHandlers(watchType), 0U);
   // The status is queued behind a message that is not read.
   watch->context.TryCancel();
   watch->reader->Finish();
}

TEST_F(PumpTest, aStreamThatIsNotFinishedDoesNotHoldUpTheStop) {
   const auto watch = open(1);
   const auto begin = std::chrono::steady_clock::now();
   running_.stop();
   EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5 * orvtest::slowdown()));
   EXPECT_EQ(liveHandlers(watchType), 0U);
   EXPECT_FALSE(watch->reader->Finish().ok());
}

TEST_F(PumpTest, aHandlerStaysUntilWhatItPromisedWasDelivered) {
   std::thread client([&] {
      grpc::ClientContext context;
      test::ProbeResponse response;
      EXPECT_TRUE(stub_->later(&context, test::ProbeRequest(), &response).ok());
      EXPECT_EQ(response.text(), "late");
   });
   ASSERT_TRUE(eventually([&] { return service_->waiting().size() == 1; }));
   EXPECT_EQ(liveHandlers("ProbeLaterHandler"), 2U);
   EXPECT_TRUE(service_->waiting()[0]->answer("late"));
   client.join();
   EXPECT_TRUE(eventually([] { return liveHandlers("ProbeLaterHandler") == 1; }));
}

TEST_F(PumpTest, stopDoesNotWaitForAPromise) {
   std::thread client([&] {
      grpc::ClientContext context;
      test::ProbeResponse response;
      EXPECT_FALSE(stub_->later(&context, test::ProbeRequest(), &response).ok());
   });
   ASSERT_TRUE(eventually([&] { return service_->waiting().size() == 1; }));
   running_.stop();
   client.join();
   // The answer comes too late: the handler is alive, but must not answer.
   EXPECT_FALSE(service_->waiting()[0]->answer("too late"));
   EXPECT_EQ(liveHandlers("ProbeLaterHandler"), 1U);
   running_.destroy();
   EXPECT_EQ(liveHandlers("ProbeLaterHandler"), 0U);
}

TEST_F(PumpTest, aRequestThatDoesNotParseReachesNoHandler) {
   std::atomic<int> served{0};
   service_->onOperation = [&](const test::ProbeRequest&) { ++served; };
   // Field 1, a string whose bytes are not UTF-8.
   const std::string malformed("\x0a\x02\xff\xfe", 4);
   const grpc::Slice slice(malformed);
   grpc::ByteBuffer request(&slice, 1);
   grpc::GenericStub stub(running_.channel());
   grpc::ClientContext context;
   grpc::ByteBuffer reply;
   std::promise<grpc::Status> ended;
   stub.UnaryCall(&context, "/OrvSdkRpc.test.ProbeService/probe", grpc::StubOptions(), &request, &reply,
                  [&](const grpc::Status& answer) { ended.set_value(answer); });
   const grpc::Status status = ended.get_future().get();
   EXPECT_EQ(status.error_code(), grpc::StatusCode::INTERNAL);
   EXPECT_EQ(status.error_message(), "Unable to parse request");
   EXPECT_EQ(served, 0);
   // The same handler still waits for a call.
   grpc::ClientContext next;
   test::ProbeResponse response;
   EXPECT_TRUE(stub_->probe(&next, test::ProbeRequest(), &response).ok());
   EXPECT_EQ(served, 1);
}

}  // namespace
}  // namespace OrvSdkRpc
