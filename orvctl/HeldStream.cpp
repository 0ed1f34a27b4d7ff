#include "orvctl/HeldStream.h"

namespace orvctl {

HeldStream::HeldStream(Connection& connection, const std::string& path,
                       const google::protobuf::Message& request)
     : stub_(connection.channel()) {
   call_ = stub_.PrepareCall(&context_, path, &queue_);
   call_->StartCall(nullptr);
   bool open = next().value_or(false);
   if (open) {
      grpc::ByteBuffer buffer;
      bool own = false;
      grpc::GenericSerialize<grpc::ProtoBufferWriter, google::protobuf::Message>(request, &buffer, &own);
      call_->WriteLast(buffer, grpc::WriteOptions(), nullptr);
      next();
   }
   read();
   OrvSdkRpc::pb::rpc_server_state_status_msg nothing;
   OrvSdkRpc::pb::rpc_server_state_status_msg reply;
   grpc::ClientContext context;
   connection.prepare(context);
   const grpc::Status status = connection.programming().get_rpc_server_state(&context, nothing, &reply);
   if (!status.ok()) {
      context_.TryCancel();
      waitForEnd();
      queue_.Shutdown();
      next();
      connection.require("get_rpc_server_state", status);
   }
}

HeldStream::~HeldStream() {
   context_.TryCancel();
   waitForEnd();
   queue_.Shutdown();
   next();
}

void HeldStream::read() {
   call_->Read(&message_, nullptr);
}

std::optional<bool> HeldStream::next(std::optional<std::chrono::system_clock::time_point> deadline) {
   void* tag = nullptr;
   bool ok = false;
   if (!deadline) return queue_.Next(&tag, &ok) && ok;
   switch (queue_.AsyncNext(&tag, &ok, *deadline)) {
      case grpc::CompletionQueue::GOT_EVENT:
         return ok;
      case grpc::CompletionQueue::SHUTDOWN:
         return false;
      case grpc::CompletionQueue::TIMEOUT:
         break;
   }
   return std::nullopt;
}

std::optional<grpc::Status> HeldStream::waitForEnd(
     std::optional<std::chrono::system_clock::time_point> deadline) {
   while (!end_) {
      const std::optional<bool> got = next(deadline);
      if (!got) return std::nullopt;
      if (*got) {
         read();
         continue;
      }
      grpc::Status status;
      call_->Finish(&status, nullptr);
      next();
      end_ = status;
   }
   return end_;
}

}  // namespace orvctl
