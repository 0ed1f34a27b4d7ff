#include "OrvSdkRpc/handlers/BulkRequestHandler.h"

#include <grpcpp/create_channel.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "fixture/Eventually.h"
#include "fixture/FreePort.h"
#include "fixture/ProbeService.h"
#include "fixture/RunningServer.h"
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
