#include "OrvSdkRpc/handlers/UnaryRequestHandler.h"

#include <grpcpp/create_channel.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>

#include "OrvSdkRpc/handlers/ErrorText.h"
#include "orv/error.h"
#include "orv/lock.h"
#include "testing/base/Eventually.h"
#include "testing/base/FreePort.h"
#include "testing/server/LiveHandlers.h"
#include "testing/server/ProbeService.h"
#include "testing/server/RunningServer.h"
#include "testing/server/WatchedLock.h"

namespace OrvSdkRpc {
namespace {

using orvtest::ProbeService;
using orvtest::RunningServer;

grpc::Status call(const RunningServer& running, const std::string& error, const std::string& text,
                  test::ProbeResponse* out = nullptr) {
   const auto stub = running.stub<test::ProbeService>();
   grpc::ClientContext context;
   test::ProbeRequest request;
   request.set_error(error);
   request.set_text(text);
   test::ProbeResponse response;
   const grpc::Status status = stub->probe(&context, request, &response);
   if (out) *out = response;
   EXPECT_TRUE(context.GetServerTrailingMetadata().empty());
   return status;
}

TEST(UnaryRequestHandler, answersWithTheOperationsResult) {
   RunningServer running{std::make_unique<ProbeService>()};
   test::ProbeResponse response;
   EXPECT_TRUE(call(running, "", "text", &response).ok());
   EXPECT_EQ(response.text(), "text");
}

TEST(UnaryRequestHandler, anExceptionBecomesTheStatusOfTheCall) {
   RunningServer running{std::make_unique<ProbeService>()};
   const std::pair<const char*, grpc::StatusCode> rows[] = {
        {"range", grpc::StatusCode::OUT_OF_RANGE},
        {"argument", grpc::StatusCode::INVALID_ARGUMENT},
        {"configuration", grpc::StatusCode::FAILED_PRECONDITION},
        {"unsupported", grpc::StatusCode::UNIMPLEMENTED},
        {"error", grpc::StatusCode::INTERNAL},
        {"unauthenticated", grpc::StatusCode::UNAUTHENTICATED},
        {"std", grpc::StatusCode::UNKNOWN},
   };
   for (const auto& [error, code] : rows) {
      const grpc::Status status = call(running, error, std::string("words of ") + error);
      EXPECT_EQ(status.error_code(), code);
      EXPECT_EQ(status.error_message(), std::string("words of ") + error);
      EXPECT_EQ(status.error_details(), "");
   }
   EXPECT_EQ(call(running, "error", "").error_message(), "");
   EXPECT_EQ(call(running, "no lock", "").error_code(), grpc::StatusCode::INTERNAL);
   // The server still serves.
   EXPECT_TRUE(call(running, "", "").ok());
}

// A client accepts at most 8 KB of headers; beyond that it would see RESOURCE_EXHAUSTED instead of the
// status.
TEST(UnaryRequestHandler, aLongTextDoesNotHideTheStatus) {
   RunningServer running{std::make_unique<ProbeService>()};
   for (const char* character : {"x", "%", "\xe2\x82\xac"}) {
      std::string words = "begin ";
      while (words.size() < 1'000'000)
         words += character;
      const grpc::Status status = call(running, "range", words + " end");
      EXPECT_EQ(status.error_code(), grpc::StatusCode::OUT_OF_RANGE) << status.error_message();
      EXPECT_EQ(status.error_message(), errorText(words + " end"));
   }
}

TEST(UnaryRequestHandler, bytesThatAreNotUtf8AreNumberedInTheStatus) {
   auto service = std::make_unique<ProbeService>();
   service->onOperation = [](const test::ProbeRequest&) { throw orv::error("no Z\xfcrich"); };
   RunningServer running{std::move(service)};
   EXPECT_EQ(call(running, "", "").error_message(), "no Z\\xfcrich");
}

TEST(UnaryRequestHandler, runsTheOperationUnderTheSdksLockAndFreesItAfterwards) {
   for (const char* error : {"", "range"}) {
      orvtest::WatchedLock lock;
      auto service = std::make_unique<ProbeService>();
      int operations = 0;
      service->onOperation = [&](const test::ProbeRequest&) {
         ++operations;
         EXPECT_TRUE(orv::sdk_call_allowed());
         EXPECT_EQ(lock.taken(), 1);
         EXPECT_EQ(lock.released(), 0);
      };
      RunningServer running{std::move(service)};
      EXPECT_EQ(call(running, error, "").ok(), *error == '\0');
      // The answer went out after the lock was free, so nothing has to be waited for.
      EXPECT_EQ(lock.released(), 1);
      running.stop();
      EXPECT_EQ(operations, 1);
      EXPECT_EQ(lock.taken(), 1);
   }
}

// Serialising and sending do not hold up the main loop. The reply settles the lock if its thread still holds
// it, so a lock that was never settled was free when the reply was serialised.
TEST(UnaryRequestHandler, theAnswerIsSentWithoutTheLock) {
   orvtest::WatchedLock lock;
   RunningServer running{std::make_unique<ProbeService>()};
   EXPECT_TRUE(call(running, "", "text").ok());
   running.stop();
   EXPECT_EQ(lock.released(), 1);
   EXPECT_EQ(lock.settled(), 0);
}

TEST(UnaryRequestHandler, aLocalPeerOfAnInsecureServerIsServed) {
   RunningServer running{
        std::make_unique<ProbeService>(),
        ServerProperties{.sslProfileState = SslProfileState::NotConfigured, .allowInsecureRemote = false}};
   EXPECT_TRUE(call(running, "", "").ok());
}

TEST(UnaryRequestHandler, aPeerIsRejectedWithoutTheSdksLock) {
   const std::string tcp = orvtest::freeLoopbackAddress();
   RunningServer running{std::make_unique<ProbeService>(),
                         ServerProperties{.addresses = {tcp},
                                          .sslProfileState = SslProfileState::NotConfigured,
                                          .allowInsecureRemote = false}};
   // One whose address is local to one of the server's two addresses only.
   const auto stub =
        test::ProbeService::NewStub(grpc::CreateChannel(tcp, grpc::InsecureChannelCredentials()));
   grpc::ClientContext context;
   context.set_wait_for_ready(true);
   context.set_deadline(std::chrono::system_clock::now() + std::chrono::seconds(20));
   test::ProbeResponse response;
   // Whoever waited for the lock would wait for the call's end.
   const orv::sdk_scoped_lock lock;
   EXPECT_EQ(stub->probe(&context, test::ProbeRequest(), &response).error_code(),
             grpc::StatusCode::UNAUTHENTICATED);
}

TEST(UnaryRequestHandler, aHandlerLivesFromItsPostingToTheEndOfItsCall) {
   RunningServer running{std::make_unique<ProbeService>()};
   for (int i = 0; i < 50; ++i)
      EXPECT_TRUE(call(running, "", "").ok());
   EXPECT_TRUE(orvtest::eventually([] { return orvtest::liveHandlers("UnaryRequestHandler") == 1; }));
   running.stop();
   EXPECT_EQ(orvtest::liveHandlers("UnaryRequestHandler"), 0U);
}

}  // namespace
}  // namespace OrvSdkRpc
