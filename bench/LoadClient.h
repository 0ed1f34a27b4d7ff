// The load client: one thread, one completion queue, a fixed number of calls in
// flight, nothing done per call beyond sending, timing and comparing the reply.
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

// When a run ends: after `requests` requests or after `duration`, whichever
// comes first; 0 means no limit, and at least one of them is set.
struct Limit {
   std::uint64_t requests = 0;
   std::chrono::nanoseconds duration{0};
};

struct LoadResult {
   std::uint64_t items = 0;
   // First send to last reply.
   std::chrono::steady_clock::time_point started;
   double seconds = 0;
   // CPU time of the client's process over the same span, seconds.
   double clientCpuSeconds = 0;
   // Round trips of the single requests.
   Histogram latency;
   // Nanoseconds since the start at which reply i came in.
   std::vector<std::uint64_t> repliesAt;
   double itemsPerSecond() const { return seconds > 0 ? static_cast<double>(items) / seconds : 0; }
};

class LoadClient {
public:
   // Connects; throws std::runtime_error when nobody serves `target` within
   // `patience`.
   explicit LoadClient(const std::string& target,
                       std::chrono::milliseconds patience = std::chrono::seconds(10));

   // Runs the workload with `inFlight` requests outstanding. Throws
   // std::runtime_error at the first call that fails or whose reply is not the
   // expected one, with the reply's words.
   LoadResult run(Workload& workload, std::size_t inFlight, Limit limit);

   // One rpc_server_init without a tag; throws when it is refused.
   void init(const std::string& policyMap = {});
   // One rpc_server_resync; throws when it is refused.
   void resyncStart();
   void resyncEnd();

private:
   void resync(int phase);

   std::shared_ptr<grpc::Channel> channel_;
   grpc::GenericStub stub_;
   grpc::CompletionQueue queue_;
};

}  // namespace bench
