#include "OrvSdkRpc/server/GrpcServer.h"

#include <grpcpp/create_channel.h>
#include <gtest/gtest.h>

#include <atomic>
#include <latch>
#include <thread>

#include "fixture/Eventually.h"
#include "fixture/ProbeService.h"
#include "fixture/RunningServer.h"
#include "fixture/TraceCapture.h"

namespace OrvSdkRpc {
namespace {

using fixture::ProbeService;
using fixture::RunningServer;

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
   std::latch inside(1);
   std::latch leave(1);
   std::atomic<int> running{0};
   std::atomic<int> most{0};
   service->onOperation = [&](const test::ProbeRequest& request) {
      most = std::max(most.load(), ++running);
      if (request.text() == "first") {
         inside.count_down();
         leave.wait();
      }
      --running;
   };
   RunningServer server{std::move(service)};
   const auto stub = server.stub<test::ProbeService>();
   const auto call = [&](const char* text) {
      grpc::ClientContext context;
      test::ProbeRequest request;
      request.set_text(text);
      test::ProbeResponse response;
      EXPECT_TRUE(stub->probe(&context, request, &response).ok());
      return response.text();
   };
   std::thread first([&] { EXPECT_EQ(call("first"), "first"); });
   inside.wait();
   // Beside the handler in its operation there is one for each RPC already, the successor among them.
   EXPECT_EQ(server.server().tags().size(), 6U);
   std::thread second([&] { EXPECT_EQ(call("second"), "second"); });
   leave.count_down();
   first.join();
   second.join();
   EXPECT_EQ(most, 1);
}

TEST(GrpcServer, stopBeforeRunMakesRunReturn) {
   fixture::TempDir dir;
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
   fixture::TempDir dir;
   for (int round = 0; round < 20; ++round) {
      const auto server = serverOn(dir.unixAddress("s"));
      std::thread pump([&] { server->run(); });
      server->stop();
      pump.join();
      EXPECT_EQ(server->state(), GrpcServer::State::Stopped);
   }
}

TEST(GrpcServer, aServerThatNeverRunsMayBeDestroyed) {
   fixture::TempDir dir;
   const auto server = serverOn(dir.unixAddress("s"));
   EXPECT_EQ(server->state(), GrpcServer::State::Constructed);
}

TEST(GrpcServer, anAddressThatCannotBeBoundEndsTheThreadWithWords) {
   fixture::TempDir dir;
   const std::string address = dir.unixAddress("no/such/directory/s");
   const auto server = serverOn(address);
   const std::string words = "gRPC server did not start on: " + address;
   fixture::TraceCapture traces("rpc-server/0");
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
   fixture::TraceCapture traces("rpc-server/0");
   { RunningServer without{std::make_unique<ProbeService>()}; }
   EXPECT_TRUE(traces.texts().empty());
   RunningServer running{std::make_unique<ProbeService>(),
                         ServerProperties{.internalServer = true, .accountingEnabled = true}};
   EXPECT_EQ(traces.count("Accounting is not available in this build"), 1U);
}

TEST(GrpcServer, aCallDuringStopIsNotAnsweredByAHandler) {
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
      // Cancelled by the stop, or answered just before: it raced with the other's end.
      static_cast<void>(stub->probe(&context, test::ProbeRequest(), &response));
   });
   inside.wait();
   running.server().stop();
   // The pump stands in the first call, so what comes now can only be answered by gRPC.
   grpc::ClientContext context;
   test::ProbeResponse response;
   const grpc::Status status = stub->probe(&context, test::ProbeRequest(), &response);
   EXPECT_FALSE(status.ok());
   leave.count_down();
   first.join();
   running.stop();
   EXPECT_EQ(served, 1);
}

}  // namespace
}  // namespace OrvSdkRpc
