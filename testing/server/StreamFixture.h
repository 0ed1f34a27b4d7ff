// A StreamProbe in a running server, with a client.
#pragma once

#include <grpcpp/create_channel.h>
#include <grpcpp/support/channel_arguments.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "testing/base/Eventually.h"
#include "testing/server/LiveHandlers.h"
#include "testing/server/RunningServer.h"
#include "testing/server/StreamClient.h"
#include "testing/server/StreamProbe.h"

namespace orvtest {

class StreamFixture : public testing::Test {
protected:
   using Stub = probe::StreamProbeService::Stub;
   using WatchClient = StreamClient<probe::WatchResponse>;

   explicit StreamFixture(unsigned long tableLimit = OrvSdkRpc::streamQueueLimit,
                          const OrvSdkRpc::ServerProperties& properties = {.internalServer = true})
        : service_(new StreamProbe) {
      service_->tableLimit = tableLimit;
      running_.emplace(std::unique_ptr<StreamProbe>(service_), properties);
      stub_ = stub();
   }

   // A client with a connection of its own, a small flow-control window and no limit on message size: one
   // large message blocks a stream until the client reads it.
   [[nodiscard]] std::unique_ptr<Stub> stub() const { return stub(running_->address()); }
   [[nodiscard]] static std::unique_ptr<Stub> stub(const std::string& address) {
      grpc::ChannelArguments arguments;
      arguments.SetInt(GRPC_ARG_USE_LOCAL_SUBCHANNEL_POOL, 1);
      arguments.SetInt(GRPC_ARG_HTTP2_BDP_PROBE, 0);
      arguments.SetMaxReceiveMessageSize(-1);
      return probe::StreamProbeService::NewStub(
           grpc::CreateCustomChannel(address, grpc::InsecureChannelCredentials(), arguments));
   }

   // Opens a watch and waits until it has subscribed.
   std::unique_ptr<WatchClient> watch(const probe::WatchRequest& request) {
      const std::size_t before = watchers();
      auto client = std::make_unique<WatchClient>(*stub_, &Stub::watch, request);
      EXPECT_TRUE(eventually([&] { return watchers() == before + 1; }));
      return client;
   }
   std::unique_ptr<WatchClient> watch() { return watch(all()); }
   std::unique_ptr<WatchClient> watchTable(const probe::WatchRequest& request) {
      return std::make_unique<WatchClient>(*stub_, &Stub::watch_table, request);
   }

   // Runs `change` under the SDK's lock, under which the pump thread reads.
   template <class Change>
   static void change(Change&& change) {
      orv::sdk_scoped_lock lock;
      change();
   }

   static probe::WatchRequest all() {
      probe::WatchRequest request;
      request.set_all(true);
      return request;
   }
   static probe::WatchRequest key(const std::string& key) {
      probe::WatchRequest request;
      request.set_key(key);
      return request;
   }
   static probe::WatchRequest withFields(probe::WatchRequest request, std::initializer_list<int> fields) {
      for (const int field : fields)
         request.mutable_fields_control()->add_fields(static_cast<probe::WatchField>(field));
      return request;
   }

   std::size_t watchers() { return service_->subscriptions().getHandlers().size(); }
   std::size_t tableWatchers() { return service_->tableStreams().getHandlers().size(); }

   // The number of the definition's handlers that serve a call. One more always waits for the next call.
   static std::uint64_t open(const std::string& definition) {
      return liveHandlers("orvtest::" + definition + ",") - 1;
   }
   // Returns once the pump has served every event that was queued before.
   void pumpPasses() { PumpHold hold(*service_, *stub_); }
   void expectAllFreed(const std::string& definition) {
      EXPECT_TRUE(eventually([&] { return open(definition) == 0; })) << open(definition);
   }

   StreamProbe* service_;
   std::optional<RunningServer> running_;
   std::unique_ptr<Stub> stub_;
};

}  // namespace orvtest
