#include "orvsdkrpcd/ServerPlugins.h"

#include <grpcpp/grpcpp.h>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>

#include "health.grpc.pb.h"
#include "testing/base/TempDir.h"

namespace orvsdkrpcd {
namespace {

using grpc::health::v1::Health;
using grpc::health::v1::HealthCheckRequest;
using grpc::health::v1::HealthCheckResponse;

class ServerPluginsTest : public testing::Test {
protected:
   // Servers that are built from here on have this limit.
   void serve(int maxStreams) {
      health_ = &installServerPlugins(maxStreams);
      grpc::ServerBuilder builder;
      builder.AddListeningPort(address_, grpc::InsecureServerCredentials());
      server_ = builder.BuildAndStart();
   }
   ~ServerPluginsTest() override {
      if (server_) server_->Shutdown(std::chrono::system_clock::now());
   }

   // A client with a connection of its own.
   [[nodiscard]] std::unique_ptr<Health::Stub> connect() const {
      grpc::ChannelArguments arguments;
      arguments.SetInt(GRPC_ARG_USE_LOCAL_SUBCHANNEL_POOL, 1);
      return Health::NewStub(
           grpc::CreateCustomChannel(address_, grpc::InsecureChannelCredentials(), arguments));
   }
   static grpc::StatusCode check(Health::Stub& stub, std::chrono::milliseconds patience) {
      grpc::ClientContext context;
      context.set_deadline(std::chrono::system_clock::now() + patience);
      HealthCheckResponse response;
      return stub.Check(&context, HealthCheckRequest(), &response).error_code();
   }

   // A stream that has begun.
   struct Watch {
      explicit Watch(Health::Stub& stub) : reader(stub.Watch(&context, HealthCheckRequest())) {
         HealthCheckResponse response;
         EXPECT_TRUE(reader->Read(&response));
      }
      ~Watch() { end(); }
      void end() {
         if (!reader) return;
         context.TryCancel();
         reader->Finish();
         reader.reset();
      }

      grpc::ClientContext context;
      std::unique_ptr<grpc::ClientReader<HealthCheckResponse>> reader;
   };

   static constexpr std::chrono::milliseconds aMoment{300};
   static constexpr std::chrono::milliseconds aMinute{60'000};

   orvtest::TempDir directory_;
   const std::string address_ = "unix://" + directory_ / "s";
   HealthService* health_ = nullptr;
   std::unique_ptr<grpc::Server> server_;
};

TEST_F(ServerPluginsTest, oneConnectionHasNoMoreStreamsThanItMay) {
   serve(2);
   const auto stub = connect();
   Watch first(*stub);
   Watch second(*stub);
   EXPECT_EQ(check(*stub, aMoment), grpc::StatusCode::DEADLINE_EXCEEDED);
   // The waiting call delays no other connection.
   EXPECT_EQ(check(*connect(), aMinute), grpc::StatusCode::OK);
   // It proceeds once a stream ends.
   first.end();
   EXPECT_EQ(check(*stub, aMinute), grpc::StatusCode::OK);
}

TEST_F(ServerPluginsTest, aLaterBoundIsForLaterServers) {
   serve(3);
   const auto stub = connect();
   Watch first(*stub);
   Watch second(*stub);
   EXPECT_EQ(check(*stub, aMinute), grpc::StatusCode::OK);
   Watch third(*stub);
   EXPECT_EQ(check(*stub, aMoment), grpc::StatusCode::DEADLINE_EXCEEDED);
}

}  // namespace
}  // namespace orvsdkrpcd
