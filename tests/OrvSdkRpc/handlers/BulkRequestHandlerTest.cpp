#include "OrvSdkRpc/handlers/BulkRequestHandler.h"

#include <grpcpp/completion_queue.h>
#include <grpcpp/create_channel.h>
#include <gtest/gtest.h>

#include <chrono>
#include <mutex>
#include <string>
#include <vector>

#include "OrvSdkRpc/handlers/ErrorText.h"
#include "fixture/Eventually.h"
#include "fixture/FreePort.h"
#include "fixture/ProbeService.h"
#include "fixture/RunningServer.h"
#include "orv/error.h"
#include "orv/lock.h"

namespace OrvSdkRpc {
namespace {

using fixture::ProbeService;
using fixture::RunningServer;

struct Answer {
   grpc::Status status;
   test::BulkProbeResponse response;
};

Answer call(const std::shared_ptr<grpc::Channel>& channel, const std::vector<const char*>& errors) {
   const auto stub = test::ProbeService::NewStub(channel);
   grpc::ClientContext context;
   test::BulkProbeRequest request;
   for (const char* error : errors) {
      auto& item = *request.add_requests();
      item.set_error(error);
      item.set_text(std::string("words of ") + error);
   }
   Answer answer;
   answer.status = stub->bulk_probe(&context, request, &answer.response);
   return answer;
}

TEST(BulkRequestHandler, appliesEveryItemInOrder) {
   auto service = std::make_unique<ProbeService>();
   std::vector<std::string> seen;
   service->onOperation = [&](const test::ProbeRequest& item) { seen.push_back(item.text()); };
   RunningServer running{std::move(service)};
   const Answer answer = call(running.channel(), {"", "", ""});
   EXPECT_TRUE(answer.status.ok());
   EXPECT_EQ(answer.response.count(), 3U);
   EXPECT_TRUE(answer.response.has_status());
   EXPECT_EQ(answer.response.status().code(), orv::remote::RPC_RESPONSE_STATUS_CODE_SUCCESS);
   EXPECT_EQ(answer.response.status().message(), "");
   running.stop();
   EXPECT_EQ(seen.size(), 3U);
}

TEST(BulkRequestHandler, stopsAtTheFirstFailureAndTellsItInBand) {
   auto service = std::make_unique<ProbeService>();
   int tried = 0;
   service->onOperation = [&](const test::ProbeRequest&) { ++tried; };
   RunningServer running{std::move(service)};
   const Answer answer = call(running.channel(), {"", "", "argument", "", ""});
   EXPECT_TRUE(answer.status.ok());
   EXPECT_EQ(answer.response.count(), 2U);
   EXPECT_EQ(answer.response.status().code(), 3);
   EXPECT_EQ(answer.response.status().message(), "words of argument");
   running.stop();
   EXPECT_EQ(tried, 3);
}

// A string with such a byte in it makes the whole reply unreadable for most clients.
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
   const Answer answer = call(running.channel(), {});
   EXPECT_TRUE(answer.status.ok());
   EXPECT_TRUE(answer.response.has_status());
   EXPECT_EQ(answer.response.count(), 0U);
   EXPECT_EQ(answer.response.status().code(), 0);
}

TEST(BulkRequestHandler, holdsOneLockForTheWholeList) {
   orv::host::main_thread_is();
   auto service = std::make_unique<ProbeService>();
   int allowed = 0;
   service->onOperation = [&](const test::ProbeRequest&) { allowed += orv::sdk_call_allowed() ? 1 : 0; };
   {
      RunningServer running{std::move(service)};
      EXPECT_TRUE(call(running.channel(), {"", "", "error"}).status.ok());
      running.stop();
      EXPECT_EQ(allowed, 3);
   }
   orv::host::main_thread_clear();
}

// A backend whose settle looks at a client that waits for its reply.
class WatchingBackend final : public orv::host::lock_backend {
public:
   WatchingBackend() {
      orv::host::lock_backend_is(this);
      orv::host::main_thread_is();
   }
   ~WatchingBackend() override {
      orv::host::main_thread_clear();
      orv::host::lock_backend_is(nullptr);
   }
   void acquire() override {
      mutex_.lock();
      ++depth_;
   }
   void release() noexcept override {
      --depth_;
      mutex_.unlock();
   }
   void settle() noexcept override {
      ++settles;
      heldWhenSettled = depth_ == 1;
      operationsWhenSettled = operations;
      void* tag = nullptr;
      bool ok = false;
      repliedBeforeSettled =
           client.AsyncNext(&tag, &ok, std::chrono::system_clock::now() + std::chrono::milliseconds(50)) !=
           grpc::CompletionQueue::TIMEOUT;
   }

   // Guarded by the backend's mutex; read when the server has stopped.
   int operations = 0;
   int settles = 0;
   int operationsWhenSettled = 0;
   bool heldWhenSettled = false;
   bool repliedBeforeSettled = false;
   grpc::CompletionQueue client;

private:
   std::recursive_mutex mutex_;
   int depth_ = 0;
};

TEST(BulkRequestHandler, repliesWhenTheWholeListIsFinalAndTheLockStillHeld) {
   WatchingBackend backend;
   auto service = std::make_unique<ProbeService>();
   service->onOperation = [&](const test::ProbeRequest&) { ++backend.operations; };
   RunningServer running{std::move(service)};
   const auto stub = running.stub<test::ProbeService>();
   grpc::ClientContext context;
   test::BulkProbeRequest request;
   for (int i = 0; i < 3; ++i)
      request.add_requests();
   test::BulkProbeResponse response;
   grpc::Status status;
   const auto call = stub->Asyncbulk_probe(&context, request, &backend.client);
   call->Finish(&response, &status, &context);
   void* tag = nullptr;
   bool ok = false;
   ASSERT_TRUE(fixture::eventually([&] {
      return backend.client.AsyncNext(&tag, &ok, std::chrono::system_clock::now()) ==
             grpc::CompletionQueue::GOT_EVENT;
   }));
   running.stop();
   EXPECT_TRUE(status.ok()) << status.error_message();
   EXPECT_EQ(response.count(), 3U);
   EXPECT_EQ(backend.settles, 1);
   EXPECT_EQ(backend.operationsWhenSettled, 3);
   EXPECT_TRUE(backend.heldWhenSettled);
   EXPECT_FALSE(backend.repliedBeforeSettled);
}

TEST(BulkRequestHandler, aRejectedPeerIsToldInBandAndAUnaryCallByItsStatus) {
   // The peer comes from 127.0.0.1, which is local to the second address and not to the first, a unix one.
   const std::string tcp = fixture::freeLoopbackAddress();
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
   // A unix peer is local to both.
   EXPECT_EQ(call(running.channel(), {""}).response.count(), 1U);
   running.stop();
   EXPECT_EQ(served, 1);
}

}  // namespace
}  // namespace OrvSdkRpc
