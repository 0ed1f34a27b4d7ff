// The reading end of streams: one thread, one completion queue, nothing done per message beyond counting.
//
// Thread-safety: one thread at a time.
#pragma once

#include <grpcpp/generic/generic_stub.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace bench {

struct StreamResult {
   // Responses, or the entries of batches.
   std::uint64_t items = 0;
   std::uint64_t bytes = 0;
   double seconds = 0;
   // CPU time of the client's process over the same span, seconds.
   double clientCpuSeconds = 0;
   // Of each list or dump that was read whole: how long it took, and its elements.
   std::vector<double> passSeconds;
   std::uint64_t elements = 0;
   // A message of the stream: the first one of a watch, the thousandth of a list or a dump, the largest
   // batch.
   std::string sample;
};

class StreamClient {
public:
   // Connects; throws std::runtime_error when nobody serves `target` within `patience`.
   explicit StreamClient(const std::string& target,
                         std::chrono::milliseconds patience = std::chrono::seconds(10));

   // Reads the stream of `path` to its end, or up to a message that equals `last` where that is not empty,
   // again and again until `duration` is over; at least once. Throws std::runtime_error when one ends with
   // a status other than OK, or with another number of elements than the one before.
   StreamResult readPasses(const std::string& path, const std::string& request, const std::string& last,
                           std::chrono::duration<double> duration);

   // Keeps `streams` streams open and reads them for `duration`, counted from when each has delivered its
   // first message. `itemsOf(message)` counts what a message holds.
   StreamResult readFor(const std::string& path, const std::string& request, std::size_t streams,
                        std::chrono::duration<double> duration,
                        const std::function<std::uint64_t(const std::string&)>& itemsOf);

   // Calls `each(message)` for the messages of one stream until it answers false.
   void read(const std::string& path, const std::string& request,
             const std::function<bool(const std::string&)>& each);

   // Opens the streams and reads none of them, until this process is ended.
   [[noreturn]] void stall(const std::string& path, const std::string& request, std::size_t streams);

private:
   std::shared_ptr<grpc::Channel> channel_;
   grpc::GenericStub stub_;
};

// How many entries a batch holds: messages of nothing but a repeated message field with the number 1.
std::uint64_t entriesOf(const std::string& batch);

}  // namespace bench
