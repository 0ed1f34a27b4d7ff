#include "orvctl/Load.h"

#include <algorithm>

#include "orvctl/InBand.h"

namespace orvctl {
namespace pb = OrvSdkRpc::pb;

void countFailures(const pb::rpc_status_msg& reply, LoadResult& result) {
   if (reply.status() == pb::RPC_STATUS_OK) return;
   if (result.failedItems++ == 0) result.firstFailure = statusText(reply);
}

void countFailures(const pb::rpc_status_bulk_msg& reply, LoadResult& result) {
   for (const auto& status : reply.statuses())
      countFailures(status, result);
}

void countFailures(const pb::rpc_server_state_status_msg&, LoadResult&) {}

double percentile(std::vector<double>& samples, double fraction) {
   const auto rank = static_cast<size_t>(fraction * static_cast<double>(samples.size() - 1));
   std::nth_element(samples.begin(), samples.begin() + static_cast<std::ptrdiff_t>(rank), samples.end());
   return samples[rank];
}

}  // namespace orvctl
