// A GrpcServer on a unix socket of its own, with its pump on a thread.
#pragma once

#include <grpcpp/channel.h>

#include <memory>
#include <thread>
#include <utility>
#include <vector>

#include "OrvSdkRpc/server/GrpcServer.h"
#include "testing/base/TempDir.h"

namespace orvtest {

class RunningServer {
public:
   // Returns once the server serves. Its socket comes before the addresses in `properties`.
   explicit RunningServer(std::vector<std::unique_ptr<OrvSdkRpc::GrpcService>> services,
                          OrvSdkRpc::ServerProperties properties = {.internalServer = true});
   template <class Service>
   explicit RunningServer(std::unique_ptr<Service> service,
                          OrvSdkRpc::ServerProperties properties = {.internalServer = true})
        : RunningServer(one(std::move(service)), std::move(properties)) {}
   ~RunningServer();

   [[nodiscard]] OrvSdkRpc::GrpcServer& server() { return *server_; }
   [[nodiscard]] const std::string& address() const { return address_; }
   // A channel with a connection of its own.
   [[nodiscard]] std::shared_ptr<grpc::Channel> channel() const;
   template <class Rpc>
   [[nodiscard]] std::unique_ptr<typename Rpc::Stub> stub() const {
      return Rpc::NewStub(channel());
   }

   // Stops the server and waits for the pump.
   void stop();
   // Stops the server and destroys it with its services.
   void destroy();

private:
   template <class Service>
   static std::vector<std::unique_ptr<OrvSdkRpc::GrpcService>> one(std::unique_ptr<Service> service) {
      std::vector<std::unique_ptr<OrvSdkRpc::GrpcService>> services;
      services.push_back(std::move(service));
      return services;
   }

   TempDir dir_;
   std::string address_;
   std::unique_ptr<OrvSdkRpc::GrpcServer> server_;
   std::thread pump_;
};

}  // namespace orvtest
