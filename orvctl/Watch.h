// A stream that is held open for its end. Used from one thread.
#pragma once

#include <grpcpp/grpcpp.h>

#include <chrono>
#include <memory>
#include <optional>

#include "orvctl/Connection.h"

namespace orvctl {

class AliveWatch {
public:
   // Opens the alive watch and waits until the server has it, which a second call behind it on the same connection
   // shows. Throws CallError.
   explicit AliveWatch(Connection& connection);
   ~AliveWatch();
   AliveWatch(const AliveWatch&) = delete;
   AliveWatch& operator=(const AliveWatch&) = delete;

   // Waits for the stream's end, at most until `deadline`; nothing when it is still open then.
   std::optional<grpc::Status> waitForEnd(std::optional<std::chrono::system_clock::time_point> deadline);

private:
   // Takes the next event; false when the deadline came first.
   bool next(std::optional<std::chrono::system_clock::time_point> deadline, bool& ok);
   grpc::Status finish();

   Connection& connection_;
   grpc::ClientContext context_;
   grpc::CompletionQueue queue_;
   std::unique_ptr<grpc::ClientAsyncReaderInterface<OrvSdkRpc::pb::rpc_server_alive_msg>> reader_;
   OrvSdkRpc::pb::rpc_server_alive_msg message_;
   bool readPending_ = false;
};

}  // namespace orvctl
