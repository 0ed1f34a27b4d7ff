#include "testing/server/EveryRpc.h"

#include <google/protobuf/descriptor_database.h>
#include <grpcpp/client_context.h>
#include <grpcpp/impl/codegen/client_unary_call.h>
#include <grpcpp/support/byte_buffer.h>
#include <gtest/gtest.h>

namespace orvtest {

using google::protobuf::DescriptorPool;

const google::protobuf::ServiceDescriptor* serviceNamed(const std::string& fullName) {
   return DescriptorPool::generated_pool()->FindServiceByName(fullName);
}

std::vector<std::string> allServices() {
   std::vector<std::string> files;
   EXPECT_TRUE(DescriptorPool::internal_generated_database()->FindAllFileNames(&files));
   std::vector<std::string> services;
   for (const std::string& name : files) {
      const auto* const file = DescriptorPool::generated_pool()->FindFileByName(name);
      if (file->package() != "orv.remote" && file->package() != "OrvSdkRpc.pb") continue;
      for (int i = 0; i < file->service_count(); ++i)
         services.push_back(file->service(i)->full_name());
   }
   return services;
}

std::vector<std::string> rpcsWithoutHandler(const std::shared_ptr<grpc::Channel>& channel,
                                            const google::protobuf::ServiceDescriptor& service,
                                            std::chrono::seconds deadline) {
   // A tag of a wire type that there is not.
   const grpc::Slice malformed(std::string("\x07"));
   const grpc::ByteBuffer request(&malformed, 1);
   std::vector<std::string> without;
   for (int i = 0; i < service.method_count(); ++i) {
      const google::protobuf::MethodDescriptor& rpc = *service.method(i);
      EXPECT_FALSE(rpc.client_streaming()) << rpc.full_name();
      const std::string path = "/" + service.full_name() + "/" + rpc.name();
      grpc::ClientContext context;
      context.set_deadline(std::chrono::system_clock::now() + deadline);
      grpc::ByteBuffer response;
      const grpc::internal::RpcMethod method(path.c_str(), grpc::internal::RpcMethod::NORMAL_RPC);
      const grpc::Status status = grpc::internal::BlockingUnaryCall<grpc::ByteBuffer, grpc::ByteBuffer>(
           channel.get(), method, &context, request, &response);
      if (status.error_message() == "Unable to parse request") continue;
      without.push_back(rpc.name());
   }
   return without;
}

}  // namespace orvtest
