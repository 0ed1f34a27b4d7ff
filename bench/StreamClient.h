// The reading end of streams: one thread, one completion queue, and only counting per message.
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
   // CPU time of the client's process over the same period, in seconds.
   double clientCpuSeconds = 0;
   // The duration of each list or dump that was read completely, and its number of elements.
   std::vector<double> passSeconds;
   std::uint64_t elements = 0;
   // A message of the stream: the first one of a watch, the thousandth of a list or a dump, the largest
   // batch.
   std::string sample;
};

class StreamClient {
public:
   // Connects.
   // THROWS: std::runtime_error if `target` is not reachable within `patience`.
   explicit StreamClient(const std::string& target,
                         std::chrono::milliseconds patience = std::chrono::seconds(10));

   // Reads the stream of `path` to its end, or up to a message that equals a non-empty `last`. Repeats this
   // until `duration` is over, and does it at least once.
   // THROWS: std::runtime_error if a stream ends with a status other than OK, or with another number of
   // elements than the one before.
   StreamResult readPasses(const std::string& path, const std::string& request, const std::string& last,
                           std::chrono::duration<double> duration);

   // Keeps `streams` streams open and reads them for `duration`, which starts when each has delivered a
   // message; with `begins`, a message for which this is true. `itemsOf(message)` counts the items of a
   // message; without it, each message is one item.
   StreamResult readFor(const std::string& path, const std::string& request, std::size_t streams,
                        std::chrono::duration<double> duration,
                        const std::function<std::uint64_t(const std::string&)>& itemsOf,
                        const std::function<bool(const std::string&)>& begins = nullptr);

   // Calls `each(message)` for the messages of one stream until it returns false.
   void read(const std::string& path, const std::string& request,
             const std::function<bool(const std::string&)>& each);

   // Opens the streams and never reads them, until this process is killed.
   [[noreturn]] void stall(const std::string& path, const std::string& request, std::size_t streams);

private:
   std::shared_ptr<grpc::Channel> channel_;
   grpc::GenericStub stub_;
};

// RETURNS: the number of entries of a batch.
// REQUIRES: the batch consists of one repeated message field with the number 1.
std::uint64_t entriesOf(const std::string& batch);

}  // namespace bench
