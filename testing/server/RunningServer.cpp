#include "testing/server/RunningServer.h"

#include <grpc/grpc.h>
#include <grpcpp/create_channel.h>
#include <grpcpp/security/credentials.h>
#include <grpcpp/support/channel_arguments.h>

#include <stdexcept>

namespace orvtest {

RunningServer::RunningServer(std::vector<std::unique_ptr<OrvSdkRpc::GrpcService>> services,
                             OrvSdkRpc::ServerProperties properties) {
   // Keeps gRPC initialised until the process ends. Its shutdown now and then waits ten seconds for one of
   // its own pollers when data was on its way to a client that did not read.
   [[maybe_unused]] static const bool kept = (grpc_init(), true);
   address_ = dir_.unixAddress("socket");
   properties.addresses.insert(properties.addresses.begin(), address_);
   server_ = std::make_unique<OrvSdkRpc::GrpcServer>(
        std::make_unique<OrvSdkRpc::ServerProperties>(std::move(properties)), std::move(services),
        grpc::InsecureServerCredentials());
   pump_ = std::thread([this] { server_->run(); });
   if (!server_->waitUntilServing()) {
      pump_.join();
      throw std::runtime_error("the server does not serve on " + address_);
   }
}

RunningServer::~RunningServer() {
   stop();
}

std::shared_ptr<grpc::Channel> RunningServer::channel() const {
   grpc::ChannelArguments arguments;
   arguments.SetInt(GRPC_ARG_USE_LOCAL_SUBCHANNEL_POOL, 1);
   return grpc::CreateCustomChannel(address_, grpc::InsecureChannelCredentials(), arguments);
}

void RunningServer::stop() {
   if (server_) server_->stop();
   if (pump_.joinable()) pump_.join();
}

void RunningServer::destroy() {
   stop();
   server_.reset();
}

}  // namespace orvtest
