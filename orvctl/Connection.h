// A channel to one server, and calls of RPCs that are known by descriptor only.
// A Connection is used from one thread.
#pragma once

#include <google/protobuf/message.h>
#include <grpcpp/grpcpp.h>

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "OrvSdkRpcProtos/orvsdk.grpc.pb.h"
#include "orvctl/Target.h"

namespace orvctl {

class Connection {
public:
   // `timeoutSeconds` bounds each unary call; 0 leaves a call without a deadline.
   Connection(const Target& target, double timeoutSeconds);

   using Programming = OrvSdkRpc::pb::orvsdk_service;
   Programming::StubInterface& programming() { return *programming_; }
   const std::shared_ptr<grpc::Channel>& channel() const { return channel_; }

   // Sets the deadline of a unary call.
   void prepare(grpc::ClientContext& context) const;

   // Calls `path` ("/package.service/method") and fills `reply`.
   grpc::Status unary(const std::string& path, const google::protobuf::Message& request,
                      google::protobuf::Message& reply);

   // Opens a stream of replies and calls `each` for every message, in `reply`'s storage; `each` returns false
   // to end the stream early, which then counts as OK. With `deadline` the stream ends with
   // DEADLINE_EXCEEDED.
   grpc::Status stream(const std::string& path, const google::protobuf::Message& request,
                       google::protobuf::Message& reply, const std::function<bool()>& each,
                       bool deadline = false);

   // The same in a context of the caller's, who may set a deadline and cancel it from another thread.
   grpc::Status stream(grpc::ClientContext& context, const std::string& path,
                       const google::protobuf::Message& request, google::protobuf::Message& reply,
                       const std::function<bool()>& each);

   // Unless `status` is OK, throws RefusedError with one line about `what` where the server answered with a
   // refusal, CallError where there was no answer. A server that was there when a stream began went away;
   // any other was not reached.
   void require(const std::string& what, const grpc::Status& status) const;

   // A typed unary call of the programming service; throws CallError.
   template <typename Request, typename Reply>
   Reply call(const char* name,
              grpc::Status (Programming::StubInterface::*method)(grpc::ClientContext*, const Request&,
                                                                 Reply*),
              const Request& request) {
      grpc::ClientContext context;
      prepare(context);
      Reply reply;
      require(name, (programming().*method)(&context, request, &reply));
      return reply;
   }

private:
   Target target_;
   double timeoutSeconds_;
   // A stream has found the server.
   bool reached_ = false;
   std::shared_ptr<grpc::Channel> channel_;
   std::unique_ptr<Programming::StubInterface> programming_;
};

// "UNAVAILABLE" and so on.
std::string grpcCodeName(grpc::StatusCode code);

}  // namespace orvctl
