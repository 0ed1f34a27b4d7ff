// A stream of replies that is held open for its end. Used from one thread.
#pragma once

#include <google/protobuf/message.h>
#include <grpcpp/generic/generic_stub.h>
#include <grpcpp/grpcpp.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "orvctl/Connection.h"

namespace orvctl {

class HeldStream {
public:
   // Opens the stream at `path` ("/package.service/method") and waits until the server has it: a second call
   // behind it on the same connection has then been answered. Throws CallError where that call gets no
   // answer.
   HeldStream(Connection& connection, const std::string& path, const google::protobuf::Message& request);
   // Cancels what is still open.
   ~HeldStream();
   HeldStream(const HeldStream&) = delete;
   HeldStream& operator=(const HeldStream&) = delete;

   // Waits for the stream's end, for ever without a deadline; nothing when it is still open at the deadline.
   // Messages of the stream are passed over.
   std::optional<grpc::Status> waitForEnd(std::optional<std::chrono::system_clock::time_point> deadline = {});

private:
   // Takes the outstanding event; nothing when the deadline comes first.
   std::optional<bool> next(std::optional<std::chrono::system_clock::time_point> deadline = {});
   void read();

   grpc::ClientContext context_;
   grpc::CompletionQueue queue_;
   grpc::GenericStub stub_;
   std::unique_ptr<grpc::GenericClientAsyncReaderWriter> call_;
   grpc::ByteBuffer message_;
   std::optional<grpc::Status> end_;
};

}  // namespace orvctl
