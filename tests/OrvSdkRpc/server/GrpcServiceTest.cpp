#include "OrvSdkRpc/server/GrpcService.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "OrvSdkRpc/server/TagManager.h"
#include "testing/base/Eventually.h"
#include "testing/server/EveryRpc.h"
#include "testing/server/LiveHandlers.h"
#include "testing/server/ProbeService.h"
#include "testing/server/RunningServer.h"

namespace OrvSdkRpc {
namespace {

TEST(GrpcService, publishBeforeTheServerReachesNobody) {
   orvtest::ProbeService service;
   EXPECT_EQ(service.tags(), nullptr);
   EXPECT_EQ(service.findHandler(reinterpret_cast<OpaqueId>(1)), nullptr);
   service.publish("to nobody");
   EXPECT_EQ(service.name(), "probe");
   EXPECT_FALSE(service.closing());
}

TEST(GrpcService, takesItsPlaceInTheServerAndPostsOneHandlerPerRpc) {
   const std::uint64_t before = orvtest::liveHandlers();
   auto* const first = new orvtest::ProbeService;
   orvtest::RunningServer running{std::unique_ptr<orvtest::ProbeService>(first)};
   EXPECT_EQ(first->serviceId(), 0U);
   EXPECT_EQ(first->grpcServer(), &running.server());
   EXPECT_TRUE(first->properties().internalServer);
   // One handler for each of the four RPCs that are started; the stream has a done tag beside its main tag.
   EXPECT_EQ(orvtest::liveHandlers() - before, 4U);
   EXPECT_EQ(running.server().tags().size(), 5U);
   running.stop();
   EXPECT_TRUE(first->closing());
   EXPECT_EQ(running.server().tags().size(), 0U);
   EXPECT_EQ(orvtest::liveHandlers(), before);
}

TEST(GrpcService, anRpcWithoutAServiceIsUnimplemented) {
   orvtest::RunningServer running{std::vector<std::unique_ptr<GrpcService>>{}};
   const auto stub = running.stub<test::ProbeService>();
   grpc::ClientContext context;
   test::ProbeRequest request;
   test::ProbeResponse response;
   EXPECT_EQ(stub->absent(&context, request, &response).error_code(), grpc::StatusCode::UNIMPLEMENTED);
}

TEST(GrpcService, anRpcWithoutAHandlerStaysUnanswered) {
   orvtest::RunningServer running{std::make_unique<orvtest::ProbeService>()};
   const auto stub = running.stub<test::ProbeService>();
   grpc::ClientContext context;
   context.set_deadline(std::chrono::system_clock::now() + std::chrono::milliseconds(200));
   test::ProbeResponse response;
   EXPECT_EQ(stub->absent(&context, test::ProbeRequest(), &response).error_code(),
             grpc::StatusCode::DEADLINE_EXCEEDED);
}

// What finds an RPC that its service forgets.
TEST(GrpcService, anRpcWithoutAHandlerIsFoundByTheDescriptor) {
   orvtest::RunningServer running{std::make_unique<orvtest::ProbeService>()};
   const auto* const service = orvtest::serviceNamed(test::ProbeService::service_full_name());
   ASSERT_NE(service, nullptr);
   EXPECT_EQ(orvtest::rpcsWithoutHandler(running.channel(), *service, std::chrono::seconds(1)),
             std::vector<std::string>{"absent"});
}

}  // namespace
}  // namespace OrvSdkRpc
