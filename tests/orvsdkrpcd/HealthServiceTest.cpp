#include "orvsdkrpcd/HealthService.h"

#include <grpcpp/grpcpp.h>
#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "testing/base/TempDir.h"

namespace orvsdkrpcd {
namespace {

using grpc::health::v1::Health;
using grpc::health::v1::HealthCheckRequest;
using grpc::health::v1::HealthCheckResponse;

class HealthServiceTest : public testing::Test {
protected:
   HealthServiceTest() {
      const std::string address = "unix://" + directory_ / "s";
      grpc::ServerBuilder builder;
      builder.AddListeningPort(address, grpc::InsecureServerCredentials());
      builder.RegisterService(&service_);
      server_ = builder.BuildAndStart();
      stub_ = Health::NewStub(grpc::CreateChannel(address, grpc::InsecureChannelCredentials()));
   }
   ~HealthServiceTest() override {
      service_.stop();
      server_->Shutdown(std::chrono::system_clock::now());
   }

   std::pair<grpc::StatusCode, int> check(const std::string& name) {
      grpc::ClientContext context;
      HealthCheckRequest request;
      request.set_service(name);
      HealthCheckResponse response;
      const auto status = stub_->Check(&context, request, &response);
      return {status.error_code(), response.status()};
   }

   struct Watch {
      grpc::ClientContext context;
      std::unique_ptr<grpc::ClientReader<HealthCheckResponse>> reader;
      // The next status, or -1 at the end.
      int next() {
         HealthCheckResponse response;
         return reader->Read(&response) ? static_cast<int>(response.status()) : -1;
      }
   };
   std::unique_ptr<Watch> watch(const std::string& name) {
      auto watch = std::make_unique<Watch>();
      HealthCheckRequest request;
      request.set_service(name);
      watch->reader = stub_->Watch(&watch->context, request);
      return watch;
   }

   orvtest::TempDir directory_;
   HealthService service_;
   std::unique_ptr<grpc::Server> server_;
   std::unique_ptr<Health::Stub> stub_;
};

TEST_F(HealthServiceTest, checkFollowsTheServer) {
   EXPECT_EQ(check(""), std::pair(grpc::StatusCode::OK, int{HealthCheckResponse::NOT_SERVING}));
   service_.servingIs({"a.B"});
   EXPECT_EQ(check(""), std::pair(grpc::StatusCode::OK, int{HealthCheckResponse::SERVING}));
   EXPECT_EQ(check("a.B"), std::pair(grpc::StatusCode::OK, int{HealthCheckResponse::SERVING}));
   EXPECT_EQ(check("a.C").first, grpc::StatusCode::NOT_FOUND);
   service_.stop();
   EXPECT_EQ(check("a.B"), std::pair(grpc::StatusCode::OK, int{HealthCheckResponse::NOT_SERVING}));
}

TEST_F(HealthServiceTest, aWatchTellsOfEveryChangeAndEndsWithTheServer) {
   const auto whole = watch("");
   const auto named = watch("a.B");
   EXPECT_EQ(whole->next(), HealthCheckResponse::NOT_SERVING);
   EXPECT_EQ(named->next(), HealthCheckResponse::SERVICE_UNKNOWN);
   service_.servingIs({"a.B"});
   EXPECT_EQ(whole->next(), HealthCheckResponse::SERVING);
   EXPECT_EQ(named->next(), HealthCheckResponse::SERVING);
   service_.stop();
   EXPECT_EQ(whole->next(), HealthCheckResponse::NOT_SERVING);
   EXPECT_EQ(whole->next(), -1);
   EXPECT_EQ(whole->reader->Finish().error_code(), grpc::StatusCode::UNAVAILABLE);
   EXPECT_EQ(named->next(), HealthCheckResponse::NOT_SERVING);
   EXPECT_EQ(named->next(), -1);
}

TEST_F(HealthServiceTest, theWatchAfterTheLastIsRefusedAndOneThatEndsMakesRoom) {
   std::vector<std::unique_ptr<Watch>> watches;
   for (int i = 0; i < HealthService::maxWatches; ++i) {
      watches.push_back(watch(""));
      ASSERT_EQ(watches.back()->next(), HealthCheckResponse::NOT_SERVING);
   }
   auto refused = watch("");
   EXPECT_EQ(refused->next(), -1);
   EXPECT_EQ(refused->reader->Finish().error_code(), grpc::StatusCode::RESOURCE_EXHAUSTED);
   EXPECT_EQ(check("").first, grpc::StatusCode::OK);

   watches.back()->context.TryCancel();
   EXPECT_EQ(watches.back()->next(), -1);
   // The server notices a moment later.
   int status = -1;
   while (status == -1)
      status = watch("")->next();
   EXPECT_EQ(status, HealthCheckResponse::NOT_SERVING);
}

}  // namespace
}  // namespace orvsdkrpcd
