#include "orvctl/Load.h"

#include <gtest/gtest.h>

namespace orvctl {
namespace {

namespace pb = OrvSdkRpc::pb;

TEST(Load, percentilesOfTheSortedOrder) {
   std::vector<double> samples;
   for (int i = 100; i >= 0; --i)
      samples.push_back(i);
   EXPECT_DOUBLE_EQ(percentile(samples, 0.0), 0);
   EXPECT_DOUBLE_EQ(percentile(samples, 0.5), 50);
   EXPECT_DOUBLE_EQ(percentile(samples, 0.99), 99);
   EXPECT_DOUBLE_EQ(percentile(samples, 1.0), 100);
}

TEST(Load, failuresAreCountedAndTheFirstOnesWordsKept) {
   LoadResult result;
   pb::rpc_status_bulk_msg bulk;
   bulk.add_statuses();
   bulk.add_statuses()->set_status(pb::RPC_STATUS_NOT_FOUND);
   bulk.add_statuses()->set_status(pb::RPC_STATUS_ERROR);
   countFailures(bulk, result);
   EXPECT_EQ(result.failedItems, 2U);
   EXPECT_EQ(result.firstFailure, "RPC_STATUS_NOT_FOUND");
}

}  // namespace
}  // namespace orvctl
