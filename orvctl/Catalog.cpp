#include "orvctl/Catalog.h"

#include <fmt/format.h>
#include <google/protobuf/descriptor.pb.h>

#include <algorithm>

#include "OrvSdkRpcProtos/services.h"
#include "orvctl/Descriptors.h"
#include "orvctl/ExitCode.h"
#include "orvctl/reflection_wire.pb.h"

namespace orvctl {
namespace {

constexpr const char* kReflectionPath = "/grpc.reflection.v1alpha.ServerReflection/ServerReflectionInfo";

std::string shortName(std::string_view type) {
   return std::string(type.substr(type.rfind('.') + 1));
}

ServiceEntry entryOf(const std::string& fullName, const google::protobuf::ServiceDescriptorProto& service) {
   ServiceEntry entry{.name = fullName, .rpcs = {}};
   for (const auto& method : service.method()) {
      entry.rpcs.push_back({.name = method.name(),
                            .request = shortName(method.input_type()),
                            .reply = shortName(method.output_type()),
                            .replyStream = method.server_streaming()});
   }
   return entry;
}

// Sends one request to the reflection service.
grpc::Status ask(Connection& connection, const wire::ReflectionRequest& request,
                 wire::ReflectionReply& reply) {
   return connection.stream(
        kReflectionPath, request, reply, [] { return false; }, true);
}

ServiceEntry askService(Connection& connection, const std::string& name) {
   wire::ReflectionRequest request;
   wire::ReflectionReply reply;
   request.set_file_containing_symbol(name);
   connection.require("reflection", ask(connection, request, reply));
   for (const auto& bytes : reply.file_descriptor_response().file_descriptor_proto()) {
      google::protobuf::FileDescriptorProto file;
      if (!file.ParseFromString(bytes)) continue;
      for (const auto& service : file.service()) {
         const std::string fullName =
              file.package().empty() ? service.name() : file.package() + "." + service.name();
         if (fullName == name) return entryOf(name, service);
      }
   }
   return {.name = name, .rpcs = {}};
}

}  // namespace

Catalog readCatalog(Connection& connection) {
   wire::ReflectionRequest request;
   wire::ReflectionReply reply;
   request.set_list_services("*");
   const auto status = ask(connection, request, reply);
   Catalog catalog;
   if (status.error_code() == grpc::StatusCode::UNIMPLEMENTED) {
      catalog.fromServer = false;
      for (const auto* service : OrvSdkRpc::pb::services()) {
         google::protobuf::ServiceDescriptorProto proto;
         service->CopyTo(&proto);
         catalog.services.push_back(entryOf(service->full_name(), proto));
      }
      return catalog;
   }
   connection.require("list", status);
   if (!reply.has_list_services_response()) {
      throw CallError(
           fmt::format("list: the server's reflection answered: {}", reply.error_response().error_message()));
   }
   for (const auto& service : reply.list_services_response().service()) {
      catalog.services.push_back(askService(connection, service.name()));
   }
   return catalog;
}

}  // namespace orvctl
