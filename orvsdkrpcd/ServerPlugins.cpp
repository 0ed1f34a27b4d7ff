#include "orvsdkrpcd/ServerPlugins.h"

#include <grpcpp/ext/proto_server_reflection_plugin.h>
#include <grpcpp/impl/server_builder_plugin.h>
#include <grpcpp/impl/server_initializer.h>
#include <grpcpp/server_builder.h>
#include <grpcpp/support/channel_arguments.h>

namespace orvsdkrpcd {
namespace {

// gRPC creates plugins through a plain function pointer, so their shared state is global.
const std::shared_ptr<HealthService>& health() {
   static const auto service = std::make_shared<HealthService>();
   return service;
}

class HealthPlugin final : public grpc::ServerBuilderPlugin {
public:
   std::string name() override { return "orvsdkrpcd_health"; }
   void InitServer(grpc::ServerInitializer* server) override { server->RegisterService(health()); }
   void Finish(grpc::ServerInitializer* server) override {
      const auto* names = server->GetServiceList();
      health()->servingIs({names->begin(), names->end()});
   }
   void ChangeArguments(const std::string&, void*) override {}
   bool has_sync_methods() const override { return true; }
};

std::unique_ptr<grpc::ServerBuilderPlugin> makeHealthPlugin() {
   return std::make_unique<HealthPlugin>();
}

int maxStreamsOfConnection = 0;

class MaxStreamsPlugin final : public grpc::ServerBuilderPlugin {
public:
   std::string name() override { return "orvsdkrpcd_max_streams"; }
   void UpdateChannelArguments(grpc::ChannelArguments* arguments) override {
      arguments->SetInt(GRPC_ARG_MAX_CONCURRENT_STREAMS, maxStreamsOfConnection);
   }
   void InitServer(grpc::ServerInitializer*) override {}
   void Finish(grpc::ServerInitializer*) override {}
   void ChangeArguments(const std::string&, void*) override {}
};

std::unique_ptr<grpc::ServerBuilderPlugin> makeMaxStreamsPlugin() {
   return std::make_unique<MaxStreamsPlugin>();
}

}  // namespace

HealthService& installServerPlugins(int maxStreams) {
   maxStreamsOfConnection = maxStreams;
   static const bool once = [] {
      grpc::EnableDefaultHealthCheckService(false);
      grpc::reflection::InitProtoReflectionServerBuilderPlugin();
      grpc::ServerBuilder::InternalAddPluginFactory(&makeHealthPlugin);
      grpc::ServerBuilder::InternalAddPluginFactory(&makeMaxStreamsPlugin);
      return true;
   }();
   static_cast<void>(once);
   return *health();
}

}  // namespace orvsdkrpcd
