#include "OrvSdkRpc/handlers/IteratorStreamingHandler.h"

#include "orv/lock.h"

namespace OrvSdkRpc {

ListStream::ListStream(OpaqueId tag, grpc::Server& server, grpc::ServerCompletionQueue& cq,
                       GrpcService& service)
     : ServerStream(tag, server, cq, service) {
   writeOptions_.set_buffer_hint();
}

void ListStream::process(OpaqueId) {
   const bool first = state_ == 0;
   if (first) {
      grpc::Status status = grpc::Status::OK;
      translateErrors(
           [this] {
              rejectInsecureRemote();
              orv::sdk_scoped_lock lock;
              begin();
              state_ = 1;
           },
           [&](const auto& e) { status = grpcStatus(e); });
      if (!status.ok()) {
         end(status);
         return;
      }
   } else {
      orv::sdk_scoped_lock lock;
      step();
   }
   if (!atElement()) {
      end(grpc::Status::OK);
      orv::fmttrace(tracer(), StreamTrace::event, "iterator complete handler {}\n", tag_);
      return;
   }
   writeElement(first);
}

void ListStream::writeResponse(const google::protobuf::Message& response, bool first) {
   if (tracer().enabled(StreamTrace::event)) {
      orv::fmttrace(tracer(), StreamTrace::event, "iterator streaming {} to handler {}\n",
                    traceText(response), tag_);
   }
   write(response, tag_, first ? nullptr : &writeOptions_);
}

void ListStream::end(const grpc::Status& status) {
   state_ = 2;
   finishStream(status);
}

}  // namespace OrvSdkRpc
