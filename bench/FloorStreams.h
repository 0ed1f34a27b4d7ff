// The floor's streams: one message, read from a file, written over and over, one write at a time.
//
// Thread-safety: one thread calls make, registerWith and post; the handlers run on the thread of the
// completion queue.
#pragma once

#include <grpcpp/grpcpp.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "FloorHandler.h"

namespace bench {

struct FloorStreamOptions {
   // One of FloorStreams::names(); empty for none.
   std::string rpc = {};
   // A file with the serialised message, as the server under test sends it.
   std::string messageFile = {};
   // The number of messages in a list or a dump; the other streams run until the client leaves.
   std::uint64_t count = 0;
   // Each message is a new copy of the one in the file, as from a server that has new values to send.
   bool fresh = false;
};

// The RPC that the options name, for one floor server.
class FloorStreams {
public:
   virtual ~FloorStreams() = default;
   virtual void registerWith(grpc::ServerBuilder& builder) = 0;
   // Posts the first handler.
   // REQUIRES: the server is running.
   virtual void post(grpc::ServerCompletionQueue& queue) = 0;

   // list (of nexthop groups), routes (a list), dump (of interfaces), watch (of the agent), labels and acks
   // (watches), rates and policies (in batches).
   static std::vector<std::string> names();
   // RETURNS: null if `options` names no RPC.
   // THROWS: std::runtime_error if the file does not hold such a message.
   static std::unique_ptr<FloorStreams> make(const FloorStreamOptions& options);
};

}  // namespace bench
