// A channel to one server, and calls of RPCs by their path.
// Thread-safety: one thread.
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
   // `timeoutSeconds` bounds each unary call; 0 means no deadline.
   Connection(const Target& target, double timeoutSeconds);

   using Programming = OrvSdkRpc::pb::orvsdk_service;
   Programming::StubInterface& programming() { return *programming_; }
   const std::shared_ptr<grpc::Channel>& channel() const { return channel_; }

   // Sets the deadline of a unary call.
   void prepare(grpc::ClientContext& context) const;

   // Calls `path` ("/package.service/method") and fills `reply`.
   grpc::Status unary(const std::string& path, const google::protobuf::Message& request,
                      google::protobuf::Message& reply);

   // Opens a stream of replies, reads each message into `reply` and then calls `each`. If `each` returns
   // false, the stream ends early with OK. With `deadline`, the stream ends with DEADLINE_EXCEEDED after the
   // timeout.
   grpc::Status stream(const std::string& path, const google::protobuf::Message& request,
                       google::protobuf::Message& reply, const std::function<bool()>& each,
                       bool deadline = false);

   // The same with the caller's context, which may have a deadline and be cancelled from another thread.
   grpc::Status stream(grpc::ClientContext& context, const std::string& path,
                       const google::protobuf::Message& request, google::protobuf::Message& reply,
                       const std::function<bool()>& each);

   // Does nothing if `status` is OK.
   // THROWS: RefusedError if the server refused the request, CallError for any other failure, with one line
   // about `what`. If the server is unavailable, the line distinguishes one that a stream had reached from
   // one that was never reached.
   void require(const std::string& what, const grpc::Status& status) const;

   // Makes a typed unary call of the programming service.
   // THROWS: as require.
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
   // Whether a stream has reached the server.
   bool reached_ = false;
   std::shared_ptr<grpc::Channel> channel_;
   std::unique_ptr<Programming::StubInterface> programming_;
};

// RETURNS: "UNAVAILABLE" and so on.
std::string grpcCodeName(grpc::StatusCode code);

}  // namespace orvctl
