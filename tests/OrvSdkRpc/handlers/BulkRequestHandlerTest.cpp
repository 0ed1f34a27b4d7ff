#include "OrvSdkRpc/handlers/BulkRequestHandler.h"

#include <grpcpp/completion_queue.h>
#include <grpcpp/create_channel.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <string>
#include <vector>

#include "OrvSdkRpc/handlers/ErrorText.h"
#include "orv/error.h"
#include "orv/lock.h"
#include "testing/base/Eventually.h"
#include "testing/base/FreePort.h"
#include "testing/server/ProbeService.h"
#include "testing/server/RunningServer.h"
#include "testing/server/WatchedLock.h"

namespace OrvSdkRpc {
namespace {

using orvtest::ProbeService;
using orvtest::RunningServer;

struct Answer {
   grpc::Status status;
   test::BulkProbeResponse response;
};

Answer call(const std::shared_ptr<grpc::Channel>& channel, const test::BulkProbeRequest& request) {
   const auto stub = test::ProbeService::NewStub(channel);
   grpc::ClientContext context;
   Answer answer;
   answer.status = stub->bulk_probe(&context, request, &answer.response);
   return answer;
}
Answer call(const std::shared_ptr<grpc::Channel>& channel, const std::vector<const char*>& errors) {
   test::BulkProbeRequest request;
   for (const char* error : errors) {
      auto& item = *request.add_requests();
      item.set_error(error);
      item.set_text(std::string("words of ") + error);
   }
   return call(channel, request);
}

TEST(BulkRequestHandler, appliesEveryItemInOrder) {
   auto service = std::make_unique<ProbeService>();
   std::vector<std::string> seen;
   service->onOperation = [&](const test::ProbeRequest& item) { seen.push_back(item.text()); };
   RunningServer running{std::move(service)};
   test::BulkProbeRequest request;
   const std::vector<std::string> texts{"b", "c", "a", "c"};
   for (const std::string& text : texts)
      request.add_requests()->set_text(text);
   const Answer answer = call(running.channel(), request);
   EXPECT_TRUE(answer.status.ok());
   EXPECT_EQ(answer.response.count(), texts.size());
   EXPECT_TRUE(answer.response.has_status());
   EXPECT_EQ(answer.response.status().code(), orv::remote::RPC_RESPONSE_STATUS_CODE_SUCCESS);
   EXPECT_EQ(answer.response.status().message(), "");
   running.stop();
   EXPECT_EQ(seen, texts);
}

TEST(BulkRequestHandler, stopsAtTheFirstFailureAndTellsItInBand) {
   auto service = std::make_unique<ProbeService>();
   std::vector<std::string> tried;
   service->onOperation = [&](const test::ProbeRequest& item) { tried.push_back(item.error()); };
   RunningServer running{std::move(service)};
   const Answer answer = call(running.channel(), {"", "", "argument", "", ""});
   EXPECT_TRUE(answer.status.ok());
   EXPECT_EQ(answer.response.count(), 2U);
   EXPECT_EQ(answer.response.status().code(), 3);
   EXPECT_EQ(answer.response.status().message(), "words of argument");
   running.stop();
   EXPECT_EQ(tried, (std::vector<std::string>{"", "", "argument"}));
}

// A string with an invalid byte makes the whole reply unreadable for most clients.
TEST(BulkRequestHandler, itsTextIsBoundedAndInUtf8) {
   auto service = std::make_unique<ProbeService>();
   service->onOperation = [](const test::ProbeRequest&) {
      throw orv::error("Z\xfcrich " + std::string(100'000, 'x') + " end");
   };
   RunningServer running{std::move(service)};
   const std::string words = call(running.channel(), {""}).response.status().message();
   EXPECT_EQ(words.size(), errorTextBytesMax);
   EXPECT_EQ(words.substr(0, 12), "Z\\xfcrich xx");
   EXPECT_EQ(words.substr(words.size() - 6), "xx end");
}

TEST(BulkRequestHandler, aFailureOfTheFirstItemCountsNothing) {
   RunningServer running{std::make_unique<ProbeService>()};
   const Answer answer = call(running.channel(), {"range", ""});
   EXPECT_TRUE(answer.status.ok());
   EXPECT_EQ(answer.response.count(), 0U);
   EXPECT_EQ(answer.response.status().code(), 12);
}

TEST(BulkRequestHandler, anEmptyListSucceeds) {
   RunningServer running{std::make_unique<ProbeService>()};
   const Answer answer = call(running.channel(), test::BulkProbeRequest());
   EXPECT_TRUE(answer.status.ok());
   EXPECT_TRUE(answer.response.has_status());
   EXPECT_EQ(answer.response.count(), 0U);
   EXPECT_EQ(answer.response.status().code(), 0);
}

TEST(BulkRequestHandler, holdsOneLockForTheWholeList) {
   for (const char* last : {"", "error"}) {
      orvtest::WatchedLock lock;
      auto service = std::make_unique<ProbeService>();
      int items = 0;
      service->onOperation = [&](const test::ProbeRequest&) {
         ++items;
         EXPECT_TRUE(orv::sdk_call_allowed());
         EXPECT_EQ(lock.taken(), 1);
         EXPECT_EQ(lock.released(), 0);
      };
      RunningServer running{std::move(service)};
      EXPECT_TRUE(call(running.channel(), {"", "", last}).status.ok());
      running.stop();
      EXPECT_EQ(items, 3);
      EXPECT_EQ(lock.taken(), 1);
      EXPECT_EQ(lock.released(), 1);
   }
}

// The lock covers the serialising and the start of the answer.
TEST(BulkRequestHandler, theAnswerIsOnItsWayBeforeTheLockIsFree) {
   orvtest::WatchedLock lock;
   std::atomic<bool> answered{false};
   lock.onRelease = [&] { EXPECT_TRUE(orvtest::eventually([&] { return answered.load(); })); };
   RunningServer running{std::make_unique<ProbeService>()};
   EXPECT_EQ(call(running.channel(), {"", ""}).response.count(), 2U);
   answered = true;
   running.stop();
   EXPECT_EQ(lock.released(), 1);
}

TEST(BulkRequestHandler, repliesWhenTheWholeListIsFinalAndTheLockStillHeld) {
   orvtest::WatchedLock lock;
   grpc::CompletionQueue client;
   void* tag = nullptr;
   bool ok = false;
   // Guarded by the lock; read when the server has stopped.
   int operations = 0;
   int operationsWhenSettled = 0;
   bool heldWhenSettled = false;
   bool repliedBeforeSettled = false;
   lock.onSettle = [&] {
      operationsWhenSettled = operations;
      heldWhenSettled = lock.taken() == lock.released() + 1;
      repliedBeforeSettled =
           client.AsyncNext(&tag, &ok, std::chrono::system_clock::now() + std::chrono::milliseconds(50)) !=
           grpc::CompletionQueue::TIMEOUT;
   };
   auto service = std::make_unique<ProbeService>();
   service->onOperation = [&](const test::ProbeRequest&) { ++operations; };
   RunningServer running{std::move(service)};
   const auto stub = running.stub<test::ProbeService>();
   grpc::ClientContext context;
   test::BulkProbeRequest request;
   for (int i = 0; i < 3; ++i)
      request.add_requests();
   test::BulkProbeResponse response;
   grpc::Status status;
   const auto call = stub->Asyncbulk_probe(&context, request, &client);
   call->Finish(&response, &status, &context);
   ASSERT_TRUE(orvtest::eventually([&] {
      return client.AsyncNext(&tag, &ok, std::chrono::system_clock::now()) ==
             grpc::CompletionQueue::GOT_EVENT;
   }));
   running.stop();
   EXPECT_TRUE(status.ok()) << status.error_message();
   EXPECT_EQ(response.count(), 3U);
   EXPECT_EQ(lock.settled(), 1);
   EXPECT_EQ(operationsWhenSettled, 3);
   EXPECT_TRUE(heldWhenSettled);
   EXPECT_FALSE(repliedBeforeSettled);
}

TEST(BulkRequestHandler, aRejectedPeerIsToldInBandAndAUnaryCallByItsStatus) {
   // The peer comes from 127.0.0.1. It is local to the second address and not to the first, a unix socket.
   const std::string tcp = orvtest::freeLoopbackAddress();
   auto service = std::make_unique<ProbeService>();
   int served = 0;
   service->onOperation = [&](const test::ProbeRequest&) { ++served; };
   RunningServer running{std::move(service),
                         ServerProperties{.addresses = {tcp},
                                          .sslProfileState = SslProfileState::NotConfigured,
                                          .allowInsecureRemote = false}};
   const auto channel = grpc::CreateChannel(tcp, grpc::InsecureChannelCredentials());
   const Answer answer = call(channel, {"", ""});
   EXPECT_TRUE(answer.status.ok()) << answer.status.error_message();
   EXPECT_EQ(answer.response.status().code(), 8);
   EXPECT_EQ(answer.response.status().message(), "Insecure remote client rejected");
   EXPECT_EQ(answer.response.count(), 0U);
   const auto stub = test::ProbeService::NewStub(channel);
   grpc::ClientContext context;
   test::ProbeResponse response;
   const grpc::Status status = stub->probe(&context, test::ProbeRequest(), &response);
   EXPECT_EQ(status.error_code(), grpc::StatusCode::UNAUTHENTICATED);
   EXPECT_EQ(status.error_message(), "Insecure remote client rejected");
   // A unix peer is local to both addresses.
   EXPECT_EQ(call(running.channel(), {""}).response.count(), 1U);
   running.stop();
   EXPECT_EQ(served, 1);
}

}  // namespace
}  // namespace OrvSdkRpc
