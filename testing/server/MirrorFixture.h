// A mirror service over a mocked manager, in a running server, with a client.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "orv/lock.h"
#include "testing/base/Eventually.h"
#include "testing/server/EveryRpc.h"
#include "testing/server/LiveHandlers.h"
#include "testing/server/RunningServer.h"
#include "testing/server/StreamClient.h"

namespace orvtest {

// Service is constructed from a pointer to Mgr; Rpc is its generated service.
template <class Service, class Rpc, class Mgr>
class MirrorFixture : public testing::Test {
protected:
   using Stub = typename Rpc::Stub;

   // `more` are the arguments of the service's constructor behind the manager.
   template <class... More>
   explicit MirrorFixture(OrvSdkRpc::ServerProperties properties = {.internalServer = true}, More&&... more)
        : service_(new Service(&mgr_, std::forward<More>(more)...)),
          running_(std::unique_ptr<Service>(service_), std::move(properties)) {}

   // Synchronises the test's use of the mock with the pump's, both ways: a thread sanitizer does not see the
   // order that gRPC enforces.
   static void meetPump() { const orv::sdk_scoped_lock lock; }

   // A unary call with any outcome.
   template <class Rq, class Rp>
   grpc::Status call(grpc::Status (Stub::*rpc)(grpc::ClientContext*, const Rq&, Rp*), const Rq& request,
                     Rp& response) {
      meetPump();
      grpc::ClientContext context;
      const grpc::Status status = (stub_.get()->*rpc)(&context, request, &response);
      meetPump();
      return status;
   }
   // A unary call that must succeed.
   template <class Rq, class Rp>
   Rp ok(grpc::Status (Stub::*rpc)(grpc::ClientContext*, const Rq&, Rp*), const Rq& request) {
      Rp response;
      const grpc::Status status = call(rpc, request, response);
      EXPECT_TRUE(status.ok()) << status.error_code() << " " << status.error_message();
      return response;
   }
   // A unary call that must fail with this message.
   template <class Rq, class Rp>
   void fails(grpc::Status (Stub::*rpc)(grpc::ClientContext*, const Rq&, Rp*), const Rq& request,
              grpc::StatusCode code, const std::string& words) {
      Rp response;
      const grpc::Status status = call(rpc, request, response);
      EXPECT_EQ(status.error_code(), code);
      EXPECT_EQ(status.error_message(), words);
   }
   // A list call that must succeed.
   template <class Rq, class Rp>
   std::vector<Rp> list(std::unique_ptr<grpc::ClientReader<Rp>> (Stub::*rpc)(grpc::ClientContext*, const Rq&),
                        const Rq& request) {
      meetPump();
      StreamClient<Rp> client(*stub_, rpc, request);
      std::vector<Rp> rows = client.rest();
      const grpc::Status status = client.finish();
      meetPump();
      EXPECT_TRUE(status.ok()) << status.error_code() << " " << status.error_message();
      return rows;
   }
   // A list call that must fail before its first response.
   template <class Rq, class Rp>
   void listFails(std::unique_ptr<grpc::ClientReader<Rp>> (Stub::*rpc)(grpc::ClientContext*, const Rq&),
                  const Rq& request, grpc::StatusCode code, const std::string& words) {
      meetPump();
      StreamClient<Rp> client(*stub_, rpc, request);
      EXPECT_TRUE(client.rest().empty());
      const grpc::Status status = client.finish();
      meetPump();
      EXPECT_EQ(status.error_code(), code);
      EXPECT_EQ(status.error_message(), words);
   }

   // Opens the service's watch.
   template <class Rq>
   auto open(const Rq& request) {
      meetPump();
      return opened(&Stub::watch, request);
   }
   // Opens a watch and waits until it has subscribed.
   template <class Rq>
   auto watch(const Rq& request) {
      const std::size_t before = watchers();
      auto client = open(request);
      EXPECT_TRUE(eventually([&] { return watchers() == before + 1; }));
      return client;
   }
   // Calls the manager's handlers as the main loop does. Work that they defer waits for the next turn of the
   // loop.
   template <class Call>
   void callBack(Call&& call) {
      const orv::sdk_scoped_lock lock;
      mgr_.handlers().notify_all(call);
   }
   // Whether any handler has asked the manager for its notifications.
   [[nodiscard]] bool sdkWatched() {
      const orv::sdk_scoped_lock lock;
      return mgr_.handlers().wanted();
   }

   // As many handlers as the service has RPCs, and one for each.
   void expectOneHandlerPerRpc() {
      const auto* const service = serviceNamed(Rpc::service_full_name());
      ASSERT_NE(service, nullptr) << Rpc::service_full_name();
      EXPECT_EQ(liveHandlers(), static_cast<std::uint64_t>(service->method_count()));
      EXPECT_THAT(rpcsWithoutHandler(running_.channel(), *service), testing::IsEmpty());
      EXPECT_EQ(liveHandlers(), static_cast<std::uint64_t>(service->method_count()));
   }

   [[nodiscard]] std::size_t watchers() { return service_->subscriptions().getHandlers().size(); }

   testing::StrictMock<Mgr> mgr_;
   // Owned by the server.
   Service* service_;
   RunningServer running_;
   std::unique_ptr<Stub> stub_ = running_.template stub<Rpc>();

private:
   template <class Rq, class Rp>
   auto opened(std::unique_ptr<grpc::ClientReader<Rp>> (Stub::*rpc)(grpc::ClientContext*, const Rq&),
               const Rq& request) {
      return std::make_unique<StreamClient<Rp>>(*stub_, rpc, request);
   }
};

}  // namespace orvtest
