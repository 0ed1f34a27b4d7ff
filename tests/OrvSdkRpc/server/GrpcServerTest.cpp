#include "OrvSdkRpc/server/GrpcServer.h"

#include <grpcpp/create_channel.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <latch>
#include <string>
#include <thread>
#include <vector>

#include "testing/base/Eventually.h"
#include "testing/base/TempDir.h"
#include "testing/server/ProbeService.h"
#include "testing/server/RunningServer.h"
#include "testing/server/TraceCapture.h"

namespace OrvSdkRpc {
namespace {

using orvtest::ProbeService;
using orvtest::RunningServer;

std::unique_ptr<GrpcServer> serverOn(const std::string& address) {
   std::vector<std::unique_ptr<GrpcService>> services;
   services.push_back(std::make_unique<ProbeService>());
   return std::make_unique<GrpcServer>(
        std::make_unique<ServerProperties>(ServerProperties{.addresses = {address}, .internalServer = true}),
        std::move(services), grpc::InsecureServerCredentials());
}

TEST(GrpcServer, servesACall) {
   RunningServer running{std::make_unique<ProbeService>()};
   EXPECT_EQ(running.server().state(), GrpcServer::State::Pumping);
   const auto stub = running.stub<test::ProbeService>();
   for (int i = 0; i < 3; ++i) {
      grpc::ClientContext context;
      test::ProbeRequest request;
      request.set_text("hello");
      test::ProbeResponse response;
      const grpc::Status status = stub->probe(&context, request, &response);
      EXPECT_TRUE(status.ok()) << status.error_message();
      EXPECT_EQ(response.text(), "hello");
   }
}

TEST(GrpcServer, servesOneCallAtATimeAndTheNextOneWaits) {
   auto service = std::make_unique<ProbeService>();
   ProbeService& probe = *service;
   std::latch inside(1);
   std::latch leave(1);
   std::vector<std::string> served;
   service->onOperation = [&](const test::ProbeRequest& request) {
      served.push_back(request.text());
      if (request.text() != "first") return;
      inside.count_down();
      leave.wait();
   };
   RunningServer server{std::move(service)};
   const auto stub = server.stub<test::ProbeService>();
   const auto call = [&](const char* text) {
      grpc::ClientContext context;
      test::ProbeRequest request;
      request.set_text(text);
      test::ProbeResponse response;
      EXPECT_TRUE(stub->probe(&context, request, &response).ok());
      EXPECT_EQ(response.text(), text);
   };
   std::thread first([&] { call("first"); });
   inside.wait();
   // Besides the handler in its operation there is one for each RPC, its successor included.
   EXPECT_EQ(server.server().tags().size(), 6U);
   std::thread second([&] { call("second"); });
   // The SDK's lock alone would hold up the second one; this one needs no lock.
   grpc::ClientContext context;
   context.set_deadline(std::chrono::system_clock::now() + std::chrono::milliseconds(200));
   test::ProbeResponse response;
   EXPECT_EQ(stub->later(&context, test::ProbeRequest(), &response).error_code(),
             grpc::StatusCode::DEADLINE_EXCEEDED);
   EXPECT_TRUE(probe.waiting().empty()) << "somebody else pumps";
   for (auto* const handler : probe.waiting())
      handler->answer("");
   leave.count_down();
   first.join();
   second.join();
   server.stop();
   EXPECT_EQ(served, (std::vector<std::string>{"first", "second"}));
}

TEST(GrpcServer, stopBeforeRunMakesRunReturn) {
   orvtest::TempDir dir;
   const auto server = serverOn(dir.unixAddress("s"));
   server->stop();
   server->run();
   EXPECT_EQ(server->state(), GrpcServer::State::Stopped);
}

TEST(GrpcServer, stopMayBeRepeatedAndMayComeAfterTheEnd) {
   RunningServer running{std::make_unique<ProbeService>()};
   running.server().stop();
   running.server().stop();
   running.stop();
   running.server().stop();
   EXPECT_EQ(running.server().state(), GrpcServer::State::Stopped);
}

TEST(GrpcServer, stopWhileItStarts) {
   orvtest::TempDir dir;
   for (int round = 0; round < 20; ++round) {
      const auto server = serverOn(dir.unixAddress("s"));
      std::thread pump([&] { server->run(); });
      server->stop();
      pump.join();
      EXPECT_EQ(server->state(), GrpcServer::State::Stopped);
   }
}

TEST(GrpcServer, aServerThatNeverRunsMayBeDestroyed) {
   orvtest::TempDir dir;
   const auto server = serverOn(dir.unixAddress("s"));
   EXPECT_EQ(server->state(), GrpcServer::State::Constructed);
}

TEST(GrpcServer, anAddressThatCannotBeBoundEndsTheThreadWithWords) {
   orvtest::TempDir dir;
   const std::string address = dir.unixAddress("no/such/directory/s");
   const auto server = serverOn(address);
   const std::string words = "gRPC server did not start on: " + address;
   orvtest::TraceCapture traces("rpc-server/0");
   testing::internal::CaptureStderr();
   std::thread pump([&] { server->run(); });
   EXPECT_FALSE(server->waitUntilServing());
   pump.join();
   EXPECT_NE(testing::internal::GetCapturedStderr().find(words), std::string::npos);
   EXPECT_EQ(traces.count(words), 1U);
   EXPECT_EQ(server->state(), GrpcServer::State::Stopped);
   server->stop();
}

TEST(GrpcServer, accountingIsNotClaimed) {
   orvtest::TraceCapture traces("rpc-server/0");
   { RunningServer without{std::make_unique<ProbeService>()}; }
   EXPECT_TRUE(traces.texts().empty());
   RunningServer running{std::make_unique<ProbeService>(),
                         ServerProperties{.internalServer = true, .accountingEnabled = true}};
   EXPECT_EQ(traces.count("Accounting is not available in this build"), 1U);
}

TEST(GrpcServer, aCallThatComesAfterTheStopIsEndedByGrpc) {
   auto service = std::make_unique<ProbeService>();
   std::latch inside(1);
   std::latch leave(1);
   std::atomic<int> served{0};
   service->onOperation = [&](const test::ProbeRequest&) {
      ++served;
      inside.count_down();
      leave.wait();
   };
   RunningServer running{std::move(service)};
   const auto channel = running.channel();
   const auto stub = test::ProbeService::NewStub(channel);
   std::thread first([&] {
      grpc::ClientContext context;
      test::ProbeResponse response;
      // Either outcome is possible: the call may be answered just before the stop cancels it.
      static_cast<void>(stub->probe(&context, test::ProbeRequest(), &response));
   });
   inside.wait();
   running.server().stop();
   // The pump is blocked in the first call, so only gRPC can answer this one.
   grpc::ClientContext context;
   test::ProbeResponse response;
   const grpc::Status status = stub->probe(&context, test::ProbeRequest(), &response);
   EXPECT_FALSE(status.ok());
   leave.count_down();
   first.join();
   running.stop();
   EXPECT_EQ(served, 1);
}

// A call that has arrived, and whose event waits on the queue when the server stops.
TEST(GrpcServer, aCallDuringStopIsNotAnsweredByAHandler) {
   auto service = std::make_unique<ProbeService>();
   std::latch inside[2]{std::latch(1), std::latch(1)};
   std::latch leave[2]{std::latch(1), std::latch(1)};
   std::atomic<int> served{0};
   service->onOperation = [&](const test::ProbeRequest&) {
      const int number = served++;
      if (number > 1) return;
      inside[number].count_down();
      leave[number].wait();
   };
   RunningServer running{std::move(service)};
   const auto stub = running.stub<test::ProbeService>();
   const test::ProbeRequest request;
   struct Call {
      grpc::ClientContext context;
      test::ProbeResponse response;
      grpc::Status status;
      std::latch over{1};
   } calls[3];
   const auto begin = [&](Call& call) {
      stub->async()->probe(&call.context, &request, &call.response, [&call](const grpc::Status& status) {
         call.status = status;
         call.over.count_down();
      });
   };
   begin(calls[0]);
   inside[0].wait();
   // Nobody looks at the connection while the pump is in the first call, so these two are read as one; while
   // the pump is in one of them, the other is with the handler that was posted for it.
   begin(calls[1]);
   begin(calls[2]);
   leave[0].count_down();
   inside[1].wait();
   running.server().stop();
   leave[1].count_down();
   running.stop();
   for (Call& call : calls)
      call.over.wait();
   EXPECT_EQ(served, 2);
   EXPECT_TRUE(calls[0].status.ok()) << calls[0].status.error_message();
   EXPECT_FALSE(calls[1].status.ok() && calls[2].status.ok());
}

}  // namespace
}  // namespace OrvSdkRpc
