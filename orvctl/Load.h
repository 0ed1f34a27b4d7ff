// A load generator: many calls, a bounded number of them in flight.
// Thread-safety: one thread.
#pragma once

#include <grpcpp/grpcpp.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "orvctl/Connection.h"

namespace orvctl {

struct LoadResult {
   uint64_t calls = 0;
   // Items answered with a status other than OK.
   uint64_t failedItems = 0;
   std::string firstFailure;
   double seconds = 0;
   // Microseconds.
   double p50 = 0;
   double p99 = 0;
};

// Counts the failures of one reply and keeps the text of the first one.
void countFailures(const OrvSdkRpc::pb::rpc_status_msg& reply, LoadResult& result);
void countFailures(const OrvSdkRpc::pb::rpc_status_bulk_msg& reply, LoadResult& result);
void countFailures(const OrvSdkRpc::pb::rpc_server_state_status_msg& reply, LoadResult& result);

// Reorders `samples`.
// REQUIRES: `samples` is not empty.
// RETURNS: the value at `fraction` (0 to 1) of the sorted order.
double percentile(std::vector<double>& samples, double fraction);

// Makes `calls` calls, each with `start(context, call number, queue)`, and at most `inFlight` at a time.
// THROWS: as Connection::require for the first call that failed, after the others have ended.
template <typename Reply, typename Start>
LoadResult runLoad(const Connection& connection, uint64_t calls, uint64_t inFlight, Start start,
                   const std::function<void(size_t)>& progress) {
   struct Call {
      grpc::ClientContext context;
      Reply reply;
      grpc::Status status;
      std::chrono::steady_clock::time_point started;
      std::unique_ptr<grpc::ClientAsyncResponseReaderInterface<Reply>> reader;
   };
   grpc::CompletionQueue queue;
   LoadResult result;
   grpc::Status failure;
   std::vector<double> latencies;
   latencies.reserve(calls);
   uint64_t started = 0;
   auto startOne = [&] {
      auto call = std::make_unique<Call>();
      connection.prepare(call->context);
      call->started = std::chrono::steady_clock::now();
      call->reader = start(&call->context, started++, &queue);
      Call* const raw = call.release();
      raw->reader->Finish(&raw->reply, &raw->status, raw);
   };
   const auto begin = std::chrono::steady_clock::now();
   while (started < std::min(calls, inFlight))
      startOne();
   uint64_t ended = 0;
   while (ended < started) {
      void* tag = nullptr;
      bool ok = false;
      queue.Next(&tag, &ok);
      const std::unique_ptr<Call> call(static_cast<Call*>(tag));
      ++ended;
      if (!call->status.ok()) {
         if (failure.ok()) failure = call->status;
         continue;
      }
      latencies.push_back(
           std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - call->started)
                .count());
      countFailures(call->reply, result);
      progress(ended);
      if (started < calls && failure.ok()) startOne();
   }
   result.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
   connection.require("bench", failure);
   result.calls = ended;
   if (!latencies.empty()) {
      result.p50 = percentile(latencies, 0.50);
      result.p99 = percentile(latencies, 0.99);
   }
   return result;
}

}  // namespace orvctl
