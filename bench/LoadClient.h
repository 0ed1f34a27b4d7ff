// The load client: one thread, one completion queue, a fixed number of calls in flight. Per call it only
// sends, times and compares the reply.
//
// Thread-safety: one thread at a time.
#pragma once

#include <grpcpp/generic/generic_stub.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Histogram.h"
#include "Workload.h"

namespace bench {

// When a run ends: after `requests` requests or after `duration`, whichever comes first; 0 means no limit. At
// least one of them is set.
struct Limit {
   std::uint64_t requests = 0;
   std::chrono::nanoseconds duration{0};
};

struct LoadResult {
   std::uint64_t items = 0;
   // The time of the first send, and the seconds from then to the last reply.
   std::chrono::steady_clock::time_point started;
   double seconds = 0;
   // CPU time of the client's process over the same period, in seconds.
   double clientCpuSeconds = 0;
   // Round-trip times of the requests.
   Histogram latency;
   // When reply i arrived, in nanoseconds since the start.
   std::vector<std::uint64_t> repliesAt;
   double itemsPerSecond() const { return seconds > 0 ? static_cast<double>(items) / seconds : 0; }
};

class LoadClient {
public:
   // Connects.
   // THROWS: std::runtime_error if `target` is not reachable within `patience`.
   explicit LoadClient(const std::string& target,
                       std::chrono::milliseconds patience = std::chrono::seconds(10));

   // Runs the workload with `inFlight` requests outstanding.
   // THROWS: std::runtime_error for the first call that fails or gets an unexpected reply, with the text of
   // the reply.
   LoadResult run(Workload& workload, std::size_t inFlight, Limit limit);

   // Calls rpc_server_init without a tag.
   // THROWS: std::runtime_error if it is refused.
   void init(const std::string& policyMap = {});
   // Each calls rpc_server_resync once.
   // THROWS: std::runtime_error if it is refused.
   void resyncStart();
   void resyncEnd();

private:
   void resync(int phase);

   std::shared_ptr<grpc::Channel> channel_;
   grpc::GenericStub stub_;
   grpc::CompletionQueue queue_;
};

}  // namespace bench
