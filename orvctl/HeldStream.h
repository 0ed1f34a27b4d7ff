// A stream of replies that is held open to wait for its end.
// Thread-safety: one thread.
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
   // Opens the stream at `path` ("/package.service/method") and waits until the server has it, which the
   // answer to a later call on the same connection proves.
   // THROWS: as Connection::require if that call fails.
   HeldStream(Connection& connection, const std::string& path, const google::protobuf::Message& request);
   // Cancels the stream if it is still open.
   ~HeldStream();
   HeldStream(const HeldStream&) = delete;
   HeldStream& operator=(const HeldStream&) = delete;

   // Waits for the end of the stream and discards its messages. Without a deadline, the wait has no limit.
   // RETURNS: the stream's status; nothing if it is still open at the deadline.
   std::optional<grpc::Status> waitForEnd(std::optional<std::chrono::system_clock::time_point> deadline = {});

private:
   // Waits for the outstanding event.
   // RETURNS: whether it succeeded; nothing if the deadline comes first.
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
