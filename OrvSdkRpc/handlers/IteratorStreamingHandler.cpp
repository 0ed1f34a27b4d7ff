#include "OrvSdkRpc/handlers/IteratorStreamingHandler.h"

#include <chrono>
#include <utility>

#include "orv/lock.h"

namespace OrvSdkRpc {
namespace {

// Pause between two parts of a search, for other calls; the resolution of gRPC's timers.
constexpr std::chrono::milliseconds searchPause{1};

}  // namespace

ListStream::ListStream(OpaqueId tag, grpc::Server& server, grpc::ServerCompletionQueue& cq,
                       GrpcService& service)
     : ServerStream(tag, server, cq, service) {
   writeOptions_.set_buffer_hint();
}

void ListStream::process(OpaqueId) {
   if (state_ == 0) {
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
   } else if (over_ || owner_.closing()) {
      end(grpc::Status::CANCELLED);
      return;
   } else {
      orv::sdk_scoped_lock lock;
      if (searching()) {
         search();
      } else {
         step();
      }
   }
   if (searching()) {
      searchLater();
      return;
   }
   if (!atElement()) {
      end(grpc::Status::OK);
      orv::fmttrace(tracer(), StreamTrace::event, "iterator complete handler {}\n", tag_);
      return;
   }
   writeElement(!std::exchange(written_, true));
}

void ListStream::searchLater() {
   beginEvent();
   if (!searchAlarm_) searchAlarm_.emplace();
   // Not at once: the queue polls its sockets only while it has no event to deliver. A search that always had
   // its next event ready would hide new calls, and the departure of its own client.
   searchAlarm_->Set(&cq_, std::chrono::system_clock::now() + searchPause, tag_);
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
