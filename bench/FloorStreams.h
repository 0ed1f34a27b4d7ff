// The floor's streams: one message, read from a file, written over and over, one write at a time.
//
// Thread-safety: constructed and posted by one thread; the rest is the completion queue's.
#pragma once

#include <grpcpp/grpcpp.h>

#include <cstdint>
#include <memory>
#include <string>

#include "FloorHandler.h"

namespace bench {

struct FloorStreamOptions {
   // list, dump, watch or rates; empty for none.
   std::string rpc = {};
   // The message on the wire, as the server under test sends it.
   std::string messageFile = {};
   // Messages in a list or a dump; the others go on until the client leaves.
   std::uint64_t count = 0;
   // Each message is made anew from the one of the file, as by a server that has new values to tell.
   bool fresh = false;
};

// The RPC that the options name, for one floor server.
class FloorStreams {
public:
   virtual ~FloorStreams() = default;
   virtual void registerWith(grpc::ServerBuilder& builder) = 0;
   // Posts the first handler; the server runs.
   virtual void post(grpc::ServerCompletionQueue& queue) = 0;

   // Null without an RPC. Throws std::runtime_error for a file that does not hold such a message.
   static std::unique_ptr<FloorStreams> make(const FloorStreamOptions& options);
};

}  // namespace bench
